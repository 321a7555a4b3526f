// Color edges: on one channel edges_color is edges_image (same filter,
// thinning and thresholds), and an edge between two colours of equal
// brightness, which no gray image shows, is found with its direction.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

Vobject Image(int w, int h, const std::function<double(int, int)>& f) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, "byte", w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_EQ(set_grayval(image, r, c, f(r, c)), VRESULT_OK);
  return image;
}

std::vector<double> Values(const Vobject& image) {
  const vexa::PixelBuffer* p = image_test::Pixels(image);
  std::vector<double> v;
  for (int r = 0; r < p->height(); ++r)
    for (int c = 0; c < p->width(); ++c) v.push_back(p->Get(r, c));
  return v;
}

class ColorEdges : public LeakCheckedTest {};

TEST_F(ColorEdges, OneChannelGivesTheGrayEdges) {
  const Vobject disc = Image(40, 36, [](int r, int c) {
    return std::hypot(r - 17.3, c - 20.6) < 11 ? 180 : 40 + (r % 3);
  });
  for (const char* nms : {"inms", "hvnms", "none"}) {
    Vobject gray_amp, gray_dir, color_amp, color_dir;
    ASSERT_EQ(edges_image(disc, &gray_amp, &gray_dir, "canny", 1.5, nms, Vlong{10}, Vlong{30}),
              VRESULT_OK);
    ASSERT_EQ(edges_color(disc, &color_amp, &color_dir, "canny", 1.5, nms, Vlong{10}, Vlong{30}),
              VRESULT_OK);
    EXPECT_EQ(Values(color_amp), Values(gray_amp)) << nms;
    EXPECT_EQ(Values(color_dir), Values(gray_dir)) << nms;
  }
}

TEST_F(ColorEdges, AnEdgeOfEqualBrightnessIsFound) {
  // Red falls where green rises at column 15: their mean stays 100.
  const Vobject red = Image(30, 20, [](int, int c) { return c < 15 ? 150 : 50; });
  const Vobject green = Image(30, 20, [](int, int c) { return c < 15 ? 50 : 150; });
  Vobject color, amp, dir, mean, gray_amp, gray_dir;
  ASSERT_EQ(compose2(red, green, &color), VRESULT_OK);
  ASSERT_EQ(edges_color(color, &amp, &dir, "sobel_fast", 1.0, "nms", Vlong{20}, Vlong{40}),
            VRESULT_OK);
  const vexa::PixelBuffer* a = image_test::Pixels(amp);
  const vexa::PixelBuffer* d = image_test::Pixels(dir);
  int edge_pixels = 0;
  for (int r = 2; r < 18; ++r) {
    const double strongest = std::max(a->Get(r, 14), a->Get(r, 15));
    EXPECT_GT(strongest, 40) << r;
    const int c = a->Get(r, 14) >= a->Get(r, 15) ? 14 : 15;
    // Gradient along the columns: direction 0 or 180 degrees (codes 0, 90).
    EXPECT_TRUE(d->Get(r, c) == 0 || d->Get(r, c) == 90) << d->Get(r, c);
    edge_pixels += 1;
  }
  EXPECT_EQ(edge_pixels, 16);
  EXPECT_EQ(a->Get(10, 5), 0);
  // The mean of the two channels has no edge at all.
  ASSERT_EQ(add_image(red, green, &mean, 0.5, 0.0), VRESULT_OK);
  ASSERT_EQ(edges_image(mean, &gray_amp, &gray_dir, "sobel_fast", 1.0, "nms", Vlong{20}, Vlong{40}),
            VRESULT_OK);
  for (double v : Values(gray_amp)) ASSERT_EQ(v, 0);

  Vobject bad_amp, bad_dir;
  EXPECT_EQ(edges_color(color, &bad_amp, &bad_dir, "canny", 1.0, "nms", Vlong{40}, Vlong{20}),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(edges_color(color, &bad_amp, &bad_dir, "laplace", 1.0, "nms", Vlong{20}, Vlong{40}),
            VERR_CTRL_VALUE(0));
}

}  // namespace
