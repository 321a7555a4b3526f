// expand_gray and expand_gray_ref against a step-by-step reference written
// per pixel: random gray values under a random domain, several seeds, a
// forbidden rectangle, both modes, counted and "maximal" iterations; then
// the refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "image_test_support.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using image_test::TestImage;

constexpr int kW = 40, kH = 30;
using Mask = std::vector<uint8_t>;

// One region per seed mask, grown by the rule: in each step a free pixel
// joins region i if admit(i, pixel, neighbour in i) holds for one of its
// 4-neighbours in region i and no other region takes it in that step.
template <class Admit>
std::vector<Mask> Reference(const TestImage& im, std::vector<Mask> regions, const Mask& forbidden,
                            bool region_mode, int iterations, Admit admit) {
  int r1 = kH, c1 = kW, r2 = -1, c2 = -1;
  for (const Mask& m : regions)
    for (int r = 0; r < kH; ++r)
      for (int c = 0; c < kW; ++c)
        if (m[r * kW + c]) r1 = std::min(r1, r), r2 = std::max(r2, r), c1 = std::min(c1, c), c2 = std::max(c2, c);
  auto is_free = [&](int r, int c) {
    if (!im.In(r, c) || forbidden[r * kW + c]) return false;
    if (region_mode && (r < r1 || r > r2 || c < c1 || c > c2)) return false;
    for (const Mask& m : regions)
      if (m[r * kW + c]) return false;
    return true;
  };
  const int d[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
  for (int step = 0; iterations < 0 || step < iterations; ++step) {
    std::vector<int> takers(kW * kH, 0), taker(kW * kH, -1);
    for (size_t i = 0; i < regions.size(); ++i)
      for (int r = 0; r < kH; ++r)
        for (int c = 0; c < kW; ++c) {
          if (!is_free(r, c)) continue;
          bool reached = false;
          for (const auto& s : d) {
            const int nr = r + s[0], nc = c + s[1];
            if (nr >= 0 && nr < kH && nc >= 0 && nc < kW && regions[i][nr * kW + nc] &&
                admit(i, r, c, nr, nc))
              reached = true;
          }
          if (reached) ++takers[r * kW + c], taker[r * kW + c] = static_cast<int>(i);
        }
    bool any = false;
    for (int p = 0; p < kW * kH; ++p)
      if (takers[p] == 1) regions[taker[p]][p] = 1, any = true;
    if (!any) break;
  }
  return regions;
}

class ExpandGrayTest : public image_test::ImageOpsTest {
 protected:
  void SetUp() override {
    image_test::ImageOpsTest::SetUp();
    std::mt19937 gen(17);
    // A random domain with every other row full, so that growth can pass
    // between its runs; gray values 0..7, so that a threshold of 3 admits
    // most neighbours but not all.
    Mask domain = image_test::RandomMask(kW, kH, gen, false);
    for (int r = 0; r < kH; r += 2)
      for (int c = 0; c < kW; ++c) domain[r * kW + c] = 1;
    image_ = image_test::MakeImage("byte", kW, kH, domain, gen, 0, 8);
    seeds_.assign(3, Mask(kW * kH, 0));
    const int at[3][2] = {{4, 5}, {12, 30}, {24, 18}};
    for (int i = 0; i < 3; ++i) seeds_[i][at[i][0] * kW + at[i][1]] = 1;
    forbidden_.assign(kW * kH, 0);
    for (int r = 14; r < 20; ++r)
      for (int c = 8; c < 16; ++c) forbidden_[r * kW + c] = 1;
  }
  void TearDown() override {
    image_ = TestImage();
    image_test::ImageOpsTest::TearDown();
  }
  Vobject Seeds() const {
    std::vector<Vobject> objects;
    for (const Mask& m : seeds_) objects.push_back(image_test::RegionOf(m, kW, kH));
    return image_test::Concat(objects);
  }
  void ExpectRegions(const Vobject& got, const std::vector<Mask>& expected) {
    const std::vector<Vobject> regions = image_test::ObjectsOf(got);
    ASSERT_EQ(regions.size(), expected.size());
    for (size_t i = 0; i < regions.size(); ++i)
      EXPECT_EQ(image_test::MaskOf(regions[i], kW, kH), expected[i]) << "region " << i;
  }
  TestImage image_;
  std::vector<Mask> seeds_;
  Mask forbidden_;
};

TEST_F(ExpandGrayTest, GrowsIntoNeighboursOfSimilarGray) {
  const Vobject forbidden = image_test::RegionOf(forbidden_, kW, kH);
  for (const char* mode : {"image", "region"})
    for (int iterations : {1, 3, -1}) {
      SCOPED_TRACE(std::string(mode) + " " + std::to_string(iterations));
      const VTuple it = iterations < 0 ? VTuple("maximal") : VTuple(Vlong{iterations});
      Vobject grown;
      ASSERT_EQ(expand_gray(Seeds(), image_.image, forbidden, &grown, it, VTuple(mode), VTuple(3.0)),
                VRESULT_OK);
      const std::vector<Mask> expected =
          Reference(image_, seeds_, forbidden_, std::string(mode) == "region", iterations,
                    [&](size_t, int r, int c, int nr, int nc) {
                      return std::fabs(image_.At(r, c) - image_.At(nr, nc)) <= 3;
                    });
      ExpectRegions(grown, expected);
      if (iterations < 0)  // the scene lets every seed grow well beyond one ring
        for (const Mask& m : expected) EXPECT_GT(std::count(m.begin(), m.end(), 1), 10);
    }
}

TEST_F(ExpandGrayTest, ReferenceGrayPerRegionOrForAll) {
  const Vobject forbidden = image_test::RegionOf(forbidden_, kW, kH);
  const std::vector<double> refs = {1.0, 5.0, 3.0};
  Vobject grown;
  ASSERT_EQ(expand_gray_ref(Seeds(), image_.image, forbidden, &grown, VTuple("maximal"),
                            VTuple("image"), VTuple(1.0).Append(VTuple(5.0)).Append(VTuple(3.0)),
                            VTuple(2.0)),
            VRESULT_OK);
  ExpectRegions(grown, Reference(image_, seeds_, forbidden_, false, -1,
                                 [&](size_t i, int r, int c, int, int) {
                                   return std::fabs(image_.At(r, c) - refs[i]) <= 2;
                                 }));
  ASSERT_EQ(expand_gray_ref(Seeds(), image_.image, forbidden, &grown, VTuple(Vlong{4}),
                            VTuple("region"), VTuple(4.0), VTuple(2.0)),
            VRESULT_OK);
  ExpectRegions(grown, Reference(image_, seeds_, forbidden_, true, 4,
                                 [&](size_t, int r, int c, int, int) {
                                   return std::fabs(image_.At(r, c) - 4.0) <= 2;
                                 }));
}

TEST_F(ExpandGrayTest, BadInputGivesCodes) {
  const Vobject forbidden = image_test::RegionOf(forbidden_, kW, kH);
  Vobject grown, complex;
  EXPECT_EQ(expand_gray(Seeds(), image_.image, forbidden, &grown, VTuple(Vlong{1}), VTuple("frame"),
                        VTuple(3.0)),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(expand_gray(Seeds(), image_.image, forbidden, &grown, VTuple("all"), VTuple("image"),
                        VTuple(3.0)),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(expand_gray(Seeds(), image_.image, forbidden, &grown, VTuple(Vlong{1}), VTuple("image"),
                        VTuple(-1.0)),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(expand_gray_ref(Seeds(), image_.image, forbidden, &grown, VTuple(Vlong{1}),
                            VTuple("image"), VTuple(1.0).Append(VTuple(2.0)), VTuple(1.0)),
            VERR_CTRL_NUM(2));
  ASSERT_EQ(gen_image_const(&complex, "complex", kW, kH), VRESULT_OK);
  EXPECT_EQ(expand_gray(Seeds(), complex, forbidden, &grown, VTuple(Vlong{1}), VTuple("image"),
                        VTuple(3.0)),
            VERR_PIXEL_TYPE);
}

}  // namespace
