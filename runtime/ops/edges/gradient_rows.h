// The two derivatives of a separable gradient filter (gx = smooth along the
// rows of deriv along the columns, gy the transpose), produced one row at a
// time over a box of the image. Only a ring of 2 * radius + 1 rows of the
// horizontal pass is held, so a whole image never needs float planes: the
// rows stay in cache while the caller consumes them.
#pragma once

#include <cstdint>
#include <functional>

#include "image_store.h"
#include "ops/edges/gradient.h"

namespace vexa {

// Whether GradientRows handles `type`: the types whose filters work in
// float (WorkDepthOf).
bool HasGradientRows(PixelType type);

// Whether the masks have the symmetry GradientRows relies on: the
// smoothing mask symmetric, the derivative mask antisymmetric (0 at the
// centre), both of one odd length.
bool HasSymmetricMasks(const GradientMasks& masks);

// Calls consume(row, gx, gy) for every row of `box` (row counted from
// box.y), gx and gy holding box.width values (readable, not meaningful,
// up to a multiple of 16 beyond), which stay valid until consume returns
// for the next row. The masks are correlation
// masks as GradientMasks holds them, symmetric (HasSymmetricMasks);
// neighbours are read from
// the whole image and mirrored at its border, as the other filters do.
// Sums are taken in float in a fixed order (no fused multiply-add), so the
// values are the same on every processor.
void GradientRows(const PixelBuffer& in, const cv::Rect& box, const GradientMasks& masks,
                  const std::function<void(int, const float*, const float*)>& consume);

// value * scale rounded to the nearest integer (ties to even), as
// cv::Mat::convertTo to 16 bits rounds: adding and removing 1.5 * 2^23
// does it in float. |value * scale| must stay below 32768.
inline int16_t Quantize(float value, float scale) {
  constexpr float kRound = 12582912.0f;
  return static_cast<int16_t>((value * scale + kRound) - kRound);
}

// Writes to cols, in increasing order, the c < n where gx[c]^2 + gy[c]^2
// exceeds `limit`, returns their number, and raises *largest (>= 0) to the
// largest |gx[c]| or |gy[c]| (NaN above infinity).
int ScanRow(const float* gx, const float* gy, int n, float limit, int32_t* cols,
            float* largest);

}  // namespace vexa
