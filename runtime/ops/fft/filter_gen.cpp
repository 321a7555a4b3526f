// Frequency-domain filters for convol_fft, as real images of width x
// height: gen_lowpass, gen_highpass, gen_bandpass, gen_bandfilter,
// gen_gauss_filter, gen_mean_filter, gen_std_bandpass, gen_sin_bandpass.
//
// Pixel (r, c) stands for the frequency (fu, fv), fu along the columns and
// fv along the rows (pointing up) in cycles per pixel, -0.5 <= fu, fv <
// 0.5; the zero frequency lies at (0, 0) with mode "dc_edge" (the layout of
// fft_image) or at (height / 2, width / 2) with "dc_center". rho is the
// radial frequency sqrt(fu^2 + fv^2). norm "none" leaves the values, "n"
// divides them by width * height.
#include <cmath>
#include <cstring>

#include "ops/fft/spectrum.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Size, layout and scaling of a filter image.
struct Layout {
  int width = 0, height = 0;
  bool centered = false;
  double scale = 1.0;
};

// Reads norm, mode, width and height from controls first..first + 3.
Vresult ReadLayout(const OpContext& ctx, int first, Layout* layout) {
  const char *norm = nullptr, *mode = nullptr;
  Vresult rc = ctx.GetString(first, &norm);
  if (rc == VRESULT_OK) rc = ctx.GetString(first + 1, &mode);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, first + 2, &layout->width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, first + 3, &layout->height);
  if (rc != VRESULT_OK) return rc;
  // The filter is computed in double before it is stored.
  if (double(layout->width) * layout->height * sizeof(double) > double(kMaxChannelBytes))
    return VERR_TOO_LARGE;
  if (std::strcmp(norm, "none") == 0) layout->scale = 1.0;
  else if (std::strcmp(norm, "n") == 0) layout->scale = 1.0 / (double(layout->width) * layout->height);
  else return VERR_CTRL_VALUE(first);
  layout->centered = std::strcmp(mode, "dc_center") == 0;
  if (!layout->centered && std::strcmp(mode, "dc_edge") != 0) return VERR_CTRL_VALUE(first + 1);
  return VRESULT_OK;
}

// Makes the filter image of value(fu, fv) into output object 1.
template <class Value>
Vresult MakeFilter(OpContext& ctx, const Layout& layout, Value&& value) {
  cv::Mat values(layout.height, layout.width, CV_64F);
  for (int r = 0; r < layout.height; ++r)
    for (int c = 0; c < layout.width; ++c) {
      // Index of the frequency, from -n/2 to (n-1)/2.
      int u = layout.centered ? c - layout.width / 2 : c;
      int v = layout.centered ? r - layout.height / 2 : r;
      if (!layout.centered && u >= (layout.width + 1) / 2) u -= layout.width;
      if (!layout.centered && v >= (layout.height + 1) / 2) v -= layout.height;
      values.at<double>(r, c) =
          value(double(u) / layout.width, -double(v) / layout.height) * layout.scale;
    }
  Vkey key = VKEY_UNDEF;
  const Vresult rc = NewImageOfValues(values, PixelType::kReal, &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

Vresult ReadFrequency(const OpContext& ctx, int par, double* f) {
  const Vresult rc = ctx.GetDouble(par, f);
  if (rc != VRESULT_OK) return rc;
  return std::isfinite(*f) && *f >= 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// gen_lowpass/gen_highpass (keep = rho <= f or rho > f),
// gen_bandpass/gen_bandfilter (min <= rho <= max, or outside).
Vresult Band(OpContext& ctx, bool two_bounds, bool inside) {
  double lo = 0, hi = 0;
  Vresult rc = ReadFrequency(ctx, 0, two_bounds ? &lo : &hi);
  if (rc == VRESULT_OK && two_bounds) rc = ReadFrequency(ctx, 1, &hi);
  if (rc != VRESULT_OK) return rc;
  if (hi < lo) return VERR_CTRL_VALUE(1);
  Layout layout;
  rc = ReadLayout(ctx, two_bounds ? 2 : 1, &layout);
  if (rc != VRESULT_OK) return rc;
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double rho = std::hypot(fu, fv);
    return (rho >= lo && rho <= hi) == inside ? 1.0 : 0.0;
  });
}

}  // namespace

VEXA_OPERATOR(gen_lowpass) { return Band(ctx, false, true); }
VEXA_OPERATOR(gen_highpass) { return Band(ctx, false, false); }
VEXA_OPERATOR(gen_bandpass) { return Band(ctx, true, true); }
VEXA_OPERATOR(gen_bandfilter) { return Band(ctx, true, false); }

// gen_gauss_filter: the spectrum of a Gaussian of sigma1 along the
// direction phi (radians, counter-clockwise from the column axis) and
// sigma2 across it, in pixels: exp(-2 pi^2 (sigma1^2 a^2 + sigma2^2 b^2)),
// a and b the frequency's components along and across phi. Its value at
// the zero frequency is 1.
VEXA_OPERATOR(gen_gauss_filter) {
  double s1, s2, phi;
  Vresult rc = ctx.GetDouble(0, &s1);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &s2);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &phi);
  if (rc != VRESULT_OK) return rc;
  if (!(s1 >= 0 && s1 < 1e6)) return VERR_CTRL_VALUE(0);
  if (!(s2 >= 0 && s2 < 1e6)) return VERR_CTRL_VALUE(1);
  if (!std::isfinite(phi)) return VERR_CTRL_VALUE(2);
  Layout layout;
  rc = ReadLayout(ctx, 3, &layout);
  if (rc != VRESULT_OK) return rc;
  const double cs = std::cos(phi), sn = std::sin(phi);
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double a = fu * cs + fv * sn, b = -fu * sn + fv * cs;
    return std::exp(-2.0 * M_PI * M_PI * (s1 * s1 * a * a + s2 * s2 * b * b));
  });
}

// gen_mean_filter: the spectrum of the mean over a "rectangle" of
// diameter1 x diameter2 pixels (sides along and across phi) or an
// "ellipse" of those diameters; 1 at the zero frequency.
VEXA_OPERATOR(gen_mean_filter) {
  const char* shape = nullptr;
  double d1, d2, phi;
  Vresult rc = ctx.GetString(0, &shape);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &d1);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &d2);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &phi);
  if (rc != VRESULT_OK) return rc;
  const bool rectangle = std::strcmp(shape, "rectangle") == 0;
  if (!rectangle && std::strcmp(shape, "ellipse") != 0) return VERR_CTRL_VALUE(0);
  if (!(d1 > 0 && d1 < 1e6)) return VERR_CTRL_VALUE(1);
  if (!(d2 > 0 && d2 < 1e6)) return VERR_CTRL_VALUE(2);
  if (!std::isfinite(phi)) return VERR_CTRL_VALUE(3);
  Layout layout;
  rc = ReadLayout(ctx, 4, &layout);
  if (rc != VRESULT_OK) return rc;
  const double cs = std::cos(phi), sn = std::sin(phi);
  auto sinc = [](double x) { return x == 0 ? 1.0 : std::sin(x) / x; };
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double a = fu * cs + fv * sn, b = -fu * sn + fv * cs;
    if (rectangle) return sinc(M_PI * d1 * a) * sinc(M_PI * d2 * b);
    const double x = M_PI * std::hypot(d1 * a, d2 * b);
    return x == 0 ? 1.0 : 2.0 * std::cyl_bessel_j(1.0, x) / x;
  });
}

// gen_std_bandpass: a band around `frequency`: "gauss" exp(-(rho -
// frequency)^2 / (2 sigma^2)), "sin" the half sine wave of width 2 sigma
// centred on frequency, 0 beyond.
VEXA_OPERATOR(gen_std_bandpass) {
  double f, sigma;
  const char* type = nullptr;
  Vresult rc = ReadFrequency(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &sigma);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &type);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma > 0 && sigma < 1e6)) return VERR_CTRL_VALUE(1);
  const bool gauss = std::strcmp(type, "gauss") == 0;
  if (!gauss && std::strcmp(type, "sin") != 0) return VERR_CTRL_VALUE(2);
  Layout layout;
  rc = ReadLayout(ctx, 3, &layout);
  if (rc != VRESULT_OK) return rc;
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double d = std::hypot(fu, fv) - f;
    if (gauss) return std::exp(-d * d / (2 * sigma * sigma));
    return std::fabs(d) < sigma ? std::cos(M_PI * d / (2 * sigma)) : 0.0;
  });
}

// gen_sin_bandpass: sin(pi rho / (2 frequency)) for rho up to twice the
// frequency, 0 beyond: a band with its peak at `frequency`.
VEXA_OPERATOR(gen_sin_bandpass) {
  double f;
  Vresult rc = ReadFrequency(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  if (f <= 0) return VERR_CTRL_VALUE(0);
  Layout layout;
  rc = ReadLayout(ctx, 1, &layout);
  if (rc != VRESULT_OK) return rc;
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double rho = std::hypot(fu, fv);
    return rho <= 2 * f ? std::sin(M_PI * rho / (2 * f)) : 0.0;
  });
}

}  // namespace vexa
