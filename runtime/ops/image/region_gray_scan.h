// The loop of the operators that measure gray values in regions: the
// regions at input object 1, the one image at input object 2, and for each
// region the scan of its pixels inside the image's domain.
#pragma once

#include "ops/common/domain_scan.h"
#include "ops/common/op_objects.h"

namespace vexa {

// fn(const PixelBuffer& channel0, const DomainScan&, Vlong index) per
// region, stopping at the first failure. Complex images are refused.
template <class Fn>
Vresult ForEachRegionScan(OpContext& ctx, Fn&& fn) {
  Vkey image_key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(2, &image_key);
  db::ImageData image;
  if (rc == VRESULT_OK) rc = InpImage(2, image_key, &image);
  if (rc != VRESULT_OK) return rc;
  if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  return ctx.ForEachInpObj(1, [&](Vkey key, Vlong i) {
    RegionPtr region;
    const Vresult r = InpRegion(1, key, &region);
    if (r != VRESULT_OK) return r;
    return fn(*image.channels[0], DomainScan::Within(*region, image), i);
  });
}

}  // namespace vexa
