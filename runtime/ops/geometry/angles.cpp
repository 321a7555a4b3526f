// Angles, orientations and positions of lines, the foot of a point on a
// line, and points of ellipses, element by element. A line runs from its
// first point to its second; a line of two equal points has no direction
// and is VERR_CTRL_VALUE of its second point's row.
#include <cmath>

#include "ops/geometry/plane.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// Calls fn(a, b, values) for the line from a to b of inputs 0..3 of every
// element and writes the values as PerElement does.
template <class Fn>
Vresult PerLine(OpContext& ctx, size_t outputs, Fn&& fn) {
  return PerElementOfFirst(ctx, 4, {0}, outputs, [&](const ElementInputs& in, size_t i, double* out) {
    fn(in.Point(0, i), in.Point(2, i), out);
  });
}

}  // namespace

// Direction of the line from the first to the second point, in (-pi, pi].
VEXA_OPERATOR(angle_lx) {
  return PerLine(ctx, 1, [](const Pt& a, const Pt& b, double* out) { out[0] = DirectionAngle(b - a); });
}

// The turn from line a's direction to line b's, in (-pi, pi].
VEXA_OPERATOR(angle_ll) {
  return PerElementOfFirst(ctx, 8, {0, 4}, 1, [](const ElementInputs& in, size_t i, double* out) {
    const double a = DirectionAngle(in.Point(2, i) - in.Point(0, i));
    const double b = DirectionAngle(in.Point(6, i) - in.Point(4, i));
    out[0] = WrapAngle(b - a);
  });
}

// Orientation of the undirected line, in (-pi/2, pi/2].
VEXA_OPERATOR(line_orientation) {
  return PerLine(ctx, 1, [](const Pt& a, const Pt& b, double* out) {
    out[0] = Orientation(DirectionAngle(b - a));
  });
}

// Centre, length and orientation (as line_orientation) of each segment.
VEXA_OPERATOR(line_position) {
  return PerLine(ctx, 4, [](const Pt& a, const Pt& b, double* out) {
    const Pt centre = Along(a, b, 0.5);
    out[0] = centre.r;
    out[1] = centre.c;
    out[2] = Distance(a, b);
    out[3] = Orientation(DirectionAngle(b - a));
  });
}

// Foot of the perpendicular from the point onto the line.
VEXA_OPERATOR(projection_pl) {
  return PerElementOfFirst(ctx, 6, {2}, 2, [](const ElementInputs& in, size_t i, double* out) {
    const Pt a = in.Point(2, i), b = in.Point(4, i);
    const Pt foot = Along(a, b, FootParameter(in.Point(0, i), a, b));
    out[0] = foot.r;
    out[1] = foot.c;
  });
}

// The point at parameter angle t of the ellipse with centre, angle phi of
// radius1's axis and the radii (both >= 0): radius1 cos t along phi plus
// radius2 sin t along phi + pi/2, the points gen_ellipse_contour_xld
// samples.
VEXA_OPERATOR(get_points_ellipse) {
  ElementInputs in;
  Vresult rc = in.ReadFirst(ctx, 6);
  if (rc == VRESULT_OK) rc = in.RequirePositive(4, 4, true);
  if (rc == VRESULT_OK) rc = in.RequirePositive(5, 5, true);
  if (rc != VRESULT_OK) return rc;
  return PerElement(ctx, in, 2, [&](size_t i, double* out) {
    const double t = in.Real(0, i), phi = in.Real(3, i);
    const double u = in.Real(4, i) * std::cos(t), v = in.Real(5, i) * std::sin(t);
    out[0] = in.Real(1, i) - (u * std::sin(phi) + v * std::cos(phi));
    out[1] = in.Real(2, i) + (u * std::cos(phi) - v * std::sin(phi));
  });
}

}  // namespace geo
}  // namespace vexa
