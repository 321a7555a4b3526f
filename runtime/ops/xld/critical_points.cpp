// critical_points_sub_pix: sub-pixel minima, maxima and saddle points of
// the smoothed image; local_min_sub_pix, local_max_sub_pix and
// saddle_points_sub_pix: one of the three kinds.
//
// At each pixel the smoothed image is taken as the quadratic
// f(x) = f0 + g . x + x^T H x / 2 (x = (row, column) offset); its
// stationary point x* = -H^-1 g counts when it lies in the pixel
// (|x*_r|, |x*_c| <= 1/2). By H's eigenvalues: both below -threshold a
// maximum, both above threshold a minimum, one below -threshold and one
// above threshold a saddle point.
//
// filter "gauss": g and H are the image's Gaussian derivatives of sigma.
// filter "facet": the image is smoothed with the Gaussian of sigma and g
// and H come from the least-squares quadratic (facet) through each 3 x 3
// neighbourhood of it.
// Points lie inside the domain, off the image border, in row order.
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "line_points.h"
#include "ops/edges/gauss_masks.h"
#include "registry.h"
#include "xld_image.h"

namespace vexa {
namespace xld {
namespace {

// The derivatives of the least-squares quadratic through the 3 x 3
// neighbourhoods of `f`.
Vresult FacetDerivatives(const cv::Mat& f, LineDerivatives* d) {
  // 1-D masks: the slope of the fitted line (-1/2, 0, 1/2), the curvature
  // of the fitted parabola (1, -2, 1), and the mean (1/3 each) across.
  const cv::Mat slope = (cv::Mat_<double>(3, 1) << -0.5, 0, 0.5);
  const cv::Mat curve = (cv::Mat_<double>(3, 1) << 1, -2, 1);
  const cv::Mat mean = (cv::Mat_<double>(3, 1) << 1.0 / 3, 1.0 / 3, 1.0 / 3);
  const cv::Mat cross = (cv::Mat_<double>(3, 1) << -0.5, 0, 0.5);
  try {
    cv::sepFilter2D(f, d->c, CV_32F, slope, mean, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->r, CV_32F, mean, slope, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->cc, CV_32F, curve, mean, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->rr, CV_32F, mean, curve, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, d->rc, CV_32F, cross, cross, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  } catch (const cv::Exception&) {
    return VERR_OUT_OF_MEMORY;
  }
  return VRESULT_OK;
}

struct CriticalPoints {
  std::vector<double> rows[3], cols[3];  // minima, maxima, saddle points
};

void FindCriticalPoints(const LineDerivatives& d, const cv::Mat& domain, double threshold,
                        CriticalPoints* out) {
  for (int r = 1; r + 1 < d.r.rows; ++r)
    for (int c = 1; c + 1 < d.r.cols; ++c) {
      if (!domain.at<uint8_t>(r, c)) continue;
      const double gr = d.r.at<float>(r, c), gc = d.c.at<float>(r, c);
      const double hrr = d.rr.at<float>(r, c), hrc = d.rc.at<float>(r, c),
                   hcc = d.cc.at<float>(r, c);
      const double det = hrr * hcc - hrc * hrc;
      if (det == 0) continue;
      const double xr = -(hcc * gr - hrc * gc) / det, xc = -(hrr * gc - hrc * gr) / det;
      if (!(std::fabs(xr) <= 0.5 && std::fabs(xc) <= 0.5)) continue;
      const double mean = 0.5 * (hrr + hcc);
      const double root = std::sqrt(0.25 * (hrr - hcc) * (hrr - hcc) + hrc * hrc);
      const double lo = mean - root, hi = mean + root;
      int kind = -1;
      if (lo > threshold) kind = 0;
      else if (hi < -threshold) kind = 1;
      else if (lo < -threshold && hi > threshold) kind = 2;
      if (kind < 0) continue;
      out->rows[kind].push_back(r + xr);
      out->cols[kind].push_back(c + xc);
    }
}

// Reads filter, sigma and threshold (controls 0..2) and finds the
// critical points of the one image of input 1.
Vresult CriticalPointsOf(OpContext& ctx, CriticalPoints* pts) {
  Vkey key = VKEY_UNDEF;
  int filter = 0;
  double sigma = 0, threshold = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"facet", "gauss"}, &filter);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 1, &sigma);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 2, &threshold);
  if (rc != VRESULT_OK) return rc;
  if (threshold < 0) return VERR_CTRL_VALUE(2);
  FloatImage image;
  rc = InpFloatImage(1, key, 0, &image);
  if (rc != VRESULT_OK) return rc;
  LineDerivatives d;
  if (filter == 1) {
    rc = GaussLineDerivatives(image.values, sigma, &d);
  } else {
    cv::Mat smooth;
    const cv::Mat g = GaussMask(sigma, 0);
    try {
      cv::sepFilter2D(image.values, smooth, CV_32F, g, g, cv::Point(-1, -1), 0,
                      cv::BORDER_REPLICATE);
    } catch (const cv::Exception&) {
      return VERR_OUT_OF_MEMORY;
    }
    rc = FacetDerivatives(smooth, &d);
  }
  if (rc == VRESULT_OK) FindCriticalPoints(d, image.domain, threshold, pts);
  return rc;
}

// The points of one kind (0 minima, 1 maxima, 2 saddle points) as rows
// at output 0 and columns at output 1.
Vresult PointsOfKind(OpContext& ctx, int kind) {
  CriticalPoints pts;
  Vresult rc = CriticalPointsOf(ctx, &pts);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, pts.rows[kind]);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, pts.cols[kind]) : rc;
}

}  // namespace

VEXA_OPERATOR(critical_points_sub_pix) {
  CriticalPoints pts;
  Vresult rc = CriticalPointsOf(ctx, &pts);
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) {
    rc = ctx.SetOutpDoubles(2 * k, pts.rows[k]);
    if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2 * k + 1, pts.cols[k]);
  }
  return rc;
}

VEXA_OPERATOR(local_min_sub_pix) { return PointsOfKind(ctx, 0); }
VEXA_OPERATOR(local_max_sub_pix) { return PointsOfKind(ctx, 1); }
VEXA_OPERATOR(saddle_points_sub_pix) { return PointsOfKind(ctx, 2); }

}  // namespace xld
}  // namespace vexa
