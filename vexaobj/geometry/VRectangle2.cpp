// The rotated rectangle: corners, inclusion, corner-based overlap, line
// clipping in local coordinates, distances and transformation.
#include <algorithm>
#include <cmath>

#include <vexaobj/VAffineTrans.h>
#include <vexaobj/VRectangle.h>

#include "../control/raise.h"
#include "rectangle_rules.h"

namespace Vexa {

namespace {

// Turns a point into the frame rotated by `angle`: u = x*c + y*s,
// v = -x*s + y*c. The angle -phi turns local coordinates back.
VPoint2D Turn(const VPoint2D& p, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return VPoint2D(p.X() * c + p.Y() * s, -p.X() * s + p.Y() * c);
}

VLine2D TurnLine(const VLine2D& l, double angle) {
  return VLine2D(Turn(l.Start(), angle), Turn(l.End(), angle));
}

}  // namespace

bool VRectangle2::FailIfEmpty(const char* proc) const {
  if (!empty) return false;
  VEXA_RAISE(proc, "%s", geometry::kEmptyRectangle);
  return true;
}

VRectangle2::VRectangle2(const VRectangle2& r)
    : VSpatialObject(),
      center(r.Center()),
      phi(r.phi),
      ra(r.ra),
      rb(r.rb),
      empty(r.empty) {}

VRectangle2& VRectangle2::operator=(const VRectangle2& r) {
  center = r.Center();
  phi = r.phi;
  ra = r.ra;
  rb = r.rb;
  empty = r.empty;
  return *this;
}

VPoint2D VRectangle2::Center() const {
  FailIfEmpty("VRectangle2::Center(void)");
  return center;
}

VPoint2D VRectangle2::Corner(double du, double dv) const {
  const double c = std::cos(phi), s = std::sin(phi);
  const double u = center.X() * c + center.Y() * s + du;
  const double v = -center.X() * s + center.Y() * c + dv;
  return VPoint2D(u * c - v * s, u * s + v * c);
}

VPoint2D VRectangle2::Point1() const {
  FailIfEmpty("VRectangle2::Point1(void)");
  return Corner(-ra, -rb);
}

VPoint2D VRectangle2::Point2() const {
  FailIfEmpty("VRectangle2::Point2(void)");
  return Corner(-ra, rb);
}

VPoint2D VRectangle2::Point3() const {
  FailIfEmpty("VRectangle2::Point3(void)");
  return Corner(ra, rb);
}

VPoint2D VRectangle2::Point4() const {
  FailIfEmpty("VRectangle2::Point4(void)");
  return Corner(ra, -rb);
}

int VRectangle2::Includes(const VPoint2D& p) const {
  if (empty) return 0;
  const double c = std::cos(phi), s = std::sin(phi);
  const double dx = p.X() - center.X(), dy = p.Y() - center.Y();
  if (std::fabs(dx * c + dy * s) > ra) return 0;
  if (std::fabs((center.X() - p.X()) * s + dy * c) > rb) return 0;
  return 1;
}

int VRectangle2::Includes(const VLine2D& l) const {
  return Includes(l.Start()) && Includes(l.End());
}

int VRectangle2::Includes(const VRectangle2& r) const {
  if (empty && r.empty) return 0;
  const VPoint2D corners[4] = {r.Point1(), r.Point2(), r.Point3(), r.Point4()};
  for (const VPoint2D& corner : corners) {
    if (!Includes(corner)) return 0;
  }
  return 1;
}

int VRectangle2::Overlaps(const VRectangle2& r) const {
  if (empty && r.empty) return 0;
  const VPoint2D own[4] = {Point1(), Point2(), Point3(), Point4()};
  const VPoint2D other[4] = {r.Point1(), r.Point2(), r.Point3(), r.Point4()};
  for (const VPoint2D& corner : other) {
    if (Includes(corner)) return 1;
  }
  for (const VPoint2D& corner : own) {
    if (r.Includes(corner)) return 1;
  }
  return 0;
}

int VRectangle2::Intersection(const VLine2D& line, VLine2D& result) const {
  if (empty) return 0;
  const VPoint2D s = line.Start(), e = line.End();
  if (Includes(s) && Includes(e)) {
    result = line;
    return 1;
  }
  if (s == e) {
    if (!Includes(s)) return 0;
    result = line;
    return 1;
  }
  // In local coordinates the rectangle is axis-parallel and the clipping of
  // VRectangle1 applies.
  const VPoint2D local_center = Turn(center, phi);
  const VRectangle1 local(
      VPoint2D(local_center.X() - ra, local_center.Y() - rb),
      VPoint2D(local_center.X() + ra, local_center.Y() + rb));
  VLine2D clipped(s, e);
  if (!local.ClipLine(Turn(s, phi), Turn(e, phi), clipped)) return 0;
  result = TurnLine(clipped, -phi);
  return 1;
}

template <class DistanceOf>
double VRectangle2::LeastEdgeDistance(DistanceOf distance) const {
  const VPoint2D p1 = Point1(), p2 = Point2(), p3 = Point3(), p4 = Point4();
  return std::min({distance(VLine2D(p1, p2)), distance(VLine2D(p2, p3)),
                   distance(VLine2D(p3, p4)), distance(VLine2D(p4, p1))});
}

double VRectangle2::Distance(const VPoint2D& p) const {
  FailIfEmpty("VRectangle2::Distance(const VPoint2D &point)");
  return LeastEdgeDistance(
      [&p](const VLine2D& edge) { return edge.Distance(static_cast<const VPoint&>(p)); });
}

double VRectangle2::Distance(const VLine2D& l) const {
  FailIfEmpty("VRectangle2::Distance(const VLine2D &line)");
  return LeastEdgeDistance([&l](const VLine2D& edge) { return edge.Distance(l); });
}

double VRectangle2::CenterDistance(const VPoint2D& p) const {
  FailIfEmpty("VRectangle2::CenterDistance(const VPoint2D &point)");
  return center.Distance(static_cast<const VPoint&>(p));
}

double VRectangle2::CenterDistance(const VLine2D& l) const {
  FailIfEmpty("VRectangle2::CenterDistance(const VLine2D &line)");
  const VLine& line = l;
  return line.Distance(center);
}

void VRectangle2::Transform(const VAffineTrans& t) {
  static const char* const kProc =
      "VRectangle2::Transform(const VAffineTrans &transform)";
  FailIfEmpty(kProc);
  VPoint2D p1 = Point1(), p2 = Point2(), p3 = Point3();
  t.Transform(p1);
  t.Transform(p2);
  t.Transform(p3);
  const VPoint2D d1 = p3 - p2, d2 = p2 - p1;
  const double e1x = d1.X() * 0.5, e1y = d1.Y() * 0.5;
  const double e2x = d2.X() * 0.5, e2y = d2.Y() * 0.5;
  phi = std::atan2(e1y, e1x);
  const double a2 = std::atan2(e2y, e2x);
  if (geometry::IsSlanted(phi, a2)) VEXA_RAISE(kProc, "%s", geometry::kSlant);
  center.X() = (p1.X() + p3.X()) * 0.5;
  center.Y() = (p1.Y() + p3.Y()) * 0.5;
  ra = std::sqrt(e1x * e1x + e1y * e1y);
  rb = std::sqrt(e2x * e2x + e2y * e2y);
}

}  // namespace Vexa
