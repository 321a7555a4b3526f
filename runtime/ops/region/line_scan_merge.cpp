// merge_regions_line_scan: joins the regions of consecutive images of a
// line-scan camera that were cut by the border between the images.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// The chords of `region` in row `row`.
std::vector<Chord> RowChords(const Region& region, int32_t row) {
  const ChordList& chords = region.chords();
  const auto first = std::lower_bound(chords.begin(), chords.end(), row,
                                      [](const Chord& ch, int32_t r) { return ch.r < r; });
  std::vector<Chord> out;
  for (auto it = first; it != chords.end() && it->r == row; ++it) out.push_back(*it);
  return out;
}

// Whether chords of two adjacent rows touch in the 8-neighbourhood.
bool Touch(const std::vector<Chord>& a, const std::vector<Chord>& b) {
  for (const Chord& x : a)
    for (const Chord& y : b)
      if (x.cb <= y.ce + 1 && y.cb <= x.ce + 1) return true;
  return false;
}

int Root(std::vector<int>& parent, int i) {
  while (parent[i] != i) i = parent[i] = parent[parent[i]];
  return i;
}

}  // namespace

// With merge_border "top" the current image continues the previous one
// downwards: the previous image lies above, its rows moved by
// -image_height. A previous region with pixels in the previous image's
// last row and a current region with pixels in row 0 are joined where
// those pixels touch (8-neighbourhood); with "bottom" the previous image
// lies below (rows moved by +image_height), its row 0 meeting the current
// image's last row. Regions joined in chains form one region.
//
// current_merged_regions: per current region, in order, the region itself
// or, for the first current region of a joined group, the union of the
// group (later current regions of the group are in it); a merged region
// keeps at most max_images_region images, counted from the current one,
// and loses the rows beyond. previous_merged_regions: the previous regions
// that touch no current region, unchanged: objects that ended in the
// previous image.
VEXA_OPERATOR(merge_regions_line_scan) {
  Vlong height = 0, max_images = 0;
  const char* border = nullptr;
  Vresult rc = ctx.GetLong(0, &height);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &border);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &max_images);
  if (rc != VRESULT_OK) return rc;
  if (height < 1 || height > kMaxRegionCoord / 4) return VERR_CTRL_VALUE(0);
  const bool top = std::strcmp(border, "top") == 0;
  if (!top && std::strcmp(border, "bottom") != 0) return VERR_CTRL_VALUE(1);
  if (max_images < 1 || max_images * height > kMaxRegionCoord) return VERR_CTRL_VALUE(2);
  std::vector<RegionPtr> current, previous;
  if ((rc = InpRegions(ctx, 1, &current)) != VRESULT_OK) return rc;
  if ((rc = InpRegions(ctx, 2, &previous)) != VRESULT_OK) return rc;

  const auto h = static_cast<int32_t>(height);
  const int32_t current_row = top ? 0 : h - 1, previous_row = top ? h - 1 : 0;
  const size_t nc = current.size(), np = previous.size();
  std::vector<int> parent(nc + np);
  std::iota(parent.begin(), parent.end(), 0);
  std::vector<bool> previous_joined(np, false);
  std::vector<std::vector<Chord>> previous_edges(np);
  for (size_t j = 0; j < np; ++j) previous_edges[j] = RowChords(*previous[j], previous_row);
  for (size_t i = 0; i < nc; ++i) {
    const std::vector<Chord> edge = RowChords(*current[i], current_row);
    if (edge.empty()) continue;
    for (size_t j = 0; j < np; ++j) {
      if (!Touch(edge, previous_edges[j])) continue;
      previous_joined[j] = true;
      // The group's root is its first current region, so that it comes out
      // in that region's place.
      const int a = Root(parent, static_cast<int>(i)), b = Root(parent, static_cast<int>(nc + j));
      parent[std::max(a, b)] = std::min(a, b);
    }
  }

  const int32_t shift = top ? -h : h;
  // Rows a merged region keeps: max_images images ending with the current.
  const auto keep_first = static_cast<int32_t>(top ? -(max_images - 1) * height : 0);
  const auto keep_last = static_cast<int32_t>(top ? height - 1 : max_images * height - 1);
  std::vector<std::vector<RegionPtr>> groups(nc);
  for (size_t k = 0; k < nc + np; ++k) {
    const int root = Root(parent, static_cast<int>(k));
    if (static_cast<size_t>(root) >= nc) continue;  // a previous region alone
    groups[static_cast<size_t>(root)].push_back(
        k < nc ? current[k]
               : Region::FromCanonicalChords(ChordTranslate(previous[k - nc]->chords(), shift, 0)));
  }
  std::vector<RegionPtr> merged, ended;
  for (size_t i = 0; i < nc; ++i) {
    if (groups[i].empty()) continue;  // part of an earlier region's group
    if (groups[i].size() == 1) {
      merged.push_back(groups[i][0]);
      continue;
    }
    const RegionPtr all = RegionUnionMany(groups[i]);
    int32_t r1, c1, r2, c2;
    all->BoundingBox(&r1, &c1, &r2, &c2);
    merged.push_back(all->ClipToRectangle(keep_first, c1, keep_last, c2));
  }
  for (size_t j = 0; j < np; ++j)
    if (!previous_joined[j]) ended.push_back(previous[j]);
  if ((rc = OutRegions(ctx, 1, merged)) != VRESULT_OK) return rc;
  return OutRegions(ctx, 2, ended);
}

}  // namespace vexa
