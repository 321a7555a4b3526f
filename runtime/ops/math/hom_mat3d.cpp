// Building and applying 3D homogeneous matrices (12 values, the rows of a
// 3x4 matrix; projective ones 16): elementary steps applied after the
// matrix or, for "_local", before it; composition, inversion,
// transposition, determinant; points through affine and projective maps;
// and the affine, rigid or similarity map fitted to point pairs.
#include <cstring>

#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {
namespace {

Mat3D Translation(const Eigen::Vector3d& t) {
  Mat3D m = Mat3D::Identity();
  m.topRightCorner<3, 1>() = t;
  return m;
}

Mat3D Linear(const Eigen::Matrix3d& a) {
  Mat3D m = Mat3D::Identity();
  m.topLeftCorner<3, 3>() = a;
  return m;
}

// Three single finite numbers from inputs first..first+2.
Vresult GetVector3(const OpContext& ctx, int first, Eigen::Vector3d* v) {
  for (int i = 0; i < 3; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, first + i, &(*v)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// The rotation by input `phi_par` (radians, right-handed) about the axis of
// input `axis_par`: "x", "y", "z" or three numbers.
Vresult GetRotation(const OpContext& ctx, int phi_par, int axis_par, Mat3D* r) {
  double phi = 0.0;
  Vresult rc = GetFiniteDouble(ctx, phi_par, &phi);
  if (rc != VRESULT_OK) return rc;
  Eigen::Vector3d axis;
  const char* name = nullptr;
  if (ctx.CtrlNum(axis_par) == 1 && ctx.GetString(axis_par, &name) == VRESULT_OK) {
    if (std::strlen(name) != 1 || name[0] < 'x' || name[0] > 'z') return VERR_CTRL_VALUE(axis_par);
    axis = Eigen::Vector3d::Unit(name[0] - 'x');
  } else {
    std::vector<double> v;
    rc = GetFiniteDoubles(ctx, axis_par, &v);
    if (rc != VRESULT_OK) return rc;
    if (v.size() != 3) return VERR_CTRL_NUM(axis_par);
    axis = Eigen::Vector3d(v[0], v[1], v[2]);
    if (!(axis.norm() > 0.0)) return VERR_CTRL_VALUE(axis_par);
  }
  *r = Linear(Eigen::AngleAxisd(phi, axis.normalized()).toRotationMatrix());
  return VRESULT_OK;
}

Mat3D AboutPoint(const Mat3D& step, const Eigen::Vector3d& p, const Mat3D& m) {
  return Translation(p) * step * Translation(-p) * m;
}

// Writes a matrix in the form it came in: 12 values for an affine one.
Vresult SetInForm(OpContext& ctx, int par, const Mat3D& m, bool projective) {
  return SetMatRows(ctx, par, m, projective ? 4 : 3);
}

// Points of inputs 1..3 (and 4 for w when `with_w`) as columns.
Vresult GetPoints3(const OpContext& ctx, bool with_w, Eigen::Matrix4Xd* p) {
  std::vector<std::vector<double>> v;
  const Vresult rc = with_w ? GetPointTuples(ctx, {1, 2, 3, 4}, &v)
                            : GetPointTuples(ctx, {1, 2, 3}, &v);
  if (rc != VRESULT_OK) return rc;
  p->resize(4, static_cast<Eigen::Index>(v[0].size()));
  for (size_t i = 0; i < v[0].size(); ++i)
    for (int k = 0; k < 4; ++k) (*p)(k, i) = k < static_cast<int>(v.size()) ? v[k][i] : 1.0;
  return VRESULT_OK;
}

Vresult SetRows(OpContext& ctx, const Eigen::MatrixXd& q, int rows) {
  Vresult rc = VRESULT_OK;
  for (int k = 0; k < rows && rc == VRESULT_OK; ++k) {
    const Eigen::VectorXd row = q.row(k).transpose();
    rc = ctx.SetOutpDoubles(k, std::vector<double>(row.data(), row.data() + row.size()));
  }
  return rc;
}

}  // namespace

VEXA_OPERATOR(hom_mat3d_identity) { return SetHomMat3D(ctx, 0, Mat3D::Identity()); }

VEXA_OPERATOR(hom_mat3d_translate) {
  Mat3D m;
  Eigen::Vector3d t;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 1, &t);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, Translation(t) * m);
}

VEXA_OPERATOR(hom_mat3d_translate_local) {
  Mat3D m;
  Eigen::Vector3d t;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 1, &t);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, m * Translation(t));
}

VEXA_OPERATOR(hom_mat3d_scale) {
  Mat3D m;
  Eigen::Vector3d s, p;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 1, &s);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 4, &p);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, AboutPoint(Linear(s.asDiagonal()), p, m));
}

VEXA_OPERATOR(hom_mat3d_scale_local) {
  Mat3D m;
  Eigen::Vector3d s;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 1, &s);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, m * Linear(s.asDiagonal()));
}

VEXA_OPERATOR(hom_mat3d_rotate) {
  Mat3D m, r;
  Eigen::Vector3d p;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetRotation(ctx, 1, 2, &r);
  if (rc == VRESULT_OK) rc = GetVector3(ctx, 3, &p);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, AboutPoint(r, p, m));
}

VEXA_OPERATOR(hom_mat3d_rotate_local) {
  Mat3D m, r;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetRotation(ctx, 1, 2, &r);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, m * r);
}

VEXA_OPERATOR(hom_mat3d_compose) {
  Mat3D a, b;
  bool pa = false, pb = false;
  Vresult rc = GetAnyMat3D(ctx, 0, &a, &pa);
  if (rc == VRESULT_OK) rc = GetAnyMat3D(ctx, 1, &b, &pb);
  if (rc != VRESULT_OK) return rc;
  return SetInForm(ctx, 0, a * b, pa || pb);
}

VEXA_OPERATOR(hom_mat3d_invert) {
  Mat3D m, inv;
  bool projective = false;
  const Vresult rc = GetAnyMat3D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  if (!InvertHomMat(m, &inv)) return VERR_CTRL_VALUE(0);
  return SetInForm(ctx, 0, inv, projective);
}

// The transposed 4x4 matrix, always 16 values.
VEXA_OPERATOR(hom_mat3d_transpose) {
  Mat3D m;
  bool projective = false;
  const Vresult rc = GetAnyMat3D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  return SetInForm(ctx, 0, m.transpose(), true);
}

VEXA_OPERATOR(hom_mat3d_determinant) {
  Mat3D m;
  bool projective = false;
  const Vresult rc = GetAnyMat3D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpDouble(0, m.determinant());
}

VEXA_OPERATOR(affine_trans_point_3d) {
  Mat3D m;
  Eigen::Matrix4Xd p;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetPoints3(ctx, false, &p);
  if (rc != VRESULT_OK) return rc;
  return SetRows(ctx, m * p, 3);
}

// Points through a 16-value matrix, divided by the fourth coordinate; a
// point mapped to infinity is VERR_CTRL_VALUE(0).
VEXA_OPERATOR(projective_trans_point_3d) {
  Mat3D m;
  bool projective = false;
  Eigen::Matrix4Xd p;
  Vresult rc = GetAnyMat3D(ctx, 0, &m, &projective);
  if (rc == VRESULT_OK && !projective) rc = VERR_CTRL_NUM(0);
  if (rc == VRESULT_OK) rc = GetPoints3(ctx, false, &p);
  if (rc != VRESULT_OK) return rc;
  Eigen::Matrix4Xd q = m * p;
  for (Eigen::Index i = 0; i < q.cols(); ++i) {
    if (q(3, i) == 0.0) return VERR_CTRL_VALUE(0);
    q.col(i) /= q(3, i);
  }
  return SetRows(ctx, q, 3);
}

// Homogeneous points (x, y, z, w) through a 16-value matrix, undivided.
VEXA_OPERATOR(projective_trans_hom_point_3d) {
  Mat3D m;
  bool projective = false;
  Eigen::Matrix4Xd p;
  Vresult rc = GetAnyMat3D(ctx, 0, &m, &projective);
  if (rc == VRESULT_OK && !projective) rc = VERR_CTRL_NUM(0);
  if (rc == VRESULT_OK) rc = GetPoints3(ctx, true, &p);
  if (rc != VRESULT_OK) return rc;
  return SetRows(ctx, m * p, 4);
}

// Least-squares map of the source points onto the target points:
// "affine" (4 points not in a plane), "rigid" or "similarity" (3 points
// not on a line; rotations without reflection).
VEXA_OPERATOR(vector_to_hom_mat3d) {
  const char* kind = nullptr;
  std::vector<std::vector<double>> v;
  Vresult rc = ctx.GetString(0, &kind);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {1, 2, 3, 4, 5, 6}, &v);
  if (rc != VRESULT_OK) return rc;
  const bool affine = std::strcmp(kind, "affine") == 0;
  const bool similarity = std::strcmp(kind, "similarity") == 0;
  if (!affine && !similarity && std::strcmp(kind, "rigid") != 0) return VERR_CTRL_VALUE(0);
  const Eigen::Index n = static_cast<Eigen::Index>(v[0].size());
  if (n < (affine ? 4 : 3)) return VERR_CTRL_NUM(1);
  Eigen::Matrix3Xd p(3, n), q(3, n);
  for (Eigen::Index i = 0; i < n; ++i)
    for (int k = 0; k < 3; ++k) p(k, i) = v[k][i], q(k, i) = v[3 + k][i];
  const Eigen::Vector3d pc = p.rowwise().mean(), qc = q.rowwise().mean();
  const Eigen::Matrix3Xd pd = p.colwise() - pc, qd = q.colwise() - qc;
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> spread(pd * pd.transpose());
  const Eigen::Vector3d ev = spread.eigenvalues();
  const double tiny = 1e-12 * (1.0 + ev[2]);
  if (!((affine ? ev[0] : ev[1]) > tiny)) return VERR_CTRL_VALUE(1);
  Mat3D m;
  if (affine) {
    const Eigen::Matrix3d a = (qd * pd.transpose()) * (pd * pd.transpose()).inverse();
    m = Translation(qc - a * pc) * Linear(a);
  } else {
    m = Eigen::umeyama(p, q, similarity);
  }
  if (!m.allFinite()) return VERR_CTRL_VALUE(1);
  return SetHomMat3D(ctx, 0, m);
}

}  // namespace vexa
