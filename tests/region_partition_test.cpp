// Splitting and joining regions: strips cut at the thinnest columns, and
// regions of consecutive line-scan images joined across the image border.
#include <initializer_list>
#include <string>
#include <vector>

#include "region_pixelset_support.h"

namespace {

using namespace Vexa;
using namespace pixelset;

PixelSet Join(std::initializer_list<PixelSet> parts) {
  PixelSet out;
  for (const PixelSet& p : parts) out.insert(p.begin(), p.end());
  return out;
}

// The pixels of `s` in columns c1..c2.
PixelSet Columns(const PixelSet& s, int c1, int c2) {
  PixelSet out;
  for (const Pixel& p : s)
    if (p.second >= c1 && p.second <= c2) out.insert(p);
  return out;
}

TEST_F(RegionOpsTest, DynamicPartitionCutsAtTheThinnestColumnNearEachNominalCut) {
  // Characters 9 columns wide joined by one-row bridges: the bridge
  // columns hold one pixel each, the characters ten.
  PixelSet line;
  for (int k = 0; k < 5; ++k) {
    const int c0 = 3 + 12 * k;
    line = Join({line, Box(10, c0, 19, c0 + 8)});
    if (k < 4) line = Join({line, Box(15, c0 + 9, 15, c0 + 11)});
  }
  // Nominal strips of 11 columns end at columns 13, 25, ...; with 20 % the
  // window of +-2 columns reaches the first bridge column of each gap.
  Vobject parts;
  ASSERT_EQ(partition_dynamic(MakeRegion(line), &parts, 11.0, 20.0), VRESULT_OK);
  std::vector<PixelSet> expected;
  int start = 3;
  for (const int end : {12, 24, 36, 48, 59}) {
    expected.push_back(Columns(line, start, end));
    start = end + 1;
  }
  EXPECT_EQ(PixelsOfAll(parts), expected);

  // No slack: cuts at the nominal columns, equal strips from the left end.
  ASSERT_EQ(partition_dynamic(MakeRegion(line), &parts, 20.0, 0.0), VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(parts),
            (std::vector<PixelSet>{Columns(line, 3, 22), Columns(line, 23, 42), Columns(line, 43, 59)}));
  // Narrower than one strip: whole; empty strips (a gap) are left out.
  ASSERT_EQ(partition_dynamic(MakeRegion(line), &parts, 100.0, 50.0), VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(parts), std::vector<PixelSet>{line});
  const PixelSet apart = Join({Box(0, 0, 2, 2), Box(0, 10, 2, 12)});
  ASSERT_EQ(partition_dynamic(MakeRegion(apart), &parts, 4.0, 0.0), VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(parts), (std::vector<PixelSet>{Box(0, 0, 2, 2), Box(0, 10, 2, 11), Box(0, 12, 2, 12)}));

  EXPECT_EQ(partition_dynamic(MakeRegion(line), &parts, 0.5, 10.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(partition_dynamic(MakeRegion(line), &parts, 10.0, 101.0), VERR_CTRL_VALUE(1));
}

TEST_F(RegionOpsTest, LineScanMergeJoinsRegionsThatTouchAcrossTheImageBorder) {
  constexpr int kH = 20;
  // Previous image: a ends in the last row, b does not reach it, c ends in
  // the last row under two current regions.
  const PixelSet a = Box(12, 5, 19, 8), b = Box(2, 30, 6, 34), c = Box(15, 50, 19, 70);
  // Current image: d starts over a, e and f over c, g does not reach row
  // 0, h touches a only diagonally (column 9 against a's last column 8),
  // i starts in row 0 but two columns away from everything.
  const PixelSet d = Box(0, 6, 4, 7), e = Box(0, 52, 3, 55), f = Box(0, 66, 5, 69), g = Box(5, 30, 9, 33),
                 h = Box(0, 9, 1, 9), i = Box(0, 80, 3, 82);
  const Vobject current = AsObjects({d, e, f, g, h, i}), previous = AsObjects({a, b, c});
  Vobject merged, ended;
  ASSERT_EQ(merge_regions_line_scan(current, previous, &merged, &ended, kH, "top", 3), VRESULT_OK);
  // a joins d and h through d's group; c joins e and f.
  const PixelSet a_up = Box(12 - kH, 5, 19 - kH, 8), c_up = Box(15 - kH, 50, 19 - kH, 70);
  EXPECT_EQ(PixelsOfAll(merged), (std::vector<PixelSet>{Join({d, h, a_up}), Join({e, f, c_up}), g, i}));
  EXPECT_EQ(PixelsOfAll(ended), std::vector<PixelSet>{b});

  // The previous image below: its row 0 meets the current last row.
  const PixelSet below = Box(0, 40, 3, 42), touching = Box(17, 41, 19, 41);
  ASSERT_EQ(merge_regions_line_scan(AsObjects({touching}), AsObjects({below}), &merged, &ended, kH,
                                    "bottom", 3),
            VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(merged), std::vector<PixelSet>{Join({touching, Box(kH, 40, kH + 3, 42)})});
  EXPECT_TRUE(PixelsOfAll(ended).empty());

  // At most one image kept: the part from the previous image is cut off.
  ASSERT_EQ(merge_regions_line_scan(AsObjects({d}), AsObjects({a}), &merged, &ended, kH, "top", 1),
            VRESULT_OK);
  EXPECT_EQ(PixelsOfAll(merged), std::vector<PixelSet>{d});

  EXPECT_EQ(merge_regions_line_scan(current, previous, &merged, &ended, 0, "top", 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(merge_regions_line_scan(current, previous, &merged, &ended, kH, "left", 3), VERR_CTRL_VALUE(1));
  EXPECT_EQ(merge_regions_line_scan(current, previous, &merged, &ended, kH, "top", 0), VERR_CTRL_VALUE(2));
}

}  // namespace
