#include "ops/region/kernels/bit_morph.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <type_traits>
#include <utility>

#include "bit_rows.h"

namespace vexa {
namespace {

// Planes larger than this (32 MB) stay on the run path, whatever the count
// of runs: the bit path holds four of them at once.
constexpr int64_t kMaxPlaneWords = int64_t{1} << 22;
// One row merge of the run path per chord costs about as much as this many
// word operations of the bit path (measured on the dense benchmark scenes).
constexpr double kWordsPerMerge = 6.0;

struct Or {
  BitWord operator()(BitWord a, BitWord b) const { return a | b; }
};
struct And {
  BitWord operator()(BitWord a, BitWord b) const { return a & b; }
};

// dst(p) = op(dst(p), src(p - d)) for every bit p of one row of `words`
// words, bits from outside the row reading as 0. The words that a shift
// fills in from outside are handled apart, so that the main loop is the
// same shift-and-combine on every word and vectorises; dst and src may not
// overlap.
template <class Op>
void ShiftCombine(BitWord* __restrict dst, const BitWord* __restrict src, int64_t words,
                  int64_t d, Op op) {
  const int64_t q = std::min((d >= 0 ? d : -d) >> 6, words);
  const int b = static_cast<int>((d >= 0 ? d : -d) & 63);
  // (x >> 1) >> (63 - b) is x >> (64 - b) for b > 0 and 0 for b = 0,
  // without a shift by 64; likewise to the left.
  if (d >= 0) {
    for (int64_t w = 0; w < q; ++w) dst[w] = op(dst[w], 0);
    if (q == words) return;
    dst[q] = op(dst[q], src[0] << b);
    for (int64_t w = q + 1; w < words; ++w)
      dst[w] = op(dst[w], (src[w - q] << b) | ((src[w - q - 1] >> 1) >> (63 - b)));
  } else {
    const int64_t n = words - q;  // the words that read the row
    for (int64_t w = 0; w + 1 < n; ++w)
      dst[w] = op(dst[w], (src[w + q] >> b) | ((src[w + q + 1] << 1) << (63 - b)));
    if (n > 0) dst[n - 1] = op(dst[n - 1], src[words - 1] >> b);
    for (int64_t w = n; w < words; ++w) dst[w] = op(dst[w], 0);
  }
}

// Every row of x combined with itself moved by d columns.
template <class Op>
void ShiftCombineRows(BitRows* x, int64_t d, Op op) {
  std::vector<BitWord> row(static_cast<size_t>(x->words));
  for (int64_t i = 0; i < x->rows; ++i) {
    std::copy(x->Row(i), x->Row(i) + x->words, row.begin());
    ShiftCombine(x->Row(i), row.data(), x->words, d, op);
  }
}

// out(y) = op(out(y), src(y + offset) moved by `shift` columns) for every
// row y of out; rows outside src read as 0.
template <class Op>
void CombineRows(BitRows* out, const BitRows& src, int64_t offset, int64_t shift, Op op) {
  for (int64_t o = 0; o < out->rows; ++o) {
    const int64_t z = out->row0 + o + offset - src.row0;
    BitWord* d = out->Row(o);
    if (z >= 0 && z < src.rows) {
      ShiftCombine(d, src.Row(z), out->words, shift, op);
    } else {
      for (int64_t w = 0; w < out->words; ++w) d[w] = op(d[w], 0);
    }
  }
}

// d[w] = op(d[w], s[w]) for w < n, d and s apart.
template <class Op>
void CombineWords(BitWord* __restrict d, const BitWord* __restrict s, int64_t n, Op op) {
  for (int64_t w = 0; w < n; ++w) d[w] = op(d[w], s[w]);
}

// Combines `len` consecutive rows of x by doubling the rows covered.
// Growing: window(z) = OR of x(z - len + 1 .. z), over every row that some
// row of x reaches (len - 1 rows more than x); shrinking: window(z) = AND
// of x(z .. z + len - 1), rows past the end of x reading as 0.
template <bool kGrow>
void WindowRows(const BitRows& x, int64_t len, BitRows* window) {
  window->Reset(x.row0, x.rows + (kGrow ? len - 1 : 0), 0);
  std::copy(x.bits.begin(), x.bits.end(), window->bits.begin());
  for (int64_t covered = 1; covered < len;) {
    const int64_t step = std::min(covered, len - covered);
    if (kGrow) {
      // Downwards, so that row z - step is read before it changes.
      for (int64_t z = window->rows - 1; z >= step; --z) {
        CombineWords(window->Row(z), window->Row(z - step), x.words, Or{});
      }
    } else {
      for (int64_t z = 0; z < window->rows; ++z) {
        BitWord* d = window->Row(z);
        if (z + step < window->rows) {
          CombineWords(d, window->Row(z + step), x.words, And{});
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

Frame FrameOf(const RegionBox& box, const std::vector<Chord>& element) {
  int64_t reach = 0, span = 0;
  for (const Chord& k : element) {
    reach = std::max({reach, std::abs(int64_t{k.cb}), std::abs(int64_t{k.ce})});
    span = std::max(span, int64_t{k.ce} - k.cb);
  }
  const int64_t margin = reach + span;
  return {box.r1, box.r2, box.c1 - margin, WordsFor(box.c1 - margin, box.c2 + margin)};
}

// Add (grow) or Fit (shrink). Growing: out(y) = OR over element chords k of
// a(y - k.r) widened to [cb + k.cb, ce + k.ce]; shrinking: out(y) = AND of
// a(y + k.r) shrunk to [cb - k.cb, ce - k.ce].
template <bool kGrow>
RegionPtr Morph(const Region& a, const RegionBox& box, const std::vector<Chord>& element) {
  using Op = std::conditional_t<kGrow, Or, And>;
  const Frame f = FrameOf(box, element);
  const int64_t kr_min = element.front().r, kr_max = element.back().r;
  const int64_t out_first = kGrow ? f.row1 + kr_min : f.row1 - kr_min;
  const int64_t out_last = kGrow ? f.row2 + kr_max : f.row2 - kr_max;
  if (out_last < out_first) return Region::Empty();

  // y: the input widened (grown: y(p) = OR of a(p - j), shrunk: AND of
  // a(p + j), j = 0..have). Each group combines rows of y, or windows over
  // them, moved to the group's first column on the way into out.
  BitRows y(f.row1, f.row2 - f.row1 + 1, f.col0, f.words, 0);
  if (a.plane() != nullptr) {
    PaintPlane(*a.plane(), &y);
  } else {
    PaintChords(a.chords().data(), a.chords().data() + a.chords().size(), &y);
  }
  BitRows window(y.row0, 0, f.col0, f.words, 0);
  BitRows out(out_first, out_last - out_first + 1, f.col0, f.words,
              kGrow ? 0 : kAllBits);
  const int64_t sign = kGrow ? 1 : -1;
  int64_t have = 0;
  for (const Group& g : GroupsOf(element)) {
    while (have < g.span) {
      const int64_t step = std::min(have + 1, g.span - have);
      ShiftCombineRows(&y, sign * step, Op{});
      have += step;
    }
    for (const auto& [first, last] : g.bands) {
      const int64_t len = last - first + 1;
      if (len < kWindowBand) {
        for (int64_t t = first; t <= last; ++t)
          CombineRows(&out, y, kGrow ? -t : t, sign * g.cb, Op{});
        continue;
      }
      WindowRows<kGrow>(y, len, &window);
      CombineRows(&out, window, kGrow ? -first : first, sign * g.cb, Op{});
    }
  }
  return RegionOfPixels(std::move(out));
}

}  // namespace

bool PreferBitRows(const Region& a, const RegionBox& box,
                   const std::vector<Chord>& element, double merges_per_chord) {
  if (a.empty() || element.empty()) return false;
  const Frame f = FrameOf(box, element);
  const int64_t rows =
      f.row2 - f.row1 + 1 + (int64_t{element.back().r} - element.front().r);
  const int64_t plane = rows * f.words;
  if (plane > kMaxPlaneWords) return false;
  // A region held as a plane has more runs than its words: the run path
  // would first have to make them.
  if (a.plane() != nullptr) return true;
  // Painting, reading back, and per group: widening, combining.
  int64_t passes = 2, have = 0;
  for (const Group& g : GroupsOf(element)) {
    passes += WidenSteps(have, g.span);
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

RegionPtr AddByBitRows(const Region& a, const RegionBox& box, const std::vector<Chord>& element) {
  return Morph<true>(a, box, element);
}

RegionPtr FitByBitRows(const Region& a, const RegionBox& box, const std::vector<Chord>& element) {
  return Morph<false>(a, box, element);
}

}  // namespace vexa
