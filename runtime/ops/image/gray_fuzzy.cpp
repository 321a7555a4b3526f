// Fuzzy measures of regions in byte images: fuzzy_entropy and
// fuzzy_perimeter. Each gray value g becomes a membership mu(g) in the set
// of bright pixels through Zadeh's S-function, rising from 0 at apar to 1
// at cpar, 0.5 halfway between:
//   mu = 0                               g <= a
//   mu = 2 ((g - a) / (c - a))^2         a < g <= (a + c) / 2
//   mu = 1 - 2 ((g - c) / (c - a))^2     (a + c) / 2 < g < c
//   mu = 1                               g >= c
#include <array>
#include <cmath>

#include "ops/image/region_gray_scan.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

using Memberships = std::array<double, 256>;

// apar (control 0) and cpar (control 1): 0 <= apar < cpar <= 255.
Vresult ReadMemberships(const OpContext& ctx, Memberships* mu) {
  Vlong a = 0, c = 0;
  Vresult rc = ctx.GetLong(0, &a);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &c);
  if (rc != VRESULT_OK) return rc;
  if (a < 0 || a > 254) return VERR_CTRL_VALUE(0);
  if (c <= a || c > 255) return VERR_CTRL_VALUE(1);
  const double lo = static_cast<double>(a), hi = static_cast<double>(c), mid = (lo + hi) / 2;
  for (int g = 0; g < 256; ++g) {
    const double x = g;
    double m = 1.0;
    if (x <= lo) m = 0.0;
    else if (x <= mid) m = 2.0 * ((x - lo) / (hi - lo)) * ((x - lo) / (hi - lo));
    else if (x < hi) m = 1.0 - 2.0 * ((x - hi) / (hi - lo)) * ((x - hi) / (hi - lo));
    (*mu)[static_cast<size_t>(g)] = m;
  }
  return VRESULT_OK;
}

// Shannon's function of a membership, in bits: 0 at 0 and 1, 1 at 0.5.
double Shannon(double m) {
  if (m <= 0.0 || m >= 1.0) return 0.0;
  return -(m * std::log2(m) + (1.0 - m) * std::log2(1.0 - m));
}

// One output value per region from fn(image, scan) of a byte image.
template <class Fn>
Vresult PerByteRegion(OpContext& ctx, Fn&& fn) {
  std::vector<double> out;
  const Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    if (im.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
    out.push_back(fn(im, s));
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, out) : rc;
}

}  // namespace

// The mean of Shannon's function over the region's memberships, between
// 0 (every pixel clearly dark or bright) and 1 (every pixel at 0.5); 0
// for an empty region.
VEXA_OPERATOR(fuzzy_entropy) {
  Memberships mu;
  const Vresult rc = ReadMemberships(ctx, &mu);
  if (rc != VRESULT_OK) return rc;
  return PerByteRegion(ctx, [&](const PixelBuffer& im, const DomainScan& s) {
    double sum = 0, n = 0;
    s.ForEachRun([&](size_t o, size_t len) {
      for (size_t k = o; k < o + len; ++k) sum += Shannon(mu[im.data()[k]]);
      n += static_cast<double>(len);
    });
    return n > 0 ? sum / n : 0.0;
  });
}

// The sum of |mu(p) - mu(q)| over the pairs of side neighbours p, q that
// both lie in the region: how much membership changes across the region,
// its fuzzy boundary length.
VEXA_OPERATOR(fuzzy_perimeter) {
  Memberships mu;
  const Vresult rc = ReadMemberships(ctx, &mu);
  if (rc != VRESULT_OK) return rc;
  return PerByteRegion(ctx, [&](const PixelBuffer& im, const DomainScan& s) {
    const ChordList& in = s.domain()->chords();
    const size_t width = static_cast<size_t>(s.width());
    double sum = 0;
    // The pixels whose right neighbour (step 1) or lower neighbour (step
    // `width`) is in the region too.
    const auto pairs = [&](int32_t dr, int32_t dc, size_t step) {
      for (const Chord& ch : ChordIntersection(in, ChordTranslate(in, -dr, -dc))) {
        const size_t o = s.Offset(ch.r, ch.cb);
        for (size_t k = o; k <= o + static_cast<size_t>(ch.ce - ch.cb); ++k)
          sum += std::fabs(mu[im.data()[k]] - mu[im.data()[k + step]]);
      }
    };
    pairs(0, 1, 1);
    pairs(1, 0, width);
    return sum;
  });
}

}  // namespace vexa
