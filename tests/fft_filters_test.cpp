// Frequency-domain filters applied through the whole chain (fft_image,
// filter, fft_image_inv) to waves that lie on the frequency grid, whose
// filtered forms are known in closed form: Gabor pairs and their energy,
// derivative filters; and complex images joined from and split into parts.
#include <complex>
#include <cmath>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class FourierFilters : public LeakCheckedTest {};

// Checks that the real image `got` equals want(r, c) within tol everywhere.
void ExpectImage(const Vobject& got, int w, int h, double tol,
                 const std::function<double(int, int)>& want) {
  const vexa::PixelBuffer* px = Pixels(got);
  ASSERT_NE(px, nullptr);
  ASSERT_EQ(px->width(), w);
  ASSERT_EQ(px->height(), h);
  int errors = 0;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (std::fabs(px->Get(r, c) - want(r, c)) > tol && ++errors < 5)
        ADD_FAILURE() << "(" << r << "," << c << ") got " << px->Get(r, c) << " want "
                      << want(r, c);
}

TEST_F(FourierFilters, GaborPairIsTheCosineAndSineOfAWaveAlongItsAngle) {
  const int w = 64, h = 48;
  const double f = 0.125, phase = 0.3;
  // Waves along the columns, along the rows upward, and diagonally; each
  // holds a whole number of periods in the image.
  struct Case { double angle, fc, fr; };
  for (const Case& k : {Case{0.0, f, 0.0}, Case{M_PI / 2, 0.0, -1.0 / 6},
                        Case{M_PI / 4, 0.125, -0.125}}) {
    SCOPED_TRACE(k.angle);
    auto wave = [&](int r, int c) { return 2 * M_PI * (k.fc * c + k.fr * r) + phase; };
    const TestImage in = FunctionImage(w, h, std::vector<uint8_t>(w * h, 1),
                                       [&](int r, int c) { return 50 * std::cos(wave(r, c)); });
    const double rho = std::hypot(k.fc, k.fr);
    Vobject filter, spectrum, even_f, odd_f, even, odd, energy;
    ASSERT_EQ(gen_gabor(&filter, k.angle, rho, 3.0, 2.0, "none", "dc_edge", Vlong{w}, Vlong{h}),
              VRESULT_OK);
    ASSERT_EQ(fft_image(in.image, &spectrum), VRESULT_OK);
    ASSERT_EQ(convol_gabor(spectrum, filter, &even_f, &odd_f), VRESULT_OK);
    ASSERT_EQ(fft_image_inv(even_f, &even), VRESULT_OK);
    ASSERT_EQ(fft_image_inv(odd_f, &odd), VRESULT_OK);
    // The lobe's peak sits on the wave's frequency: gain 1.
    ExpectImage(even, w, h, 1e-2, [&](int r, int c) { return 50 * std::cos(wave(r, c)); });
    ExpectImage(odd, w, h, 1e-2, [&](int r, int c) { return 50 * std::sin(wave(r, c)); });
    ASSERT_EQ(energy_gabor(even, odd, &energy), VRESULT_OK);
    ExpectImage(energy, w, h, 1.0, [](int, int) { return 2500.0; });
  }
}

TEST_F(FourierFilters, GaborLobeFallsOffAndIsMirroredWithTheOppositeSign) {
  Vobject filter;
  ASSERT_EQ(gen_gabor(&filter, 0.0, 0.25, 2.0, 1.0, "n", "dc_center", Vlong{16}, Vlong{8}),
            VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(filter);
  // The centre is at (4, 8); +0.25 cycles per pixel along the columns is 4
  // columns right of it.
  const double scale = 1.0 / (16 * 8);
  EXPECT_NEAR(px->Get(4, 12), scale, 1e-9);
  EXPECT_NEAR(px->Get(4, 4), -scale, 1e-9);
  EXPECT_NEAR(px->Get(4, 8), 0.0, 1e-12);
  const double off = 0.125;  // across the wave, one row = 1/8 cycle
  EXPECT_NEAR(px->Get(3, 12), scale * std::exp(-2 * M_PI * M_PI * off * off), 1e-9);
  EXPECT_NEAR(px->Get(4, 13), scale * std::exp(-2 * M_PI * M_PI * 4 * 0.0625 * 0.0625), 1e-9);
}

TEST_F(FourierFilters, DerivativeFiltersDifferentiateAWaveExactly) {
  const int w = 32, h = 24;
  const double kc = 2 * M_PI * 3 / w, kr = 2 * M_PI * 2 / h;
  const TestImage in = FunctionImage(w, h, std::vector<uint8_t>(w * h, 1), [&](int r, int c) {
    return 40 * std::sin(kc * c + kr * r);
  });
  auto s = [&](int r, int c) { return 40 * std::sin(kc * c + kr * r); };
  auto co = [&](int r, int c) { return 40 * std::cos(kc * c + kr * r); };
  struct Case { const char* name; std::function<double(int, int)> want; };
  const Case cases[] = {
      {"x", [&](int r, int c) { return kc * co(r, c); }},
      {"y", [&](int r, int c) { return kr * co(r, c); }},
      {"xx", [&](int r, int c) { return -kc * kc * s(r, c); }},
      {"xy", [&](int r, int c) { return -kc * kr * s(r, c); }},
      {"yyy", [&](int r, int c) { return -kr * kr * kr * co(r, c); }},
  };
  Vobject spectrum;
  ASSERT_EQ(fft_image(in.image, &spectrum), VRESULT_OK);
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    Vobject filter, product, out;
    ASSERT_EQ(gen_derivative_filter(&filter, k.name, Vlong{1}, "none", "dc_edge", Vlong{w},
                                    Vlong{h}),
              VRESULT_OK);
    ASSERT_EQ(convol_fft(spectrum, filter, &product), VRESULT_OK);
    ASSERT_EQ(fft_image_inv(product, &out), VRESULT_OK);
    ExpectImage(out, w, h, 1e-2, k.want);
  }
  // The transform back with the other sign wants the conjugate filter; the
  // centred layout is the same filter shifted by half the size.
  Vobject plus, minus, centered;
  ASSERT_EQ(gen_derivative_filter(&plus, "x", Vlong{1}, "none", "dc_edge", Vlong{w}, Vlong{h}),
            VRESULT_OK);
  ASSERT_EQ(gen_derivative_filter(&minus, "x", Vlong{-1}, "none", "dc_edge", Vlong{w}, Vlong{h}),
            VRESULT_OK);
  ASSERT_EQ(gen_derivative_filter(&centered, "x", Vlong{1}, "none", "dc_center", Vlong{w},
                                  Vlong{h}),
            VRESULT_OK);
  const vexa::PixelBuffer *p = Pixels(plus), *m = Pixels(minus), *ce = Pixels(centered);
  EXPECT_NEAR(p->GetImaginary(0, 3), 2 * M_PI * 3 / w, 1e-6);
  EXPECT_NEAR(m->GetImaginary(0, 3), -2 * M_PI * 3 / w, 1e-6);
  EXPECT_NEAR(ce->GetImaginary(h / 2, w / 2 + 3), 2 * M_PI * 3 / w, 1e-6);
  // The highest frequency of an even side has no sign: 0 for odd orders.
  EXPECT_EQ(p->GetImaginary(0, w / 2), 0.0);
  for (const char* bad : {"", "yx", "xxxx", "z"}) {
    Vobject f;
    EXPECT_EQ(gen_derivative_filter(&f, bad, Vlong{1}, "none", "dc_edge", Vlong{8}, Vlong{8}),
              VERR_CTRL_VALUE(0))
        << bad;
  }
  Vobject f;
  EXPECT_EQ(gen_derivative_filter(&f, "x", Vlong{0}, "none", "dc_edge", Vlong{8}, Vlong{8}),
            VERR_CTRL_VALUE(1));
}

TEST_F(FourierFilters, ComplexImagesJoinAndSplitTheirParts) {
  std::mt19937 gen(7);
  const std::vector<uint8_t> domain = RandomMask(7, 5, gen, false);
  const TestImage re = MakeImage("real", 7, 5, domain, gen, -100, 100);
  const TestImage im = MakeImage("byte", 7, 5, std::vector<uint8_t>(35, 1), gen, 0, 255);
  Vobject joined, real, imaginary;
  ASSERT_EQ(real_to_complex(re.image, im.image, &joined), VRESULT_OK);
  vexa::RegionPtr joined_domain;
  const vexa::PixelBuffer* px = Pixels(joined, &joined_domain);
  ASSERT_STREQ(vexa::PixelTypeName(px->type()), "complex");
  ASSERT_EQ(complex_to_real(joined, &real, &imaginary), VRESULT_OK);
  // Every pixel is carried, not only the domain's: spectra are read whole.
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 7; ++c) {
      EXPECT_EQ(joined_domain->Contains(r, c), re.In(r, c));
      EXPECT_EQ(px->Get(r, c), re.At(r, c));
      EXPECT_EQ(px->GetImaginary(r, c), im.At(r, c));
      EXPECT_EQ(Pixels(real)->Get(r, c), re.At(r, c));
      EXPECT_EQ(Pixels(imaginary)->Get(r, c), im.At(r, c));
    }
  EXPECT_STREQ(vexa::PixelTypeName(Pixels(imaginary)->type()), "real");
  const TestImage small = RandomImage("real", 6, 5, gen);
  Vobject out, out2;
  EXPECT_EQ(real_to_complex(re.image, small.image, &out), VERR_IMAGE_SIZE);
  EXPECT_EQ(complex_to_real(im.image, &out, &out2), VERR_PIXEL_TYPE);
  EXPECT_EQ(convol_gabor(re.image, re.image, &out, &out2), VERR_PIXEL_TYPE);
}

}  // namespace
