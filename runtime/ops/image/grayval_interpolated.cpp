// get_grayval_interpolated: gray values at real-valued points, by nearest
// neighbour, bilinear or bicubic interpolation. Pixel centres lie at
// integer coordinates. A point whose nearest pixel is outside the domain
// gets -1; neighbours beyond the image border repeat the border pixels.
#include "image_op_util.h"
#include "ops/common/interpolation.h"
#include "registry.h"

namespace vexa {

// Values point by point, all channels of a point in turn.
VEXA_OPERATOR(get_grayval_interpolated) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  std::vector<double> rows, cols;
  const char* name = nullptr;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, cols);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  if (cols.size() != rows.size()) return VERR_CTRL_NUM(1);
  Interpolation mode;
  if (!ParseInterpolation(name, &mode)) return VERR_CTRL_VALUE(2);
  for (const PixelBuffer* ch : image.channels)
    if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  std::vector<double> values;
  values.reserve(rows.size() * image.channels.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    const bool inside = NearestInDomain(*image.domain, rows[i], cols[i]);
    for (const PixelBuffer* ch : image.channels)
      values.push_back(inside ? Interpolate(*ch, mode, rows[i], cols[i]) : -1.0);
  }
  return ctx.SetOutpDoubles(0, values);
}

}  // namespace vexa
