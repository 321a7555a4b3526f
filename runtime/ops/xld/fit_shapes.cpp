// fit_ellipse_contour_xld (direct least squares of a conic constrained to
// an ellipse, in the numerically stable split form) and
// fit_rectangle2_contour_xld (Gauss-Newton on the distance of each point
// to its nearest side, from the smallest enclosing rectangle). Robust
// variants reweight as in xld_fit.h, ellipses by the first-order
// (Sampson) distance of each point.
#include <cmath>

#include <Eigen/Dense>

#include "registry.h"
#include "xld_fit.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

struct Conic {
  Eigen::Matrix<double, 6, 1> a;  // A x^2 + B xy + C y^2 + D x + E y + F, x col, y row
  double mr = 0, mc = 0, s = 1;   // normalisation: x = (col - mc) / s
  bool ok = false;
};

Conic FitConic(const std::vector<Pt>& p, const std::vector<double>& w) {
  Conic k;
  for (const Pt& q : p) k.mr += q.r / p.size(), k.mc += q.c / p.size();
  double ms = 0;
  for (const Pt& q : p) ms += ((q.r - k.mr) * (q.r - k.mr) + (q.c - k.mc) * (q.c - k.mc)) / p.size();
  k.s = ms > 0 ? std::sqrt(ms) : 1.0;
  Eigen::Matrix3d s1 = Eigen::Matrix3d::Zero(), s2 = s1, s3 = s1;
  for (size_t i = 0; i < p.size(); ++i) {
    const double x = (p[i].c - k.mc) / k.s, y = (p[i].r - k.mr) / k.s;
    const Eigen::Vector3d d1(x * x, x * y, y * y), d2(x, y, 1.0);
    s1 += w[i] * d1 * d1.transpose();
    s2 += w[i] * d1 * d2.transpose();
    s3 += w[i] * d2 * d2.transpose();
  }
  const Eigen::FullPivLU<Eigen::Matrix3d> lu(s3);
  if (!lu.isInvertible()) return k;
  const Eigen::Matrix3d t = -lu.inverse() * s2.transpose();
  const Eigen::Matrix3d m = s1 + s2 * t;
  Eigen::Matrix3d c;  // C1^-1 * m for the constraint 4AC - B^2 = 1
  c.row(0) = m.row(2) / 2;
  c.row(1) = -m.row(1);
  c.row(2) = m.row(0) / 2;
  const Eigen::EigenSolver<Eigen::Matrix3d> es(c);
  for (int j = 0; j < 3; ++j) {
    const Eigen::Vector3d v = es.eigenvectors().col(j).real();
    if (4 * v(0) * v(2) - v(1) * v(1) > 0) {
      k.a << v, t * v;
      k.ok = true;
      return k;
    }
  }
  return k;
}

struct EllipseFit {
  double r, c, phi, ra, rb;
};

bool ToEllipse(const Conic& k, EllipseFit* e) {
  const double A = k.a(0), B = k.a(1), C = k.a(2), D = k.a(3), E = k.a(4), F = k.a(5);
  const double det = 4 * A * C - B * B;
  if (!(det > 0)) return false;
  const double x0 = (B * E - 2 * C * D) / det, y0 = (B * D - 2 * A * E) / det;
  const double f0 = A * x0 * x0 + B * x0 * y0 + C * y0 * y0 + D * x0 + E * y0 + F;
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> es(
      (Eigen::Matrix2d() << A, B / 2, B / 2, C).finished());
  const Eigen::Vector2d l = es.eigenvalues();
  const double q0 = -f0 / l(0), q1 = -f0 / l(1);
  if (!(q0 > 0 && q1 > 0)) return false;
  // The larger half axis lies along the eigenvector of the smaller |l|.
  const int major = q0 >= q1 ? 0 : 1;
  const Eigen::Vector2d v = es.eigenvectors().col(major);  // (x, y) = (col, row)
  double phi = std::atan2(-v(1), v(0));
  if (phi <= -M_PI / 2) phi += M_PI;
  if (phi > M_PI / 2) phi -= M_PI;
  *e = {k.mr + k.s * y0, k.mc + k.s * x0, phi, k.s * std::sqrt(std::max(q0, q1)),
        k.s * std::sqrt(std::min(q0, q1))};
  return true;
}

std::vector<double> SampsonResiduals(const std::vector<Pt>& p, const Conic& k) {
  std::vector<double> d(p.size());
  const auto& a = k.a;
  for (size_t i = 0; i < p.size(); ++i) {
    const double x = (p[i].c - k.mc) / k.s, y = (p[i].r - k.mr) / k.s;
    const double f = a(0) * x * x + a(1) * x * y + a(2) * y * y + a(3) * x + a(4) * y + a(5);
    const double gx = 2 * a(0) * x + a(1) * y + a(3), gy = a(1) * x + 2 * a(2) * y + a(4);
    const double g = std::hypot(gx, gy);
    d[i] = g > 0 ? k.s * f / g : 0.0;
  }
  return d;
}

// The angle of p on the ellipse, in the ellipse's own frame.
double EllipseAngle(const EllipseFit& e, const Pt& p) {
  const double dr = p.r - e.r, dc = p.c - e.c;
  const double u = dr * -std::sin(e.phi) + dc * std::cos(e.phi);
  const double v = dr * -std::cos(e.phi) + dc * -std::sin(e.phi);
  return std::atan2(v / e.rb, u / e.ra);
}

// Signed distance of p to the nearest side of the rectangle x = (row,
// col, phi, len1, len2); `side` keeps the choice of side fixed.
double SideDistance(const Eigen::Matrix<double, 5, 1>& x, const Pt& p, int* side) {
  const double dr = p.r - x(0), dc = p.c - x(1);
  const double u = dr * -std::sin(x(2)) + dc * std::cos(x(2));
  const double v = dr * -std::cos(x(2)) + dc * -std::sin(x(2));
  const double du = std::fabs(u) - x(3), dv = std::fabs(v) - x(4);
  if (*side < 0) *side = std::fabs(du) <= std::fabs(dv) ? 0 : 1;
  return *side == 0 ? du : dv;
}

Eigen::Matrix<double, 5, 1> FitRectangle(const std::vector<Pt>& p, const std::vector<double>& w,
                                         Eigen::Matrix<double, 5, 1> x) {
  std::vector<int> side(p.size());
  for (int it = 0; it < 50; ++it) {
    Eigen::Matrix<double, 5, 5> a = Eigen::Matrix<double, 5, 5>::Zero();
    Eigen::Matrix<double, 5, 1> g = Eigen::Matrix<double, 5, 1>::Zero();
    for (size_t i = 0; i < p.size(); ++i) {
      side[i] = -1;
      const double d = SideDistance(x, p[i], &side[i]);
      Eigen::Matrix<double, 5, 1> j;
      for (int k = 0; k < 5; ++k) {
        Eigen::Matrix<double, 5, 1> y = x;
        const double h = 1e-6 * (k == 2 ? 1.0 : 1.0 + std::fabs(x(k)));
        y(k) += h;
        j(k) = (SideDistance(y, p[i], &side[i]) - d) / h;
      }
      a += w[i] * j * j.transpose();
      g += w[i] * j * d;
    }
    a.diagonal().array() += 1e-12;
    const Eigen::Matrix<double, 5, 1> step = a.ldlt().solve(-g);
    if (!step.allFinite()) break;
    x += step;
    if (step.norm() < 1e-10 * (1 + x.norm())) break;
  }
  return x;
}

Weighting ThirdsWeighting(int algorithm) {
  return algorithm == 1 ? Weighting::kHuber : algorithm == 2 ? Weighting::kTukey : Weighting::kNone;
}

}  // namespace

// radius1 >= radius2, phi of radius1's axis in (-pi/2, pi/2]; start and
// end angles in the ellipse's frame (0 and 2 pi for a closed contour).
// voss_tab_size must lie in 1..10000 and plays no part.
VEXA_OPERATOR(fit_ellipse_contour_xld) {
  std::vector<XldPtr> xs;
  int algorithm = 0;
  FitOptions o;
  Vlong voss = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"fitzgibbon", "fhuber", "ftukey"}, &algorithm);
  if (rc == VRESULT_OK) rc = ReadFitOptions(ctx, {1, 2, 3, 5, 6}, &o);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &voss);
  if (rc != VRESULT_OK) return rc;
  if (voss < 1 || voss > 10000) return VERR_CTRL_VALUE(4);
  const Weighting weighting = ThirdsWeighting(algorithm);
  std::vector<std::vector<double>> out(7);
  std::vector<std::string> order;
  for (const XldPtr& x : xs) {
    const FitPoints f = SelectFitPoints(*x, o);
    const std::vector<Pt>& p = f.p;
    if (p.size() < 5) return VERR_EMPTY_OBJECT;
    std::vector<double> w(p.size(), 1.0);
    Conic k = FitConic(p, w);
    for (Vlong it = 0; k.ok && weighting != Weighting::kNone && it < o.iterations; ++it) {
      RobustWeights(weighting, o.clipping_factor, SampsonResiduals(p, k), &w);
      k = FitConic(p, w);
    }
    EllipseFit e{};
    if (!k.ok || !ToEllipse(k, &e)) return VERR_EMPTY_OBJECT;
    const double start = f.closed ? 0.0 : EllipseAngle(e, p.front());
    const double end = f.closed ? 2 * M_PI : EllipseAngle(e, p.back());
    const double vals[7] = {e.r, e.c, e.phi, e.ra, e.rb, start, end};
    for (int j = 0; j < 7; ++j) out[static_cast<size_t>(j)].push_back(vals[j]);
    order.push_back(PointOrderAround(p, e.r, e.c));
  }
  for (int j = 0; rc == VRESULT_OK && j < 7; ++j) rc = ctx.SetOutpDoubles(j, out[static_cast<size_t>(j)]);
  return rc == VRESULT_OK ? ctx.SetOutpStrings(7, order) : rc;
}

VEXA_OPERATOR(fit_rectangle2_contour_xld) {
  std::vector<XldPtr> xs;
  int algorithm = 0;
  FitOptions o;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"regression", "huber", "tukey"}, &algorithm);
  if (rc == VRESULT_OK) rc = ReadFitOptions(ctx, {1, 2, 3, 4, 5}, &o);
  if (rc != VRESULT_OK) return rc;
  const Weighting weighting = ThirdsWeighting(algorithm);
  std::vector<std::vector<double>> out(5);
  std::vector<std::string> order;
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = SelectFitPoints(*x, o).p;
    if (p.size() < 4) return VERR_EMPTY_OBJECT;
    const Rect2 start = SmallestRectangle2(ConvexHull(p));
    Eigen::Matrix<double, 5, 1> k;
    k << start.row, start.col, start.phi, start.len1, start.len2;
    std::vector<double> w(p.size(), 1.0), d(p.size());
    k = FitRectangle(p, w, k);
    for (Vlong it = 0; weighting != Weighting::kNone && it < o.iterations; ++it) {
      for (size_t i = 0; i < p.size(); ++i) {
        int side = -1;
        d[i] = SideDistance(k, p[i], &side);
      }
      // Tukey weights drop every point beyond the clipping distance. Right
      // after a fit that an outlier pulled, that can be a whole side, which
      // then holds the fit where it is; the first half of the iterations
      // therefore use Huber weights, which only lessen such points.
      const bool early = weighting == Weighting::kTukey && 2 * it < o.iterations;
      RobustWeights(early ? Weighting::kHuber : weighting, o.clipping_factor, d, &w);
      k = FitRectangle(p, w, k);
    }
    // Report length1 >= length2 and phi in (-pi/2, pi/2].
    double phi = k(2), l1 = std::fabs(k(3)), l2 = std::fabs(k(4));
    if (l2 > l1) std::swap(l1, l2), phi += M_PI / 2;
    phi = std::remainder(phi, M_PI);
    if (phi <= -M_PI / 2) phi += M_PI;
    const double vals[5] = {k(0), k(1), phi, l1, l2};
    for (int j = 0; j < 5; ++j) out[static_cast<size_t>(j)].push_back(vals[j]);
    order.push_back(PointOrderAround(p, k(0), k(1)));
  }
  for (int j = 0; rc == VRESULT_OK && j < 5; ++j) rc = ctx.SetOutpDoubles(j, out[static_cast<size_t>(j)]);
  return rc == VRESULT_OK ? ctx.SetOutpStrings(5, order) : rc;
}

}  // namespace xld
}  // namespace vexa
