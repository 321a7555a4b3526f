// Operators that cut a rectangle out of an image or give it another size.
// The result holds copies of the pixels of the rectangle; its domain is the
// input's domain inside the rectangle, moved with it, so what was outside
// the domain stays outside.
#include <algorithm>
#include <cstring>

#include "image_op_util.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// A rectangle of pixels, inclusive bounds.
struct Rect {
  int32_t r1, c1, r2, c2;
  int32_t height() const { return r2 - r1 + 1; }
  int32_t width() const { return c2 - c1 + 1; }
};

// A new image of `width` x `height` holding the pixels of `part` (inside
// the input image) at its top left corner, with the input domain inside
// `part` moved there.
Vresult NewPart(const db::ImageData& image, const Rect& part, int32_t width,
                int32_t height, Vkey* out) {
  Channels channels(image.channels.size());
  for (size_t i = 0; i < channels.size(); ++i) {
    Vresult rc = PixelBuffer::Create(image.channels[i]->type(), width, height,
                                     &channels[i]);
    if (rc != VRESULT_OK) return rc;
    CopyBlock(*image.channels[i], part.r1, part.c1,
              std::min(part.height(), height), std::min(part.width(), width),
              channels[i].get());
  }
  const RegionPtr inside =
      image.domain->ClipToRectangle(part.r1, part.c1, part.r2, part.c2);
  RegionPtr moved = Region::FromCanonicalChords(
      ChordTranslate(inside->chords(), -part.r1, -part.c1));
  return db::NewImage(std::move(moved), std::move(channels), out);
}

// The part of rows r1..r2, columns c1..c2 inside the image; false when
// nothing of it is.
bool ClipToImage(const PixelBuffer& image, Vlong r1, Vlong c1, Vlong r2,
                 Vlong c2, Rect* part) {
  r1 = std::max<Vlong>(r1, 0);
  c1 = std::max<Vlong>(c1, 0);
  r2 = std::min<Vlong>(r2, image.height() - 1);
  c2 = std::min<Vlong>(c2, image.width() - 1);
  if (r1 > r2 || c1 > c2) return false;
  *part = {static_cast<int32_t>(r1), static_cast<int32_t>(c1),
           static_cast<int32_t>(r2), static_cast<int32_t>(c2)};
  return true;
}

// Crops every image of input 1 to the rectangle r1..r2, c1..c2 clipped to
// it; VERR_COORD_RANGE when the rectangle misses an image.
Vresult CropAll(OpContext& ctx, Vlong r1, Vlong c1, Vlong r2, Vlong c2) {
  return MakePerImage(ctx, 1, 1,
                   [&](Vkey, const db::ImageData& image, Vkey* out) {
                     Rect part;
                     if (!ClipToImage(*image.channels[0], r1, c1, r2, c2, &part))
                       return VERR_COORD_RANGE;
                     return NewPart(image, part, part.width(), part.height(),
                                    out);
                   });
}

Vresult GetLongs4(const OpContext& ctx, Vlong* a, Vlong* b, Vlong* c,
                  Vlong* d) {
  Vresult rc = ctx.GetLong(0, a);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, b);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, c);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, d);
  return rc;
}

// Sums of coordinates and sizes stay far from overflow below this bound.
constexpr Vlong kMaxCropCoord = Vlong{1} << 40;

bool Absurd(Vlong v) { return v > kMaxCropCoord || v < -kMaxCropCoord; }

}  // namespace

// The rectangle of `width` x `height` pixels whose top left corner is
// (row, column), clipped to the image.
VEXA_OPERATOR(crop_part) {
  Vlong row = 0, col = 0, width = 0, height = 0;
  const Vresult rc = GetLongs4(ctx, &row, &col, &width, &height);
  if (rc != VRESULT_OK) return rc;
  if (Absurd(row)) return VERR_CTRL_VALUE(0);
  if (Absurd(col)) return VERR_CTRL_VALUE(1);
  if (width < 1) return VERR_CTRL_VALUE(2);
  if (height < 1) return VERR_CTRL_VALUE(3);
  if (width > kMaxImageSide || height > kMaxImageSide) return VERR_TOO_LARGE;
  return CropAll(ctx, row, col, row + height - 1, col + width - 1);
}

// The rectangle row1..row2, column1..column2 (inclusive), clipped to the
// image.
VEXA_OPERATOR(crop_rectangle1) {
  Vlong r1 = 0, c1 = 0, r2 = 0, c2 = 0;
  const Vresult rc = GetLongs4(ctx, &r1, &c1, &r2, &c2);
  if (rc != VRESULT_OK) return rc;
  if (r2 < r1) return VERR_CTRL_VALUE(2);
  if (c2 < c1) return VERR_CTRL_VALUE(3);
  return CropAll(ctx, r1, c1, r2, c2);
}

// The smallest rectangle around the domain; an empty domain has none.
VEXA_OPERATOR(crop_domain) {
  return MakePerImage(ctx, 1, 1,
                   [](Vkey, const db::ImageData& image, Vkey* out) {
                     Rect box;
                     if (!image.domain->BoundingBox(&box.r1, &box.c1, &box.r2,
                                                    &box.c2))
                       return VERR_EMPTY_OBJECT;
                     return NewPart(image, box, box.width(), box.height(), out);
                   });
}

// The bounding box of the domain moved inwards by top, left, bottom and
// right pixels on its four sides (negative margins move outwards), clipped
// to the image. An empty domain, or a box that the margins empty, has no
// part: VERR_EMPTY_OBJECT.
VEXA_OPERATOR(crop_domain_rel) {
  Vlong top = 0, left = 0, bottom = 0, right = 0;
  const Vresult rc = GetLongs4(ctx, &top, &left, &bottom, &right);
  if (rc != VRESULT_OK) return rc;
  const Vlong margins[4] = {top, left, bottom, right};
  for (int k = 0; k < 4; ++k)
    if (Absurd(margins[k])) return VERR_CTRL_VALUE(k);
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    int32_t r1, c1, r2, c2;
    Rect part;
    if (!image.domain->BoundingBox(&r1, &c1, &r2, &c2) ||
        !ClipToImage(*image.channels[0], r1 + top, c1 + left, r2 - bottom, c2 - right, &part))
      return VERR_EMPTY_OBJECT;
    return NewPart(image, part, part.width(), part.height(), out);
  });
}

// The image with another width and height, anchored at the top left: new
// pixels are 0 and outside the domain, pixels beyond the new size are cut.
VEXA_OPERATOR(change_format) {
  int32_t width = 0, height = 0;
  Vresult rc = GetImageSide(ctx, 0, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 1, &height);
  if (rc != VRESULT_OK) return rc;
  return MakePerImage(ctx, 1, 1,
                   [&](Vkey, const db::ImageData& image, Vkey* out) {
                     const PixelBuffer& first = *image.channels[0];
                     const Rect all{0, 0, first.height() - 1, first.width() - 1};
                     return NewPart(image, all, width, height, out);
                   });
}

}  // namespace vexa
