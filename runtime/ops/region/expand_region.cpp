// expand_region: grows regions step by step into free space.
//
// In each step every region takes the free pixels that share an edge with
// it; a pixel that two regions reach in the same step stays free (it
// separates them). Free means: within the limit of the mode, outside the
// forbidden area and outside every region. "image" limits growth to the
// default frame, "region" to the smallest rectangle holding all input
// regions. iterations is a count, or "maximal" to grow until nothing
// changes.
#include <cstring>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// The region plus the pixels sharing an edge with it.
ChordList Dilate4(const ChordList& a) {
  std::vector<Chord> wide(a);
  for (Chord& c : wide) --c.cb, ++c.ce;
  const ChordList widened = Region::FromChords(std::move(wide))->chords();
  const ChordList up = ChordTranslate(a, -1, 0), down = ChordTranslate(a, 1, 0);
  return ChordUnionMany({&widened, &up, &down});
}

// Reads iterations as a count >= 0 or "maximal" (-1).
Vresult GetIterations(const OpContext& ctx, int par, Vlong* n) {
  const char* s = nullptr;
  if (ctx.GetString(par, &s) == VRESULT_OK) {
    if (std::strcmp(s, "maximal") != 0) return VERR_CTRL_VALUE(par);
    *n = -1;
    return VRESULT_OK;
  }
  const Vresult rc = ctx.GetLong(par, n);
  if (rc != VRESULT_OK) return rc;
  return *n >= 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace

VEXA_OPERATOR(expand_region) {
  Vlong iterations = 0;
  const char* mode = nullptr;
  std::vector<RegionPtr> regions, forbidden;
  Vresult rc = GetIterations(ctx, 0, &iterations);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &regions);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 2, &forbidden);
  if (rc != VRESULT_OK) return rc;
  std::vector<ChordList> grown;
  for (const RegionPtr& r : regions) grown.push_back(r->chords());
  ChordList limit;
  if (std::strcmp(mode, "image") == 0) {
    limit = Region::Rectangle(0, 0, kFrameHeight - 1, kFrameWidth - 1)->chords();
  } else if (std::strcmp(mode, "region") == 0) {
    int32_t r1, c1, r2, c2;
    if (RegionUnionMany(regions)->BoundingBox(&r1, &c1, &r2, &c2))
      limit = Region::Rectangle(r1, c1, r2, c2)->chords();
  } else {
    return VERR_CTRL_VALUE(1);
  }
  ChordList free = ChordDifference(limit, RegionUnionMany(forbidden)->chords());
  for (const ChordList& g : grown) free = ChordDifference(free, g);
  for (Vlong step = 0; iterations < 0 || step < iterations; ++step) {
    std::vector<ChordList> reach(grown.size());
    ChordList seen, twice;
    for (size_t i = 0; i < grown.size(); ++i) {
      reach[i] = ChordIntersection(Dilate4(grown[i]), free);
      twice = ChordUnion(twice, ChordIntersection(reach[i], seen));
      seen = ChordUnion(seen, reach[i]);
    }
    const ChordList taken = ChordDifference(seen, twice);
    if (taken.empty()) break;
    for (size_t i = 0; i < grown.size(); ++i)
      grown[i] = ChordUnion(grown[i], ChordDifference(reach[i], twice));
    free = ChordDifference(free, taken);
  }
  std::vector<RegionPtr> out;
  for (ChordList& g : grown) out.push_back(Region::FromCanonicalChords(std::move(g)));
  return OutRegions(ctx, 1, out);
}

}  // namespace vexa
