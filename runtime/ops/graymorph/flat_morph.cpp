// Flat gray morphology over rectangles and shapes: gray_erosion_rect,
// gray_dilation_rect, gray_opening_rect, gray_closing_rect,
// gray_range_rect and the _shape forms with "rectangle", "rhombus" or
// "octagon" masks of real size.
#include <cmath>

#include "ops/graymorph/flat_extreme.h"
#include "ops/graymorph/morph_compose.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult FlatMorph(OpContext& ctx, MorphOp op, const NeighbourMask& mask) {
  auto pass = [&mask](Extreme e) {
    return [&mask, e](const cv::Mat& s, cv::Mat& d, const cv::Rect& r) {
      FlatExtremeFilter(s, d, r, mask, e);
      return VRESULT_OK;
    };
  };
  return MorphImages(ctx, op, mask.ry(), mask.rx(), pass(Extreme::kMin), pass(Extreme::kMax));
}

// mask_height and mask_width at pars 0 and 1.
Vresult RectMorph(OpContext& ctx, MorphOp op) {
  int h = 0, w = 0;
  Vresult rc = ReadMaskSide(ctx, 0, &h);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &w);
  return rc == VRESULT_OK ? FlatMorph(ctx, op, NeighbourMask::Rectangle(h, w)) : rc;
}

// mask_height, mask_width (real, 1 to kMaxMaskSide) and mask_shape; the
// half sizes are (side - 1) / 2.
Vresult ShapeMorph(OpContext& ctx, MorphOp op) {
  double h = 0.0, w = 0.0;
  int shape = 0;
  Vresult rc = ReadReal(ctx, 0, 1.0, kMaxMaskSide, &h);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 1.0, kMaxMaskSide, &w);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 2, {"rectangle", "rhombus", "octagon"}, &shape);
  if (rc != VRESULT_OK) return rc;
  const double a = (w - 1) / 2, b = (h - 1) / 2;
  switch (shape) {
    case 0: {
      const int ra = static_cast<int>(std::floor(a)), rb = static_cast<int>(std::floor(b));
      return FlatMorph(ctx, op, NeighbourMask::Rectangle(2 * rb + 1, 2 * ra + 1));
    }
    case 1:
      return FlatMorph(ctx, op, NeighbourMask::Rhombus(a, b));
    default:
      return FlatMorph(ctx, op, NeighbourMask::Octagon(a, b));
  }
}

}  // namespace

VEXA_OPERATOR(gray_erosion_rect) { return RectMorph(ctx, MorphOp::kErosion); }
VEXA_OPERATOR(gray_dilation_rect) { return RectMorph(ctx, MorphOp::kDilation); }
VEXA_OPERATOR(gray_opening_rect) { return RectMorph(ctx, MorphOp::kOpening); }
VEXA_OPERATOR(gray_closing_rect) { return RectMorph(ctx, MorphOp::kClosing); }
VEXA_OPERATOR(gray_range_rect) { return RectMorph(ctx, MorphOp::kRange); }

VEXA_OPERATOR(gray_erosion_shape) { return ShapeMorph(ctx, MorphOp::kErosion); }
VEXA_OPERATOR(gray_dilation_shape) { return ShapeMorph(ctx, MorphOp::kDilation); }
VEXA_OPERATOR(gray_opening_shape) { return ShapeMorph(ctx, MorphOp::kOpening); }
VEXA_OPERATOR(gray_closing_shape) { return ShapeMorph(ctx, MorphOp::kClosing); }

}  // namespace vexa
