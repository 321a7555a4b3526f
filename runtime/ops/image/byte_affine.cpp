#include "ops/image/byte_affine.h"

#include <algorithm>

namespace vexa {

bool FastAffineBytes() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
__attribute__((target_clones("avx2", "default")))
#endif
void MapBytesAffine(const uint8_t* src, uint8_t* dst, size_t n, int32_t m,
                    int32_t c, int shift) {
  for (size_t k = 0; k < n; ++k) {
    const int32_t v = (static_cast<int32_t>(src[k]) * m + c) >> shift;
    dst[k] = static_cast<uint8_t>(std::min(std::max(v, 0), 255));
  }
}

}  // namespace vexa
