// Making, searching, inspecting and closing shape models.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "gradient_pyramid.h"
#include "match_overlap.h"
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

struct ModelMatch {
  Match match;
  Vlong model_index;
};

// Matches of several models, best first, without those that overlap a
// better match (of any of the models) by more than their own model's
// MaxOverlap.
std::vector<ModelMatch> MergeModelMatches(std::vector<ModelMatch> all,
                                          const std::vector<ShapeModel>& models,
                                          const std::vector<SearchRequest>& requests) {
  std::stable_sort(all.begin(), all.end(), [](const ModelMatch& a, const ModelMatch& b) {
    return a.match.score > b.match.score;
  });
  std::vector<ModelBox> boxes;
  for (const ShapeModel& m : models) boxes.push_back(BoundingBox(m.levels->front().points));
  std::vector<ModelMatch> kept;
  for (const ModelMatch& m : all) {
    const double max_overlap = requests[static_cast<size_t>(m.model_index)].max_overlap;
    bool covered = false;
    for (const ModelMatch& k : kept)
      covered = covered || PoseOverlap(boxes[static_cast<size_t>(k.model_index)], k.match.pose,
                                       boxes[static_cast<size_t>(m.model_index)], m.match.pose) >
                               max_overlap;
    if (!covered) kept.push_back(m);
  }
  return kept;
}

// The models of control 0: one for find_*shape_model, one or more for
// find_*shape_models. Each must be searchable with `scaling`.
Vresult InpModels(const OpContext& ctx, bool several, Scaling scaling, std::vector<ShapeModel>* models) {
  std::vector<std::shared_ptr<ShapeModelTool>> tools(1);
  Vresult rc = several ? InpTools(ctx, 0, &tools) : InpTool(ctx, 0, &tools[0]);
  for (size_t i = 0; rc == VRESULT_OK && i < tools.size(); ++i) {
    models->push_back(tools[i]->Get());
    // A model made without the scales this search asks for cannot take
    // part; a scaled model can be searched at scale 1.
    const Scaling own = models->back().params.scaling;
    if (own != scaling && !(scaling == Scaling::kNone)) rc = VERR_CTRL_VALUE(0);
  }
  return rc;
}

// The matches of the model(s) at control 0 in the image(s) at input
// object 1 (one image for all models, or one per model): Row, Column,
// Angle, the scales of `scaling`, Score and, for several models, the
// index of each match's model.
Vresult FindInImages(OpContext& ctx, Scaling scaling, bool several) {
  std::vector<ShapeModel> models;
  Vresult rc = InpModels(ctx, several, scaling, &models);
  std::vector<SearchRequest> requests(models.size());
  for (size_t i = 0; rc == VRESULT_OK && i < models.size(); ++i)
    rc = InpSearchParams(ctx, scaling, models[i].params, {i, models.size()}, &requests[i]);
  Vlong images = 0;
  if (rc == VRESULT_OK) rc = ctx.InpObjCount(1, &images);
  if (rc == VRESULT_OK && images != 1 && images != static_cast<Vlong>(models.size()))
    rc = VERR_OBJ_NUM(1);
  if (rc != VRESULT_OK) return rc;
  std::vector<ModelMatch> all;
  for (size_t i = 0; i < models.size(); ++i) {
    db::ImageData image;
    cv::Mat plane;
    rc = InpImage(1, ctx.InpObjKey(1, images == 1 ? 0 : static_cast<Vlong>(i)), &image);
    if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], &plane);
    if (rc != VRESULT_OK) return rc;
    const bool full = image.domain->area() == static_cast<Vlong>(plane.rows) * plane.cols;
    for (const Match& m : FindShapeModel(models[i], plane, full ? nullptr : image.domain.get(), requests[i]))
      all.push_back({m, static_cast<Vlong>(i)});
  }
  if (several) all = MergeModelMatches(std::move(all), models, requests);
  std::vector<std::vector<double>> out(static_cast<size_t>(4 + ScaleAxes(scaling)));
  std::vector<Vlong> index;
  for (const ModelMatch& mm : all) {
    // Report the model's origin, which moves with the match.
    const Pose& p = mm.match.pose;
    const ShapeModel& model = models[static_cast<size_t>(mm.model_index)];
    double dr, dc;
    RotatePoint(p.scale_r * model.origin_row, p.scale_c * model.origin_col, std::cos(p.angle),
                std::sin(p.angle), &dr, &dc);
    size_t i = 0;
    out[i++].push_back(p.row + dr);
    out[i++].push_back(p.col + dc);
    out[i++].push_back(p.angle);
    if (scaling != Scaling::kNone) out[i++].push_back(p.scale_r);
    if (scaling == Scaling::kAnisotropic) out[i++].push_back(p.scale_c);
    out[i].push_back(mm.match.score);
    index.push_back(mm.model_index);
  }
  for (size_t i = 0; rc == VRESULT_OK && i < out.size(); ++i)
    rc = ctx.SetOutpDoubles(static_cast<int>(i), out[i]);
  if (rc == VRESULT_OK && several) rc = ctx.SetOutpLongs(static_cast<int>(out.size()), index);
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
VEXA_OPERATOR(find_shape_model) { return FindInImages(ctx, Scaling::kNone, false); }
VEXA_OPERATOR(find_scaled_shape_model) { return FindInImages(ctx, Scaling::kIsotropic, false); }
VEXA_OPERATOR(find_aniso_shape_model) { return FindInImages(ctx, Scaling::kAnisotropic, false); }
VEXA_OPERATOR(find_shape_models) { return FindInImages(ctx, Scaling::kNone, true); }
VEXA_OPERATOR(find_scaled_shape_models) { return FindInImages(ctx, Scaling::kIsotropic, true); }
VEXA_OPERATOR(find_aniso_shape_models) { return FindInImages(ctx, Scaling::kAnisotropic, true); }

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

// Parameters of a model that can change after it was made: "min_contrast"
// (the gradient magnitude below which search pixels are ignored, >= 0).
VEXA_OPERATOR(set_shape_model_param) {
  std::shared_ptr<ShapeModelTool> tool;
  ShapeModel model;
  std::vector<const char*> names;
  Vresult rc = InpShapeModel(ctx, 0, &model, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc == VRESULT_OK && names.empty()) rc = VERR_CTRL_NUM(1);
  if (rc == VRESULT_OK && ctx.CtrlNum(2) != static_cast<Vlong>(names.size())) rc = VERR_CTRL_NUM(2);
  for (size_t i = 0; rc == VRESULT_OK && i < names.size(); ++i) {
    const Vcpar& v = ctx.CtrlElem(2, static_cast<Vlong>(i));
    if (std::strcmp(names[i], "min_contrast") != 0) {
      rc = VERR_CTRL_VALUE(1);
    } else if (v.type != VPAR_LONG && v.type != VPAR_DOUBLE) {
      rc = VERR_CTRL_TYPE(2);
    } else {
      const double value = v.type == VPAR_LONG ? static_cast<double>(v.par.l) : v.par.d;
      if (!(value >= 0 && value <= 1e6)) rc = VERR_CTRL_VALUE(2);
      model.params.min_contrast = value;
    }
  }
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
