// Contours against lines, segments, circles and other contours; contour
// directions at every point; point distances to another contour.
#include <cmath>
#include <random>

#include "geometry_test_support.h"

namespace {

using namespace Vexa;
using namespace geometry_test;

class GeometryContours : public GeometryTest {};

// Rows and columns 0..10, closed.
Vobject Square() { return Contour({0, 0, 10, 10, 0}, {0, 10, 10, 0, 0}); }

struct Hits {
  std::vector<double> rows, cols;
  std::vector<double> overlap;
};

Hits LineHits(const Vobject& c, double r1, double c1, double r2, double c2, bool line) {
  VTuple r, col, o;
  Hits h;
  const unsigned rc = line ? intersection_line_contour_xld(c, r1, c1, r2, c2, &r, &col, &o)
                           : intersection_segment_contour_xld(c, r1, c1, r2, c2, &r, &col, &o);
  EXPECT_EQ(rc, VRESULT_OK);
  h.rows = Values(r), h.cols = Values(col), h.overlap = Values(o);
  return h;
}

TEST_F(GeometryContours, LinesAndSegmentsMeetTheSquareInOrderAlongIt) {
  Hits h = LineHits(Square(), 5, -3, 5, 30, true);
  EXPECT_EQ(h.rows, std::vector<double>({5, 5}));
  EXPECT_EQ(h.cols, std::vector<double>({10, 0}));
  EXPECT_EQ(h.overlap, std::vector<double>({0}));
  // Through two corners: each once, also the closing corner.
  h = LineHits(Square(), 0, 0, 1, 1, true);
  EXPECT_EQ(h.rows, std::vector<double>({0, 10}));
  EXPECT_EQ(h.cols, std::vector<double>({0, 10}));
  // Along the top edge: it overlaps; the neighbouring edges leave the line
  // at its ends.
  h = LineHits(Square(), 0, -5, 0, 50, true);
  EXPECT_EQ(h.overlap, std::vector<double>({1}));
  EXPECT_EQ(h.cols, std::vector<double>({10, 0}));
  // Segments: inside, crossing one edge, two lines at once.
  EXPECT_TRUE(LineHits(Square(), 2, 2, 8, 8, false).rows.empty());
  h = LineHits(Square(), 5, 5, 5, 15, false);
  EXPECT_EQ(h.cols, std::vector<double>({10}));
  VTuple r, c, o;
  ASSERT_EQ(intersection_segment_contour_xld(Square(), Tuple({5, 2}), Tuple({5, 2}), Tuple({5, 2}),
                                             Tuple({15, 8}), &r, &c, &o),
            VRESULT_OK);
  EXPECT_EQ(Values(c), std::vector<double>({10}));
  EXPECT_EQ(Values(o), std::vector<double>({0, 0}));
}

// A random open polyline crosses a line where consecutive points change
// side: the count follows from the signs alone.
TEST_F(GeometryContours, CrossingsOfRandomPolylinesFollowTheSideChanges) {
  std::mt19937 random(21);
  std::uniform_real_distribution<double> coord(-50, 50);
  for (int round = 0; round < 100; ++round) {
    std::vector<double> rows, cols;
    for (int i = 0; i < 30; ++i) rows.push_back(coord(random)), cols.push_back(coord(random));
    const double r1 = coord(random), c1 = coord(random), r2 = coord(random), c2 = coord(random);
    int changes = 0;
    auto side = [&](int i) {
      // The stored contour is single precision.
      const double r = static_cast<float>(rows[i]), c = static_cast<float>(cols[i]);
      return (c2 - c1) * (r - r1) - (r2 - r1) * (c - c1) > 0;
    };
    for (int i = 1; i < 30; ++i) changes += side(i) != side(i - 1);
    const Hits h = LineHits(Contour(rows, cols), r1, c1, r2, c2, true);
    EXPECT_EQ(static_cast<int>(h.rows.size()), changes) << round;
    for (size_t k = 0; k < h.rows.size(); ++k)
      EXPECT_NEAR((c2 - c1) * (h.rows[k] - r1) - (r2 - r1) * (h.cols[k] - c1), 0, 1e-7);
  }
}

TEST_F(GeometryContours, CirclesTouchAndCrossTheSquare) {
  VTuple r, c;
  // The inscribed circle touches the four edges, in order along the square.
  ASSERT_EQ(intersection_circle_contour_xld(Square(), 5.0, 5.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({0, 5, 10, 5}));
  EXPECT_EQ(Values(c), std::vector<double>({5, 10, 5, 0}));
  // Radius 5 about a corner: one point on each of the two edges there,
  // at angles pi and 3 pi / 2 about the corner. The lower half (pi..2pi)
  // keeps both, since an arc's ends are its own; from pi + 0.5 on, only
  // the lower one is left.
  ASSERT_EQ(intersection_circle_contour_xld(Square(), 0.0, 10.0, 5.0, 0.0, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({0, 5}));
  EXPECT_EQ(Values(c), std::vector<double>({5, 10}));
  ASSERT_EQ(intersection_circle_contour_xld(Square(), 0.0, 10.0, 5.0, kPi, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({0, 5}));
  ASSERT_EQ(intersection_circle_contour_xld(Square(), 0.0, 10.0, 5.0, kPi + 0.5, 2 * kPi, "positive", &r, &c),
            VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({5}));
}

TEST_F(GeometryContours, ContoursMeetEachOtherAndThemselves) {
  const Vobject shifted = Contour({5, 5, 15, 15, 5}, {5, 15, 15, 5, 5});
  VTuple r, c, o;
  ASSERT_EQ(intersection_contours_xld(Square(), shifted, "mutual", &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({5, 10}));
  EXPECT_EQ(Values(c), std::vector<double>({10, 5}));
  EXPECT_EQ(Values(o), std::vector<double>({0}));
  // A figure eight crosses itself once; the square does not.
  const Vobject eight = Contour({0, 10, 10, 0, 0}, {0, 10, 0, 10, 0});
  ASSERT_EQ(intersection_contours_xld(eight, Square(), "self", &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(Values(r), std::vector<double>({5}));
  EXPECT_EQ(Values(c), std::vector<double>({5}));
  ASSERT_EQ(intersection_contours_xld(eight, shifted, "all", &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(r.Num(), 3);  // the two sides into the shifted square, then the crossing
  // Sharing an edge piece overlaps.
  const Vobject beside = Contour({0, 0, -5}, {2, 6, 6});
  ASSERT_EQ(intersection_contours_xld(Square(), beside, "mutual", &r, &c, &o), VRESULT_OK);
  EXPECT_EQ(Values(o), std::vector<double>({1}));
}

TEST_F(GeometryContours, DirectionsAlongACircleAndALine) {
  Vobject circle;
  ASSERT_EQ(gen_circle_contour_xld(&circle, 50.0, 50.0, 20.0, 0.0, 2 * kPi, "positive", 1.0), VRESULT_OK);
  VTuple rows, cols, angles;
  ASSERT_EQ(get_contour_xld(circle, &rows, &cols), VRESULT_OK);
  const Vlong n = rows.Num();
  for (const char* calc : {"range", "mean", "regress"}) {
    ASSERT_EQ(get_contour_angle_xld(circle, "abs", calc, 2, &angles), VRESULT_OK);
    ASSERT_EQ(angles.Num(), n);
    for (Vlong i = 0; i < n; ++i) {
      // The tangent of a counter-clockwise circle at angle t points to t + pi/2.
      const double t = std::atan2(50 - rows[i].D(), cols[i].D() - 50);
      EXPECT_NEAR(std::remainder(angles[i].D() - (t + kPi / 2), 2 * kPi), 0, 0.01) << calc << i;
    }
  }
  ASSERT_EQ(get_contour_angle_xld(circle, "rel", "range", 1, &angles), VRESULT_OK);
  EXPECT_EQ(angles[0].D(), 0);
  EXPECT_NEAR(angles[n - 1].D(), 2 * kPi, 1e-9);  // one full turn, no jumps
  for (Vlong i = 1; i < n; ++i) EXPECT_GT(angles[i].D(), angles[i - 1].D());

  // An open straight contour running down and to the left, with a
  // repeated point: every direction is the same.
  const Vobject line = Contour({0, 1, 2, 2, 3, 4}, {0, -1, -2, -2, -3, -4});
  for (const char* calc : {"range", "mean", "regress"}) {
    ASSERT_EQ(get_contour_angle_xld(line, "abs", calc, 1, &angles), VRESULT_OK);
    for (Vlong i = 0; i < angles.Num(); ++i) EXPECT_NEAR(angles[i].D(), -3 * kPi / 4, 1e-12) << calc;
    ASSERT_EQ(get_contour_angle_xld(line, "rel", calc, 3, &angles), VRESULT_OK);
    for (Vlong i = 0; i < angles.Num(); ++i) EXPECT_NEAR(angles[i].D(), 0, 1e-12);
  }
}

TEST_F(GeometryContours, PointDistancesBecomeAnAttribute) {
  const Vobject to = Contour({5, 5}, {-5, 20});
  Vobject from, out, twice;
  ASSERT_EQ(concat_obj(Contour({0, 0}, {0, 10}), Contour({8}, {3}), &from), VRESULT_OK);
  VTuple d;
  ASSERT_EQ(distance_contours_xld(from, to, &out, "point_to_segment"), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(out, &num), VRESULT_OK);
  ASSERT_EQ(num, 2);
  Vobject first, second;
  ASSERT_EQ(select_obj(out, &first, 1), VRESULT_OK);
  ASSERT_EQ(select_obj(out, &second, 2), VRESULT_OK);
  ASSERT_EQ(get_contour_attrib_xld(first, "distance", &d), VRESULT_OK);
  EXPECT_EQ(Values(d), std::vector<double>({5, 5}));
  ASSERT_EQ(get_contour_attrib_xld(second, "distance", &d), VRESULT_OK);
  EXPECT_EQ(Values(d), std::vector<double>({3}));
  // To the points only; applied again, the attribute is replaced.
  ASSERT_EQ(distance_contours_xld(out, to, &twice, "point_to_point"), VRESULT_OK);
  ASSERT_EQ(select_obj(twice, &first, 1), VRESULT_OK);
  ASSERT_EQ(get_contour_attrib_xld(first, "distance", &d), VRESULT_OK);
  EXPECT_DOUBLE_EQ(d[0].D(), std::hypot(5, 5));
  EXPECT_DOUBLE_EQ(d[1].D(), std::hypot(5, 10));
  VTuple names;
  ASSERT_EQ(query_contour_attribs_xld(first, &names), VRESULT_OK);
  EXPECT_EQ(names.Num(), 1);
}

TEST_F(GeometryContours, BadInputGivesClearCodes) {
  VTuple r, c, o, angles;
  Vobject polygon, empty, two, out;
  ASSERT_EQ(gen_polygons_xld(Square(), &polygon, "ramer", 1.0), VRESULT_OK);
  ASSERT_EQ(gen_contour_polygon_xld(&empty, VTuple(), VTuple()), VRESULT_OK);
  ASSERT_EQ(concat_obj(Square(), Square(), &two), VRESULT_OK);
  EXPECT_EQ(intersection_line_contour_xld(polygon, 0.0, 0.0, 1.0, 1.0, &r, &c, &o), VERR_OBJ_CLASS(1));
  EXPECT_EQ(intersection_line_contour_xld(empty, 0.0, 0.0, 1.0, 1.0, &r, &c, &o), VERR_EMPTY_OBJECT);
  EXPECT_EQ(intersection_line_contour_xld(two, 0.0, 0.0, 1.0, 1.0, &r, &c, &o), VERR_OBJ_NUM(1));
  EXPECT_EQ(intersection_line_contour_xld(Square(), 1.0, 1.0, 1.0, 1.0, &r, &c, &o), VERR_CTRL_VALUE(2));
  EXPECT_EQ(intersection_circle_contour_xld(Square(), 0.0, 0.0, 0.0, 0.0, 1.0, "positive", &r, &c),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(intersection_contours_xld(Square(), Square(), "both", &r, &c, &o), VERR_CTRL_VALUE(0));
  EXPECT_EQ(get_contour_angle_xld(Square(), "abs", "range", 0, &angles), VERR_CTRL_VALUE(2));
  EXPECT_EQ(get_contour_angle_xld(Square(), "deg", "range", 1, &angles), VERR_CTRL_VALUE(0));
  EXPECT_EQ(get_contour_angle_xld(Square(), "abs", "median", 1, &angles), VERR_CTRL_VALUE(1));
  EXPECT_EQ(get_contour_angle_xld(Contour({3, 3}, {4, 4}), "abs", "range", 1, &angles), VERR_EMPTY_OBJECT);
  EXPECT_EQ(distance_contours_xld(Square(), empty, &out, "point_to_point"), VERR_EMPTY_OBJECT);
  EXPECT_EQ(distance_contours_xld(Square(), Square(), &out, "nearest"), VERR_CTRL_VALUE(0));
}

}  // namespace
