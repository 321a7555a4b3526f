// Filters that bring out line and dot patterns: bandpass_image and
// dots_image. Both convolve with a fixed-shape kernel over a mirrored tile
// in double and store a rectified response in the input's type (rounded,
// clipped).
#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

// Pixels of distance at most `outer`, weighted +1/n for distance at most
// `inner` and -1/m beyond it (n and m their counts): a centre-surround
// kernel whose response is the inner mean minus the ring's mean.
cv::Mat CentreSurround(double inner, double outer) {
  const int r = static_cast<int>(std::floor(outer));
  cv::Mat k = cv::Mat::zeros(2 * r + 1, 2 * r + 1, CV_64F);
  int n = 0, m = 0;
  for (int y = -r; y <= r; ++y)
    for (int x = -r; x <= r; ++x) {
      const double d = std::hypot(y, x);
      if (d <= inner) ++n;
      else if (d <= outer) ++m;
    }
  for (int y = -r; y <= r; ++y)
    for (int x = -r; x <= r; ++x) {
      const double d = std::hypot(y, x);
      k.at<double>(y + r, x + r) = d <= inner ? 1.0 / n : d <= outer ? -1.0 / m : 0.0;
    }
  return k;
}

// Each image of input 1 convolved with `kernel` (centred), its response v
// stored as response(v).
template <class Response>
Vresult FilterResponse(OpContext& ctx, const cv::Mat& kernel, Response response) {
  const cv::Point centre(kernel.cols / 2, kernel.rows / 2);
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat v = Convolved(src, rect, kernel, centre, Border{});
    for (int r = 0; r < v.rows; ++r) {
      double* row = v.ptr<double>(r);
      for (int c = 0; c < v.cols; ++c) row[c] = response(row[c]);
    }
    cv::Mat out = dst(rect);
    v.convertTo(out, dst.type());
    return VRESULT_OK;
  });
}

}  // namespace

// "lines": the magnitude of a difference of Gaussians (sigma 1 minus sigma
// 2), a bandpass that answers most to lines two to three pixels wide.
VEXA_OPERATOR(bandpass_image) {
  int type = 0;
  const Vresult rc = ReadChoice(ctx, 0, {"lines"}, &type);
  if (rc != VRESULT_OK) return rc;
  const cv::Mat narrow = cv::getGaussianKernel(13, 1.0, CV_64F);
  const cv::Mat wide = cv::getGaussianKernel(13, 2.0, CV_64F);
  const cv::Mat kernel = narrow * narrow.t() - wide * wide.t();
  return FilterResponse(ctx, kernel, [](double v) { return std::fabs(v); });
}

// Dots of `diameter` pixels (odd, 3 to 101): the mean over the disk of that
// diameter minus the mean over the ring around it out to twice the
// diameter; "light" keeps the positive part, "dark" the negated negative
// part, "all" the magnitude; times 2^pixel_shift (0 to 16).
VEXA_OPERATOR(dots_image) {
  int diameter = 0, mode = 0, shift = 0;
  Vresult rc = ReadInt(ctx, 0, 3, 101, &diameter);
  if (rc == VRESULT_OK && diameter % 2 == 0) rc = VERR_CTRL_VALUE(0);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 1, {"light", "dark", "all"}, &mode);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, 16, &shift);
  if (rc != VRESULT_OK) return rc;
  const double gain = std::ldexp(1.0, shift);
  return FilterResponse(ctx, CentreSurround(diameter / 2.0, diameter), [&](double v) {
    if (mode == 0) return gain * std::max(v, 0.0);
    if (mode == 1) return gain * std::max(-v, 0.0);
    return gain * std::fabs(v);
  });
}

}  // namespace vexa
