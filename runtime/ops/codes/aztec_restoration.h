// Restoration of Aztec symbols whose modules are too small and blurred for
// the engine's bull's-eye detector (about 2 pixels per module under a blur
// of sigma 1): the bull's-eye is found in the grey values, the module grid
// fitted to it, every module sampled and classified against its
// neighbours, and the modules drawn again as a crisp upright symbol that
// the engine reads.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace vexa {

// A module grid in a grey image: the centre of the bull's-eye's central
// module at (col, row), `module` pixels per module, and the direction of
// the module rows, `angle` radians from the column axis towards the rows
// (in [0, pi/2): the bull's-eye does not tell quarter turns apart).
struct AztecGrid {
  double col = 0, row = 0;
  double module = 0;
  double angle = 0;
  double contrast = 0;  // light minus dark grey value of the bull's-eye rings
};

// Grids of the bull's-eyes found in `gray` (CV_8U, dark symbols on a light
// background), the one of highest ring contrast first.
std::vector<AztecGrid> FindAztecGrids(const cv::Mat& gray);

// The modules within `radius` modules of the grid's centre (CV_8U, 2 radius
// + 1 square; 1 for dark, 0 for light), each classified from the grey value
// at its centre after the share of its neighbours' blur is taken out.
cv::Mat SampleAztecModules(const cv::Mat& gray, const AztecGrid& grid, int radius);

// A crisp drawing of `modules` (0 dark, 255 light, kRestoredModulePixels
// per module, a quiet zone around) and the map of its pixel (x, y) to the
// grey image: col = m[0] x + m[1] y + m[2], row = m[3] x + m[4] y + m[5].
struct RestoredSymbol {
  cv::Mat pixels;
  double m[6];
};
constexpr int kRestoredModulePixels = 4;
RestoredSymbol DrawAztecModules(const cv::Mat& modules, const AztecGrid& grid);

// The restorations of every bull's-eye in `gray` with the whole square of
// modules around it that the image holds (at most 151 modules across).
std::vector<RestoredSymbol> RestoreAztecSymbols(const cv::Mat& gray);

}  // namespace vexa
