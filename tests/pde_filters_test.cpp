// The PDE filters (anisotrope_diff, mean_curvature_flow,
// coherence_enhancing_diff, shock_filter) against properties their
// equations fix: flat images stay flat, a ramp is a fixed point of the
// curvature flows, a paraboloid rises at the rate of its curvature,
// diffusion keeps the mean and a shock filter steepens a blurred edge;
// anisotrope_diff against a direct loop; then the parameter checks.
#include <opencv2/imgproc.hpp>

#include "filter_test_support.h"
#include "pde_test_support.h"

namespace {

using namespace Vexa;
using namespace filter_test;
using namespace pde_test;

class PdeFilters : public LeakCheckedTest {};

// The contrast anisotrope_diff derives: the nearest-rank percentile of the
// central-difference gradient magnitudes under the mirror rule.
double Contrast(const TestImage& im, int percent) {
  std::vector<double> g;
  for (int r = 0; r < im.height; ++r)
    for (int c = 0; c < im.width; ++c)
      g.push_back(std::hypot(Value(im, r, c + 1) - Value(im, r, c - 1),
                             Value(im, r + 1, c) - Value(im, r - 1, c)) / 2);
  std::sort(g.begin(), g.end());
  const size_t rank = std::max<size_t>(1, static_cast<size_t>(std::ceil(percent / 100.0 * g.size())));
  return g[rank - 1];
}

// One step of the neighbour scheme, straight from its formula.
std::vector<double> AnisotropeStep(const TestImage& im, double k, int mode, bool eight) {
  const int dy[8] = {-1, 1, 0, 0, -1, -1, 1, 1}, dx[8] = {0, 0, -1, 1, -1, 1, -1, 1};
  const double tau = eight ? 0.8 / 6 : 0.2;
  std::vector<double> out;
  for (int r = 0; r < im.height; ++r)
    for (int c = 0; c < im.width; ++c) {
      double sum = 0;
      for (int i = 0; i < (eight ? 8 : 4); ++i) {
        const double d = Value(im, r + dy[i], c + dx[i]) - im.At(r, c), q = d / k;
        const double g = mode == 1 ? 1 / (1 + q * q) : std::exp(-q * q);
        sum += (i < 4 ? 1.0 : 0.5) * g * d;
      }
      out.push_back(im.At(r, c) + tau * sum);
    }
  return out;
}

TEST_F(PdeFilters, AnisotropeDiffIsOneStepOfTheNeighbourSchemeWithAPercentileContrast) {
  std::mt19937 gen(41);
  for (const std::string& type : kTypes)
    for (const TestImage& im : FilterInputs(type, gen))
      for (int mode : {1, 2})
        for (int neighbours : {4, 8}) {
          const std::string what = type + " mode " + std::to_string(mode) + " neighbours " +
                                   std::to_string(neighbours);
          const std::vector<double> expect =
              AnisotropeStep(im, std::max(Contrast(im, 70), 1e-9), mode, neighbours == 8);
          Vobject out;
          ASSERT_EQ(anisotrope_diff(im.image, &out, 70, mode, 1, neighbours), VRESULT_OK) << what;
          ExpectFiltered(out, im, [&](int r, int c) { return Stored(type, expect[r * im.width + c]); },
                         type == "real" ? 1e-5 : 1.0, what);
        }
}

// A domain is computed on a tile grown by the flow's reach per step: its
// pixels must be those of the whole image filtered.
TEST_F(PdeFilters, ADomainGetsThePixelsOfTheWholeImageFiltered) {
  std::mt19937 gen(45);
  const std::vector<std::function<Vresult(const Vobject&, Vobject*)>> flows = {
      [](const Vobject& im, Vobject* out) { return mean_curvature_flow(im, out, 1.0, 0.2, 4); },
      [](const Vobject& im, Vobject* out) { return coherence_enhancing_diff(im, out, 0.7, 1.5, 0.2, 3); },
      [](const Vobject& im, Vobject* out) { return shock_filter(im, out, 0.4, 4, "canny", 1.0); },
      [](const Vobject& im, Vobject* out) { return anisotrope_diff(im, out, 60, 2, 4, 8); },
  };
  for (const std::string& type : {std::string("int2"), std::string("real")}) {
    std::vector<uint8_t> corner(60 * 50, 0);
    for (int r = 30; r < 36; ++r)
      for (int c = 40; c < 47; ++c) corner[r * 60 + c] = 1;
    const TestImage im = MakeImage(type, 60, 50, corner, gen, 0, 200);
    Vobject full;
    ASSERT_EQ(full_domain(im.image, &full), VRESULT_OK);
    for (size_t f = 0; f < flows.size(); ++f) {
      Vobject part, whole;
      ASSERT_EQ(flows[f](im.image, &part), VRESULT_OK);
      ASSERT_EQ(flows[f](full, &whole), VRESULT_OK);
      ExpectFiltered(part, im, [&](int r, int c) { return Pixels(whole)->Get(r, c); }, 0.0,
                     type + " flow " + std::to_string(f));
    }
  }
}

TEST_F(PdeFilters, FlatImagesStayFlat) {
  for (const std::string& type : kTypes) {
    const Vobject flat = ImageOf(type, 12, 9, [](int, int) { return 7.0; });
    Vobject out[5];
    ASSERT_EQ(anisotrope_diff(flat, &out[0], 50, 2, 5, 8), VRESULT_OK);
    ASSERT_EQ(mean_curvature_flow(flat, &out[1], 1.0, 0.25, 5), VRESULT_OK);
    ASSERT_EQ(coherence_enhancing_diff(flat, &out[2], 1.0, 2.0, 0.2, 5), VRESULT_OK);
    ASSERT_EQ(shock_filter(flat, &out[3], 0.5, 5, "canny", 1.0), VRESULT_OK);
    ASSERT_EQ(shock_filter(flat, &out[4], 0.5, 5, "laplace", 0.0), VRESULT_OK);
    for (const Vobject& o : out) ExpectEverywhere(o, 12, 9, [](int, int) { return 7.0; }, 0.0, type);
  }
}

TEST_F(PdeFilters, ARampIsAFixedPointOfTheCurvatureFlows) {
  const auto ramp = [](int r, int c) { return 20.0 + 3.0 * c + 2.0 * r; };
  const Vobject im = ImageOf("real", 90, 90, ramp);
  Vobject mcf, ced;
  ASSERT_EQ(mean_curvature_flow(im, &mcf, 1.5, 0.25, 6), VRESULT_OK);
  ASSERT_EQ(coherence_enhancing_diff(im, &ced, 1.0, 2.0, 0.2, 3), VRESULT_OK);
  // The mirror rule bends the ramp at the border; the flows carry that
  // inwards by up to their reach per step (6 and 11), so only the centre
  // is checked.
  for (int r = 44; r <= 45; ++r)
    for (int c = 44; c <= 45; ++c) {
      EXPECT_NEAR(Pixels(mcf)->Get(r, c), ramp(r, c), 1e-3);
      EXPECT_NEAR(Pixels(ced)->Get(r, c), ramp(r, c), 1e-3);
    }
}

// u = x^2 + y^2 has the second difference 2 along every direction, so
// mean curvature flow raises it by 2 theta per step away from the border.
TEST_F(PdeFilters, MeanCurvatureFlowRaisesAParaboloidByItsCurvature) {
  const auto bowl = [](int r, int c) { return (r - 15.0) * (r - 15.0) + (c - 14.0) * (c - 14.0); };
  const Vobject im = ImageOf("real", 30, 31, bowl);
  Vobject out;
  ASSERT_EQ(mean_curvature_flow(im, &out, 0.5, 0.2, 3), VRESULT_OK);
  for (int r = 10; r <= 20; ++r)
    for (int c = 10; c <= 20; ++c) EXPECT_NEAR(Pixels(out)->Get(r, c), bowl(r, c) + 3 * 0.4, 1e-3);
}

// With the mirror rule the neighbour scheme moves gray value only between
// pixels, the border pixels counting half (each also stands for its
// mirror image): that weighted mean stays.
TEST_F(PdeFilters, DiffusionKeepsTheMeanOfTheMirroredImage) {
  std::mt19937 gen(42);
  const TestImage im = RandomImage("real", 40, 32, gen, true);
  Vobject aniso, ced;
  ASSERT_EQ(anisotrope_diff(im.image, &aniso, 80, 1, 10, 8), VRESULT_OK);
  ASSERT_EQ(coherence_enhancing_diff(im.image, &ced, 1.0, 3.0, 0.2, 10), VRESULT_OK);
  const double before = MirroredMean(im.image, im.width, im.height);
  EXPECT_NEAR(MirroredMean(aniso, im.width, im.height), before, 1e-3);
  EXPECT_NEAR(MirroredMean(ced, im.width, im.height), before, 1e-3);
}

// Vertical stripes with noise: coherence-enhancing diffusion smooths along
// the stripes and keeps their contrast across.
TEST_F(PdeFilters, CoherenceEnhancingDiffusionSmoothsAlongStripesOnly) {
  std::mt19937 gen(43);
  std::normal_distribution<double> noise(0.0, 10.0);
  const Vobject im = ImageOf("real", 48, 40, [&](int, int c) {
    return 100.0 + 50.0 * std::sin(2 * M_PI * c / 8.0) + noise(gen);
  });
  Vobject out;
  ASSERT_EQ(coherence_enhancing_diff(im, &out, 1.0, 4.0, 0.25, 60), VRESULT_OK);
  const auto along = [](const Vobject& o) {  // mean deviation within a column
    double s = 0;
    for (int c = 8; c < 40; ++c) {
      double m = 0, v = 0;
      for (int r = 8; r < 32; ++r) m += Pixels(o)->Get(r, c) / 24;
      for (int r = 8; r < 32; ++r) v += std::pow(Pixels(o)->Get(r, c) - m, 2) / 24;
      s += std::sqrt(v) / 32;
    }
    return s;
  };
  const auto across = [](const Vobject& o) {  // crest minus trough, row 20
    return Pixels(o)->Get(20, 18) - Pixels(o)->Get(20, 22);
  };
  EXPECT_LT(along(out), 0.3 * along(im));
  EXPECT_GT(across(out), 70.0);
}

// A step blurred by a Gaussian: the shock filter narrows the band between
// 10 % and 90 % of the step and creates no new extrema.
TEST_F(PdeFilters, ShockFilterSteepensABlurredEdge) {
  cv::Mat step(16, 40, CV_32F);
  for (int c = 0; c < 40; ++c) step.col(c).setTo(c < 20 ? 50.0 : 200.0);
  cv::GaussianBlur(step, step, cv::Size(0, 0), 3.0, 3.0, cv::BORDER_REFLECT_101);
  const Vobject im = ImageOf("real", 40, 16, [&](int r, int c) { return step.at<float>(r, c); });
  const auto width = [](const Vobject& o) {
    int n = 0;
    for (int c = 0; c < 40; ++c) {
      const double v = Pixels(o)->Get(8, c);
      n += v > 65.0 && v < 185.0;
    }
    return n;
  };
  for (const char* mode : {"canny", "laplace"}) {
    Vobject out;
    ASSERT_EQ(shock_filter(im, &out, 0.5, 20, mode, 1.0), VRESULT_OK) << mode;
    EXPECT_LE(width(out), width(im) / 3) << mode;
    for (int c = 1; c < 40; ++c)
      EXPECT_GE(Pixels(out)->Get(8, c), Pixels(out)->Get(8, c - 1)) << mode << " column " << c;
    ExpectEverywhere(out, 40, 16, [](int, int) { return 125.0; }, 75.0 + 1e-3, mode);
  }
}

TEST_F(PdeFilters, BadParametersAndTypesAreRefused) {
  std::mt19937 gen(44);
  const TestImage im = RandomImage("byte", 10, 8, gen);
  const double nan = std::nan("");
  Vobject out, cplx;
  EXPECT_EQ(anisotrope_diff(im.image, &out, 0, 1, 3, 4), VERR_CTRL_VALUE(0));
  EXPECT_EQ(anisotrope_diff(im.image, &out, 50, 3, 3, 4), VERR_CTRL_VALUE(1));
  EXPECT_EQ(anisotrope_diff(im.image, &out, 50, 1, 501, 4), VERR_CTRL_VALUE(2));
  EXPECT_EQ(anisotrope_diff(im.image, &out, 50, 1, 3, 6), VERR_CTRL_VALUE(3));
  EXPECT_EQ(mean_curvature_flow(im.image, &out, nan, 0.2, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(mean_curvature_flow(im.image, &out, 1.0, 0.7, 3), VERR_CTRL_VALUE(1));
  EXPECT_EQ(coherence_enhancing_diff(im.image, &out, 1.0, -1.0, 0.2, 3), VERR_CTRL_VALUE(1));
  EXPECT_EQ(coherence_enhancing_diff(im.image, &out, 1.0, 2.0, 0.3, 3), VERR_CTRL_VALUE(2));
  EXPECT_EQ(coherence_enhancing_diff(im.image, &out, 1.0, 2.0, 0.2, 1000), VERR_CTRL_VALUE(3));
  EXPECT_EQ(shock_filter(im.image, &out, 0.0, 3, "canny", 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(shock_filter(im.image, &out, 0.5, 3, "sobel", 1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(shock_filter(im.image, &out, 0.5, 3, "canny", 16.0), VERR_CTRL_VALUE(3));
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(mean_curvature_flow(cplx, &out, 1.0, 0.2, 3), VERR_PIXEL_TYPE);
  EXPECT_EQ(anisotrope_diff(cplx, &out, 50, 1, 3, 4), VERR_PIXEL_TYPE);
}

}  // namespace
