// rank_region: the points with at least `number` region pixels in the
// width x height rectangle around them. Small rectangles with a low number
// grow a region, with a high one shrink it; in between they smooth its
// outline and close small gaps.
#include <algorithm>
#include <vector>

#include "ops/region/region_op_util.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// The rectangle around a point p covers rows p.r - up .. p.r + down and
// columns p.c - left .. p.c + right (for an odd size centred, for an even
// one reaching one pixel further down and right).
struct Window {
  int64_t up, down, left, right;
};

// The rank filter of one region: the window's column counts are kept for
// the rows it covers and moved down a row at a time by the runs entering
// and leaving; each output row then sums them across the window from
// prefix sums. Points whose window misses the region are never output
// (number is at least 1), so only the region's bounding box, grown by the
// window, is visited.
RegionPtr RankFilter(const Region& in, const Window& w, int64_t number) {
  int32_t r1, c1, r2, c2;
  if (!in.BoundingBox(&r1, &c1, &r2, &c2)) return Region::Empty();
  const ChordList& chords = in.chords();
  const size_t cols = static_cast<size_t>(c2 - c1 + 1);
  std::vector<int64_t> column_counts(cols, 0);
  std::vector<int64_t> prefix(cols + 1, 0);
  const auto add_row_runs = [&](size_t* at, int64_t row, int64_t sign) {
    for (; *at < chords.size() && chords[*at].r == row; ++*at) {
      for (int32_t c = chords[*at].cb; c <= chords[*at].ce; ++c)
        column_counts[static_cast<size_t>(c - c1)] += sign;
    }
  };
  size_t entering = 0, leaving = 0;
  ChordList out;
  for (int64_t r = int64_t{r1} - w.down; r <= int64_t{r2} + w.up; ++r) {
    // The window of row r covers rows r - up .. r + down.
    while (entering < chords.size() && chords[entering].r <= r + w.down)
      add_row_runs(&entering, chords[entering].r, 1);
    while (leaving < chords.size() && chords[leaving].r < r - w.up)
      add_row_runs(&leaving, chords[leaving].r, -1);
    for (size_t k = 0; k < cols; ++k) prefix[k + 1] = prefix[k] + column_counts[k];
    const int64_t first = int64_t{c1} - w.right, last = int64_t{c2} + w.left;
    int64_t run_start = first;
    bool in_run = false;
    for (int64_t c = first; c <= last + 1; ++c) {
      bool inside = false;
      if (c <= last) {
        const int64_t lo = std::max<int64_t>(c - w.left, c1) - c1;
        const int64_t hi = std::min<int64_t>(c + w.right, c2) - c1;
        inside = prefix[static_cast<size_t>(hi + 1)] - prefix[static_cast<size_t>(lo)] >= number;
      }
      if (inside && !in_run) run_start = c;
      if (!inside && in_run) {
        out.push_back({static_cast<int32_t>(r), static_cast<int32_t>(run_start),
                       static_cast<int32_t>(c - 1)});
      }
      in_run = inside;
    }
  }
  return Region::FromCanonicalChords(std::move(out));
}

}  // namespace

VEXA_OPERATOR(rank_region) {
  Vlong width = 0, height = 0, number = 0;
  Vresult rc = ctx.GetLong(0, &width);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &height);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &number);
  if (rc != VRESULT_OK) return rc;
  if (width < 1) return VERR_CTRL_VALUE(0);
  if (height < 1) return VERR_CTRL_VALUE(1);
  if (width > kMaxElementReach || height > kMaxElementReach) return VERR_TOO_LARGE;
  if (number < 1 || number > width * height) return VERR_CTRL_VALUE(2);
  const Window w{(height - 1) / 2, height / 2, (width - 1) / 2, width / 2};
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    *out = RankFilter(in, w, number);
    return VRESULT_OK;
  });
}

}  // namespace vexa
