// Operators that give an image another domain. The pixels are shared with
// the input image (the database copies them before anyone writes), so
// these cost one region operation each, whatever the image size.
#include <algorithm>

#include "image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Every image of input 1 once more, under the domain `domain_of(image)`.
template <class DomainOf>
Vresult Redomain(OpContext& ctx, DomainOf&& domain_of) {
  return MakePerImage(ctx, 1, 1,
                   [&](Vkey key, const db::ImageData& image, Vkey* out) {
                     return db::NewImageWithDomain(key, domain_of(image), out);
                   });
}

// The region of input object 2, which must be one object.
Vresult SingleRegion(OpContext& ctx, RegionPtr* region) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(2, &key);
  return rc != VRESULT_OK ? rc : InpRegion(2, key, region);
}

// Clamps a coordinate just beyond the largest image, where clipping to any
// image gives the same result as the value itself.
int32_t ClampCoord(Vlong v) {
  return static_cast<int32_t>(std::clamp<Vlong>(v, -1, kMaxImageSide + 1));
}

}  // namespace

// The domain reduced to its part inside the given region.
VEXA_OPERATOR(reduce_domain) {
  RegionPtr region;
  const Vresult rc = SingleRegion(ctx, &region);
  if (rc != VRESULT_OK) return rc;
  return Redomain(ctx, [&](const db::ImageData& image) {
    return Region::Intersection(*image.domain, *region);
  });
}

// The given region (clipped to the image) as the new domain.
VEXA_OPERATOR(change_domain) {
  RegionPtr region;
  const Vresult rc = SingleRegion(ctx, &region);
  if (rc != VRESULT_OK) return rc;
  return Redomain(ctx, [&](const db::ImageData&) { return region; });
}

// The whole image as the domain.
VEXA_OPERATOR(full_domain) {
  return Redomain(ctx, [](const db::ImageData&) -> RegionPtr { return nullptr; });
}

// The domain reduced to its part inside the rectangle row1..row2,
// column1..column2 (inclusive).
VEXA_OPERATOR(rectangle1_domain) {
  Vlong r1 = 0, c1 = 0, r2 = 0, c2 = 0;
  Vresult rc = ctx.GetLong(0, &r1);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &c1);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &r2);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &c2);
  if (rc != VRESULT_OK) return rc;
  if (r2 < r1) return VERR_CTRL_VALUE(2);
  if (c2 < c1) return VERR_CTRL_VALUE(3);
  return Redomain(ctx, [&](const db::ImageData& image) {
    return image.domain->ClipToRectangle(ClampCoord(r1), ClampCoord(c1),
                                         ClampCoord(r2), ClampCoord(c2));
  });
}

// The domain of every image as a region object.
VEXA_OPERATOR(get_domain) {
  return MakePerImage(ctx, 1, 1,
                   [](Vkey, const db::ImageData& image, Vkey* out) {
                     return db::NewRegion(image.domain, out);
                   });
}

// For each region of input 1, the image of input 2 under the part of its
// domain inside the region: one image per region, all sharing the pixels.
VEXA_OPERATOR(add_channels) {
  Vkey image_key = VKEY_UNDEF;
  db::ImageData image;
  Vresult rc = ctx.InpObjSingle(2, &image_key);
  if (rc == VRESULT_OK) rc = InpImage(2, image_key, &image);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    Vresult r = InpRegion(1, key, &region);
    Vkey made = VKEY_UNDEF;
    if (r == VRESULT_OK)
      r = db::NewImageWithDomain(image_key, Region::Intersection(*image.domain, *region), &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
