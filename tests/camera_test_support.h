// Camera tuples and helpers for the camera model tests.
#pragma once

#include <gtest/gtest.h>
#include <vexaobj.h>

#include <Eigen/Dense>
#include <string>
#include <vector>

#include "math_test_support.h"

namespace camera_test {

using Vexa::VTuple;

// focus 12 mm, 5 um cells, 640 x 480, principal point off centre.
inline VTuple DivisionCam(double kappa, double focus = 0.012) {
  VTuple t;
  t[0] = "area_scan_division";
  const double v[] = {focus, kappa, 5e-6, 5.5e-6, 322.5, 236.25};
  for (int i = 0; i < 6; ++i) t[i + 1] = v[i];
  t[7] = Vlong{640};
  t[8] = Vlong{480};
  return t;
}

// The same camera with three radial and two tangential coefficients of a
// few per cent at the image corners.
inline VTuple PolynomialCam(double k1 = -5000.0, double k2 = 1e8, double k3 = 1e13,
                            double p1 = 2.0, double p2 = -1.5) {
  VTuple t;
  t[0] = "area_scan_polynomial";
  const double v[] = {0.012, k1, k2, k3, p1, p2, 5e-6, 5.5e-6, 322.5, 236.25};
  for (int i = 0; i < 10; ++i) t[i + 1] = v[i];
  t[11] = Vlong{640};
  t[12] = Vlong{480};
  return t;
}

// `t` with value `i` replaced.
template <class V>
VTuple With(VTuple t, Vlong i, V v) {
  t[i] = v;
  return t;
}

// The numbers of a camera tuple (all but the model name).
inline std::vector<double> Numbers(const VTuple& cam) {
  std::vector<double> v;
  for (Vlong i = 1; i < cam.Num(); ++i) v.push_back(cam[i].D());
  return v;
}

inline VTuple Pose(double tx, double ty, double tz, double a, double b, double c) {
  return math_test::Tup({tx, ty, tz, a, b, c, 0});
}

// The point map of a pose.
inline Eigen::Matrix4d PoseMap(const VTuple& pose) {
  VTuple m;
  EXPECT_EQ(Vexa::pose_to_hom_mat3d(pose, &m), VRESULT_OK);
  return math_test::Mat4(m);
}

}  // namespace camera_test
