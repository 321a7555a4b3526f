// Fuzzy sets of a measure: membership functions that score edges and edge
// pairs by their features, so that fuzzy_measure_* keep only the edges
// that look like the ones wanted.
//
// A set is a piecewise-linear function (a 1D function tuple, values in
// [0, 1], constant beyond its ends) over one feature:
//   contrast             |amplitude| of an edge (of both edges of a pair:
//                        each gives a membership)
//   position             distance from the profile's start
//   position_end         distance to the profile's end
//   position_center      signed distance from the profile's centre
//   position_first_edge  distance from the first edge found
//   position_last_edge   distance to the last edge found
//   size                 pair width (second edge - first edge)
//   size_diff            pair width - pair_size
//   size_abs_diff        |pair width - pair_size|
//   gray                 mean profile gray between the pair's edges
// For pairs the position features are those of the pair's centre; size,
// size_diff, size_abs_diff and gray apply to pairs only. A set given with
// set_fuzzy_measure_norm_pair reads its feature in units of pair_size
// (its x values are multiples of the pair size); size_diff and
// size_abs_diff need a pair size and so are only set that way.
//
// Score: the geometric mean of the memberships of all sets that apply, so
// that one set at 0 rejects and the score does not shrink with the number
// of sets; 1 when no set applies.
#pragma once

#include <map>
#include <vector>

#include "ops/math/funct_1d.h"
#include "profile_edges.h"

namespace vexa {

enum class FuzzyFeature {
  kContrast,
  kPosition,
  kPositionEnd,
  kPositionCenter,
  kPositionFirstEdge,
  kPositionLastEdge,
  kSize,
  kSizeDiff,
  kSizeAbsDiff,
  kGray,
};

bool FuzzyFeatureFromName(const char* name, FuzzyFeature* f);
// Features of pairs only, and those that need a pair size.
bool PairOnly(FuzzyFeature f);
bool NeedsPairSize(FuzzyFeature f);

struct FuzzySet {
  Funct1D membership;
  bool normalized = false;  // x in units of the pair size
};

struct FuzzySets {
  std::map<FuzzyFeature, FuzzySet> sets;
  double pair_size = 0;  // of the last set_fuzzy_measure_norm_pair
};

// What the scores of one profile need: its samples, length and edges.
struct FuzzyProfile {
  const std::vector<double>* profile;
  std::vector<ProfileEdge> edges;  // all edges found, in order
};

// A membership function: x strictly increasing, finite, every y in [0, 1].
bool ValidMembership(const Funct1D& f);
// A membership function from input `par` (VERR_CTRL_VALUE(par) when not
// valid).
Vresult InpMembership(const OpContext& ctx, int par, Funct1D* f);

double EdgeScore(const FuzzySets& sets, const FuzzyProfile& p, const ProfileEdge& e);
double PairScore(const FuzzySets& sets, const FuzzyProfile& p, const EdgePair& pair);

}  // namespace vexa
