#include "ops/image/byte_arith.h"

#include <algorithm>

#include "ops/common/pixel_blocks.h"
#include "ops/image/simd_clones.h"

namespace vexa {

namespace {

// Sums in 16-bit lanes, clipped to bytes.
inline uint8_t ClipSum(int16_t v) {
  return static_cast<uint8_t>(std::min<int16_t>(std::max<int16_t>(v, 0), 255));
}

}  // namespace

VEXA_SIMD_CLONES
void AddBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n, int16_t offset) {
  MapPixelPairBlocks(a, b, dst, n, [=](uint8_t x, uint8_t y) {
    return ClipSum(static_cast<int16_t>(int16_t{x} + int16_t{y} + offset));
  });
}

VEXA_SIMD_CLONES
void SubBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n, int16_t offset) {
  MapPixelPairBlocks(a, b, dst, n, [=](uint8_t x, uint8_t y) {
    return ClipSum(static_cast<int16_t>(int16_t{x} - int16_t{y} + offset));
  });
}

VEXA_SIMD_CLONES
void AbsDiffBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n) {
  MapPixelPairBlocks(a, b, dst, n, [](uint8_t x, uint8_t y) {
    return static_cast<uint8_t>(std::max(x, y) - std::min(x, y));
  });
}

}  // namespace vexa
