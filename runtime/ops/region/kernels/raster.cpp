#include "ops/region/kernels/raster.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vexa {
namespace {

// Centres on a border count as inside; this tolerance keeps them inside
// when the border's formula rounds a hair the wrong way.
constexpr double kEps = 1e-9;

constexpr double kInf = std::numeric_limits<double>::infinity();

// Narrows [*lo, *hi] to the x with |a x + b| <= len.
void NarrowToBand(double a, double b, double len, double* lo, double* hi) {
  if (std::fabs(a) < 1e-12) {
    if (std::fabs(b) > len + kEps) *hi = -kInf;
    return;
  }
  double x1 = (-len - b) / a, x2 = (len - b) / a;
  if (x1 > x2) std::swap(x1, x2);
  *lo = std::max(*lo, x1);
  *hi = std::min(*hi, x2);
}

// Appends the run of integer columns in [col + lo, col + hi].
void AddRun(int32_t row, double col, double lo, double hi, ChordList* out) {
  // A corner may leave lo a rounding error above hi.
  if (!(lo <= hi + 2 * kEps)) return;
  const double cb = std::ceil(col + lo - kEps), ce = std::floor(col + hi + kEps);
  if (cb <= ce)
    out->push_back({row, static_cast<int32_t>(cb), static_cast<int32_t>(ce)});
}

// The integer rows within [row - half, row + half].
template <class Fn>
void ForRows(double row, double half, Fn&& fn) {
  const double r1 = std::ceil(row - half - kEps), r2 = std::floor(row + half + kEps);
  for (double r = r1; r <= r2; ++r) fn(static_cast<int32_t>(r), r - row);
}

// Columns of an even-odd fill of a closed polygon, row by row. Edges count
// on half-open row ranges, so a vertex between two edges counts once.
ChordList FillEvenOdd(const std::vector<double>& rows,
                      const std::vector<double>& cols) {
  ChordList out;
  const size_t n = rows.size();
  if (n < 3) return out;
  const auto [rmin, rmax] = std::minmax_element(rows.begin(), rows.end());
  std::vector<double> xs;
  for (double r = std::ceil(*rmin); r <= std::floor(*rmax); ++r) {
    xs.clear();
    for (size_t i = 0; i < n; ++i) {
      const size_t j = (i + 1) % n;
      const double ra = rows[i], rb = rows[j];
      if (ra == rb || r < std::min(ra, rb) || r >= std::max(ra, rb)) continue;
      xs.push_back(cols[i] + (r - ra) * (cols[j] - cols[i]) / (rb - ra));
    }
    std::sort(xs.begin(), xs.end());
    for (size_t k = 0; k + 1 < xs.size(); k += 2)
      AddRun(static_cast<int32_t>(r), 0.0, xs[k], xs[k + 1], &out);
  }
  return out;
}

}  // namespace

ChordList RasterEllipse(double row, double col, double phi, double ra,
                        double rb) {
  ChordList out;
  const double s = std::sin(phi), c = std::cos(phi);
  // u = c dc - s dr, v = s dc + c dr; inside: (u/ra)^2 + (v/rb)^2 <= 1,
  // a quadratic A dc^2 + B dc + C <= 0 on every row.
  const double ia = 1.0 / (ra * ra), ib = 1.0 / (rb * rb);
  const double A = c * c * ia + s * s * ib;
  const double half = std::sqrt(ra * ra * s * s + rb * rb * c * c);
  ForRows(row, half, [&](int32_t r, double dr) {
    const double B = 2.0 * dr * s * c * (ib - ia);
    const double C = dr * dr * (s * s * ia + c * c * ib) - 1.0;
    const double disc = B * B - 4.0 * A * C;
    if (disc < -kEps) return;
    const double root = std::sqrt(std::max(disc, 0.0));
    AddRun(r, col, (-B - root) / (2.0 * A), (-B + root) / (2.0 * A), &out);
  });
  return out;
}

ChordList RasterEllipseSector(double row, double col, double phi, double ra,
                              double rb, double start, double end) {
  ChordList ellipse = RasterEllipse(row, col, phi, ra, rb);
  double span = end - start;
  if (span >= 2.0 * M_PI) return ellipse;
  span = std::fmod(span, 2.0 * M_PI);
  if (span < 0.0) span += 2.0 * M_PI;
  // The wedge as a polygon: the centre, then points far outside the
  // ellipse at most 60 degrees apart, so that the polygon's outer edges
  // stay outside it.
  const double far = 2.0 * (std::max(ra, rb) + 2.0);
  const int steps = std::max(1, static_cast<int>(std::ceil(span / (M_PI / 3.0))));
  std::vector<double> rows{row}, cols{col};
  for (int k = 0; k <= steps; ++k) {
    const double a = phi + start + span * k / steps;
    rows.push_back(row - far * std::sin(a));
    cols.push_back(col + far * std::cos(a));
  }
  ChordList wedge = FillEvenOdd(rows, cols);
  // The centre is on the wedge's border but a vertex the fill may skip.
  if (row == std::floor(row) && col == std::floor(col))
    wedge.push_back({static_cast<int32_t>(row), static_cast<int32_t>(col),
                     static_cast<int32_t>(col)});
  return ChordIntersection(ellipse, Region::FromChords(std::move(wedge))->chords());
}

ChordList RasterRectangle2(double row, double col, double phi, double len1,
                           double len2) {
  ChordList out;
  const double s = std::sin(phi), c = std::cos(phi);
  const double half = len1 * std::fabs(s) + len2 * std::fabs(c);
  ForRows(row, half, [&](int32_t r, double dr) {
    double lo = -kInf, hi = kInf;
    NarrowToBand(c, -s * dr, len1, &lo, &hi);  // u = c dc - s dr
    NarrowToBand(s, c * dr, len2, &lo, &hi);   // v = s dc + c dr
    AddRun(r, col, lo, hi, &out);
  });
  return out;
}

ChordList RasterPolygonFilled(const std::vector<double>& rows,
                              const std::vector<double>& cols) {
  ChordList fill = FillEvenOdd(rows, cols);
  ChordList outline = RasterPolygonOutline(rows, cols);
  fill.insert(fill.end(), outline.begin(), outline.end());
  return Region::FromChords(std::move(fill))->chords();
}

ChordList RasterConvexPolygon(const std::vector<double>& rows,
                              const std::vector<double>& cols) {
  ChordList out;
  const size_t n = rows.size();
  if (n == 0) return out;
  // Twice the signed area (x = column, y = row): its sign says on which
  // side of each edge the inside lies.
  double area2 = 0;
  for (size_t i = 0; i < n; ++i) {
    const size_t j = (i + 1) % n;
    area2 += cols[i] * rows[j] - cols[j] * rows[i];
  }
  const double side = area2 < 0 ? -1.0 : 1.0;
  const auto [rmin, rmax] = std::minmax_element(rows.begin(), rows.end());
  const auto col_range = std::minmax_element(cols.begin(), cols.end());
  const double col_min = *col_range.first, col_max = *col_range.second;
  const double mid = 0.5 * (*rmin + *rmax);
  // Each edge as side * cross(edge, point - start) >= 0, linear in the
  // column c of a point in row r: a c + b0 + b1 r >= -tol, where
  // a = -side er and b = side (ec (r - r_i) + er c_i).
  struct Edge {
    double a, b0, b1, tol;
  };
  std::vector<Edge> edges;
  edges.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    const size_t j = (i + 1) % n;
    const double er = rows[j] - rows[i], ec = cols[j] - cols[i];
    if (er == 0 && ec == 0) continue;
    edges.push_back({-side * er, side * (er * cols[i] - ec * rows[i]), side * ec,
                     kEps * std::hypot(er, ec)});
  }
  ForRows(mid, 0.5 * (*rmax - *rmin), [&](int32_t r, double) {
    double lo = col_min - kEps, hi = col_max + kEps;
    for (const Edge& e : edges) {
      const double a = e.a, b = e.b0 + e.b1 * r, tol = e.tol;
      if (std::fabs(a) < 1e-12) {
        if (b < -tol) hi = -kInf;
      } else if (a > 0) {
        lo = std::max(lo, (-b - tol) / a);
      } else {
        hi = std::min(hi, (-b - tol) / a);
      }
    }
    AddRun(r, 0.0, lo, hi, &out);
  });
  return out;
}

ChordList RasterPolygonOutline(const std::vector<double>& rows,
                               const std::vector<double>& cols) {
  std::vector<Chord> pts;
  const size_t n = rows.size();
  for (size_t i = 0; i < n; ++i) {
    const size_t j = (i + 1) % n;
    RasterLine(static_cast<int32_t>(std::lround(rows[i])),
               static_cast<int32_t>(std::lround(cols[i])),
               static_cast<int32_t>(std::lround(rows[j])),
               static_cast<int32_t>(std::lround(cols[j])), &pts);
  }
  return Region::FromChords(std::move(pts))->chords();
}

void RasterLine(int32_t r1, int32_t c1, int32_t r2, int32_t c2,
                std::vector<Chord>* out) {
  // Bresenham: one pixel per step along the longer axis.
  const int64_t dr = std::llabs(int64_t{r2} - r1), dc = std::llabs(int64_t{c2} - c1);
  const int32_t sr = r1 < r2 ? 1 : -1, sc = c1 < c2 ? 1 : -1;
  int64_t err = dc - dr;
  int32_t r = r1, c = c1;
  for (;;) {
    out->push_back({r, c, c});
    if (r == r2 && c == c2) break;
    const int64_t e2 = 2 * err;
    if (e2 > -dr) {
      err -= dr;
      c += sc;
    }
    if (e2 < dc) {
      err += dc;
      r += sr;
    }
  }
}

}  // namespace vexa
