// Texture masks, the salt-and-pepper filters, noise estimation and Bayer
// demosaicing, against per-pixel loops and known images.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class TextureNoiseTest : public LeakCheckedTest {};

// Position i of a line of n under the mirror border (... 2 1 | 0 1 2 ...).
int Mirror(int i, int n) {
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
  return i;
}

TEST_F(TextureNoiseTest, LawsMaskIsTheOuterProductOfItsTwoVectors) {
  std::mt19937 gen(83);
  const int w = 14, h = 11;
  const TestImage t = RandomImage("byte", w, h, gen);
  Vobject out;
  ASSERT_EQ(texture_laws(t.image, &out, "el", 2, 5), VRESULT_OK);
  const double e[5] = {-1, -2, 0, 2, 1}, l[5] = {1, 4, 6, 4, 1};
  const vexa::PixelBuffer* px = Pixels(out);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      if (!t.In(r, c)) continue;
      double sum = 0;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx) sum += e[dy + 2] * l[dx + 2] * t.At(Mirror(r + dy, h), Mirror(c + dx, w));
      ASSERT_EQ(px->Get(r, c), std::min(255.0, std::round(std::fabs(sum) / 4))) << r << "," << c;
    }
  EXPECT_EQ(texture_laws(t.image, &out, "ew", 0, 3), VERR_CTRL_VALUE(0));  // no wave vector of 3
  EXPECT_EQ(texture_laws(t.image, &out, "e", 0, 5), VERR_CTRL_VALUE(0));
  EXPECT_EQ(texture_laws(t.image, &out, "ee", 0, 4), VERR_CTRL_VALUE(2));
}

TEST_F(TextureNoiseTest, SaltAndPepperFiltersUseOnlyTheGoodValuesOfTheMask) {
  std::mt19937 gen(89);
  const int w = 16, h = 12;
  std::vector<uint8_t> full(static_cast<size_t>(w) * h, 1);
  TestImage t = MakeImage("byte", w, h, full, gen, 50, 200);
  // Salt and pepper on a few pixels.
  std::vector<unsigned char> bytes(t.value.begin(), t.value.end());
  for (size_t k = 0; k < bytes.size(); k += 7) bytes[k] = k % 2 ? 255 : 0;
  Vobject noisy;
  ASSERT_EQ(gen_image1(&noisy, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  Vobject mean, cleaned;
  ASSERT_EQ(mean_sp(noisy, &mean, 3, 5, 10, 245), VRESULT_OK);
  ASSERT_EQ(eliminate_sp(noisy, &cleaned, 3, 5, 10, 245), VRESULT_OK);
  const vexa::PixelBuffer* pm = Pixels(mean);
  const vexa::PixelBuffer* pe = Pixels(cleaned);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      std::vector<int> good;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          const int g = bytes[static_cast<size_t>(Mirror(r + dy, h)) * w + Mirror(c + dx, w)];
          if (g >= 10 && g <= 245) good.push_back(g);
        }
      const int own = bytes[static_cast<size_t>(r) * w + c];
      double sum = 0;
      for (int g : good) sum += g;
      ASSERT_EQ(pm->Get(r, c), good.empty() ? own : std::round(sum / good.size())) << r << "," << c;
      std::sort(good.begin(), good.end());
      const bool bad = own < 10 || own > 245;
      ASSERT_EQ(pe->Get(r, c), bad && !good.empty() ? good[(good.size() - 1) / 2] : own) << r << "," << c;
    }
  EXPECT_EQ(mean_sp(noisy, &mean, 3, 3, 200, 100), VERR_CTRL_VALUE(3));
}

TEST_F(TextureNoiseTest, NoiseEstimatesFindTheDeviationOfAddedNoiseOnATiltedImage) {
  // A plane plus steps (edges, which the flattest-windows choice leaves
  // out) plus Gaussian noise of deviation 4.
  const int w = 160, h = 120;
  std::mt19937 gen(97);
  std::normal_distribution<double> noise(0.0, 4.0);
  std::vector<float> values(static_cast<size_t>(w) * h);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      values[static_cast<size_t>(r) * w + c] =
          static_cast<float>(0.3 * r + 0.2 * c + (c / 40 % 2 ? 80 : 0) + noise(gen));
  Vobject image;
  ASSERT_EQ(gen_image1(&image, "real", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(values.data()))),
            VRESULT_OK);
  for (const char* method : {"immerkaer", "mean", "least_squares"}) {
    double sigma = 0;
    ASSERT_EQ(estimate_noise(image, method, 90.0, &sigma), VRESULT_OK);
    // The mean method sees the tilt as well, a little.
    EXPECT_NEAR(sigma, 4.0, 0.3) << method;
  }
  double sigma = 0;
  EXPECT_EQ(estimate_noise(image, "median", 50.0, &sigma), VERR_CTRL_VALUE(0));
  EXPECT_EQ(estimate_noise(image, "mean", 0.0, &sigma), VERR_CTRL_VALUE(1));
  Vobject tiny;
  ASSERT_EQ(gen_image_const(&tiny, "byte", 2, 2), VRESULT_OK);
  EXPECT_EQ(estimate_noise(tiny, "mean", 50.0, &sigma), VERR_EMPTY_OBJECT);
}

TEST_F(TextureNoiseTest, DemosaicedFlatColourComesBackInEveryLayout) {
  // A flat colour (200, 100, 50) seen through each filter layout: the
  // interpolation must give it back everywhere (bilinear interpolation
  // of a constant is the constant).
  const int w = 12, h = 10;
  const double rgb[3] = {200, 100, 50};
  struct Layout {
    const char* name;
    int top_left[4];  // colour index of the 2 x 2 cell, row by row
  } layouts[] = {{"bayer_rg", {0, 1, 1, 2}}, {"bayer_gr", {1, 0, 2, 1}},
                 {"bayer_bg", {2, 1, 1, 0}}, {"bayer_gb", {1, 2, 0, 1}}};
  for (const Layout& l : layouts) {
    std::vector<unsigned char> raw(static_cast<size_t>(w) * h);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c)
        raw[static_cast<size_t>(r) * w + c] = static_cast<unsigned char>(rgb[l.top_left[(r % 2) * 2 + c % 2]]);
    Vobject cfa, colour;
    ASSERT_EQ(gen_image1(&cfa, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(raw.data()))),
              VRESULT_OK);
    for (const char* interpolation : {"bilinear", "bilinear_dir", "bilinear_enhanced"}) {
      ASSERT_EQ(cfa_to_rgb(cfa, &colour, l.name, interpolation), VRESULT_OK);
      Vlong n = 0;
      ASSERT_EQ(count_channels(colour, &n), VRESULT_OK);
      ASSERT_EQ(n, 3);
      vexa::db::ImageData data;
      ASSERT_EQ(vexa::db::GetImage(colour.Id(), &data), VRESULT_OK);
      for (int ch = 0; ch < 3; ++ch)
        for (int r = 2; r < h - 2; ++r)
          for (int c = 2; c < w - 2; ++c)
            ASSERT_NEAR(data.channels[static_cast<size_t>(ch)]->Get(r, c), rgb[ch], 1.0)
                << l.name << " " << interpolation << " channel " << ch << " at " << r << "," << c;
    }
  }
  Vobject cfa, colour;
  ASSERT_EQ(gen_image_const(&cfa, "byte", 8, 8), VRESULT_OK);
  EXPECT_EQ(cfa_to_rgb(cfa, &colour, "bayer_xy", "bilinear"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(cfa_to_rgb(cfa, &colour, "bayer_rg", "cubic"), VERR_CTRL_VALUE(1));
}

}  // namespace
