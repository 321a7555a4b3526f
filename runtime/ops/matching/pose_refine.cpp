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
                            const cv::Mat& grad_c, Metric metric, Scaling scaling,
                            double min_contrast, Pose* pose) {
  // Unknowns: row, column, angle, then the scale (isotropic) or the row
  // and column scales.
  const int n = scaling == Scaling::kNone ? 3 : scaling == Scaling::kIsotropic ? 4 : 5;
  // Tukey's limit shrinks to three robust standard deviations of the
  // residuals of the previous pass, so that edge points displaced by
  // clutter stop pulling once the pose is close.
  double limit = kResidualLimit;
  std::vector<double> residuals;
  for (int it = 0; it < kIterations; ++it) {
    residuals.clear();
    const double ca = std::cos(pose->angle), sa = std::sin(pose->angle);
    cv::Mat ata = cv::Mat::zeros(n, n, CV_64F), atb = cv::Mat::zeros(n, 1, CV_64F);
    int used = 0;
    for (const ModelPoint& p : points) {
      double qr, qc, ur, uc;
      RotatePoint(pose->scale_r * p.r, pose->scale_c * p.c, ca, sa, &qr, &qc);
      const double nr = p.dr / pose->scale_r, nc = p.dc / pose->scale_c, len = std::hypot(nr, nc);
      RotatePoint(nr / len, nc / len, ca, sa, &ur, &uc);
      double offset = 0;
      if (!EdgeOffset(grad_r, grad_c, pose->row + qr, pose->col + qc, ur, uc, metric, min_contrast,
                      &offset))
        continue;
      residuals.push_back(std::fabs(offset));
      if (std::fabs(offset) >= limit) continue;
      const double t = 1 - (offset / limit) * (offset / limit);
      const double w = t * t;
      // Derivatives of the placed point along the direction: by the
      // angle (-qc, qr); by the row scale R (r, 0); by the column scale
      // R (0, c); by an isotropic scale R (r, c).
      double j[5] = {ur, uc, -ur * qc + uc * qr, 0, 0};
      const double by_r = p.r * (ur * ca + uc * sa), by_c = p.c * (-ur * sa + uc * ca);
      if (scaling == Scaling::kIsotropic) j[3] = by_r + by_c;
      if (scaling == Scaling::kAnisotropic) {
        j[3] = by_r;
        j[4] = by_c;
      }
      for (int a = 0; a < n; ++a) {
        for (int b = 0; b < n; ++b) ata.at<double>(a, b) += w * j[a] * j[b];
        atb.at<double>(a) += w * j[a] * offset;
      }
      ++used;
    }
    if (used < n) return;
    std::nth_element(residuals.begin(), residuals.begin() + residuals.size() / 2, residuals.end());
    limit = std::max(kMinResidualLimit,
                     std::min(kResidualLimit, 3 * 1.4826 * residuals[residuals.size() / 2]));
    cv::Mat delta;
    if (!cv::solve(ata, atb, delta, cv::DECOMP_CHOLESKY) || !cv::checkRange(delta)) return;
    const double* d = delta.ptr<double>();
    Pose next = *pose;
    next.row += d[0];
    next.col += d[1];
    next.angle += d[2];
    if (scaling != Scaling::kNone) next.scale_r += d[3];
    next.scale_c = scaling == Scaling::kAnisotropic ? next.scale_c + d[4] : next.scale_r;
    if (scaling == Scaling::kNone) next.scale_c = pose->scale_c;
    if (!(next.scale_r > 0 && next.scale_c > 0)) return;
    *pose = next;
    if (std::fabs(d[0]) + std::fabs(d[1]) < 1e-4 && std::fabs(d[2]) < 1e-6) return;
  }
}

}  // namespace matching
}  // namespace vexa
