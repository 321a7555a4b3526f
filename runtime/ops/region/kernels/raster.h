// Scan conversion of geometric shapes into canonical chord lists, row by
// row: every row gets its runs from a closed formula or from the crossings
// of the shape's edges, never from a pixel mask.
//
// A pixel belongs to a filled shape when its centre (the integer point)
// lies inside the shape or on its border.
#pragma once

#include <vector>

#include "region_algebra.h"

namespace vexa {

// Ellipse with centre (row, col), half axes ra (along phi) and rb, phi
// counter-clockwise from the column axis (rows grow downwards). A circle is
// ra == rb.
ChordList RasterEllipse(double row, double col, double phi, double ra,
                        double rb);

// The part of an ellipse whose angle, seen from its centre and measured as
// phi is, lies between start and end (counter-clockwise from start; a
// range of 2 pi or more is the whole ellipse). Angles are in the ellipse's
// own frame: 0 is the direction of its first half axis.
ChordList RasterEllipseSector(double row, double col, double phi, double ra,
                              double rb, double start, double end);

// Rectangle with centre (row, col), half lengths len1 (along phi) and
// len2.
ChordList RasterRectangle2(double row, double col, double phi, double len1,
                           double len2);

// The points of a polygon with integer vertices, filled by the even-odd
// rule over pixel centres, together with its outline.
ChordList RasterPolygonFilled(const std::vector<double>& rows,
                              const std::vector<double>& cols);

// The pixel centres inside or on a convex polygon given by its vertices in
// order (either orientation; two or one vertices give a segment or a
// point).
ChordList RasterConvexPolygon(const std::vector<double>& rows,
                              const std::vector<double>& cols);

// The outline of a closed polygon: a digital line between each pair of
// consecutive vertices (rounded to pixels), the last joined to the first.
ChordList RasterPolygonOutline(const std::vector<double>& rows,
                               const std::vector<double>& cols);

// The 8-connected digital line from (r1, c1) to (r2, c2), both ends
// included.
void RasterLine(int32_t r1, int32_t c1, int32_t r2, int32_t c2,
                std::vector<Chord>* out);

}  // namespace vexa
