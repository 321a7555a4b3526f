// copy_image and convert_image_type: new images with the input's domain,
// the first with a copy of every pixel, the second with the domain pixels
// converted to another pixel type.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "image_op_util.h"
#include "ops/common/domain_scan.h"
#include "ops/common/halves.h"
#include "ops/common/pixel_dispatch.h"
#include "registry.h"

namespace vexa {
namespace {

// True when every value of pixel type I is stored unchanged by a plain
// cast to pixel type O: float targets, and integer targets whose range holds
// the source's (cyclic wraps and so only takes values it holds itself).
template <PixelType I, PixelType O>
constexpr bool CastIsExact() {
  using In = typename PixelTag<I>::Value;
  using Out = typename PixelTag<O>::Value;
  if (std::is_floating_point<Out>::value) return true;
  if (std::is_floating_point<In>::value) return false;
  return static_cast<long double>(std::numeric_limits<In>::min()) >=
             static_cast<long double>(std::numeric_limits<Out>::min()) &&
         static_cast<long double>(std::numeric_limits<In>::max()) <=
             static_cast<long double>(std::numeric_limits<Out>::max());
}

// Converts the domain pixels of `in` into `out`. Exact conversions are a
// plain cast and integer ones a clamp, which compilers vectorise; values
// from real pixels round and clip (or wrap, for cyclic) through StorePixel.
void ConvertChannel(const PixelBuffer& in, PixelBuffer* out,
                    const DomainScan& scan) {
  DispatchPixelType(in.type(), [&](auto in_tag) {
    constexpr PixelType kIn = decltype(in_tag)::kType;
    using I = typename decltype(in_tag)::Value;
    const I* src = PixelsOf(in, in_tag);
    DispatchPixelType(out->type(), [&](auto out_tag) {
      constexpr PixelType kOut = decltype(out_tag)::kType;
      using O = typename decltype(out_tag)::Value;
      O* dst = PixelsOf(out, out_tag);
      ForEachRunInHalves(scan, [&](size_t o, size_t n) {
        const I* s = src + o;
        O* d = dst + o;
        if constexpr (CastIsExact<kIn, kOut>() ||
                      (kOut == PixelType::kCyclic && std::is_integral<I>::value)) {
          // Exact, or modulo 256 as the cyclic type wants it.
          for (size_t k = 0; k < n; ++k) d[k] = static_cast<O>(s[k]);
        } else if constexpr (std::is_integral<I>::value) {
          // Integer narrowing: clipping in integers needs no rounding.
          constexpr int64_t kLo = std::numeric_limits<O>::min();
          constexpr int64_t kHi = std::numeric_limits<O>::max();
          for (size_t k = 0; k < n; ++k)
            d[k] = static_cast<O>(std::clamp<int64_t>(s[k], kLo, kHi));
        } else {
          for (size_t k = 0; k < n; ++k)
            d[k] = StorePixel<kOut>(static_cast<double>(s[k]));
        }
      });
    });
  });
}

}  // namespace

VEXA_OPERATOR(copy_image) {
  return MakePerImage(ctx, 1, 1,
                      [](Vkey, const db::ImageData& image, Vkey* out) {
                        Channels channels;
                        const Vresult rc = CloneChannels(image, &channels);
                        if (rc != VRESULT_OK) return rc;
                        return db::NewImage(image.domain, std::move(channels),
                                            out);
                      });
}

// Converts every channel. Values are rounded and clipped to the new type
// (cyclic wraps); complex images convert only to complex, and other types
// become complex numbers with imaginary part 0.
VEXA_OPERATOR(convert_image_type) {
  PixelType type;
  const Vresult rc = GetPixelType(ctx, 0, &type);
  if (rc != VRESULT_OK) return rc;
  return MakePerImage(ctx, 1, 1,
                      [&](Vkey key, const db::ImageData& image, Vkey* out) {
    const PixelType from = image.channels[0]->type();
    if (from == type) return db::Copy(key, out);  // nothing to convert
    if (from == PixelType::kComplex) return VERR_PIXEL_TYPE;
    const DomainScan scan = DomainScan::Of(image);
    Channels channels(image.channels.size());
    for (size_t i = 0; i < channels.size(); ++i) {
      const PixelBuffer& in = *image.channels[i];
      if (in.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
      const Vresult r =
          PixelBuffer::Create(type, in.width(), in.height(), &channels[i]);
      if (r != VRESULT_OK) return r;
      ConvertChannel(in, channels[i].get(), scan);
    }
    return db::NewImage(image.domain, std::move(channels), out);
  });
}

}  // namespace vexa
