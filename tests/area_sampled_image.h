// Real images rendered from an analytic gray function: each pixel, the
// unit square centred on (r, c), takes the mean of f over its area on a
// grid of samples. A blurred edge is f = a + b * Phi(distance), with Phi
// the normal distribution function, so the tests know the true position
// of every edge to far below a pixel.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include <vexaobj.h>

// The standard normal distribution function: a step blurred with a
// Gaussian of sigma 1.
inline double Phi(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

// A "real" image of width x height over its own pixel array, sampled
// `samples` x `samples` times per pixel.
struct AreaSampledImage {
  std::vector<float> pixels;
  Vexa::Vobject obj;
  AreaSampledImage(const std::function<double(double, double)>& f, int width, int height,
                   int samples)
      : pixels(static_cast<size_t>(width) * height) {
    for (int r = 0; r < height; ++r)
      for (int c = 0; c < width; ++c) {
        double sum = 0;
        for (int i = 0; i < samples; ++i)
          for (int j = 0; j < samples; ++j)
            sum += f(r - 0.5 + (i + 0.5) / samples, c - 0.5 + (j + 0.5) / samples);
        pixels[static_cast<size_t>(r) * width + c] = static_cast<float>(sum / (samples * samples));
      }
    EXPECT_EQ(Vexa::gen_image1(&obj, "real", width, height,
                               static_cast<Vexa::Vlong>(reinterpret_cast<uintptr_t>(pixels.data()))),
              VRESULT_OK);
  }
};
