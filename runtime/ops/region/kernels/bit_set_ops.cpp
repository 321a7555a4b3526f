#include "ops/region/kernels/bit_set_ops.h"

#include <algorithm>
#include <limits>

#include "bit_rows.h"

namespace vexa {
namespace {

// Planes larger than this (8 MB each) stay on the run merges.
constexpr int64_t kMaxPlaneWords = int64_t{1} << 20;
// Per input chord, the packed path saves on the run merges about as much
// as it spends on this many words of its frame (painting, combining,
// reading back). Measured on scenes of discs and of random pixels: the
// symmetric difference (whose run path is a general edge walk) gains from
// about one run per word on, union from about ten, intersection and
// difference (whose cost also follows the runs they leave) only from about
// twenty.
double WordsPerChord(SetOp op) {
  switch (op) {
    case SetOp::kSymmDifference: return 1.0;
    case SetOp::kUnion: return 0.1;
    default: return 0.05;
  }
}

// Rows r1..r2, columns c1..c2 (inclusive); empty when r2 < r1 or c2 < c1.
struct Frame {
  int64_t r1 = 0, c1 = 0, r2 = -1, c2 = -1;
  bool empty() const { return r2 < r1 || c2 < c1; }
  int64_t Words() const { return empty() ? 0 : (r2 - r1 + 1) * WordsFor(c1, c2); }
};

Frame BoundsOf(const std::vector<Chord>& a) {
  Frame f;
  if (a.empty()) return f;
  int32_t c1 = std::numeric_limits<int32_t>::max();
  int32_t c2 = std::numeric_limits<int32_t>::min();
  for (const Chord& ch : a) {
    c1 = std::min(c1, ch.cb);
    c2 = std::max(c2, ch.ce);
  }
  return {a.front().r, c1, a.back().r, c2};
}

Frame Join(const Frame& x, const Frame& y) {
  if (x.empty()) return y;
  if (y.empty()) return x;
  return {std::min(x.r1, y.r1), std::min(x.c1, y.c1), std::max(x.r2, y.r2),
          std::max(x.c2, y.c2)};
}

Frame Meet(const Frame& x, const Frame& y) {
  return {std::max(x.r1, y.r1), std::max(x.c1, y.c1), std::min(x.r2, y.r2),
          std::min(x.c2, y.c2)};
}

// The frame that holds every pixel of the result.
Frame ResultFrame(SetOp op, const std::vector<Chord>& a, const std::vector<Chord>& b) {
  switch (op) {
    case SetOp::kIntersection: return Meet(BoundsOf(a), BoundsOf(b));
    case SetOp::kDifference: return BoundsOf(a);
    default: return Join(BoundsOf(a), BoundsOf(b));
  }
}

// The number of rows of ResultFrame, from the lists' first and last rows
// alone (0 when the frame is empty).
int64_t FrameRows(SetOp op, const std::vector<Chord>& a, const std::vector<Chord>& b) {
  int64_t r1 = a.front().r, r2 = a.back().r;
  if (op == SetOp::kIntersection) {
    r1 = std::max<int64_t>(r1, b.front().r), r2 = std::min<int64_t>(r2, b.back().r);
  } else if (op != SetOp::kDifference) {
    r1 = std::min<int64_t>(r1, b.front().r), r2 = std::max<int64_t>(r2, b.back().r);
  }
  return std::max<int64_t>(r2 - r1 + 1, 0);
}

BitRows PlaneOf(const Frame& f) {
  return BitRows(f.r1, f.r2 - f.r1 + 1, f.c1, WordsFor(f.c1, f.c2), 0);
}

// The chords of row r starting at *p; advances *p past them.
const Chord* RowEnd(const Chord* p, const Chord* end, int64_t r) {
  while (p != end && p->r == r) ++p;
  return p;
}

// Paints the operands row by row into word buffers, combines them and
// stores the edges of the result in `out`, in one pass over the frame;
// returns the number of runs of the result.
template <class Op>
int64_t CombineEdges(const std::vector<Chord>& a, const std::vector<Chord>& b,
                     BitRows* out, Op op) {
  const int64_t words = out->words;
  RowMarks marks(words);
  std::vector<BitWord> xa(static_cast<size_t>(words)), xb(xa.size());
  const Chord *pa = a.data(), *ea = pa + a.size();
  const Chord *pb = b.data(), *eb = pb + b.size();
  while (pa != ea && pa->r < out->row0) ++pa;
  while (pb != eb && pb->r < out->row0) ++pb;
  int64_t edges = 0;
  for (int64_t i = 0; i < out->rows; ++i) {
    const int64_t r = out->row0 + i;
    const Chord* qa = RowEnd(pa, ea, r);
    const Chord* qb = RowEnd(pb, eb, r);
    PaintRow(pa, qa, out->col0, words, &marks, xa.data());
    PaintRow(pb, qb, out->col0, words, &marks, xb.data());
    pa = qa;
    pb = qb;
    BitWord* row = out->Row(i);
    BitWord before = 0;
    for (int64_t w = 0; w < words; ++w) {
      row[w] = EdgesOfPixels(op(xa[w], xb[w]), &before);
      edges += BitCount(row[w]);
    }
  }
  return edges / 2;
}

int64_t CombineEdges(SetOp op, const std::vector<Chord>& a,
                     const std::vector<Chord>& b, BitRows* out) {
  switch (op) {
    case SetOp::kUnion:
      return CombineEdges(a, b, out, [](BitWord p, BitWord q) { return p | q; });
    case SetOp::kIntersection:
      return CombineEdges(a, b, out, [](BitWord p, BitWord q) { return p & q; });
    case SetOp::kDifference:
      return CombineEdges(a, b, out, [](BitWord p, BitWord q) { return p & ~q; });
    default:
      return CombineEdges(a, b, out, [](BitWord p, BitWord q) { return p ^ q; });
  }
}

// Row r of a plane, or null where the plane has no such row.
const BitWord* RowAt(const BitRows& plane, int64_t r) {
  const int64_t i = r - plane.row0;
  return i >= 0 && i < plane.rows ? plane.Row(i) : nullptr;
}

// One row of `op` over n words; a missing row (null) has no pixels.
void CombineRow(SetOp op, const BitWord* p, const BitWord* q, int64_t n, BitWord* out) {
  if (p != nullptr && q != nullptr) {
    switch (op) {
      case SetOp::kUnion:
        for (int64_t w = 0; w < n; ++w) out[w] = p[w] | q[w];
        return;
      case SetOp::kIntersection:
        for (int64_t w = 0; w < n; ++w) out[w] = p[w] & q[w];
        return;
      case SetOp::kDifference:
        for (int64_t w = 0; w < n; ++w) out[w] = p[w] & ~q[w];
        return;
      case SetOp::kSymmDifference:
        for (int64_t w = 0; w < n; ++w) out[w] = p[w] ^ q[w];
        return;
    }
  }
  // With one row missing, the result is the other row or nothing.
  const BitWord* kept = op == SetOp::kIntersection ? nullptr
                        : p != nullptr             ? p
                        : op == SetOp::kDifference ? nullptr
                                                   : q;
  if (kept != nullptr) {
    std::copy(kept, kept + n, out);
  } else {
    std::fill(out, out + n, BitWord{0});
  }
}

}  // namespace

RegionPtr CombinePlanes(SetOp op, const Region& a, const Region& b) {
  const BitRows* x = a.plane();
  const BitRows* y = b.plane();
  if (x == nullptr || y == nullptr || x->col0 != y->col0 || x->words != y->words)
    return nullptr;
  int64_t first = std::min(x->row0, y->row0);
  int64_t last = std::max(x->row0 + x->rows, y->row0 + y->rows);
  if (op == SetOp::kIntersection) {
    first = std::max(x->row0, y->row0);
    last = std::min(x->row0 + x->rows, y->row0 + y->rows);
  } else if (op == SetOp::kDifference) {
    first = x->row0;
    last = x->row0 + x->rows;
  }
  const int64_t rows = std::max<int64_t>(last - first, 0);
  BitRows out(first, rows, x->col0, x->words, BitWords(static_cast<size_t>(rows * x->words)));
  for (int64_t i = 0; i < rows; ++i)
    CombineRow(op, RowAt(*x, first + i), RowAt(*y, first + i), x->words, out.Row(i));
  return Region::FromPixelPlane(std::move(out));
}

bool PreferBitRows(SetOp op, const std::vector<Chord>& a, const std::vector<Chord>& b) {
  if (a.empty() || b.empty()) return false;
  const double budget = WordsPerChord(op) * static_cast<double>(a.size() + b.size());
  // Every row of the frame costs at least one word: where the rows alone
  // exceed the budget (regions of few runs per row), the columns need not
  // be scanned for the frame's width.
  if (static_cast<double>(FrameRows(op, a, b)) >= budget) return false;
  const Frame f = ResultFrame(op, a, b);
  if (f.empty()) return false;
  const int64_t words = f.Words();
  if (words > kMaxPlaneWords) return false;
  return static_cast<double>(words) < budget;
}

std::vector<Chord> CombineByBitRows(SetOp op, const std::vector<Chord>& a,
                                    const std::vector<Chord>& b) {
  const Frame f = ResultFrame(op, a, b);
  if (f.empty()) return {};
  BitRows edges = PlaneOf(f);
  std::vector<Chord> chords(static_cast<size_t>(CombineEdges(op, a, b, &edges)));
  WriteChordsOfEdges(edges, chords.data());
  return chords;
}

}  // namespace vexa
