// Registration of operator implementations and dispatch by operator index.
//
// An implementation is written once, against OpContext, and registered by
// operator *name*:
//
//   VEXA_OPERATOR(area_center) {
//     ...use ctx...
//     return VRESULT_OK;
//   }
//
// The macro defines a function `Vresult f(vexa::OpContext& ctx)` and
// registers it while the library is loaded. Names are resolved to indices
// lazily, on the first use of the dispatch table, so registration does not
// depend on the order in which static objects are initialised. A name that
// the operator table does not know is not an error at load time (the library
// must load); it is collected and reported by UnknownRegisteredOperators(),
// which a test checks to be empty.
#pragma once

#include <string>
#include <vector>

#include "vexa/runtime.h"

namespace vexa {

class OpContext;

// The signature of an implementation written against OpContext.
using OperatorImpl = Vresult (*)(OpContext& ctx);

// Registers `impl` for the operator called `name`. Returns true so that the
// result can initialise a static. Registering a name twice keeps the last.
bool RegisterOperator(const char* name, OperatorImpl impl);

// Names passed to RegisterOperator that are not in the operator table.
std::vector<std::string> UnknownRegisteredOperators();

// The function CCallVProc runs for operator `op`, or null when the operator
// is not available. Also answers for indices set with VSetOperatorFn.
VOperatorFn DispatchEntry(int32_t op);

// True when an implementation was registered for `op` by name (test hooks
// that replaced it with VSetOperatorFn do not change the answer).
bool HasRegisteredImpl(int32_t op);

}  // namespace vexa

#define VEXA_OPERATOR_CONCAT2_(a, b) a##b
#define VEXA_OPERATOR_CONCAT_(a, b) VEXA_OPERATOR_CONCAT2_(a, b)

// Defines and registers the implementation of operator `opname` (a bare
// operator name such as area_center). The body follows the macro and sees
// `vexa::OpContext& ctx`.
#define VEXA_OPERATOR(opname)                                              \
  static Vresult VEXA_OPERATOR_CONCAT_(vexa_op_impl_, opname)(             \
      ::vexa::OpContext & ctx);                                            \
  static const bool VEXA_OPERATOR_CONCAT_(vexa_op_registered_, opname) =   \
      ::vexa::RegisterOperator(#opname,                                    \
                               &VEXA_OPERATOR_CONCAT_(vexa_op_impl_, opname)); \
  static Vresult VEXA_OPERATOR_CONCAT_(vexa_op_impl_, opname)(             \
      ::vexa::OpContext & ctx)
