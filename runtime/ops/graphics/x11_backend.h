// Windows on an X display. The raster stays the one place that is drawn
// in; an X window only presents it (XPutImage after each step) and reports
// the pointer. Each X window has its own connection to the display, used
// only under the window registry's lock.
#pragma once

#include <memory>

#include "vexa/types.h"
#include "window_registry.h"

namespace vexa {
namespace x11 {

// True when DISPLAY names a display that accepts a connection now and has
// a true-colour visual of 24 bits or more.
bool DisplayReachable();

// An X window at the window's position and of its size, titled with its
// title, showing its raster; VERR_DISPLAY_OPEN when the display cannot be
// opened or has no suitable visual.
Vresult OpenScreen(const window::Window& w, std::unique_ptr<window::Screen>* screen);

}  // namespace x11
}  // namespace vexa
