// Numeric tuple methods: result types of the elementwise families, the
// broadcast of the two-operand forms, rounding, the statistics and their
// failures, and Rand.
#include <math.h>

#include <functional>

#include <gtest/gtest.h>

#include <vexaobj/VTuple.h>

#include "control_test_support.h"
#include "tuple_test_support.h"

using control_test::ExpectRaise;
using tuple_test::Show;
using tuple_test::Tup;
using Vexa::VCtrlVal;
using Vexa::VTuple;
using Vexa::Vlong;

namespace {

class TupleNumericTest : public control_test::ThrowingTest {};

TEST_F(TupleNumericTest, OneOperandFamilyGivesRealsForEveryElement) {
  const struct {
    std::function<VTuple(const VTuple&)> f;
    VTuple in;
    std::string out;
  } cases[] = {
      {&VTuple::Sqrt, Tup({4, 2.25}), "[2.0, 1.5]"},
      {&VTuple::Floor, Tup({1, -1.5}), "[1.0, -2.0]"},
      {&VTuple::Ceil, Tup({1, -1.5}), "[1.0, -1.0]"},
      {&VTuple::Real, Tup({Vlong{3}}), "[3.0]"},
      {&VTuple::Exp, Tup({0}), "[1.0]"},
      {&VTuple::Log10, Tup({100}), "[2.0]"},
      {&VTuple::Sin, VTuple(), "[]"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.out, Show(c.f(c.in)));
  // No domain check: the floating-point result stands.
  EXPECT_TRUE(isnan(Tup({-1}).Sqrt()[0].D()));
  EXPECT_TRUE(isnan(Tup({-1}).Log()[0].D()));
}

TEST_F(TupleNumericTest, DegreesAndRadiansMultiplyFirst) {
  EXPECT_DOUBLE_EQ(90.0, Tup({90}).Rad().Deg()[0].D());
  EXPECT_EQ(180 * 3.14159265358979311600 / 180, Tup({180}).Rad()[0].D());
}

TEST_F(TupleNumericTest, IntTruncatesAndRoundGoesAwayFromZero) {
  EXPECT_EQ("[2, -2, 7]", Show(Tup({2.5, -2.5, 7}).Int()));
  EXPECT_EQ("[3, -3, 7, 0]", Show(Tup({2.5, -2.5, 7, 0.49}).Round()));
  ExpectRaise([] { Tup({"x"}).Int(); }, "long VCtrlVal::L() const", "wrong type: string");
}

TEST_F(TupleNumericTest, AbsAndSgnKeepOrSetTheType) {
  EXPECT_EQ("[3, 3.0]", Show(Tup({-3, -3.0}).Abs()));
  EXPECT_EQ("[-1, 0, 1, 0, 0]", Show(Tup({-3.5, 0, 7, 0.0, -0.0}).Sgn()));
  EXPECT_EQ("[-1]", Show(Tup({NAN}).Sgn()));
  ExpectRaise([] { Tup({"x"}).Abs(); }, "VTuple VTuple::Abs(void) const", "Abs of string value");
  ExpectRaise([] { Tup({"x"}).Sgn(); }, "VTuple VTuple::Sgn(void) const", "Sgn of string value");
  // An undefined last element is skipped, leaving the result shorter.
  VTuple gap;
  gap[0] = VCtrlVal(-1);
  gap[1];
  EXPECT_EQ("[1]", Show(gap.Abs()));
}

TEST_F(TupleNumericTest, TwoOperandFormsBroadcastWithThisOnTheLeft) {
  EXPECT_EQ("[1.0, 4.0, 9.0]", Show(Tup({1, 2, 3}).Pow(Tup({2}))));
  EXPECT_EQ("[8.0, 4.0]", Show(Tup({2}).Pow(Tup({3, 2}))));
  EXPECT_EQ("[1.0, 0.5]", Show(Tup({7, 4.5}).Fmod(Tup({3, 2}))));
  // The exponent of Ldexp is truncated to an int.
  EXPECT_EQ("[12.0]", Show(Tup({3}).Ldexp(Tup({2.9}))));
  EXPECT_EQ("[]", Show(VTuple().Atan2(Tup({1, 2, 3}))));
  ExpectRaise([] { Tup({1, 2}).Atan2(Tup({1, 2, 3})); },
              "VTuple VTuple::Atan2(const VTuple &op) const", "tuple with incompatible length");
  ExpectRaise([] { Tup({1, 2}).Ldexp(Tup({1, 2, 3})); },
              "VTuple VTuple::Ldexp(const VTuple &op) const", "tuple with incompatible length");
}

TEST_F(TupleNumericTest, Min2AndMax2CopyWithoutPromotionAndTakeTheRightOnTies) {
  EXPECT_EQ("[1.0]", Show(Tup({1}).Min2(Tup({1.0}))));
  EXPECT_EQ("[1.0]", Show(Tup({1}).Max2(Tup({1.0}))));
  EXPECT_EQ("[1, 2.5]", Show(Tup({1, 3}).Min2(Tup({2.5}))));
  EXPECT_EQ("[\"b\"]", Show(Tup({"a"}).Max2(Tup({"b"}))));
  ExpectRaise([] { Tup({1}).Min2(Tup({"a"})); },
              "VBool VCtrlVal::operator < (const VCtrlVal &loc_val) const",
              "wrong type: Vlong < string");
  ExpectRaise([] { Tup({1, 2}).Max2(Tup({1, 2, 3})); },
              "VTuple VTuple::Max2(const VTuple &val) const", "tuple with incompatible length");
}

TEST_F(TupleNumericTest, MinAndMaxKeepTheType) {
  EXPECT_EQ("[2.5]", Show(Tup({1, 2.5}).Max()));
  EXPECT_EQ("[1]", Show(Tup({1, 1.0}).Min()));
  EXPECT_EQ("[\"b\"]", Show(Tup({"a", "b"}).Max()));
  ExpectRaise([] { Tup({1, "a"}).Max(); },
              "VBool VCtrlVal::operator < (const VCtrlVal &loc_val) const",
              "wrong type: Vlong < string");
}

TEST_F(TupleNumericTest, StatisticsOfAnEmptyTupleFail) {
  const struct {
    std::function<VTuple(const VTuple&)> f;
    const char* proc;
  } cases[] = {
      {&VTuple::Min, "VTuple VTuple::Min(void) const"},
      {&VTuple::Max, "VTuple VTuple::Max(void) const"},
      {&VTuple::Mean, "VTuple VTuple::Mean(void) const"},
      {&VTuple::Median, "VTuple VTuple::Median(void) const"},
      {&VTuple::Deviation, "VTuple VTuple::Deviation(void) const"},
  };
  for (const auto& c : cases) ExpectRaise([&] { c.f(VTuple()); }, c.proc, "empty tuple");
  EXPECT_EQ("[]", Show(VTuple().Sum()));
}

TEST_F(TupleNumericTest, MeanMedianAndDeviation) {
  EXPECT_EQ("[1.5]", Show(Tup({1, 2}).Mean()));
  // The upper middle element, in its own type.
  EXPECT_EQ("[3]", Show(Tup({4, 1, 3, 2}).Median()));
  EXPECT_EQ("[2.5]", Show(Tup({2.5, 1, 9}).Median()));
  EXPECT_EQ("[0.0]", Show(Tup({5}).Deviation()));
  EXPECT_DOUBLE_EQ(sqrt(2.0), Tup({1, 3}).Deviation()[0].D());
  // Equal values whose sums round never give a not-a-number.
  EXPECT_EQ("[0.0]", Show(Tup({0.1, 0.1, 0.1}).Deviation()));
  ExpectRaise([] { Tup({"a"}).Mean(); },
              "VCtrlVal VCtrlVal::operator / (const VCtrlVal &loc_val) const",
              "wrong type: Vlong/double/string / string");
  ExpectRaise([] { Tup({"a", 1}).Deviation(); },
              "VCtrlVal VCtrlVal::operator * (const VCtrlVal &loc_val) const",
              "wrong type: Vlong/double/string * string");
}

TEST_F(TupleNumericTest, RandGivesTheRequestedNumberOfReals) {
  const VTuple r = Tup({3}).Rand();
  ASSERT_EQ(3, r.Num());
  for (Vlong i = 0; i < r.Num(); ++i) {
    EXPECT_EQ(VPAR_DOUBLE, r[i].ValType());
    EXPECT_GE(r[i].D(), 0.0);
    EXPECT_LT(r[i].D(), 1.0);
  }
  EXPECT_EQ(0, Tup({0}).Rand().Num());
  ExpectRaise([] { Tup({1, 2}).Rand(); }, "VTuple VTuple::Rand(void) const",
              "wrong tuple length");
}

TEST_F(TupleNumericTest, NoLeaksOnSuccessOrFailure) {
  control_test::ScopedMemTrace trace;
  {
    const VTuple t = Tup({1.5, "b", "a"});
    EXPECT_EQ("[\"b\"]", Show(t(1, 2).Max()));
    EXPECT_THROW(t.Abs(), Vexa::VException);
    EXPECT_THROW(t.Pow(Tup({2})), Vexa::VException);
  }
  EXPECT_EQ(0, trace.Leaked()) << trace.Report();
}

}  // namespace
