// The image part a window shows (see window_view.h): set_part, get_part.
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

// Largest side of a part and largest distance of its corners from the
// origin: far beyond any image, small enough that the scale of a
// one-pixel raster stays a sensible number and no pixel arithmetic
// overflows.
constexpr int64_t kMaxPartSide = int64_t{1} << 24;

}  // namespace

// Rows row1..row2 and columns column1..column2 fill the raster from then
// on; all four -1 show the raster's own size at zoom 1 again. The raster
// keeps what it shows until the next drawing.
VEXA_OPERATOR(set_part) {
  int32_t v[4];
  for (int par = 1; par <= 4; ++par) {
    const Vresult rc = GetInt32(ctx, par, &v[par - 1]);
    if (rc != VRESULT_OK) return rc;
    if (v[par - 1] < -kMaxPartSide || v[par - 1] > kMaxPartSide) return VERR_CTRL_VALUE(par);
  }
  const bool reset = v[0] == -1 && v[1] == -1 && v[2] == -1 && v[3] == -1;
  if (!reset) {
    for (int i = 0; i < 2; ++i) {
      const int64_t side = int64_t{v[i + 2]} - v[i] + 1;
      if (side < 1 || side > kMaxPartSide) return VERR_CTRL_VALUE(i + 3);
    }
  }
  return OnWindow(ctx, 0, [&](window::Window& w) {
    w.part_row1 = reset ? 0 : v[0];
    w.part_col1 = reset ? 0 : v[1];
    w.part_row2 = reset ? w.height - 1 : v[2];
    w.part_col2 = reset ? w.width - 1 : v[3];
    return VRESULT_OK;
  }, false);
}

VEXA_OPERATOR(get_part) {
  int32_t v[4] = {0, 0, 0, 0};
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    v[0] = w.part_row1;
    v[1] = w.part_col1;
    v[2] = w.part_row2;
    v[3] = w.part_col2;
    return VRESULT_OK;
  });
  for (int par = 0; rc == VRESULT_OK && par < 4; ++par) {
    const Vresult out = ctx.SetOutpLong(par, v[par]);
    if (out != VRESULT_OK) return out;
  }
  return rc;
}

}  // namespace vexa
