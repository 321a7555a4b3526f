// Points, vectors and numeric values: the rounding, truncation and
// wrap-around rules and the deliberate asymmetries of the value classes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>

#include <vexaobj/VPrimitives.h>

#include "control_test_support.h"

using namespace Vexa;
using control_test::ExpectRaise;
using control_test::Returning;
using control_test::ScopedHandler;

namespace {

class GeometryPoints : public control_test::ThrowingTest {};

double Single(double v) { return static_cast<float>(v); }

TEST_F(GeometryPoints, ValueConstructorsRoundToSinglePrecisionInPlaceOperatorsDoNot) {
  VPoint2D p(0.1, 0.2);
  EXPECT_EQ(Single(0.1), p.X());
  EXPECT_NE(0.1, p.X());
  VPoint2D q;
  q.X() = 0.1;
  EXPECT_EQ(0.1, q.X());

  // a + b rounds each coordinate, a += b keeps double precision.
  VPoint2D a, b;
  a.X() = 1.0;
  b.X() = 1e-10;
  EXPECT_EQ(1.0, (a + b).X());
  a += b;
  EXPECT_EQ(1.0 + 1e-10, a.X());
  VVector3D v(1.0, 2.0, 3.0);
  VVector3D w;
  w.Z() = 1e-10;
  EXPECT_EQ(3.0, (v - w).Z());
  EXPECT_EQ(Single(-0.1), (-VPoint3D(0.1, 0, 0)).X());
}

TEST_F(GeometryPoints, ConversionsTruncateAndVectorToPointDropsZ) {
  EXPECT_EQ(VDPoint3D(1, 2, 0), VDPoint3D(VDVector3D(1, 2, 3)));
  VDPoint2D d = VPoint2D(-1.7, 2.9);
  EXPECT_EQ(VDPoint2D(-1, 2), d);
  VDVector3D dv = VVector3D(0.5, -0.5, 7.9);
  EXPECT_EQ(VDVector3D(0, 0, 7), dv);
  VDPoint2D huge = VPoint2D(1e20, std::nan(""));
  EXPECT_EQ(INT32_MIN, huge.X());
  EXPECT_EQ(INT32_MIN, huge.Y());
}

TEST_F(GeometryPoints, InsideOrderAndIncrement) {
  const VDPoint2D p(1, 1);
  EXPECT_FALSE(p.Inside(VDPoint2D(0, 0), VDPoint2D(5, 5)));
  EXPECT_TRUE(p.Inside(VDPoint2D(5, 5), VDPoint2D(0, 0)));
  EXPECT_TRUE(VPoint2D(1, 1).Inside(VPoint2D(5, 5), VPoint2D(0, 0)));
  EXPECT_TRUE(VDPoint2D(3, 1) <= VDPoint2D(0, 2));
  EXPECT_FALSE(VDPoint2D(3, 2) <= VDPoint2D(0, 2));
  EXPECT_TRUE(VPoint2D(0, 2) <= VPoint2D(0, 2));
  VDPoint2D i(INT32_MAX, 4);
  const VDPoint2D copy = ++i;
  EXPECT_EQ(VDPoint2D(INT32_MIN, 4), copy);
  EXPECT_EQ(copy, i);
}

TEST_F(GeometryPoints, MixedDimensionComparisonIsAsymmetric) {
  const VPoint2D p2(1, 2);
  const VPoint3D p3(1, 2, 9);
  EXPECT_TRUE(p2 == static_cast<const VPoint&>(p3));
  EXPECT_FALSE(p3 == static_cast<const VPoint&>(p2));
  EXPECT_TRUE(VDPoint2D(1, 2) == static_cast<const VDPoint&>(VDPoint3D(1, 2, 5)));
  EXPECT_TRUE(VDPoint3D(1, 2, 0) == static_cast<const VDPoint&>(VDPoint2D(1, 2)));
  EXPECT_TRUE(VVector2D(1, 2) != static_cast<const VVector&>(VVector2D(1, 3)));
}

TEST_F(GeometryPoints, DistanceUsesTheOthersZAndWrapsIn32Bits) {
  EXPECT_EQ(13.0, VDPoint2D(3, 4).Distance(VDPoint3D(0, 0, 12)));
  EXPECT_EQ(13.0, VPoint2D(3, 4).Distance(VPoint3D(0, 0, 12)));
  EXPECT_EQ(13.0, VPoint3D(3, 4, 1).Distance(VPoint3D(0, 0, 13)));
  // INT32_MIN - 1 wraps to INT32_MAX.
  EXPECT_EQ(static_cast<double>(INT32_MAX),
            VDPoint2D(1, 0).Distance(VDPoint2D(INT32_MIN, 0)));
  EXPECT_EQ(5.0, VDVector2D(3, 4).Length());
  EXPECT_NEAR(std::sqrt(3.0) * 2e9, VDVector3D(2000000000, 2000000000, 2000000000).Length(), 1.0);
}

TEST_F(GeometryPoints, DotProductWrapsLikeThirtyTwoBitArithmetic) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> any(INT32_MIN, INT32_MAX);
  for (int round = 0; round < 500; ++round) {
    const VDVector3D a(any(random), any(random), any(random));
    const VDVector3D b(any(random), any(random), any(random));
    uint32_t sum = 0;
    for (int i = 0; i < 3; ++i)
      sum += static_cast<uint32_t>(a[i]) * static_cast<uint32_t>(b[i]);
    const VDVector& base = a;
    EXPECT_EQ(static_cast<Vlong>(static_cast<int32_t>(sum)), base * b);
  }
  // A 2D real vector ignores the z of a 3D operand; 3D against 2D gets z*0.
  const VVector2D v2(1, 2);
  const VVector3D v3(3, 4, 5);
  EXPECT_EQ(11.0, v2 * v3);
  EXPECT_EQ(11.0, static_cast<const VVector&>(v3) * v2);
}

TEST_F(GeometryPoints, CrossProductTruncatesEveryCoordinate) {
  EXPECT_EQ(VVector3D(0, 0, 0), VVector3D(0.9, 0.0, 0.0).CrossProduct(VVector3D(0.0, 0.9, 0.0)));
  EXPECT_EQ(VVector3D(0, 0, 1), VVector3D(1.9, 0.0, 0.0).CrossProduct(VVector3D(0.0, 1.5, 0.0)));
  EXPECT_EQ(VVector3D(-3, 6, -3), VVector3D(1, 2, 3).CrossProduct(VVector3D(4, 5, 6)));
}

TEST_F(GeometryPoints, IndexAndMissingZFailures) {
  EXPECT_EQ(0, VDVector2D(1, 2)[5]);
  EXPECT_EQ(0.0, VPoint3D(1, 2, 3)[3]);
  EXPECT_EQ(3, VDPoint3D(1, 2, 3)[2]);
  ExpectRaise([] { (void)VDPoint2D(1, 2)[5]; },
              "VDCoord VDPoint2D::operator [] (int i) const", "index out of range");
  ExpectRaise([] { (void)VDPoint3D(1, 2, 3)[-1]; },
              "VDCoord VDPoint3D::operator [] (int i) const", "index out of range");
  ExpectRaise([] { VDVector2D v; v.Z(); }, "VDCoord &Z(void)", "illegal access");
  ExpectRaise([] { VVector2D v; v.Z(); }, "VCoord &Z(void)", "illegal access");

  // A returning handler gets the neutral value: 0, or the reference to x.
  ScopedHandler returning(&Returning::Handle);
  EXPECT_EQ(0, VDPoint2D(1, 2)[2]);
  VPoint2D p(4, 5);
  EXPECT_EQ(&p.X(), &p.Z());
  EXPECT_EQ(0.0, static_cast<const VPoint2D&>(p).Z());
}

TEST_F(GeometryPoints, ClassNamesAndPointCount) {
  EXPECT_STREQ("VDPoint3D", VDPoint3D().ClassName());
  EXPECT_STREQ("VVector2D", VVector2D().ClassName());
  EXPECT_EQ(1, VDVector3D().NumPoints());
}

TEST_F(GeometryPoints, AnglesConvertWithTheSameFormulaBothWays) {
  const VAngleRad rad = VAngleDeg(180.0);
  EXPECT_EQ(3.141592653589793, double(rad));
  const VAngleDeg deg = VAngleRad(3.141592653589793);
  EXPECT_EQ(3.141592653589793 / 180.0 * 3.141592653589793, double(deg));
  // Add mixes units without conversion.
  EXPECT_EQ(91.0, VAngleDeg(90.0).Add(VAngleRad(1.0)));
  EXPECT_EQ(720.0, VAngleDeg(720.0).operator double());
  EXPECT_STREQ("VAngleRad", rad.ClassName());
}

TEST_F(GeometryPoints, ComplexAbsoluteValueForms) {
  const VComplex c(3.0, 4.0);
  EXPECT_EQ(5, static_cast<int>(c));
  EXPECT_EQ(5, static_cast<unsigned char>(c));
  EXPECT_EQ(255, static_cast<unsigned char>(VComplex(300.0, 0.0)));
  EXPECT_EQ(255, static_cast<unsigned char>(VComplex(254.6, 0.0)));
  EXPECT_EQ(254, static_cast<unsigned char>(VComplex(254.4, 0.0)));
  EXPECT_EQ(Vlong{6}, static_cast<Vlong>(VComplex(0.0, -6.9)));
}

}  // namespace
