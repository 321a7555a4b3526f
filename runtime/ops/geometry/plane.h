// Points, lines, segments and circular arcs of the plane, with the
// runtime's conventions: points are (row, column), rows grow downwards,
// and angles turn counter-clockwise on the screen from the column axis, so
// the direction (dr, dc) has the angle atan2(-dr, dc).
#pragma once

#include <cmath>
#include <vector>

#include "ops/geometry/element_inputs.h"
#include "ops/xld/xld_geometry.h"

namespace vexa {
namespace geo {

constexpr double kTwoPi = 2 * M_PI;

// Two directions whose sine of the angle between them is at most this are
// parallel; rounding alone makes the cross product of parallel directions
// of that order, not 0.
constexpr double kParallelSine = 1e-12;

inline Pt operator+(const Pt& a, const Pt& b) { return {a.r + b.r, a.c + b.c}; }
inline Pt operator-(const Pt& a, const Pt& b) { return {a.r - b.r, a.c - b.c}; }
inline Pt operator*(double s, const Pt& a) { return {s * a.r, s * a.c}; }
inline double Dot(const Pt& a, const Pt& b) { return a.r * b.r + a.c * b.c; }
// Positive when b lies clockwise of a on the screen.
inline double Cross(const Pt& a, const Pt& b) { return a.r * b.c - a.c * b.r; }
inline double Norm(const Pt& a) { return std::hypot(a.r, a.c); }
inline double Distance(const Pt& a, const Pt& b) { return Norm(a - b); }

// Angle of the direction d, in (-pi, pi]; 0 for d = 0.
inline double DirectionAngle(const Pt& d) { return std::atan2(0.0 - d.r, d.c); }

// The angle folded to (-pi/2, pi/2]: the orientation of an undirected line.
inline double Orientation(double angle) {
  if (angle > M_PI / 2) return angle - M_PI;
  if (angle <= -M_PI / 2) return angle + M_PI;
  return angle;
}

// The angle wrapped to (-pi, pi].
inline double WrapAngle(double a) {
  a = std::remainder(a, kTwoPi);
  return a <= -M_PI ? a + kTwoPi : a;
}

// The point at `t` of the line from a to b (a at 0, b at 1).
inline Pt Along(const Pt& a, const Pt& b, double t) { return a + t * (b - a); }

// Parameter of the foot of p on the line from a to b (a != b).
inline double FootParameter(const Pt& p, const Pt& a, const Pt& b) {
  const Pt u = b - a;
  return Dot(p - a, u) / Dot(u, u);
}

// Distance from p to the infinite line through a and b (a != b).
inline double LineDistance(const Pt& p, const Pt& a, const Pt& b) {
  return std::fabs(Cross(b - a, p - a)) / Distance(a, b);
}

// A straight piece between a and b: a segment, or the infinite line
// through both points when `infinite`.
struct Straight {
  Pt a, b;
  bool infinite = false;
};

// Where two straight pieces meet: no point, one point, or (`overlap`) a
// common piece of positive length, for which no point is given.
struct Meeting {
  std::vector<Pt> points;
  bool overlap = false;
};

// Intersection of two straight pieces; an end point of a segment counts.
// A segment of length 0 is a point; an infinite line must have a != b.
Meeting Intersect(const Straight& s, const Straight& t);

// A circle, or an arc of it: from `start` turning by `sweep` in the
// positive (counter-clockwise) or negative sense; full circles have
// sweep 2 pi.
struct Arc {
  Pt centre;
  double radius = 0;
  double start = 0, sweep = kTwoPi;
  bool positive = true;
};

// The arc of element i whose centre row, column, radius, start and end
// angle are real inputs k .. k + 4 and whose sense is point order input
// `order`.
Arc ArcOf(const ElementInputs& in, size_t k, size_t order, size_t i);

// The arc from start_phi to end_phi in the given sense. The sweep is the
// turn from the start to the end angle in that sense, in [0, 2 pi); end
// and start 2 pi apart or more give the full circle.
Arc MakeArc(Pt centre, double radius, double start_phi, double end_phi, bool positive);

// Point of the circle of `arc` at angle t.
inline Pt CirclePoint(const Arc& arc, double t) {
  return {arc.centre.r - arc.radius * std::sin(t), arc.centre.c + arc.radius * std::cos(t)};
}

// True when the point of the circle at angle t belongs to the arc (within
// rounding at the arc's ends).
bool OnArc(const Arc& arc, double t);

// Points where the straight piece meets the arc, in order along the
// piece; a tangent touches in one point.
std::vector<Pt> IntersectArc(const Straight& s, const Arc& arc);

// Points where two arcs meet; `overlap` when they share a piece of one
// circle of positive length (their ends, if they touch there, are points).
Meeting IntersectArcs(const Arc& a, const Arc& b);

}  // namespace geo
}  // namespace vexa
