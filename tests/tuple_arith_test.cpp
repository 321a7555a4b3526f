// Tuple arithmetic: result types and promotion of the element operators,
// concatenation texts, the failure messages of every type pair (including
// the ones that name another operator), the broadcast order, the
// descending write, unary minus, += and ++.
#include <clocale>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>

#include <vexa/runtime.h>
#include <vexaobj/VTuple.h>

#include "control_test_support.h"
#include "tuple_test_support.h"

using Vexa::VCtrlVal;
using Vexa::Vlong;
using Vexa::VTuple;
using control_test::ExpectRaise;
using tuple_test::Probe;
using tuple_test::Show;
using tuple_test::Tup;

namespace {

class TupleArithTest : public control_test::ThrowingTest {};

const Vlong kMin = INT64_MIN;
const Vlong kMax = INT64_MAX;

using ValueOp = std::function<VCtrlVal(const VCtrlVal&, const VCtrlVal&)>;
const ValueOp kAdd = [](const VCtrlVal& a, const VCtrlVal& b) { return a + b; };
const ValueOp kSub = [](const VCtrlVal& a, const VCtrlVal& b) { return a - b; };
const ValueOp kMul = [](const VCtrlVal& a, const VCtrlVal& b) { return a * b; };
const ValueOp kDiv = [](const VCtrlVal& a, const VCtrlVal& b) { return a / b; };
const ValueOp kMod = [](const VCtrlVal& a, const VCtrlVal& b) { return a % b; };

std::string ElemProc(char op) {
  return std::string("VCtrlVal VCtrlVal::operator ") + op + " (const VCtrlVal &loc_val) const";
}

TEST_F(TupleArithTest, NumbersPromoteOnlyWithAReal) {
  const struct {
    VCtrlVal a, b;
    const ValueOp& op;
    std::string expected;
  } cases[] = {
      {7, 2, kDiv, "3"},           {-7, 2, kDiv, "-3"},
      {-7, 2, kMod, "-1"},         {7, -2, kMod, "1"},
      {7, 2.0, kDiv, "3.5"},       {7.0, 2, kDiv, "3.5"},
      {2, 3, kMul, "6"},           {2, 0.5, kMul, "1.0"},
      {1, 2.5, kAdd, "3.5"},       {1.5, 1, kSub, "0.5"},
      {kMax, 1, kAdd, std::to_string(kMin)},
      {kMin, -1, kMul, std::to_string(kMin)},
      {kMin, 1, kSub, std::to_string(kMax)},
      {1.0, 0, kDiv, "inf"},       {-1, 0.0, kDiv, "-inf"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(tuple_test::ShowValue(c.op(c.a, c.b)), c.expected)
        << tuple_test::ShowValue(c.a) << " with " << tuple_test::ShowValue(c.b);
  }
  EXPECT_TRUE(std::isnan((VCtrlVal(0.0) / VCtrlVal(0)).D()));
}

TEST_F(TupleArithTest, PlusJoinsTextInOperandOrder) {
  const struct {
    VCtrlVal a, b;
    const char* expected;
  } cases[] = {
      {1, "a", "1a"},
      {"a", 1, "a1"},
      {"a", "b", "ab"},
      {1.5, "x", "1.5x"},
      {"x", 1234567.0, "x1.23457e+06"},
      {"x", 1e-5, "x1e-05"},
      {"x", -0.0, "x-0"},
      {kMin, "", "-9223372036854775808"},
      {"", "", ""},
  };
  for (const auto& c : cases) {
    const VCtrlVal sum = c.a + c.b;
    ASSERT_EQ(sum.ValType(), VPAR_STRING);
    EXPECT_STREQ(sum.S(), c.expected);
  }
  // A string longer than any fixed working buffer is joined whole.
  const std::string long_text(5000, 'z');
  EXPECT_EQ(std::string((VCtrlVal(7) + VCtrlVal(long_text.c_str())).S()), "7" + long_text);
  EXPECT_EQ(std::string((VCtrlVal(long_text.c_str()) + VCtrlVal(long_text.c_str())).S()),
            long_text + long_text);
}

TEST_F(TupleArithTest, RealTextIgnoresTheApplicationLocale) {
  const std::string old = setlocale(LC_NUMERIC, nullptr);
  if (setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr &&
      setlocale(LC_NUMERIC, "de_DE") == nullptr) {
    GTEST_SKIP() << "no locale with a decimal comma installed";
  }
  const std::string text = (VCtrlVal("x") + VCtrlVal(1.5)).S();
  setlocale(LC_NUMERIC, old.c_str());
  EXPECT_EQ(text, "x1.5");
}

// Every type pair without an operation, with the exact words, including
// those that name another operator than the failing one.
TEST_F(TupleArithTest, EveryFailingPairHasItsMessage) {
  VCtrlVal undef;
  VCtrlVal bad;
  tuple_test::SetBadTag(bad);
  const VCtrlVal l(1), d(1.0), s("s");
  const struct {
    const VCtrlVal& a;
    const VCtrlVal& b;
    char op;
    const char* message;
  } cases[] = {
      {l, d, '%', "wrong type: Vlong % double"},
      {l, s, '-', "wrong type: Vlong - string"},
      {l, s, '*', "wrong type: Vlong - string"},
      {l, s, '/', "wrong type: Vlong - string"},
      {l, s, '%', "wrong type: Vlong % string"},
      {l, undef, '+', "internal error: wrong type"},
      {l, undef, '-', "2nd parameter not instantiated"},
      {l, undef, '%', "2nd parameter not instantiated"},
      {d, s, '-', "wrong type: double - string"},
      {d, s, '*', "wrong type: double * string"},
      {d, s, '/', "wrong type: double / string"},
      {d, s, '%', "wrong type: Vlong/double/string % string"},
      {d, l, '%', "wrong type: Vlong/double/string % string"},
      {d, undef, '+', "2nd parameter not instantiated"},
      {d, undef, '/', "2nd parameter not instantiated"},
      {d, undef, '%', "wrong type: Vlong/double/string % string"},
      {s, l, '-', "wrong type: Vlong/double/string - string"},
      {s, s, '*', "wrong type: Vlong/double/string * string"},
      {s, d, '/', "wrong type: Vlong/double/string / string"},
      {s, undef, '%', "wrong type: Vlong/double/string % string"},
      {s, undef, '+', "2nd parameter not instantiated"},
      {undef, l, '+', "not instantiated"},
      {undef, l, '-', "1st parameter not instantiated"},
      {undef, undef, '%', "1st parameter not instantiated"},
      {l, bad, '+', "internal error: wrong type"},
      {d, bad, '*', "internal error: wrong type"},
      {s, bad, '+', "internal error: wrong type"},
      {bad, l, '-', "internal error: wrong type"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(1, c.op) + " expecting " + c.message);
    const ValueOp& op = c.op == '+' ? kAdd : c.op == '-' ? kSub : c.op == '*' ? kMul
                      : c.op == '/' ? kDiv : kMod;
    ExpectRaise([&] { op(c.a, c.b); }, ElemProc(c.op), c.message);
  }
}

TEST_F(TupleArithTest, ReturningHandlerGivesIntegerZeroAndGoesOn) {
  control_test::ScopedHandler handler(&control_test::Returning::Handle);
  control_test::Returning::raised = 0;
  EXPECT_EQ(Show(Tup({1, "a", 3}) - 1), "[0, 0, 2]");
  EXPECT_EQ(control_test::Returning::raised, 1);
  EXPECT_EQ(control_test::Returning::message, "wrong type: Vlong/double/string - string");
  EXPECT_EQ(Show(Tup({1, 2}) + Tup({1, 2, 3})), "[]");
  EXPECT_EQ(control_test::Returning::raised, 2);
}

TEST_F(TupleArithTest, BroadcastKeepsTheLeftOperandLeft) {
  const VTuple empty;
  const VTuple three = Tup({1, 2, 3});
  EXPECT_EQ((empty + three).Num(), 0);
  EXPECT_EQ((three + empty).Num(), 0);
  EXPECT_EQ((Tup({"a", 1}) - empty).Num(), 0);  // no element is looked at
  EXPECT_EQ(Show(Tup({10}) - three), "[9, 8, 7]");
  EXPECT_EQ(Show(three - Tup({10})), "[-9, -8, -7]");
  EXPECT_EQ(Show(Tup({7, 8, 9}) % Tup({4, 5, 6})), "[3, 3, 3]");
  EXPECT_EQ(Show(Tup({"a"}) + Tup({"b", "c"})), R"(["ab", "ac"])");
  EXPECT_EQ(Show(Tup({"b", "c"}) + Tup({"a"})), R"(["ba", "ca"])");
  EXPECT_EQ(Show(Tup({7}) / Tup({2})), "[3]");
  EXPECT_EQ(Show(Tup({7}) / Tup({2.0})), "[3.5]");
  EXPECT_EQ(Show(Tup({1, 2.5, "a"}) + 1), R"([2, 3.5, "a1"])");
  EXPECT_EQ(Show(1 + Tup({1, 2.5, "a"})), R"([2, 3.5, "1a"])");
  ExpectRaise([&] { Tup({1, 2}) + three; },
              "VTuple VTuple::operator + (const VTuple &val) const",
              "tuple with incompatible length");
  ExpectRaise([&] { Tup({1, 2}) % three; },
              "VTuple VTuple::operator % (const VTuple &val) const",
              "tuple with incompatible length");
  ExpectRaise([&] { Tup({1}) * Tup({"a"}); }, ElemProc('*'), "wrong type: Vlong - string");
  ExpectRaise([&] { Tup({1.0}) % Tup({2}); }, ElemProc('%'),
              "wrong type: Vlong/double/string % string");
  ExpectRaise([&] { Tup({1}) % Tup({2.0}); }, ElemProc('%'), "wrong type: Vlong % double");
}

TEST_F(TupleArithTest, ScalarFormsOnBothSides) {
  const VTuple t = Tup({7, 8});
  EXPECT_EQ(Show(t / 2), "[3, 4]");
  EXPECT_EQ(Show(t / 2.0), "[3.5, 4.0]");
  EXPECT_EQ(Show(t % Vlong{5}), "[2, 3]");
  EXPECT_EQ(Show(Vlong{20} % t), "[6, 4]");
  EXPECT_EQ(Show(56 / t), "[8, 7]");
  EXPECT_EQ(Show(1.0 - t), "[-6.0, -7.0]");
  EXPECT_EQ(Show(Vlong{2} * t), "[14, 16]");
  EXPECT_EQ(Show(t + "x"), R"(["7x", "8x"])");
  EXPECT_EQ(Show("x" + t), R"(["x7", "x8"])");
  EXPECT_EQ((VTuple() + "x").Num(), 0);
  EXPECT_EQ(Show(VCtrlVal(10) - t), "[3, 2]");
  EXPECT_EQ(Show(VCtrlVal("a") + Tup({1, "b"})), R"(["a1", "ab"])");
  EXPECT_EQ((VCtrlVal(1) * VTuple()).Num(), 0);
}

TEST_F(TupleArithTest, ResultIsSizedByOneExtension) {
  VTuple t;
  for (int i = 0; i < 1000; ++i) t[i] = i;
  {
    control_test::ScopedMemTrace trace;
    const Vlong before = VMemTraceAllocCount();
    const VTuple sum = t + 1;
    EXPECT_EQ(VMemTraceAllocCount() - before, 1);
    EXPECT_EQ(sum[999].L(), 1000);
  }
  // The first write goes to the last index: the growth rule sizes from it.
  EXPECT_EQ(Probe(Tup({1, 2, 3, 4, 5}) * 2).AllocNum(), 6);
  EXPECT_EQ(Probe(Tup({1}) - Tup({1, 2, 3, 4, 5})).AllocNum(), 6);

  // The room beyond the length holds undefined values, also where the
  // block was used before: a block of the same size is freed with a value
  // in every entry just before the result takes it.
  const VTuple five = Tup({1, 2, 3, 4, 5});
  { const VTuple junk(6, VTuple(7)); }
  VTuple grown = five * 2;
  grown[5];
  EXPECT_EQ(Show(grown), "[2, 4, 6, 8, 10, undef]");
}

TEST_F(TupleArithTest, UndefinedGapsFailByTheirSide) {
  VTuple gap;
  gap[2] = 5;
  ExpectRaise([&] { gap + 1; }, ElemProc('+'), "not instantiated");
  ExpectRaise([&] { gap - 1; }, ElemProc('-'), "1st parameter not instantiated");
  ExpectRaise([&] { 1 - gap; }, ElemProc('-'), "2nd parameter not instantiated");
  ExpectRaise([&] { 1 + gap; }, ElemProc('+'), "internal error: wrong type");
}

TEST_F(TupleArithTest, UnaryMinusSkipsWhatItCannotNegate) {
  const VTuple neg = -Tup({1, -2.5, kMin, 0.0});
  EXPECT_EQ(Show(neg), "[-1, 2.5, " + std::to_string(kMin) + ", -0.0]");
  EXPECT_TRUE(std::signbit(neg[3].D()));
  ExpectRaise([] { -Tup({1, "a"}); }, "VTuple VTuple::operator - (void) const",
              "neg of string value");

  VTuple trailing = Tup({1});
  trailing[3] = VCtrlVal();  // elements 1 to 3 undefined
  EXPECT_EQ(Show(-trailing), "[-1]");
  VTuple inner;
  inner[1] = 2;
  EXPECT_EQ(Show(-inner), "[undef, -2]");
  EXPECT_EQ((-VTuple()).Num(), 0);
}

TEST_F(TupleArithTest, PlusAssignFollowsItsOwnRule) {
  VTuple t = Tup({1, 2});
  t += 1;
  EXPECT_EQ(Show(t), "[2, 3]");
  t += Tup({10, 20});
  EXPECT_EQ(Show(t), "[12, 23]");
  t += Tup({0.5});
  EXPECT_EQ(Show(t), "[12.5, 23.5]");
  t += t;
  EXPECT_EQ(Show(t), "[25.0, 47.0]");
  t += VCtrlVal("!");
  EXPECT_EQ(Show(t), R"(["25!", "47!"])");

  VTuple five = Tup({5});
  five += Tup({1, 2});
  EXPECT_EQ(Show(five), "[6, 7]");
  VTuple text = Tup({"a"});
  text += Tup({"b", 1});
  EXPECT_EQ(Show(text), R"(["ab", "a1"])");

  VTuple single = Tup({9});
  single += VTuple();  // unlike operator+, the element is lost
  EXPECT_EQ(single.Num(), 0);
  EXPECT_EQ(Probe(single).AllocNum(), 0);
  VTuple empty;
  empty += VTuple();
  empty += 3;
  EXPECT_EQ(empty.Num(), 0);

  VTuple pair = Tup({1, 2});
  ExpectRaise([&] { pair += VTuple(); }, "VTuple& VTuple::operator += (const VTuple &val)",
              "wrong number of elements: Num() = 2, val.Num() = 0\n");
  ExpectRaise([&] { pair += Tup({1, 2, 3}); },
              "VTuple& VTuple::operator += (const VTuple &val)",
              "wrong number of elements: Num() = 2, val.Num() = 3\n");
  EXPECT_EQ(Show(pair), "[1, 2]");
}

TEST_F(TupleArithTest, FailureInPlaceKeepsTheLowerElements) {
  VTuple t = Tup({1, 2, 3});
  t[1] = VCtrlVal();
  ExpectRaise([&] { t += 1; }, ElemProc('+'), "not instantiated");
  EXPECT_EQ(Show(t), "[1, undef, 4]");
}

TEST_F(TupleArithTest, IncrementAddsTheIntegerOne) {
  VTuple t = Tup({1, 2.0, "x"});
  ++++t;
  EXPECT_EQ(Show(t), R"([3, 4.0, "x11"])");
  VTuple empty;
  EXPECT_EQ((++empty).Num(), 0);
}

// The loops write each result element once, into storage that is not
// cleared first; a failure that throws part way must still leave a result
// whose written texts are released and whose other entries are harmless.
TEST_F(TupleArithTest, FailureThrownPartWayReleasesTheWrittenTexts) {
  control_test::ScopedMemTrace trace;
  {
    VTuple gap = Tup({1, "a", "b"});
    gap[0] = VCtrlVal();
    ExpectRaise([&] { gap + "x"; }, ElemProc('+'), "not instantiated");
    ExpectRaise([&] { gap + Tup({"x", "y", "z"}); }, ElemProc('+'), "not instantiated");
    ExpectRaise([] { -Tup({"a", 1, 2.5}); }, "VTuple VTuple::operator - (void) const",
                "neg of string value");
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

TEST_F(TupleArithTest, TextsAndFailuresLeakNothing) {
  control_test::ScopedMemTrace trace;
  {
    control_test::ScopedHandler handler(&control_test::Returning::Handle);
    VTuple t = Tup({1, 2.5, "a", "b"});
    VTuple r = t + t + "c" + 1.5;
    r += Tup({"z"});
    ++r;
    r = -r + (t * Tup({"x"})) - t;
    VTuple one = Tup({"q"});
    one += Tup({"a", "b"});
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

TEST(TupleArithDeathTest, IntegerDivisionByZeroIsTheProcessorsFault) {
  // No message of the library: the division instruction itself faults.
  EXPECT_DEATH(Tup({1}) / Tup({0}), "");
  EXPECT_DEATH(Tup({kMin}) % Tup({-1}), "");
}

}  // namespace
