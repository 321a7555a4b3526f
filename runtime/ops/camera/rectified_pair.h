// A rectified stereo pair as the operators on disparities take it from
// their first three controls: two cameras without distortion, of one
// focus / cell size and principal row, the second shifted along the first
// camera's x axis only. The column disparity (column in image 2 minus
// column in image 1) of a point at depth z is offset - scale / z.
#pragma once

#include <Eigen/Dense>

#include "ops/camera/cam_par.h"
#include "op_context.h"

namespace vexa {

// A rectified pair reduced to what relates depth and disparity: column
// disparity = offset - scale / depth; and the first camera.
struct RectifiedPair {
  double scale;
  double offset;
  CamPar first;
};

// Inputs 0..2 as a rectified pair (VERR_CTRL_VALUE of the offending
// input when they are none).
Vresult GetRectifiedPair(const OpContext& ctx, RectifiedPair* pair);

// The depth of a column disparity; VERR_CAM_BEHIND for a point on or
// behind the camera.
Vresult DistanceOfDisparity(const RectifiedPair& pair, double disparity, double* z);

// The point (first camera's coordinates) seen at (row, col) of image 1
// with column disparity `disparity`.
Vresult PointOfDisparity(const RectifiedPair& pair, double row, double col, double disparity,
                         Eigen::Vector3d* point);

}  // namespace vexa
