// Projection through the camera model against closed forms and round
// trips: the principal point, the pinhole formula, the division model
// against a numerical inversion, pixels through lines of sight back to
// the same pixels for both models, points of a world plane, and points
// the lens model cannot reach.
#include <cmath>
#include <random>

#include "camera_test_support.h"

namespace {

using namespace camera_test;
using namespace math_test;
using namespace Vexa;

class CameraProjectionTest : public LeakCheckedTest {};

// Pixel of a camera-frame point by the operator.
Eigen::Vector2d Pixel(const VTuple& cam, const Eigen::Vector3d& p) {
  VTuple row, col;
  EXPECT_EQ(project_3d_point(p.x(), p.y(), p.z(), cam, &row, &col), VRESULT_OK);
  return Eigen::Vector2d(row[0].D(), col[0].D());
}

TEST_F(CameraProjectionTest, OpticalAxisMeetsThePrincipalPoint) {
  for (const VTuple& cam : {DivisionCam(0.0), DivisionCam(-3000.0), PolynomialCam()}) {
    const Eigen::Vector2d px = Pixel(cam, Eigen::Vector3d(0, 0, 2.5));
    EXPECT_NEAR(px[0], 236.25, 1e-12);
    EXPECT_NEAR(px[1], 322.5, 1e-12);
    VTuple x0, y0, z0, x1, y1, z1;
    ASSERT_EQ(get_line_of_sight(236.25, 322.5, cam, &x0, &y0, &z0, &x1, &y1, &z1), VRESULT_OK);
    EXPECT_EQ(x0[0].D(), 0.0);
    EXPECT_EQ(z0[0].D(), 0.0);
    EXPECT_NEAR(x1[0].D(), 0.0, 1e-18);
    EXPECT_NEAR(y1[0].D(), 0.0, 1e-18);
    EXPECT_NEAR(z1[0].D(), 0.012, 1e-15);
  }
}

TEST_F(CameraProjectionTest, PinholeAndDivisionModelAgainstClosedForms) {
  const Eigen::Vector3d p(0.07, -0.04, 0.9);
  const Eigen::Vector2d px = Pixel(DivisionCam(0.0), p);
  EXPECT_NEAR(px[1], 322.5 + 0.012 * p.x() / p.z() / 5e-6, 1e-9);
  EXPECT_NEAR(px[0], 236.25 + 0.012 * p.y() / p.z() / 5.5e-6, 1e-9);

  // Division model: the observed radius s solves r = s / (1 + kappa s^2);
  // found here by bisection on the monotone branch.
  for (double kappa : {-4000.0, 3000.0}) {
    const Eigen::Vector2d ideal = 0.012 / p.z() * Eigen::Vector2d(p.x(), p.y());
    const double r = ideal.norm();
    double lo = 0.0, hi = kappa > 0 ? 1.0 / std::sqrt(kappa) : 10 * r;
    for (int i = 0; i < 200; ++i) {
      const double mid = 0.5 * (lo + hi);
      (mid / (1 + kappa * mid * mid) < r ? lo : hi) = mid;
    }
    const Eigen::Vector2d observed = ideal * (lo / r);
    const Eigen::Vector2d got = Pixel(DivisionCam(kappa), p);
    EXPECT_NEAR(got[1], 322.5 + observed.x() / 5e-6, 1e-7) << kappa;
    EXPECT_NEAR(got[0], 236.25 + observed.y() / 5.5e-6, 1e-7) << kappa;
  }
}

TEST_F(CameraProjectionTest, PixelsThroughLinesOfSightAndBackBothModels) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> row(0, 479), col(0, 639), depth(0.2, 5.0);
  // The last camera bends the corners by about 5 per cent.
  for (const VTuple& cam : {DivisionCam(-6000.0), DivisionCam(2500.0), PolynomialCam(),
                            PolynomialCam(4000, -2e8, 0, -3, 1),
                            PolynomialCam(-2e4, 2e9, 0, 5, -5)}) {
    VTuple rows, cols;
    for (int i = 0; i < 200; ++i) rows[i] = row(rng), cols[i] = col(rng);
    VTuple x0, y0, z0, x1, y1, z1;
    ASSERT_EQ(get_line_of_sight(rows, cols, cam, &x0, &y0, &z0, &x1, &y1, &z1), VRESULT_OK);
    ASSERT_EQ(x1.Num(), 200);
    VTuple px, py, pz;
    for (int i = 0; i < 200; ++i) {
      const double s = depth(rng) / z1[i].D();  // a random point on the line
      px[i] = x1[i].D() * s, py[i] = y1[i].D() * s, pz[i] = z1[i].D() * s;
    }
    VTuple r, c;
    ASSERT_EQ(project_3d_point(px, py, pz, cam, &r, &c), VRESULT_OK);
    for (int i = 0; i < 200; ++i) {
      EXPECT_NEAR(r[i].D(), rows[i].D(), 1e-7);
      EXPECT_NEAR(c[i].D(), cols[i].D(), 1e-7);
    }
    // The same camera on both sides changes nothing.
    ASSERT_EQ(change_radial_distortion_points(rows, cols, cam, cam, &r, &c), VRESULT_OK);
    for (int i = 0; i < 200; ++i) EXPECT_NEAR(c[i].D(), cols[i].D(), 1e-7);
  }
}

TEST_F(CameraProjectionTest, RemovingDistortionMovesPixelsToTheirIdealPlaces) {
  const Eigen::Vector3d p(-0.2, 0.15, 1.3);
  const VTuple ideal_cam = PolynomialCam(0, 0, 0, 0, 0);
  const Eigen::Vector2d observed = Pixel(PolynomialCam(), p);
  VTuple r, c;
  ASSERT_EQ(change_radial_distortion_points(observed[0], observed[1], PolynomialCam(), ideal_cam,
                                            &r, &c),
            VRESULT_OK);
  const Eigen::Vector2d ideal = Pixel(ideal_cam, p);
  EXPECT_NEAR(r[0].D(), ideal[0], 1e-7);
  EXPECT_NEAR(c[0].D(), ideal[1], 1e-7);
}

TEST_F(CameraProjectionTest, PointsOfAWorldPlaneComeBackInTheirUnit) {
  const VTuple world = Pose(0.05, -0.03, 0.8, 20, 340, 75);
  const Eigen::Matrix4d map = PoseMap(world);
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> coord(-0.05, 0.05);
  for (const VTuple& cam : {DivisionCam(-2000.0), PolynomialCam()}) {
    VTuple rows, cols;
    std::vector<Eigen::Vector2d> truth;
    for (int i = 0; i < 50; ++i) {
      truth.emplace_back(coord(rng), coord(rng));
      const Eigen::Vector4d q = map * Eigen::Vector4d(truth.back().x(), truth.back().y(), 0, 1);
      const Eigen::Vector2d px = Pixel(cam, q.head<3>());
      rows[i] = px[0], cols[i] = px[1];
    }
    VTuple x, y;
    ASSERT_EQ(image_points_to_world_plane(cam, world, rows, cols, "mm", &x, &y), VRESULT_OK);
    for (int i = 0; i < 50; ++i) {
      EXPECT_NEAR(x[i].D(), truth[i].x() * 1000, 1e-6);
      EXPECT_NEAR(y[i].D(), truth[i].y() * 1000, 1e-6);
    }
    ASSERT_EQ(image_points_to_world_plane(cam, world, rows, cols, 0.5, &x, &y), VRESULT_OK);
    EXPECT_NEAR(x[0].D(), truth[0].x() * 2, 1e-9);
  }
  VTuple x, y;
  EXPECT_EQ(image_points_to_world_plane(DivisionCam(0), world, 1.0, 2.0, "inch", &x, &y),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(image_points_to_world_plane(DivisionCam(0), world, 1.0, 2.0, -1.0, &x, &y),
            VERR_CTRL_VALUE(4));
  // A plane seen edge-on or lying behind the camera.
  EXPECT_EQ(image_points_to_world_plane(DivisionCam(0), Pose(0, 0, 1, 90, 0, 0), 236.25, 322.5,
                                        1.0, &x, &y),
            VERR_CAM_BEHIND);
  EXPECT_EQ(image_points_to_world_plane(DivisionCam(0), Pose(0, 0, -1, 0, 0, 0), 10.0, 20.0, 1.0,
                                        &x, &y),
            VERR_CAM_BEHIND);
}

TEST_F(CameraProjectionTest, PointsTheModelCannotReach) {
  VTuple r, c;
  EXPECT_EQ(project_3d_point(0.1, 0.1, 0.0, DivisionCam(0), &r, &c), VERR_CAM_BEHIND);
  EXPECT_EQ(project_3d_point(0.1, 0.1, -2.0, DivisionCam(0), &r, &c), VERR_CAM_BEHIND);
  // kappa > 0 reaches ideal radii up to 1 / (2 sqrt(kappa)) = 1.58 mm.
  EXPECT_EQ(project_3d_point(0.2, 0.0, 1.0, DivisionCam(1e5), &r, &c), VERR_CAM_DISTORTION);
  EXPECT_EQ(project_3d_point(0.1, 0.0, 1.0, DivisionCam(1e5), &r, &c), VRESULT_OK);
  // Observed radii from 1 / sqrt(|kappa|) = 3.16 mm on fold back.
  VTuple x0, y0, z0, x1, y1, z1;
  EXPECT_EQ(get_line_of_sight(236.25, 322.5 + 700, DivisionCam(1e5), &x0, &y0, &z0, &x1, &y1, &z1),
            VERR_CAM_DISTORTION);
  EXPECT_EQ(get_line_of_sight(236.25, 322.5 + 700, DivisionCam(-1e5), &x0, &y0, &z0, &x1, &y1,
                              &z1),
            VERR_CAM_DISTORTION);
  // A strong negative k1 folds the polynomial map back beyond r = 1 /
  // sqrt(3 |k1|) = 5.8 mm: such observed points have no ideal point.
  EXPECT_EQ(get_line_of_sight(236.25, 322.5 + 1500, PolynomialCam(-1e4, 0, 0, 0, 0), &x0, &y0,
                              &z0, &x1, &y1, &z1),
            VERR_CAM_DISTORTION);
  EXPECT_EQ(project_3d_point(1.0, 0.0, 1.0, PolynomialCam(-1e4, 0, 0, 0, 0), &r, &c),
            VERR_CAM_DISTORTION);
  EXPECT_EQ(project_3d_point(Tup({0, 1}), Tup({0, 1, 2}), 1.0, DivisionCam(0), &r, &c),
            VERR_CTRL_NUM(0));
}

}  // namespace
