// The process-wide stack of graphics window handles. The top of the stack
// is the active window. Closing the windows themselves belongs to the
// graphics operators, which do not exist yet: until then CloseAll only
// empties the stack.
#include <algorithm>
#include <mutex>
#include <vector>

#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

struct WindowStack {
  std::mutex mu;
  std::vector<Vlong> handles;  // the back is the active window
};

WindowStack& Stack() {
  static WindowStack* stack = new WindowStack();
  return *stack;
}

}  // namespace

extern "C" {

Vresult VWindowStackPush(Vlong window) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  s.handles.push_back(window);
  return VRESULT_OK;
}

Vresult VWindowStackPop(Vlong* window) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  if (s.handles.empty()) return VERR_WINDOW_STACK_EMPTY;
  if (window) *window = s.handles.back();
  s.handles.pop_back();
  return VRESULT_OK;
}

Vresult VWindowStackGetActive(Vlong* window) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  if (s.handles.empty()) return VERR_WINDOW_STACK_EMPTY;
  if (window) *window = s.handles.back();
  return VRESULT_OK;
}

// Brings a stacked window to the top; a handle not on the stack is refused.
Vresult VWindowStackSetActive(Vlong window) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  auto it = std::find(s.handles.begin(), s.handles.end(), window);
  if (it == s.handles.end()) return VERR_WINDOW_INVALID;
  std::rotate(it, it + 1, s.handles.end());
  return VRESULT_OK;
}

Vresult VWindowStackIsOpen(Vlong* open) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  if (open) *open = s.handles.empty() ? 0 : 1;
  return VRESULT_OK;
}

Vresult VWindowStackCloseAll(void) {
  WindowStack& s = Stack();
  std::lock_guard<std::mutex> lock(s.mu);
  s.handles.clear();
  return VRESULT_OK;
}

}  // extern "C"
