// Sequence tuple methods: the differences between Select and Subset, masks,
// removal and in-place replacement, sorting by the element order with its
// failures, rank selection, Uniq, Find's two empty results, Sum and Cumul,
// and the thin methods' procedure texts.
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

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

class TupleSequenceTest : public control_test::ThrowingTest {};

TEST_F(TupleSequenceTest, SelectAndSubsetDifferInMessagesOrderAndEmptyCase) {
  const VTuple t = Tup({10, 20.5, "x"});
  EXPECT_EQ("[\"x\", 10, \"x\", 20.5]", Show(t.Select(Tup({2, 0, 2.9, 1}))));
  EXPECT_EQ("[\"x\", 10]", Show(t.Subset(Tup({2, 0}))));
  static const char select[] = "VTuple VTuple::Select(const VTuple &Index)";
  static const char subset[] = "VTuple VTuple::Subset(const VTuple &index) const";
  // Select reports the first bad index, Subset the last.
  ExpectRaise([&] { t.Select(Tup({-1, 5})); }, select, "'Index' must be >= 0");
  ExpectRaise([&] { t.Select(Tup({5, -1})); }, select, "'Index' out of range");
  ExpectRaise([&] { t.Subset(Tup({-1, 5})); }, subset,
              "index out of range: index = 5, Num() = 3\n");
  ExpectRaise([] { VTuple().Select(Tup({0})); }, select, "'Index' out of range");
  EXPECT_EQ("[]", Show(VTuple().Subset(Tup({7}))));
  EXPECT_EQ("[]", Show(t.Select(VTuple())));
}

TEST_F(TupleSequenceTest, SelectMaskTruncatesRealMasks) {
  EXPECT_EQ("[\"b\", \"d\"]", Show(Tup({"a", "b", "c", "d"}).SelectMask(Tup({0.9, 1.9, -1, 2}))));
  EXPECT_EQ("[]", Show(VTuple().SelectMask(Tup({1}))));
  ExpectRaise([] { Tup({1, 2}).SelectMask(Tup({1})); },
              "VTuple VTuple::SelectMask(const VTuple &mask) const",
              "tuple with incompatible length");
}

TEST_F(TupleSequenceTest, RemoveIgnoresBadAndRepeatedIndexes) {
  EXPECT_EQ("[1, 3]", Show(Tup({1, 2, 3}).Remove(Tup({5, -1, 1, 1}))));
  EXPECT_EQ("[]", Show(Tup({1, 2}).Remove(Tup({1, 0}))));
  EXPECT_EQ("[]", Show(VTuple().Remove(Tup({0}))));
}

TEST_F(TupleSequenceTest, ReplaceElementsGrowsThroughIndexes) {
  VTuple t = Tup({1, 2});
  t.ReplaceElements(Tup({4}), Tup({9}));
  EXPECT_EQ("[1, 2, undef, undef, 9]", Show(t));
  t.ReplaceElements(Tup({0, 1, 0}), Tup({"a", "b", "c"}));
  EXPECT_EQ("[\"c\", \"b\", undef, undef, 9]", Show(t));
  VTuple empty;
  empty.ReplaceElements(VTuple(), VTuple());
  EXPECT_EQ("[undef]", Show(empty));

  static const char proc[] =
      "void VTuple::ReplaceElements(const VTuple &Index,const VTuple &ReplaceValue)";
  VTuple kept = Tup({1, 2});
  ExpectRaise([&] { kept.ReplaceElements(Tup({0, 1, 2}), Tup({5, 6})); }, proc,
              "'ReplaceValue' must have one element or the same number of elements as 'Index'");
  ExpectRaise([&] { kept.ReplaceElements(Tup({0, -1}), Tup({5})); }, proc,
              "'Index' must be >= 0");
  EXPECT_EQ("[1, 2]", Show(kept));
}

TEST_F(TupleSequenceTest, InverseConcatAppend) {
  EXPECT_EQ("[\"c\", 2.5, 1]", Show(Tup({1, 2.5, "c"}).Inverse()));
  EXPECT_EQ("[]", Show(VTuple().Inverse()));
}

TEST_F(TupleSequenceTest, SortKeepsTypesAndOrdersStringsByBytes) {
  const struct {
    VTuple in;
    const char* sorted;
  } cases[] = {
      {Tup({3, 1, 2}), "[1, 2, 3]"},
      {Tup({2, 1.5}), "[1.5, 2]"},
      {Tup({"b", "a", "B", "\xe4"}), "[\"B\", \"a\", \"b\", \"\xe4\"]"},
      {Tup({-0.5, -7.25, 3.0, 1e300}), "[-7.25, -0.5, 3.0, 1.0000000000000001e+300]"},
      {Tup({Vlong{-9223372036854775807 - 1}, Vlong{9223372036854775807}, 0}),
       "[-9223372036854775808, 0, 9223372036854775807]"},
      {Tup({"a"}), "[\"a\"]"},
      {VTuple(), "[]"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.sorted, Show(c.in.Sort()));
  VTuple undefined;
  undefined[0];
  EXPECT_EQ("[undef]", Show(undefined.Sort()));
}

TEST_F(TupleSequenceTest, SortingStringsWithNumbersFails) {
  static const char proc[] = "VBool VCtrlVal::operator < (const VCtrlVal &loc_val) const";
  const VTuple mixed = Tup({1, "a"});
  try {
    mixed.Sort();
    ADD_FAILURE() << "no raise";
  } catch (const Vexa::VException& e) {
    EXPECT_STREQ(proc, e.proc);
    const std::string message = e.message;
    EXPECT_TRUE(message == "wrong type: Vlong < string" || message == "wrong type: string < Vlong")
        << message;
  }
  // The tuple itself stays as it was.
  EXPECT_EQ("[1, \"a\"]", Show(mixed));
  EXPECT_THROW(Tup({1.5, "a", 2}).SortIndex(), Vexa::VException);
}

TEST_F(TupleSequenceTest, SortAndSortIndexAgreeWithTheStandardSortOnLargeInput) {
  srand(7);
  std::vector<double> values;
  VTuple reals;
  VTuple mixed;
  for (int i = 0; i < 5000; ++i) {
    const double v = rand() % 1000 / 8.0;
    values.push_back(v);
    reals[i] = VCtrlVal(v);
    // Integers and reals in one tuple take the general comparison.
    mixed[i] = i % 2 ? VCtrlVal(v) : VCtrlVal(static_cast<Vlong>(v));
  }
  std::vector<double> expected = values;
  std::sort(expected.begin(), expected.end());
  const VTuple sorted = reals.Sort();
  const VTuple index = reals.SortIndex();
  ASSERT_EQ(5000, sorted.Num());
  ASSERT_EQ(5000, index.Num());
  for (Vlong i = 0; i < 5000; ++i) {
    ASSERT_EQ(expected[i], sorted[i].D());
    ASSERT_EQ(expected[i], values[index[i].L()]);
  }
  const VTuple mixed_sorted = mixed.Sort();
  const VTuple mixed_index = mixed.SortIndex();
  for (Vlong i = 1; i < 5000; ++i) {
    ASSERT_LE(mixed_sorted[i - 1].D(), mixed_sorted[i].D());
    ASSERT_LE(mixed[mixed_index[i - 1].L()].D(), mixed[mixed_index[i].L()].D());
  }
}

TEST_F(TupleSequenceTest, SortIndexGivesPositionsInSortedOrder) {
  EXPECT_EQ("[1, 2, 0]", Show(Tup({5, 3, 4}).SortIndex()));
  EXPECT_EQ("[2, 0, 1]", Show(Tup({"b", "c", "a"}).SortIndex()));
  EXPECT_EQ("[0]", Show(Tup({"z"}).SortIndex()));
  EXPECT_EQ("[]", Show(VTuple().SortIndex()));
}

TEST_F(TupleSequenceTest, SelectRankMatchesTheSortedPosition) {
  const VTuple t = Tup({9, 2.5, 7, 1, 8, 3, 3.0, 6});
  const VTuple sorted = t.Sort();
  for (Vlong k = 0; k < t.Num(); ++k) {
    EXPECT_EQ(sorted[k].D(), t.SelectRank(k)[0].D()) << k;
  }
  // The linear paths keep the first of equal elements.
  EXPECT_EQ("[1]", Show(Tup({1, 1.0}).SelectRank(0)));
  EXPECT_EQ("[2.0]", Show(Tup({2.0, 2}).SelectRank(1)));
  EXPECT_EQ("[\"b\"]", Show(Tup({"c", "a", "b"}).SelectRank(Tup({1}))));
  EXPECT_EQ("[]", Show(VTuple().SelectRank(5)));
  ExpectRaise([] { Tup({1, 2, 3}).SelectRank(5); },
              "VTuple VTuple::SelectRank(long index) const",
              "index out of range: index = 5, Num() = 3\n");
  ExpectRaise([] { Tup({1, 2, 3}).SelectRank(Tup({1, 2})); },
              "VTuple VTuple::SelectRank(const VTuple &index) const", "length of index != 1");
}

TEST_F(TupleSequenceTest, UniqRemovesNeighboursOnly) {
  EXPECT_EQ("[1, 2, 1]", Show(Tup({1, 1, 2, 1}).Uniq()));
  EXPECT_EQ("[1]", Show(Tup({1, 1.0}).Uniq()));
  EXPECT_EQ("[\"a\", 1, \"a\"]", Show(Tup({"a", "a", 1, "a"}).Uniq()));
  EXPECT_EQ("[]", Show(VTuple().Uniq()));
}

TEST_F(TupleSequenceTest, FindSeparatesNoOccurrenceFromEmptyOperands) {
  const struct {
    VTuple in, val;
    const char* found;
  } cases[] = {
      {Tup({1, 2, 3}), Tup({2, 3}), "[1]"},   {Tup({1, 1, 1}), Tup({1, 1}), "[0, 1]"},
      {Tup({1}), Tup({2}), "[-1]"},           {Tup({1}), VTuple(), "[]"},
      {VTuple(), Tup({1}), "[]"},             {Tup({1}), Tup({1, 2}), "[-1]"},
      {Tup({1, "a", 1.0}), Tup({1}), "[0, 2]"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.found, Show(c.in.Find(c.val)));
}

TEST_F(TupleSequenceTest, SumAndCumulFollowTheElementAddition) {
  EXPECT_EQ("[\"a12.5\"]", Show(Tup({"a", 1, 2.5}).Sum()));
  EXPECT_EQ("[\"3x\"]", Show(Tup({1, 2, "x"}).Sum()));
  EXPECT_EQ("[6]", Show(Tup({1, 2, 3}).Sum()));
  EXPECT_EQ("[1, 1.5, 4.5]", Show(Tup({1, 0.5, 3}).Cumul()));
  EXPECT_EQ("[]", Show(VTuple().Cumul()));
  ExpectRaise([] { Tup({1, "a"}).Cumul(); }, "VTuple VTuple::Cumul(void) const",
              "Cumul of string value");
}

TEST_F(TupleSequenceTest, ThinMethodsReportUnderTheirOwnText) {
  // Set operations on strings and numbers alike are fine; a too long index
  // tuple or a bad sequence step makes the runtime fail.
  const struct {
    std::function<void()> call;
    const char* proc;
  } cases[] = {
      {[] { Tup({1}).Insert(Tup({"x"}), Tup({1})); },
       "VTuple VTuple::Insert(const VTuple& index, const VTuple &insert)"},
      {[] { Tup({1}).Replace(Tup({"x"}), Tup({1})); },
       "VTuple VTuple::Replace(const VTuple& index, const VTuple &replace)"},
      {[] { VTuple::GenSequence(Tup({"a"}), Tup({1}), Tup({1})); },
       "Vexa::VTuple Vexa::VTuple::GenSequence(const VTuple &start, const VTuple &end, "
       "const VTuple &step)"},
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

TEST_F(TupleSequenceTest, NoLeaks) {
  control_test::ScopedMemTrace trace;
  {
    const VTuple t = Tup({"b", "a", "c", "a"});
    t.Sort().Uniq().Find(Tup({"b"})).Num();
    t.SortIndex().Num();
    t.SelectRank(2).Num();
    t.Remove(Tup({1})).Select(Tup({0, 0})).Num();
    EXPECT_THROW(Tup({"a", 1, "b"}).Sort(), Vexa::VException);
    EXPECT_THROW(Tup({"a", 1, "b"}).SelectRank(1), Vexa::VException);
  }
  EXPECT_EQ(0, trace.Leaked()) << trace.Report();
}

}  // namespace
