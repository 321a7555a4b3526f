// Waiting for the user of a window on a display: the step runs under the
// registry's lock every few milliseconds, and the lock is free between
// steps, so that other threads can draw meanwhile.
#pragma once

#include <functional>

#include "vexa/types.h"
#include "window_registry.h"

namespace vexa {

// Runs step(window) until it sets *done or fails. VERR_NO_DISPLAY for an
// off-screen window; VERR_DRAW_CANCELLED when the window is closed while
// waiting. The window does not present its raster after each step: a
// step shows what it draws itself.
Vresult PollWindow(Vlong handle, const std::function<Vresult(window::Window&, bool* done)>& step);

}  // namespace vexa
