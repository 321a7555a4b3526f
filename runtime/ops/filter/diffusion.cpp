// Diffusion filters: anisotropic_diffusion, isotropic_diffusion and
// anisotrope_diff, as explicit steps of the neighbour scheme
//   u += tau * sum over the neighbours of w g(|u_n - u|) (u_n - u)
// in double (ConductanceStep), the image continued by the mirror rule at
// every step. Results keep the input's type, rounded.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/filter/explicit_flow.h"
#include "registry.h"

namespace vexa {
namespace {

// The `percent` percentile (nearest rank) of the central-difference
// gradient magnitudes of the whole image.
double GradientPercentile(const cv::Mat& src, int percent) {
  cv::Mat u;
  src.convertTo(u, CV_64F);
  const Derivatives d = CentralDerivatives(u);
  std::vector<double> magnitudes;
  magnitudes.reserve(u.total());
  for (int y = 0; y < u.rows; ++y)
    for (int x = 0; x < u.cols; ++x)
      magnitudes.push_back(std::hypot(d.x.at<double>(y, x), d.y.at<double>(y, x)));
  const size_t rank = static_cast<size_t>(
      std::max(1.0, std::ceil(percent / 100.0 * static_cast<double>(magnitudes.size()))));
  std::nth_element(magnitudes.begin(), magnitudes.begin() + (rank - 1), magnitudes.end());
  return magnitudes[rank - 1];
}

}  // namespace

// Edge-preserving smoothing: the conductance falls with the gray value
// difference d relative to `contrast` K. "perona-malik": 1 / (1 + (d/K)^2);
// "weickert": 1 - exp(-3.31488 / (d/K)^8) (1 at d = 0); "parabolic":
// 1 - (d/K)^2 below K, 0 above. `theta` is the step size, at most 0.25 for
// a stable scheme.
VEXA_OPERATOR(anisotropic_diffusion) {
  Flow flow;
  const Vresult rc = ReadDiffusionFlow(ctx, 0.0, &flow);
  return rc == VRESULT_OK ? FlowImages(ctx, flow) : rc;
}

// Linear diffusion up to the scale `sigma` (0 to 15): a Gaussian of sigma,
// reached in `iterations` steps of size sigma^2 / (2 iterations), or in
// more steps when that size would exceed the stable 0.25.
VEXA_OPERATOR(isotropic_diffusion) {
  double sigma = 0.0;
  int iterations = 0;
  Vresult rc = ReadReal(ctx, 0, 0.0, 15.0, &sigma);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 1, kMaxFlowSteps, &iterations);
  if (rc != VRESULT_OK) return rc;
  const int steps = std::max(iterations, static_cast<int>(std::ceil(2 * sigma * sigma)));
  const Conductance constant{Conductance::kLinear, 1.0};
  return FlowImages(ctx, Flow{steps, ConductanceReach(0.0),
                              ConductanceStep(constant, sigma * sigma / (2 * steps), false, 0.0)});
}

// Perona-Malik diffusion with a contrast taken from the image: K is the
// `percent` percentile of each channel's gradient magnitudes, measured once
// on the input. `mode` 1: g = 1 / (1 + (d/K)^2), 2: g = exp(-(d/K)^2);
// `neighborhood_type` 4 or 8 (diagonals weighted 1/2), steps of 0.2 and
// 2/15 (0.8 over the sum of the weights).
VEXA_OPERATOR(anisotrope_diff) {
  int percent = 0, mode = 0, steps = 0, neighbours = 0;
  Vresult rc = ReadInt(ctx, 0, 1, 100, &percent);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 1, 2, &mode);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, kMaxFlowSteps, &steps);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 4, 8, &neighbours);
  if (rc == VRESULT_OK && neighbours != 4 && neighbours != 8) rc = VERR_CTRL_VALUE(3);
  if (rc != VRESULT_OK) return rc;
  const bool eight = neighbours == 8;
  const double tau = eight ? 0.8 / 6.0 : 0.2;
  const Conductance::Kind kind = mode == 1 ? Conductance::kPeronaMalik : Conductance::kGaussian;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    const Conductance g{kind, GradientPercentile(src, percent)};
    return RunFlow(src, dst, rect, steps, ConductanceReach(0.0),
                   ConductanceStep(g, tau, eight, 0.0));
  });
}

}  // namespace vexa
