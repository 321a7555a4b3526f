#include "ops/serialize/tuple_values.h"

#include <limits>

namespace vexa {

bool TupleValueOrder::operator()(const TupleValue& a, const TupleValue& b) const {
  if (a.type != b.type) return a.type < b.type;
  switch (a.type) {
    case VPAR_LONG: return a.l < b.l;
    case VPAR_DOUBLE: return a.d < b.d;
    default: return a.s < b.s;
  }
}

Vresult ReadInpValues(const OpContext& ctx, int par, TupleValues* values) {
  *values = tuple::ReadValues(ctx, par);
  for (const TupleValue& v : *values)
    if (v.type == VPAR_UNDEF) return VERR_CTRL_TYPE(par);
  return VRESULT_OK;
}

Vresult WriteOutpValues(OpContext& ctx, int par, const TupleValues& values) {
  return values.empty() ? ctx.SetOutpEmpty(par) : tuple::WriteValues(ctx, par, values);
}

Vresult ReadGenParams(const OpContext& ctx, int names_par, int values_par,
                      std::vector<GenParam>* params) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(names_par, names);
  if (rc != VRESULT_OK) return rc;
  TupleValues values;
  rc = ReadInpValues(ctx, values_par, &values);
  if (rc != VRESULT_OK) return rc;
  if (values.size() != names.size()) return VERR_CTRL_NUM(values_par);
  params->clear();
  for (size_t i = 0; i < names.size(); ++i) params->push_back({names[i], values[i]});
  return VRESULT_OK;
}

Vresult SecondsOrInfinite(const TupleValue& v, int par, double* seconds) {
  if (v.type == VPAR_STRING) {
    if (v.s != "infinite") return VERR_CTRL_VALUE(par);
    *seconds = std::numeric_limits<double>::infinity();
    return VRESULT_OK;
  }
  const double s = v.type == VPAR_LONG ? static_cast<double>(v.l) : v.d;
  if (!(s >= 0.0)) return VERR_CTRL_VALUE(par);
  *seconds = s;
  return VRESULT_OK;
}

}  // namespace vexa
