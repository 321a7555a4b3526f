#include "ops/fft/psf.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Weight of a sample at fraction s (0 to 1) of the path.
double ProfileWeight(MotionProfile profile, double s) {
  switch (profile) {
    case MotionProfile::kRising: return s;
    case MotionProfile::kFalling: return 1.0 - s;
    case MotionProfile::kTriangle: return 1.0 - std::fabs(2.0 * s - 1.0);
    case MotionProfile::kGaussian: return std::exp(-0.5 * std::pow((s - 0.5) / 0.25, 2));
    case MotionProfile::kUniform: break;
  }
  return 1.0;
}

void Normalise(Psf* psf) {
  const double sum = cv::sum(psf->weights)[0];
  if (sum > 0) psf->weights /= sum;
}

Psf Identity() {
  Psf psf;
  psf.weights = cv::Mat::ones(1, 1, CV_64F);
  psf.origin = cv::Point(0, 0);
  return psf;
}

}  // namespace

Psf MotionPsf(double length, double angle_deg, MotionProfile profile) {
  if (length <= 0) return Identity();
  const double a = angle_deg * kPi / 180.0;
  const double dr = -std::sin(a) * length, dc = std::cos(a) * length;
  // Bilinear spreading touches the pixel after the end point as well.
  const int r0 = static_cast<int>(std::floor(std::min(0.0, dr)));
  const int r1 = static_cast<int>(std::floor(std::max(0.0, dr))) + 1;
  const int c0 = static_cast<int>(std::floor(std::min(0.0, dc)));
  const int c1 = static_cast<int>(std::floor(std::max(0.0, dc))) + 1;
  Psf psf;
  psf.weights = cv::Mat::zeros(r1 - r0 + 1, c1 - c0 + 1, CV_64F);
  psf.origin = cv::Point(-c0, -r0);
  const int samples = std::max(1, static_cast<int>(std::ceil(length * 8)));
  for (int k = 0; k < samples; ++k) {
    const double s = (k + 0.5) / samples;
    const double w = ProfileWeight(profile, s);
    const double r = s * dr - r0, c = s * dc - c0;
    const int ri = static_cast<int>(std::floor(r)), ci = static_cast<int>(std::floor(c));
    const double fr = r - ri, fc = c - ci;
    psf.weights.at<double>(ri, ci) += w * (1 - fr) * (1 - fc);
    psf.weights.at<double>(ri, ci + 1) += w * (1 - fr) * fc;
    psf.weights.at<double>(ri + 1, ci) += w * fr * (1 - fc);
    psf.weights.at<double>(ri + 1, ci + 1) += w * fr * fc;
  }
  Normalise(&psf);
  return psf;
}

Psf DefocusPsf(double radius) {
  if (radius <= 0) return Identity();
  const int n = static_cast<int>(std::ceil(radius - 0.5));
  Psf psf;
  psf.weights = cv::Mat::zeros(2 * n + 1, 2 * n + 1, CV_64F);
  psf.origin = cv::Point(n, n);
  constexpr int kSub = 16;
  const double r2 = radius * radius;
  for (int y = -n; y <= n; ++y) {
    for (int x = -n; x <= n; ++x) {
      // Nearest and farthest point of the pixel square from the centre.
      const double near_y = std::max(0.0, std::fabs(y) - 0.5), near_x = std::max(0.0, std::fabs(x) - 0.5);
      const double far_y = std::fabs(y) + 0.5, far_x = std::fabs(x) + 0.5;
      double cover;
      if (far_y * far_y + far_x * far_x <= r2) {
        cover = 1.0;
      } else if (near_y * near_y + near_x * near_x >= r2) {
        cover = 0.0;
      } else {
        int inside = 0;
        for (int sy = 0; sy < kSub; ++sy)
          for (int sx = 0; sx < kSub; ++sx) {
            const double py = y - 0.5 + (sy + 0.5) / kSub, px = x - 0.5 + (sx + 0.5) / kSub;
            inside += py * py + px * px <= r2;
          }
        cover = static_cast<double>(inside) / (kSub * kSub);
      }
      psf.weights.at<double>(y + n, x + n) = cover;
    }
  }
  Normalise(&psf);
  return psf;
}

bool WrapPsf(const Psf& psf, const cv::Size& size, cv::Mat* image) {
  if (psf.weights.cols > size.width || psf.weights.rows > size.height) return false;
  *image = cv::Mat::zeros(size, CV_64F);
  for (int r = 0; r < psf.weights.rows; ++r) {
    const int row = ((r - psf.origin.y) % size.height + size.height) % size.height;
    for (int c = 0; c < psf.weights.cols; ++c) {
      const int col = ((c - psf.origin.x) % size.width + size.width) % size.width;
      image->at<double>(row, col) = psf.weights.at<double>(r, c);
    }
  }
  return true;
}

}  // namespace vexa
