#include "ops/filter/column_median.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <set>
#include <utility>

#include "ops/filter/column_median_networks.h"
#include "ops/image/simd_clones.h"

#define VEXA_INLINE inline __attribute__((always_inline))

namespace vexa {
namespace {

// 32 bytes as one value (a GCC vector): the comparison and the selection
// below become one vector min and max each.
typedef uint8_t Bytes32 __attribute__((vector_size(32)));
constexpr int kLanes = 32;

template <class T>
VEXA_INLINE void Exchange(T& a, T& b) {
  const T lo = a < b ? a : b;
  b = a < b ? b : a;
  a = lo;
}

template <const auto& kNet, class T, size_t... I>
VEXA_INLINE void ApplyAt(T* w, std::index_sequence<I...>) {
  (Exchange(w[kNet[I].lo], w[kNet[I].hi]), ...);
}

// Runs the comparators of kNet on the wires w, unrolled.
template <const auto& kNet, class T>
VEXA_INLINE void Apply(T* w) {
  ApplyAt<kNet>(w, std::make_index_sequence<std::size(kNet)>());
}

// Loads and stores by reference: vector values passed by value would
// depend on the instruction set in the calling convention.
VEXA_INLINE void Load(const uint8_t* p, Bytes32& v) { std::memcpy(&v, p, sizeof v); }
VEXA_INLINE void Store(const Bytes32& v, uint8_t* p) { std::memcpy(p, &v, sizeof v); }
VEXA_INLINE void Load(const uint8_t* p, uint8_t& v) { v = *p; }
VEXA_INLINE void Store(const uint8_t& v, uint8_t* p) { *p = v; }

// The largest column half height.
template <class Net>
constexpr int RadiusY() {
  int r = 0;
  for (int h : Net::kHeights) r = std::max(r, h);
  return r;
}

template <class Net>
constexpr int WireCount() {
  int n = 0;
  for (int h : Net::kHeights) n += 2 * h + 1;
  return n;
}

// The medians of the result pixels from x on (32 for Bytes32, one for
// uint8_t), stored at out. rows[q] points at the mask's left edge in its
// row q; column c of height 2h + 1 is sorted in place, then the network
// runs on all columns. Sharing sorted columns between neighbouring pixels
// through memory measured slower than sorting them again in registers.
template <class Net, class T>
VEXA_INLINE void MedianAt(const uint8_t* const* rows, int x, uint8_t* out) {
  constexpr int kCols = static_cast<int>(std::size(Net::kHeights));
  constexpr int ry = RadiusY<Net>();
  T w[WireCount<Net>()];
  int wire = 0;
  // Unrolled, so that every wire index is a constant and the wires stay
  // in registers.
#pragma GCC unroll 8
  for (int c = 0; c < kCols; ++c) {
    const int h = Net::kHeights[c];
#pragma GCC unroll 8
    for (int q = 0; q < 2 * h + 1; ++q) Load(rows[ry - h + q] + x + c, w[wire + q]);
    if (h == 1) Apply<kSort3>(w + wire);
    else Apply<kSort5>(w + wire);
    wire += 2 * h + 1;
  }
  Apply<Net::kNet>(w);
  Store(w[Net::kMedian], out);
}

template <class Net>
VEXA_INLINE void MedianRows(const cv::Mat& src, cv::Point origin, cv::Mat& out) {
  constexpr int rx = static_cast<int>(std::size(Net::kHeights)) / 2;
  constexpr int ry = RadiusY<Net>();
  const uint8_t* rows[2 * ry + 1];
  for (int i = 0; i < out.rows; ++i) {
    for (int q = 0; q <= 2 * ry; ++q)
      rows[q] = src.ptr<uint8_t>(origin.y + i + q - ry) + origin.x - rx;
    uint8_t* o = out.ptr<uint8_t>(i);
    int x = 0;
    for (; x + kLanes <= out.cols; x += kLanes) MedianAt<Net, Bytes32>(rows, x, o + x);
    for (; x < out.cols; ++x) MedianAt<Net, uint8_t>(rows, x, o + x);
  }
}

VEXA_SIMD_CLONES void Square3Median(const cv::Mat& src, cv::Point origin, cv::Mat& out) {
  MedianRows<Square3Network>(src, origin, out);
}
VEXA_SIMD_CLONES void Disc2Median(const cv::Mat& src, cv::Point origin, cv::Mat& out) {
  MedianRows<Disc2Network>(src, origin, out);
}
VEXA_SIMD_CLONES void Square5Median(const cv::Mat& src, cv::Point origin, cv::Mat& out) {
  MedianRows<Square5Network>(src, origin, out);
}

// The mask's pixels as (dy, dx).
std::set<std::pair<int, int>> PixelsOf(const NeighbourMask& mask) {
  std::set<std::pair<int, int>> pixels;
  for (const MaskChord& c : mask.chords())
    for (int dx = c.dx0; dx <= c.dx1; ++dx) pixels.insert({c.dy, dx});
  return pixels;
}

// The pixels of a network's mask: column c holds the 2h + 1 rows around
// the centre.
template <class Net>
std::set<std::pair<int, int>> PixelsOf() {
  std::set<std::pair<int, int>> pixels;
  const int rx = static_cast<int>(std::size(Net::kHeights)) / 2;
  for (int c = 0; c < 2 * rx + 1; ++c)
    for (int dy = -Net::kHeights[c]; dy <= Net::kHeights[c]; ++dy) pixels.insert({dy, c - rx});
  return pixels;
}

using MedianFn = void (*)(const cv::Mat&, cv::Point, cv::Mat&);

MedianFn MedianFor(const NeighbourMask& mask) {
  const auto pixels = PixelsOf(mask);
  if (pixels == PixelsOf<Square3Network>()) return Square3Median;
  if (pixels == PixelsOf<Disc2Network>()) return Disc2Median;
  if (pixels == PixelsOf<Square5Network>()) return Square5Median;
  return nullptr;
}

}  // namespace

bool HasColumnMedian(const NeighbourMask& mask) { return MedianFor(mask) != nullptr; }

void ColumnMedianBytes(const cv::Mat& src, cv::Point origin, const NeighbourMask& mask,
                       cv::Mat& out) {
  const MedianFn fn = MedianFor(mask);
  CV_Assert(fn != nullptr && src.depth() == CV_8U && out.depth() == CV_8U);
  fn(src, origin, out);
}

}  // namespace vexa
