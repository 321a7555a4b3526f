// threshold: the domain pixels whose gray value lies in [min_gray,
// max_gray], one region per input image (first channel).
//
// The scan walks the domain's chords and emits the runs of selected pixels
// directly in canonical order, so no sort and no per-pixel mask is needed.
// Integer pixels are compared with integer bounds (ceil of min, floor of
// max, clipped to the type), which selects exactly the same pixels as a
// comparison in real numbers; float pixels are compared in double. NaN
// pixels are never selected.
#include <cmath>
#include <cstdint>
#include <limits>

#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

template <class T, class Bound>
void ScanRuns(const PixelBuffer& image, const Region& domain, Bound lo,
              Bound hi, std::vector<Chord>* runs) {
  const T* pixels = reinterpret_cast<const T*>(image.data());
  const int32_t w = image.width();
  // The database keeps every domain inside its image.
  for (const Chord& ch : domain.chords()) {
    const int32_t ce = ch.ce;
    const T* row = pixels + static_cast<size_t>(ch.r) * w;
    for (int32_t c = ch.cb; c <= ce;) {
      while (c <= ce && !(static_cast<Bound>(row[c]) >= lo &&
                          static_cast<Bound>(row[c]) <= hi))
        ++c;
      if (c > ce) break;
      const int32_t start = c;
      while (c <= ce && static_cast<Bound>(row[c]) >= lo &&
             static_cast<Bound>(row[c]) <= hi)
        ++c;
      runs->push_back({ch.r, start, c - 1});
    }
  }
}

// Integer bounds of [min, max] within T; false if no value of T lies in
// it. long double holds every int64 bound exactly.
template <class T>
bool IntegerBounds(double min, double max, T* lo, T* hi) {
  const long double tmin = std::numeric_limits<T>::min();
  const long double tmax = std::numeric_limits<T>::max();
  const long double l = std::ceil(static_cast<long double>(min));
  const long double u = std::floor(static_cast<long double>(max));
  if (l > u || l > tmax || u < tmin) return false;
  *lo = l <= tmin ? std::numeric_limits<T>::min() : static_cast<T>(l);
  *hi = u >= tmax ? std::numeric_limits<T>::max() : static_cast<T>(u);
  return true;
}

template <class T>
void ScanInteger(const PixelBuffer& image, const Region& domain, double min,
                 double max, std::vector<Chord>* runs) {
  T lo, hi;
  if (IntegerBounds(min, max, &lo, &hi))
    ScanRuns<T, T>(image, domain, lo, hi, runs);
}

void Scan(const PixelBuffer& image, const Region& domain, double min,
          double max, std::vector<Chord>* runs) {
  switch (image.type()) {
    case PixelType::kByte:
    case PixelType::kDirection:
    case PixelType::kCyclic:
      return ScanInteger<uint8_t>(image, domain, min, max, runs);
    case PixelType::kInt1:
      return ScanInteger<int8_t>(image, domain, min, max, runs);
    case PixelType::kInt2:
      return ScanInteger<int16_t>(image, domain, min, max, runs);
    case PixelType::kUInt2:
      return ScanInteger<uint16_t>(image, domain, min, max, runs);
    case PixelType::kInt4:
      return ScanInteger<int32_t>(image, domain, min, max, runs);
    case PixelType::kInt8:
      return ScanInteger<int64_t>(image, domain, min, max, runs);
    case PixelType::kReal:
    case PixelType::kComplex:  // the real plane comes first
      return ScanRuns<float, double>(image, domain, min, max, runs);
  }
}

}  // namespace

VEXA_OPERATOR(threshold) {
  double min = 0.0, max = 0.0;
  Vresult rc = ctx.GetDouble(0, &min);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &max);
  if (rc != VRESULT_OK) return rc;
  if (std::isnan(min)) return VERR_CTRL_VALUE(0);
  if (std::isnan(max)) return VERR_CTRL_VALUE(1);
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    std::vector<Chord> runs;
    Scan(*image.channels[0], *image.domain, min, max, &runs);
    Vkey region = VKEY_UNDEF;
    r = db::NewRegion(Region::FromCanonicalChords(std::move(runs)), &region);
    if (r == VRESULT_OK) out.Add(region);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
