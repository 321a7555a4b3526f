// Linear smoothing: mean_image, gauss_filter, gauss_image,
// binomial_filter and smooth_image (and info_smooth, its kernel). All are separable; the 3x3 mean of
// bytes has its own one-pass kernel (box_mean3.h), otherwise OpenCV's box,
// Gaussian and separable filters do the work on the image itself (ROI
// headers, mirror border), int1 and int4 through a double tile. Results
// keep the input's type, rounded.
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/filter/box_mean3.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kBorder = cv::BORDER_REFLECT_101;

// One weight kernel applied along rows and columns.
Vresult SeparableSmooth(OpContext& ctx, const cv::Mat& kx, const cv::Mat& ky) {
  const int mx = kx.rows / 2, my = ky.rows / 2;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    return RunCvFilter(src, dst, rect, my, mx, [&](const cv::Mat& in, cv::Mat& out) {
      cv::sepFilter2D(in, out, -1, kx, ky, cv::Point(-1, -1), 0, kBorder);
    });
  }, FilterWrites::kAll);
}

// Binomial weights C(n-1, k) / 2^(n-1), n odd.
cv::Mat BinomialKernel(int n) {
  cv::Mat k(n, 1, CV_64F);
  double c = 1.0;
  for (int i = 0; i < n; ++i) {
    k.at<double>(i) = c / std::ldexp(1.0, n - 1);
    c = c * (n - 1 - i) / (i + 1);
  }
  return k;
}

// Samples of profile(|x|) for x = -r..r, normalised to sum 1, where r is
// the first distance at which the profile falls below 1e-4 of its peak
// (at most kMaxMaskSide / 2).
template <class Profile>
cv::Mat ProfileKernel(Profile profile) {
  int r = 0;
  while (r < kMaxMaskSide / 2 && profile(r + 1) >= 1e-4 * profile(0)) ++r;
  cv::Mat k(2 * r + 1, 1, CV_64F);
  double sum = 0.0;
  for (int i = -r; i <= r; ++i) sum += k.at<double>(i + r) = profile(std::abs(i));
  return k / sum;
}

// gauss_filter and gauss_image: the Gaussian of the given size with
// OpenCV's default sigma for it, 0.3 ((size - 1) / 2 - 1) + 0.8.
Vresult GaussBySize(OpContext& ctx) {
  int size = 0;
  Vresult rc = ReadInt(ctx, 0, 3, 11, &size);
  if (rc == VRESULT_OK && size % 2 == 0) rc = VERR_CTRL_VALUE(0);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    return RunCvFilter(src, dst, rect, size / 2, size / 2, [&](const cv::Mat& in, cv::Mat& out) {
      cv::GaussianBlur(in, out, cv::Size(size, size), 0, 0, kBorder);
    });
  }, FilterWrites::kAll);
}

}  // namespace

VEXA_OPERATOR(mean_image) {
  int w = 0, h = 0;
  Vresult rc = ReadMaskSide(ctx, 0, &w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &h);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    if (w == 3 && h == 3 && src.depth() == CV_8U) {
      BoxMean3Bytes(src, rect, dst);
      return VRESULT_OK;
    }
    return RunCvFilter(src, dst, rect, h / 2, w / 2, [&](const cv::Mat& in, cv::Mat& out) {
      cv::blur(in, out, cv::Size(w, h), cv::Point(-1, -1), kBorder);
    });
  }, FilterWrites::kAll);
}

VEXA_OPERATOR(gauss_filter) { return GaussBySize(ctx); }

VEXA_OPERATOR(gauss_image) { return GaussBySize(ctx); }

// Sides up to 37 (the weights of larger ones underflow nothing but grow
// beyond what a smoothing mask needs).
VEXA_OPERATOR(binomial_filter) {
  int w = 0, h = 0;
  Vresult rc = ReadMaskSide(ctx, 0, &w);
  if (rc == VRESULT_OK && w > 37) rc = VERR_CTRL_VALUE(0);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &h);
  if (rc == VRESULT_OK && h > 37) rc = VERR_CTRL_VALUE(1);
  if (rc != VRESULT_OK) return rc;
  return SeparableSmooth(ctx, BinomialKernel(w), BinomialKernel(h));
}

namespace {

// smooth_image's kernel for the filter and alpha of controls 0 and 1:
// recursive-filter profiles sampled as separable masks, "deriche1"
// (1 + a x) e^(-a x), "deriche2" the same at 2a, "shen" e^(-a x), and
// "gauss" with sigma = alpha. A smaller alpha smooths more, except for
// "gauss".
Vresult ReadSmoothKernel(const OpContext& ctx, cv::Mat* k) {
  int filter = 0;
  double alpha = 0.0;
  Vresult rc = ReadChoice(ctx, 0, {"deriche1", "deriche2", "shen", "gauss"}, &filter);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 0.01, 100.0, &alpha);
  if (rc != VRESULT_OK) return rc;
  switch (filter) {
    case 0:
    case 1: {
      const double a = filter == 0 ? alpha : 2 * alpha;
      *k = ProfileKernel([a](double x) { return (1 + a * x) * std::exp(-a * x); });
      break;
    }
    case 2:
      *k = ProfileKernel([alpha](double x) { return std::exp(-alpha * x); });
      break;
    default:
      *k = ProfileKernel([alpha](double x) { return std::exp(-x * x / (2 * alpha * alpha)); });
      break;
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(smooth_image) {
  cv::Mat k;
  const Vresult rc = ReadSmoothKernel(ctx, &k);
  return rc == VRESULT_OK ? SeparableSmooth(ctx, k, k) : rc;
}

// The width of smooth_image's kernel (the same along rows and columns)
// and its weights, which sum to 1.
VEXA_OPERATOR(info_smooth) {
  cv::Mat k;
  Vresult rc = ReadSmoothKernel(ctx, &k);
  if (rc != VRESULT_OK) return rc;
  rc = ctx.SetOutpLong(0, k.rows);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, std::vector<double>(k.begin<double>(), k.end<double>())) : rc;
}

}  // namespace vexa
