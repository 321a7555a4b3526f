// Random images with random domains and per-pixel access to results, for
// the tests of the image arithmetic, statistics and threshold operators.
// Each image keeps its stored values as doubles and its domain as a mask,
// so that a test computes the expected result with a plain loop.
#pragma once

#include <gtest/gtest.h>
#include <vexaobj.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "leak_checked_test.h"
#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace image_test {

using Vexa::Vobject;

// Objects and traced memory are back where they were when a test ends.
using ::LeakCheckedTest;

// The range of random values drawn for a pixel type.
inline void ValueRange(const std::string& type, double* lo, double* hi) {
  if (type == "int1") { *lo = -128; *hi = 127; }
  else if (type == "int2") { *lo = -32768; *hi = 32767; }
  else if (type == "uint2") { *lo = 0; *hi = 65535; }
  else if (type == "int4") { *lo = -1e6; *hi = 1e6; }
  else if (type == "int8") { *lo = -1e12; *hi = 1e12; }
  else if (type == "real") { *lo = -1000; *hi = 1000; }
  else if (type == "direction") { *lo = 0; *hi = 179; }
  else { *lo = 0; *hi = 255; }
}

inline size_t TypeSize(const std::string& type) {
  if (type == "int2" || type == "uint2") return 2;
  if (type == "int4" || type == "real") return 4;
  if (type == "int8") return 8;
  return 1;
}

struct TestImage {
  std::string type;
  int width = 0, height = 0;
  std::vector<double> value;    // stored values, row order
  std::vector<uint8_t> domain;  // 1 inside the domain
  Vobject image;

  double At(int r, int c) const { return value[static_cast<size_t>(r) * width + c]; }
  bool In(int r, int c) const { return domain[static_cast<size_t>(r) * width + c] != 0; }
};

// Random rows of alternating runs in and out: holes, several chords per
// row and empty rows. `full` keeps the whole image.
inline std::vector<uint8_t> RandomMask(int width, int height, std::mt19937& gen, bool full) {
  std::vector<uint8_t> m(static_cast<size_t>(width) * height, 1);
  if (full) return m;
  std::uniform_int_distribution<int> len(1, 6);
  for (int r = 0; r < height; ++r) {
    bool in = (gen() & 1) != 0;
    for (int c = 0; c < width;) {
      const int n = len(gen);
      for (int k = 0; k < n && c < width; ++k, ++c) m[static_cast<size_t>(r) * width + c] = in;
      in = !in;
    }
  }
  return m;
}

inline vexa::RegionPtr MaskRegion(const std::vector<uint8_t>& m, int width, int height) {
  std::vector<vexa::Chord> chords;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c)
      if (m[static_cast<size_t>(r) * width + c]) chords.push_back({r, c, c});
  return vexa::Region::FromChords(chords);
}

// An image of `type` with values drawn in [lo, hi] (integers for integer
// types) and the given domain.
inline TestImage MakeImage(const std::string& type, int width, int height,
                           const std::vector<uint8_t>& domain, std::mt19937& gen,
                           double lo, double hi) {
  TestImage t;
  t.type = type;
  t.width = width;
  t.height = height;
  t.domain = domain;
  const size_t n = static_cast<size_t>(width) * height, size = TypeSize(type);
  std::vector<unsigned char> bytes(n * size);
  std::uniform_real_distribution<double> u(lo, hi);
  for (size_t k = 0; k < n; ++k) {
    double v = u(gen);
    if (type == "real") {
      const float f = static_cast<float>(v);
      std::memcpy(&bytes[k * size], &f, 4);
      v = f;
    } else {
      v = std::floor(v);
      const int64_t i = static_cast<int64_t>(v);
      std::memcpy(&bytes[k * size], &i, size);
    }
    t.value.push_back(v);
  }
  Vobject full;
  EXPECT_EQ(Vexa::gen_image1(&full, type.c_str(), width, height,
                             static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  Vkey reduced = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(full.Id(), MaskRegion(domain, width, height), &reduced),
            VRESULT_OK);
  t.image = Vobject(reduced, 1);
  return t;
}

inline TestImage RandomImage(const std::string& type, int width, int height, std::mt19937& gen,
                             bool full_domain = false) {
  double lo, hi;
  ValueRange(type, &lo, &hi);
  return MakeImage(type, width, height, RandomMask(width, height, gen, full_domain), gen, lo, hi);
}

// A region object from a mask.
inline Vobject RegionOf(const std::vector<uint8_t>& m, int width, int height) {
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(MaskRegion(m, width, height), &key), VRESULT_OK);
  return Vobject(key, 1);
}

// The mask of a region object, over width x height.
inline std::vector<uint8_t> MaskOf(const Vobject& region, int width, int height) {
  std::vector<uint8_t> m(static_cast<size_t>(width) * height, 0);
  vexa::RegionPtr reg;
  EXPECT_EQ(vexa::db::GetRegion(region.Id(), &reg), VRESULT_OK);
  if (!reg) return m;
  for (const vexa::Chord& ch : reg->chords())
    for (int c = ch.cb; c <= ch.ce; ++c) m[static_cast<size_t>(ch.r) * width + c] = 1;
  return m;
}

// The first channel of an image object.
inline const vexa::PixelBuffer* Pixels(const Vobject& image, vexa::RegionPtr* domain = nullptr) {
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  if (domain) *domain = data.domain;
  return data.channels.empty() ? nullptr : data.channels[0];
}

}  // namespace image_test
