// Filter masks: size checks, the text form (valid, malformed, too short,
// missing), coordinate checks with their exact texts, the non-square
// addressing, copies and centred resizing.
#include <gtest/gtest.h>

#include <vexaobj/VConvol.h>

#include "control_test_support.h"

using namespace Vexa;
using control_test::ExpectRaise;
using control_test::Returning;
using control_test::ScopedHandler;

namespace {

constexpr const char* kTextProc =
    "VConvolInt::VConvolInt(int loc_width, int loc_height, int loc_div, const char "
    "*loc_values)";
constexpr const char* kCoordProc = "void VConvolSimple::TestCoord(int x, int y)";

class GeometryConvol : public control_test::ThrowingTest {};

TEST_F(GeometryConvol, EvenSizesAreRefused) {
  const char* proc = "void VConvolSimple::TestWH(int width, int height) const";
  ExpectRaise([] { VConvolInt m(2, 3); }, proc, "even number for width not allowed");
  ExpectRaise([] { VConvolInt m(3, 0); }, proc, "even number for height not allowed");
  VConvolInt negative(-3, 3);
  EXPECT_EQ(-3, negative.Width());
}

TEST_F(GeometryConvol, TextFormSumsTheDivisor) {
  const VConvolInt m(3, 3, "1 2 1 2 4 2 1 2 1");
  EXPECT_EQ(16, m.Div());
  EXPECT_EQ(4.0, m.GetValueRel(0, 0));
  EXPECT_EQ(m.GetValueAbs(0, 0), m.GetValueRel(-1, -1));
  const VConvolInt given(1, 3, 7, "-3 +5 8 99");
  EXPECT_EQ(7, given.Div());
  EXPECT_EQ(5.0, given.GetValueAbs(0, 1));
  // Several blanks and other characters are left to the number scanner: a
  // text without digits leaves its coefficient at 0.
  const VConvolInt loose(1, 3, "4  x5 6");
  EXPECT_EQ(4.0, loose.GetValueAbs(0, 0));
  EXPECT_EQ(0.0, loose.GetValueAbs(0, 1));
  EXPECT_EQ(0.0, loose.GetValueAbs(0, 2));
  EXPECT_EQ(4, loose.Div());
}

TEST_F(GeometryConvol, ShortMissingOrEmptyTextFails) {
  ExpectRaise([] { VConvolInt m(3, 3, "1 2 1"); }, kTextProc, "parameter values not correct");
  ExpectRaise([] { VConvolInt m(3, 3, 1, static_cast<const char*>(nullptr)); }, kTextProc,
              "parameter values not correct");
  ExpectRaise([] { VConvolInt m(1, 3, ""); }, kTextProc, "parameter values not correct");
  // With a returning handler every missing value is reported and the
  // values read so far stay.
  ScopedHandler returning(&Returning::Handle);
  Returning::raised = 0;
  const VConvolInt m(3, 3, "1 2 1");
  EXPECT_EQ(6, Returning::raised);
  EXPECT_EQ(4, m.Div());
  EXPECT_EQ(2.0, m.GetValueAbs(0, 1));
  EXPECT_EQ(0.0, m.GetValueAbs(2, 2));
  Returning::raised = 0;
  const VConvolInt none(3, 1, static_cast<const char*>(nullptr));
  EXPECT_EQ(3, Returning::raised);
}

TEST_F(GeometryConvol, CoordinateChecksNameTheirFunctions) {
  VConvolInt m(3, 5);
  ExpectRaise([&] { m.GetValueRel(2, 0); }, kCoordProc, "x value to large");
  ExpectRaise([&] { m.GetValueRel(-2, 0); }, "void VConvolSimple::TestCoordRel(int x, int y)",
              "x value to small");
  ExpectRaise([&] { m.SetValueRel(0, -3, 1.0); }, kCoordProc, "y value to small");
  ExpectRaise([&] { m(0, 3); }, kCoordProc, "y value to large");
  ExpectRaise([&] { m.GetValueAbs(-1, 0); }, "void VConvolSimple::TestCoordAbs(int x, int y)",
              "x value to small");
  ExpectRaise([&] { m.SetValueAbs(3, 0, 1.0); }, kCoordProc, "x value to large");
  ExpectRaise([&] { m.GetValueAbs(0, 5); }, kCoordProc, "y value to large");

  // A returning handler sees every violation and nothing outside the
  // array is touched.
  ScopedHandler returning(&Returning::Handle);
  Returning::raised = 0;
  m.SetValueAbs(-100, 100, 9.0);
  EXPECT_EQ(2, Returning::raised);
  EXPECT_EQ(0.0, m.GetValueAbs(1000, 1000));
  VConvolInt empty;
  EXPECT_EQ(0.0, empty.GetValueRel(0, 0));
}

TEST_F(GeometryConvol, AddressingMultipliesXByTheWidth) {
  int values[15];
  for (int i = 0; i < 15; ++i) values[i] = i + 1;
  VConvolInt m(3, 5, values);
  EXPECT_EQ(120, m.Div());
  // Absolute (x, y) at x * width + y.
  EXPECT_EQ(values[1 * 3 + 4], m.GetValueAbs(1, 4));
  EXPECT_EQ(values[2 * 3 + 0], m.GetValueAbs(2, 0));
  m(1, -2) = 77;
  EXPECT_EQ(77.0, m.GetValueAbs(2, 0));
  m.SetValueRel(0, 0, -2.9);
  EXPECT_EQ(-2.0, m.GetValueAbs(1, 2));
  // Wider than high: the largest place lies beyond width * height.
  VConvolInt wide(5, 1);
  wide.SetValueAbs(4, 0, 3.0);
  EXPECT_EQ(3.0, wide.GetValueAbs(4, 0));
  EXPECT_EQ(3.0, wide.GetValueRel(2, 0));
}

TEST_F(GeometryConvol, CopiesAreDeepAndResizeKeepsTheCentre) {
  VConvolInt m(3, 3, "1 2 3 4 5 6 7 8 9");
  VConvolInt copy(m);
  m.SetValueRel(0, 0, 50.0);
  EXPECT_EQ(5.0, copy.GetValueRel(0, 0));
  copy = m;
  EXPECT_EQ(50.0, copy.GetValueRel(0, 0));
  EXPECT_EQ(45, copy.Div());

  const VConvolInt grown = m.Resize(5, 7);
  EXPECT_EQ(5, grown.Width());
  EXPECT_EQ(7, grown.Height());
  EXPECT_EQ(0, grown.Div());
  for (int x = -2; x <= 2; ++x) {
    for (int y = -3; y <= 3; ++y) {
      const bool old = x >= -1 && x <= 1 && y >= -1 && y <= 1;
      EXPECT_EQ(old ? m.GetValueRel(x, y) : 0.0, grown.GetValueRel(x, y)) << x << "," << y;
    }
  }
  const VConvolInt shrunk = grown.Resize(1, 3);
  EXPECT_EQ(50.0, shrunk.GetValueRel(0, 0));
  EXPECT_EQ(m.GetValueRel(0, 1), shrunk.GetValueRel(0, 1));
  ExpectRaise([&] { m.Resize(4, 3); }, "void VConvolSimple::TestWH(int width, int height) const",
              "even number for width not allowed");
  EXPECT_STREQ("VConvolGabor", VConvolGabor().ClassName());
}

}  // namespace
