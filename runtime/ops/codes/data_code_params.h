// Parameter lists of the 2D data code operators, and the names of the
// results and objects the result queries know.
#pragma once

#include <string>
#include <vector>

#include "ops/codes/data_code_model.h"

namespace vexa {

// Applies the names at input `name_par` and the values at `name_par + 1`
// (equal numbers; none is fine) to `params`, in order.
Vresult ApplyDataCodeParams(const OpContext& ctx, int name_par, DataCodeParams* params);

std::vector<std::string> DataCodeResultNames();
std::vector<std::string> DataCodeObjectNames();

}  // namespace vexa
