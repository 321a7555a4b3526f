// Pattern filters on images with known answers: the line bandpass on a
// line and on flat ground, the dot filter against its centre-surround
// definition, symmetry on a ramp (closed form), the gray skeleton of a
// tent, and the relief kinds of a dome, a ridge and a plane.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using image_test::Pixels;

Vobject Image(const char* type, int w, int h, const std::function<double(int, int)>& f) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, type, w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_EQ(set_grayval(image, r, c, f(r, c)), VRESULT_OK);
  return image;
}

double At(const Vobject& image, int r, int c) { return Pixels(image)->Get(r, c); }

class PatternFilters : public LeakCheckedTest {};

TEST_F(PatternFilters, BandpassAnswersToLinesNotToFlatGround) {
  const Vobject line = Image("byte", 30, 30, [](int, int c) { return c == 14 || c == 15 ? 200 : 50; });
  Vobject out;
  ASSERT_EQ(bandpass_image(line, &out, "lines"), VRESULT_OK);
  EXPECT_GT(At(out, 15, 14), 30);
  EXPECT_EQ(At(out, 15, 2), 0);  // far from the line: flat
  EXPECT_EQ(bandpass_image(line, &out, "dots"), VERR_CTRL_VALUE(0));
}

TEST_F(PatternFilters, DotsAreTheDiskMeanMinusTheRingMean) {
  // A light dot of diameter 5 (radius 2.5) on 20, value 220.
  const Vobject dot = Image("byte", 31, 31, [](int r, int c) {
    return std::hypot(r - 15, c - 15) <= 2.5 ? 220 : 20;
  });
  Vobject light, dark, all;
  ASSERT_EQ(dots_image(dot, &light, 5, "light", 0), VRESULT_OK);
  ASSERT_EQ(dots_image(dot, &dark, 5, "dark", 1), VRESULT_OK);
  ASSERT_EQ(dots_image(dot, &all, 5, "all", 0), VRESULT_OK);
  // At the centre the disk holds the dot and the ring (2.5 < d <= 5) none
  // of it.
  EXPECT_EQ(At(light, 15, 15), 200);
  EXPECT_EQ(At(dark, 15, 15), 0);
  // Beside the dot the ring holds part of it: the response is negative
  // there, and `dark` doubles it.
  double inner = 0, ring = 0;
  int n = 0, m = 0;
  for (int y = -5; y <= 5; ++y)
    for (int x = -5; x <= 5; ++x) {
      const double d = std::hypot(y, x);
      const double v = std::hypot(15 + y - 15, 21 + x - 15) <= 2.5 ? 220 : 20;
      if (d <= 2.5) inner += v, ++n;
      else if (d <= 5) ring += v, ++m;
    }
  const double response = inner / n - ring / m;
  ASSERT_LT(response, 0);
  EXPECT_NEAR(At(dark, 15, 21), std::round(-2 * response), 1.0);
  EXPECT_NEAR(At(all, 15, 21), std::round(-response), 1.0);
  Vobject bad;
  EXPECT_EQ(dots_image(dot, &bad, 4, "light", 0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(dots_image(dot, &bad, 5, "grey", 0), VERR_CTRL_VALUE(1));
}

TEST_F(PatternFilters, SymmetryOfARamp) {
  // Along the columns a ramp differs by 2k at distance k on either side:
  // D = (m + 1) for m pairs; across it the values agree.
  const Vobject ramp = Image("byte", 40, 20, [](int, int c) { return 5.0 * c; });
  Vobject along, across;
  ASSERT_EQ(symmetry(ramp, &along, 7, 0.0, 1.0), VRESULT_OK);
  ASSERT_EQ(symmetry(ramp, &across, 7, 1.5707963267948966, 2.0), VRESULT_OK);
  // 3 pairs, differences 10, 20, 30: D = 20.
  EXPECT_EQ(At(along, 10, 20), std::round(255 * (1 - 20.0 / 255)));
  EXPECT_EQ(At(across, 10, 20), 255);
  Vobject real_image, bad;
  ASSERT_EQ(gen_image_const(&real_image, "real", 8, 8), VRESULT_OK);
  EXPECT_EQ(symmetry(real_image, &bad, 7, 0.0, 1.0), VERR_PIXEL_TYPE);
  EXPECT_EQ(symmetry(ramp, &bad, 7, 0.0, 0.0), VERR_CTRL_VALUE(2));
}

TEST_F(PatternFilters, GraySkeletonKeepsTheRidge) {
  const Vobject tent = Image("byte", 21, 15, [](int, int c) { return 200 - 10 * std::abs(c - 10); });
  Vobject skeleton;
  ASSERT_EQ(gray_skeleton(tent, &skeleton), VRESULT_OK);
  for (int c = 0; c < 21; ++c) EXPECT_EQ(At(skeleton, 7, c), c == 10 ? 200 : 0) << c;
}

TEST_F(PatternFilters, ReliefKinds) {
  const Vobject dome = Image("real", 31, 31, [](int r, int c) {
    return 200 - ((r - 15) * (r - 15) + (c - 15) * (c - 15));
  });
  const Vobject ridge = Image("real", 31, 31, [](int r, int) { return 200 - (r - 15) * (r - 15); });
  const Vobject plane = Image("byte", 31, 31, [](int, int) { return 90; });
  Vobject sketch;
  ASSERT_EQ(topographic_sketch(dome, &sketch), VRESULT_OK);
  EXPECT_EQ(At(sketch, 15, 15), 1);  // peak
  EXPECT_EQ(At(sketch, 15, 25), 7);  // hillside
  ASSERT_EQ(topographic_sketch(ridge, &sketch), VRESULT_OK);
  EXPECT_EQ(At(sketch, 15, 15), 4);  // ridge
  ASSERT_EQ(topographic_sketch(plane, &sketch), VRESULT_OK);
  EXPECT_EQ(At(sketch, 3, 3), 6);    // flat
}

TEST_F(PatternFilters, DepthFromFocusFindsTheSharpestChannel) {
  // Channel k is sharp (a fine checker) in the k-th third of the columns
  // and flat (its mean) elsewhere.
  std::vector<Vobject> stack;
  for (int k = 0; k < 3; ++k)
    stack.push_back(Image("byte", 36, 12, [k](int r, int c) {
      return c / 12 == k ? ((r + c) % 2) * 100.0 : 50.0;
    }));
  Vobject series, depth, confidence, local_depth, local_confidence;
  ASSERT_EQ(compose3(stack[0], stack[1], stack[2], &series), VRESULT_OK);
  ASSERT_EQ(depth_from_focus(series, &depth, &confidence, "highpass", "next_maximum"), VRESULT_OK);
  EXPECT_EQ(At(depth, 6, 5), 0);
  EXPECT_EQ(At(depth, 6, 18), 1);
  EXPECT_EQ(At(depth, 6, 30), 2);
  EXPECT_DOUBLE_EQ(At(confidence, 6, 18), 1.0);  // the others are flat there
  // With nearly equal neighbours on both sides the parabola stays near the
  // channel.
  ASSERT_EQ(depth_from_focus(series, &local_depth, &local_confidence, "bandpass", "local"),
            VRESULT_OK);
  EXPECT_NEAR(At(local_depth, 6, 18), 1.0, 1e-3);
  Vobject bad_depth, bad_confidence;
  EXPECT_EQ(depth_from_focus(stack[0], &bad_depth, &bad_confidence, "highpass", "local"),
            VERR_CHANNEL);
  EXPECT_EQ(depth_from_focus(series, &bad_depth, &bad_confidence, "laplace", "local"),
            VERR_CTRL_VALUE(0));
}

}  // namespace
