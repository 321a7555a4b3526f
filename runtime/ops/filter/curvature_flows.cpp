// Mean curvature flow, coherence-enhancing diffusion and the shock filter:
// explicit steps (explicit_flow.h) of
//   mean_curvature_flow:       u_t = |grad u| div(grad u / |grad u|) = u_ee
//   coherence_enhancing_diff:  u_t = div(D grad u)
//   shock_filter:              u_t = -sign(v_nn) |grad u|
// with central differences, the shock filter's gradient upwind.
#include "ops/filter/curvature_flows.h"

#include <cmath>

#include "registry.h"

namespace vexa {
namespace {

// Smallest squared gradient taken as a direction.
constexpr double kFlatGradient2 = 1e-12;

// Components (a, b; b, c) of the diffusion tensor at every pixel.
struct Tensor {
  cv::Mat a, b, c;
};

// Weickert's coherence-enhancing tensor: the eigenvectors of the structure
// tensor J_rho(grad u_sigma), eigenvalue alpha across the structure and
// alpha + (1 - alpha) exp(-C / (mu1 - mu2)^2) along it (alpha where the
// eigenvalues mu1 >= mu2 coincide). The off-diagonal components change
// sign under reflection and are continued as odd fields, so that the step
// commutes with the mirror rule and keeps the mirrored image's mean.
constexpr double kAlpha = 0.001;
constexpr double kCoherenceC = 1.0;

Tensor DiffusionTensor(const cv::Mat& u, double sigma, double rho) {
  const Derivatives d = CentralDerivatives(GaussianSmoothed(u, sigma));
  const cv::Mat jxx = GaussianSmoothed(d.x.mul(d.x), rho);
  const cv::Mat jxy = GaussianSmoothed(d.x.mul(d.y), rho, true);
  const cv::Mat jyy = GaussianSmoothed(d.y.mul(d.y), rho);
  Tensor t;
  for (cv::Mat* m : {&t.a, &t.b, &t.c}) m->create(u.size(), CV_64F);
  for (int y = 0; y < u.rows; ++y)
    for (int x = 0; x < u.cols; ++x) {
      const double p = jxx.at<double>(y, x), q = jxy.at<double>(y, x), r = jyy.at<double>(y, x);
      const double gap = std::sqrt((p - r) * (p - r) + 4 * q * q);  // mu1 - mu2
      const double along = gap > 0.0 ? kAlpha + (1 - kAlpha) * std::exp(-kCoherenceC / (gap * gap))
                                     : kAlpha;
      double cx, cy;
      CoherenceDirection(p, q, r, &cx, &cy);
      // D = along c c^T + alpha n n^T, n perpendicular to c.
      t.a.at<double>(y, x) = along * cx * cx + kAlpha * cy * cy;
      t.b.at<double>(y, x) = (along - kAlpha) * cx * cy;
      t.c.at<double>(y, x) = along * cy * cy + kAlpha * cx * cx;
    }
  return t;
}

// The sign of the second derivative of v = u smoothed by sigma along its
// gradient ("canny") or of its Laplacian ("laplace").
double ShockSign(const Derivatives& v, int y, int x, bool laplace) {
  const double vx = v.x.at<double>(y, x), vy = v.y.at<double>(y, x);
  const double vxx = v.xx.at<double>(y, x), vyy = v.yy.at<double>(y, x);
  const double second = laplace ? vxx + vyy
                                : vx * vx * vxx + 2 * vx * vy * v.xy.at<double>(y, x) + vy * vy * vyy;
  return second > 0.0 ? 1.0 : second < 0.0 ? -1.0 : 0.0;
}

FlowStep ShockStep(double sigma, double theta, bool laplace) {
  return [sigma, theta, laplace](const cv::Mat& u, cv::Mat& next) {
    const Derivatives v = CentralDerivatives(GaussianSmoothed(u, sigma));
    const cv::Mat p = Mirrored(u, 1);
    next.create(u.size(), CV_64F);
    for (int y = 0; y < u.rows; ++y)
      for (int x = 0; x < u.cols; ++x) {
        const double c = p.at<double>(y + 1, x + 1);
        const double bx = c - p.at<double>(y + 1, x), fx = p.at<double>(y + 1, x + 2) - c;
        const double by = c - p.at<double>(y, x + 1), fy = p.at<double>(y + 2, x + 1) - c;
        const double s = ShockSign(v, y, x, laplace);
        // Osher-Sethian upwind |grad u| for u_t = -s |grad u|: erosion
        // (s > 0) takes the differences falling towards the pixel,
        // dilation (s < 0) the rising ones.
        double g2 = 0.0;
        if (s > 0.0)
          g2 = std::pow(std::max(bx, 0.0), 2) + std::pow(std::min(fx, 0.0), 2) +
               std::pow(std::max(by, 0.0), 2) + std::pow(std::min(fy, 0.0), 2);
        else if (s < 0.0)
          g2 = std::pow(std::min(bx, 0.0), 2) + std::pow(std::max(fx, 0.0), 2) +
               std::pow(std::min(by, 0.0), 2) + std::pow(std::max(fy, 0.0), 2);
        next.at<double>(y, x) = c - theta * s * std::sqrt(g2);
      }
  };
}

}  // namespace

void CoherenceDirection(double p, double q, double r, double* cx, double* cy) {
  const double gap = std::sqrt((p - r) * (p - r) + 4 * q * q);
  const double x = 2 * q, y = r - p - gap;  // (J - mu2) (x, y) = 0
  const double norm = std::hypot(x, y);
  if (norm > 0.0) {
    *cx = x / norm;
    *cy = y / norm;
  } else {
    *cx = p >= r ? 0.0 : 1.0;
    *cy = p >= r ? 1.0 : 0.0;
  }
}

FlowStep MeanCurvatureStep(double sigma, double theta) {
  return [sigma, theta](const cv::Mat& u, cv::Mat& next) {
    const Derivatives v = CentralDerivatives(GaussianSmoothed(u, sigma));
    const Derivatives d = sigma > 0.0 ? CentralDerivatives(u) : v;
    next.create(u.size(), CV_64F);
    for (int y = 0; y < u.rows; ++y)
      for (int x = 0; x < u.cols; ++x) {
        const double gx = v.x.at<double>(y, x), gy = v.y.at<double>(y, x);
        const double g2 = gx * gx + gy * gy;
        const double uxx = d.xx.at<double>(y, x), uyy = d.yy.at<double>(y, x);
        const double level = g2 > kFlatGradient2
                                 ? (gy * gy * uxx - 2 * gx * gy * d.xy.at<double>(y, x) + gx * gx * uyy) / g2
                                 : 0.5 * (uxx + uyy);
        next.at<double>(y, x) = u.at<double>(y, x) + theta * level;
      }
  };
}

int MeanCurvatureReach(double sigma) { return GaussianReach(sigma) + 1; }

FlowStep CoherenceStep(double sigma, double rho, double theta) {
  return [sigma, rho, theta](const cv::Mat& u, cv::Mat& next) {
    const Tensor t = DiffusionTensor(u, sigma, rho);
    const cv::Mat p = Mirrored(u, 1), a = Mirrored(t.a, 1), b = Mirrored(t.b, 1, true),
                  c = Mirrored(t.c, 1);
    next.create(u.size(), CV_64F);
    for (int y = 1; y <= u.rows; ++y)
      for (int x = 1; x <= u.cols; ++x) {
        auto U = [&](int dy, int dx) { return p.at<double>(y + dy, x + dx); };
        auto A = [&](int dy, int dx) { return a.at<double>(y + dy, x + dx); };
        auto B = [&](int dy, int dx) { return b.at<double>(y + dy, x + dx); };
        auto C = [&](int dy, int dx) { return c.at<double>(y + dy, x + dx); };
        const double u0 = U(0, 0);
        // d/dx (a u_x) + d/dy (c u_y) with the tensor averaged onto the
        // half-pixel positions; d/dx (b u_y) + d/dy (b u_x) centrally.
        const double axial = 0.5 * ((A(0, -1) + A(0, 0)) * (U(0, -1) - u0) +
                                    (A(0, 1) + A(0, 0)) * (U(0, 1) - u0) +
                                    (C(-1, 0) + C(0, 0)) * (U(-1, 0) - u0) +
                                    (C(1, 0) + C(0, 0)) * (U(1, 0) - u0));
        const double mixed = 0.25 * (B(0, 1) * (U(1, 1) - U(-1, 1)) - B(0, -1) * (U(1, -1) - U(-1, -1)) +
                                     B(1, 0) * (U(1, 1) - U(1, -1)) - B(-1, 0) * (U(-1, 1) - U(-1, -1)));
        next.at<double>(y - 1, x - 1) = u0 + theta * (axial + mixed);
      }
  };
}

int CoherenceReach(double sigma, double rho) {
  return GaussianReach(sigma) + 1 + GaussianReach(rho) + 1;
}

Vresult ReadMeanCurvatureFlow(const OpContext& ctx, Flow* flow) {
  double sigma = 0.0, theta = 0.0;
  Vresult rc = ReadReal(ctx, 0, 0.0, 15.0, &sigma);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 1e-6, 0.5, &theta);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, kMaxFlowSteps, &flow->steps);
  if (rc != VRESULT_OK) return rc;
  flow->reach = MeanCurvatureReach(sigma);
  flow->step = MeanCurvatureStep(sigma, theta);
  return VRESULT_OK;
}

Vresult ReadCoherenceFlow(const OpContext& ctx, Flow* flow) {
  double sigma = 0.0, rho = 0.0, theta = 0.0;
  Vresult rc = ReadReal(ctx, 0, 0.0, 15.0, &sigma);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 0.0, 15.0, &rho);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 1e-6, 0.25, &theta);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 0, kMaxFlowSteps, &flow->steps);
  if (rc != VRESULT_OK) return rc;
  flow->reach = CoherenceReach(sigma, rho);
  flow->step = CoherenceStep(sigma, rho, theta);
  return VRESULT_OK;
}

// Mean curvature flow: `iterations` (0 to 500) steps of size `theta`
// (0 to 0.5) of u_t = u_ee, the level-line direction e taken on the image
// smoothed by `sigma` (0 to 15).
VEXA_OPERATOR(mean_curvature_flow) {
  Flow flow;
  const Vresult rc = ReadMeanCurvatureFlow(ctx, &flow);
  return rc == VRESULT_OK ? FlowImages(ctx, flow) : rc;
}

// Coherence-enhancing diffusion: `iterations` steps of size `theta` (0 to
// 0.25) of u_t = div(D grad u), the gradient at scale `sigma` (0 to 15),
// its structure tensor integrated at scale `rho` (0 to 15).
VEXA_OPERATOR(coherence_enhancing_diff) {
  Flow flow;
  const Vresult rc = ReadCoherenceFlow(ctx, &flow);
  return rc == VRESULT_OK ? FlowImages(ctx, flow) : rc;
}

// Shock filter: `iterations` steps of size `theta` (0 to 0.5) of
// u_t = -sign(v_nn) |grad u|, v_nn the second derivative along the gradient
// ("canny") or the Laplacian ("laplace") of the image smoothed by `sigma`
// (0 to 15): erosion where v is convex, dilation where it is concave.
VEXA_OPERATOR(shock_filter) {
  double theta = 0.0, sigma = 0.0;
  int steps = 0, mode = 0;
  Vresult rc = ReadReal(ctx, 0, 1e-6, 0.5, &theta);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 1, 0, kMaxFlowSteps, &steps);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 2, {"canny", "laplace"}, &mode);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 3, 0.0, 15.0, &sigma);
  if (rc != VRESULT_OK) return rc;
  return FlowImages(ctx, Flow{steps, GaussianReach(sigma) + 1, ShockStep(sigma, theta, mode == 1)});
}

}  // namespace vexa
