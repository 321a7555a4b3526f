// Gray values between pixel centres: nearest neighbour, bilinear or
// bicubic (cubic convolution, a = -0.5). Pixel centres lie at integer
// coordinates; neighbours beyond the image border repeat the border pixels.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>

#include "image_store.h"
#include "region_store.h"

namespace vexa {

enum class Interpolation { kNearest, kBilinear, kBicubic };

// "nearest_neighbor", "bilinear", "bicubic"; false for any other name.
inline bool ParseInterpolation(const char* name, Interpolation* out) {
  if (std::strcmp(name, "nearest_neighbor") == 0) {
    *out = Interpolation::kNearest;
  } else if (std::strcmp(name, "bilinear") == 0) {
    *out = Interpolation::kBilinear;
  } else if (std::strcmp(name, "bicubic") == 0) {
    *out = Interpolation::kBicubic;
  } else {
    return false;
  }
  return true;
}

// A pixel value with the coordinates clamped into the image.
inline double ClampedPixel(const PixelBuffer& ch, Vlong r, Vlong c) {
  return ch.Get(static_cast<int32_t>(std::clamp<Vlong>(r, 0, ch.height() - 1)),
                static_cast<int32_t>(std::clamp<Vlong>(c, 0, ch.width() - 1)));
}

// Weights of the cubic convolution kernel (a = -0.5) for the four samples
// at offsets -1, 0, 1, 2 from the sample below a point at fraction t.
inline void CubicWeights(double t, double w[4]) {
  const double t2 = t * t, t3 = t2 * t;
  w[0] = -0.5 * t3 + t2 - 0.5 * t;
  w[1] = 1.5 * t3 - 2.5 * t2 + 1.0;
  w[2] = -1.5 * t3 + 2.0 * t2 + 0.5 * t;
  w[3] = 0.5 * t3 - 0.5 * t2;
}

// The value at (row, col); the caller keeps the coordinates finite and
// within the image's reach (+-kMaxImageSide or so).
inline double Interpolate(const PixelBuffer& ch, Interpolation mode, double row, double col) {
  const Vlong r0 = static_cast<Vlong>(std::floor(row));
  const Vlong c0 = static_cast<Vlong>(std::floor(col));
  const double tr = row - r0, tc = col - c0;
  switch (mode) {
    case Interpolation::kNearest:
      return ClampedPixel(ch, static_cast<Vlong>(std::floor(row + 0.5)),
                          static_cast<Vlong>(std::floor(col + 0.5)));
    case Interpolation::kBilinear:
      return (1 - tr) * ((1 - tc) * ClampedPixel(ch, r0, c0) + tc * ClampedPixel(ch, r0, c0 + 1)) +
             tr * ((1 - tc) * ClampedPixel(ch, r0 + 1, c0) + tc * ClampedPixel(ch, r0 + 1, c0 + 1));
    case Interpolation::kBicubic: {
      double wr[4], wc[4];
      CubicWeights(tr, wr);
      CubicWeights(tc, wc);
      double sum = 0.0;
      for (int i = 0; i < 4; ++i) {
        double line = 0.0;
        for (int j = 0; j < 4; ++j) line += wc[j] * ClampedPixel(ch, r0 - 1 + i, c0 - 1 + j);
        sum += wr[i] * line;
      }
      return sum;
    }
  }
  return 0.0;
}

// True when the pixel nearest to (row, col) lies in `domain`: the points
// whose value the gray-value readers report (the others get -1).
inline bool NearestInDomain(const Region& domain, double row, double col) {
  const double r = std::floor(row + 0.5), c = std::floor(col + 0.5);
  return std::isfinite(r) && std::isfinite(c) && std::fabs(r) <= kMaxImageSide &&
         std::fabs(c) <= kMaxImageSide &&
         domain.Contains(static_cast<int32_t>(r), static_cast<int32_t>(c));
}

}  // namespace vexa
