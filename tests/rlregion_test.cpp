// Chords and run-length regions: the chord relations, the list rules of
// RunLength (growth, insertion, the growing access, sorting, search) and
// its set algebra, the latter against per-pixel masks of random regions.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "objdb.h"

namespace {

using namespace Vexa;

// Exposes the counts of a list; the tests build every list as a Probe.
struct Probe : RunLength {
  using RunLength::RunLength;
  Vlong Alloc() const { return num_alloc; }
  int Sorted() const { return sorted; }
  const VDChord& Raw(Vlong i) const { return chords[i]; }
};

// Counts the reports and lets the code go on.
struct ReturningHandler {
  static inline std::vector<std::string> messages;
  static inline std::vector<std::string> procs;
  static void Handle(const VException& e) {
    messages.push_back(e.message);
    procs.push_back(e.proc);
  }
};

class RunLengthTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ReturningHandler::messages.clear();
    ReturningHandler::procs.clear();
    old_ = VException::InstallVHandler(&ReturningHandler::Handle);
  }
  void TearDown() override { VException::InstallVHandler(old_); }
  VHandlerProc old_ = nullptr;
};

bool SameChord(const VDChord& a, int y, int xb, int xe) {
  return a.y == y && a.xb == xb && a.xe == xe;
}

// ---------------------------------------------------------------- masks

// A window of the plane, with negative coordinates on purpose.
constexpr int kRow0 = -3, kRows = 9, kCol0 = -6, kCols = 40;

struct Mask {
  std::vector<char> bits = std::vector<char>(kRows * kCols, 0);
  char& At(int y, int x) { return bits[(y - kRow0) * kCols + (x - kCol0)]; }
  char At(int y, int x) const { return bits[(y - kRow0) * kCols + (x - kCol0)]; }
  bool operator==(const Mask& o) const { return bits == o.bits; }
};

Mask RandomMask(std::mt19937& rng) {
  Mask m;
  std::bernoulli_distribution flip(0.3);
  std::bernoulli_distribution empty_row(0.2);
  for (int y = kRow0; y < kRow0 + kRows; ++y) {
    if (empty_row(rng)) continue;
    bool on = false;
    for (int x = kCol0; x < kCol0 + kCols; ++x) {
      if (flip(rng)) on = !on;
      m.At(y, x) = on;
    }
  }
  return m;
}

// Maximal runs in reading order: sorted, free of overlap, never touching.
std::vector<VDChord> RunsOf(const Mask& m) {
  std::vector<VDChord> runs;
  for (int y = kRow0; y < kRow0 + kRows; ++y)
    for (int x = kCol0; x < kCol0 + kCols; ++x) {
      if (!m.At(y, x)) continue;
      const int xb = x;
      while (x + 1 < kCol0 + kCols && m.At(y, x + 1)) ++x;
      runs.emplace_back(y, xb, x);
    }
  return runs;
}

template <class Chords>
Mask MaskOf(const Chords& chords, Vlong n) {
  Mask m;
  for (Vlong i = 0; i < n; ++i)
    for (int x = chords[i].xb; x <= chords[i].xe; ++x) m.At(chords[i].y, x) = 1;
  return m;
}

Mask MaskOf(const Probe& p) { return MaskOf(p, p.Num()); }

// A list with room to spare (capacity 100 or more) holding `runs`.
Probe Roomy(const std::vector<VDChord>& runs) {
  Probe p(0);
  for (const VDChord& c : runs) p.Append(c);
  return p;
}

// A list whose capacity is exactly its count: a copy.
Probe Exact(const std::vector<VDChord>& runs) {
  const Probe roomy = Roomy(runs);
  return Probe(roomy);
}

// Sorted by row and first column, no two chords of a row sharing a pixel.
void ExpectOrderedWithoutOverlap(const Probe& p) {
  for (Vlong i = 1; i < p.Num(); ++i) {
    const VDChord& a = p[i - 1];
    const VDChord& b = p[i];
    EXPECT_TRUE(a.y < b.y || (a.y == b.y && a.xe < b.xb)) << "chord " << i;
  }
}

// The merged list as Merge leaves it: both lists in row and first-column
// order, a chord of the left list ahead of an equal one of the right; and
// the number of merged chords that the count then covers.
std::vector<VDChord> MergedPrefix(const std::vector<VDChord>& left, Vlong left_alloc,
                                  const std::vector<VDChord>& right) {
  std::vector<VDChord> merged(left);
  merged.insert(merged.end(), right.begin(), right.end());
  std::stable_sort(merged.begin(), merged.end(), [](const VDChord& a, const VDChord& b) {
    return a.y < b.y || (a.y == b.y && a.xb < b.xb);
  });
  const Vlong n = static_cast<Vlong>(left.size());
  const Vlong m = static_cast<Vlong>(right.size());
  // An empty side merges nothing; the left list is then a copy of the right.
  Vlong count = n + m - 1 >= left_alloc ? n + m - 2 : n;
  if (n == 0 || m == 0) count = n + m;
  merged.resize(static_cast<size_t>(count));
  return merged;
}

// ---------------------------------------------------------------- chords

TEST(Chord, RelationsAreOnWholeChords) {
  const VDChord c(0, 0, 4), touching(0, 4, 9), behind(0, 5, 9);
  EXPECT_TRUE(c <= touching);
  EXPECT_FALSE(c < touching);
  EXPECT_TRUE(c.RightOverlaped(touching));
  EXPECT_TRUE(c < behind);
  EXPECT_TRUE(c.RightOverlaped(behind));
  EXPECT_FALSE(c.RightOverlaped(VDChord(0, 6, 9)));
  EXPECT_FALSE(c.RightOverlaped(VDChord(1, 2, 3)));
  EXPECT_TRUE(behind > c);
  EXPECT_FALSE(touching > c);
  EXPECT_FALSE(c > touching);

  // Overlapping chords of one row are neither < nor >.
  const VDChord inner(0, 1, 2);
  EXPECT_FALSE(c < inner);
  EXPECT_FALSE(inner < c);
  EXPECT_FALSE(c > inner);

  // LeftOf compares starts; equal starts are ordered neither way, rows win.
  EXPECT_FALSE(c.LeftOf(VDChord(0, 0, 1)));
  EXPECT_FALSE(VDChord(0, 0, 1).LeftOf(c));
  EXPECT_TRUE(VDChord(0, 9, 9).LeftOf(VDChord(1, 0, 0)));
  EXPECT_FALSE(VDChord(1, 0, 0).LeftOf(VDChord(0, 9, 9)));
}

TEST(Chord, SizesPointsAndMembership) {
  VDChord dot(3, 5, 5);
  EXPECT_EQ(dot.Length(), 1);
  EXPECT_TRUE(dot.Begin() == dot.End());
  EXPECT_EQ(dot.Begin().X(), 5);
  EXPECT_EQ(dot.Begin().Y(), 3);
  EXPECT_STREQ(dot.ClassName(), "VDChord");

  const VDChord c(2, -1, 6);
  EXPECT_EQ(c.NumPoints(), 8);
  EXPECT_TRUE(c.In(VDPoint2D(-1, 2)));
  EXPECT_TRUE(c.In(VDPoint2D(6, 2)));
  EXPECT_FALSE(c.In(VDPoint2D(7, 2)));
  EXPECT_FALSE(c.In(VDPoint2D(0, 3)));

  // The count is taken in 32 bits and wraps.
  const VDChord wide(0, -2147483647 - 1, 2147483647);
  EXPECT_EQ(wide.NumPoints(), 0);
  dot.Xe() = 9;
  EXPECT_EQ(dot.Length(), 5);
}

// ---------------------------------------------------------------- list rules

TEST_F(RunLengthTest, InsertMergesOnlyWithTheLastChord) {
  Probe p(0);
  p.Insert(VDChord(0, 0, 3));
  EXPECT_EQ(p.Sorted(), 1);
  EXPECT_EQ(p.Alloc(), 100);

  p.Insert(VDChord(0, 4, 6));  // touches the last chord: extended
  ASSERT_EQ(p.Num(), 1);
  EXPECT_TRUE(SameChord(p.Raw(0), 0, 0, 6));

  p.Insert(VDChord(0, 10, 12));
  p.Insert(VDPoint2D(13, 0));
  ASSERT_EQ(p.Num(), 2);
  EXPECT_TRUE(SameChord(p.Raw(1), 0, 10, 13));
  EXPECT_EQ(p.Sorted(), 1);

  p.Insert(VDChord(0, 7, 8));  // touches the first chord only: stored apart
  ASSERT_EQ(p.Num(), 3);
  EXPECT_TRUE(SameChord(p.Raw(2), 0, 7, 8));
  EXPECT_EQ(p.Sorted(), 0);
}

TEST_F(RunLengthTest, GrowthCopiesAndAssignment) {
  Probe p(0);
  for (int i = 0; i < 101; ++i) p.Append(VDChord(i, 0, 0));
  EXPECT_EQ(p.Alloc(), 170);  // 100 * 1.7

  Probe exact(p);
  EXPECT_EQ(exact.Alloc(), 101);
  EXPECT_EQ(exact.Num(), 101);

  Probe big(0);
  big.Append(VDChord(0, 0, 0));
  big = exact;  // 100 < 101: a new array of exactly 101
  EXPECT_EQ(big.Alloc(), 101);
  Probe small(0);
  small.Append(VDChord(5, 1, 1));
  big = small;  // the capacity stays
  EXPECT_EQ(big.Alloc(), 101);
  EXPECT_EQ(big.Num(), 1);
  EXPECT_TRUE(SameChord(big.Raw(0), 5, 1, 1));

  big.Empty();
  EXPECT_EQ(big.Alloc(), 0);
  EXPECT_TRUE(big.IsEmpty());

  // A copy sorts its source in place first.
  Probe unsorted(0);
  unsorted.Append(VDChord(2, 0, 0));
  unsorted.Append(VDChord(1, 0, 0));
  unsorted[1] = VDChord(1, 0, 0);  // growing access: flagged unsorted
  Probe copy(unsorted);
  EXPECT_EQ(unsorted.Sorted(), 1);
  EXPECT_TRUE(SameChord(unsorted.Raw(0), 1, 0, 0));
  EXPECT_TRUE(SameChord(copy.Raw(0), 1, 0, 0));
}

TEST_F(RunLengthTest, GrowingAccessCountsOneShort) {
  Probe p(0);
  p.Insert(VDChord(0, 0, 0));
  p.Insert(VDChord(1, 0, 0));
  p[2] = VDChord(2, 0, 0);  // within the capacity: the count stays
  EXPECT_EQ(p.Num(), 2);
  EXPECT_EQ(p.Sorted(), 0);

  Probe exact(p);  // capacity 2
  exact[5] = VDChord(9, 9, 9);
  EXPECT_EQ(exact.Alloc(), 6);
  EXPECT_EQ(exact.Num(), 4);
  EXPECT_TRUE(SameChord(exact.Raw(1), 1, 0, 0));

  exact[-1];
  ASSERT_EQ(ReturningHandler::messages.size(), 1u);
  EXPECT_EQ(ReturningHandler::messages[0], "index < 0");
  EXPECT_EQ(ReturningHandler::procs[0], "VDChord & operator [] (Vlong i)");

  const Probe& view = exact;
  view[4];
  ASSERT_EQ(ReturningHandler::messages.size(), 2u);
  EXPECT_EQ(ReturningHandler::messages[1], "index out of range");
  EXPECT_EQ(ReturningHandler::procs[1], "VDChord const & operator [] (Vlong i) const");
  EXPECT_TRUE(SameChord(view[5], 9, 9, 9));  // read all the same
}

TEST_F(RunLengthTest, DeleteSplitsAndShortensChords) {
  Probe p(0);
  p.Insert(VDChord(0, 0, 9));
  p.Insert(VDChord(1, 3, 3));
  p.Insert(VDChord(2, 0, 4));

  p.Delete(VDPoint2D(3, 1));  // a chord of one pixel goes
  ASSERT_EQ(p.Num(), 2);
  p.Delete(VDPoint2D(0, 0));
  p.Delete(VDPoint2D(9, 0));
  EXPECT_TRUE(SameChord(p.Raw(0), 0, 1, 8));
  p.Delete(VDPoint2D(7, 7));  // not in the region
  EXPECT_EQ(p.Num(), 2);

  p.Delete(VDPoint2D(4, 0));  // the middle of a chord of an earlier row
  ASSERT_EQ(p.Num(), 3);
  EXPECT_TRUE(SameChord(p.Raw(0), 0, 1, 3));
  EXPECT_TRUE(SameChord(p.Raw(2), 0, 5, 8));
  EXPECT_EQ(p.Sorted(), 0);
  EXPECT_TRUE(p.In(VDPoint2D(5, 0)));  // sorts
  EXPECT_EQ(p.Sorted(), 1);
  EXPECT_TRUE(SameChord(p.Raw(1), 0, 5, 8));
}

TEST_F(RunLengthTest, BoundingBoxIsTheCommonColumnBand) {
  Probe p(0);
  EXPECT_TRUE(p.BoundingBox().IsEmpty());
  p.Insert(VDChord(0, 2, 8));
  p.Insert(VDChord(1, 5, 6));
  const VRectangle1 box = p.BoundingBox();
  ASSERT_FALSE(box.IsEmpty());
  EXPECT_EQ(box.UpperLeft().X(), 5);
  EXPECT_EQ(box.UpperLeft().Y(), 0);
  EXPECT_EQ(box.LowerRight().X(), 6);
  EXPECT_EQ(box.LowerRight().Y(), 1);

  p.Insert(VDChord(3, 9, 9));  // no common column: a reversed rectangle
  EXPECT_TRUE(p.BoundingBox().IsEmpty());
}

TEST_F(RunLengthTest, EqualIsZeroForTheSameList) {
  Probe a(0), b(0);
  a.Insert(VDChord(0, 1, 2));
  EXPECT_EQ(a.Equal(a), 0);
  b.Insert(VDChord(0, 1, 2));
  EXPECT_EQ(a.Equal(b), 0);
  b.Insert(VDChord(1, 1, 2));
  EXPECT_EQ(a.Equal(b), 0);  // lengths differ
  a.Insert(VDChord(1, 1, 3));
  EXPECT_EQ(a.Equal(b), 1);  // one length, different content
}

TEST_F(RunLengthTest, InsertOfAListKeepsTheFlagOnlyInOrder) {
  Probe p = Roomy({{0, 0, 1}});
  p.Insert(Exact({{1, 0, 1}, {1, 3, 4}}));
  EXPECT_EQ(p.Num(), 3);
  EXPECT_EQ(p.Sorted(), 1);
  p.Insert(Exact({{0, 5, 6}}));
  EXPECT_EQ(p.Sorted(), 0);
  p.Insert(p);  // itself, unmerged
  ASSERT_EQ(p.Num(), 8);
  EXPECT_TRUE(SameChord(p.Raw(7), 0, 5, 6));
}

// ---------------------------------------------------------------- algebra

TEST_F(RunLengthTest, UnionCountsAsMergeLeavesIt) {
  const std::vector<VDChord> left = {{0, 0, 1}, {2, 0, 1}, {4, 0, 1}};
  const std::vector<VDChord> right = {{1, 0, 1}, {3, 0, 1}};

  // Room to spare: the array holds all five, the count stays 3.
  Probe roomy = Roomy(left);
  roomy.Union(Exact(right));
  EXPECT_EQ(roomy.Alloc(), 100);
  ASSERT_EQ(roomy.Num(), 3);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(roomy.Raw(i).y, i);

  // Exact capacity: grows to 5, and the count is 5 - 2.
  Probe exact = Exact(left);
  exact.Union(Exact(right));
  EXPECT_EQ(exact.Alloc(), 5);
  EXPECT_EQ(exact.Num(), 3);
  EXPECT_EQ(exact.Sorted(), 0);

  Probe unchanged = Exact(left);
  unchanged.Union(Probe(0));
  EXPECT_EQ(MaskOf(unchanged), MaskOf(left, 3));
  Probe from_empty(0);
  from_empty.Union(Exact({{0, 0, 3}, {0, 4, 6}}));  // copied, then packed
  ASSERT_EQ(from_empty.Num(), 1);
  EXPECT_TRUE(SameChord(from_empty.Raw(0), 0, 0, 6));
}

TEST_F(RunLengthTest, UnionOfRandomRegionsPacksTheMergedChords) {
  std::mt19937 rng(7);
  for (int round = 0; round < 300; ++round) {
    const std::vector<VDChord> a = RunsOf(RandomMask(rng));
    const std::vector<VDChord> b = RunsOf(RandomMask(rng));
    for (const bool roomy : {true, false}) {
      Probe left = roomy ? Roomy(a) : Exact(a);
      const std::vector<VDChord> merged = MergedPrefix(a, left.Alloc(), b);
      left.Union(Exact(b));
      const Mask expected = MaskOf(merged, static_cast<Vlong>(merged.size()));
      ASSERT_EQ(MaskOf(left), expected) << "round " << round;
      const std::vector<VDChord> runs = RunsOf(expected);
      ASSERT_EQ(left.Num(), static_cast<Vlong>(runs.size()));
      for (size_t i = 0; i < runs.size(); ++i)
        ASSERT_TRUE(SameChord(left.Raw(i), runs[i].y, runs[i].xb, runs[i].xe));
    }
  }
}

TEST_F(RunLengthTest, IntersectionOfRandomRegionsKeepsTwiceCoveredPixels) {
  std::mt19937 rng(11);
  for (int round = 0; round < 300; ++round) {
    const std::vector<VDChord> a = RunsOf(RandomMask(rng));
    const std::vector<VDChord> b = RunsOf(RandomMask(rng));
    for (const bool roomy : {true, false}) {
      Probe left = roomy ? Roomy(a) : Exact(a);
      const Vlong alloc = left.Alloc();
      left.Intersection(Exact(b));
      Mask expected;
      if (!a.empty() && !b.empty()) {
        std::vector<int> cover(kRows * kCols, 0);
        for (const VDChord& c : MergedPrefix(a, alloc, b))
          for (int x = c.xb; x <= c.xe; ++x) ++cover[(c.y - kRow0) * kCols + (x - kCol0)];
        for (size_t i = 0; i < cover.size(); ++i) expected.bits[i] = cover[i] >= 2;
      }
      ASSERT_EQ(MaskOf(left), expected) << "round " << round;
      ExpectOrderedWithoutOverlap(left);
    }
  }
  EXPECT_TRUE(ReturningHandler::messages.empty());
}

TEST_F(RunLengthTest, IntersectionOfDisjointBoundsFreesTheArray) {
  Probe top = Roomy({{0, 0, 5}});
  top.Intersection(Exact({{1, 0, 5}}));
  EXPECT_EQ(top.Num(), 0);
  EXPECT_EQ(top.Alloc(), 0);
  Probe bottom = Roomy({{3, 0, 5}});
  bottom.Intersection(Exact({{1, 0, 5}}));
  EXPECT_EQ(bottom.Alloc(), 0);
}

TEST_F(RunLengthTest, DifferenceSplitsAndReportsTheReadBehindTheLastChord) {
  Probe p = Roomy({{0, 0, 9}});
  p.Difference(Exact({{0, 3, 5}}));
  ASSERT_EQ(p.Num(), 2);
  EXPECT_TRUE(SameChord(p.Raw(0), 0, 0, 2));
  EXPECT_TRUE(SameChord(p.Raw(1), 0, 6, 9));
  EXPECT_EQ(p.Alloc(), 2);
  // The chord of the right side lies inside: its successor is read.
  ASSERT_EQ(ReturningHandler::messages.size(), 1u);
  EXPECT_EQ(ReturningHandler::messages[0], "index out of range");

  Probe none(0);
  none.Difference(Exact({{0, 0, 1}}));
  EXPECT_EQ(none.Alloc(), 0);
  Probe same = Roomy({{0, 0, 1}});
  same.Difference(Probe(0));
  EXPECT_EQ(same.Alloc(), 100);
}

TEST_F(RunLengthTest, DifferenceOfRandomRegionsMatchesTheMasks) {
  std::mt19937 rng(13);
  for (int round = 0; round < 500; ++round) {
    const Mask ma = RandomMask(rng);
    const Mask mb = RandomMask(rng);
    Probe left = Roomy(RunsOf(ma));
    const size_t reports = ReturningHandler::messages.size();
    left.Difference(Exact(RunsOf(mb)));
    ASSERT_LE(ReturningHandler::messages.size() - reports, 1u);
    Mask expected;
    for (size_t i = 0; i < expected.bits.size(); ++i) expected.bits[i] = ma.bits[i] && !mb.bits[i];
    ASSERT_EQ(MaskOf(left), expected) << "round " << round;
    ExpectOrderedWithoutOverlap(left);
  }
}

TEST_F(RunLengthTest, SearchSortAndDeleteAgreeWithTheMask) {
  std::mt19937 rng(17);
  std::uniform_int_distribution<int> row(kRow0 - 1, kRow0 + kRows);
  std::uniform_int_distribution<int> col(kCol0 - 1, kCol0 + kCols);
  for (int round = 0; round < 100; ++round) {
    Mask mask = RandomMask(rng);
    std::vector<VDChord> runs = RunsOf(mask);
    std::shuffle(runs.begin(), runs.end(), rng);
    Probe p(0);
    for (const VDChord& c : runs) p.Append(c);
    if (p.Num() > 0) p[0] = p[0];  // flag the shuffled list unsorted
    for (int k = 0; k < 200; ++k) {
      const int y = row(rng), x = col(rng);
      const bool inside = y >= kRow0 && y < kRow0 + kRows && x >= kCol0 &&
                          x < kCol0 + kCols && mask.At(y, x);
      ASSERT_EQ(p.In(VDPoint2D(x, y)), inside ? 1 : 0) << y << "," << x;
      if (k % 3 == 0) {
        p.Delete(VDPoint2D(x, y));
        if (inside) mask.At(y, x) = 0;
      }
    }
    ASSERT_EQ(MaskOf(p), mask) << "round " << round;
  }
}

// ---------------------------------------------------------------- VRLRegion

VRLRegion RegionOf(const std::vector<VDChord>& runs) {
  VRLRegion r;
  for (const VDChord& c : runs) r.Append(c);
  return r;
}

TEST_F(RunLengthTest, RegionOperatorsAreTheListAlgebra) {
  std::mt19937 rng(19);
  for (int round = 0; round < 50; ++round) {
    const Mask ma = RandomMask(rng), mb = RandomMask(rng);
    const std::vector<VDChord> a = RunsOf(ma), b = RunsOf(mb);
    VRLRegion region = RegionOf(a);
    Probe list = Roomy(a);
    region /= RegionOf(b);
    list.Difference(Exact(b));
    ASSERT_EQ(region.Num(), list.Num());
    for (Vlong i = 0; i < list.Num(); ++i)
      ASSERT_TRUE(SameChord(std::as_const(region)[i], list.Raw(i).y, list.Raw(i).xb, list.Raw(i).xe));
    region |= RegionOf(b);
    region &= RegionOf(a);
    EXPECT_EQ(region.IsEmpty(), region.Num() == 0);
  }
  EXPECT_EQ(RegionOf({{0, 1, 2}}) == RegionOf({{0, 1, 2}}), 0);
  EXPECT_EQ(RegionOf({{0, 1, 2}}) == RegionOf({{0, 1, 3}}), 1);
}

TEST_F(RunLengthTest, RegionCopiesAndConversions) {
  VRLRegion r = RegionOf({{0, 0, 3}, {1, 2, 2}});
  EXPECT_STREQ(r.ClassName(), "VRLRegion");
  r.Insert(VDPoint2D(3, 1));
  r.Delete(VDPoint2D(0, 0));
  EXPECT_TRUE(r.In(VDPoint2D(3, 1)));
  EXPECT_FALSE(r.In(VDPoint2D(0, 0)));

  VAbstractRegion* copy = r.CopyAbstractRegion();
  VAbstractRegion* empty = r.NewEmpty();
  VRLRegion* converted = r.ToRLRegion();
  ASSERT_NE(copy, nullptr);
  ASSERT_NE(converted, nullptr);
  EXPECT_TRUE(empty->IsEmpty());
  EXPECT_EQ(*converted == r, 0);
  EXPECT_EQ(*static_cast<VRLRegion*>(copy) == r, 0);
  const VRLRegion taken(copy);  // the conversion of an abstract region
  EXPECT_EQ(taken == r, 0);
  EXPECT_EQ(taken.Num(), r.Num());
  delete copy;
  delete empty;
  delete converted;

  VRLRegion assigned(VDChord(9, 9, 9));
  assigned = r;
  EXPECT_EQ(assigned == r, 0);
  assigned = assigned;
  EXPECT_EQ(assigned.Num(), r.Num());
  const VRectangle1 band = r.BoundingBox();
  EXPECT_EQ(band.IsEmpty(), 0);

  const VRLRegion& view = r;
  const VDChord behind = view[r.Num()];  // reported, then read all the same
  ASSERT_EQ(ReturningHandler::messages.size(), 1u);
  EXPECT_EQ(ReturningHandler::messages[0], "index out of range");
  EXPECT_EQ(behind.y, 0);
  r.Empty();
  EXPECT_TRUE(r.IsEmpty());
}

TEST_F(RunLengthTest, DatabaseRegionsConvertBothWays) {
  const vexa::db::Stats before = vexa::db::GetStats();
  {
    const VRegion rectangle(VRectangle1(VPoint2D(2, 1), VPoint2D(5, 3)));
    const VRLRegion runs(rectangle);
    ASSERT_EQ(runs.Num(), 3);
    EXPECT_TRUE(SameChord(runs[0], 1, 2, 5));
    EXPECT_TRUE(SameChord(runs[2], 3, 2, 5));

    // The walk reads one chord behind the last: reported, and with a
    // returning reaction the zero chord found there is one more run.
    VRegion* back = runs.ToVRegion();
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(ReturningHandler::messages.size(), 1u);
    EXPECT_EQ(ReturningHandler::messages[0], "index out of range");
    EXPECT_EQ(back->Area(), 13);
    delete back;

    const VWindow no_window("");
    runs.Display(no_window);
    ASSERT_GE(ReturningHandler::messages.size(), 2u);
    EXPECT_EQ(ReturningHandler::messages[1], "index out of range");
  }
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions);
}

}  // namespace
