// Sub-pixel objects in serialised items: contours with their attributes,
// polygons with their source contour, and parallels with their polygons.
#pragma once

#include "ops/serialize/item_format.h"
#include "xld_store.h"

namespace vexa {

void EncodeXld(const Xld& xld, ByteWriter* w);
// A new object in `xld`; VERR_FILE_CORRUPT for data no operator could
// have made (an unknown class, counts that do not match, non-finite
// points, a polygon whose source is not a contour, parallels whose parts
// are not polygons).
Vresult DecodeXld(ByteReader* r, XldPtr* xld);

}  // namespace vexa
