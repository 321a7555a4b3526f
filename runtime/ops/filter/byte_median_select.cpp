// Forgetful selection: see byte_median_select.h.
//
// Of n = 2k + 1 values, the smallest and the largest of any k + 2 of them
// cannot be the median, nor change it when both are dropped. So the work
// set starts with k + 2 values; each round finds its minimum and maximum
// (one compare-exchange pass each), drops them and takes the next value,
// until with all values taken the middle of the last three is the median.
// Only min and max are used: the same code runs on vectors of sixteen
// bytes and on single bytes for the last columns of a row.
#include "ops/filter/byte_median_select.h"

#include <algorithm>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace vexa {
namespace {

struct ByteLane {
  using V = uint8_t;
  static V Load(const uint8_t* p) { return *p; }
  static void Store(uint8_t* p, V v) { *p = v; }
  static V Min(V a, V b) { return std::min(a, b); }
  static V Max(V a, V b) { return std::max(a, b); }
  static constexpr int kWidth = 1;
};

struct VectorLane {
  using V = cv::v_uint8x16;
  static V Load(const uint8_t* p) { return cv::v_load(p); }
  static void Store(uint8_t* p, V v) { cv::v_store(p, v); }
  static V Min(V a, V b) { return cv::v_min(a, b); }
  static V Max(V a, V b) { return cv::v_max(a, b); }
  static constexpr int kWidth = 16;
};

// The medians of the n values at src[e] + j (e = 0..n-1) for `Lane::kWidth`
// neighbouring pixels, stored at out + j; `set` has room for n / 2 + 2.
template <class Lane>
void SelectMedian(const uint8_t* const* src, int n, int j, typename Lane::V* set, uint8_t* out) {
  using V = typename Lane::V;
  int size = n / 2 + 2, next = size;
  for (int e = 0; e < size; ++e) set[e] = Lane::Load(src[e] + j);
  for (;;) {
    for (int e = 1; e < size; ++e) {
      const V lo = Lane::Min(set[0], set[e]);
      set[e] = Lane::Max(set[0], set[e]);
      set[0] = lo;
    }
    V& top = set[size - 1];
    for (int e = 1; e < size - 1; ++e) {
      const V hi = Lane::Max(set[e], top);
      set[e] = Lane::Min(set[e], top);
      top = hi;
    }
    if (next == n) break;
    // The minimum's place takes the next value, the maximum's is dropped.
    set[0] = Lane::Load(src[next++] + j);
    --size;
  }
  Lane::Store(out + j, set[1]);
}

}  // namespace

void SelectMedianBytes(const cv::Mat& tile, const NeighbourMask& mask, cv::Mat& out) {
  const int n = mask.count();
  CV_Assert(n % 2 == 1 && n >= 3 && n <= kMaxSelectMedianCount);
  std::vector<const uint8_t*> src(static_cast<size_t>(n));
  cv::v_uint8x16 vectors[kMaxSelectMedianCount / 2 + 2];
  uint8_t bytes[kMaxSelectMedianCount / 2 + 2];
  for (int i = 0; i < out.rows; ++i) {
    size_t e = 0;
    for (const MaskChord& c : mask.chords())
      for (int dx = c.dx0; dx <= c.dx1; ++dx)
        src[e++] = tile.ptr<uint8_t>(i + mask.ry() + c.dy) + mask.rx() + dx;
    uint8_t* o = out.ptr<uint8_t>(i);
    int j = 0;
    for (; j + VectorLane::kWidth <= out.cols; j += VectorLane::kWidth)
      SelectMedian<VectorLane>(src.data(), n, j, vectors, o);
    for (; j < out.cols; ++j) SelectMedian<ByteLane>(src.data(), n, j, bytes, o);
  }
}

}  // namespace vexa
