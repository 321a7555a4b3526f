// Distances between contours and points, lines, segments, other contours,
// and from contour points to fitted ellipses and rectangles.
#include <algorithm>
#include <cmath>

#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

Vresult SingleContourPoints(OpContext& ctx, std::vector<Pt>* p) {
  XldPtr x;
  const Vresult rc = InpSingleXld(ctx, 1, VOBJ_XLD_CONT, &x);
  if (rc != VRESULT_OK) return rc;
  *p = PointsOf(*x);
  return p->empty() ? VERR_EMPTY_OBJECT : VRESULT_OK;
}

Vresult Reals(const OpContext& ctx, int first, int n, double* v) {
  for (int k = 0; k < n; ++k) {
    const Vresult rc = GetFinite(ctx, first + k, &v[k]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult MinMax(OpContext& ctx, double lo, double hi) {
  const Vresult rc = ctx.SetOutpDouble(0, lo);
  return rc == VRESULT_OK ? ctx.SetOutpDouble(1, hi) : rc;
}

// Minimum and maximum over pairs contour1[i], contour2[i] (the same
// number of each, or one of the second for all): the least distance
// between the two, and the largest distance of a point of either to the
// other (their Hausdorff distance). mode "point_to_point" measures
// between points only, "point_to_segment" to the segments of the other.
Vresult ContourPairs(OpContext& ctx, bool with_max) {
  std::vector<XldPtr> a, b;
  int mode = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &a);
  if (rc == VRESULT_OK) rc = InpXlds(ctx, 2, VOBJ_XLD_CONT, &b);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"point_to_point", "point_to_segment", "fast_point_to_segment"}, &mode);
  if (rc != VRESULT_OK) return rc;
  if (b.size() != a.size() && b.size() != 1) return VERR_OBJ_NUM(2);
  std::vector<double> lo, hi;
  for (size_t i = 0; i < a.size(); ++i) {
    const std::vector<Pt> p = PointsOf(*a[i]), q = PointsOf(*b[b.size() == 1 ? 0 : i]);
    if (p.empty() || q.empty()) return VERR_EMPTY_OBJECT;
    auto dist = [&](const std::vector<Pt>& to, const Pt& x) {
      return mode == 0 ? PointDistance(to, x) : ChainDistance(to, x);
    };
    double mn = INFINITY, mx = 0;
    for (const Pt& x : p) {
      const double d = dist(q, x);
      mn = std::min(mn, d), mx = std::max(mx, d);
    }
    for (const Pt& x : q) {
      const double d = dist(p, x);
      mn = std::min(mn, d), mx = std::max(mx, d);
    }
    // Crossing segments touch between their points.
    for (size_t j = 1; mode != 0 && mn > 0 && j < p.size(); ++j)
      for (size_t k = 1; mn > 0 && k < q.size(); ++k)
        mn = std::min(mn, SegmentsDistance(p[j - 1], p[j], q[k - 1], q[k]));
    lo.push_back(mn);
    hi.push_back(mx);
  }
  rc = ctx.SetOutpDoubles(0, lo);
  return rc == VRESULT_OK && with_max ? ctx.SetOutpDoubles(1, hi) : rc;
}

}  // namespace

// Least distance to the contour's segments, largest to its points.
VEXA_OPERATOR(distance_pc) {
  std::vector<Pt> p;
  double v[2];
  Vresult rc = SingleContourPoints(ctx, &p);
  if (rc == VRESULT_OK) rc = Reals(ctx, 0, 2, v);
  if (rc != VRESULT_OK) return rc;
  const Pt q{v[0], v[1]};
  double hi = 0;
  for (const Pt& a : p) hi = std::max(hi, std::hypot(a.r - q.r, a.c - q.c));
  return MinMax(ctx, ChainDistance(p, q), hi);
}

// Between the contour and the infinite line through the two points: 0
// where the contour crosses it.
VEXA_OPERATOR(distance_lc) {
  std::vector<Pt> p;
  double v[4];
  Vresult rc = SingleContourPoints(ctx, &p);
  if (rc == VRESULT_OK) rc = Reals(ctx, 0, 4, v);
  if (rc != VRESULT_OK) return rc;
  const double dr = v[2] - v[0], dc = v[3] - v[1], len = std::hypot(dr, dc);
  if (len == 0) return VERR_CTRL_VALUE(2);
  double lo = INFINITY, hi = 0;
  bool above = false, below = false;
  for (const Pt& a : p) {
    const double d = ((a.r - v[0]) * dc - (a.c - v[1]) * dr) / len;
    lo = std::min(lo, std::fabs(d)), hi = std::max(hi, std::fabs(d));
    above = above || d > 0, below = below || d < 0;
  }
  return MinMax(ctx, above && below ? 0.0 : lo, hi);
}

// Between the contour and the segment.
VEXA_OPERATOR(distance_sc) {
  std::vector<Pt> p;
  double v[4];
  Vresult rc = SingleContourPoints(ctx, &p);
  if (rc == VRESULT_OK) rc = Reals(ctx, 0, 4, v);
  if (rc != VRESULT_OK) return rc;
  const Pt a{v[0], v[1]}, b{v[2], v[3]};
  double lo = INFINITY, hi = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    const double d = SegmentDistance(p[i], a, b);
    hi = std::max(hi, d);
    lo = std::min(lo, i > 0 ? SegmentsDistance(p[i - 1], p[i], a, b) : d);
  }
  return MinMax(ctx, lo, hi);
}

VEXA_OPERATOR(distance_cc) { return ContourPairs(ctx, true); }

VEXA_OPERATOR(distance_cc_min) { return ContourPairs(ctx, false); }

// Distances of the contour points (clipping_end_points left out at each
// end) to the rectangle's outline, one per point.
VEXA_OPERATOR(dist_rectangle2_contour_points_xld) {
  std::vector<Pt> p;
  Vlong clip = 0;
  double v[5];
  Vresult rc = SingleContourPoints(ctx, &p);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &clip);
  if (rc == VRESULT_OK) rc = Reals(ctx, 1, 5, v);
  if (rc != VRESULT_OK) return rc;
  if (clip < 0) return VERR_CTRL_VALUE(0);
  if (v[3] < 0) return VERR_CTRL_VALUE(4);
  if (v[4] < 0) return VERR_CTRL_VALUE(5);
  const Pt u{-std::sin(v[2]), std::cos(v[2])}, w{-std::cos(v[2]), -std::sin(v[2])};
  auto corner = [&](double a, double b) {
    return Pt{v[0] + a * v[3] * u.r + b * v[4] * w.r, v[1] + a * v[3] * u.c + b * v[4] * w.c};
  };
  const std::vector<Pt> outline{corner(1, 1), corner(-1, 1), corner(-1, -1), corner(1, -1),
                                corner(1, 1)};
  std::vector<double> d;
  const size_t k = static_cast<size_t>(std::min<Vlong>(clip, static_cast<Vlong>(p.size())));
  for (size_t i = k; i + k < p.size(); ++i) d.push_back(ChainDistance(outline, p[i]));
  return ctx.SetOutpDoubles(0, d);
}

}  // namespace xld
}  // namespace vexa
