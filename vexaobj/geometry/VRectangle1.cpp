// The axis-parallel rectangle: checked access, set operations, order by
// inclusion, line clipping, distances and the quarter-turn transformation.
#include <cmath>
#include <utility>

#include <vexaobj/VAffineTrans.h>
#include <vexaobj/VRectangle.h>

#include "../control/raise.h"
#include "rectangle_rules.h"

namespace Vexa {

using geometry::kAxisTolerance;
using geometry::kEmptyRectangle;

namespace {

double Max(double a, double b) { return a > b ? a : b; }
double Min(double a, double b) { return a < b ? a : b; }

// b lies within a, on closed bounds.
bool Contains(const VPoint2D& a_ul, const VPoint2D& a_lr, const VPoint2D& b_ul,
              const VPoint2D& b_lr) {
  return !(b_lr.X() > a_lr.X()) && !(b_lr.Y() > a_lr.Y()) &&
         !(a_ul.X() > b_ul.X()) && !(a_ul.Y() > b_ul.Y());
}

// b lies strictly within a on all four sides.
bool StrictlyContains(const VPoint2D& a_ul, const VPoint2D& a_lr,
                      const VPoint2D& b_ul, const VPoint2D& b_lr) {
  return b_lr.X() < a_lr.X() && b_lr.Y() < a_lr.Y() && a_ul.X() < b_ul.X() &&
         a_ul.Y() < b_ul.Y();
}

}  // namespace

bool VRectangle1::FailIfEmpty(const char* proc) const {
  if (!empty) return false;
  VEXA_RAISE(proc, "%s", kEmptyRectangle);
  return true;
}

VRectangle1::VRectangle1(const VRectangle1& r)
    : VSpatialObject(),
      upper_left(r.UpperLeft()),
      lower_right(r.LowerRight()),
      empty(r.empty) {}

VRectangle1& VRectangle1::operator=(const VRectangle1& r) {
  upper_left = r.UpperLeft();
  lower_right = r.LowerRight();
  empty = r.empty;
  return *this;
}

const VPoint2D& VRectangle1::UpperLeft() const {
  FailIfEmpty("VRectangle1::UpperLeft(void)");
  return upper_left;
}

const VPoint2D& VRectangle1::LowerRight() const {
  FailIfEmpty("VRectangle1::LowerRight(void)");
  return lower_right;
}

VPoint2D VRectangle1::Center() const {
  FailIfEmpty("VRectangle1::Center(void)");
  const float ulx = static_cast<float>(upper_left.X());
  const float uly = static_cast<float>(upper_left.Y());
  const float lrx = static_cast<float>(lower_right.X());
  const float lry = static_cast<float>(lower_right.Y());
  return VPoint2D((lrx + ulx) * 0.5f, (lry + uly) * 0.5f);
}

double VRectangle1::Width() const {
  FailIfEmpty("VRectangle1::Width(void)");
  return 1.0 + lower_right.X() - upper_left.X();
}

double VRectangle1::Height() const {
  FailIfEmpty("VRectangle1::Height(void)");
  return 1.0 + lower_right.Y() - upper_left.Y();
}

double VRectangle1::Area() const {
  if (empty) return 0.0;
  return (lower_right.X() - upper_left.X()) * (lower_right.Y() - upper_left.Y());
}

VRectangle1 VRectangle1::Intersection(const VRectangle1& r) const {
  if (empty || r.empty) return VRectangle1();
  return VRectangle1(VPoint2D(Max(upper_left.X(), r.upper_left.X()),
                              Max(upper_left.Y(), r.upper_left.Y())),
                     VPoint2D(Min(lower_right.X(), r.lower_right.X()),
                              Min(lower_right.Y(), r.lower_right.Y())));
}

VRectangle1 VRectangle1::VMax(const VRectangle1& r) const {
  if (empty && r.empty) return VRectangle1();
  if (empty) return VRectangle1(r);
  if (r.empty) return VRectangle1(*this);
  return VRectangle1(VPoint2D(Min(upper_left.X(), r.upper_left.X()),
                              Min(upper_left.Y(), r.upper_left.Y())),
                     VPoint2D(Max(lower_right.X(), r.lower_right.X()),
                              Max(lower_right.Y(), r.lower_right.Y())));
}

int VRectangle1::Overlaps(const VRectangle1& r) const {
  if (empty || r.empty) return 0;
  return !Intersection(r).empty;
}

int VRectangle1::operator==(const VRectangle1& r) const {
  if (empty != r.empty) return 0;
  if (empty) return 1;
  return lower_right.X() == r.lower_right.X() &&
         lower_right.Y() == r.lower_right.Y() &&
         upper_left.X() == r.upper_left.X() && upper_left.Y() == r.upper_left.Y();
}

int VRectangle1::operator<=(const VRectangle1& r) const {
  if (empty) return 1;
  if (r.empty) return 0;
  return Contains(r.upper_left, r.lower_right, upper_left, lower_right);
}

int VRectangle1::operator<(const VRectangle1& r) const {
  if (r.empty) return 0;
  if (empty) return 1;
  return StrictlyContains(r.upper_left, r.lower_right, upper_left, lower_right);
}

int VRectangle1::Includes(const VPoint2D& p) const {
  return !Intersection(VRectangle1(p, p)).empty;
}

int VRectangle1::Includes(const VLine2D& l) const {
  return Includes(l.Start()) && Includes(l.End());
}

int VRectangle1::Intersection(const VLine2D& line, VLine2D& result) const {
  if (empty) return 0;
  if (Includes(line)) {
    result = line;
    return 1;
  }
  const VPoint2D s = line.Start(), e = line.End();
  if (s == e) {
    if (!Includes(s)) return 0;
    result = line;
    return 1;
  }
  return ClipLine(s, e, result);
}

int VRectangle1::ClipLine(const VPoint2D& s, const VPoint2D& e,
                          VLine2D& result) const {
  const double ulx = upper_left.X(), uly = upper_left.Y();
  const double lrx = lower_right.X(), lry = lower_right.Y();
  if (s.X() == e.X()) {
    // Vertical: the result runs in ascending y. A segment touching only the
    // lower edge gives nothing, one touching only the upper edge a point.
    const double x = s.X();
    if (x < ulx || x > lrx) return 0;
    const double lo = Min(s.Y(), e.Y()), hi = Max(s.Y(), e.Y());
    const double top_end = lry > hi ? hi : lry;
    if (uly > lo) {
      if (uly > hi) return 0;
      result = VLine2D(VPoint2D(x, uly), VPoint2D(x, top_end));
    } else {
      if (!(lry > lo)) return 0;
      result = VLine2D(VPoint2D(x, lo), VPoint2D(x, top_end));
    }
    return 1;
  }
  if (s.Y() == e.Y()) {
    const double y = s.Y();
    if (y < uly || y > lry) return 0;
    const double lo = Min(s.X(), e.X()), hi = Max(s.X(), e.X());
    const double right_end = lrx > hi ? hi : lrx;
    if (ulx > lo) {
      if (ulx > hi) return 0;
      result = VLine2D(VPoint2D(ulx, y), VPoint2D(right_end, y));
    } else {
      if (!(lrx > lo)) return 0;
      result = VLine2D(VPoint2D(lo, y), VPoint2D(right_end, y));
    }
    return 1;
  }
  // General line y = m*x + b: the crossings of the upper, left, lower and
  // right edge, the first two that lie on the rectangle.
  const double m = (e.Y() - s.Y()) / (e.X() - s.X());
  const double b = s.Y() - m * s.X();
  const VPoint2D candidates[4] = {
      VPoint2D((uly - b) / m, uly), VPoint2D(ulx, m * ulx + b),
      VPoint2D((lry - b) / m, lry), VPoint2D(lrx, m * lrx + b)};
  VPoint2D pair[2];
  int hits = 0;
  for (const VPoint2D& c : candidates) {
    if (hits == 2) break;
    if (Includes(c)) pair[hits++] = c;
  }
  if (hits == 0) return 0;
  if (pair[0].X() > pair[1].X()) std::swap(pair[0], pair[1]);
  VPoint2D low = s, high = e;
  if (low.X() > high.X()) std::swap(low, high);
  if (high.X() < pair[0].X() || low.X() > pair[1].X()) return 0;
  const VPoint2D& from = low.X() > pair[0].X() ? low : pair[0];
  const VPoint2D& to = high.X() < pair[1].X() ? high : pair[1];
  result = VLine2D(VPoint2D(from.X(), from.Y()), VPoint2D(to.X(), to.Y()));
  return 1;
}

template <class DistanceOf>
double VRectangle1::LeastEdgeDistance(DistanceOf distance) const {
  const VPoint2D lower_left(upper_left.X(), lower_right.Y());
  const VPoint2D upper_right(lower_right.X(), upper_left.Y());
  const double d1 = distance(VLine2D(upper_left, lower_left));
  const double d2 = distance(VLine2D(upper_left, upper_right));
  const double d3 = distance(VLine2D(lower_right, lower_left));
  const double d4 = distance(VLine2D(lower_right, upper_right));
  return Min(Min(d1, d2), Min(d3, d4));
}

double VRectangle1::Distance(const VPoint2D& p) const {
  FailIfEmpty("VRectangle1::Distance(const VPoint2D &point)");
  return LeastEdgeDistance(
      [&p](const VLine2D& edge) { return edge.Distance(static_cast<const VPoint&>(p)); });
}

double VRectangle1::Distance(const VLine2D& l) const {
  FailIfEmpty("VRectangle1::Distance(const VLine2D &line)");
  return LeastEdgeDistance([&l](const VLine2D& edge) { return edge.Distance(l); });
}

double VRectangle1::CenterDistance(const VPoint2D& p) const {
  FailIfEmpty("VRectangle1::CenterDistance(const VPoint2D &point)");
  const VPoint2D c = Center();
  return c.Distance(static_cast<const VPoint&>(p));
}

double VRectangle1::CenterDistance(const VLine2D& l) const {
  FailIfEmpty("VRectangle1::CenterDistance(const VLine2D &line)");
  const VLine& line = l;
  return line.Distance(Center());
}

void VRectangle1::Transform(const VAffineTrans& t) {
  static const char* const kProc =
      "VRectangle1::Transform(const VAffineTrans &transform)";
  FailIfEmpty(kProc);
  VPoint2D p0(0.0, 0.0), p1(1.0, 0.0), p2(0.0, 1.0);
  t.Transform(p0);
  t.Transform(p1);
  t.Transform(p2);
  const VPoint2D d1 = p1 - p0, d2 = p2 - p0;
  const double a1 = std::atan2(d1.Y(), d1.X());
  const double a2 = std::atan2(d2.Y(), d2.X());
  if (geometry::IsSlanted(a1, a2)) VEXA_RAISE(kProc, "%s", geometry::kSlant);
  if (std::fabs(d1.X()) > kAxisTolerance && std::fabs(d2.X()) > kAxisTolerance)
    VEXA_RAISE(kProc, "%s", "invalid affine transformation: rotation not n*(pi/2)\n");
  t.Transform(upper_left);
  t.Transform(lower_right);
  // A turn may have crossed the corners: put the least x and y back into
  // upper_left.
  if (upper_left.X() > lower_right.X() && lower_right.Y() > upper_left.Y()) {
    std::swap(upper_left.X(), lower_right.X());
  } else if (lower_right.X() > upper_left.X() && upper_left.Y() > lower_right.Y()) {
    std::swap(upper_left.Y(), lower_right.Y());
  } else if (upper_left.X() > lower_right.X() && upper_left.Y() > lower_right.Y()) {
    std::swap(upper_left, lower_right);
  }
}

}  // namespace Vexa
