// Simulated degradations and their point spread functions: linear motion
// blur and defocus (ops/fft/psf.h), applied to images by convolution with
// the mirror border, or generated as filter images for the transform
// domain; and gen_filter_mask, a filter mask laid out the same way.
//
// A PSF image has the weight of displacement 0 at pixel (0, 0) and the
// others wrapped around the image's edges, so that its Fourier transform
// is the transfer function of the degradation (what convol_fft and
// wiener_filter expect).
#include <cmath>

#include "ops/fft/psf.h"
#include "ops/fft/spectrum.h"
#include "ops/filter/filter_mask_text.h"
#include "ops/filter/filter_support.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Motion blur lengths and defocus radii, in pixels.
constexpr double kMaxBlur = 256.0;

// blurring, angle and type from controls first .. first + 2.
Vresult ReadMotion(const OpContext& ctx, int first, Psf* psf) {
  double length = 0.0;
  int angle = 0, type = 0;
  Vresult rc = ReadReal(ctx, first, 0.0, kMaxBlur, &length);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 1, -3600, 3600, &angle);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, first + 2, 1, 5, &type);
  if (rc == VRESULT_OK) *psf = MotionPsf(length, angle, static_cast<MotionProfile>(type));
  return rc;
}

Vresult ReadDefocus(const OpContext& ctx, int par, Psf* psf) {
  double radius = 0.0;
  const Vresult rc = ReadReal(ctx, par, 0.0, kMaxBlur, &radius);
  if (rc == VRESULT_OK) *psf = DefocusPsf(radius);
  return rc;
}

// The PSF wrapped into a real image of the size of controls size_par and
// size_par + 1 (width, height) as output object 1; `fit_par` names the
// control whose value made the kernel too large for it.
Vresult OutpWrapped(OpContext& ctx, const Psf& psf, int size_par, int fit_par) {
  int32_t width = 0, height = 0;
  Vresult rc = GetImageSide(ctx, size_par, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, size_par + 1, &height);
  if (rc != VRESULT_OK) return rc;
  cv::Mat image;
  if (!WrapPsf(psf, cv::Size(width, height), &image)) return VERR_CTRL_VALUE(fit_par);
  Vkey key = VKEY_UNDEF;
  rc = NewImageOfValues(image, PixelType::kReal, &key);
  return rc == VRESULT_OK ? ctx.SetOutpObj(1, key) : rc;
}

// Each image of input 1 convolved with the PSF, type and domain kept.
Vresult Degrade(OpContext& ctx, const Psf& psf) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    ConvolveRect(src, dst, rect, psf.weights, psf.origin, Border{});
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(gen_psf_motion) {
  Psf psf;
  const Vresult rc = ReadMotion(ctx, 2, &psf);
  return rc == VRESULT_OK ? OutpWrapped(ctx, psf, 0, 2) : rc;
}

VEXA_OPERATOR(simulate_motion) {
  Psf psf;
  const Vresult rc = ReadMotion(ctx, 0, &psf);
  return rc == VRESULT_OK ? Degrade(ctx, psf) : rc;
}

VEXA_OPERATOR(gen_psf_defocus) {
  Psf psf;
  const Vresult rc = ReadDefocus(ctx, 2, &psf);
  return rc == VRESULT_OK ? OutpWrapped(ctx, psf, 0, 2) : rc;
}

VEXA_OPERATOR(simulate_defocus) {
  Psf psf;
  const Vresult rc = ReadDefocus(ctx, 0, &psf);
  return rc == VRESULT_OK ? Degrade(ctx, psf) : rc;
}

// A filter mask (a mask file's name or convol_image's tuple) times
// `scale`, centred on pixel (0, 0) of a real image of width x height.
VEXA_OPERATOR(gen_filter_mask) {
  FilterMask mask;
  double scale = 0.0;
  Vresult rc = ReadFilterMaskParam(ctx, 0, &mask);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &scale);
  if (rc == VRESULT_OK && !std::isfinite(scale)) rc = VERR_CTRL_VALUE(1);
  if (rc != VRESULT_OK) return rc;
  Psf psf;
  psf.weights = cv::Mat(mask.height, mask.width, CV_64F, mask.weights.data()) * scale;
  psf.origin = cv::Point(mask.width / 2, mask.height / 2);
  return OutpWrapped(ctx, psf, 2, 0);
}

}  // namespace vexa
