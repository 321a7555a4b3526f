// Point spread functions of image degradations: linear motion and
// defocus. A kernel holds the weights h(q) of the displacements q = (row,
// col) - origin, summing to 1: a degraded image is
//   B(p) = sum over q of h(q) I(p - q).
#pragma once

#include <opencv2/core.hpp>

namespace vexa {

struct Psf {
  cv::Mat weights;  // CV_64F
  cv::Point origin; // the weight of displacement 0 (x column, y row)
};

// How the weights spread along a motion path of length L (pixels).
enum class MotionProfile {
  kUniform = 1,     // constant speed
  kRising = 2,      // weight growing linearly along the path
  kFalling = 3,     // weight shrinking linearly along the path
  kTriangle = 4,    // growing to the middle, then shrinking
  kGaussian = 5,    // Gaussian about the middle, sigma L / 4
};

// Motion by `length` pixels in direction `angle_deg` (degrees, counter-
// clockwise from the column axis: 90 moves towards smaller rows). The path
// is sampled 8 times per pixel and each sample spread bilinearly, so
// lengths and angles vary the kernel continuously. Length 0 is the
// identity.
Psf MotionPsf(double length, double angle_deg, MotionProfile profile);

// A uniform disk of radius `radius` (pixels) about the origin, each pixel
// weighted by the part of it the disk covers (16 x 16 samples on the
// rim). Radius 0 is the identity.
Psf DefocusPsf(double radius);

// The kernel's displacements wrapped into an image of `size` (origin at
// pixel (0, 0)), as a transform-domain filter needs it; false when the
// kernel does not fit into `size` without overlapping itself.
bool WrapPsf(const Psf& psf, const cv::Size& size, cv::Mat* image);

}  // namespace vexa
