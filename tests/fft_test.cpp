// Fourier transforms: the forward transform against a DFT computed here,
// the round trip through the inverse, the real-input transform, the
// spectrum products (a cyclic shift found by phase correlation) and the
// frequency filters.
#include <complex>
#include <cmath>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;
using Complex = std::complex<double>;

// The complex pixel (r, c) of a complex image.
Complex ComplexAt(const Vobject& image, int r, int c) {
  const vexa::PixelBuffer* px = Pixels(image);
  return {px->Get(r, c), px->GetImaginary(r, c)};
}

// The DFT of a test image at frequency (u, v), kernel exp(-2 pi i ...).
Complex Dft(const TestImage& t, int v, int u) {
  Complex s = 0;
  for (int r = 0; r < t.height; ++r)
    for (int c = 0; c < t.width; ++c)
      s += t.At(r, c) * std::polar(1.0, -2 * M_PI * (double(u) * c / t.width + double(v) * r / t.height));
  return s;
}

class Fourier : public LeakCheckedTest {};

TEST_F(Fourier, ForwardTransformIsTheDftAndTheInverseGivesTheInputBack) {
  std::mt19937 gen(41);
  for (const char* type : {"byte", "int2", "real"}) {
    SCOPED_TRACE(type);
    // The domain does not matter: transforms read the whole image.
    const TestImage in = MakeImage(type, 9, 6, RandomMask(9, 6, gen, false), gen, 0, 200);
    Vobject spectrum, back;
    ASSERT_EQ(fft_image(in.image, &spectrum), VRESULT_OK);
    for (int v = 0; v < in.height; ++v)
      for (int u = 0; u < in.width; ++u) {
        const Complex want = Dft(in, v, u), got = ComplexAt(spectrum, v, u);
        EXPECT_NEAR(got.real(), want.real(), 1e-3 * std::max(1.0, std::abs(want)));
        EXPECT_NEAR(got.imag(), want.imag(), 1e-3 * std::max(1.0, std::abs(want)));
      }
    ASSERT_EQ(fft_image_inv(spectrum, &back), VRESULT_OK);
    const vexa::PixelBuffer* px = Pixels(back);
    ASSERT_STREQ(vexa::PixelTypeName(px->type()), "real");
    for (int r = 0; r < in.height; ++r)
      for (int c = 0; c < in.width; ++c) EXPECT_NEAR(px->Get(r, c), in.At(r, c), 1e-3);

    // The power and phase of the spectrum.
    Vobject power, phase;
    ASSERT_EQ(power_real(spectrum, &power), VRESULT_OK);
    ASSERT_EQ(phase_rad(spectrum, &phase), VRESULT_OK);
    const Complex z = ComplexAt(spectrum, 1, 2);
    EXPECT_NEAR(Pixels(power)->Get(1, 2), std::norm(z), 1e-3 * std::norm(z));
    EXPECT_NEAR(Pixels(phase)->Get(1, 2), std::arg(z), 1e-5);
  }
}

TEST_F(Fourier, CenteredAndRealTransformsAgreeWithTheFullOne) {
  std::mt19937 gen(42);
  const TestImage in = RandomImage("real", 8, 5, gen, true);
  Vobject full, centered, half, back;
  ASSERT_EQ(fft_image(in.image, &full), VRESULT_OK);
  ASSERT_EQ(fft_generic(in.image, &centered, "to_freq", Vlong{-1}, "none", "dc_center", "complex"),
            VRESULT_OK);
  ASSERT_EQ(rft_generic(in.image, &half, "to_freq", "none", "complex", Vlong{8}), VRESULT_OK);
  ASSERT_EQ(Pixels(half)->width(), 5);
  for (int v = 0; v < 5; ++v)
    for (int u = 0; u < 8; ++u) {
      const Complex z = ComplexAt(full, v, u);
      EXPECT_LT(std::abs(ComplexAt(centered, (v + 2) % 5, (u + 4) % 8) - z), 1e-2);
      if (u <= 4) EXPECT_LT(std::abs(ComplexAt(half, v, u) - z), 1e-2);
    }
  ASSERT_EQ(rft_generic(half, &back, "from_freq", "n", "real", Vlong{8}), VRESULT_OK);
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 8; ++c) EXPECT_NEAR(Pixels(back)->Get(r, c), in.At(r, c), 1e-2);
  // The centred inverse undoes the centred forward transform.
  ASSERT_EQ(fft_generic(centered, &back, "from_freq", Vlong{1}, "n", "dc_center", "real"),
            VRESULT_OK);
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 8; ++c) EXPECT_NEAR(Pixels(back)->Get(r, c), in.At(r, c), 1e-2);
}

TEST_F(Fourier, PhaseCorrelationFindsACyclicShift) {
  std::mt19937 gen(43);
  const int w = 16, h = 12, dr = 3, dc = 5;
  const TestImage a = RandomImage("byte", w, h, gen, true);
  std::vector<uint8_t> shifted;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      shifted.push_back(static_cast<uint8_t>(a.At((r - dr + h) % h, (c - dc + w) % w)));
  Vobject b;
  ASSERT_EQ(gen_image1(&b, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(shifted.data()))),
            VRESULT_OK);
  Vobject fa, fb, corr, back;
  ASSERT_EQ(fft_image(a.image, &fa), VRESULT_OK);
  ASSERT_EQ(fft_image(b, &fb), VRESULT_OK);
  ASSERT_EQ(phase_correlation_fft(fb, fa, &corr), VRESULT_OK);
  ASSERT_EQ(fft_image_inv(corr, &back), VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(back);
  EXPECT_NEAR(px->Get(dr, dc), 1.0, 1e-4);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (r != dr || c != dc) EXPECT_NEAR(px->Get(r, c), 0.0, 1e-4);
  // Correlating with itself peaks at no shift.
  ASSERT_EQ(correlation_fft(fa, fa, &corr), VRESULT_OK);
  ASSERT_EQ(fft_image_inv(corr, &back), VRESULT_OK);
  px = Pixels(back);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_LE(px->Get(r, c), px->Get(0, 0) + 1e-3);
}

TEST_F(Fourier, FrequencyFiltersSelectTheirBands) {
  Vobject low, high, band, gauss;
  ASSERT_EQ(gen_lowpass(&low, 0.2, "none", "dc_edge", Vlong{20}, Vlong{10}), VRESULT_OK);
  ASSERT_EQ(gen_highpass(&high, 0.2, "none", "dc_edge", Vlong{20}, Vlong{10}), VRESULT_OK);
  ASSERT_EQ(gen_bandpass(&band, 0.1, 0.3, "n", "dc_center", Vlong{20}, Vlong{10}), VRESULT_OK);
  ASSERT_EQ(gen_gauss_filter(&gauss, 2.0, 2.0, 0.0, "none", "dc_edge", Vlong{20}, Vlong{10}),
            VRESULT_OK);
  for (int r = 0; r < 10; ++r)
    for (int c = 0; c < 20; ++c) {
      const double fu = (c < 10 ? c : c - 20) / 20.0, fv = (r < 5 ? r : r - 10) / 10.0;
      const double rho = std::hypot(fu, fv);
      EXPECT_EQ(Pixels(low)->Get(r, c), rho <= 0.2 ? 1.0 : 0.0) << r << "," << c;
      EXPECT_EQ(Pixels(low)->Get(r, c) + Pixels(high)->Get(r, c), 1.0);
      EXPECT_NEAR(Pixels(gauss)->Get(r, c), std::exp(-2 * M_PI * M_PI * 4 * rho * rho), 1e-6);
      const double cu = (c - 10) / 20.0, cv = (r - 5) / 10.0, crho = std::hypot(cu, cv);
      EXPECT_NEAR(Pixels(band)->Get(r, c), crho >= 0.1 && crho <= 0.3 ? 1.0 / 200 : 0.0, 1e-7);
    }
  // A lowpass keeps a constant image unchanged.
  Vobject zero, flat, spectrum, filtered, back;
  ASSERT_EQ(gen_image_const(&zero, "real", Vlong{20}, Vlong{10}), VRESULT_OK);
  ASSERT_EQ(gen_image_proto(zero, &flat, 5.0), VRESULT_OK);
  ASSERT_EQ(fft_image(flat, &spectrum), VRESULT_OK);
  ASSERT_EQ(convol_fft(spectrum, low, &filtered), VRESULT_OK);
  ASSERT_EQ(fft_image_inv(filtered, &back), VRESULT_OK);
  EXPECT_NEAR(Pixels(back)->Get(4, 7), 5.0, 1e-5);
}

TEST_F(Fourier, OnePixelAndBadInput) {
  std::mt19937 gen(44);
  const TestImage one = RandomImage("byte", 1, 1, gen, true);
  Vobject spectrum, back, filter;
  ASSERT_EQ(fft_image(one.image, &spectrum), VRESULT_OK);
  ASSERT_EQ(fft_image_inv(spectrum, &back), VRESULT_OK);
  EXPECT_NEAR(Pixels(back)->Get(0, 0), one.At(0, 0), 1e-4);
  EXPECT_EQ(fft_image_inv(one.image, &back), VERR_PIXEL_TYPE);
  EXPECT_EQ(gen_lowpass(&filter, -0.1, "none", "dc_edge", Vlong{4}, Vlong{4}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_lowpass(&filter, 0.1, "sqrt", "dc_edge", Vlong{4}, Vlong{4}), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_lowpass(&filter, 0.1, "none", "dc_middle", Vlong{4}, Vlong{4}), VERR_CTRL_VALUE(2));
  EXPECT_EQ(fft_generic(one.image, &back, "to_freq", Vlong{2}, "none", "dc_edge", "complex"),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(rft_generic(spectrum, &back, "from_freq", "none", "real", Vlong{5}), VERR_CTRL_VALUE(3));
}

}  // namespace
