// VCtrlVal: typed reads with their truncation rules and failure texts, deep
// copies of strings, and the layout shared with the runtime.
#include <vexaobj/VCtrlVal.h>

#include <cstring>

#include "control_test_support.h"

using Vexa::VCtrlVal;
using Vexa::Vlong;
using control_test::ExpectRaise;

namespace {

class CtrlValTest : public control_test::ThrowingTest {};

TEST_F(CtrlValTest, NumbersConvertByTruncationTowardZero) {
  EXPECT_EQ(VCtrlVal(3.9).I(), 3);
  EXPECT_EQ(VCtrlVal(-3.9).I(), -3);
  EXPECT_EQ(VCtrlVal(-3.9).L(), -3);
  EXPECT_EQ(VCtrlVal(1e12).L(), 1000000000000);
  // I() keeps the low 32 bits of an integer.
  EXPECT_EQ(VCtrlVal(Vlong{0x100000005}).I(), 5);
  EXPECT_EQ(VCtrlVal(-7).L(), -7);  // an int is sign-extended
  EXPECT_EQ(VCtrlVal(Vlong{7}).D(), 7.0);
  EXPECT_EQ(VCtrlVal(2.5).D(), 2.5);
  const int as_int = VCtrlVal(4.5);
  const double as_double = VCtrlVal(4);
  EXPECT_EQ(as_int, 4);
  EXPECT_EQ(as_double, 4.0);
}

TEST_F(CtrlValTest, WrongTypesRaiseTheirTexts) {
  const VCtrlVal undef, text("x"), whole(Vlong{1}), real(1.0);
  const char* i_proc = "int VCtrlVal::I() const";
  const char* l_proc = "long VCtrlVal::L() const";
  const char* d_proc = "double VCtrlVal::D() const";
  const char* s_proc = "const char * VCtrlVal::S() const";
  ExpectRaise([&] { undef.I(); }, i_proc, "not instantiated");
  ExpectRaise([&] { text.I(); }, i_proc, "wrong type: string");
  ExpectRaise([&] { undef.L(); }, l_proc, "not instantiated");
  ExpectRaise([&] { text.L(); }, l_proc, "wrong type: string");
  ExpectRaise([&] { undef.D(); }, d_proc, "not instantiated");
  ExpectRaise([&] { text.D(); }, d_proc, "wrong type: string");
  ExpectRaise([&] { undef.S(); }, s_proc, "not instantiated");
  ExpectRaise([&] { whole.S(); }, s_proc, "wrong type: long");
  ExpectRaise([&] { real.S(); }, s_proc, "wrong type: double");
}

TEST(CtrlValReturningHandler, FailedReadsGiveNeutralValues) {
  control_test::ScopedHandler handler(&control_test::Returning::Handle);
  control_test::Returning::raised = 0;
  const VCtrlVal undef;
  EXPECT_EQ(undef.I(), 0);
  EXPECT_EQ(undef.L(), 0);
  EXPECT_EQ(undef.D(), 0.0);
  EXPECT_EQ(VCtrlVal(1).S(), nullptr);
  EXPECT_EQ(control_test::Returning::raised, 4);
}

TEST_F(CtrlValTest, CopiesOwnTheirStrings) {
  VCtrlVal a("text");
  VCtrlVal b(a);
  EXPECT_STREQ(b.S(), "text");
  EXPECT_NE(a.S(), b.S());
  VCtrlVal c(5);
  c = a;
  EXPECT_NE(c.S(), a.S());
  c = c;  // self-assignment keeps the text
  EXPECT_STREQ(c.S(), "text");
  c = VCtrlVal(2.0);
  EXPECT_EQ(c.ValType(), VPAR_DOUBLE);
  c.ClearCtrlVal();
  EXPECT_EQ(c.ValType(), VPAR_UNDEF);
}

TEST_F(CtrlValTest, IsTheRuntimeRecord) {
  const VCtrlVal v(Vlong{42});
  const Vcpar& rec = v;
  EXPECT_EQ(static_cast<const void*>(&rec), static_cast<const void*>(&v));
  EXPECT_EQ(rec.type, VPAR_LONG);
  EXPECT_EQ(rec.par.l, 42);
  const VCtrlVal s("abc");
  EXPECT_EQ(s.VCPAR().par.s, s.S());
}

TEST(CtrlValVersion, MatchesTheLibraryBuild) {
  const VCtrlVal v;
  EXPECT_STREQ(v.ClassName(), "VCtrlVal");
  EXPECT_EQ(v.Version(), 12);
  EXPECT_EQ(v.Revision(), 0);
  int day = 0, month = 0, year = 0;
  ASSERT_EQ(std::sscanf(v.Creation(), "%d.%d.%d", &day, &month, &year), 3);
  EXPECT_TRUE(day >= 1 && day <= 31 && month >= 1 && month <= 12);
  EXPECT_GE(year, 2024);
}

}  // namespace
