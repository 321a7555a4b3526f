// The named Golay letters (kernels/golay_elements.h) as regions
// (gen_struct_elements) and as one thinning step (thinning_golay).
#include <cstring>

#include "ops/region/kernels/golay_elements.h"
#include "ops/region/kernels/thinning_kernels.h"
#include "ops/region/region_ops.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The letter named by control `name_par`, turned by the angle (degrees, a
// multiple of 45) of control `rotation_par` (-1: not turned).
Vresult ReadLetter(const OpContext& ctx, int name_par, int rotation_par, GolayPair* pair) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(name_par, &name);
  if (rc != VRESULT_OK) return rc;
  Vlong rotation = 0;
  if (rotation_par >= 0 && (rc = ctx.GetLong(rotation_par, &rotation)) != VRESULT_OK) return rc;
  if (rotation % 45 != 0) return VERR_CTRL_VALUE(rotation_par);
  if (!GolayElement(name, static_cast<int>(rotation / 45 % 8), pair)) return VERR_CTRL_VALUE(name_par);
  return VRESULT_OK;
}

}  // namespace

// Two regions: the foreground part of the letter, then its background
// part, with the centre moved to (row, column).
VEXA_OPERATOR(gen_struct_elements) {
  GolayPair pair;
  int32_t row = 0, col = 0;
  Vresult rc = ReadLetter(ctx, 0, -1, &pair);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 1, &row);
  if (rc == VRESULT_OK) rc = GetCoord(ctx, 2, &col);
  if (rc != VRESULT_OK) return rc;
  return OutRegions(ctx, 1, {Region::FromCanonicalChords(ChordTranslate(pair.fg->chords(), row, col)),
                             Region::FromCanonicalChords(ChordTranslate(pair.bg->chords(), row, col))});
}

// One thinning step: every region loses the hit-or-miss points of the
// letter turned clockwise by `rotation` degrees.
VEXA_OPERATOR(thinning_golay) {
  GolayPair pair;
  const Vresult rc = ReadLetter(ctx, 0, 1, &pair);
  if (rc != VRESULT_OK) return rc;
  const Element fg = Element::FromChords(pair.fg->chords());
  const Element bg = Element::FromChords(pair.bg->chords());
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) { return Thin(in, fg, bg, out); });
}

}  // namespace vexa
