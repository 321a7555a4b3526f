// A distortion-free camera as a matrix: the 3x3 camera matrix of the
// camera alone, the 3x4 projection matrix of a camera and a pose, points
// through such a projection, and the plane-to-image map it induces.
#include <cmath>

#include "ops/camera/cam_par.h"
#include "ops/camera/point_columns.h"
#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {
namespace {

// Cell width given to a camera made from a camera matrix, which fixes
// only focus / sx and focus / sy.
constexpr double kCamMatCellSize = 1e-6;

// The camera at input `par`, which must have no distortion
// (VERR_CTRL_VALUE(par) otherwise: no matrix describes a lens distortion).
Vresult GetLinearCamPar(const OpContext& ctx, int par, CamPar* cam) {
  const Vresult rc = GetCamPar(ctx, par, cam);
  if (rc != VRESULT_OK) return rc;
  return cam->HasDistortion() ? VERR_CTRL_VALUE(par) : VRESULT_OK;
}

// The 3x4 projection matrix at input 0 and the points of inputs 1.. as
// homogeneous columns (w = 1 unless `with_w`), each projected.
Vresult ProjectPoints(const OpContext& ctx, bool with_w, Eigen::Matrix3Xd* q) {
  Mat3D m;
  std::vector<std::vector<double>> p;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK)
    rc = with_w ? GetPointTuples(ctx, {1, 2, 3, 4}, &p) : GetPointTuples(ctx, {1, 2, 3}, &p);
  if (rc != VRESULT_OK) return rc;
  Eigen::Matrix4Xd pts(4, static_cast<Eigen::Index>(p[0].size()));
  for (size_t i = 0; i < p[0].size(); ++i)
    pts.col(i) << p[0][i], p[1][i], p[2][i], with_w ? p[3][i] : 1.0;
  *q = m.topRows<3>() * pts;
  return VRESULT_OK;
}

PointColumns RowsOf(const Eigen::MatrixXd& m) {
  PointColumns cols(m.rows());
  for (Eigen::Index r = 0; r < m.rows(); ++r)
    for (Eigen::Index c = 0; c < m.cols(); ++c) cols[r].push_back(m(r, c));
  return cols;
}

}  // namespace

// The camera matrix [focus/sx 0 cx; 0 focus/sy cy; 0 0 1], which maps
// camera coordinates (x, y, z) to (column, row, 1) times z.
VEXA_OPERATOR(cam_par_to_cam_mat) {
  CamPar cam;
  const Vresult rc = GetLinearCamPar(ctx, 0, &cam);
  if (rc != VRESULT_OK) return rc;
  Eigen::Matrix3d k;
  k << cam.focus / cam.sx, 0.0, cam.cx, 0.0, cam.focus / cam.sy, cam.cy, 0.0, 0.0, 1.0;
  Vresult out = SetMatRows(ctx, 0, k, 3);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(1, cam.width);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(2, cam.height);
  return out;
}

// A division-model camera from a camera matrix (scaled so that its last
// entry is 1, no skew), kappa and the image size; sx = kCamMatCellSize.
VEXA_OPERATOR(cam_mat_to_cam_par) {
  Mat2D k;
  double kappa = 0.0, width = 0.0, height = 0.0;
  Vresult rc = GetProjMat2D(ctx, 0, &k);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &kappa);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &width);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &height);
  if (rc != VRESULT_OK) return rc;
  if (k(2, 2) == 0.0) return VERR_CTRL_VALUE(0);
  k /= k(2, 2);
  const double zero_tol = 1e-12 * k.cwiseAbs().maxCoeff();
  for (double v : {k(0, 1), k(1, 0), k(2, 0), k(2, 1)})
    if (std::fabs(v) > zero_tol) return VERR_CTRL_VALUE(0);
  if (!(k(0, 0) > 0.0 && k(1, 1) > 0.0)) return VERR_CTRL_VALUE(0);
  const double focus = k(0, 0) * kCamMatCellSize;
  const TupleValues values{TupleValue::String(CamModelName(CamModel::kDivision)),
                           TupleValue::Double(focus),
                           TupleValue::Double(kappa),
                           TupleValue::Double(kCamMatCellSize),
                           TupleValue::Double(focus / k(1, 1)),
                           TupleValue::Double(k(0, 2)),
                           TupleValue::Double(k(1, 2)),
                           TupleValue::Double(width),
                           TupleValue::Double(height)};
  CamPar cam;
  rc = CamParFromValues(values, 0, &cam);
  return rc == VRESULT_OK ? SetCamPar(ctx, 0, cam) : rc;
}

// The 3x4 matrix that maps world points to (row, column, 1) times the
// depth: [0 focus/sy cy; focus/sx 0 cx; 0 0 1] times the pose's map.
VEXA_OPERATOR(cam_par_pose_to_hom_mat3d) {
  CamPar cam;
  Mat3D pose;
  PoseType type;
  Vresult rc = GetLinearCamPar(ctx, 0, &cam);
  if (rc == VRESULT_OK) rc = GetPose(ctx, 1, &pose, &type);
  if (rc != VRESULT_OK) return rc;
  Mat3D k = Mat3D::Identity();
  k.topLeftCorner<3, 3>() << 0.0, cam.focus / cam.sy, cam.cy, cam.focus / cam.sx, 0.0, cam.cx,
      0.0, 0.0, 1.0;
  return SetHomMat3D(ctx, 0, k * pose);
}

// Points through a 3x4 projection matrix, divided by the third row; a
// point sent to infinity is VERR_CTRL_VALUE(0).
VEXA_OPERATOR(project_point_hom_mat3d) {
  Eigen::Matrix3Xd q;
  const Vresult rc = ProjectPoints(ctx, false, &q);
  if (rc != VRESULT_OK) return rc;
  for (Eigen::Index i = 0; i < q.cols(); ++i) {
    if (q(2, i) == 0.0) return VERR_CTRL_VALUE(0);
    q.col(i) /= q(2, i);
  }
  if (!q.allFinite()) return VERR_CTRL_VALUE(0);
  return SetOutpColumns(ctx, RowsOf(q.topRows<2>()));
}

// Homogeneous points through a 3x4 projection matrix, undivided.
VEXA_OPERATOR(project_hom_point_hom_mat3d) {
  Eigen::Matrix3Xd q;
  const Vresult rc = ProjectPoints(ctx, true, &q);
  return rc == VRESULT_OK ? SetOutpColumns(ctx, RowsOf(q)) : rc;
}

// The projective 2D map of the plane z = 0 through a 3x4 matrix whose rows
// give (r, c, w) relative to the principal point, c in units of the row
// spacing: (x, y) goes to row pr + r / w, column pc + c / (aspect w).
VEXA_OPERATOR(hom_mat3d_project) {
  Mat3D m;
  double pr = 0.0, pc = 0.0, aspect = 0.0;
  Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &pr);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 2, &pc);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 3, &aspect);
  if (rc != VRESULT_OK) return rc;
  if (!(aspect > 0.0)) return VERR_CTRL_VALUE(3);
  Mat2D plane;
  plane << m.block<3, 2>(0, 0), m.block<3, 1>(0, 3);
  Mat2D pixel;
  pixel << 1.0, 0.0, pr, 0.0, 1.0 / aspect, pc, 0.0, 0.0, 1.0;
  return SetMatRows(ctx, 0, Mat2D(pixel * plane), 3);
}

}  // namespace vexa
