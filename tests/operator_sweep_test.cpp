// Every operator of the table, called with empty objects and empty tuples,
// once through its procedural function and once through VOperator: each
// must answer with a result code (9001 where the runtime has no
// implementation), both faces must agree, and nothing may leak.
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

#include "sweep_calls.inc"

namespace {

using namespace Vexa;

void ThrowCopy(const VException& e) { throw VException(e); }

// Runs `call`, turning a raised exception into its error number.
template <class F>
unsigned int CodeOf(F call) {
  try {
    return call();
  } catch (const VException& e) {
    return e.err;
  }
}

class OperatorSweep : public ::testing::Test {
 protected:
  void SetUp() override { old_handler_ = VException::InstallVHandler(&ThrowCopy); }
  void TearDown() override { VException::InstallVHandler(old_handler_); }
  VHandlerProc old_handler_ = nullptr;
};

TEST_F(OperatorSweep, BothFacesAnswerWithTheSameCodeAndLoseNothing) {
  const auto& calls = vexa_sweep::Calls();
  ASSERT_EQ(calls.size(), static_cast<size_t>(VOperatorCount()));

  Vlong regions_before = 0, images_before = 0;
  ASSERT_EQ(DBCountRegion(&regions_before), VRESULT_OK);
  ASSERT_EQ(DBCountImage(&images_before), VRESULT_OK);
  VTraceMemory = 1;
  const Vlong live_before = VMemTraceLiveCount();

  int not_available = 0;
  for (int32_t op = 0; op < VOperatorCount(); ++op) {
    const char* name = VOIGet_LogicalName(op);
    unsigned int procedural = CodeOf([&] { return calls[op](); });
    unsigned int dynamic = CodeOf([&] {
      VOperator dyn(const_cast<char*>(name));
      return dyn.Execute();
    });
    EXPECT_EQ(procedural, dynamic) << name;
    if (procedural == VERR_NOT_AVAILABLE) ++not_available;
  }

  EXPECT_EQ(VMemTraceLiveCount(), live_before);
  VTraceMemory = 0;
  Vlong regions_after = 0, images_after = 0;
  ASSERT_EQ(DBCountRegion(&regions_after), VRESULT_OK);
  ASSERT_EQ(DBCountImage(&images_after), VRESULT_OK);
  EXPECT_EQ(regions_after, regions_before);
  EXPECT_EQ(images_after, images_before);
  EXPECT_LT(not_available, VOperatorCount());  // some operators are real
}

}  // namespace
