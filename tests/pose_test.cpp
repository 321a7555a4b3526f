// Poses and quaternions: the rotation orders against explicit products of
// axis rotations, every pose type converted back and forth with the map
// kept, inversion and composition identities, quaternions against Eigen,
// and matrices that are no poses.
#include <cmath>

#include "math_test_support.h"

namespace {

using namespace math_test;
using namespace Vexa;

class PoseTest : public LeakCheckedTest {};

Eigen::Matrix3d Axis(int axis, double deg) {
  return Eigen::AngleAxisd(deg * M_PI / 180, Eigen::Vector3d::Unit(axis)).toRotationMatrix();
}

Eigen::Matrix4d Map(const VTuple& pose) {
  VTuple m;
  EXPECT_EQ(pose_to_hom_mat3d(pose, &m), VRESULT_OK);
  return Mat4(m);
}

TEST_F(PoseTest, RotationOrdersAndTransformOrder) {
  VTuple pose;
  ASSERT_EQ(create_pose(1.0, 2.0, 3.0, 10.0, 20.0, 30.0, "Rp+T", "gba", "point", &pose), VRESULT_OK);
  ASSERT_EQ(pose.Num(), 7);
  EXPECT_EQ(pose[6].L(), 0);
  Eigen::Matrix4d expect = Eigen::Matrix4d::Identity();
  expect.topLeftCorner<3, 3>() = Axis(0, 10) * Axis(1, 20) * Axis(2, 30);
  expect.topRightCorner<3, 1>() << 1, 2, 3;
  ExpectNear(Map(pose), expect);

  ASSERT_EQ(create_pose(1.0, 2.0, 3.0, 10.0, 20.0, 30.0, "R(p-T)", "abg", "point", &pose), VRESULT_OK);
  const Eigen::Matrix3d abg = Axis(2, 30) * Axis(1, 20) * Axis(0, 10);
  expect.topLeftCorner<3, 3>() = abg;
  expect.topRightCorner<3, 1>() = -abg * Eigen::Vector3d(1, 2, 3);
  ExpectNear(Map(pose), expect);

  // "coordinate_system": the values move the frame, points move back.
  ASSERT_EQ(create_pose(1.0, 2.0, 3.0, 10.0, 20.0, 30.0, "R(p-T)", "abg", "coordinate_system", &pose),
            VRESULT_OK);
  ExpectNear(Map(pose), Eigen::Matrix4d(expect.inverse()));

  EXPECT_EQ(create_pose(1.0, 2.0, 3.0, 1.0, 2.0, 3.0, "Rp+T", "xyz", "point", &pose),
            VERR_CTRL_VALUE(7));
}

TEST_F(PoseTest, EveryTypeKeepsTheMap) {
  VTuple pose;
  ASSERT_EQ(create_pose(-4.0, 0.5, 9.0, 350.0, 75.0, 123.0, "Rp+T", "gba", "point", &pose), VRESULT_OK);
  const Eigen::Matrix4d map = Map(pose);
  for (const char* transform : {"Rp+T", "R(p-T)"})
    for (const char* rotation : {"gba", "abg", "rodriguez"})
      for (const char* view : {"point", "coordinate_system"}) {
        VTuple other;
        ASSERT_EQ(convert_pose_type(pose, transform, rotation, view, &other), VRESULT_OK);
        ExpectNear(Map(other), map, 1e-9);
      }
  VTuple back;
  ASSERT_EQ(hom_mat3d_to_pose(Tup3D(map), &back), VRESULT_OK);
  ExpectNear(Map(back), map, 1e-9);
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(back[i].D(), pose[i].D(), 1e-9) << i;

  // Gimbal lock: b = 90 degrees still gives a pose of the same map.
  ASSERT_EQ(create_pose(0.0, 0.0, 0.0, 30.0, 90.0, 40.0, "Rp+T", "gba", "point", &pose), VRESULT_OK);
  ASSERT_EQ(hom_mat3d_to_pose(Tup3D(Map(pose)), &back), VRESULT_OK);
  ExpectNear(Map(back), Map(pose), 1e-9);

  Eigen::Matrix4d scaled = map;
  scaled.topLeftCorner<3, 3>() *= 2.0;
  EXPECT_EQ(hom_mat3d_to_pose(Tup3D(scaled), &back), VERR_CTRL_VALUE(0));
  EXPECT_EQ(pose_to_hom_mat3d(Tup({0, 0, 0, 0, 0, 0, 6}), &back), VERR_CTRL_VALUE(0));
  EXPECT_EQ(pose_to_hom_mat3d(Tup({0, 0, 0, 0, 0, 0}), &back), VERR_CTRL_NUM(0));
}

TEST_F(PoseTest, InvertAndCompose) {
  VTuple a, b, inv, out;
  ASSERT_EQ(create_pose(1.0, 2.0, 3.0, 10.0, 200.0, 30.0, "R(p-T)", "abg", "point", &a), VRESULT_OK);
  ASSERT_EQ(create_pose(-5.0, 0.0, 7.0, 45.0, 0.0, 300.0, "Rp+T", "gba", "point", &b), VRESULT_OK);
  ASSERT_EQ(pose_invert(a, &inv), VRESULT_OK);
  EXPECT_EQ(inv[6].L(), a[6].L());
  ASSERT_EQ(pose_compose(a, inv, &out), VRESULT_OK);
  ExpectNear(Map(out), Eigen::Matrix4d::Identity(), 1e-9);
  ASSERT_EQ(pose_compose(a, b, &out), VRESULT_OK);
  ExpectNear(Map(out), Eigen::Matrix4d(Map(a) * Map(b)), 1e-9);
}

TEST_F(PoseTest, QuaternionsAgreeWithEigen) {
  const Eigen::Quaterniond qa(Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, 2, 2).normalized()));
  const Eigen::Quaterniond qb(Eigen::AngleAxisd(-1.9, Eigen::Vector3d(0, 1, 0)));
  auto tup = [](const Eigen::Quaterniond& q) { return Tup({q.w(), q.x(), q.y(), q.z()}); };
  auto quat = [](const VTuple& t) { return Eigen::Quaterniond(t[0].D(), t[1].D(), t[2].D(), t[3].D()); };
  VTuple out, x, y, z;
  ASSERT_EQ(axis_angle_to_quat(1.0, 2.0, 2.0, 0.7, &out), VRESULT_OK);
  ExpectNear(quat(out).coeffs(), qa.coeffs());
  ASSERT_EQ(quat_compose(tup(qa), tup(qb), &out), VRESULT_OK);
  ExpectNear(quat(out).coeffs(), (qa * qb).coeffs());
  ASSERT_EQ(quat_conjugate(tup(qa), &out), VRESULT_OK);
  ExpectNear(quat(out).coeffs(), qa.conjugate().coeffs());
  ASSERT_EQ(quat_normalize(Tup({2, 0, 0, 0}), &out), VRESULT_OK);
  ExpectNear(quat(out).coeffs(), Eigen::Quaterniond::Identity().coeffs());
  EXPECT_EQ(quat_normalize(Tup({0, 0, 0, 0}), &out), VERR_CTRL_VALUE(0));

  ASSERT_EQ(quat_rotate_point_3d(tup(qa), 1.0, 2.0, 3.0, &x, &y, &z), VRESULT_OK);
  const Eigen::Vector3d r = qa * Eigen::Vector3d(1, 2, 3);
  EXPECT_NEAR(x[0].D(), r[0], 1e-12);
  EXPECT_NEAR(y[0].D(), r[1], 1e-12);
  EXPECT_NEAR(z[0].D(), r[2], 1e-12);
  ASSERT_EQ(quat_to_hom_mat3d(tup(qa), &out), VRESULT_OK);
  ExpectNear(Eigen::Matrix3d(Mat4(out).topLeftCorner<3, 3>()), qa.toRotationMatrix());

  // Pose and quaternion carry the same rotation.
  VTuple pose, q;
  ASSERT_EQ(quat_to_pose(tup(qa), &pose), VRESULT_OK);
  ExpectNear(Eigen::Matrix3d(Map(pose).topLeftCorner<3, 3>()), qa.toRotationMatrix(), 1e-9);
  ASSERT_EQ(pose_to_quat(pose, &q), VRESULT_OK);
  ExpectNear(quat(q).coeffs(), qa.coeffs(), 1e-9);

  ASSERT_EQ(quat_interpolate(tup(qa), tup(qb), Tup({0, 0.5, 1}), &out), VRESULT_OK);
  ASSERT_EQ(out.Num(), 12);
  const Eigen::Quaterniond mid(out[4].D(), out[5].D(), out[6].D(), out[7].D());
  ExpectNear(mid.coeffs(), qa.slerp(0.5, qb).coeffs(), 1e-12);
}

TEST_F(PoseTest, AverageOfPoses) {
  VTuple a, b, mean, quality;
  ASSERT_EQ(create_pose(0.0, 0.0, 0.0, 0.0, 0.0, 10.0, "Rp+T", "gba", "point", &a), VRESULT_OK);
  ASSERT_EQ(create_pose(2.0, 4.0, 0.0, 0.0, 0.0, 30.0, "Rp+T", "gba", "point", &b), VRESULT_OK);
  VTuple both = a;
  both.Append(b);
  ASSERT_EQ(pose_average(both, VTuple(), "iterative", VTuple(), VTuple(), &mean, &quality), VRESULT_OK);
  EXPECT_NEAR(mean[0].D(), 1.0, 1e-9);
  EXPECT_NEAR(mean[1].D(), 2.0, 1e-9);
  EXPECT_NEAR(mean[5].D(), 20.0, 1e-9);
  EXPECT_NEAR(quality[1].D(), 10.0, 1e-9);
  ASSERT_EQ(pose_average(both, Tup({1, 0}), "iterative", VTuple(), VTuple(), &mean, &quality),
            VRESULT_OK);
  EXPECT_NEAR(mean[5].D(), 10.0, 1e-9);
  EXPECT_EQ(pose_average(both, Tup({0, 0}), "iterative", VTuple(), VTuple(), &mean, &quality),
            VERR_CTRL_VALUE(1));
}

}  // namespace

namespace {

// Each transformation value comes back from its item bit for bit and with
// its element types; items of another value kind and values the operators
// would refuse are refused.
TEST_F(PoseTest, TransformationValuesRoundTripThroughItems) {
  VTuple pose, quat, hom2d, hom3d;
  ASSERT_EQ(create_pose(1.0, -2.0, 3.5, 10.0, 20.0, 30.0, "R(p-T)", "abg", "point", &pose), VRESULT_OK);
  ASSERT_EQ(pose_to_quat(pose, &quat), VRESULT_OK);
  ASSERT_EQ(pose_to_hom_mat3d(pose, &hom3d), VRESULT_OK);
  ASSERT_EQ(hom_mat2d_identity(&hom2d), VRESULT_OK);
  ASSERT_EQ(hom_mat2d_rotate(hom2d, 0.3, 4.0, 5.0, &hom2d), VRESULT_OK);

  using Serialize = unsigned int (*)(const VTuple&, Vlong*);
  using Deserialize = unsigned int (*)(const VTuple&, VTuple*);
  struct Case {
    VTuple value;
    Serialize serialize;
    Deserialize deserialize;
  };
  const Case cases[] = {
      {hom2d, [](const VTuple& v, Vlong* i) { return serialize_hom_mat2d(v, i); },
       [](const VTuple& i, VTuple* v) { return deserialize_hom_mat2d(i, v); }},
      {hom3d, [](const VTuple& v, Vlong* i) { return serialize_hom_mat3d(v, i); },
       [](const VTuple& i, VTuple* v) { return deserialize_hom_mat3d(i, v); }},
      {pose, [](const VTuple& v, Vlong* i) { return serialize_pose(v, i); },
       [](const VTuple& i, VTuple* v) { return deserialize_pose(i, v); }},
      {quat, [](const VTuple& v, Vlong* i) { return serialize_quat(v, i); },
       [](const VTuple& i, VTuple* v) { return deserialize_quat(i, v); }},
  };
  std::vector<Vlong> items;
  for (const Case& c : cases) {
    Vlong item = -1;
    ASSERT_EQ(c.serialize(c.value, &item), VRESULT_OK);
    items.push_back(item);
    VTuple back;
    ASSERT_EQ(c.deserialize(VTuple(item), &back), VRESULT_OK);
    ASSERT_EQ(back.Num(), c.value.Num());
    for (Vlong i = 0; i < back.Num(); ++i) {
      ASSERT_EQ(back[i].ValType(), c.value[i].ValType()) << i;
      if (back[i].ValType() == VPAR_DOUBLE) EXPECT_EQ(back[i].D(), c.value[i].D()) << i;
      else EXPECT_EQ(back[i].L(), c.value[i].L()) << i;
    }
  }
  for (size_t k = 0; k < items.size(); ++k) {
    VTuple back;
    EXPECT_EQ(cases[(k + 1) % items.size()].deserialize(VTuple(items[k]), &back), VERR_DATA_KIND);
  }
  Vlong item = -1;
  EXPECT_EQ(serialize_hom_mat2d(VTuple(1.0).Append(VTuple(2.0)), &item), VERR_CTRL_NUM(0));
  VTuple bad_pose = pose;
  bad_pose[6] = Vlong{77};
  EXPECT_EQ(serialize_pose(bad_pose, &item), VERR_CTRL_VALUE(0));
  VTuple nan_quat = quat;
  nan_quat[1] = std::nan("");
  EXPECT_EQ(serialize_quat(nan_quat, &item), VERR_CTRL_VALUE(0));
  for (Vlong i : items) EXPECT_EQ(clear_serialized_item(i), VRESULT_OK);
}

TEST_F(PoseTest, TypeNamesAndMovedOrigin) {
  VTuple pose, transform, rotation, view;
  ASSERT_EQ(create_pose(1.0, 2.0, 3.0, 10.0, 20.0, 30.0, "R(p-T)", "abg", "coordinate_system", &pose),
            VRESULT_OK);
  ASSERT_EQ(get_pose_type(pose, &transform, &rotation, &view), VRESULT_OK);
  EXPECT_STREQ(transform[0].S(), "R(p-T)");
  EXPECT_STREQ(rotation[0].S(), "abg");
  EXPECT_STREQ(view[0].S(), "coordinate_system");
  // Moving the origin is composing with a pure shift, in the pose's type.
  VTuple moved, shift, composed;
  ASSERT_EQ(set_origin_pose(pose, 0.5, -1.0, 2.0, &moved), VRESULT_OK);
  ASSERT_EQ(create_pose(0.5, -1.0, 2.0, 0.0, 0.0, 0.0, "Rp+T", "gba", "point", &shift), VRESULT_OK);
  ASSERT_EQ(pose_compose(pose, shift, &composed), VRESULT_OK);
  ASSERT_EQ(moved.Num(), 7);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(moved[k].D(), composed[k].D(), 1e-9) << k;
  VTuple bad;
  EXPECT_EQ(set_origin_pose(pose, std::nan(""), 0.0, 0.0, &bad), VERR_CTRL_VALUE(1));
  EXPECT_EQ(get_pose_type(VTuple(1.0), &transform, &rotation, &view), VERR_CTRL_NUM(0));
}

TEST_F(PoseTest, SphericalCoordinatesBothWays) {
  VTuple x, y, z;
  // Axis z, longitude 0 along x: the usual geographic frame.
  ASSERT_EQ(convert_point_3d_spher_to_cart(VTuple(0.0).Append(M_PI / 2).Append(1.0),
                                           VTuple(0.0).Append(0.0).Append(M_PI / 2), 2.0, "z", "x",
                                           &x, &y, &z),
            VRESULT_OK);
  const double expected[3][3] = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(x[i].D(), expected[i][0], 1e-12);
    EXPECT_NEAR(y[i].D(), expected[i][1], 1e-12);
    EXPECT_NEAR(z[i].D(), expected[i][2], 1e-12);
  }
  // Any frame: there and back.
  VTuple lon, lat, r, bx, by, bz;
  const VTuple px = VTuple(0.3).Append(-1.2).Append(0.0), py = VTuple(-0.7).Append(0.4).Append(2.0),
               pz = VTuple(1.1).Append(-0.2).Append(-0.5);
  ASSERT_EQ(convert_point_3d_cart_to_spher(px, py, pz, "-y", "z", &lon, &lat, &r), VRESULT_OK);
  ASSERT_EQ(convert_point_3d_spher_to_cart(lon, lat, r, "-y", "z", &bx, &by, &bz), VRESULT_OK);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(bx[i].D(), px[i].D(), 1e-12);
    EXPECT_NEAR(by[i].D(), py[i].D(), 1e-12);
    EXPECT_NEAR(bz[i].D(), pz[i].D(), 1e-12);
    EXPECT_NEAR(r[i].D(), std::sqrt(px[i].D() * px[i].D() + py[i].D() * py[i].D() + pz[i].D() * pz[i].D()), 1e-12);
  }
  // The third point lies mostly towards +y, against the axis -y: its
  // latitude is negative.
  EXPECT_NEAR(lat[2].D(), -std::atan2(2.0, std::hypot(0.0, 0.5)), 1e-12);
  EXPECT_EQ(convert_point_3d_cart_to_spher(px, py, pz, "z", "-z", &lon, &lat, &r), VERR_CTRL_VALUE(4));
  EXPECT_EQ(convert_point_3d_cart_to_spher(px, py, pz, "w", "x", &lon, &lat, &r), VERR_CTRL_VALUE(3));
  EXPECT_EQ(convert_point_3d_spher_to_cart(0.0, 0.0, -1.0, "z", "x", &x, &y, &z), VERR_CTRL_VALUE(2));
}

}  // namespace
