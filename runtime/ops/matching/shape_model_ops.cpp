// Making, searching, inspecting and closing shape models.
#include <cmath>

#include "gradient_pyramid.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "shape_model_params.h"

namespace vexa {
namespace matching {
namespace {

// The first channel of the single image at input object `par` as float,
// with its domain.
Vresult InpGrayImage(OpContext& ctx, int par, cv::Mat* plane, RegionPtr* domain) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  Vresult rc = ctx.InpObjSingle(par, &key);
  if (rc == VRESULT_OK) rc = InpImage(par, key, &image);
  if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], plane);
  *domain = image.domain;
  return rc;
}

// A new model from the template image at input object 1.
Vresult CreateFromImage(OpContext& ctx, Scaling scaling) {
  BuildRequest build;
  ShapeModel model;
  cv::Mat plane;
  RegionPtr region;
  Vresult rc = InpCreateParams(ctx, scaling, true, &build, &model.params);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 1, &plane, &region);
  if (rc == VRESULT_OK) rc = BuildShapeModel(plane, *region, build, &model);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<ShapeModelTool>(std::move(model)))
                          : rc;
}

// The matches of the model at control 0 in the image at input object 1:
// Row, Column, Angle, the scales the model's kind has, and Score.
Vresult FindInImage(OpContext& ctx, Scaling scaling) {
  ShapeModel model;
  SearchRequest q;
  cv::Mat plane;
  RegionPtr domain;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc == VRESULT_OK && model.params.scaling != scaling &&
      !(model.params.scaling != Scaling::kNone && scaling == Scaling::kNone))
    rc = VERR_CTRL_VALUE(0);  // a model without the scales this search asks for
  if (rc == VRESULT_OK) rc = InpSearchParams(ctx, scaling, model.params, &q);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 1, &plane, &domain);
  if (rc != VRESULT_OK) return rc;
  const bool full = domain->area() == static_cast<Vlong>(plane.rows) * plane.cols;
  const std::vector<Match> matches = FindShapeModel(model, plane, full ? nullptr : domain.get(), q);
  std::vector<std::vector<double>> out(static_cast<size_t>(4 + ScaleAxes(scaling)));
  for (const Match& m : matches) {
    // Report the model's origin, which moves with the match.
    const Pose& p = m.pose;
    double dr, dc;
    RotatePoint(p.scale_r * model.origin_row, p.scale_c * model.origin_col, std::cos(p.angle),
                std::sin(p.angle), &dr, &dc);
    size_t i = 0;
    out[i++].push_back(p.row + dr);
    out[i++].push_back(p.col + dc);
    out[i++].push_back(p.angle);
    if (scaling != Scaling::kNone) out[i++].push_back(p.scale_r);
    if (scaling == Scaling::kAnisotropic) out[i++].push_back(p.scale_c);
    out[i].push_back(m.score);
  }
  for (size_t i = 0; rc == VRESULT_OK && i < out.size(); ++i)
    rc = ctx.SetOutpDoubles(static_cast<int>(i), out[i]);
  return rc;
}

}  // namespace

Vresult InpShapeModel(const OpContext& ctx, int par, ShapeModel* model,
                      std::shared_ptr<ShapeModelTool>* tool) {
  std::shared_ptr<ShapeModelTool> found;
  const Vresult rc = InpTool(ctx, par, &found);
  if (rc != VRESULT_OK) return rc;
  *model = found->Get();
  if (tool != nullptr) *tool = std::move(found);
  return VRESULT_OK;
}

VEXA_OPERATOR(create_shape_model) { return CreateFromImage(ctx, Scaling::kNone); }
VEXA_OPERATOR(create_scaled_shape_model) { return CreateFromImage(ctx, Scaling::kIsotropic); }
VEXA_OPERATOR(create_aniso_shape_model) { return CreateFromImage(ctx, Scaling::kAnisotropic); }
VEXA_OPERATOR(find_shape_model) { return FindInImage(ctx, Scaling::kNone); }
VEXA_OPERATOR(find_scaled_shape_model) { return FindInImage(ctx, Scaling::kIsotropic); }
VEXA_OPERATOR(find_aniso_shape_model) { return FindInImage(ctx, Scaling::kAnisotropic); }

VEXA_OPERATOR(get_shape_model_params) {
  ShapeModel model;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc != VRESULT_OK) return rc;
  const ShapeModelParams& p = model.params;
  rc = ctx.SetOutpLong(0, p.num_levels);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, p.angle_start);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(2, p.angle_extent);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(3, p.angle_step);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(4, p.scale_min[0]);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(5, p.scale_max[0]);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(6, p.scale_step[0]);
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(7, MetricName(p.metric));
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(8, static_cast<Vlong>(std::lround(p.min_contrast)));
  return rc;
}

VEXA_OPERATOR(get_shape_model_origin) {
  ShapeModel model;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(0, model.origin_row);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, model.origin_col);
  return rc;
}

VEXA_OPERATOR(set_shape_model_origin) {
  std::shared_ptr<ShapeModelTool> tool;
  ShapeModel model;
  Vresult rc = InpShapeModel(ctx, 0, &model, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &model.origin_row);
  if (rc == VRESULT_OK && !(std::fabs(model.origin_row) <= 1e6)) rc = VERR_CTRL_VALUE(1);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &model.origin_col);
  if (rc == VRESULT_OK && !(std::fabs(model.origin_col) <= 1e6)) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) tool->Set(std::move(model));
  return rc;
}

VEXA_OPERATOR(clear_shape_model) { return CloseInpTool(ctx, 0, ToolKind::kShapeModel); }

VEXA_OPERATOR(clear_all_shape_models) {
  handles::RemoveAll(ToolKind::kShapeModel);
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
