// Explicit time steps of the PDE filters (diffusion, curvature flows,
// shock filters, inpainting) on a gray value field in double.
//
// A step computes the next state of a whole tile from the current one,
// continuing the tile beyond its edges by the mirror rule. A result
// rectangle needs the tile around it grown by `reach` pixels per step (the
// farthest any pixel reads): where the grown tile meets the image border,
// its mirror rule is the image's; elsewhere its wrong continuation spoils
// at most `reach` pixels inwards per step and never reaches the rectangle.
#pragma once

#include <functional>

#include <opencv2/core.hpp>

#include "ops/filter/filter_support.h"

namespace vexa {

// Largest number of steps the PDE filters take.
constexpr int kMaxFlowSteps = 500;

// next (allocated by the step, CV_64F, u's size) from u (CV_64F).
using FlowStep = std::function<void(const cv::Mat& u, cv::Mat& next)>;

// u continued by `margin` pixels on each side by the mirror rule; `odd`
// for a field that changes sign under reflection (a product of x and y
// derivatives), whose mirror images are negated.
cv::Mat Mirrored(const cv::Mat& u, int margin, bool odd = false);

// Radius of the sampled Gaussian of `sigma`: ceil(3 sigma), 0 for sigma 0.
int GaussianReach(double sigma);
// u smoothed by the sampled, normalised Gaussian of `sigma` under the
// mirror rule, `odd` as for Mirrored (a copy for sigma 0).
cv::Mat GaussianSmoothed(const cv::Mat& u, double sigma, bool odd = false);

// Central first and second differences of a CV_64F field under the mirror
// rule (reach 1), x along columns, y along rows.
struct Derivatives {
  cv::Mat x, y, xx, yy, xy;
};
Derivatives CentralDerivatives(const cv::Mat& u);

// `steps` steps of `step` for dst(rect), starting from src, rounded and
// clipped into dst's type.
Vresult RunFlow(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int steps, int reach,
                const FlowStep& step);
// A flow as its parameters set it up.
struct Flow {
  int steps = 0;
  int reach = 0;
  FlowStep step;
};

// RunFlow for every channel of every image of input object 1 (the filter
// types, kept).
Vresult FlowImages(OpContext& ctx, const Flow& flow);

// The conductance g(d) of the nonlinear diffusions for a gray value
// difference d and contrast k (floored at 1e-9, so that k = 0 stops every
// flow across a difference); kLinear is 1 throughout.
struct Conductance {
  enum Kind { kPeronaMalik, kWeickert, kParabolic, kGaussian, kLinear };
  Kind kind;
  double k;
  double operator()(double d) const;
};

// The neighbour scheme
//   u += tau * sum over the neighbours n of w_n g(|v_n - v|) (u_n - u),
// w = 1 for the 4 direct neighbours and 1/2 for the diagonal ones when
// `eight`, v = u smoothed by `sigma` (u itself for 0).
FlowStep ConductanceStep(const Conductance& g, double tau, bool eight, double sigma);
int ConductanceReach(double sigma);

// The nonlinear diffusion of parameters 0 to 3: mode ("perona-malik",
// "weickert", "parabolic"), contrast, step (at most 0.25) and number of
// steps; 4-neighbour steps with the differences taken at scale `sigma`.
Vresult ReadDiffusionFlow(const OpContext& ctx, double sigma, Flow* flow);

}  // namespace vexa
