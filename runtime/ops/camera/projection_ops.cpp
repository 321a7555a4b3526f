// Point-wise operators of one camera: projecting points given in camera
// coordinates, lines of sight of pixels, pixels onto a world plane, and
// pixels of one camera as another camera sees them.
#include "ops/camera/point_columns.h"
#include "ops/camera/projection.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(project_3d_point) {
  std::vector<std::vector<double>> p;
  CamPar cam;
  Vresult rc = GetPointTuples(ctx, {0, 1, 2}, &p);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 3, &cam);
  if (rc != VRESULT_OK) return rc;
  PointColumns out = MakeColumns(2, p[0].size());
  for (size_t i = 0; i < p[0].size() && rc == VRESULT_OK; ++i) {
    double row = 0.0, col = 0.0;
    rc = ProjectPoint(cam, Eigen::Vector3d(p[0][i], p[1][i], p[2][i]), &row, &col);
    out[0].push_back(row), out[1].push_back(col);
  }
  return rc == VRESULT_OK ? SetOutpColumns(ctx, out) : rc;
}

// The line of sight from the projection centre (0, 0, 0) through the ideal
// image point (u, v, focus) of each pixel, in camera coordinates.
VEXA_OPERATOR(get_line_of_sight) {
  std::vector<std::vector<double>> px;
  CamPar cam;
  Vresult rc = GetPointTuples(ctx, {0, 1}, &px);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 2, &cam);
  if (rc != VRESULT_OK) return rc;
  const size_t n = px[0].size();
  PointColumns out = MakeColumns(6, n);
  for (size_t i = 0; i < n && rc == VRESULT_OK; ++i) {
    Eigen::Vector3d dir;
    rc = PixelRay(cam, px[0][i], px[1][i], &dir);
    for (int k = 0; k < 3; ++k) out[k].push_back(0.0), out[3 + k].push_back(dir[k]);
  }
  return rc == VRESULT_OK ? SetOutpColumns(ctx, out) : rc;
}

VEXA_OPERATOR(image_points_to_world_plane) {
  WorldPlane plane;
  std::vector<std::vector<double>> px;
  Vresult rc = GetWorldPlane(ctx, 0, 4, &plane);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {2, 3}, &px);
  if (rc != VRESULT_OK) return rc;
  PointColumns out = MakeColumns(2, px[0].size());
  for (size_t i = 0; i < px[0].size() && rc == VRESULT_OK; ++i) {
    Eigen::Vector2d xy;
    rc = PixelToWorldPlane(plane.cam, plane.world_to_cam, px[0][i], px[1][i], &xy);
    out[0].push_back(xy.x() / plane.metres), out[1].push_back(xy.y() / plane.metres);
  }
  return rc == VRESULT_OK ? SetOutpColumns(ctx, out) : rc;
}

// Each pixel of the first camera goes along its line of sight into the
// second camera, which shares the projection centre and the axes.
VEXA_OPERATOR(change_radial_distortion_points) {
  std::vector<std::vector<double>> px;
  CamPar in, out_cam;
  Vresult rc = GetPointTuples(ctx, {0, 1}, &px);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 2, &in);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 3, &out_cam);
  if (rc != VRESULT_OK) return rc;
  PointColumns out = MakeColumns(2, px[0].size());
  for (size_t i = 0; i < px[0].size() && rc == VRESULT_OK; ++i) {
    double row = 0.0, col = 0.0;
    rc = ChangeCamera(in, out_cam, px[0][i], px[1][i], &row, &col);
    out[0].push_back(row), out[1].push_back(col);
  }
  return rc == VRESULT_OK ? SetOutpColumns(ctx, out) : rc;
}

}  // namespace vexa
