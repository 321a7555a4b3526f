// VXLDPara: the handle of one parallels object of the runtime. Its members are
// those of every typed XLD handle (VXLDTyped in VXLD.h) and its operator
// methods.
#ifndef VEXAOBJ_VXLDPARA_H
#define VEXAOBJ_VXLDPARA_H

#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDPara_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDPara_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDParaArray;

class VXLDPara : public internal::VXLDTyped<VXLDPara, VXLDParaArray, VOBJ_XLD_PARA> {
 public:
  static constexpr const char* kName = "VXLDPara";
  static constexpr const char* kVClassName = "xld_para";
  using VXLDTyped::VXLDTyped;
  using VXLDTyped::operator=;

#if __has_include(<vexaobj/methods/VXLDPara.inc>)
#include <vexaobj/methods/VXLDPara.inc>
#endif
};

extern template class internal::VXLDTyped<VXLDPara, VXLDParaArray, VOBJ_XLD_PARA>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDPARA_H
