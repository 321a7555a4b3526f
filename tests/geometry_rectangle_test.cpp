// Rectangles: empty-state failures, set logic and order, inclusion against
// a plain closed-bounds reference, line clipping, distances and the rules
// of Transform.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>

#include "control_test_support.h"

using namespace Vexa;
using control_test::ExpectRaise;
using control_test::Returning;
using control_test::ScopedHandler;

namespace {

constexpr double kPi = 3.141592653589793;

class GeometryRectangle : public control_test::ThrowingTest {};

VRectangle1 Box(double x1, double y1, double x2, double y2) {
  return VRectangle1(VPoint2D(x1, y1), VPoint2D(x2, y2));
}

VLine2D Segment(double x1, double y1, double x2, double y2) {
  return VLine2D(VPoint2D(x1, y1), VPoint2D(x2, y2));
}

// x' = x + factor*y: the axes meet at more than a right angle for a
// negative factor, at less for a positive one.
struct Shear : VAffineTrans2D {
  explicit Shear(double factor) { matrix[1] = factor; }
};

// Corners of a possibly empty rectangle, read past the failures.
std::pair<VPoint2D, VPoint2D> CornersOf(const VRectangle1& r) {
  ScopedHandler returning(&Returning::Handle);
  return {r.UpperLeft(), r.LowerRight()};
}

TEST_F(GeometryRectangle, EmptyRectanglesRefuseCopiesAndMeasures) {
  VRectangle1 a;
  ExpectRaise([&] { VRectangle1 b(a); }, "VRectangle1::UpperLeft(void)", "empty rectangle\n");
  ExpectRaise([&] { a.Width(); }, "VRectangle1::Width(void)", "empty rectangle\n");
  ExpectRaise([&] { a.Center(); }, "VRectangle1::Center(void)", "empty rectangle\n");
  ExpectRaise([&] { a.Distance(VPoint2D()); },
              "VRectangle1::Distance(const VPoint2D &point)", "empty rectangle\n");
  ExpectRaise([&] { VRectangle2 r; VRectangle2 s(r); }, "VRectangle2::Center(void)",
              "empty rectangle\n");
  ExpectRaise([&] { VRectangle2().Point3(); }, "VRectangle2::Point3(void)", "empty rectangle\n");
  EXPECT_EQ(0.0, a.Area());

  // If the handler returns, the copy goes on past both checks.
  ScopedHandler returning(&Returning::Handle);
  Returning::raised = 0;
  VRectangle1 b(a);
  EXPECT_EQ(2, Returning::raised);
  EXPECT_EQ("VRectangle1::LowerRight(void)", Returning::proc);
  EXPECT_TRUE(b.IsEmpty());
}

TEST_F(GeometryRectangle, MeasuresCountPixelsButAreaDoesNot) {
  const VRectangle1 point = Box(2, 3, 2, 3);
  EXPECT_FALSE(point.IsEmpty());
  EXPECT_EQ(1.0, point.Width());
  EXPECT_EQ(1.0, point.Height());
  EXPECT_EQ(0.0, point.Area());
  EXPECT_EQ(VPoint2D(2.5, 5), Box(1, 2, 4, 8).Center());
  // The centre is a single-precision computation.
  EXPECT_EQ(static_cast<double>(static_cast<float>(0.1) * 0.5f),
            Box(0, 0, 0.1, 0.1).Center().X());
}

TEST_F(GeometryRectangle, IntersectionOfDisjointKeepsCrossedCorners) {
  const VRectangle1 cut = Box(0, 0, 4, 4) & Box(5, 5, 9, 9);
  EXPECT_TRUE(cut.IsEmpty());
  const auto corners = CornersOf(cut);
  EXPECT_EQ(VPoint2D(5, 5), corners.first);
  EXPECT_EQ(VPoint2D(4, 4), corners.second);
  EXPECT_TRUE(Box(0, 0, 4, 4).Overlaps(Box(4, 4, 9, 9)));
  EXPECT_FALSE(Box(0, 0, 4, 4).Overlaps(VRectangle1()));
  EXPECT_TRUE(Box(0, 0, 1, 1).VMax(Box(5, 6, 7, 9)) == Box(0, 0, 7, 9));
  EXPECT_TRUE(VRectangle1().VMax(Box(5, 6, 7, 9)) == Box(5, 6, 7, 9));
}

TEST_F(GeometryRectangle, OrderIsInclusionWithEmptyBelowAll) {
  const VRectangle1 none, other;
  const VRectangle1 a = Box(0, 0, 10, 10), inner = Box(1, 1, 9, 9), edge = Box(0, 1, 9, 9);
  EXPECT_TRUE(none < a);
  EXPECT_TRUE(none == other);
  EXPECT_TRUE(none <= other && none >= other);
  EXPECT_FALSE(none < other || none > other);
  EXPECT_FALSE(a < a);
  EXPECT_TRUE(a <= a && a >= a);
  EXPECT_TRUE(inner < a && a > inner);
  EXPECT_FALSE(edge < a);
  EXPECT_TRUE(edge <= a);
  EXPECT_TRUE(a != none);
}

TEST_F(GeometryRectangle, OverlapAndInclusionMatchClosedBounds) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> coord(-20, 20);
  for (int round = 0; round < 2000; ++round) {
    const int x1 = coord(random), y1 = coord(random), x2 = coord(random), y2 = coord(random);
    const int px = coord(random), py = coord(random);
    const VRectangle1 r = Box(x1, y1, x2, y2);
    const bool empty = x1 > x2 || y1 > y2;
    ASSERT_EQ(empty, r.IsEmpty() != 0);
    const bool inside = !empty && x1 <= px && px <= x2 && y1 <= py && py <= y2;
    EXPECT_EQ(inside, r.Includes(VPoint2D(px, py)) != 0);
    const int u1 = coord(random), v1 = coord(random), u2 = u1 + 3, v2 = v1 + 2;
    const bool overlap = !empty && x1 <= u2 && u1 <= x2 && y1 <= v2 && v1 <= y2;
    EXPECT_EQ(overlap, r.Overlaps(Box(u1, v1, u2, v2)) != 0);
  }
}

TEST_F(GeometryRectangle, DistanceFromInsideIsToTheNearestEdge) {
  const VRectangle1 r = Box(0, 0, 10, 10);
  EXPECT_EQ(5.0, r.Distance(VPoint2D(5, 5)));
  EXPECT_EQ(1.0, r.Distance(VPoint2D(9, 5)));
  EXPECT_EQ(5.0, r.Distance(VPoint2D(13, 14)));
  EXPECT_EQ(0.0, r.CenterDistance(VPoint2D(5, 5)));
  EXPECT_EQ(2.0, r.Distance(VLine2D(VPoint2D(-2, 3), VPoint2D(-2, 7))));
  EXPECT_EQ(0.0, r.Distance(VLine2D(VPoint2D(-2, 3), VPoint2D(2, 3))));
  EXPECT_EQ(5.0, r.CenterDistance(VLine2D(VPoint2D(0, 0), VPoint2D(0, 10))));
}

TEST_F(GeometryRectangle, LineClippingStepsAndAsymmetries) {
  const VRectangle1 r = Box(0, 0, 10, 10);
  VLine2D out(VPoint2D(-1, -1), VPoint2D(-1, -1));
  // Inside: the line as it is.
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(8, 2), VPoint2D(1, 3)), out));
  EXPECT_EQ(VPoint2D(8, 2), out.Start());
  // Vertical, upward: clipped and turned to ascending y.
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(4, 15), VPoint2D(4, -5)), out));
  EXPECT_EQ(VPoint2D(4, 0), out.Start());
  EXPECT_EQ(VPoint2D(4, 10), out.End());
  // Touching only the lower edge gives nothing, only the upper edge a point.
  EXPECT_FALSE(r.Intersection(VLine2D(VPoint2D(4, 10), VPoint2D(4, 20)), out));
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(4, -10), VPoint2D(4, 0)), out));
  EXPECT_EQ(out.Start(), out.End());
  // Horizontal outside, and a point outside.
  EXPECT_FALSE(r.Intersection(VLine2D(VPoint2D(-5, 11), VPoint2D(5, 11)), out));
  EXPECT_FALSE(r.Intersection(VLine2D(VPoint2D(-5, 1), VPoint2D(-5, 1)), out));
  // General: a diagonal through two corners' edges.
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(15, 10), VPoint2D(-5, 0)), out));
  EXPECT_EQ(VPoint2D(0, 2.5), out.Start());
  EXPECT_EQ(VPoint2D(10, 7.5), out.End());
  // General, ending inside.
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(-2, 1), VPoint2D(4, 4)), out));
  EXPECT_EQ(VPoint2D(0, 2), out.Start());
  EXPECT_EQ(VPoint2D(4, 4), out.End());
  // General, missing.
  EXPECT_FALSE(r.Intersection(VLine2D(VPoint2D(20, 0), VPoint2D(30, 5)), out));
  EXPECT_FALSE(VRectangle1().Intersection(VLine2D(VPoint2D(1, 1), VPoint2D(2, 2)), out));
}

TEST_F(GeometryRectangle, TransformAcceptsOnlyQuarterTurns) {
  VAffineTrans2D quarter;
  quarter.Rotate(kPi / 2);
  VRectangle1 r = Box(1, 2, 5, 3);
  r.Transform(quarter);
  const auto corners = CornersOf(r);
  EXPECT_NEAR(-3.0, corners.first.X(), 1e-12);
  EXPECT_NEAR(1.0, corners.first.Y(), 1e-12);
  EXPECT_NEAR(-2.0, corners.second.X(), 1e-12);
  EXPECT_NEAR(5.0, corners.second.Y(), 1e-12);

  VAffineTrans2D half;
  half.Rotate(kPi);
  VRectangle1 h = Box(1, 2, 5, 3);
  h.Transform(half);
  EXPECT_NEAR(-5.0, CornersOf(h).first.X(), 1e-12);
  EXPECT_NEAR(-3.0, CornersOf(h).first.Y(), 1e-12);

  const char* proc = "VRectangle1::Transform(const VAffineTrans &transform)";
  VAffineTrans2D eighth;
  eighth.Rotate(kPi / 4);
  ExpectRaise([&] { Box(0, 0, 1, 1).Transform(eighth); }, proc,
              "invalid affine transformation: rotation not n*(pi/2)\n");
  ExpectRaise([&] { Box(0, 0, 1, 1).Transform(Shear(-0.5)); }, proc,
              "invalid affine transformation: slant\n");
  // The slant test is one-sided: an acute angle between the axes passes it
  // and only the rotation test refuses it.
  ExpectRaise([&] { Box(0, 0, 1, 1).Transform(Shear(0.5)); }, proc,
              "invalid affine transformation: rotation not n*(pi/2)\n");
  ExpectRaise([&] { VRectangle1().Transform(quarter); }, proc, "empty rectangle\n");
}

TEST_F(GeometryRectangle, RotatedCornersAndInclusion) {
  const VRectangle2 r(VPoint2D(10, 20), 4, 2, kPi / 2);
  // ra along +y, rb along -x.
  EXPECT_NEAR(12.0, r.Point1().X(), 1e-5);
  EXPECT_NEAR(16.0, r.Point1().Y(), 1e-5);
  EXPECT_NEAR(8.0, r.Point3().X(), 1e-5);
  EXPECT_NEAR(24.0, r.Point3().Y(), 1e-5);
  std::mt19937 random(5);
  std::uniform_real_distribution<double> coord(-10, 30);
  const double c = std::cos(0.7), s = std::sin(0.7);
  const VRectangle2 tilted(VPoint2D(10, 10), 6, 3, 0.7);
  for (int round = 0; round < 2000; ++round) {
    const VPoint2D p(coord(random), coord(random));
    const double u = (p.X() - 10) * c + (p.Y() - 10) * s;
    const double v = -(p.X() - 10) * s + (p.Y() - 10) * c;
    EXPECT_EQ(std::fabs(u) <= 6 && std::fabs(v) <= 3, tilted.Includes(p) != 0);
  }
  EXPECT_EQ(0, VRectangle2().Includes(VRectangle2()));
  EXPECT_TRUE(tilted.Includes(VRectangle2(VPoint2D(10, 10), 3, 1, 0.7)));
  EXPECT_FALSE(tilted.Includes(VRectangle2(VPoint2D(10, 10), 7, 1, 0.7)));
}

TEST_F(GeometryRectangle, PlusShapedRectanglesDoNotOverlap) {
  const VRectangle2 across(VPoint2D(0, 0), 10, 1, 0.0);
  const VRectangle2 down(VPoint2D(0, 0), 1, 10, 0.0);
  EXPECT_FALSE(across.Overlaps(down));
  EXPECT_TRUE(across.Overlaps(VRectangle2(VPoint2D(10, 0), 1, 1, 0.3)));
  EXPECT_FALSE(VRectangle2().Overlaps(VRectangle2()));
  ExpectRaise([&] { across.Overlaps(VRectangle2()); }, "VRectangle2::Point1(void)",
              "empty rectangle\n");
}

TEST_F(GeometryRectangle, RotatedClippingDistanceAndTransform) {
  const VRectangle2 r(VPoint2D(0, 0), 5, 2, kPi / 2);  // 4 wide, 10 high
  VLine2D out = Segment(0, 0, 0, 0);
  ASSERT_TRUE(r.Intersection(VLine2D(VPoint2D(-10, 1), VPoint2D(10, 1)), out));
  EXPECT_NEAR(2.0, std::fabs(out.Start().X()), 1e-5);
  EXPECT_NEAR(-out.Start().X(), out.End().X(), 1e-5);
  EXPECT_NEAR(1.0, out.End().Y(), 1e-5);
  EXPECT_FALSE(r.Intersection(VLine2D(VPoint2D(-10, 6), VPoint2D(10, 6)), out));
  EXPECT_NEAR(3.0, r.Distance(VPoint2D(5, 0)), 1e-5);
  EXPECT_NEAR(2.0, r.Distance(VPoint2D(0, 0)), 1e-5);
  EXPECT_EQ(5.0, r.CenterDistance(VPoint2D(3, 4)));

  VAffineTrans2D t;
  t.Rotate(0.3);
  t.Translate(VVector2D(7, -1));
  VRectangle2 moved(VPoint2D(0, 0), 5, 2, 0.0);
  moved.Transform(t);
  EXPECT_NEAR(0.3, moved.Phi(), 1e-6);
  EXPECT_NEAR(5.0, moved.Ra(), 1e-5);
  EXPECT_NEAR(2.0, moved.Rb(), 1e-5);
  EXPECT_NEAR(7.0, moved.Center().X(), 1e-5);
  ExpectRaise([&] { VRectangle2(VPoint2D(), 5, 2, 0.0).Transform(Shear(-0.5)); },
              "VRectangle2::Transform(const VAffineTrans &transform)",
              "invalid affine transformation: slant\n");
}

}  // namespace
