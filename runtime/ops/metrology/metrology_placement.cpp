// Measure placement along lines, circles, ellipses and rectangles, and the
// points of their outlines.
#include "metrology_placement.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace {

// Points of an outline contour at most; a finer resolution is coarsened.
constexpr size_t kMaxOutlinePoints = size_t{1} << 20;

struct OutlinePoint {
  double r, c;    // position
  double nr, nc;  // unit normal, outwards
};

// Unit vectors of a shape's first axis (angle phi) and second axis (a
// quarter turn counter-clockwise on the screen), as (row, column).
void Axes(double phi, double e1[2], double e2[2]) {
  e1[0] = -std::sin(phi);
  e1[1] = std::cos(phi);
  e2[0] = -std::cos(phi);
  e2[1] = -std::sin(phi);
}

// Point and outward normal of the ellipse (row, column, phi, radius1,
// radius2) at parameter t.
OutlinePoint EllipseAt(const std::vector<double>& p, double t) {
  double e1[2], e2[2];
  Axes(p[2], e1, e2);
  const double u = p[3] * std::cos(t), v = p[4] * std::sin(t);
  const double gu = std::cos(t) / p[3], gv = std::sin(t) / p[4];
  const double g = std::hypot(gu, gv);
  return {p[0] + u * e1[0] + v * e2[0], p[1] + u * e1[1] + v * e2[1],
          (gu * e1[0] + gv * e2[0]) / g, (gu * e1[1] + gv * e2[1]) / g};
}

// Circles as ellipses of equal radii and no angle.
std::vector<double> AsEllipse(MetrologyShape shape, const std::vector<double>& p) {
  return shape == MetrologyShape::kCircle ? std::vector<double>{p[0], p[1], 0, p[2], p[2]} : p;
}

// Parameters of `n` points at equal arc lengths along the ellipse from
// t = 0, from a table of the arc length; also the perimeter.
std::vector<double> EqualArcParams(const std::vector<double>& e, size_t n, double* perimeter) {
  // Enough pieces that chords follow the arc closely; bounded, so that a
  // fine contour costs no huge table.
  const size_t k = std::min<size_t>(size_t{1} << 16, std::max<size_t>(256, 8 * n));
  std::vector<double> arc(k + 1, 0.0);
  OutlinePoint prev = EllipseAt(e, 0);
  for (size_t i = 1; i <= k; ++i) {
    const OutlinePoint q = EllipseAt(e, 2 * M_PI * static_cast<double>(i) / static_cast<double>(k));
    arc[i] = arc[i - 1] + std::hypot(q.r - prev.r, q.c - prev.c);
    prev = q;
  }
  *perimeter = arc[k];
  std::vector<double> t(n);
  size_t j = 0;
  for (size_t i = 0; i < n; ++i) {
    const double s = arc[k] * static_cast<double>(i) / static_cast<double>(n);
    while (j + 1 < k && arc[j + 1] < s) ++j;
    const double piece = arc[j + 1] - arc[j];
    const double f = piece > 0 ? (s - arc[j]) / piece : 0;
    t[i] = 2 * M_PI * (static_cast<double>(j) + f) / static_cast<double>(k);
  }
  return t;
}

double EllipsePerimeter(const std::vector<double>& e) {
  double perimeter = 0;
  EqualArcParams(e, 1, &perimeter);
  return perimeter;
}

// A straight piece of outline: from (r0, c0) to (r1, c1), normal given.
struct Segment {
  double r0, c0, r1, c1, nr, nc;
  int side;
  double Length() const { return std::hypot(r1 - r0, c1 - c0); }
};

std::vector<Segment> Segments(MetrologyShape shape, const std::vector<double>& p) {
  if (shape == MetrologyShape::kLine) {
    const double len = std::hypot(p[2] - p[0], p[3] - p[1]);
    // The right-hand side of the direction on the screen.
    return {{p[0], p[1], p[2], p[3], (p[3] - p[1]) / len, -(p[2] - p[0]) / len, 0}};
  }
  const auto corners = RectangleCorners(p);
  double e1[2], e2[2];
  Axes(p[2], e1, e2);
  const double normals[4][2] = {{e1[0], e1[1]}, {e2[0], e2[1]}, {-e1[0], -e1[1]}, {-e2[0], -e2[1]}};
  std::vector<Segment> s;
  for (int k = 0; k < 4; ++k) {
    const auto& a = corners[static_cast<size_t>(k)];
    const auto& b = corners[static_cast<size_t>((k + 1) % 4)];
    s.push_back({a.first, a.second, b.first, b.second, normals[k][0], normals[k][1], k});
  }
  return s;
}

// Measures wanted along an outline of `length`.
double WantedCount(const MetrologyParams& params, double length) {
  return params.num_measures > 0 ? static_cast<double>(params.num_measures)
                                 : std::round(length / params.measure_distance);
}

}  // namespace

std::vector<std::pair<double, double>> RectangleCorners(const std::vector<double>& p) {
  double e1[2], e2[2];
  Axes(p[2], e1, e2);
  const double su[4] = {1, 1, -1, -1}, sv[4] = {-1, 1, 1, -1};
  std::vector<std::pair<double, double>> corners;
  for (int k = 0; k < 4; ++k) {
    const double u = su[k] * p[3], v = sv[k] * p[4];
    corners.emplace_back(p[0] + u * e1[0] + v * e2[0], p[1] + u * e1[1] + v * e2[1]);
  }
  return corners;
}

Vresult PlaceMeasures(MetrologyShape shape, const std::vector<double>& p,
                      const MetrologyParams& params, Vlong width, Vlong height,
                      std::vector<MetrologyMeasure>* measures) {
  // (row, column, outward normal, side) of each measure centre.
  std::vector<Segment> centres;
  const bool curved = shape == MetrologyShape::kCircle || shape == MetrologyShape::kEllipse;
  if (curved) {
    const std::vector<double> e = AsEllipse(shape, p);
    const double n = std::max(3.0, WantedCount(params, EllipsePerimeter(e)));
    if (n > kMaxMetrologyMeasures) return VERR_TOO_LARGE;
    double perimeter = 0;
    for (double t : EqualArcParams(e, static_cast<size_t>(n), &perimeter)) {
      const OutlinePoint q = EllipseAt(e, t);
      centres.push_back({q.r, q.c, q.r, q.c, q.nr, q.nc, 0});
    }
  } else {
    const std::vector<Segment> segments = Segments(shape, p);
    double total = 0;
    for (const Segment& s : segments) total += s.Length();
    const double n_total = WantedCount(params, total);
    if (n_total > kMaxMetrologyMeasures) return VERR_TOO_LARGE;
    for (const Segment& s : segments) {
      const double n = std::max(1.0, std::round(n_total * s.Length() / total));
      for (double i = 0; i < n; ++i) {
        const double f = (i + 0.5) / n;
        const double r = s.r0 + f * (s.r1 - s.r0), c = s.c0 + f * (s.c1 - s.c0);
        centres.push_back({r, c, r, c, s.nr, s.nc, s.side});
      }
    }
  }
  measures->clear();
  for (const Segment& m : centres) {
    MetrologyMeasure placed;
    MeasureGeometry& g = placed.geometry;
    g.row = m.r0;
    g.column = m.c0;
    g.phi = std::atan2(-m.nr, m.nc);
    g.length1 = params.measure_length1;
    g.length2 = params.measure_length2;
    g.width = width;
    g.height = height;
    g.interpolation = params.interpolation;
    placed.side = m.side;
    MeasureSampling sampling;
    if (PlanSampling(g, &sampling) == VRESULT_OK) measures->push_back(placed);
  }
  return VRESULT_OK;
}

std::vector<std::pair<double, double>> OutlinePoints(MetrologyShape shape,
                                                     const std::vector<double>& p,
                                                     double resolution) {
  std::vector<std::pair<double, double>> pts;
  switch (shape) {
    case MetrologyShape::kLine:
      pts = {{p[0], p[1]}, {p[2], p[3]}};
      break;
    case MetrologyShape::kRectangle2:
      pts = RectangleCorners(p);
      pts.push_back(pts.front());
      break;
    case MetrologyShape::kCircle:
    case MetrologyShape::kEllipse: {
      const std::vector<double> e = AsEllipse(shape, p);
      const double wanted = std::ceil(EllipsePerimeter(e) / resolution);
      const size_t n = static_cast<size_t>(
          std::min(static_cast<double>(kMaxOutlinePoints), std::max(8.0, wanted)));
      double perimeter = 0;
      for (double t : EqualArcParams(e, n, &perimeter)) {
        const OutlinePoint q = EllipseAt(e, t);
        pts.emplace_back(q.r, q.c);
      }
      pts.push_back(pts.front());
      break;
    }
  }
  return pts;
}

}  // namespace vexa
