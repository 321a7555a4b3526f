// Taking one handle off the runtime's window stack, wherever it stands.
#pragma once

#include "vexa/types.h"

namespace vexa {
namespace window {

// Removes every entry of `handle` from the window stack and keeps the order
// of the others, so the window below a removed top becomes active. Built on
// the stack's own push and pop, it is not atomic against other threads that
// push or pop at the same moment. Returns VERR_WINDOW_INVALID if the handle
// was not on the stack.
Vresult WindowStackRemove(Vlong handle);

}  // namespace window
}  // namespace vexa
