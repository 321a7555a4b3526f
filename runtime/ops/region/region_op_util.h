// Parameter handling shared by the region operators of this folder: one
// output region per input region, the structuring element with its
// reference point, and the checks of sizes and repetition counts.
#pragma once

#include <functional>

#include "ops/common/op_objects.h"
#include "ops/region/kernels/morph_kernels.h"

namespace vexa {

// Largest extent (rows or columns, in pixels) that a structuring element
// may reach, alone or repeated: beyond it results would be absurdly large.
constexpr int64_t kMaxElementReach = kMaxRegionCoord;

// A region in, a region out: `fn` maps each region of input object 1 to
// one region of output object 1, in order.
using RegionMap = std::function<Vresult(const Region& in, RegionPtr* out)>;
Vresult MapRegions(OpContext& ctx, const RegionMap& fn);

// Like MapRegions, but `fn` may give any number of regions per input; all
// go to output object 1 in order.
using RegionSplit =
    std::function<Vresult(const Region& in, std::vector<RegionPtr>* out)>;
Vresult SplitRegions(OpContext& ctx, const RegionSplit& fn);

// `region` as a structuring element relative to the reference point (row,
// col), or to its centre of gravity rounded to a pixel when `centred`.
// Fails with VERR_EMPTY_OBJECT for an empty region and VERR_TOO_LARGE for
// one beyond kMaxElementReach around the point.
Vresult ElementOf(const Region& region, bool centred, int64_t row, int64_t col,
                  Element* element);

// The structuring element of input object `par` (exactly one, non-empty
// region), relative to the reference point (row, col). Fails with
// VERR_OBJ_NUM(par), VERR_OBJ_CLASS(par), VERR_EMPTY_OBJECT, or
// VERR_TOO_LARGE for an element beyond kMaxElementReach around the point.
Vresult ReadElement(OpContext& ctx, int par, bool centred, int64_t row,
                    int64_t col, Element* element);
// The element of `par` around its centre of gravity, rounded to a pixel.
inline Vresult ReadCentredElement(OpContext& ctx, int par, Element* element) {
  return ReadElement(ctx, par, true, 0, 0, element);
}
// The element of `obj_par` around the reference point read from the
// control parameters `row_par` and `col_par`.
Vresult ReadElementAt(OpContext& ctx, int obj_par, int row_par, int col_par,
                      Element* element);

// A repetition count from control `par`: 0 or more, and with `element`
// repeated that often still within kMaxElementReach.
Vresult ReadIterations(const OpContext& ctx, int par, const Element& element,
                       int64_t* iterations);

// A rectangle size (width, height) from controls `w_par` and `h_par`:
// at least 1, at most kMaxElementReach (VERR_TOO_LARGE).
Vresult ReadRectangleSize(const OpContext& ctx, int w_par, int h_par,
                          Element* element);
// A disc radius from control `par`: at least 0.5 (VERR_CTRL_VALUE), at
// most kMaxElementReach / 2 (VERR_TOO_LARGE).
Vresult ReadDisc(const OpContext& ctx, int par, Element* element);

// Applies `step` `iterations` times, starting from `in`.
Vresult Repeat(const Region& in, int64_t iterations,
               const std::function<Vresult(const Region&, RegionPtr*)>& step,
               RegionPtr* out);

// Applies `step` up to `limit` times (negative: no limit), stopping early
// once a step changes nothing.
Vresult RepeatUntilStable(const Region& in, int64_t limit,
                          const std::function<Vresult(const Region&, RegionPtr*)>& step,
                          RegionPtr* out);

}  // namespace vexa
