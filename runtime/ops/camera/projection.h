// The pinhole camera between camera coordinates, the image plane and
// pixels. Camera coordinates: x along the image columns, y along the image
// rows (down), z along the optical axis, away from the camera; metres.
// A point (x, y, z), z > 0, has the ideal image point (f x / z, f y / z);
// the lens moves it to the observed point d (distortion.h), which lies at
//   column = cx + d.x / sx,  row = cy + d.y / sy.
#pragma once

#include <Eigen/Dense>

#include "ops/camera/cam_par.h"
#include "ops/math/hom_mat.h"

namespace vexa {

// The pixel (row, column) of a point in camera coordinates:
// VERR_CAM_BEHIND for z <= 0, VERR_CAM_DISTORTION where the lens model
// does not reach.
Vresult ProjectPoint(const CamPar& cam, const Eigen::Vector3d& p, double* row, double* col);
// The pixel of an ideal image plane point.
Vresult ImagePlaneToPixel(const CamPar& cam, const Eigen::Vector2d& ideal, double* row,
                          double* col);
// The ideal image plane point of a pixel (VERR_CAM_DISTORTION where it
// cannot be undistorted).
Vresult PixelToImagePlane(const CamPar& cam, double row, double col, Eigen::Vector2d* ideal);
// The direction of the line of sight of a pixel in camera coordinates:
// (u, v, focus) for its ideal image point (u, v).
Vresult PixelRay(const CamPar& cam, double row, double col, Eigen::Vector3d* dir);

// The pixel at which camera `to`, with the same projection centre and
// axes, sees the line of sight of pixel (row, col) of camera `from`.
Vresult ChangeCamera(const CamPar& from, const CamPar& to, double row, double col,
                     double* to_row, double* to_col);

// The point (x, y) of the plane z = 0 of the world whose points map into
// camera coordinates by `world_to_cam`, seen at a pixel: VERR_CAM_BEHIND
// when the line of sight misses the plane or meets it behind the camera.
Vresult PixelToWorldPlane(const CamPar& cam, const Mat3D& world_to_cam, double row, double col,
                          Eigen::Vector2d* xy);

// A camera, the pose of the world plane in it and a unit of the plane.
struct WorldPlane {
  CamPar cam;
  Mat3D world_to_cam;
  double metres = 1.0;
};
// Reads them from inputs cam_par, cam_par + 1 (a pose) and unit_par.
Vresult GetWorldPlane(const OpContext& ctx, int cam_par, int unit_par, WorldPlane* plane);

// The unit of world plane coordinates at input `par`, in metres: a
// positive number or "m", "cm", "mm", "microns", "um"
// (VERR_CTRL_VALUE(par) otherwise).
Vresult GetWorldScale(const OpContext& ctx, int par, double* metres);

}  // namespace vexa
