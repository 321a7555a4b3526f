// Sub-pixel lines, zero crossings, critical points and colour edges on
// synthetic images whose features lie at known sub-pixel places: a bright
// bar of known centre and width, a linear ramp, a sum of Gaussians and a
// disc that differs from its background in colour only.
#include <cmath>
#include <functional>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::RenderImage;
using xld_test::Values;

class XldLines : public xld_test::XldTest {};

// A float image with `channels` channels of value(channel, row, column).
Vobject FunctionImage(int height, int width, int channels,
                      const std::function<double(int, int, int)>& value) {
  std::vector<std::unique_ptr<vexa::PixelBuffer>> bufs;
  for (int k = 0; k < channels; ++k) {
    std::unique_ptr<vexa::PixelBuffer> b;
    EXPECT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kReal, width, height, &b), VRESULT_OK);
    float* f = reinterpret_cast<float*>(b->data());
    for (int r = 0; r < height; ++r)
      for (int c = 0; c < width; ++c) f[r * width + c] = static_cast<float>(value(k, r, c));
    bufs.push_back(std::move(b));
  }
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImage(nullptr, std::move(bufs), &key), VRESULT_OK);
  return Vobject(key, 1);
}

// Share of the pixel (r, c) inside `inside`, on a 32 x 32 grid of samples.
double Coverage(double r, double c, const std::function<bool(double, double)>& inside) {
  int hits = 0;
  for (int i = 0; i < 32; ++i)
    for (int j = 0; j < 32; ++j) hits += inside(r - 0.5 + (i + 0.5) / 32, c - 0.5 + (j + 0.5) / 32);
  return hits / 1024.0;
}

// A bright bar of half-width 2.5 on a dark ground; its centre line
// passes through (50, 60.3) at 20 degrees from the row axis.
constexpr double kBarHalfWidth = 2.5, kBarAngle = 20 * M_PI / 180;
double BarDistance(double r, double c) {
  return (c - 60.3) * std::cos(kBarAngle) - (r - 50) * std::sin(kBarAngle);
}

TEST_F(XldLines, BarCentreAndWidthToAFewHundredthsOfAPixel) {
  const Vobject image = RenderImage(
      100, 120, [](double r, double c) { return std::fabs(BarDistance(r, c)) <= kBarHalfWidth; },
      40, 140, 0.0, 0.0);
  for (const char* model : {"bar-shaped", "none"}) {
    Vobject lines;
    ASSERT_EQ(lines_gauss(image, &lines, 1.5, 3.0, 8.0, "light", "true", model, "false"),
              VRESULT_OK);
    Vlong num = 0;
    ASSERT_EQ(count_obj(lines, &num), VRESULT_OK);
    ASSERT_EQ(num, 1) << model;
    VTuple rows, cols, left, right, contrast, angle;
    ASSERT_EQ(get_contour_xld(lines, &rows, &cols), VRESULT_OK);
    ASSERT_EQ(get_contour_attrib_xld(lines, "width_left", &left), VRESULT_OK);
    ASSERT_EQ(get_contour_attrib_xld(lines, "width_right", &right), VRESULT_OK);
    ASSERT_EQ(get_contour_attrib_xld(lines, "angle", &angle), VRESULT_OK);
    EXPECT_GT(rows.Num(), 80);
    double worst_pos = 0, worst_width = 0, mean_width = 0;
    Vlong used = 0;
    for (Vlong i = 0; i < rows.Num(); ++i) {
      if (rows[i].D() < 10 || rows[i].D() > 90) continue;  // away from the image border
      worst_pos = std::max(worst_pos, std::fabs(BarDistance(rows[i].D(), cols[i].D())));
      for (double w : {left[i].D(), right[i].D()}) {
        worst_width = std::max(worst_width, std::fabs(w - kBarHalfWidth));
        mean_width += w;
      }
      // The normal lies across the bar: 20 degrees from the column axis.
      EXPECT_NEAR(angle[i].D(), kBarAngle, 0.02);
      ++used;
    }
    mean_width /= 2.0 * used;
    std::printf("%s: position error %.4f px, width error %.4f px, mean half-width %.3f\n", model,
                worst_pos, worst_width, mean_width);
    EXPECT_LT(worst_pos, 0.05) << model;
    if (std::string(model) == "bar-shaped") {
      EXPECT_LT(worst_width, 0.1);
      ASSERT_EQ(get_contour_attrib_xld(lines, "contrast", &contrast), VRESULT_OK);
      EXPECT_NEAR(contrast[rows.Num() / 2].D(), 100.0, 5.0);
    } else {
      // The blur widens the bar: uncorrected widths are too large.
      EXPECT_GT(mean_width, kBarHalfWidth + 0.03);
      EXPECT_NE(get_contour_attrib_xld(lines, "contrast", &contrast), VRESULT_OK);
    }
  }
}

TEST_F(XldLines, LightDarkAndJunctions) {
  // A dark cross: dark lines find the arms, light ones only the bright
  // corners where the arms meet.
  const Vobject image = RenderImage(
      120, 120,
      [](double r, double c) { return std::fabs(r - 60.2) <= 1.5 || std::fabs(c - 40.7) <= 1.5; },
      200, 60, 0.0, 0.0);
  Vobject light, dark, completed;
  ASSERT_EQ(lines_gauss(image, &light, 1.2, 2.0, 5.0, "light", "false", "none", "false"),
            VRESULT_OK);
  ASSERT_EQ(lines_gauss(image, &dark, 1.2, 2.0, 5.0, "dark", "false", "none", "false"),
            VRESULT_OK);
  ASSERT_EQ(lines_gauss(image, &completed, 1.2, 2.0, 5.0, "dark", "false", "none", "true"),
            VRESULT_OK);
  Vlong n_light = 0, n_dark = 0;
  count_obj(light, &n_light);
  count_obj(dark, &n_dark);
  VTuple rows, cols;
  for (Vlong i = 1; i <= n_light; ++i) {
    Vobject one;
    select_obj(light, &one, i);
    ASSERT_EQ(get_contour_xld(one, &rows, &cols), VRESULT_OK);
    for (Vlong k = 0; k < rows.Num(); ++k)
      EXPECT_LT(std::hypot(rows[k].D() - 60.2, cols[k].D() - 40.7), 8.0);
  }
  EXPECT_GE(n_dark, 3);
  // The completed ends reach the other arm's centre line: each contour
  // ending near the crossing ends on a centre line.
  Vlong num = 0;
  count_obj(completed, &num);
  int at_crossing = 0;
  for (Vlong i = 1; i <= num; ++i) {
    Vobject one;
    select_obj(completed, &one, i);
    ASSERT_EQ(get_contour_xld(one, &rows, &cols), VRESULT_OK);
    for (Vlong k : {Vlong{0}, rows.Num() - 1}) {
      const double r = rows[k].D(), c = cols[k].D();
      if (std::hypot(r - 60.2, c - 40.7) > 8) continue;
      ++at_crossing;
      EXPECT_LT(std::min(std::fabs(r - 60.2), std::fabs(c - 40.7)), 0.2) << r << " " << c;
    }
  }
  EXPECT_GE(at_crossing, 2);
}

TEST_F(XldLines, ZeroCrossingsOfARampAndCriticalPointsOfGaussians) {
  // Zero along the line c = 30.3 + 0.2 (r - 20).
  const Vobject ramp =
      FunctionImage(40, 60, 1, [](int, int r, int c) { return 3.0 * (c - 30.3 - 0.2 * (r - 20)); });
  Vobject zero;
  ASSERT_EQ(zero_crossing_sub_pix(ramp, &zero), VRESULT_OK);
  VTuple rows, cols;
  ASSERT_EQ(get_contour_xld(zero, &rows, &cols), VRESULT_OK);
  ASSERT_GE(rows.Num(), 39);
  for (Vlong i = 0; i < rows.Num(); ++i)
    EXPECT_NEAR(cols[i].D(), 30.3 + 0.2 * (rows[i].D() - 20), 1e-4);

  auto gauss = [](double r, double c, double r0, double c0, double s) {
    return std::exp(-((r - r0) * (r - r0) + (c - c0) * (c - c0)) / (2 * s * s));
  };
  const Vobject hills = FunctionImage(100, 110, 1, [&](int, int r, int c) {
    return 100 * gauss(r, c, 30.4, 40.7, 5) + 100 * gauss(r, c, 30.4, 70.2, 5) -
           80 * gauss(r, c, 70.6, 55.3, 6);
  });
  for (const char* filter : {"gauss", "facet"}) {
    VTuple rmin, cmin, rmax, cmax, rsad, csad;
    ASSERT_EQ(critical_points_sub_pix(hills, filter, 1.0, 0.01, &rmin, &cmin, &rmax, &cmax, &rsad,
                                      &csad),
              VRESULT_OK);
    ASSERT_EQ(rmin.Num(), 1) << filter;
    ASSERT_EQ(rmax.Num(), 2) << filter;
    ASSERT_EQ(rsad.Num(), 1) << filter;
    EXPECT_NEAR(rmin[0].D(), 70.6, 0.05);
    EXPECT_NEAR(cmin[0].D(), 55.3, 0.05);
    EXPECT_NEAR(rmax[0].D(), 30.4, 0.05);
    EXPECT_NEAR(cmax[0].D(), 40.7, 0.05);
    EXPECT_NEAR(cmax[1].D(), 70.2, 0.05);
    EXPECT_NEAR(rsad[0].D(), 30.4, 0.05);
    EXPECT_NEAR(csad[0].D(), 55.45, 0.05);
    // The one-kind operators give exactly that kind's points.
    VTuple r1, c1;
    ASSERT_EQ(local_min_sub_pix(hills, filter, 1.0, 0.01, &r1, &c1), VRESULT_OK);
    EXPECT_EQ(r1.Num(), 1);
    EXPECT_EQ(r1[0].D(), rmin[0].D());
    ASSERT_EQ(local_max_sub_pix(hills, filter, 1.0, 0.01, &r1, &c1), VRESULT_OK);
    ASSERT_EQ(r1.Num(), 2);
    EXPECT_EQ(c1[1].D(), cmax[1].D());
    ASSERT_EQ(saddle_points_sub_pix(hills, filter, 1.0, 0.01, &r1, &c1), VRESULT_OK);
    ASSERT_EQ(r1.Num(), 1);
    EXPECT_EQ(c1[0].D(), csad[0].D());
  }
}

TEST_F(XldLines, ColourEdgesOfADiscOfEqualBrightnessFitItsCircle) {
  constexpr double kRow = 60.37, kCol = 64.81, kRadius = 35.3;
  auto in_disc = [&](double r, double c) { return std::hypot(r - kRow, c - kCol) <= kRadius; };
  cv::Mat cover(120, 130, CV_64F);
  for (int r = 0; r < cover.rows; ++r)
    for (int c = 0; c < cover.cols; ++c) cover.at<double>(r, c) = Coverage(r, c, in_disc);
  const double inside[3] = {200, 60, 100}, outside[3] = {60, 200, 100};
  const Vobject image = FunctionImage(120, 130, 3, [&](int k, int r, int c) {
    return outside[k] + (inside[k] - outside[k]) * cover.at<double>(r, c);
  });
  // The channels' sum is flat: gray edges of it would find nothing.
  Vobject edges;
  ASSERT_EQ(edges_color_sub_pix(image, &edges, "canny", 1.5, 20.0, 40.0), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(edges, &num), VRESULT_OK);
  ASSERT_EQ(num, 1);
  Vlong closed = 0;
  ASSERT_EQ(test_closed_xld(edges, &closed), VRESULT_OK);
  EXPECT_EQ(closed, 1);
  double row = 0, col = 0, radius = 0, start = 0, end = 0;
  char order[32] = {};
  ASSERT_EQ(fit_circle_contour_xld(edges, "algebraic", Vlong{-1}, 0.0, Vlong{0}, Vlong{3}, 2.0,
                                   &row, &col, &radius, &start, &end, order),
            VRESULT_OK);
  std::printf("colour disc: centre error %.4f %.4f, radius error %.4f px\n", row - kRow,
              col - kCol, radius - kRadius);
  EXPECT_NEAR(row, kRow, 0.05);
  EXPECT_NEAR(col, kCol, 0.05);
  EXPECT_NEAR(radius, kRadius, 0.05);
}

TEST_F(XldLines, BadParametersAndObjectsAreRefused) {
  const Vobject image = FunctionImage(20, 20, 1, [](int, int r, int) { return r; });
  Vobject region, out;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  EXPECT_EQ(lines_gauss(image, &out, 0.0, 1.0, 2.0, "light", "false", "none", "false"),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(lines_gauss(image, &out, 1.0, 3.0, 2.0, "light", "false", "none", "false"),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(lines_gauss(image, &out, 1.0, 1.0, 2.0, "grey", "false", "none", "false"),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(lines_gauss(image, &out, 1.0, 1.0, 2.0, "light", "false", "box", "false"),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(lines_gauss(region, &out, 1.0, 1.0, 2.0, "light", "false", "none", "false"),
            VERR_OBJ_CLASS(1));
  EXPECT_EQ(zero_crossing_sub_pix(region, &out), VERR_OBJ_CLASS(1));
  VTuple a, b, c, d, e, f;
  EXPECT_EQ(critical_points_sub_pix(image, "median", 1.0, 1.0, &a, &b, &c, &d, &e, &f),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(critical_points_sub_pix(image, "gauss", 1.0, -1.0, &a, &b, &c, &d, &e, &f),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(edges_color_sub_pix(image, &out, "canny", 1.0, 30.0, 20.0), VERR_CTRL_VALUE(3));
  EXPECT_EQ(edges_color_sub_pix(image, &out, "canny", -1.0, 10.0, 20.0), VERR_CTRL_VALUE(1));
}

}  // namespace
