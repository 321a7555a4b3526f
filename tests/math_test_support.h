// Tuples of reals in and out of the procedural operators, for the tests of
// matrices, poses and sampled functions.
#pragma once

#include <gtest/gtest.h>
#include <vexaobj.h>

#include <Eigen/Dense>
#include <vector>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace math_test {

using Vexa::VTuple;

inline VTuple Tup(const std::vector<double>& v) {
  VTuple t;
  for (size_t i = 0; i < v.size(); ++i) t[static_cast<Vlong>(i)] = v[i];
  return t;
}

inline std::vector<double> Vec(const VTuple& t) {
  std::vector<double> v;
  for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].D());
  return v;
}

// A 2D matrix tuple (6 or 9 values) as a full 3x3 matrix.
inline Eigen::Matrix3d Mat3(const VTuple& t) {
  const std::vector<double> v = Vec(t);
  Eigen::Matrix3d m = Eigen::Matrix3d::Identity();
  for (size_t i = 0; i < v.size() && i < 9; ++i) m(i / 3, i % 3) = v[i];
  return m;
}

inline VTuple Tup2D(const Eigen::Matrix3d& m, int rows = 2) {
  std::vector<double> v;
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < 3; ++c) v.push_back(m(r, c));
  return Tup(v);
}

// A 3D matrix tuple (12 or 16 values) as a full 4x4 matrix.
inline Eigen::Matrix4d Mat4(const VTuple& t) {
  const std::vector<double> v = Vec(t);
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (size_t i = 0; i < v.size() && i < 16; ++i) m(i / 4, i % 4) = v[i];
  return m;
}

inline VTuple Tup3D(const Eigen::Matrix4d& m) {
  std::vector<double> v;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 4; ++c) v.push_back(m(r, c));
  return Tup(v);
}

template <class A, class B>
void ExpectNear(const A& a, const B& b, double tol = 1e-9) {
  ASSERT_EQ(a.rows(), b.rows());
  ASSERT_EQ(a.cols(), b.cols());
  EXPECT_LT((a - b).cwiseAbs().maxCoeff(), tol) << "\n" << a << "\nvs\n" << b;
}

}  // namespace math_test
