// depth_from_focus: per pixel, which image of a focus series (the channels
// of one image) is sharpest there. Sharpness is a focus measure summed
// over the pixel's 5 x 5 neighbourhood: "highpass" the squared difference
// of the gray value to its 3 x 3 mean, "bandpass" the squared difference of
// two Gaussian smoothings (sigma 1 and 2). "next_maximum" gives the index
// (0 for the first channel) of the largest measure, "local" refines it by
// the parabola through the measures of the neighbouring channels. The
// confidence is the largest measure's share of the sum of all (0 to 1; 0
// where every measure is 0). Real results, one channel, under the input's
// domain.
#include <algorithm>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kSumSide = 5;

cv::Mat FocusMeasure(const PixelBuffer& channel, bool bandpass) {
  cv::Mat v, detail, measure;
  MatOf(channel).convertTo(v, CV_64F);
  if (bandpass) {
    cv::Mat narrow, wide;
    cv::GaussianBlur(v, narrow, cv::Size(9, 9), 1.0, 1.0, kMirrorBorder);
    cv::GaussianBlur(v, wide, cv::Size(13, 13), 2.0, 2.0, kMirrorBorder);
    detail = narrow - wide;
  } else {
    cv::Mat mean;
    cv::blur(v, mean, cv::Size(3, 3), cv::Point(-1, -1), kMirrorBorder);
    detail = v - mean;
  }
  cv::boxFilter(detail.mul(detail), measure, CV_64F, cv::Size(kSumSide, kSumSide), cv::Point(-1, -1),
                false, kMirrorBorder);
  return measure;
}

Vresult NewResult(const db::ImageData& like, const cv::Mat& values, NewKeys* out) {
  const PixelBuffer& px = *like.channels[0];
  Vkey key = VKEY_UNDEF;
  Vresult rc = db::NewBlankImage(PixelType::kReal, px.width(), px.height(), 1, like.domain, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  PixelBuffer* dst = nullptr;
  rc = db::WritableChannel(key, 0, &dst);
  if (rc == VRESULT_OK) StoreInDomain(values, cv::Rect(0, 0, px.width(), px.height()), *like.domain, dst);
  return rc;
}

}  // namespace

VEXA_OPERATOR(depth_from_focus) {
  int filter = 0, selection = 0;
  Vresult rc = ReadChoice(ctx, 0, {"highpass", "bandpass"}, &filter);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 1, {"next_maximum", "local"}, &selection);
  if (rc != VRESULT_OK) return rc;
  NewKeys depths, confidences;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const size_t n = image.channels.size();
    if (n < 2) return VERR_CHANNEL;
    std::vector<cv::Mat> measures;
    for (const PixelBuffer* ch : image.channels) {
      if (CvDepthOf(ch->type()) < 0) return VERR_PIXEL_TYPE;
      measures.push_back(FocusMeasure(*ch, filter == 1));
    }
    const cv::Size size = measures[0].size();
    cv::Mat depth(size, CV_64F), confidence(size, CV_64F);
    for (int y = 0; y < size.height; ++y)
      for (int x = 0; x < size.width; ++x) {
        size_t best = 0;
        double sum = 0;
        for (size_t k = 0; k < n; ++k) {
          const double m = measures[k].at<double>(y, x);
          sum += m;
          if (m > measures[best].at<double>(y, x)) best = k;
        }
        const double top = measures[best].at<double>(y, x);
        double d = static_cast<double>(best);
        if (selection == 1 && best > 0 && best + 1 < n) {
          const double lo = measures[best - 1].at<double>(y, x), hi = measures[best + 1].at<double>(y, x);
          const double curvature = lo - 2 * top + hi;
          if (curvature < 0) d += std::clamp(0.5 * (lo - hi) / curvature, -0.5, 0.5);
        }
        depth.at<double>(y, x) = d;
        confidence.at<double>(y, x) = sum > 0 ? top / sum : 0.0;
      }
    r = NewResult(image, depth, &depths);
    return r == VRESULT_OK ? NewResult(image, confidence, &confidences) : r;
  });
  if (rc == VRESULT_OK) rc = depths.HandOver(ctx, 1);
  return rc == VRESULT_OK ? confidences.HandOver(ctx, 2) : rc;
}

}  // namespace vexa
