// Gray profiles, edges, edge pairs and threshold crossings along measure
// rectangles.
#include <cmath>
#include <vector>

#include "measure_params.h"
#include "measure_tool.h"
#include "registry.h"

namespace vexa {
namespace {

// Distances between neighbouring positions, in pixels (profile samples are
// one pixel apart).
std::vector<double> Gaps(const std::vector<double>& from, const std::vector<double>& to) {
  std::vector<double> gaps;
  for (size_t i = 0; i + 1 < to.size(); ++i) gaps.push_back(to[i + 1] - from[i]);
  return gaps;
}

// Writes image rows and columns of profile positions to outputs
// `row_par` and `row_par + 1`.
Vresult OutpPositions(OpContext& ctx, int row_par, const std::vector<double>& pos,
                      const MeasureGeometry& g, const MeasureSampling& s) {
  std::vector<double> rows, cols;
  for (double x : pos) {
    double r = 0, c = 0;
    s.PointAt(x, g, &r, &c);
    rows.push_back(r);
    cols.push_back(c);
  }
  const Vresult rc = ctx.SetOutpDoubles(row_par, rows);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(row_par + 1, cols) : rc;
}

// Writes the positions and amplitudes of edges to outputs `row_par` ..
// `row_par + 2`.
Vresult OutpEdges(OpContext& ctx, int row_par, const std::vector<ProfileEdge>& edges,
                  const MeasureGeometry& g, const MeasureSampling& s) {
  std::vector<double> pos, amp;
  for (const ProfileEdge& e : edges) {
    pos.push_back(e.pos);
    amp.push_back(e.amplitude);
  }
  const Vresult rc = OutpPositions(ctx, row_par, pos, g, s);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(row_par + 2, amp) : rc;
}

// The smoothing sigma at 1 and the edge threshold (not negative) at 2.
Vresult InpEdgeParams(const OpContext& ctx, double* sigma, double* threshold) {
  Vresult rc = InpSigma(ctx, 1, sigma);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, threshold);
  if (rc == VRESULT_OK && *threshold < 0) rc = VERR_CTRL_VALUE(2);
  return rc;
}

std::vector<double> Positions(const std::vector<ProfileEdge>& edges) {
  std::vector<double> pos;
  for (const ProfileEdge& e : edges) pos.push_back(e.pos);
  return pos;
}

}  // namespace

VEXA_OPERATOR(measure_projection) {
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
  const Vresult rc = InpProfile(ctx, &g, &s, &profile);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, profile) : rc;
}

VEXA_OPERATOR(measure_pos) {
  double sigma = 0, threshold = 0;
  EdgeTransition transition{};
  EdgeSelect select{};
  Vresult rc = InpEdgeParams(ctx, &sigma, &threshold);
  if (rc == VRESULT_OK) rc = InpTransition(ctx, 3, &transition);
  if (rc == VRESULT_OK) rc = InpSelect(ctx, 4, &select);
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
  if (rc == VRESULT_OK) rc = InpProfile(ctx, &g, &s, &profile);
  if (rc != VRESULT_OK) return rc;
  const std::vector<ProfileEdge> edges = SelectItems(
      FindEdges(SmoothedDerivative(profile, sigma), threshold, transition, sigma), select);
  const std::vector<double> pos = Positions(edges);
  rc = OutpEdges(ctx, 0, edges, g, s);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(3, Gaps(pos, pos)) : rc;
}

VEXA_OPERATOR(measure_pairs) {
  double sigma = 0, threshold = 0;
  EdgeTransition transition{};
  EdgeSelect select{};
  Vresult rc = InpEdgeParams(ctx, &sigma, &threshold);
  if (rc == VRESULT_OK) rc = InpTransition(ctx, 3, &transition);
  if (rc == VRESULT_OK) rc = InpSelect(ctx, 4, &select);
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
  if (rc == VRESULT_OK) rc = InpProfile(ctx, &g, &s, &profile);
  if (rc != VRESULT_OK) return rc;
  const std::vector<EdgePair> pairs = SelectItems(
      PairEdges(FindEdges(SmoothedDerivative(profile, sigma), threshold, EdgeTransition::kAll, sigma),
                transition),
      select);
  std::vector<ProfileEdge> firsts, seconds;
  std::vector<double> intra;
  for (const EdgePair& p : pairs) {
    firsts.push_back(p.first);
    seconds.push_back(p.second);
    intra.push_back(p.second.pos - p.first.pos);
  }
  rc = OutpEdges(ctx, 0, firsts, g, s);
  if (rc == VRESULT_OK) rc = OutpEdges(ctx, 3, seconds, g, s);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(6, intra);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(7, Gaps(Positions(seconds), Positions(firsts)))
                          : rc;
}

VEXA_OPERATOR(measure_thresh) {
  double sigma = 0, threshold = 0;
  EdgeSelect select{};
  Vresult rc = InpSigma(ctx, 1, &sigma);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, &threshold);
  if (rc == VRESULT_OK) rc = InpSelect(ctx, 3, &select);
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
  if (rc == VRESULT_OK) rc = InpProfile(ctx, &g, &s, &profile);
  if (rc != VRESULT_OK) return rc;
  const std::vector<double> pos =
      SelectItems(ThresholdCrossings(SmoothProfile(profile, sigma), threshold), select);
  rc = OutpPositions(ctx, 0, pos, g, s);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(2, Gaps(pos, pos)) : rc;
}

}  // namespace vexa
