// Applying 2D matrices to points. Coordinate tuples are read in parallel;
// a tuple of one value stands for every point.
//
// The image and region transforms take a matrix on pixel centres, which lie
// at integer (row, column); affine_trans_pixel and projective_trans_pixel
// therefore map pixel coordinates exactly as the point forms do, and exist
// so that a program can say which coordinates it means.
#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

// Maps the points of inputs 1, 2 through the affine matrix of input 0 to
// outputs 0, 1.
Vresult AffinePoints(OpContext& ctx) {
  Mat2D m;
  std::vector<std::vector<double>> p;
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {1, 2}, &p);
  if (rc != VRESULT_OK) return rc;
  const size_t n = p[0].size();
  std::vector<double> qx(n), qy(n);
  for (size_t i = 0; i < n; ++i) {
    qx[i] = m(0, 0) * p[0][i] + m(0, 1) * p[1][i] + m(0, 2);
    qy[i] = m(1, 0) * p[0][i] + m(1, 1) * p[1][i] + m(1, 2);
  }
  rc = ctx.SetOutpDoubles(0, qx);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, qy) : rc;
}

}  // namespace

VEXA_OPERATOR(affine_trans_point_2d) { return AffinePoints(ctx); }

VEXA_OPERATOR(affine_trans_pixel) { return AffinePoints(ctx); }

// Homogeneous points (px, py, pw) to (qx, qy, qw), without division.
VEXA_OPERATOR(projective_trans_point_2d) {
  Mat2D m;
  std::vector<std::vector<double>> p;
  Vresult rc = GetProjMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {1, 2, 3}, &p);
  if (rc != VRESULT_OK) return rc;
  const size_t n = p[0].size();
  std::vector<std::vector<double>> q(3, std::vector<double>(n));
  for (size_t i = 0; i < n; ++i) {
    const Eigen::Vector3d v = m * Eigen::Vector3d(p[0][i], p[1][i], p[2][i]);
    for (int k = 0; k < 3; ++k) q[k][i] = v[k];
  }
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpDoubles(k, q[k]);
  return rc;
}

// Pixels (row, column) through a projective matrix, divided by the third
// coordinate; a pixel mapped to infinity is VERR_CTRL_VALUE(0).
VEXA_OPERATOR(projective_trans_pixel) {
  Mat2D m;
  std::vector<std::vector<double>> p;
  Vresult rc = GetProjMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {1, 2}, &p);
  if (rc != VRESULT_OK) return rc;
  const size_t n = p[0].size();
  std::vector<double> r(n), c(n);
  for (size_t i = 0; i < n; ++i) {
    const Eigen::Vector3d v = m * Eigen::Vector3d(p[0][i], p[1][i], 1.0);
    if (v[2] == 0.0) return VERR_CTRL_VALUE(0);
    r[i] = v[0] / v[2];
    c[i] = v[1] / v[2];
  }
  rc = ctx.SetOutpDoubles(0, r);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, c) : rc;
}

}  // namespace vexa
