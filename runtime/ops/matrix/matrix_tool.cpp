#include "ops/matrix/matrix_tool.h"

#include <cstring>

namespace vexa {

Vresult CheckMatrixSize(Vlong rows, Vlong columns, int par) {
  if (rows < 1 || columns < 1) return VERR_CTRL_VALUE(par);
  if (rows > kMaxMatrixElements || columns > kMaxMatrixElements / rows) return VERR_TOO_LARGE;
  return VRESULT_OK;
}

Vresult InpMatrix(const OpContext& ctx, int par, Matrix* m, std::shared_ptr<MatrixTool>* tool) {
  std::shared_ptr<MatrixTool> found;
  const Vresult rc = InpTool(ctx, par, &found);
  if (rc != VRESULT_OK) return rc;
  *m = found->Get();
  if (tool) *tool = std::move(found);
  return VRESULT_OK;
}

Vresult OutpNewMatrix(OpContext& ctx, int par, Matrix m) {
  return OutpNewTool(ctx, par, std::make_shared<MatrixTool>(std::move(m)));
}

Vresult StoreMatrixResult(OpContext& ctx, bool in_place, MatrixTool& target, Matrix result) {
  if (!in_place) return OutpNewMatrix(ctx, 0, std::move(result));
  target.Set(std::move(result));
  return VRESULT_OK;
}

Vresult OutpOptionalMatrix(OpContext& ctx, int par, bool wanted, Matrix m) {
  return wanted ? OutpNewMatrix(ctx, par, std::move(m)) : ctx.SetOutpLong(par, -1);
}

Vresult InpBool(const OpContext& ctx, int par, bool* value) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(s, "true") == 0) {
    *value = true;
  } else if (std::strcmp(s, "false") == 0) {
    *value = false;
  } else {
    return VERR_CTRL_VALUE(par);
  }
  return VRESULT_OK;
}

}  // namespace vexa
