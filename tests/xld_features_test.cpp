// Shape features, fits and conversions of contours and polygons against
// closed-form values: rectangles, a triangle, an L-shape, circles and
// ellipses made from their parameters.
#include <cmath>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldFeatures : public xld_test::XldTest {};

Vobject Polygon(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

// Rows 10..30, columns 20..60, closed, clockwise on the screen.
Vobject Box() { return Polygon({10, 10, 30, 30, 10}, {20, 60, 60, 20, 20}); }

TEST_F(XldFeatures, AreaCentreLengthAndMomentsOfPolygonsAreExact) {
  double area, row, col, m11, m20, m02, length;
  char order[32];
  ASSERT_EQ(area_center_xld(Box(), &area, &row, &col, order), VRESULT_OK);
  EXPECT_DOUBLE_EQ(area, 800);
  EXPECT_DOUBLE_EQ(row, 20);
  EXPECT_DOUBLE_EQ(col, 40);
  EXPECT_STREQ(order, "negative");
  ASSERT_EQ(length_xld(Box(), &length), VRESULT_OK);
  EXPECT_DOUBLE_EQ(length, 120);
  ASSERT_EQ(moments_xld(Box(), &m11, &m20, &m02), VRESULT_OK);
  EXPECT_NEAR(m11, 0, 1e-9);
  EXPECT_NEAR(m20, 400.0 / 12, 1e-9);
  EXPECT_NEAR(m02, 1600.0 / 12, 1e-9);

  // A triangle, counter-clockwise and left open: its covariance is
  // 1/12 of the sum over its corners of (v - g)(v - g)^T.
  const std::vector<double> tr{0, 40, 0}, tc{0, 0, 30};
  const Vobject tri = Polygon(tr, tc);
  ASSERT_EQ(area_center_xld(tri, &area, &row, &col, order), VRESULT_OK);
  EXPECT_NEAR(area, 600, 1e-9);
  EXPECT_NEAR(row, 40.0 / 3, 1e-9);
  EXPECT_NEAR(col, 10, 1e-9);
  EXPECT_STREQ(order, "positive");
  double srr = 0, scc = 0, src = 0;
  for (int i = 0; i < 3; ++i) {
    srr += (tr[i] - row) * (tr[i] - row) / 12;
    scc += (tc[i] - col) * (tc[i] - col) / 12;
    src += (tr[i] - row) * (tc[i] - col) / 12;
  }
  ASSERT_EQ(moments_xld(tri, &m11, &m20, &m02), VRESULT_OK);
  EXPECT_NEAR(m11, src, 1e-9);
  EXPECT_NEAR(m20, srr, 1e-9);
  EXPECT_NEAR(m02, scc, 1e-9);
  // An open contour's length has no closing segment.
  ASSERT_EQ(length_xld(tri, &length), VRESULT_OK);
  EXPECT_NEAR(length, 40 + 50, 1e-9);

  double n, pr, pc;
  ASSERT_EQ(area_center_points_xld(tri, &n, &pr, &pc), VRESULT_OK);
  EXPECT_EQ(n, 3);
  EXPECT_NEAR(pr, 40.0 / 3, 1e-9);
}

TEST_F(XldFeatures, ShapeFactorsOfAnLShapeAndACircle) {
  const Vobject l = Polygon({0, 0, 10, 10, 20, 20, 0}, {0, 20, 20, 10, 10, 0, 0});
  double convexity, diameter, r1, c1, r2, c2;
  ASSERT_EQ(convexity_xld(l, &convexity), VRESULT_OK);
  EXPECT_NEAR(convexity, 300.0 / 350.0, 1e-9);
  ASSERT_EQ(diameter_xld(l, &r1, &c1, &r2, &c2, &diameter), VRESULT_OK);
  EXPECT_NEAR(diameter, std::hypot(20, 20), 1e-9);
  ASSERT_EQ(smallest_rectangle1_xld(l, &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_EQ(std::vector<double>({r1, c1, r2, c2}), std::vector<double>({0, 0, 20, 20}));
  Vlong inside = -1;
  ASSERT_EQ(test_xld_point(l, 5.0, 5.0, &inside), VRESULT_OK);
  EXPECT_EQ(inside, 1);
  ASSERT_EQ(test_xld_point(l, 15.0, 15.0, &inside), VRESULT_OK);
  EXPECT_EQ(inside, 0);

  Vobject circle;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 40.0, 50.0, 20.0, 0.0, 2 * M_PI, "positive", 0.5), VRESULT_OK);
  double area, row, col, length, circularity, compactness, radius;
  char order[32];
  ASSERT_EQ(area_center_xld(circle, &area, &row, &col, order), VRESULT_OK);
  EXPECT_NEAR(area, M_PI * 400, 0.01 * M_PI * 400);
  EXPECT_NEAR(row, 40, 1e-4);
  EXPECT_STREQ(order, "positive");
  ASSERT_EQ(length_xld(circle, &length), VRESULT_OK);
  EXPECT_NEAR(length, 2 * M_PI * 20, 0.01);
  ASSERT_EQ(circularity_xld(circle, &circularity), VRESULT_OK);
  EXPECT_NEAR(circularity, 1, 0.002);
  ASSERT_EQ(compactness_xld(circle, &compactness), VRESULT_OK);
  EXPECT_NEAR(compactness, 1, 0.002);
  ASSERT_EQ(smallest_circle_xld(circle, &row, &col, &radius), VRESULT_OK);
  EXPECT_NEAR(radius, 20, 1e-4);
  EXPECT_NEAR(col, 50, 1e-4);
}

TEST_F(XldFeatures, EnclosingAndFittedShapesRecoverTheirParameters) {
  Vobject rect;
  ASSERT_EQ(gen_rectangle2_contour_xld(&rect, 50.0, 60.0, 0.4, 30.0, 10.0), VRESULT_OK);
  double r, c, phi, l1, l2;
  ASSERT_EQ(smallest_rectangle2_xld(rect, &r, &c, &phi, &l1, &l2), VRESULT_OK);
  EXPECT_NEAR(r, 50, 1e-3);
  EXPECT_NEAR(c, 60, 1e-3);
  EXPECT_NEAR(phi, 0.4, 1e-4);
  EXPECT_NEAR(l1, 30, 1e-3);
  EXPECT_NEAR(l2, 10, 1e-3);

  // The rectangle's outline sampled densely, with one far outlier that a
  // robust fit must ignore.
  std::vector<double> rows, cols;
  const double u[2] = {-std::sin(0.4), std::cos(0.4)}, w[2] = {-std::cos(0.4), -std::sin(0.4)};
  const double corner[5][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}, {1, 1}};
  for (int k = 0; k < 4; ++k)
    for (int s = 0; s < 50; ++s) {
      const double a = corner[k][0] + (corner[k + 1][0] - corner[k][0]) * s / 50.0;
      const double b = corner[k][1] + (corner[k + 1][1] - corner[k][1]) * s / 50.0;
      rows.push_back(50 + a * 30 * u[0] + b * 10 * w[0]);
      cols.push_back(60 + a * 30 * u[1] + b * 10 * w[1]);
    }
  rows[77] += 6;
  rows.push_back(rows[0]), cols.push_back(cols[0]);
  char order[32];
  ASSERT_EQ(fit_rectangle2_contour_xld(Polygon(rows, cols), "tukey", Vlong{-1}, 0.0, Vlong{0}, Vlong{5}, 2.0,
                                       &r, &c, &phi, &l1, &l2, order),
            VRESULT_OK);
  EXPECT_NEAR(r, 50, 1e-3);
  EXPECT_NEAR(phi, 0.4, 1e-4);
  EXPECT_NEAR(l1, 30, 1e-3);
  EXPECT_NEAR(l2, 10, 1e-3);

  Vobject ellipse;
  ASSERT_EQ(gen_ellipse_contour_xld(&ellipse, 40.0, 50.0, 0.5, 25.0, 10.0, 0.0, 2 * M_PI, "positive", 0.5),
            VRESULT_OK);
  double ra, rb, start, end;
  ASSERT_EQ(fit_ellipse_contour_xld(ellipse, "fitzgibbon", Vlong{-1}, 0.0, Vlong{0}, Vlong{200}, Vlong{3}, 2.0,
                                    &r, &c, &phi, &ra, &rb, &start, &end, order),
            VRESULT_OK);
  EXPECT_NEAR(r, 40, 1e-3);
  EXPECT_NEAR(c, 50, 1e-3);
  EXPECT_NEAR(phi, 0.5, 1e-4);
  EXPECT_NEAR(ra, 25, 1e-3);
  EXPECT_NEAR(rb, 10, 1e-3);
  EXPECT_STREQ(order, "positive");
  // The moments of the sampled ellipse match its axes to the sampling.
  ASSERT_EQ(elliptic_axis_xld(ellipse, &ra, &rb, &phi), VRESULT_OK);
  EXPECT_NEAR(ra, 25, 0.05);
  EXPECT_NEAR(rb, 10, 0.05);
  EXPECT_NEAR(phi, 0.5, 1e-3);

  // A half circle, clockwise: the angles of its ends and its order.
  Vobject arc;
  ASSERT_EQ(gen_circle_contour_xld(&arc, 0.0, 0.0, 10.0, M_PI, 0.0, "negative", 0.1), VRESULT_OK);
  double radius;
  ASSERT_EQ(fit_circle_contour_xld(arc, "geometric", Vlong{-1}, 0.0, Vlong{0}, Vlong{0}, 2.0, &r, &c, &radius,
                                   &start, &end, order),
            VRESULT_OK);
  EXPECT_NEAR(radius, 10, 1e-4);
  EXPECT_NEAR(std::remainder(start - M_PI, 2 * M_PI), 0, 1e-4);
  EXPECT_NEAR(std::remainder(end, 2 * M_PI), 0, 1e-4);
  EXPECT_STREQ(order, "negative");
}

TEST_F(XldFeatures, PolygonsRegionsAndTransformations) {
  // A densely sampled open chain with two corners becomes three segments.
  std::vector<double> rows, cols;
  for (int i = 0; i <= 20; ++i) rows.push_back(0), cols.push_back(i);
  for (int i = 1; i <= 20; ++i) rows.push_back(i), cols.push_back(20);
  for (int i = 1; i <= 10; ++i) rows.push_back(20), cols.push_back(20 - i);
  Vobject polys;
  ASSERT_EQ(gen_polygons_xld(Polygon(rows, cols), &polys, "ramer", 0.5), VRESULT_OK);
  VTuple br, bc, er, ec, len, phi;
  ASSERT_EQ(get_lines_xld(polys, &br, &bc, &er, &ec, &len, &phi), VRESULT_OK);
  EXPECT_EQ(Values(len), std::vector<double>({20, 20, 10}));
  EXPECT_NEAR(phi[1].D(), -M_PI / 2, 1e-12);  // downwards on the screen
  Vobject pieces;
  ASSERT_EQ(split_contours_xld(polys, &pieces, "contour", Vlong{1}, Vlong{0}), VRESULT_OK);
  VTuple num;
  ASSERT_EQ(contour_point_num_xld(pieces, &num), VRESULT_OK);
  EXPECT_EQ(Values(num), std::vector<double>({21, 21, 11}));

  // Filled, the box covers the 20 x 40 pixel centres of its area.
  Vobject region;
  ASSERT_EQ(gen_region_contour_xld(Box(), &region, "filled"), VRESULT_OK);
  Vlong area = 0;
  double rr, rc;
  ASSERT_EQ(area_center(region, &area, &rr, &rc), VRESULT_OK);
  EXPECT_EQ(area, 800);

  // The outline of a 10 x 20 region along pixel borders and centres.
  Vobject block, borders, centres;
  ASSERT_EQ(gen_rectangle1(&block, 0.0, 0.0, 9.0, 19.0), VRESULT_OK);
  ASSERT_EQ(gen_contour_region_xld(block, &borders, "border"), VRESULT_OK);
  ASSERT_EQ(gen_contour_region_xld(block, &centres, "center"), VRESULT_OK);
  double length, a, r, c;
  char order[32];
  ASSERT_EQ(length_xld(borders, &length), VRESULT_OK);
  EXPECT_DOUBLE_EQ(length, 60);
  ASSERT_EQ(area_center_xld(borders, &a, &r, &c, order), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, 200);
  EXPECT_DOUBLE_EQ(r, 4.5);
  EXPECT_STREQ(order, "positive");
  ASSERT_EQ(length_xld(centres, &length), VRESULT_OK);
  EXPECT_DOUBLE_EQ(length, 56);

  // A region with a hole: "border_holes" adds the hole's loop.
  Vobject ring, hole, holes;
  ASSERT_EQ(gen_rectangle1(&hole, 3.0, 3.0, 5.0, 5.0), VRESULT_OK);
  ASSERT_EQ(difference(block, hole, &ring), VRESULT_OK);
  ASSERT_EQ(gen_contour_region_xld(ring, &holes, "border_holes"), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(holes, &n), VRESULT_OK);
  EXPECT_EQ(n, 2);

  // A quarter turn about the origin: (r, c) -> (-c, r).
  Vobject turned;
  ASSERT_EQ(affine_trans_contour_xld(Box(), &turned, Tuple({0, -1, 0, 1, 0, 0})), VRESULT_OK);
  ASSERT_EQ(area_center_xld(turned, &a, &r, &c, order), VRESULT_OK);
  EXPECT_DOUBLE_EQ(r, -40);
  EXPECT_DOUBLE_EQ(c, 20);
}

TEST_F(XldFeatures, PolarTransformOfACircleAndBack) {
  // A circle of radius 30 about the centre lies on one row of the polar
  // image (radius 0..60 over 61 rows) and comes back where it was.
  Vobject circle, polar, back;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 100.0, 120.0, 30.0, 0.0, 2 * M_PI, "positive", 1.0),
            VRESULT_OK);
  const double a1 = 2 * M_PI * 359 / 360;
  ASSERT_EQ(polar_trans_contour_xld(circle, &polar, 100.0, 120.0, 0.0, a1, 0.0, 60.0, Vlong{360},
                                    Vlong{61}),
            VRESULT_OK);
  VTuple rows, cols, rows0, cols0, rows1, cols1;
  ASSERT_EQ(get_contour_xld(polar, &rows, &cols), VRESULT_OK);
  ASSERT_GT(rows.Num(), 100);
  for (Vlong i = 0; i < rows.Num(); ++i) {
    EXPECT_NEAR(rows[i].D(), 30.0, 1e-3);
    EXPECT_GE(cols[i].D(), -1e-3);
    EXPECT_LE(cols[i].D(), 360.0);
  }
  ASSERT_EQ(polar_trans_contour_xld_inv(polar, &back, 100.0, 120.0, 0.0, a1, 0.0, 60.0, Vlong{360},
                                        Vlong{61}, Vlong{256}, Vlong{256}),
            VRESULT_OK);
  ASSERT_EQ(get_contour_xld(circle, &rows0, &cols0), VRESULT_OK);
  ASSERT_EQ(get_contour_xld(back, &rows1, &cols1), VRESULT_OK);
  ASSERT_EQ(rows1.Num(), rows0.Num());
  for (Vlong i = 0; i < rows0.Num(); ++i) {
    EXPECT_NEAR(rows1[i].D(), rows0[i].D(), 1e-3);
    EXPECT_NEAR(cols1[i].D(), cols0[i].D(), 1e-3);
  }
  // No angle range has no way into polar coordinates.
  EXPECT_EQ(polar_trans_contour_xld(circle, &polar, 100.0, 120.0, 1.0, 1.0, 0.0, 60.0, Vlong{360},
                                    Vlong{61}),
            VERR_CTRL_VALUE(3));
}

TEST_F(XldFeatures, TestsAndDistances) {
  const Vobject bowtie = Polygon({0, 10, 0, 10}, {0, 10, 10, 0});
  Vlong crosses = -1;
  ASSERT_EQ(test_self_intersection_xld(bowtie, "false", &crosses), VRESULT_OK);
  EXPECT_EQ(crosses, 1);
  ASSERT_EQ(test_self_intersection_xld(Box(), "true", &crosses), VRESULT_OK);
  EXPECT_EQ(crosses, 0);

  double lo, hi;
  ASSERT_EQ(distance_pc(Box(), 5.0, 40.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 5);
  EXPECT_DOUBLE_EQ(hi, std::hypot(25, 20));
  ASSERT_EQ(distance_lc(Box(), 0.0, 0.0, 0.0, 1.0, &lo, &hi), VRESULT_OK);  // the row-0 line
  EXPECT_DOUBLE_EQ(lo, 10);
  EXPECT_DOUBLE_EQ(hi, 30);
  ASSERT_EQ(distance_sc(Box(), 20.0, 0.0, 20.0, 100.0, &lo, &hi), VRESULT_OK);  // crosses it
  EXPECT_DOUBLE_EQ(lo, 0);
  const Vobject shifted = Polygon({13, 13, 33, 33, 13}, {20, 60, 60, 20, 20});
  ASSERT_EQ(distance_cc(Box(), shifted, "point_to_segment", &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 0);   // the outlines cross
  EXPECT_DOUBLE_EQ(hi, 3);

  Vobject inside;
  ASSERT_EQ(crop_contours_xld(Box(), &inside, 0.0, 0.0, 20.0, 100.0, "false"), VRESULT_OK);
  double length;
  ASSERT_EQ(length_xld(inside, &length), VRESULT_OK);
  EXPECT_DOUBLE_EQ(length, 10 + 40 + 10);  // one piece across the start point
}

}  // namespace
