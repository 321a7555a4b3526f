// The integer loops of the byte-sized image arithmetic against a per-pixel
// formula in double: every gray value through scalings whose products land
// exactly on halves (where a fixed-point form could round the other way),
// sums and differences with offsets far beyond the value range, and
// absolute differences of every integer type, clipped where int1 tops out.
// Images large enough to be mapped in two halves on two threads must give
// the same pixels as a per-pixel loop.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class BytePathsTest : public LeakCheckedTest {};

// A value stored in a byte-sized pixel: half away from zero, clipped
// (cyclic wraps).
double StoredByte(const std::string& type, double v) {
  v = std::round(v);
  if (type == "cyclic") return std::fmod(std::fmod(v, 256.0) + 256.0, 256.0);
  if (type == "int1") return std::min(std::max(v, -128.0), 127.0);
  return std::min(std::max(v, 0.0), 255.0);
}

// Every value of the type once per row, under a ragged domain.
TestImage AllValues(const std::string& type, std::mt19937& gen) {
  double lo, hi;
  ValueRange(type, &lo, &hi);
  TestImage t;
  t.type = type;
  t.width = static_cast<int>(hi - lo) + 1;
  t.height = 3;
  t.domain = RandomMask(t.width, t.height, gen, false);
  std::vector<unsigned char> bytes;
  for (int r = 0; r < t.height; ++r)
    for (int c = 0; c < t.width; ++c) {
      t.value.push_back(lo + c);
      bytes.push_back(static_cast<unsigned char>(static_cast<int>(lo) + c));
    }
  Vobject full;
  EXPECT_EQ(gen_image1(&full, type.c_str(), t.width, t.height,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  Vkey reduced = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(full.Id(), MaskRegion(t.domain, t.width, t.height),
                                         &reduced),
            VRESULT_OK);
  t.image = Vobject(reduced, 1);
  return t;
}

void ExpectPixels(const Vobject& result, const TestImage& in,
                  const std::function<double(double)>& expect) {
  const vexa::PixelBuffer* px = Pixels(result);
  ASSERT_NE(px, nullptr);
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c)
      if (in.In(r, c)) {
        ASSERT_EQ(px->Get(r, c), expect(in.At(r, c))) << "value " << in.At(r, c);
      }
}

TEST_F(BytePathsTest, ScalingsMatchTheRoundingOfEveryValue) {
  std::mt19937 gen(17);
  struct Scaling { double mult, add; };
  // 1.7 * 15 is 25.5 in double: a tie that the nearest fixed point misses.
  const Scaling scalings[] = {{1.7, -20}, {0.5, 0}, {-0.5, 100.5}, {1.5, -0.5},
                              {-1, 255}, {0.01, 3}, {2.5, -300}, {1.0 / 3.0, 0.5}};
  for (const char* type : {"byte", "int1", "cyclic"}) {
    const TestImage image = AllValues(type, gen);
    for (const Scaling& s : scalings) {
      SCOPED_TRACE(std::string(type) + " * " + std::to_string(s.mult) + " + " + std::to_string(s.add));
      Vobject out;
      ASSERT_EQ(scale_image(image.image, &out, s.mult, s.add), VRESULT_OK);
      ExpectPixels(out, image, [&](double v) { return StoredByte(type, v * s.mult + s.add); });
    }
  }
}

TEST_F(BytePathsTest, SumsAndDifferencesWithLargeOffsets) {
  std::mt19937 gen(23);
  for (const char* type : {"byte", "int1", "cyclic"}) {
    const TestImage a = RandomImage(type, 70, 5, gen, true);
    const TestImage b = RandomImage(type, 70, 5, gen, true);
    for (const double add : {0.0, -300.0, 511.0, 1e9, -1e11, 257.0}) {
      SCOPED_TRACE(std::string(type) + " + " + std::to_string(add));
      Vobject sum, diff;
      ASSERT_EQ(add_image(a.image, b.image, &sum, 1.0, add), VRESULT_OK);
      ASSERT_EQ(sub_image(a.image, b.image, &diff, 1.0, add), VRESULT_OK);
      const vexa::PixelBuffer* ps = Pixels(sum);
      const vexa::PixelBuffer* pd = Pixels(diff);
      for (int r = 0; r < a.height; ++r)
        for (int c = 0; c < a.width; ++c) {
          ASSERT_EQ(ps->Get(r, c), StoredByte(type, a.At(r, c) + b.At(r, c) + add));
          ASSERT_EQ(pd->Get(r, c), StoredByte(type, a.At(r, c) - b.At(r, c) + add));
        }
    }
  }
}

TEST_F(BytePathsTest, AbsoluteDifferencesClipToTheType) {
  std::mt19937 gen(29);
  for (const char* type : {"byte", "int1", "int2", "uint2", "int4", "cyclic"}) {
    SCOPED_TRACE(type);
    const TestImage a = RandomImage(type, 40, 6, gen);
    const TestImage b = RandomImage(type, 40, 6, gen);
    double lo, hi;
    ValueRange(type, &lo, &hi);
    Vobject out;
    ASSERT_EQ(abs_diff_image(a.image, b.image, &out, 1.0), VRESULT_OK);
    const vexa::PixelBuffer* px = Pixels(out);
    for (int r = 0; r < a.height; ++r)
      for (int c = 0; c < a.width; ++c)
        if (a.In(r, c) && b.In(r, c)) {
          const double top = std::string(type) == "int1" ? 127 : std::string(type) == "int2" ? 32767
                             : std::string(type) == "int4" ? 2147483647.0 : hi;
          ASSERT_EQ(px->Get(r, c), std::min(std::fabs(a.At(r, c) - b.At(r, c)), top));
        }
  }
}

// Above four million pixels the maps run in two halves on two threads: a
// whole image is cut in the middle of a row, a partial domain between
// chords. Every pixel must come out as the formula gives it, the pixels
// outside the common domain 0 (a wrong offset or a lost half fails).
TEST_F(BytePathsTest, LargeImagesMappedOnTwoThreadsMatchAPerPixelLoop) {
  std::mt19937 gen(31);
  const int width = 2131, height = 2001;
  for (const bool full : {true, false}) {
    SCOPED_TRACE(full ? "full" : "ragged");
    // Ragged: different gaps in every fifth row of each image, the common
    // area still above the size at which the work is split.
    std::vector<uint8_t> da(static_cast<size_t>(width) * height, 1), db = da;
    for (int r = 2; !full && r < height; r += 5) {
      std::fill_n(da.begin() + static_cast<std::ptrdiff_t>(r) * width + r % 97, 40, 0);
      std::fill_n(db.begin() + static_cast<std::ptrdiff_t>(r + 1) * width + r % 89, 30, 0);
    }
    const TestImage a = MakeImage("byte", width, height, da, gen, 0, 256);
    const TestImage b = MakeImage("byte", width, height, db, gen, 0, 256);
    struct Case {
      const char* name;
      std::function<Vresult(Vobject*)> run;
      std::function<double(double, double)> expect;
    };
    const Case cases[] = {
        {"add", [&](Vobject* o) { return add_image(a.image, b.image, o, 1.0, 7.0); },
         [](double x, double y) { return StoredByte("byte", x + y + 7); }},
        {"sub", [&](Vobject* o) { return sub_image(a.image, b.image, o, 1.0, -3.0); },
         [](double x, double y) { return StoredByte("byte", x - y - 3); }},
        {"sub scaled", [&](Vobject* o) { return sub_image(a.image, b.image, o, 0.5, 128.0); },
         [](double x, double y) { return StoredByte("byte", (x - y) * 0.5 + 128); }},
        {"abs diff", [&](Vobject* o) { return abs_diff_image(a.image, b.image, o, 1.0); },
         [](double x, double y) { return std::fabs(x - y); }},
        {"mult", [&](Vobject* o) { return mult_image(a.image, b.image, o, 0.01, 0.0); },
         [](double x, double y) { return StoredByte("byte", x * y * 0.01); }},
        {"scale", [&](Vobject* o) { return scale_image(a.image, o, 1.7, -20.0); },
         [](double x, double) { return StoredByte("byte", x * 1.7 - 20); }},
        {"convert", [&](Vobject* o) { return convert_image_type(a.image, o, "int2"); },
         [](double x, double) { return x; }},
    };
    for (const Case& c : cases) {
      SCOPED_TRACE(c.name);
      const bool unary = std::string(c.name) == "scale" || std::string(c.name) == "convert";
      Vobject out;
      ASSERT_EQ(c.run(&out), VRESULT_OK);
      const vexa::PixelBuffer* px = Pixels(out);
      ASSERT_NE(px, nullptr);
      for (int r = 0; r < height; ++r)
        for (int col = 0; col < width; ++col) {
          const bool in = a.In(r, col) && (unary || b.In(r, col));
          const double want = in ? c.expect(a.At(r, col), b.At(r, col)) : 0.0;
          ASSERT_EQ(px->Get(r, col), want) << "row " << r << " column " << col;
        }
    }
  }
}

}  // namespace
