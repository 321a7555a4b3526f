// Bit operations on 64-bit integers: tuple_band, tuple_bor, tuple_bxor,
// tuple_bnot, tuple_lsh, tuple_rsh. Operands must be integers: a real or a
// string is a type error, never silently truncated.
#include <cstdint>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// Both operands integers, then op(a, b); op may refuse the right operand's
// value with VERR_CTRL_VALUE(1).
template <class Op>
Vresult RunBits(OpContext& ctx, Op op) {
  return RunBinary(ctx, [op](const Value& a, const Value& b, Value* r) {
    if (!a.IsLong()) return VERR_CTRL_TYPE(0);
    if (!b.IsLong()) return VERR_CTRL_TYPE(1);
    return op(a.l, b.l, r);
  });
}

// Shift counts outside 0..63 have no meaning for a 64-bit value and are
// refused rather than reduced modulo 64.
bool ValidShift(Vlong n) { return n >= 0 && n < 64; }

}  // namespace

VEXA_OPERATOR(tuple_band) {
  return RunBits(ctx, [](Vlong a, Vlong b, Value* r) {
    *r = Value::Long(a & b);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_bor) {
  return RunBits(ctx, [](Vlong a, Vlong b, Value* r) {
    *r = Value::Long(a | b);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_bxor) {
  return RunBits(ctx, [](Vlong a, Vlong b, Value* r) {
    *r = Value::Long(a ^ b);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_lsh) {
  return RunBits(ctx, [](Vlong a, Vlong n, Value* r) {
    if (!ValidShift(n)) return VERR_CTRL_VALUE(1);
    // Shifted as unsigned: bits leave at the top without undefined behaviour.
    *r = Value::Long(static_cast<Vlong>(static_cast<uint64_t>(a) << n));
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_rsh) {
  return RunBits(ctx, [](Vlong a, Vlong n, Value* r) {
    if (!ValidShift(n)) return VERR_CTRL_VALUE(1);
    *r = Value::Long(a >> n);  // arithmetic: the sign is kept
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_bnot) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsLong()) return VERR_CTRL_TYPE(0);
    *r = Value::Long(~a.l);
    return VRESULT_OK;
  });
}

}  // namespace vexa::tuple
