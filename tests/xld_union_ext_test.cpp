// Joining contours by weighted costs of their regression lines and by
// tangents at their ends, and along a reference line by a histogram of
// distances: pairs must join exactly when the costs or the tangent angles
// computed here by hand allow it; histograms are counted here point by
// point.
#include <algorithm>
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

// ---- Histogram of distances from a reference line ---------------------------------------

TEST_F(XldUnionExt, PiecesAtTheMostFrequentDistanceAreSelectedAndJoinedInOrder) {
  // Reference line along the column axis: the signed distance is the row.
  std::vector<std::pair<double, std::vector<double>>> pieces = {
      {20, {0, 20}}, {5, {0, 10}}, {20, {50, 30}}, {40, {0, 30}}, {80, {0, 99}}, {20, {60, 80}}};
  Vobject all;
  ASSERT_EQ(gen_empty_obj(&all), VRESULT_OK);
  std::vector<double> expected(101, 0.0);
  for (const auto& p : pieces) {
    const int c0 = static_cast<int>(p.second[0]), c1 = static_cast<int>(p.second[1]);
    std::vector<double> rows, cols;
    for (int k = 0; k <= std::abs(c1 - c0); ++k)
      rows.push_back(p.first), cols.push_back(c0 + (c1 > c0 ? k : -k));
    Vobject x;
    ASSERT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
    ASSERT_EQ(concat_obj(all, x, &all), VRESULT_OK);
    if (p.first <= 50) expected[static_cast<size_t>(p.first + 50)] += static_cast<double>(rows.size());
  }
  Vobject joined, selected;
  VTuple histo;
  ASSERT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 0, 0, 0, 100, 4, 50, 1, &histo),
            VRESULT_OK);
  EXPECT_EQ(xld_test::Values(histo), expected);
  EXPECT_EQ(Count(selected), 3);
  ASSERT_EQ(Count(joined), 1);
  VTuple r, c;
  ASSERT_EQ(get_contour_xld(joined, &r, &c), VRESULT_OK);
  ASSERT_EQ(c.Num(), 63);
  for (Vlong i = 0; i < c.Num(); ++i) EXPECT_EQ(r[i].D(), 20);
  for (Vlong i = 1; i < c.Num(); ++i) EXPECT_GT(c[i].D(), c[i - 1].D()) << i;

  // A moving mean over three bins.
  ASSERT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 0, 0, 0, 100, 4, 50, 3, &histo),
            VRESULT_OK);
  for (size_t k = 0; k < expected.size(); ++k) {
    const size_t lo = k > 0 ? k - 1 : 0, hi = std::min(k + 1, expected.size() - 1);
    double sum = 0;
    for (size_t j = lo; j <= hi; ++j) sum += expected[j];
    EXPECT_NEAR(histo[static_cast<Vlong>(k)].D(), sum / static_cast<double>(hi - lo + 1), 1e-12) << k;
  }
  // Nothing within max_width: an empty histogram selects nothing.
  ASSERT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 200, 0, 200, 100, 4, 10, 1,
                                              &histo),
            VRESULT_OK);
  EXPECT_EQ(histo.Num(), 21);
  EXPECT_EQ(Count(joined), 0);
  EXPECT_EQ(Count(selected), 0);
  EXPECT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 3, 3, 3, 3, 4, 50, 1, &histo),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 0, 0, 0, 100, 0, 50, 1, &histo),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(union_straight_contours_histo_xld(all, &joined, &selected, 0, 0, 0, 100, 4, 50, 2, &histo),
            VERR_CTRL_VALUE(6));
}

// ---- Line-scan images ---------------------------------------------------------------------

// Rows of a contour's points, sorted, and its columns.
std::vector<double> SortedRows(const Vobject& x) {
  VTuple r, c;
  EXPECT_EQ(get_contour_xld(x, &r, &c), VRESULT_OK);
  std::vector<double> v = xld_test::Values(r);
  std::sort(v.begin(), v.end());
  return v;
}

Vobject Vertical(double col, const std::vector<double>& rows) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(std::vector<double>(rows.size(), col))),
            VRESULT_OK);
  return x;
}

TEST_F(XldUnionExt, LineScanPiecesMeetingAtTheBorderJoinAndOthersPassUnchanged) {
  // The previous image (10 rows) above: its row 9 becomes row -1.
  const Vobject crossing_prev = Vertical(20, {5, 7, 9}), crossing_cur = Vertical(20, {0, 2, 4});
  const Vobject far_prev = Vertical(40, {1, 3}), far_cur = Vertical(60, {3, 8});
  const Vobject current = Both(crossing_cur, far_cur), previous = Both(crossing_prev, far_prev);
  Vobject merged, ended;
  ASSERT_EQ(merge_cont_line_scan_xld(current, previous, &merged, &ended, 10, 1.0, "top", 2), VRESULT_OK);
  ASSERT_EQ(Count(merged), 2);
  ASSERT_EQ(Count(ended), 1);
  Vobject x;
  ASSERT_EQ(select_obj(merged, &x, 1), VRESULT_OK);
  EXPECT_EQ(SortedRows(x), (std::vector<double>{-5, -3, -1, 0, 2, 4}));
  ASSERT_EQ(select_obj(merged, &x, 2), VRESULT_OK);
  EXPECT_EQ(SortedRows(x), (std::vector<double>{3, 8}));
  EXPECT_EQ(SortedRows(ended), (std::vector<double>{1, 3}));  // in its own image's rows
  // One image only: the previous part is clipped away.
  ASSERT_EQ(merge_cont_line_scan_xld(current, previous, &merged, &ended, 10, 1.0, "top", 1), VRESULT_OK);
  ASSERT_EQ(select_obj(merged, &x, 1), VRESULT_OK);
  EXPECT_EQ(SortedRows(x), (std::vector<double>{0, 2, 4}));
  // Ends 0.5 from the border, 1 apart: a border of 0.4 joins nothing.
  ASSERT_EQ(merge_cont_line_scan_xld(current, previous, &merged, &ended, 10, 0.4, "top", 2), VRESULT_OK);
  EXPECT_EQ(Count(merged), 2);
  EXPECT_EQ(Count(ended), 2);
  // The previous image below: its row 0 becomes row 10, next to row 9.
  ASSERT_EQ(merge_cont_line_scan_xld(Vertical(20, {5, 9}), Vertical(20, {0, 2}), &merged, &ended, 10,
                                     1.0, "bottom", 2),
            VRESULT_OK);
  ASSERT_EQ(Count(merged), 1);
  EXPECT_EQ(SortedRows(merged), (std::vector<double>{5, 9, 10, 12}));
}

TEST_F(XldUnionExt, LineScanParametersAreChecked) {
  const Vobject c = Vertical(1, {0, 1});
  Vobject merged, ended, polygon;
  EXPECT_EQ(merge_cont_line_scan_xld(c, c, &merged, &ended, 0, 1.0, "top", 2), VERR_CTRL_VALUE(0));
  EXPECT_EQ(merge_cont_line_scan_xld(c, c, &merged, &ended, 10, -1.0, "top", 2), VERR_CTRL_VALUE(1));
  EXPECT_EQ(merge_cont_line_scan_xld(c, c, &merged, &ended, 10, 1.0, "left", 2), VERR_CTRL_VALUE(2));
  EXPECT_EQ(merge_cont_line_scan_xld(c, c, &merged, &ended, 10, 1.0, "top", 0), VERR_CTRL_VALUE(3));
  ASSERT_EQ(gen_polygons_xld(c, &polygon, "ramer", 1.0), VRESULT_OK);
  EXPECT_EQ(merge_cont_line_scan_xld(polygon, c, &merged, &ended, 10, 1.0, "top", 2), VERR_OBJ_CLASS(1));
}

}  // namespace
