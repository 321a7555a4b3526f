// Showing objects in a window, and reading a window back as an image or
// into an image file.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "io/image_codecs.h"
#include "io/image_file.h"
#include "ops/common/op_objects.h"
#include "ops/graphics/raster_paint.h"
#include "ops/graphics/raster_shapes.h"
#include "ops/graphics/region_shape_display.h"
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
  std::vector<size_t> channels;  // of the image: one gray, three colour
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
    const bool color = mode == kAsColor || (as_image == kByKind && mode == kAsGray &&
                                            s.image.channels.size() == 3);
    s.channels = color ? std::vector<size_t>{0, 1, 2} : std::vector<size_t>{0};
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

// Shows the objects; with several colours set, region and sub-pixel
// object i of the call takes colour i modulo their number.
Vresult ShowAll(window::Window& w, const std::vector<Shown>& shown) {
  const window::Rgb color = w.color;
  size_t next = 0;
  Vresult rc = VRESULT_OK;
  for (const Shown& s : shown) {
    if ((s.region || s.xld) && !w.colors.empty()) w.color = w.colors[next++ % w.colors.size()];
    if (s.region)
      PaintRegionShape(w, s.region);
    else if (s.xld)
      StrokeXld(w, *s.xld);
    else
      rc = PaintImage(w, s.image, s.channels);
    if (rc != VRESULT_OK) break;
  }
  w.color = color;
  return rc;
}

Vresult Show(OpContext& ctx, int as_image) {
  std::vector<Shown> shown;
  const Vresult rc = ReadShown(ctx, 1, as_image, &shown);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) { return ShowAll(w, shown); });
}

// The raster as three byte channels: red, green, blue.
Vresult RasterChannels(const window::Window& w,
                       std::vector<std::unique_ptr<PixelBuffer>>* channels) {
  channels->resize(3);
  for (auto& ch : *channels) {
    const Vresult made = PixelBuffer::Create(PixelType::kByte, w.width, w.height, &ch);
    if (made != VRESULT_OK) return made;
  }
  unsigned char* r = (*channels)[0]->data();
  unsigned char* g = (*channels)[1]->data();
  unsigned char* b = (*channels)[2]->data();
  for (size_t p = 0; p < w.raster.size(); ++p) {
    r[p] = w.raster[p].r;
    g[p] = w.raster[p].g;
    b[p] = w.raster[p].b;
  }
  return VRESULT_OK;
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

// The channels named by input 1 of one image: one channel shown gray
// through the window's look-up table, or three shown as red, green, blue.
VEXA_OPERATOR(disp_channel) {
  std::vector<Vlong> numbers;
  Vresult rc = ctx.GetLongs(1, numbers);
  if (rc != VRESULT_OK) return rc;
  if (numbers.size() != 1 && numbers.size() != 3) return VERR_CTRL_NUM(1);
  std::vector<Shown> shown;
  rc = ReadShown(ctx, 1, kAsGray, &shown);
  if (rc != VRESULT_OK) return rc;
  for (Shown& s : shown) {
    s.channels.clear();
    for (Vlong n : numbers) {
      if (n < 0 || static_cast<size_t>(n) >= s.image.channels.size()) return VERR_CTRL_VALUE(1);
      s.channels.push_back(static_cast<size_t>(n));
    }
  }
  return OnWindow(ctx, 0, [&](window::Window& w) { return ShowAll(w, shown); });
}

// The raster as a byte image of three channels: red, green, blue.
VEXA_OPERATOR(dump_window_image) {
  std::vector<std::unique_ptr<PixelBuffer>> channels;
  const Vresult rc =
      ReadWindow(ctx, 0, [&](window::Window& w) { return RasterChannels(w, &channels); });
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  Vkey key = VKEY_UNDEF;
  const Vresult made = db::NewImage(nullptr, std::move(channels), &key);
  if (made != VRESULT_OK) return made;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

// The raster into an image file; the device is a format text of
// write_image ("png", "native", "tiff", "jpeg 80", ...), and a file name
// without extension gets the format's one.
VEXA_OPERATOR(dump_window) {
  const char* device = nullptr;
  const char* name = nullptr;
  Vresult rc = ctx.GetString(1, &device);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  io::WriteFormat format;
  if (!io::ParseWriteFormat(device, &format)) return VERR_CTRL_VALUE(1);
  if (name[0] == '\0') return VERR_CTRL_VALUE(2);
  std::vector<std::unique_ptr<PixelBuffer>> channels;
  int32_t width = 0, height = 0;
  rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    width = w.width;
    height = w.height;
    return RasterChannels(w, &channels);
  });
  if (rc != VRESULT_OK) return rc;
  io::EncodeSource source{{}, Region::Rectangle(0, 0, height - 1, width - 1)};
  for (const auto& ch : channels) source.channels.push_back(ch.get());
  io::Bytes file;
  rc = io::EncodeImage(source, format, &file);
  if (rc != VRESULT_OK) return rc == VERR_CHANNEL ? VERR_CTRL_VALUE(1) : rc;
  const std::string path = io::HasExtension(name) ? name : name + std::string(io::FormatExtension(format));
  return io::WriteWholeFile(path, file);
}

}  // namespace vexa
