// threshold: the domain pixels whose gray value lies in [min_gray,
// max_gray], one region per input image (first channel).
//
// The runs of selected pixels come straight from edge words of each chord
// (mask_runs.h), in canonical order, so no sort is needed; byte pixels are
// compared straight into the words, and a fragmented result over a whole
// byte image keeps them as its bit rows. Integer pixels
// are compared with integer bounds (ceil of min, floor of max, clipped to
// the type), which selects exactly the same pixels as a comparison in real
// numbers; float pixels are compared in double. NaN pixels are never
// selected.
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "ops/common/domain_scan.h"
#include "ops/common/mask_runs.h"
#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

template <class T, class Bound>
RegionPtr ScanRuns(const PixelBuffer& image, const DomainScan& scan, Bound lo, Bound hi) {
  const T* pixels = reinterpret_cast<const T*>(image.data());
  if constexpr (std::is_same<T, uint8_t>::value) {
    return ByteRangeRegion(scan, pixels, lo, hi);
  } else if constexpr (std::is_integral<T>::value) {
    // One unsigned comparison per pixel: v - lo wraps above hi - lo for
    // every v below lo.
    using U = std::make_unsigned_t<T>;
    const U width = static_cast<U>(static_cast<U>(hi) - static_cast<U>(lo));
    return Region::FromCanonicalChords(KeptRuns(scan, pixels, [=](T v) {
      return static_cast<U>(static_cast<U>(v) - static_cast<U>(lo)) <= width;
    }));
  } else {
    return Region::FromCanonicalChords(KeptRuns(scan, pixels, [=](T v) {
      return static_cast<Bound>(v) >= lo && static_cast<Bound>(v) <= hi;
    }));
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
RegionPtr ScanInteger(const PixelBuffer& image, const DomainScan& scan, double min, double max) {
  T lo, hi;
  if (!IntegerBounds(min, max, &lo, &hi)) return Region::Empty();
  return ScanRuns<T, T>(image, scan, lo, hi);
}

RegionPtr Scan(const PixelBuffer& image, const DomainScan& scan, double min, double max) {
  switch (image.type()) {
    case PixelType::kByte:
    case PixelType::kDirection:
    case PixelType::kCyclic:
      return ScanInteger<uint8_t>(image, scan, min, max);
    case PixelType::kInt1:
      return ScanInteger<int8_t>(image, scan, min, max);
    case PixelType::kInt2:
      return ScanInteger<int16_t>(image, scan, min, max);
    case PixelType::kUInt2:
      return ScanInteger<uint16_t>(image, scan, min, max);
    case PixelType::kInt4:
      return ScanInteger<int32_t>(image, scan, min, max);
    case PixelType::kInt8:
      return ScanInteger<int64_t>(image, scan, min, max);
    case PixelType::kReal:
    case PixelType::kComplex:  // the real plane comes first
      return ScanRuns<float, double>(image, scan, min, max);
  }
  return Region::Empty();
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
    Vkey region = VKEY_UNDEF;
    r = db::NewRegion(Scan(*image.channels[0], DomainScan::Of(image), min, max), &region);
    if (r == VRESULT_OK) out.Add(region);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
