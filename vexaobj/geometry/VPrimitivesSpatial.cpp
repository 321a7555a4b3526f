// Virtual operations of the real points and vectors: the base-class
// comparisons and dot product, the failing accessors of 2D classes, the
// in-place operators on an abstract operand (full precision), distances,
// lengths and the integer cross product.
#include <cmath>

#include <vexaobj/VAffineTrans.h>
#include <vexaobj/VPoint.h>

#include "../control/raise.h"

namespace Vexa {

using geometry::TruncInt;
using geometry::WrapMul;
using geometry::WrapSub;

namespace {

constexpr const char* kZProc = "VCoord &Z(void)";

double Hypot3(double a, double b, double c) {
  return std::sqrt(a * a + b * b + c * c);
}

}  // namespace

int VPoint::operator==(const VPoint& p) const {
  return X() == p.X() && Y() == p.Y() && Z() == p.Z();
}

int VPoint::operator!=(const VPoint& p) const { return !(*this == p); }

int VVector::operator==(const VVector& v) const {
  return X() == v.X() && Y() == v.Y() && Z() == v.Z();
}

int VVector::operator!=(const VVector& v) const { return !(*this == v); }

double VVector::operator*(const VVector& v) const {
  return X() * v.X() + Y() * v.Y() + Z() * v.Z();
}

// --- VPoint2D

VCoord& VPoint2D::Z() {
  VEXA_RAISE(kZProc, "illegal access");
  return x;
}

VPoint& VPoint2D::operator+=(const VPoint& p) {
  x += p.X();
  y += p.Y();
  return *this;
}

VPoint& VPoint2D::operator-=(const VPoint& p) {
  x -= p.X();
  y -= p.Y();
  return *this;
}

double VPoint2D::Distance(const VPoint& p) const {
  return Hypot3(p.X() - x, p.Y() - y, p.Z());
}

void VPoint2D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VPoint3D

VPoint& VPoint3D::operator+=(const VPoint& p) {
  x += p.X();
  y += p.Y();
  z += p.Z();
  return *this;
}

VPoint& VPoint3D::operator-=(const VPoint& p) {
  x -= p.X();
  y -= p.Y();
  z -= p.Z();
  return *this;
}

double VPoint3D::Distance(const VPoint& p) const {
  return Hypot3(p.X() - x, p.Y() - y, p.Z() - z);
}

void VPoint3D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VVector2D

VCoord& VVector2D::Z() {
  VEXA_RAISE(kZProc, "illegal access");
  return x;
}

VVector& VVector2D::operator+=(const VVector& v) {
  x += v.X();
  y += v.Y();
  return *this;
}

VVector& VVector2D::operator-=(const VVector& v) {
  x -= v.X();
  y -= v.Y();
  return *this;
}

double VVector2D::Length() const { return Hypot3(x, y, 0.0); }

void VVector2D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VVector3D

VVector& VVector3D::operator+=(const VVector& v) {
  x += v.X();
  y += v.Y();
  z += v.Z();
  return *this;
}

VVector& VVector3D::operator-=(const VVector& v) {
  x -= v.X();
  y -= v.Y();
  z -= v.Z();
  return *this;
}

double VVector3D::Length() const { return Hypot3(x, y, z); }

void VVector3D::Transform(const VAffineTrans& t) { t.Transform(*this); }

VVector3D VVector3D::CrossProduct(const VVector& v) const {
  const int ax = TruncInt(x), ay = TruncInt(y), az = TruncInt(z);
  const int bx = TruncInt(v.X()), by = TruncInt(v.Y()), bz = TruncInt(v.Z());
  return VVector3D(WrapSub(WrapMul(ay, bz), WrapMul(az, by)),
                   WrapSub(WrapMul(az, bx), WrapMul(ax, bz)),
                   WrapSub(WrapMul(ax, by), WrapMul(ay, bx)));
}

}  // namespace Vexa
