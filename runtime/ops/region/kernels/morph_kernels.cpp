#include "ops/region/kernels/morph_kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ops/region/kernels/bit_morph.h"
#include "ops/region/kernels/row_runs.h"

namespace vexa {
namespace {

constexpr int64_t kCoordMin = std::numeric_limits<int32_t>::min();
constexpr int64_t kCoordMax = std::numeric_limits<int32_t>::max();

// Canonical chords of runs built row by row in increasing row order.
class ChordSink {
 public:
  void Reserve(size_t n) { chords_.reserve(n); }
  void Emit(int64_t row, const std::vector<Run>& runs) {
    for (const Run& run : runs)
      chords_.push_back({static_cast<int32_t>(row), static_cast<int32_t>(run.cb),
                         static_cast<int32_t>(run.ce)});
  }
  std::vector<Chord> Take() { return std::move(chords_); }

 private:
  std::vector<Chord> chords_;
};

// True when a bounding box moved by offsets within `shift` stays inside
// the int32 range.
bool FitsInt32(const RegionBox& box, const Box& shift) {
  return box.r1 + shift.r0 >= kCoordMin && box.r2 + shift.r1 <= kCoordMax &&
         box.c1 + shift.c0 >= kCoordMin && box.c2 + shift.c1 <= kCoordMax;
}

// Every chord of `chords` widened by `w`; rows stay, the result is
// canonical (widening rows independently keeps the row order).
std::vector<Chord> WidenAll(const std::vector<Chord>& chords, Widen w) {
  ChordSink sink;
  sink.Reserve(chords.size());
  RowIndex index(chords);
  std::vector<Run> runs;
  for (int64_t r = index.first_row(); !index.empty() && r <= index.last_row();
       ++r) {
    const RowSpan row = index.Row(r);
    if (row.empty()) continue;
    WidenRow(row, w, &runs);
    sink.Emit(r, runs);
  }
  return sink.Take();
}

// Row y of the result is x(y) combined with x(y + shift) (united, or
// intersected), for every y where the result can be non-empty.
std::vector<Chord> CombineShifted(const std::vector<Chord>& x, int64_t shift,
                                  bool unite) {
  ChordSink sink;
  if (x.empty()) return sink.Take();
  sink.Reserve(x.size() + x.size() / 4);
  RowIndex index(x);
  const int64_t first = unite ? index.first_row() - shift : index.first_row();
  const int64_t last = unite ? index.last_row() : index.last_row() - shift;
  std::vector<Run> head, out;
  for (int64_t y = first; y <= last; ++y) {
    const RowSpan a = index.Row(y), b = index.Row(y + shift);
    if (unite ? a.empty() && b.empty() : a.empty() || b.empty()) continue;
    WidenRow(a, {}, &head);
    if (unite) {
      UniteRow(head, b, {}, &out);
    } else {
      IntersectRow(head, b, {}, &out);
    }
    sink.Emit(y, out);
  }
  return sink.Take();
}

// Row y of the result combines rows y .. y + height - 1 of x: windows of
// doubling height, then two overlapping windows for the rest (union and
// intersection are idempotent, so the overlap does no harm).
std::vector<Chord> CombineWindow(std::vector<Chord> x, int64_t height,
                                 bool unite) {
  int64_t span = 1;
  while (span * 2 <= height) {
    x = CombineShifted(x, span, unite);
    span *= 2;
  }
  if (span < height) x = CombineShifted(x, height - span, unite);
  return x;
}

std::vector<Chord> ShiftRows(std::vector<Chord> x, int64_t dr) {
  for (Chord& ch : x) ch.r = static_cast<int32_t>(ch.r + dr);
  return x;
}

// Add for a box: widen every chord by the columns, then unite the rows
// r0..r1 above each output row: out(y) = W(y - r1) where W is the window
// union of height r1 - r0 + 1.
std::vector<Chord> AddBox(const Region& a, const Box& b) {
  std::vector<Chord> x = WidenAll(a.chords(), {b.c0, b.c1});
  return ShiftRows(CombineWindow(std::move(x), b.r1 - b.r0 + 1, true), b.r1);
}

// Fit for a box: p fits when row p.r + dr holds [p.c + c0, p.c + c1] for
// every dr, i.e. p.c lies in a chord shrunk to [cb - c0, ce - c1] in all
// those rows: out(y) = V(y + r0), V the window intersection.
std::vector<Chord> FitBox(const Region& a, const Box& b) {
  std::vector<Chord> x = WidenAll(a.chords(), {-b.c0, -b.c1});
  return ShiftRows(CombineWindow(std::move(x), b.r1 - b.r0 + 1, false), -b.r0);
}

// Add for an arbitrary element: output row y unites the rows y - k.r of A,
// widened by k's columns, over the element's chords k.
std::vector<Chord> AddChords(const Region& a, const std::vector<Chord>& b) {
  ChordSink sink;
  const RowIndex index(a.chords());
  if (index.empty()) return sink.Take();
  sink.Reserve(a.chords().size() + a.chords().size() / 4);
  std::vector<Run> acc, next;
  const int64_t first = int64_t{index.first_row()} + b.front().r;
  const int64_t last = int64_t{index.last_row()} + b.back().r;
  for (int64_t y = first; y <= last; ++y) {
    acc.clear();
    for (const Chord& k : b) {
      const RowSpan row = index.Row(y - k.r);
      if (row.empty()) continue;
      UniteRow(acc, row, {k.cb, k.ce}, &next);
      acc.swap(next);
    }
    sink.Emit(y, acc);
  }
  return sink.Take();
}

// Fit for an arbitrary element: output row y intersects the rows y + k.r
// of A, each chord shrunk to [cb - k.cb, ce - k.ce].
std::vector<Chord> FitChords(const Region& a, const std::vector<Chord>& b) {
  ChordSink sink;
  const RowIndex index(a.chords());
  if (index.empty()) return sink.Take();
  std::vector<Run> acc, next;
  const int64_t first = int64_t{index.first_row()} - b.front().r;
  const int64_t last = int64_t{index.last_row()} - b.back().r;
  for (int64_t y = first; y <= last; ++y) {
    bool started = false;
    for (const Chord& k : b) {
      const RowSpan row = index.Row(y + k.r);
      const Widen w{-int64_t{k.cb}, -int64_t{k.ce}};
      if (!started) {
        WidenRow(row, w, &acc);
        started = true;
      } else {
        IntersectRow(acc, row, w, &next);
        acc.swap(next);
      }
      if (acc.empty()) break;
    }
    sink.Emit(y, acc);
  }
  return sink.Take();
}

// The largest h >= 0 with h^2 <= v, corrected after the root so that its
// rounding cannot lose or add a column of a disc.
int64_t FloorSqrt(double v) {
  int64_t h = static_cast<int64_t>(std::sqrt(std::max(v, 0.0)));
  while (static_cast<double>((h + 1) * (h + 1)) <= v) ++h;
  while (h > 0 && static_cast<double>(h * h) > v) --h;
  return h;
}

}  // namespace

Element Element::FromBox(Box box) {
  Element e;
  e.is_box_ = true;
  e.bounds_ = box;
  return e;
}

Element Element::FromChords(std::vector<Chord> chords) {
  Element e;
  int32_t r1, c1, r2, c2;
  const RegionPtr region = Region::FromCanonicalChords(chords);
  region->BoundingBox(&r1, &c1, &r2, &c2);
  e.bounds_ = {r1, r2, c1, c2};
  // A full rectangle takes the fast path.
  e.is_box_ = region->area() == (int64_t{r2} - r1 + 1) * (int64_t{c2} - c1 + 1);
  if (!e.is_box_) e.chords_ = std::move(chords);
  return e;
}

Element Element::DiscSquared(double rr) {
  const int64_t reach = FloorSqrt(rr);
  std::vector<Chord> chords;
  for (int64_t dr = -reach; dr <= reach; ++dr) {
    const int64_t h = FloorSqrt(rr - static_cast<double>(dr * dr));
    chords.push_back({static_cast<int32_t>(dr), static_cast<int32_t>(-h),
                      static_cast<int32_t>(h)});
  }
  return FromChords(std::move(chords));
}

Element Element::Rectangle(int64_t width, int64_t height) {
  return FromBox({-((height - 1) / 2), height / 2, -((width - 1) / 2), width / 2});
}

Element Element::Mirrored() const {
  Element e;
  e.is_box_ = is_box_;
  e.bounds_ = {-bounds_.r1, -bounds_.r0, -bounds_.c1, -bounds_.c0};
  e.chords_.reserve(chords_.size());
  for (auto it = chords_.rbegin(); it != chords_.rend(); ++it)
    e.chords_.push_back({-it->r, -it->ce, -it->cb});
  return e;
}

std::vector<Chord> Element::AsChords() const {
  if (!is_box_) return chords_;
  std::vector<Chord> rows;
  rows.reserve(static_cast<size_t>(bounds_.r1 - bounds_.r0 + 1));
  for (int64_t r = bounds_.r0; r <= bounds_.r1; ++r)
    rows.push_back({static_cast<int32_t>(r), static_cast<int32_t>(bounds_.c0),
                    static_cast<int32_t>(bounds_.c1)});
  return rows;
}

double Element::RunMergesPerChord(bool grow) const {
  if (is_box_) {
    // One widening, then a merge of two rows per doubling step.
    double steps = 1.0;
    for (int64_t span = 1; span < bounds_.r1 - bounds_.r0 + 1; span *= 2) steps += 1.0;
    return 1.0 + 2.0 * steps;
  }
  // Every output row merges one input row per element chord; the
  // intersections of Fit stop early where nothing is left.
  const double k = static_cast<double>(chords_.size());
  return grow ? 2.0 * k : k;
}

Vresult Add(const Region& a, const Element& b, RegionPtr* out) {
  RegionBox box;
  if (!a.BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2)) {
    *out = Region::Empty();
    return VRESULT_OK;
  }
  if (!FitsInt32(box, b.bounds_)) return VERR_TOO_LARGE;
  const std::vector<Chord> shape = b.AsChords();
  if (PreferBitRows(a, box, shape, b.RunMergesPerChord(true))) {
    *out = AddByBitRows(a, box, shape);
  } else {
    *out = Region::FromCanonicalChords(b.is_box_ ? AddBox(a, b.bounds_)
                                                 : AddChords(a, b.chords_));
  }
  return VRESULT_OK;
}

Vresult Fit(const Region& a, const Element& b, RegionPtr* out) {
  RegionBox box;
  if (!a.BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2)) {
    *out = Region::Empty();
    return VRESULT_OK;
  }
  const Box back{-b.bounds_.r1, -b.bounds_.r0, -b.bounds_.c1, -b.bounds_.c0};
  if (!FitsInt32(box, back)) return VERR_TOO_LARGE;
  const std::vector<Chord> shape = b.AsChords();
  if (PreferBitRows(a, box, shape, b.RunMergesPerChord(false))) {
    *out = FitByBitRows(a, box, shape);
  } else {
    *out = Region::FromCanonicalChords(b.is_box_ ? FitBox(a, b.bounds_)
                                                 : FitChords(a, b.chords_));
  }
  return VRESULT_OK;
}

}  // namespace vexa
