// Internals of the call frame shared by its source files and by the object
// and tool stores that later classes add beside it: the one place that
// knows where an operator instance keeps its parameters and flags, the
// raising helpers, and the runtime bracket for database calls made outside
// an operator.
#ifndef VEXAOBJ_FRAME_VCPPUTIL_H
#define VEXAOBJ_FRAME_VCPPUTIL_H

#include <vexa/runtime.h>

namespace Vexa {
namespace frame {

// Size of a buffer for VErrorMessage: the runtime writes at most this many
// bytes of text for a code.
constexpr int kErrorTextSize = 1024;

// Fields of an instance that the frame reads and writes. Every access of
// the library to the instance record goes through these three functions.
inline VParamBlock* Params(void* proc) {
  return static_cast<VProcInstance*>(proc)->params;
}
inline bool IsGlobal(void* proc) {
  return static_cast<VProcInstance*>(proc)->call->global != 0;
}
inline bool RaiseOnError(void* proc) {
  return (static_cast<VProcInstance*>(proc)->context->flags &
          VPROC_RAISE_ON_ERROR) != 0;
}

// The record of output control `par`, prepared as empty if neither the
// operator nor VcppInitOC touched it, for stores that live beside the
// frame's own (tools).
Vctuple* OutputRecordOf(void* proc, int par);

// Name of the instance's operator; never null, so it can go into a format.
const char* OperatorName(void* proc);

// Builds a VException with `message` and error number `err`, the
// operator's name as procedure and the raising site `file`:`line`, and
// lets it react. Returns if the handler returns.
void Raise(void* proc, unsigned int err, const char* message, const char* file,
           int line);

// The rule of all input object stores, applied to a store result `rc`
// other than 2: a procedural call (global set) raises at once, whatever
// `rc` is; otherwise a failure raises when the runtime asks for raising.
// The message is the runtime's text of `rc`. Returns `rc`.
unsigned int InputObjectFailure(void* proc, unsigned int rc, const char* file,
                                int line);

// Reports a failed runtime step of a bracket: the runtime's text, source
// VCPPUtil, empty function name.
void ReportRuntimeFailure(unsigned int rc, int line);

// A runtime bracket: takes a context with VGetVProc, runs `call(context)`
// (a database function), gives the context back with VPutVProc. Each step
// that fails reacts at once; the next step runs if the reaction returns.
template <class DatabaseCall>
void RuntimeBracket(DatabaseCall call, int line) {
  void* context = nullptr;
  Vresult rc = VGetVProc(-1, &context);
  if (rc != VRESULT_OK) ReportRuntimeFailure(rc, line);
  rc = call(context);
  if (rc != VRESULT_OK) ReportRuntimeFailure(rc, line);
  rc = VPutVProc(context);
  if (rc != VRESULT_OK) ReportRuntimeFailure(rc, line);
}

}  // namespace frame
}  // namespace Vexa

#endif  // VEXAOBJ_FRAME_VCPPUTIL_H
