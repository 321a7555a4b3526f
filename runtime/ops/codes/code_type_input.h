// Code type names as operator inputs.
#pragma once

#include <vector>

#include "op_context.h"

namespace vexa {

// The linear code types named at input `par` (indices into
// kBarCodeTypes): one name or several; with `allow_auto`, "auto" stands
// for all types. VERR_CTRL_VALUE for an unknown name.
Vresult InpBarCodeTypes(const OpContext& ctx, int par, bool allow_auto, std::vector<int>* types);

// The single 2D code type named at input `par` (an index into
// kDataCodeTypes); VERR_CTRL_VALUE for an unknown name.
Vresult InpDataCodeType(const OpContext& ctx, int par, int* type);

}  // namespace vexa
