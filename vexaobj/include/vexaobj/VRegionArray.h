// VRegionArray: the handle of a list of regions of the runtime, as an array
// of VRegion elements. It turns the keys of an operator's result into
// elements (SetKeys), hands its elements' keys to an operator in one call,
// and copies, grows and releases them.
#ifndef VEXAOBJ_VREGIONARRAY_H
#define VEXAOBJ_VREGIONARRAY_H

#include <vexaobj/VObjectArray.h>
#include <vexaobj/VRegion.h>

#if __has_include(<vexaobj/methods/VRegionArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VRegionArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VRegionArray : public VObjectArray {
 public:
  VRegionArray();
  // Takes over `n` keys as they are; each must be a region.
  VRegionArray(Vkey* keys, Vlong n);
  // A region (one element) or a key tuple (one element for each key).
  explicit VRegionArray(const Vobject& obj);
  explicit VRegionArray(const VRegion& r);
  // Elements get keys of their own; holes stay holes, the record pointers
  // are not carried over, the capacity is the source's count.
  VRegionArray(const VRegionArray& in);
  VRegionArray& operator=(const VRegionArray& in);
  ~VRegionArray() override;

  const char* ClassName() const override { return "VRegionArray"; }
  Vkey Key(Vlong i) const override { return elems[i].Key(); }
  Vobject ElemId(Vlong i) const override;
  // All elements in one disp_region call.
  void Display(const VWindow& w) const override;
  void SetKeys(Vkey* keys, Vlong n, unsigned int* error) override;
  void SetKeys(Vkey* keys, Vlong n) override;
  virtual const char* VClassName() const { return "region"; }
  virtual int ClassDBID() const { return 1; }
  // Releases the keys of all elements and frees them; `num` and `elems`
  // are left for the caller to reset.
  virtual void DeleteArray();

#if __has_include(<vexaobj/methods/VRegionArray.inc>)
#include <vexaobj/methods/VRegionArray.inc>
#endif

  const VRegion& operator[](Vlong i) const;
  // Grows the array when `i` lies beyond its end.
  VRegion& operator[](Vlong i);
  // Elements `min` to `max`, both included.
  VRegionArray operator()(Vlong min, Vlong max) const;

  VRegionArray& Append(const VRegion& r);
  VRegionArray& Append(const VRegionArray& a);

#if __has_include(<vexaobj/methods/VRegionArray.inc>)
  // Symbol operators, as for VRegion, by the array's operator methods.
  VRegionArray operator>>(double d) const;            // ErosionCircle
  VRegionArray operator<<(double d) const;            // DilationCircle
  VRegionArray operator~() const;                     // Complement
  VRegionArray operator&(const VRegionArray& b) const;  // Intersection
  VRegionArray operator|(const VRegionArray& b) const;  // Union2
  VRegionArray operator/(const VRegionArray& b) const;  // Difference
  VRegionArray operator+(const VRegion& r) const;     // MinkowskiAdd1
  VRegionArray operator-(const VRegion& r) const;     // MinkowskiSub1
#endif

 private:
  friend struct internal::ElementArray<VRegionArray, VRegion>;

  void NewLength(Vlong new_alloc, Vlong count) override;
  void CopyVRegionArray(const VRegionArray& in);

  VRegion* elems;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VREGIONARRAY_H
