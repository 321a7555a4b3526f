// The pointer in a window on a display: where it is and which buttons are
// held (get_mposition), and the next button press (get_mbutton).
// Positions are image coordinates through the window's part; buttons are
// 1 left, 2 middle, 4 right (summed when several are held). An off-screen
// window has no pointer: VERR_NO_DISPLAY.
#include <cmath>

#include "ops/graphics/pointer_loop.h"
#include "ops/graphics/window_op_util.h"
#include "ops/graphics/window_view.h"
#include "registry.h"

namespace vexa {

namespace {

// The value of a press of button 1, 2 or 3 as get_mbutton reports it.
int ButtonValue(int button) { return button == 3 ? 4 : button; }

Vresult Output(OpContext& ctx, const RealPoint& p, int button, bool sub_pixel) {
  Vresult rc = sub_pixel ? ctx.SetOutpDouble(0, p.row) : ctx.SetOutpLong(0, std::llround(p.row));
  if (rc == VRESULT_OK)
    rc = sub_pixel ? ctx.SetOutpDouble(1, p.column) : ctx.SetOutpLong(1, std::llround(p.column));
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(2, button);
  return rc;
}

Vresult Position(OpContext& ctx, bool sub_pixel) {
  RealPoint p{0, 0};
  int buttons = 0;
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    if (!w.screen) return VERR_NO_DISPLAY;
    double row = 0, column = 0;
    w.screen->Pointer(&row, &column, &buttons);
    p = View(w).ToImage({row, column});
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : Output(ctx, p, buttons, sub_pixel);
}

Vresult NextPress(OpContext& ctx, bool sub_pixel) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(0, &handle);
  if (rc != VRESULT_OK) return rc;
  RealPoint p{0, 0};
  int button = 0;
  const Vresult waited = PollWindow(handle, [&](window::Window& w, bool* done) {
    window::PointerEvent e;
    while (!*done && w.screen->NextEvent(&e)) {
      // Buttons 4 and 5 are the wheel's turns, no presses.
      if (e.kind != window::PointerEvent::Kind::kPress || e.button < 1 || e.button > 3) continue;
      p = View(w).ToImage({e.row, e.column});
      button = ButtonValue(e.button);
      *done = true;
    }
    return VRESULT_OK;
  });
  return waited != VRESULT_OK ? waited : Output(ctx, p, button, sub_pixel);
}

}  // namespace

VEXA_OPERATOR(get_mposition) { return Position(ctx, false); }
VEXA_OPERATOR(get_mposition_sub_pix) { return Position(ctx, true); }
// Waits for the next button press in the window.
VEXA_OPERATOR(get_mbutton) { return NextPress(ctx, false); }
VEXA_OPERATOR(get_mbutton_sub_pix) { return NextPress(ctx, true); }

}  // namespace vexa
