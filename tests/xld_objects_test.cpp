// Sub-pixel objects in the object database and through the object
// operators: class tags and names, copies, selections and comparisons, the
// contour access operators, and the codes for wrong classes and values.
#include <cmath>
#include <cstring>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldObjects : public xld_test::XldTest {};

Vobject Contour(std::vector<double> rows, std::vector<double> cols) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

int32_t Tag(const Vobject& o) { return reinterpret_cast<const VKeyRecordHead*>(o.Id())->tag; }

TEST_F(XldObjects, ClassesTagsAndNames) {
  const Vobject c = Contour({0, 0, 5}, {0, 5, 5});
  Vobject p, both;
  ASSERT_EQ(gen_polygons_xld(c, &p, "ramer", 1.0), VRESULT_OK);
  EXPECT_EQ(Tag(c), VOBJ_TAG_BASE + VOBJ_XLD_CONT);
  EXPECT_EQ(Tag(p), VOBJ_TAG_BASE + VOBJ_XLD_POLY);
  ASSERT_EQ(concat_obj(c, p, &both), VRESULT_OK);
  VTuple names;
  ASSERT_EQ(get_obj_class(both, &names), VRESULT_OK);
  ASSERT_EQ(names.Num(), 2);
  EXPECT_STREQ(names[0].S(), "xld_cont");
  EXPECT_STREQ(names[1].S(), "xld_poly");
  // A contour holds no region: region operators refuse it by class.
  Vlong area = 0;
  double r, col;
  EXPECT_EQ(area_center(c, &area, &r, &col), VERR_OBJ_CLASS(1));
}

TEST_F(XldObjects, CopiesSelectionsAndComparisons) {
  const Vobject a = Contour({0, 0, 5}, {0, 5, 5});
  const Vobject b = Contour({0, 0, 5}, {0, 5, 6});
  Vobject ab, copy, second;
  ASSERT_EQ(concat_obj(a, b, &ab), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(ab, &n), VRESULT_OK);
  EXPECT_EQ(n, 2);
  ASSERT_EQ(copy_obj(ab, &copy, Vlong{1}, Vlong{-1}), VRESULT_OK);
  ASSERT_EQ(select_obj(copy, &second, Vlong{2}), VRESULT_OK);
  Vlong equal = -1;
  ASSERT_EQ(test_equal_obj(second, b, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  ASSERT_EQ(test_equal_obj(a, b, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
  Vobject region;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  ASSERT_EQ(test_equal_obj(a, region, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
}

TEST_F(XldObjects, ContourPointsAndAttributesReadBack) {
  const Vobject c = Contour({1.5, 2.25, 3}, {4, 5.5, 6.75});
  VTuple rows, cols, names, values;
  ASSERT_EQ(get_contour_xld(c, &rows, &cols), VRESULT_OK);
  EXPECT_EQ(Values(rows), std::vector<double>({1.5, 2.25, 3}));
  EXPECT_EQ(Values(cols), std::vector<double>({4, 5.5, 6.75}));
  ASSERT_EQ(query_contour_attribs_xld(c, &names), VRESULT_OK);
  EXPECT_EQ(names.Num(), 0);
  ASSERT_EQ(query_contour_global_attribs_xld(c, &names), VRESULT_OK);
  EXPECT_EQ(names.Num(), 0);
  EXPECT_EQ(get_contour_attrib_xld(c, "response", &values), VERR_CTRL_VALUE(0));
  EXPECT_EQ(get_contour_global_attrib_xld(c, "regr_norm_row", &values), VERR_CTRL_VALUE(0));

  // Closing appends the first point once; closed contours stay as they are.
  Vobject closed, twice;
  ASSERT_EQ(close_contours_xld(c, &closed), VRESULT_OK);
  ASSERT_EQ(close_contours_xld(closed, &twice), VRESULT_OK);
  VTuple num;
  ASSERT_EQ(contour_point_num_xld(twice, &num), VRESULT_OK);
  EXPECT_EQ(num[0].L(), 4);
  Vlong is_closed = 0;
  ASSERT_EQ(test_closed_xld(twice, &is_closed), VRESULT_OK);
  EXPECT_EQ(is_closed, 1);
}

TEST_F(XldObjects, GeneratedShapesCloseAndRespectTheirSampling) {
  Vobject circles;
  // Two circles from tuples; the other parameters are shared.
  ASSERT_EQ(gen_circle_contour_xld(&circles, Tuple({10, 50}), VTuple(20.0), VTuple(5.0), VTuple(0.0),
                                   VTuple(2 * M_PI), VTuple("positive"), VTuple(1.0)),
            VRESULT_OK);
  VTuple num;
  ASSERT_EQ(contour_point_num_xld(circles, &num), VRESULT_OK);
  ASSERT_EQ(num.Num(), 2);
  EXPECT_EQ(num[0].L(), 33);  // ceil(2 pi 5 / 1) = 32 steps, closed
  Vobject cross;
  ASSERT_EQ(gen_cross_contour_xld(&cross, 10.0, 10.0, 6.0, 0.0), VRESULT_OK);
  double r1, c1, r2, c2;
  ASSERT_EQ(smallest_rectangle1_xld(cross, &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_EQ(std::vector<double>({r1, c1, r2, c2}), std::vector<double>({7, 7, 13, 13}));
  Vobject rounded;
  ASSERT_EQ(gen_contour_polygon_rounded_xld(&rounded, Tuple({0, 0, 20}), Tuple({0, 20, 20}), VTuple(5.0),
                                            VTuple(0.5)),
            VRESULT_OK);
  // The corner at (0, 20) is cut by an arc of radius 5: the length drops
  // by 2 * 5 - a quarter circle of radius 5.
  double length;
  ASSERT_EQ(length_xld(rounded, &length), VRESULT_OK);
  EXPECT_NEAR(length, 40 - 10 + M_PI * 5 / 2, 0.01);
}

TEST_F(XldObjects, WrongClassesCountsAndValuesGiveTheirCodes) {
  const Vobject c = Contour({0, 0, 5}, {0, 5, 5});
  Vobject region, out, poly;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 5.0, 5.0), VRESULT_OK);
  ASSERT_EQ(gen_polygons_xld(c, &poly, "ramer", 1.0), VRESULT_OK);
  VTuple rows, cols;
  EXPECT_EQ(get_contour_xld(region, &rows, &cols), VERR_OBJ_CLASS(1));
  EXPECT_EQ(get_contour_xld(poly, &rows, &cols), VERR_OBJ_CLASS(1));
  double length;
  EXPECT_EQ(length_xld(region, &length), VERR_OBJ_CLASS(1));
  Vobject two;
  ASSERT_EQ(concat_obj(c, c, &two), VRESULT_OK);
  EXPECT_EQ(get_contour_xld(two, &rows, &cols), VERR_OBJ_NUM(1));
  EXPECT_EQ(gen_contour_polygon_xld(&out, Tuple({0, 1}), Tuple({0})), VERR_CTRL_NUM(1));
  EXPECT_EQ(gen_circle_contour_xld(&out, 0.0, 0.0, 5.0, 0.0, 1.0, "sideways", 1.0), VERR_CTRL_VALUE(5));
  EXPECT_EQ(gen_circle_contour_xld(&out, 0.0, 0.0, -5.0, 0.0, 1.0, "positive", 1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_circle_contour_xld(&out, 0.0, 0.0, 1e7, 0.0, 6.3, "positive", 1e-3), VERR_TOO_LARGE);
  EXPECT_EQ(gen_circle_contour_xld(&out, NAN, 0.0, 5.0, 0.0, 1.0, "positive", 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(affine_trans_contour_xld(c, &out, Tuple({1, 0, 0})), VERR_CTRL_NUM(0));
  double r, col, rad, s, e;
  char order[32];
  const Vobject two_points = Contour({0, 1}, {0, 1});
  EXPECT_EQ(fit_circle_contour_xld(two_points, "algebraic", Vlong{-1}, 0.0, Vlong{0}, Vlong{0}, 2.0, &r, &col,
                                   &rad, &s, &e, order),
            VERR_EMPTY_OBJECT);
  EXPECT_EQ(fit_circle_contour_xld(c, "least_squares", Vlong{-1}, 0.0, Vlong{0}, Vlong{0}, 2.0, &r, &col, &rad,
                                   &s, &e, order),
            VERR_CTRL_VALUE(0));
  Vobject selected;
  EXPECT_EQ(select_shape_xld(c, &selected, "holes", "and", 0.0, 1.0), VERR_CTRL_VALUE(0));
}

}  // namespace
