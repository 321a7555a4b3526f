// The compound morphological operations that more than one operator file
// uses (the hats and the segmenting opening build on them).
#pragma once

#include "ops/region/region_op_util.h"

namespace vexa {

// The union of all translates of b that lie inside a.
Vresult Opening(const Region& a, const Element& b, RegionPtr* out);
// The dual of the opening: the points p such that every translate of b
// that holds p meets a (a dilation, then the Minkowski subtraction).
Vresult Closing(const Region& a, const Element& b, RegionPtr* out);

}  // namespace vexa
