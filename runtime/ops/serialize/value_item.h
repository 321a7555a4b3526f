// Control values (matrices, poses, quaternions, camera parameters) kept
// as serialised items of their own kind with a tuple payload. The item
// holds the tuple as given, after the check every operator taking such a
// value makes; reading it checks the decoded tuple again, so a damaged
// item never yields a value those operators would refuse.
#pragma once

#include "op_context.h"
#include "ops/serialize/item_format.h"
#include "ops/serialize/tuple_values.h"

namespace vexa {

struct ValueItemKind {
  ItemKind kind;
  // The operators' own check of an input value at `par`.
  Vresult (*check)(const OpContext& ctx, int par);
  // True when decoded values form a valid value of the kind.
  bool (*plausible)(const TupleValues& values);
};

// Input 0 as a new item at output 0.
Vresult SerializeValueItem(OpContext& ctx, const ValueItemKind& k);
// The item of input 0 as values at output 0: VERR_DATA_KIND for an item of
// another kind, VERR_FILE_CORRUPT when the payload is no such value.
Vresult DeserializeValueItem(OpContext& ctx, const ValueItemKind& k);

}  // namespace vexa
