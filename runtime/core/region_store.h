// Run-length regions: the pixel sets behind every region object and every
// image domain of the object database.
//
// A Region is a sorted list of chords (row, first column, last column).
// Chords are ordered by row, then by first column; chords of one row never
// overlap or touch (touching runs are merged), so every region has exactly
// one representation and two regions are equal exactly when their chord
// lists are. Regions are immutable once made and shared by pointer between
// objects; area and centre are computed once, when first asked for (many
// intermediate regions of a chain of operators are never measured, and
// the pass over the chords would cost as much as the operation itself).
//
// A dense, fragmented region (more than one run per 96 pixels of its
// frame) is smaller as packed bit rows than as chords, and set operations
// and morphology on such regions are word operations. Regions made that
// way (by threshold, by set operations of two of them, by morphology on bit
// rows) hold their pixels as a plane of bit rows (bit_rows.h); area,
// centre, bounding box and membership are read off the plane, and the
// chord list is made from it the first time that anything asks for it;
// both forms stay, as the region does not change.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "vexa/types.h"

namespace vexa {

struct Chord {
  // Leaves the coordinates unset, so that a chord list can be sized before
  // its chords are written (resize() then writes no zeros first).
  Chord() {}
  constexpr Chord(int32_t row, int32_t begin, int32_t end) : r(row), cb(begin), ce(end) {}

  int32_t r;
  int32_t cb;
  int32_t ce;  // inclusive
};

inline bool operator==(const Chord& a, const Chord& b) {
  return a.r == b.r && a.cb == b.cb && a.ce == b.ce;
}

// Largest absolute coordinate that operators accept for regions they
// generate from numbers: it bounds the chords of one region to a few
// million, whatever a caller asks for.
constexpr int32_t kMaxRegionCoord = 1 << 20;

class Region;
struct BitRows;
using RegionPtr = std::shared_ptr<const Region>;

class Region {
 public:
  // Sorts and merges any list of chords (overlapping, touching, unordered;
  // chords with ce < cb are dropped).
  static RegionPtr FromChords(std::vector<Chord> chords);
  // Takes chords that are already in canonical order and merged, as scans
  // produce them; skips the sort. The caller guarantees the order.
  static RegionPtr FromCanonicalChords(std::vector<Chord> chords);
  // Takes a plane of pixels (bit_rows.h); rows without pixels may stand
  // at either end.
  static RegionPtr FromPixelPlane(BitRows plane);
  static RegionPtr Empty();
  // Rows r1..r2, columns c1..c2, inclusive; empty if r2 < r1 or c2 < c1.
  static RegionPtr Rectangle(int32_t r1, int32_t c1, int32_t r2, int32_t c2);

  ~Region();

  const std::vector<Chord>& chords() const {
    if (plane_) UnpackOnce();
    return chords_;
  }
  // The pixels as bit rows, for regions that were made that way; null
  // otherwise.
  const BitRows* plane() const { return plane_.get(); }
  bool empty() const { return plane_ ? plane_empty_ : chords_.empty(); }
  Vlong area() const {
    MeasureOnce();
    return area_;
  }
  // Centre of gravity; 0, 0 for the empty region.
  double row() const {
    MeasureOnce();
    return row_;
  }
  double col() const {
    MeasureOnce();
    return col_;
  }

  bool Contains(int32_t r, int32_t c) const;
  // Smallest enclosing rectangle; false for the empty region.
  bool BoundingBox(int32_t* r1, int32_t* c1, int32_t* r2, int32_t* c2) const;
  // True when every coordinate fits in int16 (the chord format of the
  // database's run-length view).
  bool FitsInt16() const;

  // The part inside rows r1..r2, columns c1..c2 (inclusive).
  RegionPtr ClipToRectangle(int32_t r1, int32_t c1, int32_t r2,
                            int32_t c2) const;
  static RegionPtr Union(const Region& a, const Region& b);
  static RegionPtr Intersection(const Region& a, const Region& b);

 private:
  explicit Region(std::vector<Chord> canonical);
  explicit Region(std::unique_ptr<const BitRows> plane);
  void MeasureOnce() const;
  void Measure() const;
  void UnpackOnce() const;

  // The chords; for a region made from a plane, filled by the first
  // UnpackOnce.
  mutable std::vector<Chord> chords_;
  std::unique_ptr<const BitRows> plane_;
  bool plane_empty_ = true;
  mutable std::once_flag unpacked_;
  // Area and centre, filled by the first MeasureOnce (thread-safe: regions
  // are shared between threads).
  mutable std::once_flag measured_;
  mutable Vlong area_ = 0;
  mutable double row_ = 0.0;
  mutable double col_ = 0.0;
};

inline bool operator==(const Region& a, const Region& b) {
  return a.chords() == b.chords();
}

}  // namespace vexa
