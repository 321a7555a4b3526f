// The operator that a control input names and the words for parameter
// types, for the operators that describe operators.
#pragma once

#include "op_context.h"
#include "op_table.h"

namespace vexa {

// The declaration of the operator named by control input `par`;
// VERR_OP_NAME for a name the table does not hold.
inline Vresult NamedOperator(const OpContext& ctx, int par, const OpDecl** decl) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  const int32_t op = FindOperatorIndex(name);
  if (op < 0) return VERR_OP_NAME;
  *decl = &kOperatorTable[op];
  return VRESULT_OK;
}

// The type of a control parameter as a word.
inline const char* ControlTypeWord(char type) {
  switch (type) {
    case 'l': return "integer";
    case 'd': return "real";
    case 's': return "string";
    default: return "any";
  }
}

}  // namespace vexa
