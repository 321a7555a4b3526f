// union_adjacent_, union_collinear_, union_straight_ and
// union_cocircular_contours_xld: open contours joined end to end
// (contour_joining.h) where two ends meet these criteria; d is the
// distance between the two end points, L the longer contour's length.
//
// adjacent:   d <= max_dist_abs and d <= max_dist_rel * L. Cost d.
// collinear:  each contour's regression line, directed out of the
//             contour at the end in question (u1, u2). Joined when
//             d <= max_dist_abs, d <= max_dist_rel * L, the angle between
//             u1 and -u2 is at most max_angle, each end point lies within
//             max_shift of the other contour's line, and the second end
//             does not lie more than max_shift back along u1 (the pieces
//             do not overlap). Cost d.
// straight:   d <= max_dist, the angle between u1 and -u2 at most
//             max_diff, and of the points of both contours at least
//             `percent` % lie within max_dist of their common regression
//             line. mode "noparallel" also asks that the second end lie
//             beyond the first along u1 ("paralleltolerant" does not).
//             Up to `iterations` rounds ("maximum": until nothing
//             changes), each on the contours the last one made.
// cocircular: each contour's circle (algebraic fit), the end tangents
//             t1, t2 (over the last 5 points, directed out of the
//             contour) and the mean centre c of both circles. Joined when
//             d <= max_dist, the radii differ by at most max_radius_diff,
//             the centres by at most max_center_dist, the angle between
//             t1 and -t2 is at most max_tangent_angle, and the angle at
//             c from the first end point to the second, positive in the
//             sense in which the first contour runs on, is at most
//             max_arc_angle_diff (a gap) or at least -max_arc_overlap (an
//             overlap). With merge_small_contours "true", contours that
//             give no circle (fewer than 3 points, on a line, or a radius
//             beyond 1e6) join by d and the tangent angle alone. Up to
//             `iterations` rounds.
// Costs rank the pairs: each end joins at most once, the cheapest first.
#include <algorithm>
#include <cmath>
#include <vector>

#include "contour_joining.h"
#include "union_params.h"
#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

constexpr size_t kTangentPoints = 5;

struct CircleFit {
  bool ok = false;
  Pt centre;
  double radius = 0;
};

// Algebraic circle through the points: x^2 + y^2 + D x + E y + F = 0 in
// least squares, on coordinates relative to the mean.
CircleFit FitCircle(const Xld& x) {
  CircleFit f;
  const size_t n = x.size();
  if (n < 3) return f;
  double mr = 0, mc = 0;
  for (size_t i = 0; i < n; ++i) mr += x.rows[i], mc += x.cols[i];
  mr /= n, mc /= n;
  double suu = 0, suv = 0, svv = 0, suuu = 0, svvv = 0, suvv = 0, svuu = 0;
  for (size_t i = 0; i < n; ++i) {
    const double u = x.cols[i] - mc, v = x.rows[i] - mr;
    suu += u * u, suv += u * v, svv += v * v;
    suuu += u * u * u, svvv += v * v * v, suvv += u * v * v, svuu += v * u * u;
  }
  const double det = suu * svv - suv * suv;
  if (std::fabs(det) < 1e-12 * (suu + svv) * (suu + svv)) return f;
  const double bu = 0.5 * (suuu + suvv), bv = 0.5 * (svvv + svuu);
  const double uc = (bu * svv - bv * suv) / det, vc = (bv * suu - bu * suv) / det;
  f.radius = std::sqrt(uc * uc + vc * vc + (suu + svv) / n);
  f.centre = {mr + vc, mc + uc};
  f.ok = f.radius <= 1e6;
  return f;
}

}  // namespace

VEXA_OPERATOR(union_adjacent_contours_xld) {
  std::vector<XldPtr> in;
  double abs_dist = 0, rel_dist = 0;
  bool keep = false;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 0, &abs_dist);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 1, &rel_dist);
  if (rc == VRESULT_OK) rc = GetAttribMode(ctx, 2, &keep);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> length(in.size());
  for (size_t i = 0; i < in.size(); ++i) length[i] = ChainLength(PointsOf(*in[i]));
  return JoinRounds(ctx, in, 1, [&](const std::vector<XldPtr>& cs, bool* joined) {
    return JoinContours(cs, [&](const ContourEnd& a, const ContourEnd& b) {
      const double d = Distance(EndPoint(*cs[a.contour], a.last), EndPoint(*cs[b.contour], b.last));
      const double longer = std::max(length[a.contour], length[b.contour]);
      return d <= abs_dist && d <= rel_dist * longer ? d : -1.0;
    }, keep, joined);
  });
}

VEXA_OPERATOR(union_collinear_contours_xld) {
  std::vector<XldPtr> in;
  double abs_dist = 0, rel_dist = 0, max_shift = 0, max_angle = 0;
  bool keep = false;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 0, &abs_dist);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 1, &rel_dist);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 2, &max_shift);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 3, &max_angle);
  if (rc == VRESULT_OK) rc = GetAttribMode(ctx, 4, &keep);
  if (rc != VRESULT_OK) return rc;
  std::vector<LineFit> fits;
  for (const XldPtr& x : in) fits.push_back(FitLine(*x));
  auto line_at = [&](size_t contour, bool) -> const LineFit& { return fits[contour]; };
  return JoinByEndLines(ctx, in, keep, line_at, [&](const EndPair& e, const LineFit& fa,
                                                    const LineFit& fb, const ContourEnd&,
                                                    const ContourEnd&) {
    const bool ok = e.d <= abs_dist && e.d <= rel_dist * std::max(fa.length, fb.length) &&
                    AngleBetween(e.ua, Reverse(e.ub)) <= max_angle && e.shift <= max_shift &&
                    e.overlap <= max_shift;
    return ok ? e.d : -1.0;
  });
}

VEXA_OPERATOR(union_straight_contours_xld) {
  std::vector<XldPtr> in;
  double max_dist = 0, max_diff = 0, percent = 0;
  int mode = 0;
  long iterations = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 0, &max_dist);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 1, &max_diff);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 2, &percent);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 3, {"noparallel", "paralleltolerant"}, &mode);
  if (rc == VRESULT_OK) rc = GetIterations(ctx, 4, &iterations);
  if (rc != VRESULT_OK) return rc;
  if (percent > 100) return VERR_CTRL_VALUE(2);
  return JoinRounds(ctx, in, iterations, [&](const std::vector<XldPtr>& cs, bool* joined) {
    std::vector<LineFit> fits;
    for (const XldPtr& x : cs) fits.push_back(FitLine(*x));
    return JoinContours(cs, [&](const ContourEnd& a, const ContourEnd& b) {
      const Xld& xa = *cs[a.contour];
      const Xld& xb = *cs[b.contour];
      const Pt pa = EndPoint(xa, a.last), pb = EndPoint(xb, b.last);
      const Pt ua = OutwardAt(fits[a.contour], xa, a.last);
      const Pt ub = OutwardAt(fits[b.contour], xb, b.last);
      const double d = Distance(pa, pb);
      if (d > max_dist || AngleBetween(ua, Reverse(ub)) > max_diff) return -1.0;
      if (mode == 0 && (pb.r - pa.r) * ua.r + (pb.c - pa.c) * ua.c < 0) return -1.0;
      const std::vector<double> dist = CommonLineDistances(xa, xb);
      const auto near = std::count_if(dist.begin(), dist.end(), [&](double v) { return v <= max_dist; });
      return 100.0 * static_cast<double>(near) >= percent * static_cast<double>(dist.size()) ? d : -1.0;
    }, true, joined);
  });
}

VEXA_OPERATOR(union_cocircular_contours_xld) {
  std::vector<XldPtr> in;
  double arc_gap = 0, arc_overlap = 0, tangent = 0, max_dist = 0, radius_diff = 0,
         centre_dist = 0;
  int small = 0;
  Vlong iterations = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 0, &arc_gap);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 1, &arc_overlap);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 2, &tangent);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 3, &max_dist);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 4, &radius_diff);
  if (rc == VRESULT_OK) rc = GetNonNegative(ctx, 5, &centre_dist);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 6, {"false", "true"}, &small);
  if (rc == VRESULT_OK) rc = ctx.GetLong(7, &iterations);
  if (rc != VRESULT_OK) return rc;
  if (iterations < 1 || iterations > kMaxIterations) return VERR_CTRL_VALUE(7);
  return JoinRounds(ctx, in, static_cast<long>(iterations),
                    [&](const std::vector<XldPtr>& cs, bool* joined) {
    std::vector<CircleFit> fits;
    for (const XldPtr& x : cs) fits.push_back(FitCircle(*x));
    return JoinContours(cs, [&](const ContourEnd& a, const ContourEnd& b) {
      const Xld& xa = *cs[a.contour];
      const Xld& xb = *cs[b.contour];
      const Pt pa = EndPoint(xa, a.last), pb = EndPoint(xb, b.last);
      const Pt ta = EndDirection(xa, a.last, kTangentPoints);
      const Pt tb = EndDirection(xb, b.last, kTangentPoints);
      const double d = Distance(pa, pb);
      if (d > max_dist || AngleBetween(ta, Reverse(tb)) > tangent) return -1.0;
      const CircleFit& ca = fits[a.contour];
      const CircleFit& cb = fits[b.contour];
      if (!ca.ok || !cb.ok) return small ? d : -1.0;
      if (std::fabs(ca.radius - cb.radius) > radius_diff ||
          Distance(ca.centre, cb.centre) > centre_dist)
        return -1.0;
      const Pt c{0.5 * (ca.centre.r + cb.centre.r), 0.5 * (ca.centre.c + cb.centre.c)};
      // The sense in which the first contour runs on round c.
      const double sense = (pa.c - c.c) * ta.r - (pa.r - c.r) * ta.c >= 0 ? 1.0 : -1.0;
      const double angle = sense * std::atan2((pa.c - c.c) * (pb.r - c.r) - (pa.r - c.r) * (pb.c - c.c),
                                              (pa.c - c.c) * (pb.c - c.c) + (pa.r - c.r) * (pb.r - c.r));
      return angle <= arc_gap && angle >= -arc_overlap ? d : -1.0;
    }, true, joined);
  });
}

}  // namespace xld
}  // namespace vexa
