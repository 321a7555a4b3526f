#include "ops/geometry/plane.h"

#include <algorithm>

namespace vexa {
namespace geo {
namespace {

// Rounding allowance of a parameter along a piece (its length is 1) and of
// an angle on an arc: ends that meet exactly on paper meet in doubles.
constexpr double kParamSlack = 1e-12;
constexpr double kAngleSlack = 1e-9;
// Relative allowance for a point on a line and for tangency.
constexpr double kTouchSlack = 1e-12;

bool InRange(const Straight& s, double t) {
  return s.infinite || (t >= -kParamSlack && t <= 1 + kParamSlack);
}

// The point at parameter t of the piece, kept within a segment's ends.
Pt PieceAt(const Straight& s, double t) {
  return Along(s.a, s.b, s.infinite ? t : std::clamp(t, 0.0, 1.0));
}

// True when p lies on the piece (a segment may have length 0).
bool OnPiece(const Pt& p, const Straight& s) {
  const double scale = std::max(Distance(s.a, s.b), Distance(p, s.a));
  const double d = s.infinite ? LineDistance(p, s.a, s.b) : xld::SegmentDistance(p, s.a, s.b);
  return d <= kTouchSlack * scale;
}

// Intersection of two pieces on one line, by their parameter ranges on s.
Meeting Collinear(const Straight& s, const Straight& t) {
  Meeting m;
  double lo = s.infinite ? -INFINITY : 0.0, hi = s.infinite ? INFINITY : 1.0;
  if (!t.infinite) {
    const double p = FootParameter(t.a, s.a, s.b), q = FootParameter(t.b, s.a, s.b);
    lo = std::max(lo, std::min(p, q));
    hi = std::min(hi, std::max(p, q));
  }
  if (hi - lo > kParamSlack) {
    m.overlap = true;
  } else if (hi - lo >= -kParamSlack) {
    m.points.push_back(PieceAt(s, lo));
  }
  return m;
}

// The common part of two arcs of one circle: their angle ranges, both
// turned to the positive sense, compared on the circle.
Meeting SameCircle(const Arc& a, const Arc& b) {
  Meeting m;
  const double sa = a.positive ? a.start : a.start - a.sweep;
  const double sb = b.positive ? b.start : b.start - b.sweep;
  double off = std::fmod(sb - sa, kTwoPi);
  if (off < 0) off += kTwoPi;
  for (double shift : {0.0, -kTwoPi}) {
    const double lo = std::max(0.0, off + shift), hi = std::min(a.sweep, off + shift + b.sweep);
    if (hi - lo > kAngleSlack) {
      m.overlap = true;
    } else if (hi - lo >= -kAngleSlack) {
      const Pt p = CirclePoint(a, sa + lo);
      if (m.points.empty() || Distance(m.points[0], p) > kTouchSlack * a.radius) m.points.push_back(p);
    }
  }
  if (m.overlap) m.points.clear();
  return m;
}

}  // namespace

Meeting Intersect(const Straight& s, const Straight& t) {
  const Pt u = s.b - s.a, v = t.b - t.a;
  const double lu = Norm(u), lv = Norm(v);
  Meeting m;
  if (lu == 0 || lv == 0) {
    const Pt& p = lu == 0 ? s.a : t.a;
    if (OnPiece(p, lu == 0 ? t : s)) m.points.push_back(p);
    return m;
  }
  const double denom = Cross(u, v);
  const Pt w = t.a - s.a;
  const double ts = Cross(w, v) / denom, tt = Cross(w, u) / denom;
  // Directions so close that the crossing lies beyond the range of doubles
  // count as parallel too.
  if (std::fabs(denom) > kParallelSine * lu * lv && std::isfinite(ts) && std::isfinite(tt)) {
    if (InRange(s, ts) && InRange(t, tt)) m.points.push_back(PieceAt(s, ts));
    return m;
  }
  Straight line = t;
  line.infinite = true;
  return OnPiece(s.a, line) ? Collinear(s, t) : m;
}

Arc MakeArc(Pt centre, double radius, double start_phi, double end_phi, bool positive) {
  Arc arc{centre, radius, start_phi, kTwoPi, positive};
  if (std::fabs(end_phi - start_phi) >= kTwoPi - kAngleSlack) return arc;
  double sweep = std::fmod(positive ? end_phi - start_phi : start_phi - end_phi, kTwoPi);
  arc.sweep = sweep < 0 ? sweep + kTwoPi : sweep;
  return arc;
}

Arc ArcOf(const ElementInputs& in, size_t k, size_t order, size_t i) {
  return MakeArc(in.Point(k, i), in.Real(k + 2, i), in.Real(k + 3, i), in.Real(k + 4, i),
                 in.Positive(order, i));
}

bool OnArc(const Arc& arc, double t) {
  if (arc.sweep >= kTwoPi) return true;
  double d = std::fmod(arc.positive ? t - arc.start : arc.start - t, kTwoPi);
  if (d < 0) d += kTwoPi;
  return d <= arc.sweep + kAngleSlack || d >= kTwoPi - kAngleSlack;
}

std::vector<Pt> IntersectArc(const Straight& s, const Arc& arc) {
  // Distances along the piece from s.a in the unit direction e, so that
  // neither a very short nor a very long piece leaves the range of doubles.
  const double r2 = arc.radius * arc.radius;
  const Pt u = s.b - s.a;
  const double len = Norm(u);
  const Pt e = len > 0 ? Pt{u.r / len, u.c / len} : Pt{0, 0};
  const double along = Dot(arc.centre - s.a, e);
  const Pt foot = s.a + along * e - arc.centre;
  const double h2 = r2 - Dot(foot, foot);
  std::vector<double> ds;
  if (std::fabs(h2) <= kTouchSlack * r2) {
    ds = {along};
  } else if (h2 > 0) {
    const double h = std::sqrt(h2);
    ds = {along - h, along + h};
  }
  std::vector<Pt> out;
  for (double d : ds) {
    if (!s.infinite && (d < -kParamSlack * len || d > (1 + kParamSlack) * len)) continue;
    const Pt p = s.a + (s.infinite ? d : std::clamp(d, 0.0, len)) * e;
    if (OnArc(arc, DirectionAngle(p - arc.centre))) out.push_back(p);
  }
  return out;
}

Meeting IntersectArcs(const Arc& a, const Arc& b) {
  const Pt d = b.centre - a.centre;
  const double dist = Norm(d), scale = std::max(a.radius, b.radius);
  if (dist <= kTouchSlack * scale) {
    if (std::fabs(a.radius - b.radius) <= kTouchSlack * scale) return SameCircle(a, b);
    return {};
  }
  // Distance x from a's centre along d to the chord through both points,
  // and the chord's half length h.
  const double ra2 = a.radius * a.radius;
  const double x = (dist * dist + ra2 - b.radius * b.radius) / (2 * dist);
  const double h2 = ra2 - x * x;
  const double base = DirectionAngle(d);
  std::vector<double> angles;
  if (std::fabs(h2) <= kTouchSlack * ra2) {
    angles = {base + (x < 0 ? M_PI : 0.0)};
  } else if (h2 > 0) {
    const double half = std::atan2(std::sqrt(h2), x);
    angles = {base - half, base + half};
  }
  Meeting m;
  for (double t : angles) {
    const Pt p = CirclePoint(a, t);
    if (OnArc(a, t) && OnArc(b, DirectionAngle(p - b.centre))) m.points.push_back(p);
  }
  return m;
}

}  // namespace geo
}  // namespace vexa
