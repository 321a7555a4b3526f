// Elementwise mathematical functions: trigonometric, hyperbolic,
// exponential and logarithmic functions, square root, rounding and the
// angle conversions. Every result is real except tuple_round's.
//
// Arguments outside a function's domain are refused with
// VERR_CTRL_VALUE(0) instead of silently producing NaN or an infinity;
// a NaN argument passes through as NaN.
#include <cmath>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// pi as the double closest to it.
constexpr double kPi = 3.14159265358979323846;

bool Anything(double) { return true; }
bool UnitInterval(double x) { return x >= -1.0 && x <= 1.0; }
bool Positive(double x) { return x > 0.0; }
bool NotNegative(double x) { return x >= 0.0; }

// One element of a real function with a domain check.
template <class Fn, class Domain>
Vresult RealFunction(const Value& a, Value* r, Fn fn, Domain in_domain) {
  if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
  const double x = a.Real();
  if (!std::isnan(x) && !in_domain(x)) return VERR_CTRL_VALUE(0);
  *r = Value::Double(fn(x));
  return VRESULT_OK;
}

// The whole operator for a real function of one argument.
template <class Fn, class Domain>
Vresult RunReal(OpContext& ctx, Fn fn, Domain in_domain) {
  return RunUnary(ctx, [&](const Value& a, Value* r) {
    return RealFunction(a, r, fn, in_domain);
  });
}

// The standard functions come in overload sets; these pin the double one.
double Sin(double x) { return std::sin(x); }
double Cos(double x) { return std::cos(x); }
double Tan(double x) { return std::tan(x); }
double Asin(double x) { return std::asin(x); }
double Acos(double x) { return std::acos(x); }
double Atan(double x) { return std::atan(x); }
double Sinh(double x) { return std::sinh(x); }
double Cosh(double x) { return std::cosh(x); }
double Tanh(double x) { return std::tanh(x); }
double Exp(double x) { return std::exp(x); }
double Log(double x) { return std::log(x); }
double Log10(double x) { return std::log10(x); }
double Sqrt(double x) { return std::sqrt(x); }
double Ceil(double x) { return std::ceil(x); }
double Floor(double x) { return std::floor(x); }
double Deg(double x) { return x * 180.0 / kPi; }
double Rad(double x) { return x * kPi / 180.0; }

}  // namespace

VEXA_OPERATOR(tuple_sin) { return RunReal(ctx, Sin, Anything); }
VEXA_OPERATOR(tuple_cos) { return RunReal(ctx, Cos, Anything); }
VEXA_OPERATOR(tuple_tan) { return RunReal(ctx, Tan, Anything); }
VEXA_OPERATOR(tuple_asin) { return RunReal(ctx, Asin, UnitInterval); }
VEXA_OPERATOR(tuple_acos) { return RunReal(ctx, Acos, UnitInterval); }
VEXA_OPERATOR(tuple_atan) { return RunReal(ctx, Atan, Anything); }
VEXA_OPERATOR(tuple_sinh) { return RunReal(ctx, Sinh, Anything); }
VEXA_OPERATOR(tuple_cosh) { return RunReal(ctx, Cosh, Anything); }
VEXA_OPERATOR(tuple_tanh) { return RunReal(ctx, Tanh, Anything); }
VEXA_OPERATOR(tuple_exp) { return RunReal(ctx, Exp, Anything); }
VEXA_OPERATOR(tuple_log) { return RunReal(ctx, Log, Positive); }
VEXA_OPERATOR(tuple_log10) { return RunReal(ctx, Log10, Positive); }
VEXA_OPERATOR(tuple_sqrt) { return RunReal(ctx, Sqrt, NotNegative); }
VEXA_OPERATOR(tuple_ceil) { return RunReal(ctx, Ceil, Anything); }
VEXA_OPERATOR(tuple_floor) { return RunReal(ctx, Floor, Anything); }
VEXA_OPERATOR(tuple_deg) { return RunReal(ctx, Deg, Anything); }
VEXA_OPERATOR(tuple_rad) { return RunReal(ctx, Rad, Anything); }

VEXA_OPERATOR(tuple_atan2) {
  return RunBinary(ctx, [](const Value& y, const Value& x, Value* r) {
    if (!y.IsNumber()) return VERR_CTRL_TYPE(0);
    if (!x.IsNumber()) return VERR_CTRL_TYPE(1);
    *r = Value::Double(std::atan2(y.Real(), x.Real()));
    return VRESULT_OK;
  });
}

// Halves round away from zero; the result is an integer, so a value
// outside the integer range (or NaN) cannot be rounded.
VEXA_OPERATOR(tuple_round) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (a.IsLong()) {
      *r = a;
      return VRESULT_OK;
    }
    if (!a.IsDouble()) return VERR_CTRL_TYPE(0);
    Vlong v = 0;
    const Vresult rc = ToIndex(Value::Double(std::round(a.d)), 0, &v);
    if (rc != VRESULT_OK) return rc;
    *r = Value::Long(v);
    return VRESULT_OK;
  });
}

}  // namespace vexa::tuple
