// Disparities of synthetic rectified pairs: a textured image and its copy
// moved by whole and by half pixels, a brightness change that only the
// correlation sees through, flat ground that has no texture to match,
// an occlusion that the left-right check removes, and bad parameters.
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

Vobject Image(int w, int h, const std::function<double(int, int)>& f, const char* type = "real") {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, type, w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_EQ(set_grayval(image, r, c, f(r, c)), VRESULT_OK);
  return image;
}

// A smooth random texture: sums of sines.
std::function<double(double, double)> Texture(unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<double> a, fr, fc, ph;
  for (int k = 0; k < 12; ++k) {
    a.push_back(10 + 20 * u(gen));
    fr.push_back(0.15 + 0.5 * u(gen));
    fc.push_back(0.15 + 0.5 * u(gen));
    ph.push_back(6.28 * u(gen));
  }
  return [=](double r, double c) {
    double v = 128;
    for (size_t k = 0; k < a.size(); ++k) v += a[k] * std::sin(fr[k] * r + fc[k] * c + ph[k]);
    return v;
  };
}

struct Result {
  Vobject disparity, score;
  std::vector<uint8_t> domain;
};

class StereoDisparity : public LeakCheckedTest {
 protected:
  static Result Match(const Vobject& a, const Vobject& b, const char* method, int lo, int hi,
                      double texture, double score, const char* filter, const char* sub) {
    Result res;
    EXPECT_EQ(binocular_disparity(a, b, &res.disparity, &res.score, method, Vlong{7}, Vlong{7},
                                  texture, Vlong{lo}, Vlong{hi}, Vlong{1}, score, filter, sub),
              VRESULT_OK);
    Vobject domain;
    EXPECT_EQ(get_domain(res.disparity, &domain), VRESULT_OK);
    res.domain = image_test::MaskOf(domain, 60, 40);
    return res;
  }
};

TEST_F(StereoDisparity, ShiftedTextureGivesItsDisparity) {
  const auto t = Texture(1);
  const Vobject left = Image(60, 40, [&](int r, int c) { return t(r, c); });
  const Vobject right = Image(60, 40, [&](int r, int c) { return t(r, c - 7); });
  for (const char* method : {"sad", "ssd", "ncc"}) {
    const Result res = Match(left, right, method, 0, 15, 1.0, method[0] == 'n' ? 0.9 : 50.0,
                             "left_right_check", "none");
    const vexa::PixelBuffer* d = image_test::Pixels(res.disparity);
    int matched = 0;
    for (int r = 0; r < 40; ++r)
      for (int c = 0; c < 60; ++c) {
        if (!res.domain[r * 60 + c]) continue;
        ++matched;
        ASSERT_EQ(d->Get(r, c), 7) << method << " at " << r << "," << c;
      }
    // Every pixel whose windows fit at every disparity: rows 3..36,
    // columns 3..41.
    EXPECT_EQ(matched, 34 * 39) << method;
  }
  // Half a pixel: the parabola finds it.
  const Vobject half = Image(60, 40, [&](int r, int c) { return t(r, c - 4.5); });
  const Result res = Match(left, half, "ssd", 0, 10, 1.0, 1e9, "none", "interpolation");
  const vexa::PixelBuffer* d = image_test::Pixels(res.disparity);
  ASSERT_TRUE(res.domain[20 * 60 + 25]);
  EXPECT_NEAR(d->Get(20, 25), 4.5, 0.15);
}

TEST_F(StereoDisparity, CorrelationSeesThroughABrightnessChange) {
  const auto t = Texture(2);
  const Vobject left = Image(60, 40, [&](int r, int c) { return t(r, c); });
  const Vobject right = Image(60, 40, [&](int r, int c) { return 0.5 * t(r, c + 3) + 40; });
  const Result ncc = Match(left, right, "ncc", -6, 6, 1.0, 0.95, "none", "none");
  const vexa::PixelBuffer* d = image_test::Pixels(ncc.disparity);
  const vexa::PixelBuffer* s = image_test::Pixels(ncc.score);
  ASSERT_TRUE(ncc.domain[20 * 60 + 30]);
  EXPECT_EQ(d->Get(20, 30), -3);
  EXPECT_NEAR(s->Get(20, 30), 1.0, 1e-6);
  // Flat ground has no texture: nothing is matched.
  const Vobject flat = Image(60, 40, [](int, int) { return 90; }, "byte");
  const Result none = Match(flat, flat, "sad", 0, 5, 0.5, 1e9, "none", "none");
  for (uint8_t v : none.domain) ASSERT_EQ(v, 0);
}

TEST_F(StereoDisparity, LeftRightCheckRemovesTheOccludedStripe) {
  // A stripe of columns 20..29 is nearer in the right image (moved by 9),
  // the background by 3: background pixels that the stripe covers in the
  // right image have no consistent match.
  const auto bg = Texture(3), fg = Texture(4);
  const Vobject left = Image(60, 40, [&](int r, int c) { return c >= 20 && c < 30 ? fg(r, c) : bg(r, c); });
  const Vobject right = Image(60, 40, [&](int r, int c) {
    return c - 9 >= 20 && c - 9 < 30 ? fg(r, c - 9) : bg(r, c - 3);
  });
  const Result plain = Match(left, right, "sad", 0, 12, 1.0, 1e9, "none", "none");
  const Result checked = Match(left, right, "sad", 0, 12, 1.0, 1e9, "left_right_check", "none");
  int plain_n = 0, checked_n = 0;
  for (int k = 0; k < 60 * 40; ++k) {
    plain_n += plain.domain[k] != 0;
    checked_n += checked.domain[k] != 0;
    ASSERT_TRUE(!checked.domain[k] || plain.domain[k]);
  }
  EXPECT_LT(checked_n, plain_n);
  const vexa::PixelBuffer* d = image_test::Pixels(checked.disparity);
  ASSERT_TRUE(checked.domain[20 * 60 + 25]);
  EXPECT_EQ(d->Get(20, 25), 9);  // the stripe
  ASSERT_TRUE(checked.domain[20 * 60 + 8]);
  EXPECT_EQ(d->Get(20, 8), 3);   // the background
}

TEST_F(StereoDisparity, BadParametersAreRefused) {
  const Vobject a = Image(20, 20, [](int r, int c) { return r * c; });
  const Vobject small = Image(10, 20, [](int r, int c) { return r + c; });
  Vobject d, s;
  EXPECT_EQ(binocular_disparity(a, small, &d, &s, "sad", Vlong{7}, Vlong{7}, 1.0, Vlong{0}, Vlong{5},
                                Vlong{1}, 10.0, "none", "none"),
            VERR_IMAGE_SIZE);
  EXPECT_EQ(binocular_disparity(a, a, &d, &s, "sad", Vlong{6}, Vlong{7}, 1.0, Vlong{0}, Vlong{5},
                                Vlong{1}, 10.0, "none", "none"),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(binocular_disparity(a, a, &d, &s, "sad", Vlong{7}, Vlong{7}, 1.0, Vlong{5}, Vlong{0},
                                Vlong{1}, 10.0, "none", "none"),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(binocular_disparity(a, a, &d, &s, "census", Vlong{7}, Vlong{7}, 1.0, Vlong{0}, Vlong{5},
                                Vlong{1}, 10.0, "none", "none"),
            VERR_CTRL_VALUE(0));
}

}  // namespace
