// The restoration of Aztec symbols of two pixels per module under blur
// (sigma 1) and noise (sigma 5): the grid fitted to the bull's-eye meets
// the symbol's centre, module size and turn, the modules sampled on it are
// the encoder's but for a few, and the crisp drawing maps back onto them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>

#include "code_test_support.h"
#include "ops/codes/symbol_restoration.h"

namespace {

using namespace code_test;

const char kContent[] = "Aztec payload 42";

cv::Mat GrayOf(const Vobject& image) {
  Vlong pointer = 0, width = 0, height = 0;
  char type[32];
  EXPECT_EQ(Vexa::get_image_pointer1(image, &pointer, type, &width, &height), VRESULT_OK);
  return cv::Mat(static_cast<int>(height), static_cast<int>(width), CV_8U,
                 reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(pointer)));
}

// Modules of `sampled` (1 dark) that differ from `bits` in the quarter turn
// of `sampled` that fits best (the bull's-eye does not tell them apart).
int ModuleErrors(const cv::Mat& sampled, const ZXing::BitMatrix& bits) {
  const int n = bits.width();
  int best = n * n;
  for (int turn = 0; turn < 4; ++turn) {
    int errors = 0;
    for (int y = 0; y < n; ++y)
      for (int x = 0; x < n; ++x) {
        int sx = x, sy = y;
        for (int q = 0; q < turn; ++q) std::tie(sx, sy) = std::make_pair(n - 1 - sy, sx);
        errors += (sampled.at<uint8_t>(sy, sx) != 0) != bits.get(x, y);
      }
    best = std::min(best, errors);
  }
  return best;
}

TEST(AztecRestorationTest, SamplesTheEncodersModulesOnTheFittedGrid) {
  const ZXing::BitMatrix bits = EncodeSymbol(ZXing::BarcodeFormat::Aztec, kContent);
  std::mt19937 rng(5);
  for (const auto& [angle, module] :
       {std::pair{-151.0, 2.0}, {-29.2, 2.0}, {13.0, 2.0}, {44.0, 2.0}, {77.5, 2.44}}) {
    SCOPED_TRACE(std::to_string(angle) + " deg, module " + std::to_string(module));
    const Vobject scene = MakeScene({ZXing::BarcodeFormat::Aztec, kContent, module, angle}, &rng);
    const cv::Mat gray = GrayOf(scene);
    const std::vector<vexa::ModuleGrid> grids = vexa::FindModuleGrids(gray, vexa::RingPattern::kAztecBullsEye);
    ASSERT_FALSE(grids.empty());
    const vexa::ModuleGrid& g = grids.front();
    // The symbol's centre is the scene's; the grid turns clockwise on
    // screen where the scene turns counter-clockwise.
    const double centre = (gray.cols - 1) / 2.0;
    EXPECT_LT(std::hypot(g.col - centre, g.row - centre), 1.0);
    EXPECT_NEAR(g.module, module, 0.03 * module);
    EXPECT_LT(std::fabs(std::remainder(g.angle * 180 / M_PI + angle, 90.0)), 1.5);
    EXPECT_LE(ModuleErrors(vexa::SampleModules(gray, g, bits.width() / 2, vexa::RingPattern::kAztecBullsEye), bits), 3);
  }
}

TEST(AztecRestorationTest, EvenNoisyBackgroundHasNoBullsEye) {
  std::mt19937 rng(3);
  const std::vector<uint8_t> light(120 * 120, kLight);
  const Vobject noisy = AddNoise(ByteImage(light, 120, 120), 5, &rng);
  EXPECT_TRUE(vexa::FindModuleGrids(GrayOf(noisy), vexa::RingPattern::kAztecBullsEye).empty());
}

// Each drawn module's centre pixel maps to its module's centre on the grid.
TEST(AztecRestorationTest, DrawingMapsModulesOntoTheGrid) {
  vexa::ModuleGrid g;
  g.col = 40.5, g.row = 31.25, g.module = 2.2, g.angle = 0.3;
  const int radius = 6;
  cv::Mat modules = cv::Mat::zeros(2 * radius + 1, 2 * radius + 1, CV_8U);
  modules.at<uint8_t>(1, 9) = 1;
  const vexa::RestoredSymbol r = vexa::DrawModules(modules, g);
  const int p = vexa::kRestoredModulePixels, quiet = (r.pixels.cols / p - modules.cols) / 2;
  const double x = (quiet + 9 + 0.5) * p - 0.5, y = (quiet + 1 + 0.5) * p - 0.5;
  EXPECT_EQ(r.pixels.at<uint8_t>(static_cast<int>(y), static_cast<int>(x)), 0);
  EXPECT_EQ(r.pixels.at<uint8_t>(static_cast<int>(y) + p, static_cast<int>(x)), 255);
  const double i = 9 - radius, j = 1 - radius, c = std::cos(g.angle), s = std::sin(g.angle);
  EXPECT_NEAR(r.m[0] * x + r.m[1] * y + r.m[2], g.col + g.module * (i * c - j * s), 1e-9);
  EXPECT_NEAR(r.m[3] * x + r.m[4] * y + r.m[5], g.row + g.module * (i * s + j * c), 1e-9);
}

}  // namespace
