// Row-by-row separable gradients: see gradient_rows.h.
#include "ops/edges/gradient_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ops/common/cv_wrap.h"
#include "ops/edges/row_clones.h"

namespace vexa {
namespace {

// Both passes sum eight floats at a time (GCC vector types, which become
// AVX2 or SSE2 instructions as the clone is compiled); the buffers they
// read and write are padded to whole blocks of kBlock columns. The smoothing
// mask is symmetric and the derivative mask antisymmetric, so each pass
// adds (smoothing) or subtracts (derivative) the two values at +-k before
// weighting them: taps[k] is the mask's value at centre + k.
typedef float Floats8 __attribute__((vector_size(32)));
constexpr int kLanes = 8, kStep = 2 * kLanes, kAcross = 4 * kLanes, kBlock = 256;

int WholeBlocks(int n) { return (n + kBlock - 1) / kBlock * kBlock; }

// Loads as an expression, not a call, and stores by reference: a vector
// passed or returned by value follows a calling convention that depends on
// the instruction set, which the AVX2 and baseline clones do not share.
#define VEXA_LOAD8(p)                                \
  ({                                                 \
    Floats8 loaded_;                                 \
    std::memcpy(&loaded_, (p), sizeof loaded_);      \
    loaded_;                                         \
  })
inline void Store8(float* p, const Floats8& v) { std::memcpy(p, &v, sizeof v); }

// Along a row: deriv_out[c] from deriv_src and smooth_out[c] from
// smooth_src, for the pixel at index c + radius of either, c <
// WholeBlocks(n). Two vectors of each result per step stay in registers
// over all taps; the rows lie in L1.
VEXA_ROW_CLONES
void HorizontalPass(const float* deriv_src, const float* smooth_src, const float* deriv,
                    const float* smooth, int radius, int n, float* deriv_out, float* smooth_out) {
  for (int c = 0; c < n; c += kStep) {
    const float* dc = deriv_src + c + radius;
    const float* sc = smooth_src + c + radius;
    Floats8 s0 = smooth[0] * VEXA_LOAD8(sc), s1 = smooth[0] * VEXA_LOAD8(sc + kLanes);
    Floats8 d0{}, d1{};
    for (int k = 1; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      d0 += td * (VEXA_LOAD8(dc + k) - VEXA_LOAD8(dc - k));
      d1 += td * (VEXA_LOAD8(dc + k + kLanes) - VEXA_LOAD8(dc - k + kLanes));
      s0 += ts * (VEXA_LOAD8(sc + k) + VEXA_LOAD8(sc - k));
      s1 += ts * (VEXA_LOAD8(sc + k + kLanes) + VEXA_LOAD8(sc - k + kLanes));
    }
    Store8(deriv_out + c, d0);
    Store8(deriv_out + c + kLanes, d1);
    Store8(smooth_out + c, s0);
    Store8(smooth_out + c + kLanes, s1);
  }
}

// Across rows: the derivative and the smoothing of the 2 * radius + 1
// rows around the output row, for c < n rounded up to kAcross. The sums of
// kAcross columns stay in registers over all taps, added in the same order
// as along the rows: centre, then the pairs at +-1, +-2, ...
VEXA_ROW_CLONES
void VerticalPass(const float* const* rows, const float* deriv, const float* smooth, int radius,
                  int n, float* deriv_out, float* smooth_out) {
  constexpr int kVectors = kAcross / kLanes;
  for (int c = 0; c < n; c += kAcross) {
    Floats8 d[kVectors], s[kVectors];
    for (int v = 0; v < kVectors; ++v) {
      const int i = c + v * kLanes;
      const Floats8 l = VEXA_LOAD8(rows[radius - 1] + i), h = VEXA_LOAD8(rows[radius + 1] + i);
      s[v] = smooth[0] * VEXA_LOAD8(rows[radius] + i);
      d[v] = deriv[1] * (h - l);
      s[v] += smooth[1] * (h + l);
    }
    for (int k = 2; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      const float *lo = rows[radius - k] + c, *hi = rows[radius + k] + c;
      for (int v = 0; v < kVectors; ++v) {
        const Floats8 l = VEXA_LOAD8(lo + v * kLanes), h = VEXA_LOAD8(hi + v * kLanes);
        d[v] += td * (h - l);
        s[v] += ts * (h + l);
      }
    }
    for (int v = 0; v < kVectors; ++v) {
      Store8(deriv_out + c + v * kLanes, d[v]);
      Store8(smooth_out + c + v * kLanes, s[v]);
    }
  }
}

// The mask's values from the centre on: taps[k] at centre + k.
std::vector<float> HalfTaps(const cv::Mat& mask) {
  const int radius = mask.rows / 2;
  std::vector<float> taps(static_cast<size_t>(radius + 1));
  for (int k = 0; k <= radius; ++k)
    taps[static_cast<size_t>(k)] = static_cast<float>(mask.at<double>(radius + k));
  return taps;
}

// n values of `row` as float, one set of clones per pixel type (clang does
// not multiversion function templates).
template <class T>
inline __attribute__((always_inline)) void ToFloatLoop(const T* row, int n, float* out) {
  ForChunks(n, [&](int i) { out[i] = static_cast<float>(row[i]); });
}
VEXA_ROW_CLONES void ToFloat(const uint8_t* row, int n, float* out) { ToFloatLoop(row, n, out); }
VEXA_ROW_CLONES void ToFloat(const uint16_t* row, int n, float* out) { ToFloatLoop(row, n, out); }
VEXA_ROW_CLONES void ToFloat(const int16_t* row, int n, float* out) { ToFloatLoop(row, n, out); }
VEXA_ROW_CLONES void ToFloat(const float* row, int n, float* out) { ToFloatLoop(row, n, out); }

// Row `r` of `window` over columns [c0, c0 + n), mirrored at the window's
// sides, as float.
template <class T>
void LoadRow(const cv::Mat& window, int r, int c0, int n, float* out) {
  const T* row = window.ptr<T>(r);
  const int first = std::max(0, -c0), last = std::min(n, window.cols - c0);
  for (int i = 0; i < first; ++i)
    out[i] = static_cast<float>(row[cv::borderInterpolate(c0 + i, window.cols, kMirrorBorder)]);
  if (last > first) ToFloat(row + c0 + first, last - first, out + first);
  for (int i = std::max(first, last); i < n; ++i)
    out[i] = static_cast<float>(row[cv::borderInterpolate(c0 + i, window.cols, kMirrorBorder)]);
}

}  // namespace

VEXA_ROW_CLONES
float LargestMagnitude(const float* values, int n) {
  // The bits of |x| order like the values; NaN lies above infinity.
  uint32_t top[kChunk] = {};
  auto keep_larger = [&](uint32_t& t, const float* p) {
    uint32_t bits;
    std::memcpy(&bits, p, sizeof bits);
    bits &= 0x7fffffffu;
    t = bits > t ? bits : t;
  };
  int i = 0;
  for (; i + kChunk <= n; i += kChunk)
    for (int k = 0; k < kChunk; ++k) keep_larger(top[k], values + i + k);
  for (; i < n; ++i) keep_larger(top[0], values + i);
  const uint32_t largest_bits = *std::max_element(top, top + kChunk);
  float largest;
  std::memcpy(&largest, &largest_bits, sizeof largest);
  return largest;
}

VEXA_ROW_CLONES
int ColumnsAbove(const float* gx, const float* gy, int n, float limit, int32_t* cols) {
  typedef int32_t Ints8 __attribute__((vector_size(32)));
  int count = 0;
  for (int c0 = 0; c0 < n; c0 += kStep) {
    const Floats8 x0 = VEXA_LOAD8(gx + c0), x1 = VEXA_LOAD8(gx + c0 + kLanes);
    const Floats8 y0 = VEXA_LOAD8(gy + c0), y1 = VEXA_LOAD8(gy + c0 + kLanes);
    const Floats8 sq0 = x0 * x0 + y0 * y0, sq1 = x1 * x1 + y1 * y1;
    const Ints8 above = (sq0 > limit) | (sq1 > limit);
    uint64_t lanes[4];
    std::memcpy(lanes, &above, sizeof lanes);
    if ((lanes[0] | lanes[1] | lanes[2] | lanes[3]) == 0) continue;
    float sq[kStep];
    std::memcpy(sq, &sq0, sizeof sq0);
    std::memcpy(sq + kLanes, &sq1, sizeof sq1);
    const int m = std::min(kStep, n - c0);
    for (int k = 0; k < m; ++k)
      if (sq[k] > limit) cols[count++] = c0 + k;
  }
  return count;
}

bool HasGradientRows(PixelType type) { return WorkDepthOf(type) == CV_32F; }

bool HasSymmetricMasks(const GradientMasks& masks) {
  const int n = masks.deriv.rows;
  if (n % 2 != 1 || masks.smooth.rows != n || masks.deriv.at<double>(n / 2) != 0) return false;
  for (int k = 1; k <= n / 2; ++k)
    if (masks.deriv.at<double>(n / 2 + k) != -masks.deriv.at<double>(n / 2 - k) ||
        masks.smooth.at<double>(n / 2 + k) != masks.smooth.at<double>(n / 2 - k))
      return false;
  return true;
}

void GradientRows(const PixelBuffer& in, const cv::Rect& box, const GradientMasks& masks,
                  const std::function<void(int, const float*, const float*)>& consume) {
  const std::vector<float> deriv = HalfTaps(masks.deriv), smooth = HalfTaps(masks.smooth);
  const int radius = masks.deriv.rows / 2, taps = 2 * radius + 1;
  const FilterSource src = LinearFilterSource(in, box, radius);
  const cv::Mat& window = src.window;
  // Rows of the source as float, with `radius` mirrored or real neighbours
  // on either side: ring slot r % taps for window row r. The vertical pass
  // runs first, over the padded width, then the horizontal pass.
  const int w = box.width, padded = w + 2 * radius;
  const size_t wide = static_cast<size_t>(WholeBlocks(padded) + kBlock);
  std::vector<float> ring(static_cast<size_t>(taps) * wide);
  std::vector<float> across_d(wide), across_s(wide);
  // Results of consecutive rows alternate between two buffers.
  std::vector<float> results(4 * wide);
  auto slot = [&](int r) { return ring.data() + static_cast<size_t>(((r % taps) + taps) % taps) * wide; };
  auto load = [&](int r) {
    const int rr = cv::borderInterpolate(r, window.rows, kMirrorBorder);
    const int c0 = src.box.x - radius;
    float* out = slot(r);
    switch (window.depth()) {
      case CV_8U: LoadRow<uint8_t>(window, rr, c0, padded, out); break;
      case CV_16U: LoadRow<uint16_t>(window, rr, c0, padded, out); break;
      case CV_16S: LoadRow<int16_t>(window, rr, c0, padded, out); break;
      default: LoadRow<float>(window, rr, c0, padded, out); break;
    }
  };
  const int y0 = src.box.y;
  for (int r = y0 - radius; r < y0 + radius; ++r) load(r);
  std::vector<const float*> rows(static_cast<size_t>(taps));
  for (int i = 0; i < box.height; ++i) {
    const int centre = y0 + i;
    load(centre + radius);
    for (int k = 0; k < taps; ++k) rows[static_cast<size_t>(k)] = slot(centre - radius + k);
    VerticalPass(rows.data(), deriv.data(), smooth.data(), radius, padded, across_d.data(),
                 across_s.data());
    // gx: derivative along the row of the smoothing across; gy: smoothing
    // along the row of the derivative across.
    float* gx = results.data() + static_cast<size_t>(2 * (i % 2)) * wide;
    float* gy = gx + wide;
    HorizontalPass(across_s.data(), across_d.data(), deriv.data(), smooth.data(), radius, w, gx,
                   gy);
    consume(i, gx, gy);
  }
}

}  // namespace vexa
