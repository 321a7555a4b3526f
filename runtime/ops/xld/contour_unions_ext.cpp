// union_collinear_contours_ext_xld and union_cotangential_contours_xld:
// open contours joined end to end (contour_joining.h) by lines at their
// ends; d, shift and overlap of a pair of ends as in EndPair, L the
// longer contour's length, ua and ub the outward directions.
//
// collinear_ext: the contours' regression lines. A pair qualifies when
//   d <= max_dist_abs, d <= max_dist_rel * L, angle(ua, -ub) <= max_angle,
//   shift <= max_shift, overlap <= max_overlap, and the points of both
//   contours lie within an RMS distance e <= max_regression_error of their
//   common regression line. Its cost is the weighted mean
//     (w_dist d / max_dist_abs + w_shift shift / max_shift
//      + w_angle angle / max_angle + w_link link / (pi / 2)
//      + w_regression e / max_regression_error) / (sum of the weights)
//   (a term whose bound is 0 counts 0; no weight at all: cost 0), link
//   being the larger angle between the segment from end to end and the
//   two lines (undirected, in [0, pi/2]; 0 for touching ends); it joins
//   when the cost is at most max_costs, cheapest first.
// cotangential: at each end a tangent line, the regression line of the
//   points whose arc length from the end lies in [fit_clipping_length,
//   fit_clipping_length + fit_length] (an end with fewer than two such
//   points, or all of them in one place, has no tangent and joins
//   nothing). A pair joins when d <= max_dist, angle(ua, -ub) <=
//   max_tangent_angle, shift <= max_dist_perp and overlap <= max_overlap;
//   cost d.
#include <algorithm>
#include <cmath>

#include "union_params.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

// Undirected angle in [0, pi/2] between the lines of two unit directions.
double LineAngle(const Pt& u, const Pt& v) {
  const double a = AngleBetween(u, v);
  return std::min(a, M_PI - a);
}

// t / bound, or 0 for a bound of 0 (t is then 0 as well).
double Share(double t, double bound) { return bound > 0 ? t / bound : 0.0; }

// The tangent line at one end of `x` (see the rules above); dir (0, 0)
// when there is none.
LineFit TangentAt(const Xld& x, bool last, double clip, double length) {
  Xld part;
  double s = 0;
  for (size_t k = 0; k < x.size(); ++k) {
    const size_t i = last ? x.size() - 1 - k : k;
    if (k > 0) {
      const size_t j = last ? i + 1 : i - 1;
      s += std::hypot(x.rows[i] - x.rows[j], x.cols[i] - x.cols[j]);
    }
    if (s > clip + length) break;
    if (s >= clip) part.rows.push_back(x.rows[i]), part.cols.push_back(x.cols[i]);
  }
  return part.size() >= 2 ? FitLine(part) : LineFit{};
}

bool HasDirection(const LineFit& f) { return f.dir.r != 0 || f.dir.c != 0; }

}  // namespace

VEXA_OPERATOR(union_collinear_contours_ext_xld) {
  std::vector<XldPtr> in;
  double abs_dist = 0, rel_dist = 0, max_shift = 0, max_angle = 0, max_overlap = 0, max_error = 0,
         max_costs = 0, w[5];
  bool keep = false;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK)
    rc = GetNonNegatives(ctx, 0, {&abs_dist, &rel_dist, &max_shift, &max_angle, &max_overlap,
                                  &max_error, &max_costs, &w[0], &w[1], &w[2], &w[3], &w[4]});
  if (rc == VRESULT_OK) rc = GetAttribMode(ctx, 12, &keep);
  if (rc != VRESULT_OK) return rc;
  const double weights = w[0] + w[1] + w[2] + w[3] + w[4];
  std::vector<LineFit> fits;
  for (const XldPtr& x : in) fits.push_back(FitLine(*x));
  auto line_at = [&](size_t contour, bool) -> const LineFit& { return fits[contour]; };
  return JoinByEndLines(ctx, in, keep, line_at, [&](const EndPair& e, const LineFit& fa,
                                                    const LineFit& fb, const ContourEnd& a,
                                                    const ContourEnd& b) {
    if (!HasDirection(fa) || !HasDirection(fb)) return -1.0;
    const double angle = AngleBetween(e.ua, Reverse(e.ub));
    if (e.d > abs_dist || e.d > rel_dist * std::max(fa.length, fb.length) || angle > max_angle ||
        e.shift > max_shift || e.overlap > max_overlap)
      return -1.0;
    double sum2 = 0;
    const std::vector<double> dist = CommonLineDistances(*in[a.contour], *in[b.contour]);
    for (double v : dist) sum2 += v * v;
    const double error = std::sqrt(sum2 / static_cast<double>(dist.size()));
    if (error > max_error) return -1.0;
    double link = 0;
    if (e.d > 0) {
      const Pt l{(e.pb.r - e.pa.r) / e.d, (e.pb.c - e.pa.c) / e.d};
      link = std::max(LineAngle(l, e.ua), LineAngle(l, e.ub));
    }
    const double terms = w[0] * Share(e.d, abs_dist) + w[1] * Share(e.shift, max_shift) +
                         w[2] * Share(angle, max_angle) + w[3] * link / (M_PI / 2) +
                         w[4] * Share(error, max_error);
    const double cost = weights > 0 ? terms / weights : 0.0;
    return cost <= max_costs ? cost : -1.0;
  });
}

VEXA_OPERATOR(union_cotangential_contours_xld) {
  std::vector<XldPtr> in;
  double clip = 0, length = 0, max_angle = 0, max_dist = 0, max_perp = 0, max_overlap = 0;
  bool keep = false;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK)
    rc = GetNonNegatives(ctx, 0, {&clip, &length, &max_angle, &max_dist, &max_perp, &max_overlap});
  if (rc == VRESULT_OK) rc = GetAttribMode(ctx, 6, &keep);
  if (rc != VRESULT_OK) return rc;
  // Tangents at the first and last end of each contour.
  std::vector<LineFit> tangents;
  for (const XldPtr& x : in)
    for (bool last : {false, true}) tangents.push_back(TangentAt(*x, last, clip, length));
  auto line_at = [&](size_t contour, bool last) -> const LineFit& {
    return tangents[2 * contour + (last ? 1 : 0)];
  };
  return JoinByEndLines(ctx, in, keep, line_at, [&](const EndPair& e, const LineFit& ta,
                                                    const LineFit& tb, const ContourEnd&,
                                                    const ContourEnd&) {
    if (!HasDirection(ta) || !HasDirection(tb)) return -1.0;
    const bool ok = e.d <= max_dist && AngleBetween(e.ua, Reverse(e.ub)) <= max_angle &&
                    e.shift <= max_perp && e.overlap <= max_overlap;
    return ok ? e.d : -1.0;
  });
}

}  // namespace xld
}  // namespace vexa
