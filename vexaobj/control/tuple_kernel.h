// The loops shared by all elementwise tuple operators (arithmetic, logic,
// bits): the broadcast rule, the scalar forms, the in-place update and the
// unary map. Every loop walks from the last index down, so that a result
// is sized by one storage extension, as its first write would size it.
// Elements are read and written in place, without the checks of
// VTuple::operator[], which is what keeps the inner loops tight.
//
// A fresh result gets the capacity of that one extension, but none of its
// entries is cleared in advance: the loops write every live entry anyway,
// and the room beyond the length is cleared only when it is made live
// (Extend below). Clearing it all up front cost as much as the additions.
#ifndef VEXAOBJ_CONTROL_TUPLE_KERNEL_H
#define VEXAOBJ_CONTROL_TUPLE_KERNEL_H

#include <string.h>

#include <type_traits>

#include <vexa/types.h>
#include <vexaobj/VBase.h>
#include <vexaobj/VCtrlVal.h>
#include <vexaobj/VTuple.h>

#include "raise.h"
#include "tag_scan.h"
#include "runtime_alloc.h"

namespace Vexa {
namespace internal {

// Procedure named when the storage of a tuple cannot be extended.
inline constexpr char kNewLengthProc[] = "VTuple::NewLength(Vlong new_num, Vlong old_num)";

// The capacity the growth rule gives an empty array on a write to `index`,
// asked of VBaseArray::Extend itself through an array without storage, so
// that the rule lives in one place.
class GrowthCapacity final : public VBaseArray {
 public:
  explicit GrowthCapacity(Vlong index) { Extend(index); }
  Vlong value() const { return AllocNum(); }
  const char* ClassName() const override { return "GrowthCapacity"; }

 private:
  void NewLength(Vlong, Vlong) override {}
};

struct TupleKernel {
  // --- Raw element access --------------------------------------------------

  static int Tag(const VCtrlVal& v) { return v.type; }
  static Vlong Long(const VCtrlVal& v) { return v.par.l; }
  static double Real(const VCtrlVal& v) { return v.par.d; }
  static const char* Text(const VCtrlVal& v) { return v.par.s; }
  static bool IsNumber(int tag) { return tag == VPAR_LONG || tag == VPAR_DOUBLE; }
  // A number of either type as a double; the caller has checked the tag.
  static double AsReal(const VCtrlVal& v) {
    return v.type == VPAR_LONG ? static_cast<double>(v.par.l) : v.par.d;
  }

  // Writers of a slot that holds no string.
  static void SetLong(VCtrlVal& out, Vlong l) {
    out.par.l = l;
    out.type = VPAR_LONG;
  }
  static void SetReal(VCtrlVal& out, double d) {
    out.par.d = d;
    out.type = VPAR_DOUBLE;
  }
  // Writers of a whole entry, padding included, whatever it held: for the
  // uncleared entries of a fresh result, written with one store each.
  static void PutLong(VCtrlVal& out, Vlong l) {
    Vcpar entry{};
    entry.par.l = l;
    entry.type = VPAR_LONG;
    memcpy(static_cast<void*>(&out), &entry, sizeof entry);
  }
  static void PutReal(VCtrlVal& out, double d) {
    Vcpar entry{};
    entry.par.d = d;
    entry.type = VPAR_DOUBLE;
    memcpy(static_cast<void*>(&out), &entry, sizeof entry);
  }
  // Adopts a string allocated from the runtime into a slot holding none.
  static void SetText(VCtrlVal& out, char* s) {
    out.par.s = s;
    out.type = VPAR_STRING;
  }
  // Moves `from` into `out`, releasing what `out` held; `from` is left
  // undefined, so that no string is copied.
  static void MoveInto(VCtrlVal& from, VCtrlVal& out) {
    out.ClearCtrlVal();
    out.par = from.par;
    out.type = from.type;
    from.par.l = 0;
    from.type = VPAR_UNDEF;
  }

  static const VCtrlVal* Elems(const VTuple& t) { return t.elems; }

  // VBaseArray::Extend for tuples, the one way tuple code makes `index`
  // live: entries made live within the capacity may hold anything and are
  // made undefined values; a reallocated array comes cleared.
  static void Extend(VTuple& t, Vlong index) {
    t.MayHoldStrings();
    const Vlong old_num = t.num;
    const Vlong old_capacity = t.num_alloc;
    t.Extend(index);
    if (t.num > old_num && t.num <= old_capacity)
      ClearEntries(t.elems + old_num, t.num - old_num);
  }

  // Makes `length` (at least 1) elements of `t` live with one extension, as
  // a write to index length - 1 would. False when the storage could not be
  // had; the failure has been raised.
  static bool Grow(VTuple& t, Vlong length) {
    Extend(t, length - 1);
    return t.num >= length;
  }

  // Makes `length` (at least 1) elements of the empty tuple `t` live with
  // the capacity Grow would give, leaving every entry uncleared: the live
  // ones for the loops to write, the rest for Extend to clear.
  // False when the storage could not be had; the failure has been raised.
  static bool GrowUncleared(VTuple& t, Vlong length) {
    t.MayHoldStrings();
    const Vlong capacity = GrowthCapacity(length - 1).value();
    VCtrlVal* fresh = RuntimeAllocArray<VCtrlVal>(capacity, Fill::kNone, kNewLengthProc,
                                                  __FILE__, __LINE__);
    if (fresh == nullptr) return false;
    t.elems = fresh;
    t.SetArray(length, capacity);
    return true;
  }

  // Makes `count` entries undefined values, whatever they held.
  static void ClearEntries(VCtrlVal* entries, Vlong count) {
    memset(static_cast<void*>(entries), 0, static_cast<size_t>(count) * sizeof(VCtrlVal));
  }

  // write(i, out[i]) for i from `top` down to 0 over uncleared entries,
  // each made undefined just before its write, so a write may decline and
  // leave it so. If a write throws, the entries not yet reached are
  // cleared as well, so that the array can be released.
  template <class Write>
  static void FillDown(VCtrlVal* out, Vlong top, Write write) {
    Vlong i = top;
    try {
      for (; i >= 0; --i) {
        ClearEntries(out + i, 1);
        write(i, out[i]);
      }
    } catch (...) {
      ClearEntries(out, i);
      throw;
    }
  }

  // --- Blocks of one number type --------------------------------------------
  // The loops over numbers walk their operands in short blocks and ask once
  // per block whether each side is all integers or all reals. Such a block
  // is done by a loop without a type test per element, which the compiler
  // unrolls; any other block goes element by element. Short blocks keep the
  // type scan and the work on data the scan just brought into the cache.

  // Elements per block: a block of each operand and of the result stay
  // well inside the first-level cache.
  static constexpr Vlong kBlockLength = 256;

  // VPAR_LONG or VPAR_DOUBLE when the `count` (at least 1) elements from
  // `v` all have that type, else VPAR_UNDEF. An operand that does not step
  // is its first element alone. The elements are read in the direction the
  // caller walks its blocks, upward when kUp, so that the whole walk is one
  // stream through memory for the processor's prefetching to follow.
  template <bool kSteps, bool kUp = false>
  static int UniformType(const VCtrlVal* v, Vlong count) {
    const int tag = Tag(v[0]);
    if (!IsNumber(tag)) return VPAR_UNDEF;
    if (kSteps && CombinedTags<kUp>(v, count, tag) != 0) return VPAR_UNDEF;
    return tag;
  }

  // A number type known at compile time, and the value of an element of
  // that type: its Vlong or its double.
  template <int kTag>
  using NumberType = std::integral_constant<int, kTag>;

  template <int kTag>
  static auto Number(const VCtrlVal& v) {
    if constexpr (kTag == VPAR_LONG) {
      return Long(v);
    } else {
      return Real(v);
    }
  }

  // f(NumberType<tx>(), NumberType<ty>()) for the number types tx and ty
  // (each VPAR_LONG or VPAR_DOUBLE), so that f is compiled once per pair.
  template <class F>
  static auto WithNumberTypes(int tx, int ty, F f) {
    using L = NumberType<VPAR_LONG>;
    using D = NumberType<VPAR_DOUBLE>;
    if (tx == VPAR_LONG) return ty == VPAR_LONG ? f(L(), L()) : f(L(), D());
    return ty == VPAR_LONG ? f(D(), L()) : f(D(), D());
  }

  // Whether the element operation `Op` has a typed path for blocks:
  // `template <bool kLeftSteps, bool kRightSteps> bool Block(left, right,
  // out, count) const`, which either writes all `count` uncleared entries
  // of `out` whole with numbers, as the element operation would, and
  // returns true, or returns false having written at most numbers, which
  // the element path overwrites.
  template <class Op, class = void>
  struct HasBlockPath : std::false_type {};
  template <class Op>
  struct HasBlockPath<Op, std::void_t<decltype(&Op::template Block<true, true>)>>
      : std::true_type {};

  // --- Loops ---------------------------------------------------------------
  // A binary element operation is `void op(const VCtrlVal& left, const
  // VCtrlVal& right, VCtrlVal& out)`, writing into a slot that holds no
  // string.

  // result[i] = left[i or 0] op right[i or 0] for the n result elements.
  template <class Op>
  static VTuple Zip(const VCtrlVal* left, bool left_steps, const VCtrlVal* right,
                    bool right_steps, Vlong n, Op op) {
    VTuple result;
    if (n <= 0 || !GrowUncleared(result, n)) return result;
    bool numbers_only;
    if (left_steps && right_steps) {
      numbers_only = ZipLoop<true, true>(left, right, result.elems, n, op);
    } else if (left_steps) {
      numbers_only = ZipLoop<true, false>(left, right, result.elems, n, op);
    } else {
      numbers_only = ZipLoop<false, true>(left, right, result.elems, n, op);
    }
    if (numbers_only) result.state |= VTuple::kNoStrings;
    return result;
  }

  // The inner loop, with the operands' stepping fixed at compile time. It
  // walks down in blocks. An operation with a typed path for blocks
  // (HasBlockPath) is offered each block first; what it declines goes
  // element by element as in FillDown. True when every block took the
  // typed path, so that the result holds numbers only. If a write throws,
  // the entries not yet reached are cleared as well, so that the array can
  // be released.
  template <bool kLeftSteps, bool kRightSteps, class Op>
  static bool ZipLoop(const VCtrlVal* left, const VCtrlVal* right, VCtrlVal* out,
                      Vlong n, Op op) {
    Vlong i = n - 1;
    bool numbers_only = HasBlockPath<Op>::value;
    try {
      while (i >= 0) {
        const Vlong begin = i >= kBlockLength ? i + 1 - kBlockLength : 0;
        if constexpr (HasBlockPath<Op>::value) {
          if (op.template Block<kLeftSteps, kRightSteps>(
                  left + (kLeftSteps ? begin : 0), right + (kRightSteps ? begin : 0),
                  out + begin, i + 1 - begin)) {
            i = begin - 1;
            continue;
          }
        }
        numbers_only = false;
        for (; i >= begin; --i) {
          ClearEntries(out + i, 1);
          op(left[kLeftSteps ? i : 0], right[kRightSteps ? i : 0], out[i]);
        }
      }
    } catch (...) {
      ClearEntries(out, i);
      throw;
    }
    return numbers_only;
  }

  // The broadcast rule of two tuples, tested in this order: an empty
  // operand gives the empty tuple; a one-element right operand is spread;
  // then a one-element left one; else the lengths must agree.
  template <class Op>
  static VTuple Broadcast(const VTuple& left, const VTuple& right, const char* proc,
                          Op op) {
    const Vlong n1 = left.num;
    const Vlong n2 = right.num;
    if (n1 == 0 || n2 == 0) return VTuple();
    if (n2 == 1) return Zip(left.elems, true, right.elems, false, n1, op);
    if (n1 == 1) return Zip(left.elems, false, right.elems, true, n2, op);
    if (n1 == n2) return Zip(left.elems, true, right.elems, true, n1, op);
    VEXA_RAISE(proc, "tuple with incompatible length");
    return VTuple();
  }

  template <class Op>
  static VTuple WithRight(const VTuple& left, const VCtrlVal& right, Op op) {
    return Zip(left.elems, true, &right, false, left.num, op);
  }

  template <class Op>
  static VTuple WithLeft(const VCtrlVal& left, const VTuple& right, Op op) {
    return Zip(&left, false, right.elems, true, right.num, op);
  }

  // t[i] = t[i] op right[i or 0], from the last index down. A raise that
  // throws leaves the higher indexes changed and the others as they were.
  template <class Op>
  static void Update(VTuple& t, const VCtrlVal* right, bool right_steps, Op op) {
    t.MayHoldStrings();
    const Vlong right_stride = right_steps ? 1 : 0;
    for (Vlong i = t.num - 1; i >= 0; --i) {
      VCtrlVal value;
      op(t.elems[i], right[i * right_stride], value);
      MoveInto(value, t.elems[i]);
    }
  }

  // t[i] = left op right[i] for all i of `right`, growing t to its length;
  // `left` must not live in t.
  template <class Op>
  static void Spread(VTuple& t, const VCtrlVal& left, const VTuple& right, Op op) {
    t.MayHoldStrings();
    const Vlong n = right.num;
    if (n <= 0 || !Grow(t, n)) return;
    for (Vlong i = n - 1; i >= 0; --i) {
      VCtrlVal value;
      op(left, right.elems[i], value);
      MoveInto(value, t.elems[i]);
    }
  }

  // result[i] = op(t[i]) from the last index down, where
  // `bool op(const VCtrlVal& in, VCtrlVal& out)` may decline to write. The
  // result is sized by the first element that is written, so declined
  // trailing elements leave it shorter and declined inner ones undefined.
  template <class Op>
  static VTuple Map(const VTuple& t, Op op) {
    VTuple result;
    Vlong top = t.num - 1;
    VCtrlVal value;
    while (top >= 0 && !op(t.elems[top], value)) --top;
    if (top < 0 || !GrowUncleared(result, top + 1)) return result;
    ClearEntries(result.elems + top, 1);
    MoveInto(value, result.elems[top]);
    FillDown(result.elems, top - 1, [&](Vlong i, VCtrlVal& slot) { op(t.elems[i], slot); });
    return result;
  }
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_TUPLE_KERNEL_H
