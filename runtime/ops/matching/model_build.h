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
  double scale_step[2] = {0, 0};  // rows (or both), columns
  std::vector<double> contrast;
  double min_contrast = -1;
  int point_reduction = 0;  // keep every (1 + point_reduction)-th point
};

// Levels with fewer points than this are not kept; a model whose level 0
// has fewer is refused (VERR_MODEL_POINTS).
constexpr size_t kMinModelPoints = 8;
// Most levels a model has.
constexpr int kMaxModelLevels = 10;

// Builds the levels of `model` (params.num_levels, angle_step, scale_step,
// contrast and min_contrast get their resolved values; params.scaling and
// the scale ranges must be set) from the template `image` inside
// `region`, the model region; the reference point is the region's centre
// of gravity.
Vresult BuildShapeModel(const cv::Mat& image, const Region& region, const BuildRequest& request,
                        ShapeModel* model);

// The angle and scale steps for a level whose points reach `radius` from
// the reference point: the outermost point moves by about one pixel.
inline double AngleStepForRadius(double radius) { return std::atan(1.0 / std::max(radius, 1.0)); }
inline double ScaleStepForRadius(double radius) { return 1.0 / std::max(radius, 1.0); }

// 1 inside `region`, 0 elsewhere, as a float matrix of the image's size.
cv::Mat RegionMask(const Region& region, int width, int height);

// Puts the points in the fixed pseudo-random order models keep them in.
void ShufflePoints(std::vector<ModelPoint>* points);

// Fills the angle and scale steps of every level of `levels` (radii set)
// from the requested level-0 steps (0: automatic), for a model scaled up
// to `scale_reach`: level 0 takes the request, higher levels the larger of
// the doubled request and their own automatic step.
void SetLevelSteps(double angle_step, const double scale_step[2], double scale_reach,
                   std::vector<ModelLevel>* levels);

}  // namespace matching
}  // namespace vexa
