// The bars and spaces of a linear code along a scan line, and the reverse:
// a code image drawn from element widths, for the engine to read.
//
// Measuring. The gray profile along the scan line is sampled every half
// pixel, each sample the mean of three points across the line (one pixel
// apart) to damp noise. The threshold is the mid-gray of the profile's 5%
// and 95% quantiles (a line whose quantiles lie less than 20 gray values
// apart crosses no bars); element edges are its crossings, interpolated
// linearly between samples. The elements run from the first dark run to
// the last one; the light ends are quiet zone.
#pragma once

#include <vector>

#include "ops/codes/zxing_bridge.h"

namespace vexa {

struct LinearElements {
  std::vector<double> widths;  // pixels, bars and spaces alternating, a bar first
  // The element edges on the scan line (widths.size() + 1 of them, none
  // when no bar was found).
  std::vector<double> edge_rows, edge_cols;
};

// The elements on the scan line from (row0, col0) to (row1, col1); the
// part of the line outside the image is skipped.
LinearElements MeasureElements(const CodeImage& image, double row0, double col0, double row1,
                               double col1);

// A dark-on-light drawing of elements (positive widths, a bar first) at
// three pixels per module (ModuleWidth), with quiet zones of ten widest
// elements; `pixels` holds the image, `image` views it. False when the
// drawing would be wider than 16384 pixels.
bool DrawElements(const std::vector<double>& widths, std::vector<uint8_t>* pixels,
                  CodeImage* image);

// The width of one module in pixels: for a code of `total_modules` (EAN
// and UPC codes have a fixed number), the elements' sum divided by it;
// otherwise the mean of the narrow elements (those at most 1.5 times the
// lower quartile of the widths). 0 for no elements.
double ModuleWidth(const std::vector<double>& widths, int total_modules);

}  // namespace vexa
