// Regions from pixel tests, built without a branch per pixel: each chord of
// the domain is first turned into a row of mask bytes by a plain loop the
// compiler vectorises, the mask is packed 64 pixels to a word, and the runs
// are read off the words' edges (bits that differ from their left
// neighbour) with one bit scan per run boundary. On noisy images, where
// runs are short and a test per pixel mispredicts often, this is several
// times faster than a scan that branches on every pixel.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "ops/common/domain_scan.h"

namespace vexa {

// Bit j = top bit of mask byte j, for 64 mask bytes of 0x00 or 0xFF.
inline uint64_t PackMask64(const uint8_t* mask) {
#if defined(__SSE2__)
  uint64_t bits = 0;
  for (int q = 0; q < 4; ++q) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + 16 * q));
    bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(v))) << (16 * q);
  }
  return bits;
#else
  uint64_t bits = 0;
  for (int j = 0; j < 64; ++j) bits |= static_cast<uint64_t>(mask[j] >> 7) << j;
  return bits;
#endif
}

// A row of mask bytes for one chord, with room for the padding that lets
// the run reader look at whole words past the chord's end.
class MaskRow {
 public:
  explicit MaskRow(int32_t width) : bytes_(static_cast<size_t>(width) + kWord) {}

  uint8_t* data() { return bytes_.data(); }

  // Appends the runs of the first n mask bytes, which stand for columns
  // cb .. cb + n - 1 of row r, to `runs` in column order.
  void AppendRuns(size_t n, int32_t r, int32_t cb, std::vector<Chord>* runs) {
    uint8_t* mask = bytes_.data();
    // The words read reach up to and including the one holding byte n,
    // which is made zero with the rest of its word, so that a run reaching
    // the chord's end is closed by an edge as well.
    const size_t end = (n / kWord + 1) * kWord;
    std::memset(mask + n, 0, end - n);
    uint64_t carry = 0;  // the last bit of the previous word
    bool inside = false;
    int32_t start = 0;
    for (size_t w = 0; w < end; w += kWord) {
      const uint64_t bits = PackMask64(mask + w);
      uint64_t edges = bits ^ ((bits << 1) | carry);
      carry = bits >> 63;
      while (edges != 0) {
        const int32_t c = cb + static_cast<int32_t>(w) + __builtin_ctzll(edges);
        edges &= edges - 1;
        if (inside) runs->push_back({r, start, c - 1});
        else start = c;
        inside = !inside;
      }
    }
  }

 private:
  static constexpr size_t kWord = 64;
  std::vector<uint8_t> bytes_;
};

// The runs of the pixels of `scan` (a channel of T values) for which
// keep(value) holds, in canonical order. `keep` should be a plain
// comparison, so that the mask loop vectorises.
template <class T, class Keep>
std::vector<Chord> KeptRuns(const DomainScan& scan, const T* pixels, Keep&& keep) {
  std::vector<Chord> runs;
  MaskRow row(scan.width());
  uint8_t* mask = row.data();
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
    // A local copy of the test: the mask's byte stores could alias the
    // caller's, which would reload its bounds on every pixel.
    const std::decay_t<Keep> test = keep;
    const size_t n = static_cast<size_t>(ce - cb + 1);
    const T* p = pixels + o;
    for (size_t k = 0; k < n; ++k) mask[k] = test(p[k]) ? 0xFF : 0x00;
    row.AppendRuns(n, r, cb, &runs);
  });
  return runs;
}

}  // namespace vexa
