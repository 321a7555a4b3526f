// Elementwise arithmetic on tuples: tuple_add, tuple_sub, tuple_mult,
// tuple_div, tuple_mod, tuple_fmod, tuple_neg, tuple_abs, tuple_fabs,
// tuple_sgn, tuple_min2, tuple_max2, tuple_pow, tuple_ldexp.
//
// Two integers give an integer (64-bit, wrapping on overflow); any real
// operand makes the result real. Two-operand forms broadcast a one-element
// operand (see tuple_values.h).
#include <cmath>
#include <cstdint>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// Wrapping integer arithmetic: done in unsigned, where overflow is defined.
Vlong WrapAdd(Vlong a, Vlong b) {
  return static_cast<Vlong>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
Vlong WrapSub(Vlong a, Vlong b) {
  return static_cast<Vlong>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}
Vlong WrapMul(Vlong a, Vlong b) {
  return static_cast<Vlong>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// Both operands must be numbers; names the first that is not.
Vresult CheckNumbers(const Value& a, const Value& b) {
  if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
  if (!b.IsNumber()) return VERR_CTRL_TYPE(1);
  return VRESULT_OK;
}

// A numeric operation with an integer form and a real form.
template <class IntOp, class RealOp>
Vresult Numeric(const Value& a, const Value& b, Value* r, IntOp int_op,
                RealOp real_op) {
  const Vresult rc = CheckNumbers(a, b);
  if (rc != VRESULT_OK) return rc;
  *r = a.IsLong() && b.IsLong() ? Value::Long(int_op(a.l, b.l))
                                : Value::Double(real_op(a.Real(), b.Real()));
  return VRESULT_OK;
}

Vresult Add(const Value& a, const Value& b, Value* r) {
  if (a.type == VPAR_UNDEF) return VERR_CTRL_TYPE(0);
  if (b.type == VPAR_UNDEF) return VERR_CTRL_TYPE(1);
  // A string on either side makes it a concatenation of the texts.
  if (a.IsString() || b.IsString()) {
    *r = Value::String(Text(a) + Text(b));
    return VRESULT_OK;
  }
  return Numeric(a, b, r, WrapAdd, [](double x, double y) { return x + y; });
}

Vresult Div(const Value& a, const Value& b, Value* r) {
  const Vresult rc = CheckNumbers(a, b);
  if (rc != VRESULT_OK) return rc;
  if (b.Real() == 0.0) return VERR_CTRL_VALUE(1);
  // The one integer quotient that overflows wraps to itself.
  auto int_div = [](Vlong x, Vlong y) { return y == -1 ? WrapSub(0, x) : x / y; };
  return Numeric(a, b, r, int_div, [](double x, double y) { return x / y; });
}

Vresult Mod(const Value& a, const Value& b, Value* r) {
  if (!a.IsLong()) return VERR_CTRL_TYPE(0);
  if (!b.IsLong()) return VERR_CTRL_TYPE(1);
  if (b.l == 0) return VERR_CTRL_VALUE(1);
  // C++ remainder: the sign of the dividend; x % -1 is 0 without overflow.
  *r = Value::Long(b.l == -1 ? 0 : a.l % b.l);
  return VRESULT_OK;
}

Vresult Fmod(const Value& a, const Value& b, Value* r) {
  const Vresult rc = CheckNumbers(a, b);
  if (rc != VRESULT_OK) return rc;
  if (b.Real() == 0.0) return VERR_CTRL_VALUE(1);
  *r = Value::Double(std::fmod(a.Real(), b.Real()));
  return VRESULT_OK;
}

Vresult Pow(const Value& a, const Value& b, Value* r) {
  const Vresult rc = CheckNumbers(a, b);
  if (rc != VRESULT_OK) return rc;
  const double x = a.Real(), y = b.Real();
  // Domain errors: a negative base with a fractional exponent, and the
  // pole of zero to a negative power.
  const bool fractional = std::isfinite(y) && std::trunc(y) != y;
  if ((x < 0.0 && fractional) || (x == 0.0 && y < 0.0)) return VERR_CTRL_VALUE(1);
  *r = Value::Double(std::pow(x, y));
  return VRESULT_OK;
}

Vresult Ldexp(const Value& a, const Value& b, Value* r) {
  if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
  Vlong e = 0;
  const Vresult rc = ToIndex(b, 1, &e);
  if (rc != VRESULT_OK) return rc;
  // Exponents beyond +-100000 saturate anyway; clamping keeps the int cast
  // defined.
  const int exponent = static_cast<int>(e < -100000 ? -100000 : e > 100000 ? 100000 : e);
  *r = Value::Double(std::ldexp(a.Real(), exponent));
  return VRESULT_OK;
}

// min2/max2: the chosen value, promoted to real if the pair mixes integer
// and real; two strings compare by bytes; a string against a number is a
// type error of the second operand. `want` is -1 for the smaller, 1 for the greater.
Vresult Extreme(const Value& a, const Value& b, Value* r, int want) {
  if (a.type == VPAR_UNDEF) return VERR_CTRL_TYPE(0);
  if (b.type == VPAR_UNDEF || a.IsString() != b.IsString()) return VERR_CTRL_TYPE(1);
  if (a.IsString()) {
    *r = SortOrder(a, b) * want >= 0 ? a : b;
    return VRESULT_OK;
  }
  bool unordered = false;
  const int c = CompareNumbers(a, b, &unordered);
  // A NaN on either side propagates, as fmin/fmax would not do silently.
  const Value& pick = unordered ? (std::isnan(a.Real()) ? a : b) : (c * want >= 0 ? a : b);
  *r = a.IsLong() && b.IsLong() ? pick : Value::Double(pick.Real());
  return VRESULT_OK;
}

// Unary numeric operation with an integer and a real form; strings fail.
template <class IntOp, class RealOp>
Vresult UnaryNumeric(const Value& a, Value* r, IntOp int_op, RealOp real_op) {
  if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
  *r = a.IsLong() ? int_op(a.l) : real_op(a.d);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(tuple_add) { return RunBinary(ctx, Add); }

VEXA_OPERATOR(tuple_sub) {
  return RunBinary(ctx, [](const Value& a, const Value& b, Value* r) {
    return Numeric(a, b, r, WrapSub, [](double x, double y) { return x - y; });
  });
}

VEXA_OPERATOR(tuple_mult) {
  return RunBinary(ctx, [](const Value& a, const Value& b, Value* r) {
    return Numeric(a, b, r, WrapMul, [](double x, double y) { return x * y; });
  });
}

VEXA_OPERATOR(tuple_div) { return RunBinary(ctx, Div); }
VEXA_OPERATOR(tuple_mod) { return RunBinary(ctx, Mod); }
VEXA_OPERATOR(tuple_fmod) { return RunBinary(ctx, Fmod); }
VEXA_OPERATOR(tuple_pow) { return RunBinary(ctx, Pow); }
VEXA_OPERATOR(tuple_ldexp) { return RunBinary(ctx, Ldexp); }

VEXA_OPERATOR(tuple_min2) {
  return RunBinary(ctx, [](const Value& a, const Value& b, Value* r) {
    return Extreme(a, b, r, -1);
  });
}

VEXA_OPERATOR(tuple_max2) {
  return RunBinary(ctx, [](const Value& a, const Value& b, Value* r) {
    return Extreme(a, b, r, 1);
  });
}

VEXA_OPERATOR(tuple_neg) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    return UnaryNumeric(
        a, r, [](Vlong x) { return Value::Long(WrapSub(0, x)); },
        [](double x) { return Value::Double(-x); });
  });
}

VEXA_OPERATOR(tuple_abs) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    return UnaryNumeric(
        a, r, [](Vlong x) { return Value::Long(x < 0 ? WrapSub(0, x) : x); },
        [](double x) { return Value::Double(std::fabs(x)); });
  });
}

VEXA_OPERATOR(tuple_fabs) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
    *r = Value::Double(std::fabs(a.Real()));
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_sgn) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
    bool unordered = false;
    // NaN has no sign: 0.
    *r = Value::Long(CompareNumbers(a, Value::Long(0), &unordered));
    return VRESULT_OK;
  });
}

}  // namespace vexa::tuple
