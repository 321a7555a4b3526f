// Inpainting by coherence transport (inpainting_ct): the region is filled
// from its border inwards, in the order of the Euclidean distance to the
// known pixels (ties in row order), each pixel p the weighted mean of the
// pixels q already known within the distance epsilon, all channels with
// the same weights
//   w(p, q) = exp(-kappa^2 s(p) <n(p), q - p>^2 / (2 epsilon^2)) / |q - p|,
// n the normal of the coherence direction at p and s in [0, 1] its
// strength, ((mu1 - mu2) / (mu1 + mu2 + 1e-9))^2 of the structure tensor. Weights
// thus favour the pixels along the structure where it is coherent and fall
// back to inverse distances where it is not.
//
// The structure tensor is that of the known pixels: each channel smoothed
// by the Gaussian of sigma over the known pixels only (normalised
// convolution), central gradients where a pixel and its 4 neighbours are
// known, their products averaged by the Gaussian of rho over those
// positions; channels after the first weighted by channel_coefficient.
#include <algorithm>
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/filter/curvature_flows.h"
#include "ops/filter/inpainting.h"
#include "registry.h"

namespace vexa {
namespace {

// Added to the tensor's trace in the strength, so that the rounding noise
// of a flat image gives no direction.
constexpr double kFlatTensor = 1e-9;

struct Transport {
  double epsilon, kappa, sigma, rho, channel_weight;
};

// Per pixel the coherence direction (cx, cy) and its strength.
struct Guidance {
  cv::Mat cx, cy, strength;
};

// G * (values weights) / G * weights, 0 where no weight reaches.
cv::Mat NormalisedSmoothed(const cv::Mat& values, const cv::Mat& weights, double sigma) {
  const cv::Mat num = GaussianSmoothed(values.mul(weights), sigma);
  const cv::Mat den = GaussianSmoothed(weights, sigma);
  cv::Mat out = cv::Mat::zeros(values.size(), CV_64F);
  for (int y = 0; y < out.rows; ++y)
    for (int x = 0; x < out.cols; ++x) {
      const double d = den.at<double>(y, x);
      if (d > 1e-12) out.at<double>(y, x) = num.at<double>(y, x) / d;
    }
  return out;
}

Guidance KnownGuidance(const std::vector<cv::Mat>& channels, const cv::Mat& known,
                       const Transport& t) {
  cv::Mat weight, inner, valid;
  known.convertTo(weight, CV_64F, 1.0 / 255.0);
  cv::erode(known, inner, cv::getStructuringElement(cv::MORPH_CROSS, cv::Size(3, 3)),
            cv::Point(-1, -1), 1, cv::BORDER_REFLECT_101);
  inner.convertTo(valid, CV_64F, 1.0 / 255.0);
  cv::Mat jxx = cv::Mat::zeros(known.size(), CV_64F), jxy = jxx.clone(), jyy = jxx.clone();
  for (size_t ch = 0; ch < channels.size(); ++ch) {
    const Derivatives d = CentralDerivatives(NormalisedSmoothed(channels[ch], weight, t.sigma));
    const double w = ch == 0 ? 1.0 : t.channel_weight;
    jxx += w * d.x.mul(d.x);
    jxy += w * d.x.mul(d.y);
    jyy += w * d.y.mul(d.y);
  }
  jxx = NormalisedSmoothed(jxx, valid, t.rho);
  jxy = NormalisedSmoothed(jxy, valid, t.rho);
  jyy = NormalisedSmoothed(jyy, valid, t.rho);
  Guidance g;
  for (cv::Mat* m : {&g.cx, &g.cy, &g.strength}) m->create(known.size(), CV_64F);
  for (int y = 0; y < known.rows; ++y)
    for (int x = 0; x < known.cols; ++x) {
      const double p = jxx.at<double>(y, x), q = jxy.at<double>(y, x), r = jyy.at<double>(y, x);
      const double gap = std::sqrt((p - r) * (p - r) + 4 * q * q);
      g.strength.at<double>(y, x) = std::pow(gap / (p + r + kFlatTensor), 2);
      CoherenceDirection(p, q, r, &g.cx.at<double>(y, x), &g.cy.at<double>(y, x));
    }
  return g;
}

Vresult TransportFill(std::vector<cv::Mat>& channels, const cv::Mat& mask, const Transport& t) {
  cv::Mat known = mask == 0;
  if (cv::countNonZero(known) == 0) return VERR_EMPTY_OBJECT;
  const Guidance guide = KnownGuidance(channels, known, t);
  cv::Mat distance;
  cv::distanceTransform(mask, distance, cv::DIST_L2, cv::DIST_MASK_PRECISE);
  std::vector<std::pair<float, int>> order;
  for (int y = 0; y < mask.rows; ++y)
    for (int x = 0; x < mask.cols; ++x)
      if (mask.at<uint8_t>(y, x)) order.push_back({distance.at<float>(y, x), y * mask.cols + x});
  std::sort(order.begin(), order.end());
  const int reach = static_cast<int>(std::floor(t.epsilon));
  std::vector<cv::Point> offsets;
  for (int dy = -reach; dy <= reach; ++dy)
    for (int dx = -reach; dx <= reach; ++dx)
      if ((dx || dy) && dx * dx + dy * dy <= t.epsilon * t.epsilon) offsets.push_back({dx, dy});
  const double sharpness = t.kappa * t.kappa / (2 * t.epsilon * t.epsilon);
  std::vector<double> sums(channels.size());
  for (const auto& [d, at] : order) {
    const int y = at / mask.cols, x = at % mask.cols;
    const double cx = guide.cx.at<double>(y, x), cy = guide.cy.at<double>(y, x);
    const double focus = sharpness * guide.strength.at<double>(y, x);
    double total = 0.0;
    std::fill(sums.begin(), sums.end(), 0.0);
    for (const cv::Point& o : offsets) {
      const int qy = y + o.y, qx = x + o.x;
      if (qy < 0 || qx < 0 || qy >= mask.rows || qx >= mask.cols || !known.at<uint8_t>(qy, qx))
        continue;
      const double across = cx * o.y - cy * o.x;
      const double w = std::exp(-focus * across * across) / std::hypot(o.x, o.y);
      total += w;
      for (size_t ch = 0; ch < channels.size(); ++ch) sums[ch] += w * channels[ch].at<double>(qy, qx);
    }
    // A pixel nearer to the known ones always has been filled among the
    // 8 neighbours, which epsilon >= 1.5 covers.
    if (!(total > 0.0)) return VERR_INTERNAL;
    for (size_t ch = 0; ch < channels.size(); ++ch) channels[ch].at<double>(y, x) = sums[ch] / total;
    known.at<uint8_t>(y, x) = 255;
  }
  return VRESULT_OK;
}

}  // namespace

// Coherence transport: `epsilon` (1.5 to 50) the radius of the known
// neighbourhood, `kappa` (0 to 1000) the focus along the structure,
// `sigma` and `rho` (0 to 15) the scales of the structure tensor,
// `channel_coefficient` (0 to 1000) the weight of channels after the
// first in it.
VEXA_OPERATOR(inpainting_ct) {
  Transport t{};
  Vresult rc = ReadReal(ctx, 0, 1.5, 50.0, &t.epsilon);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 0.0, 1000.0, &t.kappa);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 0.0, 15.0, &t.sigma);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 3, 0.0, 15.0, &t.rho);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 4, 0.0, 1000.0, &t.channel_weight);
  if (rc != VRESULT_OK) return rc;
  const int reach = static_cast<int>(std::ceil(t.epsilon)) + GaussianReach(t.sigma) + 1 +
                    GaussianReach(t.rho);
  return InpaintImages(ctx, reach, [t](std::vector<cv::Mat>& channels, const cv::Mat& mask) {
    return TransportFill(channels, mask, t);
  });
}

}  // namespace vexa
