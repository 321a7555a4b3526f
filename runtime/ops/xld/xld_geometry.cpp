#include "xld_geometry.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <opencv2/imgproc.hpp>

namespace vexa {
namespace xld {
namespace {

double Cross(const Pt& o, const Pt& a, const Pt& b) {
  return (a.c - o.c) * (b.r - o.r) - (a.r - o.r) * (b.c - o.c);
}

double Dist(const Pt& a, const Pt& b) { return std::hypot(a.r - b.r, a.c - b.c); }

// q lies on segment a-b, given that the three are collinear.
bool OnSegment(const Pt& a, const Pt& b, const Pt& q) {
  return std::min(a.r, b.r) <= q.r && q.r <= std::max(a.r, b.r) &&
         std::min(a.c, b.c) <= q.c && q.c <= std::max(a.c, b.c);
}

bool SegmentsTouch(const Pt& a, const Pt& b, const Pt& c, const Pt& d) {
  const double d1 = Cross(c, d, a), d2 = Cross(c, d, b);
  const double d3 = Cross(a, b, c), d4 = Cross(a, b, d);
  if (((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) &&
      ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0)))
    return true;
  return (d1 == 0 && OnSegment(c, d, a)) || (d2 == 0 && OnSegment(c, d, b)) ||
         (d3 == 0 && OnSegment(a, b, c)) || (d4 == 0 && OnSegment(a, b, d));
}

Circle CircleOf2(const Pt& a, const Pt& b) {
  return {(a.r + b.r) / 2, (a.c + b.c) / 2, Dist(a, b) / 2};
}

// The circle through three points; the widest pair's circle when they are
// collinear.
Circle CircleOf3(const Pt& a, const Pt& b, const Pt& c) {
  const double br = b.r - a.r, bc = b.c - a.c, cr = c.r - a.r, cc = c.c - a.c;
  const double d = 2 * (bc * cr - br * cc);
  if (d == 0) {
    Circle best = CircleOf2(a, b);
    for (const Circle& k : {CircleOf2(a, c), CircleOf2(b, c)})
      if (k.radius > best.radius) best = k;
    return best;
  }
  const double b2 = br * br + bc * bc, c2 = cr * cr + cc * cc;
  const double oc = (cr * b2 - br * c2) / d;
  const double orr = (bc * c2 - cc * b2) / d;
  return {a.r + orr, a.c + oc, std::hypot(orr, oc)};
}

bool Contains(const Circle& k, const Pt& p) {
  return Dist({k.row, k.col}, p) <= k.radius * (1 + 1e-12) + 1e-12;
}

}  // namespace

AreaMoments PolygonMoments(const std::vector<Pt>& p) {
  AreaMoments out;
  RegionMoments& m = out.m;
  const size_t n = p.size();
  if (n == 0) return out;
  // Sums about the first point keep the products small.
  const Pt o = p[0];
  double a2 = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
  double extent = 0;
  for (size_t i = 0; i < n; ++i) {
    const size_t j = (i + 1) % n;
    const double xi = p[i].c - o.c, yi = p[i].r - o.r;
    const double xj = p[j].c - o.c, yj = p[j].r - o.r;
    const double cr = xi * yj - xj * yi;
    a2 += cr;
    sx += (xi + xj) * cr;
    sy += (yi + yj) * cr;
    sxx += (xi * xi + xi * xj + xj * xj) * cr;
    syy += (yi * yi + yi * yj + yj * yj) * cr;
    sxy += (xi * yj + 2 * xi * yi + 2 * xj * yj + xj * yi) * cr;
    extent = std::max(extent, xi * xi + yi * yi);
  }
  if (std::fabs(a2) <= 1e-12 * extent || a2 == 0) {
    for (const Pt& q : p) {
      m.row += q.r / n;
      m.col += q.c / n;
    }
    return out;
  }
  out.signed_area = -a2 / 2;  // x right, y down: flip to the screen's sense
  m.area = std::fabs(a2) / 2;
  const double cx = sx / (3 * a2), cy = sy / (3 * a2);
  m.col = o.c + cx;
  m.row = o.r + cy;
  m.m02 = sxx / (6 * a2) - cx * cx;
  m.m20 = syy / (6 * a2) - cy * cy;
  m.m11 = sxy / (12 * a2) - cx * cy;
  const double mean = 0.5 * (m.m20 + m.m02);
  const double half_diff = 0.5 * (m.m20 - m.m02);
  const double root = std::sqrt(half_diff * half_diff + m.m11 * m.m11);
  m.ia = mean + root;
  m.ib = std::max(0.0, mean - root);
  return out;
}

double ChainLength(const std::vector<Pt>& p) {
  double len = 0;
  for (size_t i = 1; i < p.size(); ++i) len += Dist(p[i - 1], p[i]);
  return len;
}

std::vector<Pt> ConvexHull(std::vector<Pt> p) {
  std::sort(p.begin(), p.end(), [](const Pt& a, const Pt& b) {
    return a.c < b.c || (a.c == b.c && a.r < b.r);
  });
  p.erase(std::unique(p.begin(), p.end(),
                      [](const Pt& a, const Pt& b) {
                        return a.r == b.r && a.c == b.c;
                      }),
          p.end());
  if (p.size() < 3) return p;
  std::vector<Pt> h(2 * p.size());
  size_t k = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    while (k >= 2 && Cross(h[k - 2], h[k - 1], p[i]) <= 0) --k;
    h[k++] = p[i];
  }
  for (size_t i = p.size() - 1, t = k + 1; i > 0; --i) {
    while (k >= t && Cross(h[k - 2], h[k - 1], p[i - 1]) <= 0) --k;
    h[k++] = p[i - 1];
  }
  h.resize(k - 1);
  return h;
}

Rect2 SmallestRectangle2(const std::vector<Pt>& p) {
  Rect2 out;
  if (p.empty()) return out;
  std::vector<cv::Point2f> pts(p.size());
  for (size_t i = 0; i < p.size(); ++i)
    pts[i] = cv::Point2f(static_cast<float>(p[i].c), static_cast<float>(p[i].r));
  const cv::RotatedRect box = cv::minAreaRect(pts);
  cv::Point2f corner[4];
  box.points(corner);
  // The two sides at corner 1, in double from here on.
  const double ar = corner[0].y - corner[1].y, ac = corner[0].x - corner[1].x;
  const double br = corner[2].y - corner[1].y, bc = corner[2].x - corner[1].x;
  const double la = std::hypot(ar, ac), lb = std::hypot(br, bc);
  const bool a_long = la >= lb;
  const double lr = a_long ? ar : br, lc = a_long ? ac : bc;
  out.row = box.center.y;
  out.col = box.center.x;
  out.len1 = std::max(la, lb) / 2;
  out.len2 = std::min(la, lb) / 2;
  double phi = std::atan2(-lr, lc);  // rows grow downwards
  if (phi <= -M_PI / 2) phi += M_PI;
  if (phi > M_PI / 2) phi -= M_PI;
  out.phi = out.len1 > 0 ? phi : 0.0;
  return out;
}

Circle SmallestCircle(std::vector<Pt> p) {
  Circle k;
  if (p.empty()) return k;
  std::mt19937 shuffle(12345);  // a fixed order: equal inputs, equal result
  std::shuffle(p.begin(), p.end(), shuffle);
  k = {p[0].r, p[0].c, 0};
  for (size_t i = 1; i < p.size(); ++i) {
    if (Contains(k, p[i])) continue;
    k = {p[i].r, p[i].c, 0};
    for (size_t j = 0; j < i; ++j) {
      if (Contains(k, p[j])) continue;
      k = CircleOf2(p[i], p[j]);
      for (size_t l = 0; l < j; ++l)
        if (!Contains(k, p[l])) k = CircleOf3(p[i], p[j], p[l]);
    }
  }
  return k;
}

double SegmentDistance(const Pt& p, const Pt& a, const Pt& b) {
  const double dr = b.r - a.r, dc = b.c - a.c;
  const double len2 = dr * dr + dc * dc;
  double t = len2 > 0 ? ((p.r - a.r) * dr + (p.c - a.c) * dc) / len2 : 0.0;
  t = std::min(1.0, std::max(0.0, t));
  return std::hypot(p.r - (a.r + t * dr), p.c - (a.c + t * dc));
}

double ChainDistance(const std::vector<Pt>& p, const Pt& q) {
  if (p.size() == 1) return SegmentDistance(q, p[0], p[0]);
  double best = INFINITY;
  for (size_t i = 1; i < p.size(); ++i) best = std::min(best, SegmentDistance(q, p[i - 1], p[i]));
  return best;
}

double PointDistance(const std::vector<Pt>& p, const Pt& q) {
  double best = INFINITY;
  for (const Pt& a : p) best = std::min(best, std::hypot(a.r - q.r, a.c - q.c));
  return best;
}

double SegmentsDistance(const Pt& a, const Pt& b, const Pt& c, const Pt& d) {
  if (SegmentsTouch(a, b, c, d)) return 0.0;
  return std::min(std::min(SegmentDistance(a, c, d), SegmentDistance(b, c, d)),
                  std::min(SegmentDistance(c, a, b), SegmentDistance(d, a, b)));
}

bool SelfIntersects(const std::vector<Pt>& points, bool closed) {
  // A closed outline that repeats its first point at the end is tested
  // without the repeat: otherwise its first and last segments, which meet
  // at that point, would count as touching.
  const bool repeated = closed && points.size() > 1 && points.front().r == points.back().r &&
                        points.front().c == points.back().c;
  const std::vector<Pt> p(points.begin(), points.end() - (repeated ? 1 : 0));
  const size_t n = p.size();
  if (n < 3) return false;
  const size_t segs = closed ? n : n - 1;
  // Segments by their top row; a pair can only touch while the second's
  // top lies above the first's bottom.
  std::vector<size_t> order(segs);
  for (size_t i = 0; i < segs; ++i) order[i] = i;
  auto top = [&](size_t s) { return std::min(p[s].r, p[(s + 1) % n].r); };
  auto bottom = [&](size_t s) { return std::max(p[s].r, p[(s + 1) % n].r); };
  std::sort(order.begin(), order.end(),
            [&](size_t a, size_t b) { return top(a) < top(b); });
  for (size_t x = 0; x < segs; ++x) {
    const size_t s = order[x];
    for (size_t y = x + 1; y < segs && top(order[y]) <= bottom(s); ++y) {
      const size_t t = order[y];
      const size_t lo = std::min(s, t), hi = std::max(s, t);
      const bool neighbours = hi == lo + 1 || (closed && lo == 0 && hi == segs - 1);
      if (neighbours) continue;
      if (SegmentsTouch(p[s], p[(s + 1) % n], p[t], p[(t + 1) % n])) return true;
    }
  }
  return false;
}

bool InsidePolygon(const std::vector<Pt>& p, const Pt& q) {
  bool inside = false;
  if (p.empty()) return false;
  for (size_t i = 0, j = p.size() - 1; i < p.size(); j = i++) {
    if ((p[i].r > q.r) != (p[j].r > q.r) &&
        q.c < (p[j].c - p[i].c) * (q.r - p[i].r) / (p[j].r - p[i].r) + p[i].c)
      inside = !inside;
  }
  return inside;
}

}  // namespace xld
}  // namespace vexa
