// Reading an image channel at real coordinates, for the geometric
// transforms. Pixel (r, c) has its centre at (r, c) and covers
// [r - 0.5, r + 0.5) x [c - 0.5, c + 0.5).
//
// Near the border the sampler either repeats the border pixels (the
// transforms that keep the input domain only read there within half a pixel
// of it) or reads 0 beyond the image (the transforms whose result covers
// the whole output).
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "op_context.h"

namespace vexa {

enum class Interp { kNearest, kBilinear, kBicubic, kWeighted, kConstant };

// "nearest_neighbor", "bilinear", "bicubic", "weighted", "constant".
// "weighted" averages bilinear samples over the output pixel's footprint in
// the source, "constant" nearest samples; both equal their one-sample
// method where the map does not shrink.
inline Vresult GetInterpolation(const OpContext& ctx, int par, Interp* interp) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  static const struct { const char* name; Interp interp; } kNames[] = {
      {"nearest_neighbor", Interp::kNearest}, {"bilinear", Interp::kBilinear},
      {"bicubic", Interp::kBicubic},          {"weighted", Interp::kWeighted},
      {"constant", Interp::kConstant}};
  for (const auto& n : kNames)
    if (std::strcmp(name, n.name) == 0) {
      *interp = n.interp;
      return VRESULT_OK;
    }
  return VERR_CTRL_VALUE(par);
}

template <class T>
class Sampler {
 public:
  Sampler(const T* pixels, int32_t width, int32_t height, bool zero_outside)
      : px_(pixels), w_(width), h_(height), zero_(zero_outside) {}

  double Nearest(double r, double c) const {
    return Pixel(Index(std::floor(r + 0.5), h_), Index(std::floor(c + 0.5), w_));
  }

  double Bilinear(double r, double c) const {
    if (Far(r, c)) return Nearest(r, c);
    const double r0 = std::floor(r), c0 = std::floor(c);
    const double fr = r - r0, fc = c - c0;
    const int64_t i = static_cast<int64_t>(r0), j = static_cast<int64_t>(c0);
    const double top = Pixel(i, j) + fc * (Pixel(i, j + 1) - Pixel(i, j));
    const double bottom = Pixel(i + 1, j) + fc * (Pixel(i + 1, j + 1) - Pixel(i + 1, j));
    return top + fr * (bottom - top);
  }

  // Cubic convolution with a = -0.5 over the 4x4 neighbourhood.
  double Bicubic(double r, double c) const {
    if (Far(r, c)) return Nearest(r, c);
    const double r0 = std::floor(r), c0 = std::floor(c);
    double wr[4], wc[4];
    Weights(r - r0, wr);
    Weights(c - c0, wc);
    const int64_t i = static_cast<int64_t>(r0), j = static_cast<int64_t>(c0);
    double sum = 0.0;
    for (int a = 0; a < 4; ++a) {
      double row = 0.0;
      for (int b = 0; b < 4; ++b) row += wc[b] * Pixel(i - 1 + a, j - 1 + b);
      sum += wr[a] * row;
    }
    return sum;
  }

 private:
  // More than two pixels outside the image (or not a number): no
  // neighbourhood to interpolate, only the border rule applies.
  bool Far(double r, double c) const {
    return !(r > -2.0 && r < h_ + 1.0 && c > -2.0 && c < w_ + 1.0);
  }
  // A rounded coordinate as an index, limited to one step outside.
  static int64_t Index(double v, int32_t n) {
    if (!(v >= 0.0)) return -1;
    return v < n ? static_cast<int64_t>(v) : n;
  }
  double Pixel(int64_t r, int64_t c) const {
    if (r < 0 || r >= h_ || c < 0 || c >= w_) {
      if (zero_) return 0.0;
      r = r < 0 ? 0 : (r >= h_ ? h_ - 1 : r);
      c = c < 0 ? 0 : (c >= w_ ? w_ - 1 : c);
    }
    return static_cast<double>(px_[r * w_ + c]);
  }
  static void Weights(double t, double w[4]) {
    const double a = -0.5;
    auto near = [&](double x) { return ((a + 2) * x - (a + 3)) * x * x + 1; };
    auto far = [&](double x) { return ((a * x - 5 * a) * x + 8 * a) * x - 4 * a; };
    w[0] = far(1 + t), w[1] = near(t), w[2] = near(1 - t), w[3] = far(2 - t);
  }

  const T* px_;
  int32_t w_, h_;
  bool zero_;
};

}  // namespace vexa
