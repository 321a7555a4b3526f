// Measure rectangles on images rendered here from analytic edges: a step
// (or a bar) at a known sub-pixel position across the rectangle's axis,
// integrated over each pixel's area and blurred with a Gaussian of sigma 1.
// Edge positions, bar widths and threshold crossings must come out at the
// true positions for rectangles at several angles; the mean profile of a
// linear ramp must be the ramp itself; and bad handles and parameters are
// refused with their codes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "area_sampled_image.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

constexpr int kW = 128, kH = 112;
constexpr double kRow = 55.3, kCol = 61.8;  // rectangle centre
constexpr double kAngles[] = {0.0, 0.3, M_PI / 4, M_PI / 2, 2.0, M_PI, -1.1};

// Pixels sampled 12 x 12 times over their area.
struct Image : AreaSampledImage {
  explicit Image(const std::function<double(double, double)>& f, int w = kW, int h = kH)
      : AreaSampledImage(f, w, h, 12) {}
};

// Signed distance of (r, c) along the axis of angle phi from the point at
// axis coordinate t of the rectangle.
double AxisDistance(double r, double c, double phi, double t) {
  return (r - kRow) * -std::sin(phi) + (c - kCol) * std::cos(phi) - t;
}

// Gray 40 rising to 200 at axis coordinate t, blurred with sigma 1.
Image StepAt(double phi, double t) {
  return Image([=](double r, double c) { return 40 + 160 * Phi(AxisDistance(r, c, phi, t)); });
}

// A bright bar from axis coordinate a to b on gray 30.
Image BarBetween(double phi, double a, double b) {
  return Image([=](double r, double c) {
    const double d = AxisDistance(r, c, phi, 0);
    return 30 + 150 * (Phi(d - a) - Phi(d - b));
  });
}

class MeasureTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(close_all_measures(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  Vlong Measure(double phi, const char* interpolation = "bilinear", double length1 = 30,
                double length2 = 8) {
    Vlong h = -1;
    EXPECT_EQ(gen_measure_rectangle2(kRow, kCol, phi, length1, length2, kW, kH, interpolation, &h),
              VRESULT_OK);
    return h;
  }
  // Distance of image point (r, c) from the axis point at t.
  static double Miss(double r, double c, double phi, double t) {
    return std::hypot(r - (kRow - t * std::sin(phi)), c - (kCol + t * std::cos(phi)));
  }
};

TEST_F(MeasureTest, StepEdgesAtEveryAngleAreFoundToAFiftiethOfAPixel) {
  for (const char* interpolation : {"bilinear", "bicubic"})
    for (double phi : kAngles)
      for (double t : {-7.37, 0.0, 4.52, 11.81}) {
        SCOPED_TRACE(testing::Message() << interpolation << " phi " << phi << " t " << t);
        Image img = StepAt(phi, t);
        const Vlong m = Measure(phi, interpolation);
        VTuple rows, cols, amp, dist;
        ASSERT_EQ(measure_pos(img.obj, m, 1.0, 10.0, "all", "all", &rows, &cols, &amp, &dist), VRESULT_OK);
        ASSERT_EQ(rows.Num(), 1);
        EXPECT_LT(Miss(rows[0].D(), cols[0].D(), phi, t), 0.02);
        // Step of 160 under blur 1, smoothing 1 and the pixel's box (variance
        // 1/12): peak slope 160 / (sqrt(2 pi) sigma), less a little for the
        // interpolation's own blur.
        const double peak = 160 / std::sqrt(2 * M_PI * (2 + 1.0 / 12));
        EXPECT_NEAR(amp[0].D(), peak, 0.08 * peak);
        EXPECT_EQ(dist.Num(), 0);
        // The same edge read against the axis is a falling one.
        const Vlong back = Measure(phi + M_PI, interpolation);
        ASSERT_EQ(measure_pos(img.obj, back, 1.0, 10.0, "negative", "all", &rows, &cols, &amp, &dist),
                  VRESULT_OK);
        ASSERT_EQ(rows.Num(), 1);
        EXPECT_LT(amp[0].D(), 0);
        EXPECT_LT(Miss(rows[0].D(), cols[0].D(), phi, t), 0.02);
        ASSERT_EQ(measure_pos(img.obj, back, 1.0, 10.0, "positive", "all", &rows, &cols, &amp, &dist),
                  VRESULT_OK);
        EXPECT_EQ(rows.Num(), 0);
      }
}

TEST_F(MeasureTest, BarWidthsAndEdgeSelectionOfPairs) {
  for (double phi : kAngles) {
    SCOPED_TRACE(testing::Message() << "phi " << phi);
    const double a = -4.21, width = 7.43;
    Image img = BarBetween(phi, a, a + width);
    const Vlong m = Measure(phi);
    VTuple r1, c1, a1, r2, c2, a2, intra, inter;
    ASSERT_EQ(measure_pairs(img.obj, m, 1.0, 10.0, "positive", "all", &r1, &c1, &a1, &r2, &c2, &a2,
                            &intra, &inter),
              VRESULT_OK);
    ASSERT_EQ(intra.Num(), 1);
    EXPECT_NEAR(intra[0].D(), width, 0.03);
    EXPECT_LT(Miss(r1[0].D(), c1[0].D(), phi, a), 0.03);
    EXPECT_LT(Miss(r2[0].D(), c2[0].D(), phi, a + width), 0.03);
    EXPECT_GT(a1[0].D(), 0);
    EXPECT_LT(a2[0].D(), 0);
    EXPECT_EQ(inter.Num(), 0);
    // A bright bar opens with a rising edge: no dark-bright-dark pair.
    ASSERT_EQ(measure_pairs(img.obj, m, 1.0, 10.0, "negative", "all", &r1, &c1, &a1, &r2, &c2, &a2,
                            &intra, &inter),
              VRESULT_OK);
    EXPECT_EQ(intra.Num(), 0);
    VTuple rows, cols, amp, dist;
    ASSERT_EQ(measure_pos(img.obj, m, 1.0, 10.0, "all", "all", &rows, &cols, &amp, &dist), VRESULT_OK);
    ASSERT_EQ(dist.Num(), 1);
    EXPECT_NEAR(dist[0].D(), width, 0.03);
    ASSERT_EQ(measure_pos(img.obj, m, 1.0, 10.0, "all", "last", &rows, &cols, &amp, &dist), VRESULT_OK);
    ASSERT_EQ(rows.Num(), 1);
    EXPECT_LT(Miss(rows[0].D(), cols[0].D(), phi, a + width), 0.03);
  }
}

TEST_F(MeasureTest, SeveralBarsGiveGapsBetweenPairsAndFirstLastSelection) {
  // Bars [-24, -15), [-6, 3) and [11, 19) along a horizontal axis (bars
  // much narrower than 6 blur sigmas pull their edges together).
  const double bars[][2] = {{-24, -15}, {-6, 3}, {11, 19}};
  Image img([&](double r, double c) {
    const double d = AxisDistance(r, c, 0, 0);
    double v = 20;
    for (const auto& b : bars) v += 100 * (Phi(d - b[0]) - Phi(d - b[1]));
    return v;
  });
  const Vlong m = Measure(0);
  VTuple r1, c1, a1, r2, c2, a2, intra, inter;
  ASSERT_EQ(measure_pairs(img.obj, m, 1.0, 5.0, "all", "all", &r1, &c1, &a1, &r2, &c2, &a2, &intra, &inter),
            VRESULT_OK);
  ASSERT_EQ(intra.Num(), 3);
  ASSERT_EQ(inter.Num(), 2);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(intra[i].D(), bars[i][1] - bars[i][0], 0.03);
  EXPECT_NEAR(inter[0].D(), 9, 0.03);
  EXPECT_NEAR(inter[1].D(), 8, 0.03);
  ASSERT_EQ(measure_pairs(img.obj, m, 1.0, 5.0, "positive", "last", &r1, &c1, &a1, &r2, &c2, &a2, &intra, &inter),
            VRESULT_OK);
  ASSERT_EQ(c1.Num(), 1);
  EXPECT_NEAR(c1[0].D(), kCol + 11, 0.03);
  // Dark gaps between the bars are the falling-rising pairs.
  ASSERT_EQ(measure_pairs(img.obj, m, 1.0, 5.0, "negative", "first", &r1, &c1, &a1, &r2, &c2, &a2, &intra, &inter),
            VRESULT_OK);
  ASSERT_EQ(intra.Num(), 1);
  EXPECT_NEAR(intra[0].D(), 9, 0.03);
}

TEST_F(MeasureTest, ThresholdCrossingsOfASmoothedStep) {
  for (double phi : kAngles) {
    SCOPED_TRACE(testing::Message() << "phi " << phi);
    Image img = StepAt(phi, 2.64);
    const Vlong m = Measure(phi);
    VTuple rows, cols, dist;
    // The midpoint gray lies on the edge, whatever the blur.
    ASSERT_EQ(measure_thresh(img.obj, m, 1.0, 120.0, "all", &rows, &cols, &dist), VRESULT_OK);
    ASSERT_EQ(rows.Num(), 1);
    EXPECT_LT(Miss(rows[0].D(), cols[0].D(), phi, 2.64), 0.05);
    ASSERT_EQ(measure_thresh(img.obj, m, 1.0, 250.0, "all", &rows, &cols, &dist), VRESULT_OK);
    EXPECT_EQ(rows.Num(), 0);
  }
}

TEST_F(MeasureTest, ProjectionOfARampIsTheRampAlongTheClippedAxis) {
  // Bilinear sampling reproduces a linear image exactly, so the mean over
  // each line across is the ramp's value on the axis.
  Image img([](double r, double c) { return 0.5 * r + 1.25 * c + 3; });
  const double phi = 0.4;
  for (double length1 : {10.0, 10.5, 80.0}) {
    SCOPED_TRACE(testing::Message() << "length1 " << length1);
    const Vlong m = Measure(phi, "bilinear", length1, 3.5);
    VTuple profile;
    ASSERT_EQ(measure_projection(img.obj, m, &profile), VRESULT_OK);
    const Vlong n = static_cast<Vlong>(std::floor(2 * length1)) + 1;
    // The long rectangle leaves the image: fewer samples, all inside.
    ASSERT_GT(profile.Num(), 1);
    ASSERT_LE(profile.Num(), n);
    EXPECT_EQ(profile.Num() < n, length1 > 20);
    // Recover the axis coordinate of each sample from the ramp's slope
    // along the axis; samples are one pixel apart and inside the image.
    const double slope = 0.5 * -std::sin(phi) + 1.25 * std::cos(phi);
    const double at_centre = 0.5 * kRow + 1.25 * kCol + 3;
    for (Vlong i = 1; i < profile.Num(); ++i)
      EXPECT_NEAR(profile[i].D() - profile[i - 1].D(), slope, 1e-3);
    const double t0 = (profile[0].D() - at_centre) / slope;
    const double r0 = kRow - t0 * std::sin(phi), c0 = kCol + t0 * std::cos(phi);
    EXPECT_GT(r0, 0);
    if (length1 < 20) {
      EXPECT_NEAR(t0, -(n - 1) / 2.0, 1e-3);
    } else {
      // Clipped at the first position whose line across starts inside.
      const double left = c0 - 3.5 * std::sin(phi);
      EXPECT_GE(left, -1e-3);
      EXPECT_LT(left, std::cos(phi));
    }
  }
}

TEST_F(MeasureTest, EdgesAlongArcsLieOnTheirRay) {
  // The image rises across the line through the centre at angle a0, so an
  // arc around the centre meets a rising edge at a0 counter-clockwise.
  for (double a0 : {0.4, 2.2, -2.9}) {
    SCOPED_TRACE(testing::Message() << "a0 " << a0);
    Image img([=](double r, double c) {
      return 40 + 160 * Phi(-(c - kCol) * std::sin(a0) + (kRow - r) * std::cos(a0));
    });
    const double radius = 40;
    const double expected_r = kRow - radius * std::sin(a0), expected_c = kCol + radius * std::cos(a0);
    for (double extent : {2.0, -2.0}) {
      Vlong m = -1;
      ASSERT_EQ(gen_measure_arc(kRow, kCol, radius, a0 - extent / 2, extent, 5.0, kW, kH, "bilinear", &m),
                VRESULT_OK);
      VTuple rows, cols, amp, dist;
      ASSERT_EQ(measure_pos(img.obj, m, 1.0, 10.0, "all", "all", &rows, &cols, &amp, &dist), VRESULT_OK);
      ASSERT_EQ(rows.Num(), 1);
      EXPECT_EQ(amp[0].D() > 0, extent > 0);
      EXPECT_LT(std::hypot(rows[0].D() - expected_r, cols[0].D() - expected_c), 0.05);
    }
  }
  Vlong m = -1;
  EXPECT_EQ(gen_measure_arc(kRow, kCol, 80.0, 0.0, 1.0, 2.0, kW, kH, "bilinear", &m), VERR_COORD_RANGE);
  EXPECT_EQ(gen_measure_arc(kRow, kCol, 4.0, 0.0, 1.0, 5.0, kW, kH, "bilinear", &m), VERR_CTRL_VALUE(5));
  EXPECT_EQ(gen_measure_arc(kRow, kCol, 20.0, 0.0, 0.0, 2.0, kW, kH, "bilinear", &m), VERR_CTRL_VALUE(4));
}

TEST_F(MeasureTest, MeasuresThroughItemsAndFilesFindTheSameEdges) {
  Image img = StepAt(0.7, 1.9);
  auto edges = [&](Vlong m) {
    VTuple rows, cols, amp, dist;
    EXPECT_EQ(measure_pos(img.obj, m, 1.0, 10.0, "all", "all", &rows, &cols, &amp, &dist), VRESULT_OK);
    return std::vector<double>{rows.Num() ? rows[0].D() : -1, cols.Num() ? cols[0].D() : -1};
  };
  Vlong arc = -1;
  ASSERT_EQ(gen_measure_arc(kRow, kCol, 30.0, 0.0, 2.5, 3.0, kW, kH, "bicubic", &arc), VRESULT_OK);
  const std::string path = testing::TempDir() + "/measure_test.vxm";
  for (Vlong m : {Measure(0.7, "bicubic"), arc}) {
    Vlong item = -1, copy = -1, read = -1;
    ASSERT_EQ(serialize_measure(m, &item), VRESULT_OK);
    ASSERT_EQ(deserialize_measure(item, &copy), VRESULT_OK);
    EXPECT_EQ(edges(copy), edges(m));
    ASSERT_EQ(write_measure(m, path.c_str()), VRESULT_OK);
    ASSERT_EQ(read_measure(path.c_str(), &read), VRESULT_OK);
    EXPECT_EQ(edges(read), edges(m));
  }
  std::remove(path.c_str());
  Vlong tuple_item = -1, m = -1;
  ASSERT_EQ(serialize_tuple(1.5, &tuple_item), VRESULT_OK);
  EXPECT_EQ(deserialize_measure(tuple_item, &m), VERR_DATA_KIND);
  EXPECT_NE(read_measure(path.c_str(), &m), VRESULT_OK);
  EXPECT_EQ(clear_all_serialized_items(), VRESULT_OK);
}

TEST_F(MeasureTest, TranslationMovesTheFoundEdge) {
  Image img = StepAt(0, 3.3);
  const Vlong m = Measure(0, "nearest_neighbor");
  // On a whole column nearest-neighbour samples are the pixels themselves.
  ASSERT_EQ(translate_measure(m, kRow + 4, 52.0), VRESULT_OK);
  VTuple rows, cols, amp, dist;
  ASSERT_EQ(measure_pos(img.obj, m, 1.5, 10.0, "positive", "first", &rows, &cols, &amp, &dist), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 1);
  EXPECT_NEAR(rows[0].D(), kRow + 4, 1e-9);
  EXPECT_NEAR(cols[0].D(), kCol + 3.3, 0.03);
  EXPECT_EQ(translate_measure(m, -500.0, 20.0), VERR_COORD_RANGE);
}

TEST_F(MeasureTest, BadHandlesParametersAndImagesAreRefused) {
  Image img = StepAt(0, 0);
  const Vlong m = Measure(0);
  VTuple rows, cols, amp, dist;
  auto pos = [&](Vlong h, double sigma, const char* transition, const char* select) {
    return measure_pos(img.obj, h, sigma, 10.0, transition, select, &rows, &cols, &amp, &dist);
  };
  EXPECT_EQ(pos(5, 1.0, "all", "all"), VERR_HANDLE_INVALID);
  EXPECT_EQ(pos(m, 0.0, "all", "all"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(pos(m, -1.0, "all", "all"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(pos(m, std::nan(""), "all", "all"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(pos(m, 1.0, "rising", "all"), VERR_CTRL_VALUE(3));
  EXPECT_EQ(pos(m, 1.0, "all", "middle"), VERR_CTRL_VALUE(4));
  VTuple r1, c1, a1, r2, c2, a2, intra, inter;
  EXPECT_EQ(measure_pairs(img.obj, m, 1.0, -1.0, "all", "all", &r1, &c1, &a1, &r2, &c2, &a2, &intra, &inter),
            VERR_CTRL_VALUE(2));
  Vlong matrix = -1;
  ASSERT_EQ(create_matrix(VTuple(Vlong{1}), VTuple(Vlong{1}), VTuple(0.0), &matrix), VRESULT_OK);
  EXPECT_EQ(pos(matrix, 1.0, "all", "all"), VERR_HANDLE_TYPE);
  EXPECT_EQ(clear_matrix(matrix), VRESULT_OK);

  Image small([](double, double) { return 1.0; }, 40, 30);
  EXPECT_EQ(measure_pos(small.obj, m, 1.0, 10.0, "all", "all", &rows, &cols, &amp, &dist), VERR_IMAGE_SIZE);

  Vlong h = -1;
  EXPECT_EQ(gen_measure_rectangle2(10, 10, 0, 5, 2, kW, kH, "cubic", &h), VERR_CTRL_VALUE(7));
  EXPECT_EQ(gen_measure_rectangle2(10, 10, 0, -5, 2, kW, kH, "bilinear", &h), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_measure_rectangle2(10, 10, std::nan(""), 5, 2, kW, kH, "bilinear", &h), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_measure_rectangle2(10, 10, 0, 5, 2, 0, kH, "bilinear", &h), VERR_CTRL_VALUE(5));
  // Entirely outside, or wider across than the image is high.
  EXPECT_EQ(gen_measure_rectangle2(-50, 10, 0, 5, 2, kW, kH, "bilinear", &h), VERR_COORD_RANGE);
  EXPECT_EQ(gen_measure_rectangle2(50, 50, 0, 5, kH, kW, kH, "bilinear", &h), VERR_COORD_RANGE);

  EXPECT_EQ(close_measure(m), VRESULT_OK);
  EXPECT_EQ(pos(m, 1.0, "all", "all"), VERR_HANDLE_CLOSED);
  EXPECT_EQ(close_measure(m), VERR_HANDLE_CLOSED);
  VTuple profile;
  EXPECT_EQ(measure_projection(img.obj, m, &profile), VERR_HANDLE_CLOSED);
}

// A 1D function tuple [n, x.., y..] of the points (x, y).
VTuple Function(std::initializer_list<std::pair<double, double>> points) {
  VTuple t(static_cast<Vlong>(points.size()));
  for (const auto& p : points) t.Append(p.first);
  for (const auto& p : points) t.Append(p.second);
  return t;
}

// A faint step (15 gray levels) before a strong one: measure_pos finds
// both, a contrast set keeps the strong one at the same position.
TEST_F(MeasureTest, ContrastSetRemovesAWeakEdgeThatPlainMeasuringFinds) {
  const double phi = 0.3, weak = -11.3, strong = 6.2;
  Image img([=](double r, double c) {
    const double d = AxisDistance(r, c, phi, 0);
    return 40 + 15 * Phi(d - weak) + 160 * Phi(d - strong);
  });
  const Vlong m = Measure(phi);
  VTuple rows, cols, amp, dist, score;
  ASSERT_EQ(measure_pos(img.obj, m, 1.0, 2.0, "all", "all", &rows, &cols, &amp, &dist), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 2);
  const double strong_row = rows[1].D(), strong_col = cols[1].D();
  ASSERT_EQ(set_fuzzy_measure(VTuple(m), "contrast", Function({{0, 0}, {10, 0}, {20, 1}})), VRESULT_OK);
  ASSERT_EQ(fuzzy_measure_pos(img.obj, m, 1.0, 2.0, 0.5, "all", &rows, &cols, &amp, &score, &dist),
            VRESULT_OK);
  ASSERT_EQ(rows.Num(), 1);
  EXPECT_EQ(rows[0].D(), strong_row);
  EXPECT_EQ(cols[0].D(), strong_col);
  EXPECT_DOUBLE_EQ(score[0].D(), 1.0);
  // A position set on top: the geometric mean of both memberships.
  ASSERT_EQ(set_fuzzy_measure(VTuple(m), "position", Function({{0, 0}, {60, 1}})), VRESULT_OK);
  ASSERT_EQ(fuzzy_measure_pos(img.obj, m, 1.0, 2.0, 0.1, "all", &rows, &cols, &amp, &score, &dist),
            VRESULT_OK);
  ASSERT_EQ(score.Num(), 1);
  EXPECT_NEAR(score[0].D(), std::sqrt((30 + strong) / 60), 0.01);
  ASSERT_EQ(reset_fuzzy_measure(m, "contrast"), VRESULT_OK);
  ASSERT_EQ(reset_fuzzy_measure(m, "position"), VRESULT_OK);
  ASSERT_EQ(fuzzy_measure_pos(img.obj, m, 1.0, 2.0, 0.5, "all", &rows, &cols, &amp, &score, &dist),
            VRESULT_OK);
  EXPECT_EQ(rows.Num(), 2);
}

// Bars 4.5 and 7.4 wide and the faint edge of a gray step between them; a
// size set relative to a pair size of 7.5 keeps the wide bar only.
TEST_F(MeasureTest, SizeSetsPickThePairOfTheWantedWidth) {
  const double phi = -1.1;
  Image img([=](double r, double c) {
    const double d = AxisDistance(r, c, phi, 0);
    return 30 + 150 * (Phi(d + 20.3) - Phi(d + 15.8)) + 150 * (Phi(d - 2.1) - Phi(d - 9.5)) +
           12 * Phi(d + 8);
  });
  const Vlong m = Measure(phi);
  ASSERT_EQ(set_fuzzy_measure_norm_pair(VTuple(m), 7.5, "size", Function({{0.8, 0}, {1, 1}, {1.2, 0}})),
            VRESULT_OK);
  ASSERT_EQ(set_fuzzy_measure(VTuple(m), "contrast", Function({{0, 0}, {20, 1}})), VRESULT_OK);
  VTuple r1, c1, a1, r2, c2, a2, rc, cc, score, intra, inter;
  ASSERT_EQ(fuzzy_measure_pairs(img.obj, m, 1.0, 2.0, 0.5, "positive", &r1, &c1, &a1, &r2, &c2, &a2, &rc, &cc,
                                &score, &intra, &inter),
            VRESULT_OK);
  ASSERT_EQ(intra.Num(), 1);
  EXPECT_NEAR(intra[0].D(), 7.4, 0.05);
  EXPECT_LT(Miss(rc[0].D(), cc[0].D(), phi, 5.8), 0.05);
  EXPECT_EQ(inter.Num(), 0);
  // Without the size set the narrow bar counts too; pairing takes the best
  // num_pairs of them and gives them in profile order.
  ASSERT_EQ(reset_fuzzy_measure(m, "size"), VRESULT_OK);
  ASSERT_EQ(fuzzy_measure_pairing(img.obj, m, 1.0, 2.0, 0.5, "positive", "no_restriction", 2, &r1, &c1, &a1, &r2,
                                  &c2, &a2, &rc, &cc, &score, &intra),
            VRESULT_OK);
  ASSERT_EQ(intra.Num(), 2);
  // Blur moves the edges of the narrow bar apart, but not its centre.
  EXPECT_LT(Miss(rc[0].D(), cc[0].D(), phi, -18.05), 0.05);
  EXPECT_NEAR(intra[1].D(), 7.4, 0.05);
}

TEST_F(MeasureTest, BadFuzzySetsAndThresholdsAreRefused) {
  Image img = StepAt(0.0, 0.0);
  const Vlong m = Measure(0.0);
  EXPECT_EQ(set_fuzzy_measure(VTuple(m), "size_diff", Function({{0, 1}, {1, 0}})), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_fuzzy_measure(VTuple(m), "sharpness", Function({{0, 1}, {1, 0}})), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_fuzzy_measure(VTuple(m), "contrast", Function({{0, 0}, {1, 1.5}})), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_fuzzy_measure_norm_pair(VTuple(m), 0.0, "size", Function({{0, 1}, {1, 0}})), VERR_CTRL_VALUE(1));
  EXPECT_EQ(reset_fuzzy_measure(m, "sharpness"), VERR_CTRL_VALUE(1));
  VTuple a, b, c, d, e, f, g, h, i, j;
  EXPECT_EQ(fuzzy_measure_pos(img.obj, m, 1.0, 2.0, 1.5, "all", &a, &b, &c, &d, &e), VERR_CTRL_VALUE(3));
  EXPECT_EQ(fuzzy_measure_pairing(img.obj, m, 1.0, 2.0, 0.5, "all", "sideways", 1, &a, &b, &c, &d, &e, &f, &g, &h,
                                  &i, &j),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(fuzzy_measure_pairing(img.obj, m, 1.0, 2.0, 0.5, "all", "no_restriction", 0, &a, &b, &c, &d, &e, &f,
                                  &g, &h, &i, &j),
            VERR_CTRL_VALUE(6));
}

}  // namespace
