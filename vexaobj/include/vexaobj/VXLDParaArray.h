// VXLDParaArray: the handle of a list of parallels objects of the runtime. Its
// members are those of every typed XLD array (VXLDTypedArray in
// VXLDArray.h) and its operator methods.
#ifndef VEXAOBJ_VXLDPARAARRAY_H
#define VEXAOBJ_VXLDPARAARRAY_H

#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDPara.h>

#if __has_include(<vexaobj/methods/VXLDParaArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDParaArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDParaArray : public internal::VXLDTypedArray<VXLDParaArray, VXLDPara, VOBJ_XLD_PARA> {
 public:
  static constexpr const char* kName = "VXLDParaArray";
  static constexpr const char* kVClassName = "xld_para";
  using VXLDTypedArray::VXLDTypedArray;
  using VXLDTypedArray::operator=;

#if __has_include(<vexaobj/methods/VXLDParaArray.inc>)
#include <vexaobj/methods/VXLDParaArray.inc>
#endif
};

extern template class internal::VXLDTypedArray<VXLDParaArray, VXLDPara, VOBJ_XLD_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDPARAARRAY_H
