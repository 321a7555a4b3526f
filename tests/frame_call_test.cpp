// The call frame with control values: the decision between a returned and
// a raised failure, the conversions of single-valued outputs, the release
// of every output record, and the frame's promise to allocate nothing.
#include <cstring>
#include <vector>

#include <vexa/errors.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/VTuple.h>

#include "frame_test_support.h"

namespace {

using namespace Vexa;
using namespace frame_test;

// A failure code of an operator, with a text of its own.
constexpr unsigned int kFailure = VERR_FILE_NOT_FOUND;

enum class Face { kProcedural, kClassMethod };

struct Outcome {
  bool raised = false;
  unsigned int code = 0;  // returned, or the error number raised
  std::string message;
  std::string proc;
};

class FrameCallTest : public ::testing::Test {
 protected:
  // An operator with two input and two output control parameters.
  const int32_t op_ = OperatorIndex("receive_data");
  ScopedThrowingHandler handler_;

  // The generated sequence for one operator with the given outputs:
  // VcppInitOC for each, the call, the stores in order, the decision.
  template <class... Out>
  Outcome Run(Face face, Out*... outs) {
    const unsigned char global = face == Face::kProcedural ? 1 : 0;
    const int mode = face == Face::kProcedural ? 0 : 1;
    Outcome outcome;
    try {
      void* proc = nullptr;
      unsigned int code = VcppPreCall(op_, &proc, global);
      for (int par = 0; par < static_cast<int>(sizeof...(Out)); ++par)
        VcppInitOC(proc, par);
      if (code == VRESULT_OK) code = VcppCall(proc);
      int par = 0;
      ((code = VcppStoreOC(proc, par++, outs, code)), ...);
      outcome.code = VcppPostCall(proc, code, mode);
    } catch (const VException& e) {
      outcome.raised = true;
      outcome.code = e.err;
      outcome.message = e.message;
      outcome.proc = e.proc;
    }
    return outcome;
  }
};

std::string ErrorText(unsigned int code) {
  char text[1024];
  VErrorMessage(code, text);
  return text;
}

TEST_F(FrameCallTest, DecisionBetweenReturnAndRaise) {
  struct Case {
    Face face;
    bool raise_flag;
    unsigned int code;
    bool raised;
  };
  const Case cases[] = {
      {Face::kProcedural, false, 0, false},
      {Face::kProcedural, false, 1, false},
      {Face::kProcedural, false, VRESULT_OK, false},
      {Face::kProcedural, false, kFailure, false},
      {Face::kProcedural, true, 0, false},
      {Face::kProcedural, true, 1, false},
      {Face::kProcedural, true, VRESULT_OK, false},
      {Face::kProcedural, true, kFailure, true},
      {Face::kClassMethod, false, 0, true},
      {Face::kClassMethod, false, 1, true},
      {Face::kClassMethod, false, VRESULT_OK, false},
      {Face::kClassMethod, false, kFailure, true},
  };
  using Fn = Vresult (*)(void*);
  auto fake_for = [](unsigned int code) -> Fn {
    switch (code) {
      case 0: return &ReturnCode<0>;
      case 1: return &ReturnCode<1>;
      case VRESULT_OK: return &ReturnCode<VRESULT_OK>;
      default: return &ReturnCode<kFailure>;
    }
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "face " << static_cast<int>(c.face)
                                    << " flag " << c.raise_flag << " code "
                                    << c.code);
    ScopedRaiseOnError flag(c.raise_flag);
    ScopedOperator fake(op_, fake_for(c.code));
    const Outcome outcome = Run(c.face);
    EXPECT_EQ(outcome.raised, c.raised);
    EXPECT_EQ(outcome.code, c.code);
    if (c.raised) {
      EXPECT_EQ(outcome.message, " " + ErrorText(c.code) + " in operator receive_data");
      EXPECT_EQ(outcome.proc, "receive_data");
    }
  }
}

TEST_F(FrameCallTest, OperatorFailureIsRaisedAfterTheOutputsWereReleased) {
  ScopedMemTrace trace;
  ScopedOperator fake(op_, &WriteOutput0<Text, kFailure>);
  const Vlong live = VMemTraceLiveCount();
  char text[64] = "untouched";
  const Outcome outcome = Run(Face::kClassMethod, text);
  EXPECT_TRUE(outcome.raised);
  EXPECT_EQ(outcome.code, kFailure);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST_F(FrameCallTest, SingleValuedOutputs) {
  {
    ScopedOperator fake(op_, &WriteOutput0<ThreeLongs>);
    Vlong value = 5;
    EXPECT_EQ(Run(Face::kProcedural, &value).code, VRESULT_OUT_COUNT);
    EXPECT_EQ(value, -1);
    const Outcome raised = Run(Face::kClassMethod, &value);
    EXPECT_TRUE(raised.raised);
    EXPECT_EQ(raised.code, VRESULT_OUT_COUNT);
  }
  {
    ScopedOperator fake(op_, &WriteOutput0<Double29>);
    Vlong truncated = 0;
    EXPECT_EQ(Run(Face::kProcedural, &truncated).code, VRESULT_OK);
    EXPECT_EQ(truncated, 2);
  }
  {
    ScopedOperator fake(op_, &WriteOutput0<Long7>);
    double widened = 0;
    EXPECT_EQ(Run(Face::kProcedural, &widened).code, VRESULT_OK);
    EXPECT_EQ(widened, 7.0);
    char text[16] = "untouched";
    EXPECT_EQ(Run(Face::kProcedural, text).code, VRESULT_OUT_TYPE);
  }
  {
    ScopedOperator fake(op_, &WriteOutput0<Text>);
    double number = 4.5;
    EXPECT_EQ(Run(Face::kProcedural, &number).code, VRESULT_OUT_TYPE);
    EXPECT_EQ(number, 4.5);
    char text[32] = "";
    EXPECT_EQ(Run(Face::kProcedural, text).code, VRESULT_OK);
    EXPECT_STREQ(text, "region_features");
  }
  {
    // An operator that writes nothing: the single-valued output is missing.
    ScopedOperator fake(op_, &ReturnCode<VRESULT_OK>);
    double number = 4.5;
    EXPECT_EQ(Run(Face::kProcedural, &number).code, VRESULT_OUT_COUNT);
    EXPECT_EQ(number, -1.0);
  }
}

TEST_F(FrameCallTest, NoFailureCodeOfAnOperatorBecomesSuccessWithATuple) {
  ScopedOperator fake(op_, &WriteOutput0<Long7, 1>);
  VTuple tuple;
  EXPECT_EQ(Run(Face::kProcedural, &tuple).code, VRESULT_OK);
  ASSERT_EQ(tuple.Num(), 1);
  EXPECT_EQ(tuple[0].L(), 7);
  // A scalar output keeps the operator's 1, and the class method raises it.
  Vlong value = 0;
  EXPECT_EQ(Run(Face::kProcedural, &value).code, 1u);
  EXPECT_EQ(value, 7);
  const Outcome raised = Run(Face::kClassMethod, &value);
  EXPECT_TRUE(raised.raised);
  EXPECT_EQ(raised.code, 1u);
}

TEST_F(FrameCallTest, StringTakenIntoABufferLeavesTheRecordSafe) {
  ScopedOperator fake(op_, &WriteOutput0<Text>);
  void* proc = nullptr;
  ASSERT_EQ(VcppPreCall(op_, &proc, 1), VRESULT_OK);
  VcppInitOC(proc, 0);
  ASSERT_EQ(VcppCall(proc), VRESULT_OK);
  char text[32];
  EXPECT_EQ(VcppStoreOC(proc, 0, text, VRESULT_OK), VRESULT_OK);
  EXPECT_EQ(static_cast<VProcInstance*>(proc)->params->outp_ctrl_rec[0].val.s,
            s_default);
  EXPECT_EQ(VcppPostCall(proc, VRESULT_OK, 0), VRESULT_OK);
}

TEST_F(FrameCallTest, NullOutputsReleaseTheirStorage) {
  ScopedMemTrace trace;
  ScopedOperator fake(op_, &WriteOutput0<TextThenMixed>);
  const Vlong live = VMemTraceLiveCount();
  EXPECT_EQ(Run(Face::kProcedural, static_cast<char*>(nullptr), _).code,
            VRESULT_OK);
  EXPECT_EQ(Run(Face::kProcedural, static_cast<Vlong*>(nullptr),
                static_cast<double*>(nullptr))
                .code,
            VRESULT_OK);
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST_F(FrameCallTest, FirstFailureWins) {
  ScopedMemTrace trace;
  const Vlong live = VMemTraceLiveCount();
  {
    // The first output fails with 7002; the second is still released and
    // left empty, and 7002 stays the result.
    ScopedOperator fake(op_, &WriteOutput0<TextThenMixed>);
    double number = 0;
    VTuple rest(3);
    EXPECT_EQ(Run(Face::kProcedural, &number, &rest).code, VRESULT_OUT_TYPE);
    EXPECT_EQ(rest.Num(), 0);
    // 7001 from a missing value, then a wrong type: 7001 stays.
    Vlong first = 0;
    double second = 0;
    ScopedOperator nothing(op_, &ReturnCode<VRESULT_OK>);
    EXPECT_EQ(Run(Face::kProcedural, &first, &second).code, VRESULT_OUT_COUNT);
    EXPECT_EQ(second, -1.0);
  }
  {
    // The operator's own failure wins over 7001; the output gets the marker.
    ScopedOperator fake(op_, &WriteOutput0<ThreeLongs, kFailure>);
    Vlong value = 0;
    EXPECT_EQ(Run(Face::kProcedural, &value).code, kFailure);
    EXPECT_EQ(value, -1);
  }
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST_F(FrameCallTest, ScalarAndTupleCallsAllocateNothing) {
  ScopedMemTrace trace;
  ScopedOperator fake(op_, &WriteOutput0<EchoLong>);
  const VTuple input(Vlong{42});
  const Vlong before = VMemTraceAllocCount();
  void* proc = nullptr;
  unsigned int code = VcppPreCall(op_, &proc, 1);
  code = VcppStoreIC(proc, 0, input);
  code = VcppStoreIC(proc, 1, "format");
  VcppInitOC(proc, 0);
  VcppInitOC(proc, 1);
  code = VcppCall(proc);
  Vlong echoed = 0;
  code = VcppStoreOC(proc, 0, &echoed, code);
  code = VcppStoreOC(proc, 1, static_cast<double*>(nullptr), code);
  code = VcppPostCall(proc, code, 0);
  EXPECT_EQ(VMemTraceAllocCount(), before);
  EXPECT_EQ(code, VRESULT_OK);
  EXPECT_EQ(echoed, 42);
}

TEST_F(FrameCallTest, OutputTuplesAreAdoptedNotCopied) {
  ScopedMemTrace trace;
  ScopedOperator fake(op_, &WriteOutput0<ThreeLongs>);
  VTuple values;
  const Vlong before = VMemTraceAllocCount();
  EXPECT_EQ(Run(Face::kProcedural, &values).code, VRESULT_OK);
  // The operator's one array and nothing else.
  EXPECT_EQ(VMemTraceAllocCount() - before, 1);
  ASSERT_EQ(values.Num(), 3);
  EXPECT_EQ(values[2].L(), 3);
}

TEST_F(FrameCallTest, RunOfCallsLeavesNoLiveMemory) {
  ScopedMemTrace trace;
  const Vlong live = VMemTraceLiveCount();
  {
    VTuple tuple;
    Vlong number = 0;
    char text[32];
    ScopedOperator mixed(op_, &WriteOutput0<TextThenMixed>);
    for (int i = 0; i < 3; ++i) {
      Run(Face::kProcedural, text, &tuple);
      Run(Face::kProcedural, &number, &tuple);
      Run(Face::kClassMethod, &tuple, _);
    }
    ScopedOperator failing(op_, &WriteOutput0<ThreeLongs, kFailure>);
    Run(Face::kClassMethod, &tuple);
    Run(Face::kProcedural, &number);
  }
  EXPECT_EQ(VMemTraceLiveCount(), live);
}

TEST_F(FrameCallTest, InputStoresLendTheValueInPlace) {
  void* proc = nullptr;
  ASSERT_EQ(VcppPreCall(op_, &proc, 1), VRESULT_OK);
  VParamBlock* params = static_cast<VProcInstance*>(proc)->params;
  const char* text = "lent";
  EXPECT_EQ(VcppStoreIC(proc, 1, text), VRESULT_OK);
  const Vctuple& rec = params->inp_ctrl_rec[1];
  EXPECT_EQ(params->inp_ctrl[1], &rec);
  EXPECT_EQ(rec.val.s, text);
  EXPECT_EQ(rec.type, VPAR_STRING);
  EXPECT_EQ(rec.num, 1);
  EXPECT_EQ(rec.capacity, 0);
  EXPECT_EQ(VcppStoreIC(proc, 1, 2.5), VRESULT_OK);
  EXPECT_EQ(rec.type, VPAR_DOUBLE);
  EXPECT_EQ(rec.val.d, 2.5);
  const VTuple several(VTuple(Vlong{1}).Append(VTuple(2.0)));
  EXPECT_EQ(VcppStoreIC(proc, 0, several), VRESULT_OK);
  EXPECT_EQ(params->inp_ctrl_rec[0].type, VPAR_MIXED);
  EXPECT_EQ(params->inp_ctrl_rec[0].num, 2);
  EXPECT_EQ(params->inp_ctrl_rec[0].borrowed, 1);
  VcppInitOC(proc, 1);
  const Vctuple& out = params->outp_ctrl_rec[1];
  EXPECT_EQ(params->outp_ctrl[1], &out);
  EXPECT_EQ(out.num, 0);
  EXPECT_EQ(out.elem, reinterpret_cast<const Vcpar*>(&out));
  EXPECT_EQ(VcppPostCall(proc, VRESULT_OK, 0), VRESULT_OK);
}

TEST_F(FrameCallTest, PostCallWithoutInstanceTakesRaisingAsSet) {
  EXPECT_EQ(VcppPostCall(nullptr, VRESULT_OK, 0), VRESULT_OK);
  const Outcome outcome = [] {
    Outcome o;
    try {
      o.code = VcppPostCall(nullptr, kFailure, 0);
    } catch (const VException& e) {
      o.raised = true;
      o.code = e.err;
    }
    return o;
  }();
  EXPECT_TRUE(outcome.raised);
  EXPECT_EQ(outcome.code, kFailure);
  // Any mode but 0 and 1 never raises.
  EXPECT_EQ(VcppPostCall(nullptr, kFailure, 2), kFailure);
}

TEST_F(FrameCallTest, AReturningHandlerGetsTheCodeBack) {
  ScopedReturningHandler returning;
  ScopedOperator fake(op_, &ReturnCode<kFailure>);
  EXPECT_EQ(Run(Face::kClassMethod).code, kFailure);
  EXPECT_EQ(ReturningHandler::raised, 1);
}

TEST_F(FrameCallTest, FailedCreationRaisesAndNeverReturns) {
  void* proc = nullptr;
  try {
    VcppPreCall(VOperatorCount(), &proc, 1);
    ADD_FAILURE() << "no raise";
  } catch (const VException& e) {
    EXPECT_EQ(e.err, VERR_OP_INDEX);
    EXPECT_EQ(std::string(e.message),
              " Could not create a new operator instance : \n " +
                  ErrorText(VERR_OP_INDEX) + "\n");
  }
  EXPECT_EXIT(
      {
        VException::InstallVHandler(&ReturningHandler::Handle);
        VcppPreCall(-1, &proc, 1);
      },
      ::testing::ExitedWithCode(1), "");
}

}  // namespace
