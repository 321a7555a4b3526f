#include "ops/codes/code_type_input.h"

#include <algorithm>
#include <cstring>

#include "ops/codes/symbologies.h"

namespace vexa {
namespace {

Vresult Lookup(const Symbology* table, int n, int par, const char* name, int* index) {
  *index = FindSymbology(table, n, name);
  return *index >= 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace

Vresult InpBarCodeTypes(const OpContext& ctx, int par, bool allow_auto, std::vector<int>* types) {
  std::vector<const char*> names;
  const Vresult rc = ctx.GetStrings(par, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(par);
  types->clear();
  for (const char* name : names) {
    if (allow_auto && std::strcmp(name, "auto") == 0) {
      types->clear();
      for (int t = 0; t < kNumBarCodeTypes; ++t) types->push_back(t);
      return VRESULT_OK;
    }
    int t = 0;
    const Vresult r = Lookup(kBarCodeTypes, kNumBarCodeTypes, par, name, &t);
    if (r != VRESULT_OK) return r;
    if (std::find(types->begin(), types->end(), t) == types->end()) types->push_back(t);
  }
  return VRESULT_OK;
}

Vresult InpDataCodeType(const OpContext& ctx, int par, int* type) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  return rc == VRESULT_OK ? Lookup(kDataCodeTypes, kNumDataCodeTypes, par, name, type) : rc;
}

}  // namespace vexa
