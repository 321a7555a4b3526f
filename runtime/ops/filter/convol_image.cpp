// convol_image: convolution with a filter mask given as the name of a mask
// file or as a tuple [width, height, divisor, c0, ..., cN-1] with the
// coefficients in the file's order (column by column). The sum of weight
// times neighbour is computed in double over a bordered tile (margin
// "mirrored", "cyclic", "continued" or a constant gray value) and stored
// rounded in the input's type. A true convolution: the mask is mirrored
// about its centre before it is laid on the image.
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/filter/filter_mask_text.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult MaskOfTuple(const OpContext& ctx, FilterMask* mask) {
  std::vector<double> v;
  if (ctx.GetDoubles(0, v) != VRESULT_OK) return VERR_CTRL_TYPE(0);
  if (v.size() < 4) return VERR_CTRL_NUM(0);
  for (double x : v)
    if (!std::isfinite(x)) return VERR_CTRL_VALUE(0);
  const double w = v[0], h = v[1];
  if (w != std::floor(w) || h != std::floor(h) || w < 1 || h < 1 || w > kMaxMaskSide ||
      h > kMaxMaskSide || std::fmod(w, 2.0) == 0.0 || std::fmod(h, 2.0) == 0.0)
    return VERR_CTRL_VALUE(0);
  if (v.size() != 3 + static_cast<size_t>(w * h)) return VERR_CTRL_NUM(0);
  SetFilterMask(static_cast<int>(w), static_cast<int>(h), v[2],
                std::vector<double>(v.begin() + 3, v.end()), mask);
  return VRESULT_OK;
}

Vresult ReadMask(const OpContext& ctx, FilterMask* mask) {
  if (ctx.CtrlNum(0) == 1 && ctx.CtrlElem(0, 0).type == VPAR_STRING) {
    const char* name = nullptr;
    Vresult rc = ctx.GetString(0, &name);
    if (rc == VRESULT_OK) rc = ReadFilterMaskFile(name, mask);
    if (rc == VRESULT_OK && (mask->width > kMaxMaskSide || mask->height > kMaxMaskSide))
      rc = VERR_TOO_LARGE;
    return rc;
  }
  return MaskOfTuple(ctx, mask);
}

}  // namespace

VEXA_OPERATOR(convol_image) {
  FilterMask mask;
  Border border;
  Vresult rc = ReadMask(ctx, &mask);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 1, &border);
  if (rc != VRESULT_OK) return rc;
  cv::Mat kernel;
  cv::flip(cv::Mat(mask.height, mask.width, CV_64F, mask.weights.data()), kernel, -1);
  const int my = mask.height / 2, mx = mask.width / 2;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat tile, sum;
    BorderedTile(src, rect, my, mx, border).convertTo(tile, CV_64F);
    cv::filter2D(tile(cv::Rect(mx, my, rect.width, rect.height)), sum, CV_64F, kernel);
    cv::Mat out = dst(rect);
    sum.convertTo(out, dst.type());
    return VRESULT_OK;
  });
}

}  // namespace vexa
