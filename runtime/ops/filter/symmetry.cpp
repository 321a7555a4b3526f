// symmetry: how alike the gray values are on either side of each pixel
// along a direction. For the pairs of points p + k u and p - k u, k = 1 ..
// mask_size / 2, u the unit vector of `direction` (radians, counter-
// clockwise from the column axis), sampled bilinearly over a mirrored
// tile, D is the mean absolute difference of the pair's values and the
// result 255 (1 - D / 255)^exponent, rounded. Byte images.
#include <algorithm>
#include <cmath>

#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

double Bilinear(const cv::Mat& tile, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  const double fr = r - r0, fc = c - c0;
  const double* a = tile.ptr<double>(r0);
  const double* b = tile.ptr<double>(r0 + 1);
  return (1 - fr) * ((1 - fc) * a[c0] + fc * a[c0 + 1]) + fr * ((1 - fc) * b[c0] + fc * b[c0 + 1]);
}

}  // namespace

VEXA_OPERATOR(symmetry) {
  int size = 0;
  double direction = 0.0, exponent = 0.0;
  Vresult rc = ReadInt(ctx, 0, 3, kMaxMaskSide, &size);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, -1e6, 1e6, &direction);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 1e-6, 100.0, &exponent);
  if (rc != VRESULT_OK) return rc;
  const int pairs = size / 2;
  const double ur = -std::sin(direction), uc = std::cos(direction);
  // Bilinear samples reach one pixel beyond the farthest point.
  const int margin = pairs + 1;
  return FilterImages(ctx, ByteToByte, [&](const cv::Mat& src, cv::Mat& dst,
                                           const cv::Rect& rect) {
    cv::Mat tile;
    BorderedTile(src, rect, margin, margin, Border{}).convertTo(tile, CV_64F);
    for (int r = 0; r < rect.height; ++r) {
      uint8_t* out = dst.ptr<uint8_t>(rect.y + r) + rect.x;
      for (int c = 0; c < rect.width; ++c) {
        double sum = 0.0;
        for (int k = 1; k <= pairs; ++k) {
          const double a = Bilinear(tile, margin + r + k * ur, margin + c + k * uc);
          const double b = Bilinear(tile, margin + r - k * ur, margin + c - k * uc);
          sum += std::fabs(a - b);
        }
        const double alike = std::max(0.0, 1.0 - sum / pairs / 255.0);
        out[c] = static_cast<uint8_t>(std::lround(255.0 * std::pow(alike, exponent)));
      }
    }
    return VRESULT_OK;
  });
}

}  // namespace vexa
