// Morphology and set algebra of dense, fragmented regions (many runs per
// row), the case that goes through packed bit rows and the branch-free
// merges, against per-pixel definitions on a grid: discs of radius 1..30
// (groups of element rows with equal widths), rectangles (doubling windows
// over rows), arbitrary elements with several chords per row, and the
// choice between the bit path and the run path.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "../ops/region/kernels/bit_morph.h"
#include "../ops/region/kernels/morph_kernels.h"
#include "region_algebra.h"
#include "region_store.h"

namespace {

using vexa::Chord;
using vexa::Region;
using vexa::RegionPtr;
using Chords = std::vector<Chord>;

// Pixels of rows/columns -kPad .. kSize + kPad: room for every shift below.
constexpr int kSize = 48, kPad = 80, kSpan = kSize + 2 * kPad;

struct Grid {
  std::vector<uint8_t> px = std::vector<uint8_t>(kSpan * kSpan, 0);
  bool Get(int r, int c) const {
    r += kPad, c += kPad;
    return r >= 0 && r < kSpan && c >= 0 && c < kSpan && px[r * kSpan + c];
  }
  void Set(int r, int c) { px[(r + kPad) * kSpan + c + kPad] = 1; }
  Chords ToChords() const {
    Chords out;
    for (int r = -kPad; r < kSize + kPad; ++r)
      for (int c = -kPad; c < kSize + kPad; ++c)
        if (Get(r, c)) out.push_back({r, c, c});
    return Region::FromChords(out)->chords();
  }
};

Grid OfChords(const Chords& chords) {
  Grid g;
  for (const Chord& ch : chords)
    for (int c = ch.cb; c <= ch.ce; ++c) g.Set(ch.r, c);
  return g;
}

// About `fill` of the pixels set at random, so that rows hold many runs.
Grid RandomGrid(std::mt19937& rng, double fill) {
  Grid g;
  std::bernoulli_distribution on(fill);
  for (int r = 0; r < kSize; ++r)
    for (int c = 0; c < kSize; ++c)
      if (on(rng)) g.Set(r, c);
  return g;
}

std::vector<std::pair<int, int>> Offsets(const Chords& element) {
  std::vector<std::pair<int, int>> out;
  for (const Chord& k : element)
    for (int c = k.cb; c <= k.ce; ++c) out.push_back({k.r, c});
  return out;
}

Chords AddRef(const Grid& a, const Chords& element) {
  Grid out;
  for (int r = 0; r < kSize; ++r)
    for (int c = 0; c < kSize; ++c)
      if (a.Get(r, c))
        for (const auto& [dr, dc] : Offsets(element)) out.Set(r + dr, c + dc);
  return out.ToChords();
}

Chords FitRef(const Grid& a, const Chords& element) {
  const auto offsets = Offsets(element);
  Grid out;
  for (int r = -kPad; r < kSize + kPad; ++r)
    for (int c = -kPad; c < kSize + kPad; ++c) {
      size_t i = 0;
      while (i < offsets.size() && a.Get(r + offsets[i].first, c + offsets[i].second)) ++i;
      if (i == offsets.size()) out.Set(r, c);
    }
  return out.ToChords();
}

Chords Disc(int radius) {
  Chords out;
  for (int dr = -radius; dr <= radius; ++dr) {
    int h = 0;
    while ((h + 1) * (h + 1) + dr * dr <= radius * radius) ++h;
    out.push_back({dr, -h, h});
  }
  return out;
}

Chords Box(int r0, int height, int c0, int width) {
  Chords out;
  for (int r = r0; r < r0 + height; ++r) out.push_back({r, c0, c0 + width - 1});
  return out;
}

vexa::RegionBox BoxOf(const Region& region) {
  vexa::RegionBox box{0, 0, -1, -1};
  region.BoundingBox(&box.r1, &box.c1, &box.r2, &box.c2);
  return box;
}

// Both bit-row kernels and the dispatching Add and Fit against the
// definitions.
void ExpectMorphology(const Grid& a, const Chords& element, const char* what) {
  const RegionPtr region = Region::FromCanonicalChords(a.ToChords());
  const Chords add = AddRef(a, element), fit = FitRef(a, element);
  if (!region->empty()) {
    EXPECT_EQ(vexa::AddByBitRows(*region, BoxOf(*region), element)->chords(), add) << what;
    EXPECT_EQ(vexa::FitByBitRows(*region, BoxOf(*region), element)->chords(), fit) << what;
  }
  const vexa::Element e = vexa::Element::FromChords(element);
  RegionPtr out;
  ASSERT_EQ(vexa::Add(*region, e, &out), VRESULT_OK);
  EXPECT_EQ(out->chords(), add) << what;
  ASSERT_EQ(vexa::Fit(*region, e, &out), VRESULT_OK);
  EXPECT_EQ(out->chords(), fit) << what;
}

TEST(DenseMorphology, DiscsOfEveryRadiusUpTo30) {
  std::mt19937 rng(31);
  for (int radius = 1; radius <= 30; ++radius) {
    // Fragmented for the dilation; nearly full so that erosions keep
    // something.
    ExpectMorphology(RandomGrid(rng, 0.5), Disc(radius), "sparse fill");
    if (radius <= 8)
      ExpectMorphology(RandomGrid(rng, 0.995), Disc(radius), "nearly full");
  }
}

TEST(DenseMorphology, RectanglesAndElementsWithSeveralChordsPerRow) {
  std::mt19937 rng(32);
  for (int height : {1, 2, 3, 4, 5, 7, 8, 13, 16, 21})
    ExpectMorphology(RandomGrid(rng, 0.97), Box(-height / 2, height, -1, 3 + height % 5),
                     "box");
  // Rows with gaps, off-centre and entirely to one side of the reference.
  const std::vector<Chords> odd = {
      {{-2, -3, -1}, {-2, 2, 2}, {0, -5, -4}, {0, 0, 6}, {3, -1, 1}},
      {{4, 70, 72}, {5, 70, 72}, {6, 70, 72}, {7, 70, 72}, {8, 64, 64}},
      {{-6, -2, -2}, {-5, -2, -2}, {-4, -2, -2}, {-3, -2, -2}, {-2, 1, 1}, {-1, -2, -2}}};
  for (const Chords& e : odd) {
    ExpectMorphology(RandomGrid(rng, 0.6), e, "odd element");
    ExpectMorphology(RandomGrid(rng, 0.98), e, "odd element, nearly full");
  }
}

TEST(DenseMorphology, BitRowsAreChosenForFragmentedRegionsOnly) {
  std::mt19937 rng(33);
  const RegionPtr fragmented =
      Region::FromCanonicalChords(RandomGrid(rng, 0.5).ToChords());
  const RegionPtr single = Region::Rectangle(0, 0, 0, 4000);
  EXPECT_TRUE(vexa::PreferBitRows(*fragmented, BoxOf(*fragmented), Disc(3), 14));
  EXPECT_FALSE(vexa::PreferBitRows(*single, BoxOf(*single), Disc(3), 14));
  EXPECT_FALSE(vexa::PreferBitRows(*Region::Empty(), BoxOf(*Region::Empty()), Disc(3), 14));
  // Far apart runs would need a plane beyond every memory bound.
  const RegionPtr spread = Region::FromChords({{0, 0, 0}, {1 << 20, 1 << 20, 1 << 20}});
  EXPECT_FALSE(vexa::PreferBitRows(*spread, BoxOf(*spread), Disc(3), 1e9));
}

// Union, intersection and difference of fragmented rows, where every
// choice of the merges (which chord next, join or not, keep or not) is
// random, against the grid.
TEST(DenseSetAlgebra, FragmentedRowsAgainstPixels) {
  std::mt19937 rng(34);
  for (int round = 0; round < 20; ++round) {
    const Grid a = RandomGrid(rng, 0.5), b = RandomGrid(rng, round % 2 ? 0.5 : 0.9);
    Grid uni, inter, diff;
    for (int r = 0; r < kSize; ++r)
      for (int c = 0; c < kSize; ++c) {
        if (a.Get(r, c) || b.Get(r, c)) uni.Set(r, c);
        if (a.Get(r, c) && b.Get(r, c)) inter.Set(r, c);
        if (a.Get(r, c) && !b.Get(r, c)) diff.Set(r, c);
      }
    const Chords ca = a.ToChords(), cb = b.ToChords();
    EXPECT_EQ(vexa::ChordUnion(ca, cb), uni.ToChords());
    EXPECT_EQ(vexa::ChordIntersection(ca, cb), inter.ToChords());
    EXPECT_EQ(vexa::ChordDifference(ca, cb), diff.ToChords());
  }
}

}  // namespace
