// Sequence VTuple methods that run locally: selecting, removing and
// replacing elements, reversing, removing neighbouring duplicates,
// searching a sub-sequence, and the accumulating Sum and Cumul. Sorting and
// rank selection are in VTupleSort.cpp.
#include <vexaobj/VTuple.h>

#include <inttypes.h>

#include <vector>

#include "raise.h"
#include "tuple_kernel.h"

namespace Vexa {

VTuple VTuple::Select(const VTuple& Index) const {
  static const char proc[] = "VTuple VTuple::Select(const VTuple &Index)";
  VTuple result;
  const Vlong n = Index.num;
  if (n <= 0) return result;
  internal::TupleKernel::Extend(result, n - 1);
  if (result.num != n) return result;
  for (Vlong i = 0; i < n; ++i) {
    const Vlong k = Index.elems[i].L();
    if (k >= 0 && k < num) {
      result.elems[i] = elems[k];
      continue;
    }
    VEXA_RAISE(proc, k < 0 ? "'Index' must be >= 0" : "'Index' out of range");
    // A handler returned: the checked read reports once more.
    result.elems[i] = (*this)[k];
  }
  return result;
}

VTuple VTuple::Subset(const VTuple& index) const {
  VTuple result;
  if (num == 0) return result;
  // From the last index down: of two bad indexes the last is reported.
  for (Vlong i = index.num - 1; i >= 0; --i) {
    const Vlong k = index.elems[i].L();
    if (k >= 0 && k < num) {
      result[i] = elems[k];
      continue;
    }
    VEXA_RAISE("VTuple VTuple::Subset(const VTuple &index) const",
               "index out of range: index = %" PRId64 ", Num() = %" PRId64 "\n", k, num);
    result[i] = (*this)[k];
  }
  return result;
}

VTuple VTuple::SelectMask(const VTuple& mask) const {
  VTuple result;
  if (num == 0) return result;
  if (mask.num != num) {
    VEXA_RAISE("VTuple VTuple::SelectMask(const VTuple &mask) const",
               "tuple with incompatible length");
    return result;
  }
  // A real mask value is truncated first: 0.9 leaves the element out.
  for (Vlong i = 0; i < num; ++i) {
    if (mask.elems[i].L() > 0) result[result.num] = elems[i];
  }
  return result;
}

VTuple VTuple::Remove(const VTuple& index) const {
  if (num <= 0) return VTuple();
  // One mark per element, so that repeated and unsorted indexes remove
  // each element once; indexes outside the tuple are ignored.
  std::vector<unsigned char> removed(static_cast<size_t>(num), 0);
  Vlong count = 0;
  for (Vlong i = index.num - 1; i >= 0; --i) {
    const Vlong k = index.elems[i].L();
    if (k < 0 || k >= num || removed[k]) continue;
    removed[k] = 1;
    ++count;
  }
  VTuple result(num - count, VTuple(Vlong{0}));
  Vlong next = 0;
  for (Vlong i = 0; i < num && next < result.num; ++i) {
    if (!removed[i]) result.elems[next++] = elems[i];
  }
  return result;
}

void VTuple::ReplaceElements(const VTuple& Index, const VTuple& ReplaceValue) {
  static const char proc[] =
      "void VTuple::ReplaceElements(const VTuple &Index,const VTuple &ReplaceValue)";
  MayHoldStrings();
  const bool single = ReplaceValue.num == 1;
  if (Index.num != ReplaceValue.num && !single) {
    VEXA_RAISE(proc,
               "'ReplaceValue' must have one element or the same number of elements as 'Index'");
    return;
  }
  // All indexes are checked before anything changes.
  Vlong greatest = 0;
  for (Vlong i = 0; i < Index.num; ++i) {
    const Vlong k = Index.elems[i].L();
    if (k < 0) {
      VEXA_RAISE(proc, "'Index' must be >= 0");
      return;
    }
    if (k > greatest) greatest = k;
  }
  // Past the end the tuple grows, the gap left undefined. As the greatest
  // index starts at 0, an empty tuple gets one element even for no index.
  internal::TupleKernel::Extend(*this, greatest);
  if (num <= greatest) return;
  for (Vlong i = 0; i < Index.num; ++i) {
    const Vlong k = Index.elems[i].L();
    elems[k] = ReplaceValue.elems[single ? 0 : i];
  }
}

VTuple VTuple::Inverse() const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) result[i] = elems[num - 1 - i];
  return result;
}

VTuple VTuple::Uniq() const {
  if (num <= 0) return VTuple();
  // Counted first, so that the result is made at its length.
  Vlong count = 1;
  for (Vlong i = 0; i + 1 < num; ++i) {
    if (elems[i] != elems[i + 1]) ++count;
  }
  VTuple result(count, VTuple(Vlong{0}));
  if (result.num != count) return result;
  result.elems[0] = elems[0];
  Vlong next = 1;
  for (Vlong i = 0; i + 1 < num && next < count; ++i) {
    if (elems[i] != elems[i + 1]) result.elems[next++] = elems[i + 1];
  }
  return result;
}

VTuple VTuple::Find(const VTuple& val) const {
  const Vlong n = num;
  const Vlong m = val.num;
  if (n <= 0 || m <= 0) return VTuple();
  std::vector<Vlong> found;
  // Every start position counts, so overlapping occurrences are all found.
  for (Vlong s = 0; s <= n - m; ++s) {
    Vlong j = 0;
    while (j < m && !(elems[s + j] != val.elems[j])) ++j;
    if (j == m) found.push_back(s);
  }
  // No occurrence is -1, unlike an empty operand.
  if (found.empty()) return VTuple(Vlong{-1});
  VTuple result;
  for (Vlong i = static_cast<Vlong>(found.size()) - 1; i >= 0; --i)
    result[i] = VCtrlVal(found[static_cast<size_t>(i)]);
  return result;
}

VTuple VTuple::Sum() const {
  if (num == 0) return VTuple();
  // Promotion follows the element addition step by step, so strings
  // concatenate from where they first appear.
  VCtrlVal acc = elems[0];
  for (Vlong i = 1; i < num; ++i) acc = acc + elems[i];
  return VTuple(acc);
}

VTuple VTuple::Cumul() const {
  VTuple result(num, VTuple(Vlong{0}));
  VCtrlVal acc(Vlong{0});
  for (Vlong i = 0; i < result.num; ++i) {
    if (elems[i].type == VPAR_STRING) {
      VEXA_RAISE("VTuple VTuple::Cumul(void) const", "Cumul of string value");
      continue;
    }
    acc = acc + elems[i];
    result.elems[i] = acc;
  }
  return result;
}

}  // namespace Vexa
