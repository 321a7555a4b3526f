// convol_image: convolution with a filter mask given as the name of a mask
// file or as a tuple [width, height, divisor, c0, ..., cN-1] with the
// coefficients in the file's order (column by column). The sum of weight
// times neighbour is computed in double over a bordered tile (margin
// "mirrored", "cyclic", "continued" or a constant gray value) and stored
// rounded in the input's type. A true convolution: the mask is mirrored
// about its centre before it is laid on the image.
#include "ops/filter/filter_mask_text.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
VEXA_OPERATOR(convol_image) {
  FilterMask mask;
  Border border;
  Vresult rc = ReadFilterMaskParam(ctx, 0, &mask);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 1, &border);
  if (rc != VRESULT_OK) return rc;
  const cv::Mat kernel(mask.height, mask.width, CV_64F, mask.weights.data());
  const cv::Point centre(mask.width / 2, mask.height / 2);
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    ConvolveRect(src, dst, rect, kernel, centre, border);
    return VRESULT_OK;
  });
}

}  // namespace vexa
