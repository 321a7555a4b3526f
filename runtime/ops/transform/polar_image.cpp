// Polar transforms of images and regions about a centre (row, column), by
// the polar map of polar_map.h. The inverse transforms map every image
// pixel back to its polar point. Domains follow the pixels: an output pixel
// belongs to the result's domain when its source point rounds to a pixel
// of the input domain.
#include <cmath>
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/region/region_op_util.h"
#include "ops/transform/polar_map.h"
#include "ops/transform/warp.h"
#include "registry.h"

namespace vexa {
namespace {

// Makes the polar images (or, with `inverse`, the images of polar images)
// of input 1 at output size out_w x out_h.
Vresult PolarImages(OpContext& ctx, Polar p, bool inverse, int32_t out_w,
                    int32_t out_h, Interp interp) {
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const PixelBuffer& in = *image.channels[0];
    Warp w;
    w.width = out_w;
    w.height = out_h;
    w.interp = interp;
    if (inverse) {
      p.width = in.width(), p.height = in.height();
      w.source = ImageToPolar(p);
    } else {
      w.source = PolarToImage(p);
      const double da = out_w > 1 ? std::fabs(p.a1 - p.a0) / (out_w - 1) : 0.0;
      const double dr = out_h > 1 ? std::fabs(p.r1 - p.r0) / (out_h - 1) : 0.0;
      w.samples = SamplesForSpan(std::max(da * std::max(std::fabs(p.r0), std::fabs(p.r1)), dr));
    }
    w.domain = MappedDomain(*image.domain, in.width(), in.height(), w);
    return WarpImage(image, w, out);
  });
}

}  // namespace

VEXA_OPERATOR(polar_trans_image_ext) {
  Polar p{};
  Interp interp;
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 6, &p.width, &p.height);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 8, &interp);
  if (rc != VRESULT_OK) return rc;
  return PolarImages(ctx, p, false, p.width, p.height, interp);
}

// A full turn over the columns (column x at angle 2 pi x / width) and
// radius y at row y, about the pixel (row, column); bilinear.
VEXA_OPERATOR(polar_trans_image) {
  Vlong centre[2];
  Polar p{};
  for (int i = 0; i < 2; ++i) {
    const Vresult rc = ctx.GetLong(i, &centre[i]);
    if (rc != VRESULT_OK) return rc;
    if (centre[i] < -kMaxImageSide || centre[i] > 2 * kMaxImageSide) return VERR_CTRL_VALUE(i);
  }
  const Vresult rc = GetPolarSize(ctx, 2, &p.width, &p.height);
  if (rc != VRESULT_OK) return rc;
  p.row = static_cast<double>(centre[0]);
  p.col = static_cast<double>(centre[1]);
  p.a1 = 2 * M_PI * (p.width - 1) / p.width;
  p.r1 = p.height - 1;
  return PolarImages(ctx, p, false, p.width, p.height, Interp::kBilinear);
}

VEXA_OPERATOR(polar_trans_image_inv) {
  Polar p{};
  int32_t w = 0, h = 0;
  Interp interp;
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 6, &w, &h);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 8, &interp);
  if (rc == VRESULT_OK) rc = CheckInvertible(p, 0);
  if (rc != VRESULT_OK) return rc;
  return PolarImages(ctx, p, true, w, h, interp);
}

// The region of a width_in x height_in polar image carried back to a
// width x height image: a pixel belongs to the result when its polar point
// rounds to a pixel of the polar region. Only "nearest_neighbor".
VEXA_OPERATOR(polar_trans_region_inv) {
  Polar p{};
  Warp w;
  const char* mode = nullptr;
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 6, &p.width, &p.height);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 8, &w.width, &w.height);
  if (rc == VRESULT_OK) rc = ctx.GetString(10, &mode);
  if (rc == VRESULT_OK) rc = CheckInvertible(p, 0);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(mode, "nearest_neighbor") != 0) return VERR_CTRL_VALUE(10);
  w.source = ImageToPolar(p);
  return MapRegions(ctx, [&](const Region& region, RegionPtr* out) {
    *out = MappedDomain(region, p.width, p.height, w);
    return VRESULT_OK;
  });
}

}  // namespace vexa
