// Quaternion operators (w, x, y, z): products, conjugation, normalisation,
// conversion to rotation matrices and rotation of points, and spherical
// interpolation. A rotation needs a non-zero quaternion and uses it
// normalised.
#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {

// left * right: the rotation of right first.
VEXA_OPERATOR(quat_compose) {
  Eigen::Quaterniond a, b;
  Vresult rc = GetQuat(ctx, 0, false, &a);
  if (rc == VRESULT_OK) rc = GetQuat(ctx, 1, false, &b);
  if (rc != VRESULT_OK) return rc;
  return SetQuat(ctx, 0, a * b);
}

VEXA_OPERATOR(quat_conjugate) {
  Eigen::Quaterniond q;
  const Vresult rc = GetQuat(ctx, 0, false, &q);
  if (rc != VRESULT_OK) return rc;
  return SetQuat(ctx, 0, q.conjugate());
}

VEXA_OPERATOR(quat_normalize) {
  Eigen::Quaterniond q;
  const Vresult rc = GetQuat(ctx, 0, true, &q);
  if (rc != VRESULT_OK) return rc;
  return SetQuat(ctx, 0, q);
}

VEXA_OPERATOR(quat_to_hom_mat3d) {
  Eigen::Quaterniond q;
  const Vresult rc = GetQuat(ctx, 0, true, &q);
  if (rc != VRESULT_OK) return rc;
  Mat3D m = Mat3D::Identity();
  m.topLeftCorner<3, 3>() = q.toRotationMatrix();
  return SetHomMat3D(ctx, 0, m);
}

// One point (single values), rotated about the origin.
VEXA_OPERATOR(quat_rotate_point_3d) {
  Eigen::Quaterniond q;
  Eigen::Vector3d p;
  Vresult rc = GetQuat(ctx, 0, true, &q);
  for (int i = 0; i < 3 && rc == VRESULT_OK; ++i) rc = GetFiniteDouble(ctx, 1 + i, &p[i]);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Vector3d r = q * p;
  for (int i = 0; i < 3 && rc == VRESULT_OK; ++i) rc = ctx.SetOutpDouble(i, r[i]);
  return rc;
}

// Rotation by `angle` (radians, right-handed) about the axis.
VEXA_OPERATOR(axis_angle_to_quat) {
  double v[4];
  for (int i = 0; i < 4; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, i, &v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  const Eigen::Vector3d axis(v[0], v[1], v[2]);
  if (!(axis.norm() > 0.0)) return VERR_CTRL_VALUE(0);
  return SetQuat(ctx, 0, Eigen::Quaterniond(Eigen::AngleAxisd(v[3], axis.normalized())));
}

// Spherical linear interpolation along the shorter arc, at each position
// of input 2 (0 gives the start, 1 the end); one quaternion (4 values)
// per position, in order.
VEXA_OPERATOR(quat_interpolate) {
  Eigen::Quaterniond a, b;
  std::vector<double> t;
  Vresult rc = GetQuat(ctx, 0, true, &a);
  if (rc == VRESULT_OK) rc = GetQuat(ctx, 1, true, &b);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 2, &t);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> out;
  for (double s : t) {
    const Eigen::Quaterniond q = a.slerp(s, b);
    out.insert(out.end(), {q.w(), q.x(), q.y(), q.z()});
  }
  return ctx.SetOutpDoubles(0, out);
}

}  // namespace vexa
