// Tuple comparison, logic and bit operations: element equality and order
// with their asymmetric failures, whole-tuple equality and lexicographic
// order with not-a-numbers, the single-truth and elementwise logic, the
// bit operators, the loop test, and the methods that the runtime computes.
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj/VTuple.h>

#include "control_test_support.h"
#include "frame_test_support.h"
#include "tuple_test_support.h"

using Vexa::VCtrlVal;
using Vexa::Vlong;
using Vexa::VTuple;
using control_test::ExpectRaise;
using control_test::Returning;
using tuple_test::Show;
using tuple_test::Tup;

namespace {

class TupleCompareTest : public control_test::ThrowingTest {};

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const char kWrongType[] = "internal error: wrong type";

std::string OrderProc(const char* op) {
  return std::string("VBool VCtrlVal::operator ") + op + " (const VCtrlVal &loc_val) const";
}

TEST_F(TupleCompareTest, EqualityNeverFailsOnMixedTypes) {
  const VCtrlVal undef;
  const struct {
    VCtrlVal a, b;
    int equal;
  } cases[] = {
      {1, 1, 1},        {1, 1.0, 1},      {1.0, 1, 1},     {1, 2, 0},
      {kNaN, kNaN, 0},  {"a", "a", 1},    {"a", "b", 0},   {1, "1", 0},
      {"1", 1, 0},      {1.0, undef, 0},  {"a", undef, 0}, {undef, 1, 0},
      {undef, undef, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(tuple_test::ShowValue(c.a) + " with " + tuple_test::ShowValue(c.b));
    EXPECT_EQ(c.a == c.b, c.equal);
    EXPECT_EQ(c.a != c.b, 1 - c.equal);
  }
}

TEST_F(TupleCompareTest, EqualityFailuresAreAsymmetric) {
  const VCtrlVal one(1);
  const VCtrlVal undef;
  VCtrlVal bad;
  tuple_test::SetBadTag(bad);
  // An integer against an undefined value: only != fails.
  EXPECT_EQ(one == undef, 0);
  ExpectRaise([&] { (void)(one != undef); },
              "VBool VCtrlVal::operator != (const VCtrlVal &loc_val) const", kWrongType);
  ExpectRaise([&] { (void)(one == bad); },
              "VBool VCtrlVal::operator == (const VCtrlVal &loc_val) const", kWrongType);
  ExpectRaise([&] { (void)(VCtrlVal("a") != bad); },
              "VBool VCtrlVal::operator != (const VCtrlVal &loc_val) const", kWrongType);
  EXPECT_EQ(undef == bad, 0);

  control_test::ScopedHandler handler(&Returning::Handle);
  EXPECT_EQ(one != undef, 1);
  EXPECT_EQ(one == bad, 0);
}

TEST_F(TupleCompareTest, OrderOfValues) {
  const VCtrlVal undef;
  EXPECT_EQ(VCtrlVal(1) < VCtrlVal(2), 1);
  EXPECT_EQ(VCtrlVal(INT64_MAX - 1) < VCtrlVal(INT64_MAX), 1);  // not through double
  EXPECT_EQ(VCtrlVal(1) < VCtrlVal(1.5), 1);
  EXPECT_EQ(VCtrlVal(2.5) >= VCtrlVal(2), 1);
  EXPECT_EQ(VCtrlVal(2) <= VCtrlVal(2.0), 1);
  EXPECT_EQ(VCtrlVal(kNaN) < VCtrlVal(1), 0);
  EXPECT_EQ(VCtrlVal(kNaN) >= VCtrlVal(1), 0);
  EXPECT_EQ(VCtrlVal("ab") < VCtrlVal("b"), 1);
  EXPECT_EQ(VCtrlVal("\xe4") > VCtrlVal("z"), 1);  // bytes compare unsigned
  EXPECT_EQ(VCtrlVal("a") > VCtrlVal("a"), 0);
  EXPECT_EQ(undef < VCtrlVal(1), 0);  // no order and no message
  EXPECT_EQ(undef > VCtrlVal("a"), 0);
}

TEST_F(TupleCompareTest, OrderFailsBetweenStringsAndNumbers) {
  const VCtrlVal l(1), d(1.0), s("s"), undef;
  const std::function<int(const VCtrlVal&, const VCtrlVal&)> less =
      [](const VCtrlVal& a, const VCtrlVal& b) { return a < b; };
  const std::function<int(const VCtrlVal&, const VCtrlVal&)> greater_equal =
      [](const VCtrlVal& a, const VCtrlVal& b) { return a >= b; };
  const struct {
    const VCtrlVal& a;
    const VCtrlVal& b;
    const char* op;
    const char* message;
  } cases[] = {
      {l, s, "<", "wrong type: Vlong < string"},
      {d, s, "<", "wrong type: double < string"},
      {s, l, "<", "wrong type: string < Vlong"},
      {s, d, "<", "wrong type: double < string"},  // the words of the opposite case
      {l, undef, "<", kWrongType},
      {d, undef, "<", "2nd parameter not instantiated"},
      {s, undef, "<", "2nd parameter not instantiated"},
      {l, s, ">=", "wrong type: Vlong >= string"},
      {s, d, ">=", "wrong type: double >= string"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    const auto& op = std::string(c.op) == "<" ? less : greater_equal;
    ExpectRaise([&] { op(c.a, c.b); }, OrderProc(c.op), c.message);
  }
  control_test::ScopedHandler handler(&Returning::Handle);
  EXPECT_EQ(s > l, 0);
  EXPECT_EQ(s <= l, 0);
}

TEST_F(TupleCompareTest, WholeTupleEquality) {
  EXPECT_TRUE(Tup({1}) == Tup({1.0}));
  EXPECT_FALSE(Tup({1}) == Tup({"1"}));
  EXPECT_TRUE(VTuple() == VTuple());
  EXPECT_TRUE(Tup({1, "a", 2.5}) == Tup({1.0, "a", 2.5}));
  EXPECT_FALSE(Tup({1, 2}) == Tup({1, 2, 3}));
  EXPECT_TRUE(Tup({1, 2}) != Tup({1, 3}));
  EXPECT_FALSE(Tup({kNaN}) == Tup({kNaN}));
  EXPECT_FALSE(Tup({5, 5}) == 5);
  EXPECT_TRUE(Tup({5}) == 5.0);
  EXPECT_TRUE(Vlong{5} == Tup({5}));
  EXPECT_TRUE(2.5 != Tup({"x"}));
  EXPECT_TRUE(VCtrlVal("x") == Tup({"x"}));
  ExpectRaise([] { (void)(Tup({1}) == Tup({VCtrlVal()})); },
              "VBool VCtrlVal::operator != (const VCtrlVal &loc_val) const", kWrongType);
}

TEST_F(TupleCompareTest, WholeTupleOrderIsLexicographic) {
  const VTuple empty;
  EXPECT_TRUE(empty < Tup({1}));
  EXPECT_FALSE(empty < empty);
  EXPECT_TRUE(empty <= empty);
  EXPECT_TRUE(empty >= empty);
  EXPECT_TRUE(Tup({1, 2}) < Tup({1, 3}));
  EXPECT_FALSE(Tup({2}) < Tup({1, 3}));
  EXPECT_TRUE(Tup({2}) > Tup({1, 3}));
  EXPECT_TRUE(Tup({1, 2}) < Tup({1, 2, 0}));
  EXPECT_TRUE(Tup({"a", 1}) < Tup({"a", 2}));
  EXPECT_TRUE(Tup({"b"}) >= Tup({"a", "z"}));
  EXPECT_TRUE(Tup({1, "b"}) <= Tup({1.0, "b"}));
  EXPECT_TRUE(Tup({3}) > 2);
  EXPECT_TRUE(2.5 < Tup({3}));
  EXPECT_FALSE(Vlong{3} <= Tup({2, 9}));
  EXPECT_TRUE(VCtrlVal(1) < Tup({1, 0}));
  ExpectRaise([] { (void)(Tup({1}) < Tup({"1"})); }, OrderProc("<"),
              "wrong type: Vlong < string");
  ExpectRaise([] { (void)(Tup({"a"}) < Tup({1.0})); }, OrderProc("<"),
              "wrong type: double < string");
  // The order of the comparison is asked first.
  ExpectRaise([] { (void)(Tup({1}) > Tup({"1"})); }, OrderProc(">"),
              "wrong type: Vlong > string");
}

TEST_F(TupleCompareTest, NotANumberAnywhereMakesEveryOrderFalse) {
  const VTuple nan = Tup({kNaN});
  for (const auto& pair : {std::make_pair(nan, Tup({1})), std::make_pair(Tup({1}), nan),
                           std::make_pair(nan, nan),
                           std::make_pair(Tup({1, 2}), Tup({0, kNaN})),
                           std::make_pair(Tup({1}), Tup({2, 3, kNaN}))}) {
    SCOPED_TRACE(Show(pair.first) + " with " + Show(pair.second));
    EXPECT_FALSE(pair.first < pair.second);
    EXPECT_FALSE(pair.first > pair.second);
    EXPECT_FALSE(pair.first <= pair.second);
    EXPECT_FALSE(pair.first >= pair.second);
  }
  // Checked before any element is compared: no failure for the string.
  EXPECT_FALSE(Tup({"a", 1}) < Tup({1, kNaN}));
  EXPECT_FALSE(Tup({1, "a", kNaN}) >= Tup({1, 2}));
}

TEST_F(TupleCompareTest, SingleTruthNeedsOneElement) {
  EXPECT_EQ(!Tup({0}), 1);
  EXPECT_EQ(!Tup({0.5}), 1);
  EXPECT_EQ(Tup({1}) && Tup({2.0}), 1);
  EXPECT_EQ(Tup({1}) && Tup({0}), 0);
  EXPECT_EQ(Tup({0}) || Tup({-3}), 1);
  EXPECT_EQ(Tup({1}) && 0, 0);
  EXPECT_EQ(Tup({0}) || 7, 1);
  EXPECT_EQ(Vlong{1} && Tup({1}), 1);
  EXPECT_EQ(Vlong{0} || Tup({0}), 0);
  EXPECT_EQ(Tup({1}).Xor(Tup({0})), 1);
  EXPECT_EQ(Tup({1}).Xor(Tup({5})), 0);

  const VTuple two = Tup({1, 2});
  const struct {
    std::function<void()> action;
    const char* proc;
    const char* message;
  } cases[] = {
      {[&] { (void)!two; }, "VBool VTuple::operator ! (void) const", "tuple length != 1"},
      {[&] { (void)(two && two); }, "VBool VTuple::operator && (const VTuple &op) const",
       "tuple length != 1"},
      {[&] { (void)(Tup({1}) && two); }, "VBool VTuple::operator && (const VTuple &op) const",
       "tuple with incompatible length"},
      {[&] { (void)(two || two); }, "VBool VTuple::operator || (const VTuple &op) const",
       "tuple length != 1"},
      {[&] { (void)(two && 1); }, "VBool VTuple::operator && (long op) const",
       "tuple length != 1"},
      {[&] { (void)(VTuple() || 1); }, "VBool VTuple::operator || (long op) const",
       "tuple length != 1"},
      {[&] { (void)(Vlong{1} && two); }, "VBool operator && (long val1, const VTuple &val2)",
       "tuple length != 1"},
      {[&] { (void)(Vlong{1} || two); }, "VBool operator || (long val1, const VTuple &val2)",
       "tuple length != 1"},
      {[&] { two.Xor(Tup({1})); }, "VTuple VTuple::Xor(const VTuple &op) const",
       "tuple with incompatible length"},
      {[&] { (void)!Tup({"a"}); }, "long VCtrlVal::L() const", "wrong type: string"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.proc);
    ExpectRaise(c.action, c.proc, c.message);
  }
}

TEST_F(TupleCompareTest, ElementwiseLogicBroadcasts) {
  EXPECT_EQ(Show(Tup({1, 2}).And(Tup({1}))), "[1, 1]");
  EXPECT_EQ(Show(Tup({0, 3, 0.5}).Or(Tup({0, 0, 1}))), "[0, 1, 1]");
  EXPECT_EQ(Show(Tup({1}).TXor(Tup({0, 1, 2}))), "[1, 0, 0]");
  EXPECT_EQ(Show(Tup({0, 2, 0.5, -1.5}).Not()), "[1, 0, 1, 0]");
  EXPECT_EQ(VTuple().Not().Num(), 0);
  EXPECT_EQ(Tup({1}).And(VTuple()).Num(), 0);
  ExpectRaise([] { Tup({1, 2}).And(Tup({1, 2, 3})); },
              "Vexa::VTuple::And(const VTuple &val) const", "tuple with incompatible length");
  ExpectRaise([] { Tup({1, 2}).Or(Tup({1, 2, 3})); },
              "Vexa::VTuple::Or(const VTuple &val) const", "tuple with incompatible length");
  ExpectRaise([] { Tup({1, 2}).TXor(Tup({1, 2, 3})); },
              "Vexa::VTuple::TXor(const Vexa::VTuple &op) const",
              "tuple with incompatible length");

  // The right element is read only where the left does not decide.
  control_test::ScopedHandler handler(&Returning::Handle);
  Returning::raised = 0;
  EXPECT_EQ(Show(Tup({0, 1}).And(Tup({"x"}))), "[0, 0]");
  EXPECT_EQ(Returning::raised, 1);
  EXPECT_EQ(Show(Tup({1, 0}).Or(Tup({"x"}))), "[1, 0]");
  EXPECT_EQ(Returning::raised, 2);
  EXPECT_EQ(Show(Tup({1, 0}).TXor(Tup({"x"}))), "[1, 0]");
  EXPECT_EQ(Returning::raised, 4);
  EXPECT_EQ(Returning::proc, "long VCtrlVal::L() const");
}

TEST_F(TupleCompareTest, BitOperations) {
  EXPECT_EQ(Show(Tup({-8}) >> 1), "[-4]");
  EXPECT_EQ(Show(Tup({1}) << 64), "[1]");
  EXPECT_EQ(Show(Tup({1}) << -1), "[" + std::to_string(INT64_MIN) + "]");
  EXPECT_EQ(Show(Tup({1, 2}) << Tup({62, 63})), "[4611686018427387904, 0]");
  EXPECT_EQ(Show(Tup({6, 5.9}) & Tup({3})), "[2, 1]");
  EXPECT_EQ(Show(Tup({6}) | Tup({1, 8})), "[7, 14]");
  EXPECT_EQ(Show(Tup({6, 5}) ^ Tup({3, 3})), "[5, 6]");
  EXPECT_EQ(Show(Vlong{1} << Tup({3, 4})), "[8, 16]");
  EXPECT_EQ(Show(Vlong{-64} >> Tup({2})), "[-16]");
  EXPECT_EQ(Show(Vlong{12} & Tup({10})), "[8]");
  EXPECT_EQ(Show(Vlong{12} | Tup({3})), "[15]");
  EXPECT_EQ(Show(Vlong{12} ^ Tup({4})), "[8]");
  EXPECT_EQ((VTuple() & 1).Num(), 0);
  EXPECT_EQ(Show(~Tup({0, -1})), "[-1, 0]");

  const struct {
    std::function<void()> action;
    const char* proc;
  } lengths[] = {
      {[] { Tup({1, 2}) & Tup({1, 2, 3}); }, "VTuple VTuple::operator & (const VTuple &op) const"},
      {[] { Tup({1, 2}) | Tup({1, 2, 3}); }, "VTuple VTuple::operator | (const VTuple &op) const"},
      {[] { Tup({1, 2}) ^ Tup({1, 2, 3}); }, "VTuple VTuple::operator ^ (const VTuple &val) const"},
      {[] { Tup({1, 2}) << Tup({1, 2, 3}); },
       "VTuple VTuple::operator << (const VTuple &val) const"},
      {[] { Tup({1, 2}) >> Tup({1, 2, 3}); },
       "VTuple VTuple::operator >> (const VTuple &val) const"},
  };
  for (const auto& c : lengths) ExpectRaise(c.action, c.proc, "tuple with incompatible length");
  ExpectRaise([] { ~Tup({0.0}); }, "VTuple VTuple::operator ~ (void) const",
              "not of double value");
  ExpectRaise([] { ~Tup({"a"}); }, "VTuple VTuple::operator ~ (void) const",
              "neg of string value");
  ExpectRaise([] { Tup({"a"}) & 1; }, "long VCtrlVal::L() const", "wrong type: string");
}

TEST_F(TupleCompareTest, ContinueCountsUpOrDown) {
  EXPECT_EQ(Tup({3}).Continue(Tup({5}), Tup({1})), 1);
  EXPECT_EQ(Tup({5}).Continue(Tup({5}), Tup({0})), 1);
  EXPECT_EQ(Tup({6}).Continue(Tup({5}), Tup({2})), 0);
  EXPECT_EQ(Tup({6}).Continue(Tup({5.5}), Tup({-0.5})), 1);
  EXPECT_EQ(Tup({5}).Continue(Tup({6}), Tup({-1})), 0);
  ExpectRaise([] { VTuple().Continue(Tup({1}), Tup({1})); },
              "VCtrlVal VTuple::operator [] (long index) const",
              "index out of range: index = 0, Num() = 0\n");
}

TEST_F(TupleCompareTest, RuntimeComputesTypesAndElementComparisons) {
  const VTuple mixed = Tup({1, 2.5, "a"});
  EXPECT_EQ(Show(mixed.TypeElem()), "[1, 2, 4]");
  EXPECT_EQ(Show(mixed.Type()), "[8]");
  EXPECT_EQ(Show(mixed.IsMixed()), "[1]");
  EXPECT_EQ(Show(mixed.IsIntElem()), "[1, 0, 0]");
  EXPECT_EQ(Show(mixed.IsRealElem()), "[0, 1, 0]");
  EXPECT_EQ(Show(mixed.IsStringElem()), "[0, 0, 1]");
  EXPECT_EQ(Show(Tup({1, 2}).IsInt()), "[1]");
  EXPECT_EQ(Show(Tup({1.5}).IsReal()), "[1]");
  EXPECT_EQ(Show(Tup({"x"}).IsString()), "[1]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).EqualElem(Tup({1, 0, 3}))), "[1, 0, 1]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).NotEqualElem(Tup({2}))), "[1, 0, 1]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).GreaterElem(Tup({2}))), "[0, 0, 1]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).GreaterEqualElem(Tup({2}))), "[0, 1, 1]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).LessElem(Tup({2}))), "[1, 0, 0]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).LessEqualElem(Tup({2}))), "[1, 1, 0]");
}

Vresult FailWithTooLarge(void*) { return VERR_TOO_LARGE; }

TEST_F(TupleCompareTest, RuntimeFailureIsRaisedWithItsText) {
  char text[1024];
  VErrorMessage(VERR_TOO_LARGE, text);
  {
    frame_test::ScopedOperator failing(frame_test::OperatorIndex("tuple_is_int"),
                                       &FailWithTooLarge);
    ExpectRaise([] { Tup({1}).IsInt(); }, "Vexa::VTuple Vexa::VTuple::IsInt(void)", text);
  }
  frame_test::ScopedOperator failing(frame_test::OperatorIndex("tuple_less_elem"),
                                     &FailWithTooLarge);
  ExpectRaise([] { Tup({1}).LessElem(Tup({2})); },
              "Vexa::VTuple Vexa::VTuple::LessElem(const VTuple &val)", text);
}

}  // namespace
