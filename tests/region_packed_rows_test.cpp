// Packed bit rows (painting, reading back, set operations and morphology
// on 64-bit row words) and the run merges of the set operations against
// per-pixel masks: fragmented regions with short and long runs, runs that
// overlap, touch and cancel exactly, at negative coordinates, wider than a
// word and not aligned to one, empty and disjoint operands; and the choice
// between the packed path and the run merges.
#include <random>
#include <vector>

#include "../ops/region/kernels/bit_morph.h"
#include "../ops/region/kernels/bit_rows.h"
#include "../ops/region/kernels/bit_set_ops.h"
#include "region_algebra.h"
#include "region_algebra_support.h"

namespace {

using namespace region_algebra_test;
using vexa::Chord;
using vexa::SetOp;
using Chords = std::vector<Chord>;

// Rows of runs with random gaps and lengths up to max_run (short runs make
// fragmented rows, long ones cross several words).
Mask RandomRuns(std::mt19937& rng, int r0, int c0, int h, int w, int max_run) {
  Mask m(r0, c0, h, w);
  std::uniform_int_distribution<int> gap(1, 6), run(1, max_run);
  for (int r = r0; r < r0 + h; ++r)
    for (int c = c0 + gap(rng) - 1; c < c0 + w;) {
      const int n = run(rng);
      for (int x = c; x < c + n; ++x) m.Set(r, x);
      c += n + gap(rng);
    }
  return m;
}

Chords ChordsOf(const Mask& m) {
  Chords chords;
  m.ForEach([&](int r, int c) { chords.push_back({r, c, c}); });
  return vexa::Region::FromChords(chords)->chords();
}

bool Apply(SetOp op, bool x, bool y) {
  switch (op) {
    case SetOp::kUnion: return x || y;
    case SetOp::kIntersection: return x && y;
    case SetOp::kDifference: return x && !y;
    default: return x != y;
  }
}

// The result of op on two masks, over a window holding both.
Chords Reference(SetOp op, const Mask& a, const Mask& b) {
  const int r0 = std::min(a.r0, b.r0), c0 = std::min(a.c0, b.c0);
  const int h = std::max(a.r0 + a.h, b.r0 + b.h) - r0;
  const int w = std::max(a.c0 + a.w, b.c0 + b.w) - c0;
  return ChordsOf(MaskOf(r0, c0, h, w, [&](int r, int c) {
    return Apply(op, a.Get(r, c), b.Get(r, c));
  }));
}

// The run merge of op.
Chords RunMerge(SetOp op, const Chords& a, const Chords& b) {
  switch (op) {
    case SetOp::kUnion: return vexa::ChordUnion(a, b);
    case SetOp::kIntersection: return vexa::ChordIntersection(a, b);
    case SetOp::kDifference: return vexa::ChordDifference(a, b);
    default: return vexa::ChordSymmDifference(a, b);
  }
}

constexpr SetOp kOps[] = {SetOp::kUnion, SetOp::kIntersection, SetOp::kDifference,
                          SetOp::kSymmDifference};

// Every operation on a and b, by the packed path and by the run merge.
void ExpectBothPathsMatchPixels(const Mask& a, const Mask& b) {
  const Chords ca = ChordsOf(a), cb = ChordsOf(b);
  for (SetOp op : kOps) {
    SCOPED_TRACE(static_cast<int>(op));
    const Chords want = Reference(op, a, b);
    EXPECT_EQ(vexa::CombineByBitRows(op, ca, cb), want);
    EXPECT_EQ(RunMerge(op, ca, cb), want);
  }
}

TEST(PackedSetOps, FragmentedAndLongRunsAtAnyOffset) {
  std::mt19937 rng(41);
  std::uniform_int_distribution<int> origin(-200, 100), size(1, 260);
  for (int round = 0; round < 60; ++round) {
    const int max_run = round % 3 == 0 ? 150 : 3;
    const Mask a = RandomRuns(rng, origin(rng), origin(rng), size(rng) % 40 + 1,
                              size(rng), max_run);
    // Half the rounds overlap a closely, the others lie anywhere.
    const Mask b = round % 2 ? RandomRuns(rng, a.r0 + 1, a.c0 - 5, a.h, a.w + 70, max_run)
                             : RandomRuns(rng, origin(rng), origin(rng), 30, size(rng),
                                          max_run);
    ExpectBothPathsMatchPixels(a, b);
  }
}

// Operands cut from one random mask, so that their runs share edges:
// runs that coincide (and cancel in the symmetric difference), start or end
// together, touch end to start, or lie one inside the other.
TEST(PackedSetOps, RunsSharingEdges) {
  std::mt19937 rng(44);
  std::bernoulli_distribution keep(0.6);
  for (int round = 0; round < 40; ++round) {
    const Mask base = RandomRuns(rng, -3, -20, 8, 90, round % 2 ? 2 : 12);
    const Mask cut = RandomRuns(rng, -3, -20, 8, 90, 5);
    const Mask other = MaskOf(-3, -20, 8, 90, [&](int r, int c) {
      return base.Get(r, c) ? (cut.Get(r, c) || keep(rng)) : cut.Get(r, c) && !keep(rng);
    });
    ExpectBothPathsMatchPixels(base, other);
    ExpectBothPathsMatchPixels(other, base);
  }
}

TEST(PackedSetOps, EmptyAndDisjointOperands) {
  std::mt19937 rng(42);
  const Mask a = RandomRuns(rng, -10, -70, 12, 140, 5);
  const Mask far = RandomRuns(rng, 40, 300, 5, 64, 5);
  const Mask none(0, 0, 1, 1);
  const Chords ca = ChordsOf(a), cfar = ChordsOf(far), empty;
  for (SetOp op : kOps) {
    SCOPED_TRACE(static_cast<int>(op));
    EXPECT_EQ(vexa::CombineByBitRows(op, ca, empty), Reference(op, a, none));
    EXPECT_EQ(vexa::CombineByBitRows(op, empty, ca), Reference(op, none, a));
    EXPECT_EQ(vexa::CombineByBitRows(op, empty, empty), empty);
    EXPECT_EQ(vexa::CombineByBitRows(op, ca, cfar), Reference(op, a, far));
    EXPECT_EQ(RunMerge(op, ca, empty), Reference(op, a, none));
    EXPECT_EQ(RunMerge(op, empty, ca), Reference(op, none, a));
    EXPECT_EQ(RunMerge(op, ca, cfar), Reference(op, a, far));
    EXPECT_EQ(RunMerge(op, cfar, ca), Reference(op, far, a));
  }
}

TEST(PackedSetOps, PackedPathIsChosenForFragmentedRowsOnly) {
  std::mt19937 rng(43);
  const Chords noise = ChordsOf(RandomRuns(rng, 0, 0, 64, 1024, 1));
  const Chords noise2 = ChordsOf(RandomRuns(rng, 0, 0, 64, 1024, 1));
  const Chords bars = ChordsOf(RandomRuns(rng, 0, 0, 64, 1024, 400));
  EXPECT_TRUE(vexa::PreferBitRows(SetOp::kUnion, noise, noise2));
  EXPECT_FALSE(vexa::PreferBitRows(SetOp::kUnion, bars, bars));
  EXPECT_FALSE(vexa::PreferBitRows(SetOp::kUnion, noise, Chords{}));
  // Two pixels far apart would need a plane beyond every memory bound.
  const Chords spread = {{0, 0, 0}, {1 << 20, 1 << 20, 1 << 20}};
  EXPECT_FALSE(vexa::PreferBitRows(SetOp::kSymmDifference, spread, noise));
}

// The operators take the packed path on such rows: their results must not
// change.
TEST_F(RegionOpsTest, OperatorsOnFragmentedRows) {
  const Mask a = RandomRuns(rng_, -4, -90, 20, 300, 2);
  const Mask b = RandomRuns(rng_, -2, -60, 20, 300, 2);
  ASSERT_TRUE(vexa::PreferBitRows(SetOp::kUnion, ChordsOf(a), ChordsOf(b)));
  const Vexa::Vobject oa = ToObject(a), ob = ToObject(b);
  Vexa::Vobject uni, inter;
  ASSERT_EQ(Vexa::union2(oa, ob, &uni), VRESULT_OK);
  ASSERT_EQ(Vexa::intersection(oa, ob, &inter), VRESULT_OK);
  EXPECT_EQ(RegionsOf(uni).at(0)->chords(), Reference(SetOp::kUnion, a, b));
  EXPECT_EQ(RegionsOf(inter).at(0)->chords(), Reference(SetOp::kIntersection, a, b));
}

// Dilation and erosion by the packed kernels of regions wider than a word,
// off word boundaries and at negative coordinates, against the pixels.
TEST(PackedMorphology, WideRegionsAtNegativeCoordinates) {
  std::mt19937 rng(44);
  const Chords element = {{-1, 0, 0}, {0, -2, 1}, {1, -1, 1}};
  for (int round = 0; round < 6; ++round) {
    const Mask a = RandomRuns(rng, -37 + round, -131 + 7 * round, 14, 150 + 9 * round,
                              round % 2 ? 3 : 90);
    const auto region = vexa::Region::FromCanonicalChords(ChordsOf(a));
    vexa::RegionBox box;
    ASSERT_TRUE(region->BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2));
    const Mask grown = MaskOf(a.r0 - 2, a.c0 - 3, a.h + 4, a.w + 6, [&](int r, int c) {
      for (const Chord& k : element)
        for (int dc = k.cb; dc <= k.ce; ++dc)
          if (a.Get(r - k.r, c - dc)) return true;
      return false;
    });
    const Mask fits = MaskOf(a.r0, a.c0, a.h, a.w, [&](int r, int c) {
      for (const Chord& k : element)
        for (int dc = k.cb; dc <= k.ce; ++dc)
          if (!a.Get(r + k.r, c + dc)) return false;
      return true;
    });
    EXPECT_EQ(vexa::AddByBitRows(*region, box, element), ChordsOf(grown));
    EXPECT_EQ(vexa::FitByBitRows(*region, box, element), ChordsOf(fits));
  }
}

}  // namespace
