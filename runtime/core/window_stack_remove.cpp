// Removal of a closed window from the window stack (see window_stack_remove.h).
#include "window_stack_remove.h"

#include <vector>

#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace vexa {
namespace window {

Vresult WindowStackRemove(Vlong handle) {
  std::vector<Vlong> kept;  // top first
  bool found = false;
  Vlong top = 0;
  while (VWindowStackPop(&top) == VRESULT_OK) {
    if (top == handle)
      found = true;
    else
      kept.push_back(top);
  }
  for (auto it = kept.rbegin(); it != kept.rend(); ++it) VWindowStackPush(*it);
  return found ? VRESULT_OK : VERR_WINDOW_INVALID;
}

}  // namespace window
}  // namespace vexa
