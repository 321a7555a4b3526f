// Helpers shared by the graphics operators: reading window handles and
// coordinates, and running a step on the window a handle names.
#pragma once

#include <cstdint>
#include <limits>
#include <utility>

#include "op_context.h"
#include "vexa/errors.h"
#include "window_registry.h"

namespace vexa {

// One integer input that must fit in int32.
inline Vresult GetInt32(const OpContext& ctx, int par, int32_t* v) {
  Vlong value = 0;
  const Vresult rc = ctx.GetLong(par, &value);
  if (rc != VRESULT_OK) return rc;
  if (value < std::numeric_limits<int32_t>::min() ||
      value > std::numeric_limits<int32_t>::max())
    return VERR_CTRL_VALUE(par);
  *v = static_cast<int32_t>(value);
  return VRESULT_OK;
}

// Runs fn(window) on the window whose handle is input control `par`; a
// window on a display shows its raster afterwards unless `present` is
// false.
template <class Fn>
Vresult OnWindow(const OpContext& ctx, int par, Fn&& fn, bool present = true) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(par, &handle);
  if (rc != VRESULT_OK) return rc;
  return window::WithWindow(handle, fn, present);
}

// The same for a step that only reads the window's state or raster.
template <class Fn>
Vresult ReadWindow(const OpContext& ctx, int par, Fn&& fn) {
  return OnWindow(ctx, par, std::forward<Fn>(fn), false);
}

// VRESULT_OK when input `par` names an open window.
inline Vresult CheckWindow(const OpContext& ctx, int par) {
  return ReadWindow(ctx, par, [](window::Window&) { return VRESULT_OK; });
}

}  // namespace vexa
