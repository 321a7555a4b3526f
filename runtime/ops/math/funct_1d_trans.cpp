// Affine changes of a function's axes and their estimation. The four
// parameters (a1, a2, a3, a4) move point (x, y) to (a3 x + a4, a1 y + a2):
// the transformed function g of f has g(x) = a1 f((x - a4) / a3) + a2.
#include <cstring>

#include "ops/math/funct_1d.h"
#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

// Four finite parameters with a3 != 0 from input `par`.
Vresult GetParams(const OpContext& ctx, int par, Eigen::Vector4d* a) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 4) return VERR_CTRL_NUM(par);
  if (v[2] == 0.0) return VERR_CTRL_VALUE(par);
  *a = Eigen::Vector4d(v[0], v[1], v[2], v[3]);
  return VRESULT_OK;
}

// Residuals g(x_i) - y_i of f2 transformed by a against the points of f1;
// false when a value falls outside under Border::kError or a3 is 0.
bool Residuals(const Funct1D& f1, const Funct1D& f2, Border border,
               const Eigen::Vector4d& a, Eigen::VectorXd* r) {
  if (a[2] == 0.0) return false;
  r->resize(static_cast<Eigen::Index>(f1.size()));
  for (size_t i = 0; i < f1.size(); ++i) {
    double v = 0.0;
    if (!ValueAt(f2, (f1.x[i] - a[3]) / a[2], border, &v)) return false;
    (*r)[i] = a[0] * v + a[1] - f1.y[i];
  }
  return true;
}

}  // namespace

VEXA_OPERATOR(transform_funct_1d) {
  Funct1D f, g;
  Eigen::Vector4d a;
  Vresult rc = GetFunct1D(ctx, 0, &f, 0);
  if (rc == VRESULT_OK) rc = GetParams(ctx, 1, &a);
  if (rc != VRESULT_OK) return rc;
  for (double& x : f.x) x = a[2] * x + a[3];
  for (double& y : f.y) y = a[0] * y + a[1];
  rc = MakeFunct1D(f.x, f.y, 1, &g);
  if (rc != VRESULT_OK) return rc;
  return SetFunct1D(ctx, 0, g);
}

// The parameters that bring function2 closest to function1 in the least
// squares sense over the points of function1 (Levenberg-Marquardt with
// numeric derivatives), starting from params_const; use_params says for
// each parameter "true" (estimate it) or "false" (keep it). Outputs: the
// parameters, the sum of squared residuals, and the 4x4 covariance of the
// estimated parameters (residual variance times the inverse normal
// matrix; rows and columns of kept parameters are 0).
VEXA_OPERATOR(match_funct_1d_trans) {
  Funct1D f1, f2;
  Border border;
  Eigen::Vector4d a;
  std::vector<const char*> use;
  Vresult rc = GetFunct1D(ctx, 0, &f1);
  if (rc == VRESULT_OK) rc = GetFunct1D(ctx, 1, &f2);
  if (rc == VRESULT_OK) rc = GetBorder(ctx, 2, &border);
  if (rc == VRESULT_OK) rc = GetParams(ctx, 3, &a);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(4, use);
  if (rc != VRESULT_OK) return rc;
  if (use.size() != 4) return VERR_CTRL_NUM(4);
  std::vector<int> free;
  for (int k = 0; k < 4; ++k) {
    if (std::strcmp(use[k], "true") == 0) free.push_back(k);
    else if (std::strcmp(use[k], "false") != 0) return VERR_CTRL_VALUE(4);
  }
  Eigen::VectorXd r;
  if (!Residuals(f1, f2, border, a, &r)) return VERR_CTRL_VALUE(3);
  const Eigen::Index m = static_cast<Eigen::Index>(free.size());
  Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(m, m);
  double lambda = 1e-3;
  for (int iter = 0; iter < 200 && m > 0; ++iter) {
    Eigen::MatrixXd jac(r.size(), m);
    for (Eigen::Index j = 0; j < m; ++j) {
      Eigen::Vector4d b = a;
      const double h = 1e-6 * std::max(1.0, std::fabs(a[free[j]]));
      b[free[j]] += h;
      Eigen::VectorXd rb;
      if (!Residuals(f1, f2, border, b, &rb)) rb = r;
      jac.col(j) = (rb - r) / h;
    }
    normal = jac.transpose() * jac;
    const Eigen::VectorXd grad = jac.transpose() * r;
    bool improved = false;
    while (lambda < 1e12) {
      Eigen::MatrixXd damped = normal;
      damped.diagonal() += lambda * (normal.diagonal().array() + 1e-12).matrix();
      const Eigen::VectorXd step = damped.ldlt().solve(-grad);
      Eigen::Vector4d b = a;
      for (Eigen::Index j = 0; j < m; ++j) b[free[j]] += step[j];
      Eigen::VectorXd rb;
      if (step.allFinite() && Residuals(f1, f2, border, b, &rb) &&
          rb.squaredNorm() < r.squaredNorm()) {
        const bool small = (r.squaredNorm() - rb.squaredNorm()) <= 1e-15 * (1.0 + r.squaredNorm());
        a = b, r = rb, lambda = std::max(lambda / 10.0, 1e-12), improved = true;
        if (small) iter = 200;
        break;
      }
      lambda *= 10.0;
    }
    if (!improved) break;
  }
  const double chi2 = r.squaredNorm();
  std::vector<double> cov(16, 0.0);
  if (m > 0 && r.size() > m) {
    const Eigen::MatrixXd c =
        normal.completeOrthogonalDecomposition().pseudoInverse() * (chi2 / (r.size() - m));
    for (Eigen::Index i = 0; i < m; ++i)
      for (Eigen::Index j = 0; j < m; ++j) cov[free[i] * 4 + free[j]] = c(i, j);
  }
  rc = ctx.SetOutpDoubles(0, {a[0], a[1], a[2], a[3]});
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, chi2);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, cov);
  return rc;
}

}  // namespace vexa
