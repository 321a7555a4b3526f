// Set operations on areas bounded by closed polygons (rings).
//
// A set of rings encloses the points that lie inside an odd number of
// them (even-odd rule): holes are rings of their own, the sense in which
// a ring runs does not matter, and rings may touch themselves or each
// other, or cross.
//
// Method (split and select): every segment of both sets is split at every
// point where it meets another segment of either set (crossings, end
// points on segments, and the ends of collinear overlaps, at which both
// get the very same point). A piece bounds the result when, just left and
// just right of its midpoint (1e-6 pixels away), the result's membership
// differs; the piece is kept once, directed so that the result lies on
// its left. Pieces that coincide (shared edges of both sets) are thereby
// decided once, from the areas on both sides, which handles touching
// and overlapping boundaries without special cases. The kept pieces are
// linked into rings; where several leave a point, the one turning most
// towards the result is taken, so that rings touching at a point come
// out as separate rings. Points where a ring runs straight on are
// dropped. Outer boundaries and holes come out in opposite senses.
#pragma once

#include <vector>

#include "xld_support.h"

namespace vexa {
namespace xld {

// A closed polygon; the last point connects back to the first and is not
// repeated.
using Ring = std::vector<Pt>;

enum class SetOperation { kIntersection, kUnion, kDifference, kSymmetricDifference };

// The boundary rings of `a` op `b`.
std::vector<Ring> ClipRings(const std::vector<Ring>& a, const std::vector<Ring>& b,
                            SetOperation op);

}  // namespace xld
}  // namespace vexa
