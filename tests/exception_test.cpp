// VException: construction and copying, the tuple form both ways, reading
// named slots of a tuple form, and the report printed when no handler is
// installed.
#include <vexaobj/VException.h>
#include <vexaobj/VTuple.h>

#include <string>

#include "control_test_support.h"

using Vexa::VCtrlVal;
using Vexa::VException;
using Vexa::Vlong;
using Vexa::VTuple;
using control_test::ExpectRaise;

namespace {

VTuple Values(std::initializer_list<VCtrlVal> values) {
  VTuple t;
  for (const VCtrlVal& v : values) t[t.Num()] = v;
  return t;
}

std::string Text(const VCtrlVal& v) { return v.S(); }

class ExceptionTest : public control_test::ThrowingTest {};

TEST_F(ExceptionTest, ConstructorsFillEveryField) {
  const VException full("src.cpp", 12, "proc", 4001, "message");
  EXPECT_EQ(full.line, 12);
  EXPECT_STREQ(full.file, "src.cpp");
  EXPECT_STREQ(full.proc, "proc");
  EXPECT_EQ(full.err, 4001u);
  EXPECT_STREQ(full.message, "message");
  ASSERT_NE(full.user_data, nullptr);
  EXPECT_EQ(full.user_data->Num(), 0);

  EXPECT_STREQ(VException("f", 1, "p", 7u).message, "");
  EXPECT_EQ(VException("f", 1, "p", "text").err, 0u);
  const VException nulls(nullptr, 0, nullptr, nullptr);
  EXPECT_STREQ(nulls.file, "");
  EXPECT_STREQ(nulls.proc, "");
  EXPECT_STREQ(nulls.message, "");
}

TEST_F(ExceptionTest, CopyIsDeepAndAssignmentKeepsUserData) {
  const VException user(Values({30001, "a", "b"}));
  const VException copy(user);
  EXPECT_NE(copy.proc, user.proc);
  EXPECT_NE(copy.user_data, user.user_data);
  EXPECT_EQ(copy.user_data->Num(), 2);

  VException assigned("f", 3, "p", 9u, "m");
  assigned = user;
  EXPECT_EQ(assigned.err, 30001u);
  EXPECT_EQ(assigned.line, 0);
  EXPECT_STREQ(assigned.file, "b");
  EXPECT_EQ(assigned.user_data->Num(), 0);
  assigned = assigned;
  EXPECT_STREQ(assigned.file, "b");
}

TEST_F(ExceptionTest, TupleFormParsesWithDefaults) {
  const VException empty{VTuple()};
  EXPECT_EQ(empty.err, 0xFFFFFFFFu);
  EXPECT_EQ(empty.line, 0);
  EXPECT_STREQ(empty.file, "");
  EXPECT_STREQ(empty.message, "");
  EXPECT_EQ(empty.user_data->Num(), 0);

  const VException system(Values({5, 17, "f.cpp", "op", "msg", 1, "x"}));
  EXPECT_EQ(system.err, 5u);
  EXPECT_EQ(system.line, 17);
  EXPECT_STREQ(system.proc, "op");
  EXPECT_STREQ(system.message, "msg");
  ASSERT_EQ(system.user_data->Num(), 2);
  EXPECT_EQ(Text((*system.user_data)[1]), "x");

  // Mistyped slots take their defaults; nothing is refused.
  const VException mistyped(Values({"a", 2.5, 3, "op"}));
  EXPECT_EQ(mistyped.err, 0xFFFFFFFFu);
  EXPECT_EQ(mistyped.line, 0);
  EXPECT_STREQ(mistyped.file, "");
  EXPECT_STREQ(mistyped.proc, "op");
}

TEST_F(ExceptionTest, UserDefinedFormRoundTrips) {
  const VException user(Values({30001, "a", "b"}));
  EXPECT_EQ(user.err, 30001u);
  ASSERT_EQ(user.user_data->Num(), 2);
  EXPECT_EQ(Text((*user.user_data)[0]), "a");
  VTuple back;
  user.ToVTuple(&back);
  ASSERT_EQ(back.Num(), 3);
  EXPECT_EQ(back[0].L(), 30001);
  EXPECT_EQ(Text(back[1]), "a");
  EXPECT_EQ(Text(back[2]), "b");
}

TEST_F(ExceptionTest, ToVTupleWritesOverWithoutClearing) {
  VException e("f.cpp", 8, "op", 3001u, "msg");
  VTuple out(8, VTuple("old"));
  e.ToVTuple(&out);
  ASSERT_EQ(out.Num(), 8);
  EXPECT_EQ(out[0].L(), 3001);
  EXPECT_EQ(out[1].L(), 8);
  EXPECT_EQ(Text(out[2]), "f.cpp");
  EXPECT_EQ(Text(out[3]), "op");
  EXPECT_EQ(Text(out[4]), "msg");
  EXPECT_EQ(Text(out[7]), "old");

  delete[] e.message;
  e.message = nullptr;
  VTuple lost;
  e.ToVTuple(&lost);
  EXPECT_EQ(Text(lost[4]), "Out of memory");
}

class ExceptionDataTest : public control_test::ThrowingTest {
 protected:
  const char* proc = "void VTuple::GetExceptionData()";
  const VTuple system = Values({5, 17, "f.cpp", "op", "msg", 1, "x"});
  const VTuple user = Values({30002, "u"});
};

TEST_F(ExceptionDataTest, ReadsNamedSlots) {
  VTuple value(99);
  VException::GetExceptionData(
      system, Values({"error_code", "line", "file", "operator", "error_msg",
                      "error_message", "procedure", "call_stack_depth"}),
      &value);
  ASSERT_EQ(value.Num(), 8);
  EXPECT_EQ(value[0].L(), 5);
  EXPECT_EQ(value[1].L(), 17);
  EXPECT_EQ(Text(value[2]), "f.cpp");
  EXPECT_EQ(Text(value[3]), "op");
  EXPECT_EQ(Text(value[5]), "msg");
  EXPECT_EQ(Text(value[6]), "");  // "procedure" is always empty
  EXPECT_EQ(Text(value[7]), "");

  VException::GetExceptionData(user, Values({"error_code", "line", "error_msg"}),
                               &value);
  ASSERT_EQ(value.Num(), 3);
  EXPECT_EQ(value[0].L(), 30002);
  EXPECT_EQ(Text(value[1]), "User defined exception");
  EXPECT_EQ(Text(value[2]), "User defined exception");
}

TEST_F(ExceptionDataTest, UserDataIsTheTail) {
  VTuple value;
  VException::GetExceptionData(system, VTuple("user_data"), &value);
  ASSERT_EQ(value.Num(), 2);
  EXPECT_EQ(Text(value[1]), "x");
  VException::GetExceptionData(user, VTuple("user_data"), &value);
  ASSERT_EQ(value.Num(), 1);
  EXPECT_EQ(Text(value[0]), "u");
  VException::GetExceptionData(VTuple(30003), VTuple("user_data"), &value);
  EXPECT_EQ(value.Num(), 0);
}

TEST_F(ExceptionDataTest, BadNamesFailAndEmptyTheResult) {
  VTuple value;
  ExpectRaise(
      [&] {
        VException::GetExceptionData(system, Values({"error_code", "user_data"}),
                                     &value);
      },
      proc,
      "slot 'user_data' on parameter 'Name' cannot be requested together with "
      "other slots");
  EXPECT_EQ(value.Num(), 0);
  ExpectRaise(
      [&] { VException::GetExceptionData(system, Values({"line", "Line"}), &value); },
      proc, "wrong value of input parameter 'name'");
  EXPECT_EQ(value.Num(), 0);
  ExpectRaise([&] { VException::GetExceptionData(system, VTuple(1), &value); },
              proc, "wrong type of input parameter 'name'");
  ExpectRaise([&] { VException::GetExceptionData(VTuple(5), VTuple("file"), &value); },
              "VCtrlVal VTuple::operator [] (long index) const",
              "index out of range: index = 2, Num() = 1\n");
  // Without a place for the result nothing is looked at.
  VException::GetExceptionData(system, VTuple(1), nullptr);
}

TEST(ExceptionReport, PrintedExactly) {
  const char* report =
      "VEXA exception\nfile      = f.cpp\nprocedure = op\nline      = 12\n"
      "error#    = 4001\nmessage   = msg\n";
  testing::internal::CaptureStderr();
  VException("f.cpp", 12, "op", 4001u, "msg").PrintException();
  // The runtime's printer may end the text with a line of its own.
  EXPECT_EQ(testing::internal::GetCapturedStderr().rfind(report, 0), 0u);

  VException lost("f", 1, "p", 0u, "m");
  delete[] lost.message;
  lost.message = nullptr;
  testing::internal::CaptureStderr();
  lost.PrintException();
  EXPECT_NE(testing::internal::GetCapturedStderr().find("message   = Out of memory\n"),
            std::string::npos);

  // The all-ones number of an unparsable tuple form prints as a signed
  // 32-bit long.
  testing::internal::CaptureStderr();
  VException{VTuple()}.PrintException();
  EXPECT_NE(testing::internal::GetCapturedStderr().find("error#    = -1\n"),
            std::string::npos);
}

TEST(ExceptionReact, WithoutHandlerPrintsAndExits) {
  ASSERT_EQ(VException::handler, nullptr);
  EXPECT_EXIT(VException("f.cpp", 3, "op", 9006u, "boom").React(),
              testing::ExitedWithCode(1),
              "VEXA exception\nfile      = f.cpp\nprocedure = op\nline      = 3\n"
              "error#    = 9006\nmessage   = boom\n");
}

TEST(ExceptionReact, ReturningHandlerLetsTheCallerGoOn) {
  const Vexa::VHandlerProc before =
      VException::InstallVHandler(&control_test::Returning::Handle);
  EXPECT_EQ(before, nullptr);
  control_test::Returning::raised = 0;
  VException("f", 1, "p", "returned").React();
  EXPECT_EQ(control_test::Returning::raised, 1);
  EXPECT_EQ(control_test::Returning::message, "returned");
  EXPECT_EQ(VException::InstallVHandler(before), &control_test::Returning::Handle);
}

}  // namespace
