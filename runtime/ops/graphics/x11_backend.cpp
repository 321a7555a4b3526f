// The X11 presentation of windows (see x11_backend.h).
#include "ops/graphics/x11_backend.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <thread>
#include <vector>

#include "vexa/errors.h"

namespace vexa {
namespace x11 {

namespace {

// Xlib's default error handler ends the process; a request the server
// refuses (a window destroyed by its user, say) must not end the
// application, so errors are ignored and the next step sees their result.
int IgnoreError(Display*, XErrorEvent*) { return 0; }

void InstallErrorHandler() {
  static const bool installed = [] {
    XSetErrorHandler(&IgnoreError);
    return true;
  }();
  (void)installed;
}

// How one 8-bit colour component goes into a pixel of the visual.
struct Channel {
  int shift = 0;  // of the mask's lowest bit
  int bits = 0;   // of the mask
  explicit Channel(unsigned long mask) {
    if (mask == 0) return;
    while (!(mask >> shift & 1)) ++shift;
    while (mask >> (shift + bits) & 1) ++bits;
  }
  uint32_t Place(uint8_t v) const {
    return bits >= 8 ? uint32_t{v} << (shift + bits - 8) : uint32_t{v} >> (8 - bits) << shift;
  }
};

bool Usable(Display* d) {
  const int screen = DefaultScreen(d);
  const Visual* v = DefaultVisual(d, screen);
  return v->c_class == TrueColor && DefaultDepth(d, screen) >= 24;
}

constexpr long kEvents = ExposureMask | ButtonPressMask | ButtonReleaseMask |
                         PointerMotionMask | StructureNotifyMask;

class X11Screen : public window::Screen {
 public:
  X11Screen(Display* d, ::Window win)
      : d_(d), win_(win), gc_(XCreateGC(d, win, 0, nullptr)),
        visual_(DefaultVisual(d, DefaultScreen(d))), depth_(DefaultDepth(d, DefaultScreen(d))),
        red_(visual_->red_mask), green_(visual_->green_mask), blue_(visual_->blue_mask) {}
  ~X11Screen() override {
    XFreeGC(d_, gc_);
    XDestroyWindow(d_, win_);
    XCloseDisplay(d_);
  }

  void Present(const window::Window& w, const std::vector<window::Rgb>& raster) override {
    if (w.width != width_ || w.height != height_) {
      width_ = w.width;
      height_ = w.height;
      XResizeWindow(d_, win_, static_cast<unsigned>(width_), static_cast<unsigned>(height_));
    }
    pixels_.resize(raster.size());
    for (size_t i = 0; i < raster.size(); ++i)
      pixels_[i] = red_.Place(raster[i].r) | green_.Place(raster[i].g) | blue_.Place(raster[i].b);
    Put();
  }

  bool NextEvent(window::PointerEvent* e) override {
    XEvent ev;
    while (XCheckWindowEvent(d_, win_, kEvents, &ev)) {
      switch (ev.type) {
        case Expose:
          if (ev.xexpose.count == 0) Put();
          break;
        case ButtonPress:
        case ButtonRelease:
          e->kind = ev.type == ButtonPress ? window::PointerEvent::Kind::kPress
                                           : window::PointerEvent::Kind::kRelease;
          e->button = static_cast<int>(ev.xbutton.button);
          e->row = ev.xbutton.y;
          e->column = ev.xbutton.x;
          return true;
        case MotionNotify:
          e->kind = window::PointerEvent::Kind::kMotion;
          e->button = 0;
          e->row = ev.xmotion.y;
          e->column = ev.xmotion.x;
          return true;
        default:
          break;
      }
    }
    return false;
  }

  void Pointer(double* row, double* column, int* buttons) override {
    ::Window root, child;
    int rx = 0, ry = 0, x = 0, y = 0;
    unsigned int mask = 0;
    XQueryPointer(d_, win_, &root, &child, &rx, &ry, &x, &y, &mask);
    *row = y;
    *column = x;
    *buttons = (mask & Button1Mask ? 1 : 0) + (mask & Button2Mask ? 2 : 0) +
               (mask & Button3Mask ? 4 : 0);
  }

  unsigned long Id() const override { return win_; }

  void SetTitle(const std::string& title) override {
    XStoreName(d_, win_, title.c_str());
    XFlush(d_);
  }

 private:
  // Sends the converted raster; XImage borrows the pixels for the call.
  void Put() {
    if (pixels_.empty()) return;
    XImage* image = XCreateImage(d_, visual_, static_cast<unsigned>(depth_), ZPixmap, 0,
                                 reinterpret_cast<char*>(pixels_.data()),
                                 static_cast<unsigned>(width_), static_cast<unsigned>(height_),
                                 32, 0);
    if (!image) return;
    XPutImage(d_, win_, gc_, image, 0, 0, 0, 0, static_cast<unsigned>(width_),
              static_cast<unsigned>(height_));
    image->data = nullptr;
    XDestroyImage(image);
    // A round trip: once the step returns, the window shows its result.
    XSync(d_, False);
  }

  Display* d_;
  ::Window win_;
  GC gc_;
  Visual* visual_;
  int depth_;
  Channel red_, green_, blue_;
  int32_t width_ = 0, height_ = 0;
  std::vector<uint32_t> pixels_;
};

// Waits until the server has mapped the window, so that what is put next
// is shown; a window manager may take a moment.
void AwaitMap(Display* d, ::Window win) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::seconds(2);
  XEvent ev;
  while (Clock::now() < end) {
    if (XCheckTypedWindowEvent(d, win, MapNotify, &ev)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace

bool DisplayReachable() {
  InstallErrorHandler();
  Display* d = XOpenDisplay(nullptr);
  if (!d) return false;
  const bool usable = Usable(d);
  XCloseDisplay(d);
  return usable;
}

Vresult OpenScreen(const window::Window& w, std::unique_ptr<window::Screen>* screen) {
  InstallErrorHandler();
  Display* d = XOpenDisplay(nullptr);
  if (!d) return VERR_DISPLAY_OPEN;
  if (!Usable(d)) {
    XCloseDisplay(d);
    return VERR_DISPLAY_OPEN;
  }
  const int s = DefaultScreen(d);
  const ::Window win = XCreateSimpleWindow(d, RootWindow(d, s), w.column, w.row,
                                           static_cast<unsigned>(w.width),
                                           static_cast<unsigned>(w.height), 0,
                                           BlackPixel(d, s), BlackPixel(d, s));
  XSelectInput(d, win, kEvents);
  XStoreName(d, win, w.title.c_str());
  XMapWindow(d, win);
  XFlush(d);
  AwaitMap(d, win);
  auto x = std::make_unique<X11Screen>(d, win);
  x->Present(w, w.raster);
  *screen = std::move(x);
  return VRESULT_OK;
}

}  // namespace x11
}  // namespace vexa
