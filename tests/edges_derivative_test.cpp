// Gaussian derivatives, Canny-type edges, non-maximum suppression and
// corners: against analytic values on polynomial images (where the
// Gaussian derivative equals the true one), against per-pixel loops, and
// on synthetic shapes whose edges and corners are known.
#include <cmath>
#include <cstring>
#include <string>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class Derivatives : public LeakCheckedTest {};

TEST_F(Derivatives, GaussianDerivativesOfAQuadraticAreExactAwayFromTheBorder) {
  std::mt19937 gen(21);
  const int w = 40, h = 36;
  // f = 0.5 x^2 - 0.25 y^2 + 0.3 x y + 2 x - y, x the column, y the row.
  auto f = [](int r, int c) { return 0.5 * c * c - 0.25 * r * r + 0.3 * c * r + 2 * c - r; };
  const TestImage in = FunctionImage(w, h, RandomMask(w, h, gen, false), f);
  const double sigma = 1.5;
  const int margin = 7;  // the masks' reach: no mirrored pixel involved
  struct Case {
    const char* name;
    std::function<double(double, double)> value;  // of (x, y)
  } cases[] = {
      {"x", [](double x, double y) { return x + 0.3 * y + 2; }},
      {"y", [](double x, double y) { return -0.5 * y + 0.3 * x - 1; }},
      {"xx", [](double, double) { return 1.0; }},
      {"yy", [](double, double) { return -0.5; }},
      {"xy", [](double, double) { return 0.3; }},
      {"laplace", [](double, double) { return 0.5; }},
      {"det", [](double, double) { return -0.5 - 0.09; }},
      {"gradient", [](double x, double y) { return std::hypot(x + 0.3 * y + 2, -0.5 * y + 0.3 * x - 1); }},
      {"eigenvalue1", [](double, double) { return 0.25 + std::sqrt(0.75 * 0.75 + 0.09); }},
      {"xxx", [](double, double) { return 0.0; }},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    Vobject out;
    ASSERT_EQ(derivate_gauss(in.image, &out, sigma, k.name), VRESULT_OK);
    const vexa::PixelBuffer* px = Pixels(out);
    for (int r = margin; r < h - margin; ++r)
      for (int c = margin; c < w - margin; ++c)
        if (in.In(r, c)) {
          const double want = k.value(c, r);
          ASSERT_NEAR(px->Get(r, c), want, 0.01 * std::max(1.0, std::fabs(want))) << r << "," << c;
        }
  }
  Vobject log;
  ASSERT_EQ(laplace_of_gauss(in.image, &log, sigma), VRESULT_OK);
  for (int r = margin; r < h - margin; ++r)
    for (int c = margin; c < w - margin; ++c)
      if (in.In(r, c)) ASSERT_NEAR(Pixels(log)->Get(r, c), 0.5, 0.01) << r << "," << c;
}

TEST_F(Derivatives, EveryComponentAndFilterRunsOnEveryType) {
  std::mt19937 gen(22);
  const char* components[] = {"none", "x", "y", "gradient", "gradient_dir", "xx", "yy", "xy",
                              "xxx", "yyy", "xxy", "xyy", "det", "laplace", "mean_curvature",
                              "gauss_curvature", "area", "eigenvalue1", "eigenvalue2", "main1",
                              "main2", "kitchen_rosenfeld", "zuniga_haralick", "2nd_ddg",
                              "de_saint_venant"};
  const char* filters[] = {"canny", "deriche1", "deriche2", "shen", "mshen", "lanser1",
                           "lanser2", "mderiche1", "mderiche2", "sobel_fast"};
  for (const char* type : {"byte", "int2", "real"}) {
    const TestImage in = RandomImage(type, 12, 9, gen);
    for (const char* comp : components) {
      Vobject out;
      EXPECT_EQ(derivate_gauss(in.image, &out, 1.0, comp), VRESULT_OK) << comp;
    }
    for (const char* filter : filters)
      for (const char* nms : {"nms", "inms", "hvnms", "none"}) {
        Vobject amp, dir;
        EXPECT_EQ(edges_image(in.image, &amp, &dir, filter, 0.5, nms, Vlong{5}, Vlong{10}),
                  VRESULT_OK)
            << filter << " " << nms;
      }
  }
}

TEST_F(Derivatives, CannyEdgesOfADiscLieOnItsBoundary) {
  const int w = 64, h = 60;
  const double cr = 29.5, cc = 31.0, radius = 18;
  auto inside = [&](int r, int c) { return std::hypot(r - cr, c - cc) <= radius; };
  const TestImage in = FunctionImage(w, h, std::vector<uint8_t>(w * h, 1),
                                     [&](int r, int c) { return inside(r, c) ? 200.0 : 40.0; });
  for (const char* nms : {"nms", "inms"}) {
    Vobject amp, dir;
    ASSERT_EQ(edges_image(in.image, &amp, &dir, "canny", 1.5, nms, Vlong{10}, Vlong{20}),
              VRESULT_OK);
    const vexa::PixelBuffer* a = Pixels(amp);
    const vexa::PixelBuffer* d = Pixels(dir);
    int edges = 0;
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        if (a->Get(r, c) == 0) {
          EXPECT_EQ(d->Get(r, c), 255.0);
          continue;
        }
        ++edges;
        EXPECT_NEAR(std::hypot(r - cr, c - cc), radius, 1.5) << nms << " " << r << "," << c;
        // The gradient points inward, toward the bright disc.
        const double angle = d->Get(r, c) * 2 * M_PI / 180;
        const double toward_r = -std::sin(angle), toward_c = std::cos(angle);
        EXPECT_LT(toward_r * (r - cr) + toward_c * (c - cc), 0) << r << "," << c;
      }
    // A closed, thin contour: about one pixel per unit of circumference.
    EXPECT_GT(edges, 2 * M_PI * radius * 0.7);
    EXPECT_LT(edges, 2 * M_PI * radius * 1.6);
  }
}

TEST_F(Derivatives, NonMaximumSuppressionKeepsOnlyLocalMaxima) {
  std::mt19937 gen(23);
  const TestImage in = RandomImage("int2", 18, 14, gen);
  auto not_below = [&](int r, int c, int dr, int dc) {
    return in.At(r, c) >= At(in, r + dr, c + dc);
  };
  Vobject out;
  ASSERT_EQ(nonmax_suppression_amp(in.image, &out, "loc_max"), VRESULT_OK);
  ExpectFiltered(out, in, "int2", 0, [&](int r, int c) {
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc)
        if (!not_below(r, c, dr, dc)) return 0.0;
    return in.At(r, c);
  });
  ASSERT_EQ(nonmax_suppression_amp(in.image, &out, "hvnms"), VRESULT_OK);
  ExpectFiltered(out, in, "int2", 0, [&](int r, int c) {
    const bool h = not_below(r, c, 0, 1) && not_below(r, c, 0, -1);
    const bool v = not_below(r, c, 1, 0) && not_below(r, c, -1, 0);
    return h || v ? in.At(r, c) : 0.0;
  });
  // With a direction image of 0 degrees everywhere the suppression runs
  // along the rows.
  Vobject zero, dir;
  ASSERT_EQ(gen_image_const(&zero, "direction", Vlong{18}, Vlong{14}), VRESULT_OK);
  ASSERT_EQ(nonmax_suppression_dir(in.image, zero, &out, "nms"), VRESULT_OK);
  ExpectFiltered(out, in, "int2", 0, [&](int r, int c) {
    return not_below(r, c, 0, 1) && not_below(r, c, 0, -1) ? in.At(r, c) : 0.0;
  });
}

TEST_F(Derivatives, HarrisFindsTheCornersOfASquare) {
  const int w = 50, h = 50;
  const TestImage in = FunctionImage(w, h, std::vector<uint8_t>(w * h, 1), [](int r, int c) {
    return r >= 15 && r < 35 && c >= 12 && c < 32 ? 255.0 : 0.0;
  });
  VTuple rows, cols;
  ASSERT_EQ(points_harris(in.image, 1.0, 2.0, 0.04, 1000.0, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 4);
  const double corners[4][2] = {{14.5, 11.5}, {14.5, 31.5}, {34.5, 11.5}, {34.5, 31.5}};
  for (const auto& corner : corners) {
    bool found = false;
    for (Vlong i = 0; i < rows.Num(); ++i)
      found |= std::hypot(rows[i].D() - corner[0], cols[i].D() - corner[1]) < 2.0;
    EXPECT_TRUE(found) << corner[0] << "," << corner[1];
  }
  Vobject response;
  ASSERT_EQ(corner_response(in.image, &response, Vlong{5}, 0.04), VRESULT_OK);
  const vexa::PixelBuffer* px = Pixels(response);
  EXPECT_GT(px->Get(15, 12), 0.0);   // corner
  EXPECT_LT(px->Get(25, 12), 0.0);   // straight edge
  EXPECT_EQ(px->Get(25, 22), 0.0);   // flat inside
}

}  // namespace
