// The names our DXF files use for what the format has no place for: the
// application name under which contour attributes travel as extended
// entity data, and the words that open its two lists
// (docs/formats/dxf.md).
#pragma once

namespace vexa {
namespace xld {
namespace dxf {

constexpr const char* kAppName = "VEXA_XLD";
constexpr const char* kPointAttribs = "point_attributes";
constexpr const char* kGlobalAttribs = "global_attributes";

// Group codes of extended data: application name, string, real, 32-bit
// integer.
constexpr int kXApp = 1001;
constexpr int kXString = 1000;
constexpr int kXReal = 1040;
constexpr int kXLong = 1071;

// POLYLINE and LWPOLYLINE flag bits.
constexpr int kClosed = 1;
constexpr int kMesh = 16;
constexpr int kPolyface = 64;

}  // namespace dxf
}  // namespace xld
}  // namespace vexa
