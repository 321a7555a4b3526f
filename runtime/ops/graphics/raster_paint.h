// Painting regions and images into a window's raster.
#pragma once

#include "objdb.h"
#include "region_store.h"
#include "window_registry.h"

namespace vexa {

// Paints `region` in the window's colour: all its pixels in fill mode, in
// margin mode only its boundary, the pixels with a 4-neighbour outside the
// region (which form an 8-connected outline). Parts outside the raster are
// cut off.
void PaintRegion(window::Window& w, const Region& region);

// Paints the pixels of an image's domain: three channels or more as red,
// green and blue when `color` is set, otherwise the first channel as gray.
// Only byte images can be shown (VERR_PIXEL_TYPE); `color` needs three
// channels (VERR_CHANNEL).
Vresult PaintImage(window::Window& w, const db::ImageData& image, bool color);

}  // namespace vexa
