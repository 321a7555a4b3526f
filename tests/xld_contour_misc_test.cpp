// Contours from NURBS curves, distances to ellipses, regression lines and
// contours along skeletons, each against a closed form or a hand count.
#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldContourMisc : public xld_test::XldTest {};

Vlong Count(const Vobject& objects) {
  Vlong n = -1;
  EXPECT_EQ(count_obj(objects, &n), VRESULT_OK);
  return n;
}

void Points(const Vobject& contour, std::vector<double>* rows, std::vector<double>* cols) {
  VTuple r, c;
  ASSERT_EQ(get_contour_xld(contour, &r, &c), VRESULT_OK);
  *rows = Values(r);
  *cols = Values(c);
}

Vobject Contour(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

// ---- NURBS ----------------------------------------------------------------

TEST_F(XldContourMisc, RationalQuadraticNurbsIsAnExactCircle) {
  // The nine-point form of the unit circle: corners of the square with
  // weight sqrt(2)/2, double knots at the quarters.
  const double w = std::sqrt(0.5);
  const VTuple rows = Tuple({0, 1, 1, 1, 0, -1, -1, -1, 0});
  const VTuple cols = Tuple({1, 1, 0, -1, -1, -1, 0, 1, 1});
  const VTuple knots = Tuple({0, 0, 0, 0.25, 0.25, 0.5, 0.5, 0.75, 0.75, 1, 1, 1});
  const VTuple weights = Tuple({1, w, 1, w, 1, w, 1, w, 1});
  Vobject c;
  ASSERT_EQ(gen_contour_nurbs_xld(&c, rows, cols, knots, weights, VTuple(Vlong{2}), VTuple(1e-4),
                                  VTuple("auto")),
            VRESULT_OK);
  std::vector<double> r, k;
  Points(c, &r, &k);
  ASSERT_GT(r.size(), 40u);
  // Points are single precision: on the circle up to their rounding.
  for (size_t i = 0; i < r.size(); ++i) EXPECT_NEAR(std::hypot(r[i], k[i]), 1.0, 1.2e-7) << i;
  EXPECT_EQ(r.front(), r.back());
  EXPECT_EQ(k.front(), k.back());
  // No chord leaves the arc by more than max_error.
  for (size_t i = 1; i < r.size(); ++i) {
    const double chord = std::hypot(r[i] - r[i - 1], k[i] - k[i - 1]);
    EXPECT_LE(1 - std::sqrt(1 - chord * chord / 4), 1e-4 + 1e-7);
  }
  // Every quarter (a knot span) starts at a contour point.
  for (const auto& q : std::vector<std::pair<double, double>>{{1, 0}, {0, -1}, {-1, 0}}) {
    bool found = false;
    for (size_t i = 0; i < r.size(); ++i) found |= std::hypot(r[i] - q.first, k[i] - q.second) < 1e-6;
    EXPECT_TRUE(found) << q.first << " " << q.second;
  }
}

TEST_F(XldContourMisc, NurbsWithAutomaticKnotsFollowsBezierAndPolyline) {
  // Four control points, degree 3, clamped uniform knots: a cubic Bezier.
  const std::vector<double> pr{0, 40, -20, 10}, pc{0, 10, 30, 50};
  Vobject c;
  ASSERT_EQ(gen_contour_nurbs_xld(&c, Tuple(pr), Tuple(pc), VTuple("auto"), VTuple("auto"),
                                  VTuple(Vlong{3}), VTuple(0.01), VTuple(2.0)),
            VRESULT_OK);
  std::vector<double> r, k;
  Points(c, &r, &k);
  EXPECT_EQ(r.front(), 0);
  EXPECT_EQ(k.back(), 50);
  const auto bezier = [&](double t, const std::vector<double>& v) {
    const double s = 1 - t;
    return s * s * s * v[0] + 3 * s * s * t * v[1] + 3 * s * t * t * v[2] + t * t * t * v[3];
  };
  for (size_t i = 0; i < r.size(); ++i) {
    double best = INFINITY;
    for (int j = 0; j <= 100000; ++j) {
      const double t = j / 100000.0;
      best = std::min(best, std::hypot(bezier(t, pr) - r[i], bezier(t, pc) - k[i]));
    }
    EXPECT_LT(best, 2e-3) << i;
    if (i > 0) {
      EXPECT_LE(std::hypot(r[i] - r[i - 1], k[i] - k[i - 1]), 2.0 + 1e-6);
    }
  }

  // Degree 1 is the control polygon itself, corners included.
  ASSERT_EQ(gen_contour_nurbs_xld(&c, Tuple({0, 0, 10}), Tuple({0, 10, 10}), VTuple("auto"),
                                  VTuple(3.0), VTuple(Vlong{1}), VTuple("auto"), VTuple("auto")),
            VRESULT_OK);
  Points(c, &r, &k);
  EXPECT_EQ(r, std::vector<double>({0, 0, 10}));
  EXPECT_EQ(k, std::vector<double>({0, 10, 10}));
}

TEST_F(XldContourMisc, NurbsParametersAreChecked) {
  Vobject c;
  const VTuple a("auto");
  const VTuple rows = Tuple({0, 1, 2, 3}), cols = Tuple({0, 1, 0, 1});
  const auto call = [&](const VTuple& r, const VTuple& knots, const VTuple& weights,
                        const VTuple& degree, const VTuple& max_error) {
    return gen_contour_nurbs_xld(&c, r, cols, knots, weights, degree, max_error, a);
  };
  EXPECT_EQ(call(Tuple({0, 1, 2}), a, a, VTuple(Vlong{2}), a), VERR_CTRL_NUM(1));
  EXPECT_EQ(call(rows, a, a, VTuple(Vlong{4}), a), VERR_CTRL_NUM(0));
  EXPECT_EQ(call(rows, a, a, VTuple(Vlong{0}), a), VERR_CTRL_VALUE(4));
  EXPECT_EQ(call(rows, Tuple({0, 0, 0, 0.6, 0.5, 1, 1, 1}), a, VTuple(Vlong{3}), a), VERR_CTRL_VALUE(2));
  EXPECT_EQ(call(rows, Tuple({0, 0, 0, 1, 1, 1}), a, VTuple(Vlong{3}), a), VERR_CTRL_NUM(2));
  EXPECT_EQ(call(rows, a, Tuple({1, 1, -1, 1}), VTuple(Vlong{3}), a), VERR_CTRL_VALUE(3));
  EXPECT_EQ(call(rows, a, Tuple({1, 1}), VTuple(Vlong{3}), a), VERR_CTRL_NUM(3));
  EXPECT_EQ(call(rows, a, a, VTuple(Vlong{3}), VTuple(0.0)), VERR_CTRL_VALUE(5));
}

// ---- Distances to an ellipse ---------------------------------------------

TEST_F(XldContourMisc, EllipseDistancesOfOffsetPointsAreTheirOffsets) {
  // Points moved along the normal of an ellipse by known offsets, inside
  // by less than the least radius of curvature (b^2 / a = 10): their
  // geometric distance is the offset.
  const double row = 100, col = 120, phi = 0.3, a = 40, b = 20;
  std::vector<double> rows, cols, offsets;
  for (int i = 0; i < 200; ++i) {
    const double t = 2 * M_PI * i / 200;
    const double off = 4 * std::sin(3 * t) + 1;  // -3 .. 5
    const double u = a * std::cos(t), v = b * std::sin(t);
    const double nu = b * std::cos(t), nv = a * std::sin(t), nn = std::hypot(nu, nv);
    const double pu = u + off * nu / nn, pv = v + off * nv / nn;
    // u along (-sin phi, cos phi) in (row, col), v along (-cos phi, -sin phi).
    rows.push_back(row - pu * std::sin(phi) - pv * std::cos(phi));
    cols.push_back(col + pu * std::cos(phi) - pv * std::sin(phi));
    offsets.push_back(std::fabs(off));
  }
  double mean = 0, sq = 0;
  for (double d : offsets) mean += d / offsets.size(), sq += d * d / offsets.size();
  const double sigma = std::sqrt(sq - mean * mean);
  double lo, hi, avg, sd;
  const Vobject c = Contour(rows, cols);
  ASSERT_EQ(dist_ellipse_contour_xld(c, "geometric", -1, 0, row, col, phi, a, b, &lo, &hi, &avg, &sd),
            VRESULT_OK);
  EXPECT_NEAR(lo, *std::min_element(offsets.begin(), offsets.end()), 1e-4);
  EXPECT_NEAR(hi, *std::max_element(offsets.begin(), offsets.end()), 1e-4);
  EXPECT_NEAR(avg, mean, 1e-4);
  EXPECT_NEAR(sd, sigma, 1e-4);
  // The same ellipse with its axes named the other way round.
  double lo2, hi2, avg2, sd2;
  ASSERT_EQ(dist_ellipse_contour_xld(c, "geometric", -1, 0, row, col, phi + M_PI / 2, b, a, &lo2,
                                     &hi2, &avg2, &sd2),
            VRESULT_OK);
  EXPECT_NEAR(avg2, avg, 1e-9);
  EXPECT_NEAR(hi2, hi, 1e-9);

  // Algebraic on a circle: |rho^2 - R^2| / (2 rho); the end points of
  // the open contour are clipped away.
  const Vobject ring = Contour({0, 0, 12, 0, 0}, {100, 8, 0, -15, 200});
  ASSERT_EQ(dist_ellipse_contour_xld(ring, "algebraic", -1, 1, 0.0, 0.0, 0.0, 10.0, 10.0, &lo, &hi,
                                     &avg, &sd),
            VRESULT_OK);
  EXPECT_NEAR(lo, (144 - 100) / 24.0, 1e-6);
  EXPECT_NEAR(hi, (225 - 100) / 30.0, 1e-6);
}

TEST_F(XldContourMisc, EllipseDistanceParametersAreChecked) {
  const Vobject c = Contour({0, 1, 2}, {0, 1, 2});
  double d[4];
  const auto call = [&](const char* mode, Vlong n, Vlong clip, double r1, double r2) {
    return dist_ellipse_contour_xld(c, mode, n, clip, 0.0, 0.0, 0.0, r1, r2, &d[0], &d[1], &d[2], &d[3]);
  };
  EXPECT_EQ(call("fast", -1, 0, 5, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(call("geometric", 2, 0, 5, 3), VERR_CTRL_VALUE(1));
  EXPECT_EQ(call("geometric", -1, -1, 5, 3), VERR_CTRL_VALUE(2));
  EXPECT_EQ(call("geometric", -1, 0, 0, 3), VERR_CTRL_VALUE(6));
  EXPECT_EQ(call("geometric", -1, 0, 5, -3), VERR_CTRL_VALUE(7));
  EXPECT_EQ(call("geometric", -1, 2, 5, 3), VERR_EMPTY_OBJECT);
}

// ---- Regression lines -----------------------------------------------------

TEST_F(XldContourMisc, RobustRegressionIgnoresAnOutlierAndKeepsItsResult) {
  // Points on r = 0.5 c + 3, one far off.
  std::vector<double> rows, cols;
  for (int i = 0; i <= 20; ++i) rows.push_back(0.5 * i + 3), cols.push_back(i);
  rows[10] += 15;
  const Vobject c = Contour(rows, cols);
  // The line's unit normal, a quarter clockwise from the direction
  // (0.5, 1) / |(0.5, 1)|, and its distance.
  const double n = std::hypot(0.5, 1.0), nr = 1 / n, nc = -0.5 / n, dist = 3 * nr;
  for (const char* mode : {"drop", "gauss", "median"}) {
    Vobject reg;
    ASSERT_EQ(regress_contours_xld(c, &reg, mode, 10), VRESULT_OK);
    VTuple len, nx, ny, dd, fx, fy, lx, ly, mean, dev;
    ASSERT_EQ(get_regress_params_xld(reg, &len, &nx, &ny, &dd, &fx, &fy, &lx, &ly, &mean, &dev),
              VRESULT_OK);
    EXPECT_NEAR(nx[0].D(), nr, 1e-4) << mode;
    EXPECT_NEAR(ny[0].D(), nc, 1e-4) << mode;
    EXPECT_NEAR(dd[0].D(), dist, 1e-3) << mode;
    EXPECT_NEAR(fx[0].D(), 3, 1e-3) << mode;
    EXPECT_NEAR(ly[0].D(), 20, 1e-3) << mode;
    EXPECT_NEAR(mean[0].D(), 15 * nr / 21, 1e-3) << mode;
    VTuple d;
    ASSERT_EQ(get_contour_attrib_xld(reg, "distance", &d), VRESULT_OK);
    EXPECT_NEAR(d[10].D(), 15 * nr, 1e-3) << mode;
    EXPECT_NEAR(d[3].D(), 0, 1e-3) << mode;
  }
  // Plain least squares is pulled towards the outlier; a contour that was
  // never regressed reports the same line.
  Vobject plain;
  ASSERT_EQ(regress_contours_xld(c, &plain, "no", 10), VRESULT_OK);
  VTuple p[10], q[10];
  ASSERT_EQ(get_regress_params_xld(plain, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7],
                                   &p[8], &p[9]),
            VRESULT_OK);
  ASSERT_EQ(get_regress_params_xld(c, &q[0], &q[1], &q[2], &q[3], &q[4], &q[5], &q[6], &q[7], &q[8],
                                   &q[9]),
            VRESULT_OK);
  EXPECT_GT(std::fabs(p[3][0].D() - dist), 0.1);
  for (int k = 0; k < 10; ++k) EXPECT_NEAR(p[k][0].D(), q[k][0].D(), 1e-12) << k;
  double length = 0;
  for (size_t i = 1; i < rows.size(); ++i)
    length += std::hypot(rows[i] - rows[i - 1], cols[i] - cols[i - 1]);
  EXPECT_NEAR(p[0][0].D(), length, 1e-4);
}

TEST_F(XldContourMisc, RegressionParametersAreChecked) {
  const Vobject c = Contour({0, 1, 2}, {0, 1, 3});
  Vobject out;
  EXPECT_EQ(regress_contours_xld(c, &out, "huber", 1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(regress_contours_xld(c, &out, "drop", -1), VERR_CTRL_VALUE(1));
  EXPECT_EQ(regress_contours_xld(Contour({1}, {1}), &out, "no", 0), VERR_EMPTY_OBJECT);
}

// ---- Skeleton contours ----------------------------------------------------

Vobject PixelRegion(const std::vector<std::pair<int, int>>& pixels) {
  VTuple rows, cols;
  for (size_t i = 0; i < pixels.size(); ++i) {
    rows[static_cast<Vlong>(i)] = Vlong{pixels[i].first};
    cols[static_cast<Vlong>(i)] = Vlong{pixels[i].second};
  }
  Vobject region;
  EXPECT_EQ(gen_region_points(&region, rows, cols), VRESULT_OK);
  return region;
}

// Sorted point counts of the contours.
std::vector<size_t> Lengths(const Vobject& contours) {
  std::vector<size_t> out;
  for (Vlong i = 1; i <= Count(contours); ++i) {
    Vobject one;
    EXPECT_EQ(select_obj(contours, &one, i), VRESULT_OK);
    std::vector<double> r, c;
    Points(one, &r, &c);
    out.push_back(r.size());
  }
  std::sort(out.begin(), out.end());
  return out;
}

// A line along row 50 (columns 0..30) with a branch up from column 15
// that ends in a fork of two short spurs.
Vobject Fork() {
  std::vector<std::pair<int, int>> p;
  for (int c = 0; c <= 30; ++c) p.push_back({50, c});
  for (int r = 47; r <= 49; ++r) p.push_back({r, 15});
  for (const auto& q : {std::make_pair(46, 14), std::make_pair(45, 13), std::make_pair(46, 16),
                        std::make_pair(45, 17)})
    p.push_back(q);
  return PixelRegion(p);
}

TEST_F(XldContourMisc, SkeletonBranchesSplitAtJunctionsAndShortSpursGo) {
  Vobject c;
  // Branches: two halves of the line (16 points each, sharing the
  // junction), the stem of 4 and two spurs of 3.
  ASSERT_EQ(gen_contours_skeleton_xld(Fork(), &c, 0, "filter"), VRESULT_OK);
  EXPECT_EQ(Lengths(c), std::vector<size_t>({3, 3, 4, 16, 16}));
  ASSERT_EQ(gen_contours_skeleton_xld(Fork(), &c, 5, "filter"), VRESULT_OK);
  EXPECT_EQ(Lengths(c), std::vector<size_t>({16, 16}));
  // generalize1 drops the two spurs once; the stem stays.
  ASSERT_EQ(gen_contours_skeleton_xld(Fork(), &c, 5, "generalize1"), VRESULT_OK);
  EXPECT_EQ(Lengths(c), std::vector<size_t>({4, 16, 16}));
  // generalize2 then drops the stem, which became a spur, and the line is
  // joined into one contour.
  ASSERT_EQ(gen_contours_skeleton_xld(Fork(), &c, 5, "generalize2"), VRESULT_OK);
  ASSERT_EQ(Lengths(c), std::vector<size_t>({31}));
  std::vector<double> r, k;
  Points(c, &r, &k);
  for (size_t i = 1; i < k.size(); ++i) EXPECT_EQ(std::fabs(k[i] - k[i - 1]), 1.0);

  // A staircase is one path, not triangles; a ring is one closed contour.
  ASSERT_EQ(gen_contours_skeleton_xld(PixelRegion({{0, 0}, {0, 1}, {1, 1}, {1, 2}, {2, 2}}), &c, 0,
                                      "filter"),
            VRESULT_OK);
  ASSERT_EQ(Count(c), 1);
  Points(c, &r, &k);
  EXPECT_EQ(r.size(), 5u);
  EXPECT_EQ(std::fabs(r.front() - r.back()) + std::fabs(k.front() - k.back()), 4.0);
  std::vector<std::pair<int, int>> ring;
  for (int col = 30; col <= 40; ++col) ring.push_back({30, col}), ring.push_back({35, col});
  for (int row = 31; row <= 34; ++row) ring.push_back({row, 30}), ring.push_back({row, 40});
  ASSERT_EQ(gen_contours_skeleton_xld(PixelRegion(ring), &c, 0, "generalize1"), VRESULT_OK);
  ASSERT_EQ(Count(c), 1);
  Points(c, &r, &k);
  EXPECT_EQ(r.size(), ring.size() + 1);
  EXPECT_EQ(r.front(), r.back());
  EXPECT_EQ(k.front(), k.back());
}

TEST_F(XldContourMisc, SkeletonParametersAreChecked) {
  Vobject c;
  EXPECT_EQ(gen_contours_skeleton_xld(Fork(), &c, -1, "filter"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_contours_skeleton_xld(Fork(), &c, 1, "prune"), VERR_CTRL_VALUE(1));
  Vobject two;
  ASSERT_EQ(concat_obj(Fork(), Fork(), &two), VRESULT_OK);
  EXPECT_EQ(gen_contours_skeleton_xld(two, &c, 1, "filter"), VERR_OBJ_NUM(1));
  EXPECT_EQ(gen_contours_skeleton_xld(Contour({0, 1}, {0, 1}), &c, 1, "filter"), VERR_OBJ_CLASS(1));
}

}  // namespace
