// The runtime's graphics windows: each open window is an RGB raster of its
// extents with the drawing state that the display operators use. All
// drawing goes into the raster; a window on a display (an X window) only
// presents that raster through its Screen after each step. Handles count up from 1 and are never reused, so
// a handle that was closed stays invalid (VERR_WINDOW_INVALID). Every open
// window is also on the runtime's window stack.
//
// Threads: all functions are safe to call concurrently (one mutex); a
// window's state is only reached inside WithWindow, under that mutex.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "region_store.h"
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
// How a drawn pixel combines with the raster: replaces it, or flips the
// bits of the drawing colour (drawing twice restores the raster).
enum class InsertMode { kCopy, kXor };

struct Window;

// One pointer event of a display, in raster coordinates (column x = 0 at
// the left edge of the raster, row y = 0 at its top).
struct PointerEvent {
  enum class Kind { kPress, kRelease, kMotion } kind = Kind::kMotion;
  int button = 0;  // 1 left, 2 middle, 3 right; 0 for a motion
  double row = 0, column = 0;
};

// A window on a display: it shows the raster and reports the pointer.
// Every call happens under the registry's lock.
class Screen {
 public:
  virtual ~Screen() = default;
  // Shows `raster` (w.width x w.height) in the display window.
  virtual void Present(const Window& w, const std::vector<Rgb>& raster) = 0;
  // The next pending pointer event, without waiting; false when none.
  virtual bool NextEvent(PointerEvent* event) = 0;
  // The pointer's position in raster coordinates and the buttons held
  // (1 left, 2 middle, 4 right, summed).
  virtual void Pointer(double* row, double* column, int* buttons) = 0;
  // The display's identifier of the window (the X window id).
  virtual unsigned long Id() const = 0;
  virtual void SetTitle(const std::string& title) = 0;
};

struct Window {
  int32_t row = 0;  // position on the screen, kept for get_window_extents
  int32_t column = 0;
  int32_t width = 0;
  int32_t height = 0;
  std::vector<Rgb> raster;  // width * height pixels in row order
  Rgb color{255, 255, 255};
  DrawMode draw = DrawMode::kFill;
  int32_t line_width = 1;  // of lines and outlines, in pixels
  // The image part shown: rows part_row1..part_row2 and columns
  // part_col1..part_col2 fill the raster (set_part); Resize resets it to
  // the raster's own size, which shows images at zoom 1.
  int32_t part_row1 = 0, part_col1 = 0, part_row2 = 0, part_col2 = 0;
  // Several colours: the objects of one display call take them in turn.
  std::vector<Rgb> colors;  // empty: every object in `color`
  // Dashes: lengths in raster pixels, drawn and skipped alternately;
  // empty for solid lines.
  std::vector<int32_t> line_style;
  std::string lut_name = "default";
  std::vector<Rgb> lut;  // 256 entries; empty for the gray identity
  std::string shape = "original";
  RegionPtr icon;  // shown for each region in shape "icon"; null: none
  bool comprise_image = false;  // disp_image ignores the domain
  InsertMode insert = InsertMode::kCopy;
  int32_t line_approx = 0;
  std::string font = "mono-8";
  int32_t font_scale = 1;
  double text_row = 0, text_col = 0;  // image coordinates
  Rgb background{0, 0, 0};  // of clear_window
  std::string title;  // shown by a display
  std::unique_ptr<Screen> screen;  // null for an off-screen window

  // Sets pixel (r, c) to `value` if it lies in the raster.
  void Put(int32_t r, int32_t c, Rgb value) {
    if (r < 0 || r >= height || c < 0 || c >= width) return;
    Rgb& p = raster[static_cast<size_t>(r) * width + c];
    if (insert == InsertMode::kXor)
      p = Rgb{static_cast<uint8_t>(p.r ^ value.r), static_cast<uint8_t>(p.g ^ value.g),
              static_cast<uint8_t>(p.b ^ value.b)};
    else
      p = value;
  }
  // The same in the current colour.
  void Plot(int32_t r, int32_t c) { Put(r, c, color); }
  // Mixes the current colour into pixel (r, c) by `coverage` in [0, 1]:
  // the edge pixels of anti-aliased drawing.
  void Blend(int32_t r, int32_t c, double coverage) {
    if (r < 0 || r >= height || c < 0 || c >= width || coverage <= 0.0) return;
    // Xor has no partial pixels: the pixel flips when mostly covered.
    if (insert == InsertMode::kXor) {
      if (coverage >= 0.5) Put(r, c, color);
      return;
    }
    Rgb& p = raster[static_cast<size_t>(r) * width + c];
    const double a = coverage >= 1.0 ? 1.0 : coverage;
    p.r = static_cast<uint8_t>(p.r + (color.r - p.r) * a + 0.5);
    p.g = static_cast<uint8_t>(p.g + (color.g - p.g) * a + 0.5);
    p.b = static_cast<uint8_t>(p.b + (color.b - p.b) * a + 0.5);
  }
  // Resizes the raster to width * height, clears it to the background
  // and shows the whole raster at zoom 1.
  void Resize(int32_t w, int32_t h);
  void Clear() { raster.assign(raster.size(), background); }
};

// Opens a window; a width or height of -1 takes kDefaultSide. Sizes below 1
// (other than -1) or above kMaxSide give VERR_CTRL_VALUE of the width (2)
// or height (3) parameter.
Vresult Open(int32_t row, int32_t column, int32_t width, int32_t height,
             Vlong* handle);
// Closes a window and takes it off the window stack.
Vresult Close(Vlong handle);
// Gives an open window its display (before anyone else can draw in it).
Vresult AttachScreen(Vlong handle, std::unique_ptr<Screen> screen);
// Runs `fn` on the window of `handle` under the registry's lock and returns
// its result; VERR_WINDOW_INVALID when no such window is open. `fn` must
// not call back into the registry. A window on a display shows its raster
// afterwards, unless `present` is false (steps that only read, or draw
// their own preview).
Vresult WithWindow(Vlong handle, const std::function<Vresult(Window&)>& fn,
                   bool present = true);

}  // namespace window
}  // namespace vexa
