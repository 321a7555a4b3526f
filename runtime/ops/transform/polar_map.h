// The polar map about a centre (row, column) that the polar transforms of
// images, regions and contours share. In the polar image of width x height
// pixels, column x steps evenly from angle a0 to a1 (radians,
// counter-clockwise as displayed) and row y from radius r0 to r1; polar
// point (angle, radius) is the image point
// (row - radius sin(angle), column + radius cos(angle)). The way back takes
// of a point's angle the turn closest to the angle range.
#pragma once

#include "op_context.h"
#include "ops/transform/warp.h"

namespace vexa {

struct Polar {
  double row, col, a0, a1, r0, r1;
  int32_t width, height;  // of the polar image
};

// Centre, angle and radius range from inputs first..first+5.
Vresult GetPolarRange(const OpContext& ctx, int first, Polar* p);
// An image size from inputs par, par + 1.
Vresult GetPolarSize(const OpContext& ctx, int par, int32_t* w, int32_t* h);
// The way back needs a proper angle and radius range (inputs first + 3 and
// first + 5 name the failure).
Vresult CheckInvertible(const Polar& p, int first);

// Polar pixel (y, x) -> its image point.
SourceMap PolarToImage(const Polar& p);
// Image point (y, x) -> its polar pixel coordinates.
SourceMap ImageToPolar(const Polar& p);

}  // namespace vexa
