#include "ops/filter/box_mean3.h"

#include <cstdint>
#include <vector>

#include "ops/image/simd_clones.h"

namespace vexa {
namespace {

// round(s / 9) = floor((s + 4) / 9) = ((s + 4) * kNinth) >> 16 for every
// sum of nine bytes (s + 4 <= 2299): kNinth / 2^16 exceeds 1/9 by
// 1/(9 * 32768), which moves no quotient across an integer in that range.
constexpr uint32_t kNinth = 7282;

// Position i of a line of n mirrored into it (i is at most one outside).
int Mirror(int i, int n) {
  if (n == 1) return 0;
  return i < 0 ? 1 : i >= n ? n - 2 : i;
}

// The loops below are vectorised in every build type: at -O2 GCC's
// cheapest cost model would leave them scalar (they need a remainder and
// an overlap check), and the tests would not run the code that ships.
#define VEXA_VECTORISED VEXA_SIMD_CLONES __attribute__((optimize("vect-cost-model=dynamic")))

// cols[k] = r0[k] + r1[k] + r2[k] for k in [0, n).
VEXA_VECTORISED void ColumnSums(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2,
                                int n, uint16_t* cols) {
  for (int k = 0; k < n; ++k)
    cols[k] = static_cast<uint16_t>(r0[k] + r1[k] + r2[k]);
}

// out[j] = the rounded ninth of cols[j] + cols[j + 1] + cols[j + 2].
VEXA_VECTORISED void NinthsOfTriples(const uint16_t* cols, int n, uint8_t* out) {
  for (int j = 0; j < n; ++j) {
    const uint16_t s = static_cast<uint16_t>(cols[j] + cols[j + 1] + cols[j + 2] + 4);
    out[j] = static_cast<uint8_t>((static_cast<uint32_t>(s) * kNinth) >> 16);
  }
}

}  // namespace

void BoxMean3Bytes(const cv::Mat& src, const cv::Rect& rect, cv::Mat& dst) {
  CV_Assert(src.depth() == CV_8U && dst.depth() == CV_8U && src.size() == dst.size());
  const int rows = src.rows, width = src.cols;
  // Column sums of the image columns c0 .. c1 - 1 sit at cols[c - rect.x + 1];
  // the mirrored columns left and right of rect, when outside the image,
  // are copied in after.
  const int c0 = rect.x > 0 ? rect.x - 1 : rect.x;
  const int c1 = rect.x + rect.width < width ? rect.x + rect.width + 1 : rect.x + rect.width;
  std::vector<uint16_t> cols(static_cast<size_t>(rect.width) + 2);
  uint16_t* first = cols.data() + (c0 - rect.x + 1);
  const int left = Mirror(rect.x - 1, width), right = Mirror(rect.x + rect.width, width);
  for (int y = rect.y; y < rect.y + rect.height; ++y) {
    ColumnSums(src.ptr<uint8_t>(Mirror(y - 1, rows)) + c0, src.ptr<uint8_t>(y) + c0,
               src.ptr<uint8_t>(Mirror(y + 1, rows)) + c0, c1 - c0, first);
    if (rect.x == 0) cols[0] = cols[left - rect.x + 1];
    if (c1 == rect.x + rect.width) cols[rect.width + 1] = cols[right - rect.x + 1];
    NinthsOfTriples(cols.data(), rect.width, dst.ptr<uint8_t>(y) + rect.x);
  }
}

}  // namespace vexa
