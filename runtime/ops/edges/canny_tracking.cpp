// Canny's suppression and hysteresis row by row: see canny_tracking.h.
#include "ops/edges/canny_tracking.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "ops/edges/row_clones.h"

namespace vexa {
namespace {

// tan(22.5 degrees) in 15-bit fixed point.
constexpr int kShift = 15;
constexpr int kTan22 = static_cast<int>(0.4142135623730950488 * (1 << kShift) + 0.5);

// A threshold on the amplitude as one on its square, clipped and floored
// as cv::Canny does with the L2 gradient.
int SquaredThreshold(double t) {
  t = std::min(32767.0, t);
  if (t > 0) t *= t;
  return static_cast<int>(std::floor(t));
}

VEXA_ROW_CLONES
void SquaredAmplitudes(const int16_t* dx, const int16_t* dy, int n, int32_t* out) {
  ForChunks(n, [&](int j) { out[j] = int32_t{dx[j]} * dx[j] + int32_t{dy[j]} * dy[j]; });
}

// Whether any of the kChunk values from m on lies above t.
inline bool AnyAbove(const int32_t* m, int32_t t) {
  bool any = false;
  for (int k = 0; k < kChunk; ++k) any |= m[k] > t;
  return any;
}

}  // namespace

CannyTracker::CannyTracker(int width, int height, double low, double high)
    : width_(width), height_(height), low_(SquaredThreshold(low)), high_(SquaredThreshold(high)),
      map_(new uint8_t[static_cast<size_t>(height + 2) * static_cast<size_t>(width + 2)]) {
  const size_t step = static_cast<size_t>(width + 2);
  std::fill(map_.get(), map_.get() + step, kNone);
  std::fill(map_.get() + (static_cast<size_t>(height) + 1) * step,
            map_.get() + (static_cast<size_t>(height) + 2) * step, kNone);
  for (size_t r = 1; r <= static_cast<size_t>(height); ++r)
    map_[r * step] = map_[r * step + step - 1] = kNone;
  for (auto& m : mag_) m.assign(static_cast<size_t>(width + 2), 0);
  for (int i = 0; i < 2; ++i) {
    dx_[i].resize(static_cast<size_t>(width));
    dy_[i].resize(static_cast<size_t>(width));
  }
}

void CannyTracker::AddRow(const int16_t* dx, const int16_t* dy) {
  // Slots: mag_[0] previous, mag_[1] current, mag_[2] next; dx_[0] current.
  std::copy(dx, dx + width_, dx_[1].begin());
  std::copy(dy, dy + width_, dy_[1].begin());
  SquaredAmplitudes(dx, dy, width_, mag_[2].data() + 1);
  if (rows_added_ > 0) Suppress(rows_added_ - 1);
  std::swap(mag_[0], mag_[1]);
  std::swap(mag_[1], mag_[2]);
  std::swap(dx_[0], dx_[1]);
  std::swap(dy_[0], dy_[1]);
  ++rows_added_;
}

void CannyTracker::FinishRows() {
  std::fill(mag_[2].begin(), mag_[2].end(), 0);
  Suppress(height_ - 1);
}

void CannyTracker::Suppress(int r) {
  const int32_t* mp = mag_[0].data() + 1;
  const int32_t* ma = mag_[1].data() + 1;
  const int32_t* mn = mag_[2].data() + 1;
  const int16_t* dx = dx_[0].data();
  const int16_t* dy = dy_[0].data();
  uint8_t* map = map_.get() + static_cast<size_t>(r + 1) * static_cast<size_t>(width_ + 2) + 1;
  std::fill(map, map + width_, kNone);
  for (int j = 0; j < width_; ++j) {
    // Most pixels lie below low: skip them a chunk at a time.
    if (j % kChunk == 0 && j + kChunk <= width_ && !AnyAbove(ma + j, low_)) {
      j += kChunk - 1;
      continue;
    }
    const int32_t m = ma[j];
    if (m <= low_) continue;
    const int16_t xs = dx[j], ys = dy[j];
    const int x = std::abs(xs), y = std::abs(ys) << kShift;
    const int tg22x = x * kTan22;
    bool peak;
    if (y < tg22x) {
      peak = m > ma[j - 1] && m >= ma[j + 1];
    } else if (y > tg22x + (x << (kShift + 1))) {
      peak = m > mp[j] && m >= mn[j];
    } else {
      const int s = (xs ^ ys) < 0 ? -1 : 1;
      peak = m > mp[j - s] && m > mn[j + s];
    }
    if (!peak) continue;
    if (m > high_) {
      map[j] = kEdge;
      stack_.push_back(map + j);
    } else {
      map[j] = kCandidate;
    }
  }
}

void CannyTracker::Track() {
  const std::ptrdiff_t step = width_ + 2;
  const std::ptrdiff_t around[8] = {-step - 1, -step, -step + 1, -1, 1, step - 1, step, step + 1};
  while (!stack_.empty()) {
    uint8_t* m = stack_.back();
    stack_.pop_back();
    for (const std::ptrdiff_t d : around)
      if (m[d] == kCandidate) {
        m[d] = kEdge;
        stack_.push_back(m + d);
      }
  }
}

}  // namespace vexa
