// OpenCV matrices over the database's pixel buffers, for the neighbourhood
// operators that use OpenCV's kernels.
//
// A filter of reach `margin` computes only the bounding box of the domain:
// it reads its source through a header over the whole image (no copy) when
// OpenCV handles the stored type, or through a converted copy of the box
// grown by the margin otherwise. Either way the filter runs on a region of
// interest inside a larger matrix, so OpenCV reads the real neighbours
// around the box and mirrors (BORDER_REFLECT_101) only at the image border.
// The results are then written to the domain pixels alone.
#pragma once

#include <opencv2/core.hpp>

#include "image_store.h"
#include "ops/common/pixel_dispatch.h"
#include "region_store.h"

namespace vexa {

// The border rule of every filter that reads past the image.
constexpr int kMirrorBorder = cv::BORDER_REFLECT_101;

// The OpenCV depth of the stored values; -1 where OpenCV has none (int8,
// complex).
int StoredCvDepth(PixelType type);

// A header over the whole channel (no copy).
cv::Mat CvHeaderOf(const PixelBuffer& buffer);
cv::Mat CvHeaderOf(PixelBuffer* buffer);

// The bounding box of a region as a rectangle (empty for an empty region).
cv::Rect BoxOf(const Region& region);

// The pixels of `region` within `box` as a mask over `box` (CV_8U, 255
// inside).
cv::Mat MaskOfRegion(const Region& region, const cv::Rect& box);
// The non-zero pixels of a CV_8U mask whose pixel (0, 0) lies at image
// position `origin`.
RegionPtr RegionOfMask(const cv::Mat& mask, cv::Point origin);

// `box` grown by `margin` on every side and clipped to `size`.
cv::Rect GrowBox(const cv::Rect& box, int margin, cv::Size size);

// The source pixels of a filter over `box`.
struct FilterSource {
  cv::Mat window;  // the whole image or the grown box, in the asked depth
  cv::Rect box;    // `box` within `window`
  cv::Mat Roi() const { return window(box); }
};

// The pixels of `buffer` around `box` with `margin` neighbours, in depth
// `depth` (CV_8U, CV_16S, CV_32F, CV_64F, ...). Without conversion (the
// stored depth is the asked one) the window is the whole image.
FilterSource SourceFor(const PixelBuffer& buffer, const cv::Rect& box,
                       int margin, int depth);

// The depth in which a filter of real-valued results works on `type`:
// double for the 32- and 64-bit integers, whose values float would round,
// float otherwise.
inline int WorkDepthOf(PixelType type) {
  return type == PixelType::kInt4 || type == PixelType::kInt8 ? CV_64F : CV_32F;
}

// The pixels of `buffer` for OpenCV's linear filters (filter2D,
// sepFilter2D, Sobel): in the stored depth where these take it, otherwise
// in the work depth, which the filters then keep.
inline FilterSource LinearFilterSource(const PixelBuffer& buffer, const cv::Rect& box,
                                       int margin) {
  const int d = StoredCvDepth(buffer.type());
  const bool native = d == CV_8U || d == CV_16U || d == CV_16S || d == CV_32F;
  return SourceFor(buffer, box, margin, native ? d : WorkDepthOf(buffer.type()));
}

// Writes `result` (one value per pixel of `box`, any single-channel
// depth) into the pixels of `domain` in `out`, rounded and clipped to
// out's type. Pixels outside the domain keep their value.
void StoreInDomain(const cv::Mat& result, const cv::Rect& box,
                   const Region& domain, PixelBuffer* out);

}  // namespace vexa
