// The tool behind a shape model handle: the edge points of a template on
// each pyramid level, with the parameters the model was made with.
//
// Points. A model point is an edge pixel of the template (gradient
// magnitude at least the model contrast, a local maximum across the edge),
// moved to its sub-pixel position along the gradient. It holds that
// position relative to the model's reference point, the centre of gravity
// of the model region (the mean of the points for models made from
// contours), in the coordinates of its level, and the unit
// gradient direction (row and column components). Points are stored in a
// fixed pseudo-random order, so that a partial sum over the first points
// of the list is not biased towards one part of the object: the early
// termination of the score relies on that.
//
// Origin. get/set_shape_model_origin move the point that matches report,
// relative to the reference point (default 0, 0). The search itself always
// works with the reference point.
//
// Angles. A match is a rotation of the model by an angle counter-clockwise
// in the displayed image (rows grow downwards) about the reference point:
// a model point at (r, c) from it goes to (cos a r - sin a c,
// sin a r + cos a c), so the point (0, 1) to its right turned by 90
// degrees lies above it at (-1, 0). See RotatePoint.
#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "handle_registry.h"
#include "locked_tool.h"

namespace vexa {
namespace matching {

enum class Metric { kUsePolarity, kIgnoreGlobalPolarity, kIgnoreLocalPolarity };

// Which scales a model is searched at: only 1, one factor for both axes,
// or one per axis (rows, columns of the model, before the rotation).
enum class Scaling { kNone, kIsotropic, kAnisotropic };

struct ModelPoint {
  float r, c;    // position relative to the reference point
  float dr, dc;  // unit gradient direction
};

struct ModelLevel {
  std::vector<ModelPoint> points;
  double radius = 0;      // largest distance of a point from the reference point
  double angle_step = 0;  // angle step of the search on this level
  double scale_step[2] = {0, 0};  // scale steps (rows, columns) on this level
};

// A pose of the model: the reference point at (row, col) in level-0
// pixels, rotated by `angle`, scaled by scale_r along the model's rows and
// scale_c along its columns (before the rotation).
struct Pose {
  double row = 0, col = 0, angle = 0, scale_r = 1, scale_c = 1;
};

// (r, c) rotated by the angle with cosine `ca` and sine `sa`
// counter-clockwise as displayed.
inline void RotatePoint(double r, double c, double ca, double sa, double* out_r, double* out_c) {
  *out_r = ca * r - sa * c;
  *out_c = sa * r + ca * c;
}

struct ShapeModelParams {
  int num_levels = 0;  // levels the model holds
  double angle_start = 0, angle_extent = 0, angle_step = 0;
  Scaling scaling = Scaling::kNone;
  // [0] rows (or the one isotropic factor), [1] columns.
  double scale_min[2] = {1, 1}, scale_max[2] = {1, 1}, scale_step[2] = {0, 0};
  Metric metric = Metric::kUsePolarity;
  std::string optimization = "auto";
  std::vector<double> contrast;  // low [, high [, minimum component size]]
  double min_contrast = 0;       // gradient magnitude below which search pixels are ignored
};

struct ShapeModel {
  ShapeModelParams params;
  std::shared_ptr<const std::vector<ModelLevel>> levels;
  double ref_row = 0, ref_col = 0;        // reference point in the template
  double origin_row = 0, origin_col = 0;  // reported point, relative to ref
  // Made from contours: the levels above 0 are derived from level 0, and
  // the point directions' signs are only known after set_shape_model_metric.
  bool from_contours = false;
};

// Get gives a copy of the model; the point lists are shared and immutable.
class ShapeModelTool : public LockedTool<ShapeModel> {
 public:
  static constexpr ToolKind kKind = ToolKind::kShapeModel;
  using LockedTool::LockedTool;
};

// The model whose handle is input control `par`.
Vresult InpShapeModel(const OpContext& ctx, int par, ShapeModel* model,
                      std::shared_ptr<ShapeModelTool>* tool = nullptr);

}  // namespace matching
}  // namespace vexa
