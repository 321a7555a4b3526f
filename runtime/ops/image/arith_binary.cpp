// Arithmetic of two images, pixel by pixel over the common domain:
//   add_image       (a + b) * mult + add
//   sub_image       (a - b) * mult + add
//   mult_image      a * b * mult + add
//   div_image       a / b * mult + add, and 0 where b is 0
//   abs_diff_image  |a - b| * mult
//   min_image, max_image, atan2_image (real result, radians)
// The result has the inputs' type (atan2: real), rounded to nearest and
// clipped to the type's range; cyclic images wrap around.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "ops/image/byte_arith.h"
#include "ops/image/image_map.h"
#include "registry.h"

namespace vexa {
namespace {

// Reads the real parameters mult (control 0) and, when `with_add`, add
// (control 1).
Vresult ReadScale(const OpContext& ctx, bool with_add, double* mult, double* add) {
  *add = 0.0;
  Vresult rc = ctx.GetDouble(0, mult);
  if (rc == VRESULT_OK && with_add) rc = ctx.GetDouble(1, add);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(*mult)) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(*add)) return VERR_CTRL_VALUE(1);
  return VRESULT_OK;
}

// True when sign * b + a + offset is computed exactly in int64 for
// every pair of values of T: the integer fast path of add and sub.
template <class T>
constexpr bool kNarrowInteger = std::is_integral<T>::value && sizeof(T) <= 4;

// The narrowest signed type that holds a sum or difference of two values
// of T plus an offset of the same size: the lanes the vectorised loops of
// this file work in.
template <class T>
using WideOf = std::conditional_t<sizeof(T) == 1, int16_t,
                                  std::conditional_t<sizeof(T) == 2, int32_t, int64_t>>;

// out = a + sign * b + offset for integer types narrower than 64 bits,
// clipped (cyclic: wrapped) to the type, without a round trip through
// double: this is the loop the compiler vectorises.
template <int kSign>
void AddIntegers(const PixelBuffer& a, const PixelBuffer& b, PixelBuffer* out,
                 const DomainScan& scan, int64_t offset) {
  DispatchPixelType(a.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    if constexpr (kNarrowInteger<T>) {
      using Wide = WideOf<T>;
      const T* pa = PixelsOf(a, tag);
      const T* pb = PixelsOf(b, tag);
      T* dst = PixelsOf(out, tag);
      // a +- b spans less than 2^(8 * sizeof(T) + 1), so a larger offset
      // gives the same clipped results as this bound, and a wrapped one
      // the same as the offset modulo 256.
      constexpr int64_t kReach = int64_t{1} << (8 * sizeof(T) + 1);
      const int64_t bounded = std::min(std::max(offset, -kReach), kReach);
      const Wide off = static_cast<Wide>(
          decltype(tag)::kType == PixelType::kCyclic ? (offset & 255) : bounded);
      if constexpr (decltype(tag)::kType == PixelType::kCyclic) {
        ForEachRunInHalves(scan, [&](size_t o, size_t n) {
          MapPixelPairBlocks(pa + o, pb + o, dst + o, n, [=](T x, T y) {
            return static_cast<T>((Wide{x} + kSign * Wide{y} + off) & 255);
          });
        });
      } else if constexpr (std::is_same<T, uint8_t>::value) {
        ForEachRunInHalves(scan, [&](size_t o, size_t n) {
          (kSign > 0 ? AddBytes : SubBytes)(pa + o, pb + o, dst + o, n, off);
        });
      } else {
        constexpr Wide kMin = std::numeric_limits<T>::min();
        constexpr Wide kMax = std::numeric_limits<T>::max();
        ForEachRunInHalves(scan, [&](size_t o, size_t n) {
          MapPixelPairBlocks(pa + o, pb + o, dst + o, n, [=](T x, T y) {
            const Wide v = static_cast<Wide>(Wide{x} + kSign * Wide{y} + off);
            return static_cast<T>(std::min(std::max(v, kMin), kMax));
          });
        });
      }
    }
  });
}

// add_image and sub_image: (a + sign * b) * mult + add.
template <int kSign>
Vresult AddOrSub(OpContext& ctx) {
  double mult, add;
  const Vresult rc = ReadScale(ctx, true, &mult, &add);
  if (rc != VRESULT_OK) return rc;
  // Offsets beyond this change nothing more than the clipping does.
  const bool integer_path = mult == 1.0 && add == std::floor(add) && std::fabs(add) < 1e12;
  return MapImagePairs(ctx, SameRealValuedType,
                       [&](const PixelBuffer& a, const PixelBuffer& b,
                           PixelBuffer* out, const DomainScan& scan) {
    const PixelType t = a.type();
    if (integer_path && IsIntegerPixel(t) && t != PixelType::kInt8) {
      AddIntegers<kSign>(a, b, out, scan, static_cast<int64_t>(add));
      return VRESULT_OK;
    }
    return BinaryMap(a, b, out, scan, [=](double x, double y) {
      return (x + kSign * y) * mult + add;
    });
  });
}

}  // namespace

VEXA_OPERATOR(add_image) { return AddOrSub<1>(ctx); }
VEXA_OPERATOR(sub_image) { return AddOrSub<-1>(ctx); }

// a * b * mult + add for byte images: the result depends on the product
// a * b alone (exact in double), so it is a function of the 65,026
// products. Their table is exactly the formula in double; where the
// processor has the vectorised loop and a fixed-point form matches every
// entry of the table, that loop computes it, otherwise the table is read
// per pixel (no rounding call either way). Both only pay off on images
// larger than the table.
bool MultBytes(const PixelBuffer& a, const PixelBuffer& b, PixelBuffer* out,
               const DomainScan& scan, double mult, double add) {
  if (a.type() != PixelType::kByte || scan.domain()->area() < 65536) return false;
  constexpr int32_t kProducts = 255 * 255 + 1;
  std::vector<uint8_t> table(kProducts);
  for (int32_t p = 0; p < kProducts; ++p)
    table[static_cast<size_t>(p)] = StorePixel<PixelType::kByte>(p * mult + add);
  const uint8_t* pa = a.data();
  const uint8_t* pb = b.data();
  uint8_t* dst = out->data();
  FixedAffine fx;
  if (FastAffineBytes() && fx.Fit(mult, add, 0, kProducts - 1, table.data())) {
    ForEachRunInHalves(scan, [&](size_t o, size_t n) {
      MapByteProductsAffine(pa + o, pb + o, dst + o, n, static_cast<int32_t>(fx.m),
                            static_cast<int32_t>(fx.c), fx.shift);
    });
    return true;
  }
  ForEachRunInHalves(scan, [&](size_t o, size_t n) {
    for (size_t k = o; k < o + n; ++k) dst[k] = table[static_cast<size_t>(pa[k] * pb[k])];
  });
  return true;
}

VEXA_OPERATOR(mult_image) {
  double mult, add;
  const Vresult rc = ReadScale(ctx, true, &mult, &add);
  if (rc != VRESULT_OK) return rc;
  return MapImagePairs(ctx, SameRealValuedType, [&](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    if (MultBytes(a, b, out, s, mult, add)) return VRESULT_OK;
    return BinaryMap(a, b, out, s, [=](double x, double y) { return x * y * mult + add; });
  });
}

VEXA_OPERATOR(div_image) {
  double mult, add;
  const Vresult rc = ReadScale(ctx, true, &mult, &add);
  if (rc != VRESULT_OK) return rc;
  return MapImagePairs(ctx, SameRealValuedType, [&](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    return BinaryMap(a, b, out, s, [=](double x, double y) {
      return y == 0.0 ? 0.0 : x / y * mult + add;
    });
  });
}

VEXA_OPERATOR(abs_diff_image) {
  double mult, add;
  const Vresult rc = ReadScale(ctx, false, &mult, &add);
  if (rc != VRESULT_OK) return rc;
  return MapImagePairs(ctx, SameRealValuedType, [&](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    if (mult == 1.0) {
      bool done = false;
      DispatchPixelType(a.type(), [&](auto tag) {
        using T = typename decltype(tag)::Value;
        if constexpr (std::is_same<T, uint8_t>::value) {
          const uint8_t* pa = PixelsOf(a, tag);
          const uint8_t* pb = PixelsOf(b, tag);
          uint8_t* dst = PixelsOf(out, tag);
          ForEachRunInHalves(s, [&](size_t o, size_t n) { AbsDiffBytes(pa + o, pb + o, dst + o, n); });
        } else if constexpr (kNarrowInteger<T>) {
          // |a - b| in the wide lanes, clipped to the type (int1 tops out
          // at 127); the loop vectorises.
          using Wide = WideOf<T>;
          TypedBinaryMap(a, b, out, s, [](T x, T y) {
            const Wide d = static_cast<Wide>(Wide{x} - Wide{y});
            const Wide m = d < 0 ? static_cast<Wide>(-d) : d;
            return static_cast<T>(m < std::numeric_limits<T>::max() ? m : std::numeric_limits<T>::max());
          });
        }
        done = kNarrowInteger<T>;
      });
      if (done) return VRESULT_OK;
    }
    return BinaryMap(a, b, out, s, [=](double x, double y) { return std::fabs(x - y) * mult; });
  });
}

VEXA_OPERATOR(min_image) {
  return MapImagePairs(ctx, SameRealValuedType, [](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    return TypedBinaryMap(a, b, out, s, [](auto x, auto y) { return std::min(x, y); });
  });
}

VEXA_OPERATOR(max_image) {
  return MapImagePairs(ctx, SameRealValuedType, [](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    return TypedBinaryMap(a, b, out, s, [](auto x, auto y) { return std::max(x, y); });
  });
}

VEXA_OPERATOR(atan2_image) {
  return MapImagePairs(ctx, RealResultType, [](const PixelBuffer& y,
                       const PixelBuffer& x, PixelBuffer* out, const DomainScan& s) {
    return BinaryMap(y, x, out, s, [](double a, double b) { return std::atan2(a, b); });
  });
}

}  // namespace vexa
