// A contour as a chain of segments for the geometry operators: reading
// the single contour of an input, and collecting the points where its
// segments meet another figure, in order along the chain and each once.
#pragma once

#include <functional>

#include "ops/geometry/plane.h"

namespace vexa {
namespace geo {

// The points of the single contour at input object `par`; a contour
// without points is VERR_EMPTY_OBJECT.
Vresult InpContourPoints(OpContext& ctx, int par, std::vector<Pt>* points);

// True when the chain of more than two points ends where it begins.
bool IsClosedChain(const std::vector<Pt>& chain);

// The segments of the chain (a chain of one point is one segment of
// length 0).
std::vector<Straight> ChainSegments(const std::vector<Pt>& chain);

// Gathers meetings in order; a point equal (within rounding) to the one
// before, such as a vertex met by both segments that share it, is kept
// once.
class MeetingList {
 public:
  void Add(const Meeting& m);
  // The result; on a closed chain a last point equal to the first goes.
  Meeting Take(bool closed);

 private:
  Meeting all_;
};

// Where the chain meets the figure that `meet` intersects a segment with.
Meeting MeetChain(const std::vector<Pt>& chain, const std::function<Meeting(const Straight&)>& meet);

}  // namespace geo
}  // namespace vexa
