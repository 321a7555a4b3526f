// Peaks of an interest response: see response_peaks.h.
#include "ops/edges/response_peaks.h"

#include "ops/common/cv_wrap.h"

namespace vexa {

void ResponsePeaks(const cv::Mat& response, const cv::Rect& outer, const Region& domain,
                   double threshold, bool subpix, std::vector<double>* rows,
                   std::vector<double>* cols) {
  auto at = [&](int r, int c) {
    return response.at<double>(cv::borderInterpolate(r - outer.y, response.rows, kMirrorBorder),
                               cv::borderInterpolate(c - outer.x, response.cols, kMirrorBorder));
  };
  auto offset = [subpix](double minus, double mid, double plus) {
    const double d = minus - 2 * mid + plus;
    return subpix && d < 0 ? 0.5 * (minus - plus) / d : 0.0;
  };
  for (const Chord& ch : domain.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      const double v = at(ch.r, c);
      if (!(v > threshold)) continue;
      bool peak = true;
      for (int dr = -1; dr <= 1 && peak; ++dr)
        for (int dc = -1; dc <= 1 && peak; ++dc) {
          if (dr == 0 && dc == 0) continue;
          const double n = at(ch.r + dr, c + dc);
          // Plateaus: only the first pixel in row order counts.
          peak = dr < 0 || (dr == 0 && dc < 0) ? v > n : v >= n;
        }
      if (!peak) continue;
      rows->push_back(ch.r + offset(at(ch.r - 1, c), v, at(ch.r + 1, c)));
      cols->push_back(c + offset(at(ch.r, c - 1), v, at(ch.r, c + 1)));
    }
}

}  // namespace vexa
