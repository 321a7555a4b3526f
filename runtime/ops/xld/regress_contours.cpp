// Regression lines of contours: regress_contours_xld fits them (optionally
// robust) and keeps them in the contour; get_regress_params_xld reads
// them back with the contour's length and end points on the line.
//
// A regressed contour holds the line as the global attributes
// "regress_normal_row", "regress_normal_col", "regress_dist" (normal . p =
// dist on the line), "regress_mean" (mean absolute distance of the points)
// and "regress_deviation" (standard deviation of the signed distances), and
// the signed distance of each point as the attribute "distance".
#include <algorithm>
#include <cmath>

#include "registry.h"
#include "xld_fit.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

constexpr const char* kRegressGlobals[] = {"regress_normal_row", "regress_normal_col",
                                           "regress_dist", "regress_mean", "regress_deviation"};

// The line as a unit normal (turned a quarter clockwise from the
// direction, which runs from the first point to the last) and its
// distance from the origin.
struct Regression {
  double nr = 0, nc = 0, dist = 0, mean = 0, deviation = 0;
};

double Distance(const Regression& g, const Pt& p) { return g.nr * p.r + g.nc * p.c - g.dist; }

// mode: 0 "no" (least squares), 1 "drop", 2 "gauss" (weights of xld_fit.h
// with clipping factor 2), 3 "median" (least absolute distances, by
// weights 1 / |d|).
Regression Regress(const std::vector<Pt>& p, int mode, Vlong iterations) {
  std::vector<double> w(p.size(), 1.0), d(p.size());
  Line l = FitLine(p, w);
  for (Vlong it = 0; mode != 0 && it < iterations; ++it) {
    for (size_t i = 0; i < p.size(); ++i) d[i] = (p[i].r - l.r) * l.dc - (p[i].c - l.c) * l.dr;
    if (mode == 3) {
      for (size_t i = 0; i < p.size(); ++i) w[i] = 1 / std::max(std::fabs(d[i]), 1e-6);
    } else {
      RobustWeights(mode == 1 ? Weighting::kDrop : Weighting::kGauss, 2.0, d, &w);
    }
    l = FitLine(p, w);
  }
  const double along = (p.back().r - p.front().r) * l.dr + (p.back().c - p.front().c) * l.dc;
  if (along < 0) l.dr = -l.dr, l.dc = -l.dc;
  Regression g;
  g.nr = l.dc;
  g.nc = -l.dr;
  g.dist = g.nr * l.r + g.nc * l.c;
  double sum = 0, sum_abs = 0, sum2 = 0;
  for (const Pt& q : p) {
    const double e = Distance(g, q);
    sum += e, sum_abs += std::fabs(e), sum2 += e * e;
  }
  const double n = static_cast<double>(p.size());
  g.mean = sum_abs / n;
  g.deviation = std::sqrt(std::max(0.0, sum2 / n - (sum / n) * (sum / n)));
  return g;
}

// The regression the contour holds, or a plain least-squares one.
Regression StoredOrFitted(const Xld& x, const std::vector<Pt>& p) {
  double v[5];
  for (int k = 0; k < 5; ++k) {
    const XldAttrib* a = x.Global(kRegressGlobals[k]);
    if (a == nullptr) return Regress(p, 0, 0);
    v[k] = a->values.front();
  }
  return {v[0], v[1], v[2], v[3], v[4]};
}

void SetAttrib(std::vector<XldAttrib>* list, const std::string& name, std::vector<double> values) {
  for (XldAttrib& a : *list)
    if (a.name == name) {
      a.values = std::move(values);
      return;
    }
  list->push_back({name, std::move(values)});
}

}  // namespace

// mode "no", "drop", "gauss" or "median"; iterations (0..1000) rounds of
// reweighting. Points and other attributes stay as they are.
VEXA_OPERATOR(regress_contours_xld) {
  std::vector<XldPtr> xs;
  int mode = 0;
  Vlong iterations = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"no", "drop", "gauss", "median"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &iterations);
  if (rc != VRESULT_OK) return rc;
  if (iterations < 0 || iterations > 1000) return VERR_CTRL_VALUE(1);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = PointsOf(*x);
    if (p.size() < 2) return VERR_EMPTY_OBJECT;
    const Regression g = Regress(p, mode, iterations);
    auto y = std::make_shared<Xld>(*x);
    std::vector<double> d(p.size());
    for (size_t i = 0; i < p.size(); ++i) d[i] = Distance(g, p[i]);
    SetAttrib(&y->attribs, "distance", std::move(d));
    const double v[5] = {g.nr, g.nc, g.dist, g.mean, g.deviation};
    for (int k = 0; k < 5; ++k) SetAttrib(&y->globals, kRegressGlobals[k], {v[k]});
    out.push_back(std::move(y));
  }
  return HandOverXlds(ctx, 1, out);
}

// One value per contour: the contour length, the normal (x the row, y the
// column), dist, the first and last point projected onto the line, and
// the mean and deviation of the distances. A contour that was not
// regressed gets the plain least-squares line.
VEXA_OPERATOR(get_regress_params_xld) {
  std::vector<XldPtr> xs;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> out[10];
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = PointsOf(*x);
    if (p.size() < 2) return VERR_EMPTY_OBJECT;
    const Regression g = StoredOrFitted(*x, p);
    auto project = [&](const Pt& q) {
      const double e = Distance(g, q);
      return Pt{q.r - e * g.nr, q.c - e * g.nc};
    };
    const Pt a = project(p.front()), b = project(p.back());
    const double v[10] = {ChainLength(p), g.nr, g.nc, g.dist, a.r, a.c, b.r, b.c, g.mean, g.deviation};
    for (int k = 0; k < 10; ++k) out[k].push_back(v[k]);
  }
  for (int k = 0; rc == VRESULT_OK && k < 10; ++k) rc = ctx.SetOutpDoubles(k, out[k]);
  return rc;
}

}  // namespace xld
}  // namespace vexa
