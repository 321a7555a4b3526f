// String operations: tuple_strlen, tuple_strchr, tuple_strrchr,
// tuple_strstr, tuple_strrstr, tuple_substr, tuple_str_first_n,
// tuple_str_last_n, tuple_str_bit_select, tuple_split, tuple_environment.
//
// Strings are byte strings and positions count bytes from 0. Searches
// answer -1 for "not found". Operators with two inputs broadcast a
// one-element input over the other.
#include <cstdlib>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// An elementwise operation on two strings giving a position.
template <class Fn>
Vresult RunSearch(OpContext& ctx, Fn find) {
  return RunBinary(ctx, [&find](const Value& s, const Value& p, Value* r) {
    if (!s.IsString()) return VERR_CTRL_TYPE(0);
    if (!p.IsString()) return VERR_CTRL_TYPE(1);
    const size_t pos = find(s.s, p.s);
    *r = Value::Long(pos == std::string::npos ? -1 : static_cast<Vlong>(pos));
    return VRESULT_OK;
  });
}

// An elementwise cut of a string at an index-like position.
template <class Fn>
Vresult RunCut(OpContext& ctx, Fn cut) {
  return RunBinary(ctx, [&cut](const Value& s, const Value& i, Value* r) {
    if (!s.IsString()) return VERR_CTRL_TYPE(0);
    Vlong n = 0;
    const Vresult rc = ToIndex(i, 1, &n);
    if (rc != VRESULT_OK) return rc;
    *r = Value::String(cut(s.s, n));
    return VRESULT_OK;
  });
}

// Bytes `first` to `last`, both inclusive, clipped to the string; empty
// when nothing of the range lies inside.
std::string Cut(const std::string& s, Vlong first, Vlong last) {
  const Vlong size = static_cast<Vlong>(s.size());
  if (first < 0) first = 0;
  if (last >= size) last = size - 1;
  if (first > last) return std::string();
  return s.substr(static_cast<size_t>(first), static_cast<size_t>(last - first + 1));
}

}  // namespace

VEXA_OPERATOR(tuple_strlen) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsString()) return VERR_CTRL_TYPE(0);
    *r = Value::Long(static_cast<Vlong>(a.s.size()));
    return VRESULT_OK;
  });
}

// strchr and strrchr look for any one of the characters of `to_find`.
VEXA_OPERATOR(tuple_strchr) {
  return RunSearch(ctx, [](const std::string& s, const std::string& p) {
    return p.empty() ? std::string::npos : s.find_first_of(p);
  });
}

VEXA_OPERATOR(tuple_strrchr) {
  return RunSearch(ctx, [](const std::string& s, const std::string& p) {
    return p.empty() ? std::string::npos : s.find_last_of(p);
  });
}

// strstr and strrstr look for the whole of `to_find`; the empty string is
// found at 0 and at the end respectively.
VEXA_OPERATOR(tuple_strstr) {
  return RunSearch(ctx, [](const std::string& s, const std::string& p) { return s.find(p); });
}

VEXA_OPERATOR(tuple_strrstr) {
  return RunSearch(ctx, [](const std::string& s, const std::string& p) { return s.rfind(p); });
}

VEXA_OPERATOR(tuple_str_first_n) {
  return RunCut(ctx, [](const std::string& s, Vlong n) { return Cut(s, 0, n); });
}

VEXA_OPERATOR(tuple_str_last_n) {
  return RunCut(ctx, [](const std::string& s, Vlong n) {
    return Cut(s, n, static_cast<Vlong>(s.size()) - 1);
  });
}

VEXA_OPERATOR(tuple_substr) {
  const Values s = ReadValues(ctx, 0), p1 = ReadValues(ctx, 1), p2 = ReadValues(ctx, 2);
  size_t n12 = 0, n = 0;
  Vresult rc = BroadcastLength(s.size(), p1.size(), 1, &n12);
  if (rc == VRESULT_OK) rc = BroadcastLength(n12, p2.size(), 2, &n);
  Values out(n);
  for (size_t i = 0; rc == VRESULT_OK && i < n; ++i) {
    const Value& str = s[At(s.size(), i)];
    Vlong first = 0, last = 0;
    if (!str.IsString()) rc = VERR_CTRL_TYPE(0);
    if (rc == VRESULT_OK) rc = ToIndex(p1[At(p1.size(), i)], 1, &first);
    if (rc == VRESULT_OK) rc = ToIndex(p2[At(p2.size(), i)], 2, &last);
    if (rc == VRESULT_OK) out[i] = Value::String(Cut(str.s, first, last));
  }
  return rc != VRESULT_OK ? rc : WriteValues(ctx, 0, out);
}

// A string gives its byte at `index`, an integer its bit `index` as 0 or 1.
VEXA_OPERATOR(tuple_str_bit_select) {
  return RunBinary(ctx, [](const Value& a, const Value& i, Value* r) {
    if (!a.IsString() && !a.IsLong()) return VERR_CTRL_TYPE(0);
    Vlong k = 0;
    const Vresult rc = ToIndex(i, 1, &k);
    if (rc != VRESULT_OK) return rc;
    const Vlong limit = a.IsString() ? static_cast<Vlong>(a.s.size()) : 64;
    if (k < 0 || k >= limit) return VERR_CTRL_VALUE(1);
    *r = a.IsString() ? Value::String(std::string(1, a.s[static_cast<size_t>(k)]))
                      : Value::Long((a.l >> k) & 1);
    return VRESULT_OK;
  });
}

// Every character of the separator ends a piece; empty pieces are dropped,
// and the pieces of all strings form one flat result.
VEXA_OPERATOR(tuple_split) {
  const Values s = ReadValues(ctx, 0), sep = ReadValues(ctx, 1);
  size_t n = 0;
  Vresult rc = BroadcastLength(s.size(), sep.size(), 1, &n);
  Values out;
  for (size_t i = 0; rc == VRESULT_OK && i < n; ++i) {
    const Value& str = s[At(s.size(), i)];
    const Value& set = sep[At(sep.size(), i)];
    if (!str.IsString()) rc = VERR_CTRL_TYPE(0);
    else if (!set.IsString()) rc = VERR_CTRL_TYPE(1);
    for (size_t b = 0; rc == VRESULT_OK && b < str.s.size();) {
      const size_t e = set.s.empty() ? std::string::npos : str.s.find_first_of(set.s, b);
      const size_t end = e == std::string::npos ? str.s.size() : e;
      if (end > b) out.push_back(Value::String(str.s.substr(b, end - b)));
      b = end + 1;
    }
  }
  return rc != VRESULT_OK ? rc : WriteValues(ctx, 0, out);
}

// Values of environment variables; an unset variable reads as "".
VEXA_OPERATOR(tuple_environment) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsString()) return VERR_CTRL_TYPE(0);
    const char* v = std::getenv(a.s.c_str());
    *r = Value::String(v ? v : "");
    return VRESULT_OK;
  });
}

}  // namespace vexa::tuple
