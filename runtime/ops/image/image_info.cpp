// Operators that tell the size, the pixel type and the buffer addresses of
// images, one set of values per input image.
#include <cstdint>
#include <string>

#include "image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Calls fn(image) for every image of input 1; at least one is needed.
template <class Fn>
Vresult ForEachImage(OpContext& ctx, Fn&& fn) {
  Vlong num = 0;
  Vresult rc = ctx.InpObjCount(1, &num);
  if (rc != VRESULT_OK) return rc;
  if (num == 0) return VERR_OBJ_NUM(1);
  return ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK) fn(image);
    return r;
  });
}

Vlong Address(const PixelBuffer& channel) {
  return static_cast<Vlong>(reinterpret_cast<uintptr_t>(channel.data()));
}

}  // namespace

VEXA_OPERATOR(get_image_size) {
  std::vector<Vlong> widths, heights;
  Vresult rc = ForEachImage(ctx, [&](const db::ImageData& image) {
    widths.push_back(image.channels[0]->width());
    heights.push_back(image.channels[0]->height());
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(0, widths);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(1, heights);
  return rc;
}

// The type of the first channel.
VEXA_OPERATOR(get_image_type) {
  std::vector<std::string> types;
  const Vresult rc = ForEachImage(ctx, [&](const db::ImageData& image) {
    types.push_back(PixelTypeName(image.channels[0]->type()));
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpStrings(0, types);
}

// Addresses of the three channels of three-channel images, as
// get_image_pointer1 gives that of the first.
VEXA_OPERATOR(get_image_pointer3) {
  std::vector<Vlong> red, green, blue, widths, heights;
  std::vector<std::string> types;
  bool three = true;
  Vresult rc = ForEachImage(ctx, [&](const db::ImageData& image) {
    if (image.channels.size() != 3) {
      three = false;
      return;
    }
    red.push_back(Address(*image.channels[0]));
    green.push_back(Address(*image.channels[1]));
    blue.push_back(Address(*image.channels[2]));
    types.push_back(PixelTypeName(image.channels[0]->type()));
    widths.push_back(image.channels[0]->width());
    heights.push_back(image.channels[0]->height());
  });
  if (rc == VRESULT_OK && !three) rc = VERR_CHANNEL;
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(0, red);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(1, green);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(2, blue);
  if (rc == VRESULT_OK) rc = ctx.SetOutpStrings(3, types);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(4, widths);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(5, heights);
  return rc;
}

}  // namespace vexa
