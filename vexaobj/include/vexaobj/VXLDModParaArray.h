// VXLDModParaArray: the handle of a list of modified parallels objects of the runtime. Its
// members are those of every typed XLD array (VXLDTypedArray in
// VXLDArray.h) and its operator methods.
#ifndef VEXAOBJ_VXLDMODPARAARRAY_H
#define VEXAOBJ_VXLDMODPARAARRAY_H

#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDModPara.h>

#if __has_include(<vexaobj/methods/VXLDModParaArray_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDModParaArray_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDModParaArray : public internal::VXLDTypedArray<VXLDModParaArray, VXLDModPara, VOBJ_XLD_MOD_PARA> {
 public:
  static constexpr const char* kName = "VXLDModParaArray";
  static constexpr const char* kVClassName = "xld_mod_para";
  using VXLDTypedArray::VXLDTypedArray;
  using VXLDTypedArray::operator=;

#if __has_include(<vexaobj/methods/VXLDModParaArray.inc>)
#include <vexaobj/methods/VXLDModParaArray.inc>
#endif
};

extern template class internal::VXLDTypedArray<VXLDModParaArray, VXLDModPara, VOBJ_XLD_MOD_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDMODPARAARRAY_H
