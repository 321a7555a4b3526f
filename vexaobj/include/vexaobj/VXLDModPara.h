// VXLDModPara: the handle of one modified parallels object of the runtime. Its members are
// those of every typed XLD handle (VXLDTyped in VXLD.h) and its operator
// methods.
#ifndef VEXAOBJ_VXLDMODPARA_H
#define VEXAOBJ_VXLDMODPARA_H

#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDModPara_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDModPara_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDModParaArray;

class VXLDModPara : public internal::VXLDTyped<VXLDModPara, VXLDModParaArray, VOBJ_XLD_MOD_PARA> {
 public:
  static constexpr const char* kName = "VXLDModPara";
  static constexpr const char* kVClassName = "xld_mod_para";
  using VXLDTyped::VXLDTyped;
  using VXLDTyped::operator=;

#if __has_include(<vexaobj/methods/VXLDModPara.inc>)
#include <vexaobj/methods/VXLDModPara.inc>
#endif
};

extern template class internal::VXLDTyped<VXLDModPara, VXLDModParaArray, VOBJ_XLD_MOD_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDMODPARA_H
