// Thresholds against the statistics of a window around each pixel
// (local_stats.h):
//   var_threshold    v = max(std_dev_scale * dev, abs_threshold) for a
//                    scale >= 0, min(...) for a negative one; "light"
//                    selects g >= mean + v, "dark" g <= mean - v, "equal"
//                    |g - mean| <= v, "not_equal" |g - mean| > v
//   local_threshold  "adapted_std_deviation": T = mean * (1 + k (dev / R
//                    - 1)) with k "scale" (0.2), R "range" (128) and the
//                    square window "mask_size" (15); "dark" selects g <= T,
//                    "light" g >= mean * (1 - k (dev / R - 1))
#include <cmath>
#include <cstring>

#include "ops/common/pixel_dispatch.h"
#include "ops/segmentation/light_dark.h"
#include "ops/segmentation/local_stats.h"
#include "ops/segmentation/pixel_select.h"
#include "registry.h"

namespace vexa {
namespace {

// Largest window side; mirroring covers any size, this bounds the work.
constexpr Vlong kMaxMask = 1 << 16;

// The regions of pixels that pass select(g, mean, dev) for windows of w x h.
template <class Select>
Vresult LocalSegment(OpContext& ctx, int32_t w, int32_t h, Select&& select) {
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s,
                                Vlong, NewKeys* out) {
    const LocalStats st = ComputeLocalStats(im, w, h);
    std::vector<Chord> runs = DispatchPixelType(im.type(), [&](auto tag) {
      const auto* p = PixelsOf(im, tag);
      return SelectRuns(s, [&](size_t k) {
        return select(static_cast<double>(p[k]), st.mean[k], st.deviation[k]);
      });
    });
    return AddRegion(std::move(runs), out);
  });
}

}  // namespace

VEXA_OPERATOR(var_threshold) {
  Vlong w = 0, h = 0;
  double scale = 0, abs_thr = 0;
  const char* mode_name = nullptr;
  Vresult rc = ctx.GetLong(0, &w);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &h);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &scale);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &abs_thr);
  if (rc == VRESULT_OK) rc = ctx.GetString(4, &mode_name);
  if (rc != VRESULT_OK) return rc;
  if (w < 1 || w > kMaxMask) return VERR_CTRL_VALUE(0);
  if (h < 1 || h > kMaxMask) return VERR_CTRL_VALUE(1);
  if (!std::isfinite(scale)) return VERR_CTRL_VALUE(2);
  if (!std::isfinite(abs_thr)) return VERR_CTRL_VALUE(3);
  LightDark mode;
  if (!ParseLightDark(mode_name, true, &mode)) return VERR_CTRL_VALUE(4);
  return LocalSegment(ctx, static_cast<int32_t>(w), static_cast<int32_t>(h),
                      [=](double g, double mean, double dev) {
    const double v = scale >= 0 ? std::max(scale * dev, abs_thr) : std::min(scale * dev, abs_thr);
    return Selects(mode, g, mean, v);
  });
}

VEXA_OPERATOR(local_threshold) {
  const char* method = nullptr;
  const char* mode_name = nullptr;
  std::vector<const char*> names;
  std::vector<double> values;
  Vresult rc = ctx.GetString(0, &method);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode_name);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(2, names);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, values);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(method, "adapted_std_deviation") != 0) return VERR_CTRL_VALUE(0);
  LightDark mode;
  if (!ParseLightDark(mode_name, false, &mode)) return VERR_CTRL_VALUE(1);
  if (values.size() != names.size()) return VERR_CTRL_NUM(3);
  double mask = 15, k = 0.2, range = 128;
  for (size_t i = 0; i < names.size(); ++i) {
    const double v = values[i];
    if (std::strcmp(names[i], "mask_size") == 0) {
      if (!(v >= 1 && v <= kMaxMask) || v != std::floor(v)) return VERR_CTRL_VALUE(3);
      mask = v;
    } else if (std::strcmp(names[i], "scale") == 0) {
      if (!std::isfinite(v)) return VERR_CTRL_VALUE(3);
      k = v;
    } else if (std::strcmp(names[i], "range") == 0) {
      if (!(v > 0) || !std::isfinite(v)) return VERR_CTRL_VALUE(3);
      range = v;
    } else {
      return VERR_CTRL_VALUE(2);
    }
  }
  const int32_t side = static_cast<int32_t>(mask);
  const bool dark = mode == LightDark::kDark;
  return LocalSegment(ctx, side, side, [=](double g, double mean, double dev) {
    const double f = k * (dev / range - 1.0);
    return dark ? g <= mean * (1.0 + f) : g >= mean * (1.0 - f);
  });
}

}  // namespace vexa
