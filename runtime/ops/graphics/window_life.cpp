// Opening, closing and sizing of windows, and their drawing state: colour
// and draw mode.
#include <cstring>
#include <string>
#include <vector>

#include "ops/graphics/color_names.h"
#include "ops/graphics/window_op_util.h"
#include "ops/graphics/window_type.h"
#include "registry.h"

namespace vexa {

// Off-screen or on the display by the window type (window_type.h). The
// parent window, the mode and the machine (parameters 4 to 6) are not
// read: X windows open top-level on the display DISPLAY names.
VEXA_OPERATOR(open_window) {
  int32_t v[4];
  for (int par = 0; par < 4; ++par) {
    const Vresult rc = GetInt32(ctx, par, &v[par]);
    if (rc != VRESULT_OK) return rc;
  }
  Vlong handle = 0;
  Vresult rc = window::Open(v[0], v[1], v[2], v[3], &handle);
  if (rc == VRESULT_OK) rc = SetUpNewWindow(handle);
  if (rc != VRESULT_OK) {
    if (handle != 0) window::Close(handle);
    return rc;
  }
  return ctx.SetOutpLong(0, handle);
}

VEXA_OPERATOR(close_window) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(0, &handle);
  if (rc != VRESULT_OK) return rc;
  return window::Close(handle);
}

VEXA_OPERATOR(get_window_extents) {
  int32_t v[4] = {0, 0, 0, 0};
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    v[0] = w.row;
    v[1] = w.column;
    v[2] = w.width;
    v[3] = w.height;
    return VRESULT_OK;
  });
  for (int par = 0; rc == VRESULT_OK && par < 4; ++par) {
    const Vresult out = ctx.SetOutpLong(par, v[par]);
    if (out != VRESULT_OK) return out;
  }
  return rc;
}

// Moves and resizes a window; a width or height of -1 keeps the current
// one. A new size clears the raster.
VEXA_OPERATOR(set_window_extents) {
  int32_t v[4];
  for (int par = 1; par < 5; ++par) {
    const Vresult rc = GetInt32(ctx, par, &v[par - 1]);
    if (rc != VRESULT_OK) return rc;
  }
  for (int i = 2; i < 4; ++i)
    if (v[i] != -1 && (v[i] < 1 || v[i] > window::kMaxSide))
      return VERR_CTRL_VALUE(i + 1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    const int32_t width = v[2] == -1 ? w.width : v[2];
    const int32_t height = v[3] == -1 ? w.height : v[3];
    w.row = v[0];
    w.column = v[1];
    if (width != w.width || height != w.height) w.Resize(width, height);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(clear_window) {
  return OnWindow(ctx, 0, [](window::Window& w) {
    w.Clear();
    return VRESULT_OK;
  });
}

// One colour, or several that the objects of each display call take in
// turn.
VEXA_OPERATOR(set_color) {
  std::vector<const char*> names;
  const Vresult rc = ctx.GetStrings(1, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(1);
  std::vector<window::Rgb> colors(names.size());
  for (size_t i = 0; i < names.size(); ++i)
    if (!ParseColor(names[i], &colors[i])) return VERR_CTRL_VALUE(1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.color = colors[0];
    w.colors.clear();
    if (colors.size() > 1) w.colors = colors;
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(set_draw) {
  const char* mode = nullptr;
  const Vresult rc = ctx.GetString(1, &mode);
  if (rc != VRESULT_OK) return rc;
  window::DrawMode draw;
  if (std::strcmp(mode, "fill") == 0)
    draw = window::DrawMode::kFill;
  else if (std::strcmp(mode, "margin") == 0)
    draw = window::DrawMode::kMargin;
  else
    return VERR_CTRL_VALUE(1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.draw = draw;
    return VRESULT_OK;
  });
}

}  // namespace vexa
