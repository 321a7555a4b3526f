// Set operations: tuple_union, tuple_intersection, tuple_difference,
// tuple_symmdiff. Both inputs are read as sets: the results are sorted in
// the order of tuple_sort and hold every value once, where 1 and 1.0 are
// the same value (the first met is kept).
#include <algorithm>
#include <iterator>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

bool Before(const Value& a, const Value& b) { return SortOrder(a, b) < 0; }

// Input `par` as a sorted set without duplicates.
Vresult ReadSet(const OpContext& ctx, int par, Values* set) {
  *set = ReadValues(ctx, par);
  for (const Value& v : *set)
    if (v.type == VPAR_UNDEF) return VERR_CTRL_TYPE(par);
  std::stable_sort(set->begin(), set->end(), Before);
  set->erase(std::unique(set->begin(), set->end(),
                         [](const Value& a, const Value& b) { return SortOrder(a, b) == 0; }),
             set->end());
  return VRESULT_OK;
}

// Runs one of the standard sorted-range set algorithms on the two inputs.
template <class Algorithm>
Vresult RunSet(OpContext& ctx, Algorithm algorithm) {
  Values a, b, out;
  Vresult rc = ReadSet(ctx, 0, &a);
  if (rc == VRESULT_OK) rc = ReadSet(ctx, 1, &b);
  if (rc != VRESULT_OK) return rc;
  algorithm(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out), Before);
  return WriteValues(ctx, 0, out);
}

// The algorithms are overloaded templates; these lambdas pick the form
// with a comparison.
constexpr auto kUnion = [](auto... args) { return std::set_union(args...); };
constexpr auto kIntersection = [](auto... args) { return std::set_intersection(args...); };
constexpr auto kDifference = [](auto... args) { return std::set_difference(args...); };
constexpr auto kSymmDiff = [](auto... args) { return std::set_symmetric_difference(args...); };

}  // namespace

VEXA_OPERATOR(tuple_union) { return RunSet(ctx, kUnion); }
VEXA_OPERATOR(tuple_intersection) { return RunSet(ctx, kIntersection); }
VEXA_OPERATOR(tuple_difference) { return RunSet(ctx, kDifference); }
VEXA_OPERATOR(tuple_symmdiff) { return RunSet(ctx, kSymmDiff); }

}  // namespace vexa::tuple
