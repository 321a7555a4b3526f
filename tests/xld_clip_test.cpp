// Set operations on closed contours and polygons: exact results for
// overlapping and touching squares, and for random star-shaped rings with
// holes the same pixels as the region operations on the filled inputs
// (both fill by pixel centres, even-odd).
#include <cmath>
#include <random>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldClip : public xld_test::XldTest {};

Vobject Ring(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject c;
  EXPECT_EQ(gen_contour_polygon_xld(&c, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return c;
}

Vobject Square(double r0, double c0, double size) {
  return Ring({r0, r0, r0 + size, r0 + size, r0}, {c0, c0 + size, c0 + size, c0, c0});
}

Vobject Concat(const Vobject& a, const Vobject& b) {
  Vobject out;
  EXPECT_EQ(concat_obj(a, b, &out), VRESULT_OK);
  return out;
}

// Sum of the enclosed areas, holes (rings of the other sense) subtracted.
double NetArea(const Vobject& rings) {
  VTuple area, row, col, order;
  EXPECT_EQ(area_center_xld(rings, &area, &row, &col, &order), VRESULT_OK);
  double sum = 0;
  for (Vlong i = 0; i < area.Num(); ++i)
    sum += std::string(order[i].S()) == "positive" ? area[i].D() : -area[i].D();
  return std::fabs(sum);
}

Vlong Count(const Vobject& o) {
  Vlong n = 0;
  EXPECT_EQ(count_obj(o, &n), VRESULT_OK);
  return n;
}

using ContourOp = unsigned (*)(const Vobject&, const Vobject&, Vobject*);
using RegionOp = unsigned (*)(const Vobject&, const Vobject&, Vobject*);

TEST_F(XldClip, OverlappingSquaresGiveExactAreasAndCorners) {
  const Vobject a = Square(0, 0, 10), b = Square(5, 5, 10);
  struct Case {
    ContourOp op;
    double area;
    Vlong rings, points;
  } cases[] = {{intersection_closed_contours_xld, 25, 1, 5},
               {union2_closed_contours_xld, 175, 1, 9},
               {difference_closed_contours_xld, 75, 1, 7},
               {symm_difference_closed_contours_xld, 150, 2, 14}};
  for (const Case& c : cases) {
    Vobject out;
    ASSERT_EQ(c.op(a, b, &out), VRESULT_OK);
    EXPECT_EQ(Count(out), c.rings);
    EXPECT_DOUBLE_EQ(NetArea(out), c.area);
    VTuple num;
    ASSERT_EQ(contour_point_num_xld(out, &num), VRESULT_OK);
    double points = 0;
    for (double n : Values(num)) points += n;
    EXPECT_EQ(points, c.points);
  }
}

TEST_F(XldClip, SharedEdgesAndTouchingCornersAreResolved) {
  Vobject out;
  // Side by side, one edge in common: the union is one rectangle.
  ASSERT_EQ(union2_closed_contours_xld(Square(0, 0, 4), Square(0, 4, 4), &out), VRESULT_OK);
  EXPECT_EQ(Count(out), 1);
  EXPECT_DOUBLE_EQ(NetArea(out), 32);
  ASSERT_EQ(intersection_closed_contours_xld(Square(0, 0, 4), Square(0, 4, 4), &out), VRESULT_OK);
  EXPECT_EQ(Count(out), 0);
  // Corners touching: two rings, not one figure eight.
  ASSERT_EQ(union2_closed_contours_xld(Square(0, 0, 4), Square(4, 4, 4), &out), VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
  EXPECT_DOUBLE_EQ(NetArea(out), 32);
  // Identical inputs: union and intersection are the square, the
  // differences empty.
  ASSERT_EQ(intersection_closed_contours_xld(Square(1, 1, 3), Square(1, 1, 3), &out), VRESULT_OK);
  EXPECT_DOUBLE_EQ(NetArea(out), 9);
  ASSERT_EQ(symm_difference_closed_contours_xld(Square(1, 1, 3), Square(1, 1, 3), &out),
            VRESULT_OK);
  EXPECT_EQ(Count(out), 0);
  // A hole cut out: outer ring and hole ring.
  ASSERT_EQ(difference_closed_contours_xld(Square(0, 0, 10), Square(3, 3, 2), &out), VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
  EXPECT_DOUBLE_EQ(NetArea(out), 96);
}

TEST_F(XldClip, PolygonsGivePolygons) {
  Vobject pa, pb, out;
  ASSERT_EQ(gen_polygons_xld(Square(0, 0, 10), &pa, "ramer", 0.1), VRESULT_OK);
  ASSERT_EQ(gen_polygons_xld(Square(5, 5, 10), &pb, "ramer", 0.1), VRESULT_OK);
  ASSERT_EQ(union2_closed_polygons_xld(pa, pb, &out), VRESULT_OK);
  VTuple rows, cols, lengths, phis;
  ASSERT_EQ(get_polygon_xld(out, &rows, &cols, &lengths, &phis), VRESULT_OK);
  EXPECT_EQ(rows.Num(), 9);
  for (ContourOp op : {intersection_closed_polygons_xld, difference_closed_polygons_xld,
                       symm_difference_closed_polygons_xld}) {
    ASSERT_EQ(op(pa, pb, &out), VRESULT_OK);
    EXPECT_GE(Count(out), 1);
  }
  // Contours where polygons belong, and the other way round.
  EXPECT_EQ(union2_closed_polygons_xld(Square(0, 0, 2), pb, &out), VERR_OBJ_CLASS(1));
  EXPECT_EQ(union2_closed_contours_xld(Square(0, 0, 2), pb, &out), VERR_OBJ_CLASS(2));
  Vobject region;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  EXPECT_EQ(intersection_closed_contours_xld(region, pa, &out), VERR_OBJ_CLASS(1));
}

// A star-shaped ring round (r0, c0) of `n` corners at random radii.
Vobject Star(std::mt19937& rng, double r0, double c0, double rmin, double rmax, int n) {
  std::uniform_real_distribution<double> radius(rmin, rmax);
  std::vector<double> rows, cols;
  for (int i = 0; i < n; ++i) {
    const double a = 2 * M_PI * i / n, rad = radius(rng);
    rows.push_back(r0 + rad * std::sin(a));
    cols.push_back(c0 + rad * std::cos(a));
  }
  rows.push_back(rows.front());
  cols.push_back(cols.front());
  return Ring(rows, cols);
}

// The pixels the rings enclose by the even-odd rule.
Vobject Filled(const Vobject& rings) {
  Vobject regions, out;
  EXPECT_EQ(gen_region_contour_xld(rings, &regions, "filled"), VRESULT_OK);
  EXPECT_EQ(gen_empty_region(&out), VRESULT_OK);
  for (Vlong i = 1; i <= Count(regions); ++i) {
    Vobject one, next;
    select_obj(regions, &one, i);
    EXPECT_EQ(symm_difference(out, one, &next), VRESULT_OK);
    out = next;
  }
  return out;
}

Vlong Pixels(const Vobject& region) {
  Vlong area = 0;
  double r = 0, c = 0;
  EXPECT_EQ(area_center(region, &area, &r, &c), VRESULT_OK);
  return area;
}

TEST_F(XldClip, RandomRingsWithHolesMatchTheRegionOperations) {
  std::mt19937 rng(11);
  const ContourOp ops[] = {intersection_closed_contours_xld, union2_closed_contours_xld,
                           difference_closed_contours_xld, symm_difference_closed_contours_xld};
  const RegionOp region_ops[] = {intersection, union2, difference, symm_difference};
  for (int trial = 0; trial < 6; ++trial) {
    // Each set: a star with a star-shaped hole, plus a second star that
    // may overlap the first.
    const Vobject a = Concat(Concat(Star(rng, 50, 50, 20, 35, 17), Star(rng, 50, 50, 4, 9, 7)),
                             Star(rng, 70, 80, 8, 20, 9));
    const Vobject b = Concat(Star(rng, 60, 60, 15, 35, 23), Star(rng, 58, 62, 3, 10, 5));
    const Vobject fa = Filled(a), fb = Filled(b);
    for (int k = 0; k < 4; ++k) {
      Vobject out, expected, mismatch;
      ASSERT_EQ(ops[k](a, b, &out), VRESULT_OK);
      ASSERT_EQ(region_ops[k](fa, fb, &expected), VRESULT_OK);
      ASSERT_EQ(symm_difference(Filled(out), expected, &mismatch), VRESULT_OK);
      EXPECT_LE(Pixels(mismatch), 1) << "trial " << trial << " operation " << k;
      EXPECT_GT(Pixels(expected), 0);
    }
  }
}

}  // namespace
