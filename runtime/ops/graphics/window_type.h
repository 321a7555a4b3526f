// The kind of window open_window opens, and the attributes new windows
// start with, both process-wide:
//   window type  "auto" (the start): an X window when a display is
//                reachable (DISPLAY set and the server answers), else an
//                off-screen "pixmap"; "X-Window": always an X window (the
//                open fails without a display); "pixmap": always
//                off-screen, also when a display is there.
//   attributes   "background_color" (a colour name or "#rrggbb", the colour
//                of clear_window; "black" at the start), "window_title"
//                (the X window's title; "vexa" at the start).
#pragma once

#include "vexa/types.h"

namespace vexa {

// Sets up a window open_window has just made: background and title from
// the attributes, and an X window when the window type asks for one.
Vresult SetUpNewWindow(Vlong handle);

}  // namespace vexa
