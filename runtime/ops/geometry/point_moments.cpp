// Moments of the points of contours and polygons, and moments of any order
// of their points or of the area they enclose; one value per object.
//
// The point moments treat every stored point as a unit mass (a closed
// contour's repeated last point counts again): with n points and their
// mean (r0, c0), m20 = sum (r - r0)^2 / n, m02 = sum (c - c0)^2 / n,
// m11 = sum (r - r0)(c - c0) / n, and the ellipse, orientation and
// anisometry follow from them as for regions. An object without points
// gives 0 everywhere.
#include <cmath>

#include "ops/common/named_values.h"
#include "ops/geometry/element_inputs.h"
#include "ops/xld/xld_geometry.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// Largest p + q of the arbitrary moments: powers of coordinates up to
// 1e8 then stay far inside the range of doubles.
constexpr Vlong kMaxOrder = 16;

enum class MomentMode { kUnnormalized, kNormalized, kCentral };

constexpr Named<MomentMode> kMomentModes[] = {
    {"unnormalized", MomentMode::kUnnormalized},
    {"normalized", MomentMode::kNormalized},
    {"central", MomentMode::kCentral},
};

// Calls fn(points, i, values) for every contour or polygon i of input 1,
// values holding `outputs` slots, and writes slot k to output control k.
template <class Fn>
Vresult PerObject(OpContext& ctx, size_t outputs, Fn&& fn) {
  std::vector<XldPtr> xs;
  Vresult rc = xld::InpPointXlds(ctx, 1, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::vector<double>> columns(outputs, std::vector<double>(xs.size()));
  std::vector<double> values(outputs);
  for (size_t i = 0; i < xs.size(); ++i) {
    rc = fn(xld::PointsOf(*xs[i]), i, values.data());
    if (rc != VRESULT_OK) return rc;
    for (size_t k = 0; k < outputs; ++k) columns[k][i] = values[k];
  }
  return SetRealOutputs(ctx, 0, columns);
}

RegionMoments PointMoments(const std::vector<Pt>& p) {
  RegionMoments m;
  if (p.empty()) return m;
  m.area = static_cast<double>(p.size());
  for (const Pt& q : p) m.row += q.r / m.area, m.col += q.c / m.area;
  for (const Pt& q : p) {
    const double dr = q.r - m.row, dc = q.c - m.col;
    m.m20 += dr * dr / m.area;
    m.m02 += dc * dc / m.area;
    m.m11 += dr * dc / m.area;
  }
  SetInertia(&m);
  return m;
}

Vresult PointFeatures(OpContext& ctx, size_t outputs, void (*pick)(const RegionMoments&, double*)) {
  return PerObject(ctx, outputs, [&](const std::vector<Pt>& p, size_t, double* out) {
    pick(PointMoments(p), out);
    return VRESULT_OK;
  });
}

// The inputs of the arbitrary moments from parameter `first` on: mode,
// area, centre row and column (one per object, or one for all), p and q.
struct AnyMoment {
  MomentMode mode = MomentMode::kUnnormalized;
  ElementInputs frame;  // area, centre row, centre column
  int area_par = 0;
  Vlong p = 0, q = 0;

  Vresult Read(const OpContext& ctx, int mode_par, int first) {
    const char* name = nullptr;
    area_par = first;
    Vresult rc = ctx.GetString(mode_par, &name);
    if (rc == VRESULT_OK && !LookUpName(kMomentModes, name, &mode)) rc = VERR_CTRL_VALUE(mode_par);
    if (rc == VRESULT_OK) rc = frame.Read(ctx, {first, first + 1, first + 2});
    if (rc == VRESULT_OK) rc = ctx.GetLong(first + 3, &p);
    if (rc == VRESULT_OK) rc = ctx.GetLong(first + 4, &q);
    if (rc != VRESULT_OK) return rc;
    if (p < 0 || p > kMaxOrder) return VERR_CTRL_VALUE(first + 3);
    if (q < 0 || p + q > kMaxOrder) return VERR_CTRL_VALUE(first + 4);
    return VRESULT_OK;
  }

  // Checks the frame against the number of objects and the area of
  // object i; the origin the moments of object i are taken about.
  Vresult Origin(size_t objects, size_t i, Pt* origin) const {
    if (frame.size() != 1 && frame.size() != objects) return VERR_CTRL_NUM(area_par);
    if (mode != MomentMode::kUnnormalized && frame.Real(0, i) == 0) return VERR_CTRL_VALUE(area_par);
    *origin = mode == MomentMode::kCentral ? frame.Point(1, i) : Pt{0, 0};
    return VRESULT_OK;
  }

  // `sum` scaled as the mode says; VERR_TOO_LARGE when it overflowed.
  Vresult Finish(double sum, size_t i, double* out) const {
    *out = mode == MomentMode::kUnnormalized ? sum : sum / frame.Real(0, i);
    return std::isfinite(*out) ? VRESULT_OK : VERR_TOO_LARGE;
  }
};

double Binomial(Vlong n, Vlong k) {
  double b = 1;
  for (Vlong j = 1; j <= k; ++j) b = b * static_cast<double>(n - k + j) / static_cast<double>(j);
  return b;
}

// Integral of (r0 + t dr)^p (c0 + t dc)^q over t in [0, 1], exactly, by
// expanding both powers.
double EdgeIntegral(double r0, double dr, Vlong p, double c0, double dc, Vlong q) {
  double sum = 0;
  for (Vlong i = 0; i <= p; ++i)
    for (Vlong j = 0; j <= q; ++j)
      sum += Binomial(p, i) * Binomial(q, j) * std::pow(r0, static_cast<double>(p - i)) *
             std::pow(dr, static_cast<double>(i)) * std::pow(c0, static_cast<double>(q - j)) *
             std::pow(dc, static_cast<double>(j)) / static_cast<double>(i + j + 1);
  return sum;
}

// Integral of r^p c^q over the area the polygon encloses (closed from its
// last point to its first), positive when the points run counter-clockwise
// on the screen. Green's theorem: the area integral of d/dc (r^p c^(q+1) /
// (q+1)) is the boundary integral of r^p c^(q+1) / (q+1) dr, taken
// clockwise on the screen.
double AreaMoment(const std::vector<Pt>& pts, Vlong p, Vlong q) {
  double sum = 0;
  for (size_t k = 0; k < pts.size(); ++k) {
    const Pt& a = pts[k];
    const Pt& b = pts[(k + 1) % pts.size()];
    sum += (b.r - a.r) * EdgeIntegral(a.r, b.r - a.r, p, a.c, b.c - a.c, q + 1);
  }
  return -sum / static_cast<double>(q + 1);
}

}  // namespace

VEXA_OPERATOR(moments_points_xld) {
  return PointFeatures(ctx, 3, [](const RegionMoments& m, double* out) {
    out[0] = m.m11, out[1] = m.m20, out[2] = m.m02;
  });
}

VEXA_OPERATOR(elliptic_axis_points_xld) {
  return PointFeatures(ctx, 3, [](const RegionMoments& m, double* out) {
    const EllipseAxes e = EllipseFromMoments(m);
    out[0] = e.ra, out[1] = e.rb, out[2] = e.phi;
  });
}

VEXA_OPERATOR(orientation_points_xld) {
  return PointFeatures(ctx, 1, [](const RegionMoments& m, double* out) {
    out[0] = EllipseFromMoments(m).phi;
  });
}

VEXA_OPERATOR(eccentricity_points_xld) {
  return PointFeatures(ctx, 1, [](const RegionMoments& m, double* out) {
    out[0] = ShapeFactorsFromMoments(m).anisometry;
  });
}

// Sum over the points of (r - r0)^p (c - c0)^q: about the origin for
// "unnormalized" and "normalized", about the given centre for "central";
// divided by the given area (the point count) except for "unnormalized".
VEXA_OPERATOR(moments_any_points_xld) {
  AnyMoment any;
  Vlong objects = 0;
  Vresult rc = any.Read(ctx, 0, 1);
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(1, &objects);
  if (rc != VRESULT_OK) return rc;
  return PerObject(ctx, 1, [&](const std::vector<Pt>& pts, size_t i, double* out) {
    Pt o;
    const Vresult orc = any.Origin(static_cast<size_t>(objects), i, &o);
    if (orc != VRESULT_OK) return orc;
    double sum = 0;
    for (const Pt& x : pts)
      sum += std::pow(x.r - o.r, static_cast<double>(any.p)) * std::pow(x.c - o.c, static_cast<double>(any.q));
    return any.Finish(sum, i, out);
  });
}

// The integral of (r - r0)^p (c - c0)^q over the enclosed area, origin and
// division as moments_any_points_xld; its sign is that of the area when
// the points run in the sense `point_order` names, so that the order
// area_center_xld reports gives positive areas.
VEXA_OPERATOR(moments_any_xld) {
  AnyMoment any;
  Vlong objects = 0;
  const char* order = nullptr;
  Vresult rc = any.Read(ctx, 0, 2);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &order);
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(1, &objects);
  if (rc != VRESULT_OK) return rc;
  const std::string sense(order);
  if (sense != "positive" && sense != "negative") return VERR_CTRL_VALUE(1);
  return PerObject(ctx, 1, [&](const std::vector<Pt>& pts, size_t i, double* out) {
    Pt o;
    const Vresult orc = any.Origin(static_cast<size_t>(objects), i, &o);
    if (orc != VRESULT_OK) return orc;
    std::vector<Pt> moved(pts.size());
    for (size_t k = 0; k < pts.size(); ++k) moved[k] = {pts[k].r - o.r, pts[k].c - o.c};
    const double sum = AreaMoment(moved, any.p, any.q);
    return any.Finish(sense == "positive" ? sum : -sum, i, out);
  });
}

}  // namespace geo
}  // namespace vexa
