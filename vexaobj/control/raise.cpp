// The library's raising helpers: format the message, build the exception
// and hand it to React.
#include "raise.h"

#include <stdarg.h>
#include <stdio.h>

#include <vexaobj/VException.h>

namespace Vexa {
namespace internal {

namespace {
// Size of every text buffer of a raise, as the runtime's texts need.
constexpr size_t kTextSize = 1024;
}  // namespace

void RaiseFormatted(const char* file, Vlong line, const char* proc,
                    const char* format, ...) {
  char message[kTextSize];
  va_list args;
  va_start(args, format);
  vsnprintf(message, sizeof message, format, args);
  va_end(args);
  VException(file, line, proc, message).React();
}

void RaiseRuntimeText(const char* file, Vlong line, const char* proc,
                      Vresult code) {
  char message[kTextSize];
  VErrorMessage(code, message);
  VException(file, line, proc, message).React();
}

}  // namespace internal
}  // namespace Vexa
