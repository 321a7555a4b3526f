// Plane geometry on the points of contours and polygons, shared by the
// feature, test and distance operators. Points are (row, column); a contour
// taken as an area is closed by the segment from its last point back to its
// first.
#pragma once

#include <vector>

#include "region_store_moments.h"
#include "xld_support.h"

namespace vexa {
namespace xld {

// Area, centre and normalised central second moments of the area the
// closed polygon encloses (Green's theorem, exact for straight segments),
// plus its signed area: positive when the points run counter-clockwise on
// the screen (rows growing downwards). A polygon of no area gets the mean
// of its points as centre and zero moments.
struct AreaMoments {
  RegionMoments m;
  double signed_area = 0.0;
};
AreaMoments PolygonMoments(const std::vector<Pt>& p);

// Sum of the segment lengths of the open chain.
double ChainLength(const std::vector<Pt>& p);

// Convex hull, counter-clockwise on the screen, no point repeated.
std::vector<Pt> ConvexHull(std::vector<Pt> p);

// Smallest enclosing rectangle: centre, angle of the long side
// (counter-clockwise from the column axis, in (-pi/2, pi/2]) and half
// lengths (length1 >= length2).
struct Rect2 {
  double row = 0, col = 0, phi = 0, len1 = 0, len2 = 0;
};
Rect2 SmallestRectangle2(const std::vector<Pt>& p);

// Smallest enclosing circle (randomised incremental, expected linear).
struct Circle {
  double row = 0, col = 0, radius = 0;
};
Circle SmallestCircle(std::vector<Pt> p);

// Distance from `p` to the segment a-b (a point when a == b).
double SegmentDistance(const Pt& p, const Pt& a, const Pt& b);

// Distance from q to the chain p (to its only point, when it has one);
// infinity for no points.
double ChainDistance(const std::vector<Pt>& p, const Pt& q);

// Distance from q to the nearest of the points p; infinity for none.
double PointDistance(const std::vector<Pt>& p, const Pt& q);

// Distance between the segments a-b and c-d (0 when they cross).
double SegmentsDistance(const Pt& a, const Pt& b, const Pt& c, const Pt& d);

// True if two segments of the chain that are not neighbours touch or
// cross; with `closed` the segment from the last point to the first takes
// part.
bool SelfIntersects(const std::vector<Pt>& p, bool closed);

// Even-odd rule on the polygon closed from last to first point.
bool InsidePolygon(const std::vector<Pt>& p, const Pt& q);

}  // namespace xld
}  // namespace vexa
