// Homogeneous transformation matrices as the operators exchange them.
//
// A 2D matrix travels as a tuple of 6 reals, the two rows of
// [a b c; d e f] acting on (x, y, 1) with x first (for pixels x is the row);
// a projective 2D matrix as 9 reals, all three rows. A 3D matrix travels as
// 12 reals, the three rows of a 3x4 matrix whose last column is the
// translation. These are the layouts of the interface's affine
// transformation classes, so values pass between them unchanged.
#pragma once

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "op_context.h"

namespace vexa {

using Mat2D = Eigen::Matrix3d;  // full 3x3 homogeneous matrix
using Mat3D = Eigen::Matrix4d;  // full 4x4 homogeneous matrix

// Values of input `par`, all finite numbers: VERR_CTRL_TYPE(par) for a
// string, VERR_CTRL_VALUE(par) for NaN or an infinity.
inline Vresult GetFiniteDoubles(const OpContext& ctx, int par,
                                std::vector<double>* v) {
  const Vresult rc = ctx.GetDoubles(par, *v);
  if (rc != VRESULT_OK) return rc;
  for (double x : *v)
    if (!std::isfinite(x)) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

// One finite number from input `par`.
inline Vresult GetFiniteDouble(const OpContext& ctx, int par, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  if (rc != VRESULT_OK) return rc;
  return std::isfinite(*v) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// An affine 2D matrix (6 values) from input `par`.
inline Vresult GetHomMat2D(const OpContext& ctx, int par, Mat2D* m) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 6) return VERR_CTRL_NUM(par);
  *m << v[0], v[1], v[2], v[3], v[4], v[5], 0.0, 0.0, 1.0;
  return VRESULT_OK;
}

// A 2D matrix of 6 (affine) or 9 (projective) values from input `par`;
// `projective` tells which form came in.
inline Vresult GetAnyMat2D(const OpContext& ctx, int par, Mat2D* m,
                           bool* projective) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 6 && v.size() != 9) return VERR_CTRL_NUM(par);
  *projective = v.size() == 9;
  *m << v[0], v[1], v[2], v[3], v[4], v[5], 0.0, 0.0, 1.0;
  if (*projective) m->row(2) << v[6], v[7], v[8];
  return VRESULT_OK;
}

// A projective 2D matrix (9 values) from input `par`.
inline Vresult GetProjMat2D(const OpContext& ctx, int par, Mat2D* m) {
  bool projective = false;
  const Vresult rc = GetAnyMat2D(ctx, par, m, &projective);
  if (rc != VRESULT_OK) return rc;
  return projective ? VRESULT_OK : VERR_CTRL_NUM(par);
}

// An affine 3D matrix (12 values) from input `par`.
inline Vresult GetHomMat3D(const OpContext& ctx, int par, Mat3D* m) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 12) return VERR_CTRL_NUM(par);
  m->setIdentity();
  for (int i = 0; i < 12; ++i) (*m)(i / 4, i % 4) = v[i];
  return VRESULT_OK;
}

// A 3D matrix of 12 (affine) or 16 (projective) values from input `par`.
inline Vresult GetAnyMat3D(const OpContext& ctx, int par, Mat3D* m,
                           bool* projective) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 12 && v.size() != 16) return VERR_CTRL_NUM(par);
  *projective = v.size() == 16;
  m->setIdentity();
  for (size_t i = 0; i < v.size(); ++i) (*m)(i / 4, i % 4) = v[i];
  return VRESULT_OK;
}

// Writes the first `rows` rows of a square matrix, row by row.
template <class M>
Vresult SetMatRows(OpContext& ctx, int par, const M& m, int rows) {
  std::vector<double> v;
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < m.cols(); ++c) v.push_back(m(r, c));
  return ctx.SetOutpDoubles(par, v);
}
inline Vresult SetHomMat2D(OpContext& ctx, int par, const Mat2D& m) {
  return SetMatRows(ctx, par, m, 2);
}
inline Vresult SetHomMat3D(OpContext& ctx, int par, const Mat3D& m) {
  return SetMatRows(ctx, par, m, 3);
}

// Inverse of a homogeneous matrix; false when it is singular (relative to
// the size of its entries) or the inverse is not finite.
template <class M>
bool InvertHomMat(const M& m, M* inv) {
  const double scale = m.cwiseAbs().maxCoeff();
  if (!(scale > 0.0)) return false;
  const M n = m / scale;
  const double det = n.determinant();
  if (!(std::fabs(det) > 1e-14)) return false;
  *inv = n.inverse() / scale;
  return inv->allFinite();
}

// Reads parallel coordinate tuples from inputs `pars` for a point-wise
// operator: all of one length, or of length 1 and then repeated for every
// point. VERR_CTRL_NUM of the first parameter whose length does not fit.
inline Vresult GetPointTuples(const OpContext& ctx, std::initializer_list<int> pars,
                              std::vector<std::vector<double>>* cols) {
  cols->clear();
  size_t n = 0;
  for (int par : pars) {
    cols->emplace_back();
    const Vresult rc = GetFiniteDoubles(ctx, par, &cols->back());
    if (rc != VRESULT_OK) return rc;
    n = std::max(n, cols->back().size());
  }
  int i = 0;
  for (int par : pars) {
    std::vector<double>& c = (*cols)[i++];
    if (c.size() == n) continue;
    if (c.size() != 1) return VERR_CTRL_NUM(par);
    c.assign(n, c[0]);
  }
  return VRESULT_OK;
}

}  // namespace vexa
