// The frame of the inpainting operators: the pixels of a region are filled
// from the rest of the image, which stays as it is.
#pragma once

#include <functional>
#include <vector>

#include <opencv2/core.hpp>

#include "ops/filter/filter_support.h"

namespace vexa {

// Fills the pixels of `mask` (CV_8U, nonzero inside the region) in the
// CV_64F tiles of an image's channels from the others.
using RegionFill = std::function<Vresult(std::vector<cv::Mat>& channels, const cv::Mat& mask)>;

// One result per image of input object 1: a copy of the image (under the
// filter rules: its domain, 0 outside it) in which the pixels of the region
// of input object 2 are filled by `fill`, working on the region's bounding
// box grown by `reach` + 1 pixels. The fills refuse a region covering the
// whole image, which leaves nothing to fill from (VERR_EMPTY_OBJECT).
Vresult InpaintImages(OpContext& ctx, int reach, const RegionFill& fill);

// Solves the Laplace equation on the pixels of `mask` with the others as
// boundary values (mirror rule beyond the tile) by successive
// over-relaxation, until the largest update of a sweep is at most
// `precision` (or 1e-12 times the largest boundary magnitude, the rounding
// floor). Starts from the mean of the boundary values. No pixel outside
// the mask gives VERR_EMPTY_OBJECT.
Vresult HarmonicFill(cv::Mat& u, const cv::Mat& mask, double precision);

}  // namespace vexa
