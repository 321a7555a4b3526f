// Binary morphology on run-length regions.
//
// A structuring element is given relative to its reference point, either
// as a rectangle of offsets or as an arbitrary chord list. Two primitives
// carry every operator:
//   Add(A, B) = { a + b : a in A, b in B }      (Minkowski addition)
//   Fit(A, B) = { p : p + B lies inside A }     (the positions where B fits)
// Dilation is Add with the mirrored element, erosion is Fit, the Minkowski
// subtraction is Fit with the mirrored element; openings and closings
// combine them.
//
// Costs follow the chords: an arbitrary element costs one row merge per
// element chord and output row; a rectangle widens every chord once and
// then combines rows by doubling windows (log2 of the height merges per
// row), so large rectangles cost little more than small ones. Regions with
// so many runs per row that these merges would cost more than working on
// packed pixels go through bit_morph.h instead.
#pragma once

#include <cstdint>
#include <vector>

#include "region_store.h"
#include "vexa/errors.h"

namespace vexa {

// Rows r0..r1 and columns c0..c1 of offsets, inclusive (r0 <= r1, c0 <= c1).
struct Box {
  int64_t r0, r1, c0, c1;
};

class Element {
 public:
  static Element FromBox(Box box);
  // `chords` canonical and not empty, relative to the reference point.
  static Element FromChords(std::vector<Chord> chords);
  // The disc of all offsets with dr^2 + dc^2 <= radius^2 (radius >= 0).
  static Element Disc(double radius) { return DiscSquared(radius * radius); }
  // The same for the squared radius (exact for integers).
  static Element DiscSquared(double squared_radius);
  // An axis-parallel rectangle of `width` x `height` pixels whose reference
  // point is its centre, rounded towards the top left for even sizes.
  static Element Rectangle(int64_t width, int64_t height);

  // The element point-mirrored at its reference point.
  Element Mirrored() const;
  // The smallest box holding the element.
  Box Bounds() const { return bounds_; }

 private:
  friend Vresult Add(const Region& a, const Element& b, RegionPtr* out);
  friend Vresult Fit(const Region& a, const Element& b, RegionPtr* out);
  // The element as chords, one per row for a box.
  std::vector<Chord> AsChords() const;
  // Row merges per input chord that the run path of Add (grow) or Fit
  // spends with this element.
  double RunMergesPerChord(bool grow) const;
  bool is_box_ = false;
  Box bounds_{0, 0, 0, 0};
  std::vector<Chord> chords_;  // when not a box
};

// Both fail only with VERR_TOO_LARGE, when a result coordinate would leave
// the int32 range.
Vresult Add(const Region& a, const Element& b, RegionPtr* out);
Vresult Fit(const Region& a, const Element& b, RegionPtr* out);

}  // namespace vexa
