// Pixel-wise operations on spectra: power_real (|z|^2), power_ln
// (ln(1 + |z|^2)), power_byte (|z| clipped to a byte), phase_rad and
// phase_deg (angle of z), and the products convol_fft (a * filter),
// correlation_fft (a * conj(b)) and phase_correlation_fft (a * conj(b)
// scaled to length 1, 0 where it vanishes). Every type is taken as a
// complex number (imaginary part 0 for the real types); results have the
// full domain.
#include <cmath>
#include <vector>

#include "ops/fft/spectrum.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// out = fn(z) for every pixel, stored as `type`.
template <class Fn>
Vresult MapValues(OpContext& ctx, PixelType type, Fn&& fn) {
  return MapSpectra(ctx, [&](const PixelBuffer& in, Vkey* key) {
    const cv::Mat pairs = ComplexPixels(in);
    cv::Mat values(pairs.size(), CV_64F);
    for (int r = 0; r < pairs.rows; ++r)
      for (int c = 0; c < pairs.cols; ++c) {
        const cv::Vec2d z = pairs.at<cv::Vec2d>(r, c);
        values.at<double>(r, c) = fn(z[0], z[1]);
      }
    return NewImageOfValues(values, type, key);
  });
}

// One complex product per pair of images of inputs 1 and 2 (pairing in
// order, or one image at 2 for all), of equal size.
template <class Fn>
Vresult MultiplySpectra(OpContext& ctx, bool single_second, Fn&& fn) {
  Vlong n1 = 0, n2 = 0;
  Vresult rc = ctx.InpObjCount(1, &n1);
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(2, &n2);
  if (rc != VRESULT_OK) return rc;
  if (single_second ? n2 != 1 : (n2 != n1 && !(n2 == 1 && n1 > 0))) return VERR_OBJ_NUM(2);
  NewKeys out;
  for (Vlong i = 0; i < n1; ++i) {
    db::ImageData a, b;
    rc = InpImage(1, ctx.InpObjKey(1, i), &a);
    if (rc == VRESULT_OK) rc = InpImage(2, ctx.InpObjKey(2, n2 == 1 ? 0 : i), &b);
    if (rc != VRESULT_OK) return rc;
    if (!SameSize(*a.channels[0], *b.channels[0])) return VERR_IMAGE_SIZE;
    const cv::Mat pa = ComplexPixels(*a.channels[0]), pb = ComplexPixels(*b.channels[0]);
    cv::Mat product(pa.size(), CV_64FC2);
    for (int r = 0; r < pa.rows; ++r)
      for (int c = 0; c < pa.cols; ++c)
        product.at<cv::Vec2d>(r, c) = fn(pa.at<cv::Vec2d>(r, c), pb.at<cv::Vec2d>(r, c));
    Vkey key = VKEY_UNDEF;
    rc = NewComplexImage(product, &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, 1);
}

cv::Vec2d Times(const cv::Vec2d& a, const cv::Vec2d& b) {
  return {a[0] * b[0] - a[1] * b[1], a[0] * b[1] + a[1] * b[0]};
}
cv::Vec2d TimesConjugate(const cv::Vec2d& a, const cv::Vec2d& b) {
  return Times(a, cv::Vec2d(b[0], -b[1]));
}

}  // namespace

VEXA_OPERATOR(power_real) {
  return MapValues(ctx, PixelType::kReal, [](double re, double im) { return re * re + im * im; });
}
VEXA_OPERATOR(power_ln) {
  return MapValues(ctx, PixelType::kReal,
                   [](double re, double im) { return std::log1p(re * re + im * im); });
}
VEXA_OPERATOR(power_byte) {
  return MapValues(ctx, PixelType::kByte, [](double re, double im) { return std::hypot(re, im); });
}
VEXA_OPERATOR(phase_rad) {
  return MapValues(ctx, PixelType::kReal, [](double re, double im) { return std::atan2(im, re); });
}
VEXA_OPERATOR(phase_deg) {
  return MapValues(ctx, PixelType::kReal,
                   [](double re, double im) { return std::atan2(im, re) * 180.0 / M_PI; });
}

VEXA_OPERATOR(convol_fft) { return MultiplySpectra(ctx, true, Times); }
VEXA_OPERATOR(correlation_fft) { return MultiplySpectra(ctx, false, TimesConjugate); }
VEXA_OPERATOR(phase_correlation_fft) {
  return MultiplySpectra(ctx, false, [](const cv::Vec2d& a, const cv::Vec2d& b) {
    const cv::Vec2d p = TimesConjugate(a, b);
    const double len = std::hypot(p[0], p[1]);
    return len > 0 ? cv::Vec2d(p[0] / len, p[1] / len) : cv::Vec2d(0, 0);
  });
}

}  // namespace vexa
