#include "ops/camera/projection.h"

#include <cmath>

#include "ops/camera/distortion.h"
#include "ops/common/named_values.h"
#include "ops/math/pose.h"

namespace vexa {
namespace {

// Sine of the angle below which a line of sight counts as parallel to a
// plane.
constexpr double kParallelTolerance = 1e-12;

}  // namespace

Vresult ImagePlaneToPixel(const CamPar& cam, const Eigen::Vector2d& ideal, double* row,
                          double* col) {
  Eigen::Vector2d observed;
  if (!Distort(cam, ideal, &observed)) return VERR_CAM_DISTORTION;
  *col = cam.cx + observed.x() / cam.sx;
  *row = cam.cy + observed.y() / cam.sy;
  return std::isfinite(*row) && std::isfinite(*col) ? VRESULT_OK : VERR_CAM_DISTORTION;
}

Vresult ProjectPoint(const CamPar& cam, const Eigen::Vector3d& p, double* row, double* col) {
  if (!(p.z() > 0.0)) return VERR_CAM_BEHIND;
  return ImagePlaneToPixel(cam, Eigen::Vector2d(p.x(), p.y()) * (cam.focus / p.z()), row, col);
}

Vresult PixelToImagePlane(const CamPar& cam, double row, double col, Eigen::Vector2d* ideal) {
  const Eigen::Vector2d observed((col - cam.cx) * cam.sx, (row - cam.cy) * cam.sy);
  return Undistort(cam, observed, ideal) ? VRESULT_OK : VERR_CAM_DISTORTION;
}

Vresult PixelRay(const CamPar& cam, double row, double col, Eigen::Vector3d* dir) {
  Eigen::Vector2d ideal;
  const Vresult rc = PixelToImagePlane(cam, row, col, &ideal);
  if (rc == VRESULT_OK) *dir = Eigen::Vector3d(ideal.x(), ideal.y(), cam.focus);
  return rc;
}

Vresult ChangeCamera(const CamPar& from, const CamPar& to, double row, double col,
                     double* to_row, double* to_col) {
  Eigen::Vector3d dir;
  const Vresult rc = PixelRay(from, row, col, &dir);
  return rc == VRESULT_OK ? ProjectPoint(to, dir, to_row, to_col) : rc;
}

Vresult PixelToWorldPlane(const CamPar& cam, const Mat3D& world_to_cam, double row, double col,
                          Eigen::Vector2d* xy) {
  Eigen::Vector3d dir;
  const Vresult rc = PixelRay(cam, row, col, &dir);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Matrix3d rt = world_to_cam.topLeftCorner<3, 3>().transpose();
  const Eigen::Vector3d origin = -rt * world_to_cam.topRightCorner<3, 1>();
  const Eigen::Vector3d d = rt * dir;
  // A line of sight parallel to the plane (to rounding) never meets it.
  if (!(std::fabs(d.z()) > kParallelTolerance * d.norm())) return VERR_CAM_BEHIND;
  // Distance along the ray (in units of dir) to the plane z = 0.
  const double lambda = -origin.z() / d.z();
  if (!(lambda > 0.0) || !std::isfinite(lambda)) return VERR_CAM_BEHIND;
  const Eigen::Vector3d hit = origin + lambda * d;
  *xy = Eigen::Vector2d(hit.x(), hit.y());
  return VRESULT_OK;
}

Vresult GetWorldScale(const OpContext& ctx, int par, double* metres) {
  static const Named<double> kUnits[] = {
      {"m", 1.0}, {"cm", 1e-2}, {"mm", 1e-3}, {"microns", 1e-6}, {"um", 1e-6}};
  const char* name = nullptr;
  if (ctx.CtrlNum(par) == 1 && ctx.GetString(par, &name) == VRESULT_OK)
    return LookUpName(kUnits, name, metres) ? VRESULT_OK : VERR_CTRL_VALUE(par);
  const Vresult rc = GetFiniteDouble(ctx, par, metres);
  if (rc != VRESULT_OK) return rc;
  return *metres > 0.0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace vexa

namespace vexa {

Vresult GetWorldPlane(const OpContext& ctx, int cam_par, int unit_par, WorldPlane* plane) {
  PoseType type;
  Vresult rc = GetCamPar(ctx, cam_par, &plane->cam);
  if (rc == VRESULT_OK) rc = GetPose(ctx, cam_par + 1, &plane->world_to_cam, &type);
  if (rc == VRESULT_OK) rc = GetWorldScale(ctx, unit_par, &plane->metres);
  return rc;
}

}  // namespace vexa
