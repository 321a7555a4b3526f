#include "ops/region/kernels/bit_morph.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <type_traits>
#include <utility>

namespace vexa {
namespace {

using Word = uint64_t;
constexpr Word kOnes = ~Word{0};

// Planes larger than this (32 MB) stay on the run path, whatever the count
// of runs: the bit path holds four of them at once.
constexpr int64_t kMaxPlaneWords = int64_t{1} << 22;
// One row merge of the run path per chord costs about as much as this many
// word operations of the bit path (measured on the dense benchmark scenes).
constexpr double kWordsPerMerge = 6.0;

// Rows of packed bits over one column frame: bit j of row i is the pixel
// (row0 + i, col0 + j), held in word j / 64 at bit j % 64.
struct BitRows {
  int64_t row0, rows, col0, words;
  std::vector<Word> bits;

  BitRows(int64_t r0, int64_t n, int64_t c0, int64_t w, Word fill)
      : row0(r0), rows(n), col0(c0), words(w),
        bits(static_cast<size_t>(n * w), fill) {}
  Word* Row(int64_t i) { return bits.data() + i * words; }
  const Word* Row(int64_t i) const { return bits.data() + i * words; }
};

struct Or {
  Word operator()(Word a, Word b) const { return a | b; }
};
struct And {
  Word operator()(Word a, Word b) const { return a & b; }
};
struct Assign {
  Word operator()(Word, Word b) const { return b; }
};

// dst(p) = op(dst(p), src(p - d)) for every bit p of one row, bits from
// outside the row reading as 0. dst may be src: the words are visited in
// the order that reads every source word before it is overwritten.
template <class Op>
void ShiftCombine(Word* dst, const Word* src, int64_t words, int64_t d, Op op) {
  const int64_t q = (d >= 0 ? d : -d) >> 6;
  const int b = static_cast<int>((d >= 0 ? d : -d) & 63);
  if (d >= 0) {
    for (int64_t w = words - 1; w >= 0; --w) {
      Word v = 0;
      if (w >= q) {
        v = src[w - q] << b;
        if (b != 0 && w > q) v |= src[w - q - 1] >> (64 - b);
      }
      dst[w] = op(dst[w], v);
    }
  } else {
    for (int64_t w = 0; w < words; ++w) {
      Word v = 0;
      if (w + q < words) {
        v = src[w + q] >> b;
        if (b != 0 && w + q + 1 < words) v |= src[w + q + 1] << (64 - b);
      }
      dst[w] = op(dst[w], v);
    }
  }
}

// out(y) = op(out(y), src(y + offset)) for every row y of out; rows
// outside src read as 0.
template <class Op>
void CombineRows(BitRows* out, const BitRows& src, int64_t offset, Op op) {
  for (int64_t o = 0; o < out->rows; ++o) {
    const int64_t z = out->row0 + o + offset - src.row0;
    Word* d = out->Row(o);
    if (z >= 0 && z < src.rows) {
      const Word* s = src.Row(z);
      for (int64_t w = 0; w < out->words; ++w) d[w] = op(d[w], s[w]);
    } else {
      for (int64_t w = 0; w < out->words; ++w) d[w] = op(d[w], 0);
    }
  }
}

// Sets bits b..e (inclusive) of one row.
void SetBits(Word* row, int64_t b, int64_t e) {
  const int64_t wb = b >> 6, we = e >> 6;
  const Word first = kOnes << (b & 63), last = kOnes >> (63 - (e & 63));
  if (wb == we) {
    row[wb] |= first & last;
    return;
  }
  row[wb] |= first;
  std::fill(row + wb + 1, row + we, kOnes);
  row[we] |= last;
}

// Appends the runs of one row: every 0-1 and 1-0 step between neighbouring
// bits is an edge, found a word at a time.
void EmitRow(const Word* row, int64_t words, int64_t r, int64_t col0,
             std::vector<Chord>* out) {
  Word carry = 0;  // the previous bit, at bit 0
  bool in = false;
  int64_t start = 0;
  for (int64_t w = 0; w < words; ++w) {
    const Word x = row[w];
    Word edges = x ^ ((x << 1) | carry);
    carry = x >> 63;
    while (edges != 0) {
      const int64_t p = w * 64 + __builtin_ctzll(edges);
      edges &= edges - 1;
      if (in) {
        out->push_back({static_cast<int32_t>(r), static_cast<int32_t>(col0 + start),
                        static_cast<int32_t>(col0 + p - 1)});
      } else {
        start = p;
      }
      in = !in;
    }
  }
  if (in)
    out->push_back({static_cast<int32_t>(r), static_cast<int32_t>(col0 + start),
                    static_cast<int32_t>(col0 + words * 64 - 1)});
}

// Combines `len` consecutive rows of x by doubling the rows covered.
// Growing: window(z) = OR of x(z - len + 1 .. z), over every row that some
// row of x reaches (len - 1 rows more than x); shrinking: window(z) = AND
// of x(z .. z + len - 1), rows past the end of x reading as 0.
template <bool kGrow>
void WindowRows(const BitRows& x, int64_t len, BitRows* window) {
  window->rows = x.rows + (kGrow ? len - 1 : 0);
  window->bits.assign(static_cast<size_t>(window->rows * x.words), 0);
  std::copy(x.bits.begin(), x.bits.end(), window->bits.begin());
  for (int64_t covered = 1; covered < len;) {
    const int64_t step = std::min(covered, len - covered);
    if (kGrow) {
      // Downwards, so that row z - step is read before it changes.
      for (int64_t z = window->rows - 1; z >= step; --z) {
        Word* d = window->Row(z);
        const Word* s = window->Row(z - step);
        for (int64_t w = 0; w < x.words; ++w) d[w] |= s[w];
      }
    } else {
      for (int64_t z = 0; z < window->rows; ++z) {
        Word* d = window->Row(z);
        if (z + step < window->rows) {
          const Word* s = window->Row(z + step);
          for (int64_t w = 0; w < x.words; ++w) d[w] &= s[w];
        } else {
          std::fill(d, d + x.words, 0);
        }
      }
    }
    covered += step;
  }
}

// The element's chords with equal columns: their span (ce - cb), first
// column, and the maximal runs of consecutive rows that hold them.
struct Group {
  int64_t span, cb;
  std::vector<std::pair<int64_t, int64_t>> bands;  // first, last row
};

// Groups in increasing span, so that one plane widened step by step
// serves them all.
std::vector<Group> GroupsOf(const std::vector<Chord>& element) {
  std::map<std::pair<int64_t, int64_t>, Group> groups;
  for (const Chord& k : element) {
    const int64_t span = int64_t{k.ce} - k.cb;
    Group& g = groups[{span, k.cb}];
    g.span = span;
    g.cb = k.cb;
    if (!g.bands.empty() && g.bands.back().second + 1 == k.r)
      g.bands.back().second = k.r;
    else
      g.bands.push_back({k.r, k.r});
  }
  std::vector<Group> out;
  out.reserve(groups.size());
  for (auto& entry : groups) out.push_back(std::move(entry.second));
  return out;
}

// Bands this long or longer are combined by doubling windows; shorter ones
// row by row.
constexpr int64_t kWindowBand = 4;

// Passes over a plane that widening from `have` to `want` takes.
int64_t WidenSteps(int64_t have, int64_t want) {
  int64_t steps = 0;
  while (have < want) {
    have += std::min(have + 1, want - have);
    ++steps;
  }
  return steps;
}

int64_t WindowSteps(int64_t len) {
  int64_t steps = 0;
  for (int64_t have = 1; have < len; have += std::min(have, len - have)) ++steps;
  return steps;
}

// The column frame of a region and an element: the region's columns with
// room on both sides for every shift the widening and the element make.
struct Frame {
  int64_t row1, row2, col0, words;
};

Frame FrameOf(const Region& a, const std::vector<Chord>& element) {
  int32_t r1, c1, r2, c2;
  a.BoundingBox(&r1, &c1, &r2, &c2);
  int64_t reach = 0, span = 0;
  for (const Chord& k : element) {
    reach = std::max({reach, std::abs(int64_t{k.cb}), std::abs(int64_t{k.ce})});
    span = std::max(span, int64_t{k.ce} - k.cb);
  }
  const int64_t margin = reach + span;
  const int64_t col0 = c1 - margin;
  return {r1, r2, col0, (c2 + margin - col0 + 1 + 63) / 64};
}

// Add (grow) or Fit (shrink). Growing: out(y) = OR over element chords k of
// a(y - k.r) widened to [cb + k.cb, ce + k.ce]; shrinking: out(y) = AND of
// a(y + k.r) shrunk to [cb - k.cb, ce - k.ce].
template <bool kGrow>
std::vector<Chord> Morph(const Region& a, const std::vector<Chord>& element) {
  if (a.empty()) return {};
  using Op = std::conditional_t<kGrow, Or, And>;
  const Frame f = FrameOf(a, element);
  const int64_t kr_min = element.front().r, kr_max = element.back().r;
  const int64_t out_first = kGrow ? f.row1 + kr_min : f.row1 - kr_min;
  const int64_t out_last = kGrow ? f.row2 + kr_max : f.row2 - kr_max;
  if (out_last < out_first) return {};

  // y: the input widened (grown: y(p) = OR of a(p - j), shrunk: AND of
  // a(p + j), j = 0..have).
  BitRows y(f.row1, f.row2 - f.row1 + 1, f.col0, f.words, 0);
  for (const Chord& ch : a.chords())
    SetBits(y.Row(ch.r - y.row0), ch.cb - f.col0, ch.ce - f.col0);
  BitRows x(y.row0, y.rows, f.col0, f.words, 0), window(y.row0, 0, f.col0, f.words, 0);
  BitRows out(out_first, out_last - out_first + 1, f.col0, f.words,
              kGrow ? 0 : kOnes);
  const int64_t sign = kGrow ? 1 : -1;
  int64_t have = 0;
  for (const Group& g : GroupsOf(element)) {
    while (have < g.span) {
      const int64_t step = std::min(have + 1, g.span - have);
      for (int64_t i = 0; i < y.rows; ++i)
        ShiftCombine(y.Row(i), y.Row(i), f.words, sign * step, Op{});
      have += step;
    }
    // x: y moved to the group's first column.
    for (int64_t i = 0; i < y.rows; ++i)
      ShiftCombine(x.Row(i), y.Row(i), f.words, sign * g.cb, Assign{});
    for (const auto& [first, last] : g.bands) {
      const int64_t len = last - first + 1;
      if (len < kWindowBand) {
        for (int64_t t = first; t <= last; ++t)
          CombineRows(&out, x, kGrow ? -t : t, Op{});
        continue;
      }
      WindowRows<kGrow>(x, len, &window);
      CombineRows(&out, window, kGrow ? -first : first, Op{});
    }
  }

  std::vector<Chord> chords;
  chords.reserve(a.chords().size() + a.chords().size() / 4);
  for (int64_t o = 0; o < out.rows; ++o)
    EmitRow(out.Row(o), f.words, out.row0 + o, f.col0, &chords);
  return chords;
}

}  // namespace

bool PreferBitRows(const Region& a, const std::vector<Chord>& element,
                   double merges_per_chord) {
  if (a.empty() || element.empty()) return false;
  const Frame f = FrameOf(a, element);
  const int64_t rows =
      f.row2 - f.row1 + 1 + (int64_t{element.back().r} - element.front().r);
  const int64_t plane = rows * f.words;
  if (plane > kMaxPlaneWords) return false;
  // Painting, reading back, and per group: widening, moving, combining.
  int64_t passes = 2, have = 0;
  for (const Group& g : GroupsOf(element)) {
    passes += WidenSteps(have, g.span) + 1;
    have = std::max(have, g.span);
    for (const auto& [first, last] : g.bands) {
      const int64_t len = last - first + 1;
      passes += len < kWindowBand ? len : 2 + WindowSteps(len);
    }
  }
  const double bit_cost = static_cast<double>(passes) * static_cast<double>(plane);
  const double run_cost = kWordsPerMerge * merges_per_chord *
                          static_cast<double>(a.chords().size());
  return bit_cost < run_cost;
}

std::vector<Chord> AddByBitRows(const Region& a,
                                const std::vector<Chord>& element) {
  return Morph<true>(a, element);
}

std::vector<Chord> FitByBitRows(const Region& a,
                                const std::vector<Chord>& element) {
  return Morph<false>(a, element);
}

}  // namespace vexa
