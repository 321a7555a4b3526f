// Scaling images to a new size. Pixels are taken as squares: the output
// pixel square (y, x) maps onto the input rectangle it covers, so that the
// centre of output pixel y reads input row (y + 0.5) / scale - 0.5. The
// domain is scaled as zoom_region scales regions, clipped to the output.
#include <cmath>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/region/kernels/transform.h"
#include "ops/transform/warp.h"
#include "registry.h"

namespace vexa {
namespace {

// `image` scaled to width x height.
Vresult ZoomOne(const db::ImageData& image, Interp interp, int32_t width, int32_t height, Vkey* out) {
  const PixelBuffer& in = *image.channels[0];
  const double sx = static_cast<double>(width) / in.width();
  const double sy = static_cast<double>(height) / in.height();
  Mat2D inv;
  inv << 1.0 / sy, 0.0, 0.5 / sy - 0.5, 0.0, 1.0 / sx, 0.5 / sx - 0.5, 0.0, 0.0, 1.0;
  Warp w = ProjectiveWarp(inv, width, height);
  w.interp = interp;
  w.samples = SamplesForSpan(std::max(1.0 / sx, 1.0 / sy));
  w.pixel_scale = true;
  if (image.domain->area() == in.num_pixels()) {
    w.domain = Region::Rectangle(0, 0, height - 1, width - 1);
  } else {
    w.domain = Region::FromCanonicalChords(ChordZoom(image.domain->chords(), sx, sy))
                   ->ClipToRectangle(0, 0, height - 1, width - 1);
  }
  return WarpImage(image, w, out);
}

// Scales every image of input 1 to size(in) -> (width, height).
template <class SizeOf>
Vresult ZoomImages(OpContext& ctx, Interp interp, SizeOf&& size_of) {
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    int32_t width = 0, height = 0;
    const Vresult rc = size_of(*image.channels[0], &width, &height);
    return rc == VRESULT_OK ? ZoomOne(image, interp, width, height, out) : rc;
  });
}

}  // namespace

VEXA_OPERATOR(zoom_image_size) {
  int32_t width = 0, height = 0;
  Interp interp;
  Vresult rc = GetImageSide(ctx, 0, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 1, &height);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 2, &interp);
  if (rc != VRESULT_OK) return rc;
  return ZoomImages(ctx, interp, [&](const PixelBuffer&, int32_t* w, int32_t* h) {
    *w = width, *h = height;
    return VRESULT_OK;
  });
}

// The output size is the input size times the factor, rounded, at least 1.
VEXA_OPERATOR(zoom_image_factor) {
  double fx = 0.0, fy = 0.0;
  Interp interp;
  Vresult rc = GetFiniteDouble(ctx, 0, &fx);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &fy);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 2, &interp);
  if (rc != VRESULT_OK) return rc;
  if (!(fx > 0.0)) return VERR_CTRL_VALUE(0);
  if (!(fy > 0.0)) return VERR_CTRL_VALUE(1);
  return ZoomImages(ctx, interp, [&](const PixelBuffer& in, int32_t* w, int32_t* h) {
    const double ww = std::max(1.0, std::round(in.width() * fx));
    const double hh = std::max(1.0, std::round(in.height() * fy));
    if (ww > kMaxImageSide || hh > kMaxImageSide) return VERR_TOO_LARGE;
    *w = static_cast<int32_t>(ww), *h = static_cast<int32_t>(hh);
    return VRESULT_OK;
  });
}

// The image and its reductions by `scale` (0 < scale < 1), each level
// made from the one before with the interpolation `mode`, as long as a
// level has both sides of at least one pixel and is smaller than the one
// before. The first level is the input image itself.
VEXA_OPERATOR(gen_gauss_pyramid) {
  Interp interp;
  double scale = 0.0;
  Vresult rc = GetInterpolation(ctx, 0, &interp);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &scale);
  if (rc != VRESULT_OK) return rc;
  if (!(scale > 0.0 && scale < 1.0)) return VERR_CTRL_VALUE(1);
  Vkey key = VKEY_UNDEF;
  rc = ctx.InpObjSingle(1, &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  Vkey level = VKEY_UNDEF;
  if ((rc = db::Copy(key, &level)) != VRESULT_OK) return rc;
  out.Add(level);
  for (;;) {
    db::ImageData image;
    if ((rc = InpImage(1, level, &image)) != VRESULT_OK) return rc;
    const PixelBuffer& in = *image.channels[0];
    const double w = std::round(in.width() * scale), h = std::round(in.height() * scale);
    if (w < 1 || h < 1 || (w >= in.width() && h >= in.height())) break;
    if ((rc = ZoomOne(image, interp, static_cast<int32_t>(w), static_cast<int32_t>(h), &level)) != VRESULT_OK)
      return rc;
    out.Add(level);
  }
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
