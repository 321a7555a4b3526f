// edges_image: edge amplitude and direction of a smoothing derivative
// filter, thinned by non-maximum suppression and tracked by hysteresis
// thresholds; pixels that are no edge get amplitude 0 and direction 255.
//
// "canny" differentiates a Gaussian of sigma = alpha. The recursive
// filters are approximated by the Gaussian of the same spread: "deriche1",
// "deriche2", "lanser1", "lanser2", "mderiche1", "mderiche2" by sigma =
// sqrt(pi) / alpha, "shen" and "mshen" (alpha in (0, 1)) by the spread of
// the two-sided exponential (1 - alpha)^|x|, sigma = sqrt(2) / -ln(1 -
// alpha). "sobel_fast" uses the 3x3 Sobel masks and ignores alpha. The
// amplitude is the gradient's length, for the "m" filters its larger
// component.
//
// nms: "nms" keeps pixels not below the neighbours along the gradient
// (nearest of 8 directions), "inms" compares with amplitudes interpolated
// along the exact gradient direction, "hvnms" with the horizontal or the
// vertical neighbours, whichever lie closer to the gradient, "none" keeps
// all. Hysteresis keeps the pixels above low that connect (8-neighbours,
// inside the domain) to a pixel above high. "nms" makes the decisions of
// OpenCV's Canny stage on 16-bit derivatives, which tracks through the
// whole bounding box of the domain and breaks ties between equal
// neighbours toward one side: streamed row by row (row_canny.h) for the
// types filtered in float, on OpenCV's stage itself otherwise.
#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/edges/edge_filters.h"
#include "ops/edges/edge_thinning.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"
#include "ops/edges/row_canny.h"
#include "registry.h"

namespace vexa {
namespace {

// "nms" and hysteresis by OpenCV's Canny stage, which takes 16-bit
// derivatives: the derivatives are scaled so that the largest fills about
// half the range. False (nothing done) when that would lose precision: a
// scale below 1, or thresholds beyond OpenCV's limit of 32767.
bool TrackByOpenCv(const cv::Mat& gx, const cv::Mat& gy, const cv::Rect& inner, double low,
                   double high, cv::Mat* keep) {
  double gx_min, gx_max, gy_min, gy_max;
  cv::minMaxLoc(gx, &gx_min, &gx_max);
  cv::minMaxLoc(gy, &gy_min, &gy_max);
  const double bound = std::max({-gx_min, gx_max, -gy_min, gy_max, 1e-300});
  const double scale = std::min(16000.0 / bound, 32767.0 / std::max(high, 1.0));
  if (!(scale >= 1.0)) return false;
  cv::Mat dx, dy, edges;
  gx.convertTo(dx, CV_16S, scale);
  gy.convertTo(dy, CV_16S, scale);
  cv::Canny(dx, dy, edges, low * scale, high * scale, true);
  *keep = edges(inner).clone();
  return true;
}

}  // namespace

VEXA_OPERATOR(edges_image) {
  EdgeFilter filter;
  Nms nms;
  double low = 0, high = 0;
  Vresult rc = ReadEdgeParams(ctx, &filter, &nms, &low, &high);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, 2, AmpAndDirection,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    if (nms == Nms::kNms && !filter.max_norm) {
      const GradientMasks masks = filter.sigma > 0
                                      ? GradientMasks{GaussMask(filter.sigma, 1),
                                                      GaussMask(filter.sigma, 0)}
                                      : SobelMasks(3);
      if (RowCannyEdges(in, area, masks, low, high,
                        outs))
        return VRESULT_OK;
    }
    // One pixel around the box for the suppression's neighbours.
    const cv::Rect grown = GrowBox(area.box, 1, cv::Size(in.width(), in.height()));
    const cv::Rect inner = area.box - grown.tl();
    cv::Mat gx, gy;
    if (filter.sigma > 0) {
      gx = GaussDerivative(in, grown, filter.sigma, 1, 0, true);
      gy = GaussDerivative(in, grown, filter.sigma, 0, 1, true);
    } else {
      Gradients(in, grown, SobelMasks(3), &gx, &gy);
    }
    cv::Mat keep;
    if (nms != Nms::kNms || filter.max_norm ||
        !TrackByOpenCv(gx, gy, inner, low, high, &keep)) {
      cv::Mat x, y, amp;
      gx.convertTo(x, CV_64F);
      gy.convertTo(y, CV_64F);
      if (filter.max_norm)
        amp = cv::max(cv::Mat(cv::abs(x)), cv::Mat(cv::abs(y)));
      else
        cv::magnitude(x, y, amp);
      keep = Hysteresis(Thinned(amp, x, y, nms)(inner), MaskOfRegion(area.domain, area.box),
                        low, high);
    } else if (area.domain.area() != area.box.area()) {
      keep &= MaskOfRegion(area.domain, area.box);
    }
    cv::Mat edges, codes;
    if (gx.depth() == CV_32F)
      EdgeValues<float>(gx(inner), gy(inner), keep, filter.max_norm, &edges, &codes);
    else
      EdgeValues<double>(gx(inner), gy(inner), keep, filter.max_norm, &edges, &codes);
    StoreInDomain(edges, area.box, area.domain, outs[0]);
    StoreInDomain(codes, area.box, area.domain, outs[1]);
    return VRESULT_OK;
  }, FilterWrites::kAll);
}

}  // namespace vexa
