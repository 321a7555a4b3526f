// VImageArray: the handle of a list of images of the runtime, as an array
// of VImage elements. It turns the keys of an operator's result into
// elements (SetKeys), hands its elements' keys to an operator in one call,
// and copies, grows and releases them.
#ifndef VEXAOBJ_VIMAGEARRAY_H
#define VEXAOBJ_VIMAGEARRAY_H

#include <vexaobj/VImage.h>
#include <vexaobj/VObjectArray.h>

#if __has_include(<vexaobj/methods/VImageArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VImageArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VImageArray : public VObjectArray {
 public:
  VImageArray();
  // Takes over `n` keys as they are; each must be an iconic object.
  VImageArray(Vkey* keys, Vlong n);
  // An image (one element) or a key tuple (one element for each key).
  explicit VImageArray(const Vobject& obj);
  explicit VImageArray(const VImage& image);
  // Elements get keys of their own; holes stay holes, the capacity is the
  // source's count.
  VImageArray(const VImageArray& in);
  VImageArray& operator=(const VImageArray& in);
  ~VImageArray() override;

  const char* ClassName() const override { return "VImageArray"; }
  Vkey Key(Vlong i) const override { return elems[i].Key(); }
  Vobject ElemId(Vlong i) const override;
  // Each element's Display in turn.
  void Display(const VWindow& w) const override;
  void SetKeys(Vkey* keys, Vlong n, unsigned int* error) override;
  void SetKeys(Vkey* keys, Vlong n) override;
  virtual const char* VClassName() const { return "image"; }
  virtual int ClassDBID() const { return 2; }
  virtual void CopyVImageArray(const VImageArray& in);
  // Releases the keys of all elements and frees them; `num` and `elems`
  // are left for the caller to reset.
  virtual void DeleteArray();

#if __has_include(<vexaobj/methods/VImageArray.inc>)
#include <vexaobj/methods/VImageArray.inc>
#endif

  const VImage& operator[](Vlong i) const;
  // Grows the array when `i` lies beyond its end.
  VImage& operator[](Vlong i);
  // Elements `min` to `max`, both included.
  VImageArray operator()(Vlong min, Vlong max) const;
  VImageArray& Append(const VImage& image);
  VImageArray& Append(const VImageArray& a);

 private:
  friend struct internal::ElementArray<VImageArray, VImage>;

  void NewLength(Vlong new_alloc, Vlong count) override;

  VImage* elems;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VIMAGEARRAY_H
