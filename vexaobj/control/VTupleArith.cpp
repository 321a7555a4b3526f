// Tuple arithmetic: + - * / % of tuples, of a tuple and a scalar on either
// side, and of a value with a tuple; unary minus, += and prefix ++. Each
// result element is one element operation (value_arith.h), so promotion
// is the values' business and broadcasting the loops' (tuple_kernel.h).
#include <vexaobj/VTuple.h>

#include <inttypes.h>
#include <stdint.h>

#include "raise.h"
#include "tuple_kernel.h"
#include "value_arith.h"

namespace Vexa {

namespace {

using internal::Arith;
using internal::ArithElem;
using K = internal::TupleKernel;

const char kAddProc[] = "VTuple VTuple::operator + (const VTuple &val) const";
const char kSubProc[] = "VTuple VTuple::operator - (const VTuple &val) const";
const char kMulProc[] = "VTuple VTuple::operator * (const VTuple &val) const";
const char kDivProc[] = "VTuple VTuple::operator / (const VTuple &val) const";
const char kModProc[] = "VTuple VTuple::operator % (const VTuple &val) const";

template <Arith kOp>
VTuple ScalarRight(const VTuple& t, const VCtrlVal& s) {
  return K::WithRight(t, s, ArithElem<kOp>());
}

template <Arith kOp>
VTuple ScalarLeft(const VCtrlVal& s, const VTuple& t) {
  return K::WithLeft(s, t, ArithElem<kOp>());
}

// Negation of one element: integers in two's complement (the smallest
// stays itself), reals by their sign bit. Undefined and unknown elements
// are passed over in silence and leave their result slot unwritten.
bool Negate(const VCtrlVal& x, VCtrlVal& out) {
  switch (K::Tag(x)) {
    case VPAR_LONG:
      K::SetLong(out, static_cast<Vlong>(0 - static_cast<uint64_t>(K::Long(x))));
      return true;
    case VPAR_DOUBLE:
      K::SetReal(out, -K::Real(x));
      return true;
    case VPAR_STRING:
      VEXA_RAISE("VTuple VTuple::operator - (void) const", "neg of string value");
      return false;
    default:
      return false;
  }
}

}  // namespace

// Tuple with tuple.
VTuple VTuple::operator+(const VTuple& val) const {
  return K::Broadcast(*this, val, kAddProc, ArithElem<Arith::kAdd>());
}
VTuple VTuple::operator-(const VTuple& val) const {
  return K::Broadcast(*this, val, kSubProc, ArithElem<Arith::kSub>());
}
VTuple VTuple::operator*(const VTuple& val) const {
  return K::Broadcast(*this, val, kMulProc, ArithElem<Arith::kMul>());
}
VTuple VTuple::operator/(const VTuple& val) const {
  return K::Broadcast(*this, val, kDivProc, ArithElem<Arith::kDiv>());
}
VTuple VTuple::operator%(const VTuple& val) const {
  return K::Broadcast(*this, val, kModProc, ArithElem<Arith::kMod>());
}

// Tuple with a scalar, both ways round. The scalar becomes its element
// before the tuple is looked at.
#define VEXA_TUPLE_SCALAR_ARITH(op, kind, Scalar_t)           \
  VTuple VTuple::operator op(Scalar_t val) const {            \
    return ScalarRight<Arith::kind>(*this, VCtrlVal(val));    \
  }                                                           \
  VTuple operator op(Scalar_t val1, const VTuple& val2) {     \
    return ScalarLeft<Arith::kind>(VCtrlVal(val1), val2);     \
  }

VEXA_TUPLE_SCALAR_ARITH(+, kAdd, double)
VEXA_TUPLE_SCALAR_ARITH(+, kAdd, int)
VEXA_TUPLE_SCALAR_ARITH(+, kAdd, Vlong)
VEXA_TUPLE_SCALAR_ARITH(+, kAdd, const char*)
VEXA_TUPLE_SCALAR_ARITH(-, kSub, double)
VEXA_TUPLE_SCALAR_ARITH(-, kSub, int)
VEXA_TUPLE_SCALAR_ARITH(-, kSub, Vlong)
VEXA_TUPLE_SCALAR_ARITH(*, kMul, double)
VEXA_TUPLE_SCALAR_ARITH(*, kMul, int)
VEXA_TUPLE_SCALAR_ARITH(*, kMul, Vlong)
VEXA_TUPLE_SCALAR_ARITH(/, kDiv, double)
VEXA_TUPLE_SCALAR_ARITH(/, kDiv, int)
VEXA_TUPLE_SCALAR_ARITH(/, kDiv, Vlong)
VEXA_TUPLE_SCALAR_ARITH(%, kMod, Vlong)

#undef VEXA_TUPLE_SCALAR_ARITH

// Value with tuple: the value as a one-element tuple on the left, so that
// failures report the tuple operator.
VTuple VCtrlVal::operator+(const VTuple& val) const { return VTuple(*this) + val; }
VTuple VCtrlVal::operator-(const VTuple& val) const { return VTuple(*this) - val; }
VTuple VCtrlVal::operator*(const VTuple& val) const { return VTuple(*this) * val; }
VTuple VCtrlVal::operator/(const VTuple& val) const { return VTuple(*this) / val; }
VTuple VCtrlVal::operator%(const VTuple& val) const { return VTuple(*this) % val; }

VTuple VTuple::operator-() const { return K::Map(*this, Negate); }

VTuple& VTuple::operator+=(const VTuple& val) {
  const Vlong n1 = num;
  const Vlong n2 = val.num;
  const ArithElem<Arith::kAdd> add;
  if (n2 == 1) {
    K::Update(*this, val.elems, false, add);
  } else if (n1 == n2) {
    K::Update(*this, val.elems, true, add);
  } else if (n1 == 1 && n2 == 0) {
    // Unlike operator+, the single element is lost.
    ClearTuple();
  } else if (n1 == 1) {
    const VCtrlVal old = elems[0];
    K::Spread(*this, old, val, add);
  } else {
    VEXA_RAISE("VTuple& VTuple::operator += (const VTuple &val)",
               "wrong number of elements: Num() = %" PRId64 ", val.Num() = %" PRId64 "\n",
               n1, n2);
  }
  return *this;
}

VTuple& VTuple::operator+=(VCtrlVal val) {
  K::Update(*this, &val, false, ArithElem<Arith::kAdd>());
  return *this;
}

VTuple& VTuple::operator+=(double val) { return *this += VCtrlVal(val); }
VTuple& VTuple::operator+=(int val) { return *this += VCtrlVal(val); }
VTuple& VTuple::operator+=(Vlong val) { return *this += VCtrlVal(val); }

// Adds the integer 1 through the element +, so a string gets "1" appended.
VTuple& VTuple::operator++() { return *this += VCtrlVal(1); }

}  // namespace Vexa
