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

// Both passes sum sixteen floats at a time (GCC vector types, which become
// one AVX-512, two AVX2 or four SSE2 instructions as the clone is
// compiled); the buffers they read and write are padded to whole blocks of
// kBlock columns. The smoothing mask is symmetric and the derivative mask
// antisymmetric, so each pass adds (smoothing) or subtracts (derivative)
// the two values at +-k before weighting them: taps[k] is the mask's value
// at centre + k.
typedef float Floats16 __attribute__((vector_size(64)));
constexpr int kLanes = 16, kStep = 2 * kLanes, kBlock = 256;

int WholeBlocks(int n) { return (n + kBlock - 1) / kBlock * kBlock; }

// Loads as an expression, not a call, and stores as a statement: a vector
// passed or returned by value follows a calling convention that depends on
// the instruction set, which the clones do not share.
#define VEXA_LOAD16(p)                               \
  ({                                                 \
    Floats16 loaded_;                                \
    std::memcpy(&loaded_, (p), sizeof loaded_);      \
    loaded_;                                         \
  })
#define VEXA_STORE16(p, v) std::memcpy((p), &(v), sizeof(Floats16))

// Along a row: deriv_out[c] from deriv_src and smooth_out[c] from
// smooth_src, for the pixel at index c + radius of either, c <
// WholeBlocks(n). Two vectors of each result per step stay in registers
// over all taps; the rows lie in L1.
VEXA_ROW_CLONES VEXA_NO_CONTRACT
void HorizontalPass(const float* deriv_src, const float* smooth_src, const float* deriv,
                    const float* smooth, int radius, int n, float* deriv_out, float* smooth_out) {
  for (int c = 0; c < n; c += kStep) {
    const float* dc = deriv_src + c + radius;
    const float* sc = smooth_src + c + radius;
    Floats16 s0 = smooth[0] * VEXA_LOAD16(sc), s1 = smooth[0] * VEXA_LOAD16(sc + kLanes);
    Floats16 d0{}, d1{};
    for (int k = 1; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      d0 += td * (VEXA_LOAD16(dc + k) - VEXA_LOAD16(dc - k));
      d1 += td * (VEXA_LOAD16(dc + k + kLanes) - VEXA_LOAD16(dc - k + kLanes));
      s0 += ts * (VEXA_LOAD16(sc + k) + VEXA_LOAD16(sc - k));
      s1 += ts * (VEXA_LOAD16(sc + k + kLanes) + VEXA_LOAD16(sc - k + kLanes));
    }
    VEXA_STORE16(deriv_out + c, d0);
    VEXA_STORE16(deriv_out + c + kLanes, d1);
    VEXA_STORE16(smooth_out + c, s0);
    VEXA_STORE16(smooth_out + c + kLanes, s1);
  }
}

// Across rows: the derivative and the smoothing of the 2 * radius + 1
// rows around the output row, for c < n rounded up to kStep. The sums of
// kStep columns stay in registers over all taps, added in the same order
// as along the rows: centre, then the pairs at +-1, +-2, ...
VEXA_ROW_CLONES VEXA_NO_CONTRACT
void VerticalPass(const float* const* rows, const float* deriv, const float* smooth, int radius,
                  int n, float* deriv_out, float* smooth_out) {
  for (int c = 0; c < n; c += kStep) {
    const float *l = rows[radius - 1] + c, *m = rows[radius] + c, *h = rows[radius + 1] + c;
    Floats16 s0 = smooth[0] * VEXA_LOAD16(m), s1 = smooth[0] * VEXA_LOAD16(m + kLanes);
    Floats16 d0 = deriv[1] * (VEXA_LOAD16(h) - VEXA_LOAD16(l));
    Floats16 d1 = deriv[1] * (VEXA_LOAD16(h + kLanes) - VEXA_LOAD16(l + kLanes));
    s0 += smooth[1] * (VEXA_LOAD16(h) + VEXA_LOAD16(l));
    s1 += smooth[1] * (VEXA_LOAD16(h + kLanes) + VEXA_LOAD16(l + kLanes));
    for (int k = 2; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      const float *lo = rows[radius - k] + c, *hi = rows[radius + k] + c;
      d0 += td * (VEXA_LOAD16(hi) - VEXA_LOAD16(lo));
      d1 += td * (VEXA_LOAD16(hi + kLanes) - VEXA_LOAD16(lo + kLanes));
      s0 += ts * (VEXA_LOAD16(hi) + VEXA_LOAD16(lo));
      s1 += ts * (VEXA_LOAD16(hi + kLanes) + VEXA_LOAD16(lo + kLanes));
    }
    VEXA_STORE16(deriv_out + c, d0);
    VEXA_STORE16(deriv_out + c + kLanes, d1);
    VEXA_STORE16(smooth_out + c, s0);
    VEXA_STORE16(smooth_out + c + kLanes, s1);
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

VEXA_ROW_CLONES VEXA_NO_CONTRACT
int ScanRow(const float* gx, const float* gy, int n, float limit, int32_t* cols,
            float* largest) {
  // The bits of |x| order like the values; NaN lies above infinity. The
  // loops over a step have a constant trip count, which the compiler
  // vectorises; a step none of whose pixels passes is not visited again.
  constexpr uint32_t kAbs = 0x7fffffffu;
  auto magnitude_bits = [](const float* p) {
    uint32_t bits;
    std::memcpy(&bits, p, sizeof bits);
    return bits & kAbs;
  };
  uint32_t top[kStep] = {};
  int count = 0;
  int c0 = 0;
  for (; c0 + kStep <= n; c0 += kStep) {
    uint8_t above[kStep];
    for (int k = 0; k < kStep; ++k) {
      const float x = gx[c0 + k], y = gy[c0 + k];
      top[k] = std::max({top[k], magnitude_bits(gx + c0 + k), magnitude_bits(gy + c0 + k)});
      above[k] = x * x + y * y > limit;
    }
    // The flags (bytes of 0 or 1) as bits: the product moves byte i's
    // bit to bit 56 + i, and no two partial products meet.
    uint64_t words[kStep / 8];
    std::memcpy(words, above, sizeof words);
    uint32_t mask = 0;
    for (int i = 0; i < kStep / 8; ++i)
      mask |= static_cast<uint32_t>((words[i] * 0x0102040810204080ull) >> 56) << (8 * i);
    for (; mask != 0; mask &= mask - 1) cols[count++] = c0 + __builtin_ctz(mask);
  }
  for (; c0 < n; ++c0) {
    top[0] = std::max({top[0], magnitude_bits(gx + c0), magnitude_bits(gy + c0)});
    if (gx[c0] * gx[c0] + gy[c0] * gy[c0] > limit) cols[count++] = c0;
  }
  uint32_t top_bits = magnitude_bits(largest);
  for (const uint32_t t : top) top_bits = std::max(top_bits, t);
  std::memcpy(largest, &top_bits, sizeof top_bits);
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
