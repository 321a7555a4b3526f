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
#include <cstring>
#include <string>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/edges/edge_thinning.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"
#include "ops/edges/row_canny.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Nms { kNms, kInterpolated, kHorizontalVertical, kNone };

struct EdgeFilter {
  double sigma = 0;  // 0: 3x3 Sobel
  bool max_norm = false;
};

Vresult ReadFilter(const OpContext& ctx, EdgeFilter* filter) {
  const char* name = nullptr;
  double alpha;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &alpha);
  if (rc != VRESULT_OK) return rc;
  const std::string f = name;
  filter->max_norm = f == "mshen" || f == "mderiche1" || f == "mderiche2";
  if (f == "sobel_fast") return VRESULT_OK;
  if (!std::isfinite(alpha) || alpha <= 0) return VERR_CTRL_VALUE(1);
  if (f == "canny") {
    filter->sigma = alpha;
  } else if (f == "deriche1" || f == "deriche2" || f == "lanser1" || f == "lanser2" ||
             f == "mderiche1" || f == "mderiche2") {
    filter->sigma = std::sqrt(M_PI) / alpha;
  } else if (f == "shen" || f == "mshen") {
    if (alpha >= 1) return VERR_CTRL_VALUE(1);
    filter->sigma = std::sqrt(2.0) / -std::log(1.0 - alpha);
  } else {
    return VERR_CTRL_VALUE(0);
  }
  return filter->sigma <= kMaxSigma ? VRESULT_OK : VERR_CTRL_VALUE(1);
}

Vresult ReadNms(const OpContext& ctx, Nms* nms) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(name, "nms") == 0) *nms = Nms::kNms;
  else if (std::strcmp(name, "inms") == 0) *nms = Nms::kInterpolated;
  else if (std::strcmp(name, "hvnms") == 0) *nms = Nms::kHorizontalVertical;
  else if (std::strcmp(name, "none") == 0) *nms = Nms::kNone;
  else return VERR_CTRL_VALUE(2);
  return VRESULT_OK;
}

cv::Mat Thinned(const cv::Mat& amp, const cv::Mat& gx, const cv::Mat& gy, Nms nms) {
  switch (nms) {
    case Nms::kNms:
      return SuppressNonMaxima(amp, [&](int r, int c, int* dr, int* dc) {
        GradientStep(gx.at<double>(r, c), gy.at<double>(r, c), dr, dc);
      });
    case Nms::kHorizontalVertical:
      return SuppressNonMaxima(amp, [&](int r, int c, int* dr, int* dc) {
        const double x = std::fabs(gx.at<double>(r, c)), y = std::fabs(gy.at<double>(r, c));
        *dr = y > x ? 1 : 0;
        *dc = x >= y && x > 0 ? 1 : 0;
      });
    case Nms::kInterpolated: {
      cv::Mat angle(amp.size(), CV_64F);
      for (int r = 0; r < amp.rows; ++r)
        for (int c = 0; c < amp.cols; ++c) {
          const double x = gx.at<double>(r, c), y = gy.at<double>(r, c);
          angle.at<double>(r, c) = x == 0 && y == 0 ? NAN : std::atan2(-y, x);
        }
      return SuppressInterpolated(amp, angle);
    }
    case Nms::kNone: break;
  }
  return amp;
}

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

}  // namespace

VEXA_OPERATOR(edges_image) {
  EdgeFilter filter;
  Nms nms;
  Vlong low = 0, high = 0;
  Vresult rc = ReadFilter(ctx, &filter);
  if (rc == VRESULT_OK) rc = ReadNms(ctx, &nms);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &low);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &high);
  if (rc != VRESULT_OK) return rc;
  if (low < 0) return VERR_CTRL_VALUE(3);
  if (high < low) return VERR_CTRL_VALUE(4);
  return FilterImages(ctx, 2, AmpAndDirection,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    if (nms == Nms::kNms && !filter.max_norm) {
      const GradientMasks masks = filter.sigma > 0
                                      ? GradientMasks{GaussMask(filter.sigma, 1),
                                                      GaussMask(filter.sigma, 0)}
                                      : SobelMasks(3);
      if (RowCannyEdges(in, area, masks, static_cast<double>(low), static_cast<double>(high),
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
        !TrackByOpenCv(gx, gy, inner, static_cast<double>(low), static_cast<double>(high), &keep)) {
      cv::Mat x, y, amp;
      gx.convertTo(x, CV_64F);
      gy.convertTo(y, CV_64F);
      if (filter.max_norm)
        amp = cv::max(cv::Mat(cv::abs(x)), cv::Mat(cv::abs(y)));
      else
        cv::magnitude(x, y, amp);
      keep = Hysteresis(Thinned(amp, x, y, nms)(inner), MaskOfRegion(area.domain, area.box),
                        static_cast<double>(low), static_cast<double>(high));
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
