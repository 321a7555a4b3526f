// The inpainting operators: harmonic interpolation solves the discrete
// Laplace equation in the region (a ramp comes back exactly), the flows
// started from it keep ramps and flat images, the rest of the image stays
// as it was; coherence transport follows bands across a hole; then the
// parameter and region checks.
#include "filter_test_support.h"
#include "pde_test_support.h"

namespace {

using namespace Vexa;
using namespace filter_test;
using namespace pde_test;

class Inpainting : public LeakCheckedTest {};

constexpr int kWidth = 50, kHeight = 44;

// A hole of two overlapping rectangles, farther from the image border
// than the flows reach (where the mirror rule bends a ramp).
std::vector<uint8_t> HoleMask() {
  std::vector<uint8_t> m(kWidth * kHeight, 0);
  for (int r = 0; r < kHeight; ++r)
    for (int c = 0; c < kWidth; ++c)
      m[r * kWidth + c] = (r >= 18 && r <= 25 && c >= 20 && c <= 28) || (r >= 22 && r <= 28 && c >= 16 && c <= 32);
  return m;
}

// Every inpainting operator with moderate parameters.
std::vector<std::pair<std::string, std::function<Vresult(const Vobject&, const Vobject&, Vobject*)>>>
Inpainters() {
  return {
      {"harmonic", [](const Vobject& im, const Vobject& reg, Vobject* out) {
         return harmonic_interpolation(im, reg, out, 1e-6);
       }},
      {"mcf", [](const Vobject& im, const Vobject& reg, Vobject* out) {
         return inpainting_mcf(im, reg, out, 1.0, 0.25, 20);
       }},
      {"ced", [](const Vobject& im, const Vobject& reg, Vobject* out) {
         return inpainting_ced(im, reg, out, 0.5, 2.0, 0.2, 20);
       }},
      {"aniso", [](const Vobject& im, const Vobject& reg, Vobject* out) {
         return inpainting_aniso(im, reg, out, "perona-malik", 5.0, 0.2, 20, 1.0);
       }},
  };
}

TEST_F(Inpainting, RampsAndFlatImagesComeBackExactly) {
  const std::vector<uint8_t> hole = HoleMask();
  const Vobject region = RegionOf(hole, kWidth, kHeight);
  const auto ramp = [](int r, int c) { return 10.0 + c + r; };
  const auto flat = [](int, int) { return 90.0; };
  for (const std::string& type : kTypes)
    for (const auto& truth : {std::function<double(int, int)>(ramp), std::function<double(int, int)>(flat)}) {
      // The hole holds a wrong value to begin with.
      const Vobject damaged = ImageOf(type, kWidth, kHeight, [&](int r, int c) {
        return hole[r * kWidth + c] ? 120.0 - truth(r, c) / 2 : truth(r, c);
      });
      for (const auto& [name, inpaint] : Inpainters()) {
        Vobject out;
        ASSERT_EQ(inpaint(damaged, region, &out), VRESULT_OK) << name << " " << type;
        ExpectEverywhere(out, kWidth, kHeight, truth, type == "real" ? 1e-3 : 0.0, name + " " + type);
      }
    }
}

// The filled pixels are the mean of their four neighbours (the mirror
// rule at the image border, which the second hole touches); the others
// are unchanged.
TEST_F(Inpainting, HarmonicInterpolationSolvesTheLaplaceEquation) {
  std::mt19937 gen(51);
  const TestImage im = RandomImage("real", kWidth, kHeight, gen, true);
  std::vector<uint8_t> hole = HoleMask();
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 5; ++c) hole[r * kWidth + c] = 1;
  Vobject out;
  ASSERT_EQ(harmonic_interpolation(im.image, RegionOf(hole, kWidth, kHeight), &out, 1e-9),
            VRESULT_OK);
  TestImage filled = im;
  for (int r = 0; r < kHeight; ++r)
    for (int c = 0; c < kWidth; ++c) filled.value[r * kWidth + c] = Pixels(out)->Get(r, c);
  for (int r = 0; r < kHeight; ++r)
    for (int c = 0; c < kWidth; ++c) {
      if (!hole[r * kWidth + c]) {
        ASSERT_EQ(filled.At(r, c), im.At(r, c)) << r << "," << c;
        continue;
      }
      const double mean = (Value(filled, r - 1, c) + Value(filled, r + 1, c) +
                           Value(filled, r, c - 1) + Value(filled, r, c + 1)) / 4;
      ASSERT_NEAR(filled.At(r, c), mean, 1e-3) << r << "," << c;
    }
}

TEST_F(Inpainting, TheDomainRuleHoldsAndAnEmptyRegionChangesNothing) {
  std::mt19937 gen(52);
  const TestImage im = RandomImage("int2", kWidth, kHeight, gen);
  Vobject out, empty;
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  ASSERT_EQ(inpainting_mcf(im.image, empty, &out, 1.0, 0.25, 5), VRESULT_OK);
  ExpectFiltered(out, im, [&](int r, int c) { return im.At(r, c); }, 0.0, "empty region");
  ASSERT_EQ(harmonic_interpolation(im.image, RegionOf(HoleMask(), kWidth, kHeight), &out, 0.01),
            VRESULT_OK);
  const std::vector<uint8_t> hole = HoleMask();
  ExpectFiltered(out, im, [&](int r, int c) {
    return hole[r * kWidth + c] ? Pixels(out)->Get(r, c) : im.At(r, c);
  }, 0.0, "domain");
}

TEST_F(Inpainting, BadParametersAndRegionsAreRefused) {
  std::mt19937 gen(53);
  const TestImage im = RandomImage("byte", kWidth, kHeight, gen, true);
  const Vobject hole = RegionOf(HoleMask(), kWidth, kHeight);
  const Vobject everything = RegionOf(std::vector<uint8_t>(kWidth * kHeight, 1), kWidth, kHeight);
  Vobject out, two, cplx;
  for (const auto& [name, inpaint] : Inpainters())
    EXPECT_EQ(inpaint(im.image, everything, &out), VERR_EMPTY_OBJECT) << name;
  ASSERT_EQ(concat_obj(hole, hole, &two), VRESULT_OK);
  EXPECT_EQ(harmonic_interpolation(im.image, two, &out, 0.1), VERR_OBJ_NUM(2));
  EXPECT_EQ(harmonic_interpolation(im.image, hole, &out, -1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(harmonic_interpolation(im.image, hole, &out, std::nan("")), VERR_CTRL_VALUE(0));
  EXPECT_EQ(inpainting_mcf(im.image, hole, &out, 1.0, 0.6, 5), VERR_CTRL_VALUE(1));
  EXPECT_EQ(inpainting_ced(im.image, hole, &out, 1.0, 2.0, 0.2, 501), VERR_CTRL_VALUE(3));
  EXPECT_EQ(inpainting_aniso(im.image, hole, &out, "linear", 5.0, 0.2, 5, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(inpainting_aniso(im.image, hole, &out, "weickert", 5.0, 0.2, 5, 16.0), VERR_CTRL_VALUE(4));
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(harmonic_interpolation(cplx, hole, &out, 0.1), VERR_PIXEL_TYPE);
}

class CoherenceTransport : public LeakCheckedTest {};

// Horizontal bands of 4 rows, 50 and 200.
double Bands(int r, int) { return (r / 4) % 2 ? 200.0 : 50.0; }

// A hole 14 rows high and 7 columns wide across the bands.
std::vector<uint8_t> BandHole() {
  std::vector<uint8_t> m(kWidth * kHeight, 0);
  for (int r = 15; r < 29; ++r)
    for (int c = 21; c < 28; ++c) m[r * kWidth + c] = 1;
  return m;
}

const vexa::PixelBuffer* Channel(const Vobject& image, int ch) {
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  return data.channels.at(ch);
}

// Mean absolute error of channel `ch` inside the band hole.
double BandError(const Vobject& out, int ch) {
  const std::vector<uint8_t> hole = BandHole();
  double e = 0, n = 0;
  for (int r = 0; r < kHeight; ++r)
    for (int c = 0; c < kWidth; ++c)
      if (hole[r * kWidth + c]) {
        e += std::fabs(Channel(out, ch)->Get(r, c) - Bands(r, c));
        ++n;
      }
  return e / n;
}

TEST_F(CoherenceTransport, FlatImagesComeBackAndOnePixelIsTheInverseDistanceMean) {
  const std::vector<uint8_t> hole = HoleMask();
  for (const std::string& type : kTypes) {
    const Vobject damaged = ImageOf(type, kWidth, kHeight, [&](int r, int c) {
      return hole[r * kWidth + c] ? 3.0 : 90.0;
    });
    Vobject out;
    ASSERT_EQ(inpainting_ct(damaged, RegionOf(hole, kWidth, kHeight), &out, 3.0, 25.0, 1.4, 3.0, 1.0),
              VRESULT_OK) << type;
    ExpectEverywhere(out, kWidth, kHeight, [](int, int) { return 90.0; }, type == "real" ? 1e-3 : 0.0, type);
  }
  // Without focus (kappa 0) a single pixel is the mean of the pixels
  // within epsilon weighted by their inverse distance.
  std::mt19937 gen(54);
  const TestImage im = RandomImage("real", kWidth, kHeight, gen, true);
  std::vector<uint8_t> one(kWidth * kHeight, 0);
  one[20 * kWidth + 30] = 1;
  Vobject out;
  ASSERT_EQ(inpainting_ct(im.image, RegionOf(one, kWidth, kHeight), &out, 2.5, 0.0, 1.0, 2.0, 1.0),
            VRESULT_OK);
  double sum = 0, total = 0;
  for (int dy = -2; dy <= 2; ++dy)
    for (int dx = -2; dx <= 2; ++dx)
      if ((dx || dy) && dx * dx + dy * dy <= 6.25) {
        sum += im.At(20 + dy, 30 + dx) / std::hypot(dx, dy);
        total += 1 / std::hypot(dx, dy);
      }
  EXPECT_NEAR(Pixels(out)->Get(20, 30), sum / total, 1e-3);
}

// Bands across a hole: with focus the fill follows them, without it (or
// with the guiding channel given no weight) it blurs them.
TEST_F(CoherenceTransport, TheFillFollowsCoherentStructures) {
  const Vobject bands = ImageOf("real", kWidth, kHeight, Bands);
  const Vobject hole = RegionOf(BandHole(), kWidth, kHeight);
  Vobject focused, plain;
  ASSERT_EQ(inpainting_ct(bands, hole, &focused, 4.0, 25.0, 1.0, 4.0, 1.0), VRESULT_OK);
  ASSERT_EQ(inpainting_ct(bands, hole, &plain, 4.0, 0.0, 1.0, 4.0, 1.0), VRESULT_OK);
  EXPECT_LT(BandError(focused, 0), 10.0);
  EXPECT_GT(BandError(plain, 0), 30.0);
  // A flat first channel guides nothing; the bands in the second do when
  // the channel coefficient lets them.
  Vobject two, guided, unguided;
  ASSERT_EQ(compose2(ImageOf("real", kWidth, kHeight, [](int, int) { return 7.0; }), bands, &two),
            VRESULT_OK);
  ASSERT_EQ(inpainting_ct(two, hole, &guided, 4.0, 25.0, 1.0, 4.0, 1.0), VRESULT_OK);
  ASSERT_EQ(inpainting_ct(two, hole, &unguided, 4.0, 25.0, 1.0, 4.0, 0.0), VRESULT_OK);
  EXPECT_NEAR(BandError(guided, 1), BandError(focused, 0), 1e-3);
  EXPECT_NEAR(BandError(unguided, 1), BandError(plain, 0), 1e-3);
}

TEST_F(CoherenceTransport, BadParametersAndRegionsAreRefused) {
  std::mt19937 gen(55);
  const TestImage im = RandomImage("uint2", kWidth, kHeight, gen, true);
  const Vobject hole = RegionOf(HoleMask(), kWidth, kHeight);
  const Vobject everything = RegionOf(std::vector<uint8_t>(kWidth * kHeight, 1), kWidth, kHeight);
  Vobject out;
  EXPECT_EQ(inpainting_ct(im.image, everything, &out, 3.0, 25.0, 1.4, 3.0, 1.0), VERR_EMPTY_OBJECT);
  EXPECT_EQ(inpainting_ct(im.image, hole, &out, 1.0, 25.0, 1.4, 3.0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(inpainting_ct(im.image, hole, &out, 3.0, -1.0, 1.4, 3.0, 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(inpainting_ct(im.image, hole, &out, 3.0, 25.0, std::nan(""), 3.0, 1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(inpainting_ct(im.image, hole, &out, 3.0, 25.0, 1.4, 20.0, 1.0), VERR_CTRL_VALUE(3));
  EXPECT_EQ(inpainting_ct(im.image, hole, &out, 3.0, 25.0, 1.4, 3.0, -0.5), VERR_CTRL_VALUE(4));
}

}  // namespace
