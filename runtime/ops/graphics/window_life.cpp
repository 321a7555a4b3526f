// Opening, closing and sizing of windows, and their drawing state: colour
// and draw mode.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

struct NamedColor {
  const char* name;
  window::Rgb rgb;
};

constexpr NamedColor kColors[] = {
    {"black", {0, 0, 0}},       {"white", {255, 255, 255}},
    {"red", {255, 0, 0}},       {"green", {0, 255, 0}},
    {"blue", {0, 0, 255}},      {"yellow", {255, 255, 0}},
    {"cyan", {0, 255, 255}},    {"magenta", {255, 0, 255}},
    {"gray", {190, 190, 190}},  {"dim gray", {105, 105, 105}},
    {"orange", {255, 165, 0}},  {"pink", {255, 192, 203}},
    {"coral", {255, 127, 80}},  {"forest green", {34, 139, 34}},
    {"navy", {0, 0, 128}},      {"slate blue", {106, 90, 205}},
};

// A colour by name, or in the form "#rrggbb".
bool ParseColor(const char* text, window::Rgb* rgb) {
  for (const NamedColor& c : kColors) {
    if (std::strcmp(c.name, text) == 0) {
      *rgb = c.rgb;
      return true;
    }
  }
  if (text[0] != '#' || std::strlen(text) != 7) return false;
  for (int i = 1; i < 7; ++i)
    if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  const unsigned long v = std::strtoul(text + 1, nullptr, 16);
  *rgb = {static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
          static_cast<uint8_t>(v)};
  return true;
}

}  // namespace

// The windows are off-screen rasters: the parent window, the mode and the
// machine (parameters 4 to 6) mean nothing for them and are not read.
VEXA_OPERATOR(open_window) {
  int32_t v[4];
  for (int par = 0; par < 4; ++par) {
    const Vresult rc = GetInt32(ctx, par, &v[par]);
    if (rc != VRESULT_OK) return rc;
  }
  Vlong handle = 0;
  const Vresult rc = window::Open(v[0], v[1], v[2], v[3], &handle);
  if (rc != VRESULT_OK) return rc;
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
  const Vresult rc = OnWindow(ctx, 0, [&](window::Window& w) {
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
    w.Resize(w.width, w.height);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(set_color) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  window::Rgb rgb{};
  if (!ParseColor(name, &rgb)) return VERR_CTRL_VALUE(1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.color = rgb;
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
