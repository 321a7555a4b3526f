// Image input for the sub-pixel edge and iso-line operators: the first
// channel as a float matrix and the domain as a byte mask.
#pragma once

#include <opencv2/core.hpp>

#include "ops/common/pixel_dispatch.h"
#include "xld_support.h"

namespace vexa {
namespace xld {

struct FloatImage {
  cv::Mat values;  // CV_32F, the image's size
  cv::Mat domain;  // CV_8U, 1 inside the domain
};

// Channel `channel` of the image at input `par`; complex images give their
// real part.
inline Vresult InpFloatImage(int par, Vkey key, int channel, FloatImage* out) {
  db::ImageData image;
  const Vresult rc = InpImage(par, key, &image);
  if (rc != VRESULT_OK) return rc;
  if (channel >= static_cast<int>(image.channels.size())) return VERR_CHANNEL;
  const PixelBuffer& b = *image.channels[static_cast<size_t>(channel)];
  out->values.create(b.height(), b.width(), CV_32F);
  DispatchPixelType(b.type(), [&](auto tag) {
    const auto* src = PixelsOf(b, tag);
    float* dst = out->values.ptr<float>();
    for (Vlong i = 0; i < b.num_pixels(); ++i) dst[i] = static_cast<float>(src[i]);
  });
  out->domain = cv::Mat::zeros(b.height(), b.width(), CV_8U);
  for (const Chord& ch : image.domain->chords())
    out->domain.row(ch.r).colRange(ch.cb, ch.ce + 1).setTo(1);
  return VRESULT_OK;
}

}  // namespace xld
}  // namespace vexa
