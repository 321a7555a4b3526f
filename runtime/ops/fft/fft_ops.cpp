// Fourier transforms of images: fft_image, fft_image_inv, fft_generic and
// rft_generic, by OpenCV's dft in double.
//
// Spectra are complex images with the zero frequency at pixel (0, 0)
// ("dc_edge") or at (height / 2, width / 2) ("dc_center"). fft_image is
// the forward transform without scaling; fft_image_inv the inverse with
// the factor 1 / (width * height), as a real image, so that the two give
// back the input. Transforms read the whole image; results have the full
// domain.
#include <cmath>
#include <cstring>
#include <string>

#include "ops/fft/spectrum.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Moves the zero frequency from (0, 0) to the centre (or back, `inverse`).
cv::Mat ShiftCenter(const cv::Mat& m, bool inverse) {
  const int sr = inverse ? (m.rows + 1) / 2 : m.rows / 2;
  const int sc = inverse ? (m.cols + 1) / 2 : m.cols / 2;
  cv::Mat out(m.size(), m.type());
  for (int r = 0; r < m.rows; ++r)
    for (int c = 0; c < m.cols; ++c)
      out.at<cv::Vec2d>((r + sr) % m.rows, (c + sc) % m.cols) = m.at<cv::Vec2d>(r, c);
  return out;
}

// The scaling that `norm` asks for on a transform of n points.
bool NormFactor(const char* norm, double n, double* factor) {
  if (std::strcmp(norm, "none") == 0) *factor = 1.0;
  else if (std::strcmp(norm, "sqrt") == 0) *factor = 1.0 / std::sqrt(n);
  else if (std::strcmp(norm, "n") == 0) *factor = 1.0 / n;
  else return false;
  return true;
}

// The transform with kernel exp(sign * 2 pi i ...), unscaled.
cv::Mat Transform(const cv::Mat& pairs, int sign) {
  cv::Mat out;
  cv::dft(pairs, out, sign < 0 ? 0 : cv::DFT_INVERSE);
  return out;
}

// The real parts of `pairs` stored as `type`, or the pairs themselves as
// a complex image.
Vresult NewResult(const cv::Mat& pairs, PixelType type, Vkey* key) {
  if (type == PixelType::kComplex) return NewComplexImage(pairs, key);
  cv::Mat planes[2];
  cv::split(pairs, planes);
  return NewImageOfValues(planes[0], type, key);
}

}  // namespace

VEXA_OPERATOR(fft_image) {
  return MapSpectra(ctx, [](const PixelBuffer& in, Vkey* key) {
    if (in.type() == PixelType::kDirection || in.type() == PixelType::kCyclic)
      return VERR_PIXEL_TYPE;
    return NewComplexImage(Transform(ComplexPixels(in), -1), key);
  });
}

VEXA_OPERATOR(fft_image_inv) {
  return MapSpectra(ctx, [](const PixelBuffer& in, Vkey* key) {
    if (in.type() != PixelType::kComplex) return VERR_PIXEL_TYPE;
    const cv::Mat out = Transform(ComplexPixels(in), 1) / static_cast<double>(in.num_pixels());
    return NewResult(out, PixelType::kReal, key);
  });
}

// fft_generic: direction "to_freq" or "from_freq" (where the zero
// frequency lies: mode), exponent -1 or 1 (the sign in the kernel), norm
// "none", "sqrt" or "n", result_type "complex" or a real pixel type that
// takes the real part.
VEXA_OPERATOR(fft_generic) {
  const char *direction = nullptr, *norm = nullptr, *mode = nullptr;
  Vlong exponent = 0;
  PixelType type;
  Vresult rc = ctx.GetString(0, &direction);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &exponent);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &norm);
  if (rc == VRESULT_OK) rc = ctx.GetString(3, &mode);
  if (rc == VRESULT_OK) rc = GetPixelType(ctx, 4, &type);
  if (rc != VRESULT_OK) return rc;
  const bool to_freq = std::strcmp(direction, "to_freq") == 0;
  if (!to_freq && std::strcmp(direction, "from_freq") != 0) return VERR_CTRL_VALUE(0);
  if (exponent != 1 && exponent != -1) return VERR_CTRL_VALUE(1);
  double unused;
  if (!NormFactor(norm, 1.0, &unused)) return VERR_CTRL_VALUE(2);
  const bool centered = std::strcmp(mode, "dc_center") == 0;
  if (!centered && std::strcmp(mode, "dc_edge") != 0) return VERR_CTRL_VALUE(3);
  if (type == PixelType::kDirection || type == PixelType::kCyclic) return VERR_CTRL_VALUE(4);
  return MapSpectra(ctx, [&](const PixelBuffer& in, Vkey* key) {
    cv::Mat pairs = ComplexPixels(in);
    if (centered && !to_freq) pairs = ShiftCenter(pairs, true);
    pairs = Transform(pairs, static_cast<int>(exponent));
    double factor;
    NormFactor(norm, static_cast<double>(in.num_pixels()), &factor);
    pairs *= factor;
    if (centered && to_freq) pairs = ShiftCenter(pairs, false);
    return NewResult(pairs, type, key);
  });
}

// rft_generic: the transform of real images, which keeps the columns 0 to
// width / 2 of the spectrum (the others are their conjugate mirror).
// "to_freq" takes any real-valued image; "from_freq" a complex image of
// width / 2 + 1 columns and gives a `width` wide image of result_type.
VEXA_OPERATOR(rft_generic) {
  const char *direction = nullptr, *norm = nullptr;
  PixelType type;
  Vlong width = 0;
  Vresult rc = ctx.GetString(0, &direction);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &norm);
  if (rc == VRESULT_OK) rc = GetPixelType(ctx, 2, &type);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &width);
  if (rc != VRESULT_OK) return rc;
  const bool to_freq = std::strcmp(direction, "to_freq") == 0;
  if (!to_freq && std::strcmp(direction, "from_freq") != 0) return VERR_CTRL_VALUE(0);
  double unused;
  if (!NormFactor(norm, 1.0, &unused)) return VERR_CTRL_VALUE(1);
  if (type == PixelType::kDirection || type == PixelType::kCyclic) return VERR_CTRL_VALUE(2);
  return MapSpectra(ctx, [&](const PixelBuffer& in, Vkey* key) {
    const cv::Mat half = ComplexPixels(in);
    if (to_freq) {
      if (in.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
      double factor;
      NormFactor(norm, static_cast<double>(in.num_pixels()), &factor);
      const cv::Mat full = Transform(half, -1) * factor;
      return NewComplexImage(full.colRange(0, in.width() / 2 + 1).clone(), key);
    }
    if (in.type() != PixelType::kComplex) return VERR_PIXEL_TYPE;
    if (width < 1 || width / 2 + 1 != in.width()) return VERR_CTRL_VALUE(3);
    const int w = static_cast<int>(width), h = in.height();
    cv::Mat full(h, w, CV_64FC2);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        if (c < half.cols) {
          full.at<cv::Vec2d>(r, c) = half.at<cv::Vec2d>(r, c);
        } else {
          const cv::Vec2d m = half.at<cv::Vec2d>((h - r) % h, w - c);
          full.at<cv::Vec2d>(r, c) = cv::Vec2d(m[0], -m[1]);
        }
      }
    double factor;
    NormFactor(norm, static_cast<double>(w) * h, &factor);
    return NewResult(Transform(full, 1) * factor, type == PixelType::kComplex ? PixelType::kReal : type,
                     key);
  });
}

}  // namespace vexa
