// Contours with images and per-point measures: gray values along a
// contour, contours painted into images, noise along the normal, and the
// distance of every point to an ellipse; each against a closed form or a
// brute-force loop.
#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldContourImage : public xld_test::XldTest {};

Vobject Contour(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

void Points(const Vobject& contour, std::vector<double>* rows, std::vector<double>* cols) {
  VTuple r, c;
  ASSERT_EQ(get_contour_xld(contour, &r, &c), VRESULT_OK);
  *rows = Values(r);
  *cols = Values(c);
}

// A `type` image whose pixel (r, c) holds value(r, c).
Vobject Image(const char* type, int h, int w, const std::function<double(int, int)>& value) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, type, Vlong{w}, Vlong{h}), VRESULT_OK);
  VTuple rows, cols;
  std::vector<double> vals;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      rows[rows.Num()] = Vlong{r};
      cols[cols.Num()] = Vlong{c};
      vals.push_back(value(r, c));
    }
  EXPECT_EQ(set_grayval(image, rows, cols, Tuple(vals)), VRESULT_OK);
  return image;
}

double Pixel(const Vobject& image, int r, int c) {
  VTuple v;
  EXPECT_EQ(get_grayval(image, VTuple(Vlong{r}), VTuple(Vlong{c}), &v), VRESULT_OK);
  return v[0].D();
}

// Distance from (r, c) to the segment (ar, ac)-(br, bc).
double SegmentDistance(double r, double c, double ar, double ac, double br, double bc) {
  const double dr = br - ar, dc = bc - ac, len2 = dr * dr + dc * dc;
  const double t = len2 > 0 ? std::clamp(((r - ar) * dr + (c - ac) * dc) / len2, 0.0, 1.0) : 0.0;
  return std::hypot(r - ar - t * dr, c - ac - t * dc);
}

// ---- Gray values along a contour --------------------------------------------

TEST_F(XldContourImage, GrayValuesOnARampAreExactBilinearAndNearestRoundToPixels) {
  const Vobject ramp = Image("real", 10, 12, [](int r, int c) { return 3.0 * r + 2.0 * c; });
  const std::vector<double> rows = {1.25, 4.5, 7.75, 2.4}, cols = {2.5, 6.1, 9.0, 0.6};
  VTuple v;
  ASSERT_EQ(get_grayval_contour_xld(ramp, Contour(rows, cols), "bilinear", &v), VRESULT_OK);
  ASSERT_EQ(v.Num(), 4);
  for (size_t i = 0; i < rows.size(); ++i)
    EXPECT_NEAR(v[static_cast<Vlong>(i)].D(), 3 * rows[i] + 2 * cols[i], 1e-4) << i;
  ASSERT_EQ(get_grayval_contour_xld(ramp, Contour(rows, cols), "nearest_neighbor", &v), VRESULT_OK);
  for (size_t i = 0; i < rows.size(); ++i)
    EXPECT_DOUBLE_EQ(v[static_cast<Vlong>(i)].D(),
                     3 * std::floor(rows[i] + 0.5) + 2 * std::floor(cols[i] + 0.5))
        << i;
}

TEST_F(XldContourImage, GrayValuesOutsideTheDomainAreMinusOne) {
  const Vobject ramp = Image("byte", 10, 12, [](int r, int c) { return r + c; });
  Vobject box, reduced;
  ASSERT_EQ(gen_rectangle1(&box, 0.0, 0.0, 4.0, 11.0), VRESULT_OK);
  ASSERT_EQ(reduce_domain(ramp, box, &reduced), VRESULT_OK);
  VTuple v;
  ASSERT_EQ(get_grayval_contour_xld(reduced, Contour({2, 6, -3}, {3, 3, 3}), "bilinear", &v),
            VRESULT_OK);
  EXPECT_EQ(Values(v), (std::vector<double>{5, -1, -1}));
}

TEST_F(XldContourImage, GrayValuesRefuseBadInput) {
  const Vobject image = Image("byte", 4, 4, [](int, int) { return 1; });
  const Vobject c = Contour({1, 2}, {1, 2});
  VTuple v;
  EXPECT_EQ(get_grayval_contour_xld(image, c, "cubic_spline", &v), VERR_CTRL_VALUE(0));
  Vobject complex, polygon;
  ASSERT_EQ(gen_image_const(&complex, "complex", Vlong{4}, Vlong{4}), VRESULT_OK);
  EXPECT_EQ(get_grayval_contour_xld(complex, c, "bilinear", &v), VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_polygons_xld(c, &polygon, "ramer", 1.0), VRESULT_OK);
  EXPECT_EQ(get_grayval_contour_xld(image, polygon, "bilinear", &v), VERR_OBJ_CLASS(2));
  ASSERT_EQ(get_grayval_contour_xld(image, Contour({}, {}), "bilinear", &v), VRESULT_OK);
  EXPECT_EQ(v.Num(), 0);
}

// ---- Painting -------------------------------------------------------------------

TEST_F(XldContourImage, PaintingBlendsByOneMinusTheDistanceToTheNearestSegment) {
  const Vobject image = Image("byte", 20, 24, [](int, int) { return 10; });
  const std::vector<double> rows = {3.3, 15.2, 9.0}, cols = {2.7, 8.4, 20.5};
  const Vobject dot = Contour({17.4}, {19.6});
  Vobject both, painted;
  ASSERT_EQ(concat_obj(Contour(rows, cols), dot, &both), VRESULT_OK);
  ASSERT_EQ(paint_xld(both, image, &painted, 250.0), VRESULT_OK);
  int touched = 0;
  for (int r = 0; r < 20; ++r)
    for (int c = 0; c < 24; ++c) {
      double d = std::hypot(r - 17.4, c - 19.6);
      for (size_t i = 0; i + 1 < rows.size(); ++i)
        d = std::min(d, SegmentDistance(r, c, rows[i], cols[i], rows[i + 1], cols[i + 1]));
      const double expected = 10 + std::max(0.0, 1 - d) * 240;
      EXPECT_NEAR(Pixel(painted, r, c), expected, 0.5 + 1e-4) << r << "," << c;
      touched += d < 1;
    }
  EXPECT_GT(touched, 40);
  EXPECT_EQ(Pixel(image, 9, 20), 10);  // the input keeps its pixels
}

TEST_F(XldContourImage, PaintingTakesOneValuePerChannelAndRefusesOthers) {
  const Vobject red = Image("real", 6, 6, [](int, int) { return 0; });
  Vobject rgb, painted;
  ASSERT_EQ(compose2(red, red, &rgb), VRESULT_OK);
  const Vobject line = Contour({2, 2}, {0, 5});
  ASSERT_EQ(paint_xld(line, rgb, &painted, Tuple({7, -3})), VRESULT_OK);
  Vobject second;
  ASSERT_EQ(access_channel(painted, &second, Vlong{2}), VRESULT_OK);
  EXPECT_DOUBLE_EQ(Pixel(painted, 2, 4), 7);
  EXPECT_DOUBLE_EQ(Pixel(second, 2, 4), -3);
  EXPECT_DOUBLE_EQ(Pixel(second, 4, 4), 0);
  EXPECT_EQ(paint_xld(line, rgb, &painted, Tuple({1, 2, 3})), VERR_CTRL_NUM(0));
  EXPECT_EQ(paint_xld(line, rgb, &painted, VTuple(NAN)), VERR_CTRL_VALUE(0));
  Vobject complex;
  ASSERT_EQ(gen_image_const(&complex, "complex", Vlong{4}, Vlong{4}), VRESULT_OK);
  EXPECT_EQ(paint_xld(line, complex, &painted, 1.0), VERR_PIXEL_TYPE);
}

// ---- Noise along the normal -------------------------------------------------------

TEST_F(XldContourImage, NoiseMovesPointsAcrossALineOnlyWithinTheAmplitude) {
  std::vector<double> rows(200, 5.0), cols(200);
  for (size_t i = 0; i < cols.size(); ++i) cols[i] = 0.5 * static_cast<double>(i);
  const Vobject line = Contour(rows, cols);
  ASSERT_EQ(set_system("seed_rand", Vlong{42}), VRESULT_OK);
  Vobject noisy, again;
  ASSERT_EQ(add_noise_white_contour_xld(line, &noisy, Vlong{5}, 2.0), VRESULT_OK);
  ASSERT_EQ(set_system("seed_rand", Vlong{42}), VRESULT_OK);
  ASSERT_EQ(add_noise_white_contour_xld(line, &again, Vlong{5}, 2.0), VRESULT_OK);
  std::vector<double> r, c, r2, c2;
  Points(noisy, &r, &c);
  Points(again, &r2, &c2);
  EXPECT_EQ(r, r2);
  EXPECT_EQ(c, c2);
  double sum = 0, largest = 0;
  for (size_t i = 0; i < r.size(); ++i) {
    // Windows are taken from the input's points: the normal is the row axis.
    EXPECT_FLOAT_EQ(c[i], cols[i]) << i;
    EXPECT_LE(std::fabs(r[i] - 5), 2.0) << i;
    sum += r[i] - 5;
    largest = std::max(largest, std::fabs(r[i] - 5));
  }
  EXPECT_NEAR(sum / 200, 0, 0.25);  // uniform on [-2, 2]: deviation 1.15 / sqrt(200)
  EXPECT_GT(largest, 1.8);
}

TEST_F(XldContourImage, NoiseOnACircleIsRadialAndKeepsItClosed) {
  Vobject circle, noisy;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 50.0, 40.0, 20.0, 0.0, 2 * M_PI, "positive", 0.5),
            VRESULT_OK);
  ASSERT_EQ(add_noise_white_contour_xld(circle, &noisy, Vlong{3}, 1.0), VRESULT_OK);
  std::vector<double> r0, c0, r, c;
  Points(circle, &r0, &c0);
  Points(noisy, &r, &c);
  ASSERT_EQ(r.size(), r0.size());
  EXPECT_EQ(r.front(), r.back());
  EXPECT_EQ(c.front(), c.back());
  for (size_t i = 0; i < r.size(); ++i) {
    const double radial = ((r[i] - r0[i]) * (r0[i] - 50) + (c[i] - c0[i]) * (c0[i] - 40)) / 20;
    const double moved = std::hypot(r[i] - r0[i], c[i] - c0[i]);
    EXPECT_LE(moved, 1.0 + 1e-5) << i;
    // The chord of the three-point window is the tangent at the middle one.
    EXPECT_NEAR(std::fabs(radial), moved, 1e-4) << i;
  }
}

TEST_F(XldContourImage, NoiseRefusesBadWindowsAndAmplitudesAndKeepsSinglePoints) {
  const Vobject c = Contour({1, 2, 3}, {1, 2, 3});
  Vobject noisy;
  EXPECT_EQ(add_noise_white_contour_xld(c, &noisy, Vlong{1}, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(add_noise_white_contour_xld(c, &noisy, Vlong{3}, -1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(add_noise_white_contour_xld(c, &noisy, Vlong{3}, NAN), VERR_CTRL_VALUE(1));
  ASSERT_EQ(add_noise_white_contour_xld(Contour({4}, {6}), &noisy, Vlong{3}, 5.0), VRESULT_OK);
  std::vector<double> r, k;
  Points(noisy, &r, &k);
  EXPECT_EQ(r, std::vector<double>{4});
  EXPECT_EQ(k, std::vector<double>{6});
}

// ---- Distances to an ellipse, point by point -------------------------------------

TEST_F(XldContourImage, PointDistancesToAnEllipseMatchADenseSampling) {
  // Ellipse at (50, 60), half axes 10 and 5, long axis 0.4 rad from the
  // column axis (counter-clockwise on the screen).
  const double phi = 0.4, cs = std::cos(phi), sn = std::sin(phi);
  std::vector<double> rows, cols;
  for (int i = 0; i < 40; ++i) {
    // Contours keep single precision: the references use the same points.
    rows.push_back(static_cast<float>(50 + 18 * std::sin(0.7 * i) * std::cos(0.13 * i)));
    cols.push_back(static_cast<float>(60 + 18 * std::cos(1.3 * i)));
  }
  VTuple geo, alg;
  const Vobject c = Contour(rows, cols);
  ASSERT_EQ(dist_ellipse_contour_points_xld(c, "geometric", Vlong{0}, 50.0, 60.0, phi, 10.0, 5.0,
                                            &geo),
            VRESULT_OK);
  ASSERT_EQ(dist_ellipse_contour_points_xld(c, "algebraic", Vlong{3}, 50.0, 60.0, phi, 5.0, 10.0,
                                            &alg),
            VRESULT_OK);
  ASSERT_EQ(geo.Num(), 40);
  ASSERT_EQ(alg.Num(), 34);
  for (size_t i = 0; i < rows.size(); ++i) {
    double best = INFINITY;
    for (int k = 0; k < 200000; ++k) {
      const double t = 2 * M_PI * k / 200000, u = 10 * std::cos(t), v = 5 * std::sin(t);
      best = std::min(best, std::hypot(60 + u * cs + v * sn - cols[i], 50 - u * sn + v * cs - rows[i]));
    }
    EXPECT_NEAR(geo[static_cast<Vlong>(i)].D(), best, 1e-5) << i;
  }
  // radius1 5 along phi, radius2 10 across: the algebraic distance
  // |F| / |grad F| of F = (u/5)^2 + (v/10)^2 - 1.
  for (size_t i = 3; i + 3 < rows.size(); ++i) {
    const double dr = rows[i] - 50, dc = cols[i] - 60;
    const double u = dc * cs - dr * sn, v = -dc * sn - dr * cs;
    const double f = u * u / 25 + v * v / 100 - 1, g = 2 * std::hypot(u / 25, v / 100);
    EXPECT_NEAR(alg[static_cast<Vlong>(i - 3)].D(), std::fabs(f) / g, 1e-9) << i;
  }
}

TEST_F(XldContourImage, PointDistancesAgreeWithThePerContourMeanAndRefuseBadInput) {
  Vobject circle;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 10.0, 10.0, 7.0, 0.0, 2 * M_PI, "positive", 1.0),
            VRESULT_OK);
  VTuple d, lo, hi, mean, dev;
  ASSERT_EQ(dist_ellipse_contour_points_xld(circle, "geometric", Vlong{5}, 10.0, 11.0, 0.0, 8.0,
                                            6.0, &d),
            VRESULT_OK);
  ASSERT_EQ(dist_ellipse_contour_xld(circle, "geometric", Vlong{-1}, Vlong{5}, 10.0, 11.0, 0.0,
                                     8.0, 6.0, &lo, &hi, &mean, &dev),
            VRESULT_OK);
  std::vector<double> v = Values(d);
  ASSERT_FALSE(v.empty());
  double sum = 0;
  for (double x : v) sum += x;
  EXPECT_NEAR(sum / static_cast<double>(v.size()), mean[0].D(), 1e-12);
  EXPECT_DOUBLE_EQ(*std::max_element(v.begin(), v.end()), hi[0].D());

  const Vobject open = Contour({1, 2, 3}, {1, 2, 3});
  ASSERT_EQ(dist_ellipse_contour_points_xld(open, "geometric", Vlong{2}, 0.0, 0.0, 0.0, 2.0, 1.0, &d),
            VRESULT_OK);
  EXPECT_EQ(d.Num(), 0);
  EXPECT_EQ(dist_ellipse_contour_points_xld(open, "exact", Vlong{0}, 0.0, 0.0, 0.0, 2.0, 1.0, &d),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(dist_ellipse_contour_points_xld(open, "geometric", Vlong{-1}, 0.0, 0.0, 0.0, 2.0, 1.0,
                                            &d),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(dist_ellipse_contour_points_xld(open, "geometric", Vlong{0}, 0.0, 0.0, 0.0, 0.0, 1.0, &d),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(dist_ellipse_contour_points_xld(open, "geometric", Vlong{0}, 0.0, NAN, 0.0, 2.0, 1.0, &d),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(dist_ellipse_contour_points_xld(open, "geometric", Vlong{0}, 0.0, 0.0, 0.0, 2.0, -1.0, &d),
            VERR_CTRL_VALUE(6));
}

}  // namespace
