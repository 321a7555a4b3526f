// Rectangle measures, overlap pairs, Golay letters with their thinning
// step and the splitting of skeletons, against per-pixel references on
// random regions with a fixed seed.
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "region_pixelset_support.h"

namespace {

using namespace Vexa;
using namespace pixelset;

bool Has(const PixelSet& s, int r, int c) { return s.count({r, c}) != 0; }

TEST_F(RegionOpsTest, RectangularityIsOneForRectanglesAndFollowsTheRotatedBox) {
  std::vector<PixelSet> sets{Box(2, 3, 9, 20), Box(-4, -4, -4, 5), {}};
  for (int i = 0; i < 6; ++i) sets.push_back(RandomRegion(rng_, 0, 0, 25, 30, 4));
  const Vobject obj = AsObjects(sets);
  VTuple rect, row, col, phi, len1, len2;
  ASSERT_EQ(rectangularity(obj, &rect), VRESULT_OK);
  ASSERT_EQ(smallest_rectangle2(obj, &row, &col, &phi, &len1, &len2), VRESULT_OK);
  ASSERT_EQ(rect.Num(), static_cast<Vlong>(sets.size()));
  EXPECT_DOUBLE_EQ(rect[0].D(), 1.0);
  EXPECT_DOUBLE_EQ(rect[1].D(), 1.0);
  EXPECT_DOUBLE_EQ(rect[2].D(), 0.0);
  for (Vlong i = 3; i < rect.Num(); ++i) {
    const double box = (2 * len1[i].D() + 1) * (2 * len2[i].D() + 1);
    const double area = static_cast<double>(sets[static_cast<size_t>(i)].size());
    EXPECT_NEAR(rect[i].D(), std::min(1.0, area / box), 1e-12);
    EXPECT_GT(rect[i].D(), 0.0);
  }
  // A diamond fills about half of its turned square.
  PixelSet diamond;
  for (int r = -10; r <= 10; ++r)
    for (int c = -10; c <= 10; ++c)
      if (std::abs(r) + std::abs(c) <= 10) diamond.insert({r, c});
  double value = 0;
  ASSERT_EQ(rectangularity(MakeRegion(diamond), &value), VRESULT_OK);
  EXPECT_GT(value, 0.9);
}

TEST_F(RegionOpsTest, InnerRectangleIsTheLargestOneInside) {
  for (int round = 0; round < 12; ++round) {
    const PixelSet s = RandomRegion(rng_, -3, 5, 16, 18, 3 + round % 4);
    if (s.empty()) continue;
    // Brute force: every rectangle of the bounding box.
    int best = 0;
    for (int r1 = -3; r1 < 13; ++r1)
      for (int c1 = 5; c1 < 23; ++c1)
        for (int r2 = r1; r2 < 13 && Has(s, r2, c1); ++r2)
          for (int c2 = c1; c2 < 23; ++c2) {
            bool inside = true;
            for (int r = r1; r <= r2 && inside; ++r) inside = Has(s, r, c2);
            if (!inside) break;
            best = std::max(best, (r2 - r1 + 1) * (c2 - c1 + 1));
          }
    Vlong r1, c1, r2, c2;
    ASSERT_EQ(inner_rectangle1(MakeRegion(s), &r1, &c1, &r2, &c2), VRESULT_OK);
    EXPECT_EQ((r2 - r1 + 1) * (c2 - c1 + 1), best) << round;
    for (Vlong r = r1; r <= r2; ++r)
      for (Vlong c = c1; c <= c2; ++c) EXPECT_TRUE(Has(s, int(r), int(c))) << round;
  }
  Vlong r1 = -1, c1 = -1, r2 = -1, c2 = -1;
  ASSERT_EQ(inner_rectangle1(MakeRegion({}), &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_EQ(r1 + c1 + r2 + c2, 0);
}

TEST_F(RegionOpsTest, SpatialRelationListsPairsWithEnoughOverlap) {
  std::vector<PixelSet> a, b;
  for (int i = 0; i < 5; ++i) a.push_back(RandomRegion(rng_, 0, 0, 20, 20, 3));
  for (int i = 0; i < 4; ++i) b.push_back(RandomRegion(rng_, 0, 0, 20, 20, 2));
  b.push_back(a[2]);  // one pair overlapping completely
  const Vobject oa = AsObjects(a), ob = AsObjects(b);
  for (Vlong percent : {0, 20, 60, 100}) {
    VTuple i1, i2, p1, p2;
    ASSERT_EQ(spatial_relation(oa, ob, percent, &i1, &i2, &p1, &p2), VRESULT_OK);
    Vlong k = 0;
    for (size_t i = 0; i < a.size(); ++i)
      for (size_t j = 0; j < b.size(); ++j) {
        int shared = 0;
        for (const Pixel& p : a[i]) shared += static_cast<int>(b[j].count(p));
        if (shared == 0) continue;
        const double q1 = 100.0 * shared / a[i].size(), q2 = 100.0 * shared / b[j].size();
        if (q1 < percent && q2 < percent) continue;
        ASSERT_LT(k, i1.Num());
        EXPECT_EQ(i1[k].L(), Vlong(i + 1));
        EXPECT_EQ(i2[k].L(), Vlong(j + 1));
        EXPECT_NEAR(p1[k].D(), q1, 1e-9);
        EXPECT_NEAR(p2[k].D(), q2, 1e-9);
        ++k;
      }
    EXPECT_EQ(k, i1.Num()) << percent;
    if (percent == 100) {
      EXPECT_GE(k, 1);
    }
  }
  VTuple i1, i2, p1, p2;
  EXPECT_EQ(spatial_relation(oa, ob, 101, &i1, &i2, &p1, &p2), VERR_CTRL_VALUE(0));
}

// The letters as written in the header of the kernel, as 3 x 3 grids.
const char* Letter(const std::string& name) {
  if (name == "l") return "000"  ".1."  "111";
  if (name == "m") return ".00"  "110"  ".1.";
  if (name == "e") return ".1."  "010"  "000";
  if (name == "i") return "000"  "010"  "000";
  return ".0."  "010"  ".0.";  // noise
}

// The grid entry at offset (dr, dc) of the letter turned clockwise by
// `quarters` right angles.
char At(const char* grid, int quarters, int dr, int dc) {
  for (int q = 0; q < quarters; ++q) std::swap(dr, dc), dr = -dr;  // undo one turn
  return grid[(dr + 1) * 3 + dc + 1];
}

TEST_F(RegionOpsTest, GenStructElementsGivesForegroundThenBackground) {
  for (const char* name : {"l", "m", "e", "i", "noise"}) {
    Vobject elems;
    ASSERT_EQ(gen_struct_elements(&elems, name, 5, -7), VRESULT_OK);
    const std::vector<PixelSet> parts = PixelsOfAll(elems);
    ASSERT_EQ(parts.size(), 2u);
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) {
        const char want = Letter(name)[(dr + 1) * 3 + dc + 1];
        EXPECT_EQ(Has(parts[0], 5 + dr, -7 + dc), want == '1') << name;
        EXPECT_EQ(Has(parts[1], 5 + dr, -7 + dc), want == '0') << name;
      }
  }
  Vobject elems;
  EXPECT_EQ(gen_struct_elements(&elems, "q", 0, 0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_struct_elements(&elems, "l", 1 << 21, 0), VERR_CTRL_VALUE(1));
}

TEST_F(RegionOpsTest, ThinningGolayRemovesTheHitOrMissPointsOfTheTurnedLetter) {
  for (int round = 0; round < 4; ++round) {
    const PixelSet s = RandomRegion(rng_, 0, 0, 24, 24, 5);
    for (const char* name : {"l", "m", "e", "i", "noise"})
      for (int quarters = 0; quarters < 4; ++quarters) {
        PixelSet want;
        for (const Pixel& p : s) {
          bool hit = true;
          for (int dr = -1; dr <= 1; ++dr)
            for (int dc = -1; dc <= 1; ++dc) {
              const char e = At(Letter(name), quarters, dr, dc);
              const bool in = Has(s, p.first + dr, p.second + dc);
              if ((e == '1' && !in) || (e == '0' && in)) hit = false;
            }
          if (!hit) want.insert(p);
        }
        Vobject out;
        ASSERT_EQ(thinning_golay(MakeRegion(s), &out, name, 90 * quarters + 360 * (round % 2)), VRESULT_OK);
        EXPECT_EQ(PixelsOf(out), want) << name << " " << quarters;
      }
  }
  Vobject out;
  EXPECT_EQ(thinning_golay(MakeRegion(Box(0, 0, 2, 2)), &out, "l", 30), VERR_CTRL_VALUE(1));
  EXPECT_EQ(thinning_golay(MakeRegion(Box(0, 0, 2, 2)), &out, "x", 0), VERR_CTRL_VALUE(0));
}

TEST_F(RegionOpsTest, SplitSkeletonCutsAtJunctionsAndBends) {
  PixelSet cross;
  for (int k = 0; k <= 20; ++k) cross.insert({10, k}), cross.insert({k, 10});
  Vobject out;
  ASSERT_EQ(split_skeleton_region(MakeRegion(cross), &out, 100), VRESULT_OK);
  const std::vector<PixelSet> arms = PixelsOfAll(out);
  ASSERT_EQ(arms.size(), 4u);
  for (const PixelSet& arm : arms) EXPECT_EQ(arm.size(), 10u);

  PixelSet bend = Box(0, 0, 0, 15);
  for (int r = 1; r <= 15; ++r) bend.insert({r, 15});
  ASSERT_EQ(split_skeleton_region(MakeRegion(bend), &out, 100), VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(out), std::vector<PixelSet>{bend});
  ASSERT_EQ(split_skeleton_region(MakeRegion(bend), &out, 1), VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(out), (std::vector<PixelSet>{Box(0, 0, 0, 15), Box(1, 15, 15, 15)}));

  // Skeletons of random regions: disjoint pieces inside the input; only
  // pixels with three or more neighbours are dropped.
  for (int round = 0; round < 4; ++round) {
    Vobject skel;
    ASSERT_EQ(skeleton(MakeRegion(RandomRegion(rng_, 0, 0, 30, 30, 6)), &skel), VRESULT_OK);
    const PixelSet s = PixelsOf(skel);
    ASSERT_EQ(split_skeleton_region(skel, &out, 2), VRESULT_OK);
    PixelSet covered;
    for (const PixelSet& piece : PixelsOfAll(out))
      for (const Pixel& p : piece) {
        EXPECT_TRUE(Has(s, p.first, p.second));
        EXPECT_TRUE(covered.insert(p).second);
      }
    for (const Pixel& p : s) {
      if (Has(covered, p.first, p.second)) continue;
      int n = 0;
      for (int dr = -1; dr <= 1; ++dr)
        for (int dc = -1; dc <= 1; ++dc) n += (dr || dc) && Has(s, p.first + dr, p.second + dc);
      EXPECT_GE(n, 3);
    }
  }
  EXPECT_EQ(split_skeleton_region(MakeRegion(cross), &out, -1), VERR_CTRL_VALUE(0));

  // The same pieces as lines: the bend cut at its corner gives two, each
  // from one end of its piece to the other.
  VTuple br, bc, er, ec;
  ASSERT_EQ(split_skeleton_lines(MakeRegion(bend), 1, &br, &bc, &er, &ec), VRESULT_OK);
  ASSERT_EQ(br.Num(), 2);
  std::set<std::pair<Pixel, Pixel>> lines;
  for (Vlong k = 0; k < 2; ++k) {
    Pixel a{static_cast<int>(br[k].L()), static_cast<int>(bc[k].L())};
    Pixel b{static_cast<int>(er[k].L()), static_cast<int>(ec[k].L())};
    lines.insert({std::min(a, b), std::max(a, b)});
  }
  EXPECT_EQ(lines, (std::set<std::pair<Pixel, Pixel>>{{{0, 0}, {0, 15}}, {{1, 15}, {15, 15}}}));
  ASSERT_EQ(split_skeleton_lines(MakeRegion(cross), 100, &br, &bc, &er, &ec), VRESULT_OK);
  EXPECT_EQ(br.Num(), 4);  // one line per arm
}

}  // namespace
