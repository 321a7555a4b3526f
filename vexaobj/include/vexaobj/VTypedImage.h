// Typed images: handles that fix the pixel type and give direct access to
// the first channel's pixel buffer with plain index arithmetic. Index k is
// pixel (k % width, k / width); (x, y) is index width * y + x.
//
// Each access fills the image's cache first, by one of two rules:
//   - byte and int1 images read after Init and write after Private, so a
//     write through a reference never reaches pixels another image uses;
//   - the other types read after Private and write after Init only: a
//     write through a reference does not make the image its own, a read
//     does. Code that writes through them into a shared image changes
//     every image that shares it.
// Beyond that there is no test: an index outside the image is the
// caller's fault.
#ifndef VEXAOBJ_VTYPEDIMAGE_H
#define VEXAOBJ_VTYPEDIMAGE_H

#include <vexaobj/VImage.h>
#include <vexaobj/VNumeric.h>

namespace Vexa {

class VByteImage;
class VComplexImage;
class VFloatImage;
class VInt1Image;
class VInt2Image;
class VInt4Image;
class VUInt2Image;

class VInt1Image : public VImage {
 public:
  VInt1Image() = default;
  explicit VInt1Image(const char* file);
  VInt1Image(const VImage& image);
  VInt1Image(const VInt1Image& image) : VImage(image) {}
  VInt1Image& operator=(const VInt1Image& image) = default;
  VInt1Image(int width, int height) : VImage(width, height, "int1") {}
  VInt1Image(int* ptr, int width, int height) : VImage(ptr, width, height, "int1") {}
  const char* ClassName() const override { return "VInt1Image"; }
  const char* InstClassName() const override { return "VInt1Image"; }

  char operator[](Vlong k) const { NeedInit(); return Elems<char>()[k]; }
  char& operator[](Vlong k) { NeedPrivate(); return Elems<char>()[k]; }
  char operator()(Vlong k) const { return (*this)[k]; }
  char& operator()(Vlong k) { return (*this)[k]; }
  char operator()(int x, int y) const { return (*this)[Index(x, y)]; }
  char& operator()(int x, int y) { return (*this)[Index(x, y)]; }

 private:
  Vlong Index(int x, int y) const { return static_cast<Vlong>(width) * y + x; }
};

class VByteImage : public VImage {
 public:
  VByteImage() = default;
  explicit VByteImage(const char* file);
  // PixType of this class is "byte" whatever the object holds, so neither
  // of these two converts: a VByteImage made from an image of another
  // type holds that other type.
  VByteImage(const VImage& image);
  VByteImage(const VByteImage& image) : VImage(image) {}
  VByteImage& operator=(const VByteImage& image) = default;
  VByteImage(int width, int height) : VImage(width, height, "byte") {}
  VByteImage(unsigned char* ptr, int width, int height)
      : VImage(ptr, width, height, "byte") {}
  VByteImage(unsigned char* ptr, void* clear_proc, int width, int height)
      : VImage(ptr, clear_proc, width, height, "byte") {}
  // Conversions of the other typed images.
  explicit VByteImage(const VInt1Image& image);
  explicit VByteImage(const VInt2Image& image);
  explicit VByteImage(const VUInt2Image& image);
  explicit VByteImage(const VInt4Image& image);
  explicit VByteImage(const VFloatImage& image);
  explicit VByteImage(const VComplexImage& image);
  const char* ClassName() const override { return "VByteImage"; }
  const char* InstClassName() const override { return "VByteImage"; }
  // "byte", without looking at the object.
  const char* PixType() const override { return "byte"; }
  // Init, not Private: the value clipped to 0 to 255.
  void SetPixVal(Vlong k, const VPixVal& val) override;
  void SetPixVal(int x, int y, const VPixVal& val) override;

  unsigned char operator[](Vlong k) const {
    NeedInit();
    return Elems<unsigned char>()[k];
  }
  unsigned char& operator[](Vlong k) {
    NeedPrivate();
    return Elems<unsigned char>()[k];
  }
  unsigned char operator()(Vlong k) const { return (*this)[k]; }
  unsigned char& operator()(Vlong k) { return (*this)[k]; }
  unsigned char operator()(int x, int y) const { return (*this)[Index(x, y)]; }
  unsigned char& operator()(int x, int y) { return (*this)[Index(x, y)]; }

#if __has_include(<vexaobj/methods/VImage.inc>)
  // Bit operators by the operator methods of VImage.
  VByteImage operator&(int mask) const;           // BitMask
  VByteImage operator<<(int shift) const;         // BitLshift
  VByteImage operator>>(int shift) const;         // BitRshift
  VByteImage operator~() const;                   // BitNot
  VByteImage operator&(const VByteImage& b) const;  // BitAnd
  VByteImage operator|(const VByteImage& b) const;  // BitOr
  VByteImage operator^(const VByteImage& b) const;  // BitXor
  VByteImage operator&(const VRegion& r) const;   // ReduceDomain
#endif

 private:
  Vlong Index(int x, int y) const { return static_cast<Vlong>(width) * y + x; }
};

// The typed classes that read after Private and write after Init; `Elem`
// is the pixel, `Wide` what a const access gives.
#define VEXA_TYPED_IMAGE_ACCESS(Elem, Wide)                                \
  Wide operator[](Vlong k) const {                                         \
    NeedPrivate();                                                         \
    return Elems<Elem>()[k];                                               \
  }                                                                        \
  Elem& operator[](Vlong k) {                                              \
    NeedInit();                                                            \
    return Elems<Elem>()[k];                                               \
  }                                                                        \
  Wide operator()(Vlong k) const { return (*this)[k]; }                    \
  Elem& operator()(Vlong k) { return (*this)[k]; }                         \
  Wide operator()(int x, int y) const {                                    \
    return (*this)[static_cast<Vlong>(width) * y + x];                     \
  }                                                                        \
  Elem& operator()(int x, int y) {                                         \
    return (*this)[static_cast<Vlong>(width) * y + x];                     \
  }

class VInt2Image : public VImage {
 public:
  VInt2Image() = default;
  explicit VInt2Image(const char* file);
  VInt2Image(const VImage& image);
  VInt2Image(const VInt2Image& image) : VImage(image) {}
  VInt2Image& operator=(const VInt2Image& image) = default;
  VInt2Image(int width, int height) : VImage(width, height, "int2") {}
  VInt2Image(short* ptr, int width, int height) : VImage(ptr, width, height, "int2") {}
  explicit VInt2Image(const VInt1Image& image);
  explicit VInt2Image(const VUInt2Image& image);
  explicit VInt2Image(const VInt4Image& image);
  explicit VInt2Image(const VFloatImage& image);
  explicit VInt2Image(const VComplexImage& image);
  explicit VInt2Image(const VByteImage& image);
  const char* ClassName() const override { return "VInt2Image"; }
  const char* InstClassName() const override { return "VInt2Image"; }
  // Init, not Private: the value clipped to -32768 to 32767.
  void SetPixVal(Vlong k, const VPixVal& val) override;
  void SetPixVal(int x, int y, const VPixVal& val) override;
  VEXA_TYPED_IMAGE_ACCESS(short, int)
};

class VUInt2Image : public VImage {
 public:
  VUInt2Image() = default;
  explicit VUInt2Image(const char* file);
  VUInt2Image(const VImage& image);
  VUInt2Image(const VUInt2Image& image) : VImage(image) {}
  VUInt2Image& operator=(const VUInt2Image& image) = default;
  VUInt2Image(int width, int height) : VImage(width, height, "uint2") {}
  VUInt2Image(unsigned short* ptr, int width, int height)
      : VImage(ptr, width, height, "uint2") {}
  explicit VUInt2Image(const VInt1Image& image);
  explicit VUInt2Image(const VInt2Image& image);
  explicit VUInt2Image(const VInt4Image& image);
  explicit VUInt2Image(const VFloatImage& image);
  explicit VUInt2Image(const VComplexImage& image);
  explicit VUInt2Image(const VByteImage& image);
  const char* ClassName() const override { return "VUInt2Image"; }
  const char* InstClassName() const override { return "VUInt2Image"; }
  // Init, not Private: the value clipped to 0 to 65535.
  void SetPixVal(Vlong k, const VPixVal& val) override;
  void SetPixVal(int x, int y, const VPixVal& val) override;
  VEXA_TYPED_IMAGE_ACCESS(unsigned short, int)
};

class VInt4Image : public VImage {
 public:
  VInt4Image() = default;
  explicit VInt4Image(const char* file);
  VInt4Image(const VImage& image);
  VInt4Image(const VInt4Image& image) : VImage(image) {}
  VInt4Image& operator=(const VInt4Image& image) = default;
  VInt4Image(int width, int height) : VImage(width, height, "int4") {}
  VInt4Image(int* ptr, int width, int height) : VImage(ptr, width, height, "int4") {}
  const char* ClassName() const override { return "VInt4Image"; }
  const char* InstClassName() const override { return "VInt4Image"; }
  // Init, not Private: the low 32 bits of the value.
  void SetPixVal(Vlong k, const VPixVal& val) override;
  void SetPixVal(int x, int y, const VPixVal& val) override;
  VEXA_TYPED_IMAGE_ACCESS(int, int)
};

class VFloatImage : public VImage {
 public:
  VFloatImage() = default;
  explicit VFloatImage(const char* file);
  VFloatImage(const VImage& image);
  VFloatImage(const VFloatImage& image) : VImage(image) {}
  VFloatImage& operator=(const VFloatImage& image) = default;
  VFloatImage(int width, int height) : VImage(width, height, "real") {}
  VFloatImage(float* ptr, int width, int height) : VImage(ptr, width, height, "real") {}
  const char* ClassName() const override { return "VFloatImage"; }
  const char* InstClassName() const override { return "VFloatImage"; }
  // Init, not Private: the value as float.
  void SetPixVal(Vlong k, const VPixVal& val) override;
  void SetPixVal(int x, int y, const VPixVal& val) override;
  VEXA_TYPED_IMAGE_ACCESS(float, double)
};

// Every constructor makes an empty image (key 1) and ignores its
// arguments, and SetPixVal does nothing. Access treats the buffer as an
// array of VComplex objects, with their full size as the stride.
class VComplexImage : public VImage {
 public:
  VComplexImage() = default;
  VComplexImage(const VComplexImage&) : VImage() {}
  VComplexImage& operator=(const VComplexImage& image) = default;
  VComplexImage(const VImage&) {}
  VComplexImage(int, int) {}
  VComplexImage(const float*, const float*, int, int) {}
  VComplexImage(const VFloatImage&, const VFloatImage&, int, int) {}
  const char* ClassName() const override { return "VComplexImage"; }
  const char* InstClassName() const override { return "VComplexImage"; }
  void SetPixVal(Vlong, const VPixVal&) override {}
  void SetPixVal(int, int, const VPixVal&) override {}
  VEXA_TYPED_IMAGE_ACCESS(VComplex, VComplex)
};

#undef VEXA_TYPED_IMAGE_ACCESS

}  // namespace Vexa

#endif  // VEXAOBJ_VTYPEDIMAGE_H
