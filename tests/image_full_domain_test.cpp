// The full-domain paths of the basic image operators: results of a full
// domain are made in uncleared buffers and computed by blocked loops and
// fixed-point forms, results of a partial domain in cleared buffers. Both
// must give the per-pixel formula inside the domain, and a partial result
// must read 0 outside it even when the allocator hands back memory that
// earlier full results filled. Threshold runs are checked where every
// pixel is an edge (64 edges in one mask word).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class FullDomainTest : public LeakCheckedTest {};

// A value stored in a pixel of `type`: half away from zero, clipped.
double Stored(const std::string& type, double v) {
  double lo, hi;
  ValueRange(type, &lo, &hi);
  return std::min(std::max(std::round(v), lo), hi);
}

// A byte image of `pixels` with the full domain.
TestImage FullByteImage(const std::vector<uint8_t>& pixels, int width, int height) {
  TestImage t;
  t.type = "byte";
  t.width = width;
  t.height = height;
  t.value.assign(pixels.begin(), pixels.end());
  t.domain.assign(pixels.size(), 1);
  EXPECT_EQ(gen_image1(&t.image, "byte", width, height,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(pixels.data()))),
            VRESULT_OK);
  return t;
}

// The same stored values under another domain.
TestImage WithDomain(const TestImage& t, std::vector<uint8_t> domain) {
  TestImage u = t;
  u.domain = std::move(domain);
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(t.image.Id(), MaskRegion(u.domain, t.width, t.height),
                                         &key),
            VRESULT_OK);
  u.image = Vobject(key, 1);
  return u;
}

// Inside in's domain the result holds expect(k) for pixel k, outside 0.
void ExpectResult(const Vobject& result, const TestImage& in,
                  const std::function<double(size_t)>& expect) {
  const vexa::PixelBuffer* px = Pixels(result);
  ASSERT_NE(px, nullptr);
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c) {
      const size_t k = static_cast<size_t>(r) * in.width + c;
      ASSERT_EQ(px->Get(r, c), in.In(r, c) ? expect(k) : 0.0) << "pixel " << r << ", " << c;
    }
}

struct BinaryCase {
  const char* name;
  std::function<unsigned(const Vobject&, const Vobject&, Vobject*)> call;
  std::function<double(double, double)> formula;
};

struct UnaryCase {
  const char* name;
  std::function<unsigned(const Vobject&, Vobject*)> call;
  std::function<double(const std::string&, double)> formula;
};

const std::vector<BinaryCase>& BinaryCases() {
  static const std::vector<BinaryCase> cases = {
      {"add", [](const Vobject& a, const Vobject& b, Vobject* r) { return add_image(a, b, r, 1.0, 7.0); },
       [](double x, double y) { return x + y + 7; }},
      {"sub", [](const Vobject& a, const Vobject& b, Vobject* r) { return sub_image(a, b, r, 1.0, -3.0); },
       [](double x, double y) { return x - y - 3; }},
      {"abs_diff", [](const Vobject& a, const Vobject& b, Vobject* r) { return abs_diff_image(a, b, r, 1.0); },
       [](double x, double y) { return std::fabs(x - y); }},
      {"mult", [](const Vobject& a, const Vobject& b, Vobject* r) { return mult_image(a, b, r, 0.01, 0.0); },
       [](double x, double y) { return x * y * 0.01; }},
      {"min", [](const Vobject& a, const Vobject& b, Vobject* r) { return min_image(a, b, r); },
       [](double x, double y) { return std::min(x, y); }},
  };
  return cases;
}

const std::vector<UnaryCase>& UnaryCases() {
  static const std::vector<UnaryCase> cases = {
      {"invert", [](const Vobject& a, Vobject* r) { return invert_image(a, r); },
       [](const std::string& type, double x) {
         return type == "byte" ? 255 - x : type == "uint2" ? 65535 - x : -x;
       }},
      {"scale", [](const Vobject& a, Vobject* r) { return scale_image(a, r, 1.7, -20.0); },
       [](const std::string&, double x) { return x * 1.7 - 20.0; }},
  };
  return cases;
}

TEST_F(FullDomainTest, FullAndPartialDomainsGiveTheFormulaInsideTheDomain) {
  std::mt19937 gen(23);
  struct Size { int width, height; };
  // Below, at and across one block of 64 pixels, and odd widths.
  for (const Size size : {Size{1, 1}, Size{63, 1}, Size{67, 5}, Size{130, 3}}) {
    for (const char* type : {"byte", "uint2", "int2"}) {
      SCOPED_TRACE(std::string(type) + " " + std::to_string(size.width) + "x" +
                   std::to_string(size.height));
      const TestImage a = RandomImage(type, size.width, size.height, gen, true);
      const TestImage b = RandomImage(type, size.width, size.height, gen, true);
      const std::vector<uint8_t> ragged = RandomMask(size.width, size.height, gen, false);
      for (const bool full : {true, false}) {
        const TestImage ia = full ? a : WithDomain(a, ragged);
        const TestImage ib = full ? b : WithDomain(b, ragged);
        for (const BinaryCase& op : BinaryCases()) {
          SCOPED_TRACE(op.name);
          Vobject out;
          ASSERT_EQ(op.call(ia.image, ib.image, &out), VRESULT_OK);
          ExpectResult(out, ia, [&](size_t k) {
            return Stored(type, op.formula(ia.value[k], ib.value[k]));
          });
        }
        for (const UnaryCase& op : UnaryCases()) {
          SCOPED_TRACE(op.name);
          Vobject out;
          ASSERT_EQ(op.call(ia.image, &out), VRESULT_OK);
          ExpectResult(out, ia, [&](size_t k) { return Stored(type, op.formula(type, ia.value[k])); });
        }
      }
    }
  }
}

// Large enough for the product path of byte multiplication: the left half
// holds every pair of byte values (a = row, b = column), the right half
// repeats them under a ragged domain.
TEST_F(FullDomainTest, ByteProductsOfEveryPairMatchTheFormula) {
  std::mt19937 gen(31);
  const int width = 512, height = 256;
  std::vector<uint8_t> domain = RandomMask(width, height, gen, false);
  for (int r = 0; r < height; ++r)
    std::fill_n(domain.begin() + static_cast<size_t>(r) * width, 256, 1);
  std::vector<uint8_t> pa(domain.size()), pb(domain.size());
  for (size_t k = 0; k < pa.size(); ++k) {
    pa[k] = static_cast<uint8_t>(k / width);
    pb[k] = static_cast<uint8_t>(k % width);
  }
  const TestImage a = FullByteImage(pa, width, height), b = FullByteImage(pb, width, height);
  // Products landing on halves (0.01 * 50, 0.5 * odd), negative factors and
  // offsets that clip at both ends.
  const double mults[] = {0.01, 0.5, 1.0 / 255.0, -0.5, 1.7, 0.0031};
  const double adds[] = {0.0, 255.0, -0.5, 100.25};
  for (const bool ragged : {false, true}) {
    const TestImage ia = ragged ? WithDomain(a, domain) : a;
    const TestImage ib = ragged ? WithDomain(b, domain) : b;
    for (const double mult : mults)
      for (const double add : adds) {
        SCOPED_TRACE(std::to_string(mult) + " " + std::to_string(add) + (ragged ? " ragged" : ""));
        Vobject out;
        ASSERT_EQ(mult_image(ia.image, ib.image, &out, mult, add), VRESULT_OK);
        ExpectResult(out, ia, [&](size_t k) {
          return Stored("byte", ia.value[k] * ib.value[k] * mult + add);
        });
      }
  }
}

// Memory of released full results (every pixel 255) comes back to the
// next results of the same size; a partial domain must still read 0
// outside.
TEST_F(FullDomainTest, PartialResultsAfterFullResultsReadZeroOutside) {
  std::mt19937 gen(41);
  const int width = 301, height = 211;
  const TestImage a = RandomImage("byte", width, height, gen, true);
  const TestImage part = WithDomain(a, RandomMask(width, height, gen, false));
  for (int round = 0; round < 3; ++round) {
    {
      Vobject filled[4];
      for (Vobject& f : filled) ASSERT_EQ(scale_image(a.image, &f, 1.0, 255.0), VRESULT_OK);
    }
    Vobject sum, inverted, scaled;
    ASSERT_EQ(add_image(part.image, part.image, &sum, 1.0, 0.0), VRESULT_OK);
    ASSERT_EQ(invert_image(part.image, &inverted), VRESULT_OK);
    ASSERT_EQ(scale_image(part.image, &scaled, 1.0, 0.0), VRESULT_OK);
    ExpectResult(sum, part, [&](size_t k) { return Stored("byte", 2 * part.value[k]); });
    ExpectResult(inverted, part, [&](size_t k) { return 255 - part.value[k]; });
    ExpectResult(scaled, part, [&](size_t k) { return part.value[k]; });
  }
}

// Alternating pixels put an edge at every column: 64 edges in each mask
// word, runs of one pixel that end on every word boundary.
TEST_F(FullDomainTest, ThresholdOfAlternatingPixels) {
  for (const int width : {1, 2, 64, 65, 129}) {
    SCOPED_TRACE(width);
    const int height = 3;
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * height);
    for (size_t k = 0; k < pixels.size(); ++k) pixels[k] = (k + k / width) % 2 ? 200 : 10;
    Vobject image, region;
    ASSERT_EQ(gen_image1(&image, "byte", width, height,
                         static_cast<Vlong>(reinterpret_cast<uintptr_t>(pixels.data()))),
              VRESULT_OK);
    ASSERT_EQ(threshold(image, &region, 100.0, 255.0), VRESULT_OK);
    std::vector<uint8_t> expected(pixels.size());
    for (size_t k = 0; k < pixels.size(); ++k) expected[k] = pixels[k] == 200;
    EXPECT_EQ(MaskOf(region, width, height), expected);
    Vlong area = 0;
    double row = 0, col = 0;
    ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
    EXPECT_EQ(area, std::count(expected.begin(), expected.end(), 1));
  }
}

}  // namespace
