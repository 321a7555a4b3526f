// The frame of the pixel-by-pixel image operators: for every input image
// (or pair of images) a new image of the same size and channel count whose
// domain is the input's (the common domain for a pair), with only the
// domain pixels computed; the pixels outside it stay 0.
//
// The value functions work in double and are stored with StorePixel's
// rounding and clipping. Images of 8-bit types, and large 16-bit images, go
// through a table of the function's values over the type's whole range, so
// an expensive function costs one lookup per pixel.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/halves.h"
#include "ops/common/op_objects.h"
#include "ops/common/pixel_dispatch.h"
#include "ops/image/byte_affine.h"
#include "ops/image/image_op_util.h"
#include "ops/common/pixel_blocks.h"

namespace vexa {

// The result type of an operator for an input type; false refuses the type
// (VERR_PIXEL_TYPE).
using ResultTypeFn = bool (*)(PixelType in, PixelType* out);

// Every type but complex; the result has the input's type.
inline bool SameRealValuedType(PixelType in, PixelType* out) {
  *out = in;
  return in != PixelType::kComplex;
}
// Every type but complex; the result is a real image.
inline bool RealResultType(PixelType in, PixelType* out) {
  *out = PixelType::kReal;
  return in != PixelType::kComplex;
}
// The integer types; the result has the input's type.
inline bool SameIntegerType(PixelType in, PixelType* out) {
  *out = in;
  return IsIntegerPixel(in);
}

// An exact integer form of the stored values of an affine function on a
// range of integers: clamp((x * m + c) >> shift) to the output type equals
// StorePixel(x * mult + add) for every x in [lo, hi], which Fit checks
// against the table of those stored values. The loop over this form
// vectorises (byte_affine.h), where a table lookup per pixel cannot.
struct FixedAffine {
  int64_t m = 0, c = 0;
  int shift = 0;

  // Fixed-point coefficients for mult and add, with as many fraction bits
  // (up to 20) as keep x * m + c within int32 over [lo, hi] (|x| below
  // 2^16); false when none match every entry of table[x - lo].
  template <class O>
  bool Fit(double mult, double add, int64_t lo, int64_t hi, const O* table) {
    if (!std::isfinite(mult) || !std::isfinite(add)) return false;
    const double reach = std::max(std::fabs(static_cast<double>(lo)),
                                  std::fabs(static_cast<double>(hi))) * std::fabs(mult) +
                         std::fabs(add) + 1.0;
    // Below 2^29, so that a step of the coefficients (|x| + 1 at most in
    // fixed-point units) still stays within int32.
    for (shift = 20; shift > 0 && reach * std::ldexp(1.0, shift) >= 0x1p29; --shift) {}
    if (reach * std::ldexp(1.0, shift) >= 0x1p29) return false;
    // floor(v + 1/2) is the rounding of StorePixel up to ties below zero.
    // Where x * mult + add rounds to a tie in double, the nearest fixed
    // point may fall on the other side of it, so the neighbouring
    // coefficients are tried as well.
    const int64_t m0 = std::llround(std::ldexp(mult, shift));
    const int64_t c0 = std::llround(std::ldexp(add + 0.5, shift));
    for (const int64_t dm : {0, 1, -1}) {
      for (const int64_t dc : {0, 1, -1}) {
        m = m0 + dm;
        c = c0 + dc;
        if (Matches(lo, hi, table)) return true;
      }
    }
    return false;
  }

  template <class O>
  bool Matches(int64_t lo, int64_t hi, const O* table) const {
    for (int64_t x = lo; x <= hi; ++x)
      if (Apply<O>(static_cast<int32_t>(x)) != table[x - lo]) return false;
    return true;
  }

  template <class O>
  O Apply(int32_t x) const {
    const int32_t v = (x * static_cast<int32_t>(m) + static_cast<int32_t>(c)) >> shift;
    constexpr int32_t kMin = std::numeric_limits<O>::min();
    constexpr int32_t kMax = std::numeric_limits<O>::max();
    return static_cast<O>(std::min(std::max(v, kMin), kMax));
  }
};

// Makes the output image for `in` over `scan`: calls
// channel_fn(channel index, output buffer) for each channel, which writes
// the domain pixels, then stores the image. A full domain gets uncleared
// buffers, since every pixel is written; the pixels outside a partial
// domain read 0.
template <class ChannelFn>
Vresult NewResultImage(const db::ImageData& in, const DomainScan& scan,
                       PixelType type, ChannelFn&& channel_fn, NewKeys* out) {
  Channels channels(in.channels.size());
  for (size_t ch = 0; ch < channels.size(); ++ch) {
    Vresult rc = scan.full()
        ? PixelBuffer::CreateUncleared(type, scan.width(), scan.height(), &channels[ch])
        : PixelBuffer::Create(type, scan.width(), scan.height(), &channels[ch]);
    if (rc == VRESULT_OK) rc = channel_fn(static_cast<int>(ch), channels[ch].get());
    if (rc != VRESULT_OK) return rc;
  }
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewImage(scan.domain(), std::move(channels), &key);
  if (rc == VRESULT_OK) out->Add(key);
  return rc;
}

// One result image per image of input object 1, into output object 1.
// kernel(const PixelBuffer& in, PixelBuffer* out, const DomainScan&)
// returns a Vresult.
template <class Kernel>
Vresult MapImages(OpContext& ctx, ResultTypeFn result_type, Kernel&& kernel) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData in;
    Vresult r = InpImage(1, key, &in);
    if (r != VRESULT_OK) return r;
    PixelType type;
    if (!result_type(in.channels[0]->type(), &type)) return VERR_PIXEL_TYPE;
    const DomainScan scan = DomainScan::Of(in);
    return NewResultImage(in, scan, type, [&](int ch, PixelBuffer* buffer) {
      return kernel(*in.channels[static_cast<size_t>(ch)], buffer, scan);
    }, &out);
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// One result image per pair of images of input objects 1 and 2, which pair
// up in order (or one image at 2 serves every image at 1). The images of a
// pair agree in size, channel count and pixel type.
// kernel(const PixelBuffer& a, const PixelBuffer& b, PixelBuffer* out,
//        const DomainScan&) returns a Vresult.
template <class Kernel>
Vresult MapImagePairs(OpContext& ctx, ResultTypeFn result_type,
                      Kernel&& kernel) {
  Vlong n1 = 0, n2 = 0;
  Vresult rc = ctx.InpObjCount(1, &n1);
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(2, &n2);
  if (rc != VRESULT_OK) return rc;
  if (n2 != n1 && !(n2 == 1 && n1 > 0)) return VERR_OBJ_NUM(2);
  NewKeys out;
  for (Vlong i = 0; i < n1; ++i) {
    db::ImageData a, b;
    rc = InpImage(1, ctx.InpObjKey(1, i), &a);
    if (rc == VRESULT_OK) rc = InpImage(2, ctx.InpObjKey(2, n2 == 1 ? 0 : i), &b);
    if (rc != VRESULT_OK) return rc;
    if (a.channels.size() != b.channels.size()) return VERR_CHANNEL;
    const PixelType in_type = a.channels[0]->type();
    PixelType type;
    if (in_type != b.channels[0]->type() || !result_type(in_type, &type))
      return VERR_PIXEL_TYPE;
    DomainScan scan;
    rc = DomainScan::Of(a, b, &scan);
    if (rc == VRESULT_OK)
      rc = NewResultImage(a, scan, type, [&](int ch, PixelBuffer* buffer) {
        const size_t c = static_cast<size_t>(ch);
        return kernel(*a.channels[c], *b.channels[c], buffer, scan);
      }, &out);
    if (rc != VRESULT_OK) return rc;
  }
  return out.HandOver(ctx, 1);
}

// Calls fn with the tag of `out_type`, which is either the input's type
// (in_tag) or real: the two result types of these operators.
template <class InTag, class Fn>
void WithResultTag(InTag in_tag, PixelType out_type, Fn&& fn) {
  if (out_type == InTag::kType)
    fn(in_tag);
  else
    fn(PixelTag<PixelType::kReal>{});
}

// out = f(in) over the scan, with f(double) -> double stored in out's type
// (the input's or real).
template <class Fn>
Vresult UnaryMap(const PixelBuffer& in, PixelBuffer* out,
                 const DomainScan& scan, Fn&& f) {
  DispatchPixelType(in.type(), [&](auto in_tag) {
    using I = typename decltype(in_tag)::Value;
    const I* src = PixelsOf(in, in_tag);
    WithResultTag(in_tag, out->type(), [&](auto out_tag) {
      using O = typename decltype(out_tag)::Value;
      constexpr PixelType kOut = decltype(out_tag)::kType;
      O* dst = PixelsOf(out, out_tag);
      constexpr bool kSmall = std::is_integral<I>::value && sizeof(I) <= 2;
      const Vlong area = scan.domain()->area();
      if constexpr (kSmall) {
        // A table pays off once the pixels outnumber its entries.
        constexpr int64_t kLo = std::numeric_limits<I>::min();
        constexpr int64_t kSize = int64_t{std::numeric_limits<I>::max()} - kLo + 1;
        if (sizeof(I) == 1 || area > kSize) {
          std::vector<O> table(static_cast<size_t>(kSize));
          for (int64_t v = 0; v < kSize; ++v)
            table[static_cast<size_t>(v)] = StorePixel<kOut>(f(static_cast<double>(v + kLo)));
          if constexpr (std::is_same<I, uint8_t>::value && std::is_same<O, uint8_t>::value) {
            // Affine functions (scalings, inversions) get the vectorised
            // fixed-point loop where it is faster than the table; the line
            // through the ends is tried as is.
            const double f_lo = f(0.0);
            const double mult = (f(255.0) - f_lo) / 255.0;
            FixedAffine fx;
            if (FastAffineBytes() && fx.Fit(mult, f_lo, 0, 255, table.data())) {
              ForEachRunInHalves(scan, [&](size_t o, size_t n) {
                MapBytesAffine(src + o, dst + o, n, static_cast<int32_t>(fx.m),
                               static_cast<int32_t>(fx.c), fx.shift);
              });
              return;
            }
          }
          const O* t = table.data() - kLo;
          ForEachRunInHalves(scan, [&](size_t o, size_t n) {
            for (size_t k = o; k < o + n; ++k) dst[k] = t[src[k]];
          });
          return;
        }
      }
      ForEachRunInHalves(scan, [&](size_t o, size_t n) {
        for (size_t k = o; k < o + n; ++k)
          dst[k] = StorePixel<kOut>(f(static_cast<double>(src[k])));
      });
    });
  });
  return VRESULT_OK;
}

// out = f(a, b) over the scan; a, b of one type.
template <class Fn>
Vresult BinaryMap(const PixelBuffer& a, const PixelBuffer& b, PixelBuffer* out,
                  const DomainScan& scan, Fn&& f) {
  DispatchPixelType(a.type(), [&](auto in_tag) {
    const auto* pa = PixelsOf(a, in_tag);
    const auto* pb = PixelsOf(b, in_tag);
    WithResultTag(in_tag, out->type(), [&](auto out_tag) {
      constexpr PixelType kOut = decltype(out_tag)::kType;
      auto* dst = PixelsOf(out, out_tag);
      ForEachRunInHalves(scan, [&](size_t o, size_t n) {
        for (size_t k = o; k < o + n; ++k)
          dst[k] = StorePixel<kOut>(
              f(static_cast<double>(pa[k]), static_cast<double>(pb[k])));
      });
    });
  });
  return VRESULT_OK;
}

// out = op(a, b) on the stored values themselves (T op(T, T)), for
// operators exact in the type: minimum, maximum, bit operations.
template <class Op>
Vresult TypedBinaryMap(const PixelBuffer& a, const PixelBuffer& b,
                       PixelBuffer* out, const DomainScan& scan, Op&& op) {
  DispatchPixelType(a.type(), [&](auto tag) {
    const auto* pa = PixelsOf(a, tag);
    const auto* pb = PixelsOf(b, tag);
    auto* dst = PixelsOf(out, tag);
    ForEachRunInHalves(scan, [&](size_t o, size_t n) {
      MapPixelPairBlocks(pa + o, pb + o, dst + o, n, op);
    });
  });
  return VRESULT_OK;
}

// The same for one image: out = op(in).
template <class Op>
Vresult TypedUnaryMap(const PixelBuffer& in, PixelBuffer* out,
                      const DomainScan& scan, Op&& op) {
  DispatchPixelType(in.type(), [&](auto tag) {
    const auto* src = PixelsOf(in, tag);
    auto* dst = PixelsOf(out, tag);
    ForEachRunInHalves(scan, [&](size_t o, size_t n) { MapPixelBlocks(src + o, dst + o, n, op); });
  });
  return VRESULT_OK;
}

}  // namespace vexa
