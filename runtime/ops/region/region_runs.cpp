// Operators on the runs of a region as such: removing runs by length, and
// the distribution of the lengths of runs and of the gaps between them.
#include <algorithm>
#include <vector>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {

// Removes the runs shorter than elim_shorter and those longer than
// elim_longer pixels; what is left keeps its order.
VEXA_OPERATOR(eliminate_runs) {
  Vlong shorter = 0, longer = 0;
  Vresult rc = ctx.GetLong(0, &shorter);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &longer);
  if (rc != VRESULT_OK) return rc;
  if (shorter < 0) return VERR_CTRL_VALUE(0);
  if (longer < 0) return VERR_CTRL_VALUE(1);
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    ChordList kept;
    for (const Chord& ch : in.chords()) {
      const Vlong length = Vlong{ch.ce} - ch.cb + 1;
      if (length >= shorter && length <= longer) kept.push_back(ch);
    }
    *out = Region::FromCanonicalChords(std::move(kept));
    return VRESULT_OK;
  });
}

namespace {

// counts[k] += 1 for a length k, growing counts as needed.
void Count(std::vector<Vlong>* counts, Vlong length) {
  if (static_cast<size_t>(length) >= counts->size()) counts->resize(static_cast<size_t>(length) + 1);
  ++(*counts)[static_cast<size_t>(length)];
}

}  // namespace

// foreground[k]: the number of runs of k pixels; background[k]: the number
// of gaps of k pixels between two runs of one row. Both start at k = 0
// (always 0) and end at the longest length; without any run or gap the
// tuple is (0).
VEXA_OPERATOR(runlength_distribution) {
  RegionPtr region;
  const Vresult rc = InpSingleRegion(ctx, 1, &region);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> foreground(1, 0), background(1, 0);
  const ChordList& chords = region->chords();
  for (size_t i = 0; i < chords.size(); ++i) {
    Count(&foreground, Vlong{chords[i].ce} - chords[i].cb + 1);
    if (i > 0 && chords[i - 1].r == chords[i].r)
      Count(&background, Vlong{chords[i].cb} - chords[i - 1].ce - 1);
  }
  const Vresult out = ctx.SetOutpLongs(0, foreground);
  return out == VRESULT_OK ? ctx.SetOutpLongs(1, background) : out;
}

}  // namespace vexa
