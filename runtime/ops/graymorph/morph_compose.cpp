#include "ops/graymorph/morph_compose.h"

namespace vexa {
namespace {

Vresult Difference(const cv::Mat& a, const cv::Mat& b, cv::Mat& dst, const cv::Rect& rect) {
  cv::Mat out = dst(rect);
  cv::subtract(a(rect), b(rect), out);
  return VRESULT_OK;
}

}  // namespace

Vresult MorphImages(OpContext& ctx, MorphOp op, int my, int mx, const ChannelFilter& erode,
                    const ChannelFilter& dilate) {
  const Border mirror;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) -> Vresult {
    switch (op) {
      case MorphOp::kErosion:
        return erode(src, dst, rect);
      case MorphOp::kDilation:
        return dilate(src, dst, rect);
      case MorphOp::kOpening:
        return ChainFilters(src, dst, rect, my, mx, mirror, erode, dilate);
      case MorphOp::kClosing:
        return ChainFilters(src, dst, rect, my, mx, mirror, dilate, erode);
      case MorphOp::kTopHat: {
        const Vresult rc = ChainFilters(src, dst, rect, my, mx, mirror, erode, dilate);
        return rc == VRESULT_OK ? Difference(src, dst, dst, rect) : rc;
      }
      case MorphOp::kBotHat: {
        const Vresult rc = ChainFilters(src, dst, rect, my, mx, mirror, dilate, erode);
        return rc == VRESULT_OK ? Difference(dst, src, dst, rect) : rc;
      }
      case MorphOp::kRange:
        break;
    }
    cv::Mat low(src.size(), src.type());
    Vresult rc = erode(src, low, rect);
    if (rc == VRESULT_OK) rc = dilate(src, dst, rect);
    return rc == VRESULT_OK ? Difference(dst, low, dst, rect) : rc;
  }, FilterWrites::kAll);
}

}  // namespace vexa
