// Operators on poses: making them, converting between their types and to
// matrices and quaternions, inverting, composing and averaging them.
#include <cmath>
#include <cstring>

#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {
namespace {

// The three type names of inputs first_par.. (transform, rotation, view).
Vresult GetPoseTypeNames(const OpContext& ctx, int first_par, PoseType* type) {
  const char* s[3] = {};
  for (int i = 0; i < 3; ++i) {
    const Vresult rc = ctx.GetString(first_par + i, &s[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return ParsePoseType(s[0], s[1], s[2], first_par, type);
}

}  // namespace

VEXA_OPERATOR(create_pose) {
  double v[7];
  for (int i = 0; i < 6; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, i, &v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  PoseType type;
  const Vresult rc = GetPoseTypeNames(ctx, 6, &type);
  if (rc != VRESULT_OK) return rc;
  CtrlValues out;
  for (int i = 0; i < 6; ++i) out.Add(v[i]);
  out.Add(type.code());
  return ctx.SetOutpValues(0, out);
}

VEXA_OPERATOR(convert_pose_type) {
  Mat3D m;
  PoseType in, out;
  Vresult rc = GetPose(ctx, 0, &m, &in);
  if (rc == VRESULT_OK) rc = GetPoseTypeNames(ctx, 1, &out);
  if (rc != VRESULT_OK) return rc;
  return SetPose(ctx, 0, m, out, 2);
}

VEXA_OPERATOR(pose_to_hom_mat3d) {
  Mat3D m;
  PoseType type;
  const Vresult rc = GetPose(ctx, 0, &m, &type);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat3D(ctx, 0, m);
}

// The pose of type 0 ("Rp+T", "gba", "point"); the matrix must be rigid.
VEXA_OPERATOR(hom_mat3d_to_pose) {
  Mat3D m;
  const Vresult rc = GetHomMat3D(ctx, 0, &m);
  if (rc != VRESULT_OK) return rc;
  return SetPose(ctx, 0, m, PoseType{}, 0);
}

VEXA_OPERATOR(pose_invert) {
  Mat3D m;
  PoseType type;
  const Vresult rc = GetPose(ctx, 0, &m, &type);
  if (rc != VRESULT_OK) return rc;
  Mat3D inv = Mat3D::Identity();
  inv.topLeftCorner<3, 3>() = m.topLeftCorner<3, 3>().transpose();
  inv.topRightCorner<3, 1>() = -inv.topLeftCorner<3, 3>() * m.topRightCorner<3, 1>();
  return SetPose(ctx, 0, inv, type, 0);
}

// The names of the pose's type: transform order, rotation order, view.
VEXA_OPERATOR(get_pose_type) {
  Mat3D m;
  PoseType type;
  Vresult rc = GetPose(ctx, 0, &m, &type);
  if (rc != VRESULT_OK) return rc;
  const char* rotation = type.rotation == 0 ? "gba" : type.rotation == 2 ? "abg" : "rodriguez";
  rc = ctx.SetOutpString(0, type.minus_t ? "R(p-T)" : "Rp+T");
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(1, rotation);
  return rc == VRESULT_OK ? ctx.SetOutpString(2, type.coordinate_system ? "coordinate_system" : "point") : rc;
}

// The pose with its origin moved by (dx, dy, dz), measured in the pose's
// own coordinates: the point map after the shift, in the pose's type.
VEXA_OPERATOR(set_origin_pose) {
  Mat3D m;
  PoseType type;
  double d[3];
  Vresult rc = GetPose(ctx, 0, &m, &type);
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) {
    rc = ctx.GetDouble(1 + k, &d[k]);
    if (rc == VRESULT_OK && !std::isfinite(d[k])) rc = VERR_CTRL_VALUE(1 + k);
  }
  if (rc != VRESULT_OK) return rc;
  Mat3D shift = Mat3D::Identity();
  shift.topRightCorner<3, 1>() = Eigen::Vector3d(d[0], d[1], d[2]);
  return SetPose(ctx, 0, m * shift, type, 0);
}

// left after right: the map of pose_left times that of pose_right, in the
// type of pose_left.
VEXA_OPERATOR(pose_compose) {
  Mat3D a, b;
  PoseType ta, tb;
  Vresult rc = GetPose(ctx, 0, &a, &ta);
  if (rc == VRESULT_OK) rc = GetPose(ctx, 1, &b, &tb);
  if (rc != VRESULT_OK) return rc;
  return SetPose(ctx, 0, a * b, ta, 0);
}

// The rotation of the pose's point map, with w >= 0.
VEXA_OPERATOR(pose_to_quat) {
  Mat3D m;
  PoseType type;
  const Vresult rc = GetPose(ctx, 0, &m, &type);
  if (rc != VRESULT_OK) return rc;
  Eigen::Quaterniond q(Eigen::Matrix3d(m.topLeftCorner<3, 3>()));
  if (q.w() < 0.0) q.coeffs() = -q.coeffs();
  return SetQuat(ctx, 0, q);
}

// A pose of type 0 with no translation.
VEXA_OPERATOR(quat_to_pose) {
  Eigen::Quaterniond q;
  const Vresult rc = GetQuat(ctx, 0, true, &q);
  if (rc != VRESULT_OK) return rc;
  Mat3D m = Mat3D::Identity();
  m.topLeftCorner<3, 3>() = q.toRotationMatrix();
  return SetPose(ctx, 0, m, PoseType{}, 0);
}

// Weighted mean of poses (all given in one tuple, 7 values each): the mean
// translation, and the rotation whose quaternion maximises the weighted
// sum of squared dot products with theirs (the top eigenvector of their
// weighted scatter matrix). Weights: none (all equal), one per pose, all
// >= 0 and not all 0. Only mode "iterative" is known; the sigmas serve
// robust modes and are not read. Quality: the weighted root mean square
// distance of the translations and of the rotation angles (degrees) from
// the mean. The result has the type of the first pose.
VEXA_OPERATOR(pose_average) {
  std::vector<double> poses, weights;
  const char* mode = nullptr;
  Vresult rc = GetFiniteDoubles(ctx, 0, &poses);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 1, &weights);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &mode);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(mode, "iterative") != 0) return VERR_CTRL_VALUE(2);
  if (poses.empty() || poses.size() % 7 != 0) return VERR_CTRL_NUM(0);
  const size_t n = poses.size() / 7;
  if (weights.empty()) weights.assign(n, 1.0);
  if (weights.size() != n) return VERR_CTRL_NUM(1);
  double wsum = 0.0;
  for (double w : weights) {
    if (w < 0.0) return VERR_CTRL_VALUE(1);
    wsum += w;
  }
  if (!(wsum > 0.0)) return VERR_CTRL_VALUE(1);
  std::vector<Mat3D> maps(n);
  std::vector<Eigen::Quaterniond> quats(n);
  Eigen::Vector3d tmean = Eigen::Vector3d::Zero();
  Eigen::Matrix4d scatter = Eigen::Matrix4d::Zero();
  for (size_t i = 0; i < n; ++i) {
    if (!PoseToMatrix(&poses[7 * i], &maps[i])) return VERR_CTRL_VALUE(0);
    quats[i] = Eigen::Quaterniond(Eigen::Matrix3d(maps[i].topLeftCorner<3, 3>()));
    tmean += weights[i] * maps[i].topRightCorner<3, 1>();
    const Eigen::Vector4d c = quats[i].coeffs();
    scatter += weights[i] * c * c.transpose();
  }
  tmean /= wsum;
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix4d> eig(scatter);
  const Eigen::Vector4d top = eig.eigenvectors().col(3);
  const Eigen::Quaterniond qmean(top[3], top[0], top[1], top[2]);
  double dt = 0.0, dr = 0.0;
  for (size_t i = 0; i < n; ++i) {
    dt += weights[i] * (maps[i].topRightCorner<3, 1>() - tmean).squaredNorm();
    const double angle = qmean.angularDistance(quats[i]) * 180.0 / M_PI;
    dr += weights[i] * angle * angle;
  }
  PoseType type;
  DecodePoseType(poses[6], &type);
  Mat3D mean = Mat3D::Identity();
  mean.topLeftCorner<3, 3>() = qmean.normalized().toRotationMatrix();
  mean.topRightCorner<3, 1>() = tmean;
  rc = SetPose(ctx, 0, mean, type, 0);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpDoubles(1, {std::sqrt(dt / wsum), std::sqrt(dr / wsum)});
}

}  // namespace vexa
