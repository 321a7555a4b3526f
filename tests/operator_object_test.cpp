// VOperator: an operator chosen by name, its slots by position and by
// parameter name, the range failures, and copies that run on their own.
#include <string>

#include <vexa/errors.h>
#include <vexaobj/VOperator.h>

#include "frame_test_support.h"
#include "objdb.h"
#include "region_store.h"

namespace {

using namespace Vexa;
using namespace frame_test;

constexpr unsigned int kFailure = VERR_FILE_NOT_FOUND;

// Hands one new region to output object 1.
Vresult EmitRegion(void* proc) {
  Vkey key = nullptr;
  Vresult rc = vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, 1, 1), &key);
  if (rc != VRESULT_OK) return rc;
  vexa::OpContext ctx(proc);
  return ctx.SetOutpObj(1, key);
}

struct Raised {
  unsigned int err = 0;
  std::string proc;
  std::string message;
};

// Runs `action` and returns what it raised; fails the test if nothing.
template <class Action>
Raised RaisedBy(Action action) {
  try {
    action();
  } catch (const VException& e) {
    return Raised{e.err, e.proc, e.message};
  }
  ADD_FAILURE() << "nothing raised";
  return Raised{};
}

class OperatorObjectTest : public ::testing::Test {
 protected:
  ScopedThrowingHandler handler_;
};

TEST_F(OperatorObjectTest, RunsByPositionAndByName) {
  VOperator add("tuple_add");
  EXPECT_STREQ(add.GetOperatorName(), "tuple_add");
  EXPECT_EQ(add.GetOperatorNumber(), OperatorIndex("tuple_add"));
  EXPECT_EQ(add.GetInpObjNumber(), 0);
  EXPECT_EQ(add.GetOutpObjNumber(), 0);
  EXPECT_EQ(add.GetInpCtrlNumber(), 2);
  EXPECT_EQ(add.GetOutpCtrlNumber(), 1);

  add.SetInputCtrl(1, VTuple(3));
  add.SetInputCtrl(2, VTuple(4.5));
  EXPECT_EQ(add.Execute(), VRESULT_OK);
  ASSERT_EQ(add.GetOutputCtrl(1).Num(), 1);
  EXPECT_EQ(add.GetOutputCtrl(1)[0].D(), 7.5);

  add.SetInputCtrl("summand2", VTuple(10));
  EXPECT_EQ(add.Execute(), VRESULT_OK);
  EXPECT_EQ(add.GetOutputCtrl("sum")[0].L(), 13);
  EXPECT_EQ(add.GetInpCtrl()[1][0].L(), 10);
}

TEST_F(OperatorObjectTest, FirstControlSlotIsParameterZero) {
  const int32_t op = OperatorIndex("receive_data");
  ScopedOperator echo(op, &WriteOutput0<EchoLong>);
  VOperator receive("receive_data");
  receive.SetInputCtrl(1, VTuple(9));
  receive.SetInputCtrl(2, VTuple("format"));
  EXPECT_EQ(receive.Execute(), VRESULT_OK);
  EXPECT_EQ(receive.GetOutputCtrl(1)[0].L(), 9);
  // Without VcppInitOC, an output the operator left alone reads as empty.
  EXPECT_EQ(receive.GetOutputCtrl(2).Num(), 0);
}

TEST_F(OperatorObjectTest, UnknownOperatorAndParameterNames) {
  const Raised missing = RaisedBy([] { VOperator misspelt("tuple_ad"); });
  EXPECT_EQ(missing.err, VERR_OP_NAME);
  EXPECT_EQ(missing.proc, "VOperator::VOperator(char *op_name)");
  EXPECT_EQ(missing.message, "Operator tuple_ad does not exist!");

  VOperator add("tuple_add");
  const Raised by_name =
      RaisedBy([&] { add.SetInputCtrl("summand3", VTuple(1)); });
  EXPECT_EQ(by_name.proc,
            "void VOperator::SetInputCtrl(int num, const VTuple &ctrl)");
  EXPECT_EQ(by_name.message, "int param_num <1 or param_num > _inp_ctrl_num");
  EXPECT_EQ(RaisedBy([&] { add.GetOutputCtrl(2); }).message,
            "int param_num <1 or param_num > _outp_ctrl_num");
  const Raised object = RaisedBy([&] { add.GetOutputObject(1); });
  EXPECT_EQ(object.proc, "void VOperator::GetOutputObject(int param_num)");
  EXPECT_EQ(object.message, "int param_num <1 or param_num > _outp_obj_num");
  EXPECT_EQ(RaisedBy([&] { add.SetInputObject("image", Vobject()); }).proc,
            "void VOperator::SetInputObject(int num, const Vobject &obj)");
}

TEST_F(OperatorObjectTest, ReturningHandlerReachesOnlyExistingSlots) {
  ScopedReturningHandler returning;
  VOperator add("tuple_add");
  add.SetInputCtrl(0, VTuple(1));
  add.SetInputCtrl(3, VTuple(5));  // a slot beyond the count: written
  EXPECT_EQ(add.GetInpCtrl()[2][0].L(), 5);
  EXPECT_EQ(add.GetOutputCtrl(21).Num(), 0);
  EXPECT_EQ(add.GetOutputObject(0).Id(), VKEY_UNDEF);
  EXPECT_EQ(ReturningHandler::raised, 4);
}

TEST_F(OperatorObjectTest, CopiesRunIndependently) {
  VOperator original("tuple_add");
  original.SetInputCtrl(1, VTuple(1));
  original.SetInputCtrl(2, VTuple(2));
  VOperator copy(original);
  copy.SetInputCtrl(2, VTuple(10));
  VOperator assigned("receive_data");
  assigned = copy;
  assigned.SetInputCtrl(1, VTuple(100));
  EXPECT_EQ(original.Execute(), VRESULT_OK);
  EXPECT_EQ(copy.Execute(), VRESULT_OK);
  EXPECT_EQ(assigned.Execute(), VRESULT_OK);
  EXPECT_EQ(original.GetOutputCtrl(1)[0].L(), 3);
  EXPECT_EQ(copy.GetOutputCtrl(1)[0].L(), 11);
  EXPECT_EQ(assigned.GetOutputCtrl(1)[0].L(), 110);
  EXPECT_STREQ(assigned.GetOperatorName(), "tuple_add");
}

TEST_F(OperatorObjectTest, ObjectSlotsAndFailuresLoseNothing) {
  ScopedMemTrace trace;
  const Vlong live = VMemTraceLiveCount();
  const Vlong regions = vexa::db::GetStats().regions;
  const int32_t op = OperatorIndex("binary_threshold");
  {
    ScopedOperator emit(op, &EmitRegion);
    VOperator threshold("binary_threshold");
    threshold.SetInputObject("image", Vobject());
    threshold.SetInputCtrl("method", VTuple("max_separability"));
    EXPECT_EQ(threshold.Execute(), VRESULT_OK);
    const Vkey first = threshold.GetOutputObject("region").Id();
    EXPECT_EQ(vexa::db::Check(first), VRESULT_OK);
    VOperator copy(threshold);
    EXPECT_NE(copy.GetOutputObject(1).Id(), first);
    EXPECT_EQ(threshold.Execute(), VRESULT_OK);
    EXPECT_EQ(vexa::db::GetStats().regions, regions + 2);

    // A failing operator comes back as a code and empties the outputs.
    ScopedOperator failing(op, &ReturnCode<kFailure>);
    EXPECT_EQ(threshold.Execute(), kFailure);
    EXPECT_EQ(threshold.GetOutputObject(1).Id(), VKEY_UNDEF);
  }
  EXPECT_EQ(vexa::db::GetStats().regions, regions);
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

}  // namespace
