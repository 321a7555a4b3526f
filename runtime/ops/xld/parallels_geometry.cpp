#include "parallels_geometry.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace xld {
namespace {

bool RangeFits(const XldPtr& poly, int32_t first, int32_t last) {
  return poly && poly->cls == VOBJ_XLD_POLY && first >= 0 && first <= last &&
         static_cast<size_t>(last) + 1 < poly->size();
}

double Dot(const Pt& a, const Pt& b) { return a.r * b.r + a.c * b.c; }

// Least and largest projection of the points onto `dir`.
void Extent(const std::vector<Pt>& p, const Pt& dir, double* lo, double* hi) {
  *lo = INFINITY;
  *hi = -INFINITY;
  for (const Pt& q : p) {
    *lo = std::min(*lo, Dot(q, dir));
    *hi = std::max(*hi, Dot(q, dir));
  }
}

// The point of the chain whose projection onto `dir` is `t` (the chain's
// first point when none is).
Pt ChainAt(const std::vector<Pt>& p, const Pt& dir, double t) {
  for (size_t i = 1; i < p.size(); ++i) {
    const double a = Dot(p[i - 1], dir), b = Dot(p[i], dir);
    if ((t - a) * (t - b) <= 0 && a != b) {
      const double f = (t - a) / (b - a);
      return {p[i - 1].r + f * (p[i].r - p[i - 1].r), p[i - 1].c + f * (p[i].c - p[i - 1].c)};
    }
  }
  return p.front();
}

// The closed outline between the two sides.
std::vector<Pt> Outline(const Xld& x) {
  std::vector<Pt> side1 = PartCorners(*x.part1, x.first1, x.last1);
  std::vector<Pt> side2 = PartCorners(*x.part2, x.first2, x.last2);
  const Pt d1{side1.back().r - side1.front().r, side1.back().c - side1.front().c};
  const Pt d2{side2.back().r - side2.front().r, side2.back().c - side2.front().c};
  if (Dot(d1, d2) > 0) std::reverse(side2.begin(), side2.end());
  side1.insert(side1.end(), side2.begin(), side2.end());
  return side1;
}

}  // namespace

Vresult InpParallels(OpContext& ctx, int par, int32_t cls, std::vector<XldPtr>* out) {
  Vresult rc = InpXlds(ctx, par, cls, out);
  for (size_t i = 0; rc == VRESULT_OK && i < out->size(); ++i) {
    const Xld& x = *(*out)[i];
    if (x.cls < VOBJ_XLD_PARA || !RangeFits(x.part1, x.first1, x.last1) ||
        !RangeFits(x.part2, x.first2, x.last2))
      rc = VERR_OBJ_CLASS(par);
  }
  return rc;
}

double LineAngleDiff(double a, double b) {
  double d = std::fmod(std::fabs(a - b), M_PI);
  return std::min(d, M_PI - d);
}

double SegmentAngle(const Pt& a, const Pt& b) { return std::atan2(-(b.r - a.r), b.c - a.c); }

std::vector<Pt> PartCorners(const Xld& poly, int32_t first, int32_t last) {
  std::vector<Pt> p;
  for (int32_t k = first; k <= last + 1; ++k)
    p.push_back({poly.rows[static_cast<size_t>(k)], poly.cols[static_cast<size_t>(k)]});
  return p;
}

XldPtr SubPolygon(const Xld& poly, int32_t first, int32_t last) {
  auto x = std::make_shared<Xld>();
  x->cls = VOBJ_XLD_POLY;
  const auto b = static_cast<std::ptrdiff_t>(first), e = static_cast<std::ptrdiff_t>(last) + 2;
  x->rows.assign(poly.rows.begin() + b, poly.rows.begin() + e);
  x->cols.assign(poly.cols.begin() + b, poly.cols.begin() + e);
  if (poly.source) {
    x->source = poly.source;
    x->source_index.assign(poly.source_index.begin() + b, poly.source_index.begin() + e);
  } else {
    for (size_t i = 0; i < x->size(); ++i) x->source_index.push_back(static_cast<int64_t>(i));
  }
  return x;
}

Facing FacingOf(const Xld& x) {
  const std::vector<Pt> side1 = PartCorners(*x.part1, x.first1, x.last1);
  const std::vector<Pt> side2 = PartCorners(*x.part2, x.first2, x.last2);
  Facing f;
  const double dr = side1.back().r - side1.front().r, dc = side1.back().c - side1.front().c;
  const double len = std::hypot(dr, dc);
  if (len > 0) f.dir = {dr / len, dc / len};
  Extent(side1, f.dir, &f.lo1, &f.hi1);
  Extent(side2, f.dir, &f.lo2, &f.hi2);
  const double lo = std::max(f.lo1, f.lo2), hi = std::min(f.hi1, f.hi2);
  const double mean = (f.hi1 - f.lo1 + f.hi2 - f.lo2) / 2;
  f.quality = hi > lo && mean > 0 ? std::min(1.0, (hi - lo) / mean) : 0.0;
  const double t = hi > lo ? (lo + hi) / 2 : (f.lo1 + f.hi1) / 2;
  const Pt a = ChainAt(side1, f.dir, t), b = ChainAt(side2, f.dir, t);
  f.middle = {(a.r + b.r) / 2, (a.c + b.c) / 2};
  return f;
}

// Scan lines through the pixel centres: on row r the pixels from the
// first crossing up to the second, from the third to the fourth, ...
// (even-odd, as InsidePolygon decides it).
GrayStats EnclosedGray(const Xld& x, const FloatImage& image) {
  const std::vector<Pt> p = Outline(x);
  double top = INFINITY, bottom = -INFINITY;
  for (const Pt& q : p) top = std::min(top, q.r), bottom = std::max(bottom, q.r);
  const int r0 = static_cast<int>(std::max(0.0, std::ceil(top)));
  const int r1 = static_cast<int>(std::min<double>(image.values.rows - 1, std::floor(bottom)));
  double sum = 0, sum2 = 0;
  GrayStats g;
  std::vector<double> xs;
  for (int r = r0; r <= r1; ++r) {
    xs.clear();
    for (size_t i = 0, j = p.size() - 1; i < p.size(); j = i++)
      if ((p[i].r > r) != (p[j].r > r))
        xs.push_back((p[j].c - p[i].c) * (r - p[i].r) / (p[j].r - p[i].r) + p[i].c);
    std::sort(xs.begin(), xs.end());
    const float* values = image.values.ptr<float>(r);
    const unsigned char* domain = image.domain.ptr<unsigned char>(r);
    for (size_t k = 0; k + 1 < xs.size(); k += 2) {
      const int c0 = static_cast<int>(std::max(0.0, std::ceil(xs[k])));
      const int c1 = static_cast<int>(std::min<double>(image.values.cols, std::ceil(xs[k + 1])));
      for (int c = c0; c < c1; ++c) {
        if (!domain[c]) continue;
        sum += values[c];
        sum2 += static_cast<double>(values[c]) * values[c];
        ++g.count;
      }
    }
  }
  if (g.count > 0) {
    g.mean = sum / static_cast<double>(g.count);
    g.deviation = std::sqrt(std::max(0.0, sum2 / static_cast<double>(g.count) - g.mean * g.mean));
  }
  return g;
}

}  // namespace xld
}  // namespace vexa
