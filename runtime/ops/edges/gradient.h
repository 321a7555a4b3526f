// First derivatives of an image by separable gradient masks, and the
// thinning of an edge amplitude across the edge.
//
// All masks are scaled so that a constant gives 0 and a ramp rising by 1
// per pixel gives 1: amplitudes are gray values per pixel, the same for
// every mask and size.
#pragma once

#include <opencv2/core.hpp>

#include "ops/common/cv_wrap.h"

namespace vexa {

// The two 1-D masks of a gradient filter (CV_64F columns): `deriv` along
// the derivative's axis, `smooth` across it.
struct GradientMasks {
  cv::Mat deriv, smooth;
};

// Binomial masks of odd `size` (3 to 31): Sobel masks.
GradientMasks SobelMasks(int size);
// Prewitt masks (box smoothing) and Frei-Chen masks (sqrt 2 weights).
GradientMasks PrewittMasks();
GradientMasks FreiMasks();

// gx (along the columns) and gy (along the rows) over `box`, in the work
// depth of in's type (WorkDepthOf).
void Gradients(const PixelBuffer& in, const cv::Rect& box, const GradientMasks& masks,
               cv::Mat* gx, cv::Mat* gy);

// A copy of `amp` (CV_64F) with every pixel set to 0 that is lower than
// one of its two neighbours along step(row, col, &dr, &dc). Neighbours
// beyond the matrix are mirrored back into it.
template <class Step>
cv::Mat SuppressNonMaxima(const cv::Mat& amp, Step&& step) {
  cv::Mat out(amp.size(), CV_64F);
  const int h = amp.rows, w = amp.cols;
  for (int r = 0; r < h; ++r) {
    const double* a = amp.ptr<double>(r);
    double* o = out.ptr<double>(r);
    for (int c = 0; c < w; ++c) {
      int dr = 0, dc = 0;
      step(r, c, &dr, &dc);
      if (dr == 0 && dc == 0) {
        o[c] = a[c];
        continue;
      }
      const int r1 = cv::borderInterpolate(r + dr, h, kMirrorBorder);
      const int c1 = cv::borderInterpolate(c + dc, w, kMirrorBorder);
      const int r2 = cv::borderInterpolate(r - dr, h, kMirrorBorder);
      const int c2 = cv::borderInterpolate(c - dc, w, kMirrorBorder);
      const bool peak = (r1 < 0 || a[c] >= amp.at<double>(r1, c1)) &&
                        (r2 < 0 || a[c] >= amp.at<double>(r2, c2));
      o[c] = peak ? a[c] : 0.0;
    }
  }
  return out;
}

// The step toward the gradient's direction (the nearest of the 8
// neighbours), for SuppressNonMaxima; none where the gradient is 0.
inline void GradientStep(double gx, double gy, int* dr, int* dc) {
  *dr = *dc = 0;
  if (gx == 0.0 && gy == 0.0) return;
  const double ax = gx < 0 ? -gx : gx, ay = gy < 0 ? -gy : gy;
  // tan(22.5 degrees): below it the gradient is horizontal or vertical.
  constexpr double kTan22 = 0.41421356237309503;
  if (ay <= kTan22 * ax) { *dc = 1; return; }
  if (ax <= kTan22 * ay) { *dr = 1; return; }
  *dr = 1;
  *dc = (gx > 0) == (gy > 0) ? 1 : -1;
}

}  // namespace vexa
