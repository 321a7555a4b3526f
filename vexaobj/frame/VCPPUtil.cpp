// Raising helpers of the call frame and the report of a failed runtime
// bracket.
#include "frame/VCPPUtil.h"

#include <vexaobj/VException.h>

namespace Vexa {
namespace frame {

const char* OperatorName(void* proc) {
  const char* name = VPHGet_LogicalName(proc);
  return name != nullptr ? name : "";
}

void Raise(void* proc, unsigned int err, const char* message, const char* file,
           int line) {
  VException exception(file, line, OperatorName(proc), err, message);
  exception.React();
}

unsigned int InputObjectFailure(void* proc, unsigned int rc, const char* file,
                                int line) {
  // A procedural call raises even for 0 or 1: there, `global` asks for
  // every refused input object to be raised, although the operator's own
  // failure is returned as a code.
  if (IsGlobal(proc) || (rc > VRESULT_OK && RaiseOnError(proc))) {
    char text[kErrorTextSize];
    VErrorMessage(rc, text);
    Raise(proc, rc, text, file, line);
  }
  return rc;
}

void ReportRuntimeFailure(unsigned int rc, int line) {
  char text[kErrorTextSize];
  VErrorMessage(rc, text);
  VException exception("VCPPUtil", line, "", rc, text);
  exception.React();
}

}  // namespace frame
}  // namespace Vexa
