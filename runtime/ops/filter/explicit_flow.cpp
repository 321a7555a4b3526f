#include "ops/filter/explicit_flow.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <opencv2/imgproc.hpp>

namespace vexa {

namespace {

// +1 or -1: the sign an odd field takes at position i of a line of n
// continued by the mirror rule, which reflects at 0 and n - 1.
double OddSign(int i, int n) {
  double sign = 1.0;
  while (i < 0 || i >= n) {
    if (n == 1) return -1.0;
    i = i < 0 ? -i : 2 * (n - 1) - i;
    sign = -sign;
  }
  return sign;
}

}  // namespace

cv::Mat Mirrored(const cv::Mat& u, int margin, bool odd) {
  cv::Mat p = BorderedTile(u, cv::Rect(0, 0, u.cols, u.rows), margin, margin, Border{});
  if (!odd) return p;
  for (int y = 0; y < p.rows; ++y) {
    const double row_sign = OddSign(y - margin, u.rows);
    double* v = p.ptr<double>(y);
    for (int x = 0; x < p.cols; ++x) v[x] *= row_sign * OddSign(x - margin, u.cols);
  }
  return p;
}

int GaussianReach(double sigma) { return static_cast<int>(std::ceil(3.0 * sigma)); }

cv::Mat GaussianSmoothed(const cv::Mat& u, double sigma, bool odd) {
  const int r = GaussianReach(sigma);
  if (r == 0) return u.clone();
  const cv::Mat kernel = cv::getGaussianKernel(2 * r + 1, sigma, CV_64F);
  const cv::Mat padded = Mirrored(u, r, odd);
  cv::Mat smoothed;
  cv::sepFilter2D(padded, smoothed, CV_64F, kernel, kernel, cv::Point(-1, -1), 0.0,
                  cv::BORDER_ISOLATED | cv::BORDER_REFLECT_101);
  return smoothed(cv::Rect(r, r, u.cols, u.rows)).clone();
}

Derivatives CentralDerivatives(const cv::Mat& u) {
  const cv::Mat p = Mirrored(u, 1);
  Derivatives d;
  for (cv::Mat* m : {&d.x, &d.y, &d.xx, &d.yy, &d.xy}) m->create(u.size(), CV_64F);
  for (int y = 0; y < u.rows; ++y) {
    const double* up = p.ptr<double>(y);
    const double* row = p.ptr<double>(y + 1);
    const double* down = p.ptr<double>(y + 2);
    for (int x = 0; x < u.cols; ++x) {
      const int c = x + 1;
      d.x.at<double>(y, x) = 0.5 * (row[c + 1] - row[c - 1]);
      d.y.at<double>(y, x) = 0.5 * (down[c] - up[c]);
      d.xx.at<double>(y, x) = row[c + 1] - 2 * row[c] + row[c - 1];
      d.yy.at<double>(y, x) = down[c] - 2 * row[c] + up[c];
      d.xy.at<double>(y, x) = 0.25 * (down[c + 1] - down[c - 1] - up[c + 1] + up[c - 1]);
    }
  }
  return d;
}

Vresult RunFlow(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect, int steps, int reach,
                const FlowStep& step) {
  const long margin = std::min<long>(static_cast<long>(steps) * reach,
                                     std::max(src.rows, src.cols));
  const cv::Rect tile = GrowRect(rect, static_cast<int>(margin), static_cast<int>(margin),
                                 src.size());
  cv::Mat u, next;
  src(tile).convertTo(u, CV_64F);
  for (int s = 0; s < steps; ++s) {
    step(u, next);
    std::swap(u, next);
  }
  cv::Mat out = dst(rect);
  u(cv::Rect(rect.x - tile.x, rect.y - tile.y, rect.width, rect.height)).convertTo(out, dst.type());
  return VRESULT_OK;
}

Vresult FlowImages(OpContext& ctx, const Flow& flow) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    return RunFlow(src, dst, rect, flow.steps, flow.reach, flow.step);
  });
}

double Conductance::operator()(double d) const {
  const double q = d / std::max(k, 1e-9);
  switch (kind) {
    case kPeronaMalik: return 1.0 / (1.0 + q * q);
    case kWeickert: return d == 0.0 ? 1.0 : 1.0 - std::exp(-3.31488 / std::pow(q, 8));
    case kParabolic: return q < 1.0 ? 1.0 - q * q : 0.0;
    case kLinear: return 1.0;
    case kGaussian: break;
  }
  return std::exp(-q * q);
}

int ConductanceReach(double sigma) { return GaussianReach(sigma) + 1; }

FlowStep ConductanceStep(const Conductance& g, double tau, bool eight, double sigma) {
  return [g, tau, eight, sigma](const cv::Mat& u, cv::Mat& next) {
    const cv::Mat pu = Mirrored(u, 1);
    const cv::Mat pv = sigma > 0.0 ? Mirrored(GaussianSmoothed(u, sigma), 1) : pu;
    struct Neighbour {
      int dy, dx;
      double w;
    };
    static const Neighbour kAll[] = {{-1, 0, 1.0},  {1, 0, 1.0},  {0, -1, 1.0}, {0, 1, 1.0},
                                     {-1, -1, 0.5}, {-1, 1, 0.5}, {1, -1, 0.5}, {1, 1, 0.5}};
    const int count = eight ? 8 : 4;
    next.create(u.size(), CV_64F);
    for (int y = 0; y < u.rows; ++y) {
      double* out = next.ptr<double>(y);
      for (int x = 0; x < u.cols; ++x) {
        const double c = pu.at<double>(y + 1, x + 1), cv = pv.at<double>(y + 1, x + 1);
        double flow = 0.0;
        for (int i = 0; i < count; ++i) {
          const Neighbour& n = kAll[i];
          const double dv = pv.at<double>(y + 1 + n.dy, x + 1 + n.dx) - cv;
          flow += n.w * g(std::fabs(dv)) * (pu.at<double>(y + 1 + n.dy, x + 1 + n.dx) - c);
        }
        out[x] = c + tau * flow;
      }
    }
  };
}

Vresult ReadDiffusionFlow(const OpContext& ctx, double sigma, Flow* flow) {
  int mode = 0;
  double k = 0.0, theta = 0.0;
  Vresult rc = ReadChoice(ctx, 0, {"perona-malik", "weickert", "parabolic"}, &mode);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 1e-6, 1e30, &k);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 1e-6, 0.25, &theta);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 0, kMaxFlowSteps, &flow->steps);
  if (rc != VRESULT_OK) return rc;
  const Conductance g{static_cast<Conductance::Kind>(mode), k};
  flow->reach = ConductanceReach(sigma);
  flow->step = ConductanceStep(g, theta, false, sigma);
  return VRESULT_OK;
}

}  // namespace vexa
