// Making, searching, inspecting, storing and closing NCC models.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "ncc_model.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"
#include "shape_model_params.h"

namespace vexa {
namespace matching {
namespace {

constexpr double kMaxAngle = 1e3;

// "use_polarity" or "ignore_global_polarity" at control `par`.
Vresult InpNccMetric(const OpContext& ctx, int par, bool* ignore_polarity) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(s, "use_polarity") == 0) *ignore_polarity = false;
  else if (std::strcmp(s, "ignore_global_polarity") == 0) *ignore_polarity = true;
  else return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

// A finite angle at control `par`.
Vresult InpAngle(const OpContext& ctx, int par, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  return rc == VRESULT_OK && !(std::fabs(*v) <= kMaxAngle) ? VERR_CTRL_VALUE(par) : rc;
}

// A number of levels at control `par`: "auto" (given as 0) or
// 1..kMaxNccLevels.
Vresult InpLevels(const OpContext& ctx, int par, int* levels) {
  if (IsAuto(ctx, par)) {
    *levels = 0;
    return VRESULT_OK;
  }
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1 || v > kMaxNccLevels) return VERR_CTRL_VALUE(par);
  *levels = static_cast<int>(v);
  return VRESULT_OK;
}

Vresult InpModel(const OpContext& ctx, int par, NccModelData* data, std::shared_ptr<NccModel>* tool = nullptr) {
  std::shared_ptr<NccModel> found;
  const Vresult rc = InpTool(ctx, par, &found);
  if (rc != VRESULT_OK) return rc;
  *data = found->Get();
  if (tool != nullptr) *tool = std::move(found);
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(create_ncc_model) {
  NccModelData d;
  Vresult rc = InpLevels(ctx, 0, &d.num_levels);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 1, &d.angle_start);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 2, &d.angle_extent);
  if (rc == VRESULT_OK && d.angle_extent < 0) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK && !IsAuto(ctx, 3)) {
    rc = ctx.GetDouble(3, &d.angle_step);
    if (rc == VRESULT_OK && !(d.angle_step >= kMinAngleStep && d.angle_step <= kMaxNccAngleStep))
      rc = VERR_CTRL_VALUE(3);
  }
  if (rc == VRESULT_OK) rc = InpNccMetric(ctx, 4, &d.ignore_polarity);
  if (rc == VRESULT_OK) rc = InpPatch(ctx, 1, &d.patch);
  if (rc != VRESULT_OK) return rc;
  if (cv::countNonZero(d.patch.mask) < 4) return VERR_OBJ_NUM(1);
  if (d.num_levels == 0) d.num_levels = AutoNumLevels(d.patch);
  if (d.angle_step == 0) d.angle_step = AutoAngleStep(d.patch);
  return OutpNewTool(ctx, 0, std::make_shared<NccModel>(std::move(d)));
}

// The values "auto" resolves to for a template: "num_levels" and
// "angle_step" (or "all"), in that order of names asked for.
VEXA_OPERATOR(determine_ncc_model_params) {
  static const char* const kNames[] = {"num_levels", "angle_step"};
  NccModelData d;
  double start = 0, extent = 0;
  std::vector<const char*> asked;
  Vresult rc = InpLevels(ctx, 0, &d.num_levels);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 1, &start);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 2, &extent);
  if (rc == VRESULT_OK && extent < 0) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = InpNccMetric(ctx, 3, &d.ignore_polarity);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(4, asked);
  if (rc == VRESULT_OK && asked.empty()) rc = VERR_CTRL_NUM(4);
  std::vector<int> which;
  for (size_t i = 0; rc == VRESULT_OK && i < asked.size(); ++i) {
    const bool all = std::strcmp(asked[i], "all") == 0;
    bool known = all;
    for (int k = 0; k < 2; ++k)
      if (all || std::strcmp(asked[i], kNames[k]) == 0) which.push_back(k), known = true;
    if (!known) rc = VERR_CTRL_VALUE(4);
  }
  if (rc == VRESULT_OK) rc = InpPatch(ctx, 1, &d.patch);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::string> names;
  CtrlValues values;
  for (int k : which) {
    names.push_back(kNames[k]);
    if (k == 0) values.Add(static_cast<Vlong>(d.num_levels == 0 ? AutoNumLevels(d.patch) : d.num_levels));
    else values.Add(AutoAngleStep(d.patch));
  }
  rc = ctx.SetOutpStrings(0, names);
  return rc == VRESULT_OK ? ctx.SetOutpValues(1, values) : rc;
}

VEXA_OPERATOR(find_ncc_model) {
  NccModelData d;
  NccSearch q;
  const char* sub_pixel = nullptr;
  Vlong levels = 0;
  Vresult rc = InpModel(ctx, 0, &d);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 1, &q.angle_start);
  if (rc == VRESULT_OK) rc = InpAngle(ctx, 2, &q.angle_extent);
  if (rc == VRESULT_OK && q.angle_extent < 0) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &q.min_score);
  if (rc == VRESULT_OK && !(q.min_score >= 0 && q.min_score <= 1)) rc = VERR_CTRL_VALUE(3);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &q.num_matches);
  if (rc == VRESULT_OK && q.num_matches < 0) rc = VERR_CTRL_VALUE(4);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(5, &q.max_overlap);
  if (rc == VRESULT_OK && !(q.max_overlap >= 0 && q.max_overlap <= 1)) rc = VERR_CTRL_VALUE(5);
  if (rc == VRESULT_OK) rc = ctx.GetString(6, &sub_pixel);
  if (rc == VRESULT_OK && std::strcmp(sub_pixel, "true") != 0 && std::strcmp(sub_pixel, "false") != 0)
    rc = VERR_CTRL_VALUE(6);
  if (rc == VRESULT_OK) rc = ctx.GetLong(7, &levels);
  if (rc == VRESULT_OK && (levels < 0 || levels > kMaxNccLevels)) rc = VERR_CTRL_VALUE(7);
  cv::Mat plane;
  RegionPtr domain;
  if (rc == VRESULT_OK) rc = InpByteImage(ctx, 1, &plane, &domain);
  if (rc != VRESULT_OK) return rc;
  q.sub_pixel = std::strcmp(sub_pixel, "true") == 0;
  q.num_levels = static_cast<int>(levels);
  const bool full = domain->area() == static_cast<Vlong>(plane.rows) * plane.cols;
  std::vector<double> out[4];
  for (const NccMatch& m : FindNccModel(d, plane, full ? nullptr : domain.get(), q)) {
    // The origin turns with the match.
    const double ca = std::cos(m.angle), sa = std::sin(m.angle);
    out[0].push_back(m.row + ca * d.origin_row - sa * d.origin_col);
    out[1].push_back(m.col + sa * d.origin_row + ca * d.origin_col);
    out[2].push_back(m.angle);
    out[3].push_back(m.score);
  }
  for (int i = 0; rc == VRESULT_OK && i < 4; ++i) rc = ctx.SetOutpDoubles(i, out[i]);
  return rc;
}

VEXA_OPERATOR(get_ncc_model_params) {
  NccModelData d;
  Vresult rc = InpModel(ctx, 0, &d);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(0, d.num_levels);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, d.angle_start);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(2, d.angle_extent);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(3, d.angle_step);
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(4, d.ignore_polarity ? "ignore_global_polarity" : "use_polarity");
  return rc;
}

VEXA_OPERATOR(get_ncc_model_origin) {
  NccModelData d;
  Vresult rc = InpModel(ctx, 0, &d);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(0, d.origin_row);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, d.origin_col);
  return rc;
}

VEXA_OPERATOR(set_ncc_model_origin) {
  NccModelData d;
  std::shared_ptr<NccModel> tool;
  Vresult rc = InpModel(ctx, 0, &d, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &d.origin_row);
  if (rc == VRESULT_OK && !(std::fabs(d.origin_row) <= 1e6)) rc = VERR_CTRL_VALUE(1);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &d.origin_col);
  if (rc == VRESULT_OK && !(std::fabs(d.origin_col) <= 1e6)) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) tool->Set(std::move(d));
  return rc;
}

// Parameters that can change after a model was made: "num_levels" (1 ..
// 10) and "angle_step" (radians, kMinAngleStep .. pi/4). Other names are
// refused with VERR_CTRL_VALUE(1).
VEXA_OPERATOR(set_ncc_model_param) {
  std::vector<std::shared_ptr<NccModel>> tools;
  std::vector<const char*> names;
  Vresult rc = InpTools(ctx, 0, &tools);
  if (rc == VRESULT_OK && tools.empty()) rc = VERR_CTRL_NUM(0);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc == VRESULT_OK && names.empty()) rc = VERR_CTRL_NUM(1);
  if (rc == VRESULT_OK && ctx.CtrlNum(2) != static_cast<Vlong>(names.size())) rc = VERR_CTRL_NUM(2);
  std::vector<double> values(names.size());
  for (size_t i = 0; rc == VRESULT_OK && i < names.size(); ++i) {
    const Vcpar& v = ctx.CtrlElem(2, static_cast<Vlong>(i));
    if (v.type != VPAR_LONG && v.type != VPAR_DOUBLE) {
      rc = VERR_CTRL_TYPE(2);
      break;
    }
    values[i] = v.type == VPAR_LONG ? static_cast<double>(v.par.l) : v.par.d;
    if (std::strcmp(names[i], "num_levels") == 0) {
      if (!(values[i] >= 1 && values[i] <= kMaxNccLevels && values[i] == std::floor(values[i]))) rc = VERR_CTRL_VALUE(2);
    } else if (std::strcmp(names[i], "angle_step") == 0) {
      if (!(values[i] >= kMinAngleStep && values[i] <= kMaxNccAngleStep)) rc = VERR_CTRL_VALUE(2);
    } else {
      rc = VERR_CTRL_VALUE(1);
    }
  }
  for (size_t t = 0; rc == VRESULT_OK && t < tools.size(); ++t) {
    NccModelData d = tools[t]->Get();
    for (size_t i = 0; i < names.size(); ++i) {
      if (std::strcmp(names[i], "num_levels") == 0) d.num_levels = static_cast<int>(values[i]);
      else d.angle_step = values[i];
    }
    tools[t]->Set(std::move(d));
  }
  return rc;
}

using NccModelItemOps = ToolItemOps<SharedModelCodec<NccModel>>;

VEXA_OPERATOR(serialize_ncc_model) { return NccModelItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_ncc_model) { return NccModelItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_ncc_model) { return NccModelItemOps::Write(ctx); }
VEXA_OPERATOR(read_ncc_model) { return NccModelItemOps::Read(ctx); }
VEXA_OPERATOR(clear_ncc_model) { return CloseInpTool(ctx, 0, ToolKind::kNccModel); }

VEXA_OPERATOR(clear_all_ncc_models) {
  handles::RemoveAll(ToolKind::kNccModel);
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
