// Shape measures of run-length regions, computed from the chords: moments
// up to the third order, what follows from the convex hull of the pixel
// centres (diameter, convex area; the hull itself and the enclosing shapes
// are in contour.h), distances to the centre, and the largest inscribed
// disc.
//
// Pixels count as points at their integer coordinates (row, column).
#pragma once

#include <cstdint>
#include <vector>

#include "ops/region/kernels/contour.h"
#include "region_store.h"

namespace vexa {

// Central moments as sums: mpq = sum (r - row)^p (c - col)^q.
struct Moments3 {
  double area = 0, row = 0, col = 0;
  double m20 = 0, m11 = 0, m02 = 0;
  double m30 = 0, m21 = 0, m12 = 0, m03 = 0;
};
Moments3 ComputeMoments3(const Region& a);

// Number of pixels whose centres lie in the hull polygon (or on it).
int64_t HullPixelCount(const std::vector<PixelPoint>& hull);

// Two hull points at the largest distance (the first such pair); false
// below one point.
bool Diameter(const std::vector<PixelPoint>& hull, PixelPoint* p, PixelPoint* q);

// Largest distance of a pixel of the region from (row, col); the farthest
// pixel of a chord is always one of its ends.
double MaxDistanceFrom(const Region& a, double row, double col);

// The largest disc of squared radius k (offsets dr^2 + dc^2 <= k) inside
// the region and the first pixel (row order) where it fits; false for the
// empty region.
bool InnerDisc(const Region& a, int64_t* k, PixelPoint* centre);

}  // namespace vexa
