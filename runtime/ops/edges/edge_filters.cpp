#include "ops/edges/edge_filters.h"

#include <cstring>
#include <string>

#include "ops/edges/edge_thinning.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"

namespace vexa {

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

Vresult ReadEdgeParams(const OpContext& ctx, EdgeFilter* filter, Nms* nms, double* low,
                       double* high) {
  Vlong lo = 0, hi = 0;
  Vresult rc = ReadFilter(ctx, filter);
  if (rc == VRESULT_OK) rc = ReadNms(ctx, nms);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &lo);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &hi);
  if (rc != VRESULT_OK) return rc;
  if (lo < 0) return VERR_CTRL_VALUE(3);
  if (hi < lo) return VERR_CTRL_VALUE(4);
  *low = static_cast<double>(lo);
  *high = static_cast<double>(hi);
  return VRESULT_OK;
}

}  // namespace vexa
