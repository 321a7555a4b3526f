// Points of curvilinear lines (bright or dark ridges) by the second
// derivatives of a Gaussian-smoothed image, for lines_gauss.
//
// At each pixel the Hessian of the smoothed image gives the direction n
// of largest absolute curvature (its eigenvector) and the second
// derivative along it, lambda (its eigenvalue). A bright line has
// lambda < 0, a dark one lambda > 0. Along n the image is locally the
// parabola f(t) = f0 + t (g . n) + t^2 lambda / 2, whose extremum lies at
// t = -(g . n) / lambda; the pixel has a line point when that point lies
// inside the pixel (|t n_r| and |t n_c| at most 1/2). Its response is
// |lambda|.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "edge_points.h"

namespace vexa {
namespace xld {

// The smoothed image's derivatives up to the second order, CV_32F.
struct LineDerivatives {
  cv::Mat r, c, rr, rc, cc;
};

// Derivatives of `f` (CV_32F) by the Gaussian derivative masks of
// `sigma`. VERR_OUT_OF_MEMORY when OpenCV cannot allocate.
Vresult GaussLineDerivatives(const cv::Mat& f, double sigma, LineDerivatives* d);

enum class LineKind { kLight, kDark, kAll };

// The line points of the pixels of `domain` off the image border whose
// response is at least `low` (strong from `high`); `index` maps pixels to
// points as for edges. The normals are given signs that agree between
// 8-connected points, so that the points link into chains.
void LinePoints(const LineDerivatives& d, const cv::Mat& domain, LineKind kind, double low,
                double high, std::vector<EdgePoint>* pts, cv::Mat* index);

}  // namespace xld
}  // namespace vexa
