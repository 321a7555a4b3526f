// Thresholds against fixed bounds or against a second image:
//   dyn_threshold   orig >= thr + offset ("light"), orig <= thr - offset
//                   ("dark"), |orig - thr| <= offset ("equal") or > offset
//                   ("not_equal"), over the common domain of each pair
//   fast_threshold  the pixels in [min_gray, max_gray], like threshold;
//                   min_size only has to be at least 1, since the whole
//                   domain is scanned and no region is missed
//   check_difference  the pixels whose difference to a displaced pattern
//                   lies inside (or outside) given bounds
#include <cmath>
#include <cstdlib>

#include "ops/common/pixel_dispatch.h"
#include "ops/filter/filter_support.h"
#include "ops/segmentation/light_dark.h"
#include "ops/segmentation/pixel_select.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(dyn_threshold) {
  double offset = 0.0;
  const char* mode_name = nullptr;
  Vresult rc = ctx.GetDouble(0, &offset);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode_name);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(offset)) return VERR_CTRL_VALUE(0);
  LightDark mode;
  if (!ParseLightDark(mode_name, true, &mode)) return VERR_CTRL_VALUE(1);
  Vlong n1 = 0, n2 = 0;
  rc = ctx.InpObjCount(1, &n1);
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(2, &n2);
  if (rc != VRESULT_OK) return rc;
  if (n2 != n1 && !(n2 == 1 && n1 > 0)) return VERR_OBJ_NUM(2);
  NewKeys out;
  for (Vlong i = 0; i < n1; ++i) {
    db::ImageData orig, thr;
    rc = InpImage(1, ctx.InpObjKey(1, i), &orig);
    if (rc == VRESULT_OK) rc = InpImage(2, ctx.InpObjKey(2, n2 == 1 ? 0 : i), &thr);
    if (rc != VRESULT_OK) return rc;
    const PixelType type = orig.channels[0]->type();
    if (type != thr.channels[0]->type() || type == PixelType::kComplex)
      return VERR_PIXEL_TYPE;
    DomainScan scan;
    rc = DomainScan::Of(orig, thr, &scan);
    if (rc != VRESULT_OK) return rc;
    std::vector<Chord> runs = DispatchPixelType(type, [&](auto tag) {
      const auto* po = PixelsOf(*orig.channels[0], tag);
      const auto* pt = PixelsOf(*thr.channels[0], tag);
      return SelectRuns(scan, [&](size_t k) {
        return Selects(mode, static_cast<double>(po[k]), static_cast<double>(pt[k]), offset);
      });
    });
    rc = AddRegion(std::move(runs), &out);
    if (rc != VRESULT_OK) return rc;
  }
  return out.HandOver(ctx, 1);
}

VEXA_OPERATOR(fast_threshold) {
  double lo = 0, hi = 0;
  Vlong min_size = 0;
  Vresult rc = ctx.GetDouble(0, &lo);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &hi);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &min_size);
  if (rc != VRESULT_OK) return rc;
  if (std::isnan(lo)) return VERR_CTRL_VALUE(0);
  if (std::isnan(hi)) return VERR_CTRL_VALUE(1);
  if (min_size < 1) return VERR_CTRL_VALUE(2);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong, NewKeys* out) {
    std::vector<Chord> runs = DispatchPixelType(im.type(), [&](auto tag) {
      const auto* p = PixelsOf(im, tag);
      return SelectRuns(s, [&](size_t k) {
        const double v = static_cast<double>(p[k]);
        return v >= lo && v <= hi;
      });
    });
    return AddRegion(std::move(runs), out);
  });
}

// For each image of input 1 the domain pixels (r, c) where the pattern
// (input 2, one image of the same pixel type) has a domain pixel at
// (r - add_row, c - add_column), with d = g(r, c) - pattern(r - add_row,
// c - add_column) + gray_offset: "diff_inside" selects lower <= d <= upper,
// "diff_outside" the others. One region per image.
VEXA_OPERATOR(check_difference) {
  int mode = 0;
  Vlong v[5];  // lower, upper, gray_offset, add_row, add_column
  Vresult rc = ReadChoice(ctx, 0, {"diff_inside", "diff_outside"}, &mode);
  for (int k = 0; k < 5 && rc == VRESULT_OK; ++k) rc = ctx.GetLong(1 + k, &v[k]);
  if (rc != VRESULT_OK) return rc;
  if (v[1] < v[0]) return VERR_CTRL_VALUE(2);
  if (std::llabs(v[3]) > kMaxImageSide) return VERR_CTRL_VALUE(4);
  if (std::llabs(v[4]) > kMaxImageSide) return VERR_CTRL_VALUE(5);
  db::ImageData pattern;
  if ((rc = InpSingleImage(ctx, 2, &pattern)) != VRESULT_OK) return rc;
  const PixelBuffer& pat = *pattern.channels[0];
  // The pattern's domain moved onto the image, and the difference bounds.
  const RegionPtr placed = Region::FromCanonicalChords(
      ChordTranslate(pattern.domain->chords(), static_cast<int32_t>(v[3]), static_cast<int32_t>(v[4])));
  const double lower = static_cast<double>(v[0]), upper = static_cast<double>(v[1]);
  const double offset = static_cast<double>(v[2]);
  const bool inside = mode == 0;
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong, NewKeys* out) {
    if (im.type() != pat.type()) return VERR_PIXEL_TYPE;
    const DomainScan both = DomainScan::Within(*placed, db::ImageData{s.domain(), {&im}});
    std::vector<Chord> runs;
    both.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
      int32_t start = -1;
      for (int32_t c = cb; c <= ce + 1; ++c) {
        bool keep = false;
        if (c <= ce) {
          const double d = im.Get(r, c) - pat.Get(static_cast<int32_t>(r - v[3]), static_cast<int32_t>(c - v[4])) + offset;
          keep = (d >= lower && d <= upper) == inside;
        }
        if (keep && start < 0) start = c;
        if (!keep && start >= 0) runs.push_back({r, start, c - 1}), start = -1;
      }
    });
    return AddRegion(std::move(runs), out);
  });
}

}  // namespace vexa
