// Figures drawn into off-screen windows, read back with dump_window_image:
// a filled rectangle covers exactly its pixels, a disc's coverage sums to
// its area and an outline's to its length, lines have the set width and
// smooth edges, settings read back as set, bad input gives codes.
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cmath>
#include <vector>

#include "leak_checked_test.h"
#include "objdb.h"

namespace {

using namespace Vexa;

constexpr double kPi = 3.14159265358979323846;

// The red channel of a window as coverage in [0, 1] (drawn in red on
// black).
std::vector<double> Coverage(Vlong window, int* width) {
  Vobject image;
  EXPECT_EQ(dump_window_image(&image, window), VRESULT_OK);
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  *width = data.channels[0]->width();
  std::vector<double> cover(static_cast<size_t>(data.channels[0]->num_pixels()));
  for (size_t p = 0; p < cover.size(); ++p) cover[p] = data.channels[0]->data()[p] / 255.0;
  return cover;
}

double Sum(const std::vector<double>& v) {
  double s = 0;
  for (double x : v) s += x;
  return s;
}

class WindowShapesTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    ASSERT_EQ(open_window(0, 0, 100, 80, 0, "", "", &window_), VRESULT_OK);
    ASSERT_EQ(set_color(window_, "red"), VRESULT_OK);
  }
  void TearDown() override {
    close_window(window_);
    LeakCheckedTest::TearDown();
  }
  Vlong window_ = 0;
};

TEST_F(WindowShapesTest, FilledRectangleCoversExactlyItsPixels) {
  ASSERT_EQ(disp_rectangle1(window_, 10.0, 20.0, 19.0, 49.0), VRESULT_OK);
  int width = 0;
  const std::vector<double> cover = Coverage(window_, &width);
  for (size_t p = 0; p < cover.size(); ++p) {
    const int r = static_cast<int>(p) / width, c = static_cast<int>(p) % width;
    const bool inside = r >= 10 && r <= 19 && c >= 20 && c <= 49;
    ASSERT_EQ(cover[p], inside ? 1.0 : 0.0) << r << ", " << c;
  }
}

TEST_F(WindowShapesTest, DiscAndCircleCoverTheirAreaAndLength) {
  ASSERT_EQ(disp_circle(window_, 40.0, 50.0, 20.0), VRESULT_OK);
  int width = 0;
  EXPECT_NEAR(Sum(Coverage(window_, &width)), kPi * 400, 0.01 * kPi * 400);
  ASSERT_EQ(clear_window(window_), VRESULT_OK);
  ASSERT_EQ(set_draw(window_, "margin"), VRESULT_OK);
  ASSERT_EQ(disp_circle(window_, 40.0, 50.0, 20.0), VRESULT_OK);
  // A one-pixel line: coverage sums to the length.
  EXPECT_NEAR(Sum(Coverage(window_, &width)), 2 * kPi * 20, 0.05 * 2 * kPi * 20);
}

TEST_F(WindowShapesTest, LinesHaveTheirWidthAndSmoothEdges) {
  ASSERT_EQ(set_line_width(window_, 3), VRESULT_OK);
  Vlong lw = 0;
  ASSERT_EQ(get_line_width(window_, &lw), VRESULT_OK);
  EXPECT_EQ(lw, 3);
  ASSERT_EQ(disp_line(window_, 40.0, 10.0, 40.0, 89.0), VRESULT_OK);
  int width = 0;
  std::vector<double> cover = Coverage(window_, &width);
  for (int r = 37; r <= 43; ++r)
    EXPECT_EQ(cover[static_cast<size_t>(r) * width + 50], r >= 39 && r <= 41 ? 1.0 : 0.0) << r;
  // A slanted line leaves partly covered pixels along its edges.
  ASSERT_EQ(clear_window(window_), VRESULT_OK);
  ASSERT_EQ(set_line_width(window_, 1), VRESULT_OK);
  ASSERT_EQ(disp_line(window_, 5.0, 5.0, 70.0, 60.3), VRESULT_OK);
  cover = Coverage(window_, &width);
  int partial = 0;
  for (double v : cover) partial += v > 0.05 && v < 0.95;
  EXPECT_GT(partial, 20);
  EXPECT_NEAR(Sum(cover), std::hypot(65.0, 55.3), 0.1 * std::hypot(65.0, 55.3));
}

TEST_F(WindowShapesTest, SeveralFiguresInOneCallAndTheirArrows) {
  // Three crosses at once; the single size serves all of them.
  ASSERT_EQ(disp_cross(window_, VTuple(10.0).Append(40.0).Append(70.0),
                       VTuple(10.0).Append(50.0).Append(90.0), VTuple(9.0), VTuple(0.0)),
            VRESULT_OK);
  int width = 0;
  const std::vector<double> cover = Coverage(window_, &width);
  for (const auto& rc : {std::pair<int, int>{10, 10}, {40, 50}, {70, 90}})
    EXPECT_EQ(cover[static_cast<size_t>(rc.first) * width + rc.second], 1.0);
  ASSERT_EQ(disp_arrow(window_, 20.0, 20.0, 20.0, 60.0, 8.0), VRESULT_OK);
  EXPECT_EQ(Coverage(window_, &width)[static_cast<size_t>(21) * width + 55], 1.0);
}

TEST_F(WindowShapesTest, SettingsReadBackAndBadInputGivesCodes) {
  ASSERT_EQ(set_rgb(window_, 10, 20, 30), VRESULT_OK);
  VTuple r, g, b;
  ASSERT_EQ(get_rgb(window_, &r, &g, &b), VRESULT_OK);
  EXPECT_EQ(r[0].L() * 10000 + g[0].L() * 100 + b[0].L(), 102030);
  char mode[32];
  ASSERT_EQ(set_draw(window_, "margin"), VRESULT_OK);
  ASSERT_EQ(get_draw(window_, mode), VRESULT_OK);
  EXPECT_STREQ(mode, "margin");
  EXPECT_EQ(set_rgb(window_, 256, 0, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_line_width(window_, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(disp_circle(window_, 10.0, 10.0, 0.0), VERR_CTRL_VALUE(3));
  EXPECT_EQ(disp_line(window_, VTuple(1.0).Append(2.0), VTuple(1.0).Append(2.0).Append(3.0),
                      VTuple(5.0), VTuple(5.0)),
            VERR_CTRL_NUM(1));
  EXPECT_EQ(disp_circle(window_, std::nan(""), 10.0, 3.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(disp_line(window_ + 1000, 0.0, 0.0, 1.0, 1.0), VERR_WINDOW_INVALID);
  // Figures far outside the window are cut off, not refused.
  EXPECT_EQ(disp_circle(window_, -1e6, 1e6, 5.0), VRESULT_OK);
}

}  // namespace

namespace {

// A circle contour is drawn as its outline: one-pixel coverage summing to
// its length, the same as disp_circle's margin; disp_obj draws it the same
// way, and disp_xld refuses a region.
TEST_F(WindowShapesTest, ContoursAreDrawnAsLinesThroughTheirPoints) {
  Vobject circle;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 40.0, 50.0, 20.0, 0.0, 2 * kPi, "positive", 0.5),
            VRESULT_OK);
  ASSERT_EQ(disp_xld(circle, window_), VRESULT_OK);
  int width = 0;
  const std::vector<double> drawn = Coverage(window_, &width);
  EXPECT_NEAR(Sum(drawn), 2 * kPi * 20, 0.05 * 2 * kPi * 20);
  EXPECT_EQ(drawn[static_cast<size_t>(40) * width + 50], 0.0);  // the inside stays dark

  ASSERT_EQ(clear_window(window_), VRESULT_OK);
  ASSERT_EQ(disp_obj(circle, window_), VRESULT_OK);
  EXPECT_EQ(Coverage(window_, &width), drawn);

  Vobject region;
  ASSERT_EQ(gen_circle(&region, 40.0, 50.0, 20.0), VRESULT_OK);
  EXPECT_EQ(disp_xld(region, window_), VERR_OBJ_CLASS(1));
}

}  // namespace
