// Byte medians over small masks by forgetful selection, sixteen pixels at
// a time: a fixed sequence of vector min/max operations that depends only
// on the mask's size and grows with its square. It serves the small masks
// without a column network (column_median.h), such as median_rect's
// rectangles; for 21 pixels it takes about half the time of the running
// histogram (two updates per mask row and pixel plus the search), from
// about 27 pixels on the histogram is faster.
#pragma once

#include <opencv2/core.hpp>

#include "ops/filter/neighbour_mask.h"

namespace vexa {

// Largest mask (in pixels) for which selection beats the histogram.
constexpr int kMaxSelectMedianCount = 25;

// For every pixel (i, j) of `out` (CV_8U): the median of the mask's values
// around tile pixel (i + ry, j + rx) of the CV_8U `tile`. The mask holds an
// odd number of pixels, 3 to kMaxSelectMedianCount.
void SelectMedianBytes(const cv::Mat& tile, const NeighbourMask& mask, cv::Mat& out);

}  // namespace vexa
