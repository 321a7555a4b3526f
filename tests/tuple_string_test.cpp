// String tuple methods: the search family and its empty-pattern rules,
// Substring and StrBitSelect checks, flattening Split, the ToString
// pattern table, Number parsing, character codes, and the thin methods'
// procedure texts.
#include <locale.h>
#include <stdlib.h>

#include <functional>
#include <string>

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

class TupleStringTest : public control_test::ThrowingTest {};

TEST_F(TupleStringTest, SearchFamily) {
  const struct {
    VTuple (VTuple::*search)(const char*) const;
    const char* text;
    const char* pattern;
    Vlong position;
  } cases[] = {
      {&VTuple::Strchr, "abc", "xc", 2},     {&VTuple::Strchr, "abc", "x", -1},
      {&VTuple::Strchr, "abc", "", -1},      {&VTuple::Strchr, "abcb", "cb", 1},
      {&VTuple::Strrchr, "abcb", "ab", 3},   {&VTuple::Strrchr, "abc", "", -1},
      {&VTuple::Strstr, "abcabc", "bc", 1},  {&VTuple::Strstr, "abc", "", 0},
      {&VTuple::Strstr, "abc", "cb", -1},    {&VTuple::Strrstr, "abcabc", "bc", 4},
      {&VTuple::Strrstr, "abc", "", 3},      {&VTuple::Strrstr, "ab", "abc", -1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ("[" + std::to_string(c.position) + "]", Show((Tup({c.text}).*c.search)(c.pattern)))
        << c.text << " / " << c.pattern;
  }
  // Texts longer than the first working buffer.
  const std::string tail = std::string(3000, 'a') + "z";
  EXPECT_EQ("[3000, 0]", Show(Tup({tail.c_str(), "z"}).Strrchr("z")));
  // An empty tuple never looks at its pattern.
  EXPECT_EQ("[]", Show(VTuple().Strstr(Tup({1, 2}))));
}

TEST_F(TupleStringTest, TupleFormsNeedOnePattern) {
  ExpectRaise([] { Tup({"a"}).Strchr(Tup({"a", "b"})); },
              "VTuple VTuple::Strchr(const VTuple &pattern) const", "length of pattern != 1");
  ExpectRaise([] { Tup({"a"}).Split(VTuple()); },
              "VTuple VTuple::Split(const VTuple &pattern) const", "length of pattern != 1");
  ExpectRaise([] { Tup({"a"}).ToString(Tup({1})); }, "const char * VCtrlVal::S() const",
              "wrong type: long");
  EXPECT_EQ("[1]", Show(Tup({"ab"}).Strrstr(Tup({"b"}))));
}

TEST_F(TupleStringTest, StrlenReadsStringsOnly) {
  EXPECT_EQ("[3, 0]", Show(Tup({"abc", ""}).Strlen()));
  ExpectRaise([] { Tup({1}).Strlen(); }, "const char * VCtrlVal::S() const", "wrong type: long");
}

TEST_F(TupleStringTest, SubstringChecksInOrder) {
  static const char proc[] = "VTuple VTuple::Substring(long index1, long index2) const";
  EXPECT_EQ("[\"b\", \"b\"]", Show(Tup({"abc", "abcd"}).Substring(1, 1)));
  EXPECT_EQ("[\"bcd\"]", Show(Tup({"abcd"}).Substring(1, 3)));
  const struct {
    VCtrlVal element;
    Vlong index1, index2;
    const char* message;
  } failures[] = {
      {VCtrlVal(1.5), 0, 0, "wrong type (double)"},  {VCtrlVal(Vlong{1}), 0, 0, "wrong type (Vlong)"},
      {VCtrlVal(""), 0, 0, "index1 out of range"},   {VCtrlVal("abc"), 3, 0, "index1 out of range"},
      {VCtrlVal("abc"), 0, -1, "index2 out of range"}, {VCtrlVal("abc"), 2, 1, "index2 < index1"},
  };
  for (const auto& f : failures) {
    ExpectRaise([&] { VTuple(f.element).Substring(f.index1, f.index2); }, proc, f.message);
  }
  ExpectRaise([] { Tup({"abc"}).Substring(Tup({1, 2}), Tup({1})); },
              "VTuple VTuple::Substring(const VTuple &index1, const VTuple &index2) const",
              "length of index1 != 1");
  ExpectRaise([] { Tup({"abc"}).Substring(Tup({1, 2}), 1); },
              "VTuple VTuple::Substring(const VTuple &index1, long &index2) const",
              "length of index1 != 1");
  ExpectRaise([] { Tup({"abc"}).Substring(1, VTuple()); },
              "VTuple VTuple::Substring(long  index1, const VTuple &index2) const",
              "length of index2 != 1");
  EXPECT_EQ("[\"bc\"]", Show(Tup({"abc"}).Substring(Tup({1.9}), Tup({2}))));
}

TEST_F(TupleStringTest, StrBitSelectPicksCharactersAndBits) {
  EXPECT_EQ("[1, \"c\"]", Show(Tup({5, "abc"}).StrBitSelect(2)));
  EXPECT_EQ("[0]", Show(Tup({5}).StrBitSelect(1)));
  EXPECT_EQ("[1]", Show(Tup({Vlong{1} << 63}).StrBitSelect(63)));
  ExpectRaise([] { Tup({1.0}).StrBitSelect(0); },
              "VTuple VTuple::StrBitSelect(VTuple index) const",
              "Operator not defined for double value");
  ExpectRaise([] { Tup({1}).StrBitSelect(Tup({0, 1})); },
              "VTuple VTuple::StrBitSelect(const VTuple &index) const", "length of index != 1");
}

TEST_F(TupleStringTest, SplitFlattensAndDropsEmptyPieces) {
  EXPECT_EQ("[\"a\", \"b\"]", Show(Tup({"a,,b,"}).Split(",")));
  EXPECT_EQ("[\"a\", \"b\", \"c\"]", Show(Tup({"a b", "c"}).Split(" ")));
  EXPECT_EQ("[\"a\", \"b\", \"c\"]", Show(Tup({";a,b;c", ""}).Split(",;")));
  EXPECT_EQ("[\"a,b\"]", Show(Tup({"a,b"}).Split("")));
  ExpectRaise([] { Tup({1}).Split(","); }, "const char * VCtrlVal::S() const",
              "wrong type: long");
}

TEST_F(TupleStringTest, ToStringPatternsByElementType) {
  const struct {
    VCtrlVal element;
    const char* pattern;
    const char* text;
  } cases[] = {
      {VCtrlVal(Vlong{1}), ".2f", "1.00"},
      {VCtrlVal(Vlong{255}), "#x", "0xff"},
      {VCtrlVal(Vlong{-5}), "+05d", "-0005"},
      {VCtrlVal(Vlong{1234567890123}), "", "1234567890123"},
      // An integer conversion reads only the low 32 bits.
      {VCtrlVal(Vlong{4294967297}), "d", "1"},
      {VCtrlVal(1.5), "", "1.5"},
      {VCtrlVal(1234567.0), "", "1.23457e+06"},
      {VCtrlVal(3.14159), "10.3", "      3.14"},
      {VCtrlVal(2.0), "E", "2.000000E+00"},
      {VCtrlVal("a"), "5", "    a"},
      {VCtrlVal("abc"), "-4s", "abc "},
      {VCtrlVal("abcdef"), ".2", "ab"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(std::string("[\"") + c.text + "\"]", Show(VTuple(c.element).ToString(c.pattern)))
        << c.pattern;
  }
  // Never cut, however wide.
  EXPECT_EQ(400u, strlen(Tup({"x"}).ToString("400")[0].S()));
  EXPECT_EQ("[]", Show(VTuple().ToString("y")));
}

TEST_F(TupleStringTest, ToStringFailures) {
  static const char proc[] = "VTuple VTuple::ToString(const char *pattern) const";
  for (const char* bad : {"y", "d5", "5.2.1", "dd", "%d", "l"}) {
    ExpectRaise([&] { Tup({1}).ToString(bad); }, proc, "invalid pattern");
  }
  const struct {
    VCtrlVal element;
    const char* pattern;
  } incompatible[] = {
      {VCtrlVal(1.5), "d"}, {VCtrlVal(1.5), "s"}, {VCtrlVal(Vlong{1}), "s"},
      {VCtrlVal("a"), "d"}, {VCtrlVal("a"), "f"},
  };
  for (const auto& c : incompatible) {
    ExpectRaise([&] { VTuple(c.element).ToString(c.pattern); }, proc,
                "incompatible pattern and type");
  }
}

TEST_F(TupleStringTest, ToStringAndNumberIgnoreTheLocale) {
  // A locale with a decimal comma, if the system has one.
  const char* comma_locales[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"};
  const std::string old = setlocale(LC_NUMERIC, nullptr);
  bool switched = false;
  for (const char* name : comma_locales) switched = switched || setlocale(LC_NUMERIC, name);
  EXPECT_EQ("[\"1.5\"]", Show(Tup({1.5}).ToString("")));
  EXPECT_EQ("[1.5]", Show(Tup({"1.5"}).Number()));
  setlocale(LC_NUMERIC, old.c_str());
  if (!switched) GTEST_LOG_(INFO) << "no decimal-comma locale installed";
}

TEST_F(TupleStringTest, NumberAndIsNumber) {
  const VTuple in = Tup({"12", "0x10", "1.5", "abc", "", " 7", "7 ", "010", "99999999999", 2.5});
  EXPECT_EQ("[12, 16, 1.5, \"abc\", 0, 7, \"7 \", 8, 2147483647, 2.5]", Show(in.Number()));
  EXPECT_EQ("[1, 1, 1, 0, 1, 1, 0, 1, 1, 1]", Show(in.IsNumber()));
  // A leading zero is octal for the integer parse; 08 is left to the real one.
  EXPECT_EQ("[8.0, -2147483648]", Show(Tup({"08", "-99999999999"}).Number()));
}

TEST_F(TupleStringTest, CharacterCodes) {
  EXPECT_EQ("[\"a\", \"\", \"b\"]", Show(Tup({97, 0, 98.7}).Chr()));
  for (int bad : {256, -1}) {
    ExpectRaise([&] { Tup({bad}).Chr(); }, "VTuple VTuple::Chr(void) const",
                "integer value out of range");
  }
  EXPECT_EQ("[97, 255]", Show(Tup({"a", "\xff"}).Ord()));
  ExpectRaise([] { Tup({"ab"}).Ord(); }, "VTuple VTuple::Ord(void) const", "string length != 1");
  EXPECT_EQ("[97, 98, 255, 5]", Show(Tup({"ab", "\xff", 5}).Ords()));
  ExpectRaise([] { Tup({1.0}).Ords(); }, "VTuple VTuple::Ords(void) const", "wrong type: double");
}

TEST_F(TupleStringTest, ChrtJoinsRunsAtZeros) {
  EXPECT_EQ("[\"ab\", \"c\"]", Show(Tup({97, 98, 0, 99}).Chrt()));
  EXPECT_EQ("[0, \"a\"]", Show(Tup({0, 97}).Chrt()));
  EXPECT_EQ("[\"a\", 0]", Show(Tup({97, 0, 0}).Chrt()));
  EXPECT_EQ("[]", Show(VTuple().Chrt()));
  static const char proc[] = "VTuple VTuple::Chrt(void) const";
  ExpectRaise([] { Tup({1.0}).Chrt(); }, proc, "wrong type: double");
  ExpectRaise([] { Tup({"a"}).Chrt(); }, proc, "wrong type: string");
  ExpectRaise([] { Tup({256}).Chrt(); }, proc, "integer value out of range");
}

TEST_F(TupleStringTest, GetenvGivesTheValueOrEmpty) {
  setenv("VEXA_TUPLE_TEST_VAR", "on", 1);
  unsetenv("VEXA_TUPLE_TEST_UNSET");
  EXPECT_EQ("[\"on\", \"\"]", Show(Tup({"VEXA_TUPLE_TEST_VAR", "VEXA_TUPLE_TEST_UNSET"}).Getenv()));
}

TEST_F(TupleStringTest, ThinMethodsReportUnderTheirOwnText) {
  // The runtime may or may not offer the operators; whatever code it
  // returns, a failure names the method.
  const struct {
    std::function<void()> call;
    const char* proc;
  } cases[] = {
      {[] { Tup({"abc"}).RegexpMatch("("); }, "VTuple VTuple::RegexpMatch(const char *expression)"},
      {[] { Tup({"abc"}).RegexpMatch(Tup({"("})); },
       "VTuple VTuple::RegexpMatch(const VTuple& expression)"},
      {[] { Tup({"abc"}).RegexpSelect("("); },
       "VTuple VTuple::RegexpSelect(const VTuple& expression)"},
      {[] { Tup({"abc"}).RegexpTest("("); }, "VTuple VTuple::RegexpTest(const char *expression)"},
      {[] { Tup({"abc"}).RegexpReplace("(", "x"); },
       "VTuple VTuple::RegexpReplace(const char *expression, const char *replace)"},
      {[] { Tup({1}).Substr(Tup({0}), Tup({0})); },
       "VTuple VTuple::Substr(const VTuple& index1, const VTuple &index2)"},
  };
  for (const auto& c : cases) {
    try {
      c.call();
      ADD_FAILURE() << "no raise under " << c.proc;
    } catch (const Vexa::VException& e) {
      EXPECT_STREQ(c.proc, e.proc);
    }
  }
}

TEST_F(TupleStringTest, NoLeaks) {
  control_test::ScopedMemTrace trace;
  {
    const VTuple t = Tup({"a,b", "c", "dd"});
    t.Split(",").ToString("3").Strchr("c").Num();
    EXPECT_THROW(Tup({"ab", 1.0}).Substring(0, 1), Vexa::VException);
    EXPECT_THROW(Tup({97, 0, 98, 1.0}).Chrt(), Vexa::VException);
  }
  EXPECT_EQ(0, trace.Leaked()) << trace.Report();
}

}  // namespace
