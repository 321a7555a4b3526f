// The vectorised loop of an affine map of byte pixels (see FixedAffine in
// image_map.h): dst[k] = clamp((src[k] * m + c) >> shift, 0, 255).
//
// It needs 32-bit lanes with multiplies and minima, which the baseline
// instruction set lacks: there the loop is slower than a table lookup per
// pixel. So it is compiled for AVX2 as well and only used where the
// processor has it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexa {

// True when MapBytesAffine runs its AVX2 form.
bool FastAffineBytes();

void MapBytesAffine(const uint8_t* src, uint8_t* dst, size_t n, int32_t m,
                    int32_t c, int shift);

}  // namespace vexa
