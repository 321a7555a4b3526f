#include "ops/region/region_growth.h"

#include <cstring>

namespace vexa {

ChordList Dilate4(const ChordList& a) {
  std::vector<Chord> wide(a);
  for (Chord& c : wide) --c.cb, ++c.ce;
  const ChordList widened = Region::FromChords(std::move(wide))->chords();
  const ChordList up = ChordTranslate(a, -1, 0), down = ChordTranslate(a, 1, 0);
  return ChordUnionMany({&widened, &up, &down});
}

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

ChordList FreePixels(const ChordList& limit, const std::vector<RegionPtr>& forbidden,
                     const std::vector<ChordList>& grown) {
  ChordList free = ChordDifference(limit, RegionUnionMany(forbidden)->chords());
  for (const ChordList& g : grown) free = ChordDifference(free, g);
  return free;
}

}  // namespace vexa
