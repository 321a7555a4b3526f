// VXLDCont: the handle of one contour of the runtime. Its members are
// those of every typed XLD handle (VXLDTyped in VXLD.h) and its operator
// methods.
// VClassName gives "xld_ext_para", not "xld_cont" as the array's does: the
// single contour has always reported that word, and nothing branches on it
// but the text of the wrong-class message.
#ifndef VEXAOBJ_VXLDCONT_H
#define VEXAOBJ_VXLDCONT_H

#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDCont_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDCont_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDContArray;

class VXLDCont : public internal::VXLDTyped<VXLDCont, VXLDContArray, VOBJ_XLD_CONT> {
 public:
  static constexpr const char* kName = "VXLDCont";
  static constexpr const char* kVClassName = "xld_ext_para";
  using VXLDTyped::VXLDTyped;
  using VXLDTyped::operator=;

#if __has_include(<vexaobj/methods/VXLDCont.inc>)
#include <vexaobj/methods/VXLDCont.inc>
#endif
};

extern template class internal::VXLDTyped<VXLDCont, VXLDContArray, VOBJ_XLD_CONT>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDCONT_H
