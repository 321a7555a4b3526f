// Gaussian derivative masks: see gauss_masks.h.
#include "ops/edges/gauss_masks.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"

namespace vexa {

Vresult GetSigma(const OpContext& ctx, int par, double* sigma) {
  const Vresult rc = ctx.GetDouble(par, sigma);
  if (rc != VRESULT_OK) return rc;
  return *sigma > 0 && *sigma <= kMaxSigma ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

int GaussRadius(double sigma) { return std::max(1, static_cast<int>(std::ceil(4.0 * sigma))); }

cv::Mat GaussMask(double sigma, int order) {
  const int radius = GaussRadius(sigma);
  cv::Mat g(2 * radius + 1, 1, CV_64F);
  const double s2 = sigma * sigma;
  for (int i = -radius; i <= radius; ++i)
    g.at<double>(i + radius) = std::exp(-0.5 * i * i / s2);
  g /= cv::sum(g)[0];
  cv::Mat mask = g.clone();
  for (int i = -radius; i <= radius; ++i) {
    const double x = i;
    double poly = 1.0;
    if (order == 1) poly = x / s2;
    else if (order == 2) poly = (x * x - s2) / (s2 * s2);
    else if (order == 3) poly = (x * x * x - 3.0 * x * s2) / (s2 * s2 * s2);
    mask.at<double>(i + radius) *= poly;
  }
  // The truncated, sampled mask misses the exact moments by a little:
  // correct them, so that polynomials up to the third degree come out
  // exact (a constant must give 0 for every derivative, or large gray
  // values leak into it).
  auto moment = [&](const cv::Mat& m, int k) {
    double sum = 0;
    for (int i = -radius; i <= radius; ++i) sum += std::pow(i, k) * m.at<double>(i + radius);
    return sum;
  };
  if (order == 2) mask -= moment(mask, 0) * g;  // g sums to 1
  if (order == 3) {
    cv::Mat first = GaussMask(sigma, 1);
    mask -= moment(mask, 1) * first;  // first has first moment 1
  }
  if (order > 0) mask /= moment(mask, order) / std::tgamma(order + 1.0);
  return mask;
}

cv::Mat GaussDerivative(const PixelBuffer& in, const cv::Rect& box, double sigma, int ox,
                        int oy, bool fast) {
  const FilterSource src = fast ? LinearFilterSource(in, box, GaussRadius(sigma))
                                : SourceFor(in, box, GaussRadius(sigma), CV_64F);
  cv::Mat out;
  cv::sepFilter2D(src.Roi(), out, fast ? WorkDepthOf(in.type()) : CV_64F, GaussMask(sigma, ox),
                  GaussMask(sigma, oy),
                  cv::Point(-1, -1), 0, kMirrorBorder);
  return out;
}

}  // namespace vexa
