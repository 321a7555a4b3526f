// The members of the typed single XLD handles, made once here for the five
// classes.
#include <vexaobj/VXLDContArray.h>
#include <vexaobj/VXLDExtParaArray.h>
#include <vexaobj/VXLDModParaArray.h>
#include <vexaobj/VXLDParaArray.h>
#include <vexaobj/VXLDPolyArray.h>

namespace Vexa {
namespace internal {

namespace {

// Function texts of the tag test, '@' standing for the class's name.
constexpr char kFromXld[] = "@::@(const VXLD &xld)";
constexpr char kAssignXld[] = "@ &@::operator= (const VXLD &xld)";

}  // namespace

template <class Self, class Array, int kClassId>
VXLDTyped<Self, Array, kClassId>::VXLDTyped(Vkey key) : VXLD(key, 0) {
  CheckMyObjClass(kClassId);
}

template <class Self, class Array, int kClassId>
VXLDTyped<Self, Array, kClassId>::VXLDTyped(const Vobject& obj) : VXLD(obj, 0) {
  CheckMyObjClass(kClassId);
}

template <class Self, class Array, int kClassId>
VXLDTyped<Self, Array, kClassId>::VXLDTyped(const Array& a) : VXLD(a[0]) {}

template <class Self, class Array, int kClassId>
VXLDTyped<Self, Array, kClassId>::VXLDTyped(const VXLD& x) {
  if (!XldTagIs(x.Key(), kClassId)) RaiseWrongXldClass(kFromXld, Self::kName);
  TakeOver(x);
}

template <class Self, class Array, int kClassId>
Self& VXLDTyped<Self, Array, kClassId>::operator=(const VXLDTyped& x) {
  if (this != &x) TakeOver(x);
  return static_cast<Self&>(*this);
}

template <class Self, class Array, int kClassId>
Self& VXLDTyped<Self, Array, kClassId>::operator=(const Array& a) {
  TakeOver(a[0]);
  return static_cast<Self&>(*this);
}

template <class Self, class Array, int kClassId>
Self& VXLDTyped<Self, Array, kClassId>::operator=(const VXLD& x) {
  if (!XldTagIs(x.Key(), kClassId)) RaiseWrongXldClass(kAssignXld, Self::kName);
  if (this != &x) TakeOver(x);
  return static_cast<Self&>(*this);
}

}  // namespace internal

template class internal::VXLDTyped<VXLDCont, VXLDContArray, VOBJ_XLD_CONT>;
template class internal::VXLDTyped<VXLDPoly, VXLDPolyArray, VOBJ_XLD_POLY>;
template class internal::VXLDTyped<VXLDPara, VXLDParaArray, VOBJ_XLD_PARA>;
template class internal::VXLDTyped<VXLDModPara, VXLDModParaArray, VOBJ_XLD_MOD_PARA>;
template class internal::VXLDTyped<VXLDExtPara, VXLDExtParaArray, VOBJ_XLD_EXT_PARA>;

}  // namespace Vexa
