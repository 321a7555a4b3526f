// Gray-value pyramids and their gradients, the data both model creation
// and the search work on.
//
// Level 0 is the image as float; level l+1 is the 2x2 mean of level l
// (an odd last row or column is dropped), so pixel (r, c) of level l covers
// the level-0 pixels 2^l r .. 2^l r + 2^l - 1 and its centre lies at
// 2^l r + (2^l - 1) / 2 in level-0 coordinates.
//
// Gradients are 3x3 Sobel responses divided by 4, so that a sharp step of
// height h between two pixels gives a magnitude of h on both of them: the
// contrast parameters compare with gray-value differences.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "image_store.h"
#include "vexa/errors.h"

namespace vexa {
namespace matching {

// Level-0 coordinate of the centre of pixel coordinate `v` of level `l`,
// and back.
inline double ToLevel0(double v, int l) { return v * (1 << l) + ((1 << l) - 1) * 0.5; }
inline double FromLevel0(double v, int l) { return (v - ((1 << l) - 1) * 0.5) / (1 << l); }

// The first channel of `px` as a float matrix (a copy).
Vresult FloatPlane(const PixelBuffer& px, cv::Mat* out);

// Levels 0..num_levels-1 of `level0` (CV_32F); stops early when a level
// would be smaller than 2x2, so the result may hold fewer levels.
std::vector<cv::Mat> MeanPyramid(const cv::Mat& level0, int num_levels);

// Sobel gradients (row and column component) of a float plane.
void Gradients(const cv::Mat& plane, cv::Mat* grad_r, cv::Mat* grad_c);

// Gradients after a Gaussian of sigma kRefineSigma: the sub-pixel edge
// positions of model points and of the least-squares refinement are
// taken from these. The smoothing turns the derivative of an
// anti-aliased step into a smooth peak, whose parabola fit is nearly free
// of the bias towards pixel centres that the raw 3x3 response has.
constexpr double kRefineSigma = 1.0;
void SmoothedGradients(const cv::Mat& plane, cv::Mat* grad_r, cv::Mat* grad_c);

// Unit gradient directions of one level, padded by `pad` zero pixels on
// every side so that model points may be read around any pixel of the
// level without bounds checks. Pixels whose gradient magnitude is below
// `min_contrast` hold 0: they neither support nor contradict a match.
struct DirectionPlanes {
  int width = 0, height = 0, pad = 0, stride = 0;
  std::vector<float> dr, dc;
  // Offset of pixel (r, c) of the level in dr/dc.
  ptrdiff_t Index(int r, int c) const {
    return static_cast<ptrdiff_t>(r + pad) * stride + (c + pad);
  }
};
void UnitDirections(const cv::Mat& grad_r, const cv::Mat& grad_c, double min_contrast, int pad,
                    DirectionPlanes* out);

}  // namespace matching
}  // namespace vexa
