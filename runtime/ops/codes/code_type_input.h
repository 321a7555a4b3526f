// Code type names as operator inputs.
#pragma once

#include <vector>

#include "op_context.h"

namespace vexa {

// The linear code types named at input `par` (indices into
// kBarCodeTypes): one name or several; with `allow_auto`, "auto" stands
// for all types. VERR_CTRL_VALUE for an unknown name, VERR_SYMBOLOGY for a
// type the engine cannot read.
Vresult InpBarCodeTypes(const OpContext& ctx, int par, bool allow_auto, std::vector<int>* types);

// The single 2D code type named at input `par` (an index into
// kDataCodeTypes), with the same codes.
Vresult InpDataCodeType(const OpContext& ctx, int par, int* type);

}  // namespace vexa
