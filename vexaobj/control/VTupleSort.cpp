// Ordering of tuples: Sort, SortIndex and SelectRank. The order is that of
// VCtrlVal::operator< (and operator> where the selection needs it): integers
// and reals mix, strings compare bytewise, a string against a number fails
// in the comparison. All work on copies, so the tuple itself is never left
// half sorted.
#include <vexaobj/VTuple.h>

#include <inttypes.h>

#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "raise.h"
#include "tuple_argument.h"

namespace Vexa {

namespace {

// Orders on the elements being sorted (the "slots"). Each gives the pivot
// kept for one partition and the two comparisons of the partition loop.
// Tuples of integers only or of reals only are compared on the raw value,
// which is exactly what operator< does for them, without the type dispatch.
struct LongOrder {
  using Pivot = Vlong;
  static Pivot PivotOf(const VCtrlVal& v) { return v.VCPAR().par.l; }
  static bool SlotBelow(const VCtrlVal& v, Pivot p) { return v.VCPAR().par.l < p; }
  static bool PivotBelow(Pivot p, const VCtrlVal& v) { return p < v.VCPAR().par.l; }
};

struct DoubleOrder {
  using Pivot = double;
  static Pivot PivotOf(const VCtrlVal& v) { return v.VCPAR().par.d; }
  static bool SlotBelow(const VCtrlVal& v, Pivot p) { return v.VCPAR().par.d < p; }
  static bool PivotBelow(Pivot p, const VCtrlVal& v) { return p < v.VCPAR().par.d; }
};

struct ValueOrder {
  using Pivot = VCtrlVal;
  static Pivot PivotOf(const VCtrlVal& v) { return v; }
  static bool SlotBelow(const VCtrlVal& v, const Pivot& p) { return (v < p) != 0; }
  static bool PivotBelow(const Pivot& p, const VCtrlVal& v) { return (p < v) != 0; }
};

// The general order of SortIndex: the slots are indexes into `values`,
// compared by the elements they name. The elements do not move, so the
// pivot is the element itself rather than a copy.
struct IndexedValueOrder {
  const VCtrlVal* values;

  using Pivot = const VCtrlVal*;
  const VCtrlVal& At(const VCtrlVal& slot) const { return values[slot.VCPAR().par.l]; }
  Pivot PivotOf(const VCtrlVal& slot) const { return &At(slot); }
  bool SlotBelow(const VCtrlVal& slot, Pivot p) const { return (At(slot) < *p) != 0; }
  bool PivotBelow(Pivot p, const VCtrlVal& slot) const { return (*p < At(slot)) != 0; }
};

// SortIndex of integers only or reals only sorts (value, index) pairs in
// one array, which keeps the comparisons and swaps of the indexed sort but
// reads the values in place of chasing each index.
template <class Key>
struct KeyedIndex {
  Key key;
  Vlong index;
};

template <class Key>
struct KeyedOrder {
  using Pivot = Key;
  static Pivot PivotOf(const KeyedIndex<Key>& s) { return s.key; }
  static bool SlotBelow(const KeyedIndex<Key>& s, Pivot p) { return s.key < p; }
  static bool PivotBelow(Pivot p, const KeyedIndex<Key>& s) { return p < s.key; }
};

// Non-recursive quicksort of `n` (at least 2) slots on two explicit stacks
// of range bounds. Pivot: a copy of the middle slot's key; partition by
// "slot < pivot" from the left and "pivot < slot" from the right. Each scan
// stops at the latest at the pivot's own slot or at a slot swapped across,
// so it stays inside the range for any order that answers a pair the same
// way every time. `swap` exchanges two slots without copying.
template <class Slot, class Order, class Swap>
void QuickSort(Slot* slots, Vlong n, const Order& order, Swap swap) {
  std::unique_ptr<Vlong[]> low(new (std::nothrow) Vlong[n]);
  std::unique_ptr<Vlong[]> high(new (std::nothrow) Vlong[n]);
  if (!low || !high) {
    VEXA_RAISE("new", "Out of memory");
    return;
  }
  Vlong top = 0;
  low[top] = 0;
  high[top] = n - 1;
  ++top;
  while (top > 0) {
    --top;
    const Vlong lo = low[top];
    Vlong hi = high[top];
    do {
      Vlong i = lo;
      Vlong j = hi;
      const auto pivot = order.PivotOf(slots[(lo + hi) / 2]);
      do {
        while (order.SlotBelow(slots[i], pivot)) ++i;
        while (order.PivotBelow(pivot, slots[j])) --j;
        if (i <= j) {
          swap(slots[i], slots[j]);
          ++i;
          --j;
        }
      } while (i <= j);
      // Pending ranges are disjoint and hold two elements at least, so the
      // stacks never hold more than n / 2 of them.
      if (i < hi) {
        low[top] = i;
        high[top] = hi;
        ++top;
      }
      hi = j;
    } while (lo < hi);
  }
}

// The type that every element of the tuple has, or VPAR_MIXED.
int CommonType(const VCtrlVal* elems, Vlong n) {
  const int type = elems[0].ValType();
  for (Vlong i = 1; i < n; ++i) {
    if (elems[i].ValType() != type) return VPAR_MIXED;
  }
  return type;
}

// The index sort of integers only or reals only, written into `slots`,
// which hold the integers 0 to n - 1.
template <class Key>
void SortIndexByKey(const VCtrlVal* values, VCtrlVal* slots, Vlong n, Key (*read)(const Vcpar&)) {
  std::vector<KeyedIndex<Key>> pairs(static_cast<size_t>(n));
  for (Vlong i = 0; i < n; ++i) pairs[i] = KeyedIndex<Key>{read(values[i].VCPAR()), i};
  QuickSort(pairs.data(), n, KeyedOrder<Key>(),
            [](KeyedIndex<Key>& a, KeyedIndex<Key>& b) { std::swap(a, b); });
  for (Vlong i = 0; i < n; ++i) slots[i] = VCtrlVal(pairs[i].index);
}

Vlong ReadLong(const Vcpar& v) { return v.par.l; }
double ReadDouble(const Vcpar& v) { return v.par.d; }

}  // namespace

VTuple VTuple::Sort() const {
  VTuple result(*this);
  if (num <= 1) return result;
  auto swap = [](VCtrlVal& a, VCtrlVal& b) {
    std::swap(a.par, b.par);
    std::swap(a.type, b.type);
  };
  switch (CommonType(elems, num)) {
    case VPAR_LONG:
      QuickSort(result.elems, num, LongOrder(), swap);
      break;
    case VPAR_DOUBLE:
      QuickSort(result.elems, num, DoubleOrder(), swap);
      break;
    default:
      QuickSort(result.elems, num, ValueOrder(), swap);
      break;
  }
  return result;
}

VTuple VTuple::SortIndex() const {
  VTuple result;
  for (Vlong i = num - 1; i >= 0; --i) result[i] = VCtrlVal(i);
  if (num <= 1 || result.num != num) return result;
  switch (CommonType(elems, num)) {
    case VPAR_LONG:
      SortIndexByKey(elems, result.elems, num, ReadLong);
      break;
    case VPAR_DOUBLE:
      SortIndexByKey(elems, result.elems, num, ReadDouble);
      break;
    default:
      QuickSort(result.elems, num, IndexedValueOrder{elems},
                [](VCtrlVal& a, VCtrlVal& b) { std::swap(a.par, b.par); });
      break;
  }
  return result;
}

VTuple VTuple::SelectRank(Vlong index) const {
  if (num == 0) return VTuple();
  // The smallest and the greatest element by a linear scan; of equal
  // elements the first stays.
  if (index == 0 || index == num - 1) {
    const bool greatest = index != 0;
    const VCtrlVal* cur = &elems[0];
    for (Vlong i = 1; i < num; ++i) {
      if (greatest ? *cur < elems[i] : *cur > elems[i]) cur = &elems[i];
    }
    return VTuple(*cur);
  }
  if (index < 0 || index >= num) {
    VEXA_RAISE("VTuple VTuple::SelectRank(long index) const",
               "index out of range: index = %" PRId64 ", Num() = %" PRId64 "\n", index, num);
    return VTuple();
  }
  // Quickselect on a copy: median of three as pivot, then the bound on the
  // side without `index` is drawn in.
  VTuple copy(*this);
  VCtrlVal* a = copy.elems;
  auto swap = [](VCtrlVal& x, VCtrlVal& y) {
    std::swap(x.par, y.par);
    std::swap(x.type, y.type);
  };
  Vlong l = 0;
  Vlong r = num - 1;
  while (r > l + 1) {
    swap(a[(l + r) / 2], a[l + 1]);
    if (a[l] > a[r]) swap(a[l], a[r]);
    if (a[l + 1] > a[r]) swap(a[l + 1], a[r]);
    if (a[l] > a[l + 1]) swap(a[l], a[l + 1]);
    Vlong i = l + 1;
    Vlong j = r;
    const VCtrlVal pivot = a[l + 1];
    for (;;) {
      do ++i; while (a[i] < pivot);
      do --j; while (a[j] > pivot);
      if (j < i) break;
      swap(a[i], a[j]);
    }
    a[l + 1] = a[j];
    a[j] = pivot;
    if (j >= index) r = j - 1;
    if (j <= index) l = i;
  }
  if (r == l + 1 && a[r] < a[l]) swap(a[l], a[r]);
  return VTuple(a[index]);
}

VTuple VTuple::SelectRank(const VTuple& index) const {
  VCtrlVal value;
  if (!internal::SingleValue(index, "VTuple VTuple::SelectRank(const VTuple &index) const",
                             "length of index != 1", &value))
    return VTuple();
  return SelectRank(value.L());
}

}  // namespace Vexa
