// Operators made of a morphological operation and set algebra: the hats,
// the boundary and the segmenting opening.
#include <cstring>

#include "ops/region/morphology_ops.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The four pixels that share an edge with the reference point, and itself.
Element Cross() { return Element::FromChords({{-1, 0, 0}, {0, -1, 1}, {1, 0, 0}}); }

// Pixels of a with a 4-neighbour outside a.
Vresult InnerBoundary(const Region& a, RegionPtr* out) {
  RegionPtr core;
  const Vresult rc = Fit(a, Cross(), &core);
  if (rc == VRESULT_OK) *out = RegionDifference(a, *core);
  return rc;
}

// Pixels outside a with a 4-neighbour in a.
Vresult OuterBoundary(const Region& a, RegionPtr* out) {
  RegionPtr grown;
  const Vresult rc = Add(a, Cross(), &grown);
  if (rc == VRESULT_OK) *out = RegionDifference(*grown, a);
  return rc;
}

// top: the region minus its opening; bottom: its closing minus the region.
Vresult HatOp(OpContext& ctx, bool top) {
  Element e;
  const Vresult rc = ReadCentredElement(ctx, 2, &e);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr smoothed;
    const Vresult r = top ? Opening(in, e, &smoothed) : Closing(in, e, &smoothed);
    if (r == VRESULT_OK)
      *out = top ? RegionDifference(in, *smoothed) : RegionDifference(*smoothed, in);
    return r;
  });
}

}  // namespace

VEXA_OPERATOR(top_hat) { return HatOp(ctx, true); }
VEXA_OPERATOR(bottom_hat) { return HatOp(ctx, false); }

// boundary_type "inner": pixels of the region with a 4-neighbour outside
// (an 8-connected contour); "inner_filled": the same of the region with
// its holes filled; "outer": pixels outside with a 4-neighbour inside.
VEXA_OPERATOR(boundary) {
  const char* type = nullptr;
  const Vresult rc = ctx.GetString(0, &type);
  if (rc != VRESULT_OK) return rc;
  const bool inner = std::strcmp(type, "inner") == 0;
  const bool filled = std::strcmp(type, "inner_filled") == 0;
  if (!inner && !filled && std::strcmp(type, "outer") != 0)
    return VERR_CTRL_VALUE(0);
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    if (inner) return InnerBoundary(in, out);
    if (filled)
      return InnerBoundary(
          *Region::FromCanonicalChords(ChordUnion(in.chords(), ChordHoles(in.chords()))), out);
    return OuterBoundary(in, out);
  });
}

// The opening done per part: the erosion is split into its 8-connected
// components and each is grown back on its own, so regions joined by
// bridges thinner than the element come out as separate regions.
VEXA_OPERATOR(opening_seg) {
  Element e;
  const Vresult rc = ReadCentredElement(ctx, 2, &e);
  if (rc != VRESULT_OK) return rc;
  return SplitRegions(ctx, [&](const Region& in, std::vector<RegionPtr>* out) {
    RegionPtr core;
    Vresult r = Fit(in, e, &core);
    if (r != VRESULT_OK) return r;
    for (ChordList& part : ChordComponents(core->chords(), Neighbourhood::k8)) {
      RegionPtr grown;
      r = Add(*Region::FromCanonicalChords(std::move(part)), e, &grown);
      if (r != VRESULT_OK) return r;
      out->push_back(std::move(grown));
    }
    return VRESULT_OK;
  });
}

}  // namespace vexa
