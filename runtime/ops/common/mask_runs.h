// Regions from pixel tests, built without a branch per pixel: each chord of
// the domain is first turned into a row of mask bytes by a loop the
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
#include "ops/common/pixel_blocks.h"

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

// The number of set bits. Without the popcnt instruction (not in the
// baseline instruction set) the builtin is a library call, slower than
// these few arithmetic steps.
inline int CountBits(uint64_t x) {
#if defined(__POPCNT__)
  return __builtin_popcountll(x);
#else
  x -= (x >> 1) & 0x5555555555555555ull;
  x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
  x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
  return static_cast<int>((x * 0x0101010101010101ull) >> 56);
#endif
}

// A row of mask bytes for one chord, with room for the padding that lets
// the edge reader look at whole words past the chord's end.
class MaskRow {
 public:
  static constexpr size_t kWord = 64;

  explicit MaskRow(int32_t width) : bytes_(static_cast<size_t>(width) + kWord) {}

  uint8_t* data() { return bytes_.data(); }

  // Words of edge bits of a chord of n mask bytes: bit j of word i is set
  // where mask byte 64 i + j differs from the byte before it (the byte
  // before the chord counts as clear). The last word holds byte n, made
  // clear, so that a run reaching the chord's end is closed by an edge as
  // well: the edges come in pairs, the first and one past the last column
  // of each run.
  static size_t EdgeWords(size_t n) { return n / kWord + 1; }

  // Appends the EdgeWords(n) edge words of the first n mask bytes to
  // `edges`; returns the number of edges.
  size_t AppendEdges(size_t n, std::vector<uint64_t>* edges) {
    uint8_t* mask = bytes_.data();
    const size_t end = EdgeWords(n) * kWord;
    std::memset(mask + n, 0, end - n);
    uint64_t carry = 0;  // the last bit of the previous word
    size_t count = 0;
    for (size_t w = 0; w < end; w += kWord) {
      const uint64_t bits = PackMask64(mask + w);
      const uint64_t e = bits ^ ((bits << 1) | carry);
      carry = bits >> 63;
      count += static_cast<size_t>(CountBits(e));
      edges->push_back(e);
    }
    return count;
  }

 private:
  std::vector<uint8_t> bytes_;
};

// The columns of the edges in the edge words of one chord starting at
// column cb, written to cols; returns their number.
inline size_t EdgeColumns(const uint64_t* words, size_t num_words, int32_t cb,
                          int32_t* cols) {
  size_t m = 0;
  for (size_t i = 0; i < num_words; ++i) {
    const int32_t base = cb + static_cast<int32_t>(i * MaskRow::kWord);
    for (uint64_t e = words[i]; e != 0; e &= e - 1)
      cols[m++] = base + __builtin_ctzll(e);
  }
  return m;
}

// The runs of the pixels of `scan` (a channel of T values) for which
// keep(value) holds, in canonical order. `keep` should be a plain
// comparison, so that the mask loop vectorises.
//
// Two passes: the first turns every chord into edge words and counts the
// edges, so that the run list is allocated once at its final size (on a
// noisy image it holds millions of runs, and growing it by doubling costs
// copies and page faults); the second reads the runs off the edges, two
// edges a run, with no branch per run.
template <class T, class Keep>
std::vector<Chord> KeptRuns(const DomainScan& scan, const T* pixels, Keep&& keep) {
  MaskRow row(scan.width());
  uint8_t* mask = row.data();
  const size_t num_chords = scan.full() ? static_cast<size_t>(scan.height())
                                        : scan.domain()->chords().size();
  std::vector<uint64_t> edges;
  edges.reserve(num_chords + static_cast<size_t>(scan.domain()->area()) / MaskRow::kWord);
  size_t num_edges = 0;
  scan.ForEachChord([&](int32_t, int32_t cb, int32_t ce, size_t o) {
    // A local copy of the test: the mask's byte stores could alias the
    // caller's, which would reload its bounds on every pixel.
    const std::decay_t<Keep> test = keep;
    const size_t n = static_cast<size_t>(ce - cb + 1);
    MapPixelBlocks(pixels + o, mask, n, [test](T v) -> uint8_t { return test(v) ? 0xFF : 0x00; });
    num_edges += row.AppendEdges(n, &edges);
  });
  std::vector<Chord> runs;
  runs.reserve(num_edges / 2);
  std::vector<int32_t> cols(static_cast<size_t>(scan.width()) + 1);
  const uint64_t* words = edges.data();
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
    const size_t num_words = MaskRow::EdgeWords(static_cast<size_t>(ce - cb + 1));
    const size_t m = EdgeColumns(words, num_words, cb, cols.data());
    words += num_words;
    for (size_t j = 0; j < m; j += 2) runs.push_back({r, cols[j], cols[j + 1] - 1});
  });
  return runs;
}

}  // namespace vexa
