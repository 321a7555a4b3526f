// Hit-or-miss transform and thinning of run-length regions.
//
// The hit-or-miss transform with a foreground element F and a background
// element G (both relative to the reference point) marks the points p with
// p + F inside the region and p + G outside it; thinning removes them. The
// background is the complement within the bounding box grown by both
// elements' reach, which holds every p + G that can matter.
#pragma once

#include <vector>

#include "ops/region/kernels/morph_kernels.h"

namespace vexa {

// The hit-or-miss points of the region for (fg, bg).
Vresult HitOrMiss(const Region& a, const Element& fg, const Element& bg, RegionPtr* out);

// The region minus its hit-or-miss points for (fg, bg).
Vresult Thin(const Region& a, const Element& fg, const Element& bg, RegionPtr* out);

// The region plus its hit-or-miss points for (fg, bg).
Vresult Thicken(const Region& a, const Element& fg, const Element& bg, RegionPtr* out);

// The eight rotations (by 45 degrees, clockwise) of the Golay element "l":
//   0 0 0
//   . 1 .
//   1 1 1
// as (foreground, background) pairs.
const std::vector<std::pair<Element, Element>>& GolayL();

// The ends of lines: pixels whose neighbours in the region are one side
// neighbour (with or without the corners beside it) or one corner alone,
// so that a branch ending on a line still loses its last pixel.
Vresult EndPoints(const Region& a, RegionPtr* out);

// A pixel where three or more lines meet: going round its eight
// neighbours, the region begins three or more times.
bool IsJunction(const Region& a, int32_t r, int32_t c);

// The pixels of `a` that are junctions.
RegionPtr JunctionPoints(const Region& a);

// A (foreground, background) pair of elements, and a step made with one.
using ElementPair = std::pair<Element, Element>;
using PairStep = Vresult (*)(const Region&, const Element&, const Element&, RegionPtr*);

// `step` with each pair of `seq` in turn, each on the result of the last.
Vresult StepThrough(const Region& a, const std::vector<ElementPair>& seq, PairStep step,
                    RegionPtr* out);

// One pass of sequential thinning: Thin with each rotation in turn.
inline Vresult ThinSequence(const Region& a, const std::vector<ElementPair>& seq, RegionPtr* out) {
  return StepThrough(a, seq, Thin, out);
}

}  // namespace vexa
