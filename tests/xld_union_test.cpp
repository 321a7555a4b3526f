// Splitting contours into lines and arcs, and joining contours end to
// end: pieces of known lines, circles and ellipses must come out as what
// they are, and cut-up contours must be joined again when, and only when,
// their ends meet the criteria.
#include <cmath>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldUnion : public xld_test::XldTest {};

Vobject Contour(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject c;
  EXPECT_EQ(gen_contour_polygon_xld(&c, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return c;
}

// Points of the ellipse arc round (r0, c0) with half axes a (columns) and
// b (rows), from angle t0 to t1, about one pixel apart.
void Arc(double r0, double c0, double a, double b, double t0, double t1, std::vector<double>* rows,
         std::vector<double>* cols) {
  const int n = static_cast<int>(std::ceil(std::fabs(t1 - t0) * std::max(a, b)));
  for (int i = 0; i <= n; ++i) {
    const double t = t0 + (t1 - t0) * i / n;
    rows->push_back(r0 - b * std::sin(t));
    cols->push_back(c0 + a * std::cos(t));
  }
}

// A straight piece from (r0, c0) to (r1, c1), about one pixel apart, the
// first point left out.
void Line(double r0, double c0, double r1, double c1, std::vector<double>* rows,
          std::vector<double>* cols) {
  const int n = static_cast<int>(std::ceil(std::hypot(r1 - r0, c1 - c0)));
  for (int i = 1; i <= n; ++i) {
    rows->push_back(r0 + (r1 - r0) * i / n);
    cols->push_back(c0 + (c1 - c0) * i / n);
  }
}

// A closed "D": the upper half of an ellipse round (50, 60) and its
// diameter.
Vobject HalfEllipse(double a, double b) {
  std::vector<double> rows, cols;
  Arc(50, 60, a, b, 0, M_PI, &rows, &cols);
  Line(rows.back(), cols.back(), rows.front(), cols.front(), &rows, &cols);
  return Contour(rows, cols);
}

std::vector<double> Approximations(const Vobject& pieces) {
  VTuple v;
  std::vector<double> out;
  Vlong n = 0;
  count_obj(pieces, &n);
  for (Vlong i = 1; i <= n; ++i) {
    Vobject one;
    select_obj(pieces, &one, i);
    EXPECT_EQ(get_contour_global_attrib_xld(one, "cont_approx", &v), VRESULT_OK);
    out.push_back(v[0].D());
  }
  return out;
}

TEST_F(XldUnion, SegmentationFindsTheArcAndTheDiameter) {
  Vobject pieces;
  ASSERT_EQ(segment_contours_xld(HalfEllipse(30, 30), &pieces, "lines_circles", Vlong{0}, 1.0, 0.3),
            VRESULT_OK);
  const std::vector<double> kinds = Approximations(pieces);
  ASSERT_EQ(std::count(kinds.begin(), kinds.end(), 1.0), 1);
  EXPECT_EQ(std::count(kinds.begin(), kinds.end(), -1.0), static_cast<long>(kinds.size()) - 1);
  for (size_t i = 0; i < kinds.size(); ++i) {
    Vobject one;
    select_obj(pieces, &one, static_cast<Vlong>(i + 1));
    VTuple rows, cols;
    ASSERT_EQ(get_contour_xld(one, &rows, &cols), VRESULT_OK);
    if (kinds[i] < 0) {  // on the diameter
      for (double r : Values(rows)) EXPECT_NEAR(r, 50, 1e-4);
      continue;
    }
    double row = 0, col = 0, radius = 0, start = 0, end = 0;
    char order[32] = {};
    ASSERT_EQ(fit_circle_contour_xld(one, "algebraic", Vlong{-1}, 0.0, Vlong{0}, Vlong{0}, 2.0,
                                     &row, &col, &radius, &start, &end, order),
              VRESULT_OK);
    EXPECT_NEAR(radius, 30, 0.01);
    EXPECT_GT(rows.Num(), 85);  // nearly all the half circle's points
  }
  // As lines only, the arc is cut into chords.
  ASSERT_EQ(segment_contours_xld(HalfEllipse(30, 30), &pieces, "lines", Vlong{3}, 1.0, 0.3),
            VRESULT_OK);
  const std::vector<double> lines = Approximations(pieces);
  EXPECT_GT(lines.size(), 4u);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), -1.0), static_cast<long>(lines.size()));
  // A half ellipse is no circle but one ellipse.
  ASSERT_EQ(segment_contours_xld(HalfEllipse(40, 20), &pieces, "lines_ellipses", Vlong{0}, 1.0, 0.3),
            VRESULT_OK);
  const std::vector<double> ell = Approximations(pieces);
  EXPECT_EQ(std::count(ell.begin(), ell.end(), 0.0), 1);
  ASSERT_EQ(segment_contours_xld(HalfEllipse(40, 20), &pieces, "lines_circles", Vlong{0}, 1.0, 0.3),
            VRESULT_OK);
  const std::vector<double> no_ellipse = Approximations(pieces);
  EXPECT_EQ(std::count(no_ellipse.begin(), no_ellipse.end(), 0.0), 0);
}

// A contour cut into pieces at the given point numbers, leaving out `gap`
// points at each cut; every second piece reversed.
Vobject CutUp(const std::vector<double>& rows, const std::vector<double>& cols,
              const std::vector<size_t>& cuts, size_t gap) {
  Vobject all;
  gen_empty_obj(&all);
  size_t from = 0;
  for (size_t k = 0; k <= cuts.size(); ++k) {
    const size_t to = k < cuts.size() ? cuts[k] : rows.size();
    std::vector<double> r(rows.begin() + from, rows.begin() + to),
        c(cols.begin() + from, cols.begin() + to);
    if (k % 2) std::reverse(r.begin(), r.end()), std::reverse(c.begin(), c.end());
    Vobject piece, next;
    piece = Contour(r, c);
    concat_obj(all, piece, &next);
    all = next;
    from = to + gap;
  }
  return all;
}

Vlong Count(const Vobject& o) {
  Vlong n = 0;
  EXPECT_EQ(count_obj(o, &n), VRESULT_OK);
  return n;
}

TEST_F(XldUnion, AdjacentAndCocircularPiecesOfACircleJoin) {
  std::vector<double> rows, cols;
  Arc(60, 60, 40, 40, 0, 1.8 * M_PI, &rows, &cols);
  const Vobject pieces = CutUp(rows, cols, {40, 90, 150}, 2);  // gaps of about 3 px
  ASSERT_EQ(Count(pieces), 4);
  Vobject out;
  ASSERT_EQ(union_adjacent_contours_xld(pieces, &out, 4.0, 1.0, "attr_keep"), VRESULT_OK);
  ASSERT_EQ(Count(out), 1);
  VTuple num;
  ASSERT_EQ(contour_point_num_xld(out, &num), VRESULT_OK);
  EXPECT_EQ(num[0].L(), static_cast<Vlong>(rows.size()) - 6);
  ASSERT_EQ(union_adjacent_contours_xld(pieces, &out, 2.0, 1.0, "attr_keep"), VRESULT_OK);
  EXPECT_EQ(Count(out), 4);
  ASSERT_EQ(union_adjacent_contours_xld(pieces, &out, 4.0, 0.01, "attr_forget"), VRESULT_OK);
  EXPECT_EQ(Count(out), 4);

  ASSERT_EQ(union_cocircular_contours_xld(pieces, &out, 0.5, 0.1, 0.5, 5.0, 2.0, 2.0, "false",
                                          Vlong{1}),
            VRESULT_OK);
  EXPECT_EQ(Count(out), 1);
  // Radii that differ too much: a second circle's arc stays apart.
  std::vector<double> r2, c2;
  Arc(60, 60, 43, 43, 1.81 * M_PI, 1.95 * M_PI, &r2, &c2);
  Vobject with_other;
  concat_obj(pieces, Contour(r2, c2), &with_other);
  ASSERT_EQ(union_cocircular_contours_xld(with_other, &out, 0.5, 0.1, 0.5, 5.0, 1.0, 2.0, "false",
                                          Vlong{1}),
            VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
}

TEST_F(XldUnion, CollinearAndStraightPiecesJoinOnlyInLine) {
  std::vector<double> r1, c1, r2, c2, r3, c3;
  Line(10, 10, 10.5, 50, &r1, &c1);
  Line(10.6, 58, 11.5, 98, &r2, &c2);   // in line, 9 px on, turned by 0.01
  Line(16, 58, 16.5, 98, &r3, &c3);     // parallel, 5.5 px aside
  Vobject pieces, out;
  concat_obj(Contour(r1, c1), Contour(r2, c2), &pieces);
  Vobject all;
  concat_obj(pieces, Contour(r3, c3), &all);
  ASSERT_EQ(union_collinear_contours_xld(all, &out, 10.0, 1.0, 1.0, 0.1, "attr_keep"), VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
  ASSERT_EQ(union_collinear_contours_xld(all, &out, 10.0, 1.0, 1.0, 0.001, "attr_keep"), VRESULT_OK);
  EXPECT_EQ(Count(out), 3);  // the pieces' directions differ by more than that
  ASSERT_EQ(union_collinear_contours_xld(all, &out, 10.0, 1.0, 6.0, 0.1, "attr_keep"), VRESULT_OK);
  EXPECT_EQ(Count(out), 2);  // the in-line piece is still the cheaper join

  // The pieces' first points lie one pixel into them: the gap is
  // hypot(9, 0.1225), just over 9.
  ASSERT_EQ(union_straight_contours_xld(all, &out, 9.5, 0.1, 90.0, "noparallel", "maximum"),
            VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
  ASSERT_EQ(union_straight_contours_xld(all, &out, 7.0, 0.1, 90.0, "noparallel", Vlong{1}),
            VRESULT_OK);
  EXPECT_EQ(Count(out), 3);
}

TEST_F(XldUnion, BadParametersAndObjectsAreRefused) {
  const Vobject c = Contour({0, 1, 2}, {0, 1, 2});
  Vobject out, region;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  EXPECT_EQ(segment_contours_xld(c, &out, "lines_arcs", Vlong{0}, 1.0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(segment_contours_xld(c, &out, "lines", Vlong{-1}, 1.0, 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(segment_contours_xld(c, &out, "lines", Vlong{0}, 0.0, 1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(segment_contours_xld(region, &out, "lines", Vlong{0}, 1.0, 1.0), VERR_OBJ_CLASS(1));
  EXPECT_EQ(union_adjacent_contours_xld(c, &out, -1.0, 1.0, "attr_keep"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(union_adjacent_contours_xld(c, &out, 1.0, 1.0, "keep"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(union_collinear_contours_xld(c, &out, 1.0, 1.0, -1.0, 0.1, "attr_keep"),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(union_straight_contours_xld(c, &out, 1.0, 0.1, 150.0, "noparallel", "maximum"),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(union_straight_contours_xld(c, &out, 1.0, 0.1, 50.0, "noparallel", Vlong{0}),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(union_cocircular_contours_xld(c, &out, 0.5, 0.1, 0.5, 5.0, 2.0, 2.0, "maybe", Vlong{1}),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(union_cocircular_contours_xld(region, &out, 0.5, 0.1, 0.5, 5.0, 2.0, 2.0, "true",
                                          Vlong{1}),
            VERR_OBJ_CLASS(1));
}

}  // namespace
