// Calls of the procedural functions for the VTuple methods that are thin
// wrappers of runtime operators: the tuples go in, the result tuple comes
// out last, and a result code other than success is raised with the
// runtime's text under the method's procedure text. If a handler returns,
// the result holds whatever the operator left in it.
#ifndef VEXAOBJ_CONTROL_TUPLE_RUNTIME_CALL_H
#define VEXAOBJ_CONTROL_TUPLE_RUNTIME_CALL_H

#include <vexa/runtime.h>
#include <vexaobj/VTuple.h>

#include "raise.h"

namespace Vexa {
namespace internal {

using TupleOp1 = unsigned int (*)(const VTuple&, VTuple*);
using TupleOp2 = unsigned int (*)(const VTuple&, const VTuple&, VTuple*);
using TupleOp3 = unsigned int (*)(const VTuple&, const VTuple&, const VTuple&, VTuple*);

// Raises the runtime's text for a failed code; true on success.
inline bool CheckTupleOp(unsigned int code, const char* proc) {
  if (code == VRESULT_OK) return true;
  RaiseRuntimeText(__FILE__, __LINE__, proc, code);
  return false;
}

inline VTuple RunTupleOp(TupleOp1 op, const VTuple& a, const char* proc) {
  VTuple result;
  CheckTupleOp(op(a, &result), proc);
  return result;
}

inline VTuple RunTupleOp(TupleOp2 op, const VTuple& a, const VTuple& b, const char* proc) {
  VTuple result;
  CheckTupleOp(op(a, b, &result), proc);
  return result;
}

inline VTuple RunTupleOp(TupleOp3 op, const VTuple& a, const VTuple& b, const VTuple& c,
                         const char* proc) {
  VTuple result;
  CheckTupleOp(op(a, b, c, &result), proc);
  return result;
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_TUPLE_RUNTIME_CALL_H
