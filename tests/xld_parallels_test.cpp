// Parallels between polygons: which segment pairs count (length, angle,
// distance, overlap), merging, the gray values between the sides against
// an independent point-in-polygon count, extension, merged sides and
// roads confirmed by centre lines.
#include <opencv2/imgproc.hpp>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldParallels : public xld_test::XldTest {};

Vlong Count(const Vobject& objects) {
  Vlong n = -1;
  EXPECT_EQ(count_obj(objects, &n), VRESULT_OK);
  return n;
}

// A polygon with exactly these corners (none is dropped: no three are on
// one line).
Vobject Polygon(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject contour, polygon;
  EXPECT_EQ(gen_contour_polygon_xld(&contour, Tuple(rows), Tuple(cols)), VRESULT_OK);
  EXPECT_EQ(gen_polygons_xld(contour, &polygon, "ramer", 1e-4), VRESULT_OK);
  VTuple r, c, l, p;
  EXPECT_EQ(get_polygon_xld(polygon, &r, &c, &l, &p), VRESULT_OK);
  EXPECT_EQ(r.Num(), static_cast<Vlong>(rows.size()));
  return polygon;
}

// The values as the single precision points hold them.
std::vector<double> AsStored(const std::vector<double>& v) {
  std::vector<double> out;
  for (double x : v) out.push_back(static_cast<float>(x));
  return out;
}

Vobject Concat(const Vobject& a, const Vobject& b) {
  Vobject both;
  EXPECT_EQ(concat_obj(a, b, &both), VRESULT_OK);
  return both;
}

// Side A: three segments of about 40 pixels, row about 10.3; side B: two
// of about 50, row about 20.3. Off-integer coordinates keep pixel centres
// off the outline.
const std::vector<double> kRowsA{10.3, 10.3, 11.3, 11.3}, kColsA{0.3, 40.3, 80.3, 120.3};
const std::vector<double> kRowsB{20.3, 20.8, 20.3}, kColsB{10.6, 60.3, 110.3};

Vobject Sides() { return Concat(Polygon(kRowsA, kColsA), Polygon(kRowsB, kColsB)); }

Vlong ParallelCount(const Vobject& polygons, double min_length, double max_distance,
                    double max_angle, const char* merge) {
  Vobject parallels;
  EXPECT_EQ(gen_parallels_xld(polygons, &parallels, min_length, max_distance, max_angle, merge),
            VRESULT_OK);
  return Count(parallels);
}

TEST_F(XldParallels, SegmentPairsCountByLengthAngleDistanceAndOverlap) {
  const Vobject sides = Sides();
  // Facing pairs: A0-B0, A1-B0, A1-B1, A2-B1; A0-B1 and A2-B0 do not overlap.
  EXPECT_EQ(ParallelCount(sides, 5, 12, 0.04, "false"), 4);
  EXPECT_EQ(ParallelCount(sides, 5, 12, 0.04, "true"), 1);
  // Angles: A0 0, A1 -0.025, A2 0, B0 -0.01, B1 +0.01: A1-B1 differs by 0.035.
  EXPECT_EQ(ParallelCount(sides, 5, 12, 0.02, "false"), 3);
  EXPECT_EQ(ParallelCount(sides, 5, 12, 0.005, "false"), 0);
  // Beside distances about 10.15, 10.15, 9.65 and 9.15.
  EXPECT_EQ(ParallelCount(sides, 5, 9.5, 0.04, "false"), 1);
  EXPECT_EQ(ParallelCount(sides, 5, 9.0, 0.04, "false"), 0);
  // Every segment of A is about 40 long.
  EXPECT_EQ(ParallelCount(sides, 40.5, 12, 0.04, "false"), 0);

  // The two arms of one U-shaped polygon; the base touches both and
  // pairs with neither.
  const Vobject u = Polygon({0.5, 0.5, 10.5, 10.5}, {0.5, 100.5, 100.7, 0.5});
  Vobject parallels;
  ASSERT_EQ(gen_parallels_xld(u, &parallels, 1.0, 20.0, 0.1, "true"), VRESULT_OK);
  ASSERT_EQ(Count(parallels), 1);
  VTuple r1, c1, l1, p1, r2, c2, l2, p2;
  ASSERT_EQ(get_parallels_xld(parallels, &r1, &c1, &l1, &p1, &r2, &c2, &l2, &p2), VRESULT_OK);
  EXPECT_EQ(Values(r1), AsStored({0.5, 0.5}));
  EXPECT_EQ(Values(r2), AsStored({10.5, 10.5}));
  EXPECT_EQ(Values(c2), AsStored({100.7, 0.5}));
}

TEST_F(XldParallels, MergedParallelsReportTheirSides) {
  Vobject parallels;
  ASSERT_EQ(gen_parallels_xld(Sides(), &parallels, 5.0, 12.0, 0.04, "true"), VRESULT_OK);
  VTuple r1, c1, l1, p1, r2, c2, l2, p2;
  ASSERT_EQ(get_parallels_xld(parallels, &r1, &c1, &l1, &p1, &r2, &c2, &l2, &p2), VRESULT_OK);
  EXPECT_EQ(Values(r1), AsStored(kRowsA));
  EXPECT_EQ(Values(c1), AsStored(kColsA));
  EXPECT_EQ(Values(c2), AsStored(kColsB));
  const std::vector<double> lengths = Values(l2), phis = Values(p1);
  ASSERT_EQ(lengths.size(), 2u);
  EXPECT_NEAR(lengths[0], std::hypot(0.5, 49.7), 1e-5);
  EXPECT_NEAR(phis[1], std::atan2(-1.0, 40.0), 1e-6);
}

// value(r, c) = (3 c + 2 r) mod 256.
Vobject GradientImage(int height, int width) {
  std::unique_ptr<vexa::PixelBuffer> buffer;
  EXPECT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kByte, width, height, &buffer), VRESULT_OK);
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c)
      buffer->data()[static_cast<size_t>(r) * width + c] = static_cast<unsigned char>((3 * c + 2 * r) % 256);
  std::vector<std::unique_ptr<vexa::PixelBuffer>> channels;
  channels.push_back(std::move(buffer));
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImage(nullptr, std::move(channels), &key), VRESULT_OK);
  return Vobject(key, 1);
}

TEST_F(XldParallels, GrayValuesBetweenTheSidesMatchAPointInPolygonCount) {
  Vobject parallels;
  ASSERT_EQ(gen_parallels_xld(Sides(), &parallels, 5.0, 12.0, 0.04, "true"), VRESULT_OK);
  const Vobject image = GradientImage(40, 130);
  double q_min, q_max, s_min, s_max;
  Vlong g_min, g_max;
  ASSERT_EQ(info_parallels_xld(parallels, image, &q_min, &q_max, &g_min, &g_max, &s_min, &s_max),
            VRESULT_OK);
  // Reference: the outline A then B backwards, pixel centres strictly inside.
  std::vector<cv::Point2f> outline;
  for (size_t i = 0; i < kRowsA.size(); ++i) outline.emplace_back(kColsA[i], kRowsA[i]);
  for (size_t i = kRowsB.size(); i-- > 0;) outline.emplace_back(kColsB[i], kRowsB[i]);
  double n = 0, sum = 0, sum2 = 0;
  for (int r = 0; r < 40; ++r)
    for (int c = 0; c < 130; ++c)
      if (cv::pointPolygonTest(outline, cv::Point2f(c, r), false) > 0) {
        const double v = (3 * c + 2 * r) % 256;
        n += 1, sum += v, sum2 += v * v;
      }
  ASSERT_GT(n, 800);
  const double mean = sum / n, sigma = std::sqrt(sum2 / n - mean * mean);
  EXPECT_EQ(g_min, std::llround(mean));
  EXPECT_EQ(g_max, g_min);
  EXPECT_NEAR(s_min, sigma, 1e-6);
  // Side A spans about 120 along the axis, B 99.7 inside it.
  EXPECT_NEAR(q_min, 99.7 / ((120 + 99.7) / 2), 1e-3);
  EXPECT_EQ(q_min, q_max);

  // Judged by quality, mean and deviation.
  const auto kept = [&](double quality, Vlong lo, Vlong hi, double max_standard) {
    Vobject mod, ext;
    EXPECT_EQ(mod_parallels_xld(parallels, image, &mod, &ext, quality, lo, hi, max_standard),
              VRESULT_OK);
    EXPECT_EQ(Count(mod), Count(ext));
    return Count(mod);
  };
  const Vlong m = std::llround(mean);
  EXPECT_EQ(kept(0.9, m - 1, m + 1, sigma + 0.01), 1);
  EXPECT_EQ(kept(0.92, m - 1, m + 1, sigma + 0.01), 0);
  EXPECT_EQ(kept(0.9, m + 1, m + 9, sigma + 0.01), 0);
  EXPECT_EQ(kept(0.9, m - 1, m + 1, sigma - 0.01), 0);
}

TEST_F(XldParallels, ExtendedSidesGrowAndMergeIntoMaximalPolygons) {
  // A starts with a short segment that min_length leaves out of every
  // pair; extension takes it back in, since B lies beside it.
  const std::vector<double> rows_a{10.2, 10.3, 10.3, 11.3, 11.3};
  const std::vector<double> cols_a{-9.7, 0.3, 40.3, 80.3, 120.3};
  const Vobject a = Polygon(rows_a, cols_a);
  const Vobject b = Polygon({20.3, 20.8, 20.3}, {-19.7, 60.3, 110.3});
  const Vobject image = GradientImage(40, 130);
  Vobject single, pieces, mod, ext, max_sides;
  ASSERT_EQ(gen_parallels_xld(Concat(a, b), &single, 20.0, 12.0, 0.04, "true"), VRESULT_OK);
  ASSERT_EQ(mod_parallels_xld(single, image, &mod, &ext, 0.0, 0, 255, 255.0), VRESULT_OK);
  VTuple r1, c1, l1, p1, r2, c2, l2, p2;
  ASSERT_EQ(get_parallels_xld(mod, &r1, &c1, &l1, &p1, &r2, &c2, &l2, &p2), VRESULT_OK);
  EXPECT_EQ(Values(c1).front(), static_cast<float>(0.3));
  ASSERT_EQ(get_parallels_xld(ext, &r1, &c1, &l1, &p1, &r2, &c2, &l2, &p2), VRESULT_OK);
  EXPECT_EQ(Values(c1), AsStored(cols_a));

  // One parallel per segment pair, extended each, merges back into the
  // two whole sides.
  ASSERT_EQ(gen_parallels_xld(Concat(a, b), &pieces, 5.0, 12.0, 0.04, "false"), VRESULT_OK);
  ASSERT_GT(Count(pieces), 3);
  ASSERT_EQ(mod_parallels_xld(pieces, image, &mod, &ext, 0.0, 0, 255, 255.0), VRESULT_OK);
  ASSERT_EQ(max_parallels_xld(ext, &max_sides), VRESULT_OK);
  ASSERT_EQ(Count(max_sides), 2);
  Vobject side;
  VTuple rows, cols, lengths, phis;
  ASSERT_EQ(select_obj(max_sides, &side, 1), VRESULT_OK);
  ASSERT_EQ(get_polygon_xld(side, &rows, &cols, &lengths, &phis), VRESULT_OK);
  EXPECT_EQ(Values(cols), AsStored(cols_a));
}

TEST_F(XldParallels, RoadsNeedACentreLineAndCollectColinearPieces) {
  const Vobject ab = Sides();
  Vobject parallels, mod, ext, sides;
  ASSERT_EQ(gen_parallels_xld(ab, &parallels, 5.0, 12.0, 0.04, "true"), VRESULT_OK);
  ASSERT_EQ(mod_parallels_xld(parallels, GradientImage(40, 130), &mod, &ext, 0.0, 0, 255, 255.0),
            VRESULT_OK);
  // C continues A after a gap of 4.7 with its first segment; its second
  // lies too far from every side.
  const Vobject c = Polygon({11.3, 11.3, 11.4}, {125.0, 140.0, 160.0});
  Vobject centre, far;
  ASSERT_EQ(gen_contour_polygon_xld(&centre, Tuple({15.5, 16.0}), Tuple({0.0, 130.0})), VRESULT_OK);
  ASSERT_EQ(gen_contour_polygon_xld(&far, Tuple({95.5, 96.0}), Tuple({0.0, 130.0})), VRESULT_OK);
  const Vobject polygons = Concat(ab, c);
  // mod and ext hold the same hypothesis here: two sides each.
  ASSERT_EQ(combine_roads_xld(polygons, mod, ext, centre, &sides, 0.1, 0.1, 3.0, 5.0), VRESULT_OK);
  EXPECT_EQ(Count(sides), 4 + 1);
  ASSERT_EQ(combine_roads_xld(polygons, mod, ext, centre, &sides, 0.1, 0.1, 3.0, 4.0), VRESULT_OK);
  EXPECT_EQ(Count(sides), 4);
  ASSERT_EQ(combine_roads_xld(polygons, mod, ext, far, &sides, 0.1, 0.1, 3.0, 5.0), VRESULT_OK);
  EXPECT_EQ(Count(sides), 0);
}

TEST_F(XldParallels, WrongClassesCountsAndValuesAreRefused) {
  const Vobject sides = Sides();
  Vobject contour, parallels, out, out2;
  ASSERT_EQ(gen_contour_polygon_xld(&contour, Tuple({0, 1}), Tuple({0, 1})), VRESULT_OK);
  EXPECT_EQ(gen_parallels_xld(contour, &out, 1.0, 1.0, 0.1, "true"), VERR_OBJ_CLASS(1));
  EXPECT_EQ(gen_parallels_xld(sides, &out, 1.0, 1.0, 0.1, "yes"), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_parallels_xld(sides, &out, 1.0, 1.0, -0.1, "true"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_parallels_xld(sides, &out, -1.0, 1.0, 0.1, "true"), VERR_CTRL_VALUE(0));
  ASSERT_EQ(gen_parallels_xld(sides, &parallels, 5.0, 12.0, 0.04, "false"), VRESULT_OK);
  VTuple t[8];
  EXPECT_EQ(get_parallels_xld(parallels, &t[0], &t[1], &t[2], &t[3], &t[4], &t[5], &t[6], &t[7]),
            VERR_OBJ_NUM(1));
  const Vobject image = GradientImage(10, 10);
  double d[4];
  Vlong g[2];
  EXPECT_EQ(info_parallels_xld(Vobject(), image, &d[0], &d[1], &g[0], &g[1], &d[2], &d[3]),
            VERR_OBJ_NUM(1));
  EXPECT_EQ(info_parallels_xld(parallels, Polygon(kRowsB, kColsB), &d[0], &d[1], &g[0], &g[1],
                               &d[2], &d[3]),
            VERR_OBJ_CLASS(2));
  EXPECT_EQ(mod_parallels_xld(parallels, image, &out, &out2, 1.5, 0, 255, 10.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(mod_parallels_xld(parallels, image, &out, &out2, 0.5, 200, 100, 10.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(max_parallels_xld(parallels, &out), VERR_OBJ_CLASS(1));
  EXPECT_EQ(combine_roads_xld(sides, Vobject(), Vobject(), contour, &out, 0.1, 0.1, 1.0, -1.0),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(combine_roads_xld(sides, parallels, Vobject(), contour, &out, 0.1, 0.1, 1.0, 1.0),
            VERR_OBJ_CLASS(2));
}

}  // namespace
