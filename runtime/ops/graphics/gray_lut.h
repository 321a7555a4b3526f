// Look-up tables: how a window shows the gray values of one-channel
// images. The named tables:
//   "default", "linear"  gray as gray
//   "inverse"            255 - gray
//   "sqr", "sqrt"        gray^2 / 255 and sqrt(255 gray): darker, brighter
//   "temperature"        black through red and yellow to white
//   "rainbow"            blue through cyan, green and yellow to red
//   "twenty_four"        24 bands of distinct colours (labels, classes)
// Other tables come as values: 256 gray values or 3 x 256 of red, green
// and blue (all 0..255).
#pragma once

#include <string>
#include <vector>

#include "window_registry.h"

namespace vexa {

extern const char* const kLutNames[];
extern const size_t kNumLutNames;

// The table of a name: empty for the gray identity; false for an unknown
// name.
bool NamedLut(const std::string& name, std::vector<window::Rgb>* lut);

}  // namespace vexa
