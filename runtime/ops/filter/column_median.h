// Byte medians of small masks by comparator networks, 32 pixels at a time
// (AVX-512, AVX2 or baseline code, chosen when loaded). Each column of a
// pixel's mask is sorted first, then a network picks the median from the
// sorted columns (column_median_networks.h): for the disc of radius 2 about
// 110 vector min/max operations per 32 pixels, all in registers, against
// about 240 per 16 pixels for forgetful selection.
#pragma once

#include <opencv2/core.hpp>

#include "ops/filter/neighbour_mask.h"

namespace vexa {

// True for the masks with a network: the 3x3 square (the disc of radius
// 1), the disc of radius 2 and the 5x5 square.
bool HasColumnMedian(const NeighbourMask& mask);

// For every pixel (i, j) of `out` (CV_8U): the median of the mask's values
// around pixel (i + origin.y, j + origin.x) of the CV_8U `src`, whose mask
// must lie inside `src`. The mask is one HasColumnMedian accepts.
void ColumnMedianBytes(const cv::Mat& src, cv::Point origin, const NeighbourMask& mask,
                       cv::Mat& out);

}  // namespace vexa
