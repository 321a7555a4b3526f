// Where image coordinates land in a window's raster. The part chosen with
// set_part fills the raster: image pixel (r, c) covers the image square
// [r - 0.5, r + 0.5) x [c - 0.5, c + 0.5), and that square is stretched
// over the raster by the part's scale. A raster pixel shows the image
// pixel under its centre (nearest neighbour), so at an integer zoom z each
// image pixel becomes exactly a z x z block.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "window_registry.h"

namespace vexa {

struct RealPoint {
  double row, column;
};

class View {
 public:
  explicit View(const window::Window& w)
      : row1_(w.part_row1), col1_(w.part_col1),
        scale_r_(static_cast<double>(w.height) / (w.part_row2 - w.part_row1 + 1)),
        scale_c_(static_cast<double>(w.width) / (w.part_col2 - w.part_col1 + 1)),
        height_(w.height), width_(w.width) {}

  double scale_row() const { return scale_r_; }
  double scale_col() const { return scale_c_; }

  RealPoint ToRaster(RealPoint p) const {
    return {(p.row - row1_ + 0.5) * scale_r_ - 0.5, (p.column - col1_ + 0.5) * scale_c_ - 0.5};
  }
  RealPoint ToImage(RealPoint p) const {
    return {(p.row + 0.5) / scale_r_ + row1_ - 0.5, (p.column + 0.5) / scale_c_ + col1_ - 0.5};
  }
  // The raster rows showing image row r, clamped to one beyond the raster;
  // none when *last < *first.
  void Rows(int32_t r, int32_t* first, int32_t* last) const {
    Span(r - row1_, scale_r_, height_, first, last);
  }
  void Cols(int32_t c, int32_t* first, int32_t* last) const {
    Span(c - col1_, scale_c_, width_, first, last);
  }

 private:
  // Raster pixel k shows offset floor((k + 0.5) / scale), so offset i is
  // shown by ceil(i * scale - 0.5) <= k < ceil((i + 1) * scale - 0.5).
  static void Span(int64_t i, double scale, int32_t size, int32_t* first, int32_t* last) {
    const double lo = std::ceil(static_cast<double>(i) * scale - 0.5);
    const double hi = std::ceil(static_cast<double>(i + 1) * scale - 0.5) - 1;
    *first = static_cast<int32_t>(std::clamp(lo, -1.0, static_cast<double>(size)));
    *last = static_cast<int32_t>(std::clamp(hi, -1.0, static_cast<double>(size)));
  }

  int32_t row1_, col1_;
  double scale_r_, scale_c_;
  int32_t height_, width_;
};

// Fills the raster block that shows image pixel (r, c) with `value`.
inline void PutImagePixel(window::Window& w, const View& view, int32_t r, int32_t c,
                          window::Rgb value) {
  int32_t r0, r1, c0, c1;
  view.Rows(r, &r0, &r1);
  view.Cols(c, &c0, &c1);
  for (int32_t y = r0; y <= r1; ++y)
    for (int32_t x = c0; x <= c1; ++x) w.Put(y, x, value);
}

}  // namespace vexa
