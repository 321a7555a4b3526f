// Corner detectors from the structure tensor M = mean of (gx^2, gx gy,
// gy^2): corner_response and points_harris. The response is
// det(M) - weight * trace(M)^2, positive at corners.
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"
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
// sigma_smooth; the points are the domain pixels whose response exceeds
// threshold and all 8 neighbours (ties: the first in row order), refined
// to sub-pixel position by a parabola through the neighbours in each axis.
VEXA_OPERATOR(points_harris) {
  double sigma_grad, sigma_smooth, alpha, threshold;
  Vresult rc = GetSigma(ctx, 0, &sigma_grad);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 1, &sigma_smooth);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &alpha);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &threshold);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(alpha) || alpha < 0) return VERR_CTRL_VALUE(2);
  if (std::isnan(threshold)) return VERR_CTRL_VALUE(3);
  Vkey key = VKEY_UNDEF;
  rc = ctx.InpObjSingle(1, &key);
  db::ImageData image;
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& in = *image.channels[0];
  if (!IsGrayType(in.type())) return VERR_PIXEL_TYPE;
  std::vector<double> rows, cols;
  const cv::Rect box = BoxOf(*image.domain);
  if (!box.empty()) {
    // One pixel around the box for the neighbour comparison.
    const cv::Rect outer = GrowBox(box, 1, cv::Size(in.width(), in.height()));
    const cv::Mat gauss = GaussMask(sigma_smooth, 0);
    const cv::Mat response = HarrisResponse(
        in, outer, GaussRadius(sigma_smooth), alpha,
        [&](const cv::Rect& b, cv::Mat* gx, cv::Mat* gy) {
          *gx = GaussDerivative(in, b, sigma_grad, 1, 0);
          *gy = GaussDerivative(in, b, sigma_grad, 0, 1);
        },
        [&](const cv::Mat& m, cv::Mat* out) {
          cv::sepFilter2D(m, *out, CV_64F, gauss, gauss, cv::Point(-1, -1), 0, kMirrorBorder);
        });
    auto at = [&](int r, int c) {
      return response.at<double>(cv::borderInterpolate(r - outer.y, response.rows, kMirrorBorder),
                                 cv::borderInterpolate(c - outer.x, response.cols, kMirrorBorder));
    };
    for (const Chord& ch : image.domain->chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c) {
        const double v = at(ch.r, c);
        if (!(v > threshold)) continue;
        bool peak = true;
        for (int dr = -1; dr <= 1 && peak; ++dr)
          for (int dc = -1; dc <= 1 && peak; ++dc) {
            if (dr == 0 && dc == 0) continue;
            const double n = at(ch.r + dr, c + dc);
            // Plateaus: only the first pixel in row order counts.
            peak = dr < 0 || (dr == 0 && dc < 0) ? v > n : v >= n;
          }
        if (!peak) continue;
        auto offset = [](double minus, double mid, double plus) {
          const double d = minus - 2 * mid + plus;
          return d < 0 ? 0.5 * (minus - plus) / d : 0.0;
        };
        rows.push_back(ch.r + offset(at(ch.r - 1, c), v, at(ch.r + 1, c)));
        cols.push_back(c + offset(at(ch.r, c - 1), v, at(ch.r, c + 1)));
      }
  }
  rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  return rc;
}

}  // namespace vexa
