// get_grayval_interpolated: gray values at real-valued points, by nearest
// neighbour, bilinear or bicubic interpolation. Pixel centres lie at
// integer coordinates. A point whose nearest pixel is outside the domain
// gets -1; neighbours beyond the image border repeat the border pixels.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Interpolation { kNearest, kBilinear, kBicubic };

bool ParseInterpolation(const char* name, Interpolation* out) {
  if (std::strcmp(name, "nearest_neighbor") == 0) {
    *out = Interpolation::kNearest;
  } else if (std::strcmp(name, "bilinear") == 0) {
    *out = Interpolation::kBilinear;
  } else if (std::strcmp(name, "bicubic") == 0) {
    *out = Interpolation::kBicubic;
  } else {
    return false;
  }
  return true;
}

// A pixel value with the coordinates clamped into the image.
double Clamped(const PixelBuffer& ch, Vlong r, Vlong c) {
  return ch.Get(static_cast<int32_t>(std::clamp<Vlong>(r, 0, ch.height() - 1)),
                static_cast<int32_t>(std::clamp<Vlong>(c, 0, ch.width() - 1)));
}

// Weights of the cubic convolution kernel (a = -0.5) for the four samples
// at offsets -1, 0, 1, 2 from the sample below a point at fraction t.
void CubicWeights(double t, double w[4]) {
  const double t2 = t * t, t3 = t2 * t;
  w[0] = -0.5 * t3 + t2 - 0.5 * t;
  w[1] = 1.5 * t3 - 2.5 * t2 + 1.0;
  w[2] = -1.5 * t3 + 2.0 * t2 + 0.5 * t;
  w[3] = 0.5 * t3 - 0.5 * t2;
}

double Interpolate(const PixelBuffer& ch, Interpolation mode, double row,
                   double col) {
  const Vlong r0 = static_cast<Vlong>(std::floor(row));
  const Vlong c0 = static_cast<Vlong>(std::floor(col));
  const double tr = row - r0, tc = col - c0;
  switch (mode) {
    case Interpolation::kNearest:
      return Clamped(ch, static_cast<Vlong>(std::floor(row + 0.5)),
                     static_cast<Vlong>(std::floor(col + 0.5)));
    case Interpolation::kBilinear:
      return (1 - tr) * ((1 - tc) * Clamped(ch, r0, c0) + tc * Clamped(ch, r0, c0 + 1)) +
             tr * ((1 - tc) * Clamped(ch, r0 + 1, c0) + tc * Clamped(ch, r0 + 1, c0 + 1));
    case Interpolation::kBicubic: {
      double wr[4], wc[4];
      CubicWeights(tr, wr);
      CubicWeights(tc, wc);
      double sum = 0.0;
      for (int i = 0; i < 4; ++i) {
        double line = 0.0;
        for (int j = 0; j < 4; ++j) line += wc[j] * Clamped(ch, r0 - 1 + i, c0 - 1 + j);
        sum += wr[i] * line;
      }
      return sum;
    }
  }
  return 0.0;
}

}  // namespace

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
    const double r = std::floor(rows[i] + 0.5), c = std::floor(cols[i] + 0.5);
    const bool inside = std::isfinite(r) && std::isfinite(c) &&
                        std::fabs(r) <= kMaxImageSide && std::fabs(c) <= kMaxImageSide &&
                        image.domain->Contains(static_cast<int32_t>(r),
                                               static_cast<int32_t>(c));
    for (const PixelBuffer* ch : image.channels)
      values.push_back(inside ? Interpolate(*ch, mode, rows[i], cols[i]) : -1.0);
  }
  return ctx.SetOutpDoubles(0, values);
}

}  // namespace vexa
