// Fuzzy sets of measures and the edges, pairs and pairings they keep.
//
// fuzzy_measure_pos keeps the edges (found as measure_pos finds them)
// whose fuzzy score reaches fuzzy_thresh. Pairs are any edge of the
// transition's polarity (either for "all") followed by a later edge of
// the opposite polarity, with weaker edges between them allowed, scored
// as a pair. fuzzy_measure_pairs takes, from the start of the profile,
// each opening edge's best pair that reaches fuzzy_thresh and does not
// overlap the pair before; fuzzy_measure_pairing takes the best-scoring
// pairs first, up to num_pairs that do not overlap, and gives them in
// profile order. Pairing scores every pair of edges, so a profile with
// more than kMaxPairingEdges edges is refused (VERR_TOO_LARGE): raise
// amp_thresh.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "fuzzy_sets.h"
#include "measure_outputs.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult InpFeature(const OpContext& ctx, int par, FuzzyFeature* f) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  return FuzzyFeatureFromName(name, f) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// Sets the set of the feature at `feature_par` from the function at
// `feature_par + 1` on the measure at input 0.
Vresult SetFuzzy(const OpContext& ctx, int feature_par, bool normalized, double pair_size) {
  std::shared_ptr<MeasureTool> tool;
  MeasureGeometry g;
  FuzzyFeature feature{};
  FuzzySet set;
  set.normalized = normalized;
  Vresult rc = InpMeasure(ctx, 0, &g, &tool);
  if (rc == VRESULT_OK) rc = InpFeature(ctx, feature_par, &feature);
  if (rc == VRESULT_OK && NeedsPairSize(feature) && !normalized) rc = VERR_CTRL_VALUE(feature_par);
  if (rc == VRESULT_OK) rc = InpMembership(ctx, feature_par + 1, &set.membership);
  if (rc != VRESULT_OK) return rc;
  tool->EditFuzzy([&](FuzzySets* sets) {
    sets->sets[feature] = set;
    if (normalized) sets->pair_size = pair_size;
  });
  return VRESULT_OK;
}

// What all fuzzy_measure_* read: sigma, amplitude threshold, fuzzy
// threshold and transition at 1..4, the profile and the fuzzy sets.
struct FuzzyInput {
  double sigma = 0, threshold = 0, fuzzy_thresh = 0;
  EdgeTransition transition{};
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
  FuzzySets sets;
};

Vresult InpFuzzyMeasure(OpContext& ctx, FuzzyInput* in) {
  Vresult rc = InpEdgeParams(ctx, &in->sigma, &in->threshold);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 3, &in->fuzzy_thresh);
  if (rc == VRESULT_OK && !(in->fuzzy_thresh >= 0 && in->fuzzy_thresh <= 1)) rc = VERR_CTRL_VALUE(3);
  if (rc == VRESULT_OK) rc = InpTransition(ctx, 4, &in->transition);
  if (rc == VRESULT_OK) rc = InpProfile(ctx, &in->g, &in->s, &in->profile);
  std::shared_ptr<MeasureTool> tool;
  MeasureGeometry g;
  if (rc == VRESULT_OK) rc = InpMeasure(ctx, 0, &g, &tool);
  if (rc == VRESULT_OK) in->sets = tool->Fuzzy();
  return rc;
}

struct ScoredPair {
  EdgePair pair;
  double score;
};

// Edges a profile may have for pairing: every pair of them is scored.
constexpr size_t kMaxPairingEdges = 4096;

// Every pair that reaches the fuzzy threshold, in order of opening edge;
// VERR_TOO_LARGE beyond kMaxPairingEdges edges.
Vresult Candidates(const FuzzyInput& in, const FuzzyProfile& fp, std::vector<ScoredPair>* pairs) {
  const std::vector<ProfileEdge>& e = fp.edges;
  if (e.size() > kMaxPairingEdges) return VERR_TOO_LARGE;
  for (size_t i = 0; i < e.size(); ++i) {
    const bool rising = e[i].amplitude > 0;
    if (in.transition != EdgeTransition::kAll && rising != (in.transition == EdgeTransition::kPositive))
      continue;
    for (size_t j = i + 1; j < e.size(); ++j) {
      if ((e[j].amplitude > 0) == rising) continue;
      const EdgePair pair{e[i], e[j]};
      const double score = PairScore(in.sets, fp, pair);
      if (score >= in.fuzzy_thresh) pairs->push_back({pair, score});
    }
  }
  return VRESULT_OK;
}

FuzzyProfile ProfileEdges(const FuzzyInput& in, EdgeTransition transition) {
  return {&in.profile, FindEdges(SmoothedDerivative(in.profile, in.sigma), in.threshold, transition,
                                 in.sigma)};
}

// Writes the pairs' edges (0..5), centres (6, 7), scores (8) and widths
// (9).
Vresult OutpPairs(OpContext& ctx, const FuzzyInput& in, const std::vector<ScoredPair>& pairs) {
  std::vector<ProfileEdge> firsts, seconds;
  std::vector<double> centres, scores, intra;
  for (const ScoredPair& p : pairs) {
    firsts.push_back(p.pair.first);
    seconds.push_back(p.pair.second);
    centres.push_back((p.pair.first.pos + p.pair.second.pos) / 2);
    scores.push_back(p.score);
    intra.push_back(p.pair.second.pos - p.pair.first.pos);
  }
  Vresult rc = OutpEdges(ctx, 0, firsts, in.g, in.s);
  if (rc == VRESULT_OK) rc = OutpEdges(ctx, 3, seconds, in.g, in.s);
  if (rc == VRESULT_OK) rc = OutpPositions(ctx, 6, centres, in.g, in.s);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(8, scores);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(9, intra) : rc;
}

}  // namespace

VEXA_OPERATOR(set_fuzzy_measure) { return SetFuzzy(ctx, 1, false, 0); }

VEXA_OPERATOR(set_fuzzy_measure_norm_pair) {
  double pair_size = 0;
  Vresult rc = InpFinite(ctx, 1, &pair_size);
  if (rc == VRESULT_OK && !(pair_size > 0)) rc = VERR_CTRL_VALUE(1);
  return rc == VRESULT_OK ? SetFuzzy(ctx, 2, true, pair_size) : rc;
}

VEXA_OPERATOR(reset_fuzzy_measure) {
  std::shared_ptr<MeasureTool> tool;
  MeasureGeometry g;
  FuzzyFeature feature{};
  Vresult rc = InpMeasure(ctx, 0, &g, &tool);
  if (rc == VRESULT_OK) rc = InpFeature(ctx, 1, &feature);
  if (rc == VRESULT_OK) tool->EditFuzzy([&](FuzzySets* sets) { sets->sets.erase(feature); });
  return rc;
}

VEXA_OPERATOR(fuzzy_measure_pos) {
  FuzzyInput in;
  Vresult rc = InpFuzzyMeasure(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  const FuzzyProfile fp = ProfileEdges(in, in.transition);
  std::vector<ProfileEdge> kept;
  std::vector<double> scores;
  for (const ProfileEdge& e : fp.edges) {
    const double score = EdgeScore(in.sets, fp, e);
    if (score < in.fuzzy_thresh) continue;
    kept.push_back(e);
    scores.push_back(score);
  }
  const std::vector<double> pos = Positions(kept);
  rc = OutpEdges(ctx, 0, kept, in.g, in.s);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(3, scores);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(4, Gaps(pos, pos)) : rc;
}

VEXA_OPERATOR(fuzzy_measure_pairs) {
  FuzzyInput in;
  Vresult rc = InpFuzzyMeasure(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<ScoredPair> candidates;
  rc = Candidates(in, ProfileEdges(in, EdgeTransition::kAll), &candidates);
  if (rc != VRESULT_OK) return rc;
  // By opening edge, its best pair first.
  std::stable_sort(candidates.begin(), candidates.end(), [](const ScoredPair& a, const ScoredPair& b) {
    if (a.pair.first.pos != b.pair.first.pos) return a.pair.first.pos < b.pair.first.pos;
    return a.score > b.score;
  });
  std::vector<ScoredPair> pairs;
  for (const ScoredPair& c : candidates)
    if (pairs.empty() || c.pair.first.pos > pairs.back().pair.second.pos) pairs.push_back(c);
  rc = OutpPairs(ctx, in, pairs);
  std::vector<ProfileEdge> firsts, seconds;
  for (const ScoredPair& p : pairs) {
    firsts.push_back(p.pair.first);
    seconds.push_back(p.pair.second);
  }
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(10, Gaps(Positions(seconds), Positions(firsts))) : rc;
}

VEXA_OPERATOR(fuzzy_measure_pairing) {
  FuzzyInput in;
  const char* pairing = nullptr;
  Vlong num_pairs = 0;
  Vresult rc = ctx.GetString(5, &pairing);
  if (rc == VRESULT_OK && std::strcmp(pairing, "no_restriction") != 0) rc = VERR_CTRL_VALUE(5);
  if (rc == VRESULT_OK) rc = ctx.GetLong(6, &num_pairs);
  if (rc == VRESULT_OK && num_pairs < 1) rc = VERR_CTRL_VALUE(6);
  if (rc == VRESULT_OK) rc = InpFuzzyMeasure(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<ScoredPair> candidates;
  rc = Candidates(in, ProfileEdges(in, EdgeTransition::kAll), &candidates);
  if (rc != VRESULT_OK) return rc;
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const ScoredPair& a, const ScoredPair& b) { return a.score > b.score; });
  std::vector<ScoredPair> pairs;
  for (const ScoredPair& c : candidates) {
    if (static_cast<Vlong>(pairs.size()) >= num_pairs) break;
    bool overlaps = false;
    for (const ScoredPair& p : pairs)
      overlaps = overlaps || (c.pair.first.pos <= p.pair.second.pos && p.pair.first.pos <= c.pair.second.pos);
    if (!overlaps) pairs.push_back(c);
  }
  std::sort(pairs.begin(), pairs.end(), [](const ScoredPair& a, const ScoredPair& b) {
    return a.pair.first.pos < b.pair.first.pos;
  });
  return OutpPairs(ctx, in, pairs);
}

}  // namespace vexa
