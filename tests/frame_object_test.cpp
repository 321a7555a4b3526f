// Object keys through the call frame: Vobject's one release per key made
// or copied, the input object store and its raising rule, and the
// hand-over of output keys, after which the instance releases only what
// was not taken.
#include <vexa/errors.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/Vobject.h>

#include "frame_test_support.h"
#include "objdb.h"
#include "region_store.h"

namespace {

using namespace Vexa;
using namespace frame_test;

constexpr unsigned int kFailure = VERR_FILE_NOT_FOUND;

Vkey NewRegionKey() {
  Vkey key = nullptr;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, 3, 3), &key),
            VRESULT_OK);
  return key;
}

// Hands `n` new regions to output object 1.
template <int n, unsigned int code = VRESULT_OK>
Vresult EmitRegions(void* proc) {
  std::vector<Vkey> keys;
  for (int i = 0; i < n; ++i) keys.push_back(NewRegionKey());
  vexa::OpContext ctx(proc);
  const Vresult rc = ctx.SetOutpObjs(1, keys);
  return rc == VRESULT_OK ? code : rc;
}

// The key that reached input object 1, as stored.
Vkey seen_input = nullptr;
Vresult RecordInputKey(void* proc) {
  VParamBlock* params = static_cast<VProcInstance*>(proc)->params;
  seen_input = params->inp_obj_num[1] == 1 ? params->inp_obj_keys[1][0] : nullptr;
  return VRESULT_OK;
}

bool Alive(Vkey key) { return vexa::db::Check(key) == VRESULT_OK; }
Vlong LiveRegions() { return vexa::db::GetStats().regions; }

class FrameObjectTest : public ::testing::Test {
 protected:
  // One input object, one output object, two input controls, one output.
  const int32_t op_ = OperatorIndex("binary_threshold");
  ScopedThrowingHandler handler_;
  const Vlong regions_at_start_ = LiveRegions();

  // Calls the operator and stores output object 1 into `out`; returns the
  // code before VcppPostCall, whose raise (if any) propagates.
  unsigned int RunOutput(unsigned char global, Vobject* out,
                         unsigned int* before_post = nullptr) {
    void* proc = nullptr;
    unsigned int code = VcppPreCall(op_, &proc, global);
    code = VcppCall(proc);
    code = VcppStoreOO(proc, 1, out, code);
    if (before_post != nullptr) *before_post = code;
    return VcppPostCall(proc, code, global ? 0 : 1);
  }
};

TEST_F(FrameObjectTest, OutputKeyIsHandedOver) {
  ScopedOperator fake(op_, &EmitRegions<1>);
  {
    Vobject region;
    EXPECT_EQ(RunOutput(1, &region), VRESULT_OK);
    // The instance is gone and the key is still there: the wrapper owns it.
    EXPECT_TRUE(Alive(region.Id()));
    EXPECT_EQ(LiveRegions(), regions_at_start_ + 1);
    // A second run replaces the object and releases the first.
    const Vkey first = region.Id();
    EXPECT_EQ(RunOutput(0, &region), VRESULT_OK);
    EXPECT_NE(region.Id(), first);
    EXPECT_EQ(LiveRegions(), regions_at_start_ + 1);
  }
  EXPECT_EQ(LiveRegions(), regions_at_start_);
}

TEST_F(FrameObjectTest, SeveralKeysGive7200AndLoseNothing) {
  ScopedOperator fake(op_, &EmitRegions<2>);
  Vobject region;
  unsigned int code = 0;
  try {
    RunOutput(0, &region, &code);
    ADD_FAILURE() << "a class method raises 7200";
  } catch (const VException& e) {
    EXPECT_EQ(e.err, VRESULT_OUT_OBJ_COUNT);
  }
  EXPECT_EQ(code, VRESULT_OUT_OBJ_COUNT);
  EXPECT_EQ(region.Id(), VKEY_UNDEF);
  EXPECT_EQ(LiveRegions(), regions_at_start_);
}

TEST_F(FrameObjectTest, NullOutputObjectGives7403AndLosesNothing) {
  ScopedOperator fake(op_, &EmitRegions<1>);
  EXPECT_EQ(RunOutput(1, nullptr), VRESULT_OUT_NULL);
  // 7403 replaces an earlier failure.
  ScopedOperator failing(op_, &EmitRegions<1, kFailure>);
  unsigned int code = 0;
  EXPECT_EQ(RunOutput(1, nullptr, &code), VRESULT_OUT_NULL);
  EXPECT_EQ(code, VRESULT_OUT_NULL);
  EXPECT_EQ(LiveRegions(), regions_at_start_);
}

TEST_F(FrameObjectTest, FailureResetsTheOutputObject) {
  ScopedOperator failing(op_, &ReturnCode<kFailure>);
  Vobject owner(NewRegionKey(), 1);
  EXPECT_EQ(RunOutput(1, &owner), kFailure);
  EXPECT_EQ(owner.Id(), VKEY_UNDEF);
  EXPECT_EQ(LiveRegions(), regions_at_start_);

  // A borrowing wrapper forgets its key but does not release it.
  const Vkey lent = NewRegionKey();
  Vobject borrower(lent, 0);
  EXPECT_EQ(RunOutput(1, &borrower), kFailure);
  EXPECT_EQ(borrower.Id(), VKEY_UNDEF);
  EXPECT_TRUE(Alive(lent));
  EXPECT_EQ(DBDelObjectId(nullptr, lent), VRESULT_OK);
}

TEST_F(FrameObjectTest, NoObjectReachesTheOperatorAsEmpty) {
  ScopedOperator fake(op_, &RecordInputKey);
  void* proc = nullptr;
  unsigned int code = VcppPreCall(op_, &proc, 1);
  code = VcppStoreIO(proc, 1, Vobject());
  if (code == VRESULT_OK) code = VcppCall(proc);
  EXPECT_EQ(VcppPostCall(proc, code, 0), VRESULT_OK);
  EXPECT_EQ(seen_input, CGetKeyName("empty"));
}

TEST_F(FrameObjectTest, RefusedInputObjectRaisesInProceduralCalls) {
  const Vobject none;
  struct Case {
    unsigned char global;
    bool raise_flag;
    bool raised;
  };
  for (const Case c : {Case{1, false, true}, Case{0, false, false},
                       Case{0, true, true}}) {
    SCOPED_TRACE(testing::Message() << "global " << int(c.global) << " flag "
                                    << c.raise_flag);
    ScopedRaiseOnError flag(c.raise_flag);
    void* proc = nullptr;
    ASSERT_EQ(VcppPreCall(op_, &proc, c.global), VRESULT_OK);
    bool raised = false;
    unsigned int code = 0;
    try {
      // Parameter 0 does not exist: the runtime refuses the store.
      code = VcppStoreIO(proc, 0, none);
    } catch (const VException& e) {
      raised = true;
      code = e.err;
      char text[1024];
      VErrorMessage(e.err, text);
      EXPECT_STREQ(e.message, text);
      EXPECT_STREQ(e.proc, "binary_threshold");
    }
    EXPECT_EQ(raised, c.raised);
    EXPECT_EQ(code, VERR_PAR_INDEX);
    // A raise leaves the instance to the caller.
    VcppPostCall(proc, VRESULT_OK, 0);
  }
}

TEST_F(FrameObjectTest, OneReleasePerKeyMadeOrCopied) {
  const Vkey made = NewRegionKey();
  {
    Vobject original(made, 1);
    Vobject copy(original);
    EXPECT_NE(copy.Id(), made);
    EXPECT_TRUE(Alive(copy.Id()));
    const Vkey copied = copy.Id();
    copy.Reset();
    EXPECT_EQ(copy.Id(), VKEY_UNDEF);
    EXPECT_FALSE(Alive(copied));
    EXPECT_TRUE(Alive(made));

    // Assignment into a borrowing wrapper takes a copy that it never
    // releases.
    Vobject borrower(0);
    borrower = original;
    const Vkey kept = borrower.Id();
    borrower.AdaptId(nullptr);
    EXPECT_EQ(borrower.Id(), VKEY_UNDEF);
    EXPECT_TRUE(Alive(kept));
    EXPECT_EQ(DBDelObjectId(nullptr, kept), VRESULT_OK);

    Vobject empty_copy(Vobject(nullptr, 1));
    EXPECT_EQ(empty_copy.Id(), VKEY_UNDEF);
    EXPECT_STREQ(original.ClassName(), "Vobject");
  }
  EXPECT_FALSE(Alive(made));
  EXPECT_EQ(LiveRegions(), regions_at_start_);
}

}  // namespace
