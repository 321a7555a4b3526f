#include "bit_rows.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <thread>

#include "ops/common/edge_words.h"
#include "ops/common/halves.h"

namespace vexa {

void PaintRow(const Chord* begin, const Chord* end, int64_t col0, int64_t words,
              RowMarks* marks, BitWord* out) {
  BitWord* starts = marks->starts.data();
  BitWord* ends = marks->ends.data();
  std::fill(starts, starts + words, 0);
  std::fill(ends, ends + words, 0);
  // Marks rise along the row, so each word's marks are gathered in a
  // register and stored on every step: the last store of a word holds them
  // all, and no step waits for the one before through memory.
  const int64_t last = words * 64 - 2;
  int64_t start_word = -1, end_word = -1;
  BitWord start_bits = 0, end_bits = 0;
  for (const Chord* p = begin; p != end; ++p) {
    const int64_t b = std::max<int64_t>(p->cb - col0, 0);
    const int64_t e = std::min<int64_t>(p->ce - col0, last) + 1;
    if (b >= e) continue;
    start_bits = (b >> 6 == start_word ? start_bits : 0) | BitWord{1} << (b & 63);
    start_word = b >> 6;
    starts[start_word] = start_bits;
    end_bits = (e >> 6 == end_word ? end_bits : 0) | BitWord{1} << (e & 63);
    end_word = e >> 6;
    ends[end_word] = end_bits;
  }
  // Within a word, the runs are the sum of (1 << end) - (1 << start); a
  // run open at the word's start borrows one more, a run open at its end
  // borrows from the next word.
  BitWord borrow = 0;
  for (int64_t w = 0; w < words; ++w) {
    const BitWord d = ends[w] - starts[w];
    out[w] = d - borrow;
    borrow = (ends[w] < starts[w]) | (d < borrow);
  }
}

void PaintChords(const Chord* begin, const Chord* end, BitRows* plane) {
  RowMarks marks(plane->words);
  const Chord* p = begin;
  while (p != end) {
    const Chord* q = p;
    while (q != end && q->r == p->r) ++q;
    const int64_t i = p->r - plane->row0;
    if (i >= 0 && i < plane->rows)
      PaintRow(p, q, plane->col0, plane->words, &marks, plane->Row(i));
    p = q;
  }
}

namespace {

// Writes the columns of the set bits of one row's words to *cols, from
// column col0 on; returns the position after the last one. The first four
// bits of a word are taken unconditionally (positions past the word's
// count are overwritten or ignored), so that only words with more edges
// than that loop: on fragmented rows the count per word is random, and a
// loop per word would mispredict at its end almost every time. cols has
// room for 64 * words + 4 entries.
int32_t* ColumnsOfBits(const BitWord* row, int64_t words, int64_t col0, int32_t* cols) {
  // ctz of x | top bit: the lowest set bit of x, and 63 (ignored) for 0,
  // where ctz alone is undefined.
  constexpr BitWord kTop = BitWord{1} << 63;
  for (int64_t w = 0; w < words; ++w) {
    BitWord x = row[w];
    const int64_t n = BitCount(x);
    const int32_t base = static_cast<int32_t>(col0 + w * 64);
    for (int k = 0; k < 4; ++k) {
      cols[k] = base + __builtin_ctzll(x | kTop);
      x &= x - 1;
    }
    for (int64_t k = 4; k < n; ++k) {
      cols[k] = base + __builtin_ctzll(x);
      x &= x - 1;
    }
    cols += n;
  }
  return cols;
}

}  // namespace

Chord* WriteChordsOfEdges(const BitRows& edges, Chord* out) {
  // Edges alternate between a run's first column and the column after its
  // last, and every row holds an even number.
  std::vector<int32_t> cols(static_cast<size_t>(edges.words * 64 + 4));
  for (int64_t i = 0; i < edges.rows; ++i) {
    const int32_t* const end =
        ColumnsOfBits(edges.Row(i), edges.words, edges.col0, cols.data());
    const int32_t r = static_cast<int32_t>(edges.row0 + i);
    for (const int32_t* c = cols.data(); c != end; c += 2) *out++ = {r, c[0], c[1] - 1};
  }
  return out;
}

void PaintPlane(const BitRows& src, BitRows* dst) {
  // Bit j of a source row goes to bit j + shift of the destination row.
  const int64_t shift = src.col0 - dst->col0;
  const int64_t last = dst->words * 64 - 1;
  for (int64_t i = 0; i < src.rows; ++i) {
    const int64_t r = src.row0 + i - dst->row0;
    if (r < 0 || r >= dst->rows) continue;
    const BitWord* in = src.Row(i);
    BitWord* out = dst->Row(r);
    for (int64_t w = 0; w < src.words; ++w) {
      BitWord x = in[w];
      if (x == 0) continue;
      // Clip to destination bits 0..last-1 in the source word's terms.
      const int64_t from = w * 64 + shift;
      if (from < 0) x = -from >= 64 ? 0 : x >> -from << -from;
      if (from + 63 >= last) x = last - from <= 0 ? 0 : x << (64 - (last - from)) >> (64 - (last - from));
      if (x == 0) continue;
      const int64_t q = from >= 0 ? from / 64 : -((-from + 63) / 64);
      const int s = static_cast<int>(from - q * 64);
      if (q >= 0) out[q] |= x << s;
      if (s != 0 && q + 1 < dst->words) out[q + 1] |= x >> (64 - s);
    }
  }
}

bool PlaneBounds(const BitRows& p, int32_t* r1, int32_t* c1, int32_t* r2, int32_t* c2) {
  int64_t first = -1, last = -1, cmin = INT64_MAX, cmax = INT64_MIN;
  for (int64_t i = 0; i < p.rows; ++i) {
    const BitWord* row = p.Row(i);
    int64_t w = 0;
    while (w < p.words && row[w] == 0) ++w;
    if (w == p.words) continue;
    if (first < 0) first = i;
    last = i;
    cmin = std::min(cmin, w * 64 + __builtin_ctzll(row[w]));
    int64_t v = p.words - 1;
    while (row[v] == 0) --v;
    cmax = std::max(cmax, v * 64 + 63 - __builtin_clzll(row[v]));
  }
  if (first < 0) return false;
  *r1 = static_cast<int32_t>(p.row0 + first);
  *r2 = static_cast<int32_t>(p.row0 + last);
  *c1 = static_cast<int32_t>(p.col0 + cmin);
  *c2 = static_cast<int32_t>(p.col0 + cmax);
  return true;
}

namespace {

template <bool kPopcnt>
inline __attribute__((always_inline)) int64_t CountOf(BitWord x) {
  if constexpr (kPopcnt) return __builtin_popcountll(x);
  return BitCount(x);
}

// The sums of one row's pixels: the columns within a word are added as
// the weights of their index bits, each bit k of the index counted by the
// pixels whose index has it (the masks pick them).
template <bool kPopcnt>
inline __attribute__((always_inline)) void SumRow(const BitWord* row, int64_t words,
                                                  int64_t* count, int64_t* cols) {
  constexpr BitWord kIndexBit[6] = {0xAAAAAAAAAAAAAAAAu, 0xCCCCCCCCCCCCCCCCu,
                                    0xF0F0F0F0F0F0F0F0u, 0xFF00FF00FF00FF00u,
                                    0xFFFF0000FFFF0000u, 0xFFFFFFFF00000000u};
  int64_t n = 0, c = 0;
  for (int64_t w = 0; w < words; ++w) {
    const BitWord x = row[w];
    if (x == 0) continue;
    const int64_t k = CountOf<kPopcnt>(x);
    n += k;
    c += 64 * w * k;
    for (int b = 0; b < 6; ++b) c += CountOf<kPopcnt>(x & kIndexBit[b]) << b;
  }
  *count = n;
  *cols = c;
}

template <bool kPopcnt>
inline __attribute__((always_inline)) PlaneSums SumPlane(const BitRows& p) {
  PlaneSums s;
  for (int64_t i = 0; i < p.rows; ++i) {
    int64_t count = 0, cols = 0;
    SumRow<kPopcnt>(p.Row(i), p.words, &count, &cols);
    s.area += count;
    s.sum_rows += count * (p.row0 + i);
    s.sum_cols += cols + count * p.col0;
  }
  return s;
}

// The number of edges (bits that differ from their left neighbour) of
// rows first..last-1.
template <bool kPopcnt>
inline __attribute__((always_inline)) int64_t CountEdges(const BitRows& p, int64_t first,
                                                          int64_t last) {
  int64_t edges = 0;
  for (int64_t i = first; i < last; ++i) {
    const BitWord* row = p.Row(i);
    BitWord before = 0;
    for (int64_t w = 0; w < p.words; ++w) edges += CountOf<kPopcnt>(EdgesOfPixels(row[w], &before));
  }
  return edges;
}

#if defined(__x86_64__)
__attribute__((target("popcnt"))) PlaneSums SumPlanePopcnt(const BitRows& p) {
  return SumPlane<true>(p);
}

__attribute__((target("popcnt"))) int64_t CountEdgesPopcnt(const BitRows& p, int64_t first,
                                                            int64_t last) {
  return CountEdges<true>(p, first, last);
}
#endif

bool HasPopcnt() {
#if defined(__x86_64__)
  static const bool popcnt = __builtin_cpu_supports("popcnt");
  return popcnt;
#else
  return false;
#endif
}

int64_t EdgesOfRows(const BitRows& p, int64_t first, int64_t last) {
#if defined(__x86_64__)
  if (HasPopcnt()) return CountEdgesPopcnt(p, first, last);
#endif
  return CountEdges<false>(p, first, last);
}

}  // namespace

PlaneSums SumsOfPixels(const BitRows& pixels) {
#if defined(__x86_64__)
  if (HasPopcnt()) return SumPlanePopcnt(pixels);
#endif
  return SumPlane<false>(pixels);
}

namespace {

// The edges of a plane, counted in two halves of its rows (at once, for a
// large plane): the first half's count says where the second half's runs
// start in the list.
struct HalfEdges {
  int64_t middle;   // the first row of the second half
  int64_t edges[2];
  int64_t runs() const { return (edges[0] + edges[1]) / 2; }
};

HalfEdges CountHalves(const BitRows& pixels) {
  const bool split = pixels.rows >= 2 && pixels.rows * pixels.words * 64 >= int64_t{kSplitPixels} &&
                     std::thread::hardware_concurrency() >= 2;
  HalfEdges h{split ? pixels.rows / 2 : pixels.rows, {0, 0}};
  if (split) {
    RunInParallel([&] { h.edges[0] = EdgesOfRows(pixels, 0, h.middle); },
                  [&] { h.edges[1] = EdgesOfRows(pixels, h.middle, pixels.rows); });
  } else {
    h.edges[0] = EdgesOfRows(pixels, 0, pixels.rows);
  }
  return h;
}

// The runs of a plane whose edges have been counted, each half of the rows
// into its own stretch of the list.
std::vector<Chord> DecodeHalves(const BitRows& pixels, const HalfEdges& counted) {
  const int64_t middle = counted.middle;
  const int64_t* const edges = counted.edges;
  const bool split = middle < pixels.rows;
  std::vector<Chord> chords(static_cast<size_t>(counted.runs()));
  // Rows are decoded in place while a row's most runs and the decoder's
  // slack fit before the end of the half's stretch; the last rows go
  // through a small buffer, so that nothing is written past the stretch.
  const auto decode = [&](int64_t first, int64_t last, Chord* out, const Chord* end) {
    const size_t words = static_cast<size_t>(pixels.words);
    const size_t most = words * 32 + kEdgeRunSlack;
    std::vector<BitWord> row_edges(words);
    std::vector<int32_t> cols(words * 64 + 1 + kEdgeColumnSlack);
    std::vector<Chord> stage(most);
    for (int64_t i = first; i < last; ++i) {
      const BitWord* row = pixels.Row(i);
      BitWord before = 0, any = 0;
      for (size_t w = 0; w < words; ++w) {
        row_edges[w] = EdgesOfPixels(row[w], &before);
        any |= row[w];
      }
      if (any == 0) continue;
      const bool in_place = static_cast<size_t>(end - out) >= most;
      Chord* to = in_place ? out : stage.data();
      const size_t m = EdgeRuns(row_edges.data(), words, static_cast<int32_t>(pixels.row0 + i),
                                static_cast<int32_t>(pixels.col0), cols.data(), to);
      if (!in_place) std::memcpy(static_cast<void*>(out), to, m * sizeof(Chord));
      out += m;
    }
  };
  Chord* const middle_at = chords.data() + edges[0] / 2;
  Chord* const end_at = chords.data() + chords.size();
  if (split) {
    RunInParallel([&] { decode(0, middle, chords.data(), middle_at); },
                  [&] { decode(middle, pixels.rows, middle_at, end_at); });
  } else {
    decode(0, pixels.rows, chords.data(), end_at);
  }
  return chords;
}

}  // namespace

std::vector<Chord> ChordsOfPixels(const BitRows& pixels) {
  // Counted first, so that the list is sized once.
  return DecodeHalves(pixels, CountHalves(pixels));
}

RegionPtr RegionOfPixels(BitRows pixels) {
  const HalfEdges counted = CountHalves(pixels);
  if (RunsOutweighWords(counted.runs(), pixels.bits.size()))
    return Region::FromPixelPlane(std::move(pixels));
  return Region::FromCanonicalChords(DecodeHalves(pixels, counted));
}

}  // namespace vexa
