// The members of the typed XLD arrays, made once here for the five
// classes. Each is a fill of VXLDArray with the class's ID and the texts of
// its reports; storage is allocated and freed as the element class.
#include <vexaobj/VXLDContArray.h>
#include <vexaobj/VXLDExtParaArray.h>
#include <vexaobj/VXLDModParaArray.h>
#include <vexaobj/VXLDParaArray.h>
#include <vexaobj/VXLDPolyArray.h>

#include "iconic/xld_array_storage.h"

namespace Vexa {
namespace internal {

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(Vkey* keys, Vlong n) {
  StoreKeys(keys, n, kClassId, "@::@(Vkey *key, Vlong num)");
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(const Vobject& obj) {
  StoreObject(obj, kClassId, "@::@(const Vobject &obj)");
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(const Element& x) {
  StoreOne(x, kClassId, "@::@(const #& xld)");
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(const VXLD& x) {
  StoreOne(x, kClassId, "@::@(const VXLD &xld)");
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(const VXLDTypedArray& in) : VXLDArray() {
  CopyElements(in, kAnyXld, "");
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::VXLDTypedArray(const VXLDArray& in) {
  CopyVXLDArray(in);
}

template <class Self, class Element, int kClassId>
VXLDTypedArray<Self, Element, kClassId>::~VXLDTypedArray() {
  // Released here, as the element class: VXLDArray's destructor would free
  // the storage as VXLD handles.
  DeleteArray();
  elems = nullptr;
}

template <class Self, class Element, int kClassId>
Self& VXLDTypedArray<Self, Element, kClassId>::operator=(const VXLDTypedArray& in) {
  if (this != &in) {
    DeleteArray();
    elems = nullptr;
    CopyElements(in, kAnyXld, "");
  }
  return static_cast<Self&>(*this);
}

template <class Self, class Element, int kClassId>
Self& VXLDTypedArray<Self, Element, kClassId>::operator=(const VXLDArray& in) {
  if (this != &in) {
    DeleteArray();
    elems = nullptr;
    CopyVXLDArray(in);
  }
  return static_cast<Self&>(*this);
}

template <class Self, class Element, int kClassId>
void VXLDTypedArray<Self, Element, kClassId>::CopyVXLDArray(const VXLDArray& in) {
  CopyElements(in, kClassId, "void @::CopyVXLDArray(const VXLDArray &in)");
}

template <class Self, class Element, int kClassId>
void VXLDTypedArray<Self, Element, kClassId>::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  TakeKeys(keys, n, kClassId, error);
}

template <class Self, class Element, int kClassId>
void VXLDTypedArray<Self, Element, kClassId>::SetKeys(Vkey* keys, Vlong n) {
  TakeKeys(keys, n, kClassId, "void @::SetKeys(Vkey *key, Vlong n)");
}

template <class Self, class Element, int kClassId>
void VXLDTypedArray<Self, Element, kClassId>::DeleteArray() {
  ReleaseAs<Element>();
}

template <class Self, class Element, int kClassId>
void VXLDTypedArray<Self, Element, kClassId>::NewLength(Vlong new_alloc, Vlong count) {
  GrowAs<Element>(new_alloc, count);
}

template <class Self, class Element, int kClassId>
const Element& VXLDTypedArray<Self, Element, kClassId>::operator[](Vlong i) const {
  static const Element kNone;
  return static_cast<const Element&>(At(i, Element::kName, kNone));
}

template <class Self, class Element, int kClassId>
Element& VXLDTypedArray<Self, Element, kClassId>::operator[](Vlong i) {
  static Element scratch;
  return static_cast<Element&>(At(i, Element::kName, scratch));
}

template <class Self, class Element, int kClassId>
Self VXLDTypedArray<Self, Element, kClassId>::operator()(Vlong min, Vlong max) const {
  Self part;
  SliceInto(part, min, max);
  return part;
}

template <class Self, class Element, int kClassId>
Self& VXLDTypedArray<Self, Element, kClassId>::Append(const VXLD& x) {
  AppendChecked(x, kClassId, "@ &@::Append(const VXLD &xld)");
  return static_cast<Self&>(*this);
}

template <class Self, class Element, int kClassId>
Self& VXLDTypedArray<Self, Element, kClassId>::Append(const VXLDArray& a) {
  VXLDArray::Append(a);
  return static_cast<Self&>(*this);
}

}  // namespace internal

template class internal::VXLDTypedArray<VXLDContArray, VXLDCont, VOBJ_XLD_CONT>;
template class internal::VXLDTypedArray<VXLDPolyArray, VXLDPoly, VOBJ_XLD_POLY>;
template class internal::VXLDTypedArray<VXLDParaArray, VXLDPara, VOBJ_XLD_PARA>;
template class internal::VXLDTypedArray<VXLDModParaArray, VXLDModPara, VOBJ_XLD_MOD_PARA>;
template class internal::VXLDTypedArray<VXLDExtParaArray, VXLDExtPara, VOBJ_XLD_EXT_PARA>;

}  // namespace Vexa
