// Minimum and maximum of an image over a flat mask, the kernels of flat
// gray morphology.
#pragma once

#include "ops/filter/filter_support.h"
#include "ops/filter/neighbour_mask.h"

namespace vexa {

enum class Extreme { kMin, kMax };

// dst(rect) = the minimum or maximum of src over `mask` around each pixel,
// mirror border. A full rectangle on a type OpenCV handles goes to
// cv::erode / cv::dilate; every other mask to a row-wise running extreme
// (van Herk / Gil-Werman, constant cost per pixel and chord length) whose
// rows are combined chord by chord.
void FlatExtremeFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                       const NeighbourMask& mask, Extreme extreme);

}  // namespace vexa
