// The integer loops of the byte-sized image arithmetic against a per-pixel
// formula in double: every gray value through scalings whose products land
// exactly on halves (where a fixed-point form could round the other way),
// sums and differences with offsets far beyond the value range, and
// absolute differences of every integer type, clipped where int1 tops out.
#include <algorithm>
#include <cmath>
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
      if (in.In(r, c))
        ASSERT_EQ(px->Get(r, c), expect(in.At(r, c))) << "value " << in.At(r, c);
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

}  // namespace
