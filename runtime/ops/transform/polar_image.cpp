// Polar transforms of images about a centre (row, column). In the polar
// image, column x steps evenly from angle_start to angle_end (radians,
// counter-clockwise as displayed) and row y from radius_start to
// radius_end; polar point (angle, radius) is the image point
// (row - radius sin(angle), column + radius cos(angle)). The inverse
// transforms map every image pixel back to that polar point, taking of its
// angle the turn closest to the angle range. Domains follow the pixels:
// an output pixel belongs to the result's domain when its source point
// rounds to a pixel of the input domain.
#include <cmath>
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/region/region_op_util.h"
#include "ops/transform/warp.h"
#include "registry.h"

namespace vexa {
namespace {

struct Polar {
  double row, col, a0, a1, r0, r1;
  int32_t width, height;  // of the polar image
};

// Centre, angle and radius range from inputs first..first+5.
Vresult GetPolarRange(const OpContext& ctx, int first, Polar* p) {
  double* v[6] = {&p->row, &p->col, &p->a0, &p->a1, &p->r0, &p->r1};
  for (int i = 0; i < 6; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, first + i, v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// Polar image -> image: the source point of polar pixel (y, x).
SourceMap ForwardMap(const Polar& p) {
  const double da = p.width > 1 ? (p.a1 - p.a0) / (p.width - 1) : 0.0;
  const double dr = p.height > 1 ? (p.r1 - p.r0) / (p.height - 1) : 0.0;
  return [p, da, dr](double y, double x, double* sr, double* sc) {
    const double angle = p.a0 + da * x, radius = p.r0 + dr * y;
    *sr = p.row - radius * std::sin(angle);
    *sc = p.col + radius * std::cos(angle);
  };
}

// Image -> polar image: the polar pixel coordinates of image point (y, x).
SourceMap InverseMap(const Polar& p) {
  const double lo = std::min(p.a0, p.a1), hi = std::max(p.a0, p.a1);
  const double ax = p.width > 1 ? (p.width - 1) / (p.a1 - p.a0) : 0.0;
  const double ry = p.height > 1 ? (p.height - 1) / (p.r1 - p.r0) : 0.0;
  return [p, lo, hi, ax, ry](double y, double x, double* sr, double* sc) {
    const double dy = p.row - y, dx = x - p.col;
    double angle = lo + std::fmod(std::fmod(std::atan2(dy, dx) - lo, 2 * M_PI) + 2 * M_PI, 2 * M_PI);
    if (angle > hi && angle - hi > lo - (angle - 2 * M_PI)) angle -= 2 * M_PI;
    *sc = (angle - p.a0) * ax;
    *sr = (std::hypot(dy, dx) - p.r0) * ry;
  };
}

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
      w.source = InverseMap(p);
    } else {
      w.source = ForwardMap(p);
      const double da = out_w > 1 ? std::fabs(p.a1 - p.a0) / (out_w - 1) : 0.0;
      const double dr = out_h > 1 ? std::fabs(p.r1 - p.r0) / (out_h - 1) : 0.0;
      w.samples = SamplesForSpan(std::max(da * std::max(std::fabs(p.r0), std::fabs(p.r1)), dr));
    }
    w.domain = MappedDomain(*image.domain, in.width(), in.height(), w);
    return WarpImage(image, w, out);
  });
}

// The output size of inputs par, par + 1.
Vresult GetSize(const OpContext& ctx, int par, int32_t* w, int32_t* h) {
  Vresult rc = GetImageSide(ctx, par, w);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, par + 1, h);
  return rc;
}

// An inverse map needs a proper angle and radius range.
Vresult CheckInvertible(const Polar& p, int first) {
  if (p.a0 == p.a1) return VERR_CTRL_VALUE(first + 3);
  if (p.r0 == p.r1) return VERR_CTRL_VALUE(first + 5);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(polar_trans_image_ext) {
  Polar p{};
  Interp interp;
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetSize(ctx, 6, &p.width, &p.height);
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
  const Vresult rc = GetSize(ctx, 2, &p.width, &p.height);
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
  if (rc == VRESULT_OK) rc = GetSize(ctx, 6, &w, &h);
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
  if (rc == VRESULT_OK) rc = GetSize(ctx, 6, &p.width, &p.height);
  if (rc == VRESULT_OK) rc = GetSize(ctx, 8, &w.width, &w.height);
  if (rc == VRESULT_OK) rc = ctx.GetString(10, &mode);
  if (rc == VRESULT_OK) rc = CheckInvertible(p, 0);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(mode, "nearest_neighbor") != 0) return VERR_CTRL_VALUE(10);
  w.source = InverseMap(p);
  return MapRegions(ctx, [&](const Region& region, RegionPtr* out) {
    *out = MappedDomain(region, p.width, p.height, w);
    return VRESULT_OK;
  });
}

}  // namespace vexa
