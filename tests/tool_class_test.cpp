// Tool classes: handles shared by value and closed exactly once, filling
// methods that replace the handle, using methods that pass it, and the
// frame's tool output store. The runtime's operators are replaced by fakes
// that count what they are asked to do.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include <vexaobj/VBarCode1D.h>
#include <vexaobj/VBarCode2D.h>
#include <vexaobj/VFunction1D.h>
#include <vexaobj/VTools.h>
#include <vexaobj/VTuple.h>

#include "frame_test_support.h"

namespace {

using frame_test::OperatorIndex;
using frame_test::ScopedOperator;
using frame_test::ScopedThrowingHandler;
using Vexa::VBarCode1D;
using Vexa::VBarCode2D;
using Vexa::VException;
using Vexa::VFunction1D;
using Vexa::VMatrix;
using Vexa::VSocket;
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

// Records the handles of solve_matrix's inputs and answers a new matrix.
struct Solve {
  static inline Vlong lhs = 0, rhs = 0;
  static inline std::string type;
  static inline double epsilon = -1;
  static Vresult Run(void* proc) {
    vexa::OpContext ctx(proc);
    const char* t = nullptr;
    Vresult rc = ctx.GetLong(0, &lhs);
    if (rc == VRESULT_OK) rc = ctx.GetString(1, &t);
    if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &epsilon);
    if (rc == VRESULT_OK) rc = ctx.GetLong(3, &rhs);
    if (rc != VRESULT_OK) return rc;
    type = t;
    return ctx.SetOutpLong(0, 500);
  }
};

Vresult ClearNothing(void*) { return VRESULT_OK; }

TEST(MatrixAlgebraTest, DivisionSolvesWithTheDivisorOnTheLeft) {
  ScopedThrowingHandler throwing;
  ScopedOperator solve(OperatorIndex("solve_matrix"), &Solve::Run);
  ScopedOperator clear(OperatorIndex("clear_matrix"), &ClearNothing);
  const VMatrix a(11), b(22);
  const VMatrix x = a / b;
  EXPECT_EQ(Solve::lhs, 22);
  EXPECT_EQ(Solve::rhs, 11);
  EXPECT_EQ(Solve::type, "general");
  EXPECT_EQ(Solve::epsilon, 0.0);
  EXPECT_EQ(x.GetHandle(), 500);
}

// Records the sizes of open_socket_connect's four inputs.
struct Connect {
  static inline std::vector<Vlong> sizes;
  static Vresult Run(void* proc) {
    vexa::OpContext ctx(proc);
    sizes.clear();
    for (int i = 0; i < 4; ++i) sizes.push_back(ctx.CtrlNum(i));
    return ctx.SetOutpLong(0, 3);
  }
};

TEST(SocketClassTest, ShortConnectPassesHostAndPortAlone) {
  ScopedThrowingHandler throwing;
  ScopedOperator connect(OperatorIndex("open_socket_connect"), &Connect::Run);
  ScopedOperator close(OperatorIndex("close_socket"), &ClearNothing);
  const VSocket socket("localhost", 4242);
  EXPECT_EQ(Connect::sizes, (std::vector<Vlong>{1, 1, 0, 0}));
  EXPECT_EQ(socket.GetHandle(), 3);
}

Vresult FakeFunctionArray(void* proc) {
  vexa::OpContext ctx(proc);
  std::vector<double> y;
  const Vresult rc = ctx.GetDoubles(0, y);
  if (rc != VRESULT_OK) return rc;
  y.insert(y.begin(), 0.0);  // a recognisable layout: a marker, then y
  return ctx.SetOutpDoubles(0, y);
}

TEST(ValueClassTest, UnsetValuesAreMinusOneAndCopiesShareNothing) {
  EXPECT_EQ(VTuple(VFunction1D()).Num(), 1);
  EXPECT_EQ(VFunction1D().GetHandle()[0].L(), -1);
  VBarCode1D one;
  one.SetHandle(VTuple(5).Append(6));
  VBarCode1D copy(one);
  copy.SetHandle(VTuple(7));
  EXPECT_EQ(VTuple(one).Num(), 2);
  EXPECT_EQ(VTuple(copy)[0].L(), 7);
  VBarCode2D two;
  two.SetHandle(Vlong{9});
  EXPECT_EQ(VTuple(two)[0].L(), 9);
  EXPECT_STREQ(two.ClassName(), "VBarCode2D");
}

TEST(ValueClassTest, MakingOperatorsFillTheValueAndMethodsPassIt) {
  ScopedThrowingHandler throwing;
  ScopedOperator make(OperatorIndex("create_funct_1d_array"), &FakeFunctionArray);
  const VFunction1D f(VTuple(1.5).Append(2.5));
  ASSERT_EQ(f.data.Num(), 3);
  EXPECT_EQ(f.data[2].D(), 2.5);
  ScopedOperator count(OperatorIndex("num_points_funct_1d"), [](void* proc) {
    vexa::OpContext ctx(proc);
    return ctx.SetOutpLong(0, ctx.CtrlNum(0));
  });
  EXPECT_EQ(f.NumPointsFunct1d()[0].L(), 3);
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
