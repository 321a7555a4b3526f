// Making, configuring, storing and closing 2D data code models.
#include <cstring>

#include "ops/codes/code_type_input.h"
#include "ops/codes/data_code_model.h"
#include "ops/codes/data_code_params.h"
#include "ops/serialize/tool_item_ops.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(create_data_code_2d_model) {
  DataCodeParams params;
  Vresult rc = InpDataCodeType(ctx, 0, &params.type);
  if (rc == VRESULT_OK) rc = ApplyDataCodeParams(ctx, 1, &params);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<DataCodeModel>(params)) : rc;
}

VEXA_OPERATOR(set_data_code_2d_param) {
  std::shared_ptr<DataCodeModel> model;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc != VRESULT_OK) return rc;
  DataCodeParams params = model->Params();
  rc = ApplyDataCodeParams(ctx, 1, &params);
  if (rc == VRESULT_OK) model->SetParams(params);
  return rc;
}

VEXA_OPERATOR(get_data_code_2d_param) {
  std::shared_ptr<DataCodeModel> model;
  std::vector<const char*> names;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc == VRESULT_OK && names.empty()) rc = VERR_CTRL_NUM(1);
  const DataCodeParams params = rc == VRESULT_OK ? model->Params() : DataCodeParams{};
  CtrlValues out;
  for (size_t i = 0; rc == VRESULT_OK && i < names.size(); ++i)
    rc = GetDataCodeParam(params, names[i], 1, &out);
  return rc == VRESULT_OK ? ctx.SetOutpValues(0, out) : rc;
}

// "get_model_params", "set_model_params", "get_result_params" or
// "get_result_objects": the names these take.
VEXA_OPERATOR(query_data_code_2d_params) {
  std::shared_ptr<DataCodeModel> model;
  const char* query = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &query);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::string> names;
  if (std::strcmp(query, "get_model_params") == 0 || std::strcmp(query, "set_model_params") == 0)
    names = DataCodeParamNames(query[0] == 's');
  else if (std::strcmp(query, "get_result_params") == 0)
    names = DataCodeResultNames();
  else if (std::strcmp(query, "get_result_objects") == 0)
    names = DataCodeObjectNames();
  else
    return VERR_CTRL_VALUE(1);
  return ctx.SetOutpStrings(0, names);
}

VEXA_OPERATOR(clear_data_code_2d_model) { return CloseInpTool(ctx, 0, ToolKind::kDataCode2D); }

VEXA_OPERATOR(clear_all_data_code_2d_models) {
  handles::RemoveAll(ToolKind::kDataCode2D);
  return VRESULT_OK;
}

using DataCodeItemOps = ToolItemOps<SharedModelCodec<DataCodeModel>>;

VEXA_OPERATOR(serialize_data_code_2d_model) { return DataCodeItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_data_code_2d_model) { return DataCodeItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_data_code_2d_model) { return DataCodeItemOps::Write(ctx); }
VEXA_OPERATOR(read_data_code_2d_model) { return DataCodeItemOps::Read(ctx); }

}  // namespace vexa
