// Outlines of regions: the traced border, its chain code, the convex hull
// and shapes fitted to it (smallest rectangle, smallest circle), and the
// simplification of a closed outline into a polygon.
#pragma once

#include <vector>

#include "region_store.h"

namespace vexa {

struct PixelPoint {
  int32_t r, c;
};

// The outer border of the 8-connected part of `region` that holds its
// first pixel, as a closed chain of 8-neighbouring border pixels starting
// at that pixel and running counter-clockwise (down first). `codes` gets
// the Freeman direction of every step (0 right, 1 up-right, 2 up, ... 7
// down-right; counter-clockwise with rows growing downwards); the last
// step returns to the start. A single pixel gives itself and no codes; the
// empty region nothing.
void TraceBorder(const Region& region, std::vector<PixelPoint>* border,
                 std::vector<int>* codes);

// Vertices of the convex hull of the pixel centres, counter-clockwise on
// screen (rows growing downwards), starting with the topmost-leftmost one;
// collinear points are left out.
std::vector<PixelPoint> ConvexHull(const Region& region);

// Vertices of a closed outline that stay within `tolerance` of it (split
// at the point farthest from the start, then Ramer-Douglas-Peucker on both
// halves), starting with the outline's first point.
std::vector<PixelPoint> SimplifyClosed(const std::vector<PixelPoint>& outline,
                                       double tolerance);

// The smallest rectangle, at any angle, holding all points (one of its
// sides lies on a hull edge): centre, angle of its first side, half
// lengths (len1 >= len2).
struct Rect2 {
  double row = 0, col = 0, phi = 0, len1 = 0, len2 = 0;
};
Rect2 SmallestRectangle(const std::vector<PixelPoint>& hull);

// The smallest circle holding all points.
struct Circle {
  double row = 0, col = 0, radius = 0;
};
Circle SmallestCircle(const std::vector<PixelPoint>& points);

}  // namespace vexa
