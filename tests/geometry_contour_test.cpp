// Contours and polygons: read, write and slice indexing with their exact
// failures, growth by appending, the nearest segment and its tie rule,
// the crossing test that never tries the closing segment.
#include <gtest/gtest.h>

#include <string>

#include <vexaobj/VContour.h>
#include <vexaobj/VException.h>
#include <vexaobj/VTuple.h>

#include "frame_test_support.h"

namespace {

using namespace Vexa;

// The message of the failure `fn` raises, "" if none.
template <class Fn>
std::string Failure(Fn fn) {
  frame_test::ScopedThrowingHandler throwing;
  try {
    fn();
  } catch (const VException& e) {
    EXPECT_STREQ(e.file, "VPrimitives");
    return std::string(e.proc) + ": " + e.message;
  }
  return "";
}

VContour2D Square() {
  VContour2D c;
  c.Append(VPoint2D(0, 0)).Append(VPoint2D(4, 0)).Append(VPoint2D(4, 4));
  return c;
}

TEST(ContourTest, ReadOutOfRangeFailsWithTheCountWriteGrows) {
  VContour2D c = Square();
  const VContour2D& cc = c;
  EXPECT_EQ(Failure([&] { cc[3]; }),
            "VPoint2D const &VContour2D::operator[] (Vlong index) const: "
            "Index out of range: 3, range = (0,3)");
  EXPECT_EQ(Failure([&] { c[-1]; }),
            "VPoint2D &VContour2D::operator[] (Vlong index): negative Index: -1");
  c[c.Num()] = VPoint2D(9, 9);
  EXPECT_EQ(c.Num(), 4);
  c[9] = VPoint2D(1, 2);  // far past the end: the gap holds zeros
  EXPECT_EQ(c.Num(), 10);
  EXPECT_EQ(c[5].X(), 0.0);
  EXPECT_EQ(c[9].Y(), 2.0);
}

TEST(ContourTest, SlicesAreInclusiveAndChecked) {
  const VContour2D c = Square();
  const VContour2D one = c(0, 0);
  EXPECT_EQ(one.Num(), 1);
  const VContour2D tail = c(1, 2);
  ASSERT_EQ(tail.Num(), 2);
  EXPECT_EQ(tail[0].X(), 4.0);
  EXPECT_EQ(tail[1].Y(), 4.0);
  const std::string fn = "VContour2D VContour2D::operator()(Vlong min, Vlong max): ";
  EXPECT_EQ(Failure([&] { c(1, 0); }), fn + "'max' < 'min'");
  EXPECT_EQ(Failure([&] { c(-1, 1); }), fn + "negative Value for Parameter 'min'");
  EXPECT_EQ(Failure([&] { c(0, 3); }), fn + "Parameter 'max' exceeds number of elements");
  const VPolygonArray2D polys(nullptr, 0);
  EXPECT_EQ(Failure([&] { polys(0, 0); }),
            "VPolygonArray2D VPolygonArray2D::operator()(Vlong min, Vlong max): "
            "Parameter 'max' exceeds number of elements");
}

TEST(ContourTest, TuplesGiveTheColumnsCountAndCopiesAreDeep) {
  const VContour2D c(VTuple(1.0).Append(2.0).Append(3.0), VTuple(10.0).Append(20.0));
  ASSERT_EQ(c.Num(), 2);
  EXPECT_EQ(c[1].Y(), 2.0);
  EXPECT_EQ(c[1].X(), 20.0);
  VContour2D copy(c);
  copy[0] = VPoint2D(-1, -1);
  EXPECT_EQ(c[0].X(), 10.0);
  VContour2D both = c;
  both.Append(c);
  EXPECT_EQ(both.Num(), 4);
  EXPECT_STREQ(VPolygon3D().ClassName(), "VPolygon3D");
  EXPECT_EQ(VPolygon2D(c).Num(), 2);
}

TEST(ContourTest, LengthDistanceAndTheLowestIndexOnTies) {
  const VContour2D c = Square();
  EXPECT_DOUBLE_EQ(c.Length(), 8.0);
  Vlong index = -1;
  // (2, 2) is 2 from both segments: the first wins.
  EXPECT_DOUBLE_EQ(c.Distance(VPoint2D(2, 2), index), 2.0);
  EXPECT_EQ(index, 0);
  EXPECT_DOUBLE_EQ(c.Distance(VPoint2D(6, 3), index), 2.0);
  EXPECT_EQ(index, 1);
  const VPoint2D closest = c.ClosestPoint(VPoint2D(6, 3), index);
  EXPECT_EQ(closest.X(), 4.0);
  EXPECT_EQ(closest.Y(), 3.0);
  VContour2D single;
  single.Append(VPoint2D(1, 1));
  EXPECT_EQ(single.Distance(VPoint2D(0, 0), index), 3.4028234663852886e+38);
  EXPECT_EQ(index, 0);
  VContour3D spatial;
  spatial.Append(VPoint3D(0, 0, 0)).Append(VPoint3D(0, 0, 10));
  EXPECT_DOUBLE_EQ(spatial.Length(), 10.0);
  EXPECT_DOUBLE_EQ(spatial.Distance(VPoint3D(3, 4, 5), index), 5.0);
}

TEST(PolygonTest, TheClosingSegmentIsNeverTried) {
  VPolygon2D p;
  p.Append(VPoint2D(0, 0)).Append(VPoint2D(10, 0)).Append(VPoint2D(10, 10));
  EXPECT_EQ(p.IsClosed(), 0);
  // Crosses only the gap from (10, 10) back to (0, 0).
  const VLine2D gap(VPoint2D(2, 5), VPoint2D(5, 2));
  EXPECT_EQ(p.Intersects(gap), 0);
  const VLine2D cut(VPoint2D(5, -5), VPoint2D(5, 5));
  EXPECT_EQ(p.Intersects(cut), 1);
  VPolygonArray2D arr;
  arr.Append(VPolygon2D()).Append(p);
  EXPECT_EQ(arr.Intersects(cut), 1);
  EXPECT_EQ(arr.Intersects(gap), 0);
}

}  // namespace
