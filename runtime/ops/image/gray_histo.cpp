// Gray-value histograms of one region in an image (its pixels in the
// image's domain).
//   gray_histo        one bin per value of an 8- or 16-bit integer type,
//                     absolute counts and counts relative to the area
//   gray_histo_abs    the same bins merged into bins `quantization` values
//                     wide (bin floor(i / quantization) for value bin i)
//   gray_histo_range  num_bins equal bins over [min_gray, max_gray], any
//                     type; integer bins are (max - min + 1) / num_bins
//                     values wide, real ones (max - min) / num_bins;
//                     values outside the range are not counted
//   histo_2dim        the joint histogram of two byte images as an image
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/pixel_dispatch.h"
#include "ops/image/gray_histogram.h"
#include "ops/image/region_gray_scan.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// Largest number of bins gray_histo_range makes.
constexpr Vlong kMaxBins = Vlong{1} << 24;

// The value histogram of the one region at input object 1.
Vresult RegionHistogram(OpContext& ctx, GrayHistogram* h) {
  Vlong num = 0;
  Vresult rc = ctx.InpObjCount(1, &num);
  if (rc != VRESULT_OK) return rc;
  if (num != 1) return VERR_OBJ_NUM(1);
  return ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
    *h = ValueHistogram(im, s);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(gray_histo) {
  GrayHistogram h;
  Vresult rc = RegionHistogram(ctx, &h);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> rel(h.counts.size(), 0.0);
  if (h.total > 0)
    for (size_t i = 0; i < rel.size(); ++i)
      rel[i] = static_cast<double>(h.counts[i]) / static_cast<double>(h.total);
  rc = ctx.SetOutpLongs(0, std::vector<Vlong>(h.counts.begin(), h.counts.end()));
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, rel) : rc;
}

VEXA_OPERATOR(gray_histo_abs) {
  double q = 0.0;
  Vresult rc = ctx.GetDouble(0, &q);
  if (rc != VRESULT_OK) return rc;
  if (!(q >= 1.0) || !std::isfinite(q)) return VERR_CTRL_VALUE(0);
  GrayHistogram h;
  rc = RegionHistogram(ctx, &h);
  if (rc != VRESULT_OK) return rc;
  const size_t last = h.counts.size() - 1;
  std::vector<Vlong> bins(static_cast<size_t>(std::floor(static_cast<double>(last) / q)) + 1, 0);
  for (size_t i = 0; i <= last; ++i)
    bins[static_cast<size_t>(std::floor(static_cast<double>(i) / q))] += h.counts[i];
  return ctx.SetOutpLongs(0, bins);
}

VEXA_OPERATOR(gray_histo_range) {
  double lo = 0, hi = 0;
  Vlong num_bins = 0;
  Vresult rc = ctx.GetDouble(0, &lo);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &hi);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &num_bins);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(lo)) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(hi) || hi < lo) return VERR_CTRL_VALUE(1);
  if (num_bins < 1) return VERR_CTRL_VALUE(2);
  if (num_bins > kMaxBins) return VERR_TOO_LARGE;
  Vlong num = 0;
  rc = ctx.InpObjCount(1, &num);
  if (rc != VRESULT_OK) return rc;
  if (num != 1) return VERR_OBJ_NUM(1);
  std::vector<Vlong> bins(static_cast<size_t>(num_bins), 0);
  double bin_size = 0.0;
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    const bool integer = IsIntegerPixel(im.type());
    bin_size = ((hi - lo) + (integer ? 1.0 : 0.0)) / static_cast<double>(num_bins);
    // A real range of one value puts that value into bin 0.
    const double width = bin_size > 0 ? bin_size : 1.0;
    DispatchPixelType(im.type(), [&](auto tag) {
      const auto* px = PixelsOf(im, tag);
      s.ForEachRun([&](size_t o, size_t n) {
        for (size_t k = o; k < o + n; ++k) {
          const double v = static_cast<double>(px[k]);
          if (!(v >= lo && v <= hi)) continue;
          const Vlong b = static_cast<Vlong>((v - lo) / width);
          ++bins[static_cast<size_t>(b < num_bins ? b : num_bins - 1)];
        }
      });
    });
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(0, bins);
  return rc == VRESULT_OK ? ctx.SetOutpDouble(1, bin_size) : rc;
}

// The joint histogram of two byte images of one size over the regions of
// input 1 together (their pixels in both domains): an int4 image of 256 x
// 256 pixels whose pixel (row, column) counts the pixels where image_row
// (input 3) has the value row and image_col (input 2) the value column.
VEXA_OPERATOR(histo_2dim) {
  db::ImageData images[2];
  for (int k = 0; k < 2; ++k) {
    Vkey key = VKEY_UNDEF;
    Vresult rc = ctx.InpObjSingle(2 + k, &key);
    if (rc == VRESULT_OK) rc = InpImage(2 + k, key, &images[k]);
    if (rc != VRESULT_OK) return rc;
    if (images[k].channels[0]->type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  }
  std::vector<RegionPtr> regions;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    const Vresult r = InpRegion(1, key, &region);
    if (r == VRESULT_OK) regions.push_back(region);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  DomainScan both;
  if ((rc = DomainScan::Of(images[0], images[1], &both)) != VRESULT_OK) return rc;
  const RegionPtr where = Region::Intersection(*both.domain(), *RegionUnionMany(regions));
  const DomainScan scan = DomainScan::Within(*where, images[0]);
  std::vector<int32_t> counts(256 * 256, 0);
  const uint8_t* col = images[0].channels[0]->data();
  const uint8_t* row = images[1].channels[0]->data();
  scan.ForEachRun([&](size_t o, size_t n) {
    for (size_t k = o; k < o + n; ++k) ++counts[size_t{row[k]} * 256 + col[k]];
  });
  Vkey made = VKEY_UNDEF;
  if ((rc = db::NewBlankImage(PixelType::kInt4, 256, 256, 1, nullptr, &made)) != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(made);
  PixelBuffer* px = nullptr;
  if ((rc = db::WritableChannel(made, 0, &px)) != VRESULT_OK) return rc;
  std::copy(counts.begin(), counts.end(), reinterpret_cast<int32_t*>(px->data()));
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
