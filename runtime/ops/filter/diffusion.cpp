// Diffusion filters: anisotropic_diffusion and isotropic_diffusion, as
// explicit steps of the 4-neighbour scheme
//   u += tau * sum over the neighbours of g(|u_n - u|) (u_n - u)
// in double. A step reads one pixel around each pixel, so `steps` steps
// run on a mirrored tile with a margin of `steps`: the unchanged outer
// ring spoils one more pixel inwards per step and the inner rectangle
// stays exact. Mirroring commutes with the symmetric scheme, so the tile
// equals diffusing the image with the mirror border at every step.
// Results keep the input's type, rounded.
#include <algorithm>
#include <cmath>
#include <utility>

#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kMaxSteps = 500;

template <class Conductance>
Vresult DiffuseImages(OpContext& ctx, int steps, double tau, Conductance g) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat u, next;
    BorderedTile(src, rect, steps, steps, Border{}).convertTo(u, CV_64F);
    next = u.clone();
    for (int s = 0; s < steps; ++s) {
      for (int y = 1; y + 1 < u.rows; ++y) {
        const double* up = u.ptr<double>(y - 1);
        const double* row = u.ptr<double>(y);
        const double* down = u.ptr<double>(y + 1);
        double* out = next.ptr<double>(y);
        for (int x = 1; x + 1 < u.cols; ++x) {
          const double c = row[x];
          const double dn = up[x] - c, ds = down[x] - c, dw = row[x - 1] - c, de = row[x + 1] - c;
          out[x] = c + tau * (g(std::fabs(dn)) * dn + g(std::fabs(ds)) * ds +
                              g(std::fabs(dw)) * dw + g(std::fabs(de)) * de);
        }
      }
      std::swap(u, next);
    }
    cv::Mat out = dst(rect);
    u(cv::Rect(steps, steps, rect.width, rect.height)).convertTo(out, dst.type());
    return VRESULT_OK;
  });
}

}  // namespace

// Edge-preserving smoothing: the conductance falls with the gray value
// difference d relative to `contrast` K. "perona-malik": 1 / (1 + (d/K)^2);
// "weickert": 1 - exp(-3.31488 / (d/K)^8) (1 at d = 0); "parabolic":
// 1 - (d/K)^2 below K, 0 above. `theta` is the step size, at most 0.25 for
// a stable scheme.
VEXA_OPERATOR(anisotropic_diffusion) {
  int mode = 0, steps = 0;
  double k = 0.0, theta = 0.0;
  Vresult rc = ReadChoice(ctx, 0, {"perona-malik", "weickert", "parabolic"}, &mode);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 1e-6, 1e30, &k);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 1e-6, 0.25, &theta);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 0, kMaxSteps, &steps);
  if (rc != VRESULT_OK) return rc;
  switch (mode) {
    case 0:
      return DiffuseImages(ctx, steps, theta, [k](double d) { return 1.0 / (1.0 + d * d / (k * k)); });
    case 1:
      return DiffuseImages(ctx, steps, theta, [k](double d) {
        return d == 0.0 ? 1.0 : 1.0 - std::exp(-3.31488 / std::pow(d / k, 8));
      });
    default:
      return DiffuseImages(ctx, steps, theta, [k](double d) {
        return d < k ? 1.0 - d * d / (k * k) : 0.0;
      });
  }
}

// Linear diffusion up to the scale `sigma` (0 to 15): a Gaussian of sigma,
// reached in `iterations` steps of size sigma^2 / (2 iterations), or in
// more steps when that size would exceed the stable 0.25.
VEXA_OPERATOR(isotropic_diffusion) {
  double sigma = 0.0;
  int iterations = 0;
  Vresult rc = ReadReal(ctx, 0, 0.0, 15.0, &sigma);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 1, kMaxSteps, &iterations);
  if (rc != VRESULT_OK) return rc;
  const int steps = std::max(iterations, static_cast<int>(std::ceil(2 * sigma * sigma)));
  return DiffuseImages(ctx, steps, sigma * sigma / (2 * steps), [](double) { return 1.0; });
}

}  // namespace vexa
