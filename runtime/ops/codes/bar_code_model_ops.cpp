// Making, configuring, storing and closing bar code models.
#include <cstring>

#include "ops/codes/bar_code_model.h"
#include "ops/codes/code_type_input.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"

namespace vexa {
namespace {

void SetAll(BarCodeModel* model, const std::vector<int>& params, const std::vector<double>& values,
            const std::vector<int>& types) {
  for (size_t i = 0; i < params.size(); ++i) model->SetParam(params[i], types, values[i]);
}

std::vector<int> AllTypes() {
  std::vector<int> types;
  for (int t = 0; t < kNumBarCodeTypes; ++t) types.push_back(t);
  return types;
}

// The parameter names at input `par`, each known.
Vresult InpParamNames(const OpContext& ctx, int par, std::vector<int>* params) {
  std::vector<const char*> names;
  const Vresult rc = ctx.GetStrings(par, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(par);
  params->clear();
  for (const char* name : names) {
    const int p = FindBarCodeParam(name);
    if (p < 0) return VERR_CTRL_VALUE(par);
    params->push_back(p);
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(create_bar_code_model) {
  std::vector<int> params;
  std::vector<double> values;
  const Vresult rc = InpBarCodeParamPairs(ctx, 0, false, &params, &values);
  if (rc != VRESULT_OK) return rc;
  auto model = std::make_shared<BarCodeModel>();
  SetAll(model.get(), params, values, AllTypes());
  return OutpNewTool(ctx, 0, std::move(model));
}

VEXA_OPERATOR(set_bar_code_param) {
  std::shared_ptr<BarCodeModel> model;
  std::vector<int> params;
  std::vector<double> values;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpBarCodeParamPairs(ctx, 1, false, &params, &values);
  if (rc == VRESULT_OK) SetAll(model.get(), params, values, AllTypes());
  return rc;
}

VEXA_OPERATOR(set_bar_code_param_specific) {
  std::shared_ptr<BarCodeModel> model;
  std::vector<int> types, params;
  std::vector<double> values;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpBarCodeTypes(ctx, 1, false, &types);
  if (rc == VRESULT_OK) rc = InpBarCodeParamPairs(ctx, 2, true, &params, &values);
  if (rc == VRESULT_OK) SetAll(model.get(), params, values, types);
  return rc;
}

// One value per general parameter; a specific one gives its common value,
// or one value per code type (in the order of the type table) where the
// types differ.
VEXA_OPERATOR(get_bar_code_param) {
  std::shared_ptr<BarCodeModel> model;
  std::vector<int> params;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpParamNames(ctx, 1, &params);
  if (rc != VRESULT_OK) return rc;
  const BarCodeParamValues values = model->Params();
  std::vector<double> out;
  for (int p : params) {
    const auto& row = values[p];
    bool uniform = true;
    for (double v : row) uniform = uniform && v == row[0];
    if (uniform)
      out.push_back(row[0]);
    else
      out.insert(out.end(), row.begin(), row.end());
  }
  return ctx.SetOutpDoubles(0, out);
}

// One value per code type and parameter, types varying fastest.
VEXA_OPERATOR(get_bar_code_param_specific) {
  std::shared_ptr<BarCodeModel> model;
  std::vector<int> types, params;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpBarCodeTypes(ctx, 1, false, &types);
  if (rc == VRESULT_OK) rc = InpParamNames(ctx, 2, &params);
  if (rc != VRESULT_OK) return rc;
  const BarCodeParamValues values = model->Params();
  std::vector<double> out;
  for (int p : params)
    for (int t : types) out.push_back(values[p][t]);
  return ctx.SetOutpDoubles(0, out);
}

// The names of the "general", the "specific" or "all" parameters.
VEXA_OPERATOR(query_bar_code_params) {
  static const char* const kGroups[] = {"general", "specific", "all"};
  std::shared_ptr<BarCodeModel> model;
  const char* group = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &group);
  if (rc != VRESULT_OK) return rc;
  int g = 0;
  while (g < 3 && std::strcmp(kGroups[g], group) != 0) ++g;
  if (g == 3) return VERR_CTRL_VALUE(1);
  std::vector<std::string> names;
  for (const BarCodeParamSpec& s : kBarCodeParams)
    if (g == 2 || s.specific == (g == 1)) names.push_back(s.name);
  return ctx.SetOutpStrings(0, names);
}

VEXA_OPERATOR(clear_bar_code_model) { return CloseInpTool(ctx, 0, ToolKind::kBarCode); }

VEXA_OPERATOR(clear_all_bar_code_models) {
  handles::RemoveAll(ToolKind::kBarCode);
  return VRESULT_OK;
}

using BarCodeItemOps = ToolItemOps<SharedModelCodec<BarCodeModel>>;

VEXA_OPERATOR(serialize_bar_code_model) { return BarCodeItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_bar_code_model) { return BarCodeItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_bar_code_model) { return BarCodeItemOps::Write(ctx); }
VEXA_OPERATOR(read_bar_code_model) { return BarCodeItemOps::Read(ctx); }

}  // namespace vexa
