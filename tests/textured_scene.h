// Scenes for the correlation and template tests: a smooth random texture
// inside a square ("the patch"), drawn at known poses on another texture,
// with the gray values optionally changed linearly.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <vexaobj.h>

namespace textured_scene {

using namespace Vexa;

constexpr double kHalfSide = 24;  // the textured square: |row|, |col| <= this

// A smooth random texture: a grid of random values every `cell` pixels,
// interpolated bilinearly and then smoothed by a second, offset grid.
class Texture {
 public:
  Texture(unsigned seed, double cell) : cell_(cell), values_(kGrid * kGrid) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> v(30, 220);
    for (double& x : values_) x = v(gen);
  }
  double At(double r, double c) const {
    return 0.5 * (Bilinear(r / cell_, c / cell_) + Bilinear(r / cell_ + 0.5, c / cell_ + 0.5));
  }

 private:
  static constexpr int kGrid = 256;
  double Grid(int i, int j) const {
    return values_[static_cast<size_t>(((i % kGrid) + kGrid) % kGrid) * kGrid + ((j % kGrid) + kGrid) % kGrid];
  }
  double Bilinear(double y, double x) const {
    const int i = static_cast<int>(std::floor(y)), j = static_cast<int>(std::floor(x));
    const double fy = y - i, fx = x - j;
    return (1 - fy) * ((1 - fx) * Grid(i, j) + fx * Grid(i, j + 1)) + fy * ((1 - fx) * Grid(i + 1, j) + fx * Grid(i + 1, j + 1));
  }
  double cell_;
  std::vector<double> values_;
};

inline const Texture& Patch() {
  static const Texture t(7, 5.0);
  return t;
}
inline const Texture& Background() {
  static const Texture t(99, 7.0);
  return t;
}

struct Pose {
  double row, col, angle;
};

// A byte scene of w x h: the background texture, the patch at `poses`
// (each pixel the mean of 4x4 samples), gray values mapped by g -> a g + b.
inline Vobject Scene(int w, int h, const std::vector<Pose>& poses, double a = 1, double b = 0) {
  std::vector<uint8_t> bytes(static_cast<size_t>(w) * h);
  constexpr int kSub = 4;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      double sum = 0;
      for (int i = 0; i < kSub; ++i)
        for (int j = 0; j < kSub; ++j) {
          const double y = r - 0.5 + (i + 0.5) / kSub, x = c - 0.5 + (j + 0.5) / kSub;
          double g = Background().At(y, x);
          for (const Pose& p : poses) {
            // Back into patch coordinates: rotate by -angle.
            const double dr = y - p.row, dc = x - p.col, ca = std::cos(p.angle), sa = std::sin(p.angle);
            const double u = ca * dr + sa * dc, v = -sa * dr + ca * dc;
            if (std::fabs(u) <= kHalfSide && std::fabs(v) <= kHalfSide) g = Patch().At(u, v);
          }
          sum += g;
        }
      bytes[static_cast<size_t>(r) * w + c] =
          static_cast<uint8_t>(std::lround(std::min(255.0, std::max(0.0, a * sum / (kSub * kSub) + b))));
    }
  Vobject img;
  EXPECT_EQ(gen_image1(&img, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  return img;
}

// The template: the patch upright at (60, 60) of a 121x121 image, the
// domain the square itself, whose centre of gravity is (60, 60).
inline Vobject TemplateImage() {
  Vobject img = Scene(121, 121, {{60, 60, 0}}), box, reduced;
  EXPECT_EQ(gen_rectangle1(&box, 60 - kHalfSide + 1, 60 - kHalfSide + 1, 60 + kHalfSide - 1, 60 + kHalfSide - 1),
            VRESULT_OK);
  EXPECT_EQ(reduce_domain(img, box, &reduced), VRESULT_OK);
  return reduced;
}

}  // namespace textured_scene
