// Sampled Gaussian derivative masks and the filtering of an image with
// them: the common ground of the Laplacian-of-Gaussian, difference of
// Gaussians, Gaussian derivative, Canny and corner filters.
#pragma once

#include <opencv2/core.hpp>

#include "image_store.h"
#include "op_context.h"

namespace vexa {

// Largest accepted sigma: masks beyond it cost more than any image
// warrants.
constexpr double kMaxSigma = 100.0;

// Reads a sigma from input control `par`: finite, above 0 and at most
// kMaxSigma (VERR_CTRL_VALUE(par) otherwise).
Vresult GetSigma(const OpContext& ctx, int par, double* sigma);

// Half the width of the masks of `sigma`: 4 sigma, at least 1.
int GaussRadius(double sigma);

// The 1-D correlation mask (CV_64F column) of the Gaussian's derivative of
// order 0 to 3: the Gaussian normalised to sum 1, multiplied by the
// derivative's polynomial, mirrored (odd orders change sign) since OpenCV's
// filters correlate.
cv::Mat GaussMask(double sigma, int order);

// The derivative of order `ox` along the columns and `oy` along the rows
// of the Gaussian-smoothed image, over `box`, in double (or in the work
// depth of in's type, WorkDepthOf, when `fast`: float for most types).
cv::Mat GaussDerivative(const PixelBuffer& in, const cv::Rect& box, double sigma, int ox,
                        int oy, bool fast = false);

}  // namespace vexa
