// Affine transformations of points and vectors. Every geometric object's
// Transform ends here by double dispatch: the object calls the overload of
// its own family. Every operation composes the new step after what the
// matrix holds, since it works on whole rows including the translation.
#ifndef VEXAOBJ_VAFFINETRANS_H
#define VEXAOBJ_VAFFINETRANS_H

#include <vexaobj/VPoint.h>

namespace Vexa {

class VAffineTrans : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VAffineTrans() override = default;
  virtual void Identity() = 0;
  virtual void Translate(const VVector& v) = 0;
  virtual void Scale(const VVector& v) = 0;
  virtual void Rotate(double phi) = 0;
  // Integer objects store each coordinate as (int)(value + 0.5).
  virtual void Transform(VDPoint& p) const = 0;
  virtual void Transform(VPoint& p) const = 0;
  // Vectors are translated just as points are.
  virtual void Transform(VDVector& v) const = 0;
  virtual void Transform(VVector& v) const = 0;
};

// 2x3 matrix, row by row: a00 a01 a02 / a10 a11 a12; the last column is
// the translation. Leaves the z of a 3D object alone.
class VAffineTrans2D : public VAffineTrans {
 public:
  VAffineTrans2D() { Identity(); }
  VAffineTrans2D(const VAffineTrans2D& t) = default;
  VAffineTrans2D& operator=(const VAffineTrans2D& t) = default;

  const char* ClassName() const override { return "VAffineTrans2D"; }
  ~VAffineTrans2D() override = default;
  void Identity() override;
  void Translate(const VVector& v) override;
  void Scale(const VVector& v) override;
  void Rotate(double phi) override;
  void Transform(VDPoint& p) const override;
  void Transform(VPoint& p) const override;
  void Transform(VDVector& v) const override;
  void Transform(VVector& v) const override;

 protected:
  double matrix[6];
};

// 3x4 matrix, row by row: a00 .. a03 / a10 .. a13 / a20 .. a23. Applied to
// a 2D object it writes through the 2D class's Z(), which fails.
class VAffineTrans3D : public VAffineTrans {
 public:
  VAffineTrans3D() { Identity(); }
  VAffineTrans3D(const VAffineTrans3D& t) = default;
  VAffineTrans3D& operator=(const VAffineTrans3D& t) = default;

  const char* ClassName() const override { return "VAffineTrans3D"; }
  ~VAffineTrans3D() override = default;
  void Identity() override;
  void Translate(const VVector& v) override;
  void Scale(const VVector& v) override;
  // Is RotateZ.
  void Rotate(double phi) override;
  void Transform(VDPoint& p) const override;
  void Transform(VPoint& p) const override;
  void Transform(VDVector& v) const override;
  void Transform(VVector& v) const override;

  // Each mixes two rows p, q with new p = c*p - s*q, new q = s*p + c*q:
  // RotateX rows 1 and 2, RotateY rows 0 and 2 (the same sign pattern as
  // the others, not the right-handed one), RotateZ rows 0 and 1.
  void RotateX(double phi);
  void RotateY(double phi);
  void RotateZ(double phi);

 protected:
  double matrix[12];
};

}  // namespace Vexa

#endif  // VEXAOBJ_VAFFINETRANS_H
