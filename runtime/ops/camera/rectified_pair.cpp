#include "ops/camera/rectified_pair.h"

#include <algorithm>
#include <cmath>

#include "ops/camera/projection.h"
#include "ops/math/pose.h"

namespace vexa {
namespace {

// Relative tolerance of the conditions on a rectified pair.
constexpr double kRectifiedTolerance = 1e-6;

bool Near(double a, double b) {
  return std::fabs(a - b) <= kRectifiedTolerance * std::max(std::fabs(a), std::fabs(b));
}

}  // namespace

Vresult GetRectifiedPair(const OpContext& ctx, RectifiedPair* pair) {
  CamPar c1, c2;
  Mat3D rel;
  PoseType type;
  Vresult rc = GetCamPar(ctx, 0, &c1);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &c2);
  if (rc == VRESULT_OK) rc = GetPose(ctx, 2, &rel, &type);
  if (rc != VRESULT_OK) return rc;
  if (c1.HasDistortion()) return VERR_CTRL_VALUE(0);
  if (c2.HasDistortion() || !Near(c1.focus / c1.sx, c2.focus / c2.sx) ||
      !Near(c1.focus / c1.sy, c2.focus / c2.sy) || !Near(c1.cy, c2.cy))
    return VERR_CTRL_VALUE(1);
  const Eigen::Vector3d t = rel.topRightCorner<3, 1>();
  const double off_axis = std::hypot(t.y(), t.z());
  if (!rel.topLeftCorner<3, 3>().isIdentity(kRectifiedTolerance) || !(std::fabs(t.x()) > 0.0) ||
      off_axis > kRectifiedTolerance * std::fabs(t.x()))
    return VERR_CTRL_VALUE(2);
  pair->scale = c1.focus / c1.sx * t.x();
  pair->offset = c2.cx - c1.cx;
  pair->first = c1;
  return VRESULT_OK;
}

Vresult DistanceOfDisparity(const RectifiedPair& pair, double disparity, double* z) {
  *z = pair.scale / (pair.offset - disparity);
  return *z > 0.0 && std::isfinite(*z) ? VRESULT_OK : VERR_CAM_BEHIND;
}

Vresult PointOfDisparity(const RectifiedPair& pair, double row, double col, double disparity,
                         Eigen::Vector3d* point) {
  double z = 0.0;
  Vresult rc = DistanceOfDisparity(pair, disparity, &z);
  if (rc != VRESULT_OK) return rc;
  Eigen::Vector3d ray;
  rc = PixelRay(pair.first, row, col, &ray);
  if (rc != VRESULT_OK) return rc;
  *point = ray * (z / ray.z());
  return VRESULT_OK;
}

}  // namespace vexa
