// Test helper: runs one runtime operator by name through the C interface
// (VCreateVProc, input records, CCallVProc, output records, VDeleteVProc)
// with tuples written as literals, and hands back its code and outputs.
#pragma once

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include <vexa/errors.h>
#include <vexa/runtime.h>

namespace tuple_test {

// One control value of a literal tuple.
struct V {
  int type;
  Vlong l = 0;
  double d = 0.0;
  std::string s;
  V(int v) : type(VPAR_LONG), l(v) {}
  V(Vlong v) : type(VPAR_LONG), l(v) {}
  V(double v) : type(VPAR_DOUBLE), d(v) {}
  V(const char* v) : type(VPAR_STRING), s(v) {}
  V(std::string v) : type(VPAR_STRING), s(std::move(v)) {}

  // Types must agree; reals agree within a relative 1e-12, NaN with NaN.
  bool operator==(const V& o) const {
    if (type != o.type) return false;
    if (type == VPAR_LONG) return l == o.l;
    if (type == VPAR_STRING) return s == o.s;
    if (std::isnan(d) || std::isnan(o.d)) return std::isnan(d) && std::isnan(o.d);
    return d == o.d || std::fabs(d - o.d) <= 1e-12 * std::fmax(std::fabs(d), std::fabs(o.d));
  }
};
using T = std::vector<V>;

inline std::ostream& operator<<(std::ostream& os, const V& v) {
  if (v.type == VPAR_LONG) return os << v.l;
  if (v.type == VPAR_STRING) return os << '"' << v.s << '"';
  return os << v.d << (std::floor(v.d) == v.d ? ".0" : "");
}

inline std::ostream& operator<<(std::ostream& os, const T& t) {
  os << '[';
  for (size_t i = 0; i < t.size(); ++i) os << (i ? ", " : "") << t[i];
  return os << ']';
}

struct Result {
  Vresult code;
  std::vector<T> out;  // output controls 0 and 1
};

inline T ReadRecord(const Vctuple& rec) {
  T t;
  const bool in_place = rec.type != VPAR_MIXED;
  const Vcpar* e = in_place ? reinterpret_cast<const Vcpar*>(&rec) : rec.elem;
  for (Vlong i = 0; i < rec.num; ++i) {
    if (e[i].type == VPAR_LONG) t.push_back(V(e[i].par.l));
    else if (e[i].type == VPAR_DOUBLE) t.push_back(V(e[i].par.d));
    else t.push_back(V(e[i].par.s));
  }
  return t;
}

// Runs operator `name` with `inputs` as input controls 0, 1, ...
inline Result Call(const char* name, const std::vector<T>& inputs) {
  int32_t op = -1;
  Result r{VFindProcNumber(nullptr, name, &op), {}};
  void* proc = nullptr;
  if (r.code != VRESULT_OK || (r.code = VCreateVProc(op, &proc)) != VRESULT_OK) return r;
  VParamBlock* params = static_cast<VProcInstance*>(proc)->params;
  // The records borrow these arrays, as a caller's tuple is lent.
  std::vector<std::vector<Vcpar>> arrays(inputs.size());
  for (size_t i = 0; i < inputs.size(); ++i) {
    for (const V& v : inputs[i]) {
      Vcpar e{};
      e.type = v.type;
      if (v.type == VPAR_LONG) e.par.l = v.l;
      else if (v.type == VPAR_DOUBLE) e.par.d = v.d;
      else e.par.s = const_cast<char*>(v.s.c_str());
      arrays[i].push_back(e);
    }
    Vctuple& rec = params->inp_ctrl_rec[i];
    rec.type = VPAR_MIXED;
    rec.num = rec.capacity = static_cast<Vlong>(arrays[i].size());
    rec.borrowed = 1;
    rec.elem = arrays[i].data();
    params->inp_ctrl[i] = &rec;
  }
  r.code = CCallVProc(proc);
  for (int par = 0; par < 2; ++par) {
    Vctuple* rec = params->outp_ctrl[par];
    r.out.push_back(rec ? ReadRecord(*rec) : T{});
    if (rec) VctClearElem(proc, rec);
  }
  VDeleteVProc(proc, 0, r.code);
  return r;
}

}  // namespace tuple_test
