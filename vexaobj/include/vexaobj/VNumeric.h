// Numbers that carry a meaning: angles in degrees or radians, and complex
// numbers (the value of complex pixels).
#ifndef VEXAOBJ_VNUMERIC_H
#define VEXAOBJ_VNUMERIC_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VNumeric : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VNumeric() override = default;
};

// An angle stores its number as given, with no wrapping into a range.
class VAngle : public VNumeric {
 public:
  VAngle() : value(0.0) {}
  VAngle(double value) : value(value) {}
  VAngle(const VAngle& a) = default;
  VAngle& operator=(const VAngle& a) = default;

  const char* ClassName() const override = 0;
  ~VAngle() override = default;
  // The stored number, in the unit of the class.
  virtual operator double() const { return value; }
  // The raw numbers combined, with no unit conversion between the classes.
  virtual double Add(const VAngle& a) const { return value + double(a); }
  virtual double Sub(const VAngle& a) const { return value - double(a); }
  virtual double Mult(const VAngle& a) const { return value * double(a); }
  virtual double Div(const VAngle& a) const { return value / double(a); }

 protected:
  double value;
};

class VAngleRad;

class VAngleDeg : public VAngle {
 public:
  VAngleDeg() = default;
  VAngleDeg(double value) : VAngle(value) {}
  VAngleDeg(const VAngleDeg& a) = default;
  VAngleDeg& operator=(const VAngleDeg& a) = default;
  const char* ClassName() const override { return "VAngleDeg"; }
  // value / 180 * pi.
  operator VAngleRad() const;
};

class VAngleRad : public VAngle {
 public:
  VAngleRad() = default;
  VAngleRad(double value) : VAngle(value) {}
  VAngleRad(const VAngleRad& a) = default;
  VAngleRad& operator=(const VAngleRad& a) = default;
  const char* ClassName() const override { return "VAngleRad"; }
  // value / 180 * pi as well: the same formula as the other way round and
  // not its inverse, kept as it stands.
  operator VAngleDeg() const;
};

class VComplex : public VNumeric {
 public:
  VComplex() : re(0.0), im(0.0) {}
  VComplex(double re, double im) : re(re), im(im) {}
  VComplex(const VComplex& c) = default;
  VComplex& operator=(const VComplex& c) = default;
  const char* ClassName() const override { return "VComplex"; }
  ~VComplex() override = default;

  double& Re() { return re; }
  double& Im() { return im; }
  double VAbs() const;
  operator double() const { return VAbs(); }
  // The absolute value truncated toward zero.
  operator int() const;
  operator Vlong() const;
  // The absolute value saturated to a byte, rounded half up.
  operator unsigned char() const;

 protected:
  double re;
  double im;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VNUMERIC_H
