// Virtual operations of the integer points and vectors: the base-class
// comparisons and dot product, the failing accessors of 2D classes, the
// in-place operators on an abstract operand, distances and lengths.
#include <cmath>

#include <vexaobj/VAffineTrans.h>
#include <vexaobj/VDPoint.h>

#include "../control/raise.h"

namespace Vexa {

using geometry::WrapAdd;
using geometry::WrapMul;
using geometry::WrapSub;

namespace {

constexpr const char* kZProc = "VDCoord &Z(void)";

// Square root of the sum of squares, the terms widened to double first so
// that no integer overflow occurs.
double Hypot3(int a, int b, int c) {
  const double da = a, db = b, dc = c;
  return std::sqrt(da * da + db * db + dc * dc);
}

}  // namespace

int VDPoint::operator==(const VDPoint& p) const {
  return X() == p.X() && Y() == p.Y() && Z() == p.Z();
}

int VDPoint::operator!=(const VDPoint& p) const { return !(*this == p); }

int VDVector::operator==(const VDVector& v) const {
  return X() == v.X() && Y() == v.Y() && Z() == v.Z();
}

int VDVector::operator!=(const VDVector& v) const { return !(*this == v); }

Vlong VDVector::operator*(const VDVector& v) const {
  const int sum = WrapAdd(WrapAdd(WrapMul(X(), v.X()), WrapMul(Y(), v.Y())),
                          WrapMul(Z(), v.Z()));
  return sum;
}

// --- VDPoint2D

VDCoord& VDPoint2D::Z() {
  VEXA_RAISE(kZProc, "illegal access");
  return x;
}

VDCoord VDPoint2D::operator[](int i) const {
  if (i == 0) return x;
  if (i == 1) return y;
  VEXA_RAISE("VDCoord VDPoint2D::operator [] (int i) const",
             "index out of range");
  return 0;
}

VDPoint& VDPoint2D::operator+=(const VDPoint& p) {
  x = WrapAdd(x, p.X());
  y = WrapAdd(y, p.Y());
  return *this;
}

VDPoint& VDPoint2D::operator-=(const VDPoint& p) {
  x = WrapSub(x, p.X());
  y = WrapSub(y, p.Y());
  return *this;
}

double VDPoint2D::Distance(const VDPoint& p) const {
  return Hypot3(WrapSub(p.X(), x), WrapSub(p.Y(), y), p.Z());
}

void VDPoint2D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VDPoint3D

VDCoord VDPoint3D::operator[](int i) const {
  if (i == 0) return x;
  if (i == 1) return y;
  if (i == 2) return z;
  VEXA_RAISE("VDCoord VDPoint3D::operator [] (int i) const",
             "index out of range");
  return 0;
}

VDPoint& VDPoint3D::operator+=(const VDPoint& p) {
  x = WrapAdd(x, p.X());
  y = WrapAdd(y, p.Y());
  z = WrapAdd(z, p.Z());
  return *this;
}

VDPoint& VDPoint3D::operator-=(const VDPoint& p) {
  x = WrapSub(x, p.X());
  y = WrapSub(y, p.Y());
  z = WrapSub(z, p.Z());
  return *this;
}

double VDPoint3D::Distance(const VDPoint& p) const {
  return Hypot3(WrapSub(p.X(), x), WrapSub(p.Y(), y), WrapSub(p.Z(), z));
}

void VDPoint3D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VDVector2D

VDCoord& VDVector2D::Z() {
  VEXA_RAISE(kZProc, "illegal access");
  return x;
}

VDVector& VDVector2D::operator+=(const VDVector& v) {
  x = WrapAdd(x, v.X());
  y = WrapAdd(y, v.Y());
  return *this;
}

VDVector& VDVector2D::operator-=(const VDVector& v) {
  x = WrapSub(x, v.X());
  y = WrapSub(y, v.Y());
  return *this;
}

double VDVector2D::Length() const { return Hypot3(x, y, 0); }

void VDVector2D::Transform(const VAffineTrans& t) { t.Transform(*this); }

// --- VDVector3D

VDVector& VDVector3D::operator+=(const VDVector& v) {
  x = WrapAdd(x, v.X());
  y = WrapAdd(y, v.Y());
  z = WrapAdd(z, v.Z());
  return *this;
}

VDVector& VDVector3D::operator-=(const VDVector& v) {
  x = WrapSub(x, v.X());
  y = WrapSub(y, v.Y());
  z = WrapSub(z, v.Z());
  return *this;
}

double VDVector3D::Length() const { return Hypot3(x, y, z); }

void VDVector3D::Transform(const VAffineTrans& t) { t.Transform(*this); }

}  // namespace Vexa
