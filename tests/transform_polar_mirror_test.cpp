// Mirroring, polar transforms and map images against per-pixel
// references, including the domain each carries along.
#include "transform_test_support.h"

namespace {

using namespace transform_test;
using namespace Vexa;
using image_test::RandomImage;
using image_test::RandomMask;

class TransformPolarMirrorTest : public LeakCheckedTest {
 protected:
  std::mt19937 rng_{1122};
};

TEST_F(TransformPolarMirrorTest, MirrorEveryModeAndType) {
  const int w = 13, h = 7;
  const struct { const char* mode; bool swap; } kModes[] = {
      {"row", false}, {"column", false}, {"diagonal", true}, {"anti_diagonal", true}};
  for (const char* type : {"byte", "int2", "int8", "real"}) {
    const TestImage in = RandomImage(type, w, h, rng_);
    for (const auto& m : kModes) {
      const int ow = m.swap ? h : w, oh = m.swap ? w : h;
      Source source = [&](int y, int x) -> Eigen::Vector2d {
        const std::string mode = m.mode;
        if (mode == "row") return {h - 1 - y, x};
        if (mode == "column") return {y, w - 1 - x};
        if (mode == "diagonal") return {x, y};
        return {h - 1 - x, w - 1 - y};
      };
      Vobject out;
      ASSERT_EQ(mirror_image(in.image, &out, m.mode), VRESULT_OK);
      ExpectMatches(out, Reference(in, ow, oh, source, false), 0.0);
    }
  }
  Vobject out;
  EXPECT_EQ(mirror_image(RandomImage("byte", 3, 3, rng_).image, &out, "up"), VERR_CTRL_VALUE(0));
}

Eigen::Vector2d PolarPoint(double row, double col, double a0, double a1, double r0, double r1, int w,
                           int h, int y, int x) {
  const double a = a0 + (a1 - a0) * x / (w - 1), r = r0 + (r1 - r0) * y / (h - 1);
  return {row - r * std::sin(a), col + r * std::cos(a)};
}

TEST_F(TransformPolarMirrorTest, PolarTransformOfRamp) {
  const int w = 60, h = 50;
  const TestImage in = Ramp(w, h, RandomMask(w, h, rng_, false));
  const double row = 24.3, col = 30.7, a0 = 0.2, a1 = 5.5, r0 = 3, r1 = 22;
  const int pw = 90, ph = 20;
  Vobject polar;
  ASSERT_EQ(polar_trans_image_ext(in.image, &polar, row, col, a0, a1, r0, r1, pw, ph, "bilinear"),
            VRESULT_OK);
  const long n = ExpectMatches(polar, Reference(in, pw, ph, [&](int y, int x) {
    return PolarPoint(row, col, a0, a1, r0, r1, pw, ph, y, x);
  }, true), 1.0);
  EXPECT_GT(n, 400);

  // Back to the image: every pixel of the ring inside the range finds its
  // polar point, the ramp comes back close to where it was.
  const TestImage full = Ramp(w, h, RandomMask(w, h, rng_, true));
  ASSERT_EQ(polar_trans_image_ext(full.image, &polar, row, col, a0, a1, r0, r1, pw, ph, "bilinear"),
            VRESULT_OK);
  Vobject back;
  ASSERT_EQ(polar_trans_image_inv(polar, &back, row, col, a0, a1, r0, r1, w, h, "bilinear"), VRESULT_OK);
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = image_test::Pixels(back, &domain);
  long checked = 0;
  for (const vexa::Chord& ch : domain->chords())
    for (int c = ch.cb; c <= ch.ce; ++c) {
      const double radius = std::hypot(ch.r - row, c - col);
      EXPECT_GE(radius, r0 - 1.0);
      EXPECT_LE(radius, r1 + 1.0);
      if (radius < r0 + 1 || radius > r1 - 1) continue;
      EXPECT_NEAR(px->Get(ch.r, c), 10 + 2 * ch.r + 3 * c, 2.0) << ch.r << "," << c;
      ++checked;
    }
  EXPECT_GT(checked, 500);

  Vobject out;
  EXPECT_EQ(polar_trans_image_inv(polar, &out, row, col, a0, a0, r0, r1, w, h, "bilinear"),
            VERR_CTRL_VALUE(3));
  ASSERT_EQ(polar_trans_image(full.image, &out, 20, 25, 64, 10), VRESULT_OK);
  ExpectMatches(out, Reference(full, 64, 10, [&](int y, int x) {
    return PolarPoint(20, 25, 0, 2 * M_PI * 63 / 64, 0, 9, 64, 10, y, x);
  }, true), 1.0);
}

// The region of a polar image carried back covers the pixels whose polar
// point rounds into it.
TEST_F(TransformPolarMirrorTest, PolarRegionInverse) {
  const int pw = 40, ph = 12, w = 50, h = 45;
  std::vector<uint8_t> mask = RandomMask(pw, ph, rng_, false);
  const Vobject region = image_test::RegionOf(mask, pw, ph);
  const double row = 22, col = 25, a0 = -1.0, a1 = 3.0, r0 = 4, r1 = 18;
  Vobject out;
  ASSERT_EQ(polar_trans_region_inv(region, &out, row, col, a0, a1, r0, r1, pw, ph, w, h,
                                   "nearest_neighbor"),
            VRESULT_OK);
  const std::vector<uint8_t> got = image_test::MaskOf(out, w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double a = std::atan2(row - y, x - col);
      if (a < a0) a += 2 * M_PI;
      if (a > a1 && a - a1 > a0 - (a - 2 * M_PI)) a -= 2 * M_PI;
      const double px = std::floor((a - a0) * (pw - 1) / (a1 - a0) + 0.5);
      const double py = std::floor((std::hypot(y - row, x - col) - r0) * (ph - 1) / (r1 - r0) + 0.5);
      const bool in = px >= 0 && px < pw && py >= 0 && py < ph &&
                      mask[static_cast<size_t>(py) * pw + static_cast<size_t>(px)];
      EXPECT_EQ(got[static_cast<size_t>(y) * w + x], in) << y << "," << x;
    }
}

// Shared by the two map tests: an input ramp, the source points of an
// 18 x 11 map (rows 1.2 apart, columns 0.9 apart, none within 0.05 of a
// half pixel, where rounding the double and the single-precision value
// could pick different pixels) and an index map that mirrors columns and
// leaves every fifth pixel without a source.
struct MapScene {
  static constexpr int w = 20, h = 15, mw = 18, mh = 11;
  std::vector<double> rows, cols, index;
  std::vector<uint8_t> all = std::vector<uint8_t>(static_cast<size_t>(mw) * mh, 1);
  MapScene() {
    for (int y = 0; y < mh; ++y)
      for (int x = 0; x < mw; ++x) {
        rows.push_back(y * 1.2 + 0.25), cols.push_back(x * 0.9 + 1.65);
        index.push_back(x % 5 == 4 ? -1 : (y + 2) * w + (mw - 1 - x));
      }
  }
};

TEST_F(TransformPolarMirrorTest, MapImageByIndices) {
  const MapScene m;
  const TestImage in = Ramp(m.w, m.h, RandomMask(m.w, m.h, rng_, false));
  const TestImage by_index = FromValues("int4", m.mw, m.mh, m.all, m.index);
  Vobject out;
  ASSERT_EQ(map_image(in.image, by_index.image, &out), VRESULT_OK);
  ExpectMatches(out, Reference(in, m.mw, m.mh, [&](int y, int x) {
    const double i = m.index[static_cast<size_t>(y) * m.mw + x];
    return i < 0 ? Eigen::Vector2d(-9, -9) : Eigen::Vector2d(std::floor(i / m.w), std::fmod(i, m.w));
  }, false), 0.0);
  EXPECT_EQ(map_image(in.image, in.image, &out), VERR_PIXEL_TYPE);
}

TEST_F(TransformPolarMirrorTest, MapImageByPoints) {
  const MapScene m;
  const TestImage in = Ramp(m.w, m.h, RandomMask(m.w, m.h, rng_, false));
  const TestImage map_r = FromValues("real", m.mw, m.mh, m.all, m.rows);
  const TestImage map_c = FromValues("real", m.mw, m.mh, m.all, m.cols);
  Vobject map, out;
  ASSERT_EQ(append_channel(map_r.image, map_c.image, &map), VRESULT_OK);
  ASSERT_EQ(map_image(in.image, map, &out), VRESULT_OK);
  // The map holds single-precision values: the reference reads the same.
  ExpectMatches(out, Reference(in, m.mw, m.mh, [&](int y, int x) {
    return Eigen::Vector2d(static_cast<float>(y * 1.2 + 0.25), static_cast<float>(x * 0.9 + 1.65));
  }, true), 1.0);
}

TEST_F(TransformPolarMirrorTest, MapsConvertBetweenPointsAndIndices) {
  // Points of rows r + 0.4 and columns 2 c - 1.3 into a source 10 wide.
  const int w = 8, h = 5;
  Vobject rows, cols, points, index, back;
  ASSERT_EQ(gen_image_const(&rows, "real", w, h), VRESULT_OK);
  ASSERT_EQ(gen_image_const(&cols, "real", w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      ASSERT_EQ(set_grayval(rows, r, c, r + 0.4), VRESULT_OK);
      ASSERT_EQ(set_grayval(cols, r, c, 2 * c - 1.3), VRESULT_OK);
    }
  ASSERT_EQ(append_channel(rows, cols, &points), VRESULT_OK);
  ASSERT_EQ(convert_map_type(points, &index, "nearest_neighbor", Vlong{10}), VRESULT_OK);
  const vexa::PixelBuffer* idx = image_test::Pixels(index);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const long col = std::lround(2 * c - 1.3);
      ASSERT_EQ(idx->Get(r, c), col < 0 || col >= 10 ? -1 : r * 10 + col) << r << "," << c;
    }
  // Back to points: the rounded source, and no point where there was none.
  ASSERT_EQ(convert_map_type(index, &back, "bilinear", Vlong{10}), VRESULT_OK);
  VTuple area, row, col;
  ASSERT_EQ(area_center(back, &area, _, _), VRESULT_OK);
  EXPECT_EQ(area[0].L(), h * (w - 3));  // columns 0 (-1.3) and 6, 7 (beyond 9) have none
  VTuple value;
  ASSERT_EQ(get_grayval(back, 3.0, 2.0, &value), VRESULT_OK);
  EXPECT_EQ(value[0].D(), 3.0);
  EXPECT_EQ(value[1].D(), 3.0);  // round(2.7)
  Vobject same;
  ASSERT_EQ(convert_map_type(index, &same, "nearest_neighbor", Vlong{10}), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_obj(same, index, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
  EXPECT_EQ(convert_map_type(rows, &same, "bilinear", Vlong{10}), VERR_PIXEL_TYPE);
  EXPECT_EQ(convert_map_type(points, &same, "cubic", Vlong{10}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(convert_map_type(points, &same, "bilinear", Vlong{0}), VERR_CTRL_VALUE(1));
}

}  // namespace
