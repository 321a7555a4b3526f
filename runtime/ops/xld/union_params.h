// What the union_*_contours_xld operators read and repeat: attribute
// modes, non-negative bounds, iteration counts and joining rounds.
#pragma once

#include <string>
#include <vector>

#include "contour_joining.h"
#include "registry.h"

namespace vexa {
namespace xld {

constexpr long kMaxIterations = 1000000;

// Runs `round` on the contours of input 1 until it joins nothing or
// `iterations` rounds are done, and hands over the result.
template <class Round>
Vresult JoinRounds(OpContext& ctx, std::vector<XldPtr> contours, long iterations, Round&& round) {
  for (long k = 0; k < iterations; ++k) {
    bool joined = false;
    contours = round(contours, &joined);
    if (!joined) break;
  }
  return HandOverXlds(ctx, 1, contours);
}

// One round of joining the contours `in` (input 1) by lines at their ends:
// line_at(contour, last) gives the line at an end, cost(pair, line_a,
// line_b, end_a, end_b) scores a pair of ends (negative: not joined).
template <class LineAt, class Cost>
Vresult JoinByEndLines(OpContext& ctx, const std::vector<XldPtr>& in, bool keep, LineAt&& line_at,
                       Cost&& cost) {
  return JoinRounds(ctx, in, 1, [&](const std::vector<XldPtr>& cs, bool* joined) {
    return JoinContours(cs, [&](const ContourEnd& a, const ContourEnd& b) {
      const LineFit& fa = line_at(a.contour, a.last);
      const LineFit& fb = line_at(b.contour, b.last);
      return cost(PairOfEnds(*cs[a.contour], a.last, fa, *cs[b.contour], b.last, fb), fa, fb, a, b);
    }, keep, joined);
  });
}

inline Vresult GetAttribMode(const OpContext& ctx, int par, bool* keep) {
  int mode = 0;
  const Vresult rc = GetChoice(ctx, par, {"attr_keep", "attr_forget"}, &mode);
  *keep = mode == 0;
  return rc;
}

// A non-negative real control value.
inline Vresult GetNonNegative(const OpContext& ctx, int par, double* v) {
  const Vresult rc = GetFinite(ctx, par, v);
  return rc != VRESULT_OK ? rc : *v >= 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// Non-negative real controls first, first + 1, ... into *v[0], *v[1], ...
inline Vresult GetNonNegatives(const OpContext& ctx, int first, std::initializer_list<double*> v) {
  int par = first;
  for (double* x : v) {
    const Vresult rc = GetNonNegative(ctx, par++, x);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// "maximum" or a count of at least 1.
inline Vresult GetIterations(const OpContext& ctx, int par, long* n) {
  const char* s = nullptr;
  if (ctx.GetString(par, &s) == VRESULT_OK) {
    *n = kMaxIterations;
    return std::string(s) == "maximum" ? VRESULT_OK : VERR_CTRL_VALUE(par);
  }
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1 || v > kMaxIterations) return VERR_CTRL_VALUE(par);
  *n = static_cast<long>(v);
  return VRESULT_OK;
}

}  // namespace xld
}  // namespace vexa
