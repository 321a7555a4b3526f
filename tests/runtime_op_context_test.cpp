// Parameter access of operator implementations, driven through CCallVProc
// with fake operators: input expansion, typed readers, output objects in
// both faces, output controls in the shapes the interface adopts.
#include <cstring>
#include <string>
#include <vector>

#include "runtime_test_support.h"

namespace {

using runtime_test::FakeOperator;
using runtime_test::Instance;

// 2 input and 2 output objects, 8 input and 1 output control parameters.
int32_t FakeOp() { return runtime_test::OpIndex("segment_characters"); }

// Runs `body` once on an instance prepared by `prepare`.
template <class Prepare>
Vresult RunOn(Instance& in, Prepare&& prepare, FakeOperator::Body body) {
  FakeOperator fake(FakeOp(), std::move(body));
  prepare(in);
  return CCallVProc(in.proc());
}

TEST(RuntimeOpContext, InputObjectsAreExpanded) {
  Instance in(FakeOp());
  Vkey a = runtime_test::NewRegionKey();
  Vkey b = runtime_test::NewRegionKey();
  Vkey inner = VKEY_UNDEF;
  Vkey outer = VKEY_UNDEF;
  Vkey ab[] = {a, b};
  ASSERT_EQ(DBStoreTuple(in.proc(), ab, 2, &inner), VRESULT_OK);
  Vkey nested[] = {inner, CGetKeyName("empty"), a};
  ASSERT_EQ(DBStoreTuple(in.proc(), nested, 3, &outer), VRESULT_OK);

  std::vector<Vkey> seen;
  Vlong empty_count = -1;
  Vresult rc = RunOn(
      in,
      [&](Instance& i) {
        ASSERT_EQ(CStoreInpKeyPar(i.proc(), 1, outer), VRESULT_OK);
        ASSERT_EQ(CStoreInpKeyPar(i.proc(), 2, CGetKeyName("empty")), VRESULT_OK);
      },
      [&](vexa::OpContext& ctx) {
        Vresult r = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
          seen.push_back(key);
          return VRESULT_OK;
        });
        if (r == VRESULT_OK) r = ctx.InpObjCount(2, &empty_count);
        Vkey key;
        EXPECT_EQ(ctx.InpObjSingle(1, &key), VERR_OBJ_NUM(1));
        EXPECT_EQ(ctx.InpObjKey(1, 2), a);
        EXPECT_EQ(ctx.InpObjKey(1, 3), VKEY_UNDEF);
        EXPECT_EQ(ctx.InpObjCount(3, &empty_count), VERR_PAR_INDEX);
        return r;
      });
  EXPECT_EQ(rc, VRESULT_OK);
  EXPECT_EQ(seen, (std::vector<Vkey>{a, b, a}));
  EXPECT_EQ(empty_count, 0);
  for (Vkey k : {a, b, inner, outer}) DBDelObjectId(in.proc(), k);
}

TEST(RuntimeOpContext, TypedReadersCheckNumberAndType) {
  std::vector<Vcpar> mixed = {runtime_test::LongPar(3), runtime_test::DoublePar(0.5)};
  std::vector<Vcpar> longs = {runtime_test::LongPar(7), runtime_test::LongPar(-2)};
  Instance in(FakeOp());
  Vresult rc = RunOn(
      in,
      [&](Instance& i) {
        runtime_test::SetInpLong(i, 0, 42);
        runtime_test::SetInpDouble(i, 1, 2.5);
        runtime_test::SetInpString(i, 2, "mode");
        runtime_test::SetInpArray(i, 3, mixed);
        runtime_test::SetInpArray(i, 4, longs);
      },
      [](vexa::OpContext& ctx) {
        Vlong l = 0;
        double d = 0;
        const char* s = nullptr;
        std::vector<Vlong> ls;
        std::vector<double> ds;
        std::vector<const char*> ss;
        EXPECT_EQ(ctx.GetLong(0, &l), VRESULT_OK);
        EXPECT_EQ(l, 42);
        EXPECT_EQ(ctx.GetDouble(0, &d), VRESULT_OK);  // integers are numbers
        EXPECT_EQ(d, 42.0);
        EXPECT_EQ(ctx.GetLong(1, &l), VERR_CTRL_TYPE(1));
        EXPECT_EQ(ctx.GetString(2, &s), VRESULT_OK);
        EXPECT_STREQ(s, "mode");
        EXPECT_EQ(ctx.GetDouble(2, &d), VERR_CTRL_TYPE(2));
        EXPECT_EQ(ctx.GetLong(3, &l), VERR_CTRL_NUM(3));
        EXPECT_EQ(ctx.GetDoubles(3, ds), VRESULT_OK);
        EXPECT_EQ(ds, (std::vector<double>{3.0, 0.5}));
        EXPECT_EQ(ctx.GetLongs(3, ls), VERR_CTRL_TYPE(3));
        EXPECT_EQ(ctx.GetLongs(4, ls), VRESULT_OK);
        EXPECT_EQ(ls, (std::vector<Vlong>{7, -2}));
        EXPECT_EQ(ctx.GetStrings(4, ss), VERR_CTRL_TYPE(4));
        EXPECT_EQ(ctx.CtrlNum(5), 0);  // never stored
        EXPECT_EQ(ctx.GetLong(5, &l), VERR_CTRL_NUM(5));
        EXPECT_EQ(ctx.GetLongs(5, ls), VRESULT_OK);
        EXPECT_TRUE(ls.empty());
        EXPECT_EQ(ctx.GetLong(8, &l), VERR_PAR_INDEX);  // 8 inputs: 0..7
        EXPECT_EQ(ctx.CtrlElem(3, 1).par.d, 0.5);
        EXPECT_EQ(ctx.CtrlElem(3, 2).type, VPAR_UNDEF);
        return VRESULT_OK;
      });
  EXPECT_EQ(rc, VRESULT_OK);
}

// Output object parameter 1 after an operator delivered `n` new regions.
struct OutputShape {
  Vlong count;
  Vkey first;
};

OutputShape DeliverRegions(Instance& in, int n) {
  Vresult rc = RunOn(
      in, [](Instance&) {},
      [n](vexa::OpContext& ctx) {
        std::vector<Vkey> keys;
        for (int i = 0; i < n; ++i) keys.push_back(runtime_test::NewRegionKey());
        return ctx.SetOutpObjs(1, keys);
      });
  EXPECT_EQ(rc, VRESULT_OK);
  return {in.params().outp_obj_num[1], in.params().outp_obj_keys[1][0]};
}

TEST(RuntimeOpContext, ProceduralOutputsCarryOneKey) {
  const Vlong objects = runtime_test::LiveObjects();
  for (int n : {0, 1, 3}) {
    Instance in(FakeOp(), 1);
    OutputShape out = DeliverRegions(in, n);
    ASSERT_EQ(out.count, 1) << n;
    if (n == 1) {
      EXPECT_EQ(runtime_test::ClassId(out.first), VOBJ_ICONIC);
    } else {
      EXPECT_EQ(runtime_test::ClassId(out.first), VOBJ_TUPLE);
      EXPECT_EQ(runtime_test::TupleCount(out.first), n);
    }
  }
  // The tuples held their own references; the operator's were released.
  EXPECT_EQ(runtime_test::LiveObjects(), objects);
}

TEST(RuntimeOpContext, ClassMethodOutputsCarryOneKeyPerObject) {
  const Vlong objects = runtime_test::LiveObjects();
  for (int n : {0, 1, 3}) {
    Instance in(FakeOp(), 0);
    OutputShape out = DeliverRegions(in, n);
    EXPECT_EQ(out.count, n);
    for (Vlong i = 0; i < out.count; ++i)
      EXPECT_EQ(runtime_test::ClassId(in.params().outp_obj_keys[1][i]), VOBJ_ICONIC);
    // An empty slot still offers a place for the interface's empty object.
    EXPECT_NE(in.params().outp_obj_keys[1], nullptr);
  }
  EXPECT_EQ(runtime_test::LiveObjects(), objects);
}

TEST(RuntimeOpContext, TakenOutputKeysAreNotReleasedAgain) {
  Instance in(FakeOp(), 0);
  OutputShape out = DeliverRegions(in, 2);
  std::vector<Vkey> taken(in.params().outp_obj_keys[1], in.params().outp_obj_keys[1] + out.count);
  in.params().outp_obj_num[1] = 0;  // what the interface does when it takes them
  EXPECT_EQ(in.Delete(), VRESULT_OK);
  for (Vkey k : taken) EXPECT_EQ(DBDelObjectId(nullptr, k), VRESULT_OK);
}

TEST(RuntimeOpContext, OutputControlsTakeTheShapesTheInterfaceAdopts) {
  const Vlong live = VMemTraceLiveCount();
  VTraceMemory = 1;
  Instance in(FakeOp());
  Vctuple& rec = in.params().outp_ctrl_rec[0];
  auto run = [&](FakeOperator::Body body) {
    EXPECT_EQ(RunOn(in, [](Instance&) {}, std::move(body)), VRESULT_OK);
  };

  run([](vexa::OpContext& ctx) { return ctx.SetOutpDouble(0, 1.25); });
  EXPECT_EQ(rec.capacity, 0);
  EXPECT_EQ(rec.num, 1);
  EXPECT_EQ(rec.type, VPAR_DOUBLE);
  EXPECT_EQ(rec.val.d, 1.25);
  EXPECT_EQ(static_cast<void*>(rec.elem), static_cast<void*>(&rec));

  run([](vexa::OpContext& ctx) { return ctx.SetOutpString(0, "abc"); });
  EXPECT_EQ(rec.type, VPAR_STRING);
  EXPECT_STREQ(rec.val.s, "abc");
  EXPECT_EQ(VMemTraceLiveCount(), live + 1);

  // Writing again releases the string written first.
  run([](vexa::OpContext& ctx) {
    return ctx.SetOutpValues(0, vexa::CtrlValues().Add(5).Add(0.5).Add("x"));
  });
  EXPECT_EQ(rec.type, VPAR_MIXED);
  ASSERT_EQ(rec.num, 3);
  EXPECT_EQ(rec.capacity, 3);
  EXPECT_EQ(rec.elem[0].par.l, 5);
  EXPECT_EQ(rec.elem[1].par.d, 0.5);
  EXPECT_STREQ(rec.elem[2].par.s, "x");
  EXPECT_EQ(VMemTraceLiveCount(), live + 2);  // array and one string

  run([](vexa::OpContext& ctx) { return ctx.SetOutpLongs(0, {}); });
  EXPECT_EQ(rec.num, 0);
  EXPECT_EQ(VMemTraceLiveCount(), live);

  run([](vexa::OpContext& ctx) {
    EXPECT_EQ(ctx.SetOutpLong(1, 1), VERR_PAR_INDEX);  // one output only
    return ctx.SetOutpStrings(0, {"a", "b"});
  });
  EXPECT_EQ(VctClearElem(in.proc(), &rec), VRESULT_OK);
  VTraceMemory = 0;
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST(RuntimeOpContext, ParamInfoOperatorsAnswerFromTheTable) {
  const int32_t op = runtime_test::OpIndex("get_param_num");
  Instance in(op);
  runtime_test::SetInpString(in, 0, "segment_characters");
  ASSERT_EQ(CCallVProc(in.proc()), VRESULT_OK);
  Vctuple* out = in.params().outp_ctrl_rec;
  EXPECT_STREQ(out[0].val.s, "segment_characters");
  EXPECT_EQ(out[1].val.l, 2);
  EXPECT_EQ(out[2].val.l, 2);
  EXPECT_EQ(out[3].val.l, 8);
  EXPECT_EQ(out[4].val.l, 1);
  EXPECT_EQ(out[5].type, VPAR_STRING);
  for (int i = 0; i < 6; ++i) VctClearElem(in.proc(), &out[i]);

  Instance names(runtime_test::OpIndex("get_param_names"));
  runtime_test::SetInpString(names, 0, "get_param_num");
  ASSERT_EQ(CCallVProc(names.proc()), VRESULT_OK);
  Vctuple* n = names.params().outp_ctrl_rec;
  EXPECT_EQ(n[0].num, 0);  // no input objects
  EXPECT_EQ(n[1].num, 0);
  EXPECT_EQ(n[2].num, 1);
  EXPECT_EQ(n[3].num, 6);
  for (int i = 0; i < 4; ++i) VctClearElem(names.proc(), &n[i]);

  Instance bad(op);
  runtime_test::SetInpString(bad, 0, "no_such_operator");
  EXPECT_EQ(CCallVProc(bad.proc()), VERR_OP_NAME);
}

}  // namespace
