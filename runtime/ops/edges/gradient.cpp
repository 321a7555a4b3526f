// Separable gradient masks and their application: see gradient.h.
#include "ops/edges/gradient.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

namespace vexa {
namespace {

// Scales `smooth` to sum 1 and `deriv` to first moment 1 (sum of i *
// deriv[i] with i counted from the centre).
GradientMasks Normalized(cv::Mat deriv, cv::Mat smooth) {
  smooth /= cv::sum(smooth)[0];
  double moment = 0;
  const int half = deriv.rows / 2;
  for (int i = 0; i < deriv.rows; ++i) moment += (i - half) * deriv.at<double>(i);
  deriv /= moment;
  return {deriv, smooth};
}

}  // namespace

GradientMasks SobelMasks(int size) {
  cv::Mat deriv, smooth;
  cv::getDerivKernels(deriv, smooth, 1, 0, size, false, CV_64F);
  return Normalized(deriv, smooth);
}

GradientMasks PrewittMasks() {
  return Normalized((cv::Mat_<double>(3, 1) << -1, 0, 1), (cv::Mat_<double>(3, 1) << 1, 1, 1));
}

GradientMasks FreiMasks() {
  return Normalized((cv::Mat_<double>(3, 1) << -1, 0, 1),
                    (cv::Mat_<double>(3, 1) << 1, std::sqrt(2.0), 1));
}

void Gradients(const PixelBuffer& in, const cv::Rect& box, const GradientMasks& masks,
               cv::Mat* gx, cv::Mat* gy) {
  const FilterSource src = LinearFilterSource(in, box, masks.deriv.rows / 2);
  const int depth = WorkDepthOf(in.type());
  cv::sepFilter2D(src.Roi(), *gx, depth, masks.deriv, masks.smooth, cv::Point(-1, -1), 0,
                  kMirrorBorder);
  cv::sepFilter2D(src.Roi(), *gy, depth, masks.smooth, masks.deriv, cv::Point(-1, -1), 0,
                  kMirrorBorder);
}

}  // namespace vexa
