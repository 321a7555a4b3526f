// Drawing settings of a window beyond colour and draw mode: line width,
// colour by components or gray value, and the queries of them.
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

// Largest line width: wider lines than the largest window make no sense.
constexpr Vlong kMaxLineWidth = window::kMaxSide;

// A colour component or gray value in 0..255 from input `par`.
Vresult GetComponent(const OpContext& ctx, int par, uint8_t* value) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 0 || v > 255) return VERR_CTRL_VALUE(par);
  *value = static_cast<uint8_t>(v);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(set_line_width) {
  Vlong width = 0;
  const Vresult rc = ctx.GetLong(1, &width);
  if (rc != VRESULT_OK) return rc;
  if (width < 1 || width > kMaxLineWidth) return VERR_CTRL_VALUE(1);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.line_width = static_cast<int32_t>(width);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(get_line_width) {
  Vlong width = 0;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    width = w.line_width;
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpLong(0, width);
}

VEXA_OPERATOR(get_draw) {
  bool fill = true;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    fill = w.draw == window::DrawMode::kFill;
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpString(0, fill ? "fill" : "margin");
}

VEXA_OPERATOR(set_rgb) {
  window::Rgb rgb{};
  Vresult rc = GetComponent(ctx, 1, &rgb.r);
  if (rc == VRESULT_OK) rc = GetComponent(ctx, 2, &rgb.g);
  if (rc == VRESULT_OK) rc = GetComponent(ctx, 3, &rgb.b);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.color = rgb;
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(set_gray) {
  uint8_t gray = 0;
  const Vresult rc = GetComponent(ctx, 1, &gray);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.color = {gray, gray, gray};
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(get_rgb) {
  window::Rgb rgb{};
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    rgb = w.color;
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  Vresult out = ctx.SetOutpLong(0, rgb.r);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(1, rgb.g);
  if (out == VRESULT_OK) out = ctx.SetOutpLong(2, rgb.b);
  return out;
}

}  // namespace vexa
