// Estimates of the lighting of a Lambertian scene from one image's gray
// values, assuming surface normals spread evenly over the visible
// hemisphere; one value per image, over its domain.
//
// With I = albedo * cos(angle to the light), the moments of the gray
// values are E[I] = (pi / 4) albedo cos(slant) and
// E[I^2] = albedo^2 (1 + 3 cos^2(slant)) / 6, which give slant and albedo
// (estimate_sl_al_lr); the mean gradient points along the light's tilt
// (estimate_tilt_lr). estimate_al_am reads albedo and ambient off the
// darkest and brightest gray values (1st and 99th percentile): ambient the
// first, albedo their difference.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

// The gray values of each image's domain (input 1, first channel):
// fn(values, channel, image) for each image, stopping at its first failure.
template <class Fn>
Vresult ForEachImageValues(OpContext& ctx, Fn&& fn) {
  return ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& px = *image.channels[0];
    if (px.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    std::vector<double> values;
    DomainScan::Of(image).ForEachChord([&](int32_t row, int32_t cb, int32_t ce, size_t) {
      for (int32_t c = cb; c <= ce; ++c) values.push_back(px.Get(row, c));
    });
    if (values.empty()) return VERR_EMPTY_OBJECT;
    return fn(values, px, image);
  });
}

double Percentile(std::vector<double> v, double q) {
  const size_t k = static_cast<size_t>(std::floor(q * static_cast<double>(v.size() - 1)));
  std::nth_element(v.begin(), v.begin() + static_cast<long>(k), v.end());
  return v[k];
}

}  // namespace

VEXA_OPERATOR(estimate_al_am) {
  std::vector<double> albedo, ambient;
  const Vresult rc = ForEachImageValues(ctx, [&](const std::vector<double>& v, const PixelBuffer&,
                                                 const db::ImageData&) {
    const double dark = Percentile(v, 0.01), bright = Percentile(v, 0.99);
    ambient.push_back(dark);
    albedo.push_back(bright - dark);
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  const Vresult r = ctx.SetOutpDoubles(0, albedo);
  return r == VRESULT_OK ? ctx.SetOutpDoubles(1, ambient) : r;
}

// Slant in degrees and albedo from the first two moments (see above).
VEXA_OPERATOR(estimate_sl_al_lr) {
  std::vector<double> slants, albedos;
  const Vresult rc = ForEachImageValues(ctx, [&](const std::vector<double>& v, const PixelBuffer&,
                                                 const db::ImageData&) {
    double m1 = 0, m2 = 0;
    for (double x : v) {
      m1 += x;
      m2 += x * x;
    }
    m1 /= static_cast<double>(v.size());
    m2 /= static_cast<double>(v.size());
    if (m2 <= 0) return VERR_EMPTY_OBJECT;
    // ratio = m1^2 / m2 = (3 pi^2 / 8) c / (1 + 3 c), c = cos^2(slant).
    const double ratio = m1 * m1 / m2;
    const double denominator = 3 * M_PI * M_PI / 8 - 3 * ratio;
    const double c2 = denominator > 0 ? std::clamp(ratio / denominator, 0.0, 1.0) : 1.0;
    const double cs = std::sqrt(c2);
    slants.push_back(std::acos(cs) * 180.0 / M_PI);
    albedos.push_back(cs > 1e-12 ? 4 * m1 / (M_PI * cs) : std::sqrt(6 * m2));
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  const Vresult r = ctx.SetOutpDoubles(0, slants);
  return r == VRESULT_OK ? ctx.SetOutpDoubles(1, albedos) : r;
}

// Tilt in degrees: the direction of the mean gray-value gradient (central
// differences inside the image; x along the columns, y up the image).
VEXA_OPERATOR(estimate_tilt_lr) {
  std::vector<double> tilts;
  const Vresult rc = ForEachImageValues(ctx, [&](const std::vector<double>&, const PixelBuffer& px,
                                                 const db::ImageData& image) {
    double gx = 0, gy = 0;
    DomainScan::Of(image).ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
      if (r < 1 || r + 1 >= px.height()) return;
      for (int32_t c = std::max(cb, 1); c <= std::min(ce, px.width() - 2); ++c) {
        gx += 0.5 * (px.Get(r, c + 1) - px.Get(r, c - 1));
        gy -= 0.5 * (px.Get(r + 1, c) - px.Get(r - 1, c));
      }
    });
    tilts.push_back(std::atan2(gy, gx) * 180.0 / M_PI);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, tilts) : rc;
}

}  // namespace vexa
