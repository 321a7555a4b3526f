// threshold from the first to the last line of the call: a real image made
// in the runtime, through the procedural function and through VOperator,
// with the frame's answers to an absent image, a null output and an output
// that receives more than one value.
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

namespace {

using namespace Vexa;

void ThrowCopy(const VException& e) { throw VException(e); }

class ThresholdEndToEnd : public ::testing::Test {
 protected:
  void SetUp() override {
    old_ = VException::InstallVHandler(&ThrowCopy);
    ASSERT_EQ(gen_image_const(&image_, "byte", 64, 48), VRESULT_OK);
    // A 10 x 20 block of 200 inside a dark image.
    for (Vlong r = 5; r < 15; ++r)
      for (Vlong c = 30; c < 50; ++c) ASSERT_EQ(set_grayval(image_, r, c, 200.0), VRESULT_OK);
  }
  void TearDown() override { VException::InstallVHandler(old_); }
  Vobject image_;
  VHandlerProc old_ = nullptr;
};

TEST_F(ThresholdEndToEnd, ProceduralFunctionGivesTheExactArea) {
  Vobject region;
  ASSERT_EQ(threshold(image_, &region, 128.0, 255.0), VRESULT_OK);
  Vlong area = 0;
  double row = 0, col = 0;
  ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
  EXPECT_EQ(area, 200);
  EXPECT_DOUBLE_EQ(row, 9.5);
  EXPECT_DOUBLE_EQ(col, 39.5);

  // The tuple forms reach the same operator.
  Vobject dark;
  ASSERT_EQ(threshold(image_, &dark, VTuple(0), VTuple(127)), VRESULT_OK);
  VTuple dark_area, r, c;
  ASSERT_EQ(area_center(dark, &dark_area, &r, &c), VRESULT_OK);
  EXPECT_EQ(dark_area[0].L(), 64 * 48 - 200);
}

TEST_F(ThresholdEndToEnd, AnAbsentImageReachesTheOperatorAsTheEmptyObject) {
  Vobject none;  // key 1
  Vobject region;
  ASSERT_EQ(threshold(none, &region, 0.0, 255.0), VRESULT_OK);
  Vlong n = -1;
  ASSERT_EQ(count_obj(region, &n), VRESULT_OK);
  EXPECT_EQ(n, 0);
}

TEST_F(ThresholdEndToEnd, ANullOutputObjectGives7403) {
  EXPECT_EQ(threshold(image_, nullptr, 128.0, 255.0), VRESULT_OUT_NULL);
}

TEST_F(ThresholdEndToEnd, ASingleValueOutputFedThreeValuesGives7001AndMinusOne) {
  Vobject two, three;
  ASSERT_EQ(concat_obj(image_, image_, &two), VRESULT_OK);
  ASSERT_EQ(concat_obj(two, image_, &three), VRESULT_OK);
  Vlong pointer = 0, width = 0, height = 0;
  char type[64];
  EXPECT_EQ(get_image_pointer1(three, &pointer, type, &width, &height), VRESULT_OUT_COUNT);
  EXPECT_EQ(width, -1);
  EXPECT_EQ(height, -1);
  EXPECT_EQ(type[0], '\0');

  // The tuple form takes all three.
  VTuple widths, heights, types, pointers;
  ASSERT_EQ(get_image_pointer1(three, &pointers, &types, &widths, &heights), VRESULT_OK);
  EXPECT_EQ(widths.Num(), 3);
  EXPECT_EQ(widths[2].L(), 64);
}

TEST_F(ThresholdEndToEnd, VOperatorRunsByPositionAndByName) {
  VOperator by_position((char*)"threshold");
  by_position.SetInputObject(1, image_);
  by_position.SetInputCtrl(1, VTuple(128));
  by_position.SetInputCtrl(2, VTuple(255));
  ASSERT_EQ(by_position.Execute(), VRESULT_OK);

  VOperator by_name((char*)"threshold");
  by_name.SetInputObject("image", image_);
  by_name.SetInputCtrl("min_gray", VTuple(128));
  by_name.SetInputCtrl("max_gray", VTuple(255));
  ASSERT_EQ(by_name.Execute(), VRESULT_OK);

  for (VOperator* op : {&by_position, &by_name}) {
    Vlong area = 0;
    double row = 0, col = 0;
    ASSERT_EQ(area_center(op->GetOutputObject(1), &area, &row, &col), VRESULT_OK);
    EXPECT_EQ(area, 200);
  }
  EXPECT_EQ(by_name.GetOperatorNumber(), 456);
}

TEST_F(ThresholdEndToEnd, AMisspeltOperatorNameRaises) {
  try {
    VOperator op((char*)"treshold");
    FAIL() << "no exception";
  } catch (const VException& e) {
    EXPECT_STREQ(e.message, "Operator treshold does not exist!");
    EXPECT_EQ(e.err, VERR_OP_NAME);
  }
}

TEST_F(ThresholdEndToEnd, AnUnimplementedOperatorAnswersNotAvailableOnBothFaces) {
  // sobel_amp made unavailable for the test: its slot holds no function.
  void* proc = nullptr;
  int32_t index = -1;
  ASSERT_EQ(VGetVProc(-1, &proc), VRESULT_OK);
  ASSERT_EQ(VFindProcNumber(proc, "sobel_amp", &index), VRESULT_OK);
  ASSERT_EQ(VPutVProc(proc), VRESULT_OK);
  const VOperatorFn implementation = VSetOperatorFn(index, nullptr);
  Vobject edges;
  EXPECT_EQ(sobel_amp(image_, &edges, "sum_abs", 3), VERR_NOT_AVAILABLE);
  VOperator op((char*)"sobel_amp");
  op.SetInputObject(1, image_);
  op.SetInputCtrl(1, VTuple("sum_abs"));
  op.SetInputCtrl(2, VTuple(3));
  EXPECT_EQ(op.Execute(), VERR_NOT_AVAILABLE);
  VSetOperatorFn(index, implementation);
  EXPECT_EQ(sobel_amp(image_, &edges, "sum_abs", 3), VRESULT_OK);
}

}  // namespace
