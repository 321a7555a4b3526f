// Painting regions and images into a window's raster (see raster_paint.h).
#include "ops/graphics/raster_paint.h"

#include "ops/graphics/window_view.h"
#include "vexa/errors.h"

namespace vexa {

namespace {

// The part of `region` that the window's part shows; one pixel beyond each
// edge is kept, so that the margin test sees the true neighbours of every
// pixel inside.
RegionPtr VisiblePart(const window::Window& w, const Region& region, int32_t border) {
  return region.ClipToRectangle(w.part_row1 - border, w.part_col1 - border,
                                w.part_row2 + border, w.part_col2 + border);
}

bool OnMargin(const Region& region, const Chord& chord, int32_t c) {
  return c == chord.cb || c == chord.ce ||
         !region.Contains(chord.r - 1, c) || !region.Contains(chord.r + 1, c);
}

}  // namespace

void PaintRegion(window::Window& w, const Region& region) {
  const View view(w);
  const RegionPtr visible = VisiblePart(w, region, 1);
  const bool margin = w.draw == window::DrawMode::kMargin;
  for (const Chord& chord : visible->chords())
    for (int32_t c = chord.cb; c <= chord.ce; ++c)
      if (!margin || OnMargin(*visible, chord, c)) PutImagePixel(w, view, chord.r, c, w.color);
}

Vresult PaintImage(window::Window& w, const db::ImageData& image,
                   const std::vector<size_t>& channels) {
  for (size_t ch : channels) {
    if (ch >= image.channels.size()) return VERR_CHANNEL;
    if (image.channels[ch]->type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  }
  const int32_t width = image.channels[0]->width();
  const int32_t height = image.channels[0]->height();
  const RegionPtr whole = Region::Rectangle(0, 0, height - 1, width - 1);
  const RegionPtr visible = VisiblePart(w, w.comprise_image ? *whole : *image.domain, 0);
  const bool gray = channels.size() == 1;
  const uint8_t* src[3];
  for (size_t i = 0; i < 3; ++i) src[i] = image.channels[channels[gray ? 0 : i]]->data();
  const View view(w);
  for (const Chord& chord : visible->chords()) {
    for (int32_t c = chord.cb; c <= chord.ce; ++c) {
      const size_t at = static_cast<size_t>(chord.r) * width + c;
      const window::Rgb value =
          gray ? (w.lut.empty() ? window::Rgb{src[0][at], src[0][at], src[0][at]} : w.lut[src[0][at]])
               : window::Rgb{src[0][at], src[1][at], src[2][at]};
      PutImagePixel(w, view, chord.r, c, value);
    }
  }
  return VRESULT_OK;
}

}  // namespace vexa
