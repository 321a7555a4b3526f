// Comparison of two numbers, the common case of every element comparison:
// integers as Vlong, an integer with a real as double. Inline, so that the
// whole-tuple walks need no call for it; strings, undefined values and the
// failures are left to the VCtrlVal operators.
#ifndef VEXAOBJ_CONTROL_VALUE_COMPARE_H
#define VEXAOBJ_CONTROL_VALUE_COMPARE_H

#include "tuple_kernel.h"

namespace Vexa {
namespace internal {

enum class Order { kLess, kGreater, kLessEqual, kGreaterEqual };

template <Order kOp, class T>
inline bool Holds(T a, T b) {
  switch (kOp) {
    case Order::kLess: return a < b;
    case Order::kGreater: return a > b;
    case Order::kLessEqual: return a <= b;
    case Order::kGreaterEqual: return a >= b;
  }
  return false;
}

// 1 or 0 when both are numbers, -1 when the pair is not numeric.
template <Order kOp>
inline int NumericOrder(const VCtrlVal& x, const VCtrlVal& y) {
  using K = TupleKernel;
  const int tx = K::Tag(x);
  const int ty = K::Tag(y);
  if (tx == VPAR_LONG && ty == VPAR_LONG) return Holds<kOp>(K::Long(x), K::Long(y));
  if (!K::IsNumber(tx) || !K::IsNumber(ty)) return -1;
  return Holds<kOp>(K::AsReal(x), K::AsReal(y));
}

// 1 or 0 when both are numbers, -1 when the pair is not numeric. A
// not-a-number is unequal to everything, itself included.
inline int NumericEqual(const VCtrlVal& x, const VCtrlVal& y) {
  using K = TupleKernel;
  const int tx = K::Tag(x);
  const int ty = K::Tag(y);
  if (tx == VPAR_LONG && ty == VPAR_LONG) return K::Long(x) == K::Long(y);
  if (!K::IsNumber(tx) || !K::IsNumber(ty)) return -1;
  return K::AsReal(x) == K::AsReal(y);
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_VALUE_COMPARE_H
