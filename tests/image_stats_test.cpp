// Gray-value statistics of regions through the procedural functions, against
// sums and sorts over the pixels of each region inside the image's domain,
// on random images and regions; histograms, features, selection, and the
// checks of their parameters.
#include <algorithm>
#include <cmath>
#include <map>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

constexpr int kW = 41, kH = 27;

// The values of an image's domain pixels inside a mask, with coordinates.
struct Sample {
  std::vector<double> g, r, c;
};
Sample Take(const TestImage& im, const std::vector<uint8_t>& region) {
  Sample s;
  for (int r = 0; r < im.height; ++r)
    for (int c = 0; c < im.width; ++c)
      if (im.In(r, c) && region[static_cast<size_t>(r) * im.width + c]) {
        s.g.push_back(im.At(r, c));
        s.r.push_back(r);
        s.c.push_back(c);
      }
  return s;
}

double Sum(const std::vector<double>& v) {
  double s = 0;
  for (double x : v) s += x;
  return s;
}

class StatsTest : public LeakCheckedTest {
 protected:
  std::mt19937 gen_{21};
};

TEST_F(StatsTest, MomentsOfRegionsMatchPixelSums) {
  for (const char* type : {"byte", "int2", "real", "uint2"}) {
    const TestImage im = RandomImage(type, kW, kH, gen_);
    const std::vector<uint8_t> m1 = RandomMask(kW, kH, gen_, false);
    const std::vector<uint8_t> m2 = RandomMask(kW, kH, gen_, false);
    Vobject regions;
    ASSERT_EQ(concat_obj(RegionOf(m1, kW, kH), RegionOf(m2, kW, kH), &regions), VRESULT_OK);
    VTuple mean, dev, area, row, col, pdev, mn, mx, range;
    ASSERT_EQ(intensity(regions, im.image, &mean, &dev), VRESULT_OK);
    ASSERT_EQ(area_center_gray(regions, im.image, &area, &row, &col), VRESULT_OK);
    ASSERT_EQ(plane_deviation(regions, im.image, &pdev), VRESULT_OK);
    ASSERT_EQ(min_max_gray(regions, im.image, 0.0, &mn, &mx, &range), VRESULT_OK);
    ASSERT_EQ(mean.Num(), 2);
    int i = 0;
    for (const auto* m : {&m1, &m2}) {
      const Sample s = Take(im, *m);
      const double n = static_cast<double>(s.g.size()), mu = Sum(s.g) / n;
      double var = 0, gr = 0, gc = 0;
      for (size_t k = 0; k < s.g.size(); ++k) {
        var += (s.g[k] - mu) * (s.g[k] - mu);
        gr += s.g[k] * s.r[k];
        gc += s.g[k] * s.c[k];
      }
      const double tol = 1e-9 * std::max(1.0, std::fabs(mu));
      EXPECT_NEAR(mean[i].D(), mu, tol);
      EXPECT_NEAR(dev[i].D(), std::sqrt(var / n), 1e-6 * std::max(1.0, std::sqrt(var / n)));
      double abs_sum = 0;
      for (double g : s.g) abs_sum += std::fabs(g);
      EXPECT_NEAR(area[i].D(), Sum(s.g), 1e-9 * abs_sum);
      // Signed values may sum to nearly 0, which leaves the centre
      // ill-conditioned; it is checked on the unsigned types.
      if (std::string(type) != "real" && std::string(type) != "int2") {
        EXPECT_NEAR(row[i].D(), gr / Sum(s.g), 1e-6);
        EXPECT_NEAR(col[i].D(), gc / Sum(s.g), 1e-6);
      }
      EXPECT_EQ(mn[i].D(), *std::min_element(s.g.begin(), s.g.end()));
      EXPECT_EQ(mx[i].D(), *std::max_element(s.g.begin(), s.g.end()));
      EXPECT_EQ(range[i].D(), mx[i].D() - mn[i].D());
      // Plane fit: the normal equations solved by hand.
      double srr = 0, scc = 0, src = 0, sgr = 0, sgc = 0, sgg = 0;
      const double mr = Sum(s.r) / n, mc = Sum(s.c) / n;
      for (size_t k = 0; k < s.g.size(); ++k) {
        const double dr = s.r[k] - mr, dc = s.c[k] - mc, dg = s.g[k] - mu;
        srr += dr * dr; scc += dc * dc; src += dr * dc;
        sgr += dg * dr; sgc += dg * dc; sgg += dg * dg;
      }
      const double det = srr * scc - src * src;
      const double a = (sgr * scc - sgc * src) / det, b = (sgc * srr - sgr * src) / det;
      const double rss = sgg - a * sgr - b * sgc;
      EXPECT_NEAR(pdev[i].D(), std::sqrt(rss / n), 1e-6 * std::max(1.0, std::sqrt(rss / n)));
      ++i;
    }
  }
}

TEST_F(StatsTest, PercentilesAndFeaturesFollowTheSortedValues) {
  const TestImage im = RandomImage("byte", kW, kH, gen_);
  const std::vector<uint8_t> m = RandomMask(kW, kH, gen_, false);
  const Vobject region = RegionOf(m, kW, kH);
  Sample s = Take(im, m);
  std::sort(s.g.begin(), s.g.end());
  const size_t n = s.g.size(), k = n * 10 / 100;
  double lo, hi, range, median, value;
  ASSERT_EQ(min_max_gray(region, im.image, 10.0, &lo, &hi, &range), VRESULT_OK);
  EXPECT_EQ(lo, s.g[k]);
  EXPECT_EQ(hi, s.g[n - 1 - k]);
  ASSERT_EQ(gray_features(region, im.image, "median", &median), VRESULT_OK);
  EXPECT_EQ(median, s.g[(n - 1) / 2]);
  ASSERT_EQ(gray_features(region, im.image, "mean", &value), VRESULT_OK);
  EXPECT_NEAR(value, Sum(s.g) / static_cast<double>(n), 1e-9);
  // Entropy from the value counts.
  std::map<double, int> counts;
  for (double g : s.g) ++counts[g];
  double entropy = 0;
  for (const auto& e : counts) {
    const double p = e.second / static_cast<double>(n);
    entropy -= p * std::log2(p);
  }
  double ent, aniso;
  ASSERT_EQ(entropy_gray(region, im.image, &ent, &aniso), VRESULT_OK);
  EXPECT_NEAR(ent, entropy, 1e-9);
  EXPECT_GT(aniso, 0.0);
  EXPECT_LT(aniso, 1.0);
  EXPECT_EQ(min_max_gray(region, im.image, 51.0, &lo, &hi, &range), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gray_features(region, im.image, "colour", &value), VERR_CTRL_VALUE(0));
}

TEST_F(StatsTest, HistogramsCountTheDomainPixelsOfTheRegion) {
  for (const char* type : {"byte", "int1", "uint2"}) {
    const TestImage im = RandomImage(type, kW, kH, gen_);
    const std::vector<uint8_t> m = RandomMask(kW, kH, gen_, false);
    const Vobject region = RegionOf(m, kW, kH);
    const Sample s = Take(im, m);
    const double offset = std::string(type) == "int1" ? 128 : 0;
    VTuple abs, rel;
    ASSERT_EQ(gray_histo(region, im.image, &abs, &rel), VRESULT_OK);
    std::vector<Vlong> want(std::string(type) == "uint2" ? 65536 : 256, 0);
    for (double g : s.g) ++want[static_cast<size_t>(g + offset)];
    ASSERT_EQ(abs.Num(), static_cast<Vlong>(want.size()));
    for (size_t i = 0; i < want.size(); ++i) {
      ASSERT_EQ(abs[static_cast<Vlong>(i)].L(), want[i]) << i;
      ASSERT_NEAR(rel[static_cast<Vlong>(i)].D(), want[i] / static_cast<double>(s.g.size()), 1e-12);
    }
    VTuple merged;
    ASSERT_EQ(gray_histo_abs(region, im.image, 3.0, &merged), VRESULT_OK);
    std::vector<Vlong> want3((want.size() - 1) / 3 + 1, 0);
    for (size_t i = 0; i < want.size(); ++i) want3[i / 3] += want[i];
    ASSERT_EQ(merged.Num(), static_cast<Vlong>(want3.size()));
    for (size_t i = 0; i < want3.size(); ++i) EXPECT_EQ(merged[static_cast<Vlong>(i)].L(), want3[i]);
  }
  const TestImage real = RandomImage("real", kW, kH, gen_);
  const Sample s = Take(real, std::vector<uint8_t>(kW * kH, 1));
  VTuple bins, size;
  ASSERT_EQ(gray_histo_range(real.image, real.image, -500.0, 700.0, 7L, &bins, &size), VRESULT_OK);
  EXPECT_NEAR(size[0].D(), 1200.0 / 7, 1e-9);
  std::vector<Vlong> want(7, 0);
  for (double g : s.g)
    if (g >= -500 && g <= 700) ++want[std::min<size_t>(6, static_cast<size_t>((g + 500) / (1200.0 / 7)))];
  for (size_t i = 0; i < 7; ++i) EXPECT_EQ(bins[static_cast<Vlong>(i)].L(), want[i]);
  EXPECT_EQ(gray_histo_range(real.image, real.image, 1.0, 0.0, 7L, &bins, &size), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gray_histo_range(real.image, real.image, 0.0, 1.0, Vlong{1} << 40, &bins, &size), VERR_TOO_LARGE);
  VTuple abs, rel;
  EXPECT_EQ(gray_histo(real.image, real.image, &abs, &rel), VERR_PIXEL_TYPE);
}

// Domains of millions of pixels are counted in two halves at once; the
// halves' counts must add up to those of every pixel, for 8- and 16-bit
// values, under the full domain and a ragged one.
TEST_F(StatsTest, LargeDomainsCountedOnTwoThreadsCountEveryPixelOnce) {
  const int w = 2150, h = 2003;
  for (const char* type : {"byte", "int2"}) {
    for (const bool full : {true, false}) {
      SCOPED_TRACE(std::string(type) + (full ? " full" : " ragged"));
      const TestImage im = RandomImage(type, w, h, gen_, true);
      // Ragged: gaps cut into every fifth row.
      std::vector<uint8_t> mask(static_cast<size_t>(w) * h, 1);
      for (int r = 1; !full && r < h; r += 5)
        std::fill_n(mask.begin() + static_cast<std::ptrdiff_t>(r) * w + r % 89, 60, 0);
      std::vector<Vlong> want(std::string(type) == "byte" ? 256 : 65536, 0);
      const double offset = std::string(type) == "byte" ? 0 : 32768;
      for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
          if (mask[static_cast<size_t>(r) * w + c]) ++want[static_cast<size_t>(im.At(r, c) + offset)];
      Vobject image;
      ASSERT_EQ(reduce_domain(im.image, RegionOf(mask, w, h), &image), VRESULT_OK);
      VTuple abs, rel;
      ASSERT_EQ(gray_histo(image, image, &abs, &rel), VRESULT_OK);
      ASSERT_EQ(abs.Num(), static_cast<Vlong>(want.size()));
      for (size_t i = 0; i < want.size(); ++i) ASSERT_EQ(abs[static_cast<Vlong>(i)].L(), want[i]) << i;
    }
  }
}

TEST_F(StatsTest, SelectGrayKeepsRegionsByMeanAndProjectionsAverageRowsAndColumns) {
  const TestImage im = RandomImage("byte", kW, kH, gen_, true);
  std::vector<uint8_t> top(kW * kH, 0), bottom(kW * kH, 0);
  for (int k = 0; k < kW * kH; ++k) (k < kW * kH / 2 ? top : bottom)[static_cast<size_t>(k)] = 1;
  Vobject both, selected;
  ASSERT_EQ(concat_obj(RegionOf(top, kW, kH), RegionOf(bottom, kW, kH), &both), VRESULT_OK);
  double m0, m1, d;
  ASSERT_EQ(intensity(RegionOf(top, kW, kH), im.image, &m0, &d), VRESULT_OK);
  ASSERT_EQ(intensity(RegionOf(bottom, kW, kH), im.image, &m1, &d), VRESULT_OK);
  const double cut = (m0 + m1) / 2;
  ASSERT_EQ(select_gray(both, im.image, &selected, "mean", "and", cut, 1e9), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(selected, &num), VRESULT_OK);
  EXPECT_EQ(num, 1);
  EXPECT_EQ(MaskOf(selected, kW, kH), m0 > m1 ? top : bottom);
  EXPECT_EQ(select_gray(both, im.image, &selected, "mean", "xor", 0.0, 1.0), VERR_CTRL_VALUE(1));

  // A 1x1 image: one pixel is its own projection and mean.
  const TestImage one = RandomImage("byte", 1, 1, gen_, true);
  VTuple hor, vert;
  ASSERT_EQ(gray_projections(one.image, one.image, "simple", &hor, &vert), VRESULT_OK);
  EXPECT_EQ(hor.Num(), 1);
  EXPECT_EQ(hor[0].D(), one.At(0, 0));
  EXPECT_EQ(vert[0].D(), one.At(0, 0));
  ASSERT_EQ(gray_projections(im.image, im.image, "simple", &hor, &vert), VRESULT_OK);
  ASSERT_EQ(hor.Num(), kH);
  ASSERT_EQ(vert.Num(), kW);
  double row3 = 0;
  for (int c = 0; c < kW; ++c) row3 += im.At(3, c);
  EXPECT_NEAR(hor[3].D(), row3 / kW, 1e-9);
}


TEST_F(StatsTest, CooccurrenceMatricesAndTheirFeatures) {
  const TestImage im = RandomImage("byte", kW, kH, gen_);
  const std::vector<uint8_t> m1 = RandomMask(kW, kH, gen_, false), m2 = RandomMask(kW, kH, gen_, false);
  Vobject regions;
  ASSERT_EQ(concat_obj(RegionOf(m1, kW, kH), RegionOf(m2, kW, kH), &regions), VRESULT_OK);
  const auto inside = [&](const std::vector<uint8_t>& m, int r, int c) {
    return r >= 0 && r < kH && c >= 0 && c < kW && im.In(r, c) && m[static_cast<size_t>(r) * kW + c];
  };
  const int offsets[4][3] = {{0, 0, 1}, {45, -1, 1}, {90, -1, 0}, {135, -1, -1}};
  for (const int ld : {2, 5}) {
    const int n = 1 << ld;
    for (const auto& d : offsets) {
      SCOPED_TRACE(testing::Message() << "ld_gray " << ld << ", direction " << d[0]);
      Vobject matrices;
      VTuple energy, correlation, homogeneity, contrast;
      ASSERT_EQ(gen_cooc_matrix(regions, im.image, &matrices, ld, d[0]), VRESULT_OK);
      ASSERT_EQ(cooc_feature_image(regions, im.image, ld, d[0], &energy, &correlation, &homogeneity, &contrast),
                VRESULT_OK);
      VTuple e2, c2, h2, k2;
      ASSERT_EQ(cooc_feature_matrix(matrices, &e2, &c2, &h2, &k2), VRESULT_OK);
      int i = 0;
      for (const auto* m : {&m1, &m2}) {
        // Pairs counted both ways, by brute force over the pixels.
        std::vector<double> want(static_cast<size_t>(n * n), 0.0);
        double pairs = 0;
        for (int r = 0; r < kH; ++r)
          for (int c = 0; c < kW; ++c)
            if (inside(*m, r, c) && inside(*m, r + d[1], c + d[2])) {
              const int a = static_cast<int>(im.At(r, c)) >> (8 - ld);
              const int b = static_cast<int>(im.At(r + d[1], c + d[2])) >> (8 - ld);
              want[static_cast<size_t>(a * n + b)] += 1;
              want[static_cast<size_t>(b * n + a)] += 1;
              pairs += 2;
            }
        Vobject matrix;
        ASSERT_EQ(select_obj(matrices, &matrix, i + 1), VRESULT_OK);
        const vexa::PixelBuffer* got = Pixels(matrix);
        ASSERT_EQ(got->width(), n);
        double mean = 0, e = 0, h = 0, k = 0;
        for (int a = 0; a < n; ++a)
          for (int b = 0; b < n; ++b) {
            const double p = want[static_cast<size_t>(a * n + b)] / pairs;
            ASSERT_NEAR(got->Get(a, b), p, 1e-6) << a << "," << b;
            mean += a * p, e += p * p, h += p / (1.0 + (a - b) * (a - b)), k += (a - b) * (a - b) * p;
          }
        double var = 0, cov = 0;
        for (int a = 0; a < n; ++a)
          for (int b = 0; b < n; ++b) {
            const double p = want[static_cast<size_t>(a * n + b)] / pairs;
            var += (a - mean) * (a - mean) * p, cov += (a - mean) * (b - mean) * p;
          }
        EXPECT_NEAR(energy[i].D(), e, 1e-12);
        EXPECT_NEAR(correlation[i].D(), cov / var, 1e-9);
        EXPECT_NEAR(homogeneity[i].D(), h, 1e-12);
        EXPECT_NEAR(contrast[i].D(), k, 1e-9);
        // From the stored (float) matrix: the same to its precision.
        EXPECT_NEAR(e2[i].D(), e, 1e-6);
        EXPECT_NEAR(k2[i].D(), k, 1e-4);
        ++i;
      }
    }
  }
  VTuple a, b, c, d;
  EXPECT_EQ(cooc_feature_image(regions, im.image, 9, 0, &a, &b, &c, &d), VERR_CTRL_VALUE(0));
  EXPECT_EQ(cooc_feature_image(regions, im.image, 4, 30, &a, &b, &c, &d), VERR_CTRL_VALUE(1));
  const TestImage wide = RandomImage("uint2", kW, kH, gen_);
  EXPECT_EQ(cooc_feature_image(regions, wide.image, 4, 0, &a, &b, &c, &d), VERR_PIXEL_TYPE);
  EXPECT_EQ(cooc_feature_matrix(im.image, &a, &b, &c, &d), VERR_PIXEL_TYPE);
  const TestImage oblong = RandomImage("real", 4, 3, gen_);
  EXPECT_EQ(cooc_feature_matrix(oblong.image, &a, &b, &c, &d), VERR_IMAGE_SIZE);
}

}  // namespace
