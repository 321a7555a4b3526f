// Mean and standard deviation of the gray values in a window around every
// pixel, for the local thresholds. The window of width w and height h spans
// columns c - (w-1)/2 .. c + w/2 and the rows alike; it reads the whole
// image (also outside the domain) and mirrors it at the image borders.
#pragma once

#include <cstdint>
#include <vector>

#include "image_store.h"

namespace vexa {

struct LocalStats {
  std::vector<double> mean;      // per pixel, row order
  std::vector<double> deviation;  // sqrt(E[g^2] - E[g]^2)
};

// Sliding sums: O(1) per pixel whatever the window size.
LocalStats ComputeLocalStats(const PixelBuffer& image, int32_t w, int32_t h);

}  // namespace vexa
