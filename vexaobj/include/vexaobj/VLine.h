// Straight segments between two real points: distance, projection and
// intersection primitives for rectangles and polygons. Results that are
// points are built through the value constructors and so rounded to single
// precision.
#ifndef VEXAOBJ_VLINE_H
#define VEXAOBJ_VLINE_H

#include <vexaobj/VPoint.h>

namespace Vexa {

class VLine : public VSpatialObject {
 public:
  const char* ClassName() const override = 0;
  ~VLine() override = default;
  void Transform(const VAffineTrans& t) override = 0;
  void Display(const VWindow& w) const override = 0;
  virtual double Length() const = 0;
  virtual double Distance(const VPoint& p) const = 0;
};

class VLine2D : public VLine {
 public:
  VLine2D(const VPoint2D& start, const VPoint2D& end) : start(start), end(end) {}
  // Rounds both points through the value constructor.
  VLine2D(const VPoint& start, const VPoint& end)
      : start(start.X(), start.Y()), end(end.X(), end.Y()) {}
  VLine2D(const VLine2D& l) = default;
  VLine2D& operator=(const VLine2D& l) = default;

  const char* ClassName() const override { return "VLine2D"; }
  ~VLine2D() override = default;
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;
  double Length() const override;
  // Distance to the closest point of the segment; the z of a 3D point
  // counts in full.
  double Distance(const VPoint& p) const override;

  VPoint2D Start() const { return start; }
  VPoint2D End() const { return end; }
  VPoint2D& Start() { return start; }
  VPoint2D& End() { return end; }
  // 0 gives the start, every other index the end.
  VPoint& operator[](Vlong i) { return i == 0 ? start : end; }
  const VPoint& operator[](Vlong i) const { return i == 0 ? start : end; }

  // Angle in [0, 2*pi): 0 toward growing x, 3*pi/2 toward growing y.
  double Direction() const;
  // 0 at the start, 1 at the end, read from x unless the line is vertical.
  double Parameter(const VPoint2D& p) const;
  // Foot of the perpendicular on the unbounded line.
  VPoint2D PerpLinePoint(const VPoint2D& p) const;
  // Closest point of the bounded segment.
  VPoint2D ClosestPoint(const VPoint& p) const;
  // Crossing of two segments, or the no-intersection point NoIntersection.
  VPoint2D Intersection(const VLine2D& other) const;
  // 0.0 for crossing segments, otherwise the least end-point distance.
  double Distance(const VLine2D& other) const;

  // Both coordinates of the point Intersection gives when there is none:
  // the largest finite single-precision number.
  static constexpr double NoIntersection = 3.4028234663852886e+38;

 protected:
  VPoint2D start;
  VPoint2D end;
};

class VLine3D : public VLine {
 public:
  VLine3D(const VPoint3D& start, const VPoint3D& end) : start(start), end(end) {}
  VLine3D(const VPoint& start, const VPoint& end)
      : start(start.X(), start.Y(), start.Z()), end(end.X(), end.Y(), end.Z()) {}
  VLine3D(const VLine3D& l) = default;
  VLine3D& operator=(const VLine3D& l) = default;

  const char* ClassName() const override { return "VLine3D"; }
  ~VLine3D() override = default;
  void Transform(const VAffineTrans& t) override;
  // Shows the projection on x and y.
  void Display(const VWindow& w) const override;
  double Length() const override;
  // Distance to the unbounded line, through the integer cross product.
  double Distance(const VPoint& p) const override;

  VPoint3D Start() const { return start; }
  VPoint3D End() const { return end; }
  VPoint3D& Start() { return start; }
  VPoint3D& End() { return end; }
  VPoint& operator[](Vlong i) { return i == 0 ? start : end; }
  const VPoint& operator[](Vlong i) const { return i == 0 ? start : end; }

  // Closest point of the bounded segment.
  VPoint3D ClosestPoint(const VPoint& p) const;
  // Distance of the unbounded lines; parallel lines give the distance of
  // the other's start.
  double Distance(const VLine3D& other) const;

 protected:
  VPoint3D start;
  VPoint3D end;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VLINE_H
