// Geometry of the contour and polygon classes: segment lengths, the
// nearest segment, display as one polyline, construction from coordinate
// tuples, and the crossing test of polygons.
#include <vexaobj/VContour.h>

#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"

namespace Vexa {

namespace internal {

void RaiseSequence(const char* function, const char* format, Vlong a, Vlong b) {
  RaiseFormatted("VPrimitives", __LINE__, function, format, static_cast<long long>(a),
                 static_cast<long long>(b));
}

}  // namespace internal

namespace {

// The largest finite single-precision number: the distance when there is
// no segment at all.
constexpr double kNoDistance = 3.4028234663852886e+38;

// Closest point of segment a-b to p and its distance, for either point
// kind. A 2D segment measures with the z of p in full, as a line does.
double SegmentNearest(const VPoint2D& a, const VPoint2D& b, const VPoint& p, VPoint2D* closest) {
  const VLine2D segment(a, b);
  *closest = segment.ClosestPoint(p);
  return segment.Distance(p);
}

double SegmentNearest(const VPoint3D& a, const VPoint3D& b, const VPoint& p, VPoint3D* closest) {
  const double dx = b.X() - a.X(), dy = b.Y() - a.Y(), dz = b.Z() - a.Z();
  const double len2 = dx * dx + dy * dy + dz * dz;
  double t = 0.0;
  if (len2 > 0.0) {
    t = ((p.X() - a.X()) * dx + (p.Y() - a.Y()) * dy + (p.Z() - a.Z()) * dz) / len2;
    t = t < 0.0 ? 0.0 : t > 1.0 ? 1.0 : t;
  }
  *closest = VPoint3D(a.X() + t * dx, a.Y() + t * dy, a.Z() + t * dz);
  return closest->Distance(p);
}

// Fills `target` with point i = (columns[i], rows[i]); the length of
// `columns` sets the count.
template <class Path>
void FromTuples(Path& target, const VTuple& rows, const VTuple& columns) {
  for (Vlong i = columns.Num() - 1; i >= 0; --i)
    target[i] = VPoint2D(columns[i].D(), rows[i].D());
}

}  // namespace

template <class Self, class Root, class Point>
double VPointPath<Self, Root, Point>::Length() const {
  double length = 0.0;
  for (Vlong i = 0; i + 1 < this->num; ++i) length += this->data[i].Distance(this->data[i + 1]);
  return length;
}

template <class Self, class Root, class Point>
double VPointPath<Self, Root, Point>::Nearest(const VPoint& p, Vlong* index, Point* closest) const {
  double best = kNoDistance;
  *index = 0;
  for (Vlong i = 0; i + 1 < this->num; ++i) {
    Point candidate;
    const double d = SegmentNearest(this->data[i], this->data[i + 1], p, &candidate);
    // Strictly smaller: the lowest index wins a tie.
    if (best > d) {
      best = d;
      *index = i;
      *closest = candidate;
    }
  }
  return best;
}

template <class Self, class Root, class Point>
double VPointPath<Self, Root, Point>::Distance(const VPoint& p, Vlong& index) const {
  Point closest;
  return Nearest(p, &index, &closest);
}

template <class Self, class Root, class Point>
Point VPointPath<Self, Root, Point>::ClosestPoint(const VPoint& p, Vlong& index) const {
  Point closest;
  Nearest(p, &index, &closest);
  return closest;
}

template <class Self, class Root, class Point>
void VPointPath<Self, Root, Point>::Transform(const VAffineTrans& t) {
  for (Vlong i = 0; i < this->num; ++i) t.Transform(static_cast<VPoint&>(this->data[i]));
}

template <class Self, class Root, class Point>
void VPointPath<Self, Root, Point>::Display(const VWindow& w) const {
  VTuple rows, columns;
  for (Vlong i = this->num - 1; i >= 0; --i) {
    rows[i] = this->data[i].Y();
    columns[i] = this->data[i].X();
  }
  w.DispPolygon(rows, columns);
}

template class VPointPath<VContour2D, VContour, VPoint2D>;
template class VPointPath<VContour3D, VContour, VPoint3D>;
template class VPointPath<VPolygon2D, VPolygon, VPoint2D>;
template class VPointPath<VPolygon3D, VPolygon, VPoint3D>;

VContour2D::VContour2D(const VTuple& rows, const VTuple& columns) {
  FromTuples(*this, rows, columns);
}

VPolygon2D::VPolygon2D(const VTuple& rows, const VTuple& columns) {
  FromTuples(*this, rows, columns);
}

VPolygon2D::VPolygon2D(const VContour2D& contour) {
  for (Vlong i = contour.Num() - 1; i >= 0; --i) (*this)[i] = contour[i];
}

int VPolygon2D::Intersects(const VLine2D& line) const {
  // A private copy of the points, so that the test reads a stable list.
  const VPolygon2D points(*this);
  for (Vlong i = 0; i + 1 < points.num; ++i) {
    const VPoint2D crossing = VLine2D(points.data[i], points.data[i + 1]).Intersection(line);
    if (crossing.X() != VLine2D::NoIntersection || crossing.Y() != VLine2D::NoIntersection)
      return 1;
  }
  return 0;
}

VPolygonArray2D::VPolygonArray2D(const VContourArray2D& contours) {
  for (Vlong i = contours.Num() - 1; i >= 0; --i) (*this)[i] = VPolygon2D(contours[i]);
}

int VPolygonArray2D::Intersects(const VLine2D& line) const {
  for (Vlong i = 0; i < num; ++i)
    if (data[i].Intersects(line)) return 1;
  return 0;
}

}  // namespace Vexa
