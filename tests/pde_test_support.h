// Images from a formula, and checks over whole images, for the PDE filter
// and inpainting tests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "image_ops_support.h"

namespace pde_test {

using namespace image_test;

// A `type` image of width x height with the gray values f(r, c).
inline Vobject ImageOf(const std::string& type, int width, int height,
                       const std::function<double(int, int)>& f) {
  std::vector<float> values;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) values.push_back(static_cast<float>(f(r, c)));
  Vobject real, typed;
  EXPECT_EQ(Vexa::gen_image1(&real, "real", width, height,
                             static_cast<Vlong>(reinterpret_cast<uintptr_t>(values.data()))),
            VRESULT_OK);
  if (type == "real") return real;
  EXPECT_EQ(Vexa::convert_image_type(real, &typed, type.c_str()), VRESULT_OK);
  return typed;
}

// Every pixel of `image` is expect(r, c) within `tolerance`.
inline void ExpectEverywhere(const Vobject& image, int width, int height,
                             const std::function<double(int, int)>& expect, double tolerance,
                             const std::string& what) {
  const vexa::PixelBuffer* px = Pixels(image);
  ASSERT_NE(px, nullptr) << what;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c)
      ASSERT_NEAR(px->Get(r, c), expect(r, c), tolerance) << what << " at " << r << "," << c;
}

// The mean of the image with the border rows and columns weighted 1/2.
inline double MirroredMean(const Vobject& image, int width, int height) {
  double s = 0, n = 0;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) {
      const double w = (r == 0 || r == height - 1 ? 0.5 : 1.0) * (c == 0 || c == width - 1 ? 0.5 : 1.0);
      s += w * Pixels(image)->Get(r, c);
      n += w;
    }
  return s / n;
}

}  // namespace pde_test
