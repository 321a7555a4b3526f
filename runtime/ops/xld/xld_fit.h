// What the fit_*_contour_xld operators share: the points a fit uses and
// the robust weighting of their residuals.
//
// Points. clipping_end_points points are left out at each end of an open
// contour; then, with max_num_points >= 3 (-1 for all), that many points
// are taken at even steps. A contour whose first and last points lie at
// most max_closure_dist apart counts as closed (its repeated last point is
// dropped and nothing is clipped).
//
// Weights. After a first unweighted fit, `iterations` rounds reweight the
// points from their residuals d with a scale s = clipping_factor * sigma,
// sigma the median absolute residual / 0.6745:
//   huber: 1 for |d| <= s, s / |d| beyond;
//   tukey: (1 - (d / s)^2)^2 for |d| < s, 0 beyond;
//   drop:  1 for |d| <= s, 0 beyond;
//   gauss: exp(-d^2 / (2 s^2)).
#pragma once

#include <vector>

#include "xld_support.h"

namespace vexa {
namespace xld {

enum class Weighting { kNone, kHuber, kTukey, kDrop, kGauss };

struct FitOptions {
  Vlong max_num_points = -1;
  double max_closure_dist = 0;
  Vlong clipping_end_points = 0;
  Vlong iterations = 0;
  double clipping_factor = 2;
};

struct FitPoints {
  std::vector<Pt> p;
  bool closed = false;
};

// The parameter numbers of max_num_points, max_closure_dist (-1 for an
// operator without it), clipping_end_points, iterations, clipping_factor.
struct FitParams {
  int max_num_points, max_closure_dist, clipping_end_points, iterations, clipping_factor;
};
Vresult ReadFitOptions(const OpContext& ctx, const FitParams& pars, FitOptions* o);

FitPoints SelectFitPoints(const Xld& x, const FitOptions& o);

// A line by weighted total least squares: through the weighted centre,
// along the eigenvector of the larger eigenvalue of the scatter matrix.
// With no weight at all, the line through the first point along the
// column axis.
struct Line {
  double r, c;    // a point on the line (the weighted centre)
  double dr, dc;  // unit direction
};
Line FitLine(const std::vector<Pt>& p, const std::vector<double>& w);

// New weights from residuals; all 1 for kNone.
void RobustWeights(Weighting w, double clipping_factor, const std::vector<double>& residuals,
                   std::vector<double>* weights);

// "positive" when the chain runs counter-clockwise on the screen around
// (row, col): the swept angle from first to last point is positive.
const char* PointOrderAround(const std::vector<Pt>& p, double row, double col);

}  // namespace xld
}  // namespace vexa
