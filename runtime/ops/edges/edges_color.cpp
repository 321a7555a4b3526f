// edges_color: the edges of a multi-channel image by the gradient of its
// channels taken together. The channels' derivatives (of the filter that
// edges_image names) form the tensor G = sum over channels of (gx, gy)
// (gx, gy)^T; the edge amplitude is the root of G's larger eigenvalue, the
// direction its eigenvector, turned to the side where the channels'
// gradients mostly point. Thinning and hysteresis then run as in
// edges_image on that amplitude and direction; the filters' "m" variants
// give the same result as their plain ones, since the tensor has no
// larger-component norm. One amplitude image (the input's type) and one
// direction image per input image, both one channel.
#include <cmath>

#include "ops/edges/edge_filters.h"
#include "ops/edges/edge_thinning.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/gradient.h"
#include "registry.h"

namespace vexa {
namespace {

// The derivatives of one channel over `box`, in double.
void ChannelGradient(const PixelBuffer& in, const cv::Rect& box, const EdgeFilter& filter,
                     cv::Mat* gx, cv::Mat* gy) {
  cv::Mat x, y;
  if (filter.sigma > 0) {
    x = GaussDerivative(in, box, filter.sigma, 1, 0, true);
    y = GaussDerivative(in, box, filter.sigma, 0, 1, true);
  } else {
    Gradients(in, box, SobelMasks(3), &x, &y);
  }
  x.convertTo(*gx, CV_64F);
  y.convertTo(*gy, CV_64F);
}

// The gradient (gx, gy) of all channels together over `box`: length the
// root of the tensor's larger eigenvalue, along its eigenvector.
void ColorGradient(const db::ImageData& image, const cv::Rect& box, const EdgeFilter& filter,
                   cv::Mat* gx, cv::Mat* gy) {
  cv::Mat gxx = cv::Mat::zeros(box.size(), CV_64F), gxy = gxx.clone(), gyy = gxx.clone();
  cv::Mat sum_x = gxx.clone(), sum_y = gxx.clone();
  for (const PixelBuffer* channel : image.channels) {
    cv::Mat x, y;
    ChannelGradient(*channel, box, filter, &x, &y);
    gxx += x.mul(x);
    gxy += x.mul(y);
    gyy += y.mul(y);
    sum_x += x;
    sum_y += y;
  }
  *gx = cv::Mat(box.size(), CV_64F);
  *gy = cv::Mat(box.size(), CV_64F);
  for (int r = 0; r < box.height; ++r)
    for (int c = 0; c < box.width; ++c) {
      const double a = gxx.at<double>(r, c), b = gxy.at<double>(r, c), d = gyy.at<double>(r, c);
      const double larger = 0.5 * (a + d) + std::hypot(0.5 * (a - d), b);
      const double theta = 0.5 * std::atan2(2 * b, a - d);
      double ux = std::cos(theta), uy = std::sin(theta);
      if (ux * sum_x.at<double>(r, c) + uy * sum_y.at<double>(r, c) < 0) {
        ux = -ux;
        uy = -uy;
      }
      const double length = std::sqrt(std::max(larger, 0.0));
      gx->at<double>(r, c) = length * ux;
      gy->at<double>(r, c) = length * uy;
    }
}

// A new one-channel result image of `type` under `image`'s domain.
Vresult NewResult(const db::ImageData& image, PixelType type, NewKeys* out, PixelBuffer** px) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = NewFilterResult(type, *image.channels[0], 1, image.domain, FilterWrites::kSome, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  return db::WritableChannel(key, 0, px);
}

}  // namespace

VEXA_OPERATOR(edges_color) {
  EdgeFilter filter;
  Nms nms;
  double low = 0, high = 0;
  Vresult rc = ReadEdgeParams(ctx, &filter, &nms, &low, &high);
  if (rc != VRESULT_OK) return rc;
  NewKeys amps, dirs;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& first = *image.channels[0];
    if (!IsGrayType(first.type())) return VERR_PIXEL_TYPE;
    PixelBuffer *amp_out = nullptr, *dir_out = nullptr;
    r = NewResult(image, first.type(), &amps, &amp_out);
    if (r == VRESULT_OK) r = NewResult(image, PixelType::kDirection, &dirs, &dir_out);
    if (r != VRESULT_OK) return r;
    const cv::Rect box = BoxOf(*image.domain);
    if (box.empty()) return VRESULT_OK;
    // One pixel around the box for the thinning's neighbours.
    const cv::Rect grown = GrowBox(box, 1, cv::Size(first.width(), first.height()));
    const cv::Rect inner = box - grown.tl();
    cv::Mat gx, gy, amp;
    ColorGradient(image, grown, filter, &gx, &gy);
    cv::magnitude(gx, gy, amp);
    const cv::Mat keep = Hysteresis(Thinned(amp, gx, gy, nms)(inner), MaskOfRegion(*image.domain, box),
                                    low, high);
    cv::Mat edges, codes;
    EdgeValues<double>(gx(inner), gy(inner), keep, false, &edges, &codes);
    StoreInDomain(edges, box, *image.domain, amp_out);
    StoreInDomain(codes, box, *image.domain, dir_out);
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = amps.HandOver(ctx, 1);
  return rc == VRESULT_OK ? dirs.HandOver(ctx, 2) : rc;
}

}  // namespace vexa
