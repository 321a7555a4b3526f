#include "ops/region/region_op_util.h"

#include <algorithm>
#include <cmath>

namespace vexa {

Vresult MapRegions(OpContext& ctx, const RegionMap& fn) {
  return SplitRegions(ctx, [&](const Region& in, std::vector<RegionPtr>* out) {
    RegionPtr result;
    const Vresult rc = fn(in, &result);
    if (rc == VRESULT_OK) out->push_back(std::move(result));
    return rc;
  });
}

Vresult SplitRegions(OpContext& ctx, const RegionSplit& fn) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    Vresult r = InpRegion(1, key, &region);
    std::vector<RegionPtr> results;
    if (r == VRESULT_OK) r = fn(*region, &results);
    for (size_t i = 0; r == VRESULT_OK && i < results.size(); ++i) {
      Vkey made = VKEY_UNDEF;
      r = db::NewRegion(std::move(results[i]), &made);
      if (r == VRESULT_OK) out.Add(made);
    }
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  return out.HandOver(ctx, 1);
}

Vresult ElementOf(const Region& region, bool centred, int64_t row, int64_t col,
                  Element* element) {
  if (region.empty()) return VERR_EMPTY_OBJECT;
  if (centred) {
    row = std::llround(region.row());
    col = std::llround(region.col());
  }
  int32_t r1, c1, r2, c2;
  region.BoundingBox(&r1, &c1, &r2, &c2);
  if (std::max(row - r1, r2 - row) > kMaxElementReach ||
      std::max(col - c1, c2 - col) > kMaxElementReach)
    return VERR_TOO_LARGE;
  std::vector<Chord> chords = region.chords();
  for (Chord& ch : chords) {
    ch.r = static_cast<int32_t>(ch.r - row);
    ch.cb = static_cast<int32_t>(ch.cb - col);
    ch.ce = static_cast<int32_t>(ch.ce - col);
  }
  *element = Element::FromChords(std::move(chords));
  return VRESULT_OK;
}

Vresult ReadElement(OpContext& ctx, int par, bool centred, int64_t row,
                    int64_t col, Element* element) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(par, &key);
  RegionPtr region;
  if (rc == VRESULT_OK) rc = InpRegion(par, key, &region);
  if (rc != VRESULT_OK) return rc;
  return ElementOf(*region, centred, row, col, element);
}

Vresult ReadElementAt(OpContext& ctx, int obj_par, int row_par, int col_par,
                      Element* element) {
  Vlong row = 0, col = 0;
  Vresult rc = ctx.GetLong(row_par, &row);
  if (rc == VRESULT_OK) rc = ctx.GetLong(col_par, &col);
  if (rc != VRESULT_OK) return rc;
  if (std::llabs(row) > kMaxRegionCoord) return VERR_CTRL_VALUE(row_par);
  if (std::llabs(col) > kMaxRegionCoord) return VERR_CTRL_VALUE(col_par);
  return ReadElement(ctx, obj_par, false, row, col, element);
}

Vresult ReadIterations(const OpContext& ctx, int par, const Element& element,
                       int64_t* iterations) {
  Vlong n = 0;
  const Vresult rc = ctx.GetLong(par, &n);
  if (rc != VRESULT_OK) return rc;
  if (n < 0) return VERR_CTRL_VALUE(par);
  const Box b = element.Bounds();
  const int64_t reach = std::max({-b.r0, b.r1, -b.c0, b.c1, int64_t{1}});
  if (n > kMaxElementReach / reach) return VERR_TOO_LARGE;
  *iterations = n;
  return VRESULT_OK;
}

Vresult ReadRectangleSize(const OpContext& ctx, int w_par, int h_par,
                          Element* element) {
  Vlong size[2] = {0, 0};
  const int pars[2] = {w_par, h_par};
  for (int i = 0; i < 2; ++i) {
    const Vresult rc = ctx.GetLong(pars[i], &size[i]);
    if (rc != VRESULT_OK) return rc;
    if (size[i] < 1) return VERR_CTRL_VALUE(pars[i]);
    if (size[i] > kMaxElementReach) return VERR_TOO_LARGE;
  }
  *element = Element::Rectangle(size[0], size[1]);
  return VRESULT_OK;
}

Vresult ReadDisc(const OpContext& ctx, int par, Element* element) {
  double radius = 0.0;
  const Vresult rc = ctx.GetDouble(par, &radius);
  if (rc != VRESULT_OK) return rc;
  if (!(radius >= 0.5)) return VERR_CTRL_VALUE(par);  // also NaN
  if (radius > kMaxElementReach / 2) return VERR_TOO_LARGE;
  *element = Element::Disc(radius);
  return VRESULT_OK;
}

Vresult Repeat(const Region& in, int64_t iterations,
               const std::function<Vresult(const Region&, RegionPtr*)>& step,
               RegionPtr* out) {
  RegionPtr current = Region::FromCanonicalChords(in.chords());
  for (int64_t i = 0; i < iterations; ++i) {
    RegionPtr next;
    const Vresult rc = step(*current, &next);
    if (rc != VRESULT_OK) return rc;
    current = std::move(next);
  }
  *out = std::move(current);
  return VRESULT_OK;
}

Vresult RepeatUntilStable(const Region& in, int64_t limit,
                          const std::function<Vresult(const Region&, RegionPtr*)>& step,
                          RegionPtr* out) {
  RegionPtr current = Region::FromCanonicalChords(in.chords());
  for (int64_t i = 0; limit < 0 || i < limit; ++i) {
    RegionPtr next;
    const Vresult rc = step(*current, &next);
    if (rc != VRESULT_OK) return rc;
    const bool same = *next == *current;
    current = std::move(next);
    if (same) break;
  }
  *out = std::move(current);
  return VRESULT_OK;
}

}  // namespace vexa
