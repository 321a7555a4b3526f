// Gray profiles, edges, edge pairs and threshold crossings along measure
// rectangles.
#include "measure_outputs.h"
#include "measure_params.h"
#include "measure_tool.h"
#include "registry.h"

namespace vexa {

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
