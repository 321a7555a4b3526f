// Comparison and logic: whole-tuple comparisons (tuple_equal ...
// tuple_greater_equal), their elementwise _elem forms, and the logical
// tuple_and, tuple_or, tuple_xor, tuple_not. Every result is the integer
// 0 or 1.
//
// Equality never fails: a number and a string are simply unequal. Order
// between a number and a string does not exist and is a type error; a NaN
// makes every order comparison false.
#include <cmath>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// The order relations, as predicates on a three-way result.
enum class Rel { kLess, kGreater, kLessEqual, kGreaterEqual };

bool Holds(Rel rel, int c) {
  switch (rel) {
    case Rel::kLess: return c < 0;
    case Rel::kGreater: return c > 0;
    case Rel::kLessEqual: return c <= 0;
    case Rel::kGreaterEqual: return c >= 0;
  }
  return false;
}

// Three-way comparison of two elements for the order relations. A string
// against a number is a type error of the second operand; an undefined
// element is one of its own operand.
Vresult CompareOrdered(const Value& a, const Value& b, int* c, bool* unordered) {
  *unordered = false;
  if (a.IsString() && b.IsString()) {
    *c = SortOrder(a, b);
    return VRESULT_OK;
  }
  if (a.type == VPAR_UNDEF) return VERR_CTRL_TYPE(0);
  // An undefined right operand, or a number against a string.
  if (!a.IsNumber() || !b.IsNumber()) return VERR_CTRL_TYPE(1);
  *c = CompareNumbers(a, b, unordered);
  return VRESULT_OK;
}

bool HasNaN(const Values& t) {
  for (const Value& v : t)
    if (v.IsDouble() && std::isnan(v.d)) return true;
  return false;
}

// Lexicographic order of two whole tuples: the first differing element
// decides, else the shorter tuple is the smaller. A NaN anywhere makes the
// relation false.
Vresult WholeOrder(OpContext& ctx, Rel rel) {
  const Values a = ReadValues(ctx, 0), b = ReadValues(ctx, 1);
  int c = 0;
  bool unordered = HasNaN(a) || HasNaN(b);
  for (size_t i = 0; !unordered && c == 0 && i < a.size() && i < b.size(); ++i) {
    const Vresult rc = CompareOrdered(a[i], b[i], &c, &unordered);
    if (rc != VRESULT_OK) return rc;
  }
  if (c == 0) c = (a.size() > b.size()) - (a.size() < b.size());
  return ctx.SetOutpLong(0, !unordered && Holds(rel, c));
}

bool WholeEqual(const Values& a, const Values& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (!Equal(a[i], b[i])) return false;
  return true;
}

Vresult ElemOrder(OpContext& ctx, Rel rel) {
  return RunBinary(ctx, [rel](const Value& a, const Value& b, Value* r) {
    int c = 0;
    bool unordered = false;
    const Vresult rc = CompareOrdered(a, b, &c, &unordered);
    *r = Value::Long(!unordered && Holds(rel, c));
    return rc;
  });
}

Vresult ElemEqual(OpContext& ctx, bool want_equal) {
  return RunBinary(ctx, [want_equal](const Value& a, const Value& b, Value* r) {
    *r = Value::Long(Equal(a, b) == want_equal);
    return VRESULT_OK;
  });
}

// Truth value of an integer operand; logic is defined on integers only.
Vresult Truth(const Value& v, int par, bool* t) {
  if (!v.IsLong()) return VERR_CTRL_TYPE(par);
  *t = v.l != 0;
  return VRESULT_OK;
}

template <class Op>
Vresult Logic(OpContext& ctx, Op op) {
  return RunBinary(ctx, [op](const Value& a, const Value& b, Value* r) {
    bool x = false, y = false;
    Vresult rc = Truth(a, 0, &x);
    if (rc == VRESULT_OK) rc = Truth(b, 1, &y);
    *r = Value::Long(op(x, y));
    return rc;
  });
}

}  // namespace

VEXA_OPERATOR(tuple_equal) {
  return ctx.SetOutpLong(0, WholeEqual(ReadValues(ctx, 0), ReadValues(ctx, 1)));
}
VEXA_OPERATOR(tuple_not_equal) {
  return ctx.SetOutpLong(0, !WholeEqual(ReadValues(ctx, 0), ReadValues(ctx, 1)));
}
VEXA_OPERATOR(tuple_less) { return WholeOrder(ctx, Rel::kLess); }
VEXA_OPERATOR(tuple_greater) { return WholeOrder(ctx, Rel::kGreater); }
VEXA_OPERATOR(tuple_less_equal) { return WholeOrder(ctx, Rel::kLessEqual); }
VEXA_OPERATOR(tuple_greater_equal) { return WholeOrder(ctx, Rel::kGreaterEqual); }

VEXA_OPERATOR(tuple_equal_elem) { return ElemEqual(ctx, true); }
VEXA_OPERATOR(tuple_not_equal_elem) { return ElemEqual(ctx, false); }
VEXA_OPERATOR(tuple_less_elem) { return ElemOrder(ctx, Rel::kLess); }
VEXA_OPERATOR(tuple_greater_elem) { return ElemOrder(ctx, Rel::kGreater); }
VEXA_OPERATOR(tuple_less_equal_elem) { return ElemOrder(ctx, Rel::kLessEqual); }
VEXA_OPERATOR(tuple_greater_equal_elem) { return ElemOrder(ctx, Rel::kGreaterEqual); }

VEXA_OPERATOR(tuple_and) { return Logic(ctx, [](bool x, bool y) { return x && y; }); }
VEXA_OPERATOR(tuple_or) { return Logic(ctx, [](bool x, bool y) { return x || y; }); }
VEXA_OPERATOR(tuple_xor) { return Logic(ctx, [](bool x, bool y) { return x != y; }); }

VEXA_OPERATOR(tuple_not) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    bool x = false;
    const Vresult rc = Truth(a, 0, &x);
    *r = Value::Long(!x);
    return rc;
  });
}

}  // namespace vexa::tuple
