#include "ops/image/byte_affine.h"

#include <algorithm>

#include "ops/common/pixel_blocks.h"
#include "ops/image/simd_clones.h"

namespace vexa {

namespace {

inline uint8_t ClampToByte(int32_t v) {
  return static_cast<uint8_t>(std::min(std::max(v, 0), 255));
}

}  // namespace

bool FastAffineBytes() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

VEXA_SIMD_CLONES
void MapBytesAffine(const uint8_t* src, uint8_t* dst, size_t n, int32_t m,
                    int32_t c, int shift) {
  MapPixelBlocks(src, dst, n, [=](uint8_t x) {
    return ClampToByte((static_cast<int32_t>(x) * m + c) >> shift);
  });
}

VEXA_SIMD_CLONES
void MapByteProductsAffine(const uint8_t* a, const uint8_t* b, uint8_t* dst,
                           size_t n, int32_t m, int32_t c, int shift) {
  MapPixelPairBlocks(a, b, dst, n, [=](uint8_t x, uint8_t y) {
    // The product fits in 16 bits, so it is formed in 16-bit lanes.
    const auto p = static_cast<uint16_t>(x * y);
    return ClampToByte((static_cast<int32_t>(p) * m + c) >> shift);
  });
}

}  // namespace vexa
