// Sums, differences and absolute differences of byte pixels, the loops of
// add_image, sub_image and abs_diff_image on byte images, compiled for the
// wider instruction sets as well (simd_clones.h).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexa {

// dst[k] = clamp(a[k] + b[k] + offset, 0, 255); offset within [-512, 512].
void AddBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n, int16_t offset);
// dst[k] = clamp(a[k] - b[k] + offset, 0, 255); offset within [-512, 512].
void SubBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n, int16_t offset);
// dst[k] = |a[k] - b[k]|.
void AbsDiffBytes(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t n);

}  // namespace vexa
