#include "ops/filter/neighbour_mask.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vexa {

void NeighbourMask::Add(int dy, int dx0, int dx1) {
  chords_.push_back({dy, dx0, dx1});
  ry_ = std::max(ry_, std::abs(dy));
  rx_ = std::max({rx_, std::abs(dx0), std::abs(dx1)});
  count_ += dx1 - dx0 + 1;
}

NeighbourMask NeighbourMask::Rectangle(int height, int width) {
  NeighbourMask m;
  for (int dy = -(height / 2); dy <= height / 2; ++dy) m.Add(dy, -(width / 2), width / 2);
  return m;
}

NeighbourMask NeighbourMask::Circle(int radius) {
  NeighbourMask m;
  const long limit = static_cast<long>(radius) * radius + radius;
  for (int dy = -radius; dy <= radius; ++dy) {
    int w = 0;
    while (static_cast<long>(w + 1) * (w + 1) + static_cast<long>(dy) * dy <= limit) ++w;
    m.Add(dy, -w, w);
  }
  return m;
}

NeighbourMask NeighbourMask::CutRectangle(double a, double b, double cut) {
  NeighbourMask m;
  const int rb = static_cast<int>(std::floor(b)), ra = static_cast<int>(std::floor(a));
  for (int dy = -rb; dy <= rb; ++dy) {
    // |dx| / a + |dy| / b <= cut, with a small tolerance for rounding.
    const double reach = b > 0 ? a * (cut - std::abs(dy) / b) : a;
    const int w = std::min(ra, static_cast<int>(std::floor(reach + 1e-9)));
    m.Add(dy, -w, w);
  }
  return m;
}

NeighbourMask NeighbourMask::Rhombus(double a, double b) { return CutRectangle(a, b, 1.0); }

NeighbourMask NeighbourMask::Octagon(double a, double b) { return CutRectangle(a, b, 1.5); }

NeighbourMask NeighbourMask::OfRegion(const Region& region) {
  NeighbourMask m;
  int32_t r1, c1, r2, c2;
  if (!region.BoundingBox(&r1, &c1, &r2, &c2)) return m;
  const int cy = static_cast<int>(std::floor((r1 + r2) / 2.0));
  const int cx = static_cast<int>(std::floor((c1 + c2) / 2.0));
  for (const Chord& ch : region.chords()) m.Add(ch.r - cy, ch.cb - cx, ch.ce - cx);
  return m;
}

}  // namespace vexa
