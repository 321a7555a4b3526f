// Frequency-domain filters for convol_fft, as images of width x height:
// gen_lowpass, gen_highpass, gen_bandpass, gen_bandfilter,
// gen_gauss_filter, gen_mean_filter, gen_std_bandpass, gen_sin_bandpass,
// gen_gabor (real) and gen_derivative_filter (complex).
//
// Pixel (r, c) stands for the frequency (fu, fv), fu along the columns and
// fv along the rows (pointing up) in cycles per pixel, -0.5 <= fu, fv <
// 0.5; the zero frequency lies at (0, 0) with mode "dc_edge" (the layout of
// fft_image) or at (height / 2, width / 2) with "dc_center". rho is the
// radial frequency sqrt(fu^2 + fv^2). norm "none" leaves the values, "n"
// divides them by width * height.
#include <cmath>
#include <complex>
#include <cstring>
#include <type_traits>

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

// Makes the filter image of value(fu, fv) into output object 1: a real
// image, or a complex one when value returns std::complex<double>.
template <class Value>
Vresult MakeFilter(OpContext& ctx, const Layout& layout, Value&& value) {
  using Result = decltype(value(0.0, 0.0));
  constexpr bool kComplex = std::is_same<Result, std::complex<double>>::value;
  cv::Mat values(layout.height, layout.width, kComplex ? CV_64FC2 : CV_64F);
  for (int r = 0; r < layout.height; ++r)
    for (int c = 0; c < layout.width; ++c) {
      // Index of the frequency, from -n/2 to (n-1)/2.
      int u = layout.centered ? c - layout.width / 2 : c;
      int v = layout.centered ? r - layout.height / 2 : r;
      if (!layout.centered && u >= (layout.width + 1) / 2) u -= layout.width;
      if (!layout.centered && v >= (layout.height + 1) / 2) v -= layout.height;
      const Result z = value(double(u) / layout.width, -double(v) / layout.height) * layout.scale;
      if constexpr (kComplex) values.at<cv::Vec2d>(r, c) = cv::Vec2d(z.real(), z.imag());
      else values.at<double>(r, c) = z;
    }
  Vkey key = VKEY_UNDEF;
  const Vresult rc = kComplex ? NewComplexImage(values, &key)
                              : NewImageOfValues(values, PixelType::kReal, &key);
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

// gen_gabor: the spectrum of a Gabor filter pair, a wave of `frequency`
// (cycles per pixel) along `angle` (radians, counter-clockwise from the
// column axis) under a Gaussian envelope of sigma `bandwidth` along the
// wave and `orientation` across it (pixels). The image holds the lobe
// around +frequency positive and its mirror around -frequency negative,
// split at the line through the zero frequency across `angle`: its
// magnitude is the spectrum of the even (cosine) filter, the value itself
// times -i that of the odd (sine) one, which convol_gabor builds from it.
VEXA_OPERATOR(gen_gabor) {
  double angle, f, along, across;
  Vresult rc = ctx.GetDouble(0, &angle);
  if (rc == VRESULT_OK) rc = ReadFrequency(ctx, 1, &f);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &along);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &across);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(angle)) return VERR_CTRL_VALUE(0);
  if (f > 1e6) return VERR_CTRL_VALUE(1);
  if (!(along > 0 && along < 1e6)) return VERR_CTRL_VALUE(2);
  if (!(across > 0 && across < 1e6)) return VERR_CTRL_VALUE(3);
  Layout layout;
  rc = ReadLayout(ctx, 4, &layout);
  if (rc != VRESULT_OK) return rc;
  const double cs = std::cos(angle), sn = std::sin(angle);
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    const double a = fu * cs + fv * sn, b = -fu * sn + fv * cs;
    if (a == 0) return 0.0;
    const double d = std::fabs(a) - f;
    const double lobe = std::exp(-2.0 * M_PI * M_PI * (along * along * d * d + across * across * b * b));
    return a > 0 ? lobe : -lobe;
  });
}

// gen_derivative_filter: the spectrum of a partial derivative, "x" along
// the columns and "y" along the rows (downward), up to third order (x
// before y: "xxy"), for a transform back with kernel exp(exponent 2 pi i
// ...): the product of exponent 2 pi i f per order. Odd orders are 0 at
// the highest frequency of an even side, whose sign is undefined.
VEXA_OPERATOR(gen_derivative_filter) {
  const char* name = nullptr;
  Vlong exponent = 0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &exponent);
  if (rc != VRESULT_OK) return rc;
  const size_t len = std::strlen(name);
  const size_t nx = std::strspn(name, "x");
  const size_t ny = std::strspn(name + nx, "y");
  if (len < 1 || len > 3 || nx + ny != len) return VERR_CTRL_VALUE(0);
  if (exponent != 1 && exponent != -1) return VERR_CTRL_VALUE(1);
  Layout layout;
  rc = ReadLayout(ctx, 2, &layout);
  if (rc != VRESULT_OK) return rc;
  const std::complex<double> step(0.0, double(exponent) * 2.0 * M_PI);
  auto factor = [&](double f, size_t order) {
    if (order % 2 == 1 && std::fabs(f) == 0.5) return std::complex<double>(0.0);
    return std::pow(step * f, static_cast<int>(order));
  };
  return MakeFilter(ctx, layout, [&](double fu, double fv) {
    // fv counts upward; the row derivative runs downward.
    return factor(fu, nx) * factor(-fv, ny);
  });
}

}  // namespace vexa
