// The steps of sub-pixel edge extraction that do not depend on how the
// gradient was obtained, shared by the gray-value, colour and line
// extractors: non-maximum suppression with a parabola through the
// magnitudes across the edge, hysteresis on 8-connected points, and the
// linking of points into chains.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "xld_support.h"

namespace vexa {
namespace xld {

// Sigma of the edge filters: beyond it no image helps (1600 taps).
constexpr double kMaxEdgeSigma = 200.0;

// Direction (unit normal) and strength of an edge or line per pixel.
struct Gradient {
  cv::Mat gr, gc, mag;  // CV_32F; (gr, gc) / mag is the unit normal
};

// Gradient of `f` (CV_32F) by the derivatives of a Gaussian of `sigma`
// (sampled to 4 sigma, replicated border), scaled so that a blurred step
// of height h gives h times the Gaussian's peak. VERR_OUT_OF_MEMORY when
// OpenCV cannot allocate.
Vresult GaussGradient(const cv::Mat& f, double sigma, Gradient* out);

// One point of an edge or line at pixel (r, c).
struct EdgePoint {
  int32_t r, c;
  float sr, sc;  // sub-pixel position
  float nr, nc;  // unit normal: the gradient's direction for edges
  float response;
  bool strong;   // at least the high threshold
};

// A map of the image's size (CV_32S) from each pixel to its point in a
// vector of EdgePoints, -1 where there is none.
cv::Mat EmptyPointIndex(cv::Size size);

// Local maxima of g.mag across the edge of at least `low`, for the pixels
// of `domain` (CV_8U) off the image border: a pixel is a maximum when its
// magnitude m0 exceeds the (bilinearly interpolated) magnitude one pixel
// against the normal and is not below the one along it; a parabola
// through the three values places the point at offset
// t = (m- - m+) / (2 (m- - 2 m0 + m+)) along the normal, |t| <= 1/2.
void Maxima(const Gradient& g, const cv::Mat& domain, double low, double high,
            std::vector<EdgePoint>* pts, cv::Mat* index);

// Keeps the points 8-connected (through points) to a strong one; the
// others leave `index`.
void Hysteresis(const std::vector<EdgePoint>& pts, cv::Mat* index);

// Flips normals so that 8-connected points agree in sign, spreading from
// each point not yet reached in turn; for points whose normal has no
// sign of its own (lines, colour edges), so that they link.
void AlignNormals(std::vector<EdgePoint>* pts, const cv::Mat& index);

// A chain of point numbers; a closed chain runs back to its first point.
struct Chain {
  std::vector<int32_t> points;
  bool closed = false;
};

// Links the points still in `index`: each links forward (along the
// tangent (-nc, nr)) to the 8-neighbour point of like normal (within 90
// degrees) whose sub-pixel position lies closest, and backward alike; a
// link holds where both ends agree. Open chains start at their first
// point; chains of a single point are dropped.
std::vector<Chain> LinkChains(const std::vector<EdgePoint>& pts, const cv::Mat& index);

// The contour of an edge chain with the per-point attributes
// "edge_direction" (tangent direction in [0, 2 pi)), "angle" (normal
// direction folded into [0, pi)) and "response"; angles counter-clockwise
// on the screen from the column axis.
XldPtr EdgeContour(const std::vector<EdgePoint>& pts, const Chain& chain);

// `a` wrapped into [0, period).
double WrapAngle(double a, double period);

}  // namespace xld
}  // namespace vexa
