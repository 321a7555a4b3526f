// Packed bit rows (painting, reading back, set operations and morphology
// on 64-bit row words) and the run merges of the set operations against
// per-pixel masks: fragmented regions with short and long runs, runs that
// overlap, touch and cancel exactly, at negative coordinates, wider than a
// word and not aligned to one, empty and disjoint operands; and the choice
// between the packed path and the run merges.
#include <random>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "../ops/region/kernels/bit_morph.h"
#include "bit_rows.h"
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

// A region held as a plane of rows r0..r0+rows-1 over columns from c0,
// `words` words a row, with the pixels of m.
vexa::RegionPtr PlaneRegion(const Mask& m, int r0, int rows, int c0, int64_t words) {
  vexa::BitRows plane(r0, rows, c0, words, 0);
  const Chords chords = ChordsOf(m);
  vexa::PaintChords(chords.data(), chords.data() + chords.size(), &plane);
  return vexa::Region::FromPixelPlane(std::move(plane));
}

// A region held as a plane answers every question as the same pixels held
// as chords do: its runs, measures, box, membership and equality, also with
// empty rows at both ends of the plane and as an operand of the chord
// algebra.
TEST(PackedRegions, PlanesBehaveLikeTheirChords) {
  std::mt19937 rng(45);
  for (int round = 0; round < 8; ++round) {
    const Mask m = RandomRuns(rng, -30 + round, -70 - 3 * round, 24, 190, round % 2 ? 2 : 80);
    const auto plane = PlaneRegion(m, m.r0 - 3, m.h + 5, m.c0 - 1, 4);
    const auto chords = vexa::Region::FromCanonicalChords(ChordsOf(m));
    ASSERT_NE(plane->plane(), nullptr);
    EXPECT_FALSE(plane->empty());
    EXPECT_EQ(plane->chords(), chords->chords());
    EXPECT_EQ(plane->area(), chords->area());
    EXPECT_DOUBLE_EQ(plane->row(), chords->row());
    EXPECT_DOUBLE_EQ(plane->col(), chords->col());
    int32_t box[4], want[4];
    ASSERT_TRUE(plane->BoundingBox(&box[0], &box[1], &box[2], &box[3]));
    ASSERT_TRUE(chords->BoundingBox(&want[0], &want[1], &want[2], &want[3]));
    EXPECT_TRUE(std::equal(box, box + 4, want));
    for (int r = m.r0 - 1; r <= m.r0 + m.h; ++r)
      for (int c = m.c0 - 1; c <= m.c0 + m.w; ++c)
        ASSERT_EQ(plane->Contains(r, c), m.Get(r, c)) << r << "," << c;
    EXPECT_FALSE(plane->Contains(m.r0 - 100, m.c0));
    EXPECT_FALSE(plane->Contains(m.r0, m.c0 - 100));
    EXPECT_FALSE(plane->Contains(m.r0, m.c0 + 5000));
    EXPECT_TRUE(*plane == *chords);
    const auto band = vexa::Region::Rectangle(m.r0 + 2, m.c0 + 10, m.r0 + 9, m.c0 + 120);
    EXPECT_EQ(vexa::Region::Intersection(*plane, *band)->chords(),
              vexa::Region::Intersection(*chords, *band)->chords());
  }
  EXPECT_TRUE(PlaneRegion(Mask(0, 0, 1, 1), 5, 3, 0, 2)->empty());
  EXPECT_TRUE(PlaneRegion(Mask(0, 0, 1, 1), 5, 0, 0, 2)->chords().empty());
}

// Set operations of two planes of the same columns are word operations on
// the rows both have, and keep or drop the rows only one has: planes that
// overlap, nest, touch and lie apart, against the pixels.
TEST(PackedRegions, SetOperationsOnPlanesOfDifferentRows) {
  std::mt19937 rng(46);
  const int starts[][2] = {{0, 10}, {-5, 3}, {0, 0}, {4, 30}, {20, -40}};
  for (const auto& start : starts) {
    const Mask a = RandomRuns(rng, start[0], -64, 18, 200, 3);
    const Mask b = RandomRuns(rng, start[1], -64, 9, 200, 4);
    const auto pa = PlaneRegion(a, a.r0, a.h, -64, 4);
    const auto pb = PlaneRegion(b, b.r0, b.h, -64, 4);
    for (SetOp op : kOps) {
      SCOPED_TRACE(static_cast<int>(op));
      const vexa::RegionPtr got = vexa::CombinePlanes(op, *pa, *pb);
      ASSERT_NE(got, nullptr);
      EXPECT_NE(got->plane(), nullptr);
      EXPECT_EQ(got->chords(), Reference(op, a, b));
      EXPECT_EQ(got->empty(), Reference(op, a, b).empty());
    }
  }
  // Planes of other columns, and chord regions, take the other paths.
  const Mask m = RandomRuns(rng, 0, 0, 4, 100, 3);
  const auto chords = vexa::Region::FromCanonicalChords(ChordsOf(m));
  EXPECT_EQ(vexa::CombinePlanes(SetOp::kUnion, *PlaneRegion(m, 0, 4, 0, 2),
                                *PlaneRegion(m, 0, 4, -64, 3)),
            nullptr);
  EXPECT_EQ(vexa::CombinePlanes(SetOp::kUnion, *PlaneRegion(m, 0, 4, 0, 2), *chords), nullptr);
}

// Threads that ask a shared plane for its chords at the same time all get
// the one list, made once.
TEST(PackedRegions, ConcurrentReadersShareOneUnpacking) {
  std::mt19937 rng(47);
  const Mask m = RandomRuns(rng, 0, 0, 200, 600, 2);
  const auto plane = PlaneRegion(m, 0, 200, 0, 10);
  const Chords want = ChordsOf(m);
  std::vector<const Chords*> seen(4);
  std::vector<std::thread> readers;
  for (size_t t = 0; t < seen.size(); ++t)
    readers.emplace_back([&, t] { seen[t] = &plane->chords(); });
  for (std::thread& t : readers) t.join();
  for (const Chords* s : seen) EXPECT_EQ(s, &plane->chords());
  EXPECT_EQ(*seen[0], want);
}

// threshold keeps a fragmented result over a whole byte image as its
// plane and a smooth one as chords; the set operators combine two such
// planes word by word; every result has the pixels of a per-pixel loop.
TEST_F(RegionOpsTest, ThresholdPlanesThroughTheOperators) {
  constexpr int kW = 333, kH = 47;
  std::vector<uint8_t> noise(kW * kH), noise2(kW * kH), ramp(kW * kH);
  for (size_t i = 0; i < noise.size(); ++i) {
    noise[i] = static_cast<uint8_t>(rng_());
    noise2[i] = static_cast<uint8_t>(rng_());
    ramp[i] = static_cast<uint8_t>(i % kW * 255 / kW);
  }
  const auto image = [&](std::vector<uint8_t>& px) {
    Vexa::Vobject im;
    EXPECT_EQ(Vexa::gen_image1(&im, "byte", kW, kH,
                               static_cast<Vlong>(reinterpret_cast<uintptr_t>(px.data()))),
              VRESULT_OK);
    return im;
  };
  const auto selected = [&](const std::vector<uint8_t>& px) {
    return MaskOf(0, 0, kH, kW, [&](int r, int c) { return px[r * kW + c] >= 100; });
  };
  Vexa::Vobject ta, tb, smooth;
  ASSERT_EQ(Vexa::threshold(image(noise), &ta, 100, 255), VRESULT_OK);
  ASSERT_EQ(Vexa::threshold(image(noise2), &tb, 100, 255), VRESULT_OK);
  ASSERT_EQ(Vexa::threshold(image(ramp), &smooth, 100, 255), VRESULT_OK);
  const Mask a = selected(noise), b = selected(noise2);
  ASSERT_NE(RegionsOf(ta).at(0)->plane(), nullptr);
  EXPECT_EQ(RegionsOf(smooth).at(0)->plane(), nullptr);
  EXPECT_EQ(RegionsOf(ta).at(0)->chords(), ChordsOf(a));
  EXPECT_EQ(RegionsOf(smooth).at(0)->chords(), ChordsOf(selected(ramp)));

  Vexa::Vobject out[4];
  ASSERT_EQ(Vexa::union2(ta, tb, &out[0]), VRESULT_OK);
  ASSERT_EQ(Vexa::intersection(ta, tb, &out[1]), VRESULT_OK);
  ASSERT_EQ(Vexa::difference(ta, tb, &out[2]), VRESULT_OK);
  ASSERT_EQ(Vexa::symm_difference(ta, tb, &out[3]), VRESULT_OK);
  for (int k = 0; k < 4; ++k) {
    SCOPED_TRACE(k);
    const vexa::RegionPtr r = RegionsOf(out[k]).at(0);
    EXPECT_NE(r->plane(), nullptr);
    EXPECT_EQ(r->chords(), Reference(kOps[k], a, b));
  }
  // A plane with a chord region goes through the run paths.
  Vexa::Vobject mixed;
  ASSERT_EQ(Vexa::union2(ta, smooth, &mixed), VRESULT_OK);
  EXPECT_EQ(RegionsOf(mixed).at(0)->chords(), Reference(SetOp::kUnion, a, selected(ramp)));
  Vlong area = 0;
  double row = 0, col = 0;
  ASSERT_EQ(Vexa::area_center(out[1], &area, &row, &col), VRESULT_OK);
  Vlong want = 0;
  a.ForEach([&](int r, int c) { want += b.Get(r, c); });
  EXPECT_EQ(area, want);
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
    EXPECT_EQ(vexa::AddByBitRows(*region, box, element)->chords(), ChordsOf(grown));
    EXPECT_EQ(vexa::FitByBitRows(*region, box, element)->chords(), ChordsOf(fits));
  }
}

// A result with more runs than its words would hold as chords stays a
// plane: pairs of pixels every fifth column, grown by a vertical pair.
TEST(PackedMorphology, FragmentedResultsStayPlanes) {
  const Mask dots = MaskOf(-5, -40, 30, 400, [](int r, int c) { return (c + 40) % 5 < 2 && r % 3; });
  const auto region = vexa::Region::FromCanonicalChords(ChordsOf(dots));
  vexa::RegionBox box;
  ASSERT_TRUE(region->BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2));
  const vexa::RegionPtr grown = vexa::AddByBitRows(*region, box, {{0, 0, 0}, {1, 0, 0}});
  ASSERT_NE(grown->plane(), nullptr);
  EXPECT_EQ(grown->chords(), ChordsOf(MaskOf(-5, -40, 31, 400, [&](int r, int c) {
              return dots.Get(r, c) || dots.Get(r - 1, c);
            })));
  // A plane as input is copied into the kernel's frame, shifted by any
  // number of bits: the same results as from its runs.
  const auto runs = vexa::Region::FromCanonicalChords(grown->chords());
  const Chords element = {{-1, -3, 2}, {0, -70, -66}, {2, 5, 5}};
  ASSERT_TRUE(grown->BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2));
  EXPECT_EQ(vexa::AddByBitRows(*grown, box, element)->chords(),
            vexa::AddByBitRows(*runs, box, element)->chords());
  EXPECT_EQ(vexa::FitByBitRows(*grown, box, element)->chords(),
            vexa::FitByBitRows(*runs, box, element)->chords());
}

}  // namespace
