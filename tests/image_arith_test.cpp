// Pixel arithmetic of images through the procedural functions: every
// operator against a per-pixel formula on random images of every type with
// random domains, the common domain of two images, the parameter and type
// checks, and no object or memory left behind.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

// A double stored in a pixel of `type`: rounded half away from zero and
// clipped; cyclic wraps; real becomes float.
double Stored(const std::string& type, double v) {
  if (type == "real") return static_cast<float>(v);
  if (std::isnan(v)) return 0;
  v = std::round(v);
  if (type == "cyclic") return std::fmod(std::fmod(v, 256.0) + 256.0, 256.0);
  double lo = 0, hi = 255;
  if (type == "int1") { lo = -128; hi = 127; }
  if (type == "int2") { lo = -32768; hi = 32767; }
  if (type == "uint2") hi = 65535;
  if (type == "int4") { lo = -2147483648.0; hi = 2147483647.0; }
  if (type == "int8") { lo = -9223372036854775808.0; hi = 9223372036854775807.0; }
  return std::min(std::max(v, lo), hi);
}

// The result's domain is `want` and every domain pixel equals expect(r, c)
// (within a relative tolerance for real results).
void ExpectImage(const Vobject& result, const std::vector<uint8_t>& want, int w, int h,
                 const std::function<double(int, int)>& expect, double tolerance = 0) {
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = Pixels(result, &domain);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(*domain, *MaskRegion(want, w, h));
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      if (!want[static_cast<size_t>(r) * w + c]) continue;
      const double e = expect(r, c);
      ASSERT_NEAR(px->Get(r, c), e, tolerance * std::max(1.0, std::fabs(e)))
          << "at " << r << "," << c;
    }
}

std::vector<uint8_t> Both(const TestImage& a, const TestImage& b) {
  std::vector<uint8_t> m(a.domain.size());
  for (size_t k = 0; k < m.size(); ++k) m[k] = a.domain[k] && b.domain[k];
  return m;
}

class ArithTypes : public LeakCheckedTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(ArithTypes, TwoImageOperatorsFollowTheFormulaOnTheCommonDomain) {
  const std::string type = GetParam();
  std::mt19937 gen(7);
  for (const bool full : {false, true}) {
    const TestImage a = RandomImage(type, 37, 23, gen, full);
    const TestImage b = RandomImage(type, 37, 23, gen, full);
    const std::vector<uint8_t> both = Both(a, b);
    using Op = unsigned (*)(const Vobject&, const Vobject&, Vobject*, double, double);
    struct Case {
      Op op;
      double mult, add;
      std::function<double(double, double)> f;
    };
    const Case cases[] = {
        {add_image, 1.0, 0.0, [](double x, double y) { return x + y; }},
        {add_image, 0.5, 3.25, [](double x, double y) { return (x + y) * 0.5 + 3.25; }},
        {add_image, 1.0, -7.0, [](double x, double y) { return x + y - 7; }},
        {sub_image, 1.0, 128.0, [](double x, double y) { return x - y + 128; }},
        {sub_image, -2.0, 1.5, [](double x, double y) { return (x - y) * -2 + 1.5; }},
        {mult_image, 0.01, 2.0, [](double x, double y) { return x * y * 0.01 + 2; }},
        {div_image, 10.0, 1.0, [](double x, double y) { return y == 0 ? 0 : x / y * 10 + 1; }},
    };
    for (const Case& k : cases) {
      Vobject out;
      ASSERT_EQ(k.op(a.image, b.image, &out, k.mult, k.add), VRESULT_OK);
      ExpectImage(out, both, a.width, a.height, [&](int r, int c) {
        return Stored(type, k.f(a.At(r, c), b.At(r, c)));
      }, type == "real" ? 1e-6 : 0);
    }
    Vobject diff, mn, mx;
    ASSERT_EQ(abs_diff_image(a.image, b.image, &diff, 0.5), VRESULT_OK);
    ExpectImage(diff, both, a.width, a.height, [&](int r, int c) {
      return Stored(type, std::fabs(a.At(r, c) - b.At(r, c)) * 0.5);
    }, type == "real" ? 1e-6 : 0);
    ASSERT_EQ(min_image(a.image, b.image, &mn), VRESULT_OK);
    ExpectImage(mn, both, a.width, a.height, [&](int r, int c) { return std::min(a.At(r, c), b.At(r, c)); });
    ASSERT_EQ(max_image(a.image, b.image, &mx), VRESULT_OK);
    ExpectImage(mx, both, a.width, a.height, [&](int r, int c) { return std::max(a.At(r, c), b.At(r, c)); });
  }
}

TEST_P(ArithTypes, OneImageOperatorsFollowTheirFunctions) {
  const std::string type = GetParam();
  std::mt19937 gen(11);
  const TestImage a = RandomImage(type, 29, 17, gen);
  const int w = a.width, h = a.height;
  const double tol = type == "real" ? 1e-6 : 0;
  Vobject out;
  ASSERT_EQ(scale_image(a.image, &out, 0.37, -5.5), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) { return Stored(type, a.At(r, c) * 0.37 - 5.5); }, tol);
  ASSERT_EQ(abs_image(a.image, &out), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) { return Stored(type, std::fabs(a.At(r, c))); }, tol);
  ASSERT_EQ(sqrt_image(a.image, &out), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) {
    return Stored(type, a.At(r, c) < 0 ? 0 : std::sqrt(a.At(r, c)));
  }, tol);
  // Real results: float precision.
  ASSERT_EQ(pow_image(a.image, &out, 0.5), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) {
    return a.At(r, c) < 0 ? 0 : std::sqrt(a.At(r, c));
  }, 1e-6);
  ASSERT_EQ(log_image(a.image, &out, VTuple(10.0)), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) {
    return a.At(r, c) > 0 ? std::log10(a.At(r, c)) : 0;
  }, 1e-6);
  ASSERT_EQ(sin_image(a.image, &out), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) { return std::sin(a.At(r, c)); }, 1e-6);
  ASSERT_EQ(atan_image(a.image, &out), VRESULT_OK);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) { return std::atan(a.At(r, c)); }, 1e-6);
  ASSERT_EQ(scale_image_max(a.image, &out), VRESULT_OK);
  double mn = 1e300, mx = -1e300;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (a.In(r, c)) mn = std::min(mn, a.At(r, c)), mx = std::max(mx, a.At(r, c));
  double lo = 0, hi = 255;
  if (type == "int1" || type == "int2" || type == "uint2") ValueRange(type, &lo, &hi);
  ExpectImage(out, a.domain, w, h, [&](int r, int c) {
    return Stored(type, (a.At(r, c) - mn) * (hi - lo) / (mx - mn) + lo);
  }, tol);
}

INSTANTIATE_TEST_SUITE_P(AllTypes, ArithTypes,
                         ::testing::Values("byte", "int1", "int2", "uint2", "int4", "int8",
                                           "real", "cyclic"));

class ArithTest : public LeakCheckedTest {};

TEST_F(ArithTest, InvertMirrorsUnsignedTypesAndNegatesSignedOnes) {
  std::mt19937 gen(3);
  for (const char* type : {"byte", "uint2", "int2", "real"}) {
    const TestImage a = RandomImage(type, 16, 9, gen);
    Vobject out;
    ASSERT_EQ(invert_image(a.image, &out), VRESULT_OK);
    const double top = std::string(type) == "byte" ? 255 : std::string(type) == "uint2" ? 65535 : 0;
    ExpectImage(out, a.domain, 16, 9, [&](int r, int c) {
      return Stored(type, top == 0 ? -a.At(r, c) : top - a.At(r, c));
    });
  }
}

TEST_F(ArithTest, BitOperationsWorkOnTheStoredPattern) {
  std::mt19937 gen(5);
  for (const char* type : {"byte", "int2", "int4"}) {
    const std::string t = type;
    const TestImage a = RandomImage(type, 21, 8, gen), b = RandomImage(type, 21, 8, gen);
    const std::vector<uint8_t> both = Both(a, b);
    const int bits = 8 * static_cast<int>(TypeSize(t));
    // Reinterprets an integer as the type's signed or unsigned value.
    const auto wrap = [&](int64_t v) -> double {
      const uint64_t mask = bits == 64 ? ~0ull : (1ull << bits) - 1;
      uint64_t u = static_cast<uint64_t>(v) & mask;
      if (t != "byte" && (u >> (bits - 1)) != 0) return static_cast<double>(static_cast<int64_t>(u - (mask + 1)));
      return static_cast<double>(u);
    };
    const auto I = [](double v) { return static_cast<int64_t>(v); };
    Vobject out;
    ASSERT_EQ(bit_and(a.image, b.image, &out), VRESULT_OK);
    ExpectImage(out, both, 21, 8, [&](int r, int c) { return wrap(I(a.At(r, c)) & I(b.At(r, c))); });
    ASSERT_EQ(bit_xor(a.image, b.image, &out), VRESULT_OK);
    ExpectImage(out, both, 21, 8, [&](int r, int c) { return wrap(I(a.At(r, c)) ^ I(b.At(r, c))); });
    ASSERT_EQ(bit_not(a.image, &out), VRESULT_OK);
    ExpectImage(out, a.domain, 21, 8, [&](int r, int c) { return wrap(~I(a.At(r, c))); });
    ASSERT_EQ(bit_lshift(a.image, &out, 3), VRESULT_OK);
    ExpectImage(out, a.domain, 21, 8, [&](int r, int c) { return wrap(I(a.At(r, c)) * 8); });
    ASSERT_EQ(bit_rshift(a.image, &out, 2), VRESULT_OK);
    ExpectImage(out, a.domain, 21, 8, [&](int r, int c) { return std::floor(a.At(r, c) / 4); });
    ASSERT_EQ(bit_slice(a.image, &out, 3), VRESULT_OK);
    ExpectImage(out, a.domain, 21, 8, [&](int r, int c) { return wrap(I(a.At(r, c)) & 4); });
    ASSERT_EQ(bit_mask(a.image, &out, 0x5a), VRESULT_OK);
    ExpectImage(out, a.domain, 21, 8, [&](int r, int c) { return wrap(I(a.At(r, c)) & 0x5a); });
    EXPECT_EQ(bit_lshift(a.image, &out, bits), VERR_CTRL_VALUE(0));
    EXPECT_EQ(bit_slice(a.image, &out, 0), VERR_CTRL_VALUE(0));
  }
}

TEST_F(ArithTest, OnePixelImagesAndSharedSecondImage) {
  std::mt19937 gen(9);
  const TestImage a = RandomImage("byte", 1, 1, gen, true), b = RandomImage("byte", 1, 1, gen, true);
  Vobject out;
  ASSERT_EQ(add_image(a.image, b.image, &out, 1.0, 0.0), VRESULT_OK);
  ExpectImage(out, a.domain, 1, 1, [&](int, int) { return std::min(255.0, a.At(0, 0) + b.At(0, 0)); });
  // Two images at the first parameter against one at the second.
  Vobject pair, results;
  ASSERT_EQ(concat_obj(a.image, a.image, &pair), VRESULT_OK);
  ASSERT_EQ(sub_image(pair, b.image, &results, 1.0, 0.0), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(results, &num), VRESULT_OK);
  EXPECT_EQ(num, 2);
}

TEST_F(ArithTest, MismatchedInputsAndBadParametersAreRefused) {
  std::mt19937 gen(1);
  const TestImage a = RandomImage("byte", 8, 6, gen), b = RandomImage("int2", 8, 6, gen);
  const TestImage small = RandomImage("byte", 7, 6, gen);
  Vobject out, cplx;
  EXPECT_EQ(add_image(a.image, b.image, &out, 1.0, 0.0), VERR_PIXEL_TYPE);
  EXPECT_EQ(add_image(a.image, small.image, &out, 1.0, 0.0), VERR_IMAGE_SIZE);
  EXPECT_EQ(scale_image(a.image, &out, std::nan(""), 0.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(log_image(a.image, &out, VTuple("ten")), VERR_CTRL_VALUE(0));
  EXPECT_EQ(log_image(a.image, &out, VTuple(1.0)), VERR_CTRL_VALUE(0));
  const TestImage r = RandomImage("real", 4, 4, gen);
  EXPECT_EQ(bit_not(r.image, &out), VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(abs_image(cplx, &out), VERR_PIXEL_TYPE);
  EXPECT_EQ(gamma_image(a.image, &out, 0.5, 0.0, 0.0, 255.0, "maybe"), VERR_CTRL_VALUE(4));
}

TEST_F(ArithTest, GammaEncodingAndDecodingAreInverse) {
  std::mt19937 gen(13);
  const TestImage a = RandomImage("real", 12, 12, gen);
  const TestImage pos = MakeImage("real", 12, 12, a.domain, gen, 0.0, 255.0);
  Vobject enc, dec;
  ASSERT_EQ(gamma_image(pos.image, &enc, 1 / 2.4, 0.055, 0.0031308, 255.0, "true"), VRESULT_OK);
  ASSERT_EQ(gamma_image(enc, &dec, 2.4, 0.055, 0.04045, 255.0, "false"), VRESULT_OK);
  ExpectImage(enc, pos.domain, 12, 12, [&](int r, int c) {
    const double v = pos.At(r, c) / 255;
    return 255 * (v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055);
  }, 1e-3);
  ExpectImage(dec, pos.domain, 12, 12, [&](int r, int c) { return pos.At(r, c); }, 1e-3);
}

}  // namespace
