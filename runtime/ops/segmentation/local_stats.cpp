#include "ops/segmentation/local_stats.h"

#include <algorithm>
#include <cmath>

#include "ops/common/pixel_dispatch.h"

namespace vexa {
namespace {

// Index i mirrored into [0, n) without repeating the edge (-1 -> 1).
int32_t Mirror(int64_t i, int64_t n) {
  if (n == 1) return 0;
  const int64_t period = 2 * (n - 1);
  i %= period;
  if (i < 0) i += period;
  return static_cast<int32_t>(i < n ? i : period - i);
}

}  // namespace

LocalStats ComputeLocalStats(const PixelBuffer& image, int32_t w, int32_t h) {
  const int32_t width = image.width(), height = image.height();
  const size_t npx = static_cast<size_t>(width) * static_cast<size_t>(height);
  LocalStats out;
  out.mean.resize(npx);
  out.deviation.resize(npx);
  const int32_t up = (h - 1) / 2, down = h / 2, left = (w - 1) / 2, right = w / 2;
  DispatchPixelType(image.type(), [&](auto tag) {
    const auto* px = PixelsOf(image, tag);
    auto at = [&](int32_t r, int32_t c) {
      return static_cast<double>(px[static_cast<size_t>(r) * static_cast<size_t>(width) + static_cast<size_t>(c)]);
    };
    // Column sums over the window rows of the current row, kept by adding
    // the row entering and removing the row leaving.
    std::vector<double> s1(static_cast<size_t>(width), 0.0), s2(s1);
    auto add_row = [&](int64_t rr, double sign) {
      const int32_t r = Mirror(rr, height);
      for (int32_t c = 0; c < width; ++c) {
        const double v = at(r, c);
        s1[static_cast<size_t>(c)] += sign * v;
        s2[static_cast<size_t>(c)] += sign * v * v;
      }
    };
    for (int64_t rr = -up; rr <= down; ++rr) add_row(rr, 1.0);
    // Prefix sums of the column sums along the mirrored, padded row.
    const size_t padded = static_cast<size_t>(width) + static_cast<size_t>(left + right);
    std::vector<double> p1(padded + 1), p2(padded + 1);
    const double area = static_cast<double>(w) * static_cast<double>(h);
    for (int32_t r = 0; r < height; ++r) {
      if (r > 0) {
        add_row(int64_t{r} - up - 1, -1.0);
        add_row(int64_t{r} + down, 1.0);
      }
      for (size_t i = 0; i < padded; ++i) {
        const size_t c = static_cast<size_t>(Mirror(static_cast<int64_t>(i) - left, width));
        p1[i + 1] = p1[i] + s1[c];
        p2[i + 1] = p2[i] + s2[c];
      }
      for (int32_t c = 0; c < width; ++c) {
        const size_t a = static_cast<size_t>(c), b = a + static_cast<size_t>(w);
        const double m = (p1[b] - p1[a]) / area;
        const double var = (p2[b] - p2[a]) / area - m * m;
        const size_t k = static_cast<size_t>(r) * static_cast<size_t>(width) + a;
        out.mean[k] = m;
        out.deviation[k] = std::sqrt(std::max(0.0, var));
      }
    }
  });
  return out;
}

}  // namespace vexa
