// Real ("spatial") points and vectors in two and three dimensions, for
// sub-pixel work. `x` is the column, `y` the row. The value constructors,
// and every result built through them (unary minus, binary + and -), round
// each coordinate to single precision; in-place operators, copies and
// conversions from the integer classes keep full double precision. The
// real tree lists Y before X among its virtual operations.
#ifndef VEXAOBJ_VPOINT_H
#define VEXAOBJ_VPOINT_H

#include <vexaobj/VDPoint.h>

namespace Vexa {

class VPoint : public VSpatialObject {
 public:
  VPoint() = default;
  VPoint(const VPoint&) = default;
  VPoint& operator=(const VPoint&) { return *this; }

  const char* ClassName() const override = 0;
  ~VPoint() override = default;
  void Transform(const VAffineTrans& t) override = 0;
  void Display(const VWindow& w) const override = 0;
  virtual VCoord Y() const = 0;
  virtual VCoord& Y() = 0;
  virtual VCoord X() const = 0;
  virtual VCoord& X() = 0;
  virtual VCoord Z() const = 0;
  virtual VCoord& Z() = 0;
  virtual VCoord operator[](int i) = 0;
  virtual int operator==(const VPoint& p) const;
  virtual int operator!=(const VPoint& p) const;
  virtual VPoint& operator+=(const VPoint& p) = 0;
  virtual VPoint& operator-=(const VPoint& p) = 0;
  virtual double Distance(const VPoint& p) const = 0;
};

class VVector : public VSpatialObject {
 public:
  VVector() = default;
  VVector(const VVector&) = default;
  VVector& operator=(const VVector&) { return *this; }

  const char* ClassName() const override = 0;
  ~VVector() override = default;
  void Transform(const VAffineTrans& t) override = 0;
  void Display(const VWindow& w) const override = 0;
  virtual VCoord Y() const = 0;
  virtual VCoord& Y() = 0;
  virtual VCoord X() const = 0;
  virtual VCoord& X() = 0;
  virtual VCoord Z() const = 0;
  virtual VCoord& Z() = 0;
  virtual VCoord operator[](int i) = 0;
  virtual int operator==(const VVector& v) const;
  virtual int operator!=(const VVector& v) const;
  virtual VVector& operator+=(const VVector& v) = 0;
  virtual VVector& operator-=(const VVector& v) = 0;
  // x*x' + y*y' + z*z' through the accessors of both.
  virtual double operator*(const VVector& v) const;
  virtual double Length() const = 0;
};

class VPoint2D : public VPoint {
 public:
  VPoint2D() : x(0.0), y(0.0) {}
  VPoint2D(double x, double y)
      : x(geometry::Single(x)), y(geometry::Single(y)) {}
  VPoint2D(const VPoint2D& p) : VPoint(), x(p.x), y(p.y) {}
  VPoint2D(const VDPoint2D& p) : x(p.X()), y(p.Y()) {}
  VPoint2D(const VPoint& p) : x(p.X()), y(p.Y()) {}
  ~VPoint2D() override { x = y = 0.0; }

  const char* ClassName() const override { return "VPoint2D"; }
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;
  VCoord Y() const override { return y; }
  VCoord& Y() override { return y; }
  VCoord X() const override { return x; }
  VCoord& X() override { return x; }
  VCoord Z() const override { return 0.0; }
  VCoord& Z() override;
  VCoord operator[](int i) override { return i == 0 ? x : i == 1 ? y : 0.0; }
  // Compares x and y only, so a 3D point of any z can be equal.
  int operator==(const VPoint& p) const override {
    return x == p.X() && y == p.Y();
  }
  int operator!=(const VPoint& p) const override { return !(*this == p); }
  VPoint& operator+=(const VPoint& p) override;
  VPoint& operator-=(const VPoint& p) override;
  // The third term is the other's Z() itself.
  double Distance(const VPoint& p) const override;

  VPoint2D& operator=(const VPoint2D& p) {
    x = p.x;
    y = p.y;
    return *this;
  }
  int operator==(const VPoint2D& p) const { return x == p.x && y == p.y; }
  int operator!=(const VPoint2D& p) const { return !(*this == p); }
  VPoint2D operator-() const { return VPoint2D(-x, -y); }
  VPoint2D operator+(const VPoint2D& p) const {
    return VPoint2D(x + p.x, y + p.y);
  }
  VPoint2D operator-(const VPoint2D& p) const {
    return VPoint2D(x - p.x, y - p.y);
  }
  VPoint2D& operator+=(const VPoint2D& p) {
    x += p.x;
    y += p.y;
    return *this;
  }
  VPoint2D& operator-=(const VPoint2D& p) {
    x -= p.x;
    y -= p.y;
    return *this;
  }
  int operator<=(const VPoint2D& p) const {
    return y < p.y || (y == p.y && x <= p.x);
  }
  // True when `a` bounds both this point and `b` from above.
  int Inside(const VPoint2D& a, const VPoint2D& b) const {
    return a.x >= x && a.y >= y && a.x >= b.x && a.y >= b.y;
  }
  operator VDPoint2D() const {
    return VDPoint2D(geometry::TruncInt(x), geometry::TruncInt(y));
  }
  operator VDVector2D() const {
    return VDVector2D(geometry::TruncInt(x), geometry::TruncInt(y));
  }

 protected:
  VCoord x;
  VCoord y;
};

class VPoint3D : public VPoint {
 public:
  VPoint3D() : x(0.0), y(0.0), z(0.0) {}
  VPoint3D(double x, double y, double z)
      : x(geometry::Single(x)), y(geometry::Single(y)), z(geometry::Single(z)) {}
  VPoint3D(const VPoint3D& p) : VPoint(), x(p.x), y(p.y), z(p.z) {}
  VPoint3D(const VDPoint3D& p) : x(p.X()), y(p.Y()), z(p.Z()) {}
  VPoint3D(const VPoint2D& p) : x(p.X()), y(p.Y()), z(0.0) {}
  VPoint3D(const VPoint& p) : x(p.X()), y(p.Y()), z(p.Z()) {}
  ~VPoint3D() override { x = y = z = 0.0; }

  const char* ClassName() const override { return "VPoint3D"; }
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;
  VCoord Y() const override { return y; }
  VCoord& Y() override { return y; }
  VCoord X() const override { return x; }
  VCoord& X() override { return x; }
  VCoord Z() const override { return z; }
  VCoord& Z() override { return z; }
  VCoord operator[](int i) override {
    return i == 0 ? x : i == 1 ? y : i == 2 ? z : 0.0;
  }
  // Demands the other's Z() to match, so a 2D point needs z 0.
  int operator==(const VPoint& p) const override {
    return x == p.X() && y == p.Y() && z == p.Z();
  }
  int operator!=(const VPoint& p) const override { return !(*this == p); }
  VPoint& operator+=(const VPoint& p) override;
  VPoint& operator-=(const VPoint& p) override;
  double Distance(const VPoint& p) const override;

  VPoint3D& operator=(const VPoint3D& p) {
    x = p.x;
    y = p.y;
    z = p.z;
    return *this;
  }
  int operator==(const VPoint3D& p) const {
    return x == p.x && y == p.y && z == p.z;
  }
  int operator!=(const VPoint3D& p) const { return !(*this == p); }
  VPoint3D operator-() const { return VPoint3D(-x, -y, -z); }
  VPoint3D operator+(const VPoint3D& p) const {
    return VPoint3D(x + p.x, y + p.y, z + p.z);
  }
  VPoint3D operator-(const VPoint3D& p) const {
    return VPoint3D(x - p.x, y - p.y, z - p.z);
  }
  VPoint3D& operator+=(const VPoint3D& p) {
    x += p.x;
    y += p.y;
    z += p.z;
    return *this;
  }
  VPoint3D& operator-=(const VPoint3D& p) {
    x -= p.x;
    y -= p.y;
    z -= p.z;
    return *this;
  }
  operator VDPoint3D() const {
    return VDPoint3D(geometry::TruncInt(x), geometry::TruncInt(y),
                     geometry::TruncInt(z));
  }
  operator VDVector3D() const {
    return VDVector3D(geometry::TruncInt(x), geometry::TruncInt(y),
                      geometry::TruncInt(z));
  }

 protected:
  VCoord x;
  VCoord y;
  VCoord z;
};

class VVector2D : public VVector {
 public:
  VVector2D() : x(0.0), y(0.0) {}
  VVector2D(double x, double y)
      : x(geometry::Single(x)), y(geometry::Single(y)) {}
  VVector2D(const VVector2D& v) : VVector(), x(v.x), y(v.y) {}
  VVector2D(const VDVector2D& v) : x(v.X()), y(v.Y()) {}
  VVector2D(const VDVector& v) : x(v.X()), y(v.Y()) {}
  VVector2D(const VPoint& p) : x(p.X()), y(p.Y()) {}
  VVector2D(const VVector& v) : x(v.X()), y(v.Y()) {}
  ~VVector2D() override { x = y = 0.0; }

  const char* ClassName() const override { return "VVector2D"; }
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;
  VCoord Y() const override { return y; }
  VCoord& Y() override { return y; }
  VCoord X() const override { return x; }
  VCoord& X() override { return x; }
  VCoord Z() const override { return 0.0; }
  VCoord& Z() override;
  VCoord operator[](int i) override { return i == 0 ? x : i == 1 ? y : 0.0; }
  int operator==(const VVector& v) const override {
    return x == v.X() && y == v.Y();
  }
  int operator!=(const VVector& v) const override { return !(*this == v); }
  VVector& operator+=(const VVector& v) override;
  VVector& operator-=(const VVector& v) override;
  // x*x' + y*y': the z of a 3D operand is ignored.
  double operator*(const VVector& v) const override {
    return x * v.X() + y * v.Y();
  }
  double Length() const override;

  VVector2D& operator=(const VVector2D& v) {
    x = v.x;
    y = v.y;
    return *this;
  }
  int operator==(const VVector2D& v) const { return x == v.x && y == v.y; }
  int operator!=(const VVector2D& v) const { return !(*this == v); }
  VVector2D operator-() const { return VVector2D(-x, -y); }
  VVector2D operator+(const VVector2D& v) const {
    return VVector2D(x + v.x, y + v.y);
  }
  VVector2D operator-(const VVector2D& v) const {
    return VVector2D(x - v.x, y - v.y);
  }
  VVector2D& operator+=(const VVector2D& v) {
    x += v.x;
    y += v.y;
    return *this;
  }
  VVector2D& operator-=(const VVector2D& v) {
    x -= v.x;
    y -= v.y;
    return *this;
  }
  operator VDVector2D() const {
    return VDVector2D(geometry::TruncInt(x), geometry::TruncInt(y));
  }

 protected:
  VCoord x;
  VCoord y;
};

class VVector3D : public VVector {
 public:
  VVector3D() : x(0.0), y(0.0), z(0.0) {}
  VVector3D(double x, double y, double z)
      : x(geometry::Single(x)), y(geometry::Single(y)), z(geometry::Single(z)) {}
  VVector3D(const VVector3D& v) : VVector(), x(v.x), y(v.y), z(v.z) {}
  VVector3D(const VDVector& v) : x(v.X()), y(v.Y()), z(v.Z()) {}
  VVector3D(const VPoint& p) : x(p.X()), y(p.Y()), z(p.Z()) {}
  VVector3D(const VVector2D& v) : x(v.X()), y(v.Y()), z(0.0) {}
  VVector3D(const VVector& v) : x(v.X()), y(v.Y()), z(v.Z()) {}
  ~VVector3D() override { x = y = z = 0.0; }

  const char* ClassName() const override { return "VVector3D"; }
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;
  VCoord Y() const override { return y; }
  VCoord& Y() override { return y; }
  VCoord X() const override { return x; }
  VCoord& X() override { return x; }
  VCoord Z() const override { return z; }
  VCoord& Z() override { return z; }
  VCoord operator[](int i) override {
    return i == 0 ? x : i == 1 ? y : i == 2 ? z : 0.0;
  }
  int operator==(const VVector& v) const override {
    return x == v.X() && y == v.Y() && z == v.Z();
  }
  int operator!=(const VVector& v) const override { return !(*this == v); }
  VVector& operator+=(const VVector& v) override;
  VVector& operator-=(const VVector& v) override;
  double Length() const override;

  VVector3D& operator=(const VVector3D& v) {
    x = v.x;
    y = v.y;
    z = v.z;
    return *this;
  }
  int operator==(const VVector3D& v) const {
    return x == v.x && y == v.y && z == v.z;
  }
  int operator!=(const VVector3D& v) const { return !(*this == v); }
  VVector3D operator-() const { return VVector3D(-x, -y, -z); }
  VVector3D operator+(const VVector3D& v) const {
    return VVector3D(x + v.x, y + v.y, z + v.z);
  }
  VVector3D operator-(const VVector3D& v) const {
    return VVector3D(x - v.x, y - v.y, z - v.z);
  }
  VVector3D& operator+=(const VVector3D& v) {
    x += v.x;
    y += v.y;
    z += v.z;
    return *this;
  }
  VVector3D& operator-=(const VVector3D& v) {
    x -= v.x;
    y -= v.y;
    z -= v.z;
    return *this;
  }
  operator VDVector3D() const {
    return VDVector3D(geometry::TruncInt(x), geometry::TruncInt(y),
                      geometry::TruncInt(z));
  }
  // Computed in 32-bit integers on purpose: every coordinate is truncated
  // toward zero first, so fractions are lost.
  VVector3D CrossProduct(const VVector& v) const;

 protected:
  VCoord x;
  VCoord y;
  VCoord z;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VPOINT_H
