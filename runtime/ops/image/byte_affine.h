// The vectorised loops of affine maps of byte pixels (see FixedAffine in
// image_map.h): dst[k] = clamp((x * m + c) >> shift, 0, 255), where x is
// the pixel src[k] or the product a[k] * b[k] of two pixels.
//
// They need 32-bit lanes with multiplies and minima, which the baseline
// instruction set lacks: there the loops are slower than a table lookup per
// pixel. So they are compiled for AVX2 and AVX-512 as well (simd_clones.h)
// and only used where the processor has AVX2.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexa {

// True when the loops below run their AVX2 form.
bool FastAffineBytes();

void MapBytesAffine(const uint8_t* src, uint8_t* dst, size_t n, int32_t m,
                    int32_t c, int shift);

void MapByteProductsAffine(const uint8_t* a, const uint8_t* b, uint8_t* dst,
                           size_t n, int32_t m, int32_t c, int shift);

}  // namespace vexa
