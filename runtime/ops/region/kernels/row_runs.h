// Row-wise access to canonical chord lists and the two row primitives the
// morphology kernels are built from: the union and the intersection of two
// sorted run lists of one row, each shifted and widened on the fly.
//
// A row of a region is addressed through RowIndex, which maps a row number
// to its chords in O(1); rows between the first and the last that hold no
// chord give an empty span.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "region_store.h"

namespace vexa {

// A run of one row: columns cb..ce inclusive. 64 bits wide so that widening
// a run by a structuring element's extent can never overflow; the results
// are range-checked before they become chords.
struct Run {
  int64_t cb;
  int64_t ce;
};

struct RowSpan {
  const Chord* begin = nullptr;
  const Chord* end = nullptr;
  bool empty() const { return begin == end; }
  size_t size() const { return static_cast<size_t>(end - begin); }
};

class RowIndex {
 public:
  explicit RowIndex(const std::vector<Chord>& chords);
  bool empty() const { return offsets_.empty(); }
  int32_t first_row() const { return first_; }
  int32_t last_row() const { return last_; }
  // The chords of row r; empty outside first_row()..last_row().
  RowSpan Row(int64_t r) const {
    if (offsets_.empty() || r < first_ || r > last_) return {};
    const size_t i = static_cast<size_t>(r - first_);
    return {base_ + offsets_[i], base_ + offsets_[i + 1]};
  }

 private:
  const Chord* base_ = nullptr;
  int32_t first_ = 0, last_ = -1;
  std::vector<uint32_t> offsets_;  // rows + 1 entries
};

// Widening of every run of a row: cb + lo, ce + hi (lo may exceed hi for a
// shrinking, which drops runs that become empty).
struct Widen {
  int64_t lo = 0;
  int64_t hi = 0;
};

// out = acc united with the runs of `row` widened by `w`, touching runs
// merged. `acc` is sorted and merged; so is the result.
void UniteRow(const std::vector<Run>& acc, RowSpan row, Widen w,
              std::vector<Run>* out);
// out = acc intersected with the runs of `row` widened by `w`.
void IntersectRow(const std::vector<Run>& acc, RowSpan row, Widen w,
                  std::vector<Run>* out);
// The runs of `row` widened by `w` (empty runs dropped, touching merged).
void WidenRow(RowSpan row, Widen w, std::vector<Run>* out);

}  // namespace vexa
