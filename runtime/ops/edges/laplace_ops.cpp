// Second-derivative filters: laplace, laplace_of_gauss, diff_of_gauss.
//
// laplace applies a 3x3 Laplace mask, after a binomial smoothing of
// mask_size - 2 when mask_size is above 3 (the two folded into one mask of
// mask_size). The masks are scaled so that x^2 gives 2, the true Laplacian.
#include <cmath>
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "ops/edges/gauss_masks.h"
#include "registry.h"

namespace vexa {
namespace {

enum class LaplaceResult { kAbsolute, kSigned, kSignedClipped };

bool ParseLaplaceMask(const char* name, cv::Mat* mask) {
  if (std::strcmp(name, "n_4") == 0)
    *mask = (cv::Mat_<double>(3, 3) << 0, 1, 0, 1, -4, 1, 0, 1, 0);
  else if (std::strcmp(name, "n_8") == 0)
    *mask = (cv::Mat_<double>(3, 3) << 1, 1, 1, 1, -8, 1, 1, 1, 1) / 3.0;
  else if (std::strcmp(name, "n_8_isotropic") == 0)
    *mask = (cv::Mat_<double>(3, 3) << 1, 2, 1, 2, -12, 2, 1, 2, 1) / 4.0;
  else
    return false;
  return true;
}

// The Laplace mask folded with a binomial smoothing of size - 2.
cv::Mat LaplaceMask(const cv::Mat& mask3, int size) {
  if (size == 3) return mask3;
  // Binomial row of size - 2 entries, summing to 1.
  cv::Mat binomial = cv::Mat::zeros(size - 2, 1, CV_64F);
  binomial.at<double>(0) = 1.0;
  for (int k = 1; k < size - 2; ++k)
    for (int i = k; i > 0; --i) binomial.at<double>(i) += binomial.at<double>(i - 1);
  binomial /= cv::sum(binomial)[0];
  const cv::Mat smooth2d = binomial * binomial.t();
  cv::Mat padded;
  cv::copyMakeBorder(smooth2d, padded, 1, 1, 1, 1, cv::BORDER_CONSTANT, 0);
  cv::Mat folded;
  // Correlating the padded smoothing mask with the (symmetric) Laplace
  // mask is their convolution.
  cv::filter2D(padded, folded, CV_64F, mask3, cv::Point(-1, -1), 0, cv::BORDER_CONSTANT);
  return folded;
}

// Filters each image with `mask` into the type that result_type gives,
// storing value(response).
template <class ResultType, class Value>
Vresult FilterWithMask(OpContext& ctx, const cv::Mat& mask, ResultType&& result_type,
                       Value&& value) {
  return FilterImages(ctx, 1, result_type,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const FilterSource src = SourceFor(in, area.box, mask.rows / 2, CV_64F);
    cv::Mat response;
    cv::filter2D(src.Roi(), response, CV_64F, mask, cv::Point(-1, -1), 0, kMirrorBorder);
    StoreMappedInDomain<double>(response, area, outs[0], value);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(laplace) {
  const char *result_name = nullptr, *mask_name = nullptr;
  Vlong size = 0;
  Vresult rc = ctx.GetString(0, &result_name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &size);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &mask_name);
  if (rc != VRESULT_OK) return rc;
  LaplaceResult result;
  if (std::strcmp(result_name, "absolute") == 0) result = LaplaceResult::kAbsolute;
  else if (std::strcmp(result_name, "signed") == 0) result = LaplaceResult::kSigned;
  else if (std::strcmp(result_name, "signed_clipped") == 0) result = LaplaceResult::kSignedClipped;
  else return VERR_CTRL_VALUE(0);
  if (size < 3 || size > 29 || size % 2 == 0) return VERR_CTRL_VALUE(1);
  cv::Mat mask3;
  if (!ParseLaplaceMask(mask_name, &mask3)) return VERR_CTRL_VALUE(2);
  const cv::Mat mask = LaplaceMask(mask3, static_cast<int>(size));
  return FilterWithMask(ctx, mask,
                        [result](PixelType in, int, PixelType* out) {
                          *out = result == LaplaceResult::kSigned ? SignedTypeOf(in) : in;
                          return IsGrayType(in);
                        },
                        [result](double v) {
                          return result == LaplaceResult::kAbsolute ? std::fabs(v) : v;
                        });
}

// laplace_of_gauss: the Laplacian of the Gaussian-smoothed image, real.
VEXA_OPERATOR(laplace_of_gauss) {
  double sigma;
  const Vresult rc = GetSigma(ctx, 0, &sigma);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, 1, RealGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const cv::Mat lxx = GaussDerivative(in, area.box, sigma, 2, 0);
    const cv::Mat lyy = GaussDerivative(in, area.box, sigma, 0, 2);
    StorePairInDomain<double>(lxx, lyy, area, outs[0],
                              [](double a, double b) { return a + b; });
    return VRESULT_OK;
  });
}

// diff_of_gauss: the image smoothed with sigma minus the image smoothed
// with sigma * sig_factor, real.
VEXA_OPERATOR(diff_of_gauss) {
  double sigma, factor;
  Vresult rc = GetSigma(ctx, 0, &sigma);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &factor);
  if (rc != VRESULT_OK) return rc;
  if (!(factor > 0) || !(sigma * factor <= kMaxSigma)) return VERR_CTRL_VALUE(1);
  return FilterImages(ctx, 1, RealGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const cv::Mat a = GaussDerivative(in, area.box, sigma, 0, 0);
    const cv::Mat b = GaussDerivative(in, area.box, sigma * factor, 0, 0);
    StorePairInDomain<double>(a, b, area, outs[0], [](double x, double y) { return x - y; });
    return VRESULT_OK;
  });
}

}  // namespace vexa
