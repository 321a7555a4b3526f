// edges_image with "nms": the edges against OpenCV's Canny stage run on the
// 16-bit derivatives the operator documents (largest derivative scaled to
// 16000, at most 32767 / high), exactly where the derivatives are exact
// (3x3 Sobel masks on bytes), and up to rare rounding ties for the float
// Gaussian derivatives. Covers the image border, boxes inside the image,
// holes in the domain and images narrower than the masks.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class CannyEdges : public LeakCheckedTest {};

// The 1-D Gaussian of `sigma` (4 sigma wide, sum 1) or its derivative
// (first moment 1), as correlation masks.
std::vector<double> Gauss(double sigma, bool derivative) {
  const int radius = std::max(1, static_cast<int>(std::ceil(4 * sigma)));
  std::vector<double> g;
  double sum = 0;
  for (int i = -radius; i <= radius; ++i) {
    g.push_back(std::exp(-0.5 * i * i / (sigma * sigma)));
    sum += g.back();
  }
  double moment = 0;
  for (int i = -radius; i <= radius; ++i) {
    double& v = g[static_cast<size_t>(i + radius)];
    v /= sum;
    if (derivative) v *= i / (sigma * sigma);
    moment += i * v;
  }
  if (derivative)
    for (double& v : g) v /= moment;
  return g;
}

struct Expected {
  cv::Mat edges;   // CV_8U over the image, 255 at edges
  cv::Mat gx, gy;  // CV_32F over the image
};

// OpenCV's Canny stage on derivatives of `t` by the separable masks
// (`deriv` along the derivative's axis, `smooth` across), over the domain's
// box grown by one pixel, kept inside the domain.
Expected Reference(const TestImage& t, const std::vector<double>& deriv,
                   const std::vector<double>& smooth, double low, double high) {
  cv::Mat src(t.height, t.width, CV_32F);
  for (int r = 0; r < t.height; ++r)
    for (int c = 0; c < t.width; ++c) src.at<float>(r, c) = static_cast<float>(t.At(r, c));
  Expected e;
  cv::sepFilter2D(src, e.gx, CV_32F, deriv, smooth, cv::Point(-1, -1), 0, cv::BORDER_REFLECT_101);
  cv::sepFilter2D(src, e.gy, CV_32F, smooth, deriv, cv::Point(-1, -1), 0, cv::BORDER_REFLECT_101);
  cv::Mat mask(t.height, t.width, CV_8U);
  for (int r = 0; r < t.height; ++r)
    for (int c = 0; c < t.width; ++c) mask.at<uint8_t>(r, c) = t.In(r, c) ? 255 : 0;
  e.edges = cv::Mat::zeros(t.height, t.width, CV_8U);
  const cv::Rect box = cv::boundingRect(mask);
  if (box.empty()) return e;
  const cv::Rect grown =
      cv::Rect(box.x - 1, box.y - 1, box.width + 2, box.height + 2) & cv::Rect(0, 0, t.width, t.height);
  double lo_x, hi_x, lo_y, hi_y;
  cv::minMaxLoc(e.gx(grown), &lo_x, &hi_x);
  cv::minMaxLoc(e.gy(grown), &lo_y, &hi_y);
  const double bound = std::max({-lo_x, hi_x, -lo_y, hi_y, 1e-300});
  const double scale = std::min(16000.0 / bound, 32767.0 / std::max(high, 1.0));
  cv::Mat dx, dy, tracked;
  e.gx(grown).convertTo(dx, CV_16S, scale);
  e.gy(grown).convertTo(dy, CV_16S, scale);
  cv::Canny(dx, dy, tracked, low * scale, high * scale, true);
  tracked.copyTo(e.edges(grown));
  e.edges &= mask;
  return e;
}

double Code(float gx, float gy) {
  double deg = std::atan2(-static_cast<double>(gy), static_cast<double>(gx)) * 180.0 / M_PI;
  if (deg < 0) deg += 360.0;
  return static_cast<double>(std::lround(deg / 2.0) % 180);
}

// Runs edges_image and counts the domain pixels whose edge decision differs
// from the reference; checks amplitude and direction at common edges.
int Mismatches(const TestImage& t, const char* filter, double alpha, Vlong low, Vlong high,
               const Expected& e, int* edges) {
  Vobject amp, dir;
  EXPECT_EQ(edges_image(t.image, &amp, &dir, filter, alpha, "nms", low, high), VRESULT_OK);
  const vexa::PixelBuffer* a = Pixels(amp);
  const vexa::PixelBuffer* d = Pixels(dir);
  int wrong = 0;
  *edges = 0;
  for (int r = 0; r < t.height; ++r)
    for (int c = 0; c < t.width; ++c) {
      if (!t.In(r, c)) continue;
      const bool expected = e.edges.at<uint8_t>(r, c) != 0;
      const bool found = d->Get(r, c) != 255;
      *edges += expected;
      if (expected != found) {
        ++wrong;
        continue;
      }
      if (!found) {
        EXPECT_EQ(a->Get(r, c), 0.0) << r << "," << c;
        continue;
      }
      const float gx = e.gx.at<float>(r, c), gy = e.gy.at<float>(r, c);
      EXPECT_NEAR(a->Get(r, c), std::round(std::hypot(gx, gy)), 1.0) << r << "," << c;
      const double diff = std::fabs(d->Get(r, c) - Code(gx, gy));
      EXPECT_LE(std::min(diff, 180 - diff), 1.0) << r << "," << c;
    }
  return wrong;
}

// A byte image of f(r, c) under `domain`.
TestImage ByteImage(int w, int h, const std::vector<uint8_t>& domain, std::mt19937& gen,
                    const std::function<double(int, int)>& f) {
  std::vector<double> v;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) v.push_back(std::clamp(std::round(f(r, c)), 0.0, 255.0));
  TestImage t = MakeImage("byte", w, h, domain, gen, 0, 0);
  std::vector<uint8_t> bytes(v.begin(), v.end());
  Vobject full, reduced;
  EXPECT_EQ(gen_image1(&full, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  EXPECT_EQ(reduce_domain(full, RegionOf(domain, w, h), &reduced), VRESULT_OK);
  t.image = reduced;
  t.value = v;
  return t;
}

// Bright and dark blocks with a slow ramp and noise: edges of every
// direction, many equal amplitudes where the gray values are flat.
TestImage Blocks(int w, int h, const std::vector<uint8_t>& domain, std::mt19937& gen, double noise) {
  std::normal_distribution<double> n(0, noise);
  return ByteImage(w, h, domain, gen, [&](int r, int c) {
    return ((r / 11 + (c + r / 3) / 13) % 2 ? 160 : 60) + 0.3 * c + n(gen);
  });
}

// A rectangle of the image as domain.
std::vector<uint8_t> RectMask(int w, int h, const cv::Rect& rect) {
  std::vector<uint8_t> m(static_cast<size_t>(w) * h, 0);
  for (int r = rect.y; r < rect.y + rect.height; ++r)
    for (int c = rect.x; c < rect.x + rect.width; ++c) m[static_cast<size_t>(r) * w + c] = 1;
  return m;
}

// Mismatches of "sobel_fast" Canny on a blocks image of w x h with the
// given domain and noise against the reference on the same Sobel
// derivatives; *edges counts the reference's edges.
int SobelMismatches(int w, int h, const std::vector<uint8_t>& domain, double noise, Vlong low,
                    Vlong high, std::mt19937& gen, int* edges) {
  const std::vector<double> deriv = {-0.5, 0, 0.5}, smooth = {0.25, 0.5, 0.25};
  const TestImage t = Blocks(w, h, domain, gen, noise);
  const Expected e =
      Reference(t, deriv, smooth, static_cast<double>(low), static_cast<double>(high));
  return Mismatches(t, "sobel_fast", 1.0, low, high, e, edges);
}

TEST_F(CannyEdges, SobelEdgesEqualOpenCvCannyOnTheSameDerivatives) {
  std::mt19937 gen(41);
  struct Case {
    int w, h;
    int domain;  // 0 full, 1 random holes, 2 rectangle inside
    double noise;
    Vlong low, high;
  } cases[] = {{97, 61, 0, 4, 10, 20}, {97, 61, 1, 4, 10, 20}, {97, 61, 2, 0, 5, 30},
               {300, 7, 0, 8, 3, 12},  {5, 140, 0, 8, 3, 12},  {2, 2, 0, 30, 0, 1},
               {64, 48, 0, 0, 0, 0},   {64, 48, 1, 20, 1, 60}};
  for (const Case& k : cases) {
    const std::vector<uint8_t> domain =
        k.domain == 0   ? std::vector<uint8_t>(static_cast<size_t>(k.w) * k.h, 1)
        : k.domain == 1 ? RandomMask(k.w, k.h, gen, false)
                        : RectMask(k.w, k.h, cv::Rect(k.w / 4, k.h / 3, k.w / 2, k.h / 3));
    int edges = 0;
    EXPECT_EQ(SobelMismatches(k.w, k.h, domain, k.noise, k.low, k.high, gen, &edges), 0)
        << k.w << "x" << k.h << " domain " << k.domain;
    if (k.w > 10 && k.h > 10) EXPECT_GT(edges, 0) << k.w << "x" << k.h;
  }
}

TEST_F(CannyEdges, AmplitudesAtTheThresholdFollowTheRoundedDerivatives) {
  // A step of 20 (Sobel amplitude exactly 10) beside a step of 235, which
  // sets the 16-bit scale to 16000 / 117.5: the amplitude 10 scales to
  // 1361.7, rounds to 1362 and passes a threshold of 10.
  std::mt19937 gen(43);
  const int w = 40, h = 30;
  const std::vector<uint8_t> domain(static_cast<size_t>(w) * h, 1);
  const TestImage t = ByteImage(w, h, domain, gen, [](int, int c) {
    return c < 10 ? 0.0 : c < 25 ? 20.0 : 255.0;
  });
  const Expected e = Reference(t, {-0.5, 0, 0.5}, {0.25, 0.5, 0.25}, 10, 10);
  int edges = 0;
  EXPECT_EQ(Mismatches(t, "sobel_fast", 1.0, 10, 10, e, &edges), 0);
  for (int r = 0; r < h; ++r) EXPECT_NE(e.edges.at<uint8_t>(r, 9), 0) << r;
}

TEST_F(CannyEdges, FullDomainResultsOverwriteReusedMemory) {
  // Results of a full domain are not cleared before the filter writes
  // them: released images of the same size leave their bytes in the
  // memory the next results get, and every pixel off the edges must still
  // read amplitude 0 and direction 255. Covers the streamed path ("nms"),
  // OpenCV's stage (low 0) and the plane path ("inms").
  std::mt19937 gen(44);
  const int w = 120, h = 90;
  const std::vector<uint8_t> full(static_cast<size_t>(w) * h, 1);
  const TestImage flat = ByteImage(w, h, full, gen, [](int, int) { return 90.0; });
  struct Case {
    const char* filter;
    const char* nms;
    Vlong low;
  } cases[] = {{"canny", "nms", 5}, {"sobel_fast", "nms", 0}, {"canny", "inms", 5}};
  for (const Case& k : cases) {
    for (int i = 0; i < 4; ++i) {
      const TestImage dirty = ByteImage(w, h, full, gen, [](int, int) { return 171.0; });
    }
    Vobject amp, dir;
    ASSERT_EQ(edges_image(flat.image, &amp, &dir, k.filter, 1.0, k.nms, k.low, Vlong{10}),
              VRESULT_OK);
    const vexa::PixelBuffer* a = Pixels(amp);
    const vexa::PixelBuffer* d = Pixels(dir);
    int dirty_pixels = 0;
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) dirty_pixels += a->Get(r, c) != 0 || d->Get(r, c) != 255;
    EXPECT_EQ(dirty_pixels, 0) << k.filter << " " << k.nms << " low " << k.low;
  }
}

TEST_F(CannyEdges, DecisionsOfOneCallDoNotReachTheNext) {
  // The decision map is kept between calls of a thread and returned to zero
  // where a call marked it: after a busy image, images whose rows lie
  // differently over the same memory (other widths, a box inside, a low
  // threshold that marks almost every peak) still equal the reference.
  std::mt19937 gen(45);
  struct Case {
    int w, h;
    bool inner_box;
    double noise;
    Vlong low, high;
  } cases[] = {{160, 120, false, 30, 1, 4}, {119, 160, false, 2, 10, 20},
               {160, 120, true, 30, 1, 4},  {97, 61, false, 0, 10, 20}};
  for (const Case& k : cases) {
    const std::vector<uint8_t> domain =
        k.inner_box ? RectMask(k.w, k.h, cv::Rect(k.w / 3, k.h / 4, k.w / 3, k.h / 2))
                    : std::vector<uint8_t>(static_cast<size_t>(k.w) * k.h, 1);
    int edges = 0;
    EXPECT_EQ(SobelMismatches(k.w, k.h, domain, k.noise, k.low, k.high, gen, &edges), 0)
        << k.w << "x" << k.h << " noise " << k.noise;
  }
}

TEST_F(CannyEdges, GaussianEdgesAgreeWithOpenCvCannyUpToRoundingTies) {
  std::mt19937 gen(42);
  for (const double sigma : {1.0, 1.7}) {
    for (const int domain : {0, 1}) {
      const int w = 230, h = 170;
      const std::vector<uint8_t> mask = domain == 0
                                            ? std::vector<uint8_t>(static_cast<size_t>(w) * h, 1)
                                            : RandomMask(w, h, gen, false);
      const TestImage t = Blocks(w, h, mask, gen, 6);
      const Expected e = Reference(t, Gauss(sigma, true), Gauss(sigma, false), 4, 12);
      int edges = 0;
      const int wrong = Mismatches(t, "canny", sigma, 4, 12, e, &edges);
      EXPECT_GT(edges, 500) << sigma;
      // The float sums run in another order than OpenCV's: a derivative
      // may round to the other 16-bit neighbour, which moves a tie.
      EXPECT_LE(wrong, edges / 500) << sigma << " domain " << domain;
    }
  }
}

}  // namespace
