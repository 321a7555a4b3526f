#include "ops/serialize/tuple_values.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

namespace vexa {

TupleValue TupleValue::Long(Vlong v) {
  TupleValue t;
  t.type = VPAR_LONG;
  t.l = v;
  return t;
}

TupleValue TupleValue::Double(double v) {
  TupleValue t;
  t.type = VPAR_DOUBLE;
  t.d = v;
  return t;
}

TupleValue TupleValue::String(std::string v) {
  TupleValue t;
  t.type = VPAR_STRING;
  t.s = std::move(v);
  return t;
}

bool TupleValue::operator==(const TupleValue& o) const {
  if (type != o.type) return false;
  switch (type) {
    case VPAR_LONG: return l == o.l;
    case VPAR_DOUBLE: return std::memcmp(&d, &o.d, sizeof d) == 0;
    default: return s == o.s;
  }
}

bool TupleValue::operator<(const TupleValue& o) const {
  if (type != o.type) return type < o.type;
  switch (type) {
    case VPAR_LONG: return l < o.l;
    case VPAR_DOUBLE: return d < o.d;
    default: return s < o.s;
  }
}

Vresult ReadInpValues(const OpContext& ctx, int par, TupleValues* values) {
  const Vlong n = ctx.CtrlNum(par);
  values->clear();
  values->reserve(static_cast<size_t>(n));
  for (Vlong i = 0; i < n; ++i) {
    const Vcpar& e = ctx.CtrlElem(par, i);
    switch (e.type) {
      case VPAR_LONG: values->push_back(TupleValue::Long(e.par.l)); break;
      case VPAR_DOUBLE: values->push_back(TupleValue::Double(e.par.d)); break;
      case VPAR_STRING: values->push_back(TupleValue::String(e.par.s ? e.par.s : "")); break;
      default: return VERR_CTRL_TYPE(par);
    }
  }
  return VRESULT_OK;
}

Vresult WriteOutpValues(OpContext& ctx, int par, const TupleValues& values) {
  if (values.empty()) return ctx.SetOutpEmpty(par);
  CtrlValues out;
  for (const TupleValue& v : values) {
    switch (v.type) {
      case VPAR_LONG: out.Add(v.l); break;
      case VPAR_DOUBLE: out.Add(v.d); break;
      default: out.Add(v.s); break;
    }
  }
  return ctx.SetOutpValues(par, out);
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
