// One-line raising of a failure through VException::React, for the library's
// own sources. The exception lives only for the call; if an installed
// handler returns, the caller goes on past its check.
#ifndef VEXAOBJ_CONTROL_RAISE_H
#define VEXAOBJ_CONTROL_RAISE_H

#include <vexa/runtime.h>
#include <vexaobj/VBase.h>

namespace Vexa {
namespace internal {

// Raises a message formatted printf-style into a 1,024-byte buffer, with
// error number 0.
void RaiseFormatted(const char* file, Vlong line, const char* proc,
                    const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Raises the runtime's text for `code` (VErrorMessage), with error number 0.
void RaiseRuntimeText(const char* file, Vlong line, const char* proc,
                      Vresult code);

}  // namespace internal
}  // namespace Vexa

// VEXA_RAISE(proc, format, args...): raise at the calling source line.
#define VEXA_RAISE(proc, ...) \
  ::Vexa::internal::RaiseFormatted(__FILE__, __LINE__, proc, __VA_ARGS__)

#endif  // VEXAOBJ_CONTROL_RAISE_H
