// How a window shows what it is given: several colours, line style, gray
// look-up table, paint mode, region shape and icon, image comprise, insert
// mode, contour approximation and the colour in hue, saturation and
// intensity; the set_/get_ operators of each.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/graphics/color_names.h"
#include "ops/graphics/gray_lut.h"
#include "ops/graphics/region_shape_display.h"
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Input `par` as one of the texts `choices`.
Vresult GetChoice(const OpContext& ctx, int par, std::initializer_list<const char*> choices,
                  std::string* value) {
  const char* text = nullptr;
  const Vresult rc = ctx.GetString(par, &text);
  if (rc != VRESULT_OK) return rc;
  for (const char* c : choices)
    if (std::strcmp(c, text) == 0) {
      *value = text;
      return VRESULT_OK;
    }
  return VERR_CTRL_VALUE(par);
}

// Sets one field of the window of input 0.
template <class Set>
Vresult SetOnWindow(const OpContext& ctx, Set&& set) {
  return OnWindow(ctx, 0, [&](window::Window& w) {
    set(w);
    return VRESULT_OK;
  }, false);
}

// Output 0 as the text get(window) of the window of input 0.
template <class Get>
Vresult OutText(OpContext& ctx, Get&& get) {
  std::string text;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    text = get(w);
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpString(0, text.c_str());
}

std::vector<std::string> Names(const char* const* names, size_t n) {
  return std::vector<std::string>(names, names + n);
}

// Paint modes that other viewers know and a window here does not draw.
constexpr const char* kOtherPaintModes[] = {"row", "column", "3d_plot", "contourline",
                                            "histogram", "component_histogram",
                                            "line_profile"};

}  // namespace

// The first num_colors of the named colours (3, 6 or 12), taken in turn by
// the objects of each display call.
VEXA_OPERATOR(set_colored) {
  Vlong n = 0;
  const Vresult rc = ctx.GetLong(1, &n);
  if (rc != VRESULT_OK) return rc;
  if (n != 3 && n != 6 && n != 12) return VERR_CTRL_VALUE(1);
  return SetOnWindow(ctx, [&](window::Window& w) {
    w.colors = FirstColors(static_cast<size_t>(n));
    w.color = w.colors[0];
  });
}

VEXA_OPERATOR(query_colored) { return ctx.SetOutpLongs(0, {3, 6, 12}); }

// Dash lengths in raster pixels, drawn and skipped in turn; none for solid
// lines.
VEXA_OPERATOR(set_line_style) {
  std::vector<Vlong> style;
  const Vresult rc = ctx.GetLongs(1, style);
  if (rc != VRESULT_OK) return rc;
  if (style.size() % 2 != 0) return VERR_CTRL_NUM(1);
  for (Vlong v : style)
    if (v < 1 || v > window::kMaxSide) return VERR_CTRL_VALUE(1);
  return SetOnWindow(ctx, [&](window::Window& w) {
    w.line_style.assign(style.begin(), style.end());
  });
}

VEXA_OPERATOR(get_line_style) {
  std::vector<Vlong> style;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    style.assign(w.line_style.begin(), w.line_style.end());
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpLongs(0, style);
}

// A table by name (gray_lut.h), or 256 gray values, or 256 red, 256 green
// and 256 blue values.
VEXA_OPERATOR(set_lut) {
  std::string name;
  std::vector<window::Rgb> lut;
  if (ctx.CtrlNum(1) == 1) {
    const char* text = nullptr;
    const Vresult rc = ctx.GetString(1, &text);
    if (rc != VRESULT_OK) return rc;
    if (!NamedLut(text, &lut)) return VERR_CTRL_VALUE(1);
    name = text;
  } else {
    std::vector<Vlong> v;
    const Vresult rc = ctx.GetLongs(1, v);
    if (rc != VRESULT_OK) return rc;
    if (v.size() != 256 && v.size() != 768) return VERR_CTRL_NUM(1);
    for (Vlong x : v)
      if (x < 0 || x > 255) return VERR_CTRL_VALUE(1);
    const size_t green = v.size() == 768 ? 256 : 0, blue = 2 * green;
    lut.resize(256);
    for (size_t g = 0; g < 256; ++g)
      lut[g] = {static_cast<uint8_t>(v[g]), static_cast<uint8_t>(v[g + green]),
                static_cast<uint8_t>(v[g + blue])};
  }
  return SetOnWindow(ctx, [&](window::Window& w) {
    w.lut_name = name;
    w.lut = lut;
  });
}

// The name of the table, or its 768 values when it was set by values.
VEXA_OPERATOR(get_lut) {
  std::string name;
  std::vector<Vlong> values;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    name = w.lut_name;
    for (int ch = 0; ch < 3 && name.empty(); ++ch)
      for (const window::Rgb& e : w.lut) values.push_back(ch == 0 ? e.r : ch == 1 ? e.g : e.b);
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  return name.empty() ? ctx.SetOutpLongs(0, values) : ctx.SetOutpString(0, name.c_str());
}

VEXA_OPERATOR(query_lut) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, Names(kLutNames, kNumLutNames));
}

// Images are painted as they are ("default"); the plots other viewers
// draw instead are VERR_WINDOW_MODE here.
VEXA_OPERATOR(set_paint) {
  std::vector<const char*> mode;
  const Vresult rc = ctx.GetStrings(1, mode);
  if (rc != VRESULT_OK) return rc;
  if (mode.empty()) return VERR_CTRL_NUM(1);
  const Vresult valid = CheckWindow(ctx, 0);
  if (valid != VRESULT_OK) return valid;
  if (std::strcmp(mode[0], "default") == 0) return mode.size() == 1 ? VRESULT_OK : VERR_CTRL_NUM(1);
  for (const char* other : kOtherPaintModes)
    if (std::strcmp(mode[0], other) == 0) return VERR_WINDOW_MODE;
  return VERR_CTRL_VALUE(1);
}

VEXA_OPERATOR(get_paint) {
  return OutText(ctx, [](window::Window&) { return std::string("default"); });
}

VEXA_OPERATOR(query_paint) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, {"default"});
}

VEXA_OPERATOR(set_shape) {
  const char* shape = nullptr;
  const Vresult rc = ctx.GetString(1, &shape);
  if (rc != VRESULT_OK) return rc;
  if (!IsRegionShape(shape)) return VERR_CTRL_VALUE(1);
  return SetOnWindow(ctx, [&](window::Window& w) { w.shape = shape; });
}

VEXA_OPERATOR(get_shape) {
  return OutText(ctx, [](window::Window& w) { return w.shape; });
}

VEXA_OPERATOR(query_shape) {
  return ctx.SetOutpStrings(0, Names(kRegionShapes, kNumRegionShapes));
}

// The region shown for each region in shape "icon", centred on it.
VEXA_OPERATOR(set_icon) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(1, &key);
  RegionPtr icon;
  if (rc == VRESULT_OK) rc = InpRegion(1, key, &icon);
  if (rc != VRESULT_OK) return rc;
  return SetOnWindow(ctx, [&](window::Window& w) { w.icon = icon; });
}

// The icon, or the empty region when none was set.
VEXA_OPERATOR(get_icon) {
  RegionPtr icon;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    icon = w.icon ? w.icon : Region::Empty();
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  const Vresult made = db::NewRegion(icon, &key);
  if (made != VRESULT_OK) return made;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

// "object": images show their domain; "image": all their pixels.
VEXA_OPERATOR(set_comprise) {
  std::string mode;
  const Vresult rc = GetChoice(ctx, 1, {"object", "image"}, &mode);
  if (rc != VRESULT_OK) return rc;
  return SetOnWindow(ctx, [&](window::Window& w) { w.comprise_image = mode == "image"; });
}

VEXA_OPERATOR(get_comprise) {
  return OutText(ctx, [](window::Window& w) {
    return std::string(w.comprise_image ? "image" : "object");
  });
}

// "copy" replaces pixels, "xor" flips the bits of the drawing colour in
// them, so drawing the same twice restores the raster.
VEXA_OPERATOR(set_insert) {
  std::string mode;
  const Vresult rc = GetChoice(ctx, 1, {"copy", "xor"}, &mode);
  if (rc != VRESULT_OK) return rc;
  return SetOnWindow(ctx, [&](window::Window& w) {
    w.insert = mode == "xor" ? window::InsertMode::kXor : window::InsertMode::kCopy;
  });
}

VEXA_OPERATOR(get_insert) {
  return OutText(ctx, [](window::Window& w) {
    return std::string(w.insert == window::InsertMode::kXor ? "xor" : "copy");
  });
}

VEXA_OPERATOR(query_insert) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, {"copy", "xor"});
}

// Kept for the application to read back: contours are always drawn
// through all their points, which a raster of this size affords.
VEXA_OPERATOR(set_line_approx) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(1, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 0 || v > window::kMaxSide) return VERR_CTRL_VALUE(1);
  return SetOnWindow(ctx, [&](window::Window& w) { w.line_approx = static_cast<int32_t>(v); });
}

VEXA_OPERATOR(get_line_approx) {
  Vlong v = 0;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    v = w.line_approx;
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpLong(0, v);
}

namespace {

// Hue (0..255 for a full turn, 0 red), saturation and intensity (0..255)
// to red, green, blue, by the usual sector formulas.
window::Rgb HsiToRgb(double hue, double sat, double intensity) {
  double h = hue / 256.0 * 2.0 * kPi;
  const double s = sat / 255.0, i = intensity / 255.0;
  const double third = 2.0 * kPi / 3.0;
  const int sector = std::min(2, static_cast<int>(h / third));
  h -= sector * third;
  const double low = i * (1.0 - s);
  const double high = i * (1.0 + s * std::cos(h) / std::cos(kPi / 3.0 - h));
  const double rest = 3.0 * i - low - high;
  double v[3];  // red, green, blue
  v[sector] = high;
  v[(sector + 1) % 3] = rest;
  v[(sector + 2) % 3] = low;
  auto byte = [](double x) {
    return static_cast<uint8_t>(std::lround(std::clamp(x, 0.0, 1.0) * 255.0));
  };
  return {byte(v[0]), byte(v[1]), byte(v[2])};
}

void RgbToHsi(const window::Rgb& c, Vlong* hue, Vlong* sat, Vlong* intensity) {
  const double r = c.r, g = c.g, b = c.b;
  const double i = (r + g + b) / 3.0;
  const double m = std::min({r, g, b});
  *intensity = std::lround(i);
  *sat = i > 0.0 ? std::lround(255.0 * (1.0 - m / i)) : 0;
  const double den = std::sqrt((r - g) * (r - g) + (r - b) * (g - b));
  double h = den > 0.0 ? std::acos(std::clamp(0.5 * ((r - g) + (r - b)) / den, -1.0, 1.0)) : 0.0;
  if (b > g) h = 2.0 * kPi - h;
  *hue = std::lround(h / (2.0 * kPi) * 256.0) % 256;
}

}  // namespace

VEXA_OPERATOR(set_hsi) {
  Vlong v[3];
  for (int par = 1; par <= 3; ++par) {
    const Vresult rc = ctx.GetLong(par, &v[par - 1]);
    if (rc != VRESULT_OK) return rc;
    if (v[par - 1] < 0 || v[par - 1] > 255) return VERR_CTRL_VALUE(par);
  }
  const window::Rgb rgb = HsiToRgb(double(v[0]), double(v[1]), double(v[2]));
  return SetOnWindow(ctx, [&](window::Window& w) {
    w.color = rgb;
    w.colors.clear();
  });
}

// One value each per colour of the window: its colours in turn, or its one
// colour.
VEXA_OPERATOR(get_hsi) {
  std::vector<Vlong> h, s, i;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    const std::vector<window::Rgb> colors = w.colors.empty() ? std::vector<window::Rgb>{w.color} : w.colors;
    for (const window::Rgb& c : colors) {
      Vlong a, b, d;
      RgbToHsi(c, &a, &b, &d);
      h.push_back(a), s.push_back(b), i.push_back(d);
    }
    return VRESULT_OK;
  });
  Vresult out = rc;
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(0, h);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(1, s);
  if (out == VRESULT_OK) out = ctx.SetOutpLongs(2, i);
  return out;
}

// The colours set_color knows, the same for every window.
VEXA_OPERATOR(query_color) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, ColorNames());
}

VEXA_OPERATOR(query_all_colors) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, ColorNames());
}

// Every gray value can be shown (set_gray).
VEXA_OPERATOR(query_gray) {
  const Vresult rc = CheckWindow(ctx, 0);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> grays(256);
  for (Vlong g = 0; g < 256; ++g) grays[static_cast<size_t>(g)] = g;
  return ctx.SetOutpLongs(0, grays);
}

VEXA_OPERATOR(query_line_width) {
  Vresult rc = ctx.SetOutpLong(0, 1);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(1, window::kMaxSide);
  return rc;
}

}  // namespace vexa
