// Feature values and fuzzy scores of edges and edge pairs.
#include "fuzzy_sets.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vexa {
namespace {

const char* const kNames[] = {"contrast",        "position",           "position_end",
                              "position_center", "position_first_edge", "position_last_edge",
                              "size",            "size_diff",          "size_abs_diff",
                              "gray"};

// Position features of profile position `x`.
double PositionFeature(FuzzyFeature f, const FuzzyProfile& p, double x) {
  const double last_sample = static_cast<double>(p.profile->size()) - 1;
  switch (f) {
    case FuzzyFeature::kPosition: return x;
    case FuzzyFeature::kPositionEnd: return last_sample - x;
    case FuzzyFeature::kPositionCenter: return x - last_sample / 2;
    case FuzzyFeature::kPositionFirstEdge: return p.edges.empty() ? 0 : x - p.edges.front().pos;
    case FuzzyFeature::kPositionLastEdge: return p.edges.empty() ? 0 : p.edges.back().pos - x;
    default: return 0;
  }
}

// Mean of the samples from a to b (the nearest one when none lies
// between).
double MeanGray(const std::vector<double>& profile, double a, double b) {
  const long n = static_cast<long>(profile.size());
  const long lo = std::max(0L, static_cast<long>(std::ceil(a)));
  const long hi = std::min(n - 1, static_cast<long>(std::floor(b)));
  if (lo > hi) {
    const long at = std::min(n - 1, std::max(0L, static_cast<long>(std::lround((a + b) / 2))));
    return profile[static_cast<size_t>(at)];
  }
  double sum = 0;
  for (long i = lo; i <= hi; ++i) sum += profile[static_cast<size_t>(i)];
  return sum / static_cast<double>(hi - lo + 1);
}

// Accumulates memberships for the geometric mean.
class Score {
 public:
  explicit Score(const FuzzySets& sets) : sets_(sets) {}
  void Add(FuzzyFeature f, double value) {
    const auto it = sets_.sets.find(f);
    if (it == sets_.sets.end()) return;
    if (it->second.normalized) value /= sets_.pair_size;
    double mu = 0;
    ValueAt(it->second.membership, value, Border::kConstant, &mu);
    mu = std::min(1.0, std::max(0.0, mu));
    log_sum_ += mu > 0 ? std::log(mu) : -HUGE_VAL;
    ++count_;
  }
  double Value() const { return count_ == 0 ? 1.0 : std::exp(log_sum_ / count_); }

 private:
  const FuzzySets& sets_;
  double log_sum_ = 0;
  int count_ = 0;
};

constexpr FuzzyFeature kPositionFeatures[] = {
    FuzzyFeature::kPosition, FuzzyFeature::kPositionEnd, FuzzyFeature::kPositionCenter,
    FuzzyFeature::kPositionFirstEdge, FuzzyFeature::kPositionLastEdge};

}  // namespace

bool FuzzyFeatureFromName(const char* name, FuzzyFeature* f) {
  for (size_t i = 0; i < sizeof(kNames) / sizeof(kNames[0]); ++i) {
    if (std::strcmp(kNames[i], name) == 0) {
      *f = static_cast<FuzzyFeature>(i);
      return true;
    }
  }
  return false;
}

bool PairOnly(FuzzyFeature f) { return f >= FuzzyFeature::kSize; }

bool NeedsPairSize(FuzzyFeature f) {
  return f == FuzzyFeature::kSizeDiff || f == FuzzyFeature::kSizeAbsDiff;
}

bool ValidMembership(const Funct1D& f) {
  if (f.x.empty() || f.x.size() != f.y.size()) return false;
  for (size_t i = 0; i < f.x.size(); ++i) {
    if (!std::isfinite(f.x[i]) || !(f.y[i] >= 0 && f.y[i] <= 1)) return false;
    if (i > 0 && !(f.x[i] > f.x[i - 1])) return false;
  }
  return true;
}

Vresult InpMembership(const OpContext& ctx, int par, Funct1D* f) {
  const Vresult rc = GetFunct1D(ctx, par, f);
  if (rc != VRESULT_OK) return rc;
  return ValidMembership(*f) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

double EdgeScore(const FuzzySets& sets, const FuzzyProfile& p, const ProfileEdge& e) {
  Score s(sets);
  s.Add(FuzzyFeature::kContrast, std::fabs(e.amplitude));
  for (FuzzyFeature f : kPositionFeatures) s.Add(f, PositionFeature(f, p, e.pos));
  return s.Value();
}

double PairScore(const FuzzySets& sets, const FuzzyProfile& p, const EdgePair& pair) {
  Score s(sets);
  s.Add(FuzzyFeature::kContrast, std::fabs(pair.first.amplitude));
  s.Add(FuzzyFeature::kContrast, std::fabs(pair.second.amplitude));
  const double centre = (pair.first.pos + pair.second.pos) / 2;
  for (FuzzyFeature f : kPositionFeatures) s.Add(f, PositionFeature(f, p, centre));
  const double size = pair.second.pos - pair.first.pos;
  s.Add(FuzzyFeature::kSize, size);
  s.Add(FuzzyFeature::kSizeDiff, size - sets.pair_size);
  s.Add(FuzzyFeature::kSizeAbsDiff, std::fabs(size - sets.pair_size));
  s.Add(FuzzyFeature::kGray, MeanGray(*p.profile, pair.first.pos, pair.second.pos));
  return s.Value();
}

}  // namespace vexa
