// VCtrlVal: construction, deep copy and the typed reads of one value.
#include <vexaobj/VCtrlVal.h>

#include <cstddef>

#include "build_info.h"
#include "raise.h"
#include "runtime_alloc.h"
#include "value_convert.h"

namespace Vexa {

const char kCopyProc[] = "void VCtrlVal::CopyCtrlVal(const VCtrlVal& source)";

VCtrlVal::VCtrlVal() : type(VPAR_UNDEF) {
  static_assert(offsetof(VCtrlVal, type) == offsetof(Vcpar, type),
                "VCtrlVal keeps its type where Vcpar does");
  par.l = 0;
}

VCtrlVal::VCtrlVal(Vlong l) : type(VPAR_LONG) { par.l = l; }

VCtrlVal::VCtrlVal(int l) : type(VPAR_LONG) { par.l = l; }

VCtrlVal::VCtrlVal(double d) : type(VPAR_DOUBLE) { par.d = d; }

VCtrlVal::VCtrlVal(const char* s) : type(VPAR_UNDEF) {
  // A null text is taken as the empty string rather than read.
  par.s = VEXA_STRDUP(s != nullptr ? s : "", "VCtrlVal::VCtrlVal(const char* s)");
  if (par.s != nullptr) type = VPAR_STRING;
}

VCtrlVal::VCtrlVal(const VCtrlVal& other) : type(VPAR_UNDEF) {
  par.l = 0;
  CopyCtrlVal(other);
}

VCtrlVal& VCtrlVal::operator=(const VCtrlVal& other) {
  if (this != &other) {
    ClearCtrlVal();
    CopyCtrlVal(other);
  }
  return *this;
}

VCtrlVal::~VCtrlVal() { ClearCtrlVal(); }

int VCtrlVal::Version() const { return internal::kVersion; }
int VCtrlVal::Revision() const { return internal::kRevision; }
const char* VCtrlVal::Creation() const { return internal::BuildDate(); }

void VCtrlVal::CopyCtrlVal(const VCtrlVal& source) {
  switch (source.type) {
    case VPAR_LONG:
    case VPAR_DOUBLE:
      par.l = source.par.l;
      break;
    case VPAR_STRING:
      par.s = VEXA_STRDUP(source.par.s, kCopyProc);
      if (par.s == nullptr) {
        // A failed copy leaves no text to own; the value stays undefined.
        type = VPAR_UNDEF;
        return;
      }
      break;
    case VPAR_UNDEF:
      par.l = 0;
      break;
    default:
      VEXA_RAISE(kCopyProc, "internal error: wrong type");
      par.l = 0;
      break;
  }
  type = source.type;
}

void VCtrlVal::ClearCtrlVal() {
  if (type == VPAR_STRING) VEXA_FREE(par.s);
  par.l = 0;
  type = VPAR_UNDEF;
}

int VCtrlVal::I() const {
  static const char proc[] = "int VCtrlVal::I() const";
  switch (type) {
    case VPAR_LONG:
      return static_cast<int32_t>(par.l);
    case VPAR_DOUBLE:
      return internal::TruncateToInt32(par.d);
    case VPAR_UNDEF:
      VEXA_RAISE(proc, "not instantiated");
      return 0;
    case VPAR_STRING:
      VEXA_RAISE(proc, "wrong type: string");
      return 0;
    default:
      VEXA_RAISE(proc, "internal error: wrong type");
      return 0;
  }
}

Vlong VCtrlVal::L() const {
  static const char proc[] = "long VCtrlVal::L() const";
  switch (type) {
    case VPAR_LONG:
      return par.l;
    case VPAR_DOUBLE:
      return internal::TruncateToInt64(par.d);
    case VPAR_UNDEF:
      VEXA_RAISE(proc, "not instantiated");
      return 0;
    case VPAR_STRING:
      VEXA_RAISE(proc, "wrong type: string");
      return 0;
    default:
      VEXA_RAISE(proc, "internal error: wrong type");
      return 0;
  }
}

double VCtrlVal::D() const {
  static const char proc[] = "double VCtrlVal::D() const";
  switch (type) {
    case VPAR_DOUBLE:
      return par.d;
    case VPAR_LONG:
      return static_cast<double>(par.l);
    case VPAR_UNDEF:
      VEXA_RAISE(proc, "not instantiated");
      return 0.0;
    case VPAR_STRING:
      VEXA_RAISE(proc, "wrong type: string");
      return 0.0;
    default:
      VEXA_RAISE(proc, "internal error: wrong type: %d", type);
      return 0.0;
  }
}

const char* VCtrlVal::S() const {
  static const char proc[] = "const char * VCtrlVal::S() const";
  switch (type) {
    case VPAR_STRING:
      return par.s;
    case VPAR_UNDEF:
      VEXA_RAISE(proc, "not instantiated");
      return nullptr;
    case VPAR_LONG:
      VEXA_RAISE(proc, "wrong type: long");
      return nullptr;
    case VPAR_DOUBLE:
      VEXA_RAISE(proc, "wrong type: double");
      return nullptr;
    default:
      VEXA_RAISE(proc, "internal error: wrong type");
      return nullptr;
  }
}

}  // namespace Vexa
