// Version data of the library build, shared by the classes that report it
// (VRootObject and VCtrlVal, which has no base).
#ifndef VEXAOBJ_CONTROL_BUILD_INFO_H
#define VEXAOBJ_CONTROL_BUILD_INFO_H

namespace Vexa {
namespace internal {

constexpr int kVersion = 12;
constexpr int kRevision = 0;

// The build date as "day.month.year" with a four-digit year.
const char* BuildDate();

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_BUILD_INFO_H
