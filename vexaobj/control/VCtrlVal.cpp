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

namespace {

// The numeric accessors share one rule: a number converts, anything else is
// reported under the accessor's procedure text and reads as zero. D() alone
// names an unknown type code in its message.
template <class T, class FromLong, class FromDouble>
T ReadNumber(const Vcpar& v, const char* proc, bool name_bad_tag, FromLong from_long,
             FromDouble from_double) {
  switch (v.type) {
    case VPAR_LONG:
      return from_long(v.par.l);
    case VPAR_DOUBLE:
      return from_double(v.par.d);
    case VPAR_UNDEF:
      VEXA_RAISE(proc, "not instantiated");
      return T(0);
    case VPAR_STRING:
      VEXA_RAISE(proc, "wrong type: string");
      return T(0);
    default:
      if (name_bad_tag)
        VEXA_RAISE(proc, "internal error: wrong type: %d", v.type);
      else
        VEXA_RAISE(proc, "internal error: wrong type");
      return T(0);
  }
}

}  // namespace

int VCtrlVal::I() const {
  return ReadNumber<int>(
      VCPAR(), "int VCtrlVal::I() const", false,
      [](Vlong l) { return static_cast<int32_t>(l); },
      [](double d) { return internal::TruncateToInt32(d); });
}

Vlong VCtrlVal::L() const {
  return ReadNumber<Vlong>(
      VCPAR(), "long VCtrlVal::L() const", false, [](Vlong l) { return l; },
      [](double d) { return internal::TruncateToInt64(d); });
}

double VCtrlVal::D() const {
  return ReadNumber<double>(
      VCPAR(), "double VCtrlVal::D() const", true,
      [](Vlong l) { return static_cast<double>(l); }, [](double d) { return d; });
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
