// Set operators on regions: union1, union2, intersection, difference,
// symm_difference, complement, connection, background_seg.
//
// The two-operand operators combine each region of the first parameter
// with the union of all regions of the second, giving one result per region
// of the first parameter, in order. With no region in the second
// parameter, that union is empty.
#include "ops/region/kernels/bit_set_ops.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

using ChordOp = ChordList (*)(const ChordList&, const ChordList&);
using RegionOp = RegionPtr (*)(const Region&, const Region&);

// Word operations where both regions are held as planes of the same
// columns; otherwise the run merge, or packed bit rows where those are
// expected to be cheaper (very fragmented operands).
template <SetOp kOp, ChordOp kRuns>
RegionPtr Cheapest(const Region& a, const Region& b) {
  if (RegionPtr planes = CombinePlanes(kOp, a, b)) return planes;
  const ChordList& x = a.chords();
  const ChordList& y = b.chords();
  return Region::FromCanonicalChords(PreferBitRows(kOp, x, y) ? CombineByBitRows(kOp, x, y)
                                                              : kRuns(x, y));
}

Vresult CombineWithUnion(OpContext& ctx, RegionOp op) {
  std::vector<RegionPtr> second;
  const Vresult rc = InpRegions(ctx, 2, &second);
  if (rc != VRESULT_OK) return rc;
  const RegionPtr other = RegionUnionMany(second);
  return MapRegions(ctx, [&](const Region& r, RegionPtr* out) {
    *out = op(r, *other);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(union1) {
  std::vector<RegionPtr> in;
  const Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  return OutRegion(ctx, 1, RegionUnionMany(in));
}

VEXA_OPERATOR(union2) {
  return CombineWithUnion(ctx, Cheapest<SetOp::kUnion, ChordUnion>);
}

VEXA_OPERATOR(intersection) {
  return CombineWithUnion(ctx, Cheapest<SetOp::kIntersection, ChordIntersection>);
}

VEXA_OPERATOR(difference) {
  return CombineWithUnion(ctx, Cheapest<SetOp::kDifference, ChordDifference>);
}

VEXA_OPERATOR(symm_difference) {
  return CombineWithUnion(
      ctx, Cheapest<SetOp::kSymmDifference, ChordSymmDifference>);
}

// The pixels of the frame (rows 0..kFrameHeight-1, columns
// 0..kFrameWidth-1) outside each region.
VEXA_OPERATOR(complement) {
  return MapRegions(ctx, [](const Region& r, RegionPtr* out) {
    *out = Region::FromCanonicalChords(ChordComplementIn(
        r.chords(), 0, 0, kFrameHeight - 1, kFrameWidth - 1));
    return VRESULT_OK;
  });
}

// The 8-connected components of every input region, in the order of the
// inputs and, within one input, of each component's first pixel.
VEXA_OPERATOR(connection) {
  std::vector<RegionPtr> in;
  const Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> out;
  for (const RegionPtr& r : in)
    for (ChordList& part : ChordComponents(r->chords(), Neighbourhood::k8))
      out.push_back(Region::FromCanonicalChords(std::move(part)));
  return OutRegions(ctx, 1, out);
}

// The connected components of the frame's pixels outside all input
// regions together, in the order of each component's first pixel. The
// background is split with the 4-neighbourhood, the dual of the
// foreground's 8: a diagonal line of the foreground separates the two
// sides, as it does for the eye.
VEXA_OPERATOR(background_seg) {
  std::vector<RegionPtr> in;
  const Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  const ChordList background = ChordComplementIn(RegionUnionMany(in)->chords(), 0, 0,
                                                 kFrameHeight - 1, kFrameWidth - 1);
  std::vector<RegionPtr> out;
  for (ChordList& part : ChordComponents(background, Neighbourhood::k4))
    out.push_back(Region::FromCanonicalChords(std::move(part)));
  return OutRegions(ctx, 1, out);
}

}  // namespace vexa
