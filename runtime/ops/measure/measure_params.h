// Readers of the control parameters the measure operators share.
#pragma once

#include <cmath>
#include <cstring>

#include "op_context.h"
#include "profile_edges.h"

namespace vexa {

// One finite real value.
inline Vresult InpFinite(const OpContext& ctx, int par, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  if (rc != VRESULT_OK) return rc;
  return std::isfinite(*v) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// Largest smoothing sigma, far beyond any useful value, so that kernels
// stay small.
constexpr double kMaxMeasureSigma = 1000.0;

inline Vresult InpSigma(const OpContext& ctx, int par, double* sigma) {
  const Vresult rc = InpFinite(ctx, par, sigma);
  if (rc != VRESULT_OK) return rc;
  return *sigma > 0 && *sigma <= kMaxMeasureSigma ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// The index of the string at `par` among `names` (n of them).
inline Vresult InpChoice(const OpContext& ctx, int par, const char* const* names, int n,
                         int* choice) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  for (int i = 0; i < n; ++i) {
    if (std::strcmp(s, names[i]) == 0) {
      *choice = i;
      return VRESULT_OK;
    }
  }
  return VERR_CTRL_VALUE(par);
}

inline Vresult InpTransition(const OpContext& ctx, int par, EdgeTransition* t) {
  static const char* const kNames[] = {"positive", "negative", "all"};
  int i = 0;
  const Vresult rc = InpChoice(ctx, par, kNames, 3, &i);
  *t = static_cast<EdgeTransition>(i);
  return rc;
}

inline Vresult InpSelect(const OpContext& ctx, int par, EdgeSelect* s) {
  static const char* const kNames[] = {"first", "last", "all"};
  int i = 0;
  const Vresult rc = InpChoice(ctx, par, kNames, 3, &i);
  *s = static_cast<EdgeSelect>(i);
  return rc;
}

}  // namespace vexa
