// Pixel values: the clipping and rounding rule of each typed value, the
// conversions out, the holder's copies and type changes, and the binary
// pixel's set operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include <vexaobj/VPixVal.h>

namespace {

using namespace Vexa;

Vlong L(const VAbstractPixVal& v) { return static_cast<Vlong>(v); }

TEST(PixVal, ByteRoundsDoublesHalfUpAndWrapsAt256) {
  EXPECT_EQ(L(VBytePixVal(255.4)), 255);
  EXPECT_EQ(L(VBytePixVal(255.5)), 0);  // 256 modulo 256
  EXPECT_EQ(L(VBytePixVal(255.6)), 255);
  EXPECT_EQ(L(VBytePixVal(-0.4)), 0);
  EXPECT_EQ(L(VBytePixVal(-0.5)), 0);
  EXPECT_EQ(L(VBytePixVal(-7.0)), 0);
  EXPECT_EQ(L(VBytePixVal(1.5)), 2);
  EXPECT_EQ(L(VBytePixVal(300)), 255);
  EXPECT_EQ(L(VBytePixVal(Vlong{-3})), 0);
  // From complex: the magnitude, truncated, not rounded.
  EXPECT_EQ(L(VBytePixVal(VComplex(3.0, 4.9))), 5);
  EXPECT_EQ(L(VBytePixVal(VComplex(300.0, 0.0))), 255);
}

TEST(PixVal, OtherIntegerTypesTruncateAndClipToTheirRange) {
  EXPECT_EQ(L(VInt1PixVal(300)), 127);
  EXPECT_EQ(L(VInt1PixVal(-1.9)), -1);
  EXPECT_EQ(L(VInt1PixVal(-500.0)), -128);
  EXPECT_EQ(L(VInt2PixVal(32767.4)), 32767);
  EXPECT_EQ(L(VInt2PixVal(-40000.0)), -32768);
  EXPECT_EQ(L(VInt2PixVal(-2.7)), -2);
  EXPECT_EQ(L(VInt2PixVal(Vlong{70000})), 32767);
  EXPECT_EQ(L(VUInt2PixVal(65535.0)), 65535);
  EXPECT_EQ(L(VUInt2PixVal(65535.9)), 65535);
  EXPECT_EQ(L(VUInt2PixVal(-0.1)), 0);
  EXPECT_EQ(L(VUInt2PixVal(70000)), 65535);
  // The 4-byte value keeps all 64 bits of a Vlong.
  const Vlong big = Vlong{1} << 40;
  EXPECT_EQ(L(VInt4PixVal(big)), big);
  EXPECT_EQ(L(VInt4PixVal(-3.99)), -3);
  EXPECT_EQ(L(VIntegerPixVal(VComplex(6.0, 8.0))), 10);
}

TEST(PixVal, ConversionsOutDifferBetweenTheKinds) {
  // Integer values clip to a byte, floats keep the low 8 bits, complex
  // values round their magnitude.
  EXPECT_EQ(static_cast<unsigned char>(VIntegerPixVal(300)), 255);
  EXPECT_EQ(static_cast<unsigned char>(VIntegerPixVal(-5)), 0);
  EXPECT_EQ(static_cast<unsigned char>(VFloatPixVal(300.0)), 44);
  EXPECT_EQ(static_cast<unsigned char>(VFloatPixVal(255.9)), 255);
  EXPECT_EQ(static_cast<unsigned char>(VComplexPixVal(VComplex(254.6, 0.0))), 255);
  EXPECT_EQ(static_cast<unsigned char>(VComplexPixVal(VComplex(3.0, 4.4))), 5);
  EXPECT_EQ(static_cast<unsigned char>(VComplexPixVal(VComplex(1000.0, 0.0))), 255);

  const Vlong over32 = (Vlong{1} << 32) + 7;
  EXPECT_EQ(static_cast<int>(VIntegerPixVal(over32)), 7);
  EXPECT_EQ(static_cast<int>(VFloatPixVal(-2.9)), -2);
  EXPECT_EQ(static_cast<Vlong>(VComplexPixVal(VComplex(3.0, 4.0))), 5);
  EXPECT_DOUBLE_EQ(static_cast<double>(VComplexPixVal(VComplex(3.0, 4.0))), 5.0);
  VComplex z = static_cast<VComplex>(VIntegerPixVal(-4));
  EXPECT_DOUBLE_EQ(z.Re(), -4.0);
  EXPECT_DOUBLE_EQ(z.Im(), 0.0);
  // Not-a-number and values beyond 64 bits do not trap.
  EXPECT_EQ(L(VInt4PixVal(1e300)), INT64_MIN);
}

TEST(PixVal, CopiesOfIntegerValuesLoseTheirClass) {
  const VBytePixVal byte(200);
  VAbstractPixVal* copy = byte.Copy();
  EXPECT_STREQ(copy->ClassName(), "VIntegerPixVal");
  EXPECT_EQ(L(*copy), 200);
  delete copy;

  const VFloatPixVal real(2.5);
  copy = real.Copy();
  EXPECT_STREQ(copy->ClassName(), "VFloatPixVal");
  delete copy;

  VInt2PixVal clipped(1000);
  clipped.ToByte();
  EXPECT_EQ(L(clipped), 255);
  EXPECT_STREQ(clipped.ClassName(), "VInt2Val");
  clipped.Delete();
  EXPECT_EQ(L(clipped), 0);
}

TEST(PixVal, HolderPicksTheTypeByItsConstructor) {
  EXPECT_EQ(static_cast<int>(VPixVal()), 0);
  EXPECT_EQ(static_cast<Vlong>(VPixVal(Vlong{1} << 35)), Vlong{1} << 35);
  EXPECT_DOUBLE_EQ(static_cast<double>(VPixVal(2.75)), 2.75);
  // A complex value comes back as (magnitude, 0).
  VComplex z = static_cast<VComplex>(VPixVal(VComplex(3.0, 4.0)));
  EXPECT_DOUBLE_EQ(z.Re(), 5.0);
  EXPECT_DOUBLE_EQ(z.Im(), 0.0);
  // No arithmetic: the left operand, copied.
  EXPECT_EQ(static_cast<int>(VPixVal(1) + VPixVal(2)), 1);
  EXPECT_EQ(static_cast<int>(VPixVal(9) / VPixVal(3)), 9);
}

TEST(PixVal, HolderTypeChangesClipThroughTheNewType) {
  VPixVal v(300.7);
  v.ToInt1();
  EXPECT_EQ(static_cast<int>(v), 127);
  VPixVal w(70000);
  w.ToUInt2();
  EXPECT_EQ(static_cast<int>(w), 65535);
  VPixVal f(300.0);
  f.ToByte();  // by the float's byte conversion: low 8 bits
  EXPECT_EQ(static_cast<int>(f), 44);
  VPixVal c(VComplex(3.0, 4.0));
  c.ToInt4();
  EXPECT_EQ(static_cast<Vlong>(c), 5);
  c.ToComplexD();
  EXPECT_DOUBLE_EQ(static_cast<double>(c), 5.0);
}

TEST(PixVal, HolderCopiesAndAssignments) {
  VPixVal a(static_cast<unsigned char>(17));
  VPixVal b(a);
  EXPECT_EQ(static_cast<int>(b), 17);
  VPixVal c(3.5);
  c = a;
  EXPECT_EQ(static_cast<int>(c), 17);
  // Self-assignment copies the deleted, that is zeroed, value.
  VPixVal& same = a;
  a = same;
  EXPECT_EQ(static_cast<int>(a), 0);
  a.Delete();
  EXPECT_EQ(static_cast<int>(a), 0);
}

TEST(PixVal, BinaryPixelSetOperations) {
  const VBinPixVal set(1), clear(0), odd(static_cast<VPixValues>(2));
  EXPECT_EQ(static_cast<unsigned char>(VBinPixVal(2)), 1);
  EXPECT_EQ(static_cast<VPixValues>(odd), 2);
  EXPECT_EQ(static_cast<unsigned char>(odd), 0);
  EXPECT_FALSE(odd == set);
  EXPECT_EQ(static_cast<unsigned char>(~odd), 1);
  EXPECT_EQ(static_cast<unsigned char>(set | clear), 1);
  EXPECT_EQ(static_cast<unsigned char>(set & odd), 0);
  EXPECT_EQ(static_cast<unsigned char>(set ^ clear), 1);
  EXPECT_EQ(static_cast<unsigned char>(set ^ set), 0);
  EXPECT_EQ(static_cast<unsigned char>(set / set), 0);
  EXPECT_EQ(static_cast<VPixValues>(odd / clear), 2);

  VBinPixVal a(0);
  EXPECT_EQ(static_cast<unsigned char>(a |= set), 1);
  EXPECT_EQ(static_cast<unsigned char>(a &= clear), 0);
  EXPECT_EQ(static_cast<unsigned char>(a ^= set), 1);
  EXPECT_EQ(static_cast<unsigned char>(a /= set), 0);
}

TEST(PixVal, ClassNames) {
  EXPECT_STREQ(VBytePixVal().ClassName(), "VByteVal");
  EXPECT_STREQ(VInt1PixVal().ClassName(), "VInt1Val");
  EXPECT_STREQ(VUInt2PixVal().ClassName(), "VUInt2Val");
  EXPECT_STREQ(VInt4PixVal().ClassName(), "VInt4Val");
  EXPECT_STREQ(VPixVal().ClassName(), "VPixVal");
  EXPECT_STREQ(VBinPixVal().ClassName(), "VBinPixVal");
}

}  // namespace
