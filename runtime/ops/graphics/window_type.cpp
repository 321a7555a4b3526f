// Window types, attributes of new windows and parameters of open ones
// (see window_type.h).
#include "ops/graphics/window_type.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "ops/graphics/color_names.h"
#include "ops/graphics/window_op_util.h"
#include "ops/graphics/x11_backend.h"
#include "registry.h"

namespace vexa {

namespace {

struct Defaults {
  std::mutex mu;
  std::string type = "auto";
  std::string background = "black";
  std::string title = "vexa";
};

Defaults& TheDefaults() {
  static Defaults* d = new Defaults();
  return *d;
}

std::string Default(std::string Defaults::*field) {
  Defaults& d = TheDefaults();
  std::lock_guard<std::mutex> lock(d.mu);
  return d.*field;
}

void SetDefault(std::string Defaults::*field, const std::string& value) {
  Defaults& d = TheDefaults();
  std::lock_guard<std::mutex> lock(d.mu);
  d.*field = value;
}

const char* TypeOf(const window::Window& w) { return w.screen ? "X-Window" : "pixmap"; }

}  // namespace

Vresult SetUpNewWindow(Vlong handle) {
  window::Rgb background{};
  ParseColor(Default(&Defaults::background).c_str(), &background);
  const std::string type = Default(&Defaults::type);
  const bool want_x = type != "pixmap";
  std::unique_ptr<window::Screen> screen;
  return window::WithWindow(handle, [&](window::Window& w) {
    w.background = background;
    w.title = Default(&Defaults::title);
    w.Clear();
    if (!want_x) return VRESULT_OK;
    const Vresult rc = x11::OpenScreen(w, &screen);
    if (rc == VRESULT_OK) w.screen = std::move(screen);
    // Without a display, "auto" stays off-screen.
    return type == "auto" ? VRESULT_OK : rc;
  }, false);
}

// "auto", "X-Window" or "pixmap" for the windows opened from now on;
// "X-Window" needs a reachable display (VERR_DISPLAY_OPEN).
VEXA_OPERATOR(set_window_type) {
  const char* type = nullptr;
  const Vresult rc = ctx.GetString(0, &type);
  if (rc != VRESULT_OK) return rc;
  const std::string t = type;
  if (t != "auto" && t != "X-Window" && t != "pixmap") return VERR_CTRL_VALUE(0);
  if (t == "X-Window" && !x11::DisplayReachable()) return VERR_DISPLAY_OPEN;
  SetDefault(&Defaults::type, t);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_window_type) {
  const char* type = "pixmap";
  const Vresult rc = ReadWindow(ctx, 0, [&](window::Window& w) {
    type = TypeOf(w);
    return VRESULT_OK;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpString(0, type);
}

// The types a window can have here: "pixmap" always, "X-Window" when a
// display is reachable now.
VEXA_OPERATOR(query_window_type) {
  if (x11::DisplayReachable()) return ctx.SetOutpStrings(0, {"pixmap", "X-Window"});
  return ctx.SetOutpStrings(0, {"pixmap"});
}

VEXA_OPERATOR(set_window_attr) {
  const char* name = nullptr;
  const char* value = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &value);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(name, "background_color") == 0) {
    window::Rgb rgb;
    if (!ParseColor(value, &rgb)) return VERR_CTRL_VALUE(1);
    SetDefault(&Defaults::background, value);
    return VRESULT_OK;
  }
  if (std::strcmp(name, "window_title") == 0) {
    SetDefault(&Defaults::title, value);
    return VRESULT_OK;
  }
  return VERR_CTRL_VALUE(0);
}

VEXA_OPERATOR(get_window_attr) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(name, "background_color") == 0)
    return ctx.SetOutpString(0, Default(&Defaults::background).c_str());
  if (std::strcmp(name, "window_title") == 0)
    return ctx.SetOutpString(0, Default(&Defaults::title).c_str());
  return VERR_CTRL_VALUE(0);
}

// Parameters of an open window: "background_color" (used by the next
// clear_window) and "window_title"; get_window_param also answers
// "window_id" (the X window's id, 0 off-screen) and "window_type".
VEXA_OPERATOR(set_window_param) {
  const char* name = nullptr;
  const char* value = nullptr;
  Vresult rc = ctx.GetString(1, &name);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &value);
  if (rc != VRESULT_OK) return rc;
  const bool background = std::strcmp(name, "background_color") == 0;
  if (!background && std::strcmp(name, "window_title") != 0) return VERR_CTRL_VALUE(1);
  window::Rgb rgb{};
  if (background && !ParseColor(value, &rgb)) return VERR_CTRL_VALUE(2);
  return OnWindow(ctx, 0, [&](window::Window& w) {
    if (background) {
      w.background = rgb;
    } else {
      w.title = value;
      if (w.screen) w.screen->SetTitle(w.title);
    }
    return VRESULT_OK;
  }, false);
}

VEXA_OPERATOR(get_window_param) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  const std::string param = name;
  if (param != "background_color" && param != "window_title" && param != "window_id" &&
      param != "window_type")
    return VERR_CTRL_VALUE(1);
  std::string text;
  Vlong id = 0;
  const Vresult found = ReadWindow(ctx, 0, [&](window::Window& w) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "#%02x%02x%02x", w.background.r, w.background.g,
                  w.background.b);
    text = param == "background_color" ? std::string(hex)
           : param == "window_title"   ? w.title
                                       : std::string(TypeOf(w));
    id = w.screen ? static_cast<Vlong>(w.screen->Id()) : 0;
    return VRESULT_OK;
  });
  if (found != VRESULT_OK) return found;
  return param == "window_id" ? ctx.SetOutpLong(0, id) : ctx.SetOutpString(0, text.c_str());
}

}  // namespace vexa
