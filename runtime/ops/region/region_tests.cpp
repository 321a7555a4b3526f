// Tests on regions and their pixel lists: test_region_point,
// test_equal_region, test_subset_region, get_region_runs,
// get_region_points.
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// Pairs of regions from parameters 1 and 2: equal counts pair up, a single
// region of parameter 2 serves every region of parameter 1.
Vresult RegionPairs(OpContext& ctx, std::vector<RegionPtr>* a,
                    std::vector<RegionPtr>* b) {
  Vresult rc = InpRegions(ctx, 1, a);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 2, b);
  if (rc != VRESULT_OK) return rc;
  if (b->size() == 1 && a->size() > 1) b->assign(a->size(), b->front());
  return a->size() == b->size() ? VRESULT_OK : VERR_OBJ_NUM(2);
}

}  // namespace

// One point and several regions: one answer per region; one region and
// several points: one answer per point; otherwise equal counts, pairwise.
VEXA_OPERATOR(test_region_point) {
  std::vector<RegionPtr> regions;
  std::vector<Vlong> rows, cols;
  Vresult rc = InpRegions(ctx, 1, &regions);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(0, rows);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(1, cols);
  if (rc != VRESULT_OK) return rc;
  if (cols.size() != rows.size()) return VERR_CTRL_NUM(1);
  if (rows.empty()) return VERR_CTRL_NUM(0);
  const size_t n = std::max(rows.size(), regions.size());
  if (regions.size() != n && regions.size() != 1) return VERR_OBJ_NUM(1);
  if (rows.size() != n && rows.size() != 1) return VERR_CTRL_NUM(0);
  std::vector<Vlong> inside(n);
  for (size_t i = 0; i < n; ++i) {
    const Region& r = *regions[regions.size() == 1 ? 0 : i];
    const Vlong y = rows[rows.size() == 1 ? 0 : i], x = cols[cols.size() == 1 ? 0 : i];
    inside[i] = CoordOk(static_cast<double>(y)) && CoordOk(static_cast<double>(x)) &&
                r.Contains(static_cast<int32_t>(y), static_cast<int32_t>(x));
  }
  return ctx.SetOutpLongs(0, inside);
}

// 1 when every pair holds the same pixels, else 0.
VEXA_OPERATOR(test_equal_region) {
  std::vector<RegionPtr> a, b;
  const Vresult rc = RegionPairs(ctx, &a, &b);
  if (rc != VRESULT_OK) return rc;
  Vlong equal = 1;
  for (size_t i = 0; i < a.size() && equal; ++i) equal = *a[i] == *b[i];
  return ctx.SetOutpLong(0, equal);
}

// Per pair: 1 when the region of parameter 1 lies in that of parameter 2.
VEXA_OPERATOR(test_subset_region) {
  std::vector<RegionPtr> a, b;
  const Vresult rc = RegionPairs(ctx, &a, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> subset(a.size());
  for (size_t i = 0; i < a.size(); ++i)
    subset[i] = ChordIsSubset(a[i]->chords(), b[i]->chords());
  return ctx.SetOutpLongs(0, subset);
}

VEXA_OPERATOR(get_region_runs) {
  RegionPtr r;
  const Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> rows, cbs, ces;
  for (const Chord& ch : r->chords()) {
    rows.push_back(ch.r);
    cbs.push_back(ch.cb);
    ces.push_back(ch.ce);
  }
  Vresult out = ctx.SetOutpLongs(0, rows);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(1, cbs);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(2, ces);
  return out;
}

// Every pixel, in row order.
VEXA_OPERATOR(get_region_points) {
  RegionPtr r;
  const Vresult rc = InpSingleRegion(ctx, 1, &r);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> rows, cols;
  rows.reserve(static_cast<size_t>(r->area()));
  cols.reserve(static_cast<size_t>(r->area()));
  for (const Chord& ch : r->chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      rows.push_back(ch.r);
      cols.push_back(c);
    }
  Vresult out = ctx.SetOutpLongs(0, rows);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(1, cols);
  return out;
}

}  // namespace vexa
