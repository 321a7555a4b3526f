// Rules shared by the two rectangle classes: the empty-rectangle message,
// and the right-angle test that their Transform applies to the images of
// the two axes.
#ifndef VEXAOBJ_GEOMETRY_RECTANGLE_RULES_H
#define VEXAOBJ_GEOMETRY_RECTANGLE_RULES_H

#include <cmath>

#include <vexaobj/VGeometryBase.h>

namespace Vexa {
namespace geometry {

constexpr const char* kEmptyRectangle = "empty rectangle\n";
constexpr const char* kSlant = "invalid affine transformation: slant\n";
// 1000 times 2 to the power -23.
constexpr double kAxisTolerance = 0.00011920928955078125;

// True if the angle between the axes of directions a1 and a2 is more than
// a quarter turn away from a right angle. The test is one-sided: an angle
// between the axes well below a right angle passes.
inline bool IsSlanted(double a1, double a2) {
  const double d = (a1 > 0.0 && a2 < 0.0) ? a1 - kTwoPi - a2 : a2 - a1;
  return std::fabs(d) - kPi / 2.0 > kAxisTolerance;
}

}  // namespace geometry
}  // namespace Vexa

#endif  // VEXAOBJ_GEOMETRY_RECTANGLE_RULES_H
