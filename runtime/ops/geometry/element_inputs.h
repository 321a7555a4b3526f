// Control inputs of the plane geometry operators, read element by element.
//
// Every input is a tuple; element i of the call takes value i of each
// tuple, and a tuple of one value serves every element. The number of
// elements is the length of the longest tuple; a tuple of any other length
// (also an empty one beside longer ones) is VERR_CTRL_NUM of that
// parameter. All tuples empty: no elements, empty results.
#pragma once

#include <initializer_list>
#include <vector>

#include "ops/xld/xld_support.h"

namespace vexa {
namespace geo {

using xld::Pt;

// Largest magnitude of a real input. Products of a few coordinate
// differences then stay far inside the range of doubles, so no result
// overflows; NaN and infinities are refused as well.
constexpr double kMaxMagnitude = 1e100;

class ElementInputs {
 public:
  // Reads the reals of `reals` (integers are converted) and the point
  // orders of `orders` ("positive" or "negative", else VERR_CTRL_VALUE).
  Vresult Read(const OpContext& ctx, const std::vector<int>& reals,
               const std::vector<int>& orders = {});

  // Reads the reals of parameters 0 .. count - 1 and requires, for each
  // k of `lines`, the line of inputs k .. k + 3 to have two distinct
  // points (see RequireDistinctPoints).
  Vresult ReadFirst(const OpContext& ctx, int count, std::initializer_list<size_t> lines = {});

  size_t size() const { return n_; }
  // Real input k (counted in the order given to Read) of element i.
  double Real(size_t k, size_t i) const {
    const std::vector<double>& v = reals_[k];
    return v.size() == 1 ? v[0] : v[i];
  }
  // The point made of real inputs k (row) and k + 1 (column).
  Pt Point(size_t k, size_t i) const { return {Real(k, i), Real(k + 1, i)}; }
  // Point order input k of element i: true for "positive".
  bool Positive(size_t k, size_t i) const {
    const std::vector<char>& v = orders_[k];
    return (v.size() == 1 ? v[0] : v[i]) != 0;
  }

  // VERR_CTRL_VALUE(par) unless, in every element, the point of real
  // inputs k, k + 1 differs from that of k + 2, k + 3: a line needs two
  // distinct points.
  Vresult RequireDistinctPoints(size_t k, int par) const;
  // VERR_CTRL_VALUE(par) unless real input k is above 0 (or, with
  // `zero_allowed`, at least 0) in every element.
  Vresult RequirePositive(size_t k, int par, bool zero_allowed = false) const;

 private:
  Vresult Fit(int par, size_t length) const;

  std::vector<std::vector<double>> reals_;
  std::vector<std::vector<char>> orders_;
  size_t n_ = 0;
};

// Writes `columns[k]` to output control `first + k`.
Vresult SetRealOutputs(OpContext& ctx, int first,
                       const std::vector<std::vector<double>>& columns);

// Calls fn(i, values) for every element i, values holding `outputs`
// slots, and writes slot k of all elements to output control k.
template <class Fn>
Vresult PerElement(OpContext& ctx, const ElementInputs& in, size_t outputs, Fn&& fn) {
  std::vector<std::vector<double>> columns(outputs, std::vector<double>(in.size()));
  std::vector<double> values(outputs);
  for (size_t i = 0; i < in.size(); ++i) {
    fn(i, values.data());
    for (size_t k = 0; k < outputs; ++k) columns[k][i] = values[k];
  }
  return SetRealOutputs(ctx, 0, columns);
}

// Reads inputs 0 .. count - 1 as ReadFirst does and calls fn(in, i,
// values) for every element, writing as PerElement.
template <class Fn>
Vresult PerElementOfFirst(OpContext& ctx, int count, std::initializer_list<size_t> lines, size_t outputs,
                          Fn&& fn) {
  ElementInputs in;
  const Vresult rc = in.ReadFirst(ctx, count, lines);
  if (rc != VRESULT_OK) return rc;
  return PerElement(ctx, in, outputs, [&](size_t i, double* out) { fn(in, i, out); });
}

}  // namespace geo
}  // namespace vexa
