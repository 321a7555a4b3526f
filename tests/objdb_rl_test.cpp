// The run-length view of DBGetRLPtr and the region measures, checked
// against per-pixel reference computations on a few shapes; and the region
// store's set operations the view is built from.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using vexa::Chord;
using vexa::Region;
using vexa::RegionPtr;
using Pixels = std::set<std::pair<int, int>>;  // (row, column)

Pixels PixelsOf(const Region& region) {
  Pixels p;
  for (const Chord& c : region.chords())
    for (int col = c.cb; col <= c.ce; ++col) p.insert({c.r, col});
  return p;
}

RegionPtr RegionOf(const Pixels& pixels) {
  std::vector<Chord> chords;
  for (const auto& p : pixels) chords.push_back({p.first, p.second, p.second});
  return Region::FromChords(chords);
}

// Disc, tilted bar, ring and a few separate dots: round, elongated along a
// diagonal, with a hole, and disconnected.
std::vector<Pixels> Shapes() {
  Pixels disc, bar, ring, dots;
  for (int r = -12; r <= 12; ++r)
    for (int c = -12; c <= 12; ++c) {
      const int d2 = r * r + c * c;
      if (d2 <= 100) disc.insert({r + 40, c + 30});
      if (d2 <= 144 && d2 >= 36) ring.insert({r, c});
    }
  for (int t = 0; t < 40; ++t)
    for (int w = 0; w < 3; ++w) bar.insert({100 - t + w, 10 + t});
  dots = {{0, 0}, {0, 5}, {7, -3}, {-20, 9}};
  return {disc, bar, ring, dots};
}

struct Reference {
  double area, row, col, m11, m20, m02;
};

Reference ReferenceOf(const Pixels& pixels) {
  Reference ref{};
  for (const auto& p : pixels) {
    ref.area += 1;
    ref.row += p.first;
    ref.col += p.second;
  }
  ref.row /= ref.area;
  ref.col /= ref.area;
  for (const auto& p : pixels) {
    const double dr = p.first - ref.row, dc = p.second - ref.col;
    ref.m20 += dr * dr;
    ref.m02 += dc * dc;
    ref.m11 += dr * dc;
  }
  ref.m20 /= ref.area;
  ref.m02 /= ref.area;
  ref.m11 /= ref.area;
  return ref;
}

class RLView : public ::testing::TestWithParam<size_t> {};

TEST_P(RLView, ChordsAreaCentreAndMomentsMatchThePixels) {
  const Pixels pixels = Shapes()[GetParam()];
  Vkey key = nullptr;
  ASSERT_EQ(vexa::db::NewRegion(RegionOf(pixels), &key), VRESULT_OK);
  Vrlregion* rl = nullptr;
  ASSERT_EQ(DBGetRLPtr(nullptr, key, &rl), VRESULT_OK);
  Vrlregion* again = nullptr;
  ASSERT_EQ(DBGetRLPtr(nullptr, key, &again), VRESULT_OK);
  EXPECT_EQ(again, rl);  // built once, stable

  // The interface reads the record by byte offsets.
  const auto* bytes = reinterpret_cast<const unsigned char*>(rl);
  int32_t num;
  std::memcpy(&num, bytes + 4, 4);
  EXPECT_TRUE(bytes[17] & 0x80);
  Pixels seen;
  for (int32_t i = 0; i < num; ++i) {
    const Vrlchord& c = rl->rl[i];
    if (i > 0) {  // canonical order, runs of a row apart
      const Vrlchord& p = rl->rl[i - 1];
      EXPECT_TRUE(p.r < c.r || (p.r == c.r && p.ce + 1 < c.cb));
    }
    for (int col = c.cb; col <= c.ce; ++col) seen.insert({c.r, col});
  }
  EXPECT_EQ(seen, pixels);

  const Reference ref = ReferenceOf(pixels);
  EXPECT_EQ(rl->area, static_cast<int32_t>(ref.area));
  EXPECT_NEAR(rl->row, ref.row, 1e-9);
  EXPECT_NEAR(rl->col, ref.col, 1e-9);
  Vlong area = 0;
  double row = 0, col = 0;
  VRLCalcArea(rl, &area, &row, &col);
  EXPECT_EQ(area, static_cast<Vlong>(ref.area));
  EXPECT_NEAR(row, ref.row, 1e-9);
  EXPECT_NEAR(col, ref.col, 1e-9);

  double m11, m20, m02, ia, ib;
  ASSERT_EQ(VRLMoments(nullptr, rl, &m11, &m20, &m02, &ia, &ib), VRESULT_OK);
  EXPECT_NEAR(m11, ref.m11, 1e-9);
  EXPECT_NEAR(m20, ref.m20, 1e-9);
  EXPECT_NEAR(m02, ref.m02, 1e-9);
  // Principal values keep the trace and the determinant of the covariance.
  EXPECT_NEAR(ia + ib, ref.m20 + ref.m02, 1e-9);
  EXPECT_NEAR(ia * ib, ref.m20 * ref.m02 - ref.m11 * ref.m11, 1e-6);
  EXPECT_GE(ia, ib);
  EXPECT_EQ(DBDelObjectId(nullptr, key), VRESULT_OK);
}

INSTANTIATE_TEST_SUITE_P(Shapes, RLView, ::testing::Range<size_t>(0, 4));

TEST(RLMeasures, EllipseAndShapeFactorsOfKnownShapes) {
  double ra, rb, phi, aniso, bulk, sf;
  // A horizontal 1 x 21 line: major axis along the columns, no width.
  Vkey line = nullptr;
  ASSERT_EQ(vexa::db::NewRegion(Region::Rectangle(5, 0, 5, 20), &line),
            VRESULT_OK);
  Vrlregion* rl = nullptr;
  ASSERT_EQ(DBGetRLPtr(nullptr, line, &rl), VRESULT_OK);
  ASSERT_EQ(VRLEllipseAxis(nullptr, rl, &ra, &rb, &phi), VRESULT_OK);
  EXPECT_NEAR(ra, 2.0 * std::sqrt((21.0 * 21.0 - 1.0) / 12.0), 1e-9);
  EXPECT_EQ(rb, 0.0);
  EXPECT_NEAR(phi, 0.0, 1e-12);
  ASSERT_EQ(VRLExcentricity(nullptr, rl, &aniso, &bulk, &sf), VRESULT_OK);
  EXPECT_EQ(aniso, 0.0);  // undefined for a line: reported as 0
  EXPECT_EQ(DBDelObjectId(nullptr, line), VRESULT_OK);

  // A vertical 40 x 10 rectangle: phi is pi/2, anisometry sqrt of the
  // variance ratio, bulkiness pi ra rb / area.
  Vkey rect = nullptr;
  ASSERT_EQ(vexa::db::NewRegion(Region::Rectangle(0, 0, 39, 9), &rect),
            VRESULT_OK);
  ASSERT_EQ(DBGetRLPtr(nullptr, rect, &rl), VRESULT_OK);
  ASSERT_EQ(VRLEllipseAxis(nullptr, rl, &ra, &rb, &phi), VRESULT_OK);
  const double vr = (40.0 * 40.0 - 1.0) / 12.0, vc = (10.0 * 10.0 - 1.0) / 12.0;
  EXPECT_NEAR(ra, 2.0 * std::sqrt(vr), 1e-9);
  EXPECT_NEAR(rb, 2.0 * std::sqrt(vc), 1e-9);
  EXPECT_NEAR(phi, M_PI / 2.0, 1e-12);
  ASSERT_EQ(VRLExcentricity(nullptr, rl, &aniso, &bulk, &sf), VRESULT_OK);
  EXPECT_NEAR(aniso, std::sqrt(vr / vc), 1e-9);
  EXPECT_NEAR(bulk, M_PI * ra * rb / 400.0, 1e-9);
  EXPECT_NEAR(sf, aniso * bulk - 1.0, 1e-12);
  EXPECT_EQ(DBDelObjectId(nullptr, rect), VRESULT_OK);
}

TEST(RLView, EmptyRegionAndCoordinatesBeyondInt16) {
  Vkey empty = nullptr;
  ASSERT_EQ(vexa::db::NewRegion(Region::Empty(), &empty), VRESULT_OK);
  Vrlregion* rl = nullptr;
  ASSERT_EQ(DBGetRLPtr(nullptr, empty, &rl), VRESULT_OK);
  EXPECT_EQ(rl->num, 0);
  EXPECT_EQ(rl->area, 0);
  double ra, rb, phi;
  ASSERT_EQ(VRLEllipseAxis(nullptr, rl, &ra, &rb, &phi), VRESULT_OK);
  EXPECT_EQ(ra, 0.0);
  EXPECT_EQ(DBDelObjectId(nullptr, empty), VRESULT_OK);

  Vkey far = nullptr;
  ASSERT_EQ(vexa::db::NewRegion(Region::Rectangle(0, 32760, 2, 32800), &far),
            VRESULT_OK);
  EXPECT_EQ(DBGetRLPtr(nullptr, far, &rl), VERR_COORD_RANGE);
  EXPECT_EQ(DBDelObjectId(nullptr, far), VRESULT_OK);

  Vkey tuple = nullptr;
  ASSERT_EQ(DBStoreTuple(nullptr, nullptr, 0, &tuple), VRESULT_OK);
  EXPECT_EQ(DBGetRLPtr(nullptr, tuple, &rl), VERR_NOT_REGION);
  EXPECT_EQ(DBDelObjectId(nullptr, tuple), VRESULT_OK);
}

TEST(RegionStore, SetOperationsAgreeWithPixelSets) {
  const std::vector<Pixels> shapes = Shapes();
  for (const Pixels& a : shapes) {
    for (const Pixels& b : shapes) {
      Pixels uni = a, inter;
      uni.insert(b.begin(), b.end());
      for (const auto& p : a)
        if (b.count(p)) inter.insert(p);
      EXPECT_EQ(PixelsOf(*Region::Union(*RegionOf(a), *RegionOf(b))), uni);
      EXPECT_EQ(PixelsOf(*Region::Intersection(*RegionOf(a), *RegionOf(b))),
                inter);
    }
    Pixels clipped;
    for (const auto& p : a)
      if (p.first >= 0 && p.first <= 45 && p.second >= -2 && p.second <= 33)
        clipped.insert(p);
    EXPECT_EQ(PixelsOf(*RegionOf(a)->ClipToRectangle(0, -2, 45, 33)), clipped);
    const RegionPtr r = RegionOf(a);
    for (const auto& p : a) EXPECT_TRUE(r->Contains(p.first, p.second));
    EXPECT_FALSE(r->Contains(1000, 1000));
  }
}

TEST(RegionStore, ChordsAreSortedAndMerged) {
  const RegionPtr r = Region::FromChords(
      {{2, 5, 9}, {1, 0, 3}, {2, 0, 4}, {2, 8, 12}, {1, 7, 6}, {1, 4, 4}});
  const std::vector<Chord> expected{{1, 0, 4}, {2, 0, 12}};
  EXPECT_EQ(r->chords(), expected);
  EXPECT_EQ(r->area(), 5 + 13);
}

}  // namespace
