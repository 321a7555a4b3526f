// Shared by the segmentation operators on images: the gray values and the
// domain of an image over the domain's bounding box, labelled pixel sets
// turned into regions, and the 8-neighbourhood.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/common/op_objects.h"

namespace vexa {

// The first channel of an image over the bounding box of its domain.
struct GrayGrid {
  cv::Rect box;
  cv::Mat values;  // CV_64F
  cv::Mat inside;  // CV_8U, nonzero in the domain
  bool In(int r, int c) const {
    return r >= 0 && c >= 0 && r < inside.rows && c < inside.cols &&
           inside.at<uint8_t>(r, c) != 0;
  }
};

// The grid of an image; VERR_PIXEL_TYPE for complex, direction and cyclic
// images, whose values have no order to segment by.
Vresult GrayGridOf(const db::ImageData& image, GrayGrid* grid);

// The regions of labels 1..count of `labels` (CV_32S over `box`), in
// label order; label 0 and labels above count belong to none.
std::vector<RegionPtr> RegionsOfLabels(const cv::Mat& labels, const cv::Rect& box, int count);

// Stores each region as a new object into `out`.
Vresult AddRegions(const std::vector<RegionPtr>& regions, NewKeys* out);

// The 8 neighbours, as row and column steps.
constexpr int kNeighbourDr[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
constexpr int kNeighbourDc[8] = {-1, 0, 1, -1, 1, -1, 0, 1};

}  // namespace vexa
