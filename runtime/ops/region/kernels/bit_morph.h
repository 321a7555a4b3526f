// Morphology of dense regions on packed bit rows.
//
// When a region holds many runs per row, merging run lists row by row costs
// more than working on its pixels 64 at a time: the region is painted into
// rows of 64-bit words over its bounding box (plus the element's reach),
// every element row is applied as a shift-and-combine of whole words, and
// the result is read back as chords (painting and reading back as in
// bit_rows.h). Rows of the element with the same
// columns share one widened copy of the input, and consecutive rows of such
// a group are combined by doubling windows, so a disc of radius r costs
// about as many passes as it has distinct widths, and a rectangle of height
// h about log2(h) passes.
//
// Element chords are relative to the reference point, canonical and not
// empty. Results are canonical chords, as Add and Fit of morph_kernels.h
// define them; the caller has checked that every coordinate stays in int32.
#pragma once

#include <cstdint>
#include <vector>

#include "region_store.h"

namespace vexa {

// The bounding box of a region (as Region::BoundingBox gives it), measured
// once by the caller: on dense regions each pass over the chords costs a
// few percent of the operation.
struct RegionBox {
  int32_t r1, c1, r2, c2;
};

// True when the packed-bit path is expected to be cheaper than the run
// merges for `a` (bounding box `box`) and `element` (`merges_per_chord`:
// how many row merges the run path spends per chord of a).
bool PreferBitRows(const Region& a, const RegionBox& box,
                   const std::vector<Chord>& element, double merges_per_chord);

// { p + k : p in a, k in element }; a not empty. A result of very many
// runs stays a plane (RegionOfPixels).
RegionPtr AddByBitRows(const Region& a, const RegionBox& box, const std::vector<Chord>& element);
// { p : p + k in a for every k in element }; a not empty; as above.
RegionPtr FitByBitRows(const Region& a, const RegionBox& box, const std::vector<Chord>& element);

}  // namespace vexa
