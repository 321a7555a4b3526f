// Outlines of a region and shapes derived from them: get_region_contour,
// get_region_chain, get_region_convex, get_region_polygon,
// get_region_thickness, shape_trans.
#include <cmath>
#include <cstring>
#include <map>

#include "ops/region/kernels/contour.h"
#include "ops/region/kernels/raster.h"
#include "ops/region/region_ops.h"
#include "region_store_moments.h"
#include "registry.h"

namespace vexa {
namespace {

// Writes points as rows (parameter 0) and columns (parameter 1); closed
// polygons repeat their first point at the end.
Vresult OutPoints(OpContext& ctx, const std::vector<PixelPoint>& pts, bool closed) {
  std::vector<Vlong> rows, cols;
  for (const PixelPoint& p : pts) rows.push_back(p.r), cols.push_back(p.c);
  if (closed && !pts.empty()) rows.push_back(pts[0].r), cols.push_back(pts[0].c);
  Vresult rc = ctx.SetOutpLongs(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(1, cols);
  return rc;
}

ChordList FillConvex(const std::vector<PixelPoint>& hull) {
  std::vector<double> rows, cols;
  for (const PixelPoint& p : hull) rows.push_back(p.r), cols.push_back(p.c);
  return RasterConvexPolygon(rows, cols);
}

ChordList ConvexShape(const Region& r) { return FillConvex(ConvexHull(r)); }

ChordList BoxShape(const Region& r) {
  int32_t r1, c1, r2, c2;
  r.BoundingBox(&r1, &c1, &r2, &c2);
  return Region::Rectangle(r1, c1, r2, c2)->chords();
}

ChordList SmallestRectangleShape(const Region& r) {
  const Rect2 b = SmallestRectangle(ConvexHull(r));
  return RasterRectangle2(b.row, b.col, b.phi, b.len1, b.len2);
}

ChordList SmallestCircleShape(const Region& r) {
  // A single pixel has radius 0; half a pixel keeps it.
  const Circle k = SmallestCircle(ConvexHull(r));
  const double radius = std::max(k.radius, 0.5);
  return RasterEllipse(k.row, k.col, 0.0, radius, radius);
}

ChordList MomentEllipseShape(const Region& r) {
  // A line of pixels has rb 0; half a pixel keeps an inside.
  const RegionMoments m = ComputeMoments(r.chords().data(), r.chords().size());
  const EllipseAxes e = EllipseFromMoments(m);
  return RasterEllipse(m.row, m.col, e.phi, std::max(e.ra, 0.5), std::max(e.rb, 0.5));
}

// The shapes shape_trans makes of a non-empty region.
using ShapeFn = ChordList (*)(const Region&);
ShapeFn ShapeByName(const char* name) {
  static const struct {
    const char* name;
    ShapeFn fn;
  } kShapes[] = {{"convex", ConvexShape},
                 {"rectangle1", BoxShape},
                 {"rectangle2", SmallestRectangleShape},
                 {"outer_circle", SmallestCircleShape},
                 {"ellipse", MomentEllipseShape}};
  for (const auto& s : kShapes)
    if (std::strcmp(name, s.name) == 0) return s.fn;
  return nullptr;
}

}  // namespace

// The outer border pixels, counter-clockwise from the first pixel.
VEXA_OPERATOR(get_region_contour) {
  RegionPtr r;
  const Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  std::vector<PixelPoint> border;
  std::vector<int> codes;
  TraceBorder(*r, &border, &codes);
  return OutPoints(ctx, border, false);
}

// Start pixel and Freeman codes of the border.
VEXA_OPERATOR(get_region_chain) {
  RegionPtr r;
  Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  if (r->empty()) return VERR_EMPTY_OBJECT;
  std::vector<PixelPoint> border;
  std::vector<int> codes;
  TraceBorder(*r, &border, &codes);
  rc = ctx.SetOutpLong(0, border[0].r);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(1, border[0].c);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(2, std::vector<Vlong>(codes.begin(), codes.end()));
  return rc;
}

// Convex hull vertices as a closed polygon.
VEXA_OPERATOR(get_region_convex) {
  RegionPtr r;
  const Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  return OutPoints(ctx, ConvexHull(*r), true);
}

// The border simplified to a closed polygon within `tolerance` pixels.
VEXA_OPERATOR(get_region_polygon) {
  double tol = 0;
  RegionPtr r;
  Vresult rc = ctx.GetDouble(0, &tol);
  if (rc == VRESULT_OK) rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  if (!(tol >= 0.0) || !std::isfinite(tol)) return VERR_CTRL_VALUE(0);
  std::vector<PixelPoint> border;
  std::vector<int> codes;
  TraceBorder(*r, &border, &codes);
  return OutPoints(ctx, SimplifyClosed(border, tol), true);
}

// Thickness across the main axis: the pixels are grouped by their rounded
// position along the axis (through the centre, at the moments' angle);
// `thickness` lists the group sizes along the axis, `histogram` counts how
// often each thickness occurs (index = thickness).
VEXA_OPERATOR(get_region_thickness) {
  RegionPtr r;
  const Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  const RegionMoments m = ComputeMoments(r->chords().data(), r->chords().size());
  const double phi = EllipseFromMoments(m).phi;
  const double er = -std::sin(phi), ec = std::cos(phi);
  std::map<int64_t, Vlong> groups;
  for (const Chord& ch : r->chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c)
      ++groups[std::llround((ch.r - m.row) * er + (c - m.col) * ec)];
  std::vector<Vlong> thickness, histogram;
  for (const auto& g : groups) {
    thickness.push_back(g.second);
    if (histogram.size() <= static_cast<size_t>(g.second)) histogram.resize(g.second + 1, 0);
    ++histogram[g.second];
  }
  Vresult out = ctx.SetOutpLongs(0, thickness);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(1, histogram);
  return out;
}

// "convex", "rectangle1", "rectangle2" (smallest at any angle),
// "outer_circle" (smallest circle), "ellipse" (same moments).
VEXA_OPERATOR(shape_trans) {
  const char* type = nullptr;
  const Vresult rc = ctx.GetString(0, &type);
  if (rc != VRESULT_OK) return rc;
  const ShapeFn shape = ShapeByName(type);
  if (shape == nullptr) return VERR_CTRL_VALUE(0);
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    *out = r.empty() ? Region::Empty() : Region::FromCanonicalChords(shape(r));
    return VRESULT_OK;
  });
}

}  // namespace vexa
