// Sampled functions: layout and refusal of malformed tuples, evaluation
// under each border rule, derivatives, integrals, extrema and zeros
// against explicit values, the axis transform and its estimation.
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "math_test_support.h"

namespace {

using namespace math_test;
using namespace Vexa;

class Funct1DTest : public LeakCheckedTest {};

VTuple Pairs(const std::vector<double>& x, const std::vector<double>& y) {
  VTuple f;
  EXPECT_EQ(create_funct_1d_pairs(Tup(x), Tup(y), &f), VRESULT_OK);
  return f;
}

TEST_F(Funct1DTest, LayoutAndMalformedTuples) {
  VTuple f, x, y, n;
  ASSERT_EQ(create_funct_1d_array(Tup({5, 6, 8}), &f), VRESULT_OK);
  EXPECT_EQ(Vec(f), (std::vector<double>{3, 0, 1, 2, 5, 6, 8}));
  // Pairs are sorted by x; equal x values are refused.
  f = Pairs({2, 0, 1}, {20, 0, 10});
  ASSERT_EQ(funct_1d_to_pairs(f, &x, &y), VRESULT_OK);
  EXPECT_EQ(Vec(x), (std::vector<double>{0, 1, 2}));
  EXPECT_EQ(Vec(y), (std::vector<double>{0, 10, 20}));
  EXPECT_EQ(create_funct_1d_pairs(Tup({1, 1}), Tup({0, 0}), &f), VERR_CTRL_VALUE(0));
  EXPECT_EQ(create_funct_1d_pairs(Tup({1, 2}), Tup({0}), &f), VERR_CTRL_NUM(1));

  ASSERT_EQ(num_points_funct_1d(Pairs({0, 1, 2}, {0, 10, 20}), &n), VRESULT_OK);
  EXPECT_EQ(n[0].L(), 3);
  EXPECT_EQ(num_points_funct_1d(Tup({-1}), &n), VERR_CTRL_VALUE(0));          // unset
  EXPECT_EQ(num_points_funct_1d(Tup({2, 0, 1, 5}), &n), VERR_CTRL_NUM(0));    // short
  EXPECT_EQ(num_points_funct_1d(Tup({2, 1, 0, 5, 6}), &n), VERR_CTRL_VALUE(0)); // x falls
  EXPECT_EQ(get_pair_funct_1d(Pairs({0, 1}, {3, 4}), 2, &x, &y), VERR_CTRL_VALUE(1));
}

TEST_F(Funct1DTest, ValuesUnderBorderRules) {
  const VTuple f = Pairs({0, 2, 4}, {0, 4, 2});
  VTuple y;
  ASSERT_EQ(get_y_value_funct_1d(f, Tup({1, 3, 4}), "constant", &y), VRESULT_OK);
  EXPECT_EQ(Vec(y), (std::vector<double>{2, 3, 2}));
  const struct { const char* border; double at_5, at_minus_1; } kRules[] = {
      {"zero", 0, 0}, {"constant", 2, 0}, {"mirror", 3, 2}, {"cyclic", 2, 3}};
  for (const auto& rule : kRules) {
    ASSERT_EQ(get_y_value_funct_1d(f, Tup({5, -1}), rule.border, &y), VRESULT_OK);
    EXPECT_DOUBLE_EQ(y[0].D(), rule.at_5) << rule.border;
    EXPECT_DOUBLE_EQ(y[1].D(), rule.at_minus_1) << rule.border;
  }
  EXPECT_EQ(get_y_value_funct_1d(f, 5.0, "error", &y), VERR_CTRL_VALUE(1));
  EXPECT_EQ(get_y_value_funct_1d(f, 5.0, "wrap", &y), VERR_CTRL_VALUE(2));

  VTuple s, sx, sy;
  ASSERT_EQ(sample_funct_1d(f, 0.0, 4.0, 1.0, "constant", &s), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(s, &sx, &sy), VRESULT_OK);
  EXPECT_EQ(Vec(sy), (std::vector<double>{0, 2, 4, 3, 2}));
  VTuple c;
  ASSERT_EQ(compose_funct_1d(f, Pairs({0, 4}, {0, 40}), "constant", &c), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(c, &sx, &sy), VRESULT_OK);
  EXPECT_EQ(Vec(sy), (std::vector<double>{0, 40, 20}));
}

TEST_F(Funct1DTest, CalculusOnKnownFunctions) {
  // y = x^2 on uneven points: the second derivative is exactly 2.
  const std::vector<double> x = {0, 0.5, 1.5, 2, 3.5, 4};
  std::vector<double> y;
  for (double v : x) y.push_back(v * v);
  VTuple d, dx, dy;
  ASSERT_EQ(derivate_funct_1d(Pairs(x, y), "second", &d), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(d, &dx, &dy), VRESULT_OK);
  for (double v : Vec(dy)) EXPECT_NEAR(v, 2.0, 1e-12);
  ASSERT_EQ(derivate_funct_1d(Pairs({0, 1, 3}, {0, 2, 8}), "first", &d), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(d, &dx, &dy), VRESULT_OK);
  EXPECT_EQ(Vec(dy), (std::vector<double>{2, 8.0 / 3, 3}));

  // Areas split at the crossing: triangle of 1 above, 1 below.
  VTuple pos, neg;
  ASSERT_EQ(integrate_funct_1d(Pairs({0, 1, 2}, {2, 0, -2}), &pos, &neg), VRESULT_OK);
  EXPECT_DOUBLE_EQ(pos[0].D(), 1.0);
  EXPECT_DOUBLE_EQ(neg[0].D(), 1.0);
  ASSERT_EQ(integrate_funct_1d(Pairs({0, 2}, {1, -3}), &pos, &neg), VRESULT_OK);
  EXPECT_DOUBLE_EQ(pos[0].D(), 0.25);
  EXPECT_DOUBLE_EQ(neg[0].D(), 2.25);

  VTuple zeros;
  ASSERT_EQ(zero_crossings_funct_1d(Pairs({0, 1, 2, 3, 4}, {-1, 1, 0, 2, -2}), &zeros), VRESULT_OK);
  EXPECT_EQ(Vec(zeros), (std::vector<double>{0.5, 2, 3.5}));

  VTuple mins, maxs;
  const VTuple wave = Pairs({0, 1, 2, 3, 4, 5, 6}, {0, 3, 1, 1, 1, 2, 0});
  ASSERT_EQ(local_min_max_funct_1d(wave, "strict_min_max", "false", &mins, &maxs), VRESULT_OK);
  EXPECT_EQ(Vec(mins), std::vector<double>{});
  EXPECT_EQ(Vec(maxs), (std::vector<double>{1, 5}));
  ASSERT_EQ(local_min_max_funct_1d(wave, "plateaus_center", "false", &mins, &maxs), VRESULT_OK);
  EXPECT_EQ(Vec(mins), (std::vector<double>{3}));
  // A parabola through three samples places the maximum between them.
  ASSERT_EQ(local_min_max_funct_1d(Pairs({0, 1, 2}, {0, 4, 3}), "strict_min_max", "true", &mins, &maxs),
            VRESULT_OK);
  EXPECT_NEAR(maxs[0].D(), 1.0 + 0.5 * (0 - 3) / (0 - 8 + 3), 1e-12);
}

TEST_F(Funct1DTest, SmoothingKeepsLinesAndConstants) {
  VTuple s, sx, sy;
  ASSERT_EQ(smooth_funct_1d_mean(Pairs({0, 1, 2, 3, 4}, {7, 7, 7, 7, 7}), 2, 3, &s), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(s, &sx, &sy), VRESULT_OK);
  for (double v : Vec(sy)) EXPECT_NEAR(v, 7.0, 1e-12);
  std::vector<double> x, impulse(13, 0.0);
  for (int i = 0; i < 13; ++i) x.push_back(i);
  impulse[6] = 1.0;
  ASSERT_EQ(smooth_funct_1d_gauss(Pairs(x, impulse), 1.0, &s), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(s, &sx, &sy), VRESULT_OK);
  double sum = 0;
  for (double v : Vec(sy)) sum += v;
  EXPECT_NEAR(sum, 1.0, 1e-12);  // mass kept away from the ends
  EXPECT_NEAR(sy[4].D(), sy[8].D(), 1e-15);
  EXPECT_NEAR(sy[6].D() / sy[5].D(), std::exp(0.5), 1e-12);
  EXPECT_EQ(smooth_funct_1d_gauss(Pairs({0, 1}, {0, 1}), 0.0, &s), VERR_CTRL_VALUE(1));
}

TEST_F(Funct1DTest, InverseAndAxisTransforms) {
  VTuple inv, x, y;
  ASSERT_EQ(invert_funct_1d(Pairs({0, 1, 2}, {5, 3, 1}), &inv), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(inv, &x, &y), VRESULT_OK);
  EXPECT_EQ(Vec(x), (std::vector<double>{1, 3, 5}));
  EXPECT_EQ(Vec(y), (std::vector<double>{2, 1, 0}));
  EXPECT_EQ(invert_funct_1d(Pairs({0, 1, 2}, {5, 3, 4}), &inv), VERR_CTRL_VALUE(0));

  std::vector<double> fx, fy;
  for (int i = 0; i <= 40; ++i) fx.push_back(i * 0.25), fy.push_back(std::sin(i * 0.25));
  const VTuple f = Pairs(fx, fy);
  VTuple g;
  ASSERT_EQ(transform_funct_1d(f, Tup({2.0, 1.0, 1.25, 0.5}), &g), VRESULT_OK);
  ASSERT_EQ(funct_1d_to_pairs(g, &x, &y), VRESULT_OK);
  EXPECT_DOUBLE_EQ(x[4].D(), 1.25 * 1.0 + 0.5);
  EXPECT_DOUBLE_EQ(y[4].D(), 2.0 * std::sin(1.0) + 1.0);

  // The estimate brings f onto its transform g.
  VTuple params, chi2, cov, use;
  for (int i = 0; i < 4; ++i) use[i] = "true";
  ASSERT_EQ(match_funct_1d_trans(g, f, "constant", Tup({1.8, 0.8, 1.2, 0.4}), use, &params, &chi2,
                                 &cov),
            VRESULT_OK);
  const std::vector<double> p = Vec(params);
  EXPECT_NEAR(p[0], 2.0, 1e-3);
  EXPECT_NEAR(p[1], 1.0, 1e-3);
  EXPECT_NEAR(p[2], 1.25, 1e-3);
  EXPECT_NEAR(p[3], 0.5, 1e-3);
  EXPECT_LT(chi2[0].D(), 1e-2);
  EXPECT_EQ(cov.Num(), 16);
}

TEST_F(Funct1DTest, FunctionsInFiles) {
  const std::string file = std::filesystem::temp_directory_path() / ("funct_" + std::to_string(getpid()));
  VTuple f, back;
  ASSERT_EQ(create_funct_1d_pairs(VTuple(0.0).Append(0.5).Append(2.0), VTuple(1.0).Append(-3.25).Append(0.1), &f),
            VRESULT_OK);
  ASSERT_EQ(write_funct_1d(f, file.c_str()), VRESULT_OK);
  ASSERT_EQ(read_funct_1d(file.c_str(), &back), VRESULT_OK);
  EXPECT_EQ(back, f);
  // A tuple text that is no function.
  ASSERT_EQ(write_tuple(VTuple(Vlong{2}).Append(1.0).Append(0.0).Append(5.0).Append(6.0), file.c_str()),
            VRESULT_OK);
  EXPECT_EQ(read_funct_1d(file.c_str(), &back), VERR_FILE_CORRUPT);
  EXPECT_EQ(write_funct_1d(VTuple(Vlong{3}), file.c_str()), VERR_CTRL_NUM(0));
  std::filesystem::remove(file);
  EXPECT_EQ(read_funct_1d(file.c_str(), &back), VERR_FILE_NOT_FOUND);
}

}  // namespace
