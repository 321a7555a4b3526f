// Streaming Canny edges: see row_canny.h.
#include "ops/edges/row_canny.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "ops/edges/canny_tracking.h"
#include "ops/edges/gradient_rows.h"

namespace vexa {
namespace {

// A pixel that survived suppression, by its index in the tracked box.
struct Candidate {
  int32_t pos;
  float gx, gy;
};

// The amplitude in the result type, rounded as StoreInDomain rounds float
// results (half away from zero after clipping).
template <class O>
O AmplitudeValue(float a) {
  if constexpr (std::is_floating_point<O>::value) {
    return static_cast<O>(a);
  } else {
    constexpr float kHi = static_cast<float>(std::numeric_limits<O>::max());
    return static_cast<O>(std::min(a, kHi) + 0.5f);
  }
}

// Amplitude 0 and direction 255 over the domain, then the values of the
// tracked candidates that lie in it. Chords and candidates both run in
// raster order.
template <class O>
void StoreEdges(const FilterArea& area, const cv::Rect& tracked, const CannyTracker& tracker,
                const std::vector<Candidate>& candidates, O* amp, uint8_t* dir, size_t stride) {
  size_t next = 0;
  const size_t n = candidates.size();
  for (const Chord& ch : area.domain.chords()) {
    O* a = amp + static_cast<size_t>(ch.r) * stride;
    uint8_t* d = dir + static_cast<size_t>(ch.r) * stride;
    std::fill(a + ch.cb, a + ch.ce + 1, O{0});
    std::fill(d + ch.cb, d + ch.ce + 1, uint8_t{255});
    const int32_t r = ch.r - tracked.y;
    const uint8_t* decided = tracker.MapRow(r);
    const int32_t first = r * tracked.width + ch.cb - tracked.x;
    const int32_t last = first + ch.ce - ch.cb;
    while (next < n && candidates[next].pos < first) ++next;
    for (; next < n && candidates[next].pos <= last; ++next) {
      const Candidate& e = candidates[next];
      const int32_t c = e.pos - r * tracked.width;
      if (decided[c] != CannyTracker::kEdge) continue;
      const int32_t col = c + tracked.x;
      a[col] = AmplitudeValue<O>(std::sqrt(e.gx * e.gx + e.gy * e.gy));
      d[col] = static_cast<uint8_t>(DirectionCode(e.gx, e.gy));
    }
  }
}

}  // namespace

bool RowCannyEdges(const PixelBuffer& in, const FilterArea& area, const GradientMasks& masks,
                   double low, double high, PixelBuffer** outs) {
  if (!HasGradientRows(in.type()) || !HasSymmetricMasks(masks)) return false;
  // One pixel around the box for the suppression's neighbours.
  const cv::Rect grown = GrowBox(area.box, 1, cv::Size(in.width(), in.height()));
  const int w = grown.width;
  float bound = 0;
  GradientRows(in, grown, masks, [&](int, const float* gx, const float* gy) {
    bound = std::max({bound, LargestMagnitude(gx, w), LargestMagnitude(gy, w)});
  });
  if (std::isnan(bound)) return false;
  const double scale = std::min(16000.0 / std::max(double{bound}, 1e-300),
                                32767.0 / std::max(high, 1.0));
  if (!(scale >= 1.0)) return false;

  CannyTracker tracker(w, grown.height, low * scale, high * scale);
  std::vector<int16_t> dx(static_cast<size_t>(w)), dy(static_cast<size_t>(w));
  // The float gradient of the row whose suppression is pending.
  const float* pending_gx = nullptr;
  const float* pending_gy = nullptr;
  std::vector<Candidate> candidates;
  auto collect = [&](int r) {
    const uint8_t* decided = tracker.MapRow(r);
    for (int c = 0; c < w; ++c) {
      // Eight decisions at a time: most are kNone.
      if (c % 8 == 0 && c + 8 <= w) {
        uint64_t eight;
        std::memcpy(&eight, decided + c, sizeof eight);
        if (eight == 0x0101010101010101ull * CannyTracker::kNone) {
          c += 7;
          continue;
        }
      }
      if (decided[c] != CannyTracker::kNone)
        candidates.push_back({r * w + c, pending_gx[c], pending_gy[c]});
    }
  };
  const float fscale = static_cast<float>(scale);
  GradientRows(in, grown, masks, [&](int row, const float* gx, const float* gy) {
    QuantizeRow(gx, fscale, w, dx.data());
    QuantizeRow(gy, fscale, w, dy.data());
    const int done = tracker.AddRow(dx.data(), dy.data());
    if (done >= 0) collect(done);
    pending_gx = gx;
    pending_gy = gy;
    // The rows live only while GradientRows runs: complete the last here.
    if (row == grown.height - 1) collect(tracker.FinishRows());
  });
  tracker.Track();

  uint8_t* dir = PixelsOf(outs[1], PixelTag<PixelType::kDirection>{});
  const size_t stride = static_cast<size_t>(in.width());
  DispatchPixelType(outs[0]->type(), [&](auto tag) {
    StoreEdges(area, grown, tracker, candidates, PixelsOf(outs[0], tag), dir, stride);
  });
  return true;
}

}  // namespace vexa
