// fit_line_contour_xld and fit_circle_contour_xld: lines by weighted total
// least squares, circles algebraically (least squares on
// r^2 + c^2 + D r + E c + F = 0) or geometrically (Gauss-Newton on the
// distances to the circle, from the algebraic start); robust variants
// reweight as in xld_fit.h. A contour with fewer points than the model
// needs (2 for a line, 3 for a circle) is VERR_EMPTY_OBJECT.
#include <cmath>

#include <Eigen/Dense>

#include "registry.h"
#include "xld_fit.h"

namespace vexa {
namespace xld {
namespace {

struct CircleFit {
  double r, c, radius;
};

CircleFit Algebraic(const std::vector<Pt>& p, const std::vector<double>& w) {
  // Centred coordinates keep the normal equations well conditioned.
  double mr = 0, mc = 0;
  for (const Pt& q : p) mr += q.r / p.size(), mc += q.c / p.size();
  Eigen::Matrix3d a = Eigen::Matrix3d::Zero();
  Eigen::Vector3d b = Eigen::Vector3d::Zero();
  for (size_t i = 0; i < p.size(); ++i) {
    const double x = p[i].r - mr, y = p[i].c - mc;
    const Eigen::Vector3d row(x, y, 1.0);
    a += w[i] * row * row.transpose();
    b -= w[i] * row * (x * x + y * y);
  }
  const Eigen::Vector3d s = a.ldlt().solve(b);
  const double cr = -s(0) / 2, cc = -s(1) / 2;
  return {mr + cr, mc + cc, std::sqrt(std::max(0.0, cr * cr + cc * cc - s(2)))};
}

CircleFit Geometric(const std::vector<Pt>& p, const std::vector<double>& w, CircleFit k) {
  for (int it = 0; it < 100; ++it) {
    Eigen::Matrix3d a = Eigen::Matrix3d::Zero();
    Eigen::Vector3d g = Eigen::Vector3d::Zero();
    for (size_t i = 0; i < p.size(); ++i) {
      const double dr = p[i].r - k.r, dc = p[i].c - k.c, rho = std::hypot(dr, dc);
      if (rho == 0) continue;
      const Eigen::Vector3d j(-dr / rho, -dc / rho, -1.0);
      a += w[i] * j * j.transpose();
      g += w[i] * j * (rho - k.radius);
    }
    const Eigen::Vector3d step = a.ldlt().solve(-g);
    if (!step.allFinite()) break;
    k.r += step(0), k.c += step(1), k.radius += step(2);
    if (step.norm() < 1e-12 * (1 + k.radius)) break;
  }
  k.radius = std::fabs(k.radius);
  return k;
}

std::vector<double> CircleResiduals(const std::vector<Pt>& p, const CircleFit& k) {
  std::vector<double> d(p.size());
  for (size_t i = 0; i < p.size(); ++i) d[i] = std::hypot(p[i].r - k.r, p[i].c - k.c) - k.radius;
  return d;
}

}  // namespace

// Begin and end are the first and last fitted points projected onto the
// line; the normal is the direction turned a quarter clockwise on the
// screen, and normal_row * r + normal_column * c = dist on the line.
VEXA_OPERATOR(fit_line_contour_xld) {
  std::vector<XldPtr> xs;
  int algorithm = 0;
  FitOptions o;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"regression", "huber", "tukey", "drop", "gauss"}, &algorithm);
  if (rc == VRESULT_OK) rc = ReadFitOptions(ctx, {1, -1, 2, 3, 4}, &o);
  if (rc != VRESULT_OK) return rc;
  const Weighting weighting = static_cast<Weighting>(algorithm);
  std::vector<std::vector<double>> out(7);
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = SelectFitPoints(*x, o).p;
    if (p.size() < 2) return VERR_EMPTY_OBJECT;
    std::vector<double> w(p.size(), 1.0), d(p.size());
    Line l = FitLine(p, w);
    for (Vlong it = 0; weighting != Weighting::kNone && it < o.iterations; ++it) {
      for (size_t i = 0; i < p.size(); ++i) d[i] = (p[i].r - l.r) * l.dc - (p[i].c - l.c) * l.dr;
      RobustWeights(weighting, o.clipping_factor, d, &w);
      l = FitLine(p, w);
    }
    // Orient the direction from the first point to the last.
    auto along = [&](const Pt& q) { return (q.r - l.r) * l.dr + (q.c - l.c) * l.dc; };
    if (along(p.back()) < along(p.front())) l.dr = -l.dr, l.dc = -l.dc;
    const double t0 = along(p.front()), t1 = along(p.back());
    const double nr = l.dc, nc = -l.dr;
    const double vals[7] = {l.r + t0 * l.dr, l.c + t0 * l.dc, l.r + t1 * l.dr, l.c + t1 * l.dc,
                            nr, nc, nr * l.r + nc * l.c};
    for (int k = 0; k < 7; ++k) out[static_cast<size_t>(k)].push_back(vals[k]);
  }
  for (int k = 0; rc == VRESULT_OK && k < 7; ++k) rc = ctx.SetOutpDoubles(k, out[static_cast<size_t>(k)]);
  return rc;
}

// Angles of the first and last fitted point (0 and 2 pi for a closed
// contour); point_order as the points turn about the centre.
VEXA_OPERATOR(fit_circle_contour_xld) {
  std::vector<XldPtr> xs;
  int algorithm = 0;
  FitOptions o;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"algebraic", "ahuber", "atukey", "geometric", "geohuber", "geotukey"},
                   &algorithm);
  if (rc == VRESULT_OK) rc = ReadFitOptions(ctx, {1, 2, 3, 4, 5}, &o);
  if (rc != VRESULT_OK) return rc;
  const bool geometric = algorithm >= 3;
  const Weighting weighting = algorithm % 3 == 0   ? Weighting::kNone
                              : algorithm % 3 == 1 ? Weighting::kHuber
                                                   : Weighting::kTukey;
  std::vector<std::vector<double>> out(5);
  std::vector<std::string> order;
  for (const XldPtr& x : xs) {
    const FitPoints f = SelectFitPoints(*x, o);
    const std::vector<Pt>& p = f.p;
    if (p.size() < 3) return VERR_EMPTY_OBJECT;
    std::vector<double> w(p.size(), 1.0);
    auto fit = [&] { return geometric ? Geometric(p, w, Algebraic(p, w)) : Algebraic(p, w); };
    CircleFit k = fit();
    for (Vlong it = 0; weighting != Weighting::kNone && it < o.iterations; ++it) {
      RobustWeights(weighting, o.clipping_factor, CircleResiduals(p, k), &w);
      k = fit();
    }
    double start = 0, end = 2 * M_PI;
    if (!f.closed) {
      start = std::atan2(-(p.front().r - k.r), p.front().c - k.c);
      end = std::atan2(-(p.back().r - k.r), p.back().c - k.c);
    }
    const double vals[5] = {k.r, k.c, k.radius, start, end};
    for (int j = 0; j < 5; ++j) out[static_cast<size_t>(j)].push_back(vals[j]);
    order.push_back(PointOrderAround(p, k.r, k.c));
  }
  for (int j = 0; rc == VRESULT_OK && j < 5; ++j) rc = ctx.SetOutpDoubles(j, out[static_cast<size_t>(j)]);
  return rc == VRESULT_OK ? ctx.SetOutpStrings(5, order) : rc;
}

}  // namespace xld
}  // namespace vexa
