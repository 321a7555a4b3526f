// Lambertian photometry: the light direction, surface normals of height
// fields, and the integration of gradients to heights.
//
// Coordinates: x along the columns, y up the image (against the rows), z
// towards the viewer. A light of `slant` degrees (from the z axis, 0 to
// 90) and `tilt` degrees (in the image plane, counter-clockwise from the
// column axis) lies along (sin slant cos tilt, sin slant sin tilt,
// cos slant). A height field h(row, col) has the normal
// (-dh/dx, -dh/dy, 1) / norm, with dh/dx = dh/dcol and dh/dy = -dh/drow.
#pragma once

#include <array>
#include <cmath>

#include <opencv2/core.hpp>

#include "op_context.h"

namespace vexa {

using Vec3 = std::array<double, 3>;

inline Vec3 LightDirection(double slant_deg, double tilt_deg) {
  const double s = slant_deg * M_PI / 180.0, t = tilt_deg * M_PI / 180.0;
  return {std::sin(s) * std::cos(t), std::sin(s) * std::sin(t), std::cos(s)};
}

// Slant (0 to 90) and tilt (any finite value) from two controls.
Vresult ReadLight(const OpContext& ctx, int slant_par, int tilt_par, Vec3* light);

// The height field whose gradients (CV_64F, d/drow and d/dcol, one size)
// these are, in the least-squares sense: the forward differences of the
// heights fit the gradients averaged over each pair of neighbours (exact
// for surfaces whose gradient is linear between pixels); the border
// keeps the differences it has (Neumann), and the mean height is 0.
cv::Mat HeightFromGradient(const cv::Mat& d_row, const cv::Mat& d_col);

}  // namespace vexa
