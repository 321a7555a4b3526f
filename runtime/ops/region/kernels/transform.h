// Geometric transforms of canonical chord lists. Mirror and point
// reflection reorder the runs; zoom scales them as unit squares; affine and
// projective maps scan the output row by row and solve, per source run,
// which output columns map back into it.
#pragma once

#include "region_algebra.h"

namespace vexa {

// Mirror at the horizontal axis of an image of `size` rows (row r goes to
// size - 1 - r), or at the vertical axis of an image of `size` columns.
ChordList ChordMirrorRows(const ChordList& a, int32_t size);
ChordList ChordMirrorColumns(const ChordList& a, int32_t size);
// Exchanges rows and columns (mirror at the main diagonal).
ChordList ChordTransposeAxes(const ChordList& a);
// Point reflection at (row, col): (r, c) goes to (2 row - r, 2 col - c).
ChordList ChordPointReflect(const ChordList& a, int32_t row, int32_t col);

// Scales each pixel, taken as the unit square [r, r+1) x [c, c+1), by sy
// along the rows and sx along the columns; an output pixel belongs to the
// result when its top-left corner falls into a scaled input square.
ChordList ChordZoom(const ChordList& a, double sx, double sy);

// The result of a projective map h (3x3, row-major, acting on (row, col,
// 1)); an output pixel belongs to the result when the inverse map sends it
// to a point whose nearest pixel (rounding halves up) is in a. For an
// affine map h's last row is (0, 0, 1). Fails with VERR_TOO_LARGE when the
// result would reach beyond kMaxRegionCoord or to infinity, and with
// VERR_CTRL_VALUE(0) when h cannot be inverted.
Vresult ChordProjective(const ChordList& a, const double h[9], ChordList* out);

}  // namespace vexa
