// VTuple element access: indexing, slices, and joining tuples.
#include <vexaobj/VTuple.h>

#include <inttypes.h>

#include "raise.h"
#include "tuple_kernel.h"

namespace Vexa {

namespace {

// Target of a writable access whose check failed and whose handler
// returned: the caller gets a harmless undefined value instead of a
// reference outside the tuple. Never destroyed, so that it outlives every
// static tuple of the application.
VCtrlVal& Sink() {
  static VCtrlVal* const sink = new VCtrlVal();
  sink->ClearCtrlVal();
  return *sink;
}

}  // namespace

VCtrlVal& VTuple::operator[](Vlong index) {
  MayHoldStrings();
  if (index < 0) {
    VEXA_RAISE("VCtrlVal & VTuple::operator [] (long index)",
               "index out of range: index = %" PRId64 "\n", index);
    return Sink();
  }
  if (index >= num) internal::TupleKernel::Extend(*this, index);
  // Growth that failed leaves the index outside the tuple.
  if (index >= num) return Sink();
  return elems[index];
}

VCtrlVal VTuple::operator[](Vlong index) const {
  if (index < 0 || index >= num) {
    VEXA_RAISE("VCtrlVal VTuple::operator [] (long index) const",
               "index out of range: index = %" PRId64 ", Num() = %" PRId64 "\n",
               index, num);
    return VCtrlVal();
  }
  return elems[index];
}

VCtrlVal& VTuple::operator[](const VTuple& index) {
  static const char proc[] = "VCtrlVal & VTuple::operator [] (const VTuple &index)";
  if (index.num != 1) {
    VEXA_RAISE(proc, "Index with length != 1: length = %" PRId64 "\n", index.num);
    return Sink();
  }
  const Vlong i = index.elems[0].L();
  if (i < 0) {
    VEXA_RAISE(proc, "negative index: index = %" PRId64 "\n", i);
    return Sink();
  }
  return (*this)[i];
}

VCtrlVal VTuple::operator[](const VTuple& index) const {
  if (index.num != 1) {
    VEXA_RAISE("VCtrlVal VTuple::operator [] (const VTuple &index) const",
               "Index tuple with length != 1: length = %" PRId64 "\n", index.num);
    return VCtrlVal();
  }
  return (*this)[index.elems[0].L()];
}

VTuple::operator VCtrlVal() const {
  if (num != 1) {
    VEXA_RAISE("VTuple::operator VCtrlVal(void) const", "length of tuple != 1");
    return VCtrlVal();
  }
  return elems[0];
}

VTuple VTuple::operator()(Vlong min, Vlong max) const {
  VTuple result;
  if (num == 0) return result;
  // (n + 1, n) is an empty range, while (0, -1) is refused below: kept so
  // on purpose.
  if (min > 0 && min == max + 1) return result;
  if (min < 0 || max >= num || min > max) {
    VEXA_RAISE("VTuple VTuple::operator () (long min, long max)",
               "index out of range");
    return result;
  }
  internal::TupleKernel::Extend(result, max - min);
  if (result.num != max - min + 1) return result;
  for (Vlong i = min; i <= max; ++i) result.elems[i - min] = elems[i];
  return result;
}

VTuple VTuple::operator()(const VTuple& min, const VTuple& max) const {
  static const char proc[] =
      "VTuple VTuple::operator () (const VTuple &min, const VTuple &max)";
  if (min.num != 1) {
    VEXA_RAISE(proc, "length of index min != 1");
    return VTuple();
  }
  if (max.num != 1) {
    VEXA_RAISE(proc, "length of index max != 1");
    return VTuple();
  }
  return (*this)(min.elems[0].L(), max.elems[0].L());
}

VTuple& VTuple::Append(const VTuple& t) {
  if (&t == this) {
    const VTuple copy(t);
    return Append(copy);
  }
  const Vlong base = num;
  // One Extend, so that at most one reallocation happens.
  internal::TupleKernel::Extend(*this, base + t.num - 1);
  if (num < base + t.num) return *this;
  for (Vlong j = 0; j < t.num; ++j) elems[base + j] = t.elems[j];
  return *this;
}

VTuple VTuple::Concat(const VTuple& t) const {
  VTuple result;
  // From the highest index down: the first assignment sizes the result.
  for (Vlong j = t.num - 1; j >= 0; --j) result[num + j] = t.elems[j];
  for (Vlong i = num - 1; i >= 0; --i) result[i] = elems[i];
  return result;
}

}  // namespace Vexa
