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
  // A merge by first column (a constant widening keeps the row sorted)
  // that holds the run being built in registers; `out` is sized for the
  // worst case once and trimmed at the end. This loop carries the cost of
  // every dilation, so it avoids the push_back and back() traffic.
  const size_t bound = acc.size() + row.size();
  if (out->size() < bound) out->resize(bound);
  if (bound == 0) {
    out->clear();
    return;
  }
  const Run* a = acc.data();
  const Run* const a_end = a + acc.size();
  const Chord* c = row.begin;
  Run* o = out->data();
  int64_t cur_b, cur_e;
  auto next = [&](int64_t* b, int64_t* e) {
    if (c == row.end || (a != a_end && a->cb <= c->cb + w.lo)) {
      *b = a->cb, *e = a->ce, ++a;
    } else {
      *b = c->cb + w.lo, *e = c->ce + w.hi, ++c;
    }
  };
  next(&cur_b, &cur_e);
  while (a != a_end || c != row.end) {
    int64_t b, e;
    next(&b, &e);
    if (b <= cur_e + 1) {
      cur_e = e > cur_e ? e : cur_e;
    } else {
      *o++ = {cur_b, cur_e};
      cur_b = b, cur_e = e;
    }
  }
  *o++ = {cur_b, cur_e};
  out->resize(static_cast<size_t>(o - out->data()));
}

void IntersectRow(const std::vector<Run>& acc, RowSpan row, Widen w,
                  std::vector<Run>* out) {
  // Written like UniteRow: raw output, sized for the worst case.
  const size_t bound = acc.size() + row.size();
  if (out->size() < bound) out->resize(bound);
  Run* o = out->data();
  const Run* a = acc.data();
  const Run* const a_end = a + acc.size();
  for (const Chord* c = row.begin; a != a_end && c != row.end;) {
    const int64_t cb = c->cb + w.lo, ce = c->ce + w.hi;
    const int64_t lo = a->cb > cb ? a->cb : cb, hi = a->ce < ce ? a->ce : ce;
    if (lo <= hi) *o++ = {lo, hi};
    if (a->ce < ce) {
      ++a;
    } else {
      ++c;  // also a run shrunk away (cb > ce)
    }
  }
  out->resize(static_cast<size_t>(o - out->data()));
}

}  // namespace vexa
