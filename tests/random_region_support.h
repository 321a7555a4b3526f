// Random regions with a per-pixel reference, for tests of the region
// classes and the display: a byte image of random gray values made in the
// runtime, and the mask of the pixels that a threshold selects, computed
// here pixel by pixel.
#pragma once

#include <gtest/gtest.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cstdint>
#include <random>
#include <vector>

namespace test_support {

struct Mask {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> in;  // 1 for a pixel of the region, row order

  bool At(int r, int c) const {
    return r >= 0 && r < height && c >= 0 && c < width && in[r * width + c];
  }
  long long Area() const {
    long long a = 0;
    for (uint8_t v : in) a += v;
    return a;
  }
  // Pixels of the region with a 4-neighbour outside it.
  bool OnBoundary(int r, int c) const {
    return At(r, c) && (!At(r - 1, c) || !At(r + 1, c) || !At(r, c - 1) ||
                        !At(r, c + 1));
  }
};

// A width x height byte image of gray values drawn with `seed`, and the
// region of the pixels in [lo, hi] with its reference mask. Spots of equal
// gray make the shapes hold runs, holes and diagonal contacts.
struct RandomRegion {
  Vexa::Vobject image;
  Vexa::Vobject region;
  Mask mask;

  RandomRegion(int width, int height, unsigned seed, int lo, int hi) {
    using namespace Vexa;
    EXPECT_EQ(gen_image_const(&image, "byte", width, height), VRESULT_OK);
    Vlong pointer = 0, w = 0, h = 0;
    char type[32];
    EXPECT_EQ(get_image_pointer1(image, &pointer, type, &w, &h), VRESULT_OK);
    auto* pixels = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(pointer));
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> gray(0, 255);
    mask.width = width;
    mask.height = height;
    mask.in.assign(static_cast<size_t>(width) * height, 0);
    for (int i = 0; i < width * height; ++i) {
      pixels[i] = static_cast<uint8_t>(gray(gen));
      mask.in[i] = pixels[i] >= lo && pixels[i] <= hi;
    }
    EXPECT_EQ(threshold(image, &region, static_cast<double>(lo),
                        static_cast<double>(hi)),
              VRESULT_OK);
  }
};

}  // namespace test_support
