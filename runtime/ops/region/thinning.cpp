// Thinning of regions by hit-or-miss: with given elements (thinning), with
// the rotations of the Golay element "l" (thinning_seq), and down to the
// skeleton (skeleton: thinning_seq until nothing changes).
#include <cstring>

#include "ops/region/kernels/thinning_kernels.h"
#include "ops/region/region_op_util.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// Applies `pass` up to `limit` times (negative: no limit), stopping early
// once a pass changes nothing.
template <class Pass>
Vresult UntilStable(const Region& in, int64_t limit, Pass&& pass, RegionPtr* out) {
  RegionPtr current = Region::FromCanonicalChords(in.chords());
  for (int64_t i = 0; limit < 0 || i < limit; ++i) {
    RegionPtr next;
    const Vresult rc = pass(*current, &next);
    if (rc != VRESULT_OK) return rc;
    const bool same = *next == *current;
    current = std::move(next);
    if (same) break;
  }
  *out = std::move(current);
  return VRESULT_OK;
}

}  // namespace

// struct_elem1 must lie in the region, struct_elem2 outside, both around
// (row, column); repeated `iterations` times.
VEXA_OPERATOR(thinning) {
  Element fg, bg;
  int64_t iterations = 0;
  Vresult rc = ReadElementAt(ctx, 2, 0, 1, &fg);
  if (rc == VRESULT_OK) rc = ReadElementAt(ctx, 3, 0, 1, &bg);
  if (rc == VRESULT_OK) rc = ReadIterations(ctx, 2, fg, &iterations);
  if (rc != VRESULT_OK) return rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return UntilStable(in, iterations,
                       [&](const Region& a, RegionPtr* r) { return Thin(a, fg, bg, r); }, out);
  });
}

// Only the Golay element "l" is available; `iterations` passes over its
// eight rotations.
VEXA_OPERATOR(thinning_seq) {
  const char* golay = nullptr;
  Vlong iterations = 0;
  Vresult rc = ctx.GetString(0, &golay);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &iterations);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(golay, "l") != 0) return VERR_CTRL_VALUE(0);
  if (iterations < 0) return VERR_CTRL_VALUE(1);
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return UntilStable(in, iterations,
                       [](const Region& a, RegionPtr* r) { return ThinSequence(a, GolayL(), r); }, out);
  });
}

VEXA_OPERATOR(skeleton) {
  return MapRegions(ctx, [](const Region& in, RegionPtr* out) {
    return UntilStable(in, -1,
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

}  // namespace vexa
