// Restoration of 2D symbols whose modules are too small and blurred for
// the engine's detectors (about 2 pixels per module under a blur of sigma
// 1): Aztec codes, found by their bull's-eye, and Micro QR codes, found by
// their finder pattern. The pattern is found in the grey values, the
// module grid fitted to it, every module sampled and classified against
// its neighbours, and the modules drawn again as a crisp upright symbol
// that the engine reads.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace vexa {

// The square rings, concentric about one module, that a symbol is found
// by: the Aztec bull's-eye (dark at even distances from its centre module
// out to 4) and the Micro QR finder pattern (a dark 3 x 3 core, a light
// ring, a dark ring, and light beyond: the separator or the quiet zone).
enum class RingPattern { kAztecBullsEye, kMicroQrFinder };

// A module grid in a grey image: the centre of the pattern's central
// module at (col, row), `module` pixels per module, and the direction of
// the module rows, `angle` radians from the column axis towards the rows
// (in [0, pi/2): the rings do not tell quarter turns apart).
struct ModuleGrid {
  double col = 0, row = 0;
  double module = 0;
  double angle = 0;
  double contrast = 0;  // light minus dark grey value of the pattern's rings
};

// Grids of the patterns found in `gray` (CV_8U, dark symbols on a light
// background), the one of highest ring contrast first.
std::vector<ModuleGrid> FindModuleGrids(const cv::Mat& gray, RingPattern pattern);

// The modules within `radius` modules of the grid's centre (CV_8U, 2 radius
// + 1 square; 1 for dark, 0 for light), each classified from the grey value
// at its centre after the share of its neighbours' blur (fitted on the
// pattern's rings) is taken out.
cv::Mat SampleModules(const cv::Mat& gray, const ModuleGrid& grid, int radius,
                      RingPattern pattern);

// A crisp drawing of `modules` (0 dark, 255 light, kRestoredModulePixels
// per module, a quiet zone around) and the map of its pixel (x, y) to the
// grey image: col = m[0] x + m[1] y + m[2], row = m[3] x + m[4] y + m[5].
struct RestoredSymbol {
  cv::Mat pixels;
  double m[6];
};
constexpr int kRestoredModulePixels = 4;
RestoredSymbol DrawModules(const cv::Mat& modules, const ModuleGrid& grid);

// The restorations of every pattern in `gray` with the square of modules
// around it that the image holds, as far as a symbol of the type can
// reach from its pattern (Aztec: 151 modules across; Micro QR: 14 modules
// from the finder's centre in every direction).
std::vector<RestoredSymbol> RestoreSymbols(const cv::Mat& gray, RingPattern pattern);

}  // namespace vexa
