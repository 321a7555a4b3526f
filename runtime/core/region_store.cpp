#include "region_store.h"

#include <algorithm>
#include <limits>

#include "bit_rows.h"

namespace vexa {

namespace {

bool ChordLess(const Chord& a, const Chord& b) {
  return a.r != b.r ? a.r < b.r : a.cb < b.cb;
}

// Merges overlapping and touching runs of a sorted list in place.
void CoalesceSorted(std::vector<Chord>* chords) {
  std::vector<Chord>& v = *chords;
  size_t out = 0;
  for (size_t i = 0; i < v.size(); ++i) {
    const Chord& c = v[i];
    if (c.ce < c.cb) continue;
    // int64 so that a run ending at INT32_MAX does not overflow the +1.
    if (out > 0 && v[out - 1].r == c.r &&
        static_cast<int64_t>(v[out - 1].ce) + 1 >= c.cb) {
      v[out - 1].ce = std::max(v[out - 1].ce, c.ce);
    } else {
      v[out++] = c;
    }
  }
  v.resize(out);
}

}  // namespace

Region::Region(std::vector<Chord> canonical) : chords_(std::move(canonical)) {}

Region::Region(std::unique_ptr<const BitRows> plane) : plane_(std::move(plane)) {
  plane_empty_ = std::all_of(plane_->bits.begin(), plane_->bits.end(),
                             [](BitWord w) { return w == 0; });
}

Region::~Region() = default;

void Region::UnpackOnce() const {
  std::call_once(unpacked_, [this] { chords_ = ChordsOfPixels(*plane_); });
}

void Region::MeasureOnce() const {
  std::call_once(measured_, [this] { Measure(); });
}

void Region::Measure() const {
  if (plane_) {
    const PlaneSums s = SumsOfPixels(*plane_);
    area_ = s.area;
    if (area_ > 0) {
      row_ = static_cast<double>(s.sum_rows) / static_cast<double>(area_);
      col_ = static_cast<double>(s.sum_cols) / static_cast<double>(area_);
    }
    return;
  }
  // Sums in double: exact for every region that fits in memory, and the
  // centre is a double anyway.
  double sum_r = 0.0, sum_c = 0.0;
  for (const Chord& ch : chords()) {
    const Vlong n = static_cast<Vlong>(ch.ce) - ch.cb + 1;
    area_ += n;
    sum_r += static_cast<double>(n) * ch.r;
    sum_c += static_cast<double>(n) * (0.5 * (static_cast<double>(ch.cb) + ch.ce));
  }
  if (area_ > 0) {
    row_ = sum_r / static_cast<double>(area_);
    col_ = sum_c / static_cast<double>(area_);
  }
}

RegionPtr Region::FromChords(std::vector<Chord> chords) {
  if (!std::is_sorted(chords.begin(), chords.end(), ChordLess))
    std::sort(chords.begin(), chords.end(), ChordLess);
  CoalesceSorted(&chords);
  return RegionPtr(new Region(std::move(chords)));
}

RegionPtr Region::FromCanonicalChords(std::vector<Chord> chords) {
  return RegionPtr(new Region(std::move(chords)));
}

RegionPtr Region::FromPixelPlane(BitRows plane) {
  return RegionPtr(new Region(std::make_unique<const BitRows>(std::move(plane))));
}

RegionPtr Region::Empty() {
  static const RegionPtr empty(new Region(std::vector<Chord>{}));
  return empty;
}

RegionPtr Region::Rectangle(int32_t r1, int32_t c1, int32_t r2, int32_t c2) {
  if (r2 < r1 || c2 < c1) return Empty();
  std::vector<Chord> chords;
  chords.reserve(static_cast<size_t>(static_cast<int64_t>(r2) - r1 + 1));
  for (int64_t r = r1; r <= r2; ++r)
    chords.push_back({static_cast<int32_t>(r), c1, c2});
  return RegionPtr(new Region(std::move(chords)));
}

bool Region::Contains(int32_t r, int32_t c) const {
  if (plane_) {
    const int64_t i = int64_t{r} - plane_->row0, j = int64_t{c} - plane_->col0;
    if (i < 0 || i >= plane_->rows || j < 0 || j >= plane_->words * 64) return false;
    return (plane_->Row(i)[j / 64] >> (j % 64)) & 1;
  }
  // The last chord that starts at or before (r, c) is the only candidate.
  const Chord key{r, c, c};
  const std::vector<Chord>& list = chords();
  auto it = std::upper_bound(list.begin(), list.end(), key, ChordLess);
  if (it == list.begin()) return false;
  --it;
  return it->r == r && it->cb <= c && c <= it->ce;
}

bool Region::BoundingBox(int32_t* r1, int32_t* c1, int32_t* r2,
                         int32_t* c2) const {
  if (plane_) return PlaneBounds(*plane_, r1, c1, r2, c2);
  const std::vector<Chord>& list = chords();
  if (list.empty()) return false;
  int32_t cmin = std::numeric_limits<int32_t>::max();
  int32_t cmax = std::numeric_limits<int32_t>::min();
  for (const Chord& ch : list) {
    cmin = std::min(cmin, ch.cb);
    cmax = std::max(cmax, ch.ce);
  }
  *r1 = list.front().r;
  *r2 = list.back().r;
  *c1 = cmin;
  *c2 = cmax;
  return true;
}

bool Region::FitsInt16() const {
  int32_t r1, c1, r2, c2;
  if (!BoundingBox(&r1, &c1, &r2, &c2)) return true;
  constexpr int32_t lo = std::numeric_limits<int16_t>::min();
  constexpr int32_t hi = std::numeric_limits<int16_t>::max();
  return r1 >= lo && r2 <= hi && c1 >= lo && c2 <= hi;
}

RegionPtr Region::ClipToRectangle(int32_t r1, int32_t c1, int32_t r2,
                                  int32_t c2) const {
  std::vector<Chord> out;
  const std::vector<Chord>& list = chords();
  const Chord first{r1, std::numeric_limits<int32_t>::min(), 0};
  for (auto it = std::lower_bound(list.begin(), list.end(), first, ChordLess);
       it != list.end() && it->r <= r2; ++it) {
    const int32_t cb = std::max(it->cb, c1);
    const int32_t ce = std::min(it->ce, c2);
    if (cb <= ce) out.push_back({it->r, cb, ce});
  }
  return RegionPtr(new Region(std::move(out)));
}

RegionPtr Region::Union(const Region& a, const Region& b) {
  const std::vector<Chord>& x = a.chords();
  const std::vector<Chord>& y = b.chords();
  std::vector<Chord> merged;
  merged.reserve(x.size() + y.size());
  std::merge(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(merged), ChordLess);
  CoalesceSorted(&merged);
  return RegionPtr(new Region(std::move(merged)));
}

RegionPtr Region::Intersection(const Region& a, const Region& b) {
  // Two cursors walk both lists in canonical order; the output comes out
  // canonical because the inputs' runs are disjoint within each row.
  std::vector<Chord> out;
  const std::vector<Chord>& x = a.chords();
  const std::vector<Chord>& y = b.chords();
  size_t i = 0, j = 0;
  while (i < x.size() && j < y.size()) {
    if (x[i].r != y[j].r) {
      (x[i].r < y[j].r ? i : j)++;
      continue;
    }
    const int32_t cb = std::max(x[i].cb, y[j].cb);
    const int32_t ce = std::min(x[i].ce, y[j].ce);
    if (cb <= ce) out.push_back({x[i].r, cb, ce});
    (x[i].ce < y[j].ce ? i : j)++;
  }
  return RegionPtr(new Region(std::move(out)));
}

}  // namespace vexa
