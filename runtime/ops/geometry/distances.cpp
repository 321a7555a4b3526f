// Distances between points, lines and segments, element by element. A
// line runs through two distinct points; a segment may have length 0 and
// is then a point.
#include <algorithm>
#include <cmath>

#include "ops/geometry/plane.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// Signed distance of p from the line through a and b (a != b).
double SignedLineDistance(const Pt& p, const Pt& a, const Pt& b) {
  return Cross(b - a, p - a) / Distance(a, b);
}

}  // namespace

VEXA_OPERATOR(distance_pp) {
  return PerElementOfFirst(ctx, 4, {}, 1, [](const ElementInputs& in, size_t i, double* out) {
    out[0] = Distance(in.Point(0, i), in.Point(2, i));
  });
}

VEXA_OPERATOR(distance_pl) {
  return PerElementOfFirst(ctx, 6, {2}, 1, [](const ElementInputs& in, size_t i, double* out) {
    out[0] = LineDistance(in.Point(0, i), in.Point(2, i), in.Point(4, i));
  });
}

// Least and largest distance from the point to the points of the segment.
VEXA_OPERATOR(distance_ps) {
  return PerElementOfFirst(ctx, 6, {}, 2, [](const ElementInputs& in, size_t i, double* out) {
    const Pt p = in.Point(0, i), a = in.Point(2, i), b = in.Point(4, i);
    out[0] = xld::SegmentDistance(p, a, b);
    out[1] = std::max(Distance(p, a), Distance(p, b));
  });
}

// Least and largest distance of the segment's points to the line: 0 and
// the farther end's distance where the segment crosses or touches it.
VEXA_OPERATOR(distance_sl) {
  return PerElementOfFirst(ctx, 8, {4}, 2, [](const ElementInputs& in, size_t i, double* out) {
    const Pt l1 = in.Point(4, i), l2 = in.Point(6, i);
    const double d1 = SignedLineDistance(in.Point(0, i), l1, l2);
    const double d2 = SignedLineDistance(in.Point(2, i), l1, l2);
    out[0] = d1 * d2 <= 0 ? 0.0 : std::min(std::fabs(d1), std::fabs(d2));
    out[1] = std::max(std::fabs(d1), std::fabs(d2));
  });
}

// Least distance between the segments and their Hausdorff distance: the
// largest distance of a point of either to the other, reached at an end.
VEXA_OPERATOR(distance_ss) {
  return PerElementOfFirst(ctx, 8, {}, 2, [](const ElementInputs& in, size_t i, double* out) {
    const Pt a1 = in.Point(0, i), a2 = in.Point(2, i), b1 = in.Point(4, i), b2 = in.Point(6, i);
    out[0] = xld::SegmentsDistance(a1, a2, b1, b2);
    out[1] = std::max(std::max(xld::SegmentDistance(a1, b1, b2), xld::SegmentDistance(a2, b1, b2)),
                      std::max(xld::SegmentDistance(b1, a1, a2), xld::SegmentDistance(b2, a1, a2)));
  });
}

}  // namespace geo
}  // namespace vexa
