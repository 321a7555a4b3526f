// The generated operator methods of the image classes and the symbol
// operators built on them, called on real images and compared with the
// procedural functions on the same objects; and the region methods that
// take or give images, which exist now that the image classes do.
#include <gtest/gtest.h>

#include <cfloat>
#include <random>
#include <vector>

#include <vexaobj/VImage.h>
#include <vexaobj/VImageArray.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VRegionArray.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VTypedImage.h>

#include "image_class_support.h"

namespace {

using namespace Vexa;

Vobject Borrow(const VObject& o) { return Vobject(o.Key(), 0); }

// A byte image of random pixels.
VImage RandomByteImage(unsigned seed, int w, int h) {
  std::mt19937 rng(seed);
  std::vector<unsigned char> pixels(static_cast<size_t>(w) * h);
  for (unsigned char& p : pixels) p = static_cast<unsigned char>(rng() % 256);
  return ByteImage(pixels, w, h);
}

void ExpectSameRegion(const VRegion& a, const Vobject& b) {
  Vlong equal = 0;
  ASSERT_EQ(test_equal_region(Borrow(a), b, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);
}

// Both images have the same size, pixels and domain.
void ExpectSameImage(const VImage& a, const Vobject& b) {
  Vlong wa = 0, ha = 0, wb = 0, hb = 0;
  ASSERT_EQ(get_image_size(Borrow(a), &wa, &ha), VRESULT_OK);
  ASSERT_EQ(get_image_size(b, &wb, &hb), VRESULT_OK);
  ASSERT_EQ(wa, wb);
  ASSERT_EQ(ha, hb);
  for (Vlong r = 0; r < ha; ++r)
    for (Vlong c = 0; c < wa; ++c) {
      double va = 0, vb = 0;
      ASSERT_EQ(get_grayval(Borrow(a), r, c, &va), VRESULT_OK);
      ASSERT_EQ(get_grayval(b, r, c, &vb), VRESULT_OK);
      ASSERT_EQ(va, vb) << "at " << r << ", " << c;
    }
  Vobject domain;
  ASSERT_EQ(get_domain(b, &domain), VRESULT_OK);
  ExpectSameRegion(a.GetDomain(), domain);
}

TEST_F(ImageClassTest, ArithmeticOperatorsRunTheirOperators) {
  const VImage a = RandomByteImage(1, 7, 5), b = RandomByteImage(2, 7, 5);
  Vobject expected;
  ASSERT_EQ(add_image(Borrow(a), Borrow(b), &expected, 1.0, 0.0), VRESULT_OK);
  ExpectSameImage(a + b, expected);
  ASSERT_EQ(sub_image(Borrow(a), Borrow(b), &expected, 1.0, 0.0), VRESULT_OK);
  ExpectSameImage(a - b, expected);
  ASSERT_EQ(mult_image(Borrow(a), Borrow(b), &expected, 1.0, 0.0), VRESULT_OK);
  ExpectSameImage(a * b, expected);
  ASSERT_EQ(invert_image(Borrow(a), &expected), VRESULT_OK);
  ExpectSameImage(-a, expected);
  ASSERT_EQ(scale_image(Borrow(a), &expected, 1.0, 12.0), VRESULT_OK);
  ExpectSameImage(a + 12.0, expected);
  ASSERT_EQ(scale_image(Borrow(a), &expected, 1.0, -12.0), VRESULT_OK);
  ExpectSameImage(a - 12.0, expected);
  ASSERT_EQ(scale_image(Borrow(a), &expected, 0.5, 0.0), VRESULT_OK);
  ExpectSameImage(a / 2.0, expected);
  ExpectSameImage(a * 0.5, expected);
}

TEST_F(ImageClassTest, ComparisonsGiveRegions) {
  const VImage a = RandomByteImage(3, 9, 6), b = RandomByteImage(4, 9, 6);
  Vobject expected;
  ASSERT_EQ(dyn_threshold(Borrow(a), Borrow(b), &expected, 0.0, "light"), VRESULT_OK);
  ExpectSameRegion(a >= b, expected);
  ASSERT_EQ(dyn_threshold(Borrow(a), Borrow(b), &expected, 0.0, "dark"), VRESULT_OK);
  ExpectSameRegion(a <= b, expected);
  ASSERT_EQ(threshold(Borrow(a), &expected, 100.0, DBL_MAX), VRESULT_OK);
  ExpectSameRegion(a >= 100.0, expected);
  ASSERT_EQ(threshold(Borrow(a), &expected, -DBL_MAX, 100.0), VRESULT_OK);
  ExpectSameRegion(a <= 100.0, expected);

  // != ignores the domain: the whole rectangle minus the pixels of the
  // domain equal to d. The pixel set to 5 lies outside the domain.
  VImage constant(9, 6, "byte");
  constant.SetPixVal(4, 2, VPixVal(5));
  Vobject rect;
  ASSERT_EQ(gen_rectangle1(&rect, 0.0, 0.0, 1.0, 1.0), VRESULT_OK);
  const VImage reduced = constant & VRegion(rect);
  Vlong area = 0;
  double row = 0, column = 0;
  ASSERT_EQ(area_center(Borrow(reduced != 0.0), &area, &row, &column), VRESULT_OK);
  EXPECT_EQ(area, 9 * 6 - 4);
  ASSERT_EQ(area_center(Borrow(reduced != 5.0), &area, &row, &column), VRESULT_OK);
  EXPECT_EQ(area, 9 * 6);
  ASSERT_EQ(area_center(Borrow(reduced == 0.0), &area, &row, &column), VRESULT_OK);
  EXPECT_EQ(area, 4);
}

TEST_F(ImageClassTest, ByteImageBitOperators) {
  const VByteImage a(RandomByteImage(5, 4, 4)), b(RandomByteImage(6, 4, 4));
  Vobject expected;
  ASSERT_EQ(bit_and(Borrow(a), Borrow(b), &expected), VRESULT_OK);
  ExpectSameImage(a & b, expected);
  ASSERT_EQ(bit_xor(Borrow(a), Borrow(b), &expected), VRESULT_OK);
  ExpectSameImage(a ^ b, expected);
  ASSERT_EQ(bit_mask(Borrow(a), &expected, Vlong{0x0f}), VRESULT_OK);
  ExpectSameImage(a & 0x0f, expected);
  ASSERT_EQ(bit_lshift(Borrow(a), &expected, Vlong{2}), VRESULT_OK);
  ExpectSameImage(a << 2, expected);
  ASSERT_EQ(bit_not(Borrow(a), &expected), VRESULT_OK);
  ExpectSameImage(~a, expected);
  EXPECT_STREQ((a | b).ClassName(), "VByteImage");
}

TEST_F(ImageClassTest, MethodsWithControlResults) {
  const VImage image = RandomByteImage(7, 6, 4);
  Vlong width = 0, height = 0;
  EXPECT_EQ(image.GetImageSize(&height), 6);
  EXPECT_EQ(height, 4);
  VTuple type = image.GetImageType();
  EXPECT_STREQ(type[0].S(), "byte");
  EXPECT_EQ(image.CountChannels()[0].L(), 1);
  double expected = 0;
  ASSERT_EQ(get_grayval(Borrow(image), 3, 5, &expected), VRESULT_OK);
  EXPECT_DOUBLE_EQ(image.GetGrayval(Vlong{3}, Vlong{5}), expected);
  // A static generator and a method without a receiver argument.
  const VImage made = VImage::GenImageConst("int2", 3, 2);
  EXPECT_EQ(made.GetImageSize(&height), 3);
  EXPECT_STREQ(made.PixType(), "int2");
  (void)width;
}

TEST_F(ImageClassTest, RegionMethodsThatNameImages) {
  const VImage image = RandomByteImage(8, 10, 8);
  const VRegion rect = VRegion::GenRectangle1(1.0, 2.0, 5.0, 8.0);
  double mean = 0, deviation = 0, expected_mean = 0, expected_deviation = 0;
  mean = rect.Intensity(image, &deviation);
  ASSERT_EQ(intensity(Borrow(rect), Borrow(image), &expected_mean, &expected_deviation),
            VRESULT_OK);
  EXPECT_DOUBLE_EQ(mean, expected_mean);
  EXPECT_DOUBLE_EQ(deviation, expected_deviation);
  // The image's domain, by the image method and by the operator.
  const VImage reduced = image.ReduceDomain(rect);
  ExpectSameRegion(reduced.GetDomain(), Borrow(rect));
}

TEST_F(ImageClassTest, ArrayMethodsWorkPerElement) {
  VImageArray images;
  images.Append(RandomByteImage(9, 5, 5));
  images.Append(RandomByteImage(10, 5, 5));
  const VRegionArray regions = images.Threshold(128.0, 255.0);
  ASSERT_EQ(regions.Num(), 2);
  for (Vlong i = 0; i < 2; ++i) {
    Vobject expected;
    ASSERT_EQ(threshold(Borrow(images[i]), &expected, 128.0, 255.0), VRESULT_OK);
    ExpectSameRegion(regions[i], expected);
  }
  const VImageArray inverted = images.InvertImage();
  ASSERT_EQ(inverted.Num(), 2);
  EXPECT_DOUBLE_EQ(Gray(inverted[1], 2, 3), 255.0 - Gray(images[1], 2, 3));
  // A failure of the operator raises.
  EXPECT_TRUE(Raises([&] { images.Threshold(VTuple("x"), VTuple(3.0)); }));
}

}  // namespace
