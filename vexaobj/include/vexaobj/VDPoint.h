// Integer ("discrete") points and vectors in two and three dimensions, for
// pixel-grid work. `x` is the column, `y` the row. Each class has fast
// non-virtual operators on its own type and virtual operators on the
// abstract base, which read the other operand through its accessors so
// that 2D and 3D operands mix. Integer arithmetic wraps around in 32 bits.
#ifndef VEXAOBJ_VDPOINT_H
#define VEXAOBJ_VDPOINT_H

#include <vexaobj/VGeometryBase.h>

namespace Vexa {

class VDPoint : public VDiscreteObject {
 public:
  VDPoint() = default;
  VDPoint(const VDPoint&) = default;
  // The abstract part has nothing to copy.
  VDPoint& operator=(const VDPoint&) { return *this; }

  const char* ClassName() const override = 0;
  ~VDPoint() override = default;
  Vlong NumPoints() const override { return 1; }
  void Display(const VWindow& w) const override = 0;
  void Transform(const VAffineTrans& t) override = 0;
  virtual VDCoord X() const = 0;
  virtual VDCoord& X() = 0;
  virtual VDCoord Y() const = 0;
  virtual VDCoord& Y() = 0;
  virtual VDCoord Z() const = 0;
  virtual VDCoord& Z() = 0;
  virtual VDCoord operator[](int i) const = 0;
  // Compares X(), Y() and Z() of both sides.
  virtual int operator==(const VDPoint& p) const;
  virtual int operator!=(const VDPoint& p) const;
  virtual VDPoint& operator+=(const VDPoint& p) = 0;
  virtual VDPoint& operator-=(const VDPoint& p) = 0;
  virtual double Distance(const VDPoint& p) const = 0;
};

class VDVector : public VDiscreteObject {
 public:
  VDVector() = default;
  VDVector(const VDVector&) = default;
  VDVector& operator=(const VDVector&) { return *this; }

  const char* ClassName() const override = 0;
  ~VDVector() override = default;
  Vlong NumPoints() const override { return 1; }
  void Display(const VWindow& w) const override = 0;
  void Transform(const VAffineTrans& t) override = 0;
  virtual VDCoord X() const = 0;
  virtual VDCoord& X() = 0;
  virtual VDCoord Y() const = 0;
  virtual VDCoord& Y() = 0;
  virtual VDCoord Z() const = 0;
  virtual VDCoord& Z() = 0;
  virtual VDCoord operator[](int i) const = 0;
  virtual int operator==(const VDVector& v) const;
  virtual int operator!=(const VDVector& v) const;
  virtual VDVector& operator+=(const VDVector& v) = 0;
  virtual VDVector& operator-=(const VDVector& v) = 0;
  // Dot product: products and sum in 32 bits with wrap-around, widened
  // to 64 bits only at the end.
  virtual Vlong operator*(const VDVector& v) const;
  virtual double Length() const = 0;
};

class VDPoint2D : public VDPoint {
 public:
  VDPoint2D() : x(0), y(0) {}
  VDPoint2D(int x, int y) : x(x), y(y) {}
  VDPoint2D(const VDPoint2D& p) : VDPoint(), x(p.x), y(p.y) {}
  VDPoint2D(const VDPoint& p) : x(p.X()), y(p.Y()) {}
  ~VDPoint2D() override { x = y = 0; }

  const char* ClassName() const override { return "VDPoint2D"; }
  void Display(const VWindow& w) const override;
  void Transform(const VAffineTrans& t) override;
  VDCoord X() const override { return x; }
  VDCoord& X() override { return x; }
  VDCoord Y() const override { return y; }
  VDCoord& Y() override { return y; }
  VDCoord Z() const override { return 0; }
  // A 2D point has no z: fails, and gives `x` if the handler returns.
  VDCoord& Z() override;
  VDCoord operator[](int i) const override;
  // Compares x and y only: the other's z is not looked at.
  int operator==(const VDPoint& p) const override {
    return x == p.X() && y == p.Y();
  }
  int operator!=(const VDPoint& p) const override { return !(*this == p); }
  VDPoint& operator+=(const VDPoint& p) override;
  VDPoint& operator-=(const VDPoint& p) override;
  // The third term is the other's Z() itself.
  double Distance(const VDPoint& p) const override;

  VDPoint2D& operator=(const VDPoint2D& p) {
    x = p.x;
    y = p.y;
    return *this;
  }
  int operator==(const VDPoint2D& p) const { return x == p.x && y == p.y; }
  int operator!=(const VDPoint2D& p) const { return !(*this == p); }
  VDPoint2D operator-() const {
    return VDPoint2D(geometry::WrapSub(0, x), geometry::WrapSub(0, y));
  }
  VDPoint2D operator+(const VDPoint2D& p) const {
    return VDPoint2D(geometry::WrapAdd(x, p.x), geometry::WrapAdd(y, p.y));
  }
  VDPoint2D operator-(const VDPoint2D& p) const {
    return VDPoint2D(geometry::WrapSub(x, p.x), geometry::WrapSub(y, p.y));
  }
  VDPoint2D& operator+=(const VDPoint2D& p) {
    x = geometry::WrapAdd(x, p.x);
    y = geometry::WrapAdd(y, p.y);
    return *this;
  }
  VDPoint2D& operator-=(const VDPoint2D& p) {
    x = geometry::WrapSub(x, p.x);
    y = geometry::WrapSub(y, p.y);
    return *this;
  }
  // Steps along the row: x alone, and a copy of the result.
  VDPoint2D operator++() {
    x = geometry::WrapAdd(x, 1);
    return *this;
  }
  // Reading order: the row decides first.
  int operator<=(const VDPoint2D& p) const {
    return y < p.y || (y == p.y && x <= p.x);
  }
  // True when `a` bounds both this point and `b` from above; not the
  // containment in the box a..b that the name suggests.
  int Inside(const VDPoint2D& a, const VDPoint2D& b) const {
    return a.x >= x && a.y >= y && a.x >= b.x && a.y >= b.y;
  }

 protected:
  VDCoord x;
  VDCoord y;
};

class VDPoint3D : public VDPoint {
 public:
  VDPoint3D() : x(0), y(0), z(0) {}
  VDPoint3D(int x, int y, int z) : x(x), y(y), z(z) {}
  VDPoint3D(const VDPoint3D& p) : VDPoint(), x(p.x), y(p.y), z(p.z) {}
  VDPoint3D(const VDPoint2D& p) : x(p.X()), y(p.Y()), z(0) {}
  VDPoint3D(const VDPoint& p) : x(p.X()), y(p.Y()), z(p.Z()) {}
  ~VDPoint3D() override { x = y = z = 0; }

  const char* ClassName() const override { return "VDPoint3D"; }
  void Display(const VWindow& w) const override;
  void Transform(const VAffineTrans& t) override;
  VDCoord X() const override { return x; }
  VDCoord& X() override { return x; }
  VDCoord Y() const override { return y; }
  VDCoord& Y() override { return y; }
  VDCoord Z() const override { return z; }
  VDCoord& Z() override { return z; }
  VDCoord operator[](int i) const override;
  int operator==(const VDPoint& p) const override {
    return x == p.X() && y == p.Y() && z == p.Z();
  }
  int operator!=(const VDPoint& p) const override { return !(*this == p); }
  VDPoint& operator+=(const VDPoint& p) override;
  VDPoint& operator-=(const VDPoint& p) override;
  double Distance(const VDPoint& p) const override;

  VDPoint3D& operator=(const VDPoint3D& p) {
    x = p.x;
    y = p.y;
    z = p.z;
    return *this;
  }
  int operator==(const VDPoint3D& p) const {
    return x == p.x && y == p.y && z == p.z;
  }
  int operator!=(const VDPoint3D& p) const { return !(*this == p); }
  VDPoint3D operator-() const {
    return VDPoint3D(geometry::WrapSub(0, x), geometry::WrapSub(0, y),
                     geometry::WrapSub(0, z));
  }
  VDPoint3D operator+(const VDPoint3D& p) const {
    return VDPoint3D(geometry::WrapAdd(x, p.x), geometry::WrapAdd(y, p.y),
                     geometry::WrapAdd(z, p.z));
  }
  VDPoint3D operator-(const VDPoint3D& p) const {
    return VDPoint3D(geometry::WrapSub(x, p.x), geometry::WrapSub(y, p.y),
                     geometry::WrapSub(z, p.z));
  }
  VDPoint3D& operator+=(const VDPoint3D& p) {
    x = geometry::WrapAdd(x, p.x);
    y = geometry::WrapAdd(y, p.y);
    z = geometry::WrapAdd(z, p.z);
    return *this;
  }
  VDPoint3D& operator-=(const VDPoint3D& p) {
    x = geometry::WrapSub(x, p.x);
    y = geometry::WrapSub(y, p.y);
    z = geometry::WrapSub(z, p.z);
    return *this;
  }

 protected:
  VDCoord x;
  VDCoord y;
  VDCoord z;
};

class VDVector2D : public VDVector {
 public:
  VDVector2D() : x(0), y(0) {}
  VDVector2D(int x, int y) : x(x), y(y) {}
  VDVector2D(const VDVector2D& v) : VDVector(), x(v.x), y(v.y) {}
  VDVector2D(const VDVector& v) : x(v.X()), y(v.Y()) {}
  VDVector2D(const VDPoint& p) : x(p.X()), y(p.Y()) {}
  ~VDVector2D() override { x = y = 0; }

  const char* ClassName() const override { return "VDVector2D"; }
  void Display(const VWindow& w) const override;
  void Transform(const VAffineTrans& t) override;
  VDCoord X() const override { return x; }
  VDCoord& X() override { return x; }
  VDCoord Y() const override { return y; }
  VDCoord& Y() override { return y; }
  VDCoord Z() const override { return 0; }
  VDCoord& Z() override;
  // Any index but 0 and 1 gives 0, without a failure.
  VDCoord operator[](int i) const override {
    return i == 0 ? x : i == 1 ? y : 0;
  }
  int operator==(const VDVector& v) const override {
    return x == v.X() && y == v.Y();
  }
  int operator!=(const VDVector& v) const override { return !(*this == v); }
  VDVector& operator+=(const VDVector& v) override;
  VDVector& operator-=(const VDVector& v) override;
  double Length() const override;

  VDVector2D& operator=(const VDVector2D& v) {
    x = v.x;
    y = v.y;
    return *this;
  }
  int operator==(const VDVector2D& v) const { return x == v.x && y == v.y; }
  int operator!=(const VDVector2D& v) const { return !(*this == v); }
  VDVector2D operator-() const {
    return VDVector2D(geometry::WrapSub(0, x), geometry::WrapSub(0, y));
  }
  VDVector2D operator+(const VDVector2D& v) const {
    return VDVector2D(geometry::WrapAdd(x, v.x), geometry::WrapAdd(y, v.y));
  }
  VDVector2D operator-(const VDVector2D& v) const {
    return VDVector2D(geometry::WrapSub(x, v.x), geometry::WrapSub(y, v.y));
  }
  VDVector2D& operator+=(const VDVector2D& v) {
    x = geometry::WrapAdd(x, v.x);
    y = geometry::WrapAdd(y, v.y);
    return *this;
  }
  VDVector2D& operator-=(const VDVector2D& v) {
    x = geometry::WrapSub(x, v.x);
    y = geometry::WrapSub(y, v.y);
    return *this;
  }
  operator VDPoint2D() const { return VDPoint2D(x, y); }

 protected:
  VDCoord x;
  VDCoord y;
};

class VDVector3D : public VDVector {
 public:
  VDVector3D() : x(0), y(0), z(0) {}
  VDVector3D(int x, int y, int z) : x(x), y(y), z(z) {}
  VDVector3D(const VDVector3D& v) : VDVector(), x(v.x), y(v.y), z(v.z) {}
  VDVector3D(const VDVector2D& v) : x(v.X()), y(v.Y()), z(0) {}
  VDVector3D(const VDVector& v) : x(v.X()), y(v.Y()), z(v.Z()) {}
  VDVector3D(const VDPoint& p) : x(p.X()), y(p.Y()), z(p.Z()) {}
  ~VDVector3D() override { x = y = z = 0; }

  const char* ClassName() const override { return "VDVector3D"; }
  void Display(const VWindow& w) const override;
  void Transform(const VAffineTrans& t) override;
  VDCoord X() const override { return x; }
  VDCoord& X() override { return x; }
  VDCoord Y() const override { return y; }
  VDCoord& Y() override { return y; }
  VDCoord Z() const override { return z; }
  VDCoord& Z() override { return z; }
  VDCoord operator[](int i) const override {
    return i == 0 ? x : i == 1 ? y : i == 2 ? z : 0;
  }
  int operator==(const VDVector& v) const override {
    return x == v.X() && y == v.Y() && z == v.Z();
  }
  int operator!=(const VDVector& v) const override { return !(*this == v); }
  VDVector& operator+=(const VDVector& v) override;
  VDVector& operator-=(const VDVector& v) override;
  double Length() const override;

  VDVector3D& operator=(const VDVector3D& v) {
    x = v.x;
    y = v.y;
    z = v.z;
    return *this;
  }
  int operator==(const VDVector3D& v) const {
    return x == v.x && y == v.y && z == v.z;
  }
  int operator!=(const VDVector3D& v) const { return !(*this == v); }
  VDVector3D operator-() const {
    return VDVector3D(geometry::WrapSub(0, x), geometry::WrapSub(0, y),
                      geometry::WrapSub(0, z));
  }
  VDVector3D operator+(const VDVector3D& v) const {
    return VDVector3D(geometry::WrapAdd(x, v.x), geometry::WrapAdd(y, v.y),
                      geometry::WrapAdd(z, v.z));
  }
  VDVector3D operator-(const VDVector3D& v) const {
    return VDVector3D(geometry::WrapSub(x, v.x), geometry::WrapSub(y, v.y),
                      geometry::WrapSub(z, v.z));
  }
  VDVector3D& operator+=(const VDVector3D& v) {
    x = geometry::WrapAdd(x, v.x);
    y = geometry::WrapAdd(y, v.y);
    z = geometry::WrapAdd(z, v.z);
    return *this;
  }
  VDVector3D& operator-=(const VDVector3D& v) {
    x = geometry::WrapSub(x, v.x);
    y = geometry::WrapSub(y, v.y);
    z = geometry::WrapSub(z, v.z);
    return *this;
  }
  // Drops z on purpose: the point keeps x and y and gets z 0.
  operator VDPoint3D() const { return VDPoint3D(x, y, 0); }

 protected:
  VDCoord x;
  VDCoord y;
  VDCoord z;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VDPOINT_H
