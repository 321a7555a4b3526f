// Thinning and tracking of edge amplitudes: interpolated non-maximum
// suppression and hysteresis thresholds. Amplitudes are CV_64F matrices over a box.
#pragma once

#include <opencv2/core.hpp>

#include "ops/edges/edge_support.h"

namespace vexa {

// A copy of `amp` with every pixel set to 0 that is lower than the
// amplitude interpolated linearly between the neighbours on either side
// along the angle `angle(row, col)` (radians, counter-clockwise from the
// column axis with rows pointing down; NaN keeps the pixel unchanged).
// Neighbours beyond the matrix are mirrored into it.
cv::Mat SuppressInterpolated(const cv::Mat& amp, const cv::Mat& angle);

// The pixels (CV_8U, 255 kept) of `amp` inside `mask` above `low` that are
// 8-connected within the mask to a pixel above `high`.
cv::Mat Hysteresis(const cv::Mat& amp, const cv::Mat& mask, double low, double high);

}  // namespace vexa
