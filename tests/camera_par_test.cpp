// The camera tuple: every fault the shared reader refuses, seen through
// several operators; new distortion coefficients for a camera; camera and
// projection matrices against the projection operator; the look-at pose.
#include <cmath>

#include "camera_test_support.h"

namespace {

using namespace camera_test;
using namespace math_test;
using namespace Vexa;

class CameraParTest : public LeakCheckedTest {};

// The code of project_3d_point (camera at input 3) and of
// cam_par_to_cam_mat (camera at input 0) for a camera tuple; the
// parameter-numbered codes are given for input 0.
void ExpectRefused(const VTuple& cam, unsigned int code_at_0) {
  VTuple r, c, m, w, h;
  const unsigned int code_at_3 =
      code_at_0 == VERR_CTRL_TYPE(0) ? VERR_CTRL_TYPE(3) : code_at_0;
  EXPECT_EQ(project_3d_point(0.0, 0.0, 1.0, cam, &r, &c), code_at_3);
  EXPECT_EQ(cam_par_to_cam_mat(cam, &m, &w, &h), code_at_0);
}

TEST_F(CameraParTest, EveryFaultOfTheTupleHasItsCode) {
  ExpectRefused(VTuple(), VERR_CAM_PAR_NUM);
  ExpectRefused(With(DivisionCam(0), 0, 0.5), VERR_CTRL_TYPE(0));
  ExpectRefused(With(DivisionCam(0), 0, "area_scan_fisheye"), VERR_CAM_MODEL);
  ExpectRefused(With(DivisionCam(0), 9, 1.0), VERR_CAM_PAR_NUM);
  ExpectRefused(With(DivisionCam(0), 0, "area_scan_polynomial"), VERR_CAM_PAR_NUM);
  ExpectRefused(With(DivisionCam(0), 3, "5e-6"), VERR_CTRL_TYPE(0));
  ExpectRefused(With(DivisionCam(0), 2, std::nan("")), VERR_CAM_PAR_VALUE);
  ExpectRefused(With(PolynomialCam(), 4, INFINITY), VERR_CAM_PAR_VALUE);
  ExpectRefused(DivisionCam(0, 0.0), VERR_CAM_FOCUS);
  ExpectRefused(DivisionCam(0, -0.01), VERR_CAM_FOCUS);
  ExpectRefused(With(DivisionCam(0), 3, 0.0), VERR_CAM_CELL_SIZE);
  ExpectRefused(With(PolynomialCam(), 8, -5e-6), VERR_CAM_CELL_SIZE);
  ExpectRefused(With(DivisionCam(0), 7, Vlong{0}), VERR_CAM_IMAGE_SIZE);
  ExpectRefused(With(DivisionCam(0), 8, 480.5), VERR_CAM_IMAGE_SIZE);
  ExpectRefused(With(PolynomialCam(), 12, Vlong{40000}), VERR_CAM_IMAGE_SIZE);
  // Integers where reals stand, and a real image size that is whole, pass.
  VTuple r, c;
  EXPECT_EQ(project_3d_point(0.0, 0.0, 1.0, With(With(DivisionCam(0), 5, Vlong{320}), 7, 640.0),
                             &r, &c),
            VRESULT_OK);
  char text[1024];
  VErrorMessage(VERR_CAM_FOCUS, text);
  EXPECT_NE(std::string(text).find("focal length"), std::string::npos);
}

TEST_F(CameraParTest, NewDistortionCoefficients) {
  VTuple out;
  ASSERT_EQ(change_radial_distortion_cam_par("fixed", DivisionCam(-3000), 0.0, &out), VRESULT_OK);
  EXPECT_STREQ(out[0].S(), "area_scan_division");
  EXPECT_EQ(Numbers(out), Numbers(DivisionCam(0)));
  ASSERT_EQ(change_radial_distortion_cam_par("fixed", PolynomialCam(), Tup({1, 2, 3, 4, 5}), &out),
            VRESULT_OK);
  EXPECT_EQ(Numbers(out), Numbers(PolynomialCam(1, 2, 3, 4, 5)));
  EXPECT_EQ(out[12].ValType(), VPAR_LONG);

  // "adaptive": the old image's border just fits the new image. Barrel
  // distortion (kappa < 0) removed makes the field of view reach further
  // out, so cells grow.
  ASSERT_EQ(change_radial_distortion_cam_par("adaptive", DivisionCam(-3000), 0.0, &out),
            VRESULT_OK);
  EXPECT_GT(out[3].D(), 5e-6);
  EXPECT_NEAR(out[4].D() / out[3].D(), 5.5 / 5.0, 1e-12);
  VTuple rows, cols;
  for (int i = 0; i <= 10; ++i) {
    rows[4 * i] = -0.5, cols[4 * i] = -0.5 + 64.0 * i;
    rows[4 * i + 1] = 479.5, cols[4 * i + 1] = -0.5 + 64.0 * i;
    rows[4 * i + 2] = -0.5 + 48.0 * i, cols[4 * i + 2] = -0.5;
    rows[4 * i + 3] = -0.5 + 48.0 * i, cols[4 * i + 3] = 639.5;
  }
  VTuple r, c;
  ASSERT_EQ(change_radial_distortion_points(rows, cols, DivisionCam(-3000), out, &r, &c),
            VRESULT_OK);
  double extreme = 0.0;
  for (Vlong i = 0; i < r.Num(); ++i) {
    EXPECT_GE(r[i].D(), -0.5 - 1e-9);
    EXPECT_LE(r[i].D(), 479.5 + 1e-9);
    EXPECT_GE(c[i].D(), -0.5 - 1e-9);
    EXPECT_LE(c[i].D(), 639.5 + 1e-9);
    extreme = std::max({extreme, -0.5 - c[i].D(), c[i].D() - 639.5, -0.5 - r[i].D(), r[i].D() - 479.5});
  }
  EXPECT_NEAR(extreme, 0.0, 1e-6);

  EXPECT_EQ(change_radial_distortion_cam_par("stretch", DivisionCam(0), 0.0, &out),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(change_radial_distortion_cam_par("fixed", DivisionCam(0), Tup({0, 0}), &out),
            VERR_CTRL_NUM(2));
  EXPECT_EQ(change_radial_distortion_cam_par("fixed", PolynomialCam(), 0.0, &out),
            VERR_CTRL_NUM(2));
  EXPECT_EQ(change_radial_distortion_cam_par("fixed", DivisionCam(0), std::nan(""), &out),
            VERR_CTRL_VALUE(2));
}

TEST_F(CameraParTest, CameraMatrixRoundTrip) {
  VTuple k, w, h;
  ASSERT_EQ(cam_par_to_cam_mat(DivisionCam(0), &k, &w, &h), VRESULT_OK);
  Eigen::Matrix3d expect;
  expect << 0.012 / 5e-6, 0, 322.5, 0, 0.012 / 5.5e-6, 236.25, 0, 0, 1;
  ExpectNear(Mat3(k), expect, 1e-9);
  EXPECT_EQ(w[0].L(), 640);
  EXPECT_EQ(h[0].L(), 480);

  VTuple cam;
  ASSERT_EQ(cam_mat_to_cam_par(k, -2000.0, w, h, &cam), VRESULT_OK);
  ASSERT_EQ(cam.Num(), 9);
  EXPECT_EQ(std::string(cam[0].S()), "area_scan_division");
  EXPECT_EQ(cam[2].D(), -2000.0);
  EXPECT_EQ(cam[3].D(), 1e-6);
  // Without distortion the new camera projects like the old one.
  ASSERT_EQ(cam_mat_to_cam_par(k, 0.0, w, h, &cam), VRESULT_OK);
  VTuple r1, c1, r2, c2;
  const VTuple x = Tup({0.1, -0.3, 0.0}), y = Tup({0.05, 0.2, 0.0}), z = Tup({1.0, 2.0, 0.5});
  ASSERT_EQ(project_3d_point(x, y, z, DivisionCam(0.0), &r1, &c1), VRESULT_OK);
  ASSERT_EQ(project_3d_point(x, y, z, cam, &r2, &c2), VRESULT_OK);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(r1[i].D(), r2[i].D(), 1e-9);
    EXPECT_NEAR(c1[i].D(), c2[i].D(), 1e-9);
  }
  // A scaled matrix is the same camera.
  ASSERT_EQ(cam_mat_to_cam_par(Tup2D(expect * 3.0, 3), 0.0, 640, 480, &cam), VRESULT_OK);
  EXPECT_NEAR(cam[1].D() / cam[3].D(), 0.012 / 5e-6, 1e-6);

  EXPECT_EQ(cam_par_to_cam_mat(DivisionCam(-1.0), &k, &w, &h), VERR_CTRL_VALUE(0));
  Eigen::Matrix3d skewed = expect;
  skewed(0, 1) = 2.0;
  EXPECT_EQ(cam_mat_to_cam_par(Tup2D(skewed, 3), 0.0, 640, 480, &cam), VERR_CTRL_VALUE(0));
  Eigen::Matrix3d mirrored = expect;
  mirrored(0, 0) = -mirrored(0, 0);
  EXPECT_EQ(cam_mat_to_cam_par(Tup2D(mirrored, 3), 0.0, 640, 480, &cam), VERR_CTRL_VALUE(0));
  EXPECT_EQ(cam_mat_to_cam_par(Tup2D(expect, 2), 0.0, 640, 480, &cam), VERR_CTRL_NUM(0));
  EXPECT_EQ(cam_mat_to_cam_par(Tup2D(expect, 3), 0.0, 0, 480, &cam), VERR_CAM_IMAGE_SIZE);
}

TEST_F(CameraParTest, ProjectionMatricesAgreeWithTheCamera) {
  const VTuple cam = DivisionCam(0), pose = Pose(0.02, -0.01, 1.2, 15, 30, 350);
  VTuple p;
  ASSERT_EQ(cam_par_pose_to_hom_mat3d(cam, pose, &p), VRESULT_OK);
  ASSERT_EQ(p.Num(), 12);
  const Eigen::Matrix4d map = PoseMap(pose);
  const VTuple x = Tup({0.1, -0.05, 0.0}), y = Tup({0.03, 0.07, -0.02}), z = Tup({0.0, 0.1, -0.1});
  VTuple qx, qy, row, col;
  ASSERT_EQ(project_point_hom_mat3d(p, x, y, z, &qx, &qy), VRESULT_OK);
  for (int i = 0; i < 3; ++i) {
    const Eigen::Vector4d q = map * Eigen::Vector4d(x[i].D(), y[i].D(), z[i].D(), 1);
    ASSERT_EQ(project_3d_point(q.x(), q.y(), q.z(), cam, &row, &col), VRESULT_OK);
    EXPECT_NEAR(qx[i].D(), row[0].D(), 1e-9);
    EXPECT_NEAR(qy[i].D(), col[0].D(), 1e-9);
  }
  // Homogeneous points: w scales the result; undivided values.
  VTuple hx, hy, hw;
  ASSERT_EQ(project_hom_point_hom_mat3d(p, 0.2, 0.06, 0.0, 2.0, &hx, &hy, &hw), VRESULT_OK);
  EXPECT_NEAR(hx[0].D() / hw[0].D(), qx[0].D(), 1e-9);
  EXPECT_NEAR(hy[0].D() / hw[0].D(), qy[0].D(), 1e-9);
  const Eigen::Vector3d direct = Mat4(p).topRows<3>() * Eigen::Vector4d(0.2, 0.06, 0.0, 2.0);
  EXPECT_NEAR(hw[0].D(), direct.z(), 1e-12);

  // The plane z = 0 through hom_mat3d_project: the projection matrix of
  // a camera with its principal point at 0 and square cells, moved back.
  const VTuple centred = With(With(With(cam, 4, 5e-6), 5, 0.0), 6, 0.0);
  ASSERT_EQ(cam_par_pose_to_hom_mat3d(centred, pose, &p), VRESULT_OK);
  VTuple h;
  ASSERT_EQ(hom_mat3d_project(p, 236.25, 322.5, 1.0, &h), VRESULT_OK);
  ASSERT_EQ(h.Num(), 9);
  const Eigen::Vector3d img = Mat3(h) * Eigen::Vector3d(x[0].D(), y[0].D(), 1);
  ASSERT_EQ(project_point_hom_mat3d(p, x[0], y[0], 0.0, &qx, &qy), VRESULT_OK);
  EXPECT_NEAR(img.x() / img.z(), qx[0].D() + 236.25, 1e-9);
  EXPECT_NEAR(img.y() / img.z(), qy[0].D() + 322.5, 1e-9);
  ASSERT_EQ(hom_mat3d_project(p, 0.0, 0.0, 2.0, &h), VRESULT_OK);
  const Eigen::Vector3d wide = Mat3(h) * Eigen::Vector3d(x[0].D(), y[0].D(), 1);
  EXPECT_NEAR(wide.y() / wide.z(), qy[0].D() / 2, 1e-9);

  EXPECT_EQ(hom_mat3d_project(p, 0.0, 0.0, 0.0, &h), VERR_CTRL_VALUE(3));
  EXPECT_EQ(cam_par_pose_to_hom_mat3d(PolynomialCam(), pose, &p), VERR_CTRL_VALUE(0));
  EXPECT_EQ(cam_par_pose_to_hom_mat3d(cam, Tup({0, 0, 0, 0, 0, 0, 6}), &p), VERR_CTRL_VALUE(1));
  // The camera centre has no image.
  ASSERT_EQ(cam_par_pose_to_hom_mat3d(cam, Pose(0, 0, 0, 0, 0, 0), &p), VRESULT_OK);
  EXPECT_EQ(project_point_hom_mat3d(p, 0.0, 0.0, 0.0, &qx, &qy), VERR_CTRL_VALUE(0));
}

TEST_F(CameraParTest, LookAtPoseAimsTheOpticalAxis) {
  const Eigen::Vector3d eye(0.4, -0.3, 1.5), target(0.05, 0.1, 0.0);
  VTuple pose;
  ASSERT_EQ(create_cam_pose_look_at_point(eye.x(), eye.y(), eye.z(), target.x(), target.y(),
                                          target.z(), "z", 0.0, &pose),
            VRESULT_OK);
  const Eigen::Matrix4d cam_to_world = PoseMap(pose);
  EXPECT_NEAR((cam_to_world.topRightCorner<3, 1>() - eye).norm(), 0.0, 1e-12);
  const Eigen::Vector3d axis = cam_to_world.block<3, 1>(0, 2);
  EXPECT_NEAR(axis.dot((target - eye).normalized()), 1.0, 1e-12);
  // Roll 0: image rows run against the normal, columns parallel to the plane.
  EXPECT_NEAR(cam_to_world(2, 0), 0.0, 1e-12);
  EXPECT_LT(cam_to_world(2, 1), 0.0);
  // The target is seen at the principal point.
  const Eigen::Vector4d t = cam_to_world.inverse() * target.homogeneous();
  const VTuple cam = DivisionCam(-1000);
  VTuple r, c;
  ASSERT_EQ(project_3d_point(t.x(), t.y(), t.z(), cam, &r, &c), VRESULT_OK);
  EXPECT_NEAR(r[0].D(), 236.25, 1e-9);
  EXPECT_NEAR(c[0].D(), 322.5, 1e-9);

  // A roll turns the camera about its axis; the normal as numbers.
  VTuple rolled;
  ASSERT_EQ(create_cam_pose_look_at_point(eye.x(), eye.y(), eye.z(), target.x(), target.y(),
                                          target.z(), Tup({0, 0, 2}), M_PI / 2, &rolled),
            VRESULT_OK);
  const Eigen::Matrix4d turned = PoseMap(rolled);
  ExpectNear(Eigen::Vector3d(turned.block<3, 1>(0, 0)), Eigen::Vector3d(cam_to_world.block<3, 1>(0, 1)), 1e-9);
  ExpectNear(Eigen::Vector3d(turned.block<3, 1>(0, 2)), axis, 1e-9);

  EXPECT_EQ(create_cam_pose_look_at_point(0.0, 0.0, 1.0, 0.0, 0.0, 0.0, "z", 0.0, &pose),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(create_cam_pose_look_at_point(0.0, 0.0, 1.0, 0.0, 0.0, 1.0, "z", 0.0, &pose),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(create_cam_pose_look_at_point(0.0, 0.0, 1.0, 1.0, 0.0, 0.0, "w", 0.0, &pose),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(create_cam_pose_look_at_point(0.0, 0.0, 1.0, 1.0, 0.0, 0.0, Tup({0, 0, 0}), 0.0, &pose),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(create_cam_pose_look_at_point(0.0, 0.0, 1.0, 1.0, 0.0, 0.0, Tup({0, 1}), 0.0, &pose),
            VERR_CTRL_NUM(6));
}

}  // namespace
