// The local maxima of an interest response (Harris, Foerstner): the
// points of the interest point detectors.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "region_store.h"

namespace vexa {

// The peaks of `response`, computed over `outer` (the domain's box grown
// by one pixel, so that border pixels have their neighbours; beyond it the
// response is mirrored): the domain pixels whose response exceeds
// `threshold` and all 8 neighbours (ties: the first in row order),
// refined, if `subpix`, by a parabola through the neighbours in each axis.
void ResponsePeaks(const cv::Mat& response, const cv::Rect& outer, const Region& domain,
                   double threshold, bool subpix, std::vector<double>* rows,
                   std::vector<double>* cols);

}  // namespace vexa
