// Thinning and tracking of edge amplitudes: see edge_thinning.h.
#include "ops/edges/edge_thinning.h"

#include <cmath>
#include <vector>

namespace vexa {
namespace {

// The amplitude at real position (r, c) by bilinear interpolation, with
// mirrored coordinates.
double Interpolated(const cv::Mat& amp, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  const double fr = r - r0, fc = c - c0;
  auto at = [&](int rr, int cc) {
    return amp.at<double>(cv::borderInterpolate(rr, amp.rows, kMirrorBorder),
                          cv::borderInterpolate(cc, amp.cols, kMirrorBorder));
  };
  return (1 - fr) * ((1 - fc) * at(r0, c0) + fc * at(r0, c0 + 1)) +
         fr * ((1 - fc) * at(r0 + 1, c0) + fc * at(r0 + 1, c0 + 1));
}

}  // namespace

cv::Mat SuppressInterpolated(const cv::Mat& amp, const cv::Mat& angle) {
  cv::Mat out = amp.clone();
  for (int r = 0; r < amp.rows; ++r)
    for (int c = 0; c < amp.cols; ++c) {
      const double a = angle.at<double>(r, c);
      if (std::isnan(a)) continue;
      const double dc = std::cos(a), dr = -std::sin(a);
      const double v = amp.at<double>(r, c);
      if (v < Interpolated(amp, r + dr, c + dc) || v < Interpolated(amp, r - dr, c - dc))
        out.at<double>(r, c) = 0.0;
    }
  return out;
}

cv::Mat Hysteresis(const cv::Mat& amp, const cv::Mat& mask, double low, double high) {
  cv::Mat keep = cv::Mat::zeros(amp.size(), CV_8U);
  std::vector<cv::Point> stack;
  auto candidate = [&](int r, int c) {
    return mask.at<uint8_t>(r, c) != 0 && keep.at<uint8_t>(r, c) == 0 &&
           amp.at<double>(r, c) > low;
  };
  for (int r = 0; r < amp.rows; ++r)
    for (int c = 0; c < amp.cols; ++c) {
      if (!candidate(r, c) || !(amp.at<double>(r, c) > high)) continue;
      keep.at<uint8_t>(r, c) = 255;
      stack.push_back({c, r});
      while (!stack.empty()) {
        const cv::Point p = stack.back();
        stack.pop_back();
        for (int dr = -1; dr <= 1; ++dr)
          for (int dc = -1; dc <= 1; ++dc) {
            const int rr = p.y + dr, cc = p.x + dc;
            if (rr < 0 || cc < 0 || rr >= amp.rows || cc >= amp.cols || !candidate(rr, cc))
              continue;
            keep.at<uint8_t>(rr, cc) = 255;
            stack.push_back({cc, rr});
          }
      }
    }
  return keep;
}

}  // namespace vexa
