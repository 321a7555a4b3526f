// Helpers for the sub-pixel contour tests: a leak-checked fixture that also
// counts contour objects, images rendered with exact-area anti-aliasing,
// and reading tuples into vectors.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

#include "leak_checked_test.h"
#include "objdb.h"

namespace xld_test {

// LeakCheckedTest, and no sub-pixel object may outlive a test either.
class XldTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    xlds_ = vexa::db::GetStats().xlds;
  }
  void TearDown() override {
    EXPECT_EQ(vexa::db::GetStats().xlds, xlds_);
    LeakCheckedTest::TearDown();
  }

 private:
  Vlong xlds_ = 0;
};

inline std::vector<double> Values(const Vexa::VTuple& t) {
  std::vector<double> v;
  for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].D());
  return v;
}

inline Vexa::VTuple Tuple(const std::vector<double>& v) {
  Vexa::VTuple t;
  for (size_t i = 0; i < v.size(); ++i) t[static_cast<Vlong>(i)] = v[i];
  return t;
}

// A byte image of `height` x `width` whose pixel (r, c), the unit square
// centred on (r, c), takes dark + (bright - dark) * the part of its area
// where inside(row, col) holds (measured on a 32 x 32 grid of samples);
// then blurred with a Gaussian of `blur`, and noise of `noise` gray values
// added with a fixed seed.
inline Vexa::Vobject RenderImage(int height, int width,
                                 const std::function<bool(double, double)>& inside,
                                 double dark, double bright, double blur, double noise,
                                 unsigned seed = 7) {
  constexpr int kSub = 32;
  cv::Mat f(height, width, CV_64F);
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) {
      int hits = 0;
      for (int i = 0; i < kSub; ++i)
        for (int j = 0; j < kSub; ++j)
          hits += inside(r - 0.5 + (i + 0.5) / kSub, c - 0.5 + (j + 0.5) / kSub);
      f.at<double>(r, c) = dark + (bright - dark) * hits / (kSub * kSub);
    }
  if (blur > 0) cv::GaussianBlur(f, f, cv::Size(0, 0), blur, blur, cv::BORDER_REPLICATE);
  std::mt19937 random(seed);
  std::normal_distribution<double> gauss(0.0, noise > 0 ? noise : 1.0);
  std::unique_ptr<vexa::PixelBuffer> buffer;
  EXPECT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kByte, width, height, &buffer), VRESULT_OK);
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) {
      const double v = f.at<double>(r, c) + (noise > 0 ? gauss(random) : 0.0);
      buffer->data()[static_cast<size_t>(r) * width + c] =
          static_cast<unsigned char>(std::clamp(std::lround(v), 0L, 255L));
    }
  std::vector<std::unique_ptr<vexa::PixelBuffer>> channels;
  channels.push_back(std::move(buffer));
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImage(nullptr, std::move(channels), &key), VRESULT_OK);
  return Vexa::Vobject(key, 1);
}

}  // namespace xld_test
