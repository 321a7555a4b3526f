// Segmentation of images: regional extrema against a flood fill written
// here, watersheds separating two blurred blobs, merging basins by
// threshold, and Hough transforms finding drawn lines and circles.
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class ImageSegmentation : public LeakCheckedTest {};

// The regional maxima (or minima) of a test image as a mask: plateaus of
// 8-connected equal domain pixels without a higher (lower) domain
// neighbour.
std::vector<uint8_t> ReferenceExtrema(const TestImage& t, bool maxima, int* count) {
  const int w = t.width, h = t.height;
  std::vector<int> plateau(static_cast<size_t>(w) * h, -1);
  std::vector<uint8_t> mask(plateau.size(), 0);
  *count = 0;
  int next = 0;
  for (int start = 0; start < w * h; ++start) {
    if (!t.domain[start] || plateau[start] >= 0) continue;
    std::vector<int> members{start};
    plateau[start] = next;
    bool extreme = true;
    for (size_t k = 0; k < members.size(); ++k) {
      const int r = members[k] / w, c = members[k] % w;
      for (int dr = -1; dr <= 1; ++dr)
        for (int dc = -1; dc <= 1; ++dc) {
          const int rr = r + dr, cc = c + dc;
          if (rr < 0 || cc < 0 || rr >= h || cc >= w || !t.In(rr, cc)) continue;
          const int n = rr * w + cc;
          if (t.value[n] == t.value[members[0]]) {
            if (plateau[n] < 0) {
              plateau[n] = next;
              members.push_back(n);
            }
          } else if (maxima ? t.value[n] > t.value[members[0]] : t.value[n] < t.value[members[0]]) {
            extreme = false;
          }
        }
    }
    ++next;
    if (!extreme) continue;
    ++*count;
    for (int m : members) mask[m] = 1;
  }
  return mask;
}

TEST_F(ImageSegmentation, ExtremaAreThePlateausWithoutHigherOrLowerNeighbours) {
  std::mt19937 gen(31);
  for (const char* type : {"byte", "int4", "real"}) {
    SCOPED_TRACE(type);
    // Few values, so that plateaus of several pixels occur.
    TestImage in = MakeImage(type, 21, 16, RandomMask(21, 16, gen, false), gen, 0, 3);
    for (bool maxima : {true, false}) {
      int count = 0;
      const std::vector<uint8_t> want = ReferenceExtrema(in, maxima, &count);
      Vobject all, each, centers;
      ASSERT_EQ(maxima ? local_max(in.image, &all) : local_min(in.image, &all), VRESULT_OK);
      EXPECT_EQ(MaskOf(all, in.width, in.height), want);
      ASSERT_EQ(maxima ? plateaus(in.image, &each) : lowlands(in.image, &each), VRESULT_OK);
      ASSERT_EQ(maxima ? plateaus_center(in.image, &centers) : lowlands_center(in.image, &centers),
                VRESULT_OK);
      Vlong n = 0, m = 0;
      ASSERT_EQ(count_obj(each, &n), VRESULT_OK);
      ASSERT_EQ(count_obj(centers, &m), VRESULT_OK);
      EXPECT_EQ(n, count);
      ASSERT_EQ(m, count);
      std::vector<uint8_t> joined(want.size(), 0);
      for (Vlong i = 1; i <= n; ++i) {
        Vobject one, center;
        ASSERT_EQ(select_obj(each, &one, i), VRESULT_OK);
        ASSERT_EQ(select_obj(centers, &center, i), VRESULT_OK);
        const std::vector<uint8_t> part = MaskOf(one, in.width, in.height);
        const std::vector<uint8_t> dot = MaskOf(center, in.width, in.height);
        int dots = 0;
        for (size_t k = 0; k < part.size(); ++k) {
          EXPECT_FALSE(joined[k] && part[k]);  // plateaus do not overlap
          joined[k] |= part[k];
          dots += dot[k];
          if (dot[k]) EXPECT_TRUE(part[k]);  // the centre lies on its plateau
        }
        EXPECT_EQ(dots, 1);
      }
      EXPECT_EQ(joined, want);
    }
  }
}

// Two Gaussian blobs turned into valleys, on the full image or a domain.
TestImage TwoValleys(int w, int h, const std::vector<uint8_t>& domain) {
  std::mt19937 gen(2);
  TestImage t = MakeImage("byte", w, h, domain, gen, 0, 0);
  std::vector<uint8_t> bytes;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const double a = std::exp(-(std::pow(r - 12, 2) + std::pow(c - 10, 2)) / 40.0);
      const double b = std::exp(-(std::pow(r - 14, 2) + std::pow(c - 30, 2)) / 40.0);
      bytes.push_back(static_cast<uint8_t>(std::lround(250 - 200 * std::max(a, b))));
    }
  Vobject full;
  EXPECT_EQ(gen_image1(&full, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  EXPECT_EQ(reduce_domain(full, RegionOf(domain, w, h), &t.image), VRESULT_OK);
  for (size_t k = 0; k < bytes.size(); ++k) t.value[k] = bytes[k];
  return t;
}

TEST_F(ImageSegmentation, WatershedsSeparateTwoBlurredBlobs) {
  const int w = 40, h = 26;
  const TestImage in = TwoValleys(w, h, std::vector<uint8_t>(w * h, 1));
  Vobject basins, lines;
  ASSERT_EQ(watersheds(in.image, &basins, &lines), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(basins, &n), VRESULT_OK);
  ASSERT_EQ(n, 2);
  Vobject first, second;
  ASSERT_EQ(select_obj(basins, &first, 1), VRESULT_OK);
  ASSERT_EQ(select_obj(basins, &second, 2), VRESULT_OK);
  const std::vector<uint8_t> a = MaskOf(first, w, h), b = MaskOf(second, w, h),
                             line = MaskOf(lines, w, h);
  EXPECT_TRUE(a[12 * w + 10]);
  EXPECT_TRUE(b[14 * w + 30]);
  for (size_t k = 0; k < a.size(); ++k) {
    // Basins and lines partition the image.
    EXPECT_EQ(a[k] + b[k] + line[k], 1) << k;
    // The line lies midway between the blobs.
    if (line[k]) EXPECT_NEAR(static_cast<int>(k % w), 20, 2);
  }
  // A threshold above the pass merges them; 0 keeps them apart.
  Vobject merged;
  ASSERT_EQ(watersheds_threshold(in.image, &merged, Vlong{255}), VRESULT_OK);
  ASSERT_EQ(count_obj(merged, &n), VRESULT_OK);
  EXPECT_EQ(n, 1);
  EXPECT_EQ(MaskOf(merged, w, h), std::vector<uint8_t>(w * h, 1));
  ASSERT_EQ(watersheds_threshold(in.image, &merged, Vlong{0}), VRESULT_OK);
  ASSERT_EQ(count_obj(merged, &n), VRESULT_OK);
  EXPECT_EQ(n, 2);
}

TEST_F(ImageSegmentation, WatershedsStayInsideTheDomain) {
  std::mt19937 gen(32);
  const int w = 40, h = 26;
  const TestImage in = TwoValleys(w, h, RandomMask(w, h, gen, false));
  Vobject basins, lines;
  ASSERT_EQ(watersheds(in.image, &basins, &lines), VRESULT_OK);
  Vobject both, all;
  ASSERT_EQ(concat_obj(basins, lines, &both), VRESULT_OK);
  ASSERT_EQ(union1(both, &all), VRESULT_OK);
  const std::vector<uint8_t> got = MaskOf(all, w, h);
  for (size_t k = 0; k < got.size(); ++k) EXPECT_EQ(got[k], in.domain[k]) << k / w << "," << k % w;
  // One-pixel image: one basin, no line.
  const TestImage one = RandomImage("byte", 1, 1, gen, true);
  ASSERT_EQ(watersheds(one.image, &basins, &lines), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(basins, &n), VRESULT_OK);
  EXPECT_EQ(n, 1);
}

// The pixels of a line given by the normal angle and distance, inside a
// w x h frame.
std::vector<uint8_t> LineMask(double phi, double dist, int w, int h) {
  std::vector<uint8_t> m(w * h, 0);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (std::fabs(c * std::cos(phi) - r * std::sin(phi) - dist) <= 0.5) m[r * w + c] = 1;
  return m;
}

TEST_F(ImageSegmentation, HoughFindsADrawnLinesAngleAndDistance) {
  const int w = 80, h = 70;
  for (double deg : {30.0, 95.0, 150.0}) {
    SCOPED_TRACE(deg);
    const double phi = deg * M_PI / 180, dist = deg < 90 ? 25.0 : -20.0;
    std::vector<uint8_t> mask = LineMask(phi, dist, w, h);
    mask[5 * w + 70] = 1;  // a stray point
    const Vobject region = RegionOf(mask, w, h);
    VTuple angles, dists;
    ASSERT_EQ(hough_lines(region, Vlong{2}, Vlong{30}, Vlong{10}, Vlong{10}, &angles, &dists),
              VRESULT_OK);
    ASSERT_EQ(angles.Num(), 1);
    EXPECT_NEAR(angles[0].D(), phi, 1.0 * M_PI / 180);
    EXPECT_NEAR(dists[0].D(), dist, 1.0);

    Vobject trans;
    ASSERT_EQ(hough_line_trans(region, &trans, Vlong{1}), VRESULT_OK);
    const vexa::PixelBuffer* acc = Pixels(trans);
    ASSERT_EQ(acc->width(), 180);
    double total = 0;
    for (int r = 0; r < acc->height(); ++r) total += acc->Get(r, 0);
    int points = 0;
    for (uint8_t v : mask) points += v;
    EXPECT_EQ(total, points);  // every point votes once per angle

    Vobject on_line;
    double angle_out = 0, dist_out = 0;
    ASSERT_EQ(select_matching_lines(region, &on_line, phi, dist, Vlong{1}, Vlong{10}, &angle_out,
                                    &dist_out),
              VRESULT_OK);
    mask[5 * w + 70] = 0;
    EXPECT_EQ(MaskOf(on_line, w, h), mask);
  }
}

TEST_F(ImageSegmentation, DirectionHoughVotesOnlyAlongTheGradient) {
  // A vertical line at column 20 whose gradient points along the columns
  // (direction 0) and a horizontal one at row 10 whose gradient points up
  // (90 degrees, stored as 45); every other pixel has no direction.
  const int w = 50, h = 40;
  Vobject dir;
  ASSERT_EQ(gen_image_const(&dir, "direction", w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const double v = c == 20 && r >= 15 ? 0 : r == 10 && c >= 25 ? 45 : 255;
      ASSERT_EQ(set_grayval(dir, r, c, v), VRESULT_OK);
    }
  Vobject trans;
  ASSERT_EQ(hough_line_trans_dir(dir, &trans, Vlong{5}, Vlong{1}), VRESULT_OK);
  const vexa::PixelBuffer* acc = Pixels(trans);
  ASSERT_EQ(acc->width(), 180);
  const int max_dist = (acc->height() - 1) / 2;
  EXPECT_EQ(acc->Get(max_dist + 20, 0), 25);   // the vertical line's 25 pixels
  EXPECT_EQ(acc->Get(max_dist - 10, 90), 25);  // the horizontal one's
  double off_direction = 0;
  for (int r = 0; r < acc->height(); ++r) off_direction += acc->Get(r, 45);
  EXPECT_EQ(off_direction, 0);  // 45 degrees is beyond both uncertainties

  Vobject image, lines;
  VTuple angles, dists;
  ASSERT_EQ(hough_lines_dir(dir, &image, &lines, Vlong{5}, Vlong{1}, "mean", Vlong{1}, Vlong{20},
                            Vlong{5}, Vlong{5}, "true", &angles, &dists),
            VRESULT_OK);
  ASSERT_EQ(angles.Num(), 2);
  EXPECT_NEAR(angles[0].D(), 0.0, 1e-12);
  EXPECT_NEAR(dists[0].D(), 20.0, 1e-12);
  EXPECT_NEAR(angles[1].D(), M_PI / 2, 1e-12);
  EXPECT_NEAR(dists[1].D(), -10.0, 1e-12);
  Vlong n = 0;
  ASSERT_EQ(count_obj(lines, &n), VRESULT_OK);
  ASSERT_EQ(n, 2);
  Vobject first, column;
  ASSERT_EQ(select_obj(lines, &first, Vlong{1}), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&column, 15.0, 20.0, 39.0, 20.0), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(first, column, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  ASSERT_EQ(hough_lines_dir(dir, &image, &lines, Vlong{5}, Vlong{1}, "gauss", Vlong{3}, Vlong{5},
                            Vlong{5}, Vlong{5}, "false", &angles, &dists),
            VRESULT_OK);
  ASSERT_EQ(count_obj(lines, &n), VRESULT_OK);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(hough_lines_dir(dir, &image, &lines, Vlong{5}, Vlong{1}, "median", Vlong{3}, Vlong{5},
                            Vlong{5}, Vlong{5}, "false", &angles, &dists),
            VERR_CTRL_VALUE(2));
  Vobject real_image;
  ASSERT_EQ(gen_image_const(&real_image, "real", 8, 8), VRESULT_OK);
  EXPECT_EQ(hough_line_trans_dir(real_image, &trans, Vlong{5}, Vlong{1}), VERR_PIXEL_TYPE);
}

TEST_F(ImageSegmentation, HoughCirclesFindsACircleOutline) {
  const int w = 70, h = 60;
  std::vector<uint8_t> mask(w * h, 0);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (std::fabs(std::hypot(r - 30, c - 40) - 12) <= 0.5) mask[r * w + c] = 1;
  Vobject circles;
  ASSERT_EQ(hough_circles(RegionOf(mask, w, h), &circles, Vlong{12}, Vlong{60}, Vlong{0}),
            VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(circles, &n), VRESULT_OK);
  ASSERT_EQ(n, 1);
  Vlong area = 0;
  double row = 0, col = 0;
  ASSERT_EQ(area_center(circles, &area, &row, &col), VRESULT_OK);
  EXPECT_NEAR(row, 30, 0.5);
  EXPECT_NEAR(col, 40, 0.5);
  EXPECT_NEAR(area, M_PI * 144, 30);

  // The accumulator itself: reaches the radius past the bottom and right
  // ends and peaks at the centre.
  Vobject votes;
  ASSERT_EQ(hough_circle_trans(RegionOf(mask, w, h), &votes, Vlong{12}), VRESULT_OK);
  Vlong vw = 0, vh = 0;
  ASSERT_EQ(get_image_size(votes, &vw, &vh), VRESULT_OK);
  EXPECT_EQ(vw, 40 + 12 + 12 + 1);
  EXPECT_EQ(vh, 30 + 12 + 12 + 1);
  const vexa::PixelBuffer* px = Pixels(votes);
  double best = -1;
  int best_r = -1, best_c = -1;
  for (int r = 0; r < vh; ++r)
    for (int c = 0; c < vw; ++c)
      if (px->Get(r, c) > best) best = px->Get(r, c), best_r = r, best_c = c;
  EXPECT_EQ(best_r, 30);
  EXPECT_EQ(best_c, 40);
  // Every outline pixel lies on the circle about the centre: the peak
  // holds at most their number and most of them.
  const double outline = static_cast<double>(std::count(mask.begin(), mask.end(), 1));
  EXPECT_LE(best, outline);
  EXPECT_GE(best, 0.6 * outline);
  Vobject empty;
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  ASSERT_EQ(hough_circle_trans(empty, &votes, Vlong{5}), VRESULT_OK);
  ASSERT_EQ(get_image_size(votes, &vw, &vh), VRESULT_OK);
  EXPECT_EQ(vw * vh, 1);
  EXPECT_EQ(hough_circle_trans(empty, &votes, Vlong{0}), VERR_CTRL_VALUE(0));
}

TEST_F(ImageSegmentation, BadInputIsRefused) {
  std::mt19937 gen(33);
  const TestImage in = RandomImage("byte", 6, 6, gen);
  Vobject out, complex_image;
  VTuple a, d;
  EXPECT_EQ(watersheds_threshold(in.image, &out, Vlong{-1}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(hough_lines(in.image, Vlong{0}, Vlong{5}, Vlong{1}, Vlong{1}, &a, &d), VERR_CTRL_VALUE(0));
  EXPECT_EQ(hough_circles(in.image, &out, Vlong{0}, Vlong{50}, Vlong{0}), VERR_CTRL_VALUE(0));
  ASSERT_EQ(gen_image_const(&complex_image, "complex", Vlong{4}, Vlong{4}), VRESULT_OK);
  EXPECT_EQ(local_max(complex_image, &out), VERR_PIXEL_TYPE);
}

}  // namespace
