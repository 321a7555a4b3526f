// Contrast filters: highpass_image, emphasize, illuminate and
// equ_histo_image. The first three compare each pixel with the mean of
// its mask_width x mask_height neighbourhood (centred; even sizes reach one
// further left and up).
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "registry.h"

namespace vexa {
namespace {

// Largest mean-filter side accepted.
constexpr Vlong kMaxMaskSide = 2001;

Vresult ReadMaskSize(const OpContext& ctx, int par, cv::Size* size) {
  Vlong w = 0, h = 0;
  Vresult rc = ctx.GetLong(par, &w);
  if (rc == VRESULT_OK) rc = ctx.GetLong(par + 1, &h);
  if (rc != VRESULT_OK) return rc;
  if (w < 1 || w > kMaxMaskSide) return VERR_CTRL_VALUE(par);
  if (h < 1 || h > kMaxMaskSide) return VERR_CTRL_VALUE(par + 1);
  *size = cv::Size(static_cast<int>(w), static_cast<int>(h));
  return VRESULT_OK;
}

// The neighbourhood means over the area's box, in double.
cv::Mat LocalMean(const PixelBuffer& in, const cv::Rect& box, cv::Size size) {
  const FilterSource src = SourceFor(in, box, std::max(size.width, size.height) / 2 + 1, CV_64F);
  cv::Mat mean;
  cv::boxFilter(src.Roi(), mean, CV_64F, size, cv::Point(-1, -1), true, kMirrorBorder);
  return mean;
}

// The gray values of the area's box, in double.
cv::Mat Values(const PixelBuffer& in, const cv::Rect& box) {
  return SourceFor(in, box, 0, CV_64F).Roi();
}

// Filters every image with out = fn(value, local mean).
template <class ResultType, class Fn>
Vresult WithLocalMean(OpContext& ctx, cv::Size size, ResultType&& result_type, Fn&& fn) {
  return FilterImages(ctx, 1, result_type,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    StorePairInDomain<double>(Values(in, area.box), LocalMean(in, area.box, size), area, outs[0],
                              fn);
    return VRESULT_OK;
  });
}

// The value that stands for "no contrast" in unsigned types: their middle.
double MiddleOf(PixelType type) {
  if (type == PixelType::kByte) return 128.0;
  if (type == PixelType::kUInt2) return 32768.0;
  return 0.0;
}

}  // namespace

// highpass_image: value - mean, shifted by the middle of unsigned types
// (byte 128, uint2 32768) so that no contrast is mid-gray.
VEXA_OPERATOR(highpass_image) {
  cv::Size size;
  const Vresult rc = ReadMaskSize(ctx, 0, &size);
  if (rc != VRESULT_OK) return rc;
  PixelType type = PixelType::kByte;
  return WithLocalMean(ctx, size,
                       [&](PixelType in, int k, PixelType* out) {
                         type = in;
                         return SameGrayType(in, k, out);
                       },
                       [&](double v, double m) { return v - m + MiddleOf(type); });
}

// emphasize: value + factor * (value - mean): sharpens.
VEXA_OPERATOR(emphasize) {
  cv::Size size;
  double factor;
  Vresult rc = ReadMaskSize(ctx, 0, &size);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &factor);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(factor)) return VERR_CTRL_VALUE(2);
  return WithLocalMean(ctx, size, SameGrayType,
                       [factor](double v, double m) { return v + factor * (v - m); });
}

// illuminate: value + factor * (middle - mean) for byte (middle 127) and
// uint2 (32767) images: evens out slow changes of brightness.
VEXA_OPERATOR(illuminate) {
  cv::Size size;
  double factor;
  Vresult rc = ReadMaskSize(ctx, 0, &size);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &factor);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(factor)) return VERR_CTRL_VALUE(2);
  double middle = 127.0;
  return WithLocalMean(ctx, size,
                       [&](PixelType in, int, PixelType* out) {
                         *out = in;
                         middle = MiddleOf(in) - 1.0;
                         return in == PixelType::kByte || in == PixelType::kUInt2;
                       },
                       [&](double v, double m) { return v + factor * (middle - m); });
}

// equ_histo_image: each value v becomes max * (number of domain pixels up
// to v) / (number of domain pixels), max being 255 for byte and 65535 for
// uint2 images.
VEXA_OPERATOR(equ_histo_image) {
  return FilterImages(ctx, 1,
                      [](PixelType in, int, PixelType* out) {
                        *out = in;
                        return in == PixelType::kByte || in == PixelType::kUInt2;
                      },
                      [](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const bool byte = in.type() == PixelType::kByte;
    std::vector<double> cumulative(byte ? 256 : 65536, 0.0);
    const size_t w = static_cast<size_t>(in.width());
    auto at = [&](size_t k) {
      return byte ? in.data()[k] : reinterpret_cast<const uint16_t*>(in.data())[k];
    };
    for (const Chord& ch : area.domain.chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c) ++cumulative[at(ch.r * w + c)];
    const double top = byte ? 255.0 : 65535.0;
    double sum = 0;
    for (double& v : cumulative) v = (sum += v);
    for (double& v : cumulative) v = std::round(top * v / sum);
    for (const Chord& ch : area.domain.chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c) {
        const size_t k = ch.r * w + c;
        outs[0]->Set(ch.r, c, cumulative[at(k)]);
      }
    return VRESULT_OK;
  });
}

}  // namespace vexa
