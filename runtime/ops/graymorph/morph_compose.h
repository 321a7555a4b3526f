// The gray morphology operators built from one erosion and one dilation:
// opening, closing, top hat, bottom hat and range, shared by the
// structuring-image, rectangle and shape forms.
#pragma once

#include "ops/filter/filter_support.h"

namespace vexa {

enum class MorphOp { kErosion, kDilation, kOpening, kClosing, kTopHat, kBotHat, kRange };

// One result per image of input object 1 into output object 1 (types as
// FilterableType). `erode` and `dilate` compute their result over a
// rectangle reading up to my rows and mx columns around it. Opening is the
// dilation of the erosion, closing the erosion of the dilation; top hat is
// image - opening, bottom hat closing - image, range dilation - erosion.
// Every step is rounded and clipped to the image's type.
Vresult MorphImages(OpContext& ctx, MorphOp op, int my, int mx, const ChannelFilter& erode,
                    const ChannelFilter& dilate);

}  // namespace vexa
