// The object list operators and the class and equality tests, called
// through the procedural functions, with their error codes; nothing may be
// left in the database or in traced memory.
#include <gtest/gtest.h>

#include <vexaobj.h>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;

class ObjectOps : public ::testing::Test {
 protected:
  void SetUp() override {
    VTraceMemory = 1;
    live_ = VMemTraceLiveCount();
    stats_ = vexa::db::GetStats();
    // Three rectangles of areas 1, 4 and 9.
    ASSERT_EQ(gen_rectangle1(&rects_, VTuple(0).Concat(0).Concat(0),
                             VTuple(0).Concat(0).Concat(0),
                             VTuple(0).Concat(1).Concat(2),
                             VTuple(0).Concat(1).Concat(2)),
              VRESULT_OK);
  }
  void TearDown() override {
    rects_.Reset();
    EXPECT_EQ(VMemTraceLiveCount(), live_);
    VTraceMemory = 0;
    const vexa::db::Stats now = vexa::db::GetStats();
    EXPECT_EQ(now.regions, stats_.regions);
    EXPECT_EQ(now.images, stats_.images);
    EXPECT_EQ(now.tuples, stats_.tuples);
    EXPECT_EQ(now.channels, stats_.channels);
  }
  static Vlong Count(const Vobject& o) {
    Vlong n = -1;
    EXPECT_EQ(count_obj(o, &n), VRESULT_OK);
    return n;
  }
  static VTuple Areas(const Vobject& o) {
    VTuple area;
    EXPECT_EQ(area_center(o, &area, _, _), VRESULT_OK);
    return area;
  }
  Vobject rects_;
  Vlong live_ = 0;
  vexa::db::Stats stats_;
};

TEST_F(ObjectOps, CountConcatAndEmpty) {
  EXPECT_EQ(Count(rects_), 3);
  Vobject empty, twice, with_empty;
  ASSERT_EQ(gen_empty_obj(&empty), VRESULT_OK);
  EXPECT_EQ(Count(empty), 0);
  EXPECT_EQ(Count(Vobject()), 0);  // no key at all counts as no object
  ASSERT_EQ(concat_obj(rects_, rects_, &twice), VRESULT_OK);
  EXPECT_EQ(Count(twice), 6);
  ASSERT_EQ(concat_obj(empty, rects_, &with_empty), VRESULT_OK);
  const VTuple areas = Areas(with_empty);
  ASSERT_EQ(areas.Num(), 3);
  EXPECT_EQ(areas[2].L(), 9);
}

TEST_F(ObjectOps, SelectAndCopyByOneBasedIndex) {
  Vobject one;
  ASSERT_EQ(select_obj(rects_, &one, 2), VRESULT_OK);
  EXPECT_EQ(Areas(one)[0].L(), 4);
  Vobject picked;
  ASSERT_EQ(select_obj(rects_, &picked, VTuple(3).Concat(1).Concat(3)), VRESULT_OK);
  const VTuple areas = Areas(picked);
  ASSERT_EQ(areas.Num(), 3);
  EXPECT_EQ(areas[0].L(), 9);
  EXPECT_EQ(areas[1].L(), 1);
  EXPECT_EQ(select_obj(rects_, &one, 4), VERR_OBJ_INDEX);
  EXPECT_EQ(select_obj(rects_, &one, Vlong{0}), VERR_OBJ_INDEX);
  EXPECT_EQ(select_obj(rects_, &one, "2"), VERR_CTRL_TYPE(0));

  Vobject rest;
  ASSERT_EQ(copy_obj(rects_, &rest, 2, -1), VRESULT_OK);
  const VTuple rest_areas = Areas(rest);
  ASSERT_EQ(rest_areas.Num(), 2);
  EXPECT_EQ(rest_areas[0].L(), 4);
  ASSERT_EQ(copy_obj(rects_, &rest, 3, 1), VRESULT_OK);
  EXPECT_EQ(Areas(rest)[0].L(), 9);
  ASSERT_EQ(copy_obj(rects_, &rest, 1, 0), VRESULT_OK);
  EXPECT_EQ(Count(rest), 0);
  EXPECT_EQ(copy_obj(rects_, &rest, 2, 3), VERR_OBJ_INDEX);
  EXPECT_EQ(copy_obj(rects_, &rest, 4, -1), VERR_OBJ_INDEX);
  EXPECT_EQ(copy_obj(rects_, &rest, 1, -2), VERR_CTRL_VALUE(1));
}

TEST_F(ObjectOps, ClassAndEquality) {
  Vobject image, mixed;
  ASSERT_EQ(gen_image_const(&image, "byte", 3, 3), VRESULT_OK);
  ASSERT_EQ(concat_obj(image, rects_, &mixed), VRESULT_OK);
  VTuple classes;
  ASSERT_EQ(get_obj_class(mixed, &classes), VRESULT_OK);
  ASSERT_EQ(classes.Num(), 4);
  EXPECT_STREQ(classes[0].S(), "image");
  EXPECT_STREQ(classes[1].S(), "region");

  Vobject rects_again, other_image;
  ASSERT_EQ(gen_rectangle1(&rects_again, VTuple(0).Concat(0).Concat(0),
                           VTuple(0).Concat(0).Concat(0),
                           VTuple(0).Concat(1).Concat(2),
                           VTuple(0).Concat(1).Concat(2)),
            VRESULT_OK);
  ASSERT_EQ(gen_image_const(&other_image, "byte", 3, 3), VRESULT_OK);
  Vlong equal = -1;
  ASSERT_EQ(test_equal_obj(rects_, rects_again, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);  // separate objects, same data
  ASSERT_EQ(test_equal_obj(image, other_image, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  ASSERT_EQ(set_grayval(other_image, 1, 1, 5.0), VRESULT_OK);
  ASSERT_EQ(test_equal_obj(image, other_image, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
  Vobject domain_only;
  ASSERT_EQ(gen_rectangle1(&domain_only, 0.0, 0.0, 2.0, 2.0), VRESULT_OK);
  ASSERT_EQ(test_equal_obj(image, domain_only, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);  // same pixel set, different class
  ASSERT_EQ(test_equal_obj(rects_, mixed, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);  // different lengths
}

TEST_F(ObjectOps, ClearLeavesTheCallersReferencesAlone) {
  ASSERT_EQ(clear_obj(rects_), VRESULT_OK);
  EXPECT_EQ(Count(rects_), 3);
}

TEST_F(ObjectOps, CompareWithToleranceAndDifferenceOfLists) {
  Vobject image, brighter, complex_a, complex_b;
  ASSERT_EQ(gen_image_const(&image, "real", 4, 3), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&brighter, "real", 4, 3), VRESULT_OK);
  ASSERT_EQ(set_grayval(brighter, 2, 3, 0.25), VRESULT_OK);
  Vlong equal = -1;
  ASSERT_EQ(compare_obj(image, brighter, 0.0, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
  ASSERT_EQ(compare_obj(image, brighter, 0.25, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  ASSERT_EQ(compare_obj(image, brighter, 0.2, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
  // The imaginary plane counts too.
  Vobject zero, three;
  ASSERT_EQ(gen_image_const(&zero, "real", 2, 2), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&three, "real", 2, 2), VRESULT_OK);
  ASSERT_EQ(set_grayval(three, 1, 1, 3.0), VRESULT_OK);
  ASSERT_EQ(real_to_complex(zero, zero, &complex_a), VRESULT_OK);
  ASSERT_EQ(real_to_complex(zero, three, &complex_b), VRESULT_OK);
  ASSERT_EQ(compare_obj(complex_a, complex_b, 2.5, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 0);
  ASSERT_EQ(compare_obj(complex_a, complex_b, 3.0, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  EXPECT_EQ(compare_obj(image, brighter, -1.0, &equal), VERR_CTRL_VALUE(0));

  // obj_diff keeps the objects equal to none of the second list, in order.
  Vobject middle, diff;
  ASSERT_EQ(gen_rectangle1(&middle, 0.0, 0.0, 1.0, 1.0), VRESULT_OK);
  ASSERT_EQ(obj_diff(rects_, middle, &diff), VRESULT_OK);
  EXPECT_EQ(Count(diff), 2);
  EXPECT_EQ(Areas(diff), VTuple(1).Concat(9));
  Vobject none;
  ASSERT_EQ(obj_diff(rects_, rects_, &none), VRESULT_OK);
  EXPECT_EQ(Count(none), 0);
}

TEST_F(ObjectOps, KeysAsIntegersAndBack) {
  VTuple keys;
  ASSERT_EQ(obj_to_integer(rects_, 2, -1, &keys), VRESULT_OK);
  ASSERT_EQ(keys.Num(), 2);
  Vobject back;
  ASSERT_EQ(integer_to_obj(&back, keys), VRESULT_OK);
  EXPECT_EQ(Areas(back), VTuple(4).Concat(9));
  EXPECT_EQ(obj_to_integer(rects_, 3, 2, &keys), VERR_OBJ_INDEX);
  // Integers that name no live object are refused, not dereferenced.
  Vobject bad;
  EXPECT_EQ(integer_to_obj(&bad, Vlong{12345}), VERR_KEY_INVALID);
  Vobject gone;
  ASSERT_EQ(gen_rectangle1(&gone, 0.0, 0.0, 1.0, 1.0), VRESULT_OK);
  ASSERT_EQ(obj_to_integer(gone, 1, 1, &keys), VRESULT_OK);
  gone.Reset();
  EXPECT_EQ(integer_to_obj(&bad, keys), VERR_KEY_DELETED);
}

}  // namespace
