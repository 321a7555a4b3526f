// The named 3 x 3 hit-or-miss elements ("Golay letters") used by
// gen_struct_elements and thinning_golay. Each letter is a pattern on the
// ring of the eight neighbours around a foreground centre; a pattern holds
// a foreground part (must lie in the region) and a background part (must
// lie outside), and turns in steps of 45 degrees, clockwise.
//
//   "l"      0 0 0     thinning that leaves 8-connected lines
//            . 1 .
//            1 1 1
//   "m"      . 0 0     thinning that also eats into diagonal corners
//            1 1 0
//            . 1 .
//   "e"      . 1 .     line ends: one side neighbour, the corners beside
//            0 1 0     it free
//            0 0 0
//   "i"      0 0 0     isolated pixels
//            0 1 0
//            0 0 0
//   "noise"  . 0 .     pixels without any side neighbour
//            0 1 0
//            . 0 .
#pragma once

#include <string>

#include "region_store.h"

namespace vexa {

// The foreground and background parts of a letter, relative to the centre.
struct GolayPair {
  RegionPtr fg, bg;
};

// The pair of letter `name` turned by `turns` steps of 45 degrees
// (any integer; taken modulo 8); false for an unknown name.
bool GolayElement(const std::string& name, int turns, GolayPair* pair);

}  // namespace vexa
