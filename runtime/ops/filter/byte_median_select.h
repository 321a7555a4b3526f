// Byte medians over small masks by forgetful selection, sixteen pixels at
// a time: for the discs of radius 2 and 3 a running histogram costs two
// updates per mask row and pixel plus its search, while selection costs a
// fixed sequence of vector min/max operations that depends only on the
// mask's size.
#pragma once

#include <opencv2/core.hpp>

#include "ops/filter/neighbour_mask.h"

namespace vexa {

// Largest mask (in pixels) for which selection beats the histogram.
constexpr int kMaxSelectMedianCount = 37;

// For every pixel (i, j) of `out` (CV_8U): the median of the mask's values
// around tile pixel (i + ry, j + rx) of the CV_8U `tile`. The mask holds an
// odd number of pixels, 3 to kMaxSelectMedianCount.
void SelectMedianBytes(const cv::Mat& tile, const NeighbourMask& mask, cv::Mat& out);

}  // namespace vexa
