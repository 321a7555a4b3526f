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

VEXA_OPERATOR(create_shape_model) {
  BuildRequest build;
  ShapeModel model;
  cv::Mat plane;
  RegionPtr region;
  Vresult rc = InpCreateParams(ctx, 0, 6, 7, &build, &model.params);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 1, &plane, &region);
  if (rc == VRESULT_OK) rc = BuildShapeModel(plane, *region, build, &model);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<ShapeModelTool>(std::move(model)))
                          : rc;
}

VEXA_OPERATOR(find_shape_model) {
  ShapeModel model;
  SearchRequest q;
  cv::Mat plane;
  RegionPtr domain;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpSearchParams(ctx, 1, &q);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 1, &plane, &domain);
  if (rc != VRESULT_OK) return rc;
  const bool full = domain->area() == static_cast<Vlong>(plane.rows) * plane.cols;
  const std::vector<Match> matches = FindShapeModel(model, plane, full ? nullptr : domain.get(), q);
  std::vector<double> rows, cols, angles, scores;
  for (const Match& m : matches) {
    // Report the model's origin, which moves with the match.
    double dr, dc;
    RotatePoint(model.origin_row, model.origin_col, std::cos(m.angle), std::sin(m.angle), &dr, &dc);
    rows.push_back(m.row + dr);
    cols.push_back(m.col + dc);
    angles.push_back(m.angle);
    scores.push_back(m.score);
  }
  rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, angles);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(3, scores);
  return rc;
}

VEXA_OPERATOR(get_shape_model_params) {
  ShapeModel model;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc != VRESULT_OK) return rc;
  const ShapeModelParams& p = model.params;
  rc = ctx.SetOutpLong(0, p.num_levels);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, p.angle_start);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(2, p.angle_extent);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(3, p.angle_step);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(4, p.scale_min);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(5, p.scale_max);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(6, p.scale_step);
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
