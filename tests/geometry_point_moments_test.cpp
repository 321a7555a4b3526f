// Moments of contour points against direct sums and an independent
// eigen-decomposition, and arbitrary area moments against closed forms of
// rectangles and the area operators.
#include <Eigen/Dense>
#include <cmath>
#include <random>

#include "geometry_test_support.h"

namespace {

using namespace Vexa;
using namespace geometry_test;

class GeometryPointMoments : public GeometryTest {};

TEST_F(GeometryPointMoments, SecondMomentsAndEllipseOfRandomPoints) {
  std::mt19937 random(4);
  std::normal_distribution<double> gauss(0, 1);
  for (int round = 0; round < 20; ++round) {
    // An elongated cloud: stored in single precision, so take the values
    // the contour holds.
    std::vector<double> rows, cols;
    const double angle = round * 0.3 - 3;
    for (int i = 0; i < 50; ++i) {
      const double u = 6 * gauss(random), v = 2 * gauss(random);
      rows.push_back(static_cast<float>(40 - u * std::sin(angle) - v * std::cos(angle)));
      cols.push_back(static_cast<float>(60 + u * std::cos(angle) - v * std::sin(angle)));
    }
    const Vobject c = Contour(rows, cols);
    Eigen::Matrix2d cov = Eigen::Matrix2d::Zero();  // (column, row) covariance
    Eigen::Vector2d mean(0, 0);
    for (int i = 0; i < 50; ++i) mean += Eigen::Vector2d(cols[i], rows[i]) / 50;
    for (int i = 0; i < 50; ++i) {
      const Eigen::Vector2d d = Eigen::Vector2d(cols[i], rows[i]) - mean;
      cov += d * d.transpose() / 50;
    }
    double m11, m20, m02, ra, rb, phi, orientation, anisometry;
    ASSERT_EQ(moments_points_xld(c, &m11, &m20, &m02), VRESULT_OK);
    EXPECT_NEAR(m20, cov(1, 1), 1e-9);
    EXPECT_NEAR(m02, cov(0, 0), 1e-9);
    EXPECT_NEAR(m11, cov(0, 1), 1e-9);
    ASSERT_EQ(elliptic_axis_points_xld(c, &ra, &rb, &phi), VRESULT_OK);
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> eig(cov);
    EXPECT_NEAR(ra, 2 * std::sqrt(eig.eigenvalues()[1]), 1e-9);
    EXPECT_NEAR(rb, 2 * std::sqrt(eig.eigenvalues()[0]), 1e-9);
    // The major axis (dc, dr) has the angle atan2(-dr, dc), up to pi.
    const Eigen::Vector2d axis = eig.eigenvectors().col(1);
    EXPECT_NEAR(std::remainder(phi - std::atan2(-axis[1], axis[0]), kPi), 0, 1e-9);
    EXPECT_GT(phi, -kPi / 2);
    EXPECT_LE(phi, kPi / 2);
    ASSERT_EQ(orientation_points_xld(c, &orientation), VRESULT_OK);
    EXPECT_EQ(orientation, phi);
    ASSERT_EQ(eccentricity_points_xld(c, &anisometry), VRESULT_OK);
    EXPECT_NEAR(anisometry, ra / rb, 1e-9);

    // The arbitrary point moments give the same and the plain sums.
    double n, row, col, m;
    ASSERT_EQ(area_center_points_xld(c, &n, &row, &col), VRESULT_OK);
    ASSERT_EQ(moments_any_points_xld(c, "central", n, row, col, 1, 1, &m), VRESULT_OK);
    EXPECT_NEAR(m, m11, 1e-9);
    ASSERT_EQ(moments_any_points_xld(c, "unnormalized", 0.0, 0.0, 0.0, 1, 0, &m), VRESULT_OK);
    double sum = 0;
    for (double r : rows) sum += r;
    EXPECT_NEAR(m, sum, 1e-9);
    ASSERT_EQ(moments_any_points_xld(c, "normalized", n, 0.0, 0.0, 0, 2, &m), VRESULT_OK);
    sum = 0;
    for (double v : cols) sum += v * v / 50;
    EXPECT_NEAR(m, sum, 1e-7);
  }
}

TEST_F(GeometryPointMoments, AnObjectWithoutPointsGivesZeros) {
  double m11 = 1, m20 = 1, m02 = 1, a = 1;
  ASSERT_EQ(moments_points_xld(Contour({}, {}), &m11, &m20, &m02), VRESULT_OK);
  EXPECT_EQ(m11 + m20 + m02, 0);
  ASSERT_EQ(eccentricity_points_xld(Contour({1, 1}, {2, 2}), &a), VRESULT_OK);  // one place: rb 0
  EXPECT_EQ(a, 0);
}

// Integral of r^p c^q over the rectangle rows r1..r2, columns c1..c2.
double RectangleMoment(double r1, double r2, double c1, double c2, int p, int q) {
  return (std::pow(r2, p + 1) - std::pow(r1, p + 1)) / (p + 1) * (std::pow(c2, q + 1) - std::pow(c1, q + 1)) /
         (q + 1);
}

TEST_F(GeometryPointMoments, AreaMomentsOfRectanglesAndTriangles) {
  // Rows 10..30, columns 20..60, clockwise on the screen ("negative").
  const Vobject box = Contour({10, 10, 30, 30, 10}, {20, 60, 60, 20, 20});
  for (int p = 0; p <= 4; ++p)
    for (int q = 0; q <= 4; ++q) {
      double m = 0;
      ASSERT_EQ(moments_any_xld(box, "unnormalized", "negative", 0.0, 0.0, 0.0, p, q, &m), VRESULT_OK);
      const double want = RectangleMoment(10, 30, 20, 60, p, q);
      EXPECT_NEAR(m, want, 1e-12 * std::fabs(want)) << p << " " << q;
      ASSERT_EQ(moments_any_xld(box, "unnormalized", "positive", 0.0, 0.0, 0.0, p, q, &m), VRESULT_OK);
      EXPECT_NEAR(m, -want, 1e-12 * std::fabs(want));
      // About the centre and per area: the centred rectangle's moments.
      ASSERT_EQ(moments_any_xld(box, "central", "negative", 800.0, 20.0, 40.0, p, q, &m), VRESULT_OK);
      EXPECT_NEAR(m, RectangleMoment(-10, 10, -20, 20, p, q) / 800, 1e-9);
    }
  // A triangle, left open and counter-clockwise: area, centre and central
  // moments agree with the area operators.
  const Vobject tri = Contour({0, 40, 0}, {0, 0, 30});
  double area, row, col, m11, m20, m02, m;
  char order[16];
  ASSERT_EQ(area_center_xld(tri, &area, &row, &col, order), VRESULT_OK);
  ASSERT_EQ(moments_xld(tri, &m11, &m20, &m02), VRESULT_OK);
  ASSERT_EQ(moments_any_xld(tri, "unnormalized", order, 0.0, 0.0, 0.0, 0, 0, &m), VRESULT_OK);
  EXPECT_NEAR(m, area, 1e-9);
  ASSERT_EQ(moments_any_xld(tri, "normalized", order, area, 0.0, 0.0, 1, 0, &m), VRESULT_OK);
  EXPECT_NEAR(m, row, 1e-9);
  ASSERT_EQ(moments_any_xld(tri, "central", order, area, row, col, 1, 1, &m), VRESULT_OK);
  EXPECT_NEAR(m, m11, 1e-9);
  ASSERT_EQ(moments_any_xld(tri, "central", order, area, row, col, 0, 2, &m), VRESULT_OK);
  EXPECT_NEAR(m, m02, 1e-9);
}

TEST_F(GeometryPointMoments, FramesPerObjectOrShared) {
  Vobject two;
  ASSERT_EQ(concat_obj(Contour({0, 2}, {0, 0}), Contour({10, 14}, {0, 0}), &two), VRESULT_OK);
  VTuple m;
  ASSERT_EQ(moments_any_points_xld(two, "central", Tuple({2, 2}), Tuple({1, 12}), 0.0, 2, 0, &m), VRESULT_OK);
  EXPECT_EQ(Values(m), std::vector<double>({1, 4}));
  ASSERT_EQ(moments_any_points_xld(two, "unnormalized", 1.0, 0.0, 0.0, 1, 0, &m), VRESULT_OK);
  EXPECT_EQ(Values(m), std::vector<double>({2, 24}));
  EXPECT_EQ(moments_any_points_xld(two, "central", Tuple({2, 2, 2}), 0.0, 0.0, 2, 0, &m), VERR_CTRL_NUM(1));
}

TEST_F(GeometryPointMoments, BadInputGivesClearCodes) {
  const Vobject c = Contour({0, 1, 2}, {0, 1, 0});
  double m = 0;
  EXPECT_EQ(moments_any_points_xld(c, "raw", 1.0, 0.0, 0.0, 1, 1, &m), VERR_CTRL_VALUE(0));
  EXPECT_EQ(moments_any_points_xld(c, "normalized", 0.0, 0.0, 0.0, 1, 1, &m), VERR_CTRL_VALUE(1));
  EXPECT_EQ(moments_any_points_xld(c, "central", 3.0, 0.0, 0.0, -1, 1, &m), VERR_CTRL_VALUE(4));
  EXPECT_EQ(moments_any_points_xld(c, "central", 3.0, 0.0, 0.0, 10, 7, &m), VERR_CTRL_VALUE(5));
  EXPECT_EQ(moments_any_xld(c, "central", "clockwise", 3.0, 0.0, 0.0, 1, 1, &m), VERR_CTRL_VALUE(1));
  EXPECT_EQ(moments_any_xld(c, "central", "positive", 3.0, NAN, 0.0, 1, 1, &m), VERR_CTRL_VALUE(3));
  Vobject region;
  ASSERT_EQ(gen_circle(&region, 10.0, 10.0, 5.0), VRESULT_OK);
  EXPECT_EQ(moments_any_xld(region, "central", "positive", 3.0, 0.0, 0.0, 1, 1, &m), VERR_OBJ_CLASS(1));
  double a, b;
  EXPECT_EQ(moments_points_xld(region, &m, &a, &b), VERR_OBJ_CLASS(1));
}

}  // namespace
