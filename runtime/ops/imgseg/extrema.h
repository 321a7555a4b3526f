// Regional extrema of an image's gray values, shared by the extrema
// operators and the watershed transform (whose basins grow from the
// minima).
#pragma once

#include <opencv2/core.hpp>

#include "ops/imgseg/seg_support.h"

namespace vexa {

// Labels the regional maxima (or minima) of the grid 1..count in the order
// of their first pixel in row order (CV_32S over the grid's box, 0
// elsewhere) and returns count.
int LabelExtrema(const GrayGrid& grid, bool maxima, cv::Mat* labels);

}  // namespace vexa
