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

namespace {

// What measure_pos and measure_pairs read alike: the edge parameters
// (sigma, threshold, transition, selection) and the profile of the handle.
struct EdgeRequest {
  double sigma = 0, threshold = 0;
  EdgeTransition transition{};
  EdgeSelect select{};
  MeasureGeometry g;
  MeasureSampling s;
  std::vector<double> profile;
};

Vresult InpEdgeRequest(OpContext& ctx, EdgeRequest* in) {
  Vresult rc = InpEdgeParams(ctx, &in->sigma, &in->threshold);
  if (rc == VRESULT_OK) rc = InpTransition(ctx, 3, &in->transition);
  if (rc == VRESULT_OK) rc = InpSelect(ctx, 4, &in->select);
  if (rc == VRESULT_OK) rc = InpProfile(ctx, &in->g, &in->s, &in->profile);
  return rc;
}

}  // namespace

VEXA_OPERATOR(measure_pos) {
  EdgeRequest in;
  Vresult rc = InpEdgeRequest(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  const std::vector<ProfileEdge> edges = SelectItems(
      FindEdges(SmoothedDerivative(in.profile, in.sigma), in.threshold, in.transition, in.sigma),
      in.select);
  const std::vector<double> pos = Positions(edges);
  rc = OutpEdges(ctx, 0, edges, in.g, in.s);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(3, Gaps(pos, pos)) : rc;
}

VEXA_OPERATOR(measure_pairs) {
  EdgeRequest in;
  Vresult rc = InpEdgeRequest(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  const std::vector<EdgePair> pairs =
      SelectItems(PairEdges(FindEdges(SmoothedDerivative(in.profile, in.sigma), in.threshold,
                                      EdgeTransition::kAll, in.sigma),
                            in.transition),
                  in.select);
  std::vector<ProfileEdge> firsts, seconds;
  std::vector<double> intra;
  for (const EdgePair& p : pairs) {
    firsts.push_back(p.first);
    seconds.push_back(p.second);
    intra.push_back(p.second.pos - p.first.pos);
  }
  rc = OutpEdges(ctx, 0, firsts, in.g, in.s);
  if (rc == VRESULT_OK) rc = OutpEdges(ctx, 3, seconds, in.g, in.s);
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
