// Reading, writing, broadcasting and comparing tuple values for the tuple
// operators (see tuple_values.h).
#include "ops/tuple/tuple_values.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace vexa::tuple {

Value Value::Long(Vlong v) {
  Value r;
  r.type = VPAR_LONG;
  r.l = v;
  return r;
}

Value Value::Double(double v) {
  Value r;
  r.type = VPAR_DOUBLE;
  r.d = v;
  return r;
}

Value Value::String(std::string v) {
  Value r;
  r.type = VPAR_STRING;
  r.s = std::move(v);
  return r;
}

// ---- Reading ------------------------------------------------------------------

Values ReadValues(const OpContext& ctx, int par) {
  const Vlong n = ctx.CtrlNum(par);
  Values out(static_cast<size_t>(n > 0 ? n : 0));
  for (Vlong i = 0; i < n; ++i) {
    const Vcpar& e = ctx.CtrlElem(par, i);
    Value& v = out[static_cast<size_t>(i)];
    switch (e.type) {
      case VPAR_LONG: v = Value::Long(e.par.l); break;
      case VPAR_DOUBLE: v = Value::Double(e.par.d); break;
      // A string record without text is read as the empty string rather
      // than dereferenced.
      case VPAR_STRING: v = Value::String(e.par.s ? e.par.s : ""); break;
      default: break;  // stays VPAR_UNDEF
    }
  }
  return out;
}

Vresult ReadNumbers(const OpContext& ctx, int par, Values* out) {
  *out = ReadValues(ctx, par);
  for (const Value& v : *out)
    if (!v.IsNumber()) return VERR_CTRL_TYPE(par);
  return VRESULT_OK;
}

Vresult ReadStrings(const OpContext& ctx, int par,
                    std::vector<std::string>* out) {
  out->clear();
  for (Value& v : ReadValues(ctx, par)) {
    if (!v.IsString()) return VERR_CTRL_TYPE(par);
    out->push_back(std::move(v.s));
  }
  return VRESULT_OK;
}

Vresult ToIndex(const Value& v, int par, Vlong* out) {
  if (v.IsLong()) {
    *out = v.l;
    return VRESULT_OK;
  }
  if (!v.IsDouble()) return VERR_CTRL_TYPE(par);
  // 2^63 as a double; truncating anything at or beyond it is undefined.
  constexpr double kLimit = 9223372036854775808.0;
  if (!(std::fabs(v.d) < kLimit)) return VERR_CTRL_VALUE(par);
  *out = static_cast<Vlong>(v.d);
  return VRESULT_OK;
}

Vresult ReadIndices(const OpContext& ctx, int par, std::vector<Vlong>* out) {
  const Values in = ReadValues(ctx, par);
  out->assign(in.size(), 0);
  for (size_t i = 0; i < in.size(); ++i) {
    const Vresult rc = ToIndex(in[i], par, &(*out)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult ReadIndex(const OpContext& ctx, int par, Vlong* out) {
  if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
  return ToIndex(ReadValues(ctx, par)[0], par, out);
}

Vresult ReadNumber(const OpContext& ctx, int par, Value* out) {
  if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
  *out = ReadValues(ctx, par)[0];
  return out->IsNumber() ? VRESULT_OK : VERR_CTRL_TYPE(par);
}

// ---- Writing ------------------------------------------------------------------

Vresult WriteValues(OpContext& ctx, int par, const Values& v) {
  CtrlValues out;
  for (const Value& e : v) {
    if (e.IsLong()) out.Add(e.l);
    else if (e.IsDouble()) out.Add(e.d);
    else out.Add(e.s);
  }
  return ctx.SetOutpValues(par, out);
}


// ---- Broadcasting -------------------------------------------------------------

Vresult BroadcastLength(size_t na, size_t nb, int par_b, size_t* n) {
  if (na == 0 || nb == 0) *n = 0;
  else if (nb == 1) *n = na;
  else if (na == 1) *n = nb;
  else if (na == nb) *n = na;
  else return VERR_CTRL_NUM(par_b);
  return VRESULT_OK;
}

// ---- Comparing ----------------------------------------------------------------

int CompareNumbers(const Value& a, const Value& b, bool* unordered) {
  *unordered = false;
  if (a.IsLong() && b.IsLong()) return (a.l > b.l) - (a.l < b.l);
  const double x = a.Real(), y = b.Real();
  if (std::isnan(x) || std::isnan(y)) {
    *unordered = true;
    return 0;
  }
  return (x > y) - (x < y);
}

bool Equal(const Value& a, const Value& b) {
  if (a.IsNumber() && b.IsNumber()) {
    bool unordered = false;
    return CompareNumbers(a, b, &unordered) == 0 && !unordered;
  }
  return a.IsString() && b.IsString() && a.s == b.s;
}

int SortOrder(const Value& a, const Value& b) {
  if (a.IsString() != b.IsString()) return a.IsString() ? 1 : -1;
  if (a.IsString()) {
    // std::string compares its chars as unsigned bytes, as strcmp does.
    const int c = a.s.compare(b.s);
    return (c > 0) - (c < 0);
  }
  bool unordered = false;
  const int c = CompareNumbers(a, b, &unordered);
  if (!unordered) return c;
  const bool a_nan = std::isnan(a.Real()), b_nan = std::isnan(b.Real());
  return a_nan - b_nan;
}

// ---- Text ---------------------------------------------------------------------

std::string Text(const Value& v) {
  if (v.IsString()) return v.s;
  char buf[64];
  // to_chars ignores the locale; general format with precision 6 is "%g".
  const auto res =
      v.IsLong() ? std::to_chars(buf, buf + sizeof buf, v.l)
                 : std::to_chars(buf, buf + sizeof buf, v.d,
                                 std::chars_format::general, 6);
  return std::string(buf, res.ptr);
}

}  // namespace vexa::tuple
