// Distances of contour points to a given ellipse: each point's, or the
// least, largest, mean and standard deviation per contour.
#include <algorithm>
#include <cmath>

#include "registry.h"
#include "xld_fit.h"

namespace vexa {
namespace xld {
namespace {

// Root in s of (a u / (s + a^2))^2 + (b v / (s + b^2))^2 = 1 with s > -b^2,
// for u, v > 0 and a >= b: the function falls from +inf to -1, so
// bisection converges to the one root, to the last bit of a double.
double NormalRoot(double a, double b, double u, double v) {
  double lo = -b * b + b * v, hi = -b * b + std::hypot(a * u, b * v);
  for (int i = 0; i < 200 && lo < hi; ++i) {
    const double s = (lo + hi) / 2;
    if (s == lo || s == hi) break;
    const double x = a * u / (s + a * a), y = b * v / (s + b * b);
    (x * x + y * y > 1 ? lo : hi) = s;
  }
  return (lo + hi) / 2;
}

// Euclidean distance from (u, v) in the ellipse's frame to the ellipse
// with half axes a >= b > 0. The nearest point (x, y) satisfies
// x = a^2 u / (s + a^2), y = b^2 v / (s + b^2) for the root s above; on
// the axes the cases of the one-dimensional problem apply.
double GeometricDistance(double a, double b, double u, double v) {
  u = std::fabs(u);
  v = std::fabs(v);
  if (v > 0) {
    if (u > 0) {
      const double s = NormalRoot(a, b, u, v);
      return std::hypot(u - a * a * u / (s + a * a), v - b * b * v / (s + b * b));
    }
    return std::fabs(v - b);
  }
  // On the long axis: inside the evolute's reach the nearest point lies
  // off the axis.
  const double reach = (a * a - b * b) / a;
  if (u < reach) {
    const double x = a * a * u / (a * a - b * b);
    const double y = b * std::sqrt(std::max(0.0, 1 - (x / a) * (x / a)));
    return std::hypot(x - u, y);
  }
  return std::fabs(u - a);
}

// |F| / |grad F| for F = u^2/a^2 + v^2/b^2 - 1: the first-order estimate
// of the distance; the centre (no gradient) gets the short half axis.
double AlgebraicDistance(double a, double b, double u, double v) {
  const double f = u * u / (a * a) + v * v / (b * b) - 1;
  const double g = 2 * std::hypot(u / (a * a), v / (b * b));
  return g > 0 ? std::fabs(f) / g : b;
}

// An ellipse read from five controls (row, column, phi, radius1,
// radius2), held in the frame the distances need: u along the longer half
// axis a, v along the shorter b.
class EllipseFrame {
 public:
  Vresult Read(const OpContext& ctx, int first_par) {
    double e[5];
    for (int k = 0; k < 5; ++k) {
      const Vresult rc = GetFinite(ctx, first_par + k, &e[k]);
      if (rc != VRESULT_OK) return rc;
    }
    if (!(e[3] > 0)) return VERR_CTRL_VALUE(first_par + 3);
    if (!(e[4] > 0)) return VERR_CTRL_VALUE(first_par + 4);
    double phi = e[2];
    row_ = e[0], col_ = e[1], a_ = e[3], b_ = e[4];
    if (b_ > a_) {
      std::swap(a_, b_);
      phi += M_PI / 2;
    }
    cs_ = std::cos(phi), sn_ = std::sin(phi);
    return VRESULT_OK;
  }

  // "geometric" or, with `algebraic`, the first-order distance of q.
  double Distance(const Pt& q, bool algebraic) const {
    const double dr = q.r - row_, dc = q.c - col_;
    const double u = dc * cs_ - dr * sn_, v = -dc * sn_ - dr * cs_;
    return algebraic ? AlgebraicDistance(a_, b_, u, v) : GeometricDistance(a_, b_, u, v);
  }

 private:
  double row_ = 0, col_ = 0, cs_ = 1, sn_ = 0, a_ = 1, b_ = 1;
};

// The distance mode at control 0 and clipping_end_points at `clip_par`.
Vresult ReadModeAndClipping(const OpContext& ctx, int clip_par, bool* algebraic, FitOptions* o) {
  int mode = 0;
  Vresult rc = GetChoice(ctx, 0, {"algebraic", "geometric"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(clip_par, &o->clipping_end_points);
  if (rc != VRESULT_OK) return rc;
  *algebraic = mode == 0;
  return o->clipping_end_points < 0 ? VERR_CTRL_VALUE(clip_par) : VRESULT_OK;
}

}  // namespace

// One value per contour in each output. The contour's points are chosen
// as by the fits (max_num_points, clipping_end_points at the ends of open
// contours); phi is the angle of radius1's axis.
VEXA_OPERATOR(dist_ellipse_contour_xld) {
  std::vector<XldPtr> xs;
  bool algebraic = false;
  FitOptions o;
  EllipseFrame ellipse;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = ReadModeAndClipping(ctx, 2, &algebraic, &o);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &o.max_num_points);
  if (rc == VRESULT_OK) rc = ellipse.Read(ctx, 3);
  if (rc != VRESULT_OK) return rc;
  if (o.max_num_points != -1 && o.max_num_points < 3) return VERR_CTRL_VALUE(1);
  std::vector<double> out[4];
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = SelectFitPoints(*x, o).p;
    if (p.empty()) return VERR_EMPTY_OBJECT;
    double lo = INFINITY, hi = 0, sum = 0, sum2 = 0;
    for (const Pt& q : p) {
      const double d = ellipse.Distance(q, algebraic);
      lo = std::min(lo, d);
      hi = std::max(hi, d);
      sum += d;
      sum2 += d * d;
    }
    const double n = static_cast<double>(p.size()), mean = sum / n;
    out[0].push_back(lo);
    out[1].push_back(hi);
    out[2].push_back(mean);
    out[3].push_back(std::sqrt(std::max(0.0, sum2 / n - mean * mean)));
  }
  for (int k = 0; rc == VRESULT_OK && k < 4; ++k) rc = ctx.SetOutpDoubles(k, out[k]);
  return rc;
}

// The distance of each point of one contour, chosen as by
// dist_ellipse_contour_xld with all points: clipping_end_points left out
// at each end of an open contour, a closed contour's repeated last point
// dropped; none left gives an empty tuple.
VEXA_OPERATOR(dist_ellipse_contour_points_xld) {
  XldPtr x;
  bool algebraic = false;
  FitOptions o;
  EllipseFrame ellipse;
  Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  if (rc == VRESULT_OK) rc = ReadModeAndClipping(ctx, 1, &algebraic, &o);
  if (rc == VRESULT_OK) rc = ellipse.Read(ctx, 2);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> d;
  for (const Pt& q : SelectFitPoints(*x, o).p) d.push_back(ellipse.Distance(q, algebraic));
  return ctx.SetOutpDoubles(0, d);
}

}  // namespace xld
}  // namespace vexa
