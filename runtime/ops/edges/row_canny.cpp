// Streaming Canny edges: see row_canny.h.
#include "ops/edges/row_canny.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "ops/edges/canny_tracking.h"
#include "ops/edges/gradient_rows.h"

namespace vexa {
namespace {

// A pixel whose amplitude may pass low, by its index in the tracked box.
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
// edges among the candidates that lie in it. Chords and candidates both run in
// raster order.
template <class O>
void StoreEdges(const FilterArea& area, const cv::Rect& tracked, const CannyTracker& tracker,
                const std::vector<Candidate>& candidates, O* amp, uint8_t* dir, size_t stride) {
  size_t next = 0;
  const size_t n = candidates.size();
  // The candidates of one chord that became edges, by index.
  std::vector<size_t> edges(static_cast<size_t>(tracked.width));
  for (const Chord& ch : area.domain.chords()) {
    O* a = amp + static_cast<size_t>(ch.r) * stride;
    uint8_t* d = dir + static_cast<size_t>(ch.r) * stride;
    std::fill(a + ch.cb, a + ch.ce + 1, O{0});
    std::fill(d + ch.cb, d + ch.ce + 1, uint8_t{255});
    const int32_t r = ch.r - tracked.y;
    const uint8_t* decided = tracker.MapRow(r) - r * tracked.width;
    const int32_t first = r * tracked.width + ch.cb - tracked.x;
    const int32_t last = first + ch.ce - ch.cb;
    while (next < n && candidates[next].pos < first) ++next;
    // Without branches: which candidates became edges is hard to predict.
    // The map is read too sparsely for the hardware to fetch ahead: each
    // read asks for the same column of the next row.
    const size_t row_step = static_cast<size_t>(tracked.width) + 2;
    size_t found = 0;
    for (; next < n && candidates[next].pos <= last; ++next) {
      const uint8_t* at = decided + candidates[next].pos;
      __builtin_prefetch(at + row_step);
      edges[found] = next;
      found += *at == CannyTracker::kEdge;
    }
    for (size_t i = 0; i < found; ++i) {
      const Candidate& e = candidates[edges[i]];
      const int32_t col = e.pos - r * tracked.width + tracked.x;
      a[col] = AmplitudeValue<O>(std::sqrt(e.gx * e.gx + e.gy * e.gy));
      d[col] = static_cast<uint8_t>(DirectionCode(e.gx, e.gy));
    }
  }
}

// The candidate list of this thread's last call, kept for the next up to
// kKeptCandidateBytes: a fresh list faults in its pages on every call.
constexpr size_t kKeptCandidateBytes = size_t{64} << 20;
thread_local std::vector<Candidate> kept_candidates;

// Maps the pages a result's rows in `box` lie on with one call, instead of
// one page fault per page as the writes reach them (about a fifth of the
// time on a large image). Only when the box's rows cover at least half the
// pages between them: the writes would fault in most of those anyway.
// Where the system cannot, the pages fault in as before.
void PrefaultRows(PixelBuffer* out, const cv::Rect& box) {
#ifdef MADV_POPULATE_WRITE
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t pixel = PixelSize(out->type());
  const size_t row = static_cast<size_t>(out->width()) * pixel;
  if (box.empty() || 2 * (static_cast<size_t>(box.width) * pixel + page) < row) return;
  const uintptr_t first = reinterpret_cast<uintptr_t>(out->data()) +
                          static_cast<size_t>(box.y) * row + static_cast<size_t>(box.x) * pixel;
  const uintptr_t last = first + static_cast<size_t>(box.height - 1) * row +
                         static_cast<size_t>(box.width) * pixel;
  const uintptr_t begin = first & ~(page - 1), end = (last + page - 1) & ~(page - 1);
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
#else
  (void)out;
  (void)box;
#endif
}

}  // namespace

bool RowCannyEdges(const PixelBuffer& in, const FilterArea& area, const GradientMasks& masks,
                   double low, double high, PixelBuffer** outs) {
  if (low < 1 || !HasGradientRows(in.type()) || !HasSymmetricMasks(masks)) return false;
  // One pixel around the box for the suppression's neighbours.
  const cv::Rect grown = GrowBox(area.box, 1, cv::Size(in.width(), in.height()));
  const int w = grown.width;
  // Candidates are indexed by 32-bit positions in the box.
  if (static_cast<int64_t>(w) * grown.height > std::numeric_limits<int32_t>::max()) return false;
  // One pass over the gradient finds its largest component, which sets the
  // scale, and keeps the pixels that may pass low at any scale s >= 1.
  // Rounding moves each scaled component by at most 0.5, the amplitude by
  // at most 0.71, so a pixel of amplitude |g| <= low - 0.71 scales to at
  // most s * low: it is no candidate, and every candidate beside it lies
  // above it, which a zero derivative decides alike.
  const float reach = static_cast<float>(low - 0.75);
  float bound = 0;
  // Capacity for one pixel in eight: the pages are touched only as far as
  // candidates come, and a typical image never copies them to grow.
  std::vector<Candidate> possible = std::move(kept_candidates);
  possible.clear();
  possible.reserve(static_cast<size_t>(w) * static_cast<size_t>(grown.height) / 8);
  std::vector<int32_t> cols(static_cast<size_t>(w));
  GradientRows(in, grown, masks, [&](int row, const float* gx, const float* gy) {
    const int n = ScanRow(gx, gy, w, reach * reach, cols.data(), &bound);
    for (int i = 0; i < n; ++i) {
      const int32_t c = cols[static_cast<size_t>(i)];
      possible.push_back({row * w + c, gx[c], gy[c]});
    }
  });
  if (std::isnan(bound)) return false;
  const double scale = std::min(16000.0 / std::max(double{bound}, 1e-300),
                                32767.0 / std::max(high, 1.0));
  if (!(scale >= 1.0)) return false;

  // The derivatives row by row at the scale, zero off the kept pixels.
  CannyTracker tracker(w, grown.height, low * scale, high * scale);
  std::vector<int32_t> row_cols;
  std::vector<int16_t> dx, dy;
  const float fscale = static_cast<float>(scale);
  size_t next = 0;
  for (int r = 0; r < grown.height; ++r) {
    row_cols.clear();
    dx.clear();
    dy.clear();
    for (; next < possible.size() && possible[next].pos < (r + 1) * w; ++next) {
      const Candidate& p = possible[next];
      row_cols.push_back(p.pos - r * w);
      dx.push_back(Quantize(p.gx, fscale));
      dy.push_back(Quantize(p.gy, fscale));
    }
    tracker.AddRow(row_cols.data(), dx.data(), dy.data(), static_cast<int>(row_cols.size()));
  }
  tracker.FinishRows();
  tracker.Track();

  for (int i = 0; i < 2; ++i) PrefaultRows(outs[i], area.box);
  uint8_t* dir = PixelsOf(outs[1], PixelTag<PixelType::kDirection>{});
  const size_t stride = static_cast<size_t>(in.width());
  DispatchPixelType(outs[0]->type(), [&](auto tag) {
    StoreEdges(area, grown, tracker, possible, PixelsOf(outs[0], tag), dir, stride);
  });
  if (possible.capacity() * sizeof(Candidate) <= kKeptCandidateBytes)
    kept_candidates = std::move(possible);
  return true;
}

}  // namespace vexa
