// Pixels classified by their values: the 2D feature space of two byte
// images against a per-pixel reference, clusters found in it, hyperspheres
// learnt from a foreground and applied again, and pouring from the maxima
// of a two-peak relief.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

Vobject Image(const char* type, int w, int h, const std::function<double(int, int)>& f) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, type, w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_EQ(set_grayval(image, r, c, f(r, c)), VRESULT_OK);
  return image;
}

Vlong Area(const Vobject& region) {
  VTuple area;
  EXPECT_EQ(area_center(region, &area, _, _), VRESULT_OK);
  return area.Num() ? area[0].L() : -1;
}

std::vector<Vobject> Objects(const Vobject& list) {
  Vlong n = 0;
  EXPECT_EQ(count_obj(list, &n), VRESULT_OK);
  std::vector<Vobject> out(static_cast<size_t>(n));
  for (Vlong i = 0; i < n; ++i) EXPECT_EQ(select_obj(list, &out[i], i + 1), VRESULT_OK);
  return out;
}

class FeatureSpace : public LeakCheckedTest {};

TEST_F(FeatureSpace, SupervisedPlaneMatchesAPerPixelReference) {
  std::mt19937 gen(5);
  std::uniform_int_distribution<int> v(0, 255);
  std::vector<int> a(24 * 20), b(24 * 20);
  for (int& x : a) x = v(gen);
  for (int& x : b) x = v(gen);
  const Vobject ia = Image("byte", 24, 20, [&](int r, int c) { return a[r * 24 + c]; });
  const Vobject ib = Image("byte", 24, 20, [&](int r, int c) { return b[r * 24 + c]; });
  Vobject space, cls;
  ASSERT_EQ(gen_circle(&space, 128.0, 100.0, 90.0), VRESULT_OK);
  ASSERT_EQ(class_2dim_sup(ia, ib, space, &cls), VRESULT_OK);
  const std::vector<uint8_t> got = image_test::MaskOf(cls, 24, 20);
  const std::vector<uint8_t> in = image_test::MaskOf(space, 256, 256);
  for (int k = 0; k < 24 * 20; ++k) ASSERT_EQ(got[k], in[b[k] * 256 + a[k]]) << k;
  Vobject real_image;
  ASSERT_EQ(gen_image_const(&real_image, "real", 24, 20), VRESULT_OK);
  EXPECT_EQ(class_2dim_sup(real_image, ib, space, &cls), VERR_PIXEL_TYPE);
}

TEST_F(FeatureSpace, UnsupervisedClassesAreTheHistogramsClusters) {
  // Left half near (50, 60), right two thirds of the rest near (200, 180).
  const Vobject ia = Image("byte", 30, 10, [](int r, int c) { return (c < 15 ? 50 : 200) + (r + c) % 2; });
  const Vobject ib = Image("byte", 30, 10, [](int r, int c) { return (c < 15 ? 60 : 180) + r % 2; });
  Vobject classes;
  ASSERT_EQ(class_2dim_unsup(ia, ib, &classes, 5, 4), VRESULT_OK);
  const auto found = Objects(classes);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(Area(found[0]) + Area(found[1]), 300);
  EXPECT_EQ(Area(found[0]), 150);
  ASSERT_EQ(class_2dim_unsup(ia, ib, &classes, 1000, 4), VRESULT_OK);
  EXPECT_EQ(Objects(classes).size(), 0u);
  EXPECT_EQ(class_2dim_unsup(ia, ib, &classes, 0, 4), VERR_CTRL_VALUE(0));
}

TEST_F(FeatureSpace, LearntHyperspheresFindTheForegroundAgain) {
  std::mt19937 gen(9);
  std::uniform_int_distribution<int> noise(-2, 2);
  auto in_fg = [](int r, int c) { return r >= 5 && r < 15 && c >= 8 && c < 20; };
  std::vector<Vobject> channels;
  const double fg[3] = {100, 50, 20}, bg[3] = {20, 200, 100};
  for (int ch = 0; ch < 3; ++ch)
    channels.push_back(Image("byte", 30, 20, [&](int r, int c) {
      return (in_fg(r, c) ? fg[ch] : bg[ch]) + noise(gen);
    }));
  Vobject color, foreground, background;
  ASSERT_EQ(compose3(channels[0], channels[1], channels[2], &color), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&foreground, 5.0, 8.0, 14.0, 19.0), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&background, 0.0, 0.0, 4.0, 29.0), VRESULT_OK);
  VTuple radius, centre, quality;
  ASSERT_EQ(learn_ndim_norm(foreground, background, color, "euclid", 10.0, 5.0, &radius, &centre,
                            &quality),
            VRESULT_OK);
  ASSERT_EQ(radius.Num(), 1);
  EXPECT_LE(radius[0].D(), std::sqrt(3.0) * 4);
  ASSERT_EQ(centre.Num(), 3);
  for (int ch = 0; ch < 3; ++ch) EXPECT_NEAR(centre[ch].D(), fg[ch], 0.5);
  EXPECT_DOUBLE_EQ(quality[0].D(), 1.0);
  EXPECT_DOUBLE_EQ(quality[1].D(), 0.0);

  Vobject found;
  ASSERT_EQ(class_ndim_norm(color, &found, "euclid", "single", radius, centre), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(found, foreground, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  EXPECT_EQ(class_ndim_norm(color, &found, "euclid", "single", radius, VTuple(1.0)),
            VERR_CTRL_NUM(3));
  Vobject empty;
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  EXPECT_EQ(learn_ndim_norm(empty, background, color, "maximum", 10.0, 5.0, &radius, &centre,
                            &quality),
            VERR_EMPTY_OBJECT);
}

TEST_F(FeatureSpace, PouringFillsFromTheMaxima) {
  const Vobject relief = Image("byte", 40, 20, [](int r, int c) {
    return std::max(200 - 8 * std::hypot(r - 10, c - 10), 150 - 8 * std::hypot(r - 10, c - 30));
  });
  Vobject maxima, regions, all;
  ASSERT_EQ(pouring(relief, &maxima, "maxima", 0, 255), VRESULT_OK);
  ASSERT_EQ(pouring(relief, &regions, "regions", 0, 255), VRESULT_OK);
  ASSERT_EQ(pouring(relief, &all, "all", 0, 255), VRESULT_OK);
  const auto peaks = Objects(maxima);
  const auto zones = Objects(regions);
  ASSERT_EQ(peaks.size(), 2u);
  ASSERT_EQ(zones.size(), 2u);
  EXPECT_EQ(Objects(all).size(), 4u);
  EXPECT_EQ(Area(zones[0]) + Area(zones[1]), 800);  // every pixel in one zone
  Vlong inside = 0;
  ASSERT_EQ(test_region_point(zones[0], 10, 10, &inside), VRESULT_OK);
  EXPECT_EQ(inside, 1);
  ASSERT_EQ(test_region_point(zones[1], 10, 30, &inside), VRESULT_OK);
  EXPECT_EQ(inside, 1);
  // With a gray range only the pixels within it take part.
  ASSERT_EQ(pouring(relief, &regions, "regions", 120, 255), VRESULT_OK);
  Vobject min_region;
  ASSERT_EQ(threshold(relief, &min_region, 120.0, 255.0), VRESULT_OK);
  Vobject joined;
  ASSERT_EQ(union1(regions, &joined), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(joined, min_region, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  EXPECT_EQ(pouring(relief, &regions, "regions", 200, 100), VERR_CTRL_VALUE(2));
}

}  // namespace
