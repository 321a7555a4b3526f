// VImage and the typed images: the attribute cache, the copy before
// writing, pixel access through VPixVal and the typed classes' access
// rules, type checks and conversions.
#include <gtest/gtest.h>

#include <cstring>

#include <vexaobj/VImage.h>
#include <vexaobj/VImageArray.h>
#include <vexaobj/VTypedImage.h>

#include "image_class_support.h"

namespace {

using namespace Vexa;

TEST_F(ImageClassTest, CacheFollowsTheRuntimesAttributes) {
  const VImage image(5, 3, "int2");
  EXPECT_EQ(image.Width(), 5);
  EXPECT_EQ(image.Height(), 3);
  EXPECT_STREQ(image.PixType(), "int2");
  EXPECT_EQ(image.NumImageRefs(), 1);
  EXPECT_FALSE(image.Shared());
  EXPECT_STREQ(image.ClassName(), "VImage");
  EXPECT_EQ(image.ClassDBID(), 2);
  // An empty handle has no size: the runtime's failure comes back.
  const VImage empty;
  EXPECT_TRUE(Raises([&] { empty.Width(); }));
  EXPECT_EQ(empty.NumImageRefs(), 0);
}

TEST_F(ImageClassTest, PixValRoundTripsClipByTheImagesType) {
  struct Case {
    const char* type;
    double written;
    double read;
  } cases[] = {
      {"byte", 300.0, 255.0},   {"byte", -4.0, 0.0},     {"int1", -200.0, -128.0},
      {"int2", 40000.0, 32767.0}, {"int4", -123456.0, -123456.0},
      {"real", 2.25, 2.25},     {"direction", 100.0, 100.0},
  };
  for (const Case& c : cases) {
    VImage image(4, 2, c.type);
    image.SetPixVal(3, 1, VPixVal(c.written));
    EXPECT_DOUBLE_EQ(static_cast<double>(image.GetPixVal(3, 1)), c.read) << c.type;
    EXPECT_DOUBLE_EQ(Gray(image, 1, 3), c.read) << c.type;
  }
  // No branch writes uint2 through VImage; int8 is no type of the cache.
  VImage uint2(2, 2, "uint2");
  EXPECT_EQ(RaisedMessage([&] { uint2.SetPixVal(Vlong{0}, VPixVal(1)); }),
            "wrong pixel type: 1024");
  VImage int8(2, 2, "int8");
  EXPECT_EQ(RaisedCode([&] { int8.GetPixVal(Vlong{0}); }), 9007u);
  EXPECT_EQ(RaisedMessage([&] { int8.PixType(); }), "wrong pixel type");
}

TEST_F(ImageClassTest, GetPixValBeforeInitReadsIndexX) {
  VImage image(ByteImage({1, 2, 3, 4, 5, 6}, 3, 2));
  // The cached width is still 0: (1, 1) is index 1.
  EXPECT_EQ(static_cast<int>(image.GetPixVal(1, 1)), 2);
  EXPECT_EQ(image.Width(), 3);
  EXPECT_EQ(static_cast<int>(image.GetPixVal(1, 1)), 5);
}

TEST_F(ImageClassTest, CopySharesPixelsUntilOneIsWritten) {
  VByteImage a(ByteImage({10, 20, 30, 40}, 2, 2));
  VImage copy(a);
  EXPECT_EQ(a.NumImageRefs(), 2);
  EXPECT_TRUE(copy.Shared());
  a[3] = 99;  // a byte image writes after Private: a copy of its own first
  EXPECT_EQ(a.NumImageRefs(), 1);
  EXPECT_DOUBLE_EQ(Gray(a, 1, 1), 99.0);
  EXPECT_DOUBLE_EQ(Gray(copy, 1, 1), 40.0);
  // Assignment resets the caches of both sides, so a second write copies
  // again.
  VByteImage b;
  b = a;
  b(0, 0) = 7;
  EXPECT_DOUBLE_EQ(Gray(a, 0, 0), 10.0);
  EXPECT_DOUBLE_EQ(Gray(b, 0, 0), 7.0);
  EXPECT_EQ(static_cast<int>(a(Vlong{3})), 99);
}

TEST_F(ImageClassTest, WideTypesWriteThroughWithoutACopy) {
  VInt4Image a(4, 1);
  const VImage copy(a);
  a[2] = -5;  // Init only: the shared pixels change for both
  EXPECT_DOUBLE_EQ(Gray(copy, 0, 2), -5.0);
  // A const read makes the image its own.
  const VInt4Image& reader = a;
  EXPECT_EQ(reader[2], -5);
  EXPECT_EQ(a.NumImageRefs(), 1);
  a[1] = 8;
  EXPECT_DOUBLE_EQ(Gray(copy, 0, 1), 0.0);

  VFloatImage f(2, 2);
  f.SetPixVal(1, 1, VPixVal(1.5));
  const VFloatImage& cf = f;
  EXPECT_DOUBLE_EQ(cf(1, 1), 1.5);
  VUInt2Image u(2, 1);
  u.SetPixVal(Vlong{1}, VPixVal(70000));
  EXPECT_EQ(static_cast<const VUInt2Image&>(u)[1], 65535);
  VInt2Image s(2, 1);
  s.SetPixVal(Vlong{0}, VPixVal(-40000));
  EXPECT_EQ(static_cast<const VInt2Image&>(s)[0], -32768);
}

TEST_F(ImageClassTest, TypedConstructorsConvertOrNot) {
  VImage real(3, 1, "real");
  real.SetPixVal(Vlong{0}, VPixVal(4.75));
  // The byte class does not look: it keeps the float pixels.
  const VByteImage kept(real);
  EXPECT_STREQ(kept.PixType(), "byte");
  EXPECT_STREQ(static_cast<const VImage&>(kept).VImage::PixType(), "real");
  // The others convert.
  const VInt2Image converted(real);
  EXPECT_STREQ(converted.PixType(), "int2");
  Vobject reference;
  ASSERT_EQ(convert_image_type(Vobject(real.Key(), 0), &reference, "int2"), VRESULT_OK);
  EXPECT_DOUBLE_EQ(Gray(converted, 0, 0), Gray(VImage(reference), 0, 0));
  const VUInt2Image from_byte{VByteImage(ByteImage({200, 1}, 2, 1))};
  EXPECT_STREQ(from_byte.PixType(), "uint2");
  EXPECT_DOUBLE_EQ(Gray(from_byte, 0, 0), 200.0);
  // The complex class makes empty images whatever it is given.
  const VComplexImage complex(4, 4);
  EXPECT_EQ(complex.Key(), VKEY_UNDEF);
  EXPECT_STREQ(complex.ClassName(), "VComplexImage");
}

TEST_F(ImageClassTest, ObjectOfNoImageIsRefused) {
  Vobject rect;
  ASSERT_EQ(gen_rectangle1(&rect, 0.0, 0.0, 3.0, 3.0), VRESULT_OK);
  EXPECT_EQ(RaisedMessage([&] { VImage image(rect); }),
            "object has no gray value components");
  const VImage image(ByteImage({1, 2}, 2, 1));
  const VImage again(image.Id());
  EXPECT_DOUBLE_EQ(Gray(again, 0, 1), 2.0);
}

TEST_F(ImageClassTest, ArrayHoldsImagesAndTheirKeys) {
  VImageArray images;
  images.Append(ByteImage({1}, 1, 1));
  images.Append(VImage(2, 2, "real"));
  ASSERT_EQ(images.Num(), 2);
  EXPECT_STREQ(images[1].PixType(), "real");
  const VImageArray copy(images);
  const VImageArray part = copy(1, 1);
  ASSERT_EQ(part.Num(), 1);
  EXPECT_EQ(part[0].Width(), 2);
  // Back through a key tuple.
  const VImageArray again(images.Id());
  ASSERT_EQ(again.Num(), 2);
  EXPECT_DOUBLE_EQ(Gray(again[0], 0, 0), 1.0);
  EXPECT_EQ(RaisedMessage([&] { copy[2]; }), "Index out of range: 2, range = (0,2)");
  EXPECT_STREQ(copy.ClassName(), "VImageArray");
}

}  // namespace
