// Type tests and conversions: tuple_type, tuple_type_elem, tuple_is_int,
// tuple_is_real, tuple_is_string, tuple_is_mixed and their _elem forms,
// tuple_is_number, tuple_int, tuple_real, tuple_number, tuple_string,
// tuple_chr, tuple_ord, tuple_chrt, tuple_ords.
//
// Text conversions run in the "C" locale whatever the application set, so
// that "1.5" reads and prints the same everywhere.
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// ---- Type tests -----------------------------------------------------------

// Type code of a whole tuple: the common type of its elements, VPAR_MIXED
// when they differ, VPAR_UNDEF for the empty tuple.
int TupleType(const Values& t) {
  if (t.empty()) return VPAR_UNDEF;
  for (const Value& v : t)
    if (v.type != t[0].type) return VPAR_MIXED;
  return t[0].type;
}

Vresult WholeTypeIs(OpContext& ctx, int type) {
  return ctx.SetOutpLong(0, TupleType(ReadValues(ctx, 0)) == type);
}

Vresult ElemTypeIs(OpContext& ctx, int type) {
  return RunUnary(ctx, [type](const Value& a, Value* r) {
    *r = Value::Long(a.type == type);
    return VRESULT_OK;
  });
}

// ---- Numbers from text ----------------------------------------------------

locale_t CLocale() {
  static const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  return c;
}

// Parses a whole string as a number: first as an integer with C prefixes
// (0x hexadecimal, 0 octal), then as a real. Leading white space is
// skipped, anything left over, an empty string and an integer out of range
// of 64 bits (then read as a real) do not make an integer.
bool ParseNumber(const std::string& s, Value* out) {
  if (s.empty()) return false;
  const char* begin = s.c_str();
  const char* end = begin + s.size();
  char* stop = nullptr;
  errno = 0;
  const long long l = strtoll_l(begin, &stop, 0, CLocale());
  if (stop == end && errno == 0) {
    *out = Value::Long(l);
    return true;
  }
  const double d = strtod_l(begin, &stop, CLocale());
  if (stop == end && stop != begin) {
    *out = Value::Double(d);
    return true;
  }
  return false;
}

// ---- Formatting -------------------------------------------------------------

// A parsed format pattern such as "-10.3f": printf's flags, width and
// precision, and an optional conversion letter (0 when absent).
struct Pattern {
  std::string flags_width_precision;  // flags, width, precision as written
  char conv = 0;
};

// Widths and precisions beyond this are refused: they would only make the
// result a padding of megabytes.
constexpr long kMaxFieldWidth = 10000;

// strchr for one character; the terminating zero is no member of `set`.
bool OneOf(const char* set, char c) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Steps over a run of digits; false when its value exceeds kMaxFieldWidth.
bool SkipNumber(const std::string& p, size_t* i) {
  long value = 0;
  for (; *i < p.size() && p[*i] >= '0' && p[*i] <= '9'; ++*i) {
    value = value * 10 + (p[*i] - '0');
    if (value > kMaxFieldWidth) return false;
  }
  return true;
}

bool ParsePattern(const std::string& p, Pattern* out) {
  size_t i = 0;
  while (i < p.size() && OneOf("-+ #0", p[i])) ++i;
  if (!SkipNumber(p, &i)) return false;
  if (i < p.size() && p[i] == '.') {
    ++i;
    if (!SkipNumber(p, &i)) return false;
  }
  out->flags_width_precision = p.substr(0, i);
  out->conv = 0;
  if (i < p.size() && OneOf("diouxXfeEgGs", p[i])) out->conv = p[i++];
  return i == p.size();
}

bool IsIntConv(char c) { return OneOf("diouxX", c); }
bool IsRealConv(char c) { return OneOf("feEgG", c); }

template <class T>
std::string Printf(const std::string& format, T value) {
  // uselocale is per thread: the "C" decimal point without touching the
  // application's global locale.
  const locale_t old = uselocale(CLocale());
  const int n = std::snprintf(nullptr, 0, format.c_str(), value);
  std::string out(n > 0 ? static_cast<size_t>(n) : 0, '\0');
  std::snprintf(&out[0], out.size() + 1, format.c_str(), value);
  uselocale(old);
  return out;
}

// Renders one element with a pattern. An integer prints through integer
// and real conversions, a real only through real ones, a string only
// through "s"; without a letter each type takes its own.
Vresult Format(const Value& v, const Pattern& p, std::string* out) {
  const std::string head = "%" + p.flags_width_precision;
  if (v.IsLong() && (p.conv == 0 || IsIntConv(p.conv))) {
    *out = Printf(head + "ll" + (p.conv ? p.conv : 'd'), static_cast<long long>(v.l));
  } else if (v.IsNumber() && (IsRealConv(p.conv) || (v.IsDouble() && p.conv == 0))) {
    *out = Printf(head + (p.conv ? p.conv : 'g'), v.Real());
  } else if (v.IsString() && (p.conv == 0 || p.conv == 's')) {
    *out = Printf(head + 's', v.s.c_str());
  } else {
    return VERR_CTRL_TYPE(0);
  }
  return VRESULT_OK;
}

// ---- Character codes ----------------------------------------------------------

Vresult Code(const Value& v, Vlong* code) {
  if (!v.IsLong()) return VERR_CTRL_TYPE(0);
  if (v.l < 0 || v.l > 255) return VERR_CTRL_VALUE(0);
  *code = v.l;
  return VRESULT_OK;
}

Vlong ByteValue(char c) { return static_cast<unsigned char>(c); }

}  // namespace

VEXA_OPERATOR(tuple_type) { return ctx.SetOutpLong(0, TupleType(ReadValues(ctx, 0))); }
VEXA_OPERATOR(tuple_is_int) { return WholeTypeIs(ctx, VPAR_LONG); }
VEXA_OPERATOR(tuple_is_real) { return WholeTypeIs(ctx, VPAR_DOUBLE); }
VEXA_OPERATOR(tuple_is_string) { return WholeTypeIs(ctx, VPAR_STRING); }
VEXA_OPERATOR(tuple_is_mixed) { return WholeTypeIs(ctx, VPAR_MIXED); }

VEXA_OPERATOR(tuple_type_elem) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    *r = Value::Long(a.type);
    return VRESULT_OK;
  });
}
VEXA_OPERATOR(tuple_is_int_elem) { return ElemTypeIs(ctx, VPAR_LONG); }
VEXA_OPERATOR(tuple_is_real_elem) { return ElemTypeIs(ctx, VPAR_DOUBLE); }
VEXA_OPERATOR(tuple_is_string_elem) { return ElemTypeIs(ctx, VPAR_STRING); }

VEXA_OPERATOR(tuple_is_number) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    Value parsed;
    *r = Value::Long(a.IsNumber() || (a.IsString() && ParseNumber(a.s, &parsed)));
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_number) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (a.type == VPAR_UNDEF) return VERR_CTRL_TYPE(0);
    if (!a.IsString() || !ParseNumber(a.s, r)) *r = a;
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_int) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    Vlong v = 0;
    const Vresult rc = ToIndex(a, 0, &v);
    *r = Value::Long(v);
    return rc;
  });
}

VEXA_OPERATOR(tuple_real) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsNumber()) return VERR_CTRL_TYPE(0);
    *r = Value::Double(a.Real());
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(tuple_string) {
  return RunBinary(ctx, [](const Value& a, const Value& f, Value* r) {
    if (!f.IsString()) return VERR_CTRL_TYPE(1);
    Pattern p;
    if (!ParsePattern(f.s, &p)) return VERR_CTRL_VALUE(1);
    *r = Value::String("");
    return Format(a, p, &r->s);
  });
}

VEXA_OPERATOR(tuple_chr) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    Vlong code = 0;
    const Vresult rc = Code(a, &code);
    // Code 0 ends a C string at once: the empty string.
    *r = Value::String(code == 0 ? std::string() : std::string(1, static_cast<char>(code)));
    return rc;
  });
}

VEXA_OPERATOR(tuple_ord) {
  return RunUnary(ctx, [](const Value& a, Value* r) {
    if (!a.IsString()) return VERR_CTRL_TYPE(0);
    if (a.s.size() != 1) return VERR_CTRL_VALUE(0);
    *r = Value::Long(ByteValue(a.s[0]));
    return VRESULT_OK;
  });
}

// Codes to text: the code 0 ends one string and starts the next; empty
// pieces are left out.
VEXA_OPERATOR(tuple_chrt) {
  Values out;
  std::string piece;
  for (const Value& v : ReadValues(ctx, 0)) {
    Vlong code = 0;
    const Vresult rc = Code(v, &code);
    if (rc != VRESULT_OK) return rc;
    if (code != 0) piece += static_cast<char>(code);
    if (code == 0 && !piece.empty()) out.push_back(Value::String(std::move(piece)));
    if (code == 0) piece.clear();
  }
  if (!piece.empty()) out.push_back(Value::String(std::move(piece)));
  return WriteValues(ctx, 0, out);
}

// Text to codes: the bytes of all strings in order, each 1..255.
VEXA_OPERATOR(tuple_ords) {
  std::vector<std::string> strings;
  const Vresult rc = ReadStrings(ctx, 0, &strings);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> codes;
  for (const std::string& s : strings)
    for (char c : s) codes.push_back(ByteValue(c));
  return ctx.SetOutpLongs(0, codes);
}

}  // namespace vexa::tuple
