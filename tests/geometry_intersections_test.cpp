// Intersections of lines, segments, circles and arcs: closed-form crossings,
// tangents, parallel and identical pieces, arcs that keep or drop points,
// random cases checked against exact integer orientation tests and the
// defining equations, and bad input.
#include <cmath>
#include <random>

#include "geometry_test_support.h"

namespace {

using namespace Vexa;
using namespace geometry_test;

class GeometryIntersections : public GeometryTest {};

struct Hits {
  std::vector<double> rows, cols;
  Vlong overlap = -1;
};

Hits Segments(double a1r, double a1c, double a2r, double a2c, double b1r, double b1c, double b2r,
              double b2c) {
  VTuple r, c, o;
  Hits h;
  EXPECT_EQ(intersection_segments(a1r, a1c, a2r, a2c, b1r, b1c, b2r, b2c, &r, &c, &o), VRESULT_OK);
  h.rows = Values(r), h.cols = Values(c), h.overlap = o[0].L();
  return h;
}

Hits Circles(double r1, double c1, double rad1, double s1, double e1, const char* o1, double r2,
             double c2, double rad2, double s2, double e2, const char* o2) {
  VTuple r, c, o;
  Hits h;
  EXPECT_EQ(intersection_circles(r1, c1, rad1, s1, e1, o1, r2, c2, rad2, s2, e2, o2, &r, &c, &o),
            VRESULT_OK);
  h.rows = Values(r), h.cols = Values(c), h.overlap = o[0].L();
  return h;
}

TEST_F(GeometryIntersections, LinesCrossOrAreParallel) {
  double r = -1, c = -1;
  Vlong parallel = -1;
  ASSERT_EQ(intersection_ll(0.0, 0.0, 1.0, 1.0, 0.0, 4.0, 1.0, 3.0, &r, &c, &parallel), VRESULT_OK);
  EXPECT_DOUBLE_EQ(r, 2);
  EXPECT_DOUBLE_EQ(c, 2);
  EXPECT_EQ(parallel, 0);
  for (double offset : {0.0, 3.0}) {  // identical, then distinct parallel lines
    ASSERT_EQ(intersection_ll(0.0, 0.0, 1.0, 2.0, offset, 4.0, offset + 2, 8.0, &r, &c, &parallel),
              VRESULT_OK);
    EXPECT_EQ(parallel, 1);
    EXPECT_EQ(r, 0);
    EXPECT_EQ(c, 0);
  }
  VTuple rows, cols, over;
  ASSERT_EQ(intersection_lines(0.0, 0.0, 1.0, 2.0, 2.0, 4.0, 3.0, 6.0, &rows, &cols, &over), VRESULT_OK);
  EXPECT_EQ(rows.Num(), 0);
  EXPECT_EQ(over[0].L(), 1);
  ASSERT_EQ(intersection_lines(0.0, 0.0, 1.0, 2.0, 5.0, 4.0, 6.0, 6.0, &rows, &cols, &over), VRESULT_OK);
  EXPECT_EQ(rows.Num(), 0);
  EXPECT_EQ(over[0].L(), 0);
  // The lines meet beyond the points that define them.
  ASSERT_EQ(intersection_lines(0.0, 0.0, 0.0, 1.0, 5.0, 7.0, 6.0, 7.0, &rows, &cols, &over), VRESULT_OK);
  EXPECT_EQ(Values(rows), std::vector<double>({0}));
  EXPECT_EQ(Values(cols), std::vector<double>({7}));
}

TEST_F(GeometryIntersections, SegmentsMeetAtClosedEnds) {
  Hits h = Segments(0, 0, 4, 4, 0, 4, 4, 0);
  EXPECT_EQ(h.rows, std::vector<double>({2}));
  EXPECT_EQ(h.overlap, 0);
  h = Segments(0, 0, 2, 2, 2, 2, 5, 0);  // end on end
  EXPECT_EQ(h.rows, std::vector<double>({2}));
  h = Segments(0, 0, 4, 0, 2, 1, 2, 5);  // would cross beyond b's end
  EXPECT_TRUE(h.rows.empty());
  h = Segments(0, 0, 4, 0, 2, 0, 2, 5);  // b begins on a
  EXPECT_EQ(h.cols, std::vector<double>({0}));
  h = Segments(0, 0, 0, 4, 0, 1, 0, 3);  // collinear, overlapping
  EXPECT_TRUE(h.rows.empty());
  EXPECT_EQ(h.overlap, 1);
  h = Segments(0, 0, 0, 4, 0, 4, 0, 9);  // collinear, touching end to end
  EXPECT_EQ(h.cols, std::vector<double>({4}));
  EXPECT_EQ(h.overlap, 0);
  h = Segments(0, 0, 0, 4, 0, 5, 0, 9);  // collinear, apart
  EXPECT_TRUE(h.rows.empty());
  EXPECT_EQ(h.overlap, 0);
  h = Segments(1, 1, 1, 1, 0, 0, 2, 2);  // a point on the other segment
  EXPECT_EQ(h.rows, std::vector<double>({1}));
  h = Segments(1, 1, 1, 1, 0, 0, 0, 2);
  EXPECT_TRUE(h.rows.empty());

  VTuple r, c, o;
  ASSERT_EQ(intersection_segment_line(0.0, 0.0, 0.0, 4.0, 9.0, 2.0, 8.0, 2.0, &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({0}));
  EXPECT_EQ(Values(c), std::vector<double>({2}));
  ASSERT_EQ(intersection_segment_line(0.0, 0.0, 0.0, 4.0, 9.0, 6.0, 8.0, 6.0, &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(r.Num(), 0);
  ASSERT_EQ(intersection_segment_line(0.0, 0.0, 0.0, 4.0, 0.0, 7.0, 0.0, 8.0, &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(r.Num(), 0);
  EXPECT_EQ(o[0].L(), 1);
}

// Integer segments: whether they meet follows from exact orientation signs.
TEST_F(GeometryIntersections, RandomSegmentsAgreeWithExactOrientationTests) {
  std::mt19937 random(5);
  std::uniform_int_distribution<int> coord(-6, 6);
  auto orient = [](long ar, long ac, long br, long bc, long cr, long cc) {
    const long v = (br - ar) * (cc - ac) - (bc - ac) * (cr - ar);
    return (v > 0) - (v < 0);
  };
  int met = 0;
  for (int round = 0; round < 3000; ++round) {
    long p[8];
    for (long& v : p) v = coord(random);
    const int o1 = orient(p[0], p[1], p[2], p[3], p[4], p[5]), o2 = orient(p[0], p[1], p[2], p[3], p[6], p[7]);
    const int o3 = orient(p[4], p[5], p[6], p[7], p[0], p[1]), o4 = orient(p[4], p[5], p[6], p[7], p[2], p[3]);
    if (o1 == 0 && o2 == 0) continue;  // collinear pieces are tested above
    const bool degenerate = (p[0] == p[2] && p[1] == p[3]) || (p[4] == p[6] && p[5] == p[7]);
    if (degenerate) continue;
    const bool meet = o1 * o2 <= 0 && o3 * o4 <= 0;
    const Hits h = Segments(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
    ASSERT_EQ(h.rows.size(), meet ? 1u : 0u) << round;
    if (!meet) continue;
    ++met;
    // The point lies on both segments' lines.
    const double r = h.rows[0], c = h.cols[0];
    EXPECT_NEAR((p[2] - p[0]) * (c - p[1]) - (p[3] - p[1]) * (r - p[0]), 0, 1e-9);
    EXPECT_NEAR((p[6] - p[4]) * (c - p[5]) - (p[7] - p[5]) * (r - p[4]), 0, 1e-9);
  }
  EXPECT_GT(met, 300);
}

TEST_F(GeometryIntersections, CirclesSecantTangentAndApart) {
  // Radii 5 about (0, 0) and (0, 8): the points (-3, 4) and (3, 4).
  Hits h = Circles(0, 0, 5, 0, 2 * kPi, "positive", 0, 8, 5, 0, 2 * kPi, "positive");
  ASSERT_EQ(h.rows.size(), 2u);
  EXPECT_NEAR(std::min(h.rows[0], h.rows[1]), -3, 1e-12);
  EXPECT_NEAR(std::max(h.rows[0], h.rows[1]), 3, 1e-12);
  EXPECT_NEAR(h.cols[0], 4, 1e-12);
  EXPECT_NEAR(h.cols[1], 4, 1e-12);
  EXPECT_EQ(h.overlap, 0);
  // The upper half (angles 0..pi) keeps only the point above, row -3.
  h = Circles(0, 0, 5, 0, kPi, "positive", 0, 8, 5, 0, 2 * kPi, "positive");
  EXPECT_EQ(h.rows, std::vector<double>({-3}));
  // The same half given from pi back to 0 in the negative sense.
  h = Circles(0, 0, 5, kPi, 0, "negative", 0, 8, 5, 0, 2 * kPi, "positive");
  EXPECT_EQ(h.rows, std::vector<double>({-3}));
  // Touching from outside and from inside.
  h = Circles(0, 0, 3, 0, 2 * kPi, "positive", 0, 5, 2, 0, 2 * kPi, "positive");
  EXPECT_EQ(h.rows, std::vector<double>({0}));
  EXPECT_EQ(h.cols, std::vector<double>({3}));
  h = Circles(0, 0, 5, 0, 2 * kPi, "positive", 3, 0, 2, 0, 2 * kPi, "positive");
  EXPECT_EQ(h.rows, std::vector<double>({5}));
  EXPECT_NEAR(h.cols[0], 0, 1e-12);
  // Apart, one inside the other, concentric.
  EXPECT_TRUE(Circles(0, 0, 2, 0, 7, "positive", 0, 9, 2, 0, 7, "positive").rows.empty());
  EXPECT_TRUE(Circles(0, 0, 9, 0, 7, "positive", 1, 1, 2, 0, 7, "positive").rows.empty());
  h = Circles(4, 4, 2, 0, 7, "positive", 4, 4, 3, 0, 7, "positive");
  EXPECT_TRUE(h.rows.empty());
  EXPECT_EQ(h.overlap, 0);
}

TEST_F(GeometryIntersections, ArcsOfOneCircleOverlapOrTouch) {
  Hits h = Circles(0, 0, 5, 0, 2 * kPi, "positive", 0, 0, 5, 0, 2 * kPi, "positive");
  EXPECT_EQ(h.overlap, 1);
  EXPECT_TRUE(h.rows.empty());
  h = Circles(0, 0, 5, 0, 2, "positive", 0, 0, 5, 1, 3, "positive");
  EXPECT_EQ(h.overlap, 1);
  // Quarter arcs that share only the point at angle pi/2: (-5, 0).
  h = Circles(0, 0, 5, 0, kPi / 2, "positive", 0, 0, 5, kPi, kPi / 2, "negative");
  EXPECT_EQ(h.overlap, 0);
  ASSERT_EQ(h.rows.size(), 1u);
  EXPECT_NEAR(h.rows[0], -5, 1e-12);
  EXPECT_NEAR(h.cols[0], 0, 1e-12);
  // An arc across angle 0 (from -1 to 1) against one from 2 to 3.
  h = Circles(0, 0, 5, -1, 1, "positive", 0, 0, 5, 2, 3, "positive");
  EXPECT_EQ(h.overlap, 0);
  EXPECT_TRUE(h.rows.empty());
  // The long way round from 1 to -1 contains 2..3.
  h = Circles(0, 0, 5, 1, -1, "positive", 0, 0, 5, 2, 3, "positive");
  EXPECT_EQ(h.overlap, 1);
}

TEST_F(GeometryIntersections, LinesAndSegmentsAgainstCircles) {
  VTuple r, c;
  // The column axis through a circle of radius 5 about (0, 0).
  ASSERT_EQ(intersection_line_circle(0.0, -10.0, 0.0, 10.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({-5, 5}));  // in order along the line
  EXPECT_EQ(Values(r), std::vector<double>({0, 0}));
  // Tangent, then missing.
  ASSERT_EQ(intersection_line_circle(-5.0, 0.0, -5.0, 1.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({-5}));
  EXPECT_EQ(Values(c), std::vector<double>({0}));
  ASSERT_EQ(intersection_line_circle(-6.0, 0.0, -6.0, 1.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(r.Num(), 0);
  // The right half (angles -pi/2 .. pi/2) keeps the point at column 5.
  ASSERT_EQ(intersection_line_circle(0.0, -10.0, 0.0, 10.0, 0.0, 0.0, 5.0, -kPi / 2, kPi / 2, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({5}));
  // A segment inside the circle meets nothing; one leaving it, one point.
  ASSERT_EQ(intersection_segment_circle(0.0, -2.0, 0.0, 2.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(r.Num(), 0);
  ASSERT_EQ(intersection_segment_circle(0.0, 0.0, 0.0, 9.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({5}));
  // A segment ending exactly on the circle.
  ASSERT_EQ(intersection_segment_circle(3.0, 0.0, 3.0, 4.0, 0.0, 0.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({4}));
}

TEST_F(GeometryIntersections, RandomPointsSatisfyBothEquations) {
  std::mt19937 random(9);
  std::uniform_real_distribution<double> coord(-10, 10), radius(0.5, 8);
  int points = 0;
  for (int round = 0; round < 400; ++round) {
    const double lr1 = coord(random), lc1 = coord(random), lr2 = coord(random), lc2 = coord(random);
    const double cr = coord(random), cc = coord(random), rad = radius(random);
    const double cr2 = coord(random), cc2 = coord(random), rad2 = radius(random);
    VTuple r, c, o;
    ASSERT_EQ(intersection_line_circle(lr1, lc1, lr2, lc2, cr, cc, rad, 0.0, 2 * kPi, "positive", &r, &c),
              VRESULT_OK);
    // Expected count from the distance of the centre to the line.
    const double len = std::hypot(lr2 - lr1, lc2 - lc1);
    const double dist = std::fabs((lc2 - lc1) * (cr - lr1) - (lr2 - lr1) * (cc - lc1)) / len;
    EXPECT_EQ(r.Num(), dist < rad ? 2 : 0);
    for (Vlong i = 0; i < r.Num(); ++i, ++points) {
      EXPECT_NEAR(std::hypot(r[i].D() - cr, c[i].D() - cc), rad, 1e-9);
      EXPECT_NEAR((lc2 - lc1) * (r[i].D() - lr1) - (lr2 - lr1) * (c[i].D() - lc1), 0, 1e-8);
    }
    ASSERT_EQ(intersection_circles(cr, cc, rad, 0.0, 2 * kPi, "positive", cr2, cc2, rad2, 0.0, 2 * kPi,
                                   "negative", &r, &c, &o),
              VRESULT_OK);
    const double d = std::hypot(cr2 - cr, cc2 - cc);
    EXPECT_EQ(r.Num(), d < rad + rad2 && d > std::fabs(rad - rad2) ? 2 : 0);
    for (Vlong i = 0; i < r.Num(); ++i, ++points) {
      EXPECT_NEAR(std::hypot(r[i].D() - cr, c[i].D() - cc), rad, 1e-9);
      EXPECT_NEAR(std::hypot(r[i].D() - cr2, c[i].D() - cc2), rad2, 1e-9);
    }
  }
  EXPECT_GT(points, 400);
}

TEST_F(GeometryIntersections, ElementsConcatenateTheirPoints) {
  VTuple r, c, o;
  // One segment against three: crossing, apart, overlapping.
  ASSERT_EQ(intersection_segments(0.0, 0.0, 0.0, 10.0, Tuple({-1, 5, 0}), Tuple({2, 2, 4}),
                                  Tuple({1, 6, 0}), Tuple({2, 2, 20}), &r, &c, &o),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({0}));
  EXPECT_EQ(Values(c), std::vector<double>({2}));
  EXPECT_EQ(Values(o), std::vector<double>({0, 0, 1}));
  ASSERT_EQ(intersection_line_circle(0.0, -10.0, 0.0, 10.0, 0.0, Tuple({0, 20}), 5.0, 0.0, 2 * kPi,
                                     "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({-5, 5, 15, 25}));
}

// Coordinates of wildly different magnitudes, down to denormal steps: every
// result is a finite number or a clear code, never NaN or infinity.
TEST_F(GeometryIntersections, ExtremeMagnitudesGiveFiniteResults) {
  std::mt19937 random(13);
  std::uniform_int_distribution<int> exponent(-320, 100), sign(0, 1);
  auto value = [&] { return (sign(random) ? 1 : -1) * std::pow(10.0, exponent(random)); };
  auto finite = [](const VTuple& t) {
    for (Vlong i = 0; i < t.Num(); ++i)
      if (!std::isfinite(t[i].D())) return false;
    return true;
  };
  for (int round = 0; round < 2000; ++round) {
    double v[10];
    for (double& x : v) x = value();
    VTuple r, c, o;
    unsigned rc = intersection_segments(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &r, &c, &o);
    ASSERT_EQ(rc, VRESULT_OK);
    EXPECT_TRUE(finite(r) && finite(c)) << round;
    rc = intersection_lines(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &r, &c, &o);
    if (rc == VRESULT_OK) {
      EXPECT_TRUE(finite(r) && finite(c)) << round;
    }
    rc = intersection_line_circle(v[0], v[1], v[2], v[3], v[4], v[5], std::fabs(v[6]), v[7], v[8], "positive",
                                  &r, &c);
    if (rc == VRESULT_OK) {
      EXPECT_TRUE(finite(r) && finite(c)) << round;
    }
    rc = intersection_circles(v[0], v[1], std::fabs(v[2]), 0.0, 7.0, "positive", v[4], v[5], std::fabs(v[6]),
                              0.0, 7.0, "negative", &r, &c, &o);
    if (rc == VRESULT_OK) {
      EXPECT_TRUE(finite(r) && finite(c)) << round;
    }
    rc = distance_ss(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &r, &c);
    ASSERT_EQ(rc, VRESULT_OK);
    EXPECT_TRUE(finite(r) && finite(c)) << round;
  }
}

TEST_F(GeometryIntersections, BadInputGivesClearCodes) {
  VTuple r, c, o;
  EXPECT_EQ(intersection_lines(0.0, 0.0, 0.0, 0.0, 1.0, 1.0, 2.0, 2.0, &r, &c, &o), VERR_CTRL_VALUE(2));
  EXPECT_EQ(intersection_segment_line(0.0, 0.0, 0.0, 0.0, 1.0, 1.0, 1.0, 1.0, &r, &c, &o), VERR_CTRL_VALUE(6));
  EXPECT_EQ(intersection_line_circle(0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, "positive", &r, &c),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(intersection_line_circle(0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 2.0, 0.0, 1.0, "clockwise", &r, &c),
            VERR_CTRL_VALUE(9));
  EXPECT_EQ(intersection_circles(0.0, 0.0, 1.0, 0.0, 1.0, "positive", 0.0, 0.0, -1.0, 0.0, 1.0, "positive",
                                 &r, &c, &o),
            VERR_CTRL_VALUE(8));
  EXPECT_EQ(intersection_segments(Tuple({0, 1}), 0.0, Tuple({0, 1, 2}), 0.0, 0.0, 0.0, 1.0, 1.0, &r, &c, &o),
            VERR_CTRL_NUM(0));
  EXPECT_EQ(intersection_segments(NAN, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 1.0, &r, &c, &o), VERR_CTRL_VALUE(0));
  EXPECT_EQ(intersection_ll(0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, VTuple("x"), &r, &c, &o), VERR_CTRL_TYPE(7));
}

}  // namespace
