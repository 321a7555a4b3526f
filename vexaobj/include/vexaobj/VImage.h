// VImage: the handle of one image object of the runtime. Beside the
// operator methods it keeps a cache of the image's attributes (size, pixel
// type and the address of the first channel's pixels), filled on first use
// by Init, and makes the image its own before pixels are written (Private:
// an image whose pixels another object still uses is copied first).
//
// The cache describes the key it was filled for: FreeData, SetKey, InitKey
// and Reset of VObject leave it, assignment resets it (on both sides, since
// the two handles then share pixels).
#ifndef VEXAOBJ_VIMAGE_H
#define VEXAOBJ_VIMAGE_H

#include <vexaobj/VObject.h>
#include <vexaobj/VPixVal.h>

#if __has_include(<vexaobj/methods/VImage_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VImage_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VAffineTrans;
class VImageArray;
class VRegion;

// Root of the image classes' pixel interface; it has no data and no class
// derives from it.
class VBaseImage : public VRootObject {};

// Numeric pixel kinds of the cache, as GetPixVal and SetPixVal know them.
enum VPixKind {
  VPIX_KIND_BYTE = 1,
  VPIX_KIND_INT4 = 2,
  VPIX_KIND_FLOAT = 4,
  VPIX_KIND_INT1 = 32,
  VPIX_KIND_COMPLEX = 128,
  VPIX_KIND_INT2 = 512,
  VPIX_KIND_UINT2 = 1024,
};

class VImage : public VObject {
 public:
  VImage();
  // Takes over `key`, 0 becoming 1.
  explicit VImage(Vkey key);
  // A key of its own for the object of `obj`, which must be an iconic
  // object with at least one channel.
  explicit VImage(const Vobject& obj);
  // Reads an image file.
  explicit VImage(const char* file);
  VImage(const VImage& image);
  // The first image of the array.
  explicit VImage(const VImageArray& a);
  // An image of zeros.
  VImage(int width, int height, const char* type = "byte");
  // An image of a copy of the caller's pixels.
  VImage(void* ptr, int width, int height, const char* type = "byte");
  // An image of the caller's pixels, which the runtime frees with
  // clear_proc(ptr) once no image uses them any more.
  VImage(void* ptr, void* clear_proc, int width, int height,
         const char* type = "byte");
  ~VImage() override = default;

  // Both this image and `r` lose their cache: they now share pixels.
  VImage& operator=(const VImage& r);
  VImage& operator=(const VImageArray& a);

  // ---- VObject ------------------------------------------------------------
  const char* ClassName() const override { return "VImage"; }
  // 1 when the pixels are used by another object as well.
  int Shared() const override;
  const char* VClassName() const override { return "image"; }
  const char* InstClassName() const override { return "VImage"; }
  int ClassDBID() const override { return 2; }
  const char* Creator() const override;
  // An iconic object with at least one channel; key 1 passes.
  void CheckMyObjClass() const override;
  // disp_color for three channels, disp_image otherwise.
  void Display(const VWindow& w) const override;

  // ---- Pixel access through VPixVal ----------------------------------------
  // The runtime's pixel type text.
  virtual const char* PixType() const;
  virtual void SetPixVal(Vlong k, const VPixVal& val);
  virtual void SetPixVal(int x, int y, const VPixVal& val);
  // Does nothing.
  virtual void Transform(const VAffineTrans& t, int mode);

#if __has_include(<vexaobj/methods/VImage.inc>)
#include <vexaobj/methods/VImage.inc>
#endif

  int Width() const;
  int Height() const;
  // Number of key references to the first channel's pixels (0 for key 1).
  Vlong NumImageRefs() const;
  // Number of images in the database.
  static Vlong NumData();
  // Pixel (x, y) is index width * y + x; the width is the cached one,
  // without Init, so before the first Init this reads index x.
  VPixVal GetPixVal(int x, int y) const;
  VPixVal GetPixVal(Vlong k) const;

#if __has_include(<vexaobj/methods/VImage.inc>)
  // ---- Symbol operators: each runs the operator method named --------------
  VImage operator&(const VRegion& r) const;  // ReduceDomain
  VImage operator+(const VImage& b) const;   // AddImage(b, 1, 0)
  VImage operator-(const VImage& b) const;   // SubImage(b, 1, 0)
  VImage operator*(const VImage& b) const;   // MultImage(b, 1, 0)
  VImage operator-() const;                  // InvertImage
  VImage operator+(double d) const;          // ScaleImage(1, d)
  VImage operator-(double d) const;          // ScaleImage(1, -d)
  VImage operator*(double d) const;          // ScaleImage(d, 0)
  VImage operator/(double d) const;          // ScaleImage(1 / d, 0)
  VRegion operator>=(const VImage& b) const;  // DynThreshold(b, 0, "light")
  VRegion operator<=(const VImage& b) const;  // DynThreshold(b, 0, "dark")
  VRegion operator>=(double d) const;         // Threshold(d, max)
  VRegion operator<=(double d) const;         // Threshold(-max, d)
  VRegion operator==(double d) const;         // Threshold(d, d)
  // The whole image rectangle minus the pixels equal to d: unlike the
  // other comparisons this ignores the domain.
  VRegion operator!=(double d) const;
#endif

 protected:
  // Forgets the cache; pix_size and pix_type stay as they were.
  void SetInitial() const;
  // Fills the cache from the runtime; reports an unknown pixel type with
  // code 9007.
  void Init() const;
  // Makes the pixels this handle's own (copying a shared image), then
  // fills the cache; afterwards `data` may be written.
  void Private() const;
  // This handle takes the conversion of `from` to `type` (which may be
  // this very image).
  void CopyConvertedImage(const VImage& from, const char* type);
  // Fills the cache if it is not filled.
  void NeedInit() const {
    if (!initialized) Init();
  }
  // Makes the pixels writable if they are not yet.
  void NeedPrivate() const {
    if (!is_private) Private();
  }
  template <class T>
  T* Elems() const {
    return static_cast<T*>(data);
  }
  // The checks of the typed classes' constructors: an image read from
  // `file` must have one channel; an image whose PixType differs from
  // `type` is replaced by its conversion.
  void FitFileToType(const char* file, const char* type);
  void FitToType(const char* type);

  mutable int initialized = 0;
  mutable int is_private = 0;
  mutable int pix_size = 0;
  mutable int width = 0;
  mutable int height = 0;
  mutable int pix_kind = 0;
  mutable char pix_type[24] = {};
  mutable void* data = nullptr;

 private:
  // The array moves, copies and releases the keys of its elements in one
  // runtime bracket for all of them.
  friend class VImageArray;
  friend struct internal::ElementArray<VImageArray, VImage>;
  // The handle takes a key of its own for the object of `from`; both
  // caches are reset.
  void TakeOver(const VImage& from);
  // Fills data, pix_type, width and height by get_image_pointer1.
  bool ReadPointer(const char* function) const;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VIMAGE_H
