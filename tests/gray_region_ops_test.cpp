// Gray values measured and painted in regions: fitted surfaces (exact on
// exact data, robust against outliers), gray moments, the gray-weighted
// ellipse, the fuzzy measures, the joint histogram, the mean painting,
// the per-region images, the point selections and the shape histograms
// over thresholds.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class GrayRegionTest : public LeakCheckedTest {};

// A real (or byte) image of w x h pixels with the values f(r, c).
Vobject FunctionImage(const char* type, int w, int h, const std::function<double(int, int)>& f) {
  const bool real = std::string(type) == "real";
  std::vector<unsigned char> bytes(static_cast<size_t>(w) * h * (real ? 4 : 1));
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const size_t k = static_cast<size_t>(r) * w + c;
      if (real) {
        const float v = static_cast<float>(f(r, c));
        std::memcpy(&bytes[k * 4], &v, 4);
      } else {
        bytes[k] = static_cast<unsigned char>(f(r, c));
      }
    }
  Vobject image;
  EXPECT_EQ(gen_image1(&image, type, w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  return image;
}

TEST_F(GrayRegionTest, FittedSurfacesAreExactOnExactDataAndRobustAgainstOutliers) {
  std::mt19937 gen(3);
  const int w = 40, h = 30;
  const Vobject region = RegionOf(RandomMask(w, h, gen, false), w, h);
  // g = 0.5 r - 0.25 c + 10, and the quadric 0.01 r^2 - 0.02 c^2 + 0.03 r c
  // + 0.4 r - 0.5 c + 6 (values of a float image: exact to about 1e-5).
  const Vobject plane = FunctionImage("real", w, h, [](int r, int c) { return 0.5 * r - 0.25 * c + 10; });
  double a, b, c, d, e, f;
  ASSERT_EQ(fit_surface_first_order(region, plane, "regression", 0, 2.0, &a, &b, &c), VRESULT_OK);
  EXPECT_NEAR(a, 0.5, 1e-6);
  EXPECT_NEAR(b, -0.25, 1e-6);
  EXPECT_NEAR(c, 10, 1e-4);
  const auto quadric = [](int r, int c) {
    return 0.01 * r * r - 0.02 * c * c + 0.03 * r * c + 0.4 * r - 0.5 * c + 6;
  };
  ASSERT_EQ(fit_surface_second_order(region, FunctionImage("real", w, h, quadric), "regression", 0, 2.0,
                                     &a, &b, &c, &d, &e, &f),
            VRESULT_OK);
  const std::vector<double> want = {0.01, -0.02, 0.03, 0.4, -0.5, 6}, got = {a, b, c, d, e, f};
  for (size_t k = 0; k < want.size(); ++k) EXPECT_NEAR(got[k], want[k], 1e-5) << "coefficient " << k;

  // A tenth of the pixels far off the plane: plain regression is pulled
  // away, the reweighted fits find the plane again.
  const Vobject spoiled = FunctionImage("real", w, h, [](int r, int col) {
    return (r * 7 + col * 3) % 10 == 0 ? 500.0 : 0.5 * r - 0.25 * col + 10;
  });
  ASSERT_EQ(fit_surface_first_order(region, spoiled, "regression", 0, 2.0, &a, &b, &c), VRESULT_OK);
  EXPECT_GT(std::fabs(c - 10), 10);
  for (const char* robust : {"huber", "tukey"}) {
    ASSERT_EQ(fit_surface_first_order(region, spoiled, robust, 10, 2.0, &a, &b, &c), VRESULT_OK);
    const double tolerance = std::string(robust) == "tukey" ? 1e-4 : 0.5;
    EXPECT_NEAR(a, 0.5, tolerance / 10) << robust;
    EXPECT_NEAR(b, -0.25, tolerance / 10) << robust;
    EXPECT_NEAR(c, 10, tolerance) << robust;
  }
  EXPECT_EQ(fit_surface_first_order(region, plane, "median", 0, 2.0, &a, &b, &c), VERR_CTRL_VALUE(0));
  EXPECT_EQ(fit_surface_first_order(region, plane, "huber", -1, 2.0, &a, &b, &c), VERR_CTRL_VALUE(1));
  EXPECT_EQ(fit_surface_first_order(region, plane, "huber", 5, 0.0, &a, &b, &c), VERR_CTRL_VALUE(2));
}

TEST_F(GrayRegionTest, GrayPlaneMomentsFollowThePixelSums) {
  std::mt19937 gen(5);
  const TestImage t = RandomImage("byte", 23, 17, gen);
  const Vobject region = RegionOf(RandomMask(23, 17, gen, false), 23, 17);
  const std::vector<uint8_t> in = [&] {
    std::vector<uint8_t> m = t.domain;
    vexa::RegionPtr reg;
    EXPECT_EQ(vexa::db::GetRegion(region.Id(), &reg), VRESULT_OK);
    for (int r = 0; r < 17; ++r)
      for (int c = 0; c < 23; ++c) m[r * 23 + c] = m[r * 23 + c] && reg->Contains(r, c);
    return m;
  }();
  double n = 0, sr = 0, sc = 0, sg = 0;
  for (int r = 0; r < 17; ++r)
    for (int c = 0; c < 23; ++c)
      if (in[r * 23 + c]) n += 1, sr += r, sc += c, sg += t.At(r, c);
  const double mr = sr / n, mc = sc / n, mg = sg / n;
  double crg = 0, ccg = 0, crr = 0, ccc = 0, crc = 0;
  for (int r = 0; r < 17; ++r)
    for (int c = 0; c < 23; ++c)
      if (in[r * 23 + c]) {
        const double dr = r - mr, dc = c - mc, dg = t.At(r, c) - mg;
        crg += dr * dg, ccg += dc * dg, crr += dr * dr, ccc += dc * dc, crc += dr * dc;
      }
  double m_row, m_col, alpha, beta, mean;
  ASSERT_EQ(moments_gray_plane(region, t.image, &m_row, &m_col, &alpha, &beta, &mean), VRESULT_OK);
  EXPECT_NEAR(m_row, crg / n, 1e-9);
  EXPECT_NEAR(m_col, ccg / n, 1e-9);
  EXPECT_NEAR(mean, mg, 1e-9);
  // The slopes solve the normal equations of the plane.
  EXPECT_NEAR(alpha * crr + beta * crc, crg, 1e-6);
  EXPECT_NEAR(alpha * crc + beta * ccc, ccg, 1e-6);
}

TEST_F(GrayRegionTest, GrayWeightedEllipseIsTheRegionEllipseForEqualWeights) {
  std::mt19937 gen(8);
  const int w = 50, h = 40;
  const Vobject region = RegionOf(RandomMask(w, h, gen, false), w, h);
  double ra, rb, phi, gra, grb, gphi;
  ASSERT_EQ(elliptic_axis(region, &ra, &rb, &phi), VRESULT_OK);
  ASSERT_EQ(elliptic_axis_gray(region, FunctionImage("byte", w, h, [](int, int) { return 7; }), &gra, &grb, &gphi),
            VRESULT_OK);
  EXPECT_NEAR(gra, ra, 1e-9);
  EXPECT_NEAR(grb, rb, 1e-9);
  EXPECT_NEAR(gphi, phi, 1e-9);
  // Weight 0 on the left half: the ellipse of the right half alone.
  Vobject whole, right;
  ASSERT_EQ(gen_rectangle1(&whole, 5, 3, 30, 44), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&right, 5, 25, 30, 44), VRESULT_OK);
  ASSERT_EQ(elliptic_axis(right, &ra, &rb, &phi), VRESULT_OK);
  ASSERT_EQ(elliptic_axis_gray(whole, FunctionImage("byte", w, h, [](int, int c) { return c >= 25 ? 3 : 0; }),
                               &gra, &grb, &gphi),
            VRESULT_OK);
  EXPECT_NEAR(gra, ra, 1e-9);
  EXPECT_NEAR(grb, rb, 1e-9);
  EXPECT_NEAR(gphi, phi, 1e-9);
}

TEST_F(GrayRegionTest, FuzzyMeasuresOfClearAndUndecidedPixels) {
  const int w = 20, h = 10;
  Vobject region;
  ASSERT_EQ(gen_rectangle1(&region, 2, 3, 7, 12), VRESULT_OK);  // 6 x 10 pixels
  double v;
  // All dark or all bright: nothing fuzzy.
  for (const int g : {10, 200}) {
    const Vobject flat = FunctionImage("byte", w, h, [g](int, int) { return g; });
    ASSERT_EQ(fuzzy_entropy(region, flat, 50, 150, &v), VRESULT_OK);
    EXPECT_EQ(v, 0.0);
    ASSERT_EQ(fuzzy_perimeter(region, flat, 50, 150, &v), VRESULT_OK);
    EXPECT_EQ(v, 0.0);
  }
  // Every pixel halfway: membership 0.5, entropy 1 (the maximum).
  ASSERT_EQ(fuzzy_entropy(region, FunctionImage("byte", w, h, [](int, int) { return 100; }), 50, 150, &v),
            VRESULT_OK);
  EXPECT_NEAR(v, 1.0, 1e-12);
  // A checkerboard of dark and bright: every neighbour pair inside the
  // region changes membership by 1, 5 x 10 vertical and 6 x 9 horizontal.
  const Vobject checker = FunctionImage("byte", w, h, [](int r, int c) { return (r + c) % 2 ? 255 : 0; });
  ASSERT_EQ(fuzzy_perimeter(region, checker, 50, 150, &v), VRESULT_OK);
  EXPECT_EQ(v, 5 * 10 + 6 * 9);
  EXPECT_EQ(fuzzy_entropy(region, checker, 150, 150, &v), VERR_CTRL_VALUE(1));
  EXPECT_EQ(fuzzy_entropy(region, FunctionImage("real", w, h, [](int, int) { return 0; }), 0, 10, &v),
            VERR_PIXEL_TYPE);
}

TEST_F(GrayRegionTest, JointHistogramCountsPairsOfValuesInTheRegions) {
  std::mt19937 gen(13);
  const int w = 31, h = 19;
  const TestImage col = RandomImage("byte", w, h, gen), row = RandomImage("byte", w, h, gen);
  const std::vector<uint8_t> m1 = RandomMask(w, h, gen, false), m2 = RandomMask(w, h, gen, false);
  Vobject regions;
  ASSERT_EQ(concat_obj(RegionOf(m1, w, h), RegionOf(m2, w, h), &regions), VRESULT_OK);
  Vobject histo;
  ASSERT_EQ(histo_2dim(regions, col.image, row.image, &histo), VRESULT_OK);
  std::vector<int> want(256 * 256, 0);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const size_t k = static_cast<size_t>(r) * w + c;
      if ((m1[k] || m2[k]) && col.In(r, c) && row.In(r, c))
        ++want[static_cast<size_t>(row.At(r, c)) * 256 + static_cast<size_t>(col.At(r, c))];
    }
  const vexa::PixelBuffer* px = Pixels(histo);
  ASSERT_EQ(px->width(), 256);
  ASSERT_EQ(px->height(), 256);
  for (int r = 0; r < 256; ++r)
    for (int c = 0; c < 256; ++c) ASSERT_EQ(px->Get(r, c), want[r * 256 + c]) << r << "," << c;
}

TEST_F(GrayRegionTest, RegionsPaintedWithTheirMeanAndImagesPerRegion) {
  std::mt19937 gen(21);
  const int w = 25, h = 15;
  const TestImage t = RandomImage("byte", w, h, gen, true);
  Vobject a, b, both;
  ASSERT_EQ(gen_rectangle1(&a, 1, 1, 8, 10), VRESULT_OK);
  ASSERT_EQ(gen_circle(&b, 9, 12, 5), VRESULT_OK);  // overlaps a
  ASSERT_EQ(concat_obj(a, b, &both), VRESULT_OK);
  Vobject painted;
  ASSERT_EQ(region_to_mean(both, t.image, &painted), VRESULT_OK);
  double mean_a, mean_b, dev;
  ASSERT_EQ(intensity(a, t.image, &mean_a, &dev), VRESULT_OK);
  ASSERT_EQ(intensity(b, t.image, &mean_b, &dev), VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(painted);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      Vlong in_a, in_b;
      ASSERT_EQ(test_region_point(a, r, c, &in_a), VRESULT_OK);
      ASSERT_EQ(test_region_point(b, r, c, &in_b), VRESULT_OK);
      // The later region wins where they overlap; its mean is that of the
      // input, not of the painted copy.
      const double want = in_b ? std::round(mean_b) : in_a ? std::round(mean_a) : t.At(r, c);
      ASSERT_EQ(px->Get(r, c), want) << r << "," << c;
    }

  // One image per region, domain reduced to it, pixels shared.
  Vobject per_region;
  ASSERT_EQ(add_channels(both, t.image, &per_region), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(per_region, &n), VRESULT_OK);
  ASSERT_EQ(n, 2);
  Vobject second, domain;
  ASSERT_EQ(select_obj(per_region, &second, 2), VRESULT_OK);
  ASSERT_EQ(get_domain(second, &domain), VRESULT_OK);
  Vlong equal;
  ASSERT_EQ(test_equal_region(domain, b, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  EXPECT_EQ(Pixels(second), Pixels(t.image));
}

TEST_F(GrayRegionTest, PointSelectionsGiveTheRegionsHoldingThePoint) {
  Vobject a, b, c, all;
  ASSERT_EQ(gen_rectangle1(&a, 0, 0, 10, 10), VRESULT_OK);
  ASSERT_EQ(gen_circle(&b, 20, 20, 3), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&c, 5, 5, 25, 25), VRESULT_OK);
  ASSERT_EQ(concat_obj(a, b, &all), VRESULT_OK);
  ASSERT_EQ(concat_obj(all, c, &all), VRESULT_OK);
  VTuple index;
  ASSERT_EQ(get_region_index(all, 7, 7, &index), VRESULT_OK);
  EXPECT_EQ(index.Num(), 2);
  EXPECT_EQ(index[0].L(), 1);
  EXPECT_EQ(index[1].L(), 3);
  ASSERT_EQ(get_region_index(all, 40, 40, &index), VRESULT_OK);
  EXPECT_EQ(index.Num(), 0);
  Vobject picked;
  ASSERT_EQ(select_region_point(all, &picked, 20, 20), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(picked, &n), VRESULT_OK);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(select_region_point(all, &picked, 1 << 22, 0), VERR_CTRL_VALUE(0));
}

// Components and holes of a pixel mask by flood fill: 8-connected
// components of the set pixels, and the 4-connected pieces of the rest that
// do not reach the border of the w x h window (the window has a clear
// border).
std::pair<int, int> ComponentsAndHoles(const std::vector<uint8_t>& set, int w, int h) {
  const auto count = [&](bool value, bool eight, bool skip_border) {
    std::vector<uint8_t> seen(set.size(), 0);
    int n = 0;
    for (int start = 0; start < w * h; ++start) {
      if (seen[start] || (set[start] != 0) != value) continue;
      bool border = false;
      std::vector<int> stack{start};
      seen[start] = 1;
      while (!stack.empty()) {
        const int k = stack.back();
        stack.pop_back();
        const int r = k / w, c = k % w;
        border |= r == 0 || c == 0 || r == h - 1 || c == w - 1;
        for (int dr = -1; dr <= 1; ++dr)
          for (int dc = -1; dc <= 1; ++dc) {
            if ((dr == 0 && dc == 0) || (!eight && dr != 0 && dc != 0)) continue;
            const int nr = r + dr, nc = c + dc;
            if (nr < 0 || nc < 0 || nr >= h || nc >= w) continue;
            const int q = nr * w + nc;
            if (!seen[q] && (set[q] != 0) == value) seen[q] = 1, stack.push_back(q);
          }
      }
      n += !(skip_border && border);
    }
    return n;
  };
  return {count(true, true, false), count(false, false, true)};
}

// Rings, discs and squares of several gray values in a region that leaves
// the window's border out; the histograms of the number of components and
// of holes at every threshold against flood fills, a mean feature against
// threshold + connection + convexity, and the component of one point.
TEST_F(GrayRegionTest, ShapeHistogramsFollowTheThresholdedComponents) {
  const int w = 64, h = 50;
  const auto gray = [](int r, int c) {
    const int d1 = (r - 16) * (r - 16) + (c - 16) * (c - 16);
    const int d2 = (r - 16) * (r - 16) + (c - 44) * (c - 44);
    if (d1 <= 144 && d1 >= 36) return 150;
    if (d2 <= 25) return 200;
    if (r >= 32 && r < 42 && c >= 8 && c < 30) return c < 19 ? 100 : 120;
    return 10 + (r + c) % 3;
  };
  const Vobject image = FunctionImage("byte", w, h, gray);
  std::vector<uint8_t> inside(static_cast<size_t>(w) * h, 0);
  for (int r = 1; r < h - 1; ++r)
    for (int c = 1; c < w - 1; ++c) inside[static_cast<size_t>(r) * w + c] = 1;
  const Vobject region = RegionOf(inside, w, h);
  VTuple absolute, relative, holes, rel_holes, convexity, rel_convexity;
  ASSERT_EQ(shape_histo_all(region, image, "connected_components", &absolute, &relative), VRESULT_OK);
  ASSERT_EQ(shape_histo_all(region, image, "holes", &holes, &rel_holes), VRESULT_OK);
  ASSERT_EQ(shape_histo_all(region, image, "convexity", &convexity, &rel_convexity), VRESULT_OK);
  ASSERT_EQ(absolute.Num(), 256);
  double sum = 0;
  for (int g = 0; g < 256; ++g) {
    std::vector<uint8_t> set(inside.size(), 0);
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) set[static_cast<size_t>(r) * w + c] = inside[static_cast<size_t>(r) * w + c] && gray(r, c) >= g;
    const auto [components, hole_count] = ComponentsAndHoles(set, w, h);
    ASSERT_EQ(absolute[g].D(), components) << "g " << g;
    ASSERT_EQ(holes[g].D(), hole_count) << "g " << g;
    sum += components;
  }
  EXPECT_NEAR(relative[120].D(), absolute[120].D() / sum, 1e-12);
  for (int g : {11, 101, 121, 151}) {
    Vobject reduced, selected, parts;
    VTuple values;
    ASSERT_EQ(reduce_domain(image, region, &reduced), VRESULT_OK);
    ASSERT_EQ(threshold(reduced, &selected, g, 255), VRESULT_OK);
    ASSERT_EQ(connection(selected, &parts), VRESULT_OK);
    ASSERT_EQ(Vexa::convexity(parts, &values), VRESULT_OK);
    double mean = 0;
    for (Vlong k = 0; k < values.Num(); ++k) mean += values[k].D() / values.Num();
    EXPECT_NEAR(convexity[g].D(), mean, 1e-12) << "g " << g;
  }

  // A pixel of the ring: the whole region up to 12 (the background goes
  // up to 12), the ring with its hole up to 150, nothing above.
  VTuple point, rel_point;
  ASSERT_EQ(shape_histo_point(region, image, "holes", 16, 26, &point, &rel_point), VRESULT_OK);
  EXPECT_EQ(point[0].D(), 0);
  EXPECT_EQ(point[13].D(), 1);
  EXPECT_EQ(point[150].D(), 1);
  EXPECT_EQ(point[151].D(), 0);
  ASSERT_EQ(shape_histo_point(region, image, "connected_components", 0, 0, &point, &rel_point),
            VRESULT_OK);
  EXPECT_EQ(point[0].D(), 0);  // (0, 0) lies outside the region
  EXPECT_EQ(rel_point[0].D(), 0);

  EXPECT_EQ(shape_histo_all(region, image, "area", &absolute, &relative), VERR_CTRL_VALUE(0));
  EXPECT_EQ(shape_histo_all(region, FunctionImage("real", w, h, gray), "holes", &absolute, &relative),
            VERR_PIXEL_TYPE);
}

}  // namespace
