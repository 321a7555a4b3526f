// Operator instances through the runtime's C interface: lifecycle, guard
// against foreign pointers, dispatch, names, database contexts, and what
// deletion releases.
#include <cstring>
#include <fstream>
#include <string>

#include "registry.h"
#include "runtime_test_support.h"

namespace {

using runtime_test::FakeOperator;
using runtime_test::Instance;
using runtime_test::OpIndex;

// An operator with 2 input and 2 output objects, 8 input and 1 output
// control parameters, used as the frame of fake implementations.
int32_t FakeOp() { return OpIndex("segment_characters"); }

TEST(RuntimeInstance, CreateGivesReadyRecordsAndDeleteKeepsTheName) {
  void* proc = nullptr;
  ASSERT_EQ(VCreateVProc(FakeOp(), &proc), VRESULT_OK);
  auto* inst = static_cast<VProcInstance*>(proc);
  ASSERT_NE(inst->params, nullptr);
  ASSERT_NE(inst->call, nullptr);
  ASSERT_NE(inst->context, nullptr);
  EXPECT_EQ(inst->params->outp_ctrl_table, inst->params->outp_ctrl);
  EXPECT_STREQ(VPHGet_LogicalName(proc), "segment_characters");

  EXPECT_EQ(VDeleteVProc(proc, 0, VRESULT_OK), VRESULT_OK);
  EXPECT_STREQ(VPHGet_LogicalName(proc), "segment_characters");
  EXPECT_EQ(VDeleteVProc(proc, 0, VRESULT_OK), VERR_PROC_INVALID);
  EXPECT_EQ(CCallVProc(proc), VERR_PROC_INVALID);
}

TEST(RuntimeInstance, RefusesBadIndicesAndForeignPointers) {
  void* proc = reinterpret_cast<void*>(1);
  EXPECT_EQ(VCreateVProc(-1, &proc), VERR_OP_INDEX);
  EXPECT_EQ(proc, nullptr);
  EXPECT_EQ(VCreateVProc(VOperatorCount(), &proc), VERR_OP_INDEX);

  VProcInstance fake{};
  fake.magic = 0x56505243u;  // the right magic does not make it an instance
  EXPECT_EQ(VDeleteVProc(&fake, 0, VRESULT_OK), VERR_PROC_INVALID);
  EXPECT_EQ(CCallVProc(&fake), VERR_PROC_INVALID);
  EXPECT_EQ(VDeleteVProc(nullptr, 0, VRESULT_OK), VERR_PROC_INVALID);
  EXPECT_EQ(CStoreInpKeyPar(&fake, 1, VKEY_UNDEF), VERR_PROC_INVALID);
  EXPECT_STREQ(VPHGet_LogicalName(&fake), "(unknown operator)");
}

TEST(RuntimeInstance, RaiseModeMarksNewInstances) {
  VSetRaiseOnError(1);
  Instance raising(FakeOp());
  VSetRaiseOnError(0);
  Instance quiet(FakeOp());
  EXPECT_EQ(VGetRaiseOnError(), 0);
  EXPECT_TRUE(raising.inst()->context->flags & VPROC_RAISE_ON_ERROR);
  EXPECT_FALSE(quiet.inst()->context->flags & VPROC_RAISE_ON_ERROR);
}

TEST(RuntimeInstance, DispatchRunsTheInstalledFunctionOrSaysNotAvailable) {
  // An operator nobody implements.
  int32_t missing = -1;
  for (int32_t op = 0; op < VOperatorCount() && missing < 0; ++op)
    if (!vexa::DispatchEntry(op)) missing = op;
  ASSERT_GE(missing, 0);
  {
    Instance in(missing);
    EXPECT_EQ(CCallVProc(in.proc()), VERR_NOT_AVAILABLE);
  }
  int calls = 0;
  {
    FakeOperator fake(missing, [&calls](vexa::OpContext& ctx) {
      ++calls;
      return Vresult{1};  // "true": passed through, no failure
    });
    Instance in(missing);
    EXPECT_EQ(CCallVProc(in.proc()), 1u);
  }
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(vexa::DispatchEntry(missing), nullptr);  // restored
  EXPECT_EQ(VSetOperatorFn(-5, nullptr), nullptr);
}

TEST(RuntimeInstance, ExceptionsOfAnImplementationBecomeCodes) {
  FakeOperator fake(FakeOp(), [](vexa::OpContext&) -> Vresult { throw std::bad_alloc(); });
  Instance in(FakeOp());
  EXPECT_EQ(CCallVProc(in.proc()), VERR_OUT_OF_MEMORY);
}

TEST(RuntimeInstance, EveryRegisteredNameIsAnOperator) {
  EXPECT_TRUE(vexa::UnknownRegisteredOperators().empty());
  EXPECT_TRUE(vexa::HasRegisteredImpl(OpIndex("get_param_num")));
}

// The reference documentation counts the implemented operators from the
// sources; the runtime's registry must agree, or a registration the
// counting does not see (one made by a macro) is documented as missing.
TEST(RuntimeInstance, TheDocumentedCoverageCountsEveryRegisteredOperator) {
  std::ifstream coverage(VEXA_COVERAGE_FILE);
  long documented = -1;
  ASSERT_TRUE(coverage >> documented) << VEXA_COVERAGE_FILE;
  long registered = 0;
  for (int32_t op = 0; op < VOperatorCount(); ++op) registered += vexa::HasRegisteredImpl(op);
  EXPECT_EQ(registered, documented);
}

TEST(RuntimeInstance, NamesAndIndices) {
  int32_t op = -1;
  EXPECT_EQ(VFindProcNumber(nullptr, "get_param_names", &op), VRESULT_OK);
  EXPECT_STREQ(VOIGet_LogicalName(op), "get_param_names");
  EXPECT_EQ(VFindProcNumber(nullptr, "get_param_namez", &op), VERR_OP_NAME);
  EXPECT_EQ(op, -1);
  EXPECT_EQ(VFindProcNumber(nullptr, nullptr, &op), VERR_OP_NAME);
  EXPECT_EQ(VOperatorCount(), 2075);
  EXPECT_TRUE(VOpIdIsValid(0));
  EXPECT_TRUE(VOpIdIsValid(2074));
  EXPECT_FALSE(VOpIdIsValid(2075));
  EXPECT_FALSE(VOpIdIsValid(-1));
  EXPECT_STREQ(VOIGet_LogicalName(-1), "(unknown operator)");
}

TEST(RuntimeInstance, DatabaseContextsNestAndRunNoOperator) {
  void* outer = nullptr;
  void* inner = nullptr;
  ASSERT_EQ(VGetVProc(-1, &outer), VRESULT_OK);
  ASSERT_EQ(VGetVProc(-1, &inner), VRESULT_OK);
  EXPECT_NE(outer, inner);
  EXPECT_EQ(CCallVProc(outer), VERR_PROC_INVALID);
  EXPECT_EQ(VDeleteVProc(outer, 0, VRESULT_OK), VERR_PROC_INVALID);
  EXPECT_STREQ(VPHGet_LogicalName(outer), "(no operator)");
  EXPECT_EQ(VPutVProc(inner), VRESULT_OK);
  EXPECT_EQ(VPutVProc(outer), VRESULT_OK);
  EXPECT_EQ(VPutVProc(outer), VERR_PROC_INVALID);  // given back twice

  void* again = nullptr;
  ASSERT_EQ(VGetVProc(-1, &again), VRESULT_OK);
  EXPECT_EQ(again, outer);  // the thread's context is reused
  EXPECT_EQ(VPutVProc(again), VRESULT_OK);
}

TEST(RuntimeInstance, DeleteFreesKeyArraysOfTheInterface) {
  const Vlong live = VMemTraceLiveCount();
  VTraceMemory = 1;
  {
    Instance in(FakeOp());
    Vkey* keys = nullptr;
    ASSERT_EQ(VXAllocMemCheck(in.proc(), 3 * sizeof(Vkey), __FILE__, __LINE__, -112,
                              reinterpret_cast<void**>(&keys)),
              VRESULT_OK);
    for (int i = 0; i < 3; ++i) keys[i] = VKEY_UNDEF;
    in.params().inp_obj_keys[2] = keys;
    in.params().inp_obj_num[2] = 3;
    in.params().inp_obj_allocated[2] = 1;
    EXPECT_EQ(VMemTraceLiveCount(), live + 1);
  }
  VTraceMemory = 0;
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST(RuntimeInstance, DeleteReleasesOutputKeysNobodyTook) {
  const Vlong objects = runtime_test::LiveObjects();
  FakeOperator fake(FakeOp(), [](vexa::OpContext& ctx) {
    Vresult rc = ctx.SetOutpObjs(1, {runtime_test::NewRegionKey(), runtime_test::NewRegionKey()});
    if (rc == VRESULT_OK) rc = ctx.SetOutpObj(2, runtime_test::NewRegionKey());
    return rc;
  });
  for (uint8_t global : {0, 1}) {
    Instance in(FakeOp(), global);
    ASSERT_EQ(CCallVProc(in.proc()), VRESULT_OK);
    EXPECT_GT(runtime_test::LiveObjects(), objects);
    EXPECT_EQ(in.Delete(), VRESULT_OK);
    EXPECT_EQ(runtime_test::LiveObjects(), objects) << "global " << int(global);
  }
}

TEST(RuntimeInstance, InputKeysAreCheckedAndStored) {
  Instance in(FakeOp());
  Vkey a = runtime_test::NewRegionKey();
  Vkey b = runtime_test::NewRegionKey();
  Vkey pair = VKEY_UNDEF;
  Vkey one[] = {a};
  Vkey single = VKEY_UNDEF;
  Vkey two[] = {a, b};
  ASSERT_EQ(DBStoreTuple(in.proc(), two, 2, &pair), VRESULT_OK);
  ASSERT_EQ(DBStoreTuple(in.proc(), one, 1, &single), VRESULT_OK);

  EXPECT_EQ(CStoreInpKeyPar(in.proc(), 1, pair), VRESULT_OK);
  EXPECT_EQ(in.params().inp_obj_num[1], 1);
  EXPECT_EQ(in.params().inp_obj_keys[1][0], pair);
  EXPECT_EQ(CStoreInpKeyParSingle(in.proc(), 1, pair), VERR_OBJ_NUM(1));
  EXPECT_EQ(CStoreInpKeyParSingle(in.proc(), 1, single), VRESULT_OK);
  EXPECT_EQ(CStoreInpKeyParSingle(in.proc(), 2, CGetKeyName("empty")), VRESULT_OK);
  EXPECT_EQ(CStoreInpKeyPar(in.proc(), 2, nullptr), VRESULT_OK);
  EXPECT_EQ(in.params().inp_obj_keys[2][0], VKEY_UNDEF);
  EXPECT_EQ(CStoreInpKeyPar(in.proc(), 3, a), VERR_PAR_INDEX);  // two inputs only
  EXPECT_EQ(CStoreInpKeyPar(in.proc(), 0, a), VERR_PAR_INDEX);

  for (Vkey k : {a, b, pair, single}) EXPECT_EQ(DBDelObjectId(in.proc(), k), VRESULT_OK);
  EXPECT_NE(CStoreInpKeyPar(in.proc(), 1, a), VRESULT_OK);  // released: refused
}

}  // namespace
