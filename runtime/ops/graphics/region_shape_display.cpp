// Regions shown as figures (see region_shape_display.h).
#include "ops/graphics/region_shape_display.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "ops/graphics/raster_paint.h"
#include "ops/graphics/raster_shapes.h"
#include "ops/region/shape_features.h"
#include "region_algebra.h"

namespace vexa {

const char* const kRegionShapes[] = {"original",     "rectangle1",   "rectangle2",
                                     "circle",       "ellipse",      "convex",
                                     "outer_circle", "inner_circle", "icon"};
const size_t kNumRegionShapes = sizeof(kRegionShapes) / sizeof(kRegionShapes[0]);

bool IsRegionShape(const std::string& name) {
  for (const char* s : kRegionShapes)
    if (name == s) return true;
  return false;
}

namespace {

constexpr double kPi = 3.14159265358979323846;

void ShowDisc(window::Window& w, double row, double col, double radius) {
  ShowClosed(w, EllipseOutline(row, col, 0.0, radius, radius, 0.0, 2 * kPi));
}

// The icon with its centre of gravity moved to (row, col), to the nearest
// pixel.
void PaintIcon(window::Window& w, double row, double col) {
  if (!w.icon || w.icon->empty()) return;
  const int32_t dr = static_cast<int32_t>(std::lround(row - w.icon->row()));
  const int32_t dc = static_cast<int32_t>(std::lround(col - w.icon->col()));
  std::vector<Chord> chords = w.icon->chords();
  for (Chord& ch : chords) {
    ch.r += dr;
    ch.cb += dc;
    ch.ce += dc;
  }
  PaintRegion(w, *Region::FromCanonicalChords(std::move(chords)));
}

}  // namespace

void PaintRegionShape(window::Window& w, const RegionPtr& region) {
  if (region->empty()) return;
  const std::string& shape = w.shape;
  if (shape == "original") return PaintRegion(w, *region);
  ShapeMeasures m(region);
  if (shape == "rectangle1") {
    int32_t r1, c1, r2, c2;
    region->BoundingBox(&r1, &c1, &r2, &c2);
    return ShowRectangle1(w, r1, c1, r2, c2);
  }
  if (shape == "rectangle2") {
    const Rect2& r = m.SmallestRect();
    return ShowClosed(w, RotatedCorners(r.row, r.col, r.phi, r.len1, r.len2));
  }
  if (shape == "circle")
    return ShowDisc(w, region->row(), region->col(), std::sqrt(region->area() / kPi));
  if (shape == "ellipse") {
    double ra = 0, rb = 0, phi = 0;
    FeatureValue("ra", m, &ra);
    FeatureValue("rb", m, &rb);
    FeatureValue("phi", m, &phi);
    return ShowClosed(w, EllipseOutline(region->row(), region->col(), phi, ra, rb, 0.0, 2 * kPi));
  }
  if (shape == "convex") {
    std::vector<RealPoint> hull;
    for (const PixelPoint& p : m.Hull()) hull.push_back({double(p.r), double(p.c)});
    return ShowClosed(w, hull);
  }
  if (shape == "outer_circle") {
    const Circle& c = m.SmallestCircleOf();
    return ShowDisc(w, c.row, c.col, c.radius);
  }
  if (shape == "inner_circle") {
    int64_t k = 0;
    PixelPoint centre{0, 0};
    m.InnerDiscOf(&k, &centre);
    return ShowDisc(w, centre.r, centre.c, std::sqrt(static_cast<double>(k)));
  }
  PaintIcon(w, region->row(), region->col());
}

}  // namespace vexa
