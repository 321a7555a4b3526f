// Contours made from parameters: polygons (sharp or with rounded corners),
// circle and ellipse arcs, rotated rectangles and crosses.
//
// Angles are counter-clockwise on the screen from the column axis (rows
// grow downwards), so the point at angle t on a circle is
// (row - r sin t, col + r cos t). A full turn gives a closed contour: its
// last point is its first.
#include <algorithm>
#include <cmath>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

constexpr double kTwoPi = 2 * M_PI;

// Reads the real parameters `pars`; each holds one value or as many as the
// longest, and one value is used for every object. *n is the number of
// objects.
Vresult Broadcast(const OpContext& ctx, std::initializer_list<int> pars,
                  std::vector<std::vector<double>>* v, size_t* n) {
  *n = 1;
  for (int par : pars) {
    v->emplace_back();
    const Vresult rc = GetFinites(ctx, par, &v->back());
    if (rc != VRESULT_OK) return rc;
    if (v->back().empty()) return VERR_CTRL_NUM(par);
    *n = std::max(*n, v->back().size());
  }
  int i = 0;
  for (int par : pars) {
    const size_t m = (*v)[i++].size();
    if (m != 1 && m != *n) return VERR_CTRL_NUM(par);
  }
  return VRESULT_OK;
}

double At(const std::vector<double>& v, size_t i) {
  return v.size() == 1 ? v[0] : v[i];
}

// Angles from `start` to `end` in the direction of `positive`, at steps of
// at most `step`; a sweep of a full turn or more is one closed turn.
Vresult ArcAngles(double start, double end, bool positive, double step,
                  std::vector<double>* t, bool* full) {
  double sweep = positive ? end - start : start - end;
  *full = std::fabs(end - start) >= kTwoPi - 1e-12;
  if (*full) {
    sweep = kTwoPi;
  } else {
    sweep = std::fmod(sweep, kTwoPi);
    if (sweep < 0) sweep += kTwoPi;
  }
  const double steps = std::ceil(sweep / step);
  if (!(steps < static_cast<double>(kMaxPoints))) return VERR_TOO_LARGE;
  const size_t num = std::max<size_t>(1, static_cast<size_t>(steps));
  t->resize(num + 1);
  for (size_t i = 0; i <= num; ++i)
    (*t)[i] = start + (positive ? 1 : -1) * sweep * static_cast<double>(i) / num;
  return VRESULT_OK;
}

// Points of the ellipse arc; circles are ellipses with equal radii.
Vresult EllipseArc(double row, double col, double phi, double ra, double rb,
                   double start, double end, bool positive, double resolution,
                   XldPtr* out) {
  const double radius = std::max(ra, rb);
  const double step = radius > 0 ? resolution / radius : kTwoPi;
  std::vector<double> t;
  bool full = false;
  const Vresult rc = ArcAngles(start, end, positive, step, &t, &full);
  if (rc != VRESULT_OK) return rc;
  const double cp = std::cos(phi), sp = std::sin(phi);
  std::vector<Pt> pts(t.size());
  for (size_t i = 0; i < t.size(); ++i) {
    const double u = ra * std::cos(t[i]), v = rb * std::sin(t[i]);
    pts[i] = {row - (u * sp + v * cp), col + (u * cp - v * sp)};
  }
  if (full) pts.back() = pts.front();
  *out = NewContour(pts);
  return VRESULT_OK;
}

Vresult PointOrder(const OpContext& ctx, int par, bool* positive) {
  int i = 0;
  const Vresult rc = GetChoice(ctx, par, {"positive", "negative"}, &i);
  *positive = i == 0;
  return rc;
}

// The points of a polygon from two tuples of equal length.
Vresult PolygonPoints(const OpContext& ctx, std::vector<Pt>* pts) {
  std::vector<double> rows, cols;
  Vresult rc = GetFinites(ctx, 0, &rows);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 1, &cols);
  if (rc != VRESULT_OK) return rc;
  if (rows.size() != cols.size()) return VERR_CTRL_NUM(1);
  if (rows.size() > kMaxPoints) return VERR_TOO_LARGE;
  pts->resize(rows.size());
  for (size_t i = 0; i < rows.size(); ++i) (*pts)[i] = {rows[i], cols[i]};
  return VRESULT_OK;
}

// Appends the corner at b between the segments a-b and b-c, rounded by an
// arc of `radius` tangent to both (shrunk to fit half of each segment).
void RoundCorner(const Pt& a, const Pt& b, const Pt& c, double radius,
                 double step, std::vector<Pt>* out) {
  const double ur = a.r - b.r, uc = a.c - b.c, vr = c.r - b.r, vc = c.c - b.c;
  const double lu = std::hypot(ur, uc), lv = std::hypot(vr, vc);
  const double angle = lu > 0 && lv > 0
                           ? std::acos(std::clamp((ur * vr + uc * vc) / (lu * lv), -1.0, 1.0))
                           : 0.0;
  if (radius <= 0 || angle < 1e-9 || angle > M_PI - 1e-9) {
    out->push_back(b);
    return;
  }
  // Tangent points lie at distance d = r / tan(angle / 2) from the corner.
  double d = radius / std::tan(angle / 2);
  d = std::min(d, std::min(lu, lv) / 2);
  const double r = d * std::tan(angle / 2);
  const Pt p{b.r + ur / lu * d, b.c + uc / lu * d};
  const Pt q{b.r + vr / lv * d, b.c + vc / lv * d};
  // The centre lies on the bisector at distance r / sin(angle / 2).
  const double br = ur / lu + vr / lv, bc = uc / lu + vc / lv;
  const double bl = std::hypot(br, bc);
  const double h = r / std::sin(angle / 2);
  const Pt m{b.r + br / bl * h, b.c + bc / bl * h};
  const double t0 = std::atan2(p.r - m.r, p.c - m.c);
  double t1 = std::atan2(q.r - m.r, q.c - m.c);
  // The short way round from p to q.
  if (t1 - t0 > M_PI) t1 -= kTwoPi;
  if (t1 - t0 < -M_PI) t1 += kTwoPi;
  const size_t n = std::max<size_t>(1, static_cast<size_t>(std::ceil(std::fabs(t1 - t0) * r / step)));
  for (size_t i = 0; i <= n; ++i) {
    const double t = t0 + (t1 - t0) * static_cast<double>(i) / n;
    out->push_back({m.r + r * std::sin(t), m.c + r * std::cos(t)});
  }
}

}  // namespace

VEXA_OPERATOR(gen_contour_polygon_xld) {
  std::vector<Pt> pts;
  const Vresult rc = PolygonPoints(ctx, &pts);
  if (rc != VRESULT_OK) return rc;
  return HandOverXlds(ctx, 1, {NewContour(pts)});
}

// Inner corners rounded with one radius for all or one per point (the
// first and last radius count only for a closed polygon); arcs sampled at
// `sampling_interval`.
VEXA_OPERATOR(gen_contour_polygon_rounded_xld) {
  std::vector<Pt> pts;
  std::vector<double> radius, interval;
  Vresult rc = PolygonPoints(ctx, &pts);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 2, &radius);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 3, &interval);
  if (rc != VRESULT_OK) return rc;
  if (radius.size() != 1 && radius.size() != pts.size()) return VERR_CTRL_NUM(2);
  for (double r : radius)
    if (r < 0) return VERR_CTRL_VALUE(2);
  if (interval.size() != 1) return VERR_CTRL_NUM(3);
  if (!(interval[0] > 0)) return VERR_CTRL_VALUE(3);
  double longest = 0;
  for (double r : radius) longest = std::max(longest, r);
  if (longest / interval[0] * pts.size() > static_cast<double>(kMaxPoints))
    return VERR_TOO_LARGE;
  const size_t n = pts.size();
  const bool closed = n > 2 && pts.front().r == pts.back().r && pts.front().c == pts.back().c;
  std::vector<Pt> out;
  if (n < 3) {
    out = pts;
  } else {
    // A closed polygon has n - 1 distinct corners, all rounded.
    const size_t corners = closed ? n - 1 : n;
    if (!closed) out.push_back(pts[0]);
    for (size_t i = closed ? 0 : 1; i < (closed ? corners : n - 1); ++i) {
      const Pt& a = pts[(i + corners - 1) % corners];
      const Pt& c = pts[(i + 1) % corners];
      RoundCorner(a, pts[i], c, At(radius, i), interval[0], &out);
    }
    if (closed)
      out.push_back(out.front());
    else
      out.push_back(pts[n - 1]);
  }
  return HandOverXlds(ctx, 1, {NewContour(out)});
}

VEXA_OPERATOR(gen_circle_contour_xld) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  bool positive = true;
  Vresult rc = Broadcast(ctx, {0, 1, 2, 3, 4, 6}, &v, &n);
  if (rc == VRESULT_OK) rc = PointOrder(ctx, 5, &positive);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out(n);
  for (size_t i = 0; i < n; ++i) {
    if (At(v[2], i) < 0) return VERR_CTRL_VALUE(2);
    if (At(v[5], i) <= 0) return VERR_CTRL_VALUE(6);
    rc = EllipseArc(At(v[0], i), At(v[1], i), 0.0, At(v[2], i), At(v[2], i),
                    At(v[3], i), At(v[4], i), positive, At(v[5], i), &out[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return HandOverXlds(ctx, 1, out);
}

VEXA_OPERATOR(gen_ellipse_contour_xld) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  bool positive = true;
  Vresult rc = Broadcast(ctx, {0, 1, 2, 3, 4, 5, 6, 8}, &v, &n);
  if (rc == VRESULT_OK) rc = PointOrder(ctx, 7, &positive);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out(n);
  for (size_t i = 0; i < n; ++i) {
    if (At(v[3], i) < 0) return VERR_CTRL_VALUE(3);
    if (At(v[4], i) < 0) return VERR_CTRL_VALUE(4);
    if (At(v[7], i) <= 0) return VERR_CTRL_VALUE(8);
    rc = EllipseArc(At(v[0], i), At(v[1], i), At(v[2], i), At(v[3], i),
                    At(v[4], i), At(v[5], i), At(v[6], i), positive,
                    At(v[7], i), &out[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return HandOverXlds(ctx, 1, out);
}

// Closed, counter-clockwise on the screen, starting at the corner at
// +length1 along phi and +length2 across it.
VEXA_OPERATOR(gen_rectangle2_contour_xld) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  const Vresult rc = Broadcast(ctx, {0, 1, 2, 3, 4}, &v, &n);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out(n);
  for (size_t i = 0; i < n; ++i) {
    const double r = At(v[0], i), c = At(v[1], i), phi = At(v[2], i);
    const double l1 = At(v[3], i), l2 = At(v[4], i);
    if (l1 < 0) return VERR_CTRL_VALUE(3);
    if (l2 < 0) return VERR_CTRL_VALUE(4);
    const Pt u{-std::sin(phi), std::cos(phi)};    // along phi
    const Pt w{-std::cos(phi), -std::sin(phi)};   // a quarter turn further
    auto corner = [&](double a, double b) {
      return Pt{r + a * l1 * u.r + b * l2 * w.r, c + a * l1 * u.c + b * l2 * w.c};
    };
    out[i] = NewContour({corner(1, 1), corner(-1, 1), corner(-1, -1),
                         corner(1, -1), corner(1, 1)});
  }
  return HandOverXlds(ctx, 1, out);
}

// A cross of two arms of length `size` through the centre, the first at
// `angle`: drawn as one path A1 A2 centre B1 B2.
VEXA_OPERATOR(gen_cross_contour_xld) {
  std::vector<std::vector<double>> v;
  size_t n = 0;
  const Vresult rc = Broadcast(ctx, {0, 1, 2, 3}, &v, &n);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out(n);
  for (size_t i = 0; i < n; ++i) {
    const double r = At(v[0], i), c = At(v[1], i), h = At(v[2], i) / 2;
    const double a = At(v[3], i);
    if (h < 0) return VERR_CTRL_VALUE(2);
    const double ur = -std::sin(a) * h, uc = std::cos(a) * h;
    out[i] = NewContour({{r - ur, c - uc}, {r + ur, c + uc}, {r, c},
                         {r - uc, c + ur}, {r + uc, c - ur}});
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
