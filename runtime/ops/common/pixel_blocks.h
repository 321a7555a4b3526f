// Pixel loops in fixed-size blocks, so that the compiler vectorises them in
// the default optimised build (-O2) as well.
//
// At -O2 the compiler only vectorises a loop whose vector form replaces
// the scalar loop entirely: a loop of a constant trip count (a multiple of
// the vector width) over pointers that cannot alias. An inner loop of
// kPixelBlock pixels over restrict pointers is such a loop; the remainder
// of fewer than kPixelBlock pixels runs scalar. The per-pixel function
// should be plain arithmetic (no calls, no table lookups).
#pragma once

#include <cstddef>

namespace vexa {

constexpr size_t kPixelBlock = 64;

// dst[k] = op(src[k]) for k < n; src and dst do not overlap.
template <class I, class O, class Op>
inline __attribute__((always_inline)) void MapPixelBlocks(
    const I* __restrict src, O* __restrict dst, size_t n, Op op) {
  size_t k = 0;
  for (; k + kPixelBlock <= n; k += kPixelBlock)
    for (size_t j = 0; j < kPixelBlock; ++j) dst[k + j] = op(src[k + j]);
  for (; k < n; ++k) dst[k] = op(src[k]);
}

// dst[k] = op(a[k], b[k]) for k < n; dst overlaps neither input.
template <class I, class O, class Op>
inline __attribute__((always_inline)) void MapPixelPairBlocks(
    const I* __restrict a, const I* __restrict b, O* __restrict dst, size_t n,
    Op op) {
  size_t k = 0;
  for (; k + kPixelBlock <= n; k += kPixelBlock)
    for (size_t j = 0; j < kPixelBlock; ++j) dst[k + j] = op(a[k + j], b[k + j]);
  for (; k < n; ++k) dst[k] = op(a[k], b[k]);
}

}  // namespace vexa
