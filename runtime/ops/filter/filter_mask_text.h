// The runtime's reader of filter mask files (docs/formats/filter-mask.md):
// two lines, "integer <width> <height> <divisor>" or "real <width>
// <height>", then the width * height coefficients column by column.
#pragma once

#include <string>
#include <vector>

#include "op_context.h"
#include "vexa/types.h"

namespace vexa {

// A mask's weights in row order: weight(row, col) = weights[row * width +
// col]; an integer mask's coefficients are divided by its divisor (a
// divisor of 0 counts as 1).
struct FilterMask {
  int width = 0;
  int height = 0;
  std::vector<double> weights;
};

// Reads and checks the whole file; failures give VERR_FILE_NOT_FOUND,
// VERR_FILE_READ, VERR_FILE_TRUNCATED, VERR_FILE_FORMAT or
// VERR_FILE_CORRUPT as the format description lists them.
Vresult ReadFilterMaskFile(const char* name, FilterMask* mask);

// Fills `mask` from width, height, divisor and the coefficients in file
// order (column by column), as the file's integer form gives them.
void SetFilterMask(int width, int height, double divisor, const std::vector<double>& coefficients,
                   FilterMask* mask);

// The mask of control input `par`: the name of a mask file, or a tuple
// [width, height, divisor, c0 .. cN-1] with odd sides up to kMaxMaskSide
// and the coefficients in the file's order.
Vresult ReadFilterMaskParam(const OpContext& ctx, int par, FilterMask* mask);

}  // namespace vexa
