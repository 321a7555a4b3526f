// Linear smoothing, convolution, local deviation and diffusion against
// per-pixel references with the mirror border, on every pixel type the
// filters take, a domain with holes (neighbours outside it still count)
// and a 1 x 1 image; then the parameter and type checks.
#include <cstdio>
#include <fstream>

#include <opencv2/imgproc.hpp>

#include "filter_test_support.h"

namespace {

using namespace Vexa;
using namespace filter_test;

// Sum of weight(dy, dx) * value over the rectangle of half sizes (hy, hx).
double Weighted(const TestImage& im, int r, int c, int hy, int hx,
                const std::function<double(int, int)>& weight, Edge edge = Edge::kMirror,
                double constant = 0) {
  double s = 0;
  for (int dy = -hy; dy <= hy; ++dy)
    for (int dx = -hx; dx <= hx; ++dx) s += weight(dy, dx) * Value(im, r + dy, c + dx, edge, constant);
  return s;
}

std::vector<double> Binomial(int n) {
  std::vector<double> b(n, 1.0);
  for (int i = 1; i < n; ++i) b[i] = b[i - 1] * (n - i) / i;
  for (double& x : b) x /= std::pow(2.0, n - 1);
  return b;
}

class SmoothTypes : public LeakCheckedTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(SmoothTypes, LinearFiltersFollowTheirMasks) {
  const std::string type = GetParam();
  // Integer results are rounded; OpenCV's 16-bit Gaussian works with
  // fixed-point weights and may miss by one more unit.
  const double tol = type == "real" ? 1e-4 : type == "int2" || type == "uint2" ? 2.0 : 1.0;
  std::mt19937 gen(11);
  for (const TestImage& im : FilterInputs(type, gen)) {
    Vobject out;
    ASSERT_EQ(mean_image(im.image, &out, 5, 3), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      return Weighted(im, r, c, 1, 2, [](int, int) { return 1.0 / 15; });
    }, tol, "mean_image");

    for (int size : {5, 11}) {
      ASSERT_EQ(gauss_filter(im.image, &out, size), VRESULT_OK);
      const cv::Mat g = cv::getGaussianKernel(size, 0, CV_64F);
      ExpectFiltered(out, im, [&](int r, int c) {
        return Weighted(im, r, c, size / 2, size / 2, [&](int dy, int dx) {
          return g.at<double>(dy + size / 2) * g.at<double>(dx + size / 2);
        });
      }, tol, "gauss_filter " + std::to_string(size));
    }

    ASSERT_EQ(binomial_filter(im.image, &out, 7, 3), VRESULT_OK);
    const std::vector<double> bx = Binomial(7), by = Binomial(3);
    ExpectFiltered(out, im, [&](int r, int c) {
      return Weighted(im, r, c, 1, 3, [&](int dy, int dx) { return by[dy + 1] * bx[dx + 3]; });
    }, tol, "binomial_filter");

    // An asymmetric mask given column by column; a true convolution.
    const double coef[9] = {1, -2, 3, 0, 4, 5, -1, 2, 6};
    VTuple mask = VTuple(Vlong{3}).Append(VTuple(Vlong{3})).Append(VTuple(Vlong{18}));
    for (double k : coef) mask.Append(VTuple(k));
    auto convolved = [&](Edge edge, double constant) {
      return [&, edge, constant](int r, int c) {
        return Stored(type, Weighted(im, r, c, 1, 1, [&](int dy, int dx) {
          return coef[(1 - dx) * 3 + (1 - dy)] / 18;
        }, edge, constant));
      };
    };
    ASSERT_EQ(convol_image(im.image, &out, mask, "mirrored"), VRESULT_OK);
    ExpectFiltered(out, im, convolved(Edge::kMirror, 0), tol, "convol_image mirrored");
    ASSERT_EQ(convol_image(im.image, &out, mask, VTuple(Vlong{7})), VRESULT_OK);
    ExpectFiltered(out, im, convolved(Edge::kConstant, 7), tol, "convol_image constant");
    ASSERT_EQ(convol_image(im.image, &out, mask, "cyclic"), VRESULT_OK);
    ExpectFiltered(out, im, convolved(Edge::kCyclic, 0), tol, "convol_image cyclic");

    ASSERT_EQ(deviation_image(im.image, &out, 3, 5), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) {
      const double m = Weighted(im, r, c, 2, 1, [](int, int) { return 1.0 / 15; });
      double q = 0;
      for (double v : Around(im, r, c, RectOffsets(5, 3))) q += (v - m) * (v - m);
      return std::sqrt(q / 15);
    }, type == "real" ? 1e-3 : 1.0, "deviation_image");
  }
}

// The explicit 4-neighbour scheme over the whole image, mirrored at every
// step, against the operators' tiles.
TEST_P(SmoothTypes, DiffusionMatchesStepByStepReference) {
  const std::string type = GetParam();
  std::mt19937 gen(12);
  for (TestImage im : FilterInputs(type, gen)) {
    const TestImage original = im;
    auto diffuse = [&](int steps, double tau, const std::function<double(double)>& g) {
      im = original;
      for (int s = 0; s < steps; ++s) {
        std::vector<double> next(im.value.size());
        for (int r = 0; r < im.height; ++r)
          for (int c = 0; c < im.width; ++c) {
            const double u = im.At(r, c);
            double flow = 0;
            for (Offset o : {Offset{-1, 0}, Offset{1, 0}, Offset{0, -1}, Offset{0, 1}}) {
              const double d = Value(im, r + o.dy, c + o.dx) - u;
              flow += g(std::fabs(d)) * d;
            }
            next[static_cast<size_t>(r) * im.width + c] = u + tau * flow;
          }
        im.value = next;
      }
      return [&](int r, int c) { return im.At(r, c); };
    };
    const double tol = type == "real" ? 1e-3 : 1.0;
    Vobject out;
    ASSERT_EQ(anisotropic_diffusion(original.image, &out, "perona-malik", 20.0, 0.2, 4), VRESULT_OK);
    ExpectFiltered(out, original, diffuse(4, 0.2, [](double d) { return 1 / (1 + d * d / 400); }),
                   tol, "perona-malik");
    ASSERT_EQ(isotropic_diffusion(original.image, &out, 1.0, 3), VRESULT_OK);
    ExpectFiltered(out, original, diffuse(3, 1.0 / 6, [](double) { return 1.0; }), tol,
                   "isotropic_diffusion");
  }
}

INSTANTIATE_TEST_SUITE_P(Types, SmoothTypes, ::testing::ValuesIn(kTypes));

class SmoothChecks : public LeakCheckedTest {};

// Relations the recursive-filter masks must keep: weights sum to 1, and
// "deriche2" is "deriche1" at twice alpha.
TEST_F(SmoothChecks, SmoothImageKeepsFlatImagesAndRelatesItsFilters) {
  std::mt19937 gen(13);
  TestImage im = RandomImage("real", 40, 30, gen);
  Vobject flat, a, b;
  ASSERT_EQ(gen_image_const(&flat, "real", 40, 30), VRESULT_OK);
  Vobject flat7;
  ASSERT_EQ(add_image(flat, flat, &flat7, 1.0, 7.0), VRESULT_OK);
  for (const char* f : {"deriche1", "deriche2", "shen", "gauss"}) {
    ASSERT_EQ(smooth_image(flat7, &a, f, 0.7), VRESULT_OK);
    EXPECT_NEAR(Pixels(a)->Get(3, 5), 7.0, 1e-4) << f;
  }
  ASSERT_EQ(smooth_image(im.image, &a, "deriche2", 0.5), VRESULT_OK);
  ASSERT_EQ(smooth_image(im.image, &b, "deriche1", 1.0), VRESULT_OK);
  ExpectFiltered(a, im, [&](int r, int c) { return Pixels(b)->Get(r, c); }, 1e-5, "deriche2");
  // info_smooth gives the kernel: an impulse smoothed is the kernel's
  // outer product.
  VTuple size, weights;
  ASSERT_EQ(info_smooth("shen", 0.9, &size, &weights), VRESULT_OK);
  const int n = static_cast<int>(size[0].L());
  ASSERT_EQ(weights.Num(), n);
  ASSERT_EQ(n % 2, 1);
  double sum = 0;
  for (int i = 0; i < n; ++i) sum += weights[i].D();
  EXPECT_NEAR(sum, 1.0, 1e-12);
  Vobject impulse, smoothed;
  ASSERT_EQ(gen_image_const(&impulse, "real", 41, 41), VRESULT_OK);
  ASSERT_EQ(set_grayval(impulse, 20, 20, 1.0), VRESULT_OK);
  ASSERT_EQ(smooth_image(impulse, &smoothed, "shen", 0.9), VRESULT_OK);
  for (int d = 0; d <= n / 2; ++d)
    EXPECT_NEAR(Pixels(smoothed)->Get(20, 20 + d), weights[n / 2].D() * weights[n / 2 + d].D(), 1e-6) << d;
  EXPECT_EQ(info_smooth("box", 0.9, &size, &weights), VERR_CTRL_VALUE(0));
}

TEST_F(SmoothChecks, MaskFilesReadLikeTuplesAndBadOnesAreRefused) {
  std::mt19937 gen(14);
  const TestImage im = RandomImage("int2", 15, 9, gen);
  const std::string good = testing::TempDir() + "filter_mask_good.txt";
  const std::string bad = testing::TempDir() + "filter_mask_bad.txt";
  std::ofstream(good) << "integer 3 1 4\n1 2 1\n";
  std::ofstream(bad) << "integer 3 1 4\n1  2 1\n";
  Vobject from_file, from_tuple;
  ASSERT_EQ(convol_image(im.image, &from_file, good.c_str(), "mirrored"), VRESULT_OK);
  VTuple mask = VTuple(Vlong{3}).Append(VTuple(Vlong{1})).Append(VTuple(Vlong{4}));
  for (int k : {1, 2, 1}) mask.Append(VTuple(Vlong{k}));
  ASSERT_EQ(convol_image(im.image, &from_tuple, mask, "mirrored"), VRESULT_OK);
  ExpectFiltered(from_file, im, [&](int r, int c) { return Pixels(from_tuple)->Get(r, c); }, 0,
                 "file");
  Vobject out;
  EXPECT_EQ(convol_image(im.image, &out, bad.c_str(), "mirrored"), VERR_FILE_FORMAT);
  EXPECT_EQ(convol_image(im.image, &out, "/nonexistent/mask", "mirrored"), VERR_FILE_NOT_FOUND);
  std::remove(good.c_str());
  std::remove(bad.c_str());
}

TEST_F(SmoothChecks, BadSizesAndTypesAreRefused) {
  std::mt19937 gen(15);
  const TestImage im = RandomImage("byte", 8, 8, gen);
  Vobject out, cplx;
  EXPECT_EQ(mean_image(im.image, &out, 0, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(mean_image(im.image, &out, 3, 1000), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gauss_filter(im.image, &out, 4), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gauss_filter(im.image, &out, 13), VERR_CTRL_VALUE(0));
  EXPECT_EQ(binomial_filter(im.image, &out, 39, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(smooth_image(im.image, &out, "box", 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(anisotropic_diffusion(im.image, &out, "perona-malik", 10.0, 0.5, 3), VERR_CTRL_VALUE(2));
  EXPECT_EQ(convol_image(im.image, &out, VTuple(Vlong{2}).Append(VTuple(Vlong{1})).Append(
                             VTuple(Vlong{1})).Append(VTuple(Vlong{1})).Append(VTuple(Vlong{1})),
                         "mirrored"),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(convol_image(im.image, &out, VTuple(Vlong{1}).Append(VTuple(Vlong{1})).Append(
                             VTuple(Vlong{1})).Append(VTuple(Vlong{1})),
                         "mirror"),
            VERR_CTRL_VALUE(1));
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(mean_image(cplx, &out, 3, 3), VERR_PIXEL_TYPE);
  EXPECT_EQ(gauss_filter(cplx, &out, 3), VERR_PIXEL_TYPE);
}

// The 3x3 byte mean has its own kernel; its results must be those of
// OpenCV's box filter on the domain's bounding box (mirror border, rounded
// to nearest), which mean_image gave before.
class ByteMean3 : public LeakCheckedTest {};

// Every sum of nine bytes, 0 to 2295, in its own 3x3 block of a 3-row
// image: the centre of block k holds round(k / 9), as OpenCV's box filter
// computes it.
TEST_F(ByteMean3, EveryNineByteSumIsRoundedToNearest) {
  constexpr int kSums = 9 * 255 + 1;
  cv::Mat m(3, 3 * kSums, CV_8U);
  for (int k = 0; k < kSums; ++k)
    for (int i = 0; i < 9; ++i) m.at<uint8_t>(i / 3, 3 * k + i % 3) = k / 9 + (i < k % 9);
  Vobject image, out;
  ASSERT_EQ(gen_image1(&image, "byte", m.cols, m.rows,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(m.data))),
            VRESULT_OK);
  ASSERT_EQ(mean_image(image, &out, 3, 3), VRESULT_OK);
  cv::Mat cv_mean;
  cv::blur(m, cv_mean, cv::Size(3, 3), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
  const vexa::PixelBuffer* px = Pixels(out);
  ASSERT_NE(px, nullptr);
  for (int k = 0; k < kSums; ++k) {
    ASSERT_EQ(px->Get(1, 3 * k + 1), (k + 4) / 9) << "sum " << k;
    ASSERT_EQ(cv_mean.at<uint8_t>(1, 3 * k + 1), (k + 4) / 9) << "sum " << k;
  }
}

// Random bytes (255 included) under full domains, domains with holes and
// rectangles inside or at the left and right edges; widths across the
// vector steps and their remainders, down to 1-pixel images.
TEST_F(ByteMean3, MatchesTheBoxFilterOnDomainsAndNarrowImages) {
  std::mt19937 gen(31);
  const std::vector<std::pair<int, int>> sizes = {
      {1, 1}, {1, 5}, {2, 4}, {3, 3}, {5, 1}, {3, 7}, {17, 2}, {31, 9}, {33, 6}, {67, 11}, {130, 5}};
  for (const auto& [w, h] : sizes) {
    for (int kind = 0; kind < 5; ++kind) {
      std::vector<uint8_t> mask = RandomMask(w, h, gen, kind == 0);
      if (kind >= 2) {
        // Columns [x0, x1) of rows 1 .. h - 2 (all rows for h < 3).
        const int x0 = kind == 2 ? 0 : kind == 3 ? w / 3 : w - 1 - w / 3;
        const int x1 = kind == 2 ? w - w / 3 : kind == 3 ? w - w / 3 : w;
        for (int r = 0; r < h; ++r)
          for (int c = 0; c < w; ++c)
            mask[static_cast<size_t>(r) * w + c] = c >= x0 && c < x1 && (h < 3 || (r > 0 && r < h - 1));
      }
      const TestImage im = MakeImage("byte", w, h, mask, gen, 0, 256);
      cv::Mat m(h, w, CV_8U);
      int r0 = h, c0 = w, r1 = -1, c1 = -1;
      for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) {
          m.at<uint8_t>(r, c) = static_cast<uint8_t>(im.At(r, c));
          if (!im.In(r, c)) continue;
          r0 = std::min(r0, r), c0 = std::min(c0, c), r1 = std::max(r1, r), c1 = std::max(c1, c);
        }
      if (r1 < 0) continue;
      const cv::Rect box(c0, r0, c1 - c0 + 1, r1 - r0 + 1);
      cv::Mat ref;
      cv::blur(m(box), ref, cv::Size(3, 3), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
      Vobject out;
      ASSERT_EQ(mean_image(im.image, &out, 3, 3), VRESULT_OK);
      ExpectFiltered(out, im, [&](int r, int c) { return ref.at<uint8_t>(r - r0, c - c0); }, 0,
                     "mean 3x3 of " + std::to_string(w) + "x" + std::to_string(h) + " kind " +
                         std::to_string(kind));
    }
  }
}

}  // namespace
