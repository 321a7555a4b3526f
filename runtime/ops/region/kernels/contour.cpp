#include "ops/region/kernels/contour.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vexa {
namespace {

// Freeman directions as (row, column) steps.
constexpr int kStepR[8] = {0, -1, -1, -1, 0, 1, 1, 1};
constexpr int kStepC[8] = {1, 1, 0, -1, -1, -1, 0, 1};

// Cross product of (a - o) and (b - o) with x = column, y = -row, so that
// a positive value turns counter-clockwise on screen.
int64_t Cross(const PixelPoint& o, const PixelPoint& a, const PixelPoint& b) {
  return (int64_t{a.c} - o.c) * (int64_t{o.r} - b.r) - (int64_t{o.r} - a.r) * (int64_t{b.c} - o.c);
}

double SegmentDistance(const PixelPoint& p, const PixelPoint& a, const PixelPoint& b) {
  const double dr = b.r - a.r, dc = b.c - a.c, len2 = dr * dr + dc * dc;
  double t = len2 > 0 ? ((p.r - a.r) * dr + (p.c - a.c) * dc) / len2 : 0.0;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(p.r - a.r - t * dr, p.c - a.c - t * dc);
}

// Ramer-Douglas-Peucker on pts[first..last]; appends the kept points after
// `first` up to and including `last`.
void Simplify(const std::vector<PixelPoint>& pts, size_t first, size_t last, double tol,
              std::vector<PixelPoint>* out) {
  std::vector<std::pair<size_t, size_t>> stack{{first, last}};
  std::vector<bool> keep(last - first + 1, false);
  keep.back() = true;
  while (!stack.empty()) {
    const auto [a, b] = stack.back();
    stack.pop_back();
    double worst = -1;
    size_t at = a;
    for (size_t i = a + 1; i < b; ++i) {
      const double d = SegmentDistance(pts[i % pts.size()], pts[a % pts.size()], pts[b % pts.size()]);
      if (d > worst) worst = d, at = i;
    }
    if (worst > tol) {
      keep[at - first] = true;
      stack.push_back({a, at});
      stack.push_back({at, b});
    }
  }
  for (size_t i = first + 1; i <= last; ++i)
    if (keep[i - first]) out->push_back(pts[i % pts.size()]);
}

struct Pt {
  double r, c;
};

bool InCircle(const Circle& k, const Pt& p) {
  return std::hypot(p.r - k.row, p.c - k.col) <= k.radius * (1 + 1e-12) + 1e-9;
}

Circle Through2(const Pt& a, const Pt& b) {
  return {(a.r + b.r) / 2, (a.c + b.c) / 2, std::hypot(a.r - b.r, a.c - b.c) / 2};
}

Circle Through3(const Pt& a, const Pt& b, const Pt& c) {
  const double br = b.r - a.r, bc = b.c - a.c, cr = c.r - a.r, cc = c.c - a.c;
  const double d = 2 * (br * cc - bc * cr);
  if (std::fabs(d) < 1e-12) {  // collinear: the widest pair
    Circle k = Through2(a, b);
    for (const Circle& o : {Through2(a, c), Through2(b, c)})
      if (o.radius > k.radius) k = o;
    return k;
  }
  const double b2 = br * br + bc * bc, c2 = cr * cr + cc * cc;
  const double ur = (cc * b2 - bc * c2) / d, uc = (br * c2 - cr * b2) / d;
  return {a.r + ur, a.c + uc, std::hypot(ur, uc)};
}

}  // namespace

void TraceBorder(const Region& region, std::vector<PixelPoint>* border, std::vector<int>* codes) {
  border->clear();
  codes->clear();
  if (region.empty()) return;
  const PixelPoint start{region.chords().front().r, region.chords().front().cb};
  border->push_back(start);
  // The start is the topmost-leftmost pixel, so the search may begin as
  // if the last step had been down-right.
  PixelPoint p = start;
  int dir = 7;
  for (;;) {
    int d = (dir + (dir % 2 == 0 ? 7 : 6)) % 8, k = 0;
    for (; k < 8; ++k, d = (d + 1) % 8)
      if (region.Contains(p.r + kStepR[d], p.c + kStepC[d])) break;
    if (k == 8) return;  // a single pixel
    const PixelPoint q{p.r + kStepR[d], p.c + kStepC[d]};
    // Back at the start and about to repeat the first step: closed.
    if (border->size() >= 2 && p.r == start.r && p.c == start.c && q.r == (*border)[1].r &&
        q.c == (*border)[1].c)
      break;
    codes->push_back(d);
    border->push_back(q);
    p = q;
    dir = d;
  }
  border->pop_back();  // the start, reached again by the last step
}

std::vector<PixelPoint> ConvexHull(const Region& region) {
  std::vector<PixelPoint> pts;
  for (const Chord& ch : region.chords()) {
    pts.push_back({ch.r, ch.cb});
    if (ch.ce != ch.cb) pts.push_back({ch.r, ch.ce});
  }
  // Monotone chain in x = column, y = -row: sorted by column, then by row
  // from the bottom up.
  std::sort(pts.begin(), pts.end(), [](const PixelPoint& a, const PixelPoint& b) {
    return a.c != b.c ? a.c < b.c : a.r > b.r;
  });
  if (pts.size() < 3) return pts;
  std::vector<PixelPoint> hull(2 * pts.size());
  size_t k = 0;
  for (size_t i = 0; i < pts.size(); ++i) {
    while (k >= 2 && Cross(hull[k - 2], hull[k - 1], pts[i]) <= 0) --k;
    hull[k++] = pts[i];
  }
  for (size_t i = pts.size() - 1, lower = k + 1; i-- > 0;) {
    while (k >= lower && Cross(hull[k - 2], hull[k - 1], pts[i]) <= 0) --k;
    hull[k++] = pts[i];
  }
  hull.resize(k - 1);
  const auto first = std::min_element(hull.begin(), hull.end(), [](const PixelPoint& a, const PixelPoint& b) {
    return a.r != b.r ? a.r < b.r : a.c < b.c;
  });
  std::rotate(hull.begin(), first, hull.end());
  return hull;
}

std::vector<PixelPoint> SimplifyClosed(const std::vector<PixelPoint>& outline, double tolerance) {
  const size_t n = outline.size();
  if (n <= 2) return outline;
  size_t far = 0;
  double best = -1;
  for (size_t i = 1; i < n; ++i) {
    const double d = std::hypot(outline[i].r - outline[0].r, outline[i].c - outline[0].c);
    if (d > best) best = d, far = i;
  }
  std::vector<PixelPoint> out{outline[0]};
  Simplify(outline, 0, far, tolerance, &out);
  Simplify(outline, far, n, tolerance, &out);  // index n is the start again
  out.pop_back();
  return out;
}

Rect2 SmallestRectangle(const std::vector<PixelPoint>& hull) {
  Rect2 best;
  if (hull.empty()) return best;
  double best_area = std::numeric_limits<double>::infinity();
  const size_t n = hull.size();
  for (size_t i = 0; i < std::max<size_t>(n, 1); ++i) {
    const PixelPoint& a = hull[i];
    const PixelPoint& b = hull[(i + 1) % n];
    double er = b.r - a.r, ec = b.c - a.c;
    const double len = std::hypot(er, ec);
    if (len == 0) er = 0, ec = 1;
    else er /= len, ec /= len;
    // Extent along the edge (e) and across it (n = e turned a quarter).
    double lo_e = 1e300, hi_e = -1e300, lo_n = 1e300, hi_n = -1e300;
    for (const PixelPoint& p : hull) {
      const double u = p.r * er + p.c * ec, v = -p.r * ec + p.c * er;
      lo_e = std::min(lo_e, u), hi_e = std::max(hi_e, u);
      lo_n = std::min(lo_n, v), hi_n = std::max(hi_n, v);
    }
    const double area = (hi_e - lo_e) * (hi_n - lo_n);
    if (area >= best_area - 1e-9) continue;
    best_area = area;
    const double mu = (lo_e + hi_e) / 2, mv = (lo_n + hi_n) / 2;
    best.row = mu * er - mv * ec;
    best.col = mu * ec + mv * er;
    double len1 = (hi_e - lo_e) / 2, len2 = (hi_n - lo_n) / 2;
    double dr = er, dc = ec;  // direction of the first side
    if (len2 > len1) std::swap(len1, len2), dr = -ec, dc = er;
    double phi = std::atan2(-dr, dc);
    if (phi <= -M_PI / 2) phi += M_PI;
    if (phi > M_PI / 2) phi -= M_PI;
    best.phi = phi;
    best.len1 = len1;
    best.len2 = len2;
  }
  return best;
}

Circle SmallestCircle(const std::vector<PixelPoint>& points) {
  std::vector<Pt> p;
  for (const PixelPoint& q : points) p.push_back({double(q.r), double(q.c)});
  if (p.empty()) return {};
  Circle k{p[0].r, p[0].c, 0};
  for (size_t i = 1; i < p.size(); ++i) {
    if (InCircle(k, p[i])) continue;
    k = {p[i].r, p[i].c, 0};
    for (size_t j = 0; j < i; ++j) {
      if (InCircle(k, p[j])) continue;
      k = Through2(p[i], p[j]);
      for (size_t m = 0; m < j; ++m)
        if (!InCircle(k, p[m])) k = Through3(p[i], p[j], p[m]);
    }
  }
  return k;
}

}  // namespace vexa
