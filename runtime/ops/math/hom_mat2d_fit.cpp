// 2D matrices estimated from point correspondences (px, py) -> (qx, qy),
// in the least-squares sense: affine, rigid, similarity, anisotropic
// (rotation of an axis-wise scaling) and projective (direct linear
// transform). Degenerate configurations, which do not fix the matrix, are
// refused with VERR_CTRL_VALUE of the first point parameter.
#include <cstring>

#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

using Points = Eigen::Matrix<double, 2, Eigen::Dynamic>;

// Correspondences of inputs 0..3, at least `min_points`, as 2xN matrices.
Vresult GetPairs(const OpContext& ctx, size_t min_points, Points* p, Points* q) {
  std::vector<std::vector<double>> v;
  const Vresult rc = GetPointTuples(ctx, {0, 1, 2, 3}, &v);
  if (rc != VRESULT_OK) return rc;
  const size_t n = v[0].size();
  for (int k = 0; k < 4; ++k)
    if (v[k].size() != n) return VERR_CTRL_NUM(k);
  if (n < min_points) return VERR_CTRL_NUM(0);
  p->resize(2, n);
  q->resize(2, n);
  for (size_t i = 0; i < n; ++i) {
    (*p)(0, i) = v[0][i], (*p)(1, i) = v[1][i];
    (*q)(0, i) = v[2][i], (*q)(1, i) = v[3][i];
  }
  return VRESULT_OK;
}

Mat2D FromLinear(const Eigen::Matrix2d& a, const Eigen::Vector2d& t) {
  Mat2D m = Mat2D::Identity();
  m.topLeftCorner<2, 2>() = a;
  m.topRightCorner<2, 1>() = t;
  return m;
}

// Rotation (and for `with_scale` a uniform scale) plus translation that
// fits p onto q best, without reflection.
Vresult FitSimilarity(OpContext& ctx, bool with_scale) {
  Points p, q;
  Vresult rc = GetPairs(ctx, 2, &p, &q);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Vector2d pc = p.rowwise().mean(), qc = q.rowwise().mean();
  const Points pd = p.colwise() - pc, qd = q.colwise() - qc;
  const double var = pd.squaredNorm();
  if (!(var > 1e-12 * (1.0 + pc.squaredNorm()) * p.cols())) return VERR_CTRL_VALUE(0);
  const Eigen::Matrix2d cov = qd * pd.transpose();
  // The rotation maximising trace(R^T cov) turns by atan2 of the
  // antisymmetric over the symmetric part.
  const double phi = std::atan2(cov(1, 0) - cov(0, 1), cov(0, 0) + cov(1, 1));
  Eigen::Matrix2d r;
  r << std::cos(phi), -std::sin(phi), std::sin(phi), std::cos(phi);
  const double s = with_scale ? (r.transpose() * cov).trace() / var : 1.0;
  if (!(s > 0.0)) return VERR_CTRL_VALUE(0);
  return SetHomMat2D(ctx, 0, FromLinear(s * r, qc - s * r * pc));
}

}  // namespace

VEXA_OPERATOR(vector_to_rigid) { return FitSimilarity(ctx, false); }

VEXA_OPERATOR(vector_to_similarity) { return FitSimilarity(ctx, true); }

// q = R(phi) * diag(sx, sy) * p + t with sx > 0. For a fixed phi the
// scales and t are linear, and what remains is the largest value of a
// quadratic form in (cos phi, sin phi): the top eigenvector of a 2x2
// matrix gives phi exactly.
VEXA_OPERATOR(vector_to_aniso) {
  Points p, q;
  Vresult rc = GetPairs(ctx, 2, &p, &q);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Vector2d pc = p.rowwise().mean(), qc = q.rowwise().mean();
  const Points pd = p.colwise() - pc, qd = q.colwise() - qc;
  const double sxx = pd.row(0).squaredNorm(), syy = pd.row(1).squaredNorm();
  const double tiny = 1e-12 * (1.0 + pc.squaredNorm()) * p.cols();
  if (!(sxx > tiny) || !(syy > tiny)) return VERR_CTRL_VALUE(0);
  const Eigen::Matrix2d c = qd * pd.transpose();  // c(a, b) = sum q_a p_b
  const Eigen::Vector2d alpha(c(0, 0), c(1, 0)), beta(c(1, 1), -c(0, 1));
  const Eigen::Matrix2d form =
      alpha * alpha.transpose() / sxx + beta * beta.transpose() / syy;
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> eig(form);
  Eigen::Vector2d v = eig.eigenvectors().col(1);
  if (alpha.dot(v) < 0.0) v = -v;
  Eigen::Matrix2d r;
  r << v[0], -v[1], v[1], v[0];
  const double sx = alpha.dot(v) / sxx, sy = beta.dot(v) / syy;
  const Eigen::Matrix2d a = r * Eigen::Vector2d(sx, sy).asDiagonal();
  return SetHomMat2D(ctx, 0, FromLinear(a, qc - a * pc));
}

// The general affine map; needs three points that are not collinear.
VEXA_OPERATOR(vector_to_hom_mat2d) {
  Points p, q;
  Vresult rc = GetPairs(ctx, 3, &p, &q);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Vector2d pc = p.rowwise().mean(), qc = q.rowwise().mean();
  const Points pd = p.colwise() - pc, qd = q.colwise() - qc;
  const Eigen::Matrix2d spp = pd * pd.transpose();
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> eig(spp);
  if (!(eig.eigenvalues()[0] > 1e-12 * (1.0 + eig.eigenvalues()[1])))
    return VERR_CTRL_VALUE(0);
  const Eigen::Matrix2d a = (qd * pd.transpose()) * spp.inverse();
  return SetHomMat2D(ctx, 0, FromLinear(a, qc - a * pc));
}

// Turns by angle2 - angle1 about (row1, column1) and then moves that point
// to (row2, column2).
VEXA_OPERATOR(vector_angle_to_rigid) {
  double v[6];
  for (int i = 0; i < 6; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, i, &v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  const double phi = v[5] - v[2];
  Eigen::Matrix2d r;
  r << std::cos(phi), -std::sin(phi), std::sin(phi), std::cos(phi);
  const Eigen::Vector2d p1(v[0], v[1]), p2(v[3], v[4]);
  return SetHomMat2D(ctx, 0, FromLinear(r, p2 - r * p1));
}

}  // namespace vexa
