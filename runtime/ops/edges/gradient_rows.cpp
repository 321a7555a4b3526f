// Row-by-row separable gradients: see gradient_rows.h.
#include "ops/edges/gradient_rows.h"

#include <algorithm>
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
constexpr int kLanes = 8, kStep = 2 * kLanes, kBlock = 256;

int WholeBlocks(int n) { return (n + kBlock - 1) / kBlock * kBlock; }

inline Floats8 Load8(const float* p) {
  Floats8 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void Store8(float* p, Floats8 v) { std::memcpy(p, &v, sizeof v); }

// Along a row: deriv_out[c] and smooth_out[c] for the pixel at line[c +
// radius], c < WholeBlocks(n).
VEXA_ROW_CLONES
void HorizontalPass(const float* line, const float* deriv, const float* smooth, int radius,
                    int n, float* deriv_out, float* smooth_out) {
  for (int c = 0; c < n; c += kStep) {
    const float* centre = line + c + radius;
    Floats8 s0 = smooth[0] * Load8(centre), s1 = smooth[0] * Load8(centre + kLanes);
    Floats8 d0{}, d1{};
    for (int k = 1; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      const Floats8 lo0 = Load8(centre - k), hi0 = Load8(centre + k);
      const Floats8 lo1 = Load8(centre - k + kLanes), hi1 = Load8(centre + k + kLanes);
      d0 += td * (hi0 - lo0);
      d1 += td * (hi1 - lo1);
      s0 += ts * (hi0 + lo0);
      s1 += ts * (hi1 + lo1);
    }
    Store8(deriv_out + c, d0);
    Store8(deriv_out + c + kLanes, d1);
    Store8(smooth_out + c, s0);
    Store8(smooth_out + c + kLanes, s1);
  }
}

// Across rows: gx = smoothing of the derivative rows d_rows, gy =
// derivative of the smoothed rows s_rows, each 2 * radius + 1 rows around
// the output row; c < WholeBlocks(n). The sums of a block of kBlock
// columns stay in L1 while the taps run outside, so only four rows are
// read at a time.
VEXA_ROW_CLONES
void VerticalPass(const float* const* d_rows, const float* const* s_rows, const float* deriv,
                  const float* smooth, int radius, int n, float* gx, float* gy) {
  constexpr int kVectors = kBlock / kLanes;
  for (int c0 = 0; c0 < n; c0 += kBlock) {
    Floats8 x[kVectors], y[kVectors];
    const float* centre = d_rows[radius] + c0;
    for (int v = 0; v < kVectors; ++v) {
      x[v] = smooth[0] * Load8(centre + v * kLanes);
      y[v] = Floats8{};
    }
    for (int k = 1; k <= radius; ++k) {
      const float td = deriv[k], ts = smooth[k];
      const float *d_lo = d_rows[radius - k] + c0, *d_hi = d_rows[radius + k] + c0;
      const float *s_lo = s_rows[radius - k] + c0, *s_hi = s_rows[radius + k] + c0;
      for (int v = 0; v < kVectors; ++v) {
        const int o = v * kLanes;
        x[v] += ts * (Load8(d_hi + o) + Load8(d_lo + o));
        y[v] += td * (Load8(s_hi + o) - Load8(s_lo + o));
      }
    }
    std::memcpy(gx + c0, x, sizeof x);
    std::memcpy(gy + c0, y, sizeof y);
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

// Row `r` of `window` over columns [c0, c0 + n), mirrored at the window's
// sides, as float.
template <class T>
void LoadRow(const cv::Mat& window, int r, int c0, int n, float* out) {
  const T* row = window.ptr<T>(r);
  const int first = std::max(0, -c0), last = std::min(n, window.cols - c0);
  for (int i = 0; i < first; ++i)
    out[i] = static_cast<float>(row[cv::borderInterpolate(c0 + i, window.cols, kMirrorBorder)]);
  for (int i = first; i < last; ++i) out[i] = static_cast<float>(row[c0 + i]);
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
void QuantizeRow(const float* values, float scale, int n, int16_t* out) {
  // Adding and removing 1.5 * 2^23 rounds to the nearest integer, ties to
  // even, as cvRound does.
  constexpr float kRound = 12582912.0f;
  ForChunks(n, [&](int i) {
    out[i] = static_cast<int16_t>((values[i] * scale + kRound) - kRound);
  });
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
  const int w = box.width, padded = w + 2 * radius, wide = WholeBlocks(w);
  // The horizontal pass of the rows around the current one: derivative and
  // smoothing, ring slot r % taps for window row r.
  std::vector<float> ring(static_cast<size_t>(2 * taps) * static_cast<size_t>(wide));
  std::vector<float> line(static_cast<size_t>(wide + 2 * radius));
  std::vector<float> gx(static_cast<size_t>(wide)), gy(static_cast<size_t>(wide));
  auto slot = [&](int r, int which) {
    const int s = ((r % taps) + taps) % taps;
    return ring.data() + static_cast<size_t>(2 * s + which) * static_cast<size_t>(wide);
  };
  auto horizontal = [&](int r) {
    const int rr = cv::borderInterpolate(r, window.rows, kMirrorBorder);
    const int c0 = src.box.x - radius;
    switch (window.depth()) {
      case CV_8U: LoadRow<uint8_t>(window, rr, c0, padded, line.data()); break;
      case CV_16U: LoadRow<uint16_t>(window, rr, c0, padded, line.data()); break;
      case CV_16S: LoadRow<int16_t>(window, rr, c0, padded, line.data()); break;
      default: LoadRow<float>(window, rr, c0, padded, line.data()); break;
    }
    HorizontalPass(line.data(), deriv.data(), smooth.data(), radius, w, slot(r, 0), slot(r, 1));
  };
  const int y0 = src.box.y;
  for (int r = y0 - radius; r < y0 + radius; ++r) horizontal(r);
  std::vector<const float*> rows_d(static_cast<size_t>(taps)), rows_s(static_cast<size_t>(taps));
  for (int i = 0; i < box.height; ++i) {
    const int centre = y0 + i;
    horizontal(centre + radius);
    for (int k = 0; k < taps; ++k) {
      rows_d[static_cast<size_t>(k)] = slot(centre - radius + k, 0);
      rows_s[static_cast<size_t>(k)] = slot(centre - radius + k, 1);
    }
    VerticalPass(rows_d.data(), rows_s.data(), deriv.data(), smooth.data(), radius, w, gx.data(),
                 gy.data());
    consume(i, gx.data(), gy.data());
  }
}

}  // namespace vexa
