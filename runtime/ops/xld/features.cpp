// Shape features of contours and polygons, one value per object: lengths,
// area and moments of the enclosed area, enclosing shapes, and the tests
// on closure, self-intersection and points.
#include <cmath>
#include <functional>

#include "registry.h"
#include "xld_shape.h"

namespace vexa {
namespace xld {
namespace {

// Runs `fn(shape, values)` on every contour or polygon of input 1, where
// values[k] collects the values of output control k, and writes them.
Vresult Measure(OpContext& ctx, size_t outputs,
                const std::function<void(Shape&, std::vector<double>*)>& fn) {
  std::vector<XldPtr> xs;
  Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::vector<double>> values(outputs);
  for (const XldPtr& x : xs) {
    Shape s(*x);
    std::vector<double> v;
    fn(s, &v);
    for (size_t k = 0; k < outputs; ++k) values[k].push_back(v[k]);
  }
  for (size_t k = 0; rc == VRESULT_OK && k < outputs; ++k)
    rc = ctx.SetOutpDoubles(static_cast<int>(k), values[k]);
  return rc;
}

// The 0/1 answer of `test` for every contour or polygon of input 1.
Vresult Test(OpContext& ctx, int par_out, const std::function<bool(const Xld&)>& test) {
  std::vector<XldPtr> xs;
  const Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> out;
  for (const XldPtr& x : xs) out.push_back(test(*x) ? 1 : 0);
  return ctx.SetOutpLongs(par_out, out);
}

// The contour (or polygon, after the input's class) through `pts`.
XldPtr Like(const Xld& x, const std::vector<Pt>& pts) {
  auto out = NewContour(pts);
  out->cls = x.cls;
  if (x.cls == VOBJ_XLD_POLY)
    for (size_t i = 0; i < pts.size(); ++i) out->source_index.push_back(static_cast<int64_t>(i));
  return out;
}

std::vector<Pt> EllipsePoints(double r, double c, double phi, double ra, double rb) {
  const double want = std::ceil(2 * M_PI * std::max(ra, rb));
  const size_t n = want < 8 ? 8 : want < kMaxPoints ? static_cast<size_t>(want) : kMaxPoints - 1;
  std::vector<Pt> p(n + 1);
  for (size_t i = 0; i < n; ++i) {
    const double t = 2 * M_PI * static_cast<double>(i) / n;
    const double u = ra * std::cos(t), v = rb * std::sin(t);
    p[i] = {r - (u * std::sin(phi) + v * std::cos(phi)), c + (u * std::cos(phi) - v * std::sin(phi))};
  }
  p[n] = p[0];
  return p;
}

std::vector<Pt> RectanglePoints(const Rect2& k) {
  const Pt u{-std::sin(k.phi), std::cos(k.phi)}, w{-std::cos(k.phi), -std::sin(k.phi)};
  auto corner = [&](double a, double b) {
    return Pt{k.row + a * k.len1 * u.r + b * k.len2 * w.r, k.col + a * k.len1 * u.c + b * k.len2 * w.c};
  };
  return {corner(1, 1), corner(-1, 1), corner(-1, -1), corner(1, -1), corner(1, 1)};
}

}  // namespace

VEXA_OPERATOR(length_xld) {
  return Measure(ctx, 1, [](Shape& s, std::vector<double>* v) { *v = {s.Length()}; });
}

// point_order: "positive" when the points run counter-clockwise on the
// screen, "negative" otherwise (also for no area).
VEXA_OPERATOR(area_center_xld) {
  std::vector<std::string> order;
  const Vresult rc = Measure(ctx, 3, [&](Shape& s, std::vector<double>* v) {
    const AreaMoments& a = s.Area();
    *v = {a.m.area, a.m.row, a.m.col};
    order.push_back(a.signed_area > 0 ? "positive" : "negative");
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(3, order);
}

// The number of points and their mean.
VEXA_OPERATOR(area_center_points_xld) {
  return Measure(ctx, 3, [](Shape& s, std::vector<double>* v) {
    double r = 0, c = 0;
    const double n = static_cast<double>(s.points().size());
    for (const Pt& p : s.points()) r += p.r / n, c += p.c / n;
    *v = {n, r, c};
  });
}

VEXA_OPERATOR(moments_xld) {
  return Measure(ctx, 3, [](Shape& s, std::vector<double>* v) {
    const RegionMoments& m = s.Area().m;
    *v = {m.m11, m.m20, m.m02};
  });
}

VEXA_OPERATOR(orientation_xld) {
  return Measure(ctx, 1, [](Shape& s, std::vector<double>* v) {
    *v = {EllipseFromMoments(s.Area().m).phi};
  });
}

VEXA_OPERATOR(elliptic_axis_xld) {
  return Measure(ctx, 3, [](Shape& s, std::vector<double>* v) {
    const EllipseAxes e = EllipseFromMoments(s.Area().m);
    *v = {e.ra, e.rb, e.phi};
  });
}

VEXA_OPERATOR(eccentricity_xld) {
  return Measure(ctx, 3, [](Shape& s, std::vector<double>* v) {
    const ShapeFactors f = ShapeFactorsFromMoments(s.Area().m);
    *v = {f.anisometry, f.bulkiness, f.structure_factor};
  });
}

VEXA_OPERATOR(compactness_xld) {
  return Measure(ctx, 1, [](Shape& s, std::vector<double>* v) { *v = {s.Compactness()}; });
}

VEXA_OPERATOR(circularity_xld) {
  return Measure(ctx, 1, [](Shape& s, std::vector<double>* v) { *v = {s.Circularity()}; });
}

VEXA_OPERATOR(convexity_xld) {
  return Measure(ctx, 1, [](Shape& s, std::vector<double>* v) { *v = {s.Convexity()}; });
}

VEXA_OPERATOR(diameter_xld) {
  return Measure(ctx, 5, [](Shape& s, std::vector<double>* v) {
    Pt a, b;
    const double d = s.Diameter(&a, &b);
    *v = {a.r, a.c, b.r, b.c, d};
  });
}

VEXA_OPERATOR(smallest_rectangle1_xld) {
  return Measure(ctx, 4, [](Shape& s, std::vector<double>* v) {
    v->resize(4);
    s.Box(&(*v)[0], &(*v)[1], &(*v)[2], &(*v)[3]);
  });
}

VEXA_OPERATOR(smallest_rectangle2_xld) {
  return Measure(ctx, 5, [](Shape& s, std::vector<double>* v) {
    const Rect2& k = s.Rectangle2();
    *v = {k.row, k.col, k.phi, k.len1, k.len2};
  });
}

VEXA_OPERATOR(smallest_circle_xld) {
  return Measure(ctx, 3, [](Shape& s, std::vector<double>* v) {
    const Circle& k = s.OuterCircle();
    *v = {k.row, k.col, k.radius};
  });
}

// Objects whose features all ("and") or any ("or") lie in [min, max];
// one min and max per feature.
VEXA_OPERATOR(select_shape_xld) {
  std::vector<Vkey> keys;
  std::vector<XldPtr> xs;
  std::vector<const char*> features;
  std::vector<double> lo, hi;
  int op = 0;
  Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(0, features);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 1, {"and", "or"}, &op);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, lo);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, hi);
  if (rc != VRESULT_OK) return rc;
  if (features.empty()) return VERR_CTRL_NUM(0);
  if (lo.size() != features.size()) return VERR_CTRL_NUM(2);
  if (hi.size() != features.size()) return VERR_CTRL_NUM(3);
  for (size_t i = 0; i < xs.size(); ++i) {
    Shape s(*xs[i]);
    bool all = true, any = false;
    for (size_t f = 0; f < features.size(); ++f) {
      double v = 0;
      if (!s.Feature(features[f], &v)) return VERR_CTRL_VALUE(0);
      const bool in = v >= lo[f] && v <= hi[f];
      all = all && in;
      any = any || in;
    }
    if (op == 0 ? all : any) keys.push_back(ctx.InpObjKey(1, static_cast<Vlong>(i)));
  }
  return PassOnKeys(ctx, 1, keys);
}

VEXA_OPERATOR(test_closed_xld) {
  return Test(ctx, 0, [](const Xld& x) { return IsClosed(x); });
}

// closed_xld "true" takes the segment from the last point to the first
// into the test.
VEXA_OPERATOR(test_self_intersection_xld) {
  int closed = 0;
  const Vresult rc = GetChoice(ctx, 0, {"true", "false"}, &closed);
  if (rc != VRESULT_OK) return rc;
  return Test(ctx, 0, [&](const Xld& x) { return SelfIntersects(PointsOf(x), closed == 0); });
}

// 1 when the point lies inside the object closed from its last point to
// its first (even-odd rule).
VEXA_OPERATOR(test_xld_point) {
  double r = 0, c = 0;
  Vresult rc = GetFinite(ctx, 0, &r);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &c);
  if (rc != VRESULT_OK) return rc;
  return Test(ctx, 0, [&](const Xld& x) { return InsidePolygon(PointsOf(x), {r, c}); });
}

VEXA_OPERATOR(select_xld_point) {
  std::vector<XldPtr> xs;
  double r = 0, c = 0;
  Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 0, &r);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &c);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vkey> keys;
  for (size_t i = 0; i < xs.size(); ++i)
    if (InsidePolygon(PointsOf(*xs[i]), {r, c})) keys.push_back(ctx.InpObjKey(1, static_cast<Vlong>(i)));
  return PassOnKeys(ctx, 1, keys);
}

// type "convex" (hull), "ellipse" (same moments), "rectangle1",
// "rectangle2" (smallest enclosing), "outer_circle"; closed results of the
// input's class.
VEXA_OPERATOR(shape_trans_xld) {
  std::vector<XldPtr> xs;
  int type = 0;
  Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"convex", "ellipse", "rectangle1", "rectangle2", "outer_circle"}, &type);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    Shape s(*x);
    std::vector<Pt> p;
    if (type == 0) {
      p = s.Hull();
      if (!p.empty()) p.push_back(p.front());
    } else if (type == 1) {
      const RegionMoments& m = s.Area().m;
      const EllipseAxes e = EllipseFromMoments(m);
      p = EllipsePoints(m.row, m.col, e.phi, e.ra, e.rb);
    } else if (type == 2) {
      double r1, c1, r2, c2;
      s.Box(&r1, &c1, &r2, &c2);
      p = RectanglePoints({(r1 + r2) / 2, (c1 + c2) / 2, 0.0, (c2 - c1) / 2, (r2 - r1) / 2});
    } else if (type == 3) {
      p = RectanglePoints(s.Rectangle2());
    } else {
      const Circle& k = s.OuterCircle();
      p = EllipsePoints(k.row, k.col, 0.0, k.radius, k.radius);
    }
    out.push_back(Like(*x, p));
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
