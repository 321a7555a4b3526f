#include "ops/region/kernels/row_runs.h"

#include <algorithm>

namespace vexa {

RowIndex::RowIndex(const std::vector<Chord>& chords) {
  if (chords.empty()) return;
  base_ = chords.data();
  first_ = chords.front().r;
  last_ = chords.back().r;
  const size_t rows = static_cast<size_t>(int64_t{last_} - first_ + 1);
  offsets_.assign(rows + 1, 0);
  // Count per row, then prefix sums: offsets_[i] is the first chord of row i.
  for (const Chord& ch : chords) ++offsets_[static_cast<size_t>(ch.r - first_) + 1];
  for (size_t i = 1; i <= rows; ++i) offsets_[i] += offsets_[i - 1];
}

namespace {

// Appends a run, merging it into the last one when they overlap or touch.
// Runs arrive sorted by cb.
inline void Append(std::vector<Run>* out, int64_t cb, int64_t ce) {
  if (cb > ce) return;
  if (!out->empty() && out->back().ce + 1 >= cb) {
    if (ce > out->back().ce) out->back().ce = ce;
  } else {
    out->push_back({cb, ce});
  }
}

}  // namespace

void WidenRow(RowSpan row, Widen w, std::vector<Run>* out) {
  out->clear();
  for (const Chord* c = row.begin; c != row.end; ++c)
    Append(out, c->cb + w.lo, c->ce + w.hi);
}

void UniteRow(const std::vector<Run>& acc, RowSpan row, Widen w,
              std::vector<Run>* out) {
  out->clear();
  out->reserve(acc.size() + row.size());
  size_t i = 0;
  const Chord* c = row.begin;
  // A merge by first column; a constant widening keeps the row sorted.
  while (i < acc.size() || c != row.end) {
    if (c == row.end || (i < acc.size() && acc[i].cb <= c->cb + w.lo)) {
      Append(out, acc[i].cb, acc[i].ce);
      ++i;
    } else {
      Append(out, c->cb + w.lo, c->ce + w.hi);
      ++c;
    }
  }
}

void IntersectRow(const std::vector<Run>& acc, RowSpan row, Widen w,
                  std::vector<Run>* out) {
  out->clear();
  size_t i = 0;
  const Chord* c = row.begin;
  while (i < acc.size() && c != row.end) {
    const int64_t cb = c->cb + w.lo, ce = c->ce + w.hi;
    if (cb > ce) {  // shrunk away
      ++c;
      continue;
    }
    const int64_t lo = std::max(acc[i].cb, cb), hi = std::min(acc[i].ce, ce);
    if (lo <= hi) out->push_back({lo, hi});
    if (acc[i].ce < ce) {
      ++i;
    } else {
      ++c;
    }
  }
}

}  // namespace vexa
