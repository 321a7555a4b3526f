// Sub-pixel edges and iso-lines on synthetic images whose edges lie at
// known places: a disc of sub-pixel centre and a straight edge at a
// sub-pixel offset and an oblique angle, both rendered with exact area
// coverage, blurred and made noisy. The contours must lie where the edges
// are, to a twentieth of a pixel after fitting.
#include <cmath>
#include <cstdio>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::RenderImage;
using xld_test::Values;

constexpr double kDiscRow = 100.37, kDiscCol = 110.62, kDiscRadius = 60.3;

class XldEdges : public xld_test::XldTest {};

bool InDisc(double r, double c) {
  return std::hypot(r - kDiscRow, c - kDiscCol) <= kDiscRadius;
}

// The contour with the most points among `contours`.
Vobject Longest(const Vobject& contours) {
  VTuple num;
  EXPECT_EQ(contour_point_num_xld(contours, &num), VRESULT_OK);
  Vlong best = 0;
  for (Vlong i = 1; i < num.Num(); ++i)
    if (num[i].L() > num[best].L()) best = i;
  Vobject one;
  EXPECT_EQ(select_obj(contours, &one, best + 1), VRESULT_OK);
  return one;
}

void ExpectCircle(const Vobject& contour, double tolerance, const char* what) {
  double row = 0, col = 0, radius = 0, start = 0, end = 0;
  char order[32] = {};
  ASSERT_EQ(fit_circle_contour_xld(contour, "algebraic", Vlong{-1}, 0.0, Vlong{0}, Vlong{3}, 2.0,
                                   &row, &col, &radius, &start, &end, order),
            VRESULT_OK);
  std::printf("%s: centre error %.4f %.4f, radius error %.4f px\n", what, row - kDiscRow,
              col - kDiscCol, radius - kDiscRadius);
  EXPECT_NEAR(row, kDiscRow, tolerance) << what;
  EXPECT_NEAR(col, kDiscCol, tolerance) << what;
  EXPECT_NEAR(radius, kDiscRadius, tolerance) << what;
}

TEST_F(XldEdges, CannyEdgesOfANoisyDiscFitItsCircleToAFiftiethOfAPixel) {
  const Vobject image = RenderImage(220, 230, InDisc, 50, 200, 1.0, 2.0);
  Vobject edges;
  ASSERT_EQ(edges_sub_pix(image, &edges, "canny", 1.0, Vlong{20}, Vlong{40}), VRESULT_OK);
  const Vobject disc = Longest(edges);
  Vlong closed = 0;
  ASSERT_EQ(test_closed_xld(disc, &closed), VRESULT_OK);
  EXPECT_EQ(closed, 1);
  ExpectCircle(disc, 0.05, "edges_sub_pix");

  // Every edge point lies near the circle, not just on average.
  VTuple rows, cols;
  ASSERT_EQ(get_contour_xld(disc, &rows, &cols), VRESULT_OK);
  EXPECT_GT(rows.Num(), 300);
  for (Vlong i = 0; i < rows.Num(); ++i)
    ASSERT_NEAR(std::hypot(rows[i].D() - kDiscRow, cols[i].D() - kDiscCol), kDiscRadius, 0.3);
}

TEST_F(XldEdges, EdgePointsCarryDirectionAngleAndResponse) {
  const Vobject image = RenderImage(220, 230, InDisc, 50, 200, 1.0, 0.0);
  Vobject edges;
  ASSERT_EQ(edges_sub_pix(image, &edges, "canny", 1.5, Vlong{10}, Vlong{20}), VRESULT_OK);
  const Vobject disc = Longest(edges);
  VTuple names, rows, cols, angle, dir, response;
  ASSERT_EQ(query_contour_attribs_xld(disc, &names), VRESULT_OK);
  ASSERT_EQ(names.Num(), 3);
  ASSERT_EQ(get_contour_xld(disc, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(get_contour_attrib_xld(disc, "angle", &angle), VRESULT_OK);
  ASSERT_EQ(get_contour_attrib_xld(disc, "edge_direction", &dir), VRESULT_OK);
  ASSERT_EQ(get_contour_attrib_xld(disc, "response", &response), VRESULT_OK);
  ASSERT_EQ(angle.Num(), rows.Num());
  for (Vlong i = 0; i < rows.Num(); ++i) {
    // The gradient points to the bright centre: along the radius.
    const double radial = std::atan2(-(rows[i].D() - kDiscRow), cols[i].D() - kDiscCol);
    const double fold = std::remainder(angle[i].D() - radial, M_PI);
    ASSERT_NEAR(fold, 0.0, 0.05) << i;
    // The tangent turns the gradient a quarter: bright on the right.
    const double inward = radial + M_PI;
    ASSERT_NEAR(std::remainder(dir[i].D() - (inward + M_PI / 2), 2 * M_PI), 0.0, 0.05) << i;
    // A step of 150 under a total blur of about 1.8 peaks near 150 / (1.8 sqrt(2 pi)).
    ASSERT_GT(response[i].D(), 25.0);
    ASSERT_LT(response[i].D(), 45.0);
  }
}

TEST_F(XldEdges, AStraightEdgeIsFoundAtItsSubPixelOffsetAndAngle) {
  // The line through (60.27, 70.41) at 0.3 rad; bright on one side.
  const double r0 = 60.27, c0 = 70.41, phi = 0.3;
  const double nr = std::cos(phi), nc = std::sin(phi);  // normal of direction (-sin, cos)
  auto side = [&](double r, double c) { return (r - r0) * nr + (c - c0) * nc; };
  const Vobject image = RenderImage(120, 140, [&](double r, double c) { return side(r, c) > 0; },
                                    40, 190, 1.0, 2.0);
  Vobject edges;
  ASSERT_EQ(edges_sub_pix(image, &edges, "canny", 1.0, Vlong{20}, Vlong{40}), VRESULT_OK);
  const Vobject line = Longest(edges);
  double rb, cb, re, ce, fnr, fnc, dist;
  ASSERT_EQ(fit_line_contour_xld(line, "tukey", Vlong{-1}, Vlong{5}, Vlong{3}, 2.0, &rb, &cb, &re,
                                 &ce, &fnr, &fnc, &dist),
            VRESULT_OK);
  const double offset = std::fabs(fnr * r0 + fnc * c0 - dist);
  const double angle = std::remainder(std::atan2(-(re - rb), ce - cb) - phi, M_PI);
  std::printf("straight edge: offset %.4f px, angle %.5f rad\n", offset, angle);
  EXPECT_LT(offset, 0.05);
  EXPECT_LT(std::fabs(angle), 0.002);
  VTuple rows, cols;
  ASSERT_EQ(get_contour_xld(line, &rows, &cols), VRESULT_OK);
  double mean = 0;
  for (Vlong i = 0; i < rows.Num(); ++i) mean += side(rows[i].D(), cols[i].D()) / rows.Num();
  EXPECT_LT(std::fabs(mean), 0.05);
}

TEST_F(XldEdges, IsoLinesOfTheBlurredDiscFitItsCircle) {
  const Vobject image = RenderImage(220, 230, InDisc, 50, 200, 1.0, 2.0);
  Vobject border;
  ASSERT_EQ(threshold_sub_pix(image, &border, 125.0), VRESULT_OK);
  const Vobject disc = Longest(border);
  Vlong closed = 0;
  ASSERT_EQ(test_closed_xld(disc, &closed), VRESULT_OK);
  EXPECT_EQ(closed, 1);
  ExpectCircle(disc, 0.05, "threshold_sub_pix");
}

TEST_F(XldEdges, IsoLinesFollowLinearInterpolationAndStopAtTheDomain) {
  // Values 10 c: the level 25 lies at column 2.5 on every row.
  std::unique_ptr<vexa::PixelBuffer> b;
  ASSERT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kReal, 6, 5, &b), VRESULT_OK);
  float* v = reinterpret_cast<float*>(b->data());
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 6; ++c) v[r * 6 + c] = 10.0f * c;
  std::vector<std::unique_ptr<vexa::PixelBuffer>> ch;
  ch.push_back(std::move(b));
  Vkey key = VKEY_UNDEF;
  ASSERT_EQ(vexa::db::NewImage(vexa::Region::Rectangle(1, 0, 3, 5), std::move(ch), &key), VRESULT_OK);
  const Vobject image(key, 1);
  Vobject lines;
  ASSERT_EQ(threshold_sub_pix(image, &lines, 25.0), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(lines, &n), VRESULT_OK);
  ASSERT_EQ(n, 1);
  VTuple rows, cols;
  ASSERT_EQ(get_contour_xld(lines, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 3);  // rows 1..3 of the domain
  for (Vlong i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(cols[i].D(), 2.5);
  // The brighter side (larger columns) lies on the right: walking up.
  EXPECT_GT(rows[0].D(), rows[2].D());
}

TEST_F(XldEdges, BadParametersAndInputsGiveTheirCodes) {
  const Vobject image = RenderImage(20, 20, InDisc, 0, 0, 0, 0);
  Vobject edges;
  EXPECT_EQ(edges_sub_pix(image, &edges, "sobel_fast", 1.0, Vlong{20}, Vlong{40}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(edges_sub_pix(image, &edges, "canny", 0.0, Vlong{20}, Vlong{40}), VERR_CTRL_VALUE(1));
  EXPECT_EQ(edges_sub_pix(image, &edges, "canny", 1.0, Vlong{-1}, Vlong{40}), VERR_CTRL_VALUE(2));
  EXPECT_EQ(edges_sub_pix(image, &edges, "canny", 1.0, Vlong{50}, Vlong{40}), VERR_CTRL_VALUE(3));
  Vobject region;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  EXPECT_EQ(edges_sub_pix(region, &edges, "canny", 1.0, Vlong{20}, Vlong{40}), VERR_OBJ_CLASS(1));
  EXPECT_EQ(threshold_sub_pix(region, &edges, 1.0), VERR_OBJ_CLASS(1));
  // A flat image has no edges at all.
  ASSERT_EQ(edges_sub_pix(image, &edges, "canny", 1.0, Vlong{1}, Vlong{2}), VRESULT_OK);
  Vlong n = -1;
  ASSERT_EQ(count_obj(edges, &n), VRESULT_OK);
  EXPECT_EQ(n, 0);
}

}  // namespace
