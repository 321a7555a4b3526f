// Shared by the image operator tests: random images of every pixel type
// under random non-rectangular domains (fixed seeds), per-pixel masks as the
// independent reference of domains, reading results back from the
// database, and the leak-checking fixture.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace image_test {

using Vexa::Vobject;

// One flag per pixel of an image.
struct Mask {
  int h = 0, w = 0;
  std::vector<char> in;

  Mask(int h_, int w_, bool all = false)
      : h(h_), w(w_), in(static_cast<size_t>(h_) * w_, all) {}
  bool At(int r, int c) const {
    return r >= 0 && r < h && c >= 0 && c < w && in[static_cast<size_t>(r) * w + c];
  }
  void Set(int r, int c, bool on = true) {
    if (r >= 0 && r < h && c >= 0 && c < w) in[static_cast<size_t>(r) * w + c] = on;
  }
};

// Objects, channels and traced memory are back where they were when a test
// ends.
class ImageOpsTest : public LeakCheckedTest {
 protected:
  std::mt19937 rng_{20261122};
};

// Random rectangles, some hollow, and loose pixels: rows with several
// runs, holes, and never quite the whole image (unless it is one pixel).
inline Mask RandomMask(std::mt19937& rng, int h, int w) {
  Mask m(h, w);
  std::uniform_int_distribution<int> row(0, h - 1), col(0, w - 1), size(1, 9);
  for (int b = 0; b < 3 + h * w / 80; ++b) {
    const int r = row(rng), c = col(rng), bh = size(rng), bw = size(rng);
    const bool hollow = rng() % 3 == 0;
    for (int y = r; y < r + bh; ++y)
      for (int x = c; x < c + bw; ++x)
        m.Set(y, x, !hollow || y == r || y == r + bh - 1 || x == c || x == c + bw - 1);
  }
  for (int i = 0; i < h * w / 20; ++i) m.Set(row(rng), col(rng), rng() % 2 == 0);
  if (h * w == 1) m.Set(0, 0);
  return m;
}

inline vexa::RegionPtr ToRegion(const Mask& m) {
  std::vector<vexa::Chord> chords;
  for (int r = 0; r < m.h; ++r)
    for (int c = 0; c < m.w; ++c)
      if (m.At(r, c)) chords.push_back({r, c, c});
  return vexa::Region::FromChords(chords);
}

inline Vobject RegionObject(const Mask& m) {
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(ToRegion(m), &key), VRESULT_OK);
  return Vobject(key, 1);
}

// A random value of a pixel type, within its range (int8 and real within
// ranges that double and float hold exactly enough for the tests).
inline double RandomValue(std::mt19937& rng, vexa::PixelType type) {
  using vexa::PixelType;
  auto uniform = [&](double lo, double hi) {
    return static_cast<double>(std::uniform_int_distribution<int64_t>(
        static_cast<int64_t>(lo), static_cast<int64_t>(hi))(rng));
  };
  switch (type) {
    case PixelType::kInt1: return uniform(-128, 127);
    case PixelType::kInt2: return uniform(-32768, 32767);
    case PixelType::kUInt2: return uniform(0, 65535);
    case PixelType::kInt4: return uniform(-2147483648.0, 2147483647.0);
    case PixelType::kInt8: return uniform(-1e15, 1e15);
    case PixelType::kReal:
    case PixelType::kComplex:
      return std::uniform_real_distribution<double>(-70000, 70000)(rng);
    case PixelType::kDirection: return uniform(0, 179);
    default: return uniform(0, 255);
  }
}

// A random image of `channels` channels of the named type under the
// domain `domain` (null: the full image). Complex pixels get random
// imaginary parts too.
inline Vobject RandomImage(std::mt19937& rng, const char* type_name, int w, int h,
                           int channels = 1, const Mask* domain = nullptr) {
  vexa::PixelType type;
  EXPECT_TRUE(vexa::ParsePixelType(type_name, &type));
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewBlankImage(type, w, h, channels,
                                    domain ? ToRegion(*domain) : nullptr, &key),
            VRESULT_OK);
  for (int ch = 0; ch < channels; ++ch) {
    vexa::PixelBuffer* buffer = nullptr;
    EXPECT_EQ(vexa::db::WritableChannel(key, ch, &buffer), VRESULT_OK);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) buffer->Set(r, c, RandomValue(rng, type));
    if (type == vexa::PixelType::kComplex) {
      float* imaginary = reinterpret_cast<float*>(buffer->data()) + buffer->num_pixels();
      for (Vlong k = 0; k < buffer->num_pixels(); ++k)
        imaginary[k] = static_cast<float>(RandomValue(rng, type));
    }
  }
  return Vobject(key, 1);
}

// The pixel data of an image object, read through the database.
struct Pixels {
  vexa::db::ImageData data;
  explicit Pixels(const Vobject& image) {
    EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  }
  const vexa::PixelBuffer& operator[](size_t ch) const { return *data.channels.at(ch); }
  int width() const { return data.channels[0]->width(); }
  int height() const { return data.channels[0]->height(); }
  size_t channels() const { return data.channels.size(); }
  bool InDomain(int r, int c) const { return data.domain->Contains(r, c); }
};

// The objects of an output (one object or a key tuple), in order.
inline std::vector<Vobject> ObjectsOf(const Vobject& obj) {
  Vlong n = 0;
  EXPECT_EQ(Vexa::count_obj(obj, &n), VRESULT_OK);
  std::vector<Vobject> out;
  for (Vlong i = 1; i <= n; ++i) {
    Vobject one;
    EXPECT_EQ(Vexa::select_obj(obj, &one, i), VRESULT_OK);
    out.push_back(one);
  }
  return out;
}

// Several objects as one key tuple.
inline Vobject Concat(const std::vector<Vobject>& objects) {
  Vobject all;
  EXPECT_EQ(Vexa::gen_empty_obj(&all), VRESULT_OK);
  for (const Vobject& o : objects) {
    Vobject next;
    EXPECT_EQ(Vexa::concat_obj(all, o, &next), VRESULT_OK);
    all = next;
  }
  return all;
}

constexpr const char* kAllTypes[] = {"byte", "int1", "int2", "uint2", "int4",
                                     "int8", "real", "complex", "direction", "cyclic"};

}  // namespace image_test
