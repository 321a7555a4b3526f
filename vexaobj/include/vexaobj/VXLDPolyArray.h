// VXLDPolyArray: the handle of a list of polygons of the runtime. Its
// members are those of every typed XLD array (VXLDTypedArray in
// VXLDArray.h) and its operator methods.
#ifndef VEXAOBJ_VXLDPOLYARRAY_H
#define VEXAOBJ_VXLDPOLYARRAY_H

#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDPoly.h>

#if __has_include(<vexaobj/methods/VXLDPolyArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDPolyArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDPolyArray : public internal::VXLDTypedArray<VXLDPolyArray, VXLDPoly, VOBJ_XLD_POLY> {
 public:
  static constexpr const char* kName = "VXLDPolyArray";
  static constexpr const char* kVClassName = "xld_poly";
  using VXLDTypedArray::VXLDTypedArray;
  using VXLDTypedArray::operator=;

#if __has_include(<vexaobj/methods/VXLDPolyArray.inc>)
#include <vexaobj/methods/VXLDPolyArray.inc>
#endif
};

extern template class internal::VXLDTypedArray<VXLDPolyArray, VXLDPoly, VOBJ_XLD_POLY>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDPOLYARRAY_H
