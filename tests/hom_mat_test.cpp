// 2D and 3D homogeneous matrices: the elementary steps against explicit
// matrices, global against local order, inversion and composition
// identities, the estimators on exact correspondences, and refused
// singular or degenerate input.
#include <cmath>
#include <random>

#include "math_test_support.h"

namespace {

using namespace math_test;
using namespace Vexa;

class HomMatTest : public LeakCheckedTest {};

Eigen::Matrix3d Rot2(double phi) {
  Eigen::Matrix3d r = Eigen::Matrix3d::Identity();
  r.topLeftCorner<2, 2>() << std::cos(phi), -std::sin(phi), std::sin(phi), std::cos(phi);
  return r;
}

Eigen::Matrix3d Move2(double tx, double ty) {
  Eigen::Matrix3d t = Eigen::Matrix3d::Identity();
  t(0, 2) = tx, t(1, 2) = ty;
  return t;
}

const Eigen::Matrix3d kSome = (Eigen::Matrix3d() << 1.2, -0.3, 5, 0.4, 0.9, -2, 0, 0, 1).finished();

TEST_F(HomMatTest, ElementaryStepsGlobalAfterLocalBefore) {
  VTuple id, out;
  ASSERT_EQ(hom_mat2d_identity(&id), VRESULT_OK);
  ExpectNear(Mat3(id), Eigen::Matrix3d::Identity());
  const VTuple m = Tup2D(kSome);

  ASSERT_EQ(hom_mat2d_translate(m, 3.0, -4.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out), Move2(3, -4) * kSome);
  ASSERT_EQ(hom_mat2d_translate_local(m, 3.0, -4.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out), kSome * Move2(3, -4));

  // A rotation about a point keeps the point and turns x towards y.
  ASSERT_EQ(hom_mat2d_rotate(m, 0.7, 10.0, 20.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out), Move2(10, 20) * Rot2(0.7) * Move2(-10, -20) * kSome);
  ASSERT_EQ(hom_mat2d_rotate_local(m, 0.7, &out), VRESULT_OK);
  ExpectNear(Mat3(out), kSome * Rot2(0.7));
  ASSERT_EQ(hom_mat2d_rotate(id, M_PI / 2, 0.0, 0.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(1, 0, 1), Eigen::Vector3d(0, 1, 1));

  ASSERT_EQ(hom_mat2d_scale(id, 2.0, 3.0, 1.0, 1.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(1, 1, 1), Eigen::Vector3d(1, 1, 1));
  ExpectNear(Mat3(out) * Eigen::Vector3d(2, 2, 1), Eigen::Vector3d(3, 4, 1));
  ASSERT_EQ(hom_mat2d_scale_local(m, 2.0, 3.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out), kSome * Eigen::Vector3d(2, 3, 1).asDiagonal().toDenseMatrix());

  // Slant "x" turns the x axis and keeps the y axis; "y" the reverse.
  ASSERT_EQ(hom_mat2d_slant(id, 0.3, "x", 0.0, 0.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(1, 0, 1), Eigen::Vector3d(std::cos(0.3), std::sin(0.3), 1));
  ExpectNear(Mat3(out) * Eigen::Vector3d(0, 1, 1), Eigen::Vector3d(0, 1, 1));
  ASSERT_EQ(hom_mat2d_slant_local(id, 0.3, "y", &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(0, 1, 1), Eigen::Vector3d(-std::sin(0.3), std::cos(0.3), 1));
  EXPECT_EQ(hom_mat2d_slant(id, 0.3, "z", 0.0, 0.0, &out), VERR_CTRL_VALUE(2));

  // Reflection at the line through (1, 0) and (1, 5): x -> 2 - x.
  ASSERT_EQ(hom_mat2d_reflect(id, 1.0, 0.0, 1.0, 5.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(4, 7, 1), Eigen::Vector3d(-2, 7, 1));
  ASSERT_EQ(hom_mat2d_reflect_local(id, 1.0, 1.0, &out), VRESULT_OK);
  ExpectNear(Mat3(out) * Eigen::Vector3d(2, 5, 1), Eigen::Vector3d(5, 2, 1));
  EXPECT_EQ(hom_mat2d_reflect(id, 1.0, 1.0, 1.0, 1.0, &out), VERR_CTRL_VALUE(3));
}

TEST_F(HomMatTest, AlgebraIdentitiesAndSingularMatrices) {
  VTuple out, inv, det;
  ASSERT_EQ(hom_mat2d_invert(Tup2D(kSome), &inv), VRESULT_OK);
  EXPECT_EQ(inv.Num(), 6);
  ASSERT_EQ(hom_mat2d_compose(Tup2D(kSome), inv, &out), VRESULT_OK);
  ExpectNear(Mat3(out), Eigen::Matrix3d::Identity());
  ASSERT_EQ(hom_mat2d_determinant(Tup2D(kSome), &det), VRESULT_OK);
  EXPECT_NEAR(det[0].D(), kSome.determinant(), 1e-12);
  ASSERT_EQ(hom_mat2d_transpose(Tup2D(kSome), &out), VRESULT_OK);
  EXPECT_EQ(out.Num(), 9);
  ExpectNear(Mat3(out), Eigen::Matrix3d(kSome.transpose()));

  Eigen::Matrix3d proj = kSome;
  proj.row(2) << 0.001, -0.002, 1.0;
  ASSERT_EQ(hom_mat2d_invert(Tup2D(proj, 3), &inv), VRESULT_OK);
  EXPECT_EQ(inv.Num(), 9);
  ExpectNear(Mat3(inv) * proj, Eigen::Matrix3d::Identity());

  const Eigen::Matrix3d singular = (Eigen::Matrix3d() << 1, 2, 3, 2, 4, 5, 0, 0, 1).finished();
  EXPECT_EQ(hom_mat2d_invert(Tup2D(singular), &out), VERR_CTRL_VALUE(0));
  EXPECT_EQ(hom_mat2d_invert(Tup({1, 2, 3}), &out), VERR_CTRL_NUM(0));
  EXPECT_EQ(hom_mat2d_invert(Tup({1, 0, 0, 0, NAN, 0}), &out), VERR_CTRL_VALUE(0));
}

TEST_F(HomMatTest, PointsThroughMatrices) {
  VTuple qx, qy, qw;
  ASSERT_EQ(affine_trans_point_2d(Tup2D(kSome), Tup({1, 2, 3}), 4.0, &qx, &qy), VRESULT_OK);
  ASSERT_EQ(qx.Num(), 3);
  for (int i = 0; i < 3; ++i) {
    const Eigen::Vector3d q = kSome * Eigen::Vector3d(i + 1, 4, 1);
    EXPECT_NEAR(qx[i].D(), q[0], 1e-12);
    EXPECT_NEAR(qy[i].D(), q[1], 1e-12);
  }
  EXPECT_EQ(affine_trans_point_2d(Tup2D(kSome), Tup({1, 2, 3}), Tup({1, 2}), &qx, &qy),
            VERR_CTRL_NUM(2));

  Eigen::Matrix3d proj = kSome;
  proj.row(2) << 0.01, 0.02, 1.0;
  ASSERT_EQ(projective_trans_pixel(Tup2D(proj, 3), 5.0, 7.0, &qx, &qy), VRESULT_OK);
  const Eigen::Vector3d p = proj * Eigen::Vector3d(5, 7, 1);
  EXPECT_NEAR(qx[0].D(), p[0] / p[2], 1e-12);
  EXPECT_NEAR(qy[0].D(), p[1] / p[2], 1e-12);
  ASSERT_EQ(projective_trans_point_2d(Tup2D(proj, 3), 5.0, 7.0, 2.0, &qx, &qy, &qw), VRESULT_OK);
  EXPECT_NEAR(qw[0].D(), (proj * Eigen::Vector3d(5, 7, 2))[2], 1e-12);
  // A point on the vanishing line has no image.
  proj.row(2) << 0.0, 0.0, 0.0;
  proj(2, 0) = 1.0;
  EXPECT_EQ(projective_trans_pixel(Tup2D(proj, 3), 0.0, 3.0, &qx, &qy), VERR_CTRL_VALUE(0));
}

TEST_F(HomMatTest, AffineParametersRebuildTheMatrix) {
  for (const auto& par : {std::vector<double>{2.0, 0.5, 0.4, 0.2, 3, -1},
                          std::vector<double>{-1.5, 2.0, -2.5, -0.6, 0, 7}}) {
    VTuple m, sx, sy, phi, theta, tx, ty;
    ASSERT_EQ(hom_mat2d_identity(&m), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_scale(m, par[0], par[1], 0.0, 0.0, &m), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_slant(m, par[3], "x", 0.0, 0.0, &m), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_rotate(m, par[2], 0.0, 0.0, &m), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_translate(m, par[4], par[5], &m), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_to_affine_par(m, &sx, &sy, &phi, &theta, &tx, &ty), VRESULT_OK);
    VTuple back;
    ASSERT_EQ(hom_mat2d_identity(&back), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_scale(back, sx, sy, 0.0, 0.0, &back), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_slant(back, theta, "x", 0.0, 0.0, &back), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_rotate(back, phi, 0.0, 0.0, &back), VRESULT_OK);
    ASSERT_EQ(hom_mat2d_translate(back, tx, ty, &back), VRESULT_OK);
    ExpectNear(Mat3(back), Mat3(m));
    EXPECT_GT(sy[0].D(), 0.0);
  }
}

// Exact correspondences give back the map they came from; too few or
// collinear points are refused.
TEST_F(HomMatTest, EstimatorsRecoverExactMaps) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-50, 50);
  std::vector<double> px, py;
  for (int i = 0; i < 12; ++i) px.push_back(u(rng)), py.push_back(u(rng));
  auto map = [&](const Eigen::Matrix3d& h, VTuple* qx, VTuple* qy) {
    std::vector<double> x, y;
    for (size_t i = 0; i < px.size(); ++i) {
      const Eigen::Vector3d q = h * Eigen::Vector3d(px[i], py[i], 1);
      x.push_back(q[0] / q[2]), y.push_back(q[1] / q[2]);
    }
    *qx = Tup(x), *qy = Tup(y);
  };
  VTuple qx, qy, out, cov;
  const Eigen::Matrix3d rigid = Move2(4, -9) * Rot2(2.5);
  map(rigid, &qx, &qy);
  ASSERT_EQ(vector_to_rigid(Tup(px), Tup(py), qx, qy, &out), VRESULT_OK);
  ExpectNear(Mat3(out), rigid, 1e-9);

  Eigen::Matrix3d similar = rigid;
  similar.topLeftCorner<2, 2>() *= 0.75;
  map(similar, &qx, &qy);
  ASSERT_EQ(vector_to_similarity(Tup(px), Tup(py), qx, qy, &out), VRESULT_OK);
  ExpectNear(Mat3(out), similar, 1e-9);

  Eigen::Matrix3d aniso = Move2(1, 2) * Rot2(-1.1);
  aniso.topLeftCorner<2, 2>() *= Eigen::Vector2d(1.5, 0.6).asDiagonal();
  map(aniso, &qx, &qy);
  ASSERT_EQ(vector_to_aniso(Tup(px), Tup(py), qx, qy, &out), VRESULT_OK);
  ExpectNear(Mat3(out), aniso, 1e-9);

  map(kSome, &qx, &qy);
  ASSERT_EQ(vector_to_hom_mat2d(Tup(px), Tup(py), qx, qy, &out), VRESULT_OK);
  ExpectNear(Mat3(out), kSome, 1e-9);

  Eigen::Matrix3d proj = kSome;
  proj.row(2) << 0.002, -0.003, 1.0;
  map(proj, &qx, &qy);
  for (const char* method : {"normalized_dlt", "dlt"}) {
    ASSERT_EQ(vector_to_proj_hom_mat2d(Tup(px), Tup(py), qx, qy, method, VTuple(), VTuple(),
                                       VTuple(), VTuple(), VTuple(), VTuple(), &out, &cov),
              VRESULT_OK);
    ExpectNear(Mat3(out), proj, 1e-6);
  }
  ASSERT_EQ(hom_vector_to_proj_hom_mat2d(Tup(px), Tup(py), 1.0, qx, qy, 1.0, "normalized_dlt", &out),
            VRESULT_OK);
  ExpectNear(Mat3(out), proj, 1e-7);

  // Collinear points fix no affine map; two points no projective one.
  const VTuple line = Tup({0, 1, 2, 3});
  EXPECT_EQ(vector_to_hom_mat2d(line, line, line, line, &out), VERR_CTRL_VALUE(0));
  EXPECT_EQ(vector_to_rigid(Tup({1}), Tup({1}), Tup({1}), Tup({1}), &out), VERR_CTRL_NUM(0));
  EXPECT_EQ(vector_to_proj_hom_mat2d(Tup({0, 1}), Tup({0, 1}), Tup({0, 1}), Tup({0, 1}), "dlt",
                                     VTuple(), VTuple(), VTuple(), VTuple(), VTuple(), VTuple(),
                                     &out, &cov),
            VERR_CTRL_NUM(0));

  // A rigid map of a point and angle onto another.
  ASSERT_EQ(vector_angle_to_rigid(10.0, 20.0, 0.5, 30.0, 40.0, 1.5, &out), VRESULT_OK);
  ExpectNear(Mat3(out), Move2(30, 40) * Rot2(1.0) * Move2(-10, -20));
}

Eigen::Matrix4d Rot3(const Eigen::Vector3d& axis, double phi) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(phi, axis.normalized()).toRotationMatrix();
  return m;
}

TEST_F(HomMatTest, Matrices3D) {
  VTuple id, out, inv, x, y, z;
  ASSERT_EQ(hom_mat3d_identity(&id), VRESULT_OK);
  ExpectNear(Mat4(id), Eigen::Matrix4d::Identity());
  Eigen::Matrix4d some = Rot3({1, 2, 3}, 0.8);
  some.topRightCorner<3, 1>() << 1, -2, 3;
  some(0, 0) *= 1.3;

  // Rotation about z turns x towards y; about a point it keeps the point.
  ASSERT_EQ(hom_mat3d_rotate(id, M_PI / 2, "z", 0.0, 0.0, 0.0, &out), VRESULT_OK);
  ExpectNear(Mat4(out) * Eigen::Vector4d(1, 0, 0, 1), Eigen::Vector4d(0, 1, 0, 1));
  ASSERT_EQ(hom_mat3d_rotate(Tup3D(some), 0.4, Tup({1, 1, 0}), 1.0, 2.0, 3.0, &out), VRESULT_OK);
  Eigen::Matrix4d about = Eigen::Matrix4d::Identity();
  about.topRightCorner<3, 1>() << 1, 2, 3;
  ExpectNear(Mat4(out), about * Rot3({1, 1, 0}, 0.4) * about.inverse() * some);
  ASSERT_EQ(hom_mat3d_rotate_local(Tup3D(some), 0.4, "x", &out), VRESULT_OK);
  ExpectNear(Mat4(out), some * Rot3({1, 0, 0}, 0.4));
  ASSERT_EQ(hom_mat3d_translate(Tup3D(some), 1.0, 2.0, 3.0, &out), VRESULT_OK);
  ExpectNear(Mat4(out), about * some);
  ASSERT_EQ(hom_mat3d_scale_local(Tup3D(some), 2.0, 3.0, 4.0, &out), VRESULT_OK);
  ExpectNear(Mat4(out), some * Eigen::Vector4d(2, 3, 4, 1).asDiagonal().toDenseMatrix());
  EXPECT_EQ(hom_mat3d_rotate_local(Tup3D(some), 0.4, "w", &out), VERR_CTRL_VALUE(2));

  ASSERT_EQ(hom_mat3d_invert(Tup3D(some), &inv), VRESULT_OK);
  ASSERT_EQ(hom_mat3d_compose(inv, Tup3D(some), &out), VRESULT_OK);
  ExpectNear(Mat4(out), Eigen::Matrix4d::Identity());
  Eigen::Matrix4d flat = some;
  flat.row(2) = flat.row(0);
  EXPECT_EQ(hom_mat3d_invert(Tup3D(flat), &out), VERR_CTRL_VALUE(0));

  ASSERT_EQ(affine_trans_point_3d(Tup3D(some), 1.0, Tup({2, 5}), 3.0, &x, &y, &z), VRESULT_OK);
  ASSERT_EQ(x.Num(), 2);
  const Eigen::Vector4d q = some * Eigen::Vector4d(1, 5, 3, 1);
  EXPECT_NEAR(x[1].D(), q[0], 1e-12);
  EXPECT_NEAR(y[1].D(), q[1], 1e-12);
  EXPECT_NEAR(z[1].D(), q[2], 1e-12);

  // Rigid and affine maps recovered from exact point pairs.
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> u(-10, 10);
  std::vector<double> p[3], t[3];
  const Eigen::Matrix4d rigid = about * Rot3({0.3, -1, 2}, 1.9);
  for (int i = 0; i < 8; ++i) {
    const Eigen::Vector4d s(u(rng), u(rng), u(rng), 1), d = rigid * s;
    for (int k = 0; k < 3; ++k) p[k].push_back(s[k]), t[k].push_back(d[k]);
  }
  ASSERT_EQ(vector_to_hom_mat3d("rigid", Tup(p[0]), Tup(p[1]), Tup(p[2]), Tup(t[0]), Tup(t[1]),
                                Tup(t[2]), &out),
            VRESULT_OK);
  ExpectNear(Mat4(out), rigid, 1e-9);
  ASSERT_EQ(vector_to_hom_mat3d("affine", Tup(p[0]), Tup(p[1]), Tup(p[2]), Tup(t[0]), Tup(t[1]),
                                Tup(t[2]), &out),
            VRESULT_OK);
  ExpectNear(Mat4(out), rigid, 1e-9);
}

}  // namespace
