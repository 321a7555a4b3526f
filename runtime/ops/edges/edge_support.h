// The frame shared by the edge, derivative and enhancement filters: one to
// three result images per input image (every channel filtered alike), each
// of the input's size under the input's domain, with only the domain
// pixels computed; neighbours come from the whole image, mirrored at its
// border (cv_wrap.h).
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/common/op_objects.h"
#include "ops/common/pixel_dispatch.h"
#include "ops/filter/filter_support.h"

namespace vexa {

// The part of an image a filter computes.
struct FilterArea {
  const Region& domain;
  cv::Rect box;  // bounding box of the domain
};

// The types most filters accept: all but complex, direction and cyclic,
// whose values are no gray values to differentiate.
inline bool IsGrayType(PixelType t) {
  return t != PixelType::kComplex && t != PixelType::kDirection &&
         t != PixelType::kCyclic;
}
// Every result of the input's type.
inline bool SameGrayType(PixelType in, int, PixelType* type) {
  *type = in;
  return IsGrayType(in);
}
// Every result real.
inline bool RealGrayType(PixelType in, int, PixelType* type) {
  *type = PixelType::kReal;
  return IsGrayType(in);
}
// An amplitude of the input's type and a direction image.
inline bool AmpAndDirection(PixelType in, int out, PixelType* type) {
  *type = out == 0 ? in : PixelType::kDirection;
  return IsGrayType(in);
}
// A type that holds signed results of `in`: the input's own when it is
// signed, the next wider signed type otherwise.
inline PixelType SignedTypeOf(PixelType in) {
  if (in == PixelType::kByte) return PixelType::kInt2;
  if (in == PixelType::kUInt2) return PixelType::kInt4;
  return in;
}

// For each image of input object 1 and each channel, makes `num_out`
// images (into output objects 1..num_out), result k of the type that
// result_type(input type, k, &type) gives (false refuses the input type:
// VERR_PIXEL_TYPE), and calls
// kernel(const PixelBuffer& in, const FilterArea&, PixelBuffer** outs).
// An image with an empty domain gives empty-domain results. With kAll the
// kernel writes every domain pixel, so results of a full domain are not
// cleared first.
template <class ResultType, class Kernel>
Vresult FilterImages(OpContext& ctx, int num_out, ResultType&& result_type,
                     Kernel&& kernel, FilterWrites writes = FilterWrites::kSome) {
  std::vector<NewKeys> out(static_cast<size_t>(num_out));
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData in;
    Vresult r = InpImage(1, key, &in);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& first = *in.channels[0];
    const int channels = static_cast<int>(in.channels.size());
    std::vector<Vkey> made(static_cast<size_t>(num_out), VKEY_UNDEF);
    for (int k = 0; k < num_out; ++k) {
      PixelType type;
      if (!result_type(first.type(), k, &type)) return VERR_PIXEL_TYPE;
      r = NewFilterResult(type, first, channels, in.domain, writes,
                          &made[static_cast<size_t>(k)]);
      if (r != VRESULT_OK) return r;
      out[static_cast<size_t>(k)].Add(made[static_cast<size_t>(k)]);
    }
    const FilterArea area{*in.domain, BoxOf(*in.domain)};
    if (area.box.empty()) return VRESULT_OK;
    std::vector<PixelBuffer*> outs(static_cast<size_t>(num_out));
    for (int ch = 0; ch < channels; ++ch) {
      for (int k = 0; k < num_out; ++k) {
        r = db::WritableChannel(made[static_cast<size_t>(k)], ch, &outs[static_cast<size_t>(k)]);
        if (r != VRESULT_OK) return r;
      }
      r = kernel(*in.channels[static_cast<size_t>(ch)], area, outs.data());
      if (r != VRESULT_OK) return r;
    }
    return VRESULT_OK;
  });
  for (int k = 0; k < num_out && rc == VRESULT_OK; ++k)
    rc = out[static_cast<size_t>(k)].HandOver(ctx, k + 1);
  return rc;
}

// out = fn(a, b) at every domain pixel, a and b box-sized matrices of
// element type S; fn returns a double, stored with StorePixel's rule.
template <class S, class Fn>
void StorePairInDomain(const cv::Mat& a, const cv::Mat& b, const FilterArea& area,
                       PixelBuffer* out, Fn&& fn) {
  DispatchPixelType(out->type(), [&](auto tag) {
    constexpr PixelType kOut = decltype(tag)::kType;
    auto* dst = PixelsOf(out, tag);
    const size_t w = static_cast<size_t>(out->width());
    for (const Chord& ch : area.domain.chords()) {
      const S* pa = a.ptr<S>(ch.r - area.box.y) - area.box.x;
      const S* pb = b.ptr<S>(ch.r - area.box.y) - area.box.x;
      auto* row = dst + static_cast<size_t>(ch.r) * w;
      for (int32_t c = ch.cb; c <= ch.ce; ++c)
        row[c] = StorePixel<kOut>(fn(static_cast<double>(pa[c]), static_cast<double>(pb[c])));
    }
  });
}

// out = fn(a) at every domain pixel.
template <class S, class Fn>
void StoreMappedInDomain(const cv::Mat& a, const FilterArea& area, PixelBuffer* out, Fn&& fn) {
  StorePairInDomain<S>(a, a, area, out, [&](double x, double) { return fn(x); });
}

// The code of an edge direction image for the gradient (gx along the
// columns, gy along the rows): the angle of the gradient counted
// counter-clockwise from the column axis with rows pointing down, in
// 2-degree steps (0..179); 255 where the gradient is zero.
inline double DirectionCode(double gx, double gy) {
  if (gx == 0.0 && gy == 0.0) return 255.0;
  double deg = std::atan2(-gy, gx) * (180.0 / M_PI);
  if (deg < 0) deg += 360.0;
  const long code = std::lround(deg / 2.0);
  return static_cast<double>(code % 180);
}

// The rows (dr) and columns (dc) of the neighbour that lies along
// direction code `code` (the nearest of the 8 neighbours), for
// non-maximum suppression across edges.
inline void DirectionStep(int code, int* dr, int* dc) {
  const int sector = ((code * 2 + 22) / 45) % 8;  // 45-degree sectors
  static const int kDr[8] = {0, -1, -1, -1, 0, 1, 1, 1};
  static const int kDc[8] = {1, 1, 0, -1, -1, -1, 0, 1};
  *dr = kDr[sector];
  *dc = kDc[sector];
}

}  // namespace vexa
