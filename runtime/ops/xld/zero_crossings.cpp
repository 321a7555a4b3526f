// zero_crossing_sub_pix: the lines where a (typically signed) image, such
// as a Laplacian of Gaussian, changes sign: its iso-lines at 0
// (iso_lines.h), with the positive side on the right of each contour.
#include "iso_lines.h"
#include "registry.h"

namespace vexa {
namespace xld {

VEXA_OPERATOR(zero_crossing_sub_pix) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(1, &key);
  FloatImage image;
  if (rc == VRESULT_OK) rc = InpFloatImage(1, key, 0, &image);
  if (rc != VRESULT_OK) return rc;
  return HandOverXlds(ctx, 1, IsoLineContours(image, 0.0));
}

}  // namespace xld
}  // namespace vexa
