// Hessian line points: see line_points.h.
#include "line_points.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/edges/gauss_masks.h"

namespace vexa {
namespace xld {
namespace {

// The eigenvalue of largest magnitude of [[rr, rc], [rc, cc]] and its unit
// eigenvector (nr, nc).
void LargestCurvature(double rr, double rc, double cc, double* lambda, double* nr,
                      double* nc) {
  const double mean = 0.5 * (rr + cc);
  const double root = std::sqrt(0.25 * (rr - cc) * (rr - cc) + rc * rc);
  *lambda = mean >= 0 ? mean + root : mean - root;
  // Of the two forms of the eigenvector, the one of larger length is the
  // better conditioned.
  double vr = rc, vc = *lambda - rr;
  double wr = *lambda - cc, wc = rc;
  if (wr * wr + wc * wc > vr * vr + vc * vc) vr = wr, vc = wc;
  const double len = std::hypot(vr, vc);
  if (len == 0) {  // isotropic: any direction; take the rows
    *nr = 1, *nc = 0;
    return;
  }
  *nr = vr / len, *nc = vc / len;
}

}  // namespace

Vresult GaussLineDerivatives(const cv::Mat& f, double sigma, LineDerivatives* d) {
  const cv::Mat g0 = GaussMask(sigma, 0), g1 = GaussMask(sigma, 1), g2 = GaussMask(sigma, 2);
  try {
    // sepFilter2D(kernelX, kernelY): X runs along the columns.
    cv::sepFilter2D(f, d->c, CV_32F, g1, g0, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->r, CV_32F, g0, g1, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->cc, CV_32F, g2, g0, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->rr, CV_32F, g0, g2, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->rc, CV_32F, g1, g1, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  } catch (const cv::Exception&) {
    return VERR_OUT_OF_MEMORY;
  }
  return VRESULT_OK;
}

void LinePoints(const LineDerivatives& d, const cv::Mat& domain, LineKind kind, double low,
                double high, std::vector<EdgePoint>* pts, cv::Mat* index) {
  *index = EmptyPointIndex(d.r.size());
  for (int r = 1; r + 1 < d.r.rows; ++r) {
    const uint8_t* dom = domain.ptr<uint8_t>(r);
    for (int c = 1; c + 1 < d.r.cols; ++c) {
      if (!dom[c]) continue;
      double lambda = 0, nr = 0, nc = 0;
      LargestCurvature(d.rr.at<float>(r, c), d.rc.at<float>(r, c), d.cc.at<float>(r, c), &lambda,
                       &nr, &nc);
      if (kind == LineKind::kLight ? !(lambda < 0) : kind == LineKind::kDark ? !(lambda > 0)
                                                                            : lambda == 0)
        continue;
      const double response = std::fabs(lambda);
      if (!(response >= low)) continue;
      const double t = -(d.r.at<float>(r, c) * nr + d.c.at<float>(r, c) * nc) / lambda;
      if (!(std::fabs(t * nr) <= 0.5 && std::fabs(t * nc) <= 0.5)) continue;
      index->at<int32_t>(r, c) = static_cast<int32_t>(pts->size());
      pts->push_back({r, c, static_cast<float>(r + t * nr), static_cast<float>(c + t * nc),
                      static_cast<float>(nr), static_cast<float>(nc),
                      static_cast<float>(response), response >= high});
    }
  }
  AlignNormals(pts, *index);
}

}  // namespace xld
}  // namespace vexa
