// Resampling images through a map image of the output size. A map of two
// real channels gives for every output pixel the source point (row in the
// first channel, column in the second), read bilinearly; a map of one int4
// channel gives the source pixel as its index row * width + column of the
// input image, read as it is. The result's domain is the map's domain,
// less the pixels whose source does not round to a pixel of the input
// domain (a negative index has none).
#include <cmath>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/transform/warp.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(map_image) {
  db::ImageData map;
  Vresult rc = InpSingleImage(ctx, 2, &map);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& first = *map.channels[0];
  const bool points = map.channels.size() == 2;
  if (!points && map.channels.size() != 1) return VERR_CHANNEL;
  if (points ? first.type() != PixelType::kReal || map.channels[1]->type() != PixelType::kReal
             : first.type() != PixelType::kInt4)
    return VERR_PIXEL_TYPE;
  const int32_t width = first.width();
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const int32_t in_w = image.channels[0]->width();
    Warp w;
    w.width = width;
    w.height = first.height();
    if (points) {
      const float* rows = reinterpret_cast<const float*>(first.data());
      const float* cols = reinterpret_cast<const float*>(map.channels[1]->data());
      w.source = [=](double y, double x, double* sr, double* sc) {
        const size_t o = static_cast<size_t>(y) * width + static_cast<size_t>(x);
        *sr = rows[o], *sc = cols[o];
      };
    } else {
      const int32_t* index = reinterpret_cast<const int32_t*>(first.data());
      w.interp = Interp::kNearest;
      w.source = [=](double y, double x, double* sr, double* sc) {
        const int32_t i = index[static_cast<size_t>(y) * width + static_cast<size_t>(x)];
        *sr = i < 0 ? -1.0 : i / in_w;
        *sc = i < 0 ? -1.0 : i % in_w;
      };
    }
    w.domain = Region::Intersection(
        *map.domain, *MappedDomain(*image.domain, in_w, image.channels[0]->height(), w));
    return WarpImage(image, w, out);
  });
}

}  // namespace vexa
