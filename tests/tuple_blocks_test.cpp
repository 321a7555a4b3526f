// Tuples longer than the loops' blocks: arithmetic and comparison take a
// typed path for blocks of one number type per operand and the element
// path for every other block; both must give what the element operators
// give, wherever in the tuple the odd element sits. Also the room beyond
// the length of a result, which is left uncleared until it is made live.
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

class TupleBlocksTest : public control_test::ThrowingTest {};

// More than two blocks of the loops (256 elements each, counted from the
// top), with a partial one at the bottom: 191 elements, odd and not a
// multiple of four, so that the vector loops end on a short step.
constexpr Vlong kLength = 703;
// Indexes in the top, middle and bottom block, on block borders, and in
// the short step at the bottom.
constexpr Vlong kProbes[] = {0, 1, 2, 3, 190, 191, 300, 446, 447, 600, kLength - 1};

// `length` integers (or reals) with no zero, varied enough that no result
// is trivial.
VTuple Numbers(bool reals, int seed, Vlong length = kLength) {
  VTuple t;
  for (Vlong i = length - 1; i >= 0; --i) {
    const Vlong v = (i * 37 + seed) % 101 - 50;
    const Vlong nonzero = v == 0 ? 7 : v;
    t[i] = reals ? VCtrlVal(nonzero * 0.25) : VCtrlVal(nonzero);
  }
  return t;
}

using ValueOp = std::function<VCtrlVal(const VCtrlVal&, const VCtrlVal&)>;
using TupleOp = std::function<VTuple(const VTuple&, const VTuple&)>;

struct NamedOp {
  const char* name;
  ValueOp value;
  TupleOp tuple;
};

const NamedOp kOps[] = {
    {"+", [](const VCtrlVal& a, const VCtrlVal& b) { return a + b; },
     [](const VTuple& a, const VTuple& b) { return a + b; }},
    {"-", [](const VCtrlVal& a, const VCtrlVal& b) { return a - b; },
     [](const VTuple& a, const VTuple& b) { return a - b; }},
    {"*", [](const VCtrlVal& a, const VCtrlVal& b) { return a * b; },
     [](const VTuple& a, const VTuple& b) { return a * b; }},
    {"/", [](const VCtrlVal& a, const VCtrlVal& b) { return a / b; },
     [](const VTuple& a, const VTuple& b) { return a / b; }},
};

// The result the element operator gives for every pair, the one-element
// operand spread.
std::string ElementByElement(const VTuple& a, const VTuple& b, const ValueOp& op) {
  const Vlong n = a.Num() > b.Num() ? a.Num() : b.Num();
  VTuple expected;
  for (Vlong i = n - 1; i >= 0; --i) {
    expected[i] = op(a[a.Num() == 1 ? 0 : i], b[b.Num() == 1 ? 0 : i]);
  }
  return Show(expected);
}

void ExpectElementResults(const VTuple& a, const VTuple& b) {
  for (const NamedOp& op : kOps) {
    SCOPED_TRACE(op.name);
    EXPECT_EQ(Show(op.tuple(a, b)), ElementByElement(a, b, op.value));
  }
}

TEST_F(TupleBlocksTest, UniformOperandsGiveTheElementResults) {
  const VTuple longs = Numbers(false, 3);
  const VTuple reals = Numbers(true, 11);
  // Each side all integers or all reals, promoted per side, and spread
  // scalars on either side.
  for (const VTuple* a : {&longs, &reals}) {
    for (const VTuple* b : {&longs, &reals}) {
      ExpectElementResults(*a, *b);
      ExpectElementResults(*a, Tup({3}));
      ExpectElementResults(Tup({2.5}), *b);
    }
  }
  const ValueOp mod = [](const VCtrlVal& a, const VCtrlVal& b) { return a % b; };
  EXPECT_EQ(Show(longs % Tup({7})), ElementByElement(longs, Tup({7}), mod));
  // Integers wrap in the typed loop as in the element one.
  const Vlong last = longs[kLength - 1].L();
  EXPECT_EQ((Tup({INT64_MAX}) + longs)[kLength - 1].L(),
            static_cast<Vlong>(static_cast<uint64_t>(INT64_MAX) + static_cast<uint64_t>(last)));
}

TEST_F(TupleBlocksTest, OneOddElementSendsItsBlockElementByElement) {
  control_test::ScopedHandler handler(&control_test::Returning::Handle);
  for (Vlong at : kProbes) {
    SCOPED_TRACE("odd element at " + std::to_string(at));
    for (const VCtrlVal& odd : {VCtrlVal(2.5), VCtrlVal("s"), VCtrlVal()}) {
      VTuple mixed = Numbers(false, 5);
      mixed[at] = odd;
      ExpectElementResults(mixed, Numbers(false, 9));
      ExpectElementResults(Numbers(true, 9), mixed);
      ExpectElementResults(mixed, Tup({4}));
    }
  }
}

TEST_F(TupleBlocksTest, FailureFarDownReleasesTheBlocksAbove) {
  control_test::ScopedMemTrace trace;
  {
    VTuple left = Numbers(false, 1);
    left[10] = "text";
    left[5] = VCtrlVal();
    // The blocks above the bottom one go the typed way, the bottom one
    // element by element: the text written at 10 and all entries above it
    // are released when the raise at 5 throws.
    ExpectRaise([&] { left + Numbers(false, 2); },
                "VCtrlVal VCtrlVal::operator + (const VCtrlVal &loc_val) const",
                "not instantiated");
    // A remainder with a real is declined by the typed loop and raised by
    // the element path at the highest index.
    ExpectRaise([&] { Numbers(false, 1) % Tup({2.0}); },
                "VCtrlVal VCtrlVal::operator % (const VCtrlVal &loc_val) const",
                "wrong type: Vlong % double");
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

TEST_F(TupleBlocksTest, RoomBeyondAResultIsUndefinedWhenMadeLive) {
  // Small enough for the heap to hand a freed array of this size straight
  // back to the next request of the same size: the result takes the array
  // a tuple of integers just left (a release clears only texts), so its
  // room beyond the length starts out as old integer entries.
  constexpr Vlong kShort = 36;
  control_test::ScopedMemTrace trace;
  {
    for (int round = 0; round < 3; ++round) {
      const VTuple operand = Numbers(false, round, kShort);
      const VTuple two = Tup({2});
      const Vlong capacity = Probe(operand * two).AllocNum();
      { const VTuple junk(capacity, VTuple(Vlong{7})); }
      VTuple grown = operand * two;
      switch (round) {
        case 0:
          grown[kShort + 3] = 1;
          break;
        case 1:
          grown.Append(Tup({1, 2, 3, 4}));
          break;
        default:
          grown.ReplaceElements(Tup({kShort + 3}), Tup({1}));
      }
      ASSERT_EQ(grown.Num(), kShort + 4);
      for (Vlong i = kShort; i < kShort + 3; ++i) {
        EXPECT_EQ(grown[i].ValType(), round == 1 ? VPAR_LONG : VPAR_UNDEF) << i;
      }
      EXPECT_EQ(grown[kShort - 1].L(), 2 * operand[kShort - 1].L());
      // A copy and a release read only the live entries.
      const VTuple copy = grown;
      EXPECT_EQ(Show(copy), Show(grown));
    }
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

// A result made of numbers alone is released without a look at its
// elements; every way of writing a text into it afterwards must undo that,
// or the text leaks.
TEST_F(TupleBlocksTest, TextsWrittenIntoANumericResultAreReleased) {
  using Write = std::function<void(VTuple&)>;
  const Write writes[] = {
      [](VTuple& t) { t[3] = "indexed"; },
      [](VTuple& t) { t[Tup({kLength + 2})] = "grown"; },
      [](VTuple& t) { t += VCtrlVal("appended to each"); },
      [](VTuple& t) { t += Tup({"spread"}); },
      [](VTuple& t) { t.Append(Tup({"a", "b"})); },
      [](VTuple& t) { t.ReplaceElements(Tup({0, 5}), Tup({"r"})); },
      [](VTuple& t) { t = Tup({"assigned"}) + t; },
      [](VTuple& t) {
        VTuple one = t(0, 0) + Tup({1});
        one += Tup({"x", "y"});
        t = one;
      },
  };
  control_test::ScopedMemTrace trace;
  for (size_t k = 0; k < std::size(writes); ++k) {
    SCOPED_TRACE("write " + std::to_string(k));
    VTuple result = Numbers(false, 2) + Numbers(false, 3);
    EXPECT_EQ(result.State(), VTuple().State());
    writes[k](result);
    const VTuple copy = result;
    EXPECT_EQ(Show(copy), Show(result));
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

TEST_F(TupleBlocksTest, ComparisonsDecideInAnyBlock) {
  const VTuple longs = Numbers(false, 4);
  const VTuple reals = Numbers(true, 4);
  EXPECT_TRUE(longs == VTuple(longs));
  EXPECT_FALSE(longs == reals);
  EXPECT_TRUE(longs == longs * Tup({1.0}));  // integers against reals, as reals
  EXPECT_FALSE(longs < VTuple(longs));
  EXPECT_TRUE(longs <= VTuple(longs));
  for (Vlong at : kProbes) {
    SCOPED_TRACE("difference at " + std::to_string(at));
    VTuple greater = longs;
    greater[at] = longs[at].L() + 1;
    EXPECT_FALSE(longs == greater);
    EXPECT_TRUE(longs < greater);
    EXPECT_TRUE(greater > longs);
    // A real level with its integer, and a negative zero with a zero.
    VTuple same = longs;
    same[at] = static_cast<double>(longs[at].L());
    EXPECT_TRUE(same == longs);
    EXPECT_TRUE(same >= longs);
    VTuple zero = reals;
    zero[at] = 0.0;
    VTuple negative_zero = reals;
    negative_zero[at] = -0.0;
    EXPECT_TRUE(zero == negative_zero);
    EXPECT_FALSE(zero < negative_zero);
    // A not-a-number makes the tuples unequal and every order false, even
    // behind a decided difference or a pair that cannot be ordered.
    VTuple nan = reals;
    nan[at] = NAN;
    EXPECT_FALSE(nan == VTuple(nan));
    EXPECT_FALSE(nan <= VTuple(nan));
    VTuple text_first = nan;
    text_first[kLength] = "a";
    EXPECT_FALSE(text_first >= Tup({-1e9}));
    // A string is compared as one by the element path.
    VTuple text = longs;
    text[at] = "b";
    EXPECT_TRUE(text == VTuple(text));
    ExpectRaise([&] { (void)(text < longs); },
                "VBool VCtrlVal::operator < (const VCtrlVal &loc_val) const",
                "wrong type: string < Vlong");
  }
}

}  // namespace
