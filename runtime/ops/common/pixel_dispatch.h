// Typed access to pixel buffers: one switch from the runtime tag PixelType
// to the C++ type of the stored values, so that every image operator writes
// its loops once, as a template, and gets a tight typed loop per type.
//
//   DispatchPixelType(buffer.type(), [&](auto tag) {
//     using T = typename decltype(tag)::Value;
//     constexpr PixelType kType = decltype(tag)::kType;
//     ...
//   });
//
// Byte, direction and cyclic all store uint8_t but stay distinct tags,
// since they convert differently (cyclic wraps, direction clips). Complex
// pixels come as float: the real plane, which lies first in the buffer.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "image_store.h"

namespace vexa {

template <PixelType P>
struct PixelTag;

#define VEXA_PIXEL_TAG_(tag, type)              \
  template <>                                   \
  struct PixelTag<PixelType::tag> {             \
    using Value = type;                         \
    static constexpr PixelType kType = PixelType::tag; \
  }
VEXA_PIXEL_TAG_(kByte, uint8_t);
VEXA_PIXEL_TAG_(kInt1, int8_t);
VEXA_PIXEL_TAG_(kInt2, int16_t);
VEXA_PIXEL_TAG_(kUInt2, uint16_t);
VEXA_PIXEL_TAG_(kInt4, int32_t);
VEXA_PIXEL_TAG_(kInt8, int64_t);
VEXA_PIXEL_TAG_(kReal, float);
VEXA_PIXEL_TAG_(kComplex, float);
VEXA_PIXEL_TAG_(kDirection, uint8_t);
VEXA_PIXEL_TAG_(kCyclic, uint8_t);
#undef VEXA_PIXEL_TAG_

// Calls fn(PixelTag<type>{}) and returns what it returns (every
// instantiation must return the same type).
template <class Fn>
decltype(auto) DispatchPixelType(PixelType type, Fn&& fn) {
  switch (type) {
    case PixelType::kByte: return fn(PixelTag<PixelType::kByte>{});
    case PixelType::kInt1: return fn(PixelTag<PixelType::kInt1>{});
    case PixelType::kInt2: return fn(PixelTag<PixelType::kInt2>{});
    case PixelType::kUInt2: return fn(PixelTag<PixelType::kUInt2>{});
    case PixelType::kInt4: return fn(PixelTag<PixelType::kInt4>{});
    case PixelType::kInt8: return fn(PixelTag<PixelType::kInt8>{});
    case PixelType::kReal: return fn(PixelTag<PixelType::kReal>{});
    case PixelType::kComplex: return fn(PixelTag<PixelType::kComplex>{});
    case PixelType::kDirection: return fn(PixelTag<PixelType::kDirection>{});
    case PixelType::kCyclic: break;
  }
  return fn(PixelTag<PixelType::kCyclic>{});
}

// The values of one channel as an array of the tag's type.
template <class Tag>
const typename Tag::Value* PixelsOf(const PixelBuffer& buffer, Tag) {
  return reinterpret_cast<const typename Tag::Value*>(buffer.data());
}
template <class Tag>
typename Tag::Value* PixelsOf(PixelBuffer* buffer, Tag) {
  return reinterpret_cast<typename Tag::Value*>(buffer->data());
}

// A result computed in double, stored in type P: integer types round to
// nearest and clip to their range (NaN gives 0), cyclic wraps modulo 256,
// float types round to float. The same rule as PixelBuffer::Set, inlined
// for the operators' loops.
template <PixelType P>
inline typename PixelTag<P>::Value StorePixel(double v) {
  using T = typename PixelTag<P>::Value;
  if constexpr (std::is_floating_point<T>::value) {
    return static_cast<T>(v);
  } else if constexpr (P == PixelType::kCyclic) {
    const double w = std::fmod(std::round(v == v ? v : 0.0), 256.0);
    return static_cast<T>(w < 0 ? w + 256.0 : w);
  } else {
    if (!(v == v)) return 0;
    const double r = std::round(v);
    if (r <= static_cast<double>(std::numeric_limits<T>::min()))
      return std::numeric_limits<T>::min();
    if (r >= static_cast<double>(std::numeric_limits<T>::max()))
      return std::numeric_limits<T>::max();
    return static_cast<T>(r);
  }
}

// True for the types whose values are integers (all but real and complex).
constexpr bool IsIntegerPixel(PixelType type) {
  return type != PixelType::kReal && type != PixelType::kComplex;
}

}  // namespace vexa
