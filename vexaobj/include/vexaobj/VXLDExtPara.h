// VXLDExtPara: the handle of one extended parallels object of the runtime. Its members are
// those of every typed XLD handle (VXLDTyped in VXLD.h) and its operator
// methods.
#ifndef VEXAOBJ_VXLDEXTPARA_H
#define VEXAOBJ_VXLDEXTPARA_H

#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDExtPara_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDExtPara_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDExtParaArray;

class VXLDExtPara : public internal::VXLDTyped<VXLDExtPara, VXLDExtParaArray, VOBJ_XLD_EXT_PARA> {
 public:
  static constexpr const char* kName = "VXLDExtPara";
  static constexpr const char* kVClassName = "xld_ext_para";
  using VXLDTyped::VXLDTyped;
  using VXLDTyped::operator=;

#if __has_include(<vexaobj/methods/VXLDExtPara.inc>)
#include <vexaobj/methods/VXLDExtPara.inc>
#endif
};

extern template class internal::VXLDTyped<VXLDExtPara, VXLDExtParaArray, VOBJ_XLD_EXT_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDEXTPARA_H
