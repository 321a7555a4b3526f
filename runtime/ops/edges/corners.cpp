// Corner detectors from the structure tensor M = mean of (gx^2, gx gy,
// gy^2): corner_response, points_harris and points_harris_binomial. The
// response is det(M) - weight * trace(M)^2, positive at corners.
#include <cmath>
#include <cstring>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"
#include "ops/edges/response_peaks.h"
#include "registry.h"

namespace vexa {
namespace {

// The response over `box`, from gradients over `box` grown by `reach`,
// whose products `smooth` averages (it reads the real neighbours around
// the region of interest it gets).
template <class Gradient, class Smooth>
cv::Mat HarrisResponse(const PixelBuffer& in, const cv::Rect& box, int reach, double weight,
                       Gradient&& gradient, Smooth&& smooth) {
  const cv::Rect grown = GrowBox(box, reach, cv::Size(in.width(), in.height()));
  cv::Mat gx, gy;
  gradient(grown, &gx, &gy);
  const cv::Rect inner = box - grown.tl();
  const cv::Mat xx = gx.mul(gx), xy = gx.mul(gy), yy = gy.mul(gy);
  cv::Mat sxx, sxy, syy;
  smooth(xx(inner), &sxx);
  smooth(xy(inner), &sxy);
  smooth(yy(inner), &syy);
  cv::Mat trace = sxx + syy;
  cv::Mat response = sxx.mul(syy) - sxy.mul(sxy) - weight * trace.mul(trace);
  return response;
}

// The points of the single gray image of input object 1 into output
// controls 0 and 1: points(in, domain, box, &rows, &cols) for a non-empty
// domain.
template <class Points>
Vresult FindPoints(OpContext& ctx, Points&& points) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(1, &key);
  db::ImageData image;
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& in = *image.channels[0];
  if (!IsGrayType(in.type())) return VERR_PIXEL_TYPE;
  std::vector<double> rows, cols;
  const cv::Rect box = BoxOf(*image.domain);
  if (!box.empty()) points(in, *image.domain, box, &rows, &cols);
  rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  return rc;
}

// The response of gradients and smoothing as in HarrisResponse over the
// domain's box grown by one pixel, and its peaks.
template <class Gradient, class Smooth>
void HarrisPoints(const PixelBuffer& in, const Region& domain, const cv::Rect& box, int reach,
                  double alpha, double threshold, bool subpix, Gradient&& gradient,
                  Smooth&& smooth, std::vector<double>* rows, std::vector<double>* cols) {
  const cv::Rect outer = GrowBox(box, 1, cv::Size(in.width(), in.height()));
  const cv::Mat response = HarrisResponse(in, outer, reach, alpha, gradient, smooth);
  ResponsePeaks(response, outer, domain, threshold, subpix, rows, cols);
}

// Reads alpha (control `par`) and threshold (`par` + 1).
Vresult ReadHarrisWeights(const OpContext& ctx, int par, double* alpha, double* threshold) {
  Vresult rc = ctx.GetDouble(par, alpha);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(par + 1, threshold);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(*alpha) || *alpha < 0) return VERR_CTRL_VALUE(par);
  if (std::isnan(*threshold)) return VERR_CTRL_VALUE(par + 1);
  return VRESULT_OK;
}

}  // namespace

// corner_response: 3x3 Sobel gradients averaged over a size x size square,
// as a real image.
VEXA_OPERATOR(corner_response) {
  Vlong size = 0;
  double weight;
  Vresult rc = ctx.GetLong(0, &size);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &weight);
  if (rc != VRESULT_OK) return rc;
  if (size < 3 || size > 201 || size % 2 == 0) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(weight) || weight < 0) return VERR_CTRL_VALUE(1);
  const int side = static_cast<int>(size);
  const GradientMasks masks = SobelMasks(3);
  return FilterImages(ctx, 1, RealGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const cv::Mat response = HarrisResponse(
        in, area.box, side / 2, weight,
        [&](const cv::Rect& b, cv::Mat* gx, cv::Mat* gy) {
          Gradients(in, b, masks, gx, gy);
          gx->convertTo(*gx, CV_64F);
          gy->convertTo(*gy, CV_64F);
        },
        [&](const cv::Mat& m, cv::Mat* out) {
          cv::boxFilter(m, *out, CV_64F, cv::Size(side, side), cv::Point(-1, -1), true,
                        kMirrorBorder);
        });
    StoreInDomain(response, area.box, area.domain, outs[0]);
    return VRESULT_OK;
  });
}

// points_harris: Gaussian gradients of sigma_grad, products smoothed with
// sigma_smooth; points with sub-pixel positions.
VEXA_OPERATOR(points_harris) {
  double sigma_grad, sigma_smooth, alpha, threshold;
  Vresult rc = GetSigma(ctx, 0, &sigma_grad);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 1, &sigma_smooth);
  if (rc == VRESULT_OK) rc = ReadHarrisWeights(ctx, 2, &alpha, &threshold);
  if (rc != VRESULT_OK) return rc;
  const cv::Mat gauss = GaussMask(sigma_smooth, 0);
  return FindPoints(ctx, [&](const PixelBuffer& in, const Region& domain, const cv::Rect& box,
                             std::vector<double>* rows, std::vector<double>* cols) {
    HarrisPoints(
        in, domain, box, GaussRadius(sigma_smooth), alpha, threshold, true,
        [&](const cv::Rect& b, cv::Mat* gx, cv::Mat* gy) {
          *gx = GaussDerivative(in, b, sigma_grad, 1, 0);
          *gy = GaussDerivative(in, b, sigma_grad, 0, 1);
        },
        [&](const cv::Mat& m, cv::Mat* out) {
          cv::sepFilter2D(m, *out, CV_64F, gauss, gauss, cv::Point(-1, -1), 0, kMirrorBorder);
        },
        rows, cols);
  });
}

// points_harris_binomial: binomial (Sobel) gradients of mask_size_grad,
// products smoothed by the binomial mask of mask_size_smooth; sub-pixel
// positions with subpix "on", pixel positions with "off".
VEXA_OPERATOR(points_harris_binomial) {
  Vlong grad_size = 0, smooth_size = 0;
  double alpha, threshold;
  const char* subpix = nullptr;
  Vresult rc = ctx.GetLong(0, &grad_size);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &smooth_size);
  if (rc == VRESULT_OK) rc = ReadHarrisWeights(ctx, 2, &alpha, &threshold);
  if (rc == VRESULT_OK) rc = ctx.GetString(4, &subpix);
  if (rc != VRESULT_OK) return rc;
  if (grad_size < 3 || grad_size > 31 || grad_size % 2 == 0) return VERR_CTRL_VALUE(0);
  if (smooth_size < 1 || smooth_size > 31 || smooth_size % 2 == 0) return VERR_CTRL_VALUE(1);
  const bool on = std::strcmp(subpix, "on") == 0;
  if (!on && std::strcmp(subpix, "off") != 0) return VERR_CTRL_VALUE(4);
  const GradientMasks masks = SobelMasks(static_cast<int>(grad_size));
  // The binomial mask is the smoothing half of the Sobel masks, summing to 1.
  cv::Mat binomial = smooth_size == 1 ? cv::Mat::ones(1, 1, CV_64F)
                                      : SobelMasks(static_cast<int>(smooth_size)).smooth.clone();
  binomial /= cv::sum(binomial)[0];
  return FindPoints(ctx, [&](const PixelBuffer& in, const Region& domain, const cv::Rect& box,
                             std::vector<double>* rows, std::vector<double>* cols) {
    HarrisPoints(
        in, domain, box, static_cast<int>(smooth_size / 2), alpha, threshold, on,
        [&](const cv::Rect& b, cv::Mat* gx, cv::Mat* gy) {
          Gradients(in, b, masks, gx, gy);
          gx->convertTo(*gx, CV_64F);
          gy->convertTo(*gy, CV_64F);
        },
        [&](const cv::Mat& m, cv::Mat* out) {
          cv::sepFilter2D(m, *out, CV_64F, binomial, binomial, cv::Point(-1, -1), 0,
                          kMirrorBorder);
        },
        rows, cols);
  });
}

}  // namespace vexa
