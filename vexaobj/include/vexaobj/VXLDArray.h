// VXLDArray: the handle of a list of sub-pixel objects of the runtime, as
// an array of VXLD elements. It turns the keys of an operator's result into
// elements (SetKeys), hands its elements' keys to an operator in one call,
// and copies, grows and releases them. The typed arrays (VXLDContArray and
// the others) derive from it through VXLDTypedArray below; they test the
// class of every key they take in, except in Append of a whole array.
//
// Storage: `elems` points at an array of VXLD-sized handles whose dynamic
// class is the array's element class. Every allocation goes through the
// virtual NewLength and every release through the virtual DeleteArray, so
// that a typed array allocates and frees its own element class.
#ifndef VEXAOBJ_VXLDARRAY_H
#define VEXAOBJ_VXLDARRAY_H

#include <vexaobj/VObjectArray.h>
#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDArray : public VObjectArray {
 public:
  VXLDArray();
  // Takes over `n` keys as they are; each must be a sub-pixel object.
  VXLDArray(Vkey* keys, Vlong n);
  // An iconic object (one element) or a key tuple (one element for each
  // key, each a sub-pixel object).
  explicit VXLDArray(const Vobject& obj);
  explicit VXLDArray(const VXLD& x);
  // Elements get keys of their own; holes stay holes, the capacity is the
  // source's count.
  VXLDArray(const VXLDArray& in);
  VXLDArray& operator=(const VXLDArray& in);
  ~VXLDArray() override;

  const char* ClassName() const override { return "VXLDArray"; }
  Vkey Key(Vlong i) const override { return elems[i].Key(); }
  Vobject ElemId(Vlong i) const override;
  // All elements in one disp_xld call.
  void Display(const VWindow& w) const override;
  // A key that is no sub-pixel object gives code 4052.
  void SetKeys(Vkey* keys, Vlong n, unsigned int* error) override;
  void SetKeys(Vkey* keys, Vlong n) override;
  virtual const char* VClassName() const { return "xld"; }
  virtual const char* InstClassName() const { return "VXLDArray"; }
  // Releases the keys of all elements and frees them; `num` and `elems`
  // are left for the caller to reset.
  virtual void DeleteArray();

#if __has_include(<vexaobj/methods/VXLDArray.inc>)
#include <vexaobj/methods/VXLDArray.inc>
#endif

  // A copy of element `i`, without a range test.
  VXLD Elem(Vlong i) const { return elems[i]; }
  const VXLD& operator[](Vlong i) const;
  // Grows the array when `i` lies beyond its end.
  VXLD& operator[](Vlong i);
  // Elements `min` to `max`, both included.
  VXLDArray operator()(Vlong min, Vlong max) const;
  VXLDArray& Append(const VXLD& x);
  // No class test: the elements of `a` are appended whatever their class.
  VXLDArray& Append(const VXLDArray& a);

 protected:
  // The class IDs a key may have: one class, or any sub-pixel class.
  static constexpr int kAnyXld = 0;
  static bool Fits(Vkey key, int id);

  // The fills shared with the typed arrays. `id` is the class the keys
  // must have; `function` is the pattern of a report's function text (see
  // internal::RaiseWrongXldClass).
  void StoreKeys(Vkey* keys, Vlong n, int id, const char* function);
  void StoreObject(const Vobject& obj, int id, const char* function);
  void StoreOne(const VXLD& x, int id, const char* function);
  // Copies the elements of `in`, each tested unless `id` is kAnyXld.
  void CopyElements(const VXLDArray& in, int id, const char* function);
  void TakeKeys(Vkey* keys, Vlong n, int id, unsigned int* error);
  void TakeKeys(Vkey* keys, Vlong n, int id, const char* function);
  void AppendChecked(const VXLD& x, int id, const char* function);
  // Index access, reported with the array's and the element's names; if
  // the reaction to a report returns, `none` (read) or `scratch` (write,
  // emptied first) stands in for the element.
  VXLD& At(Vlong i, const char* element, VXLD& scratch);
  const VXLD& At(Vlong i, const char* element, const VXLD& none) const;
  // Appends elements `min` to `max` to `part`, after the range tests.
  void SliceInto(VXLDArray& part, Vlong min, Vlong max) const;

  // Allocation and release by element class, for NewLength and DeleteArray.
  template <class Elem>
  void GrowAs(Vlong new_alloc, Vlong count);
  template <class Elem>
  void ReleaseAs();

  void NewLength(Vlong new_alloc, Vlong count) override;

  VXLD* elems;

 private:
  // Runs `fill`; if a handler throws out of a check, the keys stored so
  // far are released, since the destructor does not run for a constructor
  // that throws.
  template <class Fill>
  void ReleasingOnThrow(Fill fill);
  // A fresh storage of `capacity` elements for a count of `count`.
  void Allocate(Vlong count, Vlong capacity);
};

namespace internal {

// The members of a typed XLD array class `Self` (which names itself by
// kName and kVClassName) with element class `Element` and class ID `kClassId`.
template <class Self, class Element, int kClassId>
class VXLDTypedArray : public VXLDArray {
 public:
  VXLDTypedArray() = default;
  // Takes over `n` keys as they are; each must be of class `kClassId`.
  VXLDTypedArray(Vkey* keys, Vlong n);
  // An iconic object (one element) or a key tuple of objects of class `kClassId`.
  explicit VXLDTypedArray(const Vobject& obj);
  explicit VXLDTypedArray(const Element& x);
  explicit VXLDTypedArray(const VXLD& x);
  VXLDTypedArray(const VXLDTypedArray& in);
  // Every element of `in` must be of class `kClassId`.
  explicit VXLDTypedArray(const VXLDArray& in);
  ~VXLDTypedArray() override;

  Self& operator=(const VXLDTypedArray& in);
  Self& operator=(const VXLDArray& in);

  const char* ClassName() const override { return Self::kName; }
  // A key of another class gives code 4052.
  void SetKeys(Vkey* keys, Vlong n, unsigned int* error) override;
  void SetKeys(Vkey* keys, Vlong n) override;
  const char* VClassName() const override { return Self::kVClassName; }
  const char* InstClassName() const override { return Self::kName; }
  void DeleteArray() override;
  virtual int ClassDBID() const { return kClassId; }

  const Element& operator[](Vlong i) const;
  // Grows the array when `i` lies beyond its end.
  Element& operator[](Vlong i);
  // Elements `min` to `max`, both included.
  Self operator()(Vlong min, Vlong max) const;
  // `x` must be of class `kClassId` (the empty handle fits every class).
  Self& Append(const VXLD& x);
  // No class test, as for VXLDArray.
  Self& Append(const VXLDArray& a);

 protected:
  // Copies the elements of `in`, testing each one's class.
  void CopyVXLDArray(const VXLDArray& in);
  void NewLength(Vlong new_alloc, Vlong count) override;

  static_assert(sizeof(Element) == sizeof(VXLD),
                "the elements are reached through a VXLD pointer");
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_VXLDARRAY_H
