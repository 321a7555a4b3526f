// Lengths, projections, distances and crossings of 2D and 3D segments.
#include <algorithm>
#include <cmath>

#include <vexaobj/VAffineTrans.h>
#include <vexaobj/VLine.h>

namespace Vexa {

constexpr double VLine2D::NoIntersection;

// --- VLine2D

void VLine2D::Transform(const VAffineTrans& t) {
  t.Transform(start);
  t.Transform(end);
}

double VLine2D::Length() const {
  const VPoint2D d = end - start;
  return std::sqrt(d.X() * d.X() + d.Y() * d.Y());
}

double VLine2D::Direction() const {
  double r = std::atan2(end.X() - start.X(), end.Y() - start.Y()) -
             geometry::kPi / 2.0;
  if (r < 0.0) r += geometry::kTwoPi;
  return r;
}

double VLine2D::Parameter(const VPoint2D& p) const {
  const double dx = end.X() - start.X();
  if (dx != 0.0) return (p.X() - start.X()) / dx;
  return (p.Y() - start.Y()) / (end.Y() - start.Y());
}

VPoint2D VLine2D::PerpLinePoint(const VPoint2D& p) const {
  const VPoint2D d = end - start;
  const VPoint2D w = p - start;
  const double t = (w.X() * d.X() + w.Y() * d.Y()) / (d.X() * d.X() + d.Y() * d.Y());
  return VPoint2D(start.X() + t * d.X(), start.Y() + t * d.Y());
}

VPoint2D VLine2D::ClosestPoint(const VPoint& p) const {
  const double dx = end.X() - start.X(), dy = end.Y() - start.Y();
  const double q = dx * dx + dy * dy;
  const double t =
      q == 0.0 ? 0.0 : ((p.X() - start.X()) * dx + (p.Y() - start.Y()) * dy) / q;
  if (t <= 0.0) return start;
  if (t >= 1.0) return end;
  return VPoint2D(start.X() + t * dx, start.Y() + t * dy);
}

double VLine2D::Distance(const VPoint& p) const {
  const VPoint2D c = ClosestPoint(p);
  const double dx = p.X() - c.X(), dy = p.Y() - c.Y(), dz = p.Z();
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

VPoint2D VLine2D::Intersection(const VLine2D& other) const {
  const double d1x = end.X() - start.X(), d1y = end.Y() - start.Y();
  const double d2x = other.end.X() - other.start.X();
  const double d2y = other.end.Y() - other.start.Y();
  const double wx = other.start.X() - start.X();
  const double wy = other.start.Y() - start.Y();
  const VPoint2D none(NoIntersection, NoIntersection);
  const double det = d1y * d2x - d1x * d2y;
  if (det == 0.0) return none;
  const double t = (d2x * wy - d2y * wx) / det;
  const double u = (wy * d1x - wx * d1y) / det;
  if (!(t >= 0.0 && t <= 1.0 && u >= 0.0 && u <= 1.0)) return none;
  return VPoint2D(start.X() + t * d1x, start.Y() + t * d1y);
}

double VLine2D::Distance(const VLine2D& other) const {
  const VPoint2D cross = Intersection(other);
  if (cross.X() != NoIntersection && cross.Y() != NoIntersection) return 0.0;
  const VLine& self = *this;
  const VLine& that = other;
  return std::min({self.Distance(other.start), self.Distance(other.end),
                   that.Distance(start), that.Distance(end)});
}

// --- VLine3D

void VLine3D::Transform(const VAffineTrans& t) {
  t.Transform(start);
  t.Transform(end);
}

double VLine3D::Length() const {
  const VPoint3D d = end - start;
  return std::sqrt(d.X() * d.X() + d.Y() * d.Y() + d.Z() * d.Z());
}

VPoint3D VLine3D::ClosestPoint(const VPoint& p) const {
  const double dx = end.X() - start.X(), dy = end.Y() - start.Y();
  const double dz = end.Z() - start.Z();
  const double q = dx * dx + dy * dy + dz * dz;
  double t = q == 0.0 ? 0.0
                      : ((p.X() - start.X()) * dx + (p.Y() - start.Y()) * dy +
                         (p.Z() - start.Z()) * dz) / q;
  t = std::max(std::min(t, 1.0), 0.0);
  return VPoint3D(start.X() + t * dx, start.Y() + t * dy, start.Z() + t * dz);
}

double VLine3D::Distance(const VPoint& p) const {
  const VVector3D d(end.X() - start.X(), end.Y() - start.Y(), end.Z() - start.Z());
  const VVector3D w(p.X() - start.X(), p.Y() - start.Y(), p.Z() - start.Z());
  return d.CrossProduct(w).Length() / d.Length();
}

double VLine3D::Distance(const VLine3D& other) const {
  const VVector3D d1(end.X() - start.X(), end.Y() - start.Y(), end.Z() - start.Z());
  const VVector3D d2(other.end.X() - other.start.X(),
                     other.end.Y() - other.start.Y(),
                     other.end.Z() - other.start.Z());
  const VVector3D n = d1.CrossProduct(d2);
  const double n_length = n.Length();
  if (n_length < 1e-05) return Distance(static_cast<const VPoint&>(other.start));
  const VVector3D w(other.start.X() - start.X(), other.start.Y() - start.Y(),
                    other.start.Z() - start.Z());
  const VVector& wv = w;
  return std::fabs(wv * n) / n_length;
}

}  // namespace Vexa
