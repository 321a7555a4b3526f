// How rectangular regions are: rectangularity (the share of the smallest
// rotated enclosing rectangle that the region fills) and inner_rectangle1
// (the largest axis-parallel rectangle inside the region).
#include <algorithm>
#include <cmath>

#include "ops/region/region_ops.h"
#include "ops/region/shape_features.h"
#include "registry.h"

namespace vexa {
namespace {

struct Box4 {
  int32_t r1 = 0, c1 = 0, r2 = 0, c2 = 0;
  int64_t area = 0;
};

// The largest axis-parallel rectangle inside `a` (the first found, by
// bottom row, then left column, for equal areas). Every row of the region
// is cut at all chord ends into column segments that lie wholly inside or
// outside each chord; over consecutive rows the segments' heights form a
// histogram whose largest rectangle is found with a stack.
Box4 InnerRectangle(const Region& a) {
  std::vector<int32_t> cuts;
  for (const Chord& ch : a.chords()) cuts.push_back(ch.cb), cuts.push_back(ch.ce + 1);
  std::sort(cuts.begin(), cuts.end());
  cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
  const size_t n = cuts.empty() ? 0 : cuts.size() - 1;  // segment k: [cuts[k], cuts[k+1])
  std::vector<int64_t> height(n, 0);
  Box4 best;
  const std::vector<Chord>& chords = a.chords();
  for (size_t i = 0; i < chords.size();) {
    const int32_t row = chords[i].r;
    if (i > 0 && chords[i - 1].r != row - 1) std::fill(height.begin(), height.end(), 0);
    std::vector<bool> covered(n, false);
    for (; i < chords.size() && chords[i].r == row; ++i) {
      const size_t k0 = std::lower_bound(cuts.begin(), cuts.end(), chords[i].cb) - cuts.begin();
      for (size_t k = k0; k < n && cuts[k] <= chords[i].ce; ++k) covered[k] = true;
    }
    for (size_t k = 0; k < n; ++k) height[k] = covered[k] ? height[k] + 1 : 0;
    // Stack of segments with rising heights; each popped one bounds a
    // rectangle reaching from the segment after the one below it.
    std::vector<size_t> stack;
    for (size_t k = 0; k <= n; ++k) {
      const int64_t h = k < n ? height[k] : 0;
      while (!stack.empty() && height[stack.back()] >= h) {
        const int64_t top = height[stack.back()];
        stack.pop_back();
        const size_t left = stack.empty() ? 0 : stack.back() + 1;
        const int64_t area = top * (int64_t{cuts[k]} - cuts[left]);
        if (area > best.area)
          best = {static_cast<int32_t>(row - top + 1), cuts[left], row, cuts[k] - 1, area};
      }
      stack.push_back(k);
    }
  }
  return best;
}

}  // namespace

// area / ((2 len1 + 1)(2 len2 + 1)) with the half lengths of the smallest
// rotated rectangle around the pixel centres (smallest_rectangle2), so
// that an axis-parallel rectangle gives exactly 1; pixels of a turned
// rectangle can outnumber its area slightly, hence at most 1. Empty: 0.
VEXA_OPERATOR(rectangularity) {
  std::vector<RegionPtr> in;
  const Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> out;
  for (const RegionPtr& r : in) {
    if (r->empty()) {
      out.push_back(0.0);
      continue;
    }
    ShapeMeasures m(r);
    const Rect2& rect = m.SmallestRect();
    const double box = (2.0 * rect.len1 + 1.0) * (2.0 * rect.len2 + 1.0);
    out.push_back(std::min(1.0, static_cast<double>(r->area()) / box));
  }
  return ctx.SetOutpDoubles(0, out);
}

// row1, column1, row2, column2 of the largest rectangle in each region;
// all 0 for the empty region.
VEXA_OPERATOR(inner_rectangle1) {
  std::vector<RegionPtr> in;
  Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> v[4];
  for (const RegionPtr& r : in) {
    const Box4 b = InnerRectangle(*r);
    v[0].push_back(b.r1), v[1].push_back(b.c1), v[2].push_back(b.r2), v[3].push_back(b.c2);
  }
  for (int par = 0; par < 4 && rc == VRESULT_OK; ++par) rc = ctx.SetOutpLongs(par, v[par]);
  return rc;
}

}  // namespace vexa
