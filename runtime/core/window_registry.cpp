// The registry of open windows (see window_registry.h).
#include "window_registry.h"

#include <map>
#include <memory>
#include <mutex>

#include "vexa/errors.h"
#include "vexa/runtime.h"
#include "window_stack_remove.h"

namespace vexa {
namespace window {

namespace {

struct Registry {
  std::mutex mu;
  Vlong next_handle = 1;
  std::map<Vlong, std::unique_ptr<Window>> windows;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry();
  return *registry;
}

// Resolves -1 to the default side and checks the range.
bool ResolveSide(int32_t requested, int32_t* side) {
  *side = requested == -1 ? kDefaultSide : requested;
  return *side >= 1 && *side <= kMaxSide;
}

}  // namespace

void Window::Resize(int32_t w, int32_t h) {
  width = w;
  height = h;
  raster.resize(static_cast<size_t>(w) * h);
  Clear();
  part_row1 = 0;
  part_col1 = 0;
  part_row2 = h - 1;
  part_col2 = w - 1;
}

Vresult Open(int32_t row, int32_t column, int32_t width, int32_t height,
             Vlong* handle) {
  int32_t w = 0, h = 0;
  if (!ResolveSide(width, &w)) return VERR_CTRL_VALUE(2);
  if (!ResolveSide(height, &h)) return VERR_CTRL_VALUE(3);
  auto win = std::make_unique<Window>();
  win->row = row;
  win->column = column;
  win->Resize(w, h);
  Registry& reg = TheRegistry();
  std::lock_guard<std::mutex> lock(reg.mu);
  const Vlong id = reg.next_handle++;
  const Vresult rc = VWindowStackPush(id);
  if (rc != VRESULT_OK) return rc;
  reg.windows.emplace(id, std::move(win));
  *handle = id;
  return VRESULT_OK;
}

Vresult Close(Vlong handle) {
  Registry& reg = TheRegistry();
  std::lock_guard<std::mutex> lock(reg.mu);
  if (reg.windows.erase(handle) == 0) return VERR_WINDOW_INVALID;
  // A window the application already popped off the stack is not there.
  WindowStackRemove(handle);
  return VRESULT_OK;
}

Vresult AttachScreen(Vlong handle, std::unique_ptr<Screen> screen) {
  return WithWindow(handle, [&](Window& w) {
    w.screen = std::move(screen);
    return VRESULT_OK;
  });
}

Vresult WithWindow(Vlong handle, const std::function<Vresult(Window&)>& fn,
                   bool present) {
  Registry& reg = TheRegistry();
  std::lock_guard<std::mutex> lock(reg.mu);
  auto it = reg.windows.find(handle);
  if (it == reg.windows.end()) return VERR_WINDOW_INVALID;
  Window& w = *it->second;
  const Vresult rc = fn(w);
  // Also after a failed step: it may have drawn part of its objects.
  if (present && w.screen) w.screen->Present(w, w.raster);
  return rc;
}

}  // namespace window
}  // namespace vexa
