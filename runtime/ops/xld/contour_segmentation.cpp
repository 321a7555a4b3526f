// segment_contours_xld: splits contours into pieces that are straight
// lines, circular arcs or elliptic arcs.
//
// 1. The points are smoothed for the decisions only (pieces keep the
//    original points): with smooth_contour = k > 1, each point becomes
//    the mean of the k points around it (fewer at the ends of an open
//    contour; a closed one wraps around).
// 2. Split: recursive splitting at the point farthest from the chord
//    (a closed contour is first cut at its first point and the point
//    farthest from it) until every point lies within max_line_dist1 of
//    its piece's chord.
// 3. Merge: neighbouring pieces are joined, smallest deviation first,
//    while the joined piece's points lie within max_line_dist2 of its
//    chord; this undoes the splits of step 2 that a coarser tolerance
//    does not need.
// 4. "lines_circles" / "lines_ellipses": from each piece on, the longest
//    run of at least two neighbouring pieces whose points lie within
//    max_line_dist2 of a fitted circle (ellipse) becomes one arc, if the
//    arc bulges more than max_line_dist2 from its chord (else it is a
//    line). Circle: algebraic least-squares fit, deviation | |p - c| - r |.
//    Ellipse: direct least-squares ellipse fit, deviation the first-order
//    (Sampson) distance |F(p)| / |grad F(p)|.
// Each piece is a contour of the input's points from its first to its
// last break point (neighbours share the break point), with the input's
// per-point attributes, its global attributes and the global attribute
// "cont_approx": -1 line, 0 elliptic arc, 1 circular arc.
#include <algorithm>
#include <cmath>
#include <vector>

#include <Eigen/Dense>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

enum Approx { kLine = -1, kEllipse = 0, kCircle = 1 };

// Points of the contour as an indexable chain; a closed contour's chain
// runs from its first point round to it again.
struct ChainView {
  const std::vector<Pt>& p;
  bool closed;
  size_t Size() const { return closed ? p.size() + 1 : p.size(); }
  const Pt& At(size_t i) const { return p[i % p.size()]; }
};

double ChordDeviation(const ChainView& v, size_t a, size_t b, size_t* worst) {
  const Pt& s = v.At(a);
  const Pt& e = v.At(b);
  const double dr = e.r - s.r, dc = e.c - s.c, len = std::hypot(dr, dc);
  double best = 0;
  *worst = a;
  for (size_t i = a + 1; i < b; ++i) {
    const Pt& q = v.At(i);
    const double d = len > 0 ? std::fabs((q.r - s.r) * dc - (q.c - s.c) * dr) / len
                             : std::hypot(q.r - s.r, q.c - s.c);
    if (d > best) best = d, *worst = i;
  }
  return best;
}

// Break points of a..b (b included, a not) in order, splitting at the
// farthest point until every piece is within `tol` of its chord. An
// explicit stack: a long spiral would split one point at a time.
void Split(const ChainView& v, size_t a, size_t b, double tol, std::vector<size_t>* breaks) {
  std::vector<std::pair<size_t, size_t>> todo{{a, b}};
  while (!todo.empty()) {
    const auto [from, to] = todo.back();
    todo.pop_back();
    size_t worst = from;
    if (to > from + 1 && ChordDeviation(v, from, to, &worst) > tol) {
      todo.push_back({worst, to});  // the later half is done last
      todo.push_back({from, worst});
      continue;
    }
    breaks->push_back(to);
  }
}

std::vector<Pt> Smoothed(const std::vector<Pt>& p, bool closed, Vlong window) {
  if (window <= 1 || p.size() < 3) return p;
  const long n = static_cast<long>(p.size()), h = static_cast<long>(window / 2);
  std::vector<Pt> out(p.size());
  for (long i = 0; i < n; ++i) {
    double r = 0, c = 0;
    long k = 0;
    for (long j = i - h; j <= i + h; ++j) {
      if (!closed && (j < 0 || j >= n)) continue;
      const Pt& q = p[static_cast<size_t>(((j % n) + n) % n)];
      r += q.r, c += q.c, ++k;
    }
    out[static_cast<size_t>(i)] = {r / k, c / k};
  }
  return out;
}

// Largest deviation of the points a..b from a fitted circle or ellipse;
// infinity when no proper one fits. The fit works on coordinates taken
// relative to the points' mean, scaled to unit spread, for conditioning.
double ArcDeviation(const ChainView& v, size_t a, size_t b, Approx kind) {
  const size_t n = b - a + 1;
  if (n < (kind == kCircle ? 3u : 5u)) return INFINITY;
  double mr = 0, mc = 0;
  for (size_t i = a; i <= b; ++i) mr += v.At(i).r, mc += v.At(i).c;
  mr /= n, mc /= n;
  double spread = 0;
  for (size_t i = a; i <= b; ++i) spread += std::hypot(v.At(i).r - mr, v.At(i).c - mc);
  spread = spread / n;
  if (spread == 0) return INFINITY;
  if (kind == kCircle) {
    // x^2 + y^2 + D x + E y + F = 0, least squares.
    Eigen::MatrixXd m(n, 3);
    Eigen::VectorXd rhs(n);
    for (size_t i = 0; i < n; ++i) {
      const double x = (v.At(a + i).c - mc) / spread, y = (v.At(a + i).r - mr) / spread;
      m.row(static_cast<Eigen::Index>(i)) << x, y, 1;
      rhs(static_cast<Eigen::Index>(i)) = -(x * x + y * y);
    }
    const Eigen::Vector3d s = m.colPivHouseholderQr().solve(rhs);
    const double cx = -s(0) / 2, cy = -s(1) / 2, r2 = cx * cx + cy * cy - s(2);
    if (!(r2 > 0) || r2 > 1e8) return INFINITY;
    double worst = 0;
    for (size_t i = 0; i < n; ++i) {
      const double x = (v.At(a + i).c - mc) / spread, y = (v.At(a + i).r - mr) / spread;
      worst = std::max(worst, std::fabs(std::hypot(x - cx, y - cy) - std::sqrt(r2)));
    }
    return worst * spread;
  }
  // Ellipse a x^2 + b xy + c y^2 + d x + e y + f = 0 with 4ac - b^2 = 1:
  // the generalised eigenproblem S z = l C z, solved by reduction.
  Eigen::MatrixXd design(n, 6);
  for (size_t i = 0; i < n; ++i) {
    const double x = (v.At(a + i).c - mc) / spread, y = (v.At(a + i).r - mr) / spread;
    design.row(static_cast<Eigen::Index>(i)) << x * x, x * y, y * y, x, y, 1;
  }
  const Eigen::MatrixXd s = design.transpose() * design;
  const Eigen::Matrix3d s1 = s.topLeftCorner(3, 3), s2 = s.topRightCorner(3, 3),
                        s3 = s.bottomRightCorner(3, 3);
  Eigen::FullPivLU<Eigen::Matrix3d> lu(s3);
  if (!lu.isInvertible()) return INFINITY;
  const Eigen::Matrix3d t = -lu.inverse() * s2.transpose();
  const Eigen::Matrix3d m = s1 + s2 * t;
  Eigen::Matrix3d cinv;
  cinv << 0, 0, 0.5, 0, -1, 0, 0.5, 0, 0;
  Eigen::EigenSolver<Eigen::Matrix3d> es(cinv * m);
  double worst = INFINITY;
  for (int k = 0; k < 3; ++k) {
    const Eigen::Vector3d z = es.eigenvectors().col(k).real();
    if (4 * z(0) * z(2) - z(1) * z(1) <= 0) continue;
    const Eigen::Vector3d z2 = t * z;
    double dev = 0;
    for (size_t i = 0; i < n; ++i) {
      const double x = (v.At(a + i).c - mc) / spread, y = (v.At(a + i).r - mr) / spread;
      const double f = z(0) * x * x + z(1) * x * y + z(2) * y * y + z2(0) * x + z2(1) * y + z2(2);
      const double gx = 2 * z(0) * x + z(1) * y + z2(0), gy = z(1) * x + 2 * z(2) * y + z2(1);
      const double g = std::hypot(gx, gy);
      dev = std::max(dev, g > 0 ? std::fabs(f) / g : INFINITY);
    }
    worst = std::min(worst, dev * spread);
  }
  return worst;
}

struct Piece {
  size_t a, b;
  Approx kind;
};

std::vector<Piece> Segment(const ChainView& v, int mode, double dist1, double dist2) {
  std::vector<size_t> breaks{0};
  const size_t last = v.Size() - 1;
  size_t cut = last;
  if (v.closed) {  // first cut: the point farthest from the first one
    double far = -1;
    for (size_t i = 1; i < last; ++i) {
      const double d = std::hypot(v.At(i).r - v.At(0).r, v.At(i).c - v.At(0).c);
      if (d > far) far = d, cut = i;
    }
    Split(v, 0, cut, dist1, &breaks);
  }
  Split(v, cut == last ? 0 : cut, last, dist1, &breaks);
  // Merge the neighbours that fit one chord, smallest deviation first;
  // dev[k] is the deviation of the pieces on both sides of break k.
  size_t worst = 0;
  auto deviation = [&](size_t k) {
    return ChordDeviation(v, breaks[k - 1], breaks[k + 1], &worst);
  };
  std::vector<double> dev(breaks.size(), INFINITY);
  for (size_t k = 1; k + 1 < breaks.size(); ++k) dev[k] = deviation(k);
  while (breaks.size() > 2) {
    const size_t at = static_cast<size_t>(
        std::min_element(dev.begin() + 1, dev.end() - 1) - dev.begin());
    if (!(dev[at] <= dist2)) break;
    breaks.erase(breaks.begin() + static_cast<long>(at));
    dev.erase(dev.begin() + static_cast<long>(at));
    if (at - 1 >= 1) dev[at - 1] = deviation(at - 1);
    if (at + 1 < breaks.size()) dev[at] = deviation(at);
  }
  std::vector<Piece> pieces;
  const Approx arc = mode == 1 ? kCircle : kEllipse;
  for (size_t k = 0; k + 1 < breaks.size();) {
    size_t end = k + 1;
    if (mode > 0) {
      // Longer runs only while they still fit: keeps the work near
      // linear in the number of points.
      for (size_t j = k + 2; j < breaks.size() && ArcDeviation(v, breaks[k], breaks[j], arc) <= dist2;
           ++j)
        end = j;
      if (end > k + 1 && ChordDeviation(v, breaks[k], breaks[end], &worst) <= dist2) end = k + 1;
    }
    pieces.push_back({breaks[k], breaks[end], end > k + 1 ? arc : kLine});
    k = end;
  }
  return pieces;
}

XldPtr PieceContour(const Xld& x, const ChainView& v, const Piece& piece) {
  auto out = std::make_shared<Xld>();
  const size_t n = v.p.size();
  for (size_t i = piece.a; i <= piece.b; ++i) {
    out->rows.push_back(x.rows[i % n]);
    out->cols.push_back(x.cols[i % n]);
  }
  for (const XldAttrib& a : x.attribs) {
    XldAttrib part{a.name, {}};
    for (size_t i = piece.a; i <= piece.b; ++i) part.values.push_back(a.values[i % n]);
    out->attribs.push_back(std::move(part));
  }
  for (const XldAttrib& g : x.globals)
    if (g.name != "cont_approx") out->globals.push_back(g);
  out->globals.push_back({"cont_approx", {static_cast<double>(piece.kind)}});
  return out;
}

}  // namespace

VEXA_OPERATOR(segment_contours_xld) {
  int mode = 0;
  Vlong smooth = 0;
  double dist1 = 0, dist2 = 0;
  std::vector<XldPtr> in;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &in);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"lines", "lines_circles", "lines_ellipses"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &smooth);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 2, &dist1);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 3, &dist2);
  if (rc != VRESULT_OK) return rc;
  if (smooth < 0 || smooth > 1001) return VERR_CTRL_VALUE(1);
  if (!(dist1 > 0)) return VERR_CTRL_VALUE(2);
  if (!(dist2 > 0)) return VERR_CTRL_VALUE(3);
  std::vector<XldPtr> out;
  for (const XldPtr& x : in) {
    if (x->size() < 2) {
      out.push_back(x);
      continue;
    }
    const bool closed = IsClosed(*x) && x->size() > 3;
    std::vector<Pt> pts = PointsOf(*x);
    if (closed) pts.pop_back();
    const std::vector<Pt> smooth_pts = Smoothed(pts, closed, smooth);
    const ChainView v{smooth_pts, closed};
    for (const Piece& piece : Segment(v, mode, dist1, dist2))
      out.push_back(PieceContour(*x, ChainView{pts, closed}, piece));
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
