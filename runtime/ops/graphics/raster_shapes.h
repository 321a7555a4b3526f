// Anti-aliased drawing of lines and polygons into a window's raster, in
// the window's colour. Coordinates are real image coordinates (row,
// column), placed in the raster by the window's view (window_view.h);
// raster pixel (r, c) covers [r - 0.5, r + 0.5) x [c - 0.5, c + 0.5). Line
// widths and dash lengths are raster pixels at any zoom. A pixel partly covered is
// mixed with what it shows by the covered fraction, so that edges look
// smooth at any angle; regions, in contrast, are painted exactly
// (raster_paint.h).
#pragma once

#include <vector>

#include "ops/graphics/window_view.h"
#include "window_registry.h"

namespace vexa {

// Draws the polyline through `points` with the window's line width;
// `closed` joins the last point to the first. Each pixel is mixed once,
// with the largest coverage of any segment, so joints do not darken. With
// a line style, only the dashes are drawn, the pattern running on along
// the whole polyline.
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

// A closed figure: filled or outlined by the window's draw mode.
void ShowClosed(window::Window& w, const std::vector<RealPoint>& outline);

// An axis-parallel rectangle: filled, it covers exactly the pixels from
// (r1, c1) to (r2, c2); outlined, the line runs through their outer pixels.
void ShowRectangle1(window::Window& w, double r1, double c1, double r2, double c2);

// The corners of a rectangle centred at (row, column), half lengths l1
// along the direction phi and l2 across it.
std::vector<RealPoint> RotatedCorners(double row, double column, double phi, double l1,
                                      double l2);

}  // namespace vexa
