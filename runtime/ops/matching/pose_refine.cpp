#include "pose_refine.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vexa {
namespace matching {
namespace {

constexpr int kIterations = 8;
constexpr double kSearchReach = 2.0;   // pixels along the direction
constexpr double kResidualLimit = 1.5;  // Tukey's limit at first, pixels
constexpr double kMinResidualLimit = 0.3;
// Cosine of the largest angle between an edge's gradient and the model
// point's direction: edges bent by an occluder's corner are no support.
constexpr double kMinAlignment = 0.9;

// Bilinear sample of the gradient at (r, c), its component along
// (ur, uc) in `value` and its length in `length`; false outside the image.
bool DirectionalGradient(const cv::Mat& gr, const cv::Mat& gc, double r, double c, double ur,
                         double uc, double* value, double* length = nullptr) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  if (r0 < 0 || c0 < 0 || r0 + 1 >= gr.rows || c0 + 1 >= gr.cols) return false;
  const double fr = r - r0, fc = c - c0;
  auto at = [&](const cv::Mat& m) {
    const float* a = m.ptr<float>(r0);
    const float* b = m.ptr<float>(r0 + 1);
    return (1 - fr) * ((1 - fc) * a[c0] + fc * a[c0 + 1]) + fr * ((1 - fc) * b[c0] + fc * b[c0 + 1]);
  };
  const double vr = at(gr), vc = at(gc);
  *value = ur * vr + uc * vc;
  if (length != nullptr) *length = std::hypot(vr, vc);
  return true;
}

}  // namespace

bool EdgeOffset(const cv::Mat& gr, const cv::Mat& gc, double r, double c, double ur, double uc,
                Metric metric, double min_contrast, double* offset) {
  constexpr int kSamples = 2 * static_cast<int>(kSearchReach) + 1;
  double v[kSamples];
  for (int i = 0; i < kSamples; ++i) {
    const double s = i - kSearchReach;
    if (!DirectionalGradient(gr, gc, r + s * ur, c + s * uc, ur, uc, &v[i])) return false;
    if (metric != Metric::kUsePolarity) v[i] = std::fabs(v[i]);
  }
  int best = 1;
  for (int i = 2; i + 1 < kSamples; ++i)
    if (v[i] > v[best]) best = i;
  // A maximum at the reach's end lies outside it.
  if (v[best] < min_contrast || v[best] < v[best - 1] || v[best] < v[best + 1]) return false;
  const double curvature = v[best - 1] - 2 * v[best] + v[best + 1];
  if (curvature >= 0) return false;
  *offset = best - kSearchReach + 0.5 * (v[best - 1] - v[best + 1]) / curvature;
  double along = 0, length = 0;
  if (!DirectionalGradient(gr, gc, r + *offset * ur, c + *offset * uc, ur, uc, &along, &length))
    return false;
  return std::fabs(along) >= kMinAlignment * length;
}

void RefinePoseLeastSquares(const std::vector<ModelPoint>& points, const cv::Mat& grad_r,
                            const cv::Mat& grad_c, Metric metric, double min_contrast, Pose* pose) {
  // Tukey's limit shrinks to three robust standard deviations of the
  // residuals of the previous pass, so that edge points displaced by
  // clutter stop pulling once the pose is close.
  double limit = kResidualLimit;
  std::vector<double> residuals;
  for (int it = 0; it < kIterations; ++it) {
    residuals.clear();
    const double ca = std::cos(pose->angle), sa = std::sin(pose->angle);
    double ata[3][3] = {{0}}, atb[3] = {0};
    int used = 0;
    for (const ModelPoint& p : points) {
      double qr, qc, ur, uc;
      RotatePoint(p.r, p.c, ca, sa, &qr, &qc);
      RotatePoint(p.dr, p.dc, ca, sa, &ur, &uc);
      double offset = 0;
      if (!EdgeOffset(grad_r, grad_c, pose->row + qr, pose->col + qc, ur, uc, metric, min_contrast,
                      &offset))
        continue;
      residuals.push_back(std::fabs(offset));
      if (std::fabs(offset) >= limit) continue;
      const double t = 1 - (offset / limit) * (offset / limit);
      const double w = t * t;
      // d(rotated point)/d(angle) = (-qc, qr).
      const double j[3] = {ur, uc, -ur * qc + uc * qr};
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) ata[a][b] += w * j[a] * j[b];
        atb[a] += w * j[a] * offset;
      }
      ++used;
    }
    if (used < 3) return;
    std::nth_element(residuals.begin(), residuals.begin() + residuals.size() / 2, residuals.end());
    limit = std::max(kMinResidualLimit,
                     std::min(kResidualLimit, 3 * 1.4826 * residuals[residuals.size() / 2]));
    cv::Matx33d a(ata[0][0], ata[0][1], ata[0][2], ata[1][0], ata[1][1], ata[1][2], ata[2][0],
                  ata[2][1], ata[2][2]);
    cv::Vec3d delta;
    if (!cv::solve(a, cv::Vec3d(atb[0], atb[1], atb[2]), delta, cv::DECOMP_CHOLESKY)) return;
    if (!std::isfinite(delta[0]) || !std::isfinite(delta[1]) || !std::isfinite(delta[2])) return;
    pose->row += delta[0];
    pose->col += delta[1];
    pose->angle += delta[2];
    if (std::fabs(delta[0]) + std::fabs(delta[1]) < 1e-4 && std::fabs(delta[2]) < 1e-6) return;
  }
}

}  // namespace matching
}  // namespace vexa
