// Line widths and their model correction: see line_width.h.
#include "line_width.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace xld {
namespace {

constexpr double kSqrt2Pi = 2.5066282746310002;

// The unit Gaussian (sigma 1), its integral and derivative.
double G(double x) { return std::exp(-0.5 * x * x) / kSqrt2Pi; }
double Phi(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }
double Gd(double x) { return -x * G(x); }

// Magnitude of the first derivative of the model profile of half-width
// `w`, smoothed by the unit Gaussian, at x > 0.
double SmoothedSlope(LineModel model, double w, double x) {
  switch (model) {
    case LineModel::kBar:
      return G(x - w) - G(x + w);
    case LineModel::kParabolic:
      // (P * G)' = P' * G with P' = -2u / w^2 on [-w, w].
      return 2.0 / (w * w) * (x * (Phi(x + w) - Phi(x - w)) + G(x + w) - G(x - w));
    case LineModel::kGaussian:
      // Proportional to it: the smoothed profile is a Gaussian of
      // variance 1 + w^2.
      return x * G(x / std::sqrt(1.0 + w * w));
    case LineModel::kNone:
      break;
  }
  return 0;
}

// Magnitude of the second derivative at the centre, per unit height.
double CentreCurvature(LineModel model, double w) {
  switch (model) {
    case LineModel::kBar:
      return -2.0 * Gd(w);
    case LineModel::kParabolic:
      return 2.0 / (w * w) * (std::erf(w / std::sqrt(2.0)) - 2.0 * w * G(w));
    case LineModel::kGaussian:
      return w / std::pow(1.0 + w * w, 1.5);
    case LineModel::kNone:
      break;
  }
  return 0;
}

// Where SmoothedSlope has its maximum for x > 0: a coarse scan, then
// golden-section refinement.
double SlopeMaximum(LineModel model, double w) {
  const double end = w + 6.0;
  const int steps = 400;
  int best = 1;
  for (int i = 1; i <= steps; ++i)
    if (SmoothedSlope(model, w, end * i / steps) > SmoothedSlope(model, w, end * best / steps))
      best = i;
  double a = end * (best - 1) / steps, b = end * std::min(best + 1, steps) / steps;
  const double phi = 0.6180339887498949;
  for (int k = 0; k < 60; ++k) {
    const double x1 = b - phi * (b - a), x2 = a + phi * (b - a);
    if (SmoothedSlope(model, w, x1) < SmoothedSlope(model, w, x2)) a = x1;
    else b = x2;
  }
  return 0.5 * (a + b);
}

}  // namespace

LineWidthCorrection::LineWidthCorrection(LineModel model, double sigma)
    : model_(model), sigma_(sigma) {
  if (model == LineModel::kNone) return;
  // Half-widths from 0.05 to 12 sigma, finer where v changes slowly.
  for (double w = 0.05; w <= 12.0; w += w < 3 ? 0.01 : 0.05) {
    const double v = SlopeMaximum(model, w);
    if (!v_.empty() && v <= v_.back()) continue;  // keep the table invertible
    w_.push_back(w);
    v_.push_back(v);
  }
}

double LineWidthCorrection::TrueHalfWidth(double v) const {
  if (model_ == LineModel::kNone) return v;
  const double x = v / sigma_;
  if (x <= v_.front()) return 0;
  if (x >= v_.back()) return (w_.back() + (x - v_.back())) * sigma_;
  const size_t i = static_cast<size_t>(std::upper_bound(v_.begin(), v_.end(), x) - v_.begin());
  const double t = (x - v_[i - 1]) / (v_[i] - v_[i - 1]);
  return (w_[i - 1] + t * (w_[i] - w_[i - 1])) * sigma_;
}

double LineWidthCorrection::Contrast(double w, double response) const {
  if (model_ == LineModel::kNone || w <= 0) return 0;
  // The response scales with 1 / sigma^2 for a profile of fixed shape.
  const double k = CentreCurvature(model_, w / sigma_) / (sigma_ * sigma_);
  return k > 0 ? response / k : 0;
}

LineWidth MeasureLineWidth(const LineDerivatives& d, const EdgePoint& p, double max_dist) {
  // The second derivative across the line at offset s along side * n.
  auto curvature = [&](double s, int side) {
    const double r = std::clamp(p.sr + side * s * p.nr, 0.0, d.r.rows - 1.001);
    const double c = std::clamp(p.sc + side * s * p.nc, 0.0, d.r.cols - 1.001);
    const int r0 = static_cast<int>(r), c0 = static_cast<int>(c);
    const double fr = r - r0, fc = c - c0;
    auto bil = [&](const cv::Mat& m) {
      return (1 - fr) * ((1 - fc) * m.at<float>(r0, c0) + fc * m.at<float>(r0, c0 + 1)) +
             fr * ((1 - fc) * m.at<float>(r0 + 1, c0) + fc * m.at<float>(r0 + 1, c0 + 1));
    };
    return p.nr * p.nr * bil(d.rr) + 2 * p.nr * p.nc * bil(d.rc) + p.nc * p.nc * bil(d.cc);
  };
  // The slope is largest where the curvature changes sign; linear
  // interpolation places that zero far better than a parabola through
  // slope samples would place the maximum.
  auto side_width = [&](int side) {
    constexpr double kStep = 0.25;
    const double centre = curvature(0, side);
    double prev = centre;
    for (double s = kStep; s <= max_dist; s += kStep) {
      const double cur = curvature(s, side);
      if ((cur > 0) != (centre > 0)) return s - kStep * cur / (cur - prev);
      prev = cur;
    }
    return max_dist;
  };
  return {side_width(-1), side_width(1)};
}

}  // namespace xld
}  // namespace vexa
