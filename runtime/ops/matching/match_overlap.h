// Overlap of two matches, for the suppression of matches that cover the
// same object: the model's bounding rectangle (axis-parallel in model
// coordinates, around the level-0 points) placed at each pose; the overlap
// is the area of the intersection over the smaller area (scaled models
// differ in area).
#pragma once

#include <vector>

#include "shape_model.h"

namespace vexa {
namespace matching {

struct ModelBox {
  double r1, c1, r2, c2;  // relative to the reference point
};
ModelBox BoundingBox(const std::vector<ModelPoint>& points);

// Overlap in 0..1 of box_a placed at pose a and box_b at pose b: the
// intersection's area over the smaller of the two areas.
double PoseOverlap(const ModelBox& box_a, const Pose& a, const ModelBox& box_b, const Pose& b);

}  // namespace matching
}  // namespace vexa
