// Two cameras: lines of sight of corresponding pixels meet at the point
// they were projected from; depth and disparity of a rectified pair
// against the closed form and each other; pairs that are not rectified.
#include <random>

#include "camera_test_support.h"

namespace {

using namespace camera_test;
using namespace math_test;
using namespace Vexa;

class CameraStereoTest : public LeakCheckedTest {};

TEST_F(CameraStereoTest, LinesOfSightMeetAtTheProjectedPoint) {
  // Camera 2 sits at t in camera 1's frame, turned by R.
  const VTuple rel = Pose(0.15, 0.01, 0.02, 2, 350, 1);
  const Eigen::Matrix4d cam2_to_cam1 = PoseMap(rel);
  const Eigen::Matrix4d cam1_to_cam2 = cam2_to_cam1.inverse();
  const VTuple cam1 = DivisionCam(-2500), cam2 = PolynomialCam();
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> lateral(-0.1, 0.1), depth(0.8, 2.0);
  VTuple r1, c1, r2, c2;
  std::vector<Eigen::Vector3d> truth;
  for (int i = 0; i < 20; ++i) {
    truth.emplace_back(lateral(rng), lateral(rng), depth(rng));
    const Eigen::Vector4d q = cam1_to_cam2 * truth.back().homogeneous();
    VTuple a, b, c, d;
    ASSERT_EQ(project_3d_point(truth.back().x(), truth.back().y(), truth.back().z(), cam1, &a, &b),
              VRESULT_OK);
    ASSERT_EQ(project_3d_point(q.x(), q.y(), q.z(), cam2, &c, &d), VRESULT_OK);
    r1[i] = a[0], c1[i] = b[0], r2[i] = c[0], c2[i] = d[0];
  }
  VTuple x, y, z, dist;
  ASSERT_EQ(intersect_lines_of_sight(cam1, cam2, rel, r1, c1, r2, c2, &x, &y, &z, &dist),
            VRESULT_OK);
  for (int i = 0; i < 20; ++i) {
    ExpectNear(Eigen::Vector3d(x[i].D(), y[i].D(), z[i].D()), truth[i], 1e-8);
    EXPECT_LT(dist[i].D(), 1e-8);
  }
  // A pixel moved by one row: the lines pass each other at a distance.
  ASSERT_EQ(intersect_lines_of_sight(cam1, cam2, rel, r1[0].D() + 1, c1[0], r2[0], c2[0], &x, &y,
                                     &z, &dist),
            VRESULT_OK);
  EXPECT_GT(dist[0].D(), 1e-4);
  // Parallel lines (no baseline shift in direction) and lines meeting behind.
  EXPECT_EQ(intersect_lines_of_sight(cam1, cam1, Pose(0.1, 0, 0, 0, 0, 0), 236.25, 322.5, 236.25,
                                     322.5, &x, &y, &z, &dist),
            VERR_CAM_BEHIND);
  EXPECT_EQ(intersect_lines_of_sight(cam1, cam1, Pose(0.1, 0, 0, 0, 0, 0), 236.25, 322.5, 236.25,
                                     500.0, &x, &y, &z, &dist),
            VERR_CAM_BEHIND);
  EXPECT_EQ(intersect_lines_of_sight(cam1, cam2, rel, r1, c1, Tup({1, 2}), c2, &x, &y, &z, &dist),
            VERR_CTRL_NUM(5));
}

TEST_F(CameraStereoTest, DepthAndDisparityOfARectifiedPair) {
  const VTuple cam1 = DivisionCam(0), cam2 = With(DivisionCam(0), 5, 300.0);
  const VTuple rel = Pose(0.12, 0, 0, 0, 0, 0);
  const double z = 1.7, x = 0.05;
  VTuple r1, c1, r2, c2;
  ASSERT_EQ(project_3d_point(x, 0.02, z, cam1, &r1, &c1), VRESULT_OK);
  ASSERT_EQ(project_3d_point(x - 0.12, 0.02, z, cam2, &r2, &c2), VRESULT_OK);
  EXPECT_NEAR(r1[0].D(), r2[0].D(), 1e-12);
  const double disparity = c2[0].D() - c1[0].D();
  VTuple out;
  ASSERT_EQ(disparity_to_distance(cam1, cam2, rel, disparity, &out), VRESULT_OK);
  EXPECT_NEAR(out[0].D(), z, 1e-12);
  ASSERT_EQ(distance_to_disparity(cam1, cam2, rel, Tup({z, 2 * z}), &out), VRESULT_OK);
  EXPECT_NEAR(out[0].D(), disparity, 1e-9);
  EXPECT_NEAR(out[1].D(), (300.0 - 322.5) - 0.012 / 5e-6 * 0.12 / (2 * z), 1e-9);

  EXPECT_EQ(distance_to_disparity(cam1, cam2, rel, 0.0, &out), VERR_CTRL_VALUE(3));
  EXPECT_EQ(disparity_to_distance(cam1, cam2, rel, 300.0 - 322.5, &out), VERR_CAM_BEHIND);
  EXPECT_EQ(disparity_to_distance(DivisionCam(-10), cam2, rel, 1.0, &out), VERR_CTRL_VALUE(0));
  EXPECT_EQ(disparity_to_distance(cam1, With(cam2, 6, 200.0), rel, 1.0, &out), VERR_CTRL_VALUE(1));
  EXPECT_EQ(disparity_to_distance(cam1, With(cam2, 1, 0.013), rel, 1.0, &out), VERR_CTRL_VALUE(1));
  EXPECT_EQ(disparity_to_distance(cam1, cam2, Pose(0.12, 0.01, 0, 0, 0, 0), 1.0, &out),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(disparity_to_distance(cam1, cam2, Pose(0.12, 0, 0, 0, 1, 0), 1.0, &out),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(disparity_to_distance(cam1, cam2, Pose(0, 0, 0, 0, 0, 0), 1.0, &out),
            VERR_CTRL_VALUE(2));
}

TEST_F(CameraStereoTest, PointsFromDisparities) {
  const VTuple cam1 = DivisionCam(0), cam2 = With(DivisionCam(0), 5, 300.0);
  const VTuple rel = Pose(0.12, 0, 0, 0, 0, 0);
  // Points projected into both cameras come back from row, column and
  // column disparity.
  const std::vector<Eigen::Vector3d> truth = {{0.05, 0.02, 1.7}, {-0.08, 0.04, 0.9}, {0.0, -0.03, 2.5}};
  VTuple rows, cols, disparities;
  for (size_t i = 0; i < truth.size(); ++i) {
    VTuple r1, c1, r2, c2;
    const Eigen::Vector3d& p = truth[i];
    ASSERT_EQ(project_3d_point(p.x(), p.y(), p.z(), cam1, &r1, &c1), VRESULT_OK);
    ASSERT_EQ(project_3d_point(p.x() - 0.12, p.y(), p.z(), cam2, &r2, &c2), VRESULT_OK);
    rows[i] = r1[0], cols[i] = c1[0], disparities[i] = c2[0].D() - c1[0].D();
  }
  VTuple x, y, z;
  ASSERT_EQ(disparity_to_point_3d(cam1, cam2, rel, rows, cols, disparities, &x, &y, &z), VRESULT_OK);
  for (size_t i = 0; i < truth.size(); ++i)
    ExpectNear(Eigen::Vector3d(x[i].D(), y[i].D(), z[i].D()), truth[i], 1e-9);

  // A disparity image: every pixel's point lies on the line of sight of
  // its pixel at the depth of its disparity; a disparity at or beyond the
  // principal offset lies behind and leaves the domain.
  Vobject disparity, xi, yi, zi;
  ASSERT_EQ(gen_image_const(&disparity, "real", 12, 10), VRESULT_OK);
  for (int r = 0; r < 10; ++r)
    for (int c = 0; c < 12; ++c)
      ASSERT_EQ(set_grayval(disparity, r, c, c == 11 ? 0.0 : -30.0 - r - c), VRESULT_OK);
  ASSERT_EQ(disparity_image_to_xyz(disparity, &xi, &yi, &zi, cam1, cam2, rel), VRESULT_OK);
  VTuple area;
  ASSERT_EQ(area_center(zi, &area, _, _), VRESULT_OK);
  EXPECT_EQ(area[0].L(), 10 * 11);
  VTuple gx, gy, gz;
  ASSERT_EQ(get_grayval(xi, 4.0, 7.0, &gx), VRESULT_OK);
  ASSERT_EQ(get_grayval(yi, 4.0, 7.0, &gy), VRESULT_OK);
  ASSERT_EQ(get_grayval(zi, 4.0, 7.0, &gz), VRESULT_OK);
  ASSERT_EQ(disparity_to_point_3d(cam1, cam2, rel, 4.0, 7.0, -41.0, &x, &y, &z), VRESULT_OK);
  EXPECT_NEAR(gx[0].D(), x[0].D(), 1e-6 * std::fabs(x[0].D()) + 1e-9);
  EXPECT_NEAR(gy[0].D(), y[0].D(), 1e-6 * std::fabs(y[0].D()) + 1e-9);
  EXPECT_NEAR(gz[0].D(), z[0].D(), 1e-6 * z[0].D());
  EXPECT_EQ(disparity_to_point_3d(cam1, cam2, rel, 4.0, 7.0, 0.0, &x, &y, &z), VERR_CAM_BEHIND);
}

TEST_F(CameraStereoTest, DistancesOfAMatchedPair) {
  const VTuple cam1 = DivisionCam(0), cam2 = With(DivisionCam(0), 5, 300.0);
  const VTuple rel = Pose(0.12, 0, 0, 0, 0, 0);
  // A texture and its copy moved by -25 columns in the second image.
  auto texture = [](double r, double c) {
    return 128 + 40 * std::sin(0.7 * r + 0.3 * c) + 30 * std::sin(0.2 * r - 0.9 * c) + 20 * std::cos(1.3 * c);
  };
  Vobject left, right;
  ASSERT_EQ(gen_image_const(&left, "real", 60, 30), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&right, "real", 60, 30), VRESULT_OK);
  for (int r = 0; r < 30; ++r)
    for (int c = 0; c < 60; ++c) {
      ASSERT_EQ(set_grayval(left, r, c, texture(r, c)), VRESULT_OK);
      ASSERT_EQ(set_grayval(right, r, c, texture(r, c + 25)), VRESULT_OK);
    }
  Vobject distance, score;
  ASSERT_EQ(binocular_distance(left, right, &distance, &score, cam1, cam2, rel, "ssd", Vlong{5},
                               Vlong{5}, 1.0, Vlong{-30}, Vlong{-20}, Vlong{1}, 1e9, "none", "none"),
            VRESULT_OK);
  VTuple z, expected;
  ASSERT_EQ(get_grayval(distance, 15.0, 40.0, &z), VRESULT_OK);
  ASSERT_EQ(disparity_to_distance(cam1, cam2, rel, -25.0, &expected), VRESULT_OK);
  EXPECT_NEAR(z[0].D(), expected[0].D(), 1e-6 * expected[0].D());
  // A range whose disparities put every point behind the camera leaves
  // no pixel.
  ASSERT_EQ(binocular_distance(left, right, &distance, &score, cam1, cam2, rel, "ssd", Vlong{5},
                               Vlong{5}, 1.0, Vlong{0}, Vlong{5}, Vlong{1}, 1e9, "none", "none"),
            VRESULT_OK);
  VTuple area;
  ASSERT_EQ(area_center(distance, &area, _, _), VRESULT_OK);
  EXPECT_EQ(area[0].L(), 0);
  EXPECT_EQ(binocular_distance(left, right, &distance, &score, DivisionCam(-10), cam2, rel, "ssd",
                               Vlong{5}, Vlong{5}, 1.0, Vlong{0}, Vlong{5}, Vlong{1}, 1e9, "none",
                               "none"),
            VERR_CTRL_VALUE(0));
}

}  // namespace
