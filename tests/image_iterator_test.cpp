// VImageIterator: the walk over inner and border part of a non-rectangular
// domain against a split computed here pixel by pixel, the neighbour
// offsets of the three border treatments, the constant cell behind the
// last pixel, and the end cases of the walk.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include <vexaobj/VImage.h>
#include <vexaobj/VIterator.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VTypedImage.h>

#include "image_class_support.h"

namespace {

using namespace Vexa;

constexpr int kW = 7, kH = 5;

// The domain as a mask, row by row: two chords in row 1, a one-pixel chord
// in row 3, pixels on every image edge.
const char* const kDomain[kH] = {
    "##...##",
    "#.###.#",
    ".#####.",
    "...#...",
    "#######",
};

VRegion DomainRegion() {
  VTuple rows, begins, ends;
  for (int r = 0; r < kH; ++r)
    for (int c = 0; c < kW; ++c) {
      if (kDomain[r][c] != '#' || (c > 0 && kDomain[r][c - 1] == '#')) continue;
      int e = c;
      while (e + 1 < kW && kDomain[r][e + 1] == '#') ++e;
      rows.Append(VTuple(Vlong{r}));
      begins.Append(VTuple(Vlong{c}));
      ends.Append(VTuple(Vlong{e}));
    }
  return VRegion::GenRegionRuns(rows, begins, ends);
}

// A byte image of the size above whose domain is kDomain.
VByteImage DomainImage() {
  return VByteImage(VImage(kW, kH, "byte").ReduceDomain(DomainRegion()));
}

using Visit = std::tuple<int, int, int>;  // x, y, inner

// The walk the iterator should make with reaches (left, top, right,
// bottom): inner pixels row by row, then border pixels, without the very
// last one.
std::vector<Visit> ExpectedWalk(int left, int top, int right, int bottom) {
  std::vector<Visit> inner, border;
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      if (kDomain[y][x] != '#') continue;
      const bool in = x >= left && x <= kW - right - 1 && y >= top && y <= kH - bottom - 1;
      (in ? inner : border).push_back(Visit(x, y, in ? 1 : 0));
    }
  inner.insert(inner.end(), border.begin(), border.end());
  if (!inner.empty()) inner.pop_back();
  return inner;
}

std::vector<Visit> Walk(VImageIterator it) {
  std::vector<Visit> visits;
  for (; it.Continue(); ++it) {
    EXPECT_EQ(it.LinCoor(), it.Y() * kW + it.X());
    visits.push_back(Visit(static_cast<int>(it.X()), static_cast<int>(it.Y()), it.IsInner()));
  }
  return visits;
}

TEST_F(ImageClassTest, WalkCoversInnerThenBorderOfTheDomain) {
  VByteImage image = DomainImage();
  EXPECT_EQ(Walk(VImageIterator(image, 3, 3, 0, 0.0)), ExpectedWalk(1, 1, 1, 1));
  EXPECT_EQ(Walk(VImageIterator(image, 1, 0, 2, 1, 0, 0.0)), ExpectedWalk(1, 0, 2, 1));
  // A mask of 0 x 0 has no border part.
  const VImageIterator whole(image, 0, 0, 0, 0.0);
  EXPECT_EQ(whole.BorderDomain().Num(), 0);
  EXPECT_EQ(Walk(whole), ExpectedWalk(0, 0, 0, 0));
  // A mask wider than the image leaves no inner part.
  const VImageIterator wide(image, kW + 2, 1, 0, 0.0);
  EXPECT_EQ(wide.IsInner(), 0);
  EXPECT_EQ(wide.InnerDomain().Num(), 0);
  EXPECT_EQ(Walk(wide), ExpectedWalk(kW / 2 + 1, 0, kW / 2 + 1, 0));
}

TEST_F(ImageClassTest, RegionNarrowsTheWalk) {
  VByteImage image = DomainImage();
  const VRegion rows = VRegion::GenRectangle1(1.0, 0.0, 2.0, kW - 1.0);
  // Only rows 1 and 2 of the domain: inner pixels first, then the border,
  // whose last chord is the single pixel (6, 1). A walk arrives at such a
  // chord by a chord change, not by a step within the chord, so that last
  // pixel is visited.
  std::vector<Visit> full;
  for (int inner = 1; inner >= 0; --inner)
    for (int y = 1; y <= 2; ++y)
      for (int x = 0; x < kW; ++x)
        if (kDomain[y][x] == '#' && (x >= 1 && x <= kW - 2) == (inner == 1))
          full.push_back(Visit(x, y, inner));
  ASSERT_EQ(full.back(), Visit(6, 1, 0));
  EXPECT_EQ(Walk(VImageIterator(image, rows, 3, 3, 0, 0.0)), full);
  // A domain inside the margins: no border part at all.
  const VRegion middle = VRegion::GenRectangle1(2.0, 2.0, 2.0, 4.0);
  const VImageIterator inside(image, middle, 3, 3, 0, 0.0);
  EXPECT_EQ(inside.BorderDomain().Num(), 0);
  EXPECT_EQ(inside.InnerDomain().Num(), 1);
  // An empty domain: nothing to walk.
  const VImageIterator none(image, VRegion::GenEmptyRegion(), 3, 3, 0, 0.0);
  EXPECT_EQ(none.Continue(), 0);
}

TEST_F(ImageClassTest, NeighbourOffsetsByBorderTreatment) {
  VByteImage image = DomainImage();
  // Mirror: the first border pixel is (0, 0).
  VImageIterator mirror(image, 3, 3, 0, 0.0);
  while (mirror.IsInner()) ++mirror;
  ASSERT_EQ(mirror.X(), 0);
  ASSERT_EQ(mirror.Y(), 0);
  EXPECT_EQ(mirror(-1, 0), 1);           // column 1
  EXPECT_EQ(mirror(0, -1), kW);          // row 1
  EXPECT_EQ(mirror(kW, 0), kW - 2);      // X = width gives width - 2
  // Continue: X = 0 stays, X = width passes unchanged into the next row.
  VImageIterator cont(image, 3, 3, 1, 0.0);
  while (cont.IsInner()) ++cont;
  EXPECT_EQ(cont(0, 0), 0);
  EXPECT_EQ(cont(-2, -3), 0);
  EXPECT_EQ(cont(kW, 0), kW);
  EXPECT_EQ(cont(kW + 1, kH + 1), (kH - 1) * kW + kW - 1);
  // Inside, an offset is plain arithmetic.
  VImageIterator in(image, 3, 3, 1, 0.0);
  ASSERT_EQ(in.IsInner(), 1);
  EXPECT_EQ(in(1, 1), in.LinCoor() + kW + 1);
}

TEST_F(ImageClassTest, ConstantBorderReadsTheCellBehindTheLastPixel) {
  VByteImage image = DomainImage();
  VImageIterator it(image, 3, 3, 2, 77.0);
  while (it.IsInner()) ++it;
  EXPECT_EQ(it(-1, -1), Vlong{kW} * kH);
  const VByteImage& reader = image;
  EXPECT_EQ(reader[it(-1, -1)], 77);
  // The pixels themselves are untouched.
  EXPECT_EQ(reader[kW * kH - 1], 0);
  VImageIterator wrong(image, 3, 3, 5, 0.0);
  while (wrong.IsInner()) ++wrong;
  EXPECT_EQ(RaisedMessage([&] { wrong(0, 0); }), "wrong border treatment");
}

TEST_F(ImageClassTest, WalkEndsAndReports) {
  VByteImage image = DomainImage();
  // Row 3 is a one-pixel chord: one step takes the walk on to row 4.
  VImageIterator it(image, 1, 3, 1, 3, 0, 0.0);
  while (!(it.Y() == 3)) ++it;
  ++it;
  EXPECT_EQ(it.Y(), 4);
  while (it.Continue()) ++it;
  EXPECT_EQ(RaisedMessage([&] { ++it; }), "no more pixel available");
  EXPECT_EQ(RaisedMessage([&] { VImageIterator even(image, 4, 3, 0, 0.0); }),
            "even number for width not allowed");
  EXPECT_EQ(RaisedMessage([&] { VImageIterator even(image, 3, 2, 0, 0.0); }),
            "even number for height not allowed");
  const VImageIterator empty;
  EXPECT_EQ(empty.Continue(), 0);
  EXPECT_STREQ(empty.ClassName(), "VImageIterator");
}

}  // namespace
