// The 3x3 mean of byte images in one pass: each result row adds the
// columns of its three source rows into 16-bit sums, then three
// neighbouring column sums, and divides by 9 with a fixed-point multiply,
// rounded to nearest (AVX-512, AVX2 or baseline code, chosen when loaded).
#pragma once

#include <opencv2/core.hpp>

namespace vexa {

// dst(rect) = the 3x3 means of src (both CV_8U, one size) around each
// pixel of rect. Neighbours outside src mirror into it without repeating
// the border pixel (... 2 1 | 0 1 2 ...); a side of 1 repeats its pixel.
void BoxMean3Bytes(const cv::Mat& src, const cv::Rect& rect, cv::Mat& dst);

}  // namespace vexa
