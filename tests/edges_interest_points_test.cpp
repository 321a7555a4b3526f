// Interest points on synthetic images whose points are known: the corners
// of a square (junctions), the centre of a round blob (an area point),
// each at sub-pixel precision, under domains that leave points out; and
// the binomial Harris detector on the same square.
#include <cmath>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class InterestPoints : public LeakCheckedTest {};

// A bright square over rows 15..34 and columns 12..31: its corners lie
// half a pixel outside the outermost pixels.
constexpr double kCorners[4][2] = {{14.5, 11.5}, {14.5, 31.5}, {34.5, 11.5}, {34.5, 31.5}};

TestImage Square(const std::vector<uint8_t>& domain) {
  return FunctionImage(50, 50, domain, [](int r, int c) {
    return r >= 15 && r < 35 && c >= 12 && c < 32 ? 200.0 : 20.0;
  });
}

// Index of the point within `radius` of (r, c), -1 if none.
Vlong Near(const VTuple& rows, const VTuple& cols, double r, double c, double radius) {
  for (Vlong i = 0; i < rows.Num(); ++i)
    if (std::hypot(rows[i].D() - r, cols[i].D() - c) < radius) return i;
  return -1;
}

struct Foerstner {
  VTuple rj, cj, rrj, rcj, ccj, ra, ca, rra, rca, cca;
  Vresult Run(const Vobject& image, double inhom, double shape, const char* smoothing,
              const char* doublets, double sigma_points = 3.0) {
    return points_foerstner(image, 1.0, 2.0, sigma_points, inhom, shape, smoothing, doublets,
                            &rj, &cj, &rrj, &rcj, &ccj, &ra, &ca, &rra, &rca, &cca);
  }
};

TEST_F(InterestPoints, FoerstnerJunctionsAreTheCornersOfASquare) {
  for (const char* smoothing : {"gauss", "mean"}) {
    SCOPED_TRACE(smoothing);
    const TestImage in = Square(std::vector<uint8_t>(2500, 1));
    Foerstner f;
    ASSERT_EQ(f.Run(in.image, 50.0, 0.3, smoothing, "true"), VRESULT_OK);
    ASSERT_EQ(f.rj.Num(), 4);
    // The blurred corner is round: its lines meet about 0.15 pixels inside.
    for (const auto& corner : kCorners) {
      const Vlong i = Near(f.rj, f.cj, corner[0], corner[1], 0.3);
      ASSERT_GE(i, 0) << corner[0] << "," << corner[1];
      // A covariance: positive variances, positive definite.
      EXPECT_GT(f.rrj[i].D(), 0.0);
      EXPECT_GT(f.ccj[i].D(), 0.0);
      EXPECT_GT(f.rrj[i].D() * f.ccj[i].D(), f.rcj[i].D() * f.rcj[i].D());
    }
    EXPECT_EQ(f.ra.Num(), f.rra.Num());
    EXPECT_EQ(f.rj.Num(), f.ccj.Num());
  }
}

TEST_F(InterestPoints, FoerstnerAreaPointIsTheCentreOfABlob) {
  const double r0 = 30.3, c0 = 40.7;
  const TestImage in = FunctionImage(80, 60, std::vector<uint8_t>(4800, 1), [&](int r, int c) {
    return 30 + 180 * std::exp(-(std::pow(r - r0, 2) + std::pow(c - c0, 2)) / (2 * 16.0));
  });
  Foerstner f;
  ASSERT_EQ(f.Run(in.image, 5.0, 0.5, "gauss", "true"), VRESULT_OK);
  ASSERT_EQ(f.ra.Num(), 1);
  EXPECT_NEAR(f.ra[0].D(), r0, 0.01);
  EXPECT_NEAR(f.ca[0].D(), c0, 0.01);
  EXPECT_EQ(Near(f.rj, f.cj, r0, c0, 3.0), -1);
}

TEST_F(InterestPoints, FoerstnerKeepsToTheDomainAndDropsDoublets) {
  // Without the top rows the upper corners are gone.
  std::vector<uint8_t> lower(2500, 0);
  for (int k = 25 * 50; k < 2500; ++k) lower[k] = 1;
  Foerstner f;
  ASSERT_EQ(f.Run(Square(lower).image, 50.0, 0.3, "gauss", "true"), VRESULT_OK);
  EXPECT_EQ(f.rj.Num(), 2);
  for (Vlong i = 0; i < f.rj.Num(); ++i) EXPECT_GT(f.rj[i].D(), 25.0);
  // Doublets: a wide blob has several candidates around its centre, all
  // placed on it; only the strongest stays.
  const TestImage blob = FunctionImage(80, 60, std::vector<uint8_t>(4800, 1), [](int r, int c) {
    return 30 + 180 * std::exp(-(std::pow(r - 30.5, 2) + std::pow(c - 40.7, 2)) / 72.0);
  });
  Foerstner all, single;
  ASSERT_EQ(all.Run(blob.image, 5.0, 0.5, "gauss", "false"), VRESULT_OK);
  ASSERT_EQ(single.Run(blob.image, 5.0, 0.5, "gauss", "true"), VRESULT_OK);
  EXPECT_GT(all.ra.Num(), 1);
  ASSERT_EQ(single.ra.Num(), 1);
  EXPECT_NEAR(single.ra[0].D(), 30.5, 0.01);
  EXPECT_NEAR(single.ca[0].D(), 40.7, 0.01);
  // An empty domain has no points.
  Foerstner none;
  ASSERT_EQ(none.Run(Square(std::vector<uint8_t>(2500, 0)).image, 50.0, 0.3, "gauss", "true"),
            VRESULT_OK);
  EXPECT_EQ(none.rj.Num() + none.ra.Num(), 0);
}

TEST_F(InterestPoints, FoerstnerRefusesBadParameters) {
  const TestImage in = Square(std::vector<uint8_t>(2500, 1));
  Foerstner f;
  EXPECT_EQ(f.Run(in.image, -1.0, 0.3, "gauss", "true"), VERR_CTRL_VALUE(3));
  EXPECT_EQ(f.Run(in.image, 1.0, 1.5, "gauss", "true"), VERR_CTRL_VALUE(4));
  EXPECT_EQ(f.Run(in.image, 1.0, 0.3, "median", "true"), VERR_CTRL_VALUE(5));
  EXPECT_EQ(f.Run(in.image, 1.0, 0.3, "gauss", "yes"), VERR_CTRL_VALUE(6));
}

TEST_F(InterestPoints, BinomialHarrisFindsTheSquaresCorners) {
  const TestImage in = Square(std::vector<uint8_t>(2500, 1));
  for (const char* subpix : {"on", "off"}) {
    SCOPED_TRACE(subpix);
    VTuple rows, cols;
    ASSERT_EQ(points_harris_binomial(in.image, Vlong{5}, Vlong{7}, 0.04, 1000.0, subpix, &rows,
                                     &cols),
              VRESULT_OK);
    ASSERT_EQ(rows.Num(), 4);
    // Harris peaks lie about a pixel inside the corner.
    for (const auto& corner : kCorners) EXPECT_GE(Near(rows, cols, corner[0], corner[1], 2.5), 0);
    if (std::string(subpix) == "off")
      for (Vlong i = 0; i < rows.Num(); ++i) {
        EXPECT_EQ(rows[i].D(), std::round(rows[i].D()));
        EXPECT_EQ(cols[i].D(), std::round(cols[i].D()));
      }
  }
  VTuple rows, cols;
  EXPECT_EQ(points_harris_binomial(in.image, Vlong{4}, Vlong{7}, 0.04, 1.0, "on", &rows, &cols),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(points_harris_binomial(in.image, Vlong{3}, Vlong{0}, 0.04, 1.0, "on", &rows, &cols),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(points_harris_binomial(in.image, Vlong{3}, Vlong{3}, 0.04, 1.0, "yes", &rows, &cols),
            VERR_CTRL_VALUE(4));
}

}  // namespace
