// The gray-value relief: gray_skeleton keeps the ridge pixels, and
// topographic_sketch names the kind of relief at every pixel.
#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/filter/filter_support.h"
#include "registry.h"

namespace vexa {
namespace {

// Kinds of relief that topographic_sketch stores.
enum Relief : uint8_t {
  kPeak = 1,
  kPit = 2,
  kSaddle = 3,
  kRidge = 4,
  kRavine = 5,
  kFlat = 6,
  kHillside = 7,
};

// Below these a slope (gray values per pixel) and a curvature (per pixel
// squared) count as none.
constexpr double kFlatSlope = 0.5;
constexpr double kFlatCurvature = 0.5;

Relief ReliefOf(double fr, double fc, double frr, double frc, double fcc) {
  if (std::hypot(fr, fc) >= kFlatSlope) return kHillside;
  // Eigenvalues of the Hessian, l1 >= l2.
  const double mean = 0.5 * (frr + fcc);
  const double spread = std::hypot(0.5 * (frr - fcc), frc);
  const double l1 = mean + spread, l2 = mean - spread;
  const bool up1 = l1 > kFlatCurvature, down2 = l2 < -kFlatCurvature;
  const bool level1 = std::fabs(l1) <= kFlatCurvature, level2 = std::fabs(l2) <= kFlatCurvature;
  if (l1 < -kFlatCurvature) return kPeak;
  if (l2 > kFlatCurvature) return kPit;
  if (up1 && down2) return kSaddle;
  if (level1 && down2) return kRidge;
  if (up1 && level2) return kRavine;
  return kFlat;
}

}  // namespace

// A pixel is kept (with its value) when along one of the four directions
// (row, column, both diagonals) neither neighbour is higher and one is
// lower; every other pixel of the domain becomes 0. The neighbours follow
// the mirror border.
VEXA_OPERATOR(gray_skeleton) {
  return FilterImages(ctx, FilterableType, [](const cv::Mat& src, cv::Mat& dst,
                                              const cv::Rect& rect) {
    cv::Mat tile;
    BorderedTile(src, rect, 1, 1, Border{}).convertTo(tile, CV_64F);
    cv::Mat kept = cv::Mat::zeros(rect.size(), CV_64F);
    const int dr[] = {0, 1, 1, 1}, dc[] = {1, 0, 1, -1};
    for (int r = 1; r <= rect.height; ++r)
      for (int c = 1; c <= rect.width; ++c) {
        const double v = tile.at<double>(r, c);
        for (int k = 0; k < 4; ++k) {
          const double a = tile.at<double>(r + dr[k], c + dc[k]);
          const double b = tile.at<double>(r - dr[k], c - dc[k]);
          if (a <= v && b <= v && (a < v || b < v)) {
            kept.at<double>(r - 1, c - 1) = v;
            break;
          }
        }
      }
    cv::Mat out = dst(rect);
    kept.convertTo(out, dst.type());
    return VRESULT_OK;
  });
}

// The relief of the image smoothed by a Gaussian of sigma 1, from central
// differences: 7 hillside (slope at least 0.5), else by the Hessian's
// eigenvalues l1 >= l2 against 0.5: 1 peak (both below -0.5), 2 pit (both
// above 0.5), 3 saddle, 4 ridge (l2 below, l1 level), 5 ravine (l1 above,
// l2 level), 6 flat. Byte result.
VEXA_OPERATOR(topographic_sketch) {
  const auto to_byte = [](PixelType in, PixelType* out) {
    *out = PixelType::kByte;
    return CvDepthOf(in) >= 0;
  };
  return FilterImages(ctx, to_byte, [](const cv::Mat& src, cv::Mat& dst,
                                       const cv::Rect& rect) {
    // Sigma 1 reaches 4 pixels; the differences one more.
    constexpr int kMargin = 5;
    cv::Mat tile, f;
    BorderedTile(src, rect, kMargin, kMargin, Border{}).convertTo(tile, CV_64F);
    cv::GaussianBlur(tile, f, cv::Size(9, 9), 1.0, 1.0, cv::BORDER_REFLECT_101);
    for (int r = 0; r < rect.height; ++r) {
      uint8_t* out = dst.ptr<uint8_t>(rect.y + r) + rect.x;
      const double* up = f.ptr<double>(kMargin + r - 1) + kMargin;
      const double* mid = f.ptr<double>(kMargin + r) + kMargin;
      const double* down = f.ptr<double>(kMargin + r + 1) + kMargin;
      for (int c = 0; c < rect.width; ++c) {
        const double fr = 0.5 * (down[c] - up[c]), fc = 0.5 * (mid[c + 1] - mid[c - 1]);
        const double frr = down[c] - 2 * mid[c] + up[c], fcc = mid[c + 1] - 2 * mid[c] + mid[c - 1];
        const double frc = 0.25 * (down[c + 1] - down[c - 1] - up[c + 1] + up[c - 1]);
        out[c] = ReliefOf(fr, fc, frr, frc, fcc);
      }
    }
    return VRESULT_OK;
  });
}

}  // namespace vexa
