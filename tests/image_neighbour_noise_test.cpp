// Image operators that look at neighbours, map through tables, crop
// relative to the domain, and add or measure noise, against per-pixel
// loops and the statistics the noise must have.
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <queue>
#include <random>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class NeighbourNoiseTest : public LeakCheckedTest {};

constexpr int kSteps[8][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}, {0, 1}, {1, -1}, {1, 0}, {1, 1}};

TEST_F(NeighbourNoiseTest, MonotonyCountsSmallerNeighboursAndZeroCrossingMarksThePositiveSide) {
  std::mt19937 gen(61);
  const int w = 17, h = 12;
  const TestImage t = MakeImage("int1", w, h, RandomMask(w, h, gen, false), gen, -3, 3);
  Vobject counts, crossing;
  ASSERT_EQ(monotony(t.image, &counts), VRESULT_OK);
  ASSERT_EQ(zero_crossing(t.image, &crossing), VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(counts);
  const std::vector<uint8_t> marked = MaskOf(crossing, w, h);
  const auto inside = [&](int r, int c) { return r >= 0 && r < h && c >= 0 && c < w; };
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      int smaller = 0;
      for (const auto& s : kSteps)
        if (inside(r + s[0], c + s[1]) && t.At(r + s[0], c + s[1]) < t.At(r, c)) ++smaller;
      ASSERT_EQ(px->Get(r, c), t.In(r, c) ? smaller : 0) << r << "," << c;
      bool negative_side = false;
      for (int k : {1, 3, 4, 6}) {
        const int y = r + kSteps[k][0], x = c + kSteps[k][1];
        negative_side = negative_side || (inside(y, x) && t.In(y, x) && t.At(y, x) < 0);
      }
      const bool want = t.In(r, c) && (t.At(r, c) == 0 || (t.At(r, c) > 0 && negative_side));
      ASSERT_EQ(marked[static_cast<size_t>(r) * w + c] != 0, want) << r << "," << c;
    }
}

TEST_F(NeighbourNoiseTest, InterlaceFillingKeepsOneFieldAndAveragesTheOther) {
  std::mt19937 gen(67);
  const int w = 9, h = 7;
  const TestImage t = RandomImage("uint2", w, h, gen, true);
  for (const bool odd : {true, false}) {
    Vobject filled;
    ASSERT_EQ(fill_interlace(t.image, &filled, odd ? "odd" : "even"), VRESULT_OK);
    const vexa::PixelBuffer* px = Pixels(filled);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        const bool kept = (r % 2 == 1) == odd;
        const int above = r > 0 ? r - 1 : r + 1, below = r + 1 < h ? r + 1 : r - 1;
        const double want = kept ? t.At(r, c) : std::round((t.At(above, c) + t.At(below, c)) / 2);
        ASSERT_EQ(px->Get(r, c), want) << r << "," << c;
      }
  }
  Vobject filled;
  EXPECT_EQ(fill_interlace(t.image, &filled, "both"), VERR_CTRL_VALUE(0));
}

TEST_F(NeighbourNoiseTest, ExpandedDomainTakesTheMeanOfTheRingInside) {
  // A domain of one column: each step adds the columns beside it, with the
  // mean of the three (or two) neighbours in the domain so far.
  const int w = 7, h = 4;
  std::vector<uint8_t> column(static_cast<size_t>(w) * h, 0);
  for (int r = 0; r < h; ++r) column[static_cast<size_t>(r) * w + 3] = 1;
  std::mt19937 gen(71);
  const TestImage t = MakeImage("real", w, h, column, gen, 0, 100);
  Vobject grown;
  ASSERT_EQ(expand_domain_gray(t.image, &grown, 1), VRESULT_OK);
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = Pixels(grown, &domain);
  EXPECT_EQ(domain->area(), 3 * h);
  for (int r = 0; r < h; ++r) {
    double sum = 0, n = 0;
    for (int y = std::max(0, r - 1); y <= std::min(h - 1, r + 1); ++y) sum += t.At(y, 3), n += 1;
    EXPECT_NEAR(px->Get(r, 2), sum / n, 1e-4) << r;
    EXPECT_NEAR(px->Get(r, 4), sum / n, 1e-4) << r;
    EXPECT_EQ(px->Get(r, 3), static_cast<float>(t.At(r, 3)));
  }
  ASSERT_EQ(expand_domain_gray(t.image, &grown, 0), VRESULT_OK);  // until full
  Pixels(grown, &domain);
  EXPECT_EQ(domain->area(), w * h);
  EXPECT_EQ(expand_domain_gray(t.image, &grown, -1), VERR_CTRL_VALUE(0));
}

TEST_F(NeighbourNoiseTest, LookupTablesAndDomainRelativeCrops) {
  std::mt19937 gen(73);
  const TestImage t = RandomImage("int1", 12, 9, gen);
  VTuple lut;
  for (int k = 0; k < 256; ++k) lut.Append(static_cast<double>(255 - 2 * k));  // g -> -2 g - 1, clipped
  Vobject mapped;
  ASSERT_EQ(lut_trans(t.image, &mapped, lut), VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(mapped);
  for (int r = 0; r < 9; ++r)
    for (int c = 0; c < 12; ++c)
      if (t.In(r, c)) {
        ASSERT_EQ(px->Get(r, c), std::clamp(-2 * t.At(r, c) - 1, -128.0, 127.0));
      }
  VTuple short_lut;
  short_lut.Append(1.0);
  EXPECT_EQ(lut_trans(t.image, &mapped, short_lut), VERR_CTRL_NUM(0));
  EXPECT_EQ(lut_trans(RandomImage("real", 3, 3, gen).image, &mapped, lut), VERR_PIXEL_TYPE);

  // Domain rows 2..6, columns 3..9; margins shrink (positive) or grow.
  Vobject box, reduced, part;
  ASSERT_EQ(gen_rectangle1(&box, 2, 3, 6, 9), VRESULT_OK);
  ASSERT_EQ(reduce_domain(RandomImage("byte", 12, 9, gen, true).image, box, &reduced), VRESULT_OK);
  ASSERT_EQ(crop_domain_rel(reduced, &part, 1, 2, -1, 0), VRESULT_OK);
  Vlong pw = 0, ph = 0;
  ASSERT_EQ(get_image_size(part, &pw, &ph), VRESULT_OK);
  EXPECT_EQ(ph, 6 - 3 + 1 + 1);  // rows 3..7
  EXPECT_EQ(pw, 9 - 5 + 1);      // columns 5..9
  ASSERT_EQ(crop_domain_rel(reduced, &part, -5, -5, -5, -5), VRESULT_OK);  // clipped to the image
  ASSERT_EQ(get_image_size(part, &pw, &ph), VRESULT_OK);
  EXPECT_EQ(pw, 12);
  EXPECT_EQ(ph, 9);
  EXPECT_EQ(crop_domain_rel(reduced, &part, 3, 0, 3, 0), VERR_EMPTY_OBJECT);
}

TEST_F(NeighbourNoiseTest, NoiseHasTheStatisticsOfItsDistribution) {
  // A flat real image gets noise; its mean and spread must be those of
  // the distribution (about 40,000 draws).
  const int w = 200, h = 200;
  std::vector<uint8_t> full(static_cast<size_t>(w) * h, 1);
  std::mt19937 gen(79);
  const TestImage flat = MakeImage("real", w, h, full, gen, 0, 0);
  const auto mean_and_deviation = [&](const Vobject& image, double* mean, double* deviation) {
    double m = 0, d = 0;
    ASSERT_EQ(intensity(image, image, &m, &d), VRESULT_OK);
    *mean = m;
    *deviation = d;
  };
  Vobject noisy;
  double mean = 0, deviation = 0;
  ASSERT_EQ(add_noise_white(flat.image, &noisy, 30.0), VRESULT_OK);
  mean_and_deviation(noisy, &mean, &deviation);
  EXPECT_NEAR(mean, 0.0, 0.5);
  EXPECT_NEAR(deviation, 30.0 / std::sqrt(3.0), 0.5);  // uniform on [-30, 30]

  VTuple gauss;
  ASSERT_EQ(gauss_distribution(5.0, &gauss), VRESULT_OK);
  ASSERT_EQ(gauss.Num(), 513);
  double total = 0;
  for (Vlong k = 0; k < gauss.Num(); ++k) total += gauss[k].D();
  EXPECT_NEAR(total, 1.0, 1e-12);
  ASSERT_EQ(add_noise_distribution(flat.image, &noisy, gauss), VRESULT_OK);
  mean_and_deviation(noisy, &mean, &deviation);
  EXPECT_NEAR(mean, 0.0, 0.2);
  EXPECT_NEAR(deviation, std::sqrt(25.0 + 1.0 / 12), 0.2);  // rounded to whole values

  // Estimating it back from a flat byte image with that noise.
  const TestImage gray = MakeImage("byte", w, h, full, gen, 100, 100);
  ASSERT_EQ(add_noise_distribution(gray.image, &noisy, gauss), VRESULT_OK);
  Vobject all;
  ASSERT_EQ(get_domain(noisy, &all), VRESULT_OK);
  VTuple estimated;
  ASSERT_EQ(noise_distribution_mean(all, noisy, 21, &estimated), VRESULT_OK);
  ASSERT_EQ(estimated.Num(), 513);
  double spread = 0;
  for (Vlong k = 0; k < 513; ++k) spread += estimated[k].D() * (k - 256.0) * (k - 256.0);
  EXPECT_NEAR(std::sqrt(spread), 5.0, 0.4);

  VTuple sp;
  ASSERT_EQ(sp_distribution(10.0, 5.0, &sp), VRESULT_OK);
  EXPECT_DOUBLE_EQ(sp[512].D(), 0.10);
  EXPECT_DOUBLE_EQ(sp[0].D(), 0.05);
  EXPECT_DOUBLE_EQ(sp[256].D(), 0.85);
  EXPECT_EQ(sp_distribution(60.0, 50.0, &sp), VERR_CTRL_VALUE(1));
  EXPECT_EQ(add_noise_distribution(flat.image, &noisy, VTuple(1.0)), VERR_CTRL_NUM(0));
  EXPECT_EQ(gauss_distribution(0.0, &gauss), VERR_CTRL_VALUE(0));
}

// The cost of reaching each pixel from the border, against Dijkstra's
// search with a priority queue; the image holds zeros (free steps), and
// a bright ring makes its inside expensive.
TEST_F(NeighbourNoiseTest, GrayInsideIsTheCheapestPathFromTheBorder) {
  std::mt19937 gen(103);
  const int w = 23, h = 17;
  std::vector<unsigned char> px(w * h);
  std::uniform_int_distribution<int> value(0, 40);
  for (auto& v : px) v = static_cast<unsigned char>(value(gen) < 10 ? 0 : value(gen));
  for (int r = 4; r <= 12; ++r)
    for (int c = 5; c <= 17; ++c)
      if (r == 4 || r == 12 || c == 5 || c == 17) px[r * w + c] = 250;
  Vobject image, inside;
  ASSERT_EQ(gen_image1(&image, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(px.data()))),
            VRESULT_OK);
  ASSERT_EQ(gray_inside(image, &inside), VRESULT_OK);
  std::vector<long> best(w * h, -1);
  using Entry = std::pair<long, int>;
  std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> queue;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (r == 0 || c == 0 || r == h - 1 || c == w - 1) queue.push({px[r * w + c], r * w + c});
  while (!queue.empty()) {
    const auto [cost, k] = queue.top();
    queue.pop();
    if (best[k] >= 0) continue;
    best[k] = cost;
    for (const auto& s : kSteps) {
      const int y = k / w + s[0], x = k % w + s[1];
      if (y >= 0 && y < h && x >= 0 && x < w && best[y * w + x] < 0) queue.push({cost + px[y * w + x], y * w + x});
    }
  }
  const vexa::PixelBuffer* out = Pixels(inside);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) ASSERT_EQ(out->Get(r, c), best[r * w + c]) << r << "," << c;
  EXPECT_GE(out->Get(8, 11), 250);  // behind the ring
  EXPECT_EQ(gray_inside(RandomImage("real", 4, 4, gen).image, &inside), VERR_PIXEL_TYPE);
}

}  // namespace
