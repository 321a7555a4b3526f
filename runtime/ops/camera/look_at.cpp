// The pose of a camera placed at a point and aimed at another.
#include <cmath>
#include <cstring>

#include "ops/common/named_values.h"
#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {
namespace {

// The normal of the reference plane at input `par`: "x", "-x", "y", "-y",
// "z", "-z" or three numbers, not all 0.
Vresult GetPlaneNormal(const OpContext& ctx, int par, Eigen::Vector3d* n) {
  static const Named<int> kAxes[] = {{"x", 1}, {"-x", -1}, {"y", 2}, {"-y", -2}, {"z", 3}, {"-z", -3}};
  const char* name = nullptr;
  if (ctx.CtrlNum(par) == 1 && ctx.GetString(par, &name) == VRESULT_OK) {
    int axis = 0;
    if (!LookUpName(kAxes, name, &axis)) return VERR_CTRL_VALUE(par);
    *n = Eigen::Vector3d::Unit(std::abs(axis) - 1) * (axis < 0 ? -1.0 : 1.0);
    return VRESULT_OK;
  }
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 3) return VERR_CTRL_NUM(par);
  *n = Eigen::Vector3d(v[0], v[1], v[2]);
  return n->norm() > 0.0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace

// The camera's z axis points from the camera to the look-at point; with
// roll 0 its x axis (the image columns) lies parallel to the reference
// plane and its y axis (the image rows, downwards) points against the
// plane's normal, so the normal is "up" in the image. A roll turns x and y
// about z (radians, right-handed). The pose maps camera coordinates to
// world coordinates (type 0).
VEXA_OPERATOR(create_cam_pose_look_at_point) {
  double v[6];
  Eigen::Vector3d normal;
  double roll = 0.0;
  Vresult rc = VRESULT_OK;
  for (int i = 0; i < 6 && rc == VRESULT_OK; ++i) rc = GetFiniteDouble(ctx, i, &v[i]);
  if (rc == VRESULT_OK) rc = GetPlaneNormal(ctx, 6, &normal);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 7, &roll);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Vector3d position(v[0], v[1], v[2]);
  const Eigen::Vector3d view = Eigen::Vector3d(v[3], v[4], v[5]) - position;
  if (!(view.norm() > 0.0)) return VERR_CTRL_VALUE(3);
  const Eigen::Vector3d z = view.normalized();
  const Eigen::Vector3d across = z.cross(normal.normalized());
  // A view along the normal leaves the direction of the rows open.
  if (!(across.norm() > 1e-9)) return VERR_CTRL_VALUE(6);
  const Eigen::Vector3d x0 = across.normalized();
  const Eigen::Vector3d y0 = z.cross(x0);
  Mat3D m = Mat3D::Identity();
  m.col(0).head<3>() = std::cos(roll) * x0 + std::sin(roll) * y0;
  m.col(1).head<3>() = -std::sin(roll) * x0 + std::cos(roll) * y0;
  m.col(2).head<3>() = z;
  m.col(3).head<3>() = position;
  return SetPose(ctx, 0, m, PoseType(), 0);
}

}  // namespace vexa
