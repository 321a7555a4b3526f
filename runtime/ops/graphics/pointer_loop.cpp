// The polling loop of interactive input (see pointer_loop.h).
#include "ops/graphics/pointer_loop.h"

#include <chrono>
#include <thread>

#include "vexa/errors.h"

namespace vexa {

Vresult PollWindow(Vlong handle, const std::function<Vresult(window::Window&, bool* done)>& step) {
  for (bool first = true;; first = false) {
    bool done = false;
    const Vresult rc = window::WithWindow(handle, [&](window::Window& w) {
      if (!w.screen) return VERR_NO_DISPLAY;
      return step(w, &done);
    }, false);
    if (rc == VERR_WINDOW_INVALID && !first) return VERR_DRAW_CANCELLED;
    if (rc != VRESULT_OK || done) return rc;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace vexa
