// Wiener restoration of images degraded by a known point spread function
// and additive white noise, in the Fourier domain:
//   F = conj(H) G Sf / (|H|^2 Sf + Sn),
// G the transform of the degraded image, H that of the PSF image (weight
// of displacement 0 at pixel (0, 0), as gen_psf_motion makes it), Sf the
// power spectrum of the undegraded image and Sn that of the noise, both
// estimated from the inputs. Where the denominator is 0 the spectrum is 0.
// The transform is circular and reads the whole image; the result is a
// real image with the full domain. One-channel images only.
#include <algorithm>

#include <opencv2/imgproc.hpp>

#include "ops/fft/spectrum.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

// The one-channel image of input `par`, of the size of `like` if given.
Vresult InpPlane(OpContext& ctx, int par, const PixelBuffer* like, const PixelBuffer** plane) {
  db::ImageData image;
  const Vresult rc = InpSingleImage(ctx, par, &image);
  if (rc != VRESULT_OK) return rc;
  if (image.channels.size() != 1) return VERR_CHANNEL;
  if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  if (like && (image.channels[0]->width() != like->width() ||
               image.channels[0]->height() != like->height()))
    return VERR_IMAGE_SIZE;
  // The input object holds the pixels for the whole call.
  *plane = image.channels[0];
  return VRESULT_OK;
}

cv::Mat Spectrum(const PixelBuffer& plane) {
  cv::Mat spectrum;
  cv::dft(ComplexPixels(plane), spectrum);
  return spectrum;
}

cv::Mat RealValues(const PixelBuffer& plane) {
  cv::Mat values;
  MatOf(plane).convertTo(values, CV_64F);
  return values;
}

double Power(const cv::Vec2d& z) { return z[0] * z[0] + z[1] * z[1]; }

// The restored image into output object 1; `signal_power(u)` is Sf at
// frequency index u (row-major), `noise_power` Sn.
template <class SignalPower>
Vresult OutpRestored(OpContext& ctx, const cv::Mat& g, const cv::Mat& h, double noise_power,
                     SignalPower signal_power) {
  cv::Mat f(g.size(), CV_64FC2);
  for (int r = 0; r < g.rows; ++r) {
    const cv::Vec2d* gr = g.ptr<cv::Vec2d>(r);
    const cv::Vec2d* hr = h.ptr<cv::Vec2d>(r);
    cv::Vec2d* fr = f.ptr<cv::Vec2d>(r);
    for (int c = 0; c < g.cols; ++c) {
      const double sf = signal_power(r, c);
      const double denominator = Power(hr[c]) * sf + noise_power;
      if (!(denominator > 0)) {
        fr[c] = cv::Vec2d(0, 0);
        continue;
      }
      // conj(H) G
      const double re = hr[c][0] * gr[c][0] + hr[c][1] * gr[c][1];
      const double im = hr[c][0] * gr[c][1] - hr[c][1] * gr[c][0];
      fr[c] = cv::Vec2d(re, im) * (sf / denominator);
    }
  }
  cv::Mat restored;
  cv::dft(f, restored, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
  Vkey key = VKEY_UNDEF;
  const Vresult rc = NewImageOfValues(restored, PixelType::kReal, &key);
  return rc == VRESULT_OK ? ctx.SetOutpObj(1, key) : rc;
}

}  // namespace

// Sf from `filtered_image`, a smoothed (noise-free) estimate of the
// undegraded image; the noise is white with the mean square of the
// degraded image minus that estimate.
VEXA_OPERATOR(wiener_filter) {
  const PixelBuffer *image = nullptr, *psf = nullptr, *filtered = nullptr;
  Vresult rc = InpPlane(ctx, 1, nullptr, &image);
  if (rc == VRESULT_OK) rc = InpPlane(ctx, 2, image, &psf);
  if (rc == VRESULT_OK) rc = InpPlane(ctx, 3, image, &filtered);
  if (rc != VRESULT_OK) return rc;
  const cv::Mat residual = RealValues(*image) - RealValues(*filtered);
  // White noise of variance s^2 has the power n s^2 at every frequency of
  // the unscaled transform.
  const double noise_power = cv::sum(residual.mul(residual))[0];
  const cv::Mat sf = Spectrum(*filtered);
  return OutpRestored(ctx, Spectrum(*image), Spectrum(*psf), noise_power,
                      [&](int r, int c) { return Power(sf.at<cv::Vec2d>(r, c)); });
}

// The noise from `noise_region`, a part of the image without structure:
// its variance is the mean square of the image minus its mean over
// mask_width x mask_height there (corrected for the mean's own share); Sf
// is the degraded image's power spectrum less the noise power.
VEXA_OPERATOR(wiener_filter_ni) {
  const PixelBuffer *image = nullptr, *psf = nullptr;
  Vkey region_key = VKEY_UNDEF;
  RegionPtr region;
  int mask_width = 0, mask_height = 0;
  Vresult rc = InpPlane(ctx, 1, nullptr, &image);
  if (rc == VRESULT_OK) rc = InpPlane(ctx, 2, image, &psf);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(3, &region_key);
  if (rc == VRESULT_OK) rc = InpRegion(3, region_key, &region);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 0, &mask_width);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &mask_height);
  if (rc != VRESULT_OK) return rc;
  const double m = static_cast<double>(mask_width) * mask_height;
  if (m < 2) return VERR_CTRL_VALUE(0);
  const cv::Mat values = RealValues(*image);
  cv::Mat mean;
  cv::blur(values, mean, cv::Size(mask_width, mask_height), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
  double sum = 0.0, count = 0.0;
  for (const Chord& ch : region->chords()) {
    if (ch.r < 0 || ch.r >= values.rows) continue;
    const double* v = values.ptr<double>(ch.r);
    const double* mu = mean.ptr<double>(ch.r);
    for (int c = std::max(ch.cb, 0); c <= std::min(ch.ce, values.cols - 1); ++c) {
      sum += (v[c] - mu[c]) * (v[c] - mu[c]);
      count += 1;
    }
  }
  if (count == 0) return VERR_EMPTY_OBJECT;
  // E[(v - mean)^2] = s^2 (1 - 1/m) for white noise.
  const double variance = sum / count * m / (m - 1);
  const double noise_power = variance * static_cast<double>(values.total());
  const cv::Mat g = Spectrum(*image);
  return OutpRestored(ctx, g, Spectrum(*psf), noise_power, [&](int r, int c) {
    return std::max(Power(g.at<cv::Vec2d>(r, c)) - noise_power, 0.0);
  });
}

}  // namespace vexa
