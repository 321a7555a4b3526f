// Operators made of a morphological operation and set algebra: the hats,
// the boundary, the segmenting opening, the morphological skeleton and
// the fitting with several elements.
#include <cstring>
#include <vector>

#include "ops/region/morphology_ops.h"
#include "ops/region/region_ops.h"
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

// The top hat (the region minus its opening), the bottom hat (its closing
// minus the region), or both together.
Vresult HatOp(OpContext& ctx, bool top, bool bottom) {
  Element e;
  const Vresult rc = ReadCentredElement(ctx, 2, &e);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr opened, closed;
    Vresult r = top ? Opening(in, e, &opened) : VRESULT_OK;
    if (r == VRESULT_OK && bottom) r = Closing(in, e, &closed);
    if (r != VRESULT_OK) return r;
    RegionPtr hat = top ? RegionDifference(in, *opened) : Region::Empty();
    if (bottom) hat = Region::Union(*hat, *RegionDifference(*closed, in));
    *out = std::move(hat);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(top_hat) { return HatOp(ctx, true, false); }
VEXA_OPERATOR(bottom_hat) { return HatOp(ctx, false, true); }
VEXA_OPERATOR(morph_hat) { return HatOp(ctx, true, true); }

// The skeleton of maximal squares: the union over k of the region eroded k
// times by the 3 x 3 square, less the opening of that erosion. Each point
// is the centre of a square of odd side that lies in the region and in no
// larger such square; the region is the union of those squares again.
VEXA_OPERATOR(morph_skeleton) {
  const Element square = Element::Rectangle(3, 3);
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    RegionPtr skeleton = Region::Empty();
    RegionPtr eroded = Region::FromCanonicalChords(in.chords());
    while (!eroded->empty()) {
      RegionPtr opened, next;
      Vresult r = Opening(*eroded, square, &opened);
      if (r == VRESULT_OK) r = Fit(*eroded, square, &next);
      if (r != VRESULT_OK) return r;
      skeleton = Region::Union(*skeleton, *RegionDifference(*eroded, *opened));
      eroded = std::move(next);
    }
    *out = std::move(skeleton);
    return VRESULT_OK;
  });
}

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

// Each region smoothed by every element of the second parameter (each
// about its centre of gravity): opened, which removes what the element
// does not fit into, then closed, which fills gaps narrower than it. The
// result is the union of these, so a part survives when any one of the
// elements fits it (elements of several orientations keep thin parts of
// any direction that one of them matches).
VEXA_OPERATOR(fitting) {
  std::vector<RegionPtr> shapes;
  Vresult rc = InpRegions(ctx, 2, &shapes);
  if (rc != VRESULT_OK) return rc;
  if (shapes.empty()) return VERR_OBJ_NUM(2);
  std::vector<Element> elements(shapes.size());
  for (size_t k = 0; k < shapes.size() && rc == VRESULT_OK; ++k)
    rc = ElementOf(*shapes[k], true, 0, 0, &elements[k]);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    std::vector<RegionPtr> fitted;
    for (const Element& e : elements) {
      RegionPtr opened, closed;
      Vresult r = Opening(in, e, &opened);
      if (r == VRESULT_OK) r = Closing(*opened, e, &closed);
      if (r != VRESULT_OK) return r;
      fitted.push_back(std::move(closed));
    }
    *out = RegionUnionMany(fitted);
    return VRESULT_OK;
  });
}

}  // namespace vexa
