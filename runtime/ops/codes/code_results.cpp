#include "ops/codes/code_results.h"

#include <cstring>

namespace vexa {

Vresult InpResultIndices(const OpContext& ctx, int par, size_t n, const char* all_name,
                         std::vector<size_t>* indices) {
  if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
  const Vcpar& v = ctx.CtrlElem(par, 0);
  indices->clear();
  if (v.type == VPAR_STRING) {
    if (std::strcmp(v.par.s, all_name) != 0) return VERR_CTRL_VALUE(par);
    for (size_t i = 0; i < n; ++i) indices->push_back(i);
    return VRESULT_OK;
  }
  if (v.type != VPAR_LONG) return VERR_CTRL_TYPE(par);
  if (v.par.l < 0 || static_cast<size_t>(v.par.l) >= n) return VERR_CTRL_VALUE(par);
  indices->push_back(static_cast<size_t>(v.par.l));
  return VRESULT_OK;
}

}  // namespace vexa
