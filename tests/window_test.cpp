// Windows as off-screen rasters: what disp_region paints, read back through
// dump_window_image and compared with a per-pixel reference; extents, the
// window stack, bad handles, and the VWindow handle class.
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>
#include <vexaobj/VWindow.h>

#include <vector>

#include "frame_test_support.h"
#include "leak_checked_test.h"
#include "objdb.h"
#include "random_region_support.h"
#include "window_test_support.h"

namespace {

using namespace Vexa;
using test_support::Mask;
using test_support::RandomRegion;
using test_support::Dump;
using test_support::kBlack;
using test_support::kRed;
using test_support::Raster;
using test_support::Rgb;

void ThrowCopy(const VException& e) { throw VException(e); }

// Objects and traced memory are back where they were when a test ends.
class WindowTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    old_ = VException::InstallVHandler(&ThrowCopy);
    LeakCheckedTest::SetUp();
  }
  void TearDown() override {
    LeakCheckedTest::TearDown();
    VException::InstallVHandler(old_);
  }
  Vlong Open(Vlong width, Vlong height) {
    Vlong handle = 0;
    EXPECT_EQ(open_window(0, 0, width, height, 0, "", "", &handle), VRESULT_OK);
    return handle;
  }

  VHandlerProc old_ = nullptr;
};

// Every pixel of the raster against the reference `expect(r, c)`; regions
// are larger than the window on one side, so the cut at the edge counts.
template <class Expect>
void ExpectRaster(const Raster& raster, Expect expect) {
  int wrong = 0;
  for (int r = 0; r < raster.height; ++r)
    for (int c = 0; c < raster.width; ++c)
      if (raster.At(r, c) != expect(r, c) && ++wrong <= 5)
        ADD_FAILURE() << "pixel (" << r << ", " << c << ")";
  EXPECT_EQ(wrong, 0);
}

TEST_F(WindowTest, FillPaintsExactlyTheRegionsPixels) {
  for (unsigned seed : {1u, 2u, 3u}) {
    const RandomRegion shape(60, 40, seed, 90, 255);
    const Vlong w = Open(50, 45);
    ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
    ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
    const Raster raster = Dump(w);
    ASSERT_EQ(raster.width, 50);
    ASSERT_EQ(raster.height, 45);
    ExpectRaster(raster, [&](int r, int c) {
      return shape.mask.At(r, c) ? kRed : kBlack;
    });
    EXPECT_EQ(close_window(w), VRESULT_OK);
  }
}

TEST_F(WindowTest, MarginPaintsExactlyTheBoundary) {
  for (unsigned seed : {4u, 5u, 6u}) {
    const RandomRegion shape(60, 40, seed, 60, 255);
    const Vlong w = Open(50, 45);
    ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
    ASSERT_EQ(set_draw(w, "margin"), VRESULT_OK);
    ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
    ExpectRaster(Dump(w), [&](int r, int c) {
      return shape.mask.OnBoundary(r, c) ? kRed : kBlack;
    });
    EXPECT_EQ(close_window(w), VRESULT_OK);
  }
}

TEST_F(WindowTest, ColorsDrawModesAndClearing) {
  const Vlong w = Open(20, 10);
  Vobject rect;
  ASSERT_EQ(gen_rectangle1(&rect, 2.0, 3.0, 4.0, 8.0), VRESULT_OK);
  ASSERT_EQ(set_color(w, "#102030"), VRESULT_OK);
  ASSERT_EQ(disp_region(rect, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).At(3, 5), (Rgb{16, 32, 48}));
  EXPECT_EQ(set_color(w, "mauve"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_color(w, "#12345"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_draw(w, "hatch"), VERR_CTRL_VALUE(1));
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ExpectRaster(Dump(w), [](int, int) { return kBlack; });
  EXPECT_EQ(close_window(w), VRESULT_OK);
}

TEST_F(WindowTest, GrayImageShowsItsDomainInGray) {
  const RandomRegion shape(30, 20, 7, 0, 255);
  const Vlong w = Open(40, 15);
  ASSERT_EQ(disp_image(shape.image, w), VRESULT_OK);
  Vlong pointer = 0, width = 0, height = 0;
  char type[32];
  ASSERT_EQ(get_image_pointer1(shape.image, &pointer, type, &width, &height), VRESULT_OK);
  const auto* gray = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(pointer));
  ExpectRaster(Dump(w), [&](int r, int c) {
    if (c >= width) return kBlack;
    const int g = gray[r * width + c];
    return Rgb{g, g, g};
  });
  EXPECT_EQ(close_window(w), VRESULT_OK);
}

TEST_F(WindowTest, ExtentsDefaultSizeAndResizing) {
  const Vlong w = Open(-1, -1);
  Vlong row = -1, col = -1, width = 0, height = 0;
  ASSERT_EQ(get_window_extents(w, &row, &col, &width, &height), VRESULT_OK);
  EXPECT_EQ(width, 512);
  EXPECT_EQ(height, 512);
  ASSERT_EQ(set_window_extents(w, 10, 20, 64, -1), VRESULT_OK);
  ASSERT_EQ(get_window_extents(w, &row, &col, &width, &height), VRESULT_OK);
  EXPECT_EQ(row, 10);
  EXPECT_EQ(col, 20);
  EXPECT_EQ(width, 64);
  EXPECT_EQ(height, 512);
  EXPECT_EQ(Dump(w).width, 64);
  EXPECT_EQ(set_window_extents(w, 0, 0, 0, 10), VERR_CTRL_VALUE(3));
  Vlong bad = 0;
  EXPECT_EQ(open_window(0, 0, 0, 10, 0, "", "", &bad), VERR_CTRL_VALUE(2));
  EXPECT_EQ(open_window(0, 0, 10, 100000, 0, "", "", &bad), VERR_CTRL_VALUE(3));
  EXPECT_EQ(close_window(w), VRESULT_OK);
}

TEST_F(WindowTest, ClosedAndUnknownHandlesAreInvalid) {
  const Vlong w = Open(10, 10);
  ASSERT_EQ(close_window(w), VRESULT_OK);
  EXPECT_EQ(close_window(w), VERR_WINDOW_INVALID);
  EXPECT_EQ(set_color(w, "red"), VERR_WINDOW_INVALID);
  EXPECT_EQ(clear_window(123456789), VERR_WINDOW_INVALID);
  Vobject rect;
  ASSERT_EQ(gen_rectangle1(&rect, 0.0, 0.0, 1.0, 1.0), VRESULT_OK);
  EXPECT_EQ(disp_region(rect, w), VERR_WINDOW_INVALID);
  Vobject image;
  EXPECT_EQ(dump_window_image(&image, w), VERR_WINDOW_INVALID);
}

TEST_F(WindowTest, OpenWindowsStandOnTheWindowStack) {
  const Vlong a = Open(10, 10);
  const Vlong b = Open(10, 10);
  Vlong active = 0;
  ASSERT_EQ(VWindowStackGetActive(&active), VRESULT_OK);
  EXPECT_EQ(active, b);
  // Closing the window below the top keeps the top active.
  ASSERT_EQ(close_window(a), VRESULT_OK);
  ASSERT_EQ(VWindowStackGetActive(&active), VRESULT_OK);
  EXPECT_EQ(active, b);
  ASSERT_EQ(close_window(b), VRESULT_OK);
  EXPECT_NE(VWindowStackGetActive(&active) == VRESULT_OK && active == b, true);
}

TEST_F(WindowTest, VWindowOwnsItsWindow) {
  Vlong handle = 0;
  {
    VWindow window;
    handle = window.WindowHandle();
    ASSERT_NE(handle, 0);
    Vlong row, col, width = 0, height = 0;
    ASSERT_EQ(get_window_extents(handle, &row, &col, &width, &height), VRESULT_OK);
    EXPECT_EQ(width, 512);
    // A second open on an open window does nothing.
    EXPECT_EQ(window.OpenWindow(0, 0, 5, 5, 0, "", ""), VRESULT_OK);
    EXPECT_EQ(window.WindowHandle(), handle);
  }
  // The destructor closed it.
  EXPECT_EQ(clear_window(handle), VERR_WINDOW_INVALID);

  VWindow none("unused");
  EXPECT_EQ(none.WindowHandle(), 0);
  ASSERT_EQ(none.OpenWindow(0, 0, 30, 20, 0, "", ""), VRESULT_OK);
  ASSERT_NE(none.WindowHandle(), 0);
  const Vlong opened = none.WindowHandle();
  EXPECT_EQ(none.CloseWindow(), VRESULT_OK);
  EXPECT_EQ(none.WindowHandle(), 0);
  EXPECT_EQ(clear_window(opened), VERR_WINDOW_INVALID);

  VWindow closed(0, 0, 10, 10, 0, "", "", 0);
  EXPECT_EQ(closed.WindowHandle(), 0);
}

TEST_F(WindowTest, DrawingPrimitivesRaiseAsClassMethods) {
  // Drawing into no window fails: the class method raises where the
  // procedural function returns the code.
  VWindow none("unused");
  EXPECT_THROW(none.DispLine(0.0, 0.0, 5.0, 5.0), VException);
  EXPECT_THROW(none.DispCircle(VTuple(5.0), VTuple(5.0), VTuple(2.0)), VException);
  EXPECT_GT(disp_line(none.WindowHandle(), 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
}

TEST_F(WindowTest, OperatorMethodsPassTheWindowsHandle) {
  VWindow window(0, 0, 40, 30, 0, "", "", 1);
  window.SetColor("red");
  window.SetDraw("fill");
  VTuple row, column, width, height;
  row = window.GetWindowExtents(&column, &width, &height);
  EXPECT_EQ(width[0].L(), 40);
  EXPECT_EQ(height[0].L(), 30);
  const Raster before = Dump(window.WindowHandle());
  window.ClearWindow();
  EXPECT_EQ(Dump(window.WindowHandle()).At(0, 0), kBlack);
  EXPECT_EQ(before.width, 40);
}

Vresult PointerOutside(void*) { return 5; }

TEST_F(WindowTest, ButtonIsZeroWhenThePointerIsOutside) {
  frame_test::ScopedOperator outside(frame_test::OperatorIndex("get_mposition"),
                                     &PointerOutside);
  VWindow window(0, 0, 10, 10, 0, "", "", 1);
  EXPECT_EQ(window.GetButton(), 0);
}

TEST_F(WindowTest, WindowStackClassRaisesOnAnEmptyStack) {
  VBenchWindowStack::CloseAll();
  EXPECT_FALSE(VBenchWindowStack::IsOpen());
  VBenchWindowStack::Push(VTuple(Vlong{77}));
  VBenchWindowStack::Push(VTuple(Vlong{78}));
  EXPECT_EQ(VBenchWindowStack::GetActive()[0].L(), 78);
  VBenchWindowStack::SetActive(VTuple(Vlong{77}));
  EXPECT_EQ(VBenchWindowStack::GetActive()[0].L(), 77);
  EXPECT_TRUE(VBenchWindowStack::IsOpen());
  VBenchWindowStack::Pop();
  VBenchWindowStack::Pop();
  try {
    VBenchWindowStack::Pop();
    FAIL() << "no raise";
  } catch (const VException& e) {
    EXPECT_STREQ(e.proc, "VBenchWindowStack::Pop(void)");
    EXPECT_STREQ(e.message, "Error");
    EXPECT_EQ(e.err, VERR_WINDOW_STACK_EMPTY);
  }
}

}  // namespace
