// Writing runs of pixels of one channel: a constant into the chords of a
// region, the pixels of another channel along a domain, or a function of
// the position into every pixel. Complex channels get both planes (the
// imaginary plane of a written pixel becomes 0, or the source's).
#pragma once

#include <algorithm>
#include <cstring>

#include "image_store.h"
#include "ops/common/domain_scan.h"
#include "ops/common/pixel_dispatch.h"

namespace vexa {

// The imaginary plane of a complex channel; null for every other type.
inline float* ImaginaryPlane(PixelBuffer* buffer) {
  if (buffer->type() != PixelType::kComplex) return nullptr;
  return reinterpret_cast<float*>(buffer->data()) + buffer->num_pixels();
}

// Sets the pixels of `region`, which lies inside the channel, to `value`
// (rounded and clipped to the pixel type).
inline void FillRegion(PixelBuffer* buffer, const Region& region,
                       double value) {
  float* imaginary = ImaginaryPlane(buffer);
  DispatchPixelType(buffer->type(), [&](auto tag) {
    const auto stored = StorePixel<decltype(tag)::kType>(value);
    auto* pixels = PixelsOf(buffer, tag);
    for (const Chord& ch : region.chords()) {
      const size_t o = static_cast<size_t>(ch.r) * buffer->width() + ch.cb;
      const size_t n = static_cast<size_t>(ch.ce - ch.cb + 1);
      std::fill(pixels + o, pixels + o + n, stored);
      if (imaginary) std::fill(imaginary + o, imaginary + o + n, 0.0f);
    }
  });
}

// Copies the pixels of `scan` from `src` to `dst`, which have one type and
// one size.
inline void CopyRuns(const PixelBuffer& src, PixelBuffer* dst,
                     const DomainScan& scan) {
  const size_t pix = src.type() == PixelType::kComplex ? 4 : PixelSize(src.type());
  const size_t plane = src.type() == PixelType::kComplex
                           ? static_cast<size_t>(src.num_pixels()) * 4
                           : 0;
  scan.ForEachRun([&](size_t o, size_t n) {
    std::memcpy(dst->data() + o * pix, src.data() + o * pix, n * pix);
    if (plane)
      std::memcpy(dst->data() + plane + o * pix, src.data() + plane + o * pix,
                  n * pix);
  });
}

// Sets every pixel (r, c) to value(r, c), rounded and clipped to the type.
template <class ValueFn>
void FillImage(PixelBuffer* buffer, ValueFn&& value) {
  DispatchPixelType(buffer->type(), [&](auto tag) {
    auto* pixels = PixelsOf(buffer, tag);
    for (int32_t r = 0; r < buffer->height(); ++r)
      for (int32_t c = 0; c < buffer->width(); ++c)
        *pixels++ = StorePixel<decltype(tag)::kType>(value(r, c));
  });
}

}  // namespace vexa
