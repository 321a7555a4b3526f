// Lines made from regions: interjacent's zone boundaries (exactly between
// two bars, and on random points: the lines never touch a region and cut
// every path between zones) and close_edges' gap closing along a ridge of
// amplitude, with its amplitude and length limits.
#include <gtest/gtest.h>

#include <queue>
#include <random>
#include <vector>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

Vlong Area(const Vobject& region) {
  VTuple area;
  EXPECT_EQ(area_center(region, &area, _, _), VRESULT_OK);
  return area[0].L();
}

class RegionLines : public LeakCheckedTest {};

TEST_F(RegionLines, InterjacentSplitsTheSpaceBetweenRegions) {
  Vobject bars, line, border, both;
  ASSERT_EQ(gen_rectangle1(&bars, VTuple(0.0).Append(0.0), VTuple(0.0).Append(15.0),
                           VTuple(9.0).Append(9.0), VTuple(4.0).Append(19.0)),
            VRESULT_OK);
  ASSERT_EQ(interjacent(bars, &line, "medial_axis"), VRESULT_OK);
  // Column 9 is nearer the left bar (5 against 6), column 10 the right.
  Vobject expected;
  ASSERT_EQ(gen_rectangle1(&expected, 0.0, 10.0, 9.0, 10.0), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(line, expected, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  ASSERT_EQ(interjacent(bars, &border, "border"), VRESULT_OK);
  EXPECT_EQ(Area(border), 20);  // columns 5 and 14
  ASSERT_EQ(interjacent(bars, &both, "mixed"), VRESULT_OK);
  EXPECT_EQ(Area(both), 30);
  Vobject none;
  ASSERT_EQ(gen_empty_obj(&none), VRESULT_OK);
  ASSERT_EQ(interjacent(none, &line, "medial_axis"), VRESULT_OK);
  EXPECT_EQ(Area(line), 0);
  EXPECT_EQ(interjacent(bars, &line, "voronoi"), VERR_CTRL_VALUE(0));
}

TEST_F(RegionLines, InterjacentLinesCutEveryPathBetweenZones) {
  std::mt19937 gen(11);
  for (int trial = 0; trial < 5; ++trial) {
    // Points at least two pixels apart, so no two regions touch.
    const int n = 40;
    std::vector<int> label(n * n, 0);
    VTuple rows, cols;
    std::uniform_int_distribution<int> pos(0, n - 1);
    int placed = 0;
    while (placed < 8) {
      const int r = pos(gen), c = pos(gen);
      bool clear = true;
      for (int rr = r - 2; rr <= r + 2; ++rr)
        for (int cc = c - 2; cc <= c + 2; ++cc)
          if (rr >= 0 && cc >= 0 && rr < n && cc < n && label[rr * n + cc]) clear = false;
      if (!clear) continue;
      label[r * n + c] = ++placed;
      rows.Append(Vlong{r});
      cols.Append(Vlong{c});
    }
    Vobject points, lines;
    // One region per point.
    ASSERT_EQ(gen_rectangle1(&points, rows, cols, rows, cols), VRESULT_OK);
    ASSERT_EQ(interjacent(points, &lines, "medial_axis"), VRESULT_OK);
    const std::vector<uint8_t> cut = image_test::MaskOf(lines, n, n);
    // Flood the box minus the lines from each point: no other point is
    // reached, and no line pixel lies on a point.
    VTuple r1, c1, r2, c2;
    ASSERT_EQ(smallest_rectangle1(points, &r1, &c1, &r2, &c2), VRESULT_OK);
    int top = n, left = n, bottom = 0, right = 0;
    for (Vlong i = 0; i < r1.Num(); ++i) {
      top = std::min<int>(top, r1[i].L());
      left = std::min<int>(left, c1[i].L());
      bottom = std::max<int>(bottom, r2[i].L());
      right = std::max<int>(right, c2[i].L());
    }
    for (int k = 0; k < n * n; ++k) ASSERT_FALSE(cut[k] && label[k]);
    for (int k = 0; k < n * n; ++k) {
      if (!label[k]) continue;
      std::vector<uint8_t> seen(n * n, 0);
      std::queue<int> open;
      open.push(k);
      seen[k] = 1;
      while (!open.empty()) {
        const int p = open.front();
        open.pop();
        ASSERT_TRUE(label[p] == 0 || label[p] == label[k]) << "trial " << trial;
        const int r = p / n, c = p % n;
        const int nr[] = {r - 1, r + 1, r, r}, nc[] = {c, c, c - 1, c + 1};
        for (int j = 0; j < 4; ++j) {
          if (nr[j] < top || nr[j] > bottom || nc[j] < left || nc[j] > right) continue;
          const int q = nr[j] * n + nc[j];
          if (seen[q] || cut[q]) continue;
          seen[q] = 1;
          open.push(q);
        }
      }
    }
  }
}

TEST_F(RegionLines, GapsCloseAlongTheAmplitudeRidge) {
  // An edge along row 10 with a gap of 4 pixels (columns 10 to 13), and an
  // amplitude ridge along the whole row.
  Vobject edge, amplitude, weak;
  ASSERT_EQ(gen_rectangle1(&edge, VTuple(10.0).Append(10.0), VTuple(0.0).Append(14.0),
                           VTuple(10.0).Append(10.0), VTuple(9.0).Append(30.0)),
            VRESULT_OK);
  ASSERT_EQ(union1(edge, &edge), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&amplitude, "byte", 40, 20), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&weak, "byte", 40, 20), VRESULT_OK);
  for (int c = 0; c < 40; ++c) {
    ASSERT_EQ(set_grayval(amplitude, 10, c, 100.0), VRESULT_OK);
    ASSERT_EQ(set_grayval(weak, 10, c, c >= 10 && c <= 13 ? 20.0 : 100.0), VRESULT_OK);
  }
  // A distractor beside the gap that is weaker than the ridge.
  ASSERT_EQ(set_grayval(amplitude, 9, 11, 90.0), VRESULT_OK);
  Vobject closed;
  ASSERT_EQ(close_edges(edge, amplitude, &closed, 50), VRESULT_OK);
  Vobject full_row;
  ASSERT_EQ(gen_rectangle1(&full_row, 10.0, 0.0, 10.0, 30.0), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(closed, full_row, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);

  ASSERT_EQ(close_edges_length(edge, amplitude, &closed, 50, 3), VRESULT_OK);
  EXPECT_EQ(Area(closed), Area(edge));  // the gap is longer than 3
  ASSERT_EQ(close_edges_length(edge, amplitude, &closed, 50, 4), VRESULT_OK);
  EXPECT_EQ(Area(closed), 31);
  ASSERT_EQ(close_edges(edge, weak, &closed, 50), VRESULT_OK);
  EXPECT_EQ(Area(closed), Area(edge));  // the ridge is too weak in the gap

  Vobject bad;
  EXPECT_EQ(close_edges(edge, amplitude, &bad, -1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(close_edges_length(edge, amplitude, &bad, 50, 0), VERR_CTRL_VALUE(1));
  Vobject two;
  ASSERT_EQ(concat_obj(amplitude, amplitude, &two), VRESULT_OK);
  EXPECT_EQ(close_edges(edge, two, &bad, 50), VERR_OBJ_NUM(2));
}

}  // namespace
