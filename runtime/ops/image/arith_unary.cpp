// Functions of one image, pixel by pixel over its domain.
//
// abs_image, invert_image, scale_image, scale_image_max, sqrt_image and
// gamma_image keep the input's type (rounded, clipped); pow_image,
// exp_image, log_image and the trigonometric operators give real images.
// Where a function is undefined for a value (the root or the logarithm of a
// negative number, the arc sine of 2, ...) the result pixel is 0, so no NaN
// ever enters an image.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "ops/image/image_map.h"
#include "registry.h"

namespace vexa {
namespace {

// f(x), or 0 where f gives no real number.
template <class Fn>
auto Defined(Fn f) {
  return [f](double x) {
    const double y = f(x);
    return std::isnan(y) ? 0.0 : y;
  };
}

// An operator that maps every image through f into the result type.
template <class Fn>
Vresult MapEach(OpContext& ctx, ResultTypeFn result_type, Fn f) {
  return MapImages(ctx, result_type, [&](const PixelBuffer& in, PixelBuffer* out,
                                         const DomainScan& scan) {
    return UnaryMap(in, out, scan, f);
  });
}

// The base of exp_image and log_image: "e" or a positive number.
Vresult ReadBase(const OpContext& ctx, double* base) {
  if (ctx.CtrlNum(0) != 1) return VERR_CTRL_NUM(0);
  const char* name = nullptr;
  if (ctx.GetString(0, &name) == VRESULT_OK) {
    if (std::strcmp(name, "e") != 0) return VERR_CTRL_VALUE(0);
    *base = std::exp(1.0);
    return VRESULT_OK;
  }
  const Vresult rc = ctx.GetDouble(0, base);
  if (rc != VRESULT_OK) return rc;
  return *base > 0.0 && std::isfinite(*base) ? VRESULT_OK : VERR_CTRL_VALUE(0);
}

// The value range that scale_image_max stretches to: the type's own range
// for the narrow integer types, 0..255 for the others.
void StretchRange(PixelType type, double* lo, double* hi) {
  *lo = 0.0;
  *hi = 255.0;
  DispatchPixelType(type, [&](auto tag) {
    using T = typename decltype(tag)::Value;
    if constexpr (std::is_integral<T>::value && sizeof(T) <= 2) {
      *lo = std::numeric_limits<T>::min();
      *hi = std::numeric_limits<T>::max();
    }
  });
}

// Smallest and largest value of a channel over the scan; false when the
// domain is empty.
bool ChannelMinMax(const PixelBuffer& in, const DomainScan& scan, double* mn,
                   double* mx) {
  return DispatchPixelType(in.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    const T* p = PixelsOf(in, tag);
    T lo = std::numeric_limits<T>::max(), hi = std::numeric_limits<T>::lowest();
    bool any = false;
    scan.ForEachRun([&](size_t o, size_t n) {
      any = any || n > 0;
      for (size_t k = o; k < o + n; ++k) {
        lo = std::min(lo, p[k]);
        hi = std::max(hi, p[k]);
      }
    });
    *mn = static_cast<double>(lo);
    *mx = static_cast<double>(hi);
    return any;
  });
}

// The gamma curve on values normalised to [0, 1]. Encoding is
// (1 + offset) v^gamma - offset above `threshold` and a line through 0
// below it; decoding is ((v + offset) / (1 + offset))^gamma above the
// threshold (given on the encoded scale) and a line below. Both lines meet
// the curve at the threshold, so the curve is continuous.
struct GammaCurve {
  double gamma, offset, threshold;
  bool encode;
  double Power(double v) const {
    return encode ? (1.0 + offset) * std::pow(v, gamma) - offset
                  : std::pow((v + offset) / (1.0 + offset), gamma);
  }
  double operator()(double v) const {
    const double sign = v < 0 ? -1.0 : 1.0;
    const double a = std::fabs(v);
    if (a >= threshold) return sign * Power(a);
    return threshold > 0 ? sign * a * Power(threshold) / threshold : 0.0;
  }
};

}  // namespace

VEXA_OPERATOR(abs_image) {
  return MapEach(ctx, SameRealValuedType, [](double x) { return std::fabs(x); });
}

// Byte-like and uint2 images are mirrored within their range (255 - g,
// 65535 - g); signed and real images are negated. Directions have no
// inverse gray value.
VEXA_OPERATOR(invert_image) {
  return MapImages(ctx, SameRealValuedType, [](const PixelBuffer& in,
                   PixelBuffer* out, const DomainScan& scan) {
    switch (in.type()) {
      case PixelType::kDirection:
        return VERR_PIXEL_TYPE;
      // The mirror of an unsigned value never leaves its range: it is
      // computed in the type itself, a loop that vectorises.
      case PixelType::kByte:
      case PixelType::kCyclic:
        return TypedUnaryMap(in, out, scan, [](auto x) { return static_cast<decltype(x)>(255 - x); });
      case PixelType::kUInt2:
        return TypedUnaryMap(in, out, scan, [](auto x) { return static_cast<decltype(x)>(65535 - x); });
      default:
        return UnaryMap(in, out, scan, [](double x) { return -x; });
    }
  });
}

VEXA_OPERATOR(scale_image) {
  double mult = 0.0, add = 0.0;
  Vresult rc = ctx.GetDouble(0, &mult);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &add);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(mult)) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(add)) return VERR_CTRL_VALUE(1);
  return MapEach(ctx, SameRealValuedType, [=](double x) { return x * mult + add; });
}

// Maps every gray value g through the table `lut`: entry g - lo for the
// lowest value lo of the type, so the table holds one entry per value of
// byte, cyclic, direction and int1 images (256) or of uint2 and int2
// images (65,536); entries are rounded and clipped to the type.
VEXA_OPERATOR(lut_trans) {
  std::vector<double> lut;
  const Vresult rc = ctx.GetDoubles(0, lut);
  if (rc != VRESULT_OK) return rc;
  for (double v : lut)
    if (!std::isfinite(v)) return VERR_CTRL_VALUE(0);
  return MapImages(ctx, SameIntegerType, [&](const PixelBuffer& in, PixelBuffer* out,
                                             const DomainScan& scan) {
    Vresult r = VERR_PIXEL_TYPE;
    DispatchPixelType(in.type(), [&](auto tag) {
      using T = typename decltype(tag)::Value;
      if constexpr (std::is_integral<T>::value && sizeof(T) <= 2) {
        constexpr int64_t kLo = std::numeric_limits<T>::min();
        constexpr size_t kSize = size_t{1} << (8 * sizeof(T));
        if (lut.size() != kSize) {
          r = VERR_CTRL_NUM(0);
          return;
        }
        r = UnaryMap(in, out, scan, [&](double x) { return lut[static_cast<size_t>(x - kLo)]; });
      }
    });
    return r;
  });
}

// Stretches each channel linearly so that its smallest domain value becomes
// the low end of StretchRange and its largest the high end; a constant
// channel is copied unchanged.
VEXA_OPERATOR(scale_image_max) {
  return MapImages(ctx, SameRealValuedType, [](const PixelBuffer& in,
                   PixelBuffer* out, const DomainScan& scan) {
    double mn = 0, mx = 0, lo = 0, hi = 0;
    StretchRange(in.type(), &lo, &hi);
    if (!ChannelMinMax(in, scan, &mn, &mx) || mx == mn)
      return UnaryMap(in, out, scan, [](double x) { return x; });
    const double f = (hi - lo) / (mx - mn);
    return UnaryMap(in, out, scan, [=](double x) { return (x - mn) * f + lo; });
  });
}

VEXA_OPERATOR(sqrt_image) {
  return MapEach(ctx, SameRealValuedType, Defined([](double x) { return std::sqrt(x); }));
}

VEXA_OPERATOR(pow_image) {
  double e = 0.0;
  const Vresult rc = ctx.GetDouble(0, &e);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(e)) return VERR_CTRL_VALUE(0);
  return MapEach(ctx, RealResultType, Defined([=](double x) { return std::pow(x, e); }));
}

VEXA_OPERATOR(exp_image) {
  double base = 0.0;
  const Vresult rc = ReadBase(ctx, &base);
  if (rc != VRESULT_OK) return rc;
  const double ln = std::log(base);
  return MapEach(ctx, RealResultType, [=](double x) { return std::exp(x * ln); });
}

VEXA_OPERATOR(log_image) {
  double base = 0.0;
  const Vresult rc = ReadBase(ctx, &base);
  if (rc != VRESULT_OK) return rc;
  if (base == 1.0) return VERR_CTRL_VALUE(0);
  const double ln = std::log(base);
  return MapEach(ctx, RealResultType,
                 [=](double x) { return x > 0 ? std::log(x) / ln : 0.0; });
}

VEXA_OPERATOR(sin_image) {
  return MapEach(ctx, RealResultType, [](double x) { return std::sin(x); });
}
VEXA_OPERATOR(cos_image) {
  return MapEach(ctx, RealResultType, [](double x) { return std::cos(x); });
}
VEXA_OPERATOR(tan_image) {
  return MapEach(ctx, RealResultType, [](double x) { return std::tan(x); });
}
VEXA_OPERATOR(asin_image) {
  return MapEach(ctx, RealResultType, Defined([](double x) { return std::asin(x); }));
}
VEXA_OPERATOR(acos_image) {
  return MapEach(ctx, RealResultType, Defined([](double x) { return std::acos(x); }));
}
VEXA_OPERATOR(atan_image) {
  return MapEach(ctx, RealResultType, [](double x) { return std::atan(x); });
}

// gamma, offset, threshold, max_gray, encode ("true" or "false"): each
// value g becomes max_gray * curve(g / max_gray).
VEXA_OPERATOR(gamma_image) {
  double gamma = 0, offset = 0, threshold = 0, max_gray = 0;
  const char* encode = nullptr;
  Vresult rc = ctx.GetDouble(0, &gamma);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &offset);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &threshold);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &max_gray);
  if (rc == VRESULT_OK) rc = ctx.GetString(4, &encode);
  if (rc != VRESULT_OK) return rc;
  if (!(gamma > 0) || !std::isfinite(gamma)) return VERR_CTRL_VALUE(0);
  if (!(offset >= 0) || !std::isfinite(offset)) return VERR_CTRL_VALUE(1);
  if (!(threshold >= 0 && threshold < 1)) return VERR_CTRL_VALUE(2);
  if (!(max_gray > 0) || !std::isfinite(max_gray)) return VERR_CTRL_VALUE(3);
  const bool enc = std::strcmp(encode, "true") == 0;
  if (!enc && std::strcmp(encode, "false") != 0) return VERR_CTRL_VALUE(4);
  const GammaCurve curve{gamma, offset, threshold, enc};
  return MapEach(ctx, SameRealValuedType, Defined([=](double x) {
    return max_gray * curve(x / max_gray);
  }));
}

}  // namespace vexa
