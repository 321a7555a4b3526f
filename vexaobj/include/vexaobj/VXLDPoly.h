// VXLDPoly: the handle of one polygon of the runtime. Its members are
// those of every typed XLD handle (VXLDTyped in VXLD.h) and its operator
// methods.
#ifndef VEXAOBJ_VXLDPOLY_H
#define VEXAOBJ_VXLDPOLY_H

#include <vexaobj/VXLD.h>

#if __has_include(<vexaobj/methods/VXLDPoly_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VXLDPoly_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VXLDPolyArray;

class VXLDPoly : public internal::VXLDTyped<VXLDPoly, VXLDPolyArray, VOBJ_XLD_POLY> {
 public:
  static constexpr const char* kName = "VXLDPoly";
  static constexpr const char* kVClassName = "xld_poly";
  using VXLDTyped::VXLDTyped;
  using VXLDTyped::operator=;

#if __has_include(<vexaobj/methods/VXLDPoly.inc>)
#include <vexaobj/methods/VXLDPoly.inc>
#endif
};

extern template class internal::VXLDTyped<VXLDPoly, VXLDPolyArray, VOBJ_XLD_POLY>;

}  // namespace Vexa

#endif  // VEXAOBJ_VXLDPOLY_H
