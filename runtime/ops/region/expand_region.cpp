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

#include "ops/region/region_growth.h"
#include "registry.h"

namespace vexa {

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
  GrowIntoFree(&grown, FreePixels(limit, forbidden, grown), iterations,
               [](size_t, ChordList reached) { return reached; });
  std::vector<RegionPtr> out;
  for (ChordList& g : grown) out.push_back(Region::FromCanonicalChords(std::move(g)));
  return OutRegions(ctx, 1, out);
}

}  // namespace vexa
