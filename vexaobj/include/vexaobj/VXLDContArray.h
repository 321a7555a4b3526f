// VXLDContArray: the handle of a list of contours of the runtime. Its
// members are those of every typed XLD array (VXLDTypedArray in
// VXLDArray.h) and its operator methods.
#ifndef VEXAOBJ_VXLDCONTARRAY_H
#define VEXAOBJ_VXLDCONTARRAY_H

#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDCont.h>

#if __has_include(<vexaobj/methods/VXLDContArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDContArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDContArray : public internal::VXLDTypedArray<VXLDContArray, VXLDCont, VOBJ_XLD_CONT> {
 public:
  static constexpr const char* kName = "VXLDContArray";
  static constexpr const char* kVClassName = "xld_cont";
  using VXLDTypedArray::VXLDTypedArray;
  using VXLDTypedArray::operator=;

#if __has_include(<vexaobj/methods/VXLDContArray.inc>)
#include <vexaobj/methods/VXLDContArray.inc>
#endif
};

extern template class internal::VXLDTypedArray<VXLDContArray, VXLDCont, VOBJ_XLD_CONT>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDCONTARRAY_H
