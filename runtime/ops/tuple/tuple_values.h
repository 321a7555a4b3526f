// Shared plumbing of the tuple operators: the value model they compute on,
// reading input controls, writing results, broadcasting of one-element
// tuples and the element comparisons several families share.
//
// Inputs are copied into Values once, so an operator works on plain C++
// values and never on the caller's records; results are collected the same
// way and written in one go, so a failing operator writes nothing.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "op_context.h"
#include "vexa/errors.h"

namespace vexa::tuple {

// One control value: integer, real or string. VPAR_UNDEF marks an element
// the caller left unassigned; every operator rejects it as a wrong type.
struct Value {
  int type = VPAR_UNDEF;
  Vlong l = 0;
  double d = 0.0;
  std::string s;

  static Value Long(Vlong v);
  static Value Double(double v);
  static Value String(std::string v);

  bool IsLong() const { return type == VPAR_LONG; }
  bool IsDouble() const { return type == VPAR_DOUBLE; }
  bool IsString() const { return type == VPAR_STRING; }
  bool IsNumber() const { return IsLong() || IsDouble(); }
  // A number as double; only meaningful for IsNumber().
  double Real() const { return IsLong() ? static_cast<double>(l) : d; }
};
using Values = std::vector<Value>;

// ---- Reading input controls ---------------------------------------------

// All values of input control `par`, any types.
Values ReadValues(const OpContext& ctx, int par);
// All values; each must be a number, else VERR_CTRL_TYPE(par).
Vresult ReadNumbers(const OpContext& ctx, int par, Values* out);
// All values; each must be a string, else VERR_CTRL_TYPE(par).
Vresult ReadStrings(const OpContext& ctx, int par, std::vector<std::string>* out);
// Integer view of an index-like value (index, count, rank, mask, exponent):
// an integer as it is, a real truncated toward zero; a string, an undefined
// element or a real outside the integer range gives VERR_CTRL_TYPE(par) or
// VERR_CTRL_VALUE(par).
Vresult ToIndex(const Value& v, int par, Vlong* out);
// All values of `par` through ToIndex.
Vresult ReadIndices(const OpContext& ctx, int par, std::vector<Vlong>* out);
// Exactly one value of `par` through ToIndex, else VERR_CTRL_NUM(par).
Vresult ReadIndex(const OpContext& ctx, int par, Vlong* out);
// Exactly one number of `par`, as a Value (keeps integer or real).
Vresult ReadNumber(const OpContext& ctx, int par, Value* out);

// ---- Writing output controls ---------------------------------------------

Vresult WriteValues(OpContext& ctx, int par, const Values& v);

// Upper bound for results whose length the caller chooses (gen_const,
// gen_sequence, rand): beyond it VERR_TOO_LARGE instead of an attempt to
// allocate gigabytes.
constexpr Vlong kMaxGeneratedLength = Vlong{1} << 26;

// ---- Broadcasting ---------------------------------------------------------

// Result length of an elementwise operation on lengths `na` and `nb`: empty
// if either is empty, else the other length if one of them is 1, else the
// common length; unequal lengths give VERR_CTRL_NUM(par_b).
Vresult BroadcastLength(size_t na, size_t nb, int par_b, size_t* n);
// Index into an operand of length `n` for result element `i`.
inline size_t At(size_t n, size_t i) { return n == 1 ? 0 : i; }

// out[i] = fn(in[i]); fn is Vresult(const Value&, Value*). Stops at the
// first failure.
template <class Fn>
Vresult MapUnary(const Values& in, Values* out, Fn&& fn) {
  out->assign(in.size(), Value());
  for (size_t i = 0; i < in.size(); ++i) {
    const Vresult rc = fn(in[i], &(*out)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// out[i] = fn(a[i], b[i]) with broadcasting of one-element operands; fn is
// Vresult(const Value&, const Value&, Value*). Length errors name `par_b`.
template <class Fn>
Vresult MapBinary(const Values& a, const Values& b, int par_b, Values* out,
                  Fn&& fn) {
  size_t n = 0;
  Vresult rc = BroadcastLength(a.size(), b.size(), par_b, &n);
  out->assign(n, Value());
  for (size_t i = 0; rc == VRESULT_OK && i < n; ++i)
    rc = fn(a[At(a.size(), i)], b[At(b.size(), i)], &(*out)[i]);
  return rc;
}

// The whole body of an elementwise operator of one input (control 0) and
// one output (control 0).
template <class Fn>
Vresult RunUnary(OpContext& ctx, Fn&& fn) {
  Values out;
  const Vresult rc = MapUnary(ReadValues(ctx, 0), &out, fn);
  return rc != VRESULT_OK ? rc : WriteValues(ctx, 0, out);
}

// The same for two inputs (controls 0 and 1) with broadcasting.
template <class Fn>
Vresult RunBinary(OpContext& ctx, Fn&& fn) {
  Values out;
  const Vresult rc =
      MapBinary(ReadValues(ctx, 0), ReadValues(ctx, 1), 1, &out, fn);
  return rc != VRESULT_OK ? rc : WriteValues(ctx, 0, out);
}

// ---- Comparing values -------------------------------------------------------

// Equality of two values: numbers by value (1 equals 1.0, NaN equals
// nothing), strings by bytes, a number never equals a string.
bool Equal(const Value& a, const Value& b);
// Three-way comparison of two numbers; exact for two integers. A NaN
// compares as unordered: `*unordered` is set and the result is 0.
int CompareNumbers(const Value& a, const Value& b, bool* unordered);
// The total order used for sorting, ranks and sets: numbers by value, with
// NaN after every other number, then strings by unsigned bytes. Never fails.
int SortOrder(const Value& a, const Value& b);

// ---- Text of numbers ----------------------------------------------------------

// An integer as "%lld", a real as "%g", a string as it is; locale-free.
std::string Text(const Value& v);

}  // namespace vexa::tuple
