// Gradient, compass, Laplace and contrast filters against per-pixel
// reference loops on random images of every accepted type under random
// non-rectangular domains (neighbours mirrored at the image border), plus
// a 1x1 image and the parameter and type checks.
#include <algorithm>
#include <cmath>
#include <string>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

const char* const kGrayTypes[] = {"byte", "int1", "int2", "uint2", "int4", "int8", "real"};

double Tolerance(const std::string& type) { return type == "real" ? 1e-3 : 1.0; }

// Binomial row of `n` entries.
std::vector<double> Binomial(int n) {
  std::vector<double> b{1};
  for (int k = 1; k < n; ++k) {
    std::vector<double> next(b.size() + 1, 0);
    for (size_t i = 0; i < b.size(); ++i) {
      next[i] += b[i];
      next[i + 1] += b[i];
    }
    b = next;
  }
  return b;
}

// Sobel masks of `size`: smoothing summing to 1, derivative with first
// moment 1.
void SobelReference(int size, std::vector<double>* smooth, std::vector<double>* deriv) {
  *smooth = Binomial(size);
  double sum = 0;
  for (double v : *smooth) sum += v;
  for (double& v : *smooth) v /= sum;
  const std::vector<double> inner = Binomial(size - 2);
  deriv->assign(size, 0);
  for (size_t i = 0; i < inner.size(); ++i) {
    (*deriv)[i] -= inner[i];
    (*deriv)[i + 2] += inner[i];
  }
  double moment = 0;
  for (int i = 0; i < size; ++i) moment += (i - size / 2) * (*deriv)[i];
  for (double& v : *deriv) v /= moment;
}

class GradientTypes : public LeakCheckedTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(GradientTypes, SobelAmplitudesAndDerivativesFollowTheMasks) {
  const std::string type = GetParam();
  std::mt19937 gen(11);
  const TestImage in = RandomImage(type, 23, 17, gen);
  for (int size : {3, 5, 7}) {
    std::vector<double> s, d;
    SobelReference(size, &s, &d);
    const std::vector<double> mx = Outer(s, d), my = Outer(d, s);
    auto gx = [&](int r, int c) { return Correlate(in, r, c, mx); };
    auto gy = [&](int r, int c) { return Correlate(in, r, c, my); };
    const std::string signed_type = type == "byte" ? "int2" : type == "uint2" ? "int4" : type;
    struct Case {
      const char* name;
      std::string type;
      std::function<double(int, int)> expect;
    } cases[] = {
        {"sum_abs", type, [&](int r, int c) { return std::fabs(gx(r, c)) + std::fabs(gy(r, c)); }},
        {"sum_sqrt", type, [&](int r, int c) { return std::hypot(gx(r, c), gy(r, c)); }},
        {"x", signed_type, gx},
        {"y", signed_type, gy},
    };
    for (const Case& k : cases) {
      SCOPED_TRACE(std::string(k.name) + " size " + std::to_string(size));
      Vobject amp;
      ASSERT_EQ(sobel_amp(in.image, &amp, k.name, Vlong{size}), VRESULT_OK);
      ExpectFiltered(amp, in, k.type, Tolerance(type), k.expect);
    }
    // The binomial variants are the masks two wider.
    if (size + 2 <= 7) {
      SobelReference(size + 2, &s, &d);
      const std::vector<double> wx = Outer(s, d), wy = Outer(d, s);
      Vobject amp;
      ASSERT_EQ(sobel_amp(in.image, &amp, "sum_abs_binomial", Vlong{size}), VRESULT_OK);
      ExpectFiltered(amp, in, type, Tolerance(type), [&](int r, int c) {
        return std::fabs(Correlate(in, r, c, wx)) + std::fabs(Correlate(in, r, c, wy));
      });
    }
  }
}

// The direction code of a gradient: angle counter-clockwise from the
// column axis (rows down) in 2-degree steps.
double Code(double gx, double gy) {
  double deg = std::atan2(-gy, gx) * 180 / M_PI;
  if (deg < 0) deg += 360;
  return std::fmod(std::round(deg / 2), 180);
}

TEST_P(GradientTypes, DirectionImagesHoldTheGradientAngle) {
  const std::string type = GetParam();
  std::mt19937 gen(12);
  const TestImage in = RandomImage(type, 19, 13, gen);
  std::vector<double> s, d;
  SobelReference(3, &s, &d);
  const std::vector<double> sobel_x = Outer(s, d), sobel_y = Outer(d, s);
  const std::vector<double> prewitt_x = Outer({1 / 3., 1 / 3., 1 / 3.}, {-.5, 0, .5});
  const std::vector<double> prewitt_y = Outer({-.5, 0, .5}, {1 / 3., 1 / 3., 1 / 3.});
  const double q = 1 / (2 + std::sqrt(2.0));
  const std::vector<double> frei_x = Outer({q, std::sqrt(2.0) * q, q}, {-.5, 0, .5});
  const std::vector<double> frei_y = Outer({-.5, 0, .5}, {q, std::sqrt(2.0) * q, q});
  struct Case {
    const char* name;
    const std::vector<double>& mx;
    const std::vector<double>& my;
  } cases[] = {{"sobel", sobel_x, sobel_y}, {"prewitt", prewitt_x, prewitt_y},
               {"frei", frei_x, frei_y}};
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    Vobject amp, dir;
    const std::string name = k.name;
    if (name == "sobel") ASSERT_EQ(sobel_dir(in.image, &amp, &dir, "sum_sqrt", Vlong{3}), VRESULT_OK);
    if (name == "prewitt") ASSERT_EQ(prewitt_dir(in.image, &amp, &dir), VRESULT_OK);
    if (name == "frei") ASSERT_EQ(frei_dir(in.image, &amp, &dir), VRESULT_OK);
    ExpectFiltered(amp, in, type, Tolerance(type), [&](int r, int c) {
      return std::hypot(Correlate(in, r, c, k.mx), Correlate(in, r, c, k.my));
    });
    const vexa::PixelBuffer* px = Pixels(dir);
    ASSERT_STREQ(vexa::PixelTypeName(px->type()), "direction");
    for (int r = 0; r < in.height; ++r)
      for (int c = 0; c < in.width; ++c) {
        if (!in.In(r, c)) continue;
        const double gx = Correlate(in, r, c, k.mx), gy = Correlate(in, r, c, k.my);
        if (std::fabs(gx) + std::fabs(gy) < 1e-3) continue;
        const double diff = std::fabs(px->Get(r, c) - Code(gx, gy));
        EXPECT_TRUE(diff <= 1 || diff >= 179) << r << "," << c;
      }
  }
}

// The 8 neighbours counter-clockwise from the column axis: (dr, dc).
const int kRing[8][2] = {{0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}};

TEST_P(GradientTypes, CompassFiltersTakeTheStrongestOfEightMasks) {
  const std::string type = GetParam();
  std::mt19937 gen(13);
  const TestImage in = RandomImage(type, 15, 12, gen);
  // Kirsch: 5 on the three neighbours toward the direction, -3 on the
  // others, over 15; Robinson: 2, 1, 0, -1, -2 by angular distance, over 4.
  auto response = [&](bool kirsch, int k, int r, int c) {
    double s = 0;
    for (int j = 0; j < 8; ++j) {
      const int dist = std::min((j - k + 8) % 8, (k - j + 8) % 8);
      const double w = kirsch ? (dist <= 1 ? 5 : -3) : (2 - dist);
      s += w * At(in, r + kRing[j][0], c + kRing[j][1]);
    }
    return s / (kirsch ? 15.0 : 4.0);
  };
  for (bool kirsch : {true, false}) {
    SCOPED_TRACE(kirsch ? "kirsch" : "robinson");
    Vobject amp, dir;
    ASSERT_EQ(kirsch ? kirsch_dir(in.image, &amp, &dir) : robinson_dir(in.image, &amp, &dir),
              VRESULT_OK);
    ExpectFiltered(amp, in, type, Tolerance(type), [&](int r, int c) {
      double best = response(kirsch, 0, r, c);
      for (int k = 1; k < 8; ++k) best = std::max(best, response(kirsch, k, r, c));
      return best;
    });
    ExpectFiltered(dir, in, "direction", 0, [&](int r, int c) {
      int best = 0;
      for (int k = 1; k < 8; ++k)
        if (response(kirsch, k, r, c) > response(kirsch, best, r, c)) best = k;
      return response(kirsch, best, r, c) <= 0 ? 255.0 : double(best * 45 / 2);
    });
  }
}

TEST_P(GradientTypes, RobertsAndLaplaceFollowTheirMasks) {
  const std::string type = GetParam();
  std::mt19937 gen(14);
  const TestImage in = RandomImage(type, 16, 14, gen);
  auto d1 = [&](int r, int c) { return At(in, r, c) - At(in, r + 1, c + 1); };
  auto d2 = [&](int r, int c) { return At(in, r, c + 1) - At(in, r + 1, c); };
  Vobject out;
  ASSERT_EQ(roberts(in.image, &out, "gradient_sum"), VRESULT_OK);
  ExpectFiltered(out, in, type, Tolerance(type),
                 [&](int r, int c) { return std::fabs(d1(r, c)) + std::fabs(d2(r, c)); });
  ASSERT_EQ(roberts(in.image, &out, "roberts_max"), VRESULT_OK);
  ExpectFiltered(out, in, type, Tolerance(type), [&](int r, int c) {
    return std::max(std::fabs(d1(r, c)), std::fabs(d2(r, c)));
  });
  const std::string signed_type = type == "byte" ? "int2" : type == "uint2" ? "int4" : type;
  const std::vector<double> n4{0, 1, 0, 1, -4, 1, 0, 1, 0};
  ASSERT_EQ(laplace(in.image, &out, "signed", Vlong{3}, "n_4"), VRESULT_OK);
  ExpectFiltered(out, in, signed_type, Tolerance(type),
                 [&](int r, int c) { return Correlate(in, r, c, n4); });
  ASSERT_EQ(laplace(in.image, &out, "absolute", Vlong{3}, "n_8"), VRESULT_OK);
  const std::vector<double> n8{1, 1, 1, 1, -8, 1, 1, 1, 1};
  ExpectFiltered(out, in, type, Tolerance(type),
                 [&](int r, int c) { return std::fabs(Correlate(in, r, c, n8)) / 3; });
}

TEST_P(GradientTypes, ContrastFiltersCompareWithTheLocalMean) {
  const std::string type = GetParam();
  std::mt19937 gen(15);
  const TestImage in = RandomImage(type, 17, 15, gen);
  auto mean = [&](int r, int c, int w, int h) {
    double s = 0;
    for (int i = -(h / 2); i < h - h / 2; ++i)
      for (int j = -(w / 2); j < w - w / 2; ++j) s += At(in, r + i, c + j);
    return s / (w * h);
  };
  Vobject out;
  ASSERT_EQ(emphasize(in.image, &out, Vlong{5}, Vlong{3}, 1.5), VRESULT_OK);
  ExpectFiltered(out, in, type, Tolerance(type), [&](int r, int c) {
    return in.At(r, c) + 1.5 * (in.At(r, c) - mean(r, c, 5, 3));
  });
  const double middle = type == "byte" ? 128 : type == "uint2" ? 32768 : 0;
  ASSERT_EQ(highpass_image(in.image, &out, Vlong{3}, Vlong{7}), VRESULT_OK);
  ExpectFiltered(out, in, type, Tolerance(type),
                 [&](int r, int c) { return in.At(r, c) - mean(r, c, 3, 7) + middle; });
}

INSTANTIATE_TEST_SUITE_P(Types, GradientTypes, ::testing::ValuesIn(kGrayTypes));

class EdgeFilters : public LeakCheckedTest {};

TEST_F(EdgeFilters, HistogramEqualisationSpreadsTheDomainsValues) {
  std::mt19937 gen(16);
  const TestImage in = MakeImage("byte", 20, 11, RandomMask(20, 11, gen, false), gen, 40, 90);
  std::vector<double> below(256, 0);
  double n = 0;
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c)
      if (in.In(r, c)) {
        ++n;
        for (int v = static_cast<int>(in.At(r, c)); v < 256; ++v) ++below[v];
      }
  Vobject out;
  ASSERT_EQ(equ_histo_image(in.image, &out), VRESULT_OK);
  ExpectFiltered(out, in, "byte", 0,
                 [&](int r, int c) { return 255 * below[static_cast<int>(in.At(r, c))] / n; });
}

TEST_F(EdgeFilters, VariantsAgreeWithTheirPlainForms) {
  std::mt19937 gen(19);
  const TestImage in = RandomImage("int2", 21, 17, gen);
  // Thinning keeps a pixel's amplitude or clears it.
  Vobject plain, thin, amp, dir;
  ASSERT_EQ(sobel_amp(in.image, &plain, "sum_abs", Vlong{3}), VRESULT_OK);
  ASSERT_EQ(sobel_amp(in.image, &thin, "thin_sum_abs", Vlong{3}), VRESULT_OK);
  int kept = 0;
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c) {
      const double t = Pixels(thin)->Get(r, c);
      if (t != 0) EXPECT_EQ(t, Pixels(plain)->Get(r, c));
      kept += t != 0;
    }
  EXPECT_GT(kept, 0);
  // The amplitude-only operators give the amplitude of the _dir ones.
  for (int k = 0; k < 4; ++k) {
    Vobject a;
    if (k == 0) { ASSERT_EQ(prewitt_amp(in.image, &a), VRESULT_OK); prewitt_dir(in.image, &amp, &dir); }
    if (k == 1) { ASSERT_EQ(frei_amp(in.image, &a), VRESULT_OK); frei_dir(in.image, &amp, &dir); }
    if (k == 2) { ASSERT_EQ(kirsch_amp(in.image, &a), VRESULT_OK); kirsch_dir(in.image, &amp, &dir); }
    if (k == 3) { ASSERT_EQ(robinson_amp(in.image, &a), VRESULT_OK); robinson_dir(in.image, &amp, &dir); }
    ExpectFiltered(a, in, "int2", 0, [&](int r, int c) { return Pixels(amp)->Get(r, c); });
  }
  // Flat images: no contrast to change, no difference of Gaussians.
  Vobject zero, flat, out;
  ASSERT_EQ(gen_image_const(&zero, "byte", Vlong{12}, Vlong{9}), VRESULT_OK);
  ASSERT_EQ(gen_image_proto(zero, &flat, 127.0), VRESULT_OK);
  ASSERT_EQ(illuminate(flat, &out, Vlong{5}, Vlong{5}, 0.7), VRESULT_OK);
  EXPECT_EQ(Pixels(out)->Get(4, 6), 127.0);
  ASSERT_EQ(diff_of_gauss(flat, &out, 1.0, 2.0), VRESULT_OK);
  EXPECT_NEAR(Pixels(out)->Get(4, 6), 0.0, 1e-4);
  ASSERT_EQ(laplace(flat, &out, "absolute", Vlong{7}, "n_8_isotropic"), VRESULT_OK);
  EXPECT_EQ(Pixels(out)->Get(4, 6), 0.0);
}

// The 3x3 "sum_abs" amplitude of byte images is exact: the integer Sobel
// masks give 8 times the normalised derivatives, and the result is
// (|8 gx| + |8 gy| + 4) >> 3. Widths around the vector steps (32 and 64
// pixels) with remainders, sides of 1 to 3 pixels, full domains, domains
// of long chords that start and end anywhere, and random short runs.
TEST_F(EdgeFilters, ByteSobelSumAbsIsExactOnEveryDomain) {
  const std::vector<double> mx = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
  const std::vector<double> my = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
  std::mt19937 gen(23);
  const struct { int w, h; } sizes[] = {{1, 1}, {1, 4}, {4, 1}, {2, 3}, {3, 2}, {3, 3},
                                        {31, 5}, {66, 4}, {131, 7}, {200, 3}};
  for (const auto& sz : sizes) {
    std::vector<uint8_t> chords(static_cast<size_t>(sz.w) * sz.h, 0);
    for (int r = 0; r < sz.h; ++r) {
      std::uniform_int_distribution<int> col(0, sz.w - 1);
      const int a = col(gen), b = col(gen);
      for (int c = std::min(a, b); c <= std::max(a, b); ++c) chords[r * sz.w + c] = 1;
    }
    const std::vector<uint8_t> domains[] = {image_test::RandomMask(sz.w, sz.h, gen, true),
                                            chords,
                                            image_test::RandomMask(sz.w, sz.h, gen, false)};
    for (const auto& domain : domains) {
      SCOPED_TRACE(std::to_string(sz.w) + "x" + std::to_string(sz.h));
      const TestImage in = MakeImage("byte", sz.w, sz.h, domain, gen, 0, 256);
      Vobject amp;
      ASSERT_EQ(sobel_amp(in.image, &amp, "sum_abs", Vlong{3}), VRESULT_OK);
      ExpectFiltered(amp, in, "byte", 0, [&](int r, int c) {
        const int gx = static_cast<int>(Correlate(in, r, c, mx));
        const int gy = static_cast<int>(Correlate(in, r, c, my));
        return static_cast<double>(std::min((std::abs(gx) + std::abs(gy) + 4) >> 3, 255));
      });
    }
  }
}

TEST_F(EdgeFilters, OnePixelImagesHaveNoEdges) {
  std::mt19937 gen(17);
  const TestImage in = RandomImage("byte", 1, 1, gen, true);
  Vobject amp, dir;
  ASSERT_EQ(sobel_dir(in.image, &amp, &dir, "sum_abs", Vlong{3}), VRESULT_OK);
  EXPECT_EQ(Pixels(amp)->Get(0, 0), 0.0);
  EXPECT_EQ(Pixels(dir)->Get(0, 0), 255.0);
  ASSERT_EQ(edges_image(in.image, &amp, &dir, "canny", 1.0, "nms", Vlong{1}, Vlong{2}), VRESULT_OK);
  EXPECT_EQ(Pixels(amp)->Get(0, 0), 0.0);
  ASSERT_EQ(kirsch_amp(in.image, &amp), VRESULT_OK);
  EXPECT_EQ(Pixels(amp)->Get(0, 0), 0.0);
  ASSERT_EQ(laplace_of_gauss(in.image, &amp, 2.0), VRESULT_OK);
  EXPECT_NEAR(Pixels(amp)->Get(0, 0), 0.0, 1e-9);
}

TEST_F(EdgeFilters, BadParametersAndTypesAreRefused) {
  std::mt19937 gen(18);
  const TestImage in = RandomImage("byte", 8, 8, gen);
  Vobject out, dir, complex_image;
  EXPECT_EQ(sobel_amp(in.image, &out, "sum_cubed", Vlong{3}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(sobel_amp(in.image, &out, "sum_abs", Vlong{4}), VERR_CTRL_VALUE(1));
  EXPECT_EQ(sobel_dir(in.image, &out, &dir, "x", Vlong{3}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(laplace(in.image, &out, "signed", Vlong{3}, "n_6"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(derivate_gauss(in.image, &out, 0.0, "x"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(derivate_gauss(in.image, &out, 1.0, "xxxx"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(edges_image(in.image, &out, &dir, "canny", 1.0, "nms", Vlong{20}, Vlong{10}),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(edges_image(in.image, &out, &dir, "shen", 1.5, "nms", Vlong{1}, Vlong{2}),
            VERR_CTRL_VALUE(1));
  ASSERT_EQ(gen_image_const(&complex_image, "complex", Vlong{4}, Vlong{4}), VRESULT_OK);
  EXPECT_EQ(sobel_amp(complex_image, &out, "sum_abs", Vlong{3}), VERR_PIXEL_TYPE);
  EXPECT_EQ(illuminate(in.image, &out, Vlong{0}, Vlong{3}, 1.0), VERR_CTRL_VALUE(0));
}

}  // namespace
