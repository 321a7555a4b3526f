// Ellipses and circles are not transformed: their Transform is empty by
// decision, whatever the transformation.
#include <vexaobj/VEllipse.h>

namespace Vexa {

void VEllipse::Transform(const VAffineTrans&) {}

void VCircle::Transform(const VAffineTrans&) {}

}  // namespace Vexa
