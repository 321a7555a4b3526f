// VXLD: the handle of one sub-pixel object (XLD) of the runtime, of any of
// its five classes: contour, polygon, parallels, modified and extended
// parallels. The typed handles VXLDCont, VXLDPoly, VXLDPara, VXLDModPara
// and VXLDExtPara derive from it through VXLDTyped below and differ only by
// their class ID and names.
//
// Three class tests exist and stay apart: VXLD with `check` accepts any
// sub-pixel class; a typed handle made from a key or a Vobject uses
// CheckMyObjClass with its own ID; a typed handle made from a VXLD tests
// the raw tag and reports the shorter "wrong object class passed".
#ifndef VEXAOBJ_VXLD_H
#define VEXAOBJ_VXLD_H

#include <vexa/types.h>
#include <vexaobj/VObject.h>

#if __has_include(<vexaobj/methods/VXLD_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLD_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDArray;

class VXLD : public VObject {
 public:
  VXLD();
  // Takes over `key`, 0 becoming 1. With `check` non-zero the key must be
  // a sub-pixel object of any class; the undefined key is none.
  VXLD(Vkey key, int check);
  // A key of its own for the object of `obj`; with `check` non-zero it
  // must be a sub-pixel object of any class.
  VXLD(const Vobject& obj, int check);
  VXLD(const VXLD& x);
  // The first element of the array.
  explicit VXLD(const VXLDArray& a);
  ~VXLD() override = default;

  // Both forms release the held key and take a key of their own.
  VXLD& operator=(const VXLD& x);
  VXLD& operator=(const VXLDArray& a);

  // ---- VObject ------------------------------------------------------------
  // ClassDBID stays VObject's 3 (any iconic object): VXLD accepts the five
  // sub-pixel classes only through the range test of its constructors.
  const char* ClassName() const override { return "VXLD"; }
  int Shared() const override { return 1; }
  const char* VClassName() const override { return "xld"; }
  const char* InstClassName() const override { return "VXLD"; }
  // disp_xld; nothing for the empty handle.
  void Display(const VWindow& w) const override;

#if __has_include(<vexaobj/methods/VXLD.inc>)
#include <vexaobj/methods/VXLD.inc>
#endif

 protected:
  // Releases the held key and takes a key of its own for the object of
  // `from`.
  void TakeOver(const VXLD& from);

 private:
  // The arrays move, copy and release the keys of their elements in one
  // runtime bracket for all of them.
  friend class VXLDArray;
};

namespace internal {

// 1 when `key` is the undefined key or its tag names class `id`.
bool XldTagIs(Vkey key, int id);
// 1 when `key` is a sub-pixel object of any class.
bool XldTagInRange(Vkey key);
// Raises "wrong object class passed" with a function text made from
// `pattern`, in which '@' stands for `cls` and '#' for the element class
// of an array class `cls`.
void RaiseWrongXldClass(const char* pattern, const char* cls);

// The members of a typed single XLD class `Self` (which names itself by
// kName and kVClassName) with array class `Array` and class ID `kClassId`.
template <class Self, class Array, int kClassId>
class VXLDTyped : public VXLD {
 public:
  VXLDTyped() = default;
  // Takes over `key`, which must be of class `kClassId`.
  explicit VXLDTyped(Vkey key);
  // A key of its own for the object of `obj`, which must be of class `kClassId`.
  explicit VXLDTyped(const Vobject& obj);
  VXLDTyped(const VXLDTyped& x) = default;
  // The first element of the array.
  explicit VXLDTyped(const Array& a);
  // `x` must be of class `kClassId` (the empty handle fits every class).
  explicit VXLDTyped(const VXLD& x);
  ~VXLDTyped() override = default;

  Self& operator=(const VXLDTyped& x);
  Self& operator=(const Array& a);
  // The same class test as the constructor from a VXLD.
  Self& operator=(const VXLD& x);

  const char* ClassName() const override { return Self::kName; }
  const char* VClassName() const override { return Self::kVClassName; }
  const char* InstClassName() const override { return Self::kName; }
  int ClassDBID() const override { return kClassId; }
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_VXLD_H
