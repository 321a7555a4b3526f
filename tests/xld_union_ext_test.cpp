// Joining contours by weighted costs of their regression lines and by
// tangents at their ends: pairs must join exactly when the costs or the
// tangent angles computed here by hand allow it.
#include <cmath>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;

class XldUnionExt : public xld_test::XldTest {};

// Points (row, c0), (row, c0 + 1), ... (row, c1), then `tail` points.
Vobject Segment(double row, int c0, int c1, const std::vector<std::pair<double, double>>& tail = {}) {
  std::vector<double> rows, cols;
  for (int c = c0; c <= c1; ++c) rows.push_back(row), cols.push_back(c);
  for (const auto& p : tail) rows.push_back(p.first), cols.push_back(p.second);
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

Vobject Both(const Vobject& a, const Vobject& b) {
  Vobject both;
  EXPECT_EQ(concat_obj(a, b, &both), VRESULT_OK);
  return both;
}

Vlong Count(const Vobject& objects) {
  Vlong n = -1;
  EXPECT_EQ(count_obj(objects, &n), VRESULT_OK);
  return n;
}

// union_collinear_contours_ext_xld with bounds 10 (distance), 1 (relative),
// 3 (shift), 0.5 (angle), `overlap`, `error`, `costs`, all weights 1.
Vlong JoinedExt(const Vobject& in, double overlap, double error, double costs) {
  Vobject out;
  EXPECT_EQ(union_collinear_contours_ext_xld(in, &out, 10.0, 1.0, 3.0, 0.5, overlap, error, costs,
                                             1.0, 1.0, 1.0, 1.0, 1.0, "attr_keep"),
            VRESULT_OK);
  return Count(out);
}

TEST_F(XldUnionExt, CollinearPiecesJoinWhenTheirWeightedCostIsLowEnough) {
  // Gap 5 on one line: only the distance term, 5 / 10, over 5 weights.
  const Vobject line = Both(Segment(10, 0, 20), Segment(10, 25, 45));
  EXPECT_EQ(JoinedExt(line, 0.0, 0.1, 0.11), 1);
  EXPECT_EQ(JoinedExt(line, 0.0, 0.1, 0.09), 2);
  Vobject out;
  ASSERT_EQ(union_collinear_contours_ext_xld(line, &out, 10.0, 1.0, 3.0, 0.5, 0.0, 0.1, 1.0, 1.0,
                                             1.0, 1.0, 1.0, 1.0, "attr_forget"),
            VRESULT_OK);
  Vlong points = 0;
  ASSERT_EQ(contour_point_num_xld(out, &points), VRESULT_OK);
  EXPECT_EQ(points, 42);

  // Two rows lower: gap sqrt(29) / 10, shift 2 / 3, link atan(2 / 5) / (pi / 2), no angle
  // (both pieces are level) and the RMS distance e to the common line,
  // found here by trying the line's angle through the centre in steps.
  const Vobject stepped = Both(Segment(10, 0, 20), Segment(12, 25, 45));
  std::vector<std::pair<double, double>> p;
  for (int c = 0; c <= 20; ++c) p.push_back({10, c});
  for (int c = 25; c <= 45; ++c) p.push_back({12, c});
  double mr = 0, mc = 0;
  for (const auto& q : p) mr += q.first / p.size(), mc += q.second / p.size();
  double e = INFINITY;
  for (double t = -0.3; t <= 0.3; t += 1e-6) {
    double sum = 0;
    for (const auto& q : p) {
      const double d = (q.first - mr) * std::cos(t) - (q.second - mc) * std::sin(t);
      sum += d * d;
    }
    e = std::min(e, std::sqrt(sum / p.size()));
  }
  ASSERT_GT(e, 0.3);
  EXPECT_EQ(JoinedExt(stepped, 0.0, 0.3, 1.0), 2);  // regression error beyond its bound
  const double cost = (std::sqrt(29.0) / 10 + 2.0 / 3 + std::atan(2.0 / 5.0) / (M_PI / 2) + e / 2) / 5;
  EXPECT_EQ(JoinedExt(stepped, 0.0, 2.0, cost + 1e-6), 1);
  EXPECT_EQ(JoinedExt(stepped, 0.0, 2.0, cost - 1e-6), 2);
}

TEST_F(XldUnionExt, OverlapAndAngleBoundsRefusePairs) {
  // The second piece starts 5 back along the first.
  const Vobject overlapping = Both(Segment(10, 0, 20), Segment(11, 15, 35));
  EXPECT_EQ(JoinedExt(overlapping, 4.0, 5.0, 1.0), 2);
  EXPECT_EQ(JoinedExt(overlapping, 6.0, 5.0, 1.0), 1);
  // A piece at right angles never joins.
  Vobject down;
  ASSERT_EQ(gen_contour_polygon_xld(&down, Tuple({12, 20, 30}), Tuple({22, 22, 22})), VRESULT_OK);
  EXPECT_EQ(JoinedExt(Both(Segment(10, 0, 20), down), 10.0, 10.0, 1.0), 2);
}

TEST_F(XldUnionExt, CollinearExtParametersAreChecked) {
  const Vobject line = Segment(0, 0, 5);
  Vobject out;
  EXPECT_EQ(union_collinear_contours_ext_xld(line, &out, 10.0, 1.0, 3.0, 0.5, 0.0, 1.0, 1.0, 1.0,
                                             1.0, -1.0, 1.0, 1.0, "attr_keep"),
            VERR_CTRL_VALUE(9));
  EXPECT_EQ(union_collinear_contours_ext_xld(line, &out, NAN, 1.0, 3.0, 0.5, 0.0, 1.0, 1.0, 1.0,
                                             1.0, 1.0, 1.0, 1.0, "attr_keep"),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(union_collinear_contours_ext_xld(line, &out, 10.0, 1.0, 3.0, 0.5, 0.0, 1.0, 1.0, 1.0,
                                             1.0, 1.0, 1.0, 1.0, "keep"),
            VERR_CTRL_VALUE(12));
}

// ---- Tangents at the ends -----------------------------------------------------------

// The arc of the circle of radius 50 round (100, 100) from angle t0 to t1,
// one point per 0.02 rad.
Vobject CircleArc(double t0, double t1) {
  std::vector<double> rows, cols;
  for (double t = t0; t <= t1 + 1e-9; t += 0.02)
    rows.push_back(100 - 50 * std::sin(t)), cols.push_back(100 + 50 * std::cos(t));
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

// union_cotangential_contours_xld with max_dist 10 and no overlap.
Vlong JoinedCot(const Vobject& in, double clip, double length, double angle, double perp) {
  Vobject out;
  EXPECT_EQ(union_cotangential_contours_xld(in, &out, clip, length, angle, 10.0, perp, 0.0, "attr_keep"),
            VRESULT_OK);
  return Count(out);
}

TEST_F(XldUnionExt, ArcsOfOneCircleJoinByTheirEndTangentsNotByTheirLines) {
  // A fit over the last 3 pixels (0.06 rad) gives the tangent at its
  // middle: the tangents at the facing ends differ by 0.1 + 2 * 0.03 rad.
  const Vobject arcs = Both(CircleArc(0, 1), CircleArc(1.1, 2.1));
  Vobject out;
  EXPECT_EQ(JoinedCot(arcs, 0.0, 3.0, 0.17, 2.0), 1);
  EXPECT_EQ(JoinedCot(arcs, 0.0, 3.0, 0.15, 2.0), 2);
  // Their regression lines lie about 1.05 rad apart.
  ASSERT_EQ(union_collinear_contours_xld(arcs, &out, 10.0, 1.0, 2.0, 0.17, "attr_keep"), VRESULT_OK);
  EXPECT_EQ(Count(out), 2);
}

TEST_F(XldUnionExt, ClippingSkipsAHookAtTheEnd) {
  // A hook of two points bent down at the end of the first piece.
  const Vobject hooked = Both(Segment(10, 0, 20, {{11, 20}, {12, 20}}), Segment(10, 25, 45));
  Vobject out;
  EXPECT_EQ(JoinedCot(hooked, 0.0, 5.0, 0.1, 3.0), 2);
  EXPECT_EQ(JoinedCot(hooked, 2.0, 5.0, 0.1, 3.0), 1);
  // The end point lies 2 off the other piece's line.
  EXPECT_EQ(JoinedCot(hooked, 2.0, 5.0, 0.1, 1.5), 2);
  EXPECT_EQ(union_cotangential_contours_xld(hooked, &out, -1.0, 5.0, 0.1, 10.0, 1.5, 0.0, "attr_keep"),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(union_cotangential_contours_xld(hooked, &out, 1.0, 5.0, 0.1, 10.0, 1.5, 0.0, "both"),
            VERR_CTRL_VALUE(6));
}

}  // namespace
