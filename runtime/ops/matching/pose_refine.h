// Sub-pixel refinement of a match.
#pragma once

#include <opencv2/core.hpp>

#include "shape_model.h"

namespace vexa {
namespace matching {

// Signed distance along the unit vector (ur, uc) from (r, c) to the
// strongest edge within 2 pixels: the maximum of the gradient's component
// along the vector (its absolute value unless the metric is
// "use_polarity"), sampled every pixel and refined by a parabola. False
// when there is none, it is weaker than `min_contrast` or lies outside
// the image.
bool EdgeOffset(const cv::Mat& grad_r, const cv::Mat& grad_c, double r, double c, double ur,
                double uc, Metric metric, double min_contrast, double* offset);

// Least-squares refinement: moves `pose` so that the level-0 model points
// lie on the image's edges. Each iteration looks, along every rotated model
// point's direction (+-2 pixels), for the maximum of the image gradient's
// component in that direction (a parabola through the samples gives it to
// a fraction of a pixel; an edge of the wrong polarity, as the metric
// defines it, or weaker than `min_contrast` is no edge), and then solves
// for the pose change that minimises the squared distances of the points
// to the lines through those edge points across the directions (Gauss-
// Newton on row, column, angle and the scales `scaling` lets vary; residuals beyond 1.5 pixels are
// down-weighted to zero, so occluding clutter does not pull). Stops after a
// few iterations or when the change is below 1e-4 pixel; a pose that
// cannot be solved for stays as it was.
// The gradients are those of SmoothedGradients.
void RefinePoseLeastSquares(const std::vector<ModelPoint>& points, const cv::Mat& grad_r,
                            const cv::Mat& grad_c, Metric metric, Scaling scaling,
                            double min_contrast, Pose* pose);

}  // namespace matching
}  // namespace vexa
