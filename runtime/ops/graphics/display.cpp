// Showing objects in a window, and reading a window back as an image.
#include <memory>
#include <utility>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/graphics/raster_paint.h"
#include "ops/graphics/raster_shapes.h"
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

// One object to show: a region, a sub-pixel object, or an image with the
// way to show it.
struct Shown {
  RegionPtr region;  // set for a region
  XldPtr xld;        // set for a sub-pixel object
  db::ImageData image;
  bool color = false;
};

constexpr int kAsRegion = 0, kAsGray = 1, kAsXld = 2, kAsColor = 3, kByKind = -1;

// The sub-pixel object of `key` as input `par` shows it; another object
// is VERR_OBJ_CLASS(par).
Vresult InpShownXld(int par, Vkey key, XldPtr* xld) {
  const Vresult rc = db::GetXld(key, xld);
  return rc == VERR_NOT_REGION ? VERR_OBJ_CLASS(par) : rc;
}

// Reads the objects of input `par` before the window is locked, so that no
// database call runs under the window registry's lock. `as_image` is
// kAsRegion for regions (an image stands for its domain), kAsGray for
// images shown gray, kAsColor for color images, kAsXld for sub-pixel
// objects, kByKind to decide by the kind of each object.
Vresult ReadShown(OpContext& ctx, int par, int as_image,
                  std::vector<Shown>* shown) {
  return ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
    Shown s;
    int mode = as_image;
    if (mode == kByKind) {
      db::ObjKind kind;
      const Vresult rc = db::KindOf(key, &kind);
      if (rc != VRESULT_OK) return rc;
      mode = kind == db::ObjKind::kRegion ? kAsRegion : kind == db::ObjKind::kXld ? kAsXld : kAsGray;
    }
    const Vresult rc = mode == kAsRegion ? InpRegion(par, key, &s.region)
                       : mode == kAsXld  ? InpShownXld(par, key, &s.xld)
                                         : InpImage(par, key, &s.image);
    if (rc != VRESULT_OK) return rc;
    s.color = mode == kAsColor || (as_image == kByKind && mode == kAsGray &&
                                   s.image.channels.size() == 3);
    shown->push_back(std::move(s));
    return VRESULT_OK;
  });
}

// A contour or polygon as the line through its points; parallels as their
// two polygons.
void StrokeXld(window::Window& w, const Xld& x) {
  if (!x.HasPoints()) {
    for (const XldPtr& part : {x.part1, x.part2})
      if (part) StrokeXld(w, *part);
    return;
  }
  std::vector<RealPoint> points(x.size());
  for (size_t i = 0; i < x.size(); ++i) points[i] = {x.rows[i], x.cols[i]};
  StrokePolyline(w, points, false);
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
      if (s.xld) {
        StrokeXld(w, *s.xld);
        continue;
      }
      const Vresult painted = PaintImage(w, s.image, s.color);
      if (painted != VRESULT_OK) return painted;
    }
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(disp_region) { return Show(ctx, kAsRegion); }
VEXA_OPERATOR(disp_image) { return Show(ctx, kAsGray); }
VEXA_OPERATOR(disp_color) { return Show(ctx, kAsColor); }
// Contours and polygons as lines through their points, in the window's
// colour and line width (set_draw does not apply: a contour has no
// inside).
VEXA_OPERATOR(disp_xld) { return Show(ctx, kAsXld); }
// Regions as disp_region shows them, sub-pixel objects as disp_xld,
// three-channel images in colour, other images gray.
VEXA_OPERATOR(disp_obj) { return Show(ctx, kByKind); }

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
