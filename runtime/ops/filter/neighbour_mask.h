// The neighbourhood of a filter as chords relative to the centre pixel:
// rectangles, circles, the flat shapes of gray morphology and arbitrary
// regions.
#pragma once

#include <vector>

#include "region_store.h"

namespace vexa {

struct MaskChord {
  int dy, dx0, dx1;  // row offset, first and last column offset
};

class NeighbourMask {
 public:
  // height x width pixels around the centre (both odd).
  static NeighbourMask Rectangle(int height, int width);
  // The digital disc of `radius`: the pixels with dy^2 + dx^2 <=
  // radius^2 + radius, i.e. within radius + 1/2 of the centre (radius 0 is
  // the centre alone, radius 1 the 3x3 square, radius 2 the 5x5 square
  // without its corners).
  static NeighbourMask Circle(int radius);
  // |dx| / a + |dy| / b <= 1 with half sizes a, b (a diamond).
  static NeighbourMask Rhombus(double a, double b);
  // The a x b rectangle with its corners cut along the lines
  // |dx| / a + |dy| / b = 1.5.
  static NeighbourMask Octagon(double a, double b);
  // A region centred on the middle of its bounding box (rounded down).
  static NeighbourMask OfRegion(const Region& region);

  const std::vector<MaskChord>& chords() const { return chords_; }
  // Largest row and column offsets: the margin the filter reads.
  int ry() const { return ry_; }
  int rx() const { return rx_; }
  // Number of pixels.
  int count() const { return count_; }

 private:
  void Add(int dy, int dx0, int dx1);
  // The rectangle of half sizes a, b cut to |dx| / a + |dy| / b <= cut.
  static NeighbourMask CutRectangle(double a, double b, double cut);
  std::vector<MaskChord> chords_;
  int ry_ = 0, rx_ = 0, count_ = 0;
};

}  // namespace vexa
