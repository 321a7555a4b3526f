// Distances of contour points to a given ellipse: least, largest, mean and
// standard deviation per contour.
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

}  // namespace

// One value per contour in each output. The contour's points are chosen
// as by the fits (max_num_points, clipping_end_points at the ends of open
// contours); phi is the angle of radius1's axis.
VEXA_OPERATOR(dist_ellipse_contour_xld) {
  std::vector<XldPtr> xs;
  int mode = 0;
  FitOptions o;
  double e[5];
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"algebraic", "geometric"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &o.max_num_points);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &o.clipping_end_points);
  for (int k = 0; rc == VRESULT_OK && k < 5; ++k) rc = GetFinite(ctx, 3 + k, &e[k]);
  if (rc != VRESULT_OK) return rc;
  if (o.max_num_points != -1 && o.max_num_points < 3) return VERR_CTRL_VALUE(1);
  if (o.clipping_end_points < 0) return VERR_CTRL_VALUE(2);
  if (!(e[3] > 0)) return VERR_CTRL_VALUE(6);
  if (!(e[4] > 0)) return VERR_CTRL_VALUE(7);
  // The longer half axis becomes the frame's u axis.
  double phi = e[2], a = e[3], b = e[4];
  if (b > a) {
    std::swap(a, b);
    phi += M_PI / 2;
  }
  const double cs = std::cos(phi), sn = std::sin(phi);
  std::vector<double> out[4];
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = SelectFitPoints(*x, o).p;
    if (p.empty()) return VERR_EMPTY_OBJECT;
    double lo = INFINITY, hi = 0, sum = 0, sum2 = 0;
    for (const Pt& q : p) {
      const double dr = q.r - e[0], dc = q.c - e[1];
      const double u = dc * cs - dr * sn, v = -dc * sn - dr * cs;
      const double d = mode == 0 ? AlgebraicDistance(a, b, u, v) : GeometricDistance(a, b, u, v);
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

}  // namespace xld
}  // namespace vexa
