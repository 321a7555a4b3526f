// VTuple storage: construction, copying, growth, release, and the hand-over
// of element arrays to and from the runtime's parameter records.
#include <vexaobj/VTuple.h>

#include <inttypes.h>
#include <stdint.h>

#include <new>

#include "raise.h"
#include "runtime_alloc.h"
#include "tuple_kernel.h"

namespace Vexa {

VTuple* const _ = nullptr;
VTuple* const __ = nullptr;

// `count` undefined entries, or null after a raised failure.
#define VEXA_ALLOC_ELEMS(count, proc) \
  internal::RuntimeAllocArray<VCtrlVal>(count, internal::Fill::kZero, proc, __FILE__, __LINE__)

VTuple::VTuple() : elems(nullptr), state(1) {}

VTuple::VTuple(SpecialTuple special)
    : elems(nullptr), state(static_cast<unsigned char>(special.state & ~kNoStrings)) {}

bool VTuple::InitSingle(const char* proc) {
  SingleArray();
  elems = VEXA_ALLOC_ELEMS(AllocNum(), proc);
  if (elems != nullptr) return true;
  EmptyArray();
  return false;
}

VTuple::VTuple(int i) : elems(nullptr), state(1) {
  if (!InitSingle("VTuple::VTuple(int i)")) return;
  elems[0].par.l = i;
  elems[0].type = VPAR_LONG;
}

VTuple::VTuple(Vlong i) : elems(nullptr), state(1) {
  if (!InitSingle("VTuple::VTuple(Vlong i)")) return;
  elems[0].par.l = i;
  elems[0].type = VPAR_LONG;
}

VTuple::VTuple(float f) : elems(nullptr), state(1) {
  if (!InitSingle("VTuple::VTuple(float f)")) return;
  elems[0].par.d = f;
  elems[0].type = VPAR_DOUBLE;
}

VTuple::VTuple(double d) : elems(nullptr), state(1) {
  if (!InitSingle("VTuple::VTuple(double d)")) return;
  elems[0].par.d = d;
  elems[0].type = VPAR_DOUBLE;
}

VTuple::VTuple(const char* s) : elems(nullptr), state(1) {
  static const char proc[] = "VTuple::VTuple(const char* s)";
  if (!InitSingle(proc)) return;
  // A null text is taken as the empty string rather than read.
  elems[0].par.s = VEXA_STRDUP(s != nullptr ? s : "", proc);
  if (elems[0].par.s != nullptr) elems[0].type = VPAR_STRING;
}

VTuple::VTuple(const VCtrlVal& c) : elems(nullptr), state(1) {
  if (InitSingle("VTuple::VTuple(const VCtrlVal& c)")) elems[0].CopyCtrlVal(c);
}

VTuple::VTuple(const VTuple& in) : VBaseArray(), elems(nullptr), state(1) {
  CopyTuple(in);
}

VTuple::VTuple(Vlong length, const VTuple& value) : elems(nullptr), state(1) {
  FillCopies(length, value, "VTuple::VTuple(Vlong length, const VTuple& value)");
}

VTuple::VTuple(const VTuple& length, const VTuple& value)
    : elems(nullptr), state(1) {
  if (length.Num() != 1) {
    VEXA_RAISE("VTuple::VTuple(const VTuple &length, const VTuple &value)",
               "Length with length != 1: length = %" PRId64 "\n", length.Num());
    return;
  }
  // The literal lacks its closing parenthesis on purpose: it is the text
  // applications see.
  FillCopies(length[0].L(), value, "VTuple(const VTuple& length, const VTuple& value");
}

void VTuple::FillCopies(Vlong length, const VTuple& value, const char* proc) {
  // A length of 0 or below is stored as given, with no storage.
  NormalArray(length);
  if (length <= 0) return;
  const VCtrlVal first = value[0];
  elems = VEXA_ALLOC_ELEMS(length, proc);
  if (elems == nullptr) {
    EmptyArray();
    return;
  }
  for (Vlong i = 0; i < length; ++i) elems[i].CopyCtrlVal(first);
}

VTuple::~VTuple() { ClearTuple(); }

VTuple& VTuple::operator=(const VTuple& in) {
  if (this != &in) {
    ClearTuple();
    CopyTuple(in);
  }
  return *this;
}

void VTuple::Reset() { ClearTuple(); }

void VTuple::ClearTuple() {
  ReleaseElems(elems, state & kNoStrings ? 0 : num);
  MayHoldStrings();
  elems = nullptr;
  EmptyArray();
}

void VTuple::CopyTuple(const VTuple& in) {
  state = in.state;
  elems = nullptr;
  // The array is taken before the counts are set, so that a handler that
  // throws out of a failed allocation leaves a consistent empty tuple.
  if (in.num_alloc > 0) {
    elems = VEXA_ALLOC_ELEMS(in.num_alloc, "void VTuple::CopyTuple(const VTuple& in)");
    if (elems == nullptr) {
      EmptyArray();
      return;
    }
  }
  SetArray(in.num, in.num_alloc);
  for (Vlong i = 0; i < num; ++i) elems[i].CopyCtrlVal(in.elems[i]);
}

void VTuple::NewLength(Vlong new_num, Vlong old_num) {
  VCtrlVal* fresh = VEXA_ALLOC_ELEMS(new_num, internal::kNewLengthProc);
  if (fresh == nullptr) {
    // The old array stays with its first old_num entries. Without any, it
    // is released so that an empty tuple holds no storage.
    SetArray(old_num, old_num);
    if (old_num == 0) {
      VEXA_FREE(elems);
      elems = nullptr;
    }
    return;
  }
  // Strings are duplicated, not moved by pointer. All copies are made
  // before the old entries are released, so that a handler throwing out of
  // a failed copy leaves the tuple as it was.
  try {
    for (Vlong i = 0; i < old_num; ++i) fresh[i].CopyCtrlVal(elems[i]);
  } catch (...) {
    ReleaseElems(fresh, old_num);
    throw;
  }
  ReleaseElems(elems, old_num);
  elems = fresh;
}

void VTuple::ReleaseElems(VCtrlVal* array, Vlong count) {
  // Only strings own memory; the others need no call before the array goes.
  // The array is scanned in blocks for a string tag first, so a block of
  // numbers costs one vector pass. The scan runs upward: the loops write
  // results downward, so the low end is what is still in the cache.
  constexpr Vlong kBlock = 256;
  for (Vlong begin = 0; begin < count; begin += kBlock) {
    const Vlong end = count - begin > kBlock ? begin + kBlock : count;
    if ((internal::CombinedTags<true>(array + begin, end - begin, 0) & VPAR_STRING) == 0) continue;
    for (Vlong i = begin; i < end; ++i)
      if (array[i].type == VPAR_STRING) array[i].ClearCtrlVal();
  }
  VEXA_FREE(array);
}

void VTuple::CastToVctuple(Vctuple& rec) const {
  if (num == 1) {
    rec.val.l = elems[0].par.l;
    rec.type = elems[0].type;
    rec.elem = reinterpret_cast<Vcpar*>(&rec);
    rec.capacity = 0;
    rec.num = 1;
  } else {
    rec.type = VPAR_MIXED;
    rec.elem = reinterpret_cast<Vcpar*>(elems);
    rec.capacity = num_alloc;
    rec.num = num;
  }
  rec.borrowed = 1;
}

void VTuple::CastFromVctuple(Vctuple* rec) {
  if (rec->type != VPAR_MIXED) VctConvert2Mixed(nullptr, rec, 2);
  if (rec->num != 0) {
    if (rec->capacity != 0) {
      // VCtrlVal has the layout of Vcpar: the array is adopted as it is.
      elems = reinterpret_cast<VCtrlVal*>(rec->elem);
      SetArray(rec->num, rec->capacity);
    } else {
      elems = VEXA_ALLOC_ELEMS(1, "Vexa::VTuple::CastFromVctuple(Vctuple *ctuple)");
      if (elems != nullptr) {
        elems[0].par.l = rec->val.l;
        elems[0].type = rec->type;
        NormalArray(1);
      }
    }
  }
  state = 1;
}

}  // namespace Vexa
