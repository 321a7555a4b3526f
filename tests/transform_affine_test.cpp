// Affine, projective and rotation transforms of images and the scaling to
// a new size, against per-pixel references: the domain carried along by
// rounding each output pixel's source point, bilinear values on ramps
// (which the quantised OpenCV kernels reproduce to one gray value), exact
// values on the types resampled pixel by pixel, and refused matrices.
#include "transform_test_support.h"

namespace {

using namespace transform_test;
using namespace Vexa;
using image_test::RandomImage;
using image_test::RandomMask;

class TransformAffineTest : public LeakCheckedTest {
 protected:
  std::mt19937 rng_{20261122};
};

VTuple Tup2D(const Eigen::Matrix3d& m, int rows = 2) {
  VTuple t;
  for (int i = 0; i < rows * 3; ++i) t[i] = m(i / 3, i % 3);
  return t;
}

// Rotation by 30 degrees and scaling by 0.9 about (20, 25), then a move.
Eigen::Matrix3d SomeAffine() {
  const double a = 30 * M_PI / 180, s = 0.9;
  Eigen::Matrix3d m = Eigen::Matrix3d::Identity();
  m.topLeftCorner<2, 2>() << s * std::cos(a), -s * std::sin(a), s * std::sin(a), s * std::cos(a);
  m.topRightCorner<2, 1>() = Eigen::Vector2d(20 + 3.3, 25 - 1.7) - m.topLeftCorner<2, 2>() * Eigen::Vector2d(20, 25);
  return m;
}

TEST_F(TransformAffineTest, BilinearOnRampUnderRandomDomain) {
  const int w = 50, h = 40;
  for (bool full : {true, false}) {
    const TestImage in = Ramp(w, h, RandomMask(w, h, rng_, full));
    const Eigen::Matrix3d m = SomeAffine();
    Vobject out;
    ASSERT_EQ(affine_trans_image(in.image, &out, Tup2D(m), "bilinear", "false"), VRESULT_OK);
    const long n = ExpectMatches(out, Reference(in, w, h, Projective(m.inverse()), true), 1.0);
    EXPECT_GT(n, full ? 1000 : 300);
  }
}

// Types without an OpenCV kernel and cubic interpolation are resampled
// pixel by pixel, exactly up to the final rounding.
TEST_F(TransformAffineTest, PixelByPixelTypesAreExact) {
  const int w = 31, h = 23;
  const Eigen::Matrix3d m = SomeAffine();
  for (const char* type : {"int1", "int4", "int8"}) {
    const TestImage in = RandomImage(type, w, h, rng_);
    Vobject out;
    ASSERT_EQ(affine_trans_image_size(in.image, &out, Tup2D(m), "bilinear", w + 5, h - 3), VRESULT_OK);
    ExpectMatches(out, Reference(in, w + 5, h - 3, Projective(m.inverse()), true), 0.501);
    ASSERT_EQ(affine_trans_image(in.image, &out, Tup2D(m), "nearest_neighbor", "false"), VRESULT_OK);
    ExpectMatches(out, Reference(in, w, h, Projective(m.inverse()), false), 0.0);
  }
  // Cubic convolution reproduces a ramp away from the border.
  const TestImage ramp = Ramp(w, h, RandomMask(w, h, rng_, true), "real");
  Vobject out;
  ASSERT_EQ(affine_trans_image(ramp.image, &out, Tup2D(m), "bicubic", "false"), VRESULT_OK);
  const vexa::PixelBuffer* px = image_test::Pixels(out);
  const Eigen::Matrix3d inv = m.inverse();
  int checked = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const Eigen::Vector3d s = inv * Eigen::Vector3d(y, x, 1);
      if (s[0] < 2 || s[0] > h - 3 || s[1] < 2 || s[1] > w - 3) continue;
      EXPECT_NEAR(px->Get(y, x), 10 + 2 * s[0] + 3 * s[1], 1e-3);
      ++checked;
    }
  EXPECT_GT(checked, 200);
}

// OpenCV places source points to 1/1024 pixel: a point that close to a
// pixel border may pick the neighbour.
TEST_F(TransformAffineTest, NearestOnOpenCvPathPicksTheRoundedPixel) {
  const int w = 60, h = 45;
  const TestImage in = RandomImage("uint2", w, h, rng_);
  const Eigen::Matrix3d m = SomeAffine(), inv = m.inverse();
  Vobject out;
  ASSERT_EQ(affine_trans_image(in.image, &out, Tup2D(m), "nearest_neighbor", "false"), VRESULT_OK);
  Expected e = Reference(in, w, h, Projective(inv), false);
  const vexa::PixelBuffer* px = image_test::Pixels(out);
  long n = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (!e.domain[static_cast<size_t>(y) * w + x]) continue;
      ++n;
      const Eigen::Vector3d s = inv * Eigen::Vector3d(y, x, 1);
      bool found = false;
      for (double dr : {0.0, -1.0 / 256, 1.0 / 256})
        for (double dc : {0.0, -1.0 / 256, 1.0 / 256})
          found = found || px->Get(y, x) == Nearest(in, s[0] + dr, s[1] + dc);
      EXPECT_TRUE(found) << y << "," << x;
    }
  EXPECT_GT(n, 500);
  e.value.assign(e.value.size(), 0.0);  // values checked above
  ExpectMatches(out, e, 1e9);
}

TEST_F(TransformAffineTest, ProjectiveWithAndWithoutDomain) {
  const int w = 40, h = 30;
  const TestImage in = Ramp(w, h, RandomMask(w, h, rng_, false));
  Eigen::Matrix3d m = SomeAffine();
  m.row(2) << 0.002, -0.001, 1.0;
  Vobject out;
  ASSERT_EQ(projective_trans_image_size(in.image, &out, Tup2D(m, 3), "bilinear", w, h, "true"),
            VRESULT_OK);
  ExpectMatches(out, Reference(in, w, h, Projective(m.inverse()), true), 1.0);

  // The whole output as domain; beyond the input 0 is read.
  ASSERT_EQ(projective_trans_image(in.image, &out, Tup2D(m, 3), "nearest_neighbor", "false", "false"),
            VRESULT_OK);
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = image_test::Pixels(out, &domain);
  EXPECT_EQ(domain->area(), w * h);
  const Eigen::Matrix3d inv = m.inverse();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const Eigen::Vector3d s = inv * Eigen::Vector3d(y, x, 1);
      const double r = std::floor(s[0] / s[2] + 0.5), c = std::floor(s[1] / s[2] + 0.5);
      const bool inside = r >= 0 && r < h && c >= 0 && c < w;
      if (!inside) EXPECT_EQ(px->Get(y, x), 0.0) << y << "," << x;
      else EXPECT_EQ(px->Get(y, x), in.At(static_cast<int>(r), static_cast<int>(c)));
    }
}

TEST_F(TransformAffineTest, AdaptedSizeRotationAndRefusedInput) {
  const int w = 10, h = 8;
  const TestImage in = RandomImage("byte", w, h, rng_, true);
  Eigen::Matrix3d scale = Eigen::Matrix3d::Identity();
  scale(0, 0) = scale(1, 1) = 2.0;
  Vobject out;
  Vlong ow = 0, oh = 0;
  ASSERT_EQ(affine_trans_image(in.image, &out, Tup2D(scale), "constant", "true"), VRESULT_OK);
  ASSERT_EQ(get_image_size(out, &ow, &oh), VRESULT_OK);
  EXPECT_EQ(ow, 2 * w);  // the far corner (h - 0.5, w - 0.5) lands at (15, 19)
  EXPECT_EQ(oh, 2 * h);

  // A quarter turn counter-clockwise of a square image moves (r, c) to
  // (n - 1 - c, r).
  const TestImage sq = RandomImage("real", 9, 9, rng_);
  ASSERT_EQ(rotate_image(sq.image, &out, 90.0, "nearest_neighbor"), VRESULT_OK);
  Expected e = Reference(sq, 9, 9, [](int y, int x) { return Eigen::Vector2d(x, 8 - y); }, false);
  ExpectMatches(out, e, 0.0);

  Eigen::Matrix3d singular = Eigen::Matrix3d::Identity();
  singular(1, 1) = 0.0;
  EXPECT_EQ(affine_trans_image(in.image, &out, Tup2D(singular), "bilinear", "false"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(affine_trans_image(in.image, &out, Tup2D(scale), "linear", "false"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(affine_trans_image(in.image, &out, Tup2D(scale), "bilinear", "maybe"), VERR_CTRL_VALUE(2));
  scale(0, 0) = 1e6;
  EXPECT_EQ(affine_trans_image(in.image, &out, Tup2D(scale), "bilinear", "true"), VERR_TOO_LARGE);
  EXPECT_EQ(projective_trans_image(in.image, &out, Tup2D(scale), "bilinear", "false", "true"),
            VERR_CTRL_NUM(0));
}

TEST_F(TransformAffineTest, ZoomScalesPixelSquares) {
  const int w = 40, h = 30;
  for (bool full : {true, false}) {
    const TestImage in = Ramp(w, h, RandomMask(w, h, rng_, full));
    for (const auto& size : {std::pair<int, int>{20, 15}, std::pair<int, int>{60, 45},
                             std::pair<int, int>{33, 41}}) {
      const double sx = static_cast<double>(size.first) / w, sy = static_cast<double>(size.second) / h;
      Vobject out;
      ASSERT_EQ(zoom_image_size(in.image, &out, size.first, size.second, "bilinear"), VRESULT_OK);
      Expected e = Reference(in, size.first, size.second, [&](int y, int x) {
        return Eigen::Vector2d((y + 0.5) / sy - 0.5, (x + 0.5) / sx - 0.5);
      }, true);
      // The domain scales as zoom_region does: the pixel whose square holds
      // the output pixel's top left corner.
      for (int y = 0; y < size.second; ++y)
        for (int x = 0; x < size.first; ++x)
          e.domain[static_cast<size_t>(y) * size.first + x] =
              in.In(static_cast<int>(std::floor(y / sy)), static_cast<int>(std::floor(x / sx)));
      ExpectMatches(out, e, 1.0);
    }
  }
}

// A reduced domain is zoomed over a box around it only; its pixels must be
// those of the whole image's zoom: exactly so where the scale is a ratio of
// small integers that floating point holds exactly (2x, 1/2), within one
// gray value (the kernel's fixed-point weights) elsewhere. Odd sizes, so
// that the box's steps of the scale do not divide the image evenly.
TEST_F(TransformAffineTest, ZoomOfAReducedDomainMatchesTheWholeZoom) {
  const int w = 97, h = 61;
  const TestImage whole = RandomImage("byte", w, h, rng_, true);
  std::vector<uint8_t> mask = RandomMask(w, h, rng_, false);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      if (r < 9 || r > 40 || c < 30 || c > 77) mask[static_cast<size_t>(r) * w + c] = 0;
  Vobject reduced;
  ASSERT_EQ(reduce_domain(whole.image, image_test::RegionOf(mask, w, h), &reduced), VRESULT_OK);
  struct Case {
    int width, height;
    const char* interp;
    double tolerance;
  };
  for (const Case& k : {Case{194, 122, "bilinear", 0.0}, Case{194, 122, "nearest_neighbor", 0.0},
                        Case{145, 91, "bilinear", 1.0}, Case{48, 30, "bilinear", 1.0},
                        Case{300, 7, "bilinear", 1.0}}) {
    SCOPED_TRACE(std::to_string(k.width) + "x" + std::to_string(k.height) + " " + k.interp);
    Vobject all, part;
    ASSERT_EQ(zoom_image_size(whole.image, &all, k.width, k.height, k.interp), VRESULT_OK);
    ASSERT_EQ(zoom_image_size(reduced, &part, k.width, k.height, k.interp), VRESULT_OK);
    vexa::RegionPtr domain;
    const vexa::PixelBuffer* pa = image_test::Pixels(all);
    const vexa::PixelBuffer* pp = image_test::Pixels(part, &domain);
    ASSERT_GT(domain->area(), 0);
    for (const vexa::Chord& ch : domain->chords())
      for (int c = ch.cb; c <= ch.ce; ++c)
        ASSERT_NEAR(pp->Get(ch.r, c), pa->Get(ch.r, c), k.tolerance) << ch.r << ", " << c;
  }
}

// "weighted" to half the size averages each 2 x 2 block.
TEST_F(TransformAffineTest, WeightedZoomAveragesBlocks) {
  for (const char* type : {"byte", "int4"}) {
    const TestImage in = RandomImage(type, 16, 12, rng_, true);
    Vobject out;
    ASSERT_EQ(zoom_image_factor(in.image, &out, 0.5, 0.5, "weighted"), VRESULT_OK);
    const vexa::PixelBuffer* px = image_test::Pixels(out);
    ASSERT_EQ(px->width(), 8);
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 8; ++x) {
        const double mean = (in.At(2 * y, 2 * x) + in.At(2 * y, 2 * x + 1) + in.At(2 * y + 1, 2 * x) +
                             in.At(2 * y + 1, 2 * x + 1)) / 4;
        EXPECT_NEAR(px->Get(y, x), mean, 0.5 + 1e-9) << type;
      }
  }
}

TEST_F(TransformAffineTest, OnePixelImage) {
  const TestImage in = FromValues("byte", 1, 1, {1}, {77});
  Vobject out;
  ASSERT_EQ(zoom_image_size(in.image, &out, 3, 2, "bicubic"), VRESULT_OK);
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = image_test::Pixels(out, &domain);
  EXPECT_EQ(domain->area(), 6);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) EXPECT_EQ(px->Get(y, x), 77);
  ASSERT_EQ(affine_trans_image(in.image, &out, Tup2D(Eigen::Matrix3d::Identity()), "bilinear", "false"),
            VRESULT_OK);
  px = image_test::Pixels(out, &domain);
  EXPECT_EQ(domain->area(), 1);
  EXPECT_EQ(px->Get(0, 0), 77);
}

// Each pyramid level is the one before scaled by the factor: halving a
// 64 x 48 image gives 32 x 24 ... 2 x 2 (1.5 rounds up), then 1 x 1, and
// each level of "weighted" halving holds the means of 2 x 2 blocks of the
// level above.
TEST_F(TransformAffineTest, GaussPyramidLevelsHalveUntilOnePixel) {
  const TestImage in = RandomImage("real", 64, 48, rng_, true);
  Vobject pyramid;
  ASSERT_EQ(gen_gauss_pyramid(in.image, &pyramid, "weighted", 0.5), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(pyramid, &n), VRESULT_OK);
  const int sizes[][2] = {{64, 48}, {32, 24}, {16, 12}, {8, 6}, {4, 3}, {2, 2}, {1, 1}};
  ASSERT_EQ(n, 7);
  for (Vlong k = 1; k <= n; ++k) {
    Vobject level;
    ASSERT_EQ(select_obj(pyramid, &level, k), VRESULT_OK);
    Vlong w = 0, h = 0;
    ASSERT_EQ(get_image_size(level, &w, &h), VRESULT_OK);
    EXPECT_EQ(w, sizes[k - 1][0]);
    EXPECT_EQ(h, sizes[k - 1][1]);
  }
  Vobject first, second;
  ASSERT_EQ(select_obj(pyramid, &first, 1), VRESULT_OK);
  ASSERT_EQ(select_obj(pyramid, &second, 2), VRESULT_OK);
  EXPECT_EQ(image_test::Pixels(first), image_test::Pixels(in.image));  // the input itself
  const vexa::PixelBuffer* top = image_test::Pixels(first);
  const vexa::PixelBuffer* half = image_test::Pixels(second);
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 32; ++x)
      ASSERT_NEAR(half->Get(y, x),
                  (top->Get(2 * y, 2 * x) + top->Get(2 * y, 2 * x + 1) + top->Get(2 * y + 1, 2 * x) +
                   top->Get(2 * y + 1, 2 * x + 1)) / 4,
                  1e-3);
  EXPECT_EQ(gen_gauss_pyramid(in.image, &pyramid, "weighted", 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_gauss_pyramid(in.image, &pyramid, "sinc", 0.5), VERR_CTRL_VALUE(0));
}

}  // namespace
