#include "ops/codes/data_code_params.h"

namespace vexa {

Vresult ApplyDataCodeParams(const OpContext& ctx, int name_par, DataCodeParams* params) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(name_par, names);
  if (rc != VRESULT_OK) return rc;
  if (ctx.CtrlNum(name_par + 1) != static_cast<Vlong>(names.size()))
    return VERR_CTRL_NUM(name_par + 1);
  DataCodeParams changed = *params;
  for (size_t i = 0; rc == VRESULT_OK && i < names.size(); ++i)
    rc = SetDataCodeParam(&changed, names[i], ctx.CtrlElem(name_par + 1, static_cast<Vlong>(i)),
                          name_par, name_par + 1);
  if (rc == VRESULT_OK) *params = changed;
  return rc;
}

}  // namespace vexa
