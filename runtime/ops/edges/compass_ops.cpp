// Compass edge filters: kirsch_amp, kirsch_dir, robinson_amp,
// robinson_dir. Eight 3x3 masks, one per direction k * 45 degrees
// (counted counter-clockwise from the column axis, rows pointing down);
// the amplitude is the strongest response, scaled so that a straight step
// of height h gives h, and the direction that of the strongest mask (the
// first of equal ones), in the 2-degree steps of direction images.
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "registry.h"

namespace vexa {
namespace {

// The weight of the neighbour at angle `offset` (degrees) from the mask's
// direction.
using CompassWeight = double (*)(int offset);

// Kirsch: 5 on the three neighbours toward the direction, -3 elsewhere.
double KirschWeight(int offset) { return offset <= 45 ? 5.0 : -3.0; }
// Robinson: 2 cos(offset) rounded: 2, 1, 0, -1, -2.
double RobinsonWeight(int offset) { return std::round(2.0 * std::cos(offset * M_PI / 180.0)); }

std::vector<cv::Mat> CompassMasks(CompassWeight weight) {
  std::vector<cv::Mat> masks;
  for (int k = 0; k < 8; ++k) {
    cv::Mat m = cv::Mat::zeros(3, 3, CV_64F);
    for (int j = 0; j < 8; ++j) {
      // Neighbour j lies at angle j * 45 degrees: column cos, row -sin.
      const int dc = static_cast<int>(std::lround(std::cos(j * M_PI / 4)));
      const int dr = -static_cast<int>(std::lround(std::sin(j * M_PI / 4)));
      int offset = std::abs(j - k) * 45;
      if (offset > 180) offset = 360 - offset;
      m.at<double>(1 + dr, 1 + dc) = weight(offset);
    }
    masks.push_back(m);
  }
  return masks;
}

Vresult Compass(OpContext& ctx, CompassWeight weight, double scale, bool with_dir) {
  const std::vector<cv::Mat> masks = CompassMasks(weight);
  return FilterImages(ctx, with_dir ? 2 : 1, AmpAndDirection,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    const FilterSource src = SourceFor(in, area.box, 1, CV_64F);
    cv::Mat best(area.box.size(), CV_64F, cv::Scalar(-HUGE_VAL));
    cv::Mat index(area.box.size(), CV_8U, cv::Scalar(0));
    cv::Mat response;
    for (int k = 0; k < 8; ++k) {
      cv::filter2D(src.Roi(), response, CV_64F, masks[static_cast<size_t>(k)],
                   cv::Point(-1, -1), 0, kMirrorBorder);
      const cv::Mat better = response > best;
      response.copyTo(best, better);
      index.setTo(k, better);
    }
    // Integer weights keep the responses of integer images exact, so that
    // equal responses are equal and the first of them wins.
    StoreInDomain(best * scale, area.box, area.domain, outs[0]);
    if (with_dir) {
      // The responses of all eight masks sum to 0, so the strongest is
      // positive unless the neighbourhood is flat, which has no direction.
      cv::Mat codes(area.box.size(), CV_8U);
      for (int r = 0; r < codes.rows; ++r)
        for (int c = 0; c < codes.cols; ++c)
          codes.at<uint8_t>(r, c) = best.at<double>(r, c) <= 0
                                        ? 255
                                        : static_cast<uint8_t>(index.at<uint8_t>(r, c) * 45 / 2);
      StoreInDomain(codes, area.box, area.domain, outs[1]);
    }
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(kirsch_amp) { return Compass(ctx, KirschWeight, 1.0 / 15, false); }
VEXA_OPERATOR(kirsch_dir) { return Compass(ctx, KirschWeight, 1.0 / 15, true); }
VEXA_OPERATOR(robinson_amp) { return Compass(ctx, RobinsonWeight, 1.0 / 4, false); }
VEXA_OPERATOR(robinson_dir) { return Compass(ctx, RobinsonWeight, 1.0 / 4, true); }

}  // namespace vexa
