// The runtime's graphics windows, for now as off-screen rasters: each open
// window is an RGB raster of its extents with the drawing state that the
// display operators use. Handles count up from 1 and are never reused, so
// a handle that was closed stays invalid (VERR_WINDOW_INVALID). Every open
// window is also on the runtime's window stack.
//
// Threads: all functions are safe to call concurrently (one mutex); a
// window's state is only reached inside WithWindow, under that mutex.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "vexa/types.h"

namespace vexa {
namespace window {

// Size of a window opened with width or height -1.
constexpr int32_t kDefaultSide = 512;
// Largest width or height of a window's raster.
constexpr int32_t kMaxSide = 4096;

struct Rgb {
  uint8_t r, g, b;
};

inline bool operator==(const Rgb& a, const Rgb& b) {
  return a.r == b.r && a.g == b.g && a.b == b.b;
}

enum class DrawMode { kFill, kMargin };

struct Window {
  int32_t row = 0;  // position on the screen, kept for get_window_extents
  int32_t column = 0;
  int32_t width = 0;
  int32_t height = 0;
  std::vector<Rgb> raster;  // width * height pixels in row order
  Rgb color{255, 255, 255};
  DrawMode draw = DrawMode::kFill;
  int32_t line_width = 1;  // of lines and outlines, in pixels

  // Sets pixel (r, c) to `value` if it lies in the raster.
  void Put(int32_t r, int32_t c, Rgb value) {
    if (r >= 0 && r < height && c >= 0 && c < width)
      raster[static_cast<size_t>(r) * width + c] = value;
  }
  // The same in the current colour.
  void Plot(int32_t r, int32_t c) { Put(r, c, color); }
  // Mixes the current colour into pixel (r, c) by `coverage` in [0, 1]:
  // the edge pixels of anti-aliased drawing.
  void Blend(int32_t r, int32_t c, double coverage) {
    if (r < 0 || r >= height || c < 0 || c >= width || coverage <= 0.0) return;
    Rgb& p = raster[static_cast<size_t>(r) * width + c];
    const double a = coverage >= 1.0 ? 1.0 : coverage;
    p.r = static_cast<uint8_t>(p.r + (color.r - p.r) * a + 0.5);
    p.g = static_cast<uint8_t>(p.g + (color.g - p.g) * a + 0.5);
    p.b = static_cast<uint8_t>(p.b + (color.b - p.b) * a + 0.5);
  }
  // Resizes the raster to width * height and clears it to black.
  void Resize(int32_t w, int32_t h);
};

// Opens a window; a width or height of -1 takes kDefaultSide. Sizes below 1
// (other than -1) or above kMaxSide give VERR_CTRL_VALUE of the width (2)
// or height (3) parameter.
Vresult Open(int32_t row, int32_t column, int32_t width, int32_t height,
             Vlong* handle);
// Closes a window and takes it off the window stack.
Vresult Close(Vlong handle);
// Runs `fn` on the window of `handle` under the registry's lock and returns
// its result; VERR_WINDOW_INVALID when no such window is open. `fn` must
// not call back into the registry.
Vresult WithWindow(Vlong handle, const std::function<Vresult(Window&)>& fn);

}  // namespace window
}  // namespace vexa
