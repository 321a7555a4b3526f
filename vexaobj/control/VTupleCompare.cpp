// Comparison of whole tuples: equality element by element, and a
// lexicographic order in which a not-a-number anywhere makes every order
// false and a shorter tuple that agrees on its length comes first. The
// forms with a scalar or a VCtrlVal compare a one-element tuple.
#include <vexaobj/VTuple.h>

#include <math.h>
#include <string.h>

#include "tuple_kernel.h"
#include "value_compare.h"

namespace Vexa {

namespace {

using internal::Order;
using K = internal::TupleKernel;

int EqualTuples(const VTuple& a, const VTuple& b) {
  const Vlong n = a.Num();
  if (n != b.Num()) return 0;
  const VCtrlVal* x = K::Elems(a);
  const VCtrlVal* y = K::Elems(b);
  for (Vlong i = 0; i < n; ++i) {
    const int equal = internal::NumericEqual(x[i], y[i]);
    if (equal == 0 || (equal < 0 && x[i] != y[i])) return 0;
  }
  return 1;
}

bool HasNaN(const VTuple& t) {
  const VCtrlVal* x = K::Elems(t);
  for (Vlong i = t.Num() - 1; i >= 0; --i) {
    if (K::Tag(x[i]) == VPAR_DOUBLE && isnan(K::Real(x[i]))) return true;
  }
  return false;
}

// -1, 0 or 1 as x is before, level with or after y. Strings compare by
// bytes; any other pair through the element operators, which fail for a
// string against a number. The operator of the running comparison is
// asked first.
template <Order kOp>
int Compare(const VCtrlVal& x, const VCtrlVal& y) {
  // Two numbers, none of them a not-a-number by now.
  const int less = internal::NumericOrder<Order::kLess>(x, y);
  if (less > 0) return -1;
  if (less == 0) return internal::NumericOrder<Order::kGreater>(x, y);
  if (K::Tag(x) == VPAR_STRING && K::Tag(y) == VPAR_STRING) {
    const int c = strcmp(K::Text(x), K::Text(y));
    return (c > 0) - (c < 0);
  }
  if (kOp == Order::kLess || kOp == Order::kLessEqual) {
    if (x < y) return -1;
    return x > y ? 1 : 0;
  }
  if (x > y) return 1;
  return x < y ? -1 : 0;
}

template <Order kOp>
int OrderTuples(const VTuple& a, const VTuple& b) {
  if (HasNaN(a) || HasNaN(b)) return 0;
  const Vlong n1 = a.Num();
  const Vlong n2 = b.Num();
  const VCtrlVal* x = K::Elems(a);
  const VCtrlVal* y = K::Elems(b);
  const Vlong common = n1 < n2 ? n1 : n2;
  for (Vlong i = 0; i < common; ++i) {
    const int c = Compare<kOp>(x[i], y[i]);
    if (c != 0) return internal::Holds<kOp>(c, 0);
  }
  return internal::Holds<kOp>(n1, n2);
}

}  // namespace

int VTuple::operator==(const VTuple& val) const { return EqualTuples(*this, val); }
int VTuple::operator!=(const VTuple& val) const { return !EqualTuples(*this, val); }
int VTuple::operator<(const VTuple& val) const { return OrderTuples<Order::kLess>(*this, val); }
int VTuple::operator>(const VTuple& val) const {
  return OrderTuples<Order::kGreater>(*this, val);
}
int VTuple::operator<=(const VTuple& val) const {
  return OrderTuples<Order::kLessEqual>(*this, val);
}
int VTuple::operator>=(const VTuple& val) const {
  return OrderTuples<Order::kGreaterEqual>(*this, val);
}

// The scalar forms, both ways round, and the VCtrlVal forms: the single
// value stands as a one-element tuple on its own side.
#define VEXA_TUPLE_SCALAR_COMPARE(op, Scalar_t)                               \
  int VTuple::operator op(Scalar_t val) const { return *this op VTuple(val); } \
  int operator op(Scalar_t val1, const VTuple& val2) { return VTuple(val1) op val2; }
#define VEXA_TUPLE_COMPARE(op)                                                   \
  VEXA_TUPLE_SCALAR_COMPARE(op, double)                                          \
  VEXA_TUPLE_SCALAR_COMPARE(op, int)                                             \
  VEXA_TUPLE_SCALAR_COMPARE(op, Vlong)                                           \
  int VCtrlVal::operator op(const VTuple& val) const { return VTuple(*this) op val; }

VEXA_TUPLE_COMPARE(==)
VEXA_TUPLE_COMPARE(!=)
VEXA_TUPLE_COMPARE(<)
VEXA_TUPLE_COMPARE(>)
VEXA_TUPLE_COMPARE(<=)
VEXA_TUPLE_COMPARE(>=)

#undef VEXA_TUPLE_COMPARE
#undef VEXA_TUPLE_SCALAR_COMPARE

int VTuple::Continue(const VTuple& final_value, const VTuple& step) const {
  // The const operator[] refuses an empty tuple among the three.
  const VTuple& self = *this;
  if (step[0].D() < 0) return self[0] >= final_value[0];
  return self[0] <= final_value[0];
}

}  // namespace Vexa
