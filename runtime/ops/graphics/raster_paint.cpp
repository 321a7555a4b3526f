// Painting regions and images into a window's raster (see raster_paint.h).
#include "ops/graphics/raster_paint.h"

#include "vexa/errors.h"

namespace vexa {

namespace {

// The part of `region` that can affect the raster: one pixel beyond each
// edge is kept, so that the margin test sees the true neighbours of every
// pixel inside.
RegionPtr VisiblePart(const window::Window& w, const Region& region) {
  return region.ClipToRectangle(-1, -1, w.height, w.width);
}

bool OnMargin(const Region& region, const Chord& chord, int32_t c) {
  return c == chord.cb || c == chord.ce ||
         !region.Contains(chord.r - 1, c) || !region.Contains(chord.r + 1, c);
}

}  // namespace

void PaintRegion(window::Window& w, const Region& region) {
  const RegionPtr visible = VisiblePart(w, region);
  const bool margin = w.draw == window::DrawMode::kMargin;
  for (const Chord& chord : visible->chords())
    for (int32_t c = chord.cb; c <= chord.ce; ++c)
      if (!margin || OnMargin(*visible, chord, c)) w.Plot(chord.r, c);
}

Vresult PaintImage(window::Window& w, const db::ImageData& image, bool color) {
  const size_t channels = color ? 3 : 1;
  if (image.channels.size() < channels) return VERR_CHANNEL;
  for (size_t i = 0; i < channels; ++i)
    if (image.channels[i]->type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  const RegionPtr visible =
      image.domain->ClipToRectangle(0, 0, w.height - 1, w.width - 1);
  const int32_t width = image.channels[0]->width();
  for (const Chord& chord : visible->chords()) {
    for (int32_t c = chord.cb; c <= chord.ce; ++c) {
      const size_t at = static_cast<size_t>(chord.r) * width + c;
      uint8_t v[3];
      for (size_t i = 0; i < 3; ++i)
        v[i] = image.channels[color ? i : 0]->data()[at];
      w.Put(chord.r, c, window::Rgb{v[0], v[1], v[2]});
    }
  }
  return VRESULT_OK;
}

}  // namespace vexa
