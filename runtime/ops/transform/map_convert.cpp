// convert_map_type: a map of map_image's one form turned into the other.
// "bilinear": two real channels, source row and column; "nearest_neighbor":
// one int4 channel, the source index row * image_width + column, -1 where
// the rounded source column lies outside the source image's width or the
// rounded row is negative. Turning an index into a point, a negative index
// leaves the map's domain. A map already of the asked form is passed on.
#include <cmath>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/common/domain_scan.h"
#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

// Rounded source point as an index, -1 where it has none.
int32_t IndexOf(double row, double col, int32_t width) {
  const double r = std::round(row), c = std::round(col);
  if (!(r >= 0 && c >= 0 && c < width) || r * width + c > INT32_MAX) return -1;
  return static_cast<int32_t>(r * width + c);
}

}  // namespace

VEXA_OPERATOR(convert_map_type) {
  db::ImageData map;
  Vkey key = VKEY_UNDEF;
  int to_index = 0, width = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &map);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 0, {"bilinear", "nearest_neighbor"}, &to_index);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 1, INT32_MAX, &width);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& first = *map.channels[0];
  const bool is_points = map.channels.size() == 2 && first.type() == PixelType::kReal &&
                         map.channels[1]->type() == PixelType::kReal;
  const bool is_index = map.channels.size() == 1 && first.type() == PixelType::kInt4;
  if (!is_points && !is_index) return map.channels.size() > 2 ? VERR_CHANNEL : VERR_PIXEL_TYPE;
  if (is_index == (to_index == 1)) {
    Vkey copy = VKEY_UNDEF;
    rc = db::Copy(key, &copy);
    return rc == VRESULT_OK ? ctx.SetOutpObj(1, copy) : rc;
  }
  const DomainScan scan = DomainScan::Of(map);
  Vkey made = VKEY_UNDEF;
  if (to_index) {
    rc = db::NewBlankImage(PixelType::kInt4, first.width(), first.height(), 1, map.domain, &made);
    PixelBuffer* out = nullptr;
    if (rc == VRESULT_OK) rc = db::WritableChannel(made, 0, &out);
    if (rc == VRESULT_OK)
      scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
        for (int32_t c = cb; c <= ce; ++c)
          out->Set(r, c, IndexOf(first.Get(r, c), map.channels[1]->Get(r, c), width));
      });
  } else {
    std::vector<Chord> kept;
    scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
      for (int32_t c = cb; c <= ce; ++c)
        if (first.Get(r, c) >= 0) kept.emplace_back(r, c, c);
    });
    rc = db::NewBlankImage(PixelType::kReal, first.width(), first.height(), 2,
                           Region::FromChords(std::move(kept)), &made);
    PixelBuffer *rows = nullptr, *cols = nullptr;
    if (rc == VRESULT_OK) rc = db::WritableChannel(made, 0, &rows);
    if (rc == VRESULT_OK) rc = db::WritableChannel(made, 1, &cols);
    if (rc == VRESULT_OK)
      scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
        for (int32_t c = cb; c <= ce; ++c) {
          const double index = first.Get(r, c);
          if (index < 0) continue;
          rows->Set(r, c, std::floor(index / width));
          cols->Set(r, c, std::fmod(index, width));
        }
      });
  }
  if (rc != VRESULT_OK) {
    if (made != VKEY_UNDEF) db::Release(made);
    return rc;
  }
  return ctx.SetOutpObj(1, made);
}

}  // namespace vexa
