// Contours through the camera model: onto the world plane, or into the
// image of a camera with other parameters. Attributes are kept; a point
// that cannot be mapped fails the operator with its code.
#include <functional>

#include "ops/camera/projection.h"
#include "ops/xld/xld_support.h"
#include "registry.h"

namespace vexa {
namespace {

// Maps point (row, col) in place.
using PointMap = std::function<Vresult(double* row, double* col)>;

// Each contour of input object 1 with every point mapped, to output 1.
Vresult MapContours(OpContext& ctx, const PointMap& map) {
  std::vector<XldPtr> in;
  Vresult rc = xld::InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  for (const XldPtr& x : in) {
    auto moved = std::make_shared<Xld>(*x);
    for (size_t i = 0; i < moved->rows.size(); ++i) {
      double r = moved->rows[i], c = moved->cols[i];
      rc = map(&r, &c);
      if (rc != VRESULT_OK) return rc;
      moved->rows[i] = static_cast<float>(r), moved->cols[i] = static_cast<float>(c);
    }
    out.push_back(std::move(moved));
  }
  return xld::HandOverXlds(ctx, 1, out);
}

}  // namespace

// World plane points of the contour pixels: row y / scale, column
// x / scale, the layout of image_to_world_plane.
VEXA_OPERATOR(contour_to_world_plane_xld) {
  WorldPlane plane;
  const Vresult rc = GetWorldPlane(ctx, 0, 2, &plane);
  if (rc != VRESULT_OK) return rc;
  return MapContours(ctx, [&](double* row, double* col) {
    Eigen::Vector2d xy;
    const Vresult r = PixelToWorldPlane(plane.cam, plane.world_to_cam, *row, *col, &xy);
    *row = xy.y() / plane.metres, *col = xy.x() / plane.metres;
    return r;
  });
}

VEXA_OPERATOR(change_radial_distortion_contours_xld) {
  CamPar in, out;
  Vresult rc = GetCamPar(ctx, 0, &in);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &out);
  if (rc != VRESULT_OK) return rc;
  return MapContours(ctx, [&](double* row, double* col) {
    return ChangeCamera(in, out, *row, *col, row, col);
  });
}

}  // namespace vexa
