// Regular expressions (PCRE2 syntax): tuple_regexp_match,
// tuple_regexp_replace, tuple_regexp_select, tuple_regexp_test.
//
// The expression parameter is the pattern, optionally followed by option
// strings: "ignore_case", "multiline", "dot_matches_all", "extended",
// "newline_lf", "newline_cr", "newline_crlf", and "replace_all" (for
// replace) or "invert_match" (for select and test). The pattern is compiled
// once per call. An invalid pattern or an unknown option is
// VERR_CTRL_VALUE(1); data that is not a string is VERR_CTRL_TYPE(0).
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstring>
#include <memory>

#include "ops/tuple/tuple_values.h"
#include "registry.h"

namespace vexa::tuple {
namespace {

// Operator-specific options the expression may carry besides the
// compile options.
enum Extra : unsigned { kReplaceAll = 1, kInvertMatch = 2 };

struct CodeDeleter {
  void operator()(pcre2_code* c) const { pcre2_code_free(c); }
};
struct MatchDeleter {
  void operator()(pcre2_match_data* m) const { pcre2_match_data_free(m); }
};
struct ContextDeleter {
  void operator()(pcre2_compile_context* c) const { pcre2_compile_context_free(c); }
};

// A compiled expression with its match data, and the extra options
// requested with it.
struct Regex {
  std::unique_ptr<pcre2_code, CodeDeleter> code;
  std::unique_ptr<pcre2_match_data, MatchDeleter> match;
  unsigned extra = 0;
};

// Compiles input control 1; `allowed` are the Extra options this operator
// accepts.
Vresult Compile(const OpContext& ctx, unsigned allowed, Regex* re) {
  std::vector<std::string> expr;
  Vresult rc = ReadStrings(ctx, 1, &expr);
  if (rc != VRESULT_OK) return rc;
  if (expr.empty()) return VERR_CTRL_NUM(1);
  // No PCRE2_UTF: data are byte strings and positions count bytes.
  uint32_t options = 0;
  uint32_t newline = 0;
  for (size_t i = 1; i < expr.size(); ++i) {
    const std::string& o = expr[i];
    if (o == "ignore_case") options |= PCRE2_CASELESS;
    else if (o == "multiline") options |= PCRE2_MULTILINE;
    else if (o == "dot_matches_all") options |= PCRE2_DOTALL;
    else if (o == "extended") options |= PCRE2_EXTENDED;
    else if (o == "newline_lf") newline = PCRE2_NEWLINE_LF;
    else if (o == "newline_cr") newline = PCRE2_NEWLINE_CR;
    else if (o == "newline_crlf") newline = PCRE2_NEWLINE_CRLF;
    else if (o == "replace_all" && (allowed & kReplaceAll)) re->extra |= kReplaceAll;
    else if (o == "invert_match" && (allowed & kInvertMatch)) re->extra |= kInvertMatch;
    else return VERR_CTRL_VALUE(1);
  }
  std::unique_ptr<pcre2_compile_context, ContextDeleter> cctx(pcre2_compile_context_create(nullptr));
  if (!cctx) return VERR_OUT_OF_MEMORY;
  if (newline != 0) pcre2_set_newline(cctx.get(), newline);
  int error = 0;
  PCRE2_SIZE offset = 0;
  re->code.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expr[0].data()), expr[0].size(),
                               options, &error, &offset, cctx.get()));
  if (!re->code) return VERR_CTRL_VALUE(1);
  re->match.reset(pcre2_match_data_create_from_pattern(re->code.get(), nullptr));
  return re->match ? VRESULT_OK : VERR_OUT_OF_MEMORY;
}

// Runs the expression on `s`: the number of captured pairs (>0) on a
// match, PCRE2_ERROR_NOMATCH, or another negative PCRE2 code.
int Match(const Regex& re, const std::string& s) {
  return pcre2_match(re.code.get(), reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), 0, 0,
                     re.match.get(), nullptr);
}

// A failed match other than "no match" (for example a hit of the match
// limit) is an error of the expression.
Vresult Matches(const Regex& re, const std::string& s, bool* hit) {
  const int n = Match(re, s);
  *hit = n >= 0;
  return n >= 0 || n == PCRE2_ERROR_NOMATCH ? VRESULT_OK : VERR_CTRL_VALUE(1);
}

// The data strings that match, or with "invert_match" those that do not.
Vresult Select(const OpContext& ctx, Values* selected) {
  Regex re;
  std::vector<std::string> data;
  Vresult rc = ReadStrings(ctx, 0, &data);
  if (rc == VRESULT_OK) rc = Compile(ctx, kInvertMatch, &re);
  for (size_t i = 0; rc == VRESULT_OK && i < data.size(); ++i) {
    bool hit = false;
    rc = Matches(re, data[i], &hit);
    if (hit != ((re.extra & kInvertMatch) != 0)) selected->push_back(Value::String(data[i]));
  }
  return rc;
}

// Rewrites a replacement so that "\N" (N a digit) also refers to group N,
// as "$N" does in PCRE2's own syntax; "\\" is a literal backslash.
std::string ReplacementSyntax(const std::string& r) {
  std::string out;
  for (size_t i = 0; i < r.size(); ++i) {
    const char next = i + 1 < r.size() ? r[i + 1] : '\0';
    if (r[i] == '\\' && next >= '0' && next <= '9') {
      out += "${";
      out += next;
      out += '}';
      ++i;
    } else if (r[i] == '\\' && next == '\\') {
      out += '\\';
      ++i;
    } else {
      out += r[i];
    }
  }
  return out;
}

Vresult Replace(const Regex& re, const std::string& s, const std::string& repl,
                std::string* out) {
  uint32_t options = PCRE2_SUBSTITUTE_OVERFLOW_LENGTH;
  if (re.extra & kReplaceAll) options |= PCRE2_SUBSTITUTE_GLOBAL;
  // The first call measures (it reports the needed length on overflow),
  // the second writes.
  out->assign(s.size() + repl.size() + 1, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    PCRE2_SIZE len = out->size();
    const int rc = pcre2_substitute(
        re.code.get(), reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), 0, options,
        re.match.get(), nullptr, reinterpret_cast<PCRE2_SPTR>(repl.data()), repl.size(),
        reinterpret_cast<PCRE2_UCHAR*>(&(*out)[0]), &len);
    if (rc >= 0) {
      out->resize(len);
      return VRESULT_OK;
    }
    if (rc != PCRE2_ERROR_NOMEMORY) return VERR_CTRL_VALUE(2);
    out->assign(len, '\0');
  }
  return VERR_INTERNAL;
}

}  // namespace

// Per data string: the whole match if the expression has no groups, else
// one string per group; a missed match or an unset group gives "".
VEXA_OPERATOR(tuple_regexp_match) {
  Regex re;
  std::vector<std::string> data;
  Vresult rc = ReadStrings(ctx, 0, &data);
  if (rc == VRESULT_OK) rc = Compile(ctx, 0, &re);
  if (rc != VRESULT_OK) return rc;
  uint32_t groups = 0;
  pcre2_pattern_info(re.code.get(), PCRE2_INFO_CAPTURECOUNT, &groups);
  Values out;
  for (const std::string& s : data) {
    bool hit = false;
    rc = Matches(re, s, &hit);
    if (rc != VRESULT_OK) return rc;
    const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(re.match.get());
    for (uint32_t g = groups == 0 ? 0 : 1; g <= groups; ++g) {
      const bool set = hit && ov[2 * g] != PCRE2_UNSET;
      out.push_back(Value::String(set ? s.substr(ov[2 * g], ov[2 * g + 1] - ov[2 * g]) : ""));
    }
  }
  return WriteValues(ctx, 0, out);
}

// Replaces the first match in each data string, every match with
// "replace_all". The replacement refers to groups as $N, ${N} or \N.
VEXA_OPERATOR(tuple_regexp_replace) {
  Regex re;
  std::vector<std::string> data, repl;
  Vresult rc = ReadStrings(ctx, 0, &data);
  if (rc == VRESULT_OK) rc = Compile(ctx, kReplaceAll, &re);
  if (rc == VRESULT_OK) rc = ReadStrings(ctx, 2, &repl);
  if (rc == VRESULT_OK && repl.size() != 1) rc = VERR_CTRL_NUM(2);
  if (rc != VRESULT_OK) return rc;
  const std::string replacement = ReplacementSyntax(repl[0]);
  Values out(data.size());
  for (size_t i = 0; i < data.size(); ++i) {
    out[i] = Value::String("");
    rc = Replace(re, data[i], replacement, &out[i].s);
    if (rc != VRESULT_OK) return rc;
  }
  return WriteValues(ctx, 0, out);
}

VEXA_OPERATOR(tuple_regexp_select) {
  Values selected;
  const Vresult rc = Select(ctx, &selected);
  return rc != VRESULT_OK ? rc : WriteValues(ctx, 0, selected);
}

// The number of data strings that match (or, inverted, that do not).
VEXA_OPERATOR(tuple_regexp_test) {
  Values selected;
  const Vresult rc = Select(ctx, &selected);
  return rc != VRESULT_OK ? rc : ctx.SetOutpLong(0, static_cast<Vlong>(selected.size()));
}

}  // namespace vexa::tuple
