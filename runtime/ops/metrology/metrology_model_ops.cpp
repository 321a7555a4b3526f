// Making metrology models, adding, copying, moving and removing their
// objects, and their parameters.
#include <cmath>
#include <cstring>

#include "metrology_params.h"
#include "metrology_placement.h"
#include "registry.h"

namespace vexa {
namespace {

const char* const kMeasureParamNames[] = {"measure_length1", "measure_length2", "measure_sigma",
                                          "measure_threshold"};

// Adds an object of `shape` with parameters `p` (checked, else
// VERR_CTRL_VALUE(shape_par)); its four measure parameters start at input
// `measure_par`, followed by the generic names and values. The new index
// goes to output 0.
Vresult AddObject(OpContext& ctx, MetrologyShape shape, const std::vector<double>& p, int shape_par,
                  int measure_par) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  Vresult rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  if (!ValidShape(shape, p)) return VERR_CTRL_VALUE(shape_par);
  MetrologyObject o;
  o.shape = shape;
  o.shape_params = p;
  for (int i = 0; i < 4; ++i) {
    const int par = measure_par + i;
    if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
    rc = SetMetrologyParam(&o.params, kMeasureParamNames[i], ctx.CtrlElem(par, 0), par, par);
    if (rc != VRESULT_OK) return rc;
  }
  rc = SetMetrologyParams(ctx, measure_par + 4, &o.params);
  if (rc != VRESULT_OK) return rc;
  MetrologyModel& m = tool->model();
  rc = ctx.SetOutpLong(0, m.next_index);
  if (rc == VRESULT_OK) m.objects[m.next_index++] = std::move(o);
  return rc;
}

// Adds the object whose `n` shape parameters are the single values at
// inputs 1..n.
Vresult AddShape(OpContext& ctx, MetrologyShape shape) {
  const int n = static_cast<int>(ShapeParamCount(shape));
  std::vector<double> p(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    const Vresult rc = InpCoordinate(ctx, 1 + i, &p[static_cast<size_t>(i)]);
    if (rc != VRESULT_OK) return rc;
  }
  return AddObject(ctx, shape, p, 1, 1 + n);
}

Vresult InpImageSide(const OpContext& ctx, int par, Vlong* side) {
  const Vresult rc = ctx.GetLong(par, side);
  if (rc != VRESULT_OK) return rc;
  return *side >= 1 && *side <= kMaxMeasureImageSide ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// The value for the i-th of `n` objects at `par`: one for all or one each.
Vresult InpPerObject(const OpContext& ctx, int par, size_t n, std::vector<double>* v) {
  std::vector<double> values;
  const Vresult rc = ctx.GetDoubles(par, values);
  if (rc != VRESULT_OK) return rc;
  if (values.size() != 1 && values.size() != n) return VERR_CTRL_NUM(par);
  for (double x : values)
    if (!(std::fabs(x) <= 1e7)) return VERR_CTRL_VALUE(par);
  v->assign(n, values[0]);
  if (values.size() == n) *v = values;
  return VRESULT_OK;
}

// The reference point and orientation of a shape: a line's middle and
// direction, the centre and angle of the others (0 for circles).
MetrologyPose ShapePose(MetrologyShape shape, const std::vector<double>& p) {
  switch (shape) {
    case MetrologyShape::kLine:
      return {(p[0] + p[2]) / 2, (p[1] + p[3]) / 2, std::atan2(-(p[2] - p[0]), p[3] - p[1])};
    case MetrologyShape::kCircle: return {p[0], p[1], 0};
    case MetrologyShape::kEllipse:
    case MetrologyShape::kRectangle2: return {p[0], p[1], p[2]};
  }
  return {};
}

}  // namespace

VEXA_OPERATOR(create_metrology_model) {
  return OutpNewTool(ctx, 0, std::make_shared<MetrologyTool>());
}

VEXA_OPERATOR(set_metrology_model_image_size) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  Vlong width = 0, height = 0;
  Vresult rc = InpImageSide(ctx, 1, &width);
  if (rc == VRESULT_OK) rc = InpImageSide(ctx, 2, &height);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  tool->model().width = width;
  tool->model().height = height;
  return VRESULT_OK;
}

VEXA_OPERATOR(add_metrology_object_line_measure) { return AddShape(ctx, MetrologyShape::kLine); }
VEXA_OPERATOR(add_metrology_object_circle_measure) { return AddShape(ctx, MetrologyShape::kCircle); }
VEXA_OPERATOR(add_metrology_object_ellipse_measure) { return AddShape(ctx, MetrologyShape::kEllipse); }
VEXA_OPERATOR(add_metrology_object_rectangle2_measure) {
  return AddShape(ctx, MetrologyShape::kRectangle2);
}

VEXA_OPERATOR(add_metrology_object_generic) {
  const char* name = nullptr;
  MetrologyShape shape{};
  Vresult rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  if (!ShapeFromName(name, &shape)) return VERR_CTRL_VALUE(1);
  std::vector<double> p;
  rc = ctx.GetDoubles(2, p);
  if (rc != VRESULT_OK) return rc;
  if (p.size() != ShapeParamCount(shape)) return VERR_CTRL_NUM(2);
  return AddObject(ctx, shape, p, 2, 3);
}

VEXA_OPERATOR(clear_metrology_object) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : chosen.indices) chosen.tool->model().objects.erase(i);
  return VRESULT_OK;
}

VEXA_OPERATOR(clear_metrology_model) { return CloseInpTool(ctx, 0, ToolKind::kMetrologyModel); }

VEXA_OPERATOR(clear_all_metrology_models) {
  handles::RemoveAll(ToolKind::kMetrologyModel);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_metrology_object_indices) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  const Vresult rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> indices;
  for (const auto& entry : tool->model().objects) indices.push_back(entry.first);
  return ctx.SetOutpLongs(0, indices);
}

VEXA_OPERATOR(set_metrology_object_param) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  // All objects or none: check the values on copies first.
  std::vector<MetrologyParams> changed;
  for (size_t i = 0; rc == VRESULT_OK && i < chosen.indices.size(); ++i) {
    changed.push_back(chosen.tool->model().objects[chosen.indices[i]].params);
    rc = SetMetrologyParams(ctx, 2, &changed.back());
  }
  if (rc != VRESULT_OK) return rc;
  for (size_t i = 0; i < chosen.indices.size(); ++i) chosen.tool->model().objects[chosen.indices[i]].params = changed[i];
  return VRESULT_OK;
}

VEXA_OPERATOR(get_metrology_object_param) {
  ChosenObjects chosen;
  std::vector<const char*> names;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(2, names);
  if (rc == VRESULT_OK && names.empty()) rc = VERR_CTRL_NUM(2);
  if (rc != VRESULT_OK) return rc;
  CtrlValues out;
  for (Vlong i : chosen.indices)
    for (const char* name : names)
      if (!GetMetrologyParam(chosen.tool->model().objects[i], name, &out)) return VERR_CTRL_VALUE(2);
  return ctx.SetOutpValues(0, out);
}

// Every parameter but the shape back to its default.
VEXA_OPERATOR(reset_metrology_object_param) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : chosen.indices) chosen.tool->model().objects[i].params = MetrologyParams{};
  return VRESULT_OK;
}

// "reference_system": row, column and angle of the frame the objects'
// parameters are given in; setting it also aligns the model to it.
VEXA_OPERATOR(set_metrology_model_param) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  const char* name = nullptr;
  std::vector<double> v;
  Vresult rc = ctx.GetString(1, &name);
  if (rc == VRESULT_OK && std::strcmp(name, "reference_system") != 0) rc = VERR_CTRL_VALUE(1);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, v);
  if (rc == VRESULT_OK && v.size() != 3) rc = VERR_CTRL_NUM(2);
  for (size_t i = 0; rc == VRESULT_OK && i < v.size(); ++i)
    if (!(std::fabs(v[i]) <= 1e7)) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  tool->model().reference = {v[0], v[1], v[2]};
  tool->model().aligned = tool->model().reference;
  return VRESULT_OK;
}

// "reference_system" (row, column, angle) and "image_size" (width,
// height; 0 0 until known).
VEXA_OPERATOR(get_metrology_model_param) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  const char* name = nullptr;
  Vresult rc = ctx.GetString(1, &name);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  const MetrologyModel& m = tool->model();
  CtrlValues out;
  if (std::strcmp(name, "reference_system") == 0)
    out.Add(m.reference.row).Add(m.reference.column).Add(m.reference.angle);
  else if (std::strcmp(name, "image_size") == 0)
    out.Add(m.width).Add(m.height);
  else
    return VERR_CTRL_VALUE(1);
  return ctx.SetOutpValues(0, out);
}

// Moves the reference system to (row, column) turned to `angle`; the
// objects follow it.
VEXA_OPERATOR(align_metrology_model) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  MetrologyPose pose;
  Vresult rc = InpCoordinate(ctx, 1, &pose.row);
  if (rc == VRESULT_OK) rc = InpCoordinate(ctx, 2, &pose.column);
  if (rc == VRESULT_OK) rc = InpCoordinate(ctx, 3, &pose.angle);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  tool->model().aligned = pose;
  return VRESULT_OK;
}

// A new model with the chosen objects (same indices, no results).
VEXA_OPERATOR(copy_metrology_model) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  MetrologyModel copy = chosen.tool->model();
  copy.objects.clear();
  for (Vlong i : chosen.indices) {
    MetrologyObject o = chosen.tool->model().objects[i];
    o.measures.clear();
    o.edges.clear();
    o.instances.clear();
    copy.objects[i] = std::move(o);
  }
  return OutpNewTool(ctx, 0, std::make_shared<MetrologyTool>(std::move(copy)));
}

// Copies of the chosen objects in the same model, under new chosen.indices.
VEXA_OPERATOR(copy_metrology_object) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  MetrologyModel& m = chosen.tool->model();
  std::vector<Vlong> copies;
  for (size_t k = 0; k < chosen.indices.size(); ++k) copies.push_back(m.next_index + static_cast<Vlong>(k));
  rc = ctx.SetOutpLongs(0, copies);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : chosen.indices) m.objects[m.next_index++] = m.objects[i];
  return VRESULT_OK;
}

// "relative": each object turned by phi about the origin, then moved by
// (row, column). "absolute": each object put with its reference point
// (a line's middle, the others' centre) at (row, column) and its angle
// (a line's direction; none for circles) at phi. One value for all
// objects or one each.
VEXA_OPERATOR(transform_metrology_object) {
  ChosenObjects chosen;
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(5, &mode);
  const bool relative = rc == VRESULT_OK && std::strcmp(mode, "relative") == 0;
  if (rc == VRESULT_OK && !relative && std::strcmp(mode, "absolute") != 0) rc = VERR_CTRL_VALUE(5);
  if (rc == VRESULT_OK) rc = InpChosenObjects(ctx, &chosen);
  std::vector<double> rows, cols, phis;
  if (rc == VRESULT_OK) rc = InpPerObject(ctx, 2, chosen.indices.size(), &rows);
  if (rc == VRESULT_OK) rc = InpPerObject(ctx, 3, chosen.indices.size(), &cols);
  if (rc == VRESULT_OK) rc = InpPerObject(ctx, 4, chosen.indices.size(), &phis);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::vector<double>> moved;
  for (size_t k = 0; k < chosen.indices.size(); ++k) {
    const MetrologyObject& o = chosen.tool->model().objects[chosen.indices[k]];
    MetrologyPose pose{rows[k], cols[k], phis[k]};
    if (!relative) {
      MetrologyPose target = pose;
      if (o.shape == MetrologyShape::kCircle) target.angle = 0;
      pose = RelativePose(ShapePose(o.shape, o.shape_params), target);
    }
    moved.push_back(MoveShape(o.shape, o.shape_params, pose));
    if (!ValidShape(o.shape, moved.back())) return VERR_CTRL_VALUE(2);
  }
  for (size_t k = 0; k < chosen.indices.size(); ++k) chosen.tool->model().objects[chosen.indices[k]].shape_params = moved[k];
  return VRESULT_OK;
}

}  // namespace vexa
