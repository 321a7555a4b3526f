// VXLDExtParaArray: the handle of a list of extended parallels objects of the runtime. Its
// members are those of every typed XLD array (VXLDTypedArray in
// VXLDArray.h) and its operator methods.
#ifndef VEXAOBJ_VXLDEXTPARAARRAY_H
#define VEXAOBJ_VXLDEXTPARAARRAY_H

#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDExtPara.h>

#if __has_include(<vexaobj/methods/VXLDExtParaArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDExtParaArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDExtParaArray : public internal::VXLDTypedArray<VXLDExtParaArray, VXLDExtPara, VOBJ_XLD_EXT_PARA> {
 public:
  static constexpr const char* kName = "VXLDExtParaArray";
  static constexpr const char* kVClassName = "xld_ext_para";
  using VXLDTypedArray::VXLDTypedArray;
  using VXLDTypedArray::operator=;

#if __has_include(<vexaobj/methods/VXLDExtParaArray.inc>)
#include <vexaobj/methods/VXLDExtParaArray.inc>
#endif
};

extern template class internal::VXLDTypedArray<VXLDExtParaArray, VXLDExtPara, VOBJ_XLD_EXT_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDEXTPARAARRAY_H
