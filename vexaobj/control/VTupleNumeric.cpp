// Numeric VTuple methods: elementwise functions of one and two operands,
// integer and real conversions, statistics over a tuple and random
// numbers. All run locally; none calls the runtime's like-named operators.
#include <vexaobj/VTuple.h>

#include <math.h>
#include <stdint.h>

#include <vexa/runtime.h>

#include "raise.h"
#include "tuple_kernel.h"
#include "value_convert.h"

namespace Vexa {

namespace {

using internal::TupleKernel;

// The double value of pi that degrees and radians convert with.
constexpr double kPi = 3.14159265358979311600;

// Set until the first Rand seeds the runtime's generator. Not guarded:
// tuples are used by one thread at a time.
bool rand_unseeded = true;

VTuple MapToReal(const VTuple& t, double (*f)(double)) {
  return TupleKernel::Map(t, [f](const VCtrlVal& x, VCtrlVal& out) {
    TupleKernel::SetReal(out, f(x.D()));
    return true;
  });
}

// The two-operand functions with a real result.
VTuple ZipToReal(const VTuple& a, const VTuple& b, const char* proc,
                 double (*f)(const VCtrlVal&, const VCtrlVal&)) {
  return TupleKernel::Broadcast(a, b, proc,
                                [f](const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) {
                                  TupleKernel::SetReal(out, f(x, y));
                                });
}

double Atan2Of(const VCtrlVal& a, const VCtrlVal& b) { return atan2(a.D(), b.D()); }
double PowOf(const VCtrlVal& a, const VCtrlVal& b) { return pow(a.D(), b.D()); }
double FmodOf(const VCtrlVal& a, const VCtrlVal& b) { return fmod(a.D(), b.D()); }
// The exponent is read as an int, a real one truncated.
double LdexpOf(const VCtrlVal& a, const VCtrlVal& b) { return ldexp(a.D(), b.I()); }

double Identity(double x) { return x; }
double ToRadians(double x) { return x * kPi / 180; }
double ToDegrees(double x) { return x * 180 / kPi; }

// The smaller (or, for `max`, the greater) element of the tuple; of equal
// elements the first stays. The element keeps its type.
VTuple Extreme(const VTuple& t, bool max, const char* proc) {
  const Vlong n = t.Num();
  if (n == 0) {
    VEXA_RAISE(proc, "empty tuple");
    return VTuple();
  }
  const VCtrlVal* elems = TupleKernel::Elems(t);
  const VCtrlVal* cur = &elems[0];
  for (Vlong i = 1; i < n; ++i) {
    if (max ? *cur < elems[i] : *cur > elems[i]) cur = &elems[i];
  }
  return VTuple(*cur);
}

}  // namespace

VTuple VTuple::Sin() const { return MapToReal(*this, sin); }
VTuple VTuple::Cos() const { return MapToReal(*this, cos); }
VTuple VTuple::Tan() const { return MapToReal(*this, tan); }
VTuple VTuple::Asin() const { return MapToReal(*this, asin); }
VTuple VTuple::Acos() const { return MapToReal(*this, acos); }
VTuple VTuple::Atan() const { return MapToReal(*this, atan); }
VTuple VTuple::Sinh() const { return MapToReal(*this, sinh); }
VTuple VTuple::Cosh() const { return MapToReal(*this, cosh); }
VTuple VTuple::Tanh() const { return MapToReal(*this, tanh); }
VTuple VTuple::Exp() const { return MapToReal(*this, exp); }
VTuple VTuple::Log() const { return MapToReal(*this, log); }
VTuple VTuple::Log10() const { return MapToReal(*this, log10); }
VTuple VTuple::Floor() const { return MapToReal(*this, floor); }
VTuple VTuple::Ceil() const { return MapToReal(*this, ceil); }
VTuple VTuple::Sqrt() const { return MapToReal(*this, sqrt); }
VTuple VTuple::Deg() const { return MapToReal(*this, ToDegrees); }
VTuple VTuple::Rad() const { return MapToReal(*this, ToRadians); }
VTuple VTuple::Real() const { return MapToReal(*this, Identity); }

VTuple VTuple::Int() const {
  return TupleKernel::Map(*this, [](const VCtrlVal& x, VCtrlVal& out) {
    TupleKernel::SetLong(out, x.L());
    return true;
  });
}

VTuple VTuple::Round() const {
  // Halves go away from zero; the result is an integer even for an integer
  // input, which goes through double.
  return TupleKernel::Map(*this, [](const VCtrlVal& x, VCtrlVal& out) {
    const double d = x.D();
    TupleKernel::SetLong(out, internal::TruncateToInt64(d < 0 ? d - 0.5 : d + 0.5));
    return true;
  });
}

// Abs and Sgn skip an undefined element, leaving its slot unset.
VTuple VTuple::Abs() const {
  return TupleKernel::Map(*this, [](const VCtrlVal& x, VCtrlVal& out) {
    switch (TupleKernel::Tag(x)) {
      case VPAR_LONG: {
        // Negated in unsigned arithmetic: the smallest Vlong stays itself.
        const Vlong l = TupleKernel::Long(x);
        TupleKernel::SetLong(out, l < 0 ? static_cast<Vlong>(0 - static_cast<uint64_t>(l)) : l);
        return true;
      }
      case VPAR_DOUBLE:
        TupleKernel::SetReal(out, fabs(TupleKernel::Real(x)));
        return true;
      case VPAR_STRING:
        VEXA_RAISE("VTuple VTuple::Abs(void) const", "Abs of string value");
        return false;
      default:
        return false;
    }
  });
}

VTuple VTuple::Sgn() const {
  return TupleKernel::Map(*this, [](const VCtrlVal& x, VCtrlVal& out) {
    switch (TupleKernel::Tag(x)) {
      case VPAR_LONG: {
        const Vlong l = TupleKernel::Long(x);
        TupleKernel::SetLong(out, l > 0 ? 1 : l < 0 ? -1 : 0);
        return true;
      }
      case VPAR_DOUBLE: {
        // Not a number falls through to -1.
        const double d = TupleKernel::Real(x);
        TupleKernel::SetLong(out, d == 0.0 ? 0 : d > 0.0 ? 1 : -1);
        return true;
      }
      case VPAR_STRING:
        VEXA_RAISE("VTuple VTuple::Sgn(void) const", "Sgn of string value");
        return false;
      default:
        return false;
    }
  });
}

VTuple VTuple::Atan2(const VTuple& op) const {
  return ZipToReal(*this, op, "VTuple VTuple::Atan2(const VTuple &op) const", Atan2Of);
}

VTuple VTuple::Pow(const VTuple& op) const {
  return ZipToReal(*this, op, "VTuple VTuple::Pow(const VTuple &op) const", PowOf);
}

VTuple VTuple::Fmod(const VTuple& op) const {
  return ZipToReal(*this, op, "VTuple VTuple::Fmod(const VTuple &op) const", FmodOf);
}

VTuple VTuple::Ldexp(const VTuple& op) const {
  return ZipToReal(*this, op, "VTuple VTuple::Ldexp(const VTuple &op) const", LdexpOf);
}

// Min2 and Max2 copy the chosen element with its type; on a tie the right
// operand is taken.
VTuple VTuple::Min2(const VTuple& val) const {
  return TupleKernel::Broadcast(*this, val, "VTuple VTuple::Min2(const VTuple &val) const",
                                [](const VCtrlVal& a, const VCtrlVal& b, VCtrlVal& out) {
                                  out.CopyCtrlVal(a < b ? a : b);
                                });
}

VTuple VTuple::Max2(const VTuple& val) const {
  return TupleKernel::Broadcast(*this, val, "VTuple VTuple::Max2(const VTuple &val) const",
                                [](const VCtrlVal& a, const VCtrlVal& b, VCtrlVal& out) {
                                  out.CopyCtrlVal(a > b ? a : b);
                                });
}

VTuple VTuple::Min() const {
  return Extreme(*this, false, "VTuple VTuple::Min(void) const");
}

VTuple VTuple::Max() const {
  return Extreme(*this, true, "VTuple VTuple::Max(void) const");
}

VTuple VTuple::Mean() const {
  if (num == 0) {
    VEXA_RAISE("VTuple VTuple::Mean(void) const", "empty tuple");
    return VTuple();
  }
  VTuple sum = Sum();
  const VCtrlVal count(static_cast<double>(num));
  for (Vlong i = 0; i < sum.num; ++i) sum.elems[i] = sum.elems[i] / count;
  return sum;
}

VTuple VTuple::Median() const {
  if (num == 0) {
    VEXA_RAISE("VTuple VTuple::Median(void) const", "empty tuple");
    return VTuple();
  }
  // The upper middle element of an even count, never a mean.
  return SelectRank(num / 2);
}

VTuple VTuple::Deviation() const {
  if (num == 0) {
    VEXA_RAISE("VTuple VTuple::Deviation(void) const", "empty tuple");
    return VTuple();
  }
  // The first square goes through the element product, so that a string
  // first element fails with the product's message.
  double sq = (elems[0] * elems[0]).D();
  if (num == 1) return VTuple(0.0);
  for (Vlong i = 1; i < num; ++i) {
    const double x = elems[i].D();
    sq += x * x;
  }
  const double s = Sum().elems[0].D();
  const double n = static_cast<double>(num);
  const double v = (sq - s * s / n) / (n - 1.0);
  // A rounding error must not turn into a not-a-number.
  return VTuple(sqrt(v < 0.0 ? 0.0 : v));
}

VTuple VTuple::Rand() const {
  if (num != 1) {
    VEXA_RAISE("VTuple VTuple::Rand(void) const", "wrong tuple length");
    return VTuple();
  }
  const Vlong count = elems[0].L();
  if (rand_unseeded) {
    VSrand48(static_cast<long>(static_cast<uint32_t>(Vtime())));
    rand_unseeded = false;
  }
  // A count of 0 or below gives what the length constructor makes of it.
  VTuple result(count, VTuple(0.0));
  for (Vlong i = 0; i < count && i < result.num; ++i) result.elems[i] = VCtrlVal(VDrand48());
  return result;
}

}  // namespace Vexa
