// Tool classes: handles shared by value and closed exactly once, filling
// methods that replace the handle, using methods that pass it, and the
// frame's tool output store. The runtime's operators are replaced by fakes
// that count what they are asked to do.
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include <vexaobj/VTools.h>
#include <vexaobj/VTuple.h>

#include "frame_test_support.h"

namespace {

using frame_test::OperatorIndex;
using frame_test::ScopedOperator;
using frame_test::ScopedThrowingHandler;
using Vexa::VException;
using Vexa::VShapeModel;
using Vexa::VToolRef;
using Vexa::VToolRefPtr;
using Vexa::VTuple;

// What the fakes saw: the handles closed, in order, and the next handle a
// filling operator hands out.
struct Record {
  static inline std::vector<Vlong> closed;
  static inline Vlong next_handle = 100;
  static inline Vlong used_handle = -2;
};

Vresult FakeClear(void* proc) {
  vexa::OpContext ctx(proc);
  Vlong h = 0;
  const Vresult rc = ctx.GetLong(0, &h);
  if (rc != VRESULT_OK) return rc;
  Record::closed.push_back(h);
  return VRESULT_OK;
}

Vresult FakeRead(void* proc) {
  vexa::OpContext ctx(proc);
  return ctx.SetOutpLong(0, Record::next_handle++);
}

Vresult FakeReadAsText(void* proc) {
  vexa::OpContext ctx(proc);
  return ctx.SetOutpString(0, "not a handle");
}

Vresult FakeSetOrigin(void* proc) {
  vexa::OpContext ctx(proc);
  return ctx.GetLong(0, &Record::used_handle);
}

class ToolClassTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Record::closed.clear();
    Record::next_handle = 100;
    Record::used_handle = -2;
  }
  ScopedOperator clear_{OperatorIndex("clear_shape_model"), &FakeClear};
  ScopedOperator read_{OperatorIndex("read_shape_model"), &FakeRead};
  ScopedOperator origin_{OperatorIndex("set_shape_model_origin"), &FakeSetOrigin};
  ScopedThrowingHandler throwing_;
};

TEST_F(ToolClassTest, EmptyToolsCloseNothing) {
  {
    VShapeModel empty;
    EXPECT_EQ(empty.GetHandle(), -1);
    EXPECT_FALSE(empty.IsHandleValid());
    EXPECT_EQ(static_cast<Vlong>(empty), -1);
    VShapeModel minus_one(-1);
    EXPECT_FALSE(minus_one.IsHandleValid());
    EXPECT_STREQ(minus_one.ClassName(), "VShapeModel");
  }
  EXPECT_TRUE(Record::closed.empty());
}

TEST_F(ToolClassTest, SharedHandleClosesOnceWithTheLastHolder) {
  {
    VShapeModel a(42);
    {
      VShapeModel b(a);
      VShapeModel c;
      c = b;
      c = a;  // the same reference: nothing changes
      EXPECT_EQ(c.GetHandle(), 42);
    }
    EXPECT_TRUE(Record::closed.empty());
    EXPECT_TRUE(a.IsHandleValid());
  }
  EXPECT_EQ(Record::closed, std::vector<Vlong>{42});
}

TEST_F(ToolClassTest, CleanupAndSetHandleLetGoOfTheirShareOnly) {
  VShapeModel a(7);
  VShapeModel b(a);
  b.Cleanup();
  EXPECT_FALSE(b.IsHandleValid());
  EXPECT_EQ(a.GetHandle(), 7);
  EXPECT_TRUE(Record::closed.empty());
  a.SetHandle(8);  // the last holder of 7 takes another handle
  EXPECT_EQ(Record::closed, std::vector<Vlong>{7});
  a.SetHandle(-1);
  EXPECT_FALSE(a.IsHandleValid());
  EXPECT_EQ(Record::closed, (std::vector<Vlong>{7, 8}));
}

TEST_F(ToolClassTest, InvalidatedHandleIsNotClosed) {
  {
    VShapeModel a(9);
    a.InvalidateHandle();
    // Only the pointer is tested.
    EXPECT_TRUE(a.IsHandleValid());
    EXPECT_EQ(a.GetHandle(), -1);
  }
  EXPECT_TRUE(Record::closed.empty());
}

TEST_F(ToolClassTest, FillingMethodClosesTheEarlierModel) {
  VShapeModel m;
  m.ReadShapeModel("first.model");
  EXPECT_EQ(m.GetHandle(), 100);
  m.ReadShapeModel("second.model");
  EXPECT_EQ(m.GetHandle(), 101);
  EXPECT_EQ(Record::closed, std::vector<Vlong>{100});
  VShapeModel made("third.model");  // the constructor form
  EXPECT_EQ(made.GetHandle(), 102);
}

TEST_F(ToolClassTest, FailedFillingLeavesTheToolEmpty) {
  VShapeModel m(5);
  {
    ScopedOperator fails(OperatorIndex("read_shape_model"),
                         &frame_test::ReturnCode<VERR_FILE_NOT_FOUND>);
    EXPECT_THROW(m.ReadShapeModel("missing.model"), VException);
  }
  EXPECT_FALSE(m.IsHandleValid());
  EXPECT_EQ(Record::closed, std::vector<Vlong>{5});
  {
    // A value that is not a handle is refused by the output store.
    ScopedOperator text(OperatorIndex("read_shape_model"), &FakeReadAsText);
    try {
      m.ReadShapeModel("odd.model");
      FAIL() << "no raise";
    } catch (const VException& e) {
      EXPECT_EQ(e.err, VRESULT_OUT_TYPE);
    }
  }
  EXPECT_FALSE(m.IsHandleValid());
}

TEST_F(ToolClassTest, UsingMethodPassesTheHandleAndAnEmptyToolPassesMinusOne) {
  VShapeModel m(77);
  m.SetShapeModelOrigin(1.0, 2.0);
  EXPECT_EQ(Record::used_handle, 77);
  VShapeModel empty;
  empty.SetShapeModelOrigin(VTuple(1.0), VTuple(2.0));
  EXPECT_EQ(Record::used_handle, -1);
  EXPECT_EQ(VTuple(m)[0].L(), 77);
}

TEST(ToolRefPtrTest, CountsFollowThePointers) {
  struct Counted : VToolRef {
    explicit Counted(int* deleted) : VToolRef(3), deleted_(deleted) {}
    ~Counted() override { ++*deleted_; }
    int* deleted_;
  };
  int deleted = 0;
  auto* ref = new Counted(&deleted);
  {
    VToolRefPtr p(ref);
    VToolRefPtr q(p);
    EXPECT_EQ(ref->GetCount(), 2u);
    EXPECT_TRUE(p == q);
    q = static_cast<VToolRef*>(nullptr);
    EXPECT_EQ(ref->GetCount(), 1u);
    EXPECT_TRUE(!q);
    EXPECT_EQ(static_cast<Vlong>(*p), 3);
  }
  EXPECT_EQ(deleted, 1);
}

}  // namespace
