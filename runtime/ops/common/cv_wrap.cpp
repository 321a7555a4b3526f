// OpenCV matrices over pixel buffers: see cv_wrap.h.
#include "ops/common/cv_wrap.h"

#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

namespace vexa {

int StoredCvDepth(PixelType type) {
  switch (type) {
    case PixelType::kByte:
    case PixelType::kDirection:
    case PixelType::kCyclic: return CV_8U;
    case PixelType::kInt1: return CV_8S;
    case PixelType::kInt2: return CV_16S;
    case PixelType::kUInt2: return CV_16U;
    case PixelType::kInt4: return CV_32S;
    case PixelType::kReal: return CV_32F;
    case PixelType::kInt8:
    case PixelType::kComplex: break;
  }
  return -1;
}

cv::Mat CvHeaderOf(const PixelBuffer& buffer) {
  // OpenCV has no read-only header: the const is kept by the callers, which
  // only read through it.
  return cv::Mat(buffer.height(), buffer.width(), StoredCvDepth(buffer.type()),
                 const_cast<unsigned char*>(buffer.data()));
}

cv::Mat CvHeaderOf(PixelBuffer* buffer) {
  return cv::Mat(buffer->height(), buffer->width(), StoredCvDepth(buffer->type()),
                 buffer->data());
}

cv::Rect BoxOf(const Region& region) {
  int32_t r1, c1, r2, c2;
  if (!region.BoundingBox(&r1, &c1, &r2, &c2)) return cv::Rect();
  return cv::Rect(c1, r1, c2 - c1 + 1, r2 - r1 + 1);
}

cv::Rect GrowBox(const cv::Rect& box, int margin, cv::Size size) {
  const cv::Rect grown(box.x - margin, box.y - margin, box.width + 2 * margin,
                       box.height + 2 * margin);
  return grown & cv::Rect(0, 0, size.width, size.height);
}

FilterSource SourceFor(const PixelBuffer& buffer, const cv::Rect& box,
                       int margin, int depth) {
  if (StoredCvDepth(buffer.type()) == depth) return {CvHeaderOf(buffer), box};
  const cv::Rect grown =
      GrowBox(box, margin, cv::Size(buffer.width(), buffer.height()));
  cv::Mat window;
  if (buffer.type() == PixelType::kInt8) {
    // OpenCV has no 64-bit integer matrices: convert by hand.
    window.create(grown.height, grown.width, CV_64F);
    const int64_t* src = reinterpret_cast<const int64_t*>(buffer.data());
    for (int r = 0; r < grown.height; ++r) {
      const int64_t* row =
          src + static_cast<size_t>(grown.y + r) * buffer.width() + grown.x;
      double* d = window.ptr<double>(r);
      for (int c = 0; c < grown.width; ++c) d[c] = static_cast<double>(row[c]);
    }
    if (depth != CV_64F) window.convertTo(window, depth);
  } else {
    CvHeaderOf(buffer)(grown).convertTo(window, depth);
  }
  return {window, box - grown.tl()};
}

namespace {

template <class S, PixelType kOut>
void StoreTyped(const cv::Mat& result, const cv::Rect& box, const Region& domain,
                PixelBuffer* out) {
  using O = typename PixelTag<kOut>::Value;
  O* dst = reinterpret_cast<O*>(out->data());
  const size_t w = static_cast<size_t>(out->width());
  for (const Chord& ch : domain.chords()) {
    const S* src = result.ptr<S>(ch.r - box.y) - box.x;
    O* row = dst + static_cast<size_t>(ch.r) * w;
    if constexpr (std::is_same<S, O>::value) {
      std::copy(src + ch.cb, src + ch.ce + 1, row + ch.cb);
    } else if constexpr (std::is_same<S, float>::value && std::is_integral<O>::value &&
                         sizeof(O) <= 2 && kOut != PixelType::kCyclic) {
      // Float to a narrow integer type, the common case of filter results:
      // clipping first keeps x +- 0.5 exact in float, so truncating it
      // rounds half away from zero as StorePixel does, without its
      // conversion to double.
      constexpr float kLo = std::numeric_limits<O>::min(), kHi = std::numeric_limits<O>::max();
      for (int32_t c = ch.cb; c <= ch.ce; ++c) {
        const float x = src[c];
        const float v = x != x ? 0.0f : std::min(std::max(x, kLo), kHi);
        row[c] = static_cast<O>(v >= 0 ? v + 0.5f : v - 0.5f);
      }
    } else {
      for (int32_t c = ch.cb; c <= ch.ce; ++c)
        row[c] = StorePixel<kOut>(static_cast<double>(src[c]));
    }
  }
}

template <PixelType kOut>
void StoreFrom(const cv::Mat& result, const cv::Rect& box, const Region& domain,
               PixelBuffer* out) {
  switch (result.depth()) {
    case CV_8U: return StoreTyped<uint8_t, kOut>(result, box, domain, out);
    case CV_8S: return StoreTyped<int8_t, kOut>(result, box, domain, out);
    case CV_16S: return StoreTyped<int16_t, kOut>(result, box, domain, out);
    case CV_16U: return StoreTyped<uint16_t, kOut>(result, box, domain, out);
    case CV_32S: return StoreTyped<int32_t, kOut>(result, box, domain, out);
    case CV_32F: return StoreTyped<float, kOut>(result, box, domain, out);
    default: return StoreTyped<double, kOut>(result, box, domain, out);
  }
}

}  // namespace

void StoreInDomain(const cv::Mat& result, const cv::Rect& box,
                   const Region& domain, PixelBuffer* out) {
  DispatchPixelType(out->type(), [&](auto tag) {
    StoreFrom<decltype(tag)::kType>(result, box, domain, out);
  });
}

cv::Mat MaskOfRegion(const Region& region, const cv::Rect& box) {
  cv::Mat mask = cv::Mat::zeros(box.size(), CV_8U);
  for (const Chord& ch : region.chords()) {
    if (ch.r < box.y || ch.r >= box.y + box.height) continue;
    const int32_t cb = std::max(ch.cb, box.x), ce = std::min(ch.ce, box.x + box.width - 1);
    uint8_t* row = mask.ptr<uint8_t>(ch.r - box.y);
    for (int32_t c = cb; c <= ce; ++c) row[c - box.x] = 255;
  }
  return mask;
}

RegionPtr RegionOfMask(const cv::Mat& mask, cv::Point origin) {
  std::vector<Chord> chords;
  for (int r = 0; r < mask.rows; ++r) {
    const uint8_t* row = mask.ptr<uint8_t>(r);
    for (int c = 0; c < mask.cols; ++c) {
      if (row[c] == 0) continue;
      int e = c;
      while (e + 1 < mask.cols && row[e + 1] != 0) ++e;
      chords.emplace_back(r + origin.y, c + origin.x, e + origin.x);
      c = e;
    }
  }
  return Region::FromCanonicalChords(std::move(chords));
}

}  // namespace vexa
