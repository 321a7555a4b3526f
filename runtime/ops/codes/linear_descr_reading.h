// Reading linear codes with a description (code_descriptions.h): searches
// run the bar code model's reader, elements are measured on scan lines,
// and element widths are decoded by drawing them for the same reader.
#pragma once

#include <vector>

#include "ops/codes/code_descriptions.h"
#include "ops/codes/linear_elements.h"

namespace vexa {

// Codes found in an image with a description.
struct LinearRead {
  std::vector<CodeHit> decoded;           // decoded and within the description's limits
  std::vector<LinearElements> elements;  // per decoded code, along its middle
  std::vector<CodeHit> others;            // of the description's types, not decoded or refused
};

LinearRead ReadWithDescr(const CodeImage& image, const LinearDescr& d,
                         const BarCodeParamValues& params);

// Decodes element widths (pixels, a bar first) as a code of the
// description's types; false when they form none or their narrow
// elements are outside the description's element sizes.
bool DecodeElements(const std::vector<double>& widths, const LinearDescr& d,
                    const BarCodeParamValues& params, CodeHit* hit);

// A rectangle across the bars: centre, reading direction phi (radians,
// counter-clockwise from the column axis), half length along it and half
// height across it.
struct BarRectangle {
  double row = 0, col = 0, phi = 0, half_length = 0, half_height = 0;
};

// The rectangle of a code read by the engine, its length extended by a
// twelfth at both ends to reach into the quiet zones.
BarRectangle RectangleOfHit(const CodeHit& hit);

// Scan lines parallel to the reading direction: the middle one, then
// pairs at a third and two thirds of the half height to either side (at
// most `max_lines`); with `stop_if_found`, none after the first that
// decodes.
struct ScanLineSet {
  std::vector<LinearElements> lines;
  std::vector<bool> decoded;
  int first_decoded = -1;
};
ScanLineSet ReadScanLines(const CodeImage& image, const LinearDescr& d,
                          const BarCodeParamValues& params, const BarRectangle& rect,
                          int max_lines, bool stop_if_found);

}  // namespace vexa
