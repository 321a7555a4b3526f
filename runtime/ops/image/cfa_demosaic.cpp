// cfa_to_rgb: the raw image of a colour sensor behind a Bayer filter
// array, interpolated into a three-channel RGB image.
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "image_op_util.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

// The OpenCV conversion for a filter layout named by the colours of its
// first two pixels of row 0 ("bayer_rg": red, then green). OpenCV names a
// layout by the second and third pixels of row 1 instead, the colours
// diagonally below them.
int BayerCode(const char* layout, int interpolation) {
  static const struct {
    const char* name;
    int codes[3];  // bilinear, edge-aware, variable number of gradients
  } kLayouts[] = {
      {"bayer_rg", {cv::COLOR_BayerBG2RGB, cv::COLOR_BayerBG2RGB_EA, cv::COLOR_BayerBG2RGB_VNG}},
      {"bayer_gr", {cv::COLOR_BayerGB2RGB, cv::COLOR_BayerGB2RGB_EA, cv::COLOR_BayerGB2RGB_VNG}},
      {"bayer_bg", {cv::COLOR_BayerRG2RGB, cv::COLOR_BayerRG2RGB_EA, cv::COLOR_BayerRG2RGB_VNG}},
      {"bayer_gb", {cv::COLOR_BayerGR2RGB, cv::COLOR_BayerGR2RGB_EA, cv::COLOR_BayerGR2RGB_VNG}},
  };
  for (const auto& l : kLayouts)
    if (std::strcmp(layout, l.name) == 0) return l.codes[interpolation];
  return -1;
}

}  // namespace

// cfa_type "bayer_rg", "bayer_gr", "bayer_bg" or "bayer_gb"; interpolation
// "bilinear", "bilinear_dir" (along edges rather than across them) or
// "bilinear_enhanced" (by the smoothest directions, byte images only).
// Byte and uint2 images of at least 3 x 3 pixels; the result has their
// type and domain, computed over the whole image.
VEXA_OPERATOR(cfa_to_rgb) {
  const char* layout = nullptr;
  int interpolation = 0;
  Vresult rc = ctx.GetString(0, &layout);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 1, {"bilinear", "bilinear_dir", "bilinear_enhanced"}, &interpolation);
  if (rc != VRESULT_OK) return rc;
  const int code = BayerCode(layout, interpolation);
  if (code < 0) return VERR_CTRL_VALUE(0);
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const PixelBuffer& raw = *image.channels[0];
    if (image.channels.size() != 1) return VERR_CHANNEL;
    const bool bytes = raw.type() == PixelType::kByte;
    if (!bytes && raw.type() != PixelType::kUInt2) return VERR_PIXEL_TYPE;
    if (!bytes && interpolation == 2) return VERR_PIXEL_TYPE;
    if (raw.width() < 3 || raw.height() < 3) return VERR_IMAGE_SIZE;
    cv::Mat rgb;
    cv::cvtColor(MatOf(raw), rgb, code);
    Channels channels(3);
    cv::Mat planes[3];
    for (int c = 0; c < 3; ++c) {
      const Vresult r = PixelBuffer::CreateUncleared(raw.type(), raw.width(), raw.height(), &channels[c]);
      if (r != VRESULT_OK) return r;
      planes[c] = MatOf(channels[c].get());
    }
    cv::split(rgb, planes);
    return db::NewImage(image.domain, std::move(channels), out);
  });
}

}  // namespace vexa
