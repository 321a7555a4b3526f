// Results of point-wise camera operators: parallel columns of numbers, one
// per output control.
#pragma once

#include <vector>

#include "op_context.h"

namespace vexa {

using PointColumns = std::vector<std::vector<double>>;

// `count` empty columns with room for `n` values each.
inline PointColumns MakeColumns(size_t count, size_t n) {
  PointColumns cols(count);
  for (std::vector<double>& c : cols) c.reserve(n);
  return cols;
}

// Writes column k to output control k.
inline Vresult SetOutpColumns(OpContext& ctx, const PointColumns& cols) {
  Vresult rc = VRESULT_OK;
  for (size_t k = 0; k < cols.size() && rc == VRESULT_OK; ++k)
    rc = ctx.SetOutpDoubles(static_cast<int>(k), cols[k]);
  return rc;
}

}  // namespace vexa
