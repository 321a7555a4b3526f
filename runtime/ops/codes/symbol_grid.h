// The module grid of a decoded 2D symbol, measured on the image.
//
// The engine reports a symbol's four outer corners but not its size in
// modules. The size is fitted here: for each size the code type allows
// (QR Code 21..177 in steps of 4, Micro QR Code 11..17 in steps of 2,
// the Data Matrix ECC 200 squares and rectangles, the Aztec compact and
// full-range sizes), the gray values at
// the module centres of a grid spanned by the corners are sampled, and the
// size whose samples lie farthest from their mid-gray (relative to their
// contrast) wins. At a wrong size many samples fall on module edges, where
// blur leaves mid-gray values. Sizes with modules under 1.5 pixels are
// skipped (the engine reads none that small); sizes are scored on at most
// 24 evenly spaced module rows; the winner is sampled in full.
//
// The same distance measured over all modules of the winner is the
// symbol's module separation: 1 for modules whose centres all lie at the
// darkest or lightest gray of the symbol, near 0 for a grid that does not
// fit. It says how clearly the modules can be told apart, not a grade of a
// print quality standard.
//
// PDF417 has rows several modules high and variable columns; its grid is
// not fitted.
#pragma once

#include <cstdint>
#include <vector>

#include "ops/codes/zxing_bridge.h"

namespace vexa {

struct SymbolGrid {
  int rows = 0, cols = 0;
  // Mean module extent in pixels along the reading direction and across it.
  double module_width = 0, module_height = 0;
  double separation = 0;  // 0..1, see above
  // Per module, row-major in reading order: 1 for a set module (the
  // symbol's foreground, dark for a dark-on-light symbol).
  std::vector<uint8_t> set;
  // Image coordinates of the module centres, row-major.
  std::vector<double> centre_rows, centre_cols;
};

// Whether the grid of `format` can be fitted.
bool HasFittableGrid(ZXing::BarcodeFormat format);

// Fits the grid of the symbol `hit` in `image`; false for a format without
// a fittable grid or a symbol smaller than its smallest size at 1.5
// pixels per module.
bool FitSymbolGrid(const CodeImage& image, const CodeHit& hit, SymbolGrid* grid);

// A dark-on-light drawing of a module grid (`set`: rows x cols, row-major)
// at four pixels per module with a quiet zone of four modules; `pixels`
// holds the image, `image` views it.
void DrawModules(int rows, int cols, const std::vector<uint8_t>& set,
                 std::vector<uint8_t>* pixels, CodeImage* image);

}  // namespace vexa
