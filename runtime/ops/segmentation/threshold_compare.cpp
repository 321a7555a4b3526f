// Thresholds against fixed bounds or against a second image:
//   dyn_threshold   orig >= thr + offset ("light"), orig <= thr - offset
//                   ("dark"), |orig - thr| <= offset ("equal") or > offset
//                   ("not_equal"), over the common domain of each pair
//   fast_threshold  the pixels in [min_gray, max_gray], like threshold;
//                   min_size only has to be at least 1, since the whole
//                   domain is scanned and no region is missed
#include <cmath>

#include "ops/common/pixel_dispatch.h"
#include "ops/segmentation/light_dark.h"
#include "ops/segmentation/pixel_select.h"
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

}  // namespace vexa
