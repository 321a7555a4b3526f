// Canny's suppression and hysteresis row by row: see canny_tracking.h.
#include "ops/edges/canny_tracking.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

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

// The zeroed map a tracker of this thread left, kept up to kKeptMapBytes
// (a 8192 x 8192 image) so that large images do not pin their memory.
constexpr size_t kKeptMapBytes = size_t{64} << 20;
struct KeptMap {
  uint8_t* bytes = nullptr;
  size_t size = 0;
  KeptMap() = default;
  // It owns its bytes: a copy would free them twice.
  KeptMap(const KeptMap&) = delete;
  KeptMap& operator=(const KeptMap&) = delete;
  ~KeptMap() { std::free(bytes); }
};
thread_local KeptMap kept_map;

}  // namespace

CannyTracker::ZeroMap::ZeroMap(size_t n) {
  if (kept_map.bytes != nullptr && kept_map.size >= n) {
    size = std::exchange(kept_map.size, 0);
    bytes = std::exchange(kept_map.bytes, nullptr);
    return;
  }
  bytes = static_cast<uint8_t*>(std::calloc(n, 1));
  if (bytes == nullptr) throw std::bad_alloc();
  size = n;
}

CannyTracker::ZeroMap::~ZeroMap() {
  if (size > kKeptMapBytes || size <= kept_map.size) {
    std::free(bytes);
    return;
  }
  std::free(kept_map.bytes);
  kept_map.bytes = bytes;
  kept_map.size = size;
}

CannyTracker::CannyTracker(int width, int height, double low, double high)
    : width_(width), height_(height), low_(SquaredThreshold(low)), high_(SquaredThreshold(high)),
      map_(static_cast<size_t>(height + 2) * static_cast<size_t>(width + 2)),
      first_marked_(static_cast<size_t>(height), width),
      last_marked_(static_cast<size_t>(height), -1) {
  for (auto& m : mag_) m.assign(static_cast<size_t>(width + 2), 0);
}

CannyTracker::~CannyTracker() {
  for (int r = 0; r < height_; ++r) {
    const int32_t first = first_marked_[static_cast<size_t>(r)];
    const int32_t last = last_marked_[static_cast<size_t>(r)];
    if (first <= last) std::memset(Row(r) + first, 0, static_cast<size_t>(last - first + 1));
  }
}

void CannyTracker::AddRow(const int32_t* cols, const int16_t* dx, const int16_t* dy, int n) {
  // Slots: 0 previous, 1 current, 2 next.
  SparseRow& next = rows_[2];
  next.cols.assign(cols, cols + n);
  next.dx.assign(dx, dx + n);
  next.dy.assign(dy, dy + n);
  int32_t* m = mag_[2].data() + 1;
  for (int i = 0; i < n; ++i) m[cols[i]] = int32_t{dx[i]} * dx[i] + int32_t{dy[i]} * dy[i];
  if (rows_added_ > 0) Suppress(rows_added_ - 1);
  // The previous row leaves; its amplitudes return to zero for reuse as
  // the next row.
  int32_t* old = mag_[0].data() + 1;
  for (const int32_t c : rows_[0].cols) old[c] = 0;
  rows_[0].cols.clear();
  std::swap(mag_[0], mag_[1]);
  std::swap(mag_[1], mag_[2]);
  std::swap(rows_[0], rows_[1]);
  std::swap(rows_[1], rows_[2]);
  ++rows_added_;
}

void CannyTracker::FinishRows() {
  // The slot of the next row was cleared when the last row was added.
  Suppress(height_ - 1);
}

void CannyTracker::Suppress(int r) {
  const int32_t* mp = mag_[0].data() + 1;
  const int32_t* ma = mag_[1].data() + 1;
  const int32_t* mn = mag_[2].data() + 1;
  const SparseRow& row = rows_[1];
  uint8_t* map = Row(r);
  int32_t& first_marked = first_marked_[static_cast<size_t>(r)];
  int32_t& last_marked = last_marked_[static_cast<size_t>(r)];
  for (size_t i = 0; i < row.cols.size(); ++i) {
    const int32_t j = row.cols[i];
    const int32_t m = ma[j];
    if (m <= low_) continue;
    const int16_t xs = row.dx[i], ys = row.dy[i];
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
    // Recorded before the mark, so that the map is cleaned even if the
    // stack fails to grow.
    first_marked = std::min(first_marked, j);
    last_marked = j;
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
