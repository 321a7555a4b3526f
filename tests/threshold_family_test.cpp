// The threshold family through the procedural functions: selections against
// per-pixel rules on random images and domains (a second image, a window
// around each pixel, a histogram threshold computed here), the
// connectivity-based segmentations on small scenes whose answer is known,
// parameter checks, and no object or memory left behind.
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <tuple>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

constexpr int kW = 33, kH = 21;

std::vector<uint8_t> Select(const TestImage& im, const std::function<bool(int, int)>& keep) {
  std::vector<uint8_t> m(static_cast<size_t>(kW) * kH, 0);
  for (int r = 0; r < im.height; ++r)
    for (int c = 0; c < im.width; ++c)
      m[static_cast<size_t>(r) * im.width + c] = im.In(r, c) && keep(r, c);
  return m;
}

class ThresholdFamily : public LeakCheckedTest {
 protected:
  std::mt19937 gen_{31};
};

TEST_F(ThresholdFamily, DynThresholdComparesWithTheSecondImage) {
  const TestImage a = RandomImage("byte", kW, kH, gen_), b = RandomImage("byte", kW, kH, gen_);
  struct Mode { const char* name; std::function<bool(double, double)> keep; };
  const Mode modes[] = {
      {"light", [](double o, double t) { return o >= t + 5; }},
      {"dark", [](double o, double t) { return o <= t - 5; }},
      {"equal", [](double o, double t) { return std::fabs(o - t) <= 5; }},
      {"not_equal", [](double o, double t) { return std::fabs(o - t) > 5; }},
  };
  for (const Mode& m : modes) {
    Vobject region;
    ASSERT_EQ(dyn_threshold(a.image, b.image, &region, 5.0, m.name), VRESULT_OK);
    EXPECT_EQ(MaskOf(region, kW, kH), Select(a, [&](int r, int c) {
      return b.In(r, c) && m.keep(a.At(r, c), b.At(r, c));
    })) << m.name;
  }
  Vobject region;
  EXPECT_EQ(dyn_threshold(a.image, b.image, &region, 5.0, "bright"), VERR_CTRL_VALUE(1));
  ASSERT_EQ(fast_threshold(a.image, &region, 40.0, 90.0, 20L), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, kW, kH), Select(a, [&](int r, int c) {
    return a.At(r, c) >= 40 && a.At(r, c) <= 90;
  }));
}

TEST_F(ThresholdFamily, HistogramThresholdsSplitWhereTheClassesSeparate) {
  // Two gray populations, around 60 and 180, on a random domain.
  std::vector<uint8_t> dom = RandomMask(kW, kH, gen_, false);
  TestImage im = MakeImage("byte", kW, kH, dom, gen_, 0, 1);
  std::vector<unsigned char> bytes(kW * kH);
  std::normal_distribution<double> dark(60, 12), light(180, 15);
  for (size_t k = 0; k < bytes.size(); ++k) {
    const double v = std::round(std::min(255.0, std::max(0.0, (k % 3 ? dark : light)(gen_))));
    bytes[k] = static_cast<unsigned char>(v);
    im.value[k] = v;
  }
  Vobject full;
  ASSERT_EQ(gen_image1(&full, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))), VRESULT_OK);
  Vkey reduced = VKEY_UNDEF;
  ASSERT_EQ(vexa::db::NewImageWithDomain(full.Id(), MaskRegion(dom, kW, kH), &reduced), VRESULT_OK);
  im.image = Vobject(reduced, 1);

  // The separability threshold by brute force over the domain's values.
  std::vector<double> h(256, 0);
  for (int r = 0; r < kH; ++r)
    for (int c = 0; c < kW; ++c)
      if (im.In(r, c)) h[static_cast<size_t>(im.At(r, c))] += 1;
  int best_t = 0;
  double best = -1;
  for (int t = 0; t < 255; ++t) {
    double w0 = 0, s0 = 0, w1 = 0, s1 = 0;
    for (int i = 0; i <= t; ++i) w0 += h[i], s0 += i * h[i];
    for (int i = t + 1; i < 256; ++i) w1 += h[i], s1 += i * h[i];
    if (w0 == 0 || w1 == 0) continue;
    const double d = s0 / w0 - s1 / w1, between = w0 * w1 * d * d;
    if (between > best + 1e-6 * best) best = between, best_t = t;
  }
  Vobject region;
  Vlong used = 0;
  ASSERT_EQ(binary_threshold(im.image, &region, "max_separability", "dark", &used), VRESULT_OK);
  EXPECT_EQ(used, best_t);
  EXPECT_EQ(MaskOf(region, kW, kH), Select(im, [&](int r, int c) { return im.At(r, c) <= used; }));
  ASSERT_EQ(binary_threshold(im.image, &region, "smooth_histo", "light", &used), VRESULT_OK);
  EXPECT_GT(used, 90);
  EXPECT_LT(used, 150);
  EXPECT_EQ(MaskOf(region, kW, kH), Select(im, [&](int r, int c) { return im.At(r, c) > used; }));
  // Strong smoothing leaves the two classes; their union is the domain.
  Vobject classes;
  ASSERT_EQ(auto_threshold(im.image, &classes, 12.0), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(classes, &num), VRESULT_OK);
  EXPECT_EQ(num, 2);
  // The same classes from the histogram itself, as gray-value ranges.
  VTuple absolute, relative, lows, highs;
  ASSERT_EQ(gray_histo(im.image, im.image, &absolute, &relative), VRESULT_OK);
  ASSERT_EQ(histo_to_thresh(absolute, 12.0, &lows, &highs), VRESULT_OK);
  ASSERT_EQ(lows.Num(), 2);
  for (Vlong k = 0; k < 2; ++k) {
    Vobject cls, range;
    ASSERT_EQ(select_obj(classes, &cls, k + 1), VRESULT_OK);
    ASSERT_EQ(threshold(im.image, &range, lows[k].D(), highs[k].D()), VRESULT_OK);
    Vlong same = 0;
    ASSERT_EQ(test_equal_region(cls, range, &same), VRESULT_OK);
    EXPECT_EQ(same, 1) << k;
  }
  ASSERT_EQ(histo_to_thresh(relative, 12.0, &lows, &highs), VRESULT_OK);
  EXPECT_EQ(lows.Num(), 2);
  ASSERT_EQ(histo_to_thresh(VTuple(0.0).Append(0.0), 1.0, &lows, &highs), VRESULT_OK);
  EXPECT_EQ(lows.Num(), 0);
  EXPECT_EQ(histo_to_thresh(VTuple(1.0).Append(-1.0), 1.0, &lows, &highs), VERR_CTRL_VALUE(0));
  Vobject characters;
  Vlong thr = 0;
  ASSERT_EQ(char_threshold(im.image, im.image, &characters, 2.0, 5.0, &thr), VRESULT_OK);
  EXPECT_EQ(MaskOf(characters, kW, kH), Select(im, [&](int r, int c) { return im.At(r, c) <= thr; }));
  EXPECT_EQ(binary_threshold(im.image, &region, "otsu", "dark", &used), VERR_CTRL_VALUE(0));
  const TestImage real = RandomImage("real", 4, 4, gen_);
  EXPECT_EQ(binary_threshold(real.image, &region, "max_separability", "dark", &used), VERR_PIXEL_TYPE);
}

TEST_F(ThresholdFamily, WindowThresholdsUseMirroredNeighbourhoods) {
  const TestImage im = RandomImage("byte", kW, kH, gen_);
  const auto mirror = [](int i, int n) {
    while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
    return i;
  };
  // Mean and deviation of the w x h window at (r, c), read from the whole image.
  const auto window = [&](int r, int c, int w, int h, double* mean, double* dev) {
    double s = 0, ss = 0;
    for (int dr = -(h - 1) / 2; dr <= h / 2; ++dr)
      for (int dc = -(w - 1) / 2; dc <= w / 2; ++dc) {
        const double v = im.At(mirror(r + dr, kH), mirror(c + dc, kW));
        s += v;
        ss += v * v;
      }
    *mean = s / (w * h);
    *dev = std::sqrt(std::max(0.0, ss / (w * h) - *mean * *mean));
  };
  Vobject region;
  ASSERT_EQ(var_threshold(im.image, &region, 5L, 4L, 0.5, 10.0, "light"), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, kW, kH), Select(im, [&](int r, int c) {
    double m, d;
    window(r, c, 5, 4, &m, &d);
    return im.At(r, c) >= m + std::max(0.5 * d, 10.0);
  }));
  ASSERT_EQ(local_threshold(im.image, &region, "adapted_std_deviation", "dark", "mask_size", 7L), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, kW, kH), Select(im, [&](int r, int c) {
    double m, d;
    window(r, c, 7, 7, &m, &d);
    return im.At(r, c) <= m * (1 + 0.2 * (d / 128 - 1));
  }));
  EXPECT_EQ(var_threshold(im.image, &region, 0L, 4L, 0.5, 10.0, "light"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(local_threshold(im.image, &region, "adapted_std_deviation", "dark", "radius", 7L), VERR_CTRL_VALUE(2));
  // A 1x1 image is its own window.
  const TestImage one = RandomImage("byte", 1, 1, gen_, true);
  ASSERT_EQ(var_threshold(one.image, &region, 3L, 3L, 0.0, 0.0, "equal"), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, 1, 1), std::vector<uint8_t>{1});
}

TEST_F(ThresholdFamily, ConnectivitySegmentationsOnKnownScenes) {
  // A row of gray values: strong at 0, weak chain 1..4, a gap, weak 6.
  Vobject img;
  const int16_t values[12] = {200, 120, 120, 120, 120, 10, 120, 10, -200, -180, 0, -50};
  ASSERT_EQ(gen_image1(&img, "int2", 12, 1, static_cast<Vlong>(reinterpret_cast<uintptr_t>(values))), VRESULT_OK);
  Vobject region;
  ASSERT_EQ(hysteresis_threshold(img, &region, 100L, 150L, 3L), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, 12, 1), (std::vector<uint8_t>{1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
  ASSERT_EQ(hysteresis_threshold(img, &region, 100L, 150L, 10L), VRESULT_OK);
  EXPECT_EQ(MaskOf(region, 12, 1), (std::vector<uint8_t>{1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0}));
  Vobject crossings;
  ASSERT_EQ(dual_threshold(img, &crossings, 2L, 150.0, 100.0), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(crossings, &num), VRESULT_OK);
  ASSERT_EQ(num, 2);  // the light run 0..4 and the dark run 8..9
  Vobject first, second;
  ASSERT_EQ(select_obj(crossings, &first, 1L), VRESULT_OK);
  ASSERT_EQ(select_obj(crossings, &second, 2L), VRESULT_OK);
  EXPECT_EQ(MaskOf(first, 12, 1), (std::vector<uint8_t>{1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(MaskOf(second, 12, 1), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0}));
  EXPECT_EQ(hysteresis_threshold(img, &region, 150L, 100L, 3L), VERR_CTRL_VALUE(1));

  // Regiongrowing: four quadrants of constant gray, two of them alike.
  std::vector<unsigned char> quad(16 * 16);
  for (int r = 0; r < 16; ++r)
    for (int c = 0; c < 16; ++c) quad[r * 16 + c] = static_cast<unsigned char>(r < 8 ? (c < 8 ? 10 : 12) : (c < 8 ? 100 : 200));
  Vobject qimg, grown;
  ASSERT_EQ(gen_image1(&qimg, "byte", 16, 16, static_cast<Vlong>(reinterpret_cast<uintptr_t>(quad.data()))), VRESULT_OK);
  ASSERT_EQ(regiongrowing(qimg, &grown, 4L, 4L, 3.0, 1L), VRESULT_OK);
  ASSERT_EQ(count_obj(grown, &num), VRESULT_OK);
  EXPECT_EQ(num, 3);
  ASSERT_EQ(regiongrowing(qimg, &grown, 4L, 4L, 3.0, 100L), VRESULT_OK);
  ASSERT_EQ(count_obj(grown, &num), VRESULT_OK);
  EXPECT_EQ(num, 1);  // only the merged top half has 128 pixels
  EXPECT_EQ(regiongrowing(qimg, &grown, 0L, 4L, 3.0, 1L), VERR_CTRL_VALUE(0));
}

// Growing on three channels against a flood fill with the same metric:
// random colours of a few levels under a random domain, every metric, a
// tolerance band that excludes equal neighbours, and the size limit.
TEST_F(ThresholdFamily, MultiChannelGrowingFollowsAFloodFill) {
  std::mt19937 gen(77);
  const int w = 23, h = 17;
  std::uniform_int_distribution<int> level(0, 2);
  std::vector<std::vector<unsigned char>> planes(3, std::vector<unsigned char>(w * h));
  for (auto& p : planes)
    for (auto& v : p) v = static_cast<unsigned char>(level(gen) * (level(gen) ? 3 : 40));
  Vobject chans[3], image, reduced;
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(gen_image1(&chans[i], "byte", w, h,
                         static_cast<Vlong>(reinterpret_cast<uintptr_t>(planes[i].data()))),
              VRESULT_OK);
  ASSERT_EQ(compose3(chans[0], chans[1], chans[2], &image), VRESULT_OK);
  const std::vector<uint8_t> domain = RandomMask(w, h, gen, false);
  ASSERT_EQ(reduce_domain(image, RegionOf(domain, w, h), &reduced), VRESULT_OK);

  const auto distance = [&](const std::string& metric, int a, int b) {
    double d[3], sum = 0, sq = 0, most = 0, least = 1e300;
    for (int i = 0; i < 3; ++i) {
      d[i] = std::fabs(double(planes[i][a]) - planes[i][b]);
      sum += d[i], sq += d[i] * d[i], most = std::max(most, d[i]), least = std::min(least, d[i]);
    }
    return metric == "1-norm" ? sum : metric == "2-norm" ? std::sqrt(sq)
         : metric == "max-diff" ? most : metric == "min-diff" ? least : sum / 3;
  };
  for (const char* metric : {"1-norm", "2-norm", "max-diff", "min-diff", "mean-diff"}) {
    for (const auto& [lo, hi, min_size] : {std::tuple<double, double, Vlong>{0, 5, 1},
                                           {1, 60, 1}, {0, 3, 4}}) {
      SCOPED_TRACE(std::string(metric) + " " + std::to_string(lo) + ".." + std::to_string(hi));
      // Flood fill from every unlabelled domain pixel in row order.
      std::vector<int> label(w * h, -1);
      std::vector<std::vector<uint8_t>> want;
      for (int start = 0; start < w * h; ++start) {
        if (!domain[start] || label[start] >= 0) continue;
        std::vector<uint8_t> mask(w * h, 0);
        std::vector<int> stack{start};
        label[start] = 1;
        int size = 0;
        while (!stack.empty()) {
          const int k = stack.back();
          stack.pop_back();
          mask[k] = 1, ++size;
          const int r = k / w, c = k % w;
          const int next[4][2] = {{r - 1, c}, {r + 1, c}, {r, c - 1}, {r, c + 1}};
          for (const auto& n : next) {
            if (n[0] < 0 || n[0] >= h || n[1] < 0 || n[1] >= w) continue;
            const int q = n[0] * w + n[1];
            const double d = distance(metric, k, q);
            if (domain[q] && label[q] < 0 && d >= lo && d <= hi) label[q] = 1, stack.push_back(q);
          }
        }
        if (size >= min_size) want.push_back(mask);
      }
      Vobject grown;
      ASSERT_EQ(regiongrowing_n(reduced, &grown, metric, lo, hi, min_size), VRESULT_OK);
      Vlong num = 0;
      ASSERT_EQ(count_obj(grown, &num), VRESULT_OK);
      ASSERT_EQ(num, static_cast<Vlong>(want.size()));
      for (Vlong k = 0; k < num; ++k) {
        Vobject one;
        ASSERT_EQ(select_obj(grown, &one, k + 1), VRESULT_OK);
        ASSERT_EQ(MaskOf(one, w, h), want[static_cast<size_t>(k)]) << "region " << k;
      }
    }
  }
  Vobject grown;
  EXPECT_EQ(regiongrowing_n(reduced, &grown, "3-norm", 0.0, 1.0, 1L), VERR_CTRL_VALUE(0));
  EXPECT_EQ(regiongrowing_n(reduced, &grown, "1-norm", 2.0, 1.0, 1L), VERR_CTRL_VALUE(2));
  EXPECT_EQ(regiongrowing_n(reduced, &grown, "1-norm", 0.0, 1.0, 0L), VERR_CTRL_VALUE(3));
}

// Growing by the mean: a ramp 0, 2, 4, ... along the columns is taken as
// long as each new column is within the tolerance of the mean so far; a
// second start point inside the first region starts nothing, one in a
// bright block grows that block only.
TEST_F(ThresholdFamily, MeanRegionGrowingFollowsTheRunningMean) {
  const int w = 30, h = 6;
  std::vector<unsigned char> px(w * h);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) px[r * w + c] = static_cast<unsigned char>(c < 24 ? 2 * c : 200);
  Vobject image, grown;
  ASSERT_EQ(gen_image1(&image, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(px.data()))),
            VRESULT_OK);
  VTuple rows, cols;
  for (Vlong v : {Vlong{2}, Vlong{3}, Vlong{4}}) rows.Append(v);
  for (Vlong v : {Vlong{0}, Vlong{1}, Vlong{27}}) cols.Append(v);
  ASSERT_EQ(regiongrowing_mean(image, &grown, rows, cols, 5.0, 1L), VRESULT_OK);
  Vlong num = 0;
  ASSERT_EQ(count_obj(grown, &num), VRESULT_OK);
  ASSERT_EQ(num, 2);
  // From column 0 the ramp rises by 2 a column while the running mean
  // lags behind it: whatever the order of the breadth-first steps, the
  // region cannot reach beyond column 6 (12 lies more than 5 above any
  // mean of the values 0..10).
  Vobject first, second;
  ASSERT_EQ(select_obj(grown, &first, 1), VRESULT_OK);
  ASSERT_EQ(select_obj(grown, &second, 2), VRESULT_OK);
  const std::vector<uint8_t> m1 = MaskOf(first, w, h), m2 = MaskOf(second, w, h);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      EXPECT_EQ(m2[r * w + c], c >= 24) << r << "," << c;
      if (c > 6) {
        EXPECT_EQ(m1[r * w + c], 0) << r << "," << c;
      }
    }
  EXPECT_EQ(m1[2 * w + 0], 1);
  ASSERT_EQ(regiongrowing_mean(image, &grown, rows, cols, 5.0, 100L), VRESULT_OK);  // both too small
  ASSERT_EQ(count_obj(grown, &num), VRESULT_OK);
  EXPECT_EQ(num, 0);
  EXPECT_EQ(regiongrowing_mean(image, &grown, rows, VTuple(Vlong{1}), 5.0, 1L), VERR_CTRL_NUM(1));
}

// The difference to a displaced pattern, against a per-pixel loop: only
// where the moved pattern has a domain pixel, inside or outside the
// bounds.
TEST_F(ThresholdFamily, CheckDifferenceComparesWithTheDisplacedPattern) {
  std::mt19937 gen(101);
  const int w = 20, h = 15, pw = 9, ph = 7;
  const TestImage image = RandomImage("int2", w, h, gen);
  const TestImage pattern = MakeImage("int2", pw, ph, RandomMask(pw, ph, gen, false), gen, -20, 20);
  const TestImage img = MakeImage("int2", w, h, image.domain, gen, -30, 30);
  for (const bool inside : {true, false}) {
    Vobject selected;
    ASSERT_EQ(check_difference(img.image, pattern.image, &selected, inside ? "diff_inside" : "diff_outside",
                               -5L, 8L, 3L, 4L, 6L),
              VRESULT_OK);
    const std::vector<uint8_t> m = MaskOf(selected, w, h);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        const int pr = r - 4, pc = c - 6;
        bool want = false;
        if (img.In(r, c) && pr >= 0 && pr < ph && pc >= 0 && pc < pw && pattern.In(pr, pc)) {
          const double d = img.At(r, c) - pattern.At(pr, pc) + 3;
          want = (d >= -5 && d <= 8) == inside;
        }
        ASSERT_EQ(m[r * w + c] != 0, want) << r << "," << c;
      }
  }
  Vobject selected;
  EXPECT_EQ(check_difference(img.image, pattern.image, &selected, "diff_equal", 0L, 1L, 0L, 0L, 0L),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(check_difference(img.image, pattern.image, &selected, "diff_inside", 5L, 1L, 0L, 0L, 0L),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(check_difference(img.image, RandomImage("byte", 3, 3, gen).image, &selected, "diff_inside", 0L,
                             1L, 0L, 0L, 0L),
            VERR_PIXEL_TYPE);
}

// Lines grown from a start row: each column's plateau around the start
// (its own extent), whole ramps by "gradient", and by "mean" only as far
// as the ramp stays near the running mean; the same across columns.
TEST_F(ThresholdFamily, ExpandLineGrowsEachLineFromTheStartWhileValuesAgree) {
  const int w = 12, h = 16;
  std::vector<unsigned char> px(w * h);
  const auto top = [](int c) { return 2 + c % 3; };
  const auto bottom = [](int c) { return 12 - c % 4; };
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      px[r * w + c] = static_cast<unsigned char>(c >= 10 ? 3 * r : (r >= top(c) && r <= bottom(c) ? 100 : 200));
  Vobject image, grown;
  ASSERT_EQ(gen_image1(&image, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(px.data()))),
            VRESULT_OK);
  ASSERT_EQ(expand_line(image, &grown, 7L, "gradient", "row", 10.0), VRESULT_OK);
  std::vector<uint8_t> m = MaskOf(grown, w, h);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const bool want = c >= 10 || (r >= top(c) && r <= bottom(c));  // ramps of 3 per row go whole
      ASSERT_EQ(m[r * w + c] != 0, want) << r << "," << c;
    }
  // By the mean, a ramp of 3 per row from row 7 stops where it leaves the
  // line's running mean by more than 10: upwards first, then downwards
  // with the mean of everything taken.
  ASSERT_EQ(expand_line(image, &grown, 7L, "mean", "row", 10.0), VRESULT_OK);
  m = MaskOf(grown, w, h);
  int first = 7, last = 7;
  double sum = 21, n = 1;
  while (first > 0 && std::fabs(3.0 * (first - 1) - sum / n) <= 10) sum += 3.0 * --first, n += 1;
  while (last + 1 < h && std::fabs(3.0 * (last + 1) - sum / n) <= 10) sum += 3.0 * ++last, n += 1;
  ASSERT_GT(first, 0);  // the mean does stop the ramp
  for (int r = 0; r < h; ++r) EXPECT_EQ(m[r * w + 11] != 0, r >= first && r <= last) << r;
  // Across columns: the transposed question on the plateau rows.
  ASSERT_EQ(expand_line(image, &grown, 5L, "gradient", "column", 10.0), VRESULT_OK);
  m = MaskOf(grown, w, h);
  for (int r = 0; r < h; ++r) {
    const bool plateau = r >= 2 + 5 % 3 && r <= 12 - 5 % 4;
    for (int c = 0; c < w; ++c) {
      bool want = false;
      if (plateau) {
        // From column 5 along row r: columns whose value is 100 there,
        // stopping at the first jump.
        int lo = 5, hi = 5;
        while (lo - 1 >= 0 && px[r * w + lo - 1] == 100) --lo;
        while (hi + 1 < w && px[r * w + hi + 1] == 100) ++hi;
        want = c >= lo && c <= hi;
      } else {
        int lo = 5, hi = 5;
        while (lo - 1 >= 0 && std::abs(px[r * w + lo - 1] - px[r * w + lo]) <= 10) --lo;
        while (hi + 1 < w && std::abs(px[r * w + hi + 1] - px[r * w + hi]) <= 10) ++hi;
        want = c >= lo && c <= hi;
      }
      ASSERT_EQ(m[r * w + c] != 0, want) << r << "," << c;
    }
  }
  EXPECT_EQ(expand_line(image, &grown, 99L, "mean", "row", 10.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(expand_line(image, &grown, 3L, "median", "row", 10.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(expand_line(image, &grown, 3L, "mean", "diagonal", 10.0), VERR_CTRL_VALUE(2));
}

}  // namespace
