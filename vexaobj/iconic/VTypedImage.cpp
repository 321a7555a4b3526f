// Typed images: the constructors that check or convert the pixel type, and
// SetPixVal with the clipping of each type.
#include <vexaobj/VTypedImage.h>

#include <cstdint>

namespace Vexa {

namespace {

Vlong Clip(Vlong v, Vlong lo, Vlong hi) { return v < lo ? lo : (v > hi ? hi : v); }

}  // namespace

// ---- From a file and from an image of any type ------------------------------

VInt1Image::VInt1Image(const char* file) : VImage(file) { FitFileToType(file, "int1"); }
VInt1Image::VInt1Image(const VImage& image) : VImage(image) { FitToType("int1"); }

VByteImage::VByteImage(const char* file) : VImage(file) { FitFileToType(file, "byte"); }
VByteImage::VByteImage(const VImage& image) : VImage(image) { FitToType("byte"); }

VInt2Image::VInt2Image(const char* file) : VImage(file) { FitFileToType(file, "int2"); }
VInt2Image::VInt2Image(const VImage& image) : VImage(image) { FitToType("int2"); }

VUInt2Image::VUInt2Image(const char* file) : VImage(file) { FitFileToType(file, "uint2"); }
VUInt2Image::VUInt2Image(const VImage& image) : VImage(image) { FitToType("uint2"); }

VInt4Image::VInt4Image(const char* file) : VImage(file) { FitFileToType(file, "int4"); }
VInt4Image::VInt4Image(const VImage& image) : VImage(image) { FitToType("int4"); }

VFloatImage::VFloatImage(const char* file) : VImage(file) { FitFileToType(file, "real"); }
VFloatImage::VFloatImage(const VImage& image) : VImage(image) { FitToType("real"); }

// ---- Conversions of the other typed images ----------------------------------

VByteImage::VByteImage(const VInt1Image& i) { CopyConvertedImage(i, "byte"); }
VByteImage::VByteImage(const VInt2Image& i) { CopyConvertedImage(i, "byte"); }
VByteImage::VByteImage(const VUInt2Image& i) { CopyConvertedImage(i, "byte"); }
VByteImage::VByteImage(const VInt4Image& i) { CopyConvertedImage(i, "byte"); }
VByteImage::VByteImage(const VFloatImage& i) { CopyConvertedImage(i, "byte"); }
VByteImage::VByteImage(const VComplexImage& i) { CopyConvertedImage(i, "byte"); }

VInt2Image::VInt2Image(const VInt1Image& i) { CopyConvertedImage(i, "int2"); }
VInt2Image::VInt2Image(const VUInt2Image& i) { CopyConvertedImage(i, "int2"); }
VInt2Image::VInt2Image(const VInt4Image& i) { CopyConvertedImage(i, "int2"); }
VInt2Image::VInt2Image(const VFloatImage& i) { CopyConvertedImage(i, "int2"); }
VInt2Image::VInt2Image(const VComplexImage& i) { CopyConvertedImage(i, "int2"); }
VInt2Image::VInt2Image(const VByteImage& i) { CopyConvertedImage(i, "int2"); }

VUInt2Image::VUInt2Image(const VInt1Image& i) { CopyConvertedImage(i, "uint2"); }
VUInt2Image::VUInt2Image(const VInt2Image& i) { CopyConvertedImage(i, "uint2"); }
VUInt2Image::VUInt2Image(const VInt4Image& i) { CopyConvertedImage(i, "uint2"); }
VUInt2Image::VUInt2Image(const VFloatImage& i) { CopyConvertedImage(i, "uint2"); }
VUInt2Image::VUInt2Image(const VComplexImage& i) { CopyConvertedImage(i, "uint2"); }
VUInt2Image::VUInt2Image(const VByteImage& i) { CopyConvertedImage(i, "uint2"); }

// ---- SetPixVal: Init, never Private -----------------------------------------

void VByteImage::SetPixVal(Vlong k, const VPixVal& val) {
  NeedInit();
  Elems<unsigned char>()[k] =
      static_cast<unsigned char>(Clip(static_cast<Vlong>(val), 0, 255));
}
void VByteImage::SetPixVal(int x, int y, const VPixVal& val) {
  NeedInit();
  SetPixVal(Index(x, y), val);
}

void VInt2Image::SetPixVal(Vlong k, const VPixVal& val) {
  NeedInit();
  Elems<short>()[k] = static_cast<short>(Clip(static_cast<Vlong>(val), -32768, 32767));
}
void VInt2Image::SetPixVal(int x, int y, const VPixVal& val) {
  NeedInit();
  SetPixVal(static_cast<Vlong>(width) * y + x, val);
}

void VUInt2Image::SetPixVal(Vlong k, const VPixVal& val) {
  NeedInit();
  Elems<unsigned short>()[k] =
      static_cast<unsigned short>(Clip(static_cast<Vlong>(val), 0, 65535));
}
void VUInt2Image::SetPixVal(int x, int y, const VPixVal& val) {
  NeedInit();
  SetPixVal(static_cast<Vlong>(width) * y + x, val);
}

void VInt4Image::SetPixVal(Vlong k, const VPixVal& val) {
  NeedInit();
  Elems<int>()[k] = static_cast<int>(val);
}
void VInt4Image::SetPixVal(int x, int y, const VPixVal& val) {
  NeedInit();
  SetPixVal(static_cast<Vlong>(width) * y + x, val);
}

void VFloatImage::SetPixVal(Vlong k, const VPixVal& val) {
  NeedInit();
  Elems<float>()[k] = static_cast<float>(static_cast<double>(val));
}
void VFloatImage::SetPixVal(int x, int y, const VPixVal& val) {
  NeedInit();
  SetPixVal(static_cast<Vlong>(width) * y + x, val);
}

}  // namespace Vexa
