// Shape models from XLD contours: create_*shape_model_xld and
// set_shape_model_metric.
//
// Points. Each contour (or polygon) is walked at steps of one pixel; every
// step gives a point with the normal of its segment (the segment's
// direction turned by 90 degrees counter-clockwise as displayed). The
// reference point is the mean of the points. A higher level keeps one
// point per pixel of that level (positions divided by 2^l). Without an
// image the normals' signs are arbitrary: such a model matches with the
// polarity-free metrics at once, and with "use_polarity" after
// set_shape_model_metric has turned every normal to the gradient direction
// of an image at a known pose. MinContrast "auto" is kXldMinContrast.
#include <cmath>
#include <cstring>
#include <map>

#include "gradient_pyramid.h"
#include "model_build.h"
#include "ops/xld/xld_support.h"
#include "pose_refine.h"
#include "registry.h"
#include "shape_model_params.h"

namespace vexa {
namespace matching {
namespace {

constexpr double kXldMinContrast = 10;

// Level-0 points along the contours, relative to their mean.
std::vector<ModelPoint> ContourPoints(const std::vector<XldPtr>& contours, double* ref_r,
                                      double* ref_c) {
  std::vector<ModelPoint> pts;
  for (const XldPtr& x : contours) {
    double carry = 0;  // arc length to the next point within a segment
    for (size_t i = 0; i + 1 < x->size(); ++i) {
      const double r0 = x->rows[i], c0 = x->cols[i];
      const double dr = x->rows[i + 1] - r0, dc = x->cols[i + 1] - c0;
      const double len = std::hypot(dr, dc);
      if (len <= 0) continue;
      for (double t = carry; t < len; t += 1.0)
        pts.push_back({static_cast<float>(r0 + dr * t / len), static_cast<float>(c0 + dc * t / len),
                       static_cast<float>(-dc / len), static_cast<float>(dr / len)});
      carry = std::fmod(carry - len, 1.0);
      if (carry < 0) carry += 1.0;
    }
  }
  double sr = 0, sc = 0;
  for (const ModelPoint& p : pts) {
    sr += p.r;
    sc += p.c;
  }
  *ref_r = pts.empty() ? 0 : sr / static_cast<double>(pts.size());
  *ref_c = pts.empty() ? 0 : sc / static_cast<double>(pts.size());
  for (ModelPoint& p : pts) {
    p.r = static_cast<float>(p.r - *ref_r);
    p.c = static_cast<float>(p.c - *ref_c);
  }
  return pts;
}

// Level l of level-0 points: positions divided by 2^l, one point per pixel.
ModelLevel DerivedLevel(const std::vector<ModelPoint>& level0, int l) {
  const double f = 1.0 / (1 << l);
  std::map<std::pair<long, long>, ModelPoint> cells;
  for (const ModelPoint& p : level0) {
    const ModelPoint q{static_cast<float>(p.r * f), static_cast<float>(p.c * f), p.dr, p.dc};
    cells.emplace(std::make_pair(std::lround(q.r), std::lround(q.c)), q);
  }
  ModelLevel level;
  for (const auto& cell : cells) {
    level.points.push_back(cell.second);
    level.radius = std::max(level.radius, std::hypot(static_cast<double>(cell.second.r),
                                                     static_cast<double>(cell.second.c)));
  }
  ShufflePoints(&level.points);
  return level;
}

// The levels of a contour model from its level-0 points; as for image
// models, "auto" stops where a level has too few points or is too small.
Vresult DeriveLevels(const std::vector<ModelPoint>& level0, const BuildRequest& request,
                     ShapeModel* model) {
  auto levels = std::make_shared<std::vector<ModelLevel>>();
  const int want = request.num_levels > 0 ? request.num_levels : kMaxModelLevels;
  for (int l = 0; l < want; ++l) {
    ModelLevel level = DerivedLevel(level0, l);
    if (level.points.size() < kMinModelPoints) break;
    if (request.num_levels == 0 && l > 0 &&
        (level.points.size() < 4 * kMinModelPoints || level.radius < 6))
      break;
    levels->push_back(std::move(level));
  }
  if (levels->empty()) return VERR_MODEL_POINTS;
  ShapeModelParams& p = model->params;
  const double steps[2] = {p.scale_step[0], p.scale_step[1]};
  SetLevelSteps(p.angle_step, steps, std::max(p.scale_max[0], p.scale_max[1]), levels.get());
  p.num_levels = static_cast<int>(levels->size());
  model->levels = std::move(levels);
  return VRESULT_OK;
}

Vresult CreateFromContours(OpContext& ctx, Scaling scaling) {
  BuildRequest build;
  ShapeModel model;
  model.from_contours = true;
  std::vector<XldPtr> contours;
  Vresult rc = InpCreateParams(ctx, scaling, false, &build, &model.params);
  if (rc == VRESULT_OK) rc = xld::InpPointXlds(ctx, 1, &contours);
  if (rc != VRESULT_OK) return rc;
  ShapeModelParams& p = model.params;
  p.min_contrast = build.min_contrast >= 0 ? build.min_contrast : kXldMinContrast;
  // The requested steps (0: automatic) go in first; DeriveLevels resolves them.
  p.angle_step = build.angle_step;
  p.scale_step[0] = build.scale_step[0];
  p.scale_step[1] = build.scale_step[1];
  const std::vector<ModelPoint> level0 = ContourPoints(contours, &model.ref_row, &model.ref_col);
  rc = DeriveLevels(level0, build, &model);
  if (rc != VRESULT_OK) return rc;
  p.angle_step = model.levels->front().angle_step;
  p.scale_step[0] = model.levels->front().scale_step[0];
  p.scale_step[1] = model.levels->front().scale_step[1];
  return OutpNewTool(ctx, 0, std::make_shared<ShapeModelTool>(std::move(model)));
}

}  // namespace

VEXA_OPERATOR(create_shape_model_xld) { return CreateFromContours(ctx, Scaling::kNone); }
VEXA_OPERATOR(create_scaled_shape_model_xld) { return CreateFromContours(ctx, Scaling::kIsotropic); }
VEXA_OPERATOR(create_aniso_shape_model_xld) { return CreateFromContours(ctx, Scaling::kAnisotropic); }

// Sets the metric of a model; for "use_polarity" on a model made from
// contours the normals are first turned to the gradient directions of the
// image at the pose hom_mat2d (model coordinates -> image, rows first) gives.
// Normals without a clear edge there (weaker than the model's min_contrast
// or not within about 25 degrees) keep their sign.
VEXA_OPERATOR(set_shape_model_metric) {
  std::shared_ptr<ShapeModelTool> tool;
  ShapeModel model;
  std::vector<double> h;
  int metric = 0;
  static const char* const kNames[] = {"use_polarity", "ignore_global_polarity",
                                       "ignore_local_polarity"};
  Vresult rc = InpShapeModel(ctx, 0, &model, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, h);
  if (rc == VRESULT_OK && h.size() != 6 && h.size() != 9) rc = VERR_CTRL_NUM(1);
  for (size_t i = 0; rc == VRESULT_OK && i < h.size(); ++i)
    if (!(std::fabs(h[i]) <= 1e8)) rc = VERR_CTRL_VALUE(1);
  const char* name = nullptr;
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc == VRESULT_OK) {
    rc = VERR_CTRL_VALUE(2);
    for (int i = 0; i < 3; ++i)
      if (std::strcmp(name, kNames[i]) == 0) {
        metric = i;
        rc = VRESULT_OK;
      }
  }
  cv::Mat plane;
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], &plane);
  if (rc != VRESULT_OK) return rc;
  model.params.metric = static_cast<Metric>(metric);
  if (model.from_contours && model.params.metric == Metric::kUsePolarity) {
    cv::Mat gr, gc;
    SmoothedGradients(plane, &gr, &gc);
    std::vector<ModelPoint> level0 = model.levels->front().points;
    for (ModelPoint& p : level0) {
      const double mr = model.ref_row + p.r, mc = model.ref_col + p.c;
      const double ir = h[0] * mr + h[1] * mc + h[2], ic = h[3] * mr + h[4] * mc + h[5];
      double ur = h[0] * p.dr + h[1] * p.dc, uc = h[3] * p.dr + h[4] * p.dc;
      const double len = std::hypot(ur, uc);
      if (!(len > 0)) continue;
      ur /= len;
      uc /= len;
      double offset = 0;
      // The strongest edge across the normal, either sign; its sign along
      // the normal decides.
      if (!EdgeOffset(gr, gc, ir, ic, ur, uc, Metric::kIgnoreLocalPolarity, model.params.min_contrast,
                      &offset))
        continue;
      double along = 0;
      if (EdgeOffset(gr, gc, ir, ic, ur, uc, Metric::kUsePolarity, model.params.min_contrast, &along) &&
          std::fabs(along - offset) < 0.5)
        continue;  // already the gradient's direction
      p.dr = -p.dr;
      p.dc = -p.dc;
    }
    BuildRequest request;
    request.num_levels = model.params.num_levels;
    rc = DeriveLevels(level0, request, &model);
    if (rc != VRESULT_OK) return rc;
  }
  tool->Set(std::move(model));
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
