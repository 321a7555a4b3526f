// Thresholds chosen from the gray-value histogram of each image's domain
// (8- and 16-bit integer images):
//   binary_threshold  "max_separability": the threshold t of best class
//                     separation; "smooth_histo": the deepest point
//                     between the two peaks of the smoothed histogram.
//                     "dark" selects the values <= t, "light" those > t;
//                     used_threshold is t.
//   bin_threshold     binary_threshold with "smooth_histo" and "dark"
//   auto_threshold    splits the value range at every minimum of the
//                     histogram smoothed with sigma: one region per class,
//                     darkest first (a minimum belongs to the darker class)
//   histo_to_thresh   auto_threshold's classes of a given histogram, as
//                     gray-value ranges
//   char_threshold    dark characters on a light background: from the peak
//                     of the histogram in histo_region (smoothed with
//                     sigma) down to the first value whose frequency is
//                     below percent percent of the peak's; that value is
//                     the threshold, and the characters are the values
//                     <= it
#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

#include "ops/common/mask_runs.h"
#include "ops/common/pixel_dispatch.h"
#include "ops/image/gray_histogram.h"
#include "ops/segmentation/histo_analysis.h"
#include "ops/segmentation/pixel_select.h"
#include "registry.h"

namespace vexa {
namespace {

// The domain pixels of value <= limit (dark) or > limit (light). The
// limit is a value of the image's histogram, so it is compared in the
// pixels' own type, which keeps the mask loop narrow.
RegionPtr SplitAt(const PixelBuffer& im, const DomainScan& s, int64_t limit, bool dark) {
  return DispatchPixelType(im.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    const T* p = PixelsOf(im, tag);
    const T t = static_cast<T>(limit);
    if constexpr (std::is_same<T, uint8_t>::value) {
      if (dark) return ByteRangeRegion(s, p, 0, t);
      if (t == 255) return Region::Empty();
      return ByteRangeRegion(s, p, static_cast<uint8_t>(t + 1), 255);
    }
    return Region::FromCanonicalChords(dark ? KeptRuns(s, p, [=](T v) { return v <= t; })
                                            : KeptRuns(s, p, [=](T v) { return v > t; }));
  });
}

// The runs of every class, pixels assigned by class_of_bin[value - offset].
std::vector<std::vector<Chord>> ClassRuns(const PixelBuffer& im, const DomainScan& s,
                                          const GrayHistogram& h,
                                          const std::vector<size_t>& class_of_bin,
                                          size_t num_classes) {
  std::vector<std::vector<Chord>> runs(num_classes);
  DispatchPixelType(im.type(), [&](auto tag) {
    const auto* p = PixelsOf(im, tag);
    const auto cls = [&](size_t k) {
      return class_of_bin[static_cast<size_t>(int64_t(p[k]) - h.offset)];
    };
    s.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
      for (int32_t c = cb; c <= ce;) {
        const size_t k = cls(o + static_cast<size_t>(c - cb));
        const int32_t start = c;
        while (c <= ce && cls(o + static_cast<size_t>(c - cb)) == k) ++c;
        runs[k].push_back({r, start, c - 1});
      }
    });
  });
  return runs;
}

enum class HistoMethod { kSeparability, kSmooth };

// The histogram threshold of each image, the selected region to output
// object 1 and the thresholds (gray values) to output control 0 when
// `report` is set.
Vresult HistogramThreshold(OpContext& ctx, HistoMethod method, bool dark, bool report) {
  std::vector<Vlong> used;
  Vresult rc = SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s,
                                      Vlong, NewKeys* out) {
    if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
    const GrayHistogram h = ValueHistogram(im, s);
    size_t t = 0;
    if (method == HistoMethod::kSeparability)
      SeparabilityThreshold(h.counts, &t);
    else
      t = SmoothHistoThreshold(h.counts);
    const int64_t limit = static_cast<int64_t>(t) + h.offset;
    used.push_back(limit);
    return AddRegion(SplitAt(im, s, limit, dark), out);
  });
  if (rc != VRESULT_OK || !report) return rc;
  return ctx.SetOutpLongs(0, used);
}

}  // namespace

VEXA_OPERATOR(binary_threshold) {
  const char* method_name = nullptr;
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(0, &method_name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
  if (rc != VRESULT_OK) return rc;
  HistoMethod method;
  if (std::strcmp(method_name, "max_separability") == 0)
    method = HistoMethod::kSeparability;
  else if (std::strcmp(method_name, "smooth_histo") == 0)
    method = HistoMethod::kSmooth;
  else
    return VERR_CTRL_VALUE(0);
  const bool dark = std::strcmp(mode, "dark") == 0;
  if (!dark && std::strcmp(mode, "light") != 0) return VERR_CTRL_VALUE(1);
  return HistogramThreshold(ctx, method, dark, true);
}

VEXA_OPERATOR(bin_threshold) {
  return HistogramThreshold(ctx, HistoMethod::kSmooth, true, false);
}

VEXA_OPERATOR(auto_threshold) {
  double sigma = 0.0;
  const Vresult rc = ctx.GetDouble(0, &sigma);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma >= 0.0) || !std::isfinite(sigma)) return VERR_CTRL_VALUE(0);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s,
                                Vlong, NewKeys* out) {
    if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
    const GrayHistogram h = ValueHistogram(im, s);
    const std::vector<size_t> minima =
        ClassMinima(std::vector<double>(h.counts.begin(), h.counts.end()), sigma);
    std::vector<size_t> class_of_bin(h.counts.size());
    size_t cls = 0;
    for (size_t i = 0; i < class_of_bin.size(); ++i) {
      class_of_bin[i] = cls;
      if (cls < minima.size() && minima[cls] == i) ++cls;
    }
    for (std::vector<Chord>& runs : ClassRuns(im, s, h, class_of_bin, minima.size() + 1)) {
      const Vresult r = AddRegion(std::move(runs), out);
      if (r != VRESULT_OK) return r;
    }
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(char_threshold) {
  double sigma = 0.0, percent = 0.0;
  Vresult rc = ctx.GetDouble(0, &sigma);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &percent);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma >= 0.0) || !std::isfinite(sigma)) return VERR_CTRL_VALUE(0);
  if (!(percent >= 0.0 && percent <= 100.0)) return VERR_CTRL_VALUE(1);
  Vkey histo_key = VKEY_UNDEF;
  RegionPtr histo_region;
  rc = ctx.InpObjSingle(2, &histo_key);
  if (rc == VRESULT_OK) rc = InpRegion(2, histo_key, &histo_region);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> thresholds;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& im = *image.channels[0];
    if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
    const GrayHistogram h = ValueHistogram(im, DomainScan::Within(*histo_region, image));
    const std::vector<double> smooth = SmoothHistogram(h.counts, sigma);
    size_t peak = 0;
    for (size_t i = 1; i < smooth.size(); ++i)
      if (smooth[i] > smooth[peak]) peak = i;
    const double floor_value = smooth[peak] * percent / 100.0;
    size_t t = peak;
    while (t > 0 && smooth[t] >= floor_value) --t;
    const int64_t limit = static_cast<int64_t>(t) + h.offset;
    thresholds.push_back(limit);
    return AddRegion(SplitAt(im, DomainScan::Of(image), limit, true), &out);
  });
  if (rc == VRESULT_OK) rc = out.HandOver(ctx, 1);
  return rc == VRESULT_OK ? ctx.SetOutpLongs(0, thresholds) : rc;
}

// The classes auto_threshold would make of a histogram (counts or shares
// per gray value, index 0 the first), as the gray-value ranges
// [min_thresh[i], max_thresh[i]] from the first to the last occupied bin.
VEXA_OPERATOR(histo_to_thresh) {
  std::vector<double> histogram;
  double sigma = 0.0;
  Vresult rc = ctx.GetDoubles(0, histogram);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &sigma);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma >= 0.0) || !std::isfinite(sigma)) return VERR_CTRL_VALUE(1);
  for (double v : histogram)
    if (!(v >= 0.0) || !std::isfinite(v)) return VERR_CTRL_VALUE(0);
  size_t first = 0, last = histogram.size();
  while (first < last && histogram[first] == 0) ++first;
  while (last > first && histogram[last - 1] == 0) --last;
  std::vector<Vlong> lows, highs;
  if (first < last) {
    size_t low = first;
    for (size_t m : ClassMinima(histogram, sigma)) {
      lows.push_back(static_cast<Vlong>(low));
      highs.push_back(static_cast<Vlong>(m));
      low = m + 1;
    }
    lows.push_back(static_cast<Vlong>(low));
    highs.push_back(static_cast<Vlong>(last - 1));
  }
  rc = ctx.SetOutpLongs(0, lows);
  return rc == VRESULT_OK ? ctx.SetOutpLongs(1, highs) : rc;
}

}  // namespace vexa
