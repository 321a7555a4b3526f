// New camera parameters from old ones: the same camera with other
// distortion coefficients, the cell size optionally adapted so that the
// old field of view fills the new image.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ops/camera/projection.h"
#include "registry.h"

namespace vexa {
namespace {

// Pixels sampled along each side of the image for "adaptive".
constexpr int kBorderSamples = 64;

// The points of the image border, corners included, `kBorderSamples` per
// side, at the outer edges of the border pixels.
std::vector<Eigen::Vector2d> BorderPoints(const CamPar& cam) {
  const double top = -0.5, left = -0.5;
  const double bottom = cam.height - 0.5, right = cam.width - 0.5;
  std::vector<Eigen::Vector2d> pts;
  for (int i = 0; i <= kBorderSamples; ++i) {
    const double t = static_cast<double>(i) / kBorderSamples;
    const double row = top + t * (bottom - top), col = left + t * (right - left);
    pts.emplace_back(top, col);
    pts.emplace_back(bottom, col);
    pts.emplace_back(row, left);
    pts.emplace_back(row, right);
  }
  return pts;
}

// How far an offset from the principal point reaches towards the image
// edge on its side: offset / room, where room is the distance from the
// principal point to that edge.
double Reach(double offset, double room_neg, double room_pos) {
  return offset >= 0.0 ? offset / room_pos : -offset / room_neg;
}

// The common factor of sx and sy by which every border point of `old`,
// seen through `out`, just fits the image of `out`.
Vresult AdaptCellSize(const CamPar& old, CamPar* out) {
  const double room_left = out->cx + 0.5, room_right = out->width - 0.5 - out->cx;
  const double room_top = out->cy + 0.5, room_bottom = out->height - 0.5 - out->cy;
  if (!(room_left > 0.0 && room_right > 0.0 && room_top > 0.0 && room_bottom > 0.0))
    return VERR_CTRL_VALUE(1);
  double factor = 0.0;
  for (const Eigen::Vector2d& px : BorderPoints(old)) {
    double row = 0.0, col = 0.0;
    const Vresult rc = ChangeCamera(old, *out, px.x(), px.y(), &row, &col);
    if (rc != VRESULT_OK) return rc;
    factor = std::max({factor, Reach(col - out->cx, room_left, room_right),
                       Reach(row - out->cy, room_top, room_bottom)});
  }
  if (!(factor > 0.0) || !std::isfinite(factor)) return VERR_CTRL_VALUE(1);
  out->sx *= factor;
  out->sy *= factor;
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(change_radial_distortion_cam_par) {
  const char* mode = nullptr;
  CamPar cam;
  std::vector<double> coeffs;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &cam);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 2, &coeffs);
  if (rc != VRESULT_OK) return rc;
  const bool adaptive = std::strcmp(mode, "adaptive") == 0;
  if (!adaptive && std::strcmp(mode, "fixed") != 0) return VERR_CTRL_VALUE(0);
  if (coeffs.size() != DistortionCoeffCount(cam.model)) return VERR_CTRL_NUM(2);
  CamPar out = cam;
  SetDistortionCoeffs(coeffs, &out);
  if (adaptive) rc = AdaptCellSize(cam, &out);
  return rc == VRESULT_OK ? SetCamPar(ctx, 0, out) : rc;
}

}  // namespace vexa
