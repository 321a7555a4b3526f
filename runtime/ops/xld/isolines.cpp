// threshold_sub_pix: the iso-lines of the gray values at `threshold`
// (iso_lines.h); the brighter side lies on the right of each contour.
#include <cmath>

#include "iso_lines.h"
#include "registry.h"

namespace vexa {
namespace xld {

VEXA_OPERATOR(threshold_sub_pix) {
  Vkey key = VKEY_UNDEF;
  double threshold = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(0, &threshold);
  if (rc != VRESULT_OK) return rc;
  if (std::isnan(threshold)) return VERR_CTRL_VALUE(0);
  FloatImage image;
  rc = InpFloatImage(1, key, 0, &image);
  if (rc != VRESULT_OK) return rc;
  return HandOverXlds(ctx, 1, IsoLineContours(image, threshold));
}

}  // namespace xld
}  // namespace vexa
