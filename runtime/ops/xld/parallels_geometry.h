// Geometry of parallels: two polygons and the range of segments of each
// that run side by side (first..last, segment k joining corners k and
// k + 1). Shared by the operators that find, judge, extend and combine
// parallels.
#pragma once

#include <vector>

#include "xld_image.h"
#include "xld_support.h"

namespace vexa {
namespace xld {

// Every object of input `par`, of any of the three parallels classes when
// `cls` is 0, else of that class; a record whose parts or ranges do not
// fit is the wrong class.
Vresult InpParallels(OpContext& ctx, int par, int32_t cls, std::vector<XldPtr>* out);

// Angle between two undirected lines of angles a and b, in [0, pi/2].
double LineAngleDiff(double a, double b);

// Angle of the segment a-b (counter-clockwise on the screen).
double SegmentAngle(const Pt& a, const Pt& b);

// Corners first..last + 1 of `poly`.
std::vector<Pt> PartCorners(const Xld& poly, int32_t first, int32_t last);

// The polygon of corners first..last + 1 of `poly`, keeping their source
// contour points.
XldPtr SubPolygon(const Xld& poly, int32_t first, int32_t last);

// How the two sides of parallels face each other. The axis runs along
// side 1 (its first corner to its last); side 2's corners project onto it
// in [lo2, hi2], side 1's in [lo1, hi1]. quality: the length of the
// common part of the two extents over their mean length (1 for sides that
// face each other over their whole length, 0 for none). middle: the point
// halfway between the sides at the middle of the common part.
struct Facing {
  Pt dir{0, 1};
  double lo1 = 0, hi1 = 0, lo2 = 0, hi2 = 0;
  double quality = 0;
  Pt middle{0, 0};
};
Facing FacingOf(const Xld& parallels);

// Gray values of the pixels whose centres lie inside the polygon made of
// side 1 and side 2 (run back, so that the outline does not cross
// itself), within the image's domain.
struct GrayStats {
  double mean = 0, deviation = 0;
  Vlong count = 0;
};
GrayStats EnclosedGray(const Xld& parallels, const FloatImage& image);

}  // namespace xld
}  // namespace vexa
