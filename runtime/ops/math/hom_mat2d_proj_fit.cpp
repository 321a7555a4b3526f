// Projective 2D matrices from four or more point correspondences by the
// direct linear transform: every pair q ~ H p gives two linear equations
// in the nine entries of H, solved as the null vector of the stacked
// system. "normalized_dlt" first moves the finite points of each side to
// their centroid at mean distance sqrt(2), which keeps the system well
// conditioned for pixel coordinates; "dlt" solves it as it stands.
#include <cstring>

#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

using HomPoints = Eigen::Matrix<double, 3, Eigen::Dynamic>;

// The conditioning transform of homogeneous points: translation of the
// centroid of the finite points to 0 and scaling to mean distance sqrt 2.
Mat2D Conditioner(const HomPoints& p) {
  Eigen::Vector2d sum(0, 0);
  int finite = 0;
  for (Eigen::Index i = 0; i < p.cols(); ++i)
    if (p(2, i) != 0.0) sum += p.col(i).head<2>() / p(2, i), ++finite;
  Mat2D t = Mat2D::Identity();
  if (finite == 0) return t;
  const Eigen::Vector2d c = sum / finite;
  double dist = 0.0;
  for (Eigen::Index i = 0; i < p.cols(); ++i)
    if (p(2, i) != 0.0) dist += (p.col(i).head<2>() / p(2, i) - c).norm();
  dist /= finite;
  const double s = dist > 0.0 ? std::sqrt(2.0) / dist : 1.0;
  t(0, 0) = t(1, 1) = s;
  t(0, 2) = -s * c[0];
  t(1, 2) = -s * c[1];
  return t;
}

// H with q ~ H p, or false for a configuration that does not fix it.
bool SolveDlt(const HomPoints& p, const HomPoints& q, bool normalize, Mat2D* h) {
  const Mat2D tp = normalize ? Conditioner(p) : Mat2D::Identity();
  const Mat2D tq = normalize ? Conditioner(q) : Mat2D::Identity();
  const HomPoints pn = tp * p, qn = tq * q;
  const Eigen::Index n = p.cols();
  Eigen::MatrixXd a = Eigen::MatrixXd::Zero(2 * n, 9);
  for (Eigen::Index i = 0; i < n; ++i) {
    const Eigen::RowVector3d pt = pn.col(i).transpose();
    a.block<1, 3>(2 * i, 3) = -qn(2, i) * pt;
    a.block<1, 3>(2 * i, 6) = qn(1, i) * pt;
    a.block<1, 3>(2 * i + 1, 0) = qn(2, i) * pt;
    a.block<1, 3>(2 * i + 1, 6) = -qn(0, i) * pt;
  }
  // H is the right singular vector of the smallest singular value; a
  // second one near 0 means the correspondences leave H open.
  Eigen::JacobiSVD<Eigen::MatrixXd> svd(a, Eigen::ComputeFullV);
  const Eigen::VectorXd sv = svd.singularValues();
  if (!(sv[7] > 1e-10 * sv[0])) return false;
  const Eigen::VectorXd x = svd.matrixV().col(8);
  Mat2D hn;
  hn << x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], x[8];
  Mat2D tq_inv;
  if (!InvertHomMat(tq, &tq_inv)) return false;
  *h = tq_inv * hn * tp;
  const double last = (*h)(2, 2);
  *h /= std::fabs(last) > 1e-12 * h->cwiseAbs().maxCoeff() ? last : h->norm();
  return h->allFinite() && std::fabs(h->determinant()) > 0.0;
}

// Reads the method of input `par`: true for "normalized_dlt".
Vresult GetMethod(const OpContext& ctx, int par, bool* normalize) {
  const char* method = nullptr;
  const Vresult rc = ctx.GetString(par, &method);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(method, "normalized_dlt") == 0) *normalize = true;
  else if (std::strcmp(method, "dlt") == 0) *normalize = false;
  else return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

// Homogeneous points from the inputs `pars` (x, y and optionally w; a
// single value stands for every point); without w it is 1.
Vresult GetHomPoints(const OpContext& ctx, std::initializer_list<int> pars,
                     HomPoints* out) {
  std::vector<std::vector<double>> v;
  const Vresult rc = GetPointTuples(ctx, pars, &v);
  if (rc != VRESULT_OK) return rc;
  out->resize(3, static_cast<Eigen::Index>(v[0].size()));
  for (size_t i = 0; i < v[0].size(); ++i)
    for (int k = 0; k < 3; ++k)
      (*out)(k, i) = k < static_cast<int>(v.size()) ? v[k][i] : 1.0;
  return VRESULT_OK;
}

// Fits q ~ H p; `q_par` is the first input of q, `method_par` the method.
Vresult FitProjective(OpContext& ctx, const HomPoints& p, const HomPoints& q,
                      int q_par, int method_par) {
  bool normalize = true;
  const Vresult rc = GetMethod(ctx, method_par, &normalize);
  if (rc != VRESULT_OK) return rc;
  if (p.cols() != q.cols()) return VERR_CTRL_NUM(q_par);
  if (p.cols() < 4) return VERR_CTRL_NUM(0);
  Mat2D h;
  if (!SolveDlt(p, q, normalize, &h)) return VERR_CTRL_VALUE(0);
  return SetMatRows(ctx, 0, h, 3);
}

}  // namespace

VEXA_OPERATOR(hom_vector_to_proj_hom_mat2d) {
  HomPoints p, q;
  Vresult rc = GetHomPoints(ctx, {0, 1, 2}, &p);
  if (rc == VRESULT_OK) rc = GetHomPoints(ctx, {3, 4, 5}, &q);
  if (rc != VRESULT_OK) return rc;
  return FitProjective(ctx, p, q, 3, 6);
}

// The covariance inputs serve estimators weighted by point accuracy; the
// linear methods do not use them, and the output covariance stays empty.
VEXA_OPERATOR(vector_to_proj_hom_mat2d) {
  HomPoints p, q;
  Vresult rc = GetHomPoints(ctx, {0, 1}, &p);
  if (rc == VRESULT_OK) rc = GetHomPoints(ctx, {2, 3}, &q);
  if (rc == VRESULT_OK) rc = FitProjective(ctx, p, q, 2, 4);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpEmpty(1);
}

}  // namespace vexa
