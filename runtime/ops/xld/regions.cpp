// Conversions between regions and contours: region outlines as contours,
// contours and polygons rasterised into regions.
#include <algorithm>
#include <cmath>
#include <map>

#include <opencv2/imgproc.hpp>

#include "ops/region/kernels/raster.h"
#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

// Pixels of the mask a region's outline may be traced on.
constexpr int64_t kMaxMaskPixels = int64_t{1} << 28;

// The region as a byte mask with one free pixel on each side; (r0, c0) is
// the region coordinate of mask pixel (1, 1).
Vresult MaskOf(const Region& region, cv::Mat* mask, int32_t* r0, int32_t* c0) {
  int32_t r1, c1, r2, c2;
  if (!region.BoundingBox(&r1, &c1, &r2, &c2)) return VERR_EMPTY_OBJECT;
  const int64_t h = int64_t{r2} - r1 + 3, w = int64_t{c2} - c1 + 3;
  if (h * w > kMaxMaskPixels) return VERR_TOO_LARGE;
  *mask = cv::Mat::zeros(static_cast<int>(h), static_cast<int>(w), CV_8U);
  for (const Chord& ch : region.chords())
    mask->row(ch.r - r1 + 1).colRange(ch.cb - c1 + 1, ch.ce - c1 + 2).setTo(1);
  *r0 = r1;
  *c0 = c1;
  return VRESULT_OK;
}

// The outlines along the pixel borders: one closed loop per boundary,
// counter-clockwise on the screen for outer boundaries, clockwise for
// holes. Corner (i, j) of the mask is the top-left corner of pixel (i, j).
std::vector<std::vector<Pt>> PixelBorders(const cv::Mat& m, int32_t r0, int32_t c0,
                                          bool with_holes) {
  struct Edge {
    int32_t fr, fc, tr, tc;
    bool used;
  };
  std::vector<Edge> edges;
  std::map<std::pair<int32_t, int32_t>, std::vector<size_t>> from;
  auto in = [&](int r, int c) { return m.at<uint8_t>(r, c) != 0; };
  auto add = [&](int32_t fr, int32_t fc, int32_t tr, int32_t tc) {
    from[{fr, fc}].push_back(edges.size());
    edges.push_back({fr, fc, tr, tc, false});
  };
  // Each side of an inside pixel next to an outside one, with the inside
  // on the left of the walking direction.
  for (int r = 1; r + 1 < m.rows; ++r)
    for (int c = 1; c + 1 < m.cols; ++c) {
      if (!in(r, c)) continue;
      if (!in(r - 1, c)) add(r, c + 1, r, c);
      if (!in(r, c - 1)) add(r, c, r + 1, c);
      if (!in(r + 1, c)) add(r + 1, c, r + 1, c + 1);
      if (!in(r, c + 1)) add(r + 1, c + 1, r, c + 1);
    }
  constexpr size_t kNone = ~size_t{0};
  std::vector<std::vector<Pt>> loops;
  for (size_t start = 0; start < edges.size(); ++start) {
    if (edges[start].used) continue;
    std::vector<Pt> loop;
    for (size_t e = start; e != kNone;) {
      Edge& cur = edges[e];
      cur.used = true;
      loop.push_back({cur.fr + r0 - 1.5, cur.fc + c0 - 1.5});
      // Where two boundaries touch at a corner, turn towards the inside
      // (left on the screen), so that pixels meeting only at a corner get
      // loops of their own.
      e = kNone;
      for (size_t cand : from[{cur.tr, cur.tc}]) {
        const Edge& n = edges[cand];
        if (n.used) continue;
        const int64_t cross = int64_t{cur.tc - cur.fc} * (n.tr - n.fr) -
                              int64_t{cur.tr - cur.fr} * (n.tc - n.fc);
        if (e == kNone || cross < 0) e = cand;
      }
    }
    loop.push_back(loop.front());
    // Outer loops run counter-clockwise: positive signed area.
    double area2 = 0;
    for (size_t i = 0; i + 1 < loop.size(); ++i)
      area2 += loop[i].r * loop[i + 1].c - loop[i + 1].r * loop[i].c;
    if (with_holes || area2 > 0) loops.push_back(std::move(loop));
  }
  return loops;
}

// The outer boundaries through the pixel centres, closed.
std::vector<std::vector<Pt>> CentreBorders(const cv::Mat& m, int32_t r0, int32_t c0) {
  std::vector<std::vector<cv::Point>> found;
  cv::findContours(m, found, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
  std::vector<std::vector<Pt>> loops;
  for (const auto& f : found) {
    std::vector<Pt> loop;
    for (const cv::Point& p : f) loop.push_back({p.y + r0 - 1.0, p.x + c0 - 1.0});
    loop.push_back(loop.front());
    loops.push_back(std::move(loop));
  }
  return loops;
}

// Coordinates must round to rows and columns regions can hold.
bool InRegionRange(const std::vector<Pt>& p) {
  for (const Pt& q : p)
    if (!(std::fabs(q.r) <= kMaxRegionCoord && std::fabs(q.c) <= kMaxRegionCoord)) return false;
  return true;
}

// Pixel centres inside the polygon closed from last to first point
// (even-odd rule; a centre exactly on a left edge counts as inside).
RegionPtr Filled(const std::vector<Pt>& p) {
  if (p.size() < 3) return Region::Empty();
  double lo = p[0].r, hi = p[0].r;
  for (const Pt& q : p) lo = std::min(lo, q.r), hi = std::max(hi, q.r);
  std::vector<Chord> chords;
  std::vector<double> xs;
  for (int32_t y = static_cast<int32_t>(std::ceil(lo)); y <= hi; ++y) {
    xs.clear();
    for (size_t i = 0, j = p.size() - 1; i < p.size(); j = i++) {
      if ((p[i].r <= y) != (p[j].r <= y))
        xs.push_back(p[i].c + (y - p[i].r) * (p[j].c - p[i].c) / (p[j].r - p[i].r));
    }
    std::sort(xs.begin(), xs.end());
    for (size_t k = 0; k + 1 < xs.size(); k += 2) {
      const auto cb = static_cast<int32_t>(std::ceil(xs[k]));
      const auto ce = static_cast<int32_t>(std::ceil(xs[k + 1]) - 1);
      if (ce >= cb) chords.push_back({y, cb, ce});
    }
  }
  return Region::FromChords(std::move(chords));
}

// The digital lines between consecutive points, rounded to pixels.
RegionPtr Margin(const std::vector<Pt>& p) {
  std::vector<Chord> chords;
  auto px = [](double v) { return static_cast<int32_t>(std::lround(v)); };
  for (size_t i = 0; i < p.size(); ++i) {
    const Pt& a = p[i];
    const Pt& b = p[i + 1 < p.size() ? i + 1 : i];
    RasterLine(px(a.r), px(a.c), px(b.r), px(b.c), &chords);
  }
  return Region::FromChords(std::move(chords));
}

// gen_region_contour_xld and gen_region_polygon_xld: mode "filled" or
// "margin", one region per input object of class `cls`.
Vresult Rasterise(OpContext& ctx, int32_t cls) {
  std::vector<XldPtr> xs;
  int mode = 0;
  Vresult rc = InpXlds(ctx, 1, cls, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"filled", "margin"}, &mode);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = PointsOf(*x);
    if (!InRegionRange(p)) return VERR_COORD_RANGE;
    Vkey key = VKEY_UNDEF;
    rc = db::NewRegion(mode == 0 ? Filled(p) : Margin(p), &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, 1);
}

}  // namespace

// mode "border": the pixel borders of the outer boundaries; "border_holes":
// also those of the holes; "center": the outer boundaries through the
// pixel centres. One contour per boundary, all regions in order.
VEXA_OPERATOR(gen_contour_region_xld) {
  int mode = 0;
  Vresult rc = GetChoice(ctx, 0, {"border", "border_holes", "center"}, &mode);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    Vresult r = InpRegion(1, key, &region);
    if (r != VRESULT_OK || region->empty()) return r;
    cv::Mat mask;
    int32_t r0 = 0, c0 = 0;
    r = MaskOf(*region, &mask, &r0, &c0);
    if (r != VRESULT_OK) return r;
    for (const auto& loop : mode == 2 ? CentreBorders(mask, r0, c0)
                                      : PixelBorders(mask, r0, c0, mode == 1))
      out.push_back(NewContour(loop));
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : HandOverXlds(ctx, 1, out);
}

VEXA_OPERATOR(gen_region_contour_xld) { return Rasterise(ctx, VOBJ_XLD_CONT); }

VEXA_OPERATOR(gen_region_polygon_xld) { return Rasterise(ctx, VOBJ_XLD_POLY); }

}  // namespace xld
}  // namespace vexa
