// Angle unit conversions and the absolute value of complex numbers with
// its integer and byte forms.
#include <cmath>

#include <vexaobj/VNumeric.h>
#include <vexaobj/VGeometryBase.h>

namespace Vexa {

VAngleDeg::operator VAngleRad() const {
  return VAngleRad(value / 180.0 * geometry::kPi);
}

VAngleRad::operator VAngleDeg() const {
  return VAngleDeg(value / 180.0 * geometry::kPi);
}

double VComplex::VAbs() const { return std::sqrt(re * re + im * im); }

VComplex::operator int() const { return geometry::TruncInt(VAbs()); }

VComplex::operator Vlong() const { return geometry::TruncLong(VAbs()); }

VComplex::operator unsigned char() const {
  const double a = VAbs();
  if (a > 255.5) return 255;
  return static_cast<unsigned char>(geometry::TruncInt(a + 0.5));
}

}  // namespace Vexa
