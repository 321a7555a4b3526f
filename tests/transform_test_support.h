// Independent references for the geometric image transforms: for every
// output pixel, the source point by the test's own formula, the domain by
// rounding it to the nearest input pixel, and the value by a plain
// interpolation loop (border pixels repeated).
#pragma once

#include <Eigen/Dense>
#include <cmath>
#include <functional>

#include "image_ops_support.h"

namespace transform_test {

using image_test::TestImage;
using Source = std::function<Eigen::Vector2d(int y, int x)>;

struct Expected {
  int width = 0, height = 0;
  std::vector<uint8_t> domain;
  std::vector<double> value;
};

inline double PixelClamped(const TestImage& in, long r, long c) {
  r = std::max(0L, std::min<long>(r, in.height - 1));
  c = std::max(0L, std::min<long>(c, in.width - 1));
  return in.At(static_cast<int>(r), static_cast<int>(c));
}

inline double Bilinear(const TestImage& in, double r, double c) {
  const double r0 = std::floor(r), c0 = std::floor(c), fr = r - r0, fc = c - c0;
  const long i = static_cast<long>(r0), j = static_cast<long>(c0);
  return (1 - fr) * ((1 - fc) * PixelClamped(in, i, j) + fc * PixelClamped(in, i, j + 1)) +
         fr * ((1 - fc) * PixelClamped(in, i + 1, j) + fc * PixelClamped(in, i + 1, j + 1));
}

inline double Nearest(const TestImage& in, double r, double c) {
  return PixelClamped(in, static_cast<long>(std::floor(r + 0.5)), static_cast<long>(std::floor(c + 0.5)));
}

// The reference of resampling `in` to width x height through `source`.
inline Expected Reference(const TestImage& in, int width, int height, const Source& source,
                          bool bilinear) {
  Expected e;
  e.width = width, e.height = height;
  e.domain.assign(static_cast<size_t>(width) * height, 0);
  e.value.assign(e.domain.size(), 0.0);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Eigen::Vector2d s = source(y, x);
      const double r = std::floor(s[0] + 0.5), c = std::floor(s[1] + 0.5);
      const size_t o = static_cast<size_t>(y) * width + x;
      e.domain[o] = r >= 0 && r < in.height && c >= 0 && c < in.width &&
                    in.In(static_cast<int>(r), static_cast<int>(c));
      e.value[o] = bilinear ? Bilinear(in, s[0], s[1]) : Nearest(in, s[0], s[1]);
    }
  return e;
}

inline Source Projective(const Eigen::Matrix3d& inverse) {
  return [inverse](int y, int x) {
    const Eigen::Vector3d p = inverse * Eigen::Vector3d(y, x, 1);
    return Eigen::Vector2d(p[0] / p[2], p[1] / p[2]);
  };
}

// Compares an output image with the reference: the same size, the same
// domain, and values within `tol` on the domain. Returns the number of
// domain pixels.
inline long ExpectMatches(const Vexa::Vobject& out, const Expected& e, double tol) {
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = image_test::Pixels(out, &domain);
  if (!px) return 0;
  EXPECT_EQ(px->width(), e.width);
  EXPECT_EQ(px->height(), e.height);
  if (px->width() != e.width || px->height() != e.height) return 0;
  std::vector<uint8_t> got(e.domain.size(), 0);
  for (const vexa::Chord& ch : domain->chords())
    for (int c = ch.cb; c <= ch.ce; ++c) got[static_cast<size_t>(ch.r) * e.width + c] = 1;
  long n = 0, bad_domain = 0, bad_value = 0;
  for (int y = 0; y < e.height; ++y)
    for (int x = 0; x < e.width; ++x) {
      const size_t o = static_cast<size_t>(y) * e.width + x;
      if (got[o] != e.domain[o] && ++bad_domain <= 3)
        ADD_FAILURE() << "domain differs at (" << y << ", " << x << ")";
      if (!e.domain[o] || !got[o]) continue;
      ++n;
      if (!(std::fabs(px->Get(y, x) - e.value[o]) <= tol) && ++bad_value <= 3)
        ADD_FAILURE() << "value at (" << y << ", " << x << "): " << px->Get(y, x) << " vs "
                      << e.value[o];
    }
  EXPECT_EQ(bad_domain, 0);
  EXPECT_EQ(bad_value, 0);
  return n;
}

// An image of `type` holding `values` (row order) under `domain`.
inline TestImage FromValues(const std::string& type, int width, int height,
                            const std::vector<uint8_t>& domain, const std::vector<double>& values) {
  TestImage t;
  t.type = type, t.width = width, t.height = height, t.domain = domain, t.value = values;
  const size_t size = image_test::TypeSize(type);
  std::vector<unsigned char> bytes(values.size() * size);
  for (size_t k = 0; k < values.size(); ++k) {
    if (type == "real") {
      const float f = static_cast<float>(values[k]);
      std::memcpy(&bytes[k * 4], &f, 4);
    } else {
      const int64_t i = static_cast<int64_t>(values[k]);
      std::memcpy(&bytes[k * size], &i, size);
    }
  }
  Vexa::Vobject full;
  EXPECT_EQ(Vexa::gen_image1(&full, type.c_str(), width, height,
                             static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  Vkey reduced = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(full.Id(), image_test::MaskRegion(domain, width, height),
                                         &reduced),
            VRESULT_OK);
  t.image = Vexa::Vobject(reduced, 1);
  return t;
}

// Values that rise linearly (2 per row, 3 per column, from 10), which
// bilinear and cubic interpolation reproduce exactly.
inline TestImage Ramp(int width, int height, const std::vector<uint8_t>& domain,
                      const std::string& type = "byte") {
  std::vector<double> v(static_cast<size_t>(width) * height);
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) v[static_cast<size_t>(r) * width + c] = 10 + 2 * r + 3 * c;
  return FromValues(type, width, height, domain, v);
}

}  // namespace transform_test
