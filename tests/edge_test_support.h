// Shared by the edge, segmentation and Fourier tests: reference filtering
// of a test image by a plain loop (neighbours mirrored at the image border
// without repeating it), and comparison of an operator's result with such
// a reference over the input's domain.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "image_ops_support.h"

namespace edge_test {

using image_test::TestImage;
using Vexa::Vobject;

// Mirrors an index into 0..n-1: -1 -> 1, n -> n - 2.
inline int Mirror(int i, int n) {
  if (n == 1) return 0;
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
  return i;
}

// The value of `t` at (r, c), mirrored into the image.
inline double At(const TestImage& t, int r, int c) {
  return t.At(Mirror(r, t.height), Mirror(c, t.width));
}

// Sum of mask[i][j] * t(r + i - half, c + j - half): correlation with a
// square mask given row by row.
inline double Correlate(const TestImage& t, int r, int c, const std::vector<double>& mask) {
  const int side = static_cast<int>(std::lround(std::sqrt(double(mask.size()))));
  const int half = side / 2;
  double s = 0;
  for (int i = 0; i < side; ++i)
    for (int j = 0; j < side; ++j) s += mask[i * side + j] * At(t, r + i - half, c + j - half);
  return s;
}

// The outer product of a column mask `col` and a row mask `row`.
inline std::vector<double> Outer(const std::vector<double>& col, const std::vector<double>& row) {
  std::vector<double> m;
  for (double a : col)
    for (double b : row) m.push_back(a * b);
  return m;
}

// Stores a reference value the way the runtime stores it in `type`.
inline double Stored(const std::string& type, double v) {
  if (type == "real") return static_cast<float>(v);
  double lo, hi;
  image_test::ValueRange(type, &lo, &hi);
  if (type == "int4") { lo = -2147483648.0; hi = 2147483647.0; }
  if (type == "int8") { lo = -9223372036854775808.0; hi = 9223372036854775807.0; }
  if (type == "direction") { lo = 0; hi = 255; }
  return std::min(std::max(std::round(v), lo), hi);
}

// Checks that `result` has the input's size and domain, that its domain
// pixels equal expect(r, c) stored as `type` within `tol` (relative for
// real results), and that the pixels outside are 0.
inline void ExpectFiltered(const Vobject& result, const TestImage& in, const std::string& type,
                           double tol, const std::function<double(int, int)>& expect) {
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = image_test::Pixels(result, &domain);
  ASSERT_NE(px, nullptr);
  ASSERT_EQ(px->width(), in.width);
  ASSERT_EQ(px->height(), in.height);
  ASSERT_STREQ(vexa::PixelTypeName(px->type()), type.c_str());
  int errors = 0;
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c) {
      ASSERT_EQ(domain->Contains(r, c), in.In(r, c)) << r << "," << c;
      const double got = px->Get(r, c);
      if (!in.In(r, c)) {
        EXPECT_EQ(got, 0.0);
        continue;
      }
      const double want = Stored(type, expect(r, c));
      const double limit = type == "real" ? tol * std::max(1.0, std::fabs(want)) : tol;
      if (std::fabs(got - want) > limit && ++errors < 5)
        ADD_FAILURE() << "(" << r << "," << c << ") got " << got << " want " << want;
    }
}

// A real image of f(r, c) under `domain`.
inline TestImage FunctionImage(int w, int h, const std::vector<uint8_t>& domain,
                               const std::function<double(int, int)>& f) {
  std::mt19937 gen(1);
  TestImage t = image_test::MakeImage("real", w, h, domain, gen, 0, 0);
  std::vector<float> values;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) values.push_back(static_cast<float>(f(r, c)));
  Vobject full;
  EXPECT_EQ(Vexa::gen_image1(&full, "real", w, h,
                             static_cast<Vlong>(reinterpret_cast<uintptr_t>(values.data()))),
            VRESULT_OK);
  Vobject reduced;
  EXPECT_EQ(Vexa::reduce_domain(full, image_test::RegionOf(domain, w, h), &reduced), VRESULT_OK);
  t.image = reduced;
  for (size_t k = 0; k < values.size(); ++k) t.value[k] = values[k];
  return t;
}

}  // namespace edge_test
