// Arithmetic of two numbers, the common case of every element operation:
// integers with integers stay integers (wrapping, with the processor's
// division), everything else with a real is done in double. Inline, so
// that the tuple loops need no call for it; the string and failure cases
// are left to the VCtrlVal operators.
#ifndef VEXAOBJ_CONTROL_VALUE_ARITH_H
#define VEXAOBJ_CONTROL_VALUE_ARITH_H

#include <stdint.h>

#include "tuple_kernel.h"

namespace Vexa {
namespace internal {

enum class Arith { kAdd, kSub, kMul, kDiv, kMod };

template <Arith kOp>
inline Vlong LongArith(Vlong a, Vlong b) {
  // Sums, differences and products wrap in unsigned arithmetic. Division
  // and remainder run the processor's instruction as it stands: a zero
  // divisor, or the smallest Vlong over -1, is the processor's fault.
  const uint64_t ua = static_cast<uint64_t>(a);
  const uint64_t ub = static_cast<uint64_t>(b);
  switch (kOp) {
    case Arith::kAdd: return static_cast<Vlong>(ua + ub);
    case Arith::kSub: return static_cast<Vlong>(ua - ub);
    case Arith::kMul: return static_cast<Vlong>(ua * ub);
    case Arith::kDiv: return a / b;
    case Arith::kMod: return a % b;
  }
  return 0;
}

template <Arith kOp>
inline double RealArith(double a, double b) {
  switch (kOp) {
    case Arith::kAdd: return a + b;
    case Arith::kSub: return a - b;
    case Arith::kMul: return a * b;
    case Arith::kDiv: return a / b;
    case Arith::kMod: break;  // no real remainder: NumericArith declines
  }
  return 0.0;
}

// Writes x op y into `out`, a slot holding no string, when both are
// numbers the operator is defined on; false otherwise, with `out` as it
// was.
template <Arith kOp>
inline bool NumericArith(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) {
  using K = TupleKernel;
  const int tx = K::Tag(x);
  const int ty = K::Tag(y);
  if (tx == VPAR_LONG && ty == VPAR_LONG) {
    K::SetLong(out, LongArith<kOp>(K::Long(x), K::Long(y)));
    return true;
  }
  if (kOp == Arith::kMod || !K::IsNumber(tx) || !K::IsNumber(ty)) return false;
  K::SetReal(out, RealArith<kOp>(K::AsReal(x), K::AsReal(y)));
  return true;
}

// x op y with every case of the VCtrlVal operators: promotion,
// concatenation and the failures with their messages (VCtrlValArith.cpp).
template <Arith kOp>
VCtrlVal ArithValue(const VCtrlVal& x, const VCtrlVal& y);

// The element operation of the tuple loops: numbers inline, all else
// through ArithValue; blocks whose operands are all integers or all reals
// on each side in one typed loop.
template <Arith kOp>
struct ArithElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    if (NumericArith<kOp>(x, y, out)) return;
    VCtrlVal value = ArithValue<kOp>(x, y);
    TupleKernel::MoveInto(value, out);
  }

  // The results NumericArith gives for such a block: integers of two
  // integers, else reals, where the one side that is integers is promoted.
  // A remainder with a real is declined, for the element path to raise.
  template <bool kXSteps, bool kYSteps>
  bool Block(const VCtrlVal* x, const VCtrlVal* y, VCtrlVal* out, Vlong count) const {
    using K = TupleKernel;
    const int tx = K::UniformType<kXSteps>(x, count);
    const int ty = K::UniformType<kYSteps>(y, count);
    if (tx == VPAR_UNDEF || ty == VPAR_UNDEF) return false;
    if (kOp == Arith::kMod && (tx != VPAR_LONG || ty != VPAR_LONG)) return false;
    K::WithNumberTypes(tx, ty, [&](auto x_type, auto y_type) {
      constexpr int kX = decltype(x_type)::value;
      constexpr int kY = decltype(y_type)::value;
      for (Vlong i = count - 1; i >= 0; --i) {
        const auto a = K::Number<kX>(x[kXSteps ? i : 0]);
        const auto b = K::Number<kY>(y[kYSteps ? i : 0]);
        if constexpr (kX == VPAR_LONG && kY == VPAR_LONG) {
          K::PutLong(out[i], LongArith<kOp>(a, b));
        } else {
          K::PutReal(out[i], RealArith<kOp>(a, b));
        }
      }
    });
    return true;
  }
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_VALUE_ARITH_H
