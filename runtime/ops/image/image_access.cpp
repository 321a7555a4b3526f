// Operators that read and write an image's pixels directly: the buffer
// address, and gray values at given points.
#include <cstdint>

#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

// Reads the points of input controls 0 (rows) and 1 (columns): as many rows
// as columns, each inside the image (the domain does not matter here).
Vresult ReadPoints(const OpContext& ctx, const PixelBuffer& image,
                   std::vector<Vlong>* rows, std::vector<Vlong>* cols) {
  Vresult rc = ctx.GetLongs(0, *rows);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(1, *cols);
  if (rc != VRESULT_OK) return rc;
  if (cols->size() != rows->size()) return VERR_CTRL_NUM(1);
  for (size_t i = 0; i < rows->size(); ++i) {
    if ((*rows)[i] < 0 || (*rows)[i] >= image.height() || (*cols)[i] < 0 ||
        (*cols)[i] >= image.width())
      return VERR_COORD_RANGE;
  }
  return VRESULT_OK;
}

bool IsFloatType(PixelType t) {
  return t == PixelType::kReal || t == PixelType::kComplex;
}

}  // namespace

// Address, type, width and height of the first channel of each image.
// The address stays valid while the image lives; writing through it is the
// caller's affair (the interface copies shared images first).
VEXA_OPERATOR(get_image_pointer1) {
  const std::vector<Vkey>* images = nullptr;
  Vresult rc = ctx.InpObjs(1, &images);
  if (rc != VRESULT_OK) return rc;
  if (images->empty()) return VERR_OBJ_NUM(1);
  std::vector<Vlong> pointers, widths, heights;
  std::vector<std::string> types;
  for (Vkey key : *images) {
    db::ImageData image;
    rc = InpImage(1, key, &image);
    if (rc != VRESULT_OK) return rc;
    const PixelBuffer& ch = *image.channels[0];
    pointers.push_back(static_cast<Vlong>(reinterpret_cast<uintptr_t>(ch.data())));
    types.push_back(PixelTypeName(ch.type()));
    widths.push_back(ch.width());
    heights.push_back(ch.height());
  }
  rc = ctx.SetOutpLongs(0, pointers);
  if (rc == VRESULT_OK) rc = ctx.SetOutpStrings(1, types);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(2, widths);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(3, heights);
  return rc;
}

// The rectangle of memory around the domain of one image's first channel:
// the address of the domain's top left corner (of its bounding box), the
// box's width and height, the bytes from row to row, and the bits from
// pixel to pixel and per pixel. Complex pixels lie in two planes and have
// no such rectangle.
VEXA_OPERATOR(get_image_pointer1_rect) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& ch = *image.channels[0];
  if (ch.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  int32_t r1, c1, r2, c2;
  if (!image.domain->BoundingBox(&r1, &c1, &r2, &c2)) return VERR_EMPTY_OBJECT;
  const Vlong pix = static_cast<Vlong>(PixelSize(ch.type()));
  const unsigned char* corner = ch.data() + (static_cast<size_t>(r1) * ch.width() + c1) * pix;
  const Vlong values[6] = {static_cast<Vlong>(reinterpret_cast<uintptr_t>(corner)), c2 - c1 + 1, r2 - r1 + 1,
                           ch.width() * pix, 8 * pix, 8 * pix};
  for (int k = 0; k < 6 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpLongs(k, {values[k]});
  return rc;
}

// Values at the given points, point by point, all channels of a point in
// turn. Integer pixels come as integers, real pixels as reals, complex
// pixels as real part and imaginary part.
VEXA_OPERATOR(get_grayval) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> rows, cols;
  rc = ReadPoints(ctx, *image.channels[0], &rows, &cols);
  if (rc != VRESULT_OK) return rc;
  CtrlValues values;
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto r = static_cast<int32_t>(rows[i]);
    const auto c = static_cast<int32_t>(cols[i]);
    for (const PixelBuffer* ch : image.channels) {
      const double v = ch->Get(r, c);
      if (!IsFloatType(ch->type())) {
        values.Add(static_cast<Vlong>(v));
      } else {
        values.Add(v);
        if (ch->type() == PixelType::kComplex)
          values.Add(ch->GetImaginary(r, c));
      }
    }
  }
  return ctx.SetOutpValues(0, values);
}

// Writes gray values at the given points, rounded and clipped to the pixel
// type. One value for all points, one per point (for every channel), or one
// per point and channel, point by point. Pixels shared with other objects
// are copied first, so only this image changes.
VEXA_OPERATOR(set_grayval) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> rows, cols;
  std::vector<double> values;
  rc = ReadPoints(ctx, *image.channels[0], &rows, &cols);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, values);
  if (rc != VRESULT_OK) return rc;
  const size_t points = rows.size();
  const size_t channels = image.channels.size();
  if (values.size() != 1 && values.size() != points &&
      values.size() != points * channels)
    return VERR_CTRL_NUM(2);
  for (size_t ch = 0; ch < channels; ++ch) {
    PixelBuffer* buffer = nullptr;
    rc = db::WritableChannel(key, static_cast<int>(ch), &buffer);
    if (rc != VRESULT_OK) return rc;
    for (size_t i = 0; i < points; ++i) {
      const size_t k = values.size() == 1        ? 0
                       : values.size() == points ? i
                                                 : i * channels + ch;
      buffer->Set(static_cast<int32_t>(rows[i]), static_cast<int32_t>(cols[i]),
                  values[k]);
    }
  }
  return VRESULT_OK;
}

}  // namespace vexa
