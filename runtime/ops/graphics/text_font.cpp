// Text in windows with the built-in font (font_data.h): the font and its
// size, the text position, write_string and the extents of strings.
//
// A font is named "mono" or "mono-<size>"; the size in pixels picks the
// integer factor the 8-pixel font is drawn at (size / 8, rounded, at least
// 1), so "mono-16" draws every font pixel as a 2 x 2 block. Text is drawn
// in the window's colour on what the raster shows; its position is in
// image coordinates (so it moves with set_part), its size in raster pixels.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ops/graphics/font_data.h"
#include "ops/graphics/window_op_util.h"
#include "ops/graphics/window_view.h"
#include "registry.h"

namespace vexa {

namespace {

constexpr long kMaxFontSize = 512;

// The drawing factor of a font name; false for a name that is no font.
bool ParseFont(const char* name, int32_t* scale) {
  if (std::strcmp(name, "mono") == 0) {
    *scale = 1;
    return true;
  }
  if (std::strncmp(name, "mono-", 5) != 0 || name[5] < '1' || name[5] > '9') return false;
  char* end = nullptr;
  const long size = std::strtol(name + 5, &end, 10);
  if (*end != '\0' || size > kMaxFontSize) return false;
  *scale = static_cast<int32_t>(std::max(1L, (size + font::kHeight / 2) / font::kHeight));
  return true;
}

// The values of input `par` as lines of text; numbers in their shortest
// usual form.
Vresult ReadLines(const OpContext& ctx, int par, std::vector<std::string>* lines) {
  for (Vlong i = 0; i < ctx.CtrlNum(par); ++i) {
    const Vcpar& v = ctx.CtrlElem(par, i);
    char buf[32];
    switch (v.type) {
      case VPAR_STRING: lines->emplace_back(v.par.s); break;
      case VPAR_LONG:
        std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(v.par.l));
        lines->emplace_back(buf);
        break;
      case VPAR_DOUBLE:
        std::snprintf(buf, sizeof buf, "%g", v.par.d);
        lines->emplace_back(buf);
        break;
      default: return VERR_CTRL_TYPE(par);
    }
  }
  return VRESULT_OK;
}

int64_t LineWidth(const std::string& line, int32_t scale) {
  return static_cast<int64_t>(line.size()) * font::kAdvance * scale;
}

// Draws `text` with its cell's top-left raster pixel at (top, left).
void DrawLine(window::Window& w, const std::string& text, int64_t top, int64_t left) {
  const int32_t s = w.font_scale;
  if (top >= w.height || top + int64_t{font::kHeight} * s <= 0) return;
  for (size_t i = 0; i < text.size(); ++i) {
    const int64_t x0 = left + static_cast<int64_t>(i) * font::kAdvance * s;
    if (x0 >= w.width) return;
    if (x0 + int64_t{font::kAdvance} * s <= 0) continue;
    const uint8_t* glyph = font::Glyph(static_cast<unsigned char>(text[i]));
    for (int gc = 0; gc < font::kGlyphColumns; ++gc)
      for (int gr = 0; gr < font::kGlyphRows; ++gr) {
        if (!(glyph[gc] >> gr & 1)) continue;
        for (int64_t y = top + gr * s; y < top + (gr + 1) * s; ++y)
          for (int64_t x = x0 + gc * s; x < x0 + (gc + 1) * s; ++x)
            w.Put(static_cast<int32_t>(y), static_cast<int32_t>(x), w.color);
      }
  }
}

// The raster pixel of the text position's top-left corner, kept within a
// range where the arithmetic of DrawLine cannot overflow.
void TextOrigin(const window::Window& w, int64_t* top, int64_t* left) {
  const RealPoint corner = View(w).ToRaster({w.text_row - 0.5, w.text_col - 0.5});
  constexpr double kFar = 1e12;
  *top = static_cast<int64_t>(std::llround(std::clamp(corner.row + 0.5, -kFar, kFar)));
  *left = static_cast<int64_t>(std::llround(std::clamp(corner.column + 0.5, -kFar, kFar)));
}

}  // namespace

VEXA_OPERATOR(set_font) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  int32_t scale = 1;
  if (!ParseFont(name, &scale)) return VERR_CTRL_VALUE(1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.font = name;
    w.font_scale = scale;
    return VRESULT_OK;
  }, false);
}

VEXA_OPERATOR(get_font) {
  std::string name;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    name = w.font;
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpString(0, name.c_str());
}

// The one font family; its sizes are chosen in the name ("mono-16").
VEXA_OPERATOR(query_font) {
  const Vresult rc = CheckWindow(ctx, 0);
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, {"mono"});
}

// The top-left corner of the next text, in image coordinates.
VEXA_OPERATOR(set_tposition) {
  int32_t row = 0, column = 0;
  Vresult rc = GetInt32(ctx, 1, &row);
  if (rc == VRESULT_OK) rc = GetInt32(ctx, 2, &column);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.text_row = row;
    w.text_col = column;
    return VRESULT_OK;
  }, false);
}

VEXA_OPERATOR(get_tposition) {
  double row = 0, column = 0;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    row = w.text_row;
    column = w.text_col;
    return VRESULT_OK;
  });
  Vresult out = rc;
  if (out == VRESULT_OK) out = ctx.SetOutpLong(0, std::llround(row));
  if (out == VRESULT_OK) out = ctx.SetOutpLong(1, std::llround(column));
  return out;
}

// Each value is one line, the lines one below the other from the text
// position; the position then moves to the end of the last line, so that
// the next text continues it.
VEXA_OPERATOR(write_string) {
  std::vector<std::string> lines;
  const Vresult rc = ReadLines(ctx, 1, &lines);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    if (lines.empty()) return VRESULT_OK;
    int64_t top = 0, left = 0;
    TextOrigin(w, &top, &left);
    const int64_t line_height = int64_t{font::kHeight} * w.font_scale;
    for (size_t k = 0; k < lines.size(); ++k)
      DrawLine(w, lines[k], top + static_cast<int64_t>(k) * line_height, left);
    const View view(w);
    w.text_row += static_cast<double>(lines.size() - 1) * line_height / view.scale_row();
    w.text_col += static_cast<double>(LineWidth(lines.back(), w.font_scale)) / view.scale_col();
    return VRESULT_OK;
  });
}

// The box the lines of `values` take in raster pixels: the font's ascent
// and descent, the widest line's width and the height of all lines.
VEXA_OPERATOR(get_string_extents) {
  std::vector<std::string> lines;
  const Vresult rc = ReadLines(ctx, 1, &lines);
  if (rc != VRESULT_OK) return rc;
  int32_t scale = 1;
  const Vresult found = ReadWindow(ctx, 0, [&](window::Window& w) {
    scale = w.font_scale;
    return VRESULT_OK;
  });
  if (found != VRESULT_OK) return found;
  int64_t width = 0;
  for (const std::string& line : lines) width = std::max(width, LineWidth(line, scale));
  Vresult out = ctx.SetOutpLong(0, int64_t{font::kAscent} * scale);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(1, int64_t{font::kDescent} * scale);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(2, width);
  if (out == VRESULT_OK)
    out = ctx.SetOutpLong(3, static_cast<int64_t>(lines.size()) * font::kHeight * scale);
  return out;
}

VEXA_OPERATOR(get_font_extents) {
  int32_t scale = 1;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    scale = w.font_scale;
    return VRESULT_OK;
  });
  const int32_t v[4] = {font::kAscent, font::kDescent, font::kAdvance, font::kHeight};
  for (int par = 0; rc == VRESULT_OK && par < 4; ++par) {
    const Vresult out = ctx.SetOutpLong(par, int64_t{v[par]} * scale);
    if (out != VRESULT_OK) return out;
  }
  return rc;
}

}  // namespace vexa
