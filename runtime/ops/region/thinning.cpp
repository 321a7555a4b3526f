// The hit-or-miss transform with given elements (hit_or_miss), and what
// builds on it: thickening and thinning with given elements, the removal
// of noise pixels, the skeleton (thinning with the rotations of the Golay
// element "l" until nothing changes), the pruning of its branches, and the
// skeleton of influence zones.
#include <cstring>

#include "ops/region/kernels/thinning_kernels.h"
#include "ops/region/region_op_util.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {

namespace {

// The elements of input objects 2 (must lie in the region) and 3 (must
// lie outside), both around (row, column) at controls 0 and 1.
Vresult ReadElementPair(OpContext& ctx, Element* fg, Element* bg) {
  const Vresult rc = ReadElementAt(ctx, 2, 0, 1, fg);
  return rc == VRESULT_OK ? ReadElementAt(ctx, 3, 0, 1, bg) : rc;
}

// thinning and thickening: `step` with the element pair, repeated up to
// `iterations` (control 2) times, fewer once nothing changes.
Vresult RepeatWithPair(OpContext& ctx,
                       Vresult (*step)(const Region&, const Element&, const Element&, RegionPtr*)) {
  Element fg, bg;
  int64_t iterations = 0;
  Vresult rc = ReadElementPair(ctx, &fg, &bg);
  if (rc == VRESULT_OK) rc = ReadIterations(ctx, 2, fg, &iterations);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return RepeatUntilStable(
        in, iterations, [&](const Region& a, RegionPtr* r) { return step(a, fg, bg, r); }, out);
  });
}

}  // namespace

// The points p with struct_elem1 moved to p inside the region and
// struct_elem2 moved to p outside it, both taken around (row, column).
VEXA_OPERATOR(hit_or_miss) {
  Element fg, bg;
  const Vresult rc = ReadElementPair(ctx, &fg, &bg);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) { return HitOrMiss(in, fg, bg, out); });
}

// The region less its hit_or_miss points, repeated `iterations` times.
VEXA_OPERATOR(thinning) { return RepeatWithPair(ctx, Thin); }

// The region with its hit_or_miss points added, repeated `iterations`
// times; only points outside the region are new, so the reference point
// belongs in struct_elem2 for anything to be added.
VEXA_OPERATOR(thickening) { return RepeatWithPair(ctx, Thicken); }

// "n_4": removes the pixels without a side neighbour in the region;
// "n_8": removes the pixels without any neighbour; "n_48": removes the
// latter and fills the one-pixel holes whose four side neighbours are in
// the region.
VEXA_OPERATOR(remove_noise_region) {
  const char* type = nullptr;
  const Vresult rc = ctx.GetString(0, &type);
  if (rc != VRESULT_OK) return rc;
  const bool sides = std::strcmp(type, "n_4") == 0;
  const bool fill = std::strcmp(type, "n_48") == 0;
  if (!sides && !fill && std::strcmp(type, "n_8") != 0) return VERR_CTRL_VALUE(0);
  const Element centre = Element::FromChords({{0, 0, 0}});
  const Element side_ring = Element::FromChords({{-1, 0, 0}, {0, -1, -1}, {0, 1, 1}, {1, 0, 0}});
  const Element ring = Element::FromChords({{-1, -1, 1}, {0, -1, -1}, {0, 1, 1}, {1, -1, 1}});
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr cleaned;
    const Vresult r = Thin(in, centre, sides ? side_ring : ring, &cleaned);
    if (r != VRESULT_OK || !fill) {
      *out = std::move(cleaned);
      return r;
    }
    return Thicken(*cleaned, side_ring, centre, out);
  });
}

VEXA_OPERATOR(skeleton) {
  return MapRegions(ctx, [](const Region& in, RegionPtr* out) {
    return RepeatUntilStable(in, -1,
                       [](const Region& a, RegionPtr* r) { return ThinSequence(a, GolayL(), r); }, out);
  });
}

// Removes branches of at most `length` pixels: end points (EndPoints) are stripped
// `length` times, then the ends that remain grow back along the region
// for as many steps (a 3 x 3 dilation kept inside the input), so that
// the long branches get their ends back.
VEXA_OPERATOR(pruning) {
  Vlong length = 0;
  const Vresult rc = ctx.GetLong(0, &length);
  if (rc != VRESULT_OK) return rc;
  if (length < 0) return VERR_CTRL_VALUE(0);
  if (length > kMaxElementReach) return VERR_TOO_LARGE;
  const Element square = Element::Rectangle(3, 3);
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr core = Region::FromCanonicalChords(in.chords()), ends;
    for (Vlong i = 0; i < length; ++i) {
      const Vresult r = EndPoints(*core, &ends);
      if (r != VRESULT_OK) return r;
      if (ends->empty()) break;
      core = RegionDifference(*core, *ends);
    }
    Vresult r = EndPoints(*core, &ends);
    for (Vlong i = 0; r == VRESULT_OK && i < length && !ends->empty(); ++i) {
      RegionPtr grown;
      r = Add(*ends, square, &grown);
      if (r == VRESULT_OK) ends = Region::Intersection(*grown, in);
    }
    if (r == VRESULT_OK) *out = Region::Union(*core, *ends);
    return r;
  });
}

// The skeleton of influence zones: the lines that part the region's
// components, found by thinning the background (the pixels outside the
// region within its bounding box grown by one pixel) with the rotations of
// "l", iterations1 passes (negative: until nothing changes), and then
// stripping end points iterations2 times (negative: until none is left),
// which removes the spurs and leaves the closed lines between the
// components and the box's border.
VEXA_OPERATOR(morph_skiz) {
  Vlong thin = 0, prune = 0;
  Vresult rc = ctx.GetLong(0, &thin);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &prune);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    int32_t r1, c1, r2, c2;
    if (!in.BoundingBox(&r1, &c1, &r2, &c2)) {
      *out = Region::Empty();
      return VRESULT_OK;
    }
    const RegionPtr background = Region::FromCanonicalChords(
        ChordComplementIn(in.chords(), r1 - 1, c1 - 1, r2 + 1, c2 + 1));
    RegionPtr lines;
    Vresult r = RepeatUntilStable(*background, thin < 0 ? -1 : thin,
                                  [](const Region& a, RegionPtr* t) { return ThinSequence(a, GolayL(), t); },
                                  &lines);
    RegionPtr ends;
    for (Vlong k = 0; r == VRESULT_OK && (prune < 0 || k < prune); ++k) {
      r = EndPoints(*lines, &ends);
      if (r != VRESULT_OK || ends->empty()) break;
      lines = RegionDifference(*lines, *ends);
    }
    if (r == VRESULT_OK) *out = lines;
    return r;
  });
}

}  // namespace vexa
