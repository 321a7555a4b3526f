// Anti-aliased drawing of lines and polygons into a window's raster, in
// the window's colour. Coordinates are real (row, column); pixel (r, c)
// covers [r - 0.5, r + 0.5) x [c - 0.5, c + 0.5). A pixel partly covered is
// mixed with what it shows by the covered fraction, so that edges look
// smooth at any angle; regions, in contrast, are painted exactly
// (raster_paint.h).
#pragma once

#include <vector>

#include "window_registry.h"

namespace vexa {

struct RealPoint {
  double row, column;
};

// Draws the polyline through `points` with the window's line width;
// `closed` joins the last point to the first. Each pixel is mixed once,
// with the largest coverage of any segment, so joints do not darken.
void StrokePolyline(window::Window& w, const std::vector<RealPoint>& points, bool closed);

// Fills the polygon through `points` (even-odd rule), with coverage from
// four sub-rows per pixel row and exact horizontal coverage of span ends.
void FillPolygon(window::Window& w, const std::vector<RealPoint>& points);

// The outline of an ellipse centred at (row, column), half axes `ra` along
// the direction `phi` (radians, counter-clockwise from the column axis)
// and `rb` across it, with enough points that no chord strays a fiftieth
// of a pixel from the curve; the arc from angle `start` to `end` (radians,
// measured like phi from the first axis).
std::vector<RealPoint> EllipseOutline(double row, double column, double phi, double ra,
                                      double rb, double start, double end);

}  // namespace vexa
