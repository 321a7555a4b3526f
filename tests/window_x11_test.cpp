// Windows on a real X display: a virtual X server (Xvfb) is started on a
// free display number for these tests and ended after them. What the X
// window shows is read back with XGetImage and compared with the raster;
// the pointer is moved with XWarpPointer and buttons are pressed with
// events sent to the window. Without Xvfb the tests are skipped.
//
// The test talks to the server through libX11 loaded at run time, so that
// the test program needs nothing beyond what every test links.
#include "window_test_support.h"
// After the test headers: Xlib defines macros (None, Bool, Status) that
// would clash with names in them.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

using namespace Vexa;
using test_support::Dump;
using test_support::Raster;
using test_support::Rgb;

// The few Xlib functions the test calls.
struct Xlib {
  void* lib = nullptr;
  Display* (*open)(const char*);
  int (*close)(Display*);
  XImage* (*get_image)(Display*, Drawable, int, int, unsigned, unsigned, unsigned long, int);
  Status (*send_event)(Display*, ::Window, Bool, long, XEvent*);
  int (*warp)(Display*, ::Window, ::Window, int, int, unsigned, unsigned, int, int);
  int (*sync)(Display*, Bool);

  bool Load() {
    lib = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!lib) return false;
    open = reinterpret_cast<decltype(open)>(dlsym(lib, "XOpenDisplay"));
    close = reinterpret_cast<decltype(close)>(dlsym(lib, "XCloseDisplay"));
    get_image = reinterpret_cast<decltype(get_image)>(dlsym(lib, "XGetImage"));
    send_event = reinterpret_cast<decltype(send_event)>(dlsym(lib, "XSendEvent"));
    warp = reinterpret_cast<decltype(warp)>(dlsym(lib, "XWarpPointer"));
    sync = reinterpret_cast<decltype(sync)>(dlsym(lib, "XSync"));
    return open && close && get_image && send_event && warp && sync;
  }
};

std::string FindXvfb() {
  const char* path = std::getenv("PATH");
  std::string dirs = path ? path : "/usr/bin:/bin";
  size_t start = 0;
  while (start <= dirs.size()) {
    const size_t end = dirs.find(':', start);
    const std::string dir = dirs.substr(start, end == std::string::npos ? std::string::npos : end - start);
    if (!dir.empty() && access((dir + "/Xvfb").c_str(), X_OK) == 0) return dir + "/Xvfb";
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return "";
}

class WindowX11Test : public LeakCheckedTest {
 protected:
  // Each test program runs its own server. Xvfb picks a free display
  // number itself and reports it through a pipe (-displayfd), so that test
  // programs running in parallel never share a server or race for a number.
  static void SetUpTestSuite() {
    const std::string xvfb = FindXvfb();
    if (xvfb.empty() || !x_.Load()) return;
    int fds[2];
    if (pipe(fds) != 0) return;
    server_ = fork();
    if (server_ == 0) {
      close(fds[0]);
      freopen("/dev/null", "w", stdout);
      freopen("/dev/null", "w", stderr);
      const std::string fd = std::to_string(fds[1]);
      execl(xvfb.c_str(), "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "640x480x24",
            "-nolisten", "tcp", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(fds[1]);
    std::string number;
    char c;
    while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
    close(fds[0]);
    if (number.empty()) return;
    const std::string name = ":" + number;
    display_name_ = name;
    setenv("DISPLAY", name.c_str(), 1);
    for (int tries = 0; tries < 100 && !display_; ++tries) {
      display_ = x_.open(name.c_str());
      if (!display_) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  static void TearDownTestSuite() {
    if (display_) x_.close(display_);
    display_ = nullptr;
    if (server_ > 0) {
      kill(server_, SIGTERM);
      waitpid(server_, nullptr, 0);
    }
    server_ = -1;
    unsetenv("DISPLAY");
  }

  void SetUp() override {
    if (!display_) GTEST_SKIP() << "Xvfb is not installed (or did not start): no X display to test on";
    LeakCheckedTest::SetUp();
    ASSERT_EQ(set_window_type("auto"), VRESULT_OK);
  }
  void TearDown() override {
    if (!display_) return;
    if (window_) close_window(window_);
    LeakCheckedTest::TearDown();
  }

  void OpenWindow(Vlong width, Vlong height) {
    ASSERT_EQ(open_window(10, 20, width, height, 0, "", "", &window_), VRESULT_OK);
    VTuple id;
    ASSERT_EQ(get_window_param(window_, "window_id", &id), VRESULT_OK);
    xid_ = static_cast<::Window>(id[0].L());
    ASSERT_NE(xid_, 0u);
  }

  // Sends a button event to the window, as the server would report it.
  void Send(int type, int x, int y, unsigned button) {
    XEvent ev;
    std::memset(&ev, 0, sizeof ev);
    const long mask = type == ButtonPress ? ButtonPressMask : ButtonReleaseMask;
    ev.xbutton.type = type;
    ev.xbutton.display = display_;
    ev.xbutton.window = xid_;
    ev.xbutton.x = x;
    ev.xbutton.y = y;
    ev.xbutton.button = button;
    ev.xbutton.same_screen = True;
    ASSERT_NE(x_.send_event(display_, xid_, False, mask, &ev), 0);
    x_.sync(display_, False);
  }
  // Sends a pointer motion with the left button held.
  void SendMotion(int x, int y) {
    XEvent ev;
    std::memset(&ev, 0, sizeof ev);
    ev.xmotion.type = MotionNotify;
    ev.xmotion.display = display_;
    ev.xmotion.window = xid_;
    ev.xmotion.x = x;
    ev.xmotion.y = y;
    ev.xmotion.state = Button1Mask;
    ev.xmotion.same_screen = True;
    ASSERT_NE(x_.send_event(display_, xid_, False, PointerMotionMask, &ev), 0);
    x_.sync(display_, False);
  }

  // Closes the window after `ms` unless the test finished first, so that
  // an interaction that never ends fails with a code instead of hanging.
  std::thread Watchdog(int ms) {
    const Vlong handle = window_;
    return std::thread([handle, ms, this] {
      for (int waited = 0; waited < ms && !finished_; waited += 10)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      if (!finished_) close_window(handle);
    });
  }

  static Xlib x_;
  static Display* display_;
  static pid_t server_;
  static std::string display_name_;
  Vlong window_ = 0;
  ::Window xid_ = 0;
  std::atomic<bool> finished_{false};
};

Xlib WindowX11Test::x_;
Display* WindowX11Test::display_ = nullptr;
pid_t WindowX11Test::server_ = -1;
std::string WindowX11Test::display_name_;

// The X window shows exactly the raster: every pixel read back from the
// server equals the dump.
TEST_F(WindowX11Test, XWindowShowsTheRaster) {
  OpenWindow(64, 48);
  char type[32];
  ASSERT_EQ(get_window_type(window_, type), VRESULT_OK);
  EXPECT_STREQ(type, "X-Window");
  VTuple types;
  ASSERT_EQ(query_window_type(&types), VRESULT_OK);
  EXPECT_EQ(types.Num(), 2);
  ASSERT_EQ(set_color(window_, "#c08040"), VRESULT_OK);
  ASSERT_EQ(disp_circle(window_, 24.0, 30.0, 15.0), VRESULT_OK);
  ASSERT_EQ(set_tposition(window_, 2, 2), VRESULT_OK);
  ASSERT_EQ(write_string(window_, "X11"), VRESULT_OK);
  const Raster raster = Dump(window_);
  XImage* image = x_.get_image(display_, xid_, 0, 0, 64, 48, AllPlanes, ZPixmap);
  ASSERT_NE(image, nullptr);
  int wrong = 0;
  for (int r = 0; r < 48; ++r)
    for (int c = 0; c < 64; ++c) {
      const unsigned long p = XGetPixel(image, c, r);
      const Rgb shown{static_cast<int>(p >> 16 & 255), static_cast<int>(p >> 8 & 255),
                      static_cast<int>(p & 255)};
      if (shown != raster.At(r, c) && ++wrong <= 5) ADD_FAILURE() << r << ", " << c;
    }
  XDestroyImage(image);
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(raster.Count({0xc0, 0x80, 0x40}), 500);
}

// The pointer's position in image coordinates, also through a zoom.
TEST_F(WindowX11Test, PointerPositionAndButtons) {
  OpenWindow(64, 48);
  x_.warp(display_, None, xid_, 0, 0, 0, 0, 17, 9);
  x_.sync(display_, False);
  Vlong row = -1, col = -1, button = -1;
  ASSERT_EQ(get_mposition(window_, &row, &col, &button), VRESULT_OK);
  EXPECT_EQ(row, 9);
  EXPECT_EQ(col, 17);
  EXPECT_EQ(button, 0);
  ASSERT_EQ(set_part(window_, 0, 0, 23, 31), VRESULT_OK);  // zoom 2
  double rd = 0, cd = 0;
  ASSERT_EQ(get_mposition_sub_pix(window_, &rd, &cd, &button), VRESULT_OK);
  EXPECT_DOUBLE_EQ(rd, 4.25);
  EXPECT_DOUBLE_EQ(cd, 8.25);

  Send(ButtonPress, 5, 7, 4);  // a wheel turn is no press
  Send(ButtonPress, 5, 7, 3);
  ASSERT_EQ(get_mbutton_sub_pix(window_, &rd, &cd, &button), VRESULT_OK);
  EXPECT_DOUBLE_EQ(rd, 3.25);
  EXPECT_DOUBLE_EQ(cd, 2.25);
  EXPECT_EQ(button, 4);
  ASSERT_EQ(set_part(window_, -1, -1, -1, -1), VRESULT_OK);
  Send(ButtonPress, 11, 12, 1);
  ASSERT_EQ(get_mbutton(window_, &row, &col, &button), VRESULT_OK);
  EXPECT_EQ(row, 12);
  EXPECT_EQ(col, 11);
  EXPECT_EQ(button, 1);
}

// Drags with the left button define figures, the right button confirms:
// a circle from its centre out, then a rectangle corner to corner through
// a zoom of 2.
TEST_F(WindowX11Test, InteractiveDrawingByDrags) {
  OpenWindow(64, 48);
  std::thread watchdog = Watchdog(5000);
  Send(ButtonPress, 30, 20, 1);
  SendMotion(36, 20);
  SendMotion(40, 20);
  Send(ButtonRelease, 40, 20, 1);
  Send(ButtonPress, 40, 20, 3);
  double row = 0, col = 0, radius = 0;
  EXPECT_EQ(draw_circle(window_, &row, &col, &radius), VRESULT_OK);
  EXPECT_DOUBLE_EQ(row, 20);
  EXPECT_DOUBLE_EQ(col, 30);
  EXPECT_DOUBLE_EQ(radius, 10);

  ASSERT_EQ(set_part(window_, 0, 0, 23, 31), VRESULT_OK);
  Send(ButtonPress, 4, 6, 1);
  SendMotion(20, 16);
  Send(ButtonRelease, 20, 16, 1);
  Send(ButtonPress, 20, 16, 3);
  double r1 = 0, c1 = 0, r2 = 0, c2 = 0;
  EXPECT_EQ(draw_rectangle1(window_, &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_DOUBLE_EQ(r1, 2.75);
  EXPECT_DOUBLE_EQ(c1, 1.75);
  EXPECT_DOUBLE_EQ(r2, 7.75);
  EXPECT_DOUBLE_EQ(c2, 9.75);
  finished_ = true;
  watchdog.join();
}

// A window closed while input is awaited ends the wait with a code; a
// forced off-screen window has no pointer even with a display.
TEST_F(WindowX11Test, ClosedWhileWaitingAndForcedPixmap) {
  OpenWindow(40, 30);
  const Vlong handle = window_;
  std::thread closer([handle] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    close_window(handle);
  });
  Vlong row, col, button;
  EXPECT_EQ(get_mbutton(handle, &row, &col, &button), VERR_DRAW_CANCELLED);
  closer.join();
  window_ = 0;

  ASSERT_EQ(set_window_type("pixmap"), VRESULT_OK);
  ASSERT_EQ(open_window(0, 0, 20, 20, 0, "", "", &window_), VRESULT_OK);
  char type[32];
  ASSERT_EQ(get_window_type(window_, type), VRESULT_OK);
  EXPECT_STREQ(type, "pixmap");
  EXPECT_EQ(get_mposition(window_, &row, &col, &button), VERR_NO_DISPLAY);
  ASSERT_EQ(set_window_type("X-Window"), VRESULT_OK);
  Vlong x_window = 0;
  ASSERT_EQ(open_window(0, 0, 20, 20, 0, "", "", &x_window), VRESULT_OK);
  ASSERT_EQ(get_window_type(x_window, type), VRESULT_OK);
  EXPECT_STREQ(type, "X-Window");
  EXPECT_EQ(close_window(x_window), VRESULT_OK);
  ASSERT_EQ(set_window_type("auto"), VRESULT_OK);
}

}  // namespace
