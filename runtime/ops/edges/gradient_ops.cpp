// Gradient edge filters: sobel_amp, sobel_dir, prewitt_amp, prewitt_dir,
// frei_amp, frei_dir and roberts.
//
// Amplitudes are computed from normalised masks (gradient.h), so a ramp
// of one gray value per pixel has amplitude 1 whatever the mask, and have
// the input's type (rounded and clipped); the signed derivatives "x" and
// "y" of sobel_amp have a signed type (byte gives int2, uint2 int4).
// Direction images hold the gradient's angle in 2-degree steps, 255 where
// the gradient is zero.
#include <algorithm>
#include <cmath>
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "ops/edges/gradient.h"
#include "ops/edges/sobel_sum_abs3.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Combine { kSumAbs, kSumSqrt, kX, kY, kThinSumAbs, kThinMaxAbs };

double Combined(Combine how, double gx, double gy) {
  switch (how) {
    case Combine::kSumAbs:
    case Combine::kThinSumAbs: return std::fabs(gx) + std::fabs(gy);
    case Combine::kSumSqrt: return std::sqrt(gx * gx + gy * gy);
    case Combine::kX: return gx;
    case Combine::kY: return gy;
    case Combine::kThinMaxAbs: break;
  }
  return std::max(std::fabs(gx), std::fabs(gy));
}

struct SobelType {
  Combine how;
  bool binomial;  // masks of size + 2: a binomial smoothing of `size` first
};

bool ParseSobelType(const char* name, bool amp_only, SobelType* type) {
  static const struct {
    const char* name;
    Combine how;
    bool dir_allowed;
  } kTypes[] = {{"sum_abs", Combine::kSumAbs, true},
                {"sum_sqrt", Combine::kSumSqrt, true},
                {"x", Combine::kX, false},
                {"y", Combine::kY, false},
                {"thin_sum_abs", Combine::kThinSumAbs, false},
                {"thin_max_abs", Combine::kThinMaxAbs, false}};
  std::string base = name;
  const std::string suffix = "_binomial";
  type->binomial = base.size() > suffix.size() &&
                   base.compare(base.size() - suffix.size(), suffix.size(), suffix) == 0;
  if (type->binomial) base.resize(base.size() - suffix.size());
  for (const auto& t : kTypes) {
    if (base == t.name && (amp_only || t.dir_allowed)) {
      type->how = t.how;
      return true;
    }
  }
  return false;
}

// The amplitude of `how` over the area into `out`.
void StoreAmplitude(const PixelBuffer& in, const FilterArea& area, const GradientMasks& masks,
                    Combine how, PixelBuffer* out) {
  const bool thin = how == Combine::kThinSumAbs || how == Combine::kThinMaxAbs;
  const cv::Rect box =
      thin ? GrowBox(area.box, 1, cv::Size(in.width(), in.height())) : area.box;
  cv::Mat gx, gy;
  Gradients(in, box, masks, &gx, &gy);
  gx.convertTo(gx, CV_64F);
  gy.convertTo(gy, CV_64F);
  if (!thin) {
    StorePairInDomain<double>(gx, gy, area, out,
                              [how](double x, double y) { return Combined(how, x, y); });
    return;
  }
  cv::Mat amp(box.size(), CV_64F);
  for (int r = 0; r < box.height; ++r)
    for (int c = 0; c < box.width; ++c)
      amp.at<double>(r, c) = Combined(how, gx.at<double>(r, c), gy.at<double>(r, c));
  const cv::Mat thinned = SuppressNonMaxima(amp, [&](int r, int c, int* dr, int* dc) {
    GradientStep(gx.at<double>(r, c), gy.at<double>(r, c), dr, dc);
  });
  StoreInDomain(thinned(area.box - box.tl()), area.box, area.domain, out);
}

// The 3x3 Sobel amplitude "sum_sqrt" of byte images: integer derivatives
// (8 times the normalised ones) straight into the result.
void StoreByteSobel3Sqrt(const PixelBuffer& in, const FilterArea& area, PixelBuffer* out) {
  const FilterSource src = SourceFor(in, area.box, 1, CV_8U);
  cv::Mat gx, gy;
  cv::Sobel(src.Roi(), gx, CV_16S, 1, 0, 3, 1, 0, kMirrorBorder);
  cv::Sobel(src.Roi(), gy, CV_16S, 0, 1, 3, 1, 0, kMirrorBorder);
  uint8_t* dst = out->data();
  const size_t w = static_cast<size_t>(out->width());
  for (const Chord& ch : area.domain.chords()) {
    const int16_t* px = gx.ptr<int16_t>(ch.r - area.box.y) - area.box.x;
    const int16_t* py = gy.ptr<int16_t>(ch.r - area.box.y) - area.box.x;
    uint8_t* row = dst + static_cast<size_t>(ch.r) * w;
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      const float x = px[c], y = py[c];
      const int v = static_cast<int>(std::sqrt(x * x + y * y) * 0.125f + 0.5f);
      row[c] = static_cast<uint8_t>(std::min(v, 255));
    }
  }
}

// The 3x3 Sobel amplitude "sum_abs" of byte images, chord by chord.
void StoreByteSobel3SumAbs(const PixelBuffer& in, const FilterArea& area, PixelBuffer* out) {
  const cv::Mat src = CvHeaderOf(in);
  uint8_t* dst = out->data();
  const size_t w = static_cast<size_t>(out->width());
  for (const Chord& ch : area.domain.chords())
    SobelSumAbs3Bytes(src, ch.r, ch.cb, ch.ce, dst + static_cast<size_t>(ch.r) * w);
}

Vresult ReadSobel(const OpContext& ctx, bool amp_only, SobelType* type, GradientMasks* masks,
                  int* size) {
  const char* name = nullptr;
  Vlong sz = 0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &sz);
  if (rc != VRESULT_OK) return rc;
  if (!ParseSobelType(name, amp_only, type)) return VERR_CTRL_VALUE(0);
  if (sz < 3 || sz > 29 || sz % 2 == 0) return VERR_CTRL_VALUE(1);
  *size = static_cast<int>(sz) + (type->binomial ? 2 : 0);
  *masks = SobelMasks(*size);
  return VRESULT_OK;
}

// amp and dir from the masks: the amplitude of `how` and the direction.
Vresult AmpAndDir(OpContext& ctx, const GradientMasks& masks, Combine how) {
  return FilterImages(ctx, 2, AmpAndDirection,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    cv::Mat gx, gy;
    Gradients(in, area.box, masks, &gx, &gy);
    gx.convertTo(gx, CV_64F);
    gy.convertTo(gy, CV_64F);
    StorePairInDomain<double>(gx, gy, area, outs[0],
                              [how](double x, double y) { return Combined(how, x, y); });
    StorePairInDomain<double>(gx, gy, area, outs[1], DirectionCode);
    return VRESULT_OK;
  });
}

Vresult Amplitude(OpContext& ctx, const GradientMasks& masks, Combine how) {
  return FilterImages(ctx, 1, SameGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    StoreAmplitude(in, area, masks, how, outs[0]);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(sobel_amp) {
  SobelType type;
  GradientMasks masks;
  int size = 0;
  const Vresult rc = ReadSobel(ctx, true, &type, &masks, &size);
  if (rc != VRESULT_OK) return rc;
  const bool is_signed = type.how == Combine::kX || type.how == Combine::kY;
  return FilterImages(ctx, 1,
                      [&](PixelType in, int, PixelType* out) {
                        *out = is_signed ? SignedTypeOf(in) : in;
                        return IsGrayType(in);
                      },
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const bool byte3 = in.type() == PixelType::kByte && size == 3;
    if (byte3 && type.how == Combine::kSumAbs)
      StoreByteSobel3SumAbs(in, area, outs[0]);
    else if (byte3 && type.how == Combine::kSumSqrt)
      StoreByteSobel3Sqrt(in, area, outs[0]);
    else
      StoreAmplitude(in, area, masks, type.how, outs[0]);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(sobel_dir) {
  SobelType type;
  GradientMasks masks;
  int size = 0;
  const Vresult rc = ReadSobel(ctx, false, &type, &masks, &size);
  if (rc != VRESULT_OK) return rc;
  return AmpAndDir(ctx, masks, type.how);
}

VEXA_OPERATOR(prewitt_amp) { return Amplitude(ctx, PrewittMasks(), Combine::kSumSqrt); }
VEXA_OPERATOR(prewitt_dir) { return AmpAndDir(ctx, PrewittMasks(), Combine::kSumSqrt); }
VEXA_OPERATOR(frei_amp) { return Amplitude(ctx, FreiMasks(), Combine::kSumSqrt); }
VEXA_OPERATOR(frei_dir) { return AmpAndDir(ctx, FreiMasks(), Combine::kSumSqrt); }

// roberts: the two diagonal differences of the 2x2 block whose top left
// pixel is the result pixel, d1 = p(r,c) - p(r+1,c+1) and
// d2 = p(r,c+1) - p(r+1,c), combined by filter_type: "roberts_max"
// max(|d1|, |d2|), "gradient_max" the larger diagonal difference
// normalised to gray values per pixel (max(|d1|, |d2|) / sqrt 2),
// "gradient_sum" |d1| + |d2|.
VEXA_OPERATOR(roberts) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  int how = -1;
  if (std::strcmp(name, "roberts_max") == 0) how = 0;
  else if (std::strcmp(name, "gradient_max") == 0) how = 1;
  else if (std::strcmp(name, "gradient_sum") == 0) how = 2;
  if (how < 0) return VERR_CTRL_VALUE(0);
  return FilterImages(ctx, 1, SameGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const FilterSource src = SourceFor(in, area.box, 1, CV_64F);
    const cv::Mat k1 = (cv::Mat_<double>(2, 2) << 1, 0, 0, -1);
    const cv::Mat k2 = (cv::Mat_<double>(2, 2) << 0, 1, -1, 0);
    cv::Mat d1, d2;
    cv::filter2D(src.Roi(), d1, CV_64F, k1, cv::Point(0, 0), 0, kMirrorBorder);
    cv::filter2D(src.Roi(), d2, CV_64F, k2, cv::Point(0, 0), 0, kMirrorBorder);
    StorePairInDomain<double>(d1, d2, area, outs[0], [how](double a, double b) {
      const double m = std::max(std::fabs(a), std::fabs(b));
      return how == 0 ? m : how == 1 ? m / std::sqrt(2.0) : std::fabs(a) + std::fabs(b);
    });
    return VRESULT_OK;
  });
}

}  // namespace vexa
