// Ellipses and circles: plain geometric records that can be displayed.
#ifndef VEXAOBJ_VELLIPSE_H
#define VEXAOBJ_VELLIPSE_H

#include <vexaobj/VPoint.h>

namespace Vexa {

class VEllipse : public VSpatialObject {
 public:
  // phi is not part of the default value; it is zeroed so that it is never
  // read uninitialised.
  VEllipse() : ra(0.0), rb(0.0), phi(0.0) {}
  VEllipse(const VPoint2D& center, double ra, double rb, double phi)
      : center(center), ra(ra), rb(rb), phi(phi) {}
  VEllipse(const VEllipse& e) = default;
  VEllipse& operator=(const VEllipse& e) = default;

  const char* ClassName() const override { return "VEllipse"; }
  ~VEllipse() override = default;
  // A transformed ellipse is not defined: the object stays as it is.
  void Transform(const VAffineTrans& t) override;
  // Passes the centre column first, truncated to an integer.
  void Display(const VWindow& w) const override;
  virtual VPoint2D Center() const { return center; }

  double Ra() const { return ra; }
  double Rb() const { return rb; }
  double Phi() const { return phi; }

 protected:
  VPoint2D center;
  double ra;
  double rb;
  double phi;
};

class VCircle : public VEllipse {
 public:
  VCircle() = default;
  VCircle(const VPoint2D& center, double radius)
      : VEllipse(center, radius, radius, 0.0) {}
  VCircle(const VCircle& c) = default;
  VCircle& operator=(const VCircle& c) = default;

  const char* ClassName() const override { return "VCircle"; }
  ~VCircle() override = default;
  void Transform(const VAffineTrans& t) override;
  // Passes the centre's x and y as doubles, column first.
  void Display(const VWindow& w) const override;

  double Radius() const { return ra; }
};

}  // namespace Vexa

#endif  // VEXAOBJ_VELLIPSE_H
