// The edge filters of edges_image and edges_color: the filter and
// thinning names, the thinning itself, and the amplitude and direction
// codes of the kept edge pixels.
#pragma once

#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>

#include "ops/edges/edge_support.h"

namespace vexa {

enum class Nms { kNms, kInterpolated, kHorizontalVertical, kNone };

struct EdgeFilter {
  double sigma = 0;  // 0: 3x3 Sobel
  bool max_norm = false;
};

// The filter named by control 0 with its alpha (control 1): "canny"
// (Gaussian, sigma = alpha), the recursive filters approximated by the
// Gaussian of the same spread, or "sobel_fast".
Vresult ReadFilter(const OpContext& ctx, EdgeFilter* filter);
// The thinning named by control 2.
Vresult ReadNms(const OpContext& ctx, Nms* nms);
// Filter, thinning and the hysteresis thresholds low (>= 0) and high
// (>= low) of controls 0 to 4, as edges_image and edges_color take them.
Vresult ReadEdgeParams(const OpContext& ctx, EdgeFilter* filter, Nms* nms, double* low,
                       double* high);
// `amp` thinned along the gradient (gx, gy), all CV_64F of one size.
cv::Mat Thinned(const cv::Mat& amp, const cv::Mat& gx, const cv::Mat& gy, Nms nms);

// The amplitude (0 off the edges) and the direction code (255 off the
// edges) at the kept pixels, from the derivatives of element type S.
template <class S>
void EdgeValues(const cv::Mat& gx, const cv::Mat& gy, const cv::Mat& keep, bool max_norm,
                cv::Mat* amp, cv::Mat* codes) {
  *amp = cv::Mat::zeros(keep.size(), gx.type());
  *codes = cv::Mat(keep.size(), CV_8U, cv::Scalar(255));
  for (int r = 0; r < keep.rows; ++r) {
    const uint8_t* k = keep.ptr<uint8_t>(r);
    const S* x = gx.ptr<S>(r);
    const S* y = gy.ptr<S>(r);
    S* a = amp->ptr<S>(r);
    uint8_t* code = codes->ptr<uint8_t>(r);
    for (int c = 0; c < keep.cols; ++c) {
      if (!k[c]) continue;
      a[c] = max_norm ? std::max(std::abs(x[c]), std::abs(y[c])) : std::sqrt(x[c] * x[c] + y[c] * y[c]);
      code[c] = static_cast<uint8_t>(DirectionCode(x[c], y[c]));
    }
  }
}


}  // namespace vexa
