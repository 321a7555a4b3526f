// Gray morphology with a structuring image: gray_erosion, gray_dilation,
// gray_opening, gray_closing, gray_tophat, gray_bothat, and gen_disc_se,
// which makes such an image.
//
// The structuring element is the domain of the structuring image with its
// gray values s(p), placed with the image's centre pixel ((height - 1) / 2,
// (width - 1) / 2) on the pixel computed:
//   erosion(x)  = min over p of g(x + p) - s(p)
//   dilation(x) = max over p of g(x - p) + s(p)
// (p relative to the centre), in double, stored rounded and clipped.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "ops/graymorph/morph_compose.h"
#include "registry.h"

namespace vexa {
namespace {

struct SePoint {
  int dy, dx;
  double value;
};

// The points of the structuring image at input object 2.
Vresult ReadStructuringElement(OpContext& ctx, std::vector<SePoint>* points, int* my, int* mx) {
  db::ImageData se;
  Vresult rc = InpSingleImage(ctx, 2, &se);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& px = *se.channels[0];
  if (px.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  if (se.domain->empty()) return VERR_EMPTY_OBJECT;
  const int cy = (px.height() - 1) / 2, cx = (px.width() - 1) / 2;
  *my = *mx = 0;
  for (const Chord& ch : se.domain->chords()) {
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      const double v = px.Get(ch.r, c);
      points->push_back({ch.r - cy, c - cx, std::isfinite(v) ? v : 0.0});
    }
    *my = std::max(*my, std::abs(ch.r - cy));
    *mx = std::max({*mx, std::abs(ch.cb - cx), std::abs(ch.ce - cx)});
  }
  return *my > kMaxMaskSide / 2 || *mx > kMaxMaskSide / 2 ? VERR_TOO_LARGE : VRESULT_OK;
}

// dst(rect) by `sign` -1 (erosion: min of g(x + p) - s) or +1 (dilation:
// max of g(x - p) + s), accumulated row by row in double.
void SeExtreme(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
               const std::vector<SePoint>& points, int my, int mx, int sign) {
  const cv::Mat tile = BorderedTile(src, rect, my, mx, Border{});
  cv::Mat out = dst(rect);
  DispatchDepth(src.depth(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    constexpr PixelType kType = decltype(tag)::kType;
    std::vector<double> acc(static_cast<size_t>(rect.width));
    for (int i = 0; i < rect.height; ++i) {
      std::fill(acc.begin(), acc.end(), -sign * std::numeric_limits<double>::infinity());
      for (const SePoint& p : points) {
        const int dy = sign < 0 ? p.dy : -p.dy, dx = sign < 0 ? p.dx : -p.dx;
        const T* row = tile.ptr<T>(i + my + dy) + mx + dx;
        const double s = sign * p.value;
        for (int j = 0; j < rect.width; ++j) {
          const double v = static_cast<double>(row[j]) + s;
          acc[j] = sign < 0 ? std::min(acc[j], v) : std::max(acc[j], v);
        }
      }
      T* o = out.ptr<T>(i);
      for (int j = 0; j < rect.width; ++j) o[j] = StorePixel<kType>(acc[j]);
    }
  });
}

Vresult SeMorph(OpContext& ctx, MorphOp op) {
  std::vector<SePoint> points;
  int my = 0, mx = 0;
  const Vresult rc = ReadStructuringElement(ctx, &points, &my, &mx);
  if (rc != VRESULT_OK) return rc;
  auto pass = [&](int sign) {
    return [&, sign](const cv::Mat& s, cv::Mat& d, const cv::Rect& r) {
      SeExtreme(s, d, r, points, my, mx, sign);
      return VRESULT_OK;
    };
  };
  return MorphImages(ctx, op, my, mx, pass(-1), pass(+1));
}

}  // namespace

VEXA_OPERATOR(gray_erosion) { return SeMorph(ctx, MorphOp::kErosion); }
VEXA_OPERATOR(gray_dilation) { return SeMorph(ctx, MorphOp::kDilation); }
VEXA_OPERATOR(gray_opening) { return SeMorph(ctx, MorphOp::kOpening); }
VEXA_OPERATOR(gray_closing) { return SeMorph(ctx, MorphOp::kClosing); }
VEXA_OPERATOR(gray_tophat) { return SeMorph(ctx, MorphOp::kTopHat); }
VEXA_OPERATOR(gray_bothat) { return SeMorph(ctx, MorphOp::kBotHat); }

// A width x height structuring image whose domain is the ellipse with half
// axes width / 2 and height / 2 around the centre pixel, valued as a
// half ellipsoid of height smax: smax sqrt(1 - (dx / a)^2 - (dy / b)^2).
VEXA_OPERATOR(gen_disc_se) {
  PixelType type;
  int w = 0, h = 0;
  double smax = 0.0;
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK && (!ParsePixelType(name, &type) || CvDepthOf(type) < 0))
    rc = VERR_CTRL_VALUE(0);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 1, kMaxMaskSide, &w);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 1, kMaxMaskSide, &h);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 3, -1e30, 1e30, &smax);
  if (rc != VRESULT_OK) return rc;
  const double a = w / 2.0, b = h / 2.0;
  const int cy = (h - 1) / 2, cx = (w - 1) / 2;
  auto radial = [&](int r, int c) {
    const double x = (c - cx) / a, y = (r - cy) / b;
    return x * x + y * y;
  };
  std::vector<Chord> chords;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (radial(r, c) <= 1.0) chords.push_back({r, c, c});
  Vkey key = VKEY_UNDEF;
  rc = db::NewBlankImage(type, w, h, 1, Region::FromChords(chords), &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  PixelBuffer* buffer = nullptr;
  rc = db::WritableChannel(key, 0, &buffer);
  if (rc != VRESULT_OK) return rc;
  for (const Chord& ch : chords) buffer->Set(ch.r, ch.cb, smax * std::sqrt(1.0 - radial(ch.r, ch.cb)));
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
