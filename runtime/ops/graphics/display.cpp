// Showing objects in a window, and reading a window back as an image.
#include <memory>
#include <utility>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/graphics/raster_paint.h"
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

// One object to show: a region, or an image with the way to show it.
struct Shown {
  RegionPtr region;  // set for a region
  db::ImageData image;
  bool color = false;
};

// Reads the objects of input `par` before the window is locked, so that no
// database call runs under the window registry's lock. `as_image` is 0 for
// regions (an image stands for its domain), 1 for images shown gray, 3 for
// color images, -1 to decide by the kind of each object.
Vresult ReadShown(OpContext& ctx, int par, int as_image,
                  std::vector<Shown>* shown) {
  return ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
    Shown s;
    int mode = as_image;
    if (mode < 0) {
      db::ObjKind kind;
      const Vresult rc = db::KindOf(key, &kind);
      if (rc != VRESULT_OK) return rc;
      mode = kind == db::ObjKind::kRegion ? 0 : 1;
    }
    const Vresult rc =
        mode == 0 ? InpRegion(par, key, &s.region) : InpImage(par, key, &s.image);
    if (rc != VRESULT_OK) return rc;
    s.color = mode == 3 || (as_image < 0 && mode == 1 &&
                            s.image.channels.size() == 3);
    shown->push_back(std::move(s));
    return VRESULT_OK;
  });
}

Vresult Show(OpContext& ctx, int as_image) {
  std::vector<Shown> shown;
  const Vresult rc = ReadShown(ctx, 1, as_image, &shown);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    for (const Shown& s : shown) {
      if (s.region) {
        PaintRegion(w, *s.region);
        continue;
      }
      const Vresult painted = PaintImage(w, s.image, s.color);
      if (painted != VRESULT_OK) return painted;
    }
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(disp_region) { return Show(ctx, 0); }
VEXA_OPERATOR(disp_image) { return Show(ctx, 1); }
VEXA_OPERATOR(disp_color) { return Show(ctx, 3); }
// Regions as disp_region shows them, three-channel images in colour, other
// images gray.
VEXA_OPERATOR(disp_obj) { return Show(ctx, -1); }

// The raster as a byte image of three channels: red, green, blue.
VEXA_OPERATOR(dump_window_image) {
  std::vector<std::unique_ptr<PixelBuffer>> channels(3);
  const Vresult rc = OnWindow(ctx, 0, [&](window::Window& w) {
    for (size_t i = 0; i < 3; ++i) {
      const Vresult made =
          PixelBuffer::Create(PixelType::kByte, w.width, w.height, &channels[i]);
      if (made != VRESULT_OK) return made;
    }
    unsigned char* r = channels[0]->data();
    unsigned char* g = channels[1]->data();
    unsigned char* b = channels[2]->data();
    for (size_t p = 0; p < w.raster.size(); ++p) {
      r[p] = w.raster[p].r;
      g[p] = w.raster[p].g;
      b[p] = w.raster[p].b;
    }
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  Vkey key = VKEY_UNDEF;
  const Vresult made = db::NewImage(nullptr, std::move(channels), &key);
  if (made != VRESULT_OK) return made;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
