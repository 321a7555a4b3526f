// Least distances between the pixels of two regions, measured on their
// runs: the operators that report distances and those that select by them
// share these.
#pragma once

#include <cstdint>

#include "region_store.h"
#include "vexa/types.h"

namespace vexa {

// The least squared Euclidean distance between a pixel of a and one of b
// (-1 if either is empty), with the first closest pair (row, column, row,
// column) in `at`.
int64_t LeastSquaredDistance(const Region& a, const Region& b, Vlong at[4]);

// The least chessboard distance (the larger of the row and the column
// difference) between a pixel of a and one of b: the number of dilations
// with the 3 x 3 square after which a meets b; 0 when they share a pixel,
// -1 when either is empty.
int64_t LeastChessboardDistance(const Region& a, const Region& b);

}  // namespace vexa
