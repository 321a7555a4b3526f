// Painting regions and images into a window's raster, through the
// window's view (window_view.h).
#pragma once

#include <vector>

#include "objdb.h"
#include "region_store.h"
#include "window_registry.h"

namespace vexa {

// Paints `region` in the window's colour: all its pixels in fill mode, in
// margin mode only its boundary, the pixels with a 4-neighbour outside the
// region (which form an 8-connected outline). Each pixel covers the raster
// block that shows it; parts outside the raster are cut off.
void PaintRegion(window::Window& w, const Region& region);

// Paints an image: the pixels of its domain, or all of them when the window
// comprises the whole image. `channels` holds one channel index, shown
// gray through the window's look-up table, or three, shown as red, green
// and blue. Only byte channels can be shown (VERR_PIXEL_TYPE); an index
// beyond the image's channels is VERR_CHANNEL.
Vresult PaintImage(window::Window& w, const db::ImageData& image,
                   const std::vector<size_t>& channels);

}  // namespace vexa
