// The iconic results of the code tools: symbol outlines as regions or as
// closed contours.
#pragma once

#include "ops/codes/zxing_bridge.h"
#include "ops/common/op_objects.h"

namespace vexa {

// The pixels inside the symbol's four corners. A linear code read along
// one scan line only has a degenerate outline: its region is that line.
Vresult AddSymbolRegion(const CodeHit& hit, NewKeys* out);
// The four corners as a closed contour (the first corner repeated).
Vresult AddSymbolXld(const CodeHit& hit, NewKeys* out);
// The outline of the searched area (the domain's bounding box).
Vresult AddSearchAreaXld(const CodeImage& image, NewKeys* out);

}  // namespace vexa
