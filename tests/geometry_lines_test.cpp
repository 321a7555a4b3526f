// Lines, affine transformations and ellipses: closed crossing intervals,
// the no-intersection point, the unbounded 3D distance with its integer
// cross product, composition order of transformations and integer
// rounding, and the transformation-proof ellipse.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <vexaobj/VPrimitives.h>

#include "control_test_support.h"

using namespace Vexa;
using control_test::ExpectRaise;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kNone = 3.4028234663852886e+38;

class GeometryLines : public control_test::ThrowingTest {};

VLine2D Segment(double x1, double y1, double x2, double y2) {
  return VLine2D(VPoint2D(x1, y1), VPoint2D(x2, y2));
}

TEST_F(GeometryLines, CrossingUsesClosedIntervalsAndASentinel) {
  EXPECT_EQ(VPoint2D(2, 2), Segment(0, 0, 2, 2).Intersection(Segment(2, 2, 5, 0)));
  EXPECT_EQ(VPoint2D(1, 1), Segment(0, 0, 2, 2).Intersection(Segment(0, 2, 2, 0)));
  const VPoint2D none = Segment(0, 0, 1, 0).Intersection(Segment(0, 1, 1, 1));
  EXPECT_EQ(kNone, none.X());
  EXPECT_EQ(kNone, none.Y());
  EXPECT_EQ(kNone, Segment(0, 0, 1, 1).Intersection(Segment(3, 0, 2, 1)).X());
  // Collinear overlapping segments never intersect.
  EXPECT_EQ(kNone, Segment(0, 0, 4, 0).Intersection(Segment(1, 0, 3, 0)).X());
}

TEST_F(GeometryLines, SegmentDistancesAgainstBruteForce) {
  EXPECT_EQ(0.0, Segment(0, 0, 2, 2).Distance(Segment(0, 2, 2, 0)));
  EXPECT_EQ(3.0, Segment(0, 0, 4, 0).Distance(Segment(1, 3, 9, 3)));
  std::mt19937 random(3);
  std::uniform_int_distribution<int> coord(-8, 8);
  for (int round = 0; round < 300; ++round) {
    const VLine2D line = Segment(coord(random), coord(random), coord(random), coord(random));
    const VPoint2D p(coord(random), coord(random));
    // The distance to the nearest of many samples along the segment bounds
    // the exact distance from above, and closely.
    double best = 1e300;
    for (int i = 0; i <= 2000; ++i) {
      const double t = i / 2000.0;
      const double x = line.Start().X() + t * (line.End().X() - line.Start().X());
      const double y = line.Start().Y() + t * (line.End().Y() - line.Start().Y());
      best = std::min(best, std::hypot(x - p.X(), y - p.Y()));
    }
    const double d = line.Distance(static_cast<const VPoint&>(p));
    EXPECT_LE(d, best + 1e-5);
    EXPECT_GE(d, best - 0.02);
  }
}

TEST_F(GeometryLines, PointQueriesAndIndexing) {
  VLine2D line = Segment(1, 1, 5, 1);
  EXPECT_EQ(&line.End(), &line[7]);
  EXPECT_EQ(&line.Start(), &line[0]);
  EXPECT_EQ(VPoint2D(3, 3), Segment(3, 3, 3, 3).ClosestPoint(VPoint2D(9, 9)));
  EXPECT_EQ(VPoint2D(5, 1), line.ClosestPoint(VPoint2D(9, 9)));
  EXPECT_EQ(VPoint2D(9, 1), line.PerpLinePoint(VPoint2D(9, 9)));
  EXPECT_EQ(0.5, line.Parameter(VPoint2D(3, 40)));
  EXPECT_EQ(0.25, Segment(0, 0, 0, 4).Parameter(VPoint2D(7, 1)));
  EXPECT_EQ(0.0, line.Direction());
  EXPECT_DOUBLE_EQ(3 * kPi / 2, Segment(0, 0, 0, 1).Direction());
  EXPECT_DOUBLE_EQ(kPi / 2, Segment(0, 0, 0, -1).Direction());
  EXPECT_EQ(4.0, line.Length());
  // The z of a 3D point counts in full.
  EXPECT_EQ(5.0, line.Distance(VPoint3D(3, 4, 4)));
}

TEST_F(GeometryLines, ThreeDimensionalDistanceIsToTheUnboundedLine) {
  const VLine3D axis(VPoint3D(0, 0, 0), VPoint3D(2, 0, 0));
  EXPECT_EQ(3.0, axis.Distance(VPoint3D(10, 3, 0)));
  EXPECT_EQ(VPoint3D(2, 0, 0), axis.ClosestPoint(VPoint3D(10, 3, 0)));
  // The cross product truncates: 0.5 off the axis is no distance at all.
  EXPECT_EQ(0.0, axis.Distance(VPoint3D(1, 0.5, 0)));
  const VLine3D skew(VPoint3D(0, 0, 4), VPoint3D(0, 3, 4));
  EXPECT_EQ(4.0, axis.Distance(skew));
  const VLine3D parallel(VPoint3D(7, 0, 2), VPoint3D(9, 0, 2));
  EXPECT_EQ(2.0, axis.Distance(parallel));
  EXPECT_EQ(5.0, VLine3D(VPoint3D(0, 0, 0), VPoint3D(0, 3, 4)).Length());
}

TEST_F(GeometryLines, TransformationsComposeAfterWhatTheyHold) {
  VAffineTrans2D t;
  t.Translate(VVector2D(1, 2));
  t.Rotate(kPi / 2);
  VPoint2D origin;
  origin.Transform(t);
  EXPECT_NEAR(-2.0, origin.X(), 1e-12);
  EXPECT_NEAR(1.0, origin.Y(), 1e-12);

  VAffineTrans2D shift;
  shift.Translate(VVector2D(0.4, 0.0));
  VDPoint2D d(-1, 0);
  d.Transform(shift);
  EXPECT_EQ(VDPoint2D(0, 0), d);
  VDPoint2D e(1, 3);
  e.Transform(shift);
  EXPECT_EQ(VDPoint2D(1, 3), e);
  VVector2D v(1, 1);
  v.Transform(shift);
  EXPECT_EQ(1.0 + static_cast<float>(0.4), v.X());
  VDVector3D keep_z(1, 1, 9);
  shift.Transform(keep_z);
  EXPECT_EQ(VDVector3D(1, 1, 9), keep_z);

  VAffineTrans2D scale;
  scale.Translate(VVector2D(1, 1));
  scale.Scale(VVector2D(2, 3));
  VPoint2D p(1, 1);
  p.Transform(scale);
  EXPECT_EQ(VPoint2D(4, 6), p);
  VPoint2D q(0.1, 0.2);
  VAffineTrans2D().Transform(q);
  EXPECT_EQ(VPoint2D(0.1, 0.2), q);
}

TEST_F(GeometryLines, ThreeDimensionalRotationsShareOneSignPattern) {
  VAffineTrans3D y;
  y.RotateY(kPi / 2);
  VPoint3D p(1, 0, 0);
  p.Transform(y);
  // new row 2 = sin*row 0 + cos*row 2: x turns toward +z.
  EXPECT_NEAR(1.0, p.Z(), 1e-12);
  VAffineTrans3D x;
  x.RotateX(kPi / 2);
  VPoint3D q(0, 1, 0);
  q.Transform(x);
  EXPECT_NEAR(1.0, q.Z(), 1e-12);
  VAffineTrans3D z;
  z.Rotate(kPi / 2);
  z.Translate(VVector3D(0, 0, 5));
  VPoint3D r(1, 0, 0);
  r.Transform(z);
  EXPECT_NEAR(1.0, r.Y(), 1e-12);
  EXPECT_EQ(5.0, r.Z());
  VPoint2D flat(1, 2);
  ExpectRaise([&] { flat.Transform(z); }, "VCoord &Z(void)", "illegal access");
}

TEST_F(GeometryLines, EllipsesAndCirclesStayPut) {
  const VCircle c(VPoint2D(3, 4), 5.0);
  EXPECT_EQ(5.0, c.Ra());
  EXPECT_EQ(5.0, c.Rb());
  EXPECT_EQ(0.0, c.Phi());
  EXPECT_EQ(5.0, c.Radius());
  VAffineTrans2D t;
  t.Translate(VVector2D(10, 10));
  t.Rotate(1.0);
  VEllipse e(VPoint2D(1, 2), 3, 4, 0.5);
  e.Transform(t);
  EXPECT_EQ(VPoint2D(1, 2), e.Center());
  EXPECT_EQ(0.5, e.Phi());
  EXPECT_STREQ("VCircle", c.ClassName());
}

}  // namespace
