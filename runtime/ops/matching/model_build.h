// Making the point lists of a shape model from a template image.
#pragma once

#include <opencv2/core.hpp>

#include "region_store.h"
#include "shape_model.h"

namespace vexa {
namespace matching {

// What create_shape_model asks for; 0 levels, an empty contrast, a negative
// min_contrast and a zero angle step stand for "auto".
struct BuildRequest {
  int num_levels = 0;
  double angle_step = 0;
  std::vector<double> contrast;
  double min_contrast = -1;
  int point_reduction = 0;  // keep every (1 + point_reduction)-th point
};

// Levels with fewer points than this are not kept; a model whose level 0
// has fewer is refused (VERR_MODEL_POINTS).
constexpr size_t kMinModelPoints = 8;
// Most levels a model has.
constexpr int kMaxModelLevels = 10;

// Builds the levels of `model` (params.num_levels, angle_step, contrast and
// min_contrast get their resolved values) from the template `image` inside
// `region`, the model region; the reference point is the region's centre
// of gravity.
Vresult BuildShapeModel(const cv::Mat& image, const Region& region, const BuildRequest& request,
                        ShapeModel* model);

// The angle step for a level whose points reach `radius` from the
// reference point: the outermost point moves by about one pixel.
inline double AngleStepForRadius(double radius) { return std::atan(1.0 / std::max(radius, 1.0)); }

}  // namespace matching
}  // namespace vexa
