// The width of a line on each side and its correction for the blur of the
// Gaussian that found it, for lines_gauss.
//
// Measured width: from the line point, along the normal to each side, the
// distance to the first maximum of the magnitude of the first derivative
// across the line (the line's edge), where the second derivative across
// the line changes sign: sampled every quarter pixel, placed by linear
// interpolation.
//
// The smoothing moves these edges: a line of true half-width w, smoothed
// with a Gaussian of sigma, has its edges at v(w) >= w. A line model
// describes the true profile across the line, of unit height:
//  - "bar-shaped": 1 for |x| <= w, 0 beyond (w the bar's half-width);
//  - "parabolic":  1 - (x / w)^2 for |x| <= w, 0 beyond;
//  - "gaussian":   exp(-x^2 / (2 w^2)) (w the inflection point);
//  - "none":       no correction, w = v.
// For each model v(w) is computed in closed form of the smoothed
// profile's derivative (maximised numerically) and inverted by table;
// both half-widths of a point are scaled by w / v of their mean. The
// line's contrast (its height) follows from the response, the magnitude
// of the smoothed profile's second derivative at the centre, which is the
// height times a known function of w and sigma. The line position itself
// is not moved: for the symmetric profiles of the models the Hessian
// point is unbiased.
#pragma once

#include <vector>

#include "line_points.h"

namespace vexa {
namespace xld {

enum class LineModel { kNone, kBar, kGaussian, kParabolic };

// The true half-width w (in units of sigma) for a measured one v, and the
// second derivative at the centre per unit height, for one model.
class LineWidthCorrection {
 public:
  LineWidthCorrection(LineModel model, double sigma);
  // True half-width for the measured `v` (pixels); 0 below the narrowest
  // line the model can tell apart.
  double TrueHalfWidth(double v) const;
  // The height of a line of half-width `w` with response `response`; 0
  // for the model "none".
  double Contrast(double w, double response) const;

 private:
  LineModel model_;
  double sigma_;
  std::vector<double> w_, v_;  // in units of sigma, v_ increasing
};

struct LineWidth {
  double left = 0, right = 0;  // against and along the point's normal
};

// The measured half-widths of point `p` (not yet corrected), each at
// most `max_dist`.
LineWidth MeasureLineWidth(const LineDerivatives& d, const EdgePoint& p, double max_dist);

}  // namespace xld
}  // namespace vexa
