// Rectangles: VRectangle1 is axis-parallel, given by two corners;
// VRectangle2 is rotated, given by a centre, an angle and two half-axes.
// They hold the set logic of the geometric layer: intersection, bounding
// union, inclusion, overlap, line clipping, distances and affine
// transformation. An "empty" rectangle refuses most operations with the
// failure "empty rectangle\n".
#ifndef VEXAOBJ_VRECTANGLE_H
#define VEXAOBJ_VRECTANGLE_H

#include <vexaobj/VLine.h>
#include <vexaobj/VPoint.h>

namespace Vexa {

// Not empty means upper_left.x <= lower_right.x and upper_left.y <=
// lower_right.y; a rectangle of one point is not empty. All comparisons
// are exact, after the single-precision rounding of new points.
class VRectangle1 : public VSpatialObject {
 public:
  // (0,0)-(0,0), empty.
  VRectangle1() : empty(1) {}
  // Copies the corners exactly; empty if they are crossed.
  VRectangle1(const VPoint2D& ul, const VPoint2D& lr)
      : upper_left(ul),
        lower_right(lr),
        empty(ul.Y() > lr.Y() || ul.X() > lr.X()) {}
  // Read the source through UpperLeft and LowerRight: copying an empty
  // rectangle fails.
  VRectangle1(const VRectangle1& r);
  VRectangle1& operator=(const VRectangle1& r);

  const char* ClassName() const override { return "VRectangle1"; }
  ~VRectangle1() override = default;
  // Only quarter turns, scaling and translation keep it axis-parallel;
  // anything else fails.
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;

  const VPoint2D& UpperLeft() const;
  const VPoint2D& LowerRight() const;
  // Midpoint computed wholly in single precision.
  VPoint2D Center() const;
  // Pixel counts: one more than the coordinate difference.
  double Width() const;
  double Height() const;
  // Coordinate differences multiplied, without the added one; 0.0 if empty.
  double Area() const;
  int IsEmpty() const { return empty; }

  // Empty if either is; disjoint rectangles give crossed corners, kept.
  VRectangle1 Intersection(const VRectangle1& r) const;
  VRectangle1 operator&(const VRectangle1& r) const { return Intersection(r); }
  // Bounding union.
  VRectangle1 VMax(const VRectangle1& r) const;
  // Touching edges or corners overlap.
  int Overlaps(const VRectangle1& r) const;

  // Inclusion of areas; an empty rectangle is less than every other.
  int operator==(const VRectangle1& r) const;
  int operator!=(const VRectangle1& r) const { return !(*this == r); }
  int operator<(const VRectangle1& r) const;
  int operator<=(const VRectangle1& r) const;
  int operator>(const VRectangle1& r) const { return r < *this; }
  int operator>=(const VRectangle1& r) const { return r <= *this; }

  // Closed bounds on all four sides.
  int Includes(const VPoint2D& p) const;
  int Includes(const VLine2D& l) const;
  // Clips `line`; 0 with `result` untouched if nothing remains.
  int Intersection(const VLine2D& line, VLine2D& result) const;
  // Distance to the nearest edge, also from inside: a point inside has a
  // positive distance.
  double Distance(const VPoint2D& p) const;
  double Distance(const VLine2D& l) const;
  double CenterDistance(const VPoint2D& p) const;
  double CenterDistance(const VLine2D& l) const;

 protected:
  friend class VRectangle2;

  // Raises "empty rectangle\n" in `proc` if empty; true if it did.
  bool FailIfEmpty(const char* proc) const;
  // The clipping of a line that neither lies inside nor is a point:
  // vertical, horizontal or general.
  int ClipLine(const VPoint2D& s, const VPoint2D& e, VLine2D& result) const;
  // The least distance of the four edges by `distance(edge)`.
  template <class DistanceOf>
  double LeastEdgeDistance(DistanceOf distance) const;

  VPoint2D upper_left;
  VPoint2D lower_right;
  int empty;
};

// With c = cos phi, s = sin phi the local axes are (c, s) for ra and
// (-s, c) for rb; a point (x, y) has local coordinates u = x*c + y*s,
// v = -x*s + y*c. Only the default constructor makes one empty.
class VRectangle2 : public VSpatialObject {
 public:
  // Centre (0, 0), empty. phi, ra and rb are not part of this value; they
  // are zeroed so that they are never read uninitialised.
  VRectangle2() : phi(0.0), ra(0.0), rb(0.0), empty(1) {}
  VRectangle2(const VPoint2D& center, double ra, double rb, double phi)
      : center(center), phi(phi), ra(ra), rb(rb), empty(0) {}
  // Read the centre through Center: copying an empty rectangle fails.
  VRectangle2(const VRectangle2& r);
  VRectangle2& operator=(const VRectangle2& r);

  const char* ClassName() const override { return "VRectangle2"; }
  ~VRectangle2() override = default;
  // Any rotation is allowed; a slant fails.
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;

  double Ra() const { return ra; }
  double Rb() const { return rb; }
  double Phi() const { return phi; }
  int IsEmpty() const { return empty; }
  VPoint2D Center() const;
  // Corners at local offsets (-ra,-rb), (-ra,+rb), (+ra,+rb), (+ra,-rb).
  VPoint2D Point1() const;
  VPoint2D Point2() const;
  VPoint2D Point3() const;
  VPoint2D Point4() const;

  // Corner tests only: two long thin rectangles crossing like a plus sign
  // do not overlap.
  int Overlaps(const VRectangle2& r) const;
  int Includes(const VRectangle2& r) const;
  int Includes(const VPoint2D& p) const;
  int Includes(const VLine2D& l) const;
  int Intersection(const VLine2D& line, VLine2D& result) const;
  double Distance(const VPoint2D& p) const;
  double Distance(const VLine2D& l) const;
  double CenterDistance(const VPoint2D& p) const;
  double CenterDistance(const VLine2D& l) const;

 protected:
  bool FailIfEmpty(const char* proc) const;
  // The corner at local offset (du, dv), rounded by the value constructor.
  VPoint2D Corner(double du, double dv) const;
  // The least distance of the edges Point1-Point2, Point2-Point3,
  // Point3-Point4, Point4-Point1 by `distance(edge)`.
  template <class DistanceOf>
  double LeastEdgeDistance(DistanceOf distance) const;

  VPoint2D center;
  double phi;
  double ra;
  double rb;
  int empty;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VRECTANGLE_H
