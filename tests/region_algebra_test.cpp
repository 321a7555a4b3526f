// Set operators on regions, called through the procedural functions and
// compared with per-pixel operations on masks: union, intersection,
// difference, symmetric difference, complement, connected components and
// hole filling on random regions.
#include <functional>
#include <map>

#include "region_algebra_support.h"

namespace {

using namespace Vexa;
using namespace region_algebra_test;

// The window that holds every random mask and every result.
constexpr int kR0 = -3, kC0 = -4, kH = 40, kW = 50;

Mask Combine(const Mask& a, const Mask& b, const std::function<bool(bool, bool)>& op) {
  Mask m(kR0, kC0, kH, kW);
  for (int r = kR0; r < kR0 + kH; ++r)
    for (int c = kC0; c < kC0 + kW; ++c) m.Set(r, c, op(a.Get(r, c), b.Get(r, c)));
  return m;
}

using BinaryOp = unsigned int (*)(const Vobject&, const Vobject&, Vobject*);

struct BinaryCase {
  const char* name;
  BinaryOp op;
  std::function<bool(bool, bool)> pixel;
};

TEST_F(RegionOpsTest, BinaryOperatorsCombineEachRegionWithTheUnionOfTheSecond) {
  const BinaryCase cases[] = {
      {"union2", union2, [](bool x, bool y) { return x || y; }},
      {"intersection", intersection, [](bool x, bool y) { return x && y; }},
      {"difference", difference, [](bool x, bool y) { return x && !y; }},
      {"symm_difference", symm_difference, [](bool x, bool y) { return x != y; }},
  };
  for (int round = 0; round < 15; ++round) {
    const std::vector<Mask> first = {RandomMask(rng_), RandomMask(rng_)};
    const Mask s1 = RandomMask(rng_), s2 = RandomMask(rng_);
    const Mask second = Combine(s1, s2, [](bool x, bool y) { return x || y; });
    const Vobject a = ToObjects(first), b = ToObjects({s1, s2});
    for (const BinaryCase& t : cases) {
      SCOPED_TRACE(t.name);
      Vobject out;
      ASSERT_EQ(t.op(a, b, &out), VRESULT_OK);
      const auto regions = RegionsOf(out);
      ASSERT_EQ(regions.size(), 2u);
      for (size_t i = 0; i < 2; ++i)
        ExpectRegionIs(*regions[i], Combine(first[i], second, t.pixel));
    }
  }
}

TEST_F(RegionOpsTest, BinaryOperatorsWithEmptyOperands) {
  const Mask m = RandomMask(rng_);
  const Mask none(kR0, kC0, kH, kW);
  const Vobject a = ToObject(m), empty_region = ToObject(none);
  Vobject no_objects;
  ASSERT_EQ(gen_empty_obj(&no_objects), VRESULT_OK);
  Vobject out;
  ASSERT_EQ(union2(a, no_objects, &out), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(out).at(0), m);
  ASSERT_EQ(intersection(a, empty_region, &out), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(out).at(0), none);
  ASSERT_EQ(difference(empty_region, a, &out), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(out).at(0), none);
  // No region in the first parameter: no result.
  ASSERT_EQ(union2(no_objects, a, &out), VRESULT_OK);
  EXPECT_TRUE(RegionsOf(out).empty());
}

TEST_F(RegionOpsTest, Union1MergesAllRegionsIntoOne) {
  const std::vector<Mask> masks = {RandomMask(rng_), RandomMask(rng_), RandomMask(rng_)};
  Mask want = masks[0];
  for (const Mask& m : masks) want = Combine(want, m, [](bool x, bool y) { return x || y; });
  Vobject out;
  ASSERT_EQ(union1(ToObjects(masks), &out), VRESULT_OK);
  const auto regions = RegionsOf(out);
  ASSERT_EQ(regions.size(), 1u);
  ExpectRegionIs(*regions[0], want);
}

TEST_F(RegionOpsTest, ComplementIsTakenWithinTheDefaultFrame) {
  const Mask m = RandomMask(rng_);
  Vobject out;
  ASSERT_EQ(complement(ToObject(m), &out), VRESULT_OK);
  Mask want(kR0, kC0, 512 - kR0, 512 - kC0);
  for (int r = 0; r < 512; ++r)
    for (int c = 0; c < 512; ++c) want.Set(r, c, !m.Get(r, c));
  ExpectRegionIs(*RegionsOf(out).at(0), want);
}

// Components of a mask by flood fill, each as the list of its pixels,
// ordered by first pixel in row order.
std::vector<Mask> FloodComponents(const Mask& m, int neighbours) {
  Mask seen(m.r0, m.c0, m.h, m.w);
  std::vector<Mask> parts;
  m.ForEach([&](int r, int c) {
    if (seen.Get(r, c)) return;
    Mask part(m.r0, m.c0, m.h, m.w);
    std::vector<std::pair<int, int>> stack{{r, c}};
    seen.Set(r, c);
    while (!stack.empty()) {
      const auto [y, x] = stack.back();
      stack.pop_back();
      part.Set(y, x);
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          if (neighbours == 4 && dy != 0 && dx != 0) continue;
          if (m.Get(y + dy, x + dx) && !seen.Get(y + dy, x + dx)) {
            seen.Set(y + dy, x + dx);
            stack.push_back({y + dy, x + dx});
          }
        }
    }
    parts.push_back(part);
  });
  return parts;
}

TEST_F(RegionOpsTest, ConnectionGivesThe8ConnectedComponentsInOrder) {
  for (int round = 0; round < 10; ++round) {
    const std::vector<Mask> masks = {RandomMask(rng_), RandomMask(rng_)};
    Vobject out;
    ASSERT_EQ(connection(ToObjects(masks), &out), VRESULT_OK);
    std::vector<Mask> want;
    for (const Mask& m : masks)
      for (const Mask& part : FloodComponents(m, 8)) want.push_back(part);
    const auto regions = RegionsOf(out);
    ASSERT_EQ(regions.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) ExpectRegionIs(*regions[i], want[i]);
  }
}

TEST_F(RegionOpsTest, FillUpClosesEveryHole) {
  for (int round = 0; round < 10; ++round) {
    const Mask m = RandomMask(rng_, 0, 0, 30, 30, 20);
    // Holes: the background components (4-connected) that do not reach
    // the window's edge, taken in a window one pixel wider on each side.
    Mask background(-1, -1, 32, 32);
    for (int r = -1; r <= 30; ++r)
      for (int c = -1; c <= 30; ++c) background.Set(r, c, !m.Get(r, c));
    Mask want = m;
    for (const Mask& part : FloodComponents(background, 4))
      if (!part.Get(-1, -1)) part.ForEach([&](int r, int c) { want.Set(r, c); });
    Vobject out;
    ASSERT_EQ(fill_up(ToObject(m), &out), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), want);
  }
}

TEST_F(RegionOpsTest, AnImageStandsForItsDomainAndATupleOfNoKeysForNothing) {
  Vobject image;
  ASSERT_EQ(gen_image_const(&image, "byte", 20, 10), VRESULT_OK);
  const Mask m = RandomMask(rng_);
  Vobject out;
  ASSERT_EQ(intersection(ToObject(m), image, &out), VRESULT_OK);
  Mask want(kR0, kC0, kH, kW);
  m.ForEach([&](int r, int c) { want.Set(r, c, r >= 0 && r < 10 && c >= 0 && c < 20); });
  ExpectRegionIs(*RegionsOf(out).at(0), want);
  Vobject none;
  ASSERT_EQ(gen_empty_obj(&none), VRESULT_OK);
  ASSERT_EQ(connection(none, &out), VRESULT_OK);
  EXPECT_TRUE(RegionsOf(out).empty());
}

}  // namespace
