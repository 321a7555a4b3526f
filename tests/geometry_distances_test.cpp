// Distances, angles and positions of points, lines and segments: closed-form
// cases, random cases against sampled brute force, the angle convention
// checked against the region operators, broadcasting and bad input.
#include <cmath>
#include <random>

#include "geometry_test_support.h"

namespace {

using namespace Vexa;
using namespace geometry_test;

class GeometryDistances : public GeometryTest {};

struct P {
  double r, c;
};

double Dist(P a, P b) { return std::hypot(a.r - b.r, a.c - b.c); }

constexpr int kSteps = 1000;

// Points of the segment a-b at kSteps + 1 even steps.
std::vector<P> Samples(P a, P b) {
  std::vector<P> s;
  for (int i = 0; i <= kSteps; ++i)
    s.push_back({a.r + (b.r - a.r) * i / kSteps, a.c + (b.c - a.c) * i / kSteps});
  return s;
}

double BruteMin(const std::vector<P>& s, P q) {
  double best = INFINITY;
  for (const P& p : s) best = std::min(best, Dist(p, q));
  return best;
}

TEST_F(GeometryDistances, ClosedFormDistances) {
  double d = 0, lo = 0, hi = 0;
  ASSERT_EQ(distance_pp(1.0, 2.0, 4.0, 6.0, &d), VRESULT_OK);
  EXPECT_DOUBLE_EQ(d, 5);
  ASSERT_EQ(distance_pl(5.0, 3.0, 0.0, 0.0, 0.0, 10.0, &d), VRESULT_OK);
  EXPECT_DOUBLE_EQ(d, 5);
  // The line reaches beyond its two points.
  ASSERT_EQ(distance_pl(-4.0, 30.0, 0.0, 0.0, 3.0, 4.0, &d), VRESULT_OK);
  EXPECT_NEAR(d, std::fabs(3 * 30 - 4 * -4) / 5.0, 1e-12);
  // Foot inside the segment, then beyond its end.
  ASSERT_EQ(distance_ps(5.0, 3.0, 0.0, 0.0, 0.0, 10.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 5);
  EXPECT_DOUBLE_EQ(hi, std::hypot(5, 7));
  ASSERT_EQ(distance_ps(3.0, 14.0, 0.0, 0.0, 0.0, 10.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 5);
  EXPECT_DOUBLE_EQ(hi, std::hypot(3, 14));
  // A segment of length 0 is a point.
  ASSERT_EQ(distance_ps(3.0, 4.0, 0.0, 0.0, 0.0, 0.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 5);
  EXPECT_DOUBLE_EQ(hi, 5);
  // Segment crossing the line, then one beside it.
  ASSERT_EQ(distance_sl(-2.0, 1.0, 6.0, 1.0, 0.0, 0.0, 0.0, 5.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 0);
  EXPECT_DOUBLE_EQ(hi, 6);
  ASSERT_EQ(distance_sl(2.0, 1.0, 6.0, 9.0, 0.0, 0.0, 0.0, 5.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 2);
  EXPECT_DOUBLE_EQ(hi, 6);
  // Crossing segments; parallel ones offset along their length.
  ASSERT_EQ(distance_ss(0.0, 0.0, 4.0, 4.0, 0.0, 4.0, 4.0, 0.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, 0);
  EXPECT_NEAR(hi, std::sqrt(8.0), 1e-12);
  ASSERT_EQ(distance_ss(0.0, 0.0, 0.0, 4.0, 3.0, 6.0, 3.0, 10.0, &lo, &hi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(lo, std::hypot(3, 2));
  EXPECT_DOUBLE_EQ(hi, std::hypot(3, 6));
}

TEST_F(GeometryDistances, RandomSegmentsAgainstSampledBruteForce) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> coord(-20, 20);
  auto point = [&] { return P{coord(random), coord(random)}; };
  for (int round = 0; round < 60; ++round) {
    const P a = point(), b = point(), c = point(), d = point(), q = point();
    const std::vector<P> sa = Samples(a, b), sb = Samples(c, d);
    // The sample spacing bounds the error of the sampled minima.
    const double slack = (Dist(a, b) + Dist(c, d)) / kSteps + 1e-9;
    double lo = 0, hi = 0;
    ASSERT_EQ(distance_ps(q.r, q.c, a.r, a.c, b.r, b.c, &lo, &hi), VRESULT_OK);
    EXPECT_NEAR(lo, BruteMin(sa, q), slack);
    double far = 0;
    for (const P& p : sa) far = std::max(far, Dist(p, q));
    EXPECT_NEAR(hi, far, 1e-9);

    ASSERT_EQ(distance_ss(a.r, a.c, b.r, b.c, c.r, c.c, d.r, d.c, &lo, &hi), VRESULT_OK);
    double mn = INFINITY, haus = 0;
    for (const P& p : sa) mn = std::min(mn, BruteMin(sb, p)), haus = std::max(haus, BruteMin(sb, p));
    for (const P& p : sb) haus = std::max(haus, BruteMin(sa, p));
    EXPECT_NEAR(lo, mn, slack);
    EXPECT_NEAR(hi, haus, slack);

    // Distance to the line: |normal . (p - c)| over the samples.
    const double len = Dist(c, d);
    auto to_line = [&](P p) { return std::fabs((d.c - c.c) * (p.r - c.r) - (d.r - c.r) * (p.c - c.c)) / len; };
    ASSERT_EQ(distance_sl(a.r, a.c, b.r, b.c, c.r, c.c, d.r, d.c, &lo, &hi), VRESULT_OK);
    double lmin = INFINITY, lmax = 0;
    for (const P& p : sa) lmin = std::min(lmin, to_line(p)), lmax = std::max(lmax, to_line(p));
    EXPECT_NEAR(lo, lmin, slack);
    EXPECT_NEAR(hi, lmax, 1e-9);
    double pl = 0;
    ASSERT_EQ(distance_pl(q.r, q.c, c.r, c.c, d.r, d.c, &pl), VRESULT_OK);
    EXPECT_NEAR(pl, to_line(q), 1e-9);

    // The foot of q lies on the line, q - foot across it.
    double fr = 0, fc = 0;
    ASSERT_EQ(projection_pl(q.r, q.c, c.r, c.c, d.r, d.c, &fr, &fc), VRESULT_OK);
    EXPECT_NEAR(to_line({fr, fc}), 0, 1e-9);
    EXPECT_NEAR((q.r - fr) * (d.r - c.r) + (q.c - fc) * (d.c - c.c), 0, 1e-8);
  }
}

TEST_F(GeometryDistances, AnglesTurnCounterClockwiseWithRowsDownwards) {
  double a = 0;
  ASSERT_EQ(angle_lx(10.0, 10.0, 10.0, 20.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, 0);
  ASSERT_EQ(angle_lx(10.0, 10.0, 0.0, 10.0, &a), VRESULT_OK);  // upwards
  EXPECT_DOUBLE_EQ(a, kPi / 2);
  ASSERT_EQ(angle_lx(10.0, 10.0, 20.0, 10.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, -kPi / 2);
  ASSERT_EQ(angle_lx(10.0, 10.0, 10.0, 0.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi);
  ASSERT_EQ(angle_lx(0.0, 0.0, -1.0, 1.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi / 4);

  // From a (pointing left) to b (pointing slightly below right): the turn
  // wraps into (-pi, pi].
  ASSERT_EQ(angle_ll(0.0, 0.0, 0.0, -1.0, 0.0, 0.0, 1.0, 10.0, &a), VRESULT_OK);
  EXPECT_NEAR(a, std::atan2(-1.0, 10.0) + kPi, 1e-12);
  ASSERT_EQ(angle_ll(0.0, 0.0, 0.0, 1.0, 0.0, 0.0, -1.0, 0.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi / 2);
  ASSERT_EQ(angle_ll(0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, -1.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi);

  // Orientation folds direction into (-pi/2, pi/2].
  ASSERT_EQ(line_orientation(0.0, 0.0, 0.0, -5.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, 0);
  ASSERT_EQ(line_orientation(0.0, 0.0, 5.0, 0.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi / 2);
  ASSERT_EQ(line_orientation(0.0, 0.0, 3.0, -3.0, &a), VRESULT_OK);
  EXPECT_DOUBLE_EQ(a, kPi / 4);

  double rc = 0, cc = 0, len = 0, phi = 0;
  ASSERT_EQ(line_position(Vlong{2}, Vlong{1}, Vlong{8}, Vlong{9}, &rc, &cc, &len, &phi), VRESULT_OK);
  EXPECT_DOUBLE_EQ(rc, 5);
  EXPECT_DOUBLE_EQ(cc, 5);
  EXPECT_DOUBLE_EQ(len, 10);
  EXPECT_DOUBLE_EQ(phi, std::atan2(-6.0, 8.0));
}

// The orientation of a long digital line region is that of its end points.
TEST_F(GeometryDistances, OrientationAgreesWithTheRegionOperators) {
  const int ends[][4] = {{50, 10, 20, 90}, {10, 10, 90, 40}, {50, 50, 50, 120}, {10, 30, 90, 30}};
  for (const auto& e : ends) {
    Vobject line;
    ASSERT_EQ(gen_region_line(&line, Vlong{e[0]}, Vlong{e[1]}, Vlong{e[2]}, Vlong{e[3]}), VRESULT_OK);
    double r = 0, c = 0, region_phi = 0, len1 = 0, len2 = 0, phi = 0;
    ASSERT_EQ(smallest_rectangle2(line, &r, &c, &region_phi, &len1, &len2), VRESULT_OK);
    ASSERT_EQ(line_orientation(double(e[0]), double(e[1]), double(e[2]), double(e[3]), &phi), VRESULT_OK);
    EXPECT_NEAR(phi, region_phi, 0.03) << e[0] << " " << e[1];
  }
}

TEST_F(GeometryDistances, EllipsePointsLieOnTheEllipseAtTheirParameter) {
  double r = 0, c = 0;
  ASSERT_EQ(get_points_ellipse(0.0, 10.0, 20.0, 0.0, 5.0, 2.0, &r, &c), VRESULT_OK);
  EXPECT_DOUBLE_EQ(r, 10);
  EXPECT_DOUBLE_EQ(c, 25);
  ASSERT_EQ(get_points_ellipse(kPi / 2, 10.0, 20.0, 0.0, 5.0, 2.0, &r, &c), VRESULT_OK);
  EXPECT_NEAR(r, 8, 1e-12);
  EXPECT_NEAR(c, 20, 1e-12);
  ASSERT_EQ(get_points_ellipse(0.0, 10.0, 20.0, kPi / 2, 5.0, 2.0, &r, &c), VRESULT_OK);
  EXPECT_NEAR(r, 5, 1e-12);
  EXPECT_NEAR(c, 20, 1e-12);
  // Many angles of one ellipse: each point satisfies the ellipse equation
  // in the ellipse's frame and the parameter is its eccentric angle.
  const double phi = 0.7, ra = 9, rb = 4;
  std::vector<double> t;
  for (int i = 0; i < 24; ++i) t.push_back(-kPi + i * 0.3);
  VTuple rows, cols;
  ASSERT_EQ(get_points_ellipse(Tuple(t), 3.0, -4.0, phi, ra, rb, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 24);
  for (int i = 0; i < 24; ++i) {
    const double dr = rows[i].D() - 3, dc = cols[i].D() + 4;
    const double u = -dr * std::sin(phi) + dc * std::cos(phi);   // along phi
    const double v = -dr * std::cos(phi) - dc * std::sin(phi);   // a quarter turn on
    EXPECT_NEAR(u, ra * std::cos(t[i]), 1e-9);
    EXPECT_NEAR(v, rb * std::sin(t[i]), 1e-9);
  }
}

TEST_F(GeometryDistances, TuplesBroadcastOneValueAndRefuseOtherLengths) {
  VTuple d;
  ASSERT_EQ(distance_pp(Tuple({0, 3, 6}), Tuple({4, 0, 8}), 0.0, 0.0, &d), VRESULT_OK);
  EXPECT_EQ(Values(d), std::vector<double>({4, 3, 10}));
  ASSERT_EQ(distance_pp(VTuple(), VTuple(), VTuple(), VTuple(), &d), VRESULT_OK);
  EXPECT_EQ(d.Num(), 0);
  EXPECT_EQ(distance_pp(Tuple({0, 3, 6}), Tuple({4, 0}), 0.0, 0.0, &d), VERR_CTRL_NUM(1));
  EXPECT_EQ(distance_pp(Tuple({0, 3}), VTuple(), 0.0, 0.0, &d), VERR_CTRL_NUM(1));
  VTuple lo, hi;
  ASSERT_EQ(distance_ps(Tuple({0, 5}), 0.0, 0.0, Tuple({-1, -2}), 0.0, 1.0, &lo, &hi), VRESULT_OK);
  EXPECT_EQ(Values(lo), std::vector<double>({0, 5}));
}

TEST_F(GeometryDistances, BadInputGivesClearCodes) {
  double v = 0, w = 0;
  // A line of two equal points has no direction.
  EXPECT_EQ(distance_pl(1.0, 1.0, 2.0, 2.0, 2.0, 2.0, &v), VERR_CTRL_VALUE(4));
  EXPECT_EQ(distance_sl(0.0, 0.0, 1.0, 1.0, 2.0, 2.0, 2.0, 2.0, &v, &w), VERR_CTRL_VALUE(6));
  EXPECT_EQ(angle_lx(3.0, 3.0, 3.0, 3.0, &v), VERR_CTRL_VALUE(2));
  EXPECT_EQ(angle_ll(0.0, 0.0, 0.0, 1.0, 3.0, 3.0, 3.0, 3.0, &v), VERR_CTRL_VALUE(6));
  EXPECT_EQ(line_orientation(3.0, 3.0, 3.0, 3.0, &v), VERR_CTRL_VALUE(2));
  EXPECT_EQ(projection_pl(0.0, 0.0, 1.0, 1.0, 1.0, 1.0, &v, &w), VERR_CTRL_VALUE(4));
  EXPECT_EQ(get_points_ellipse(0.0, 0.0, 0.0, 0.0, -1.0, 1.0, &v, &w), VERR_CTRL_VALUE(4));
  EXPECT_EQ(distance_pp(NAN, 0.0, 0.0, 0.0, &v), VERR_CTRL_VALUE(0));
  EXPECT_EQ(distance_pp(0.0, INFINITY, 0.0, 0.0, &v), VERR_CTRL_VALUE(1));
  EXPECT_EQ(distance_pp(0.0, 0.0, 1e300, 0.0, &v), VERR_CTRL_VALUE(2));
  VTuple d;
  EXPECT_EQ(distance_pp(VTuple("a"), 0.0, 0.0, 0.0, &d), VERR_CTRL_TYPE(0));
}

}  // namespace
