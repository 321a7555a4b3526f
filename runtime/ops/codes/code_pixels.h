// Gray values of the pixels the code engine reads, between pixel centres.
#pragma once

#include <algorithm>

#include "ops/codes/zxing_bridge.h"

namespace vexa {

// Whether image point (row, col) lies within the crop's pixel centres.
inline bool InsideCrop(const CodeImage& image, double row, double col) {
  const double x = col - image.col0, y = row - image.row0;
  return x >= 0 && y >= 0 && x <= image.width - 1 && y <= image.height - 1;
}

// Bilinear gray value at a point of the crop given relative to its first
// pixel (x = column, y = row), which the caller has checked to lie inside.
inline double SampleInside(const CodeImage& image, double x, double y) {
  const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
  const int x1 = std::min(x0 + 1, image.width - 1), y1 = std::min(y0 + 1, image.height - 1);
  const double fx = x - x0, fy = y - y0;
  auto at = [&](int yy, int xx) {
    return static_cast<double>(image.data[static_cast<size_t>(yy) * image.stride + xx]);
  };
  return (1 - fy) * ((1 - fx) * at(y0, x0) + fx * at(y0, x1)) +
         fy * ((1 - fx) * at(y1, x0) + fx * at(y1, x1));
}

// Bilinear gray value at image point (row, col); false outside the crop.
inline bool SampleGray(const CodeImage& image, double row, double col, double* v) {
  if (!InsideCrop(image, row, col)) return false;
  *v = SampleInside(image, col - image.col0, row - image.row0);
  return true;
}

}  // namespace vexa
