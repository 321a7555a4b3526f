#include "ops/region/kernels/shape_kernels.h"

#include <algorithm>
#include <cmath>

#include "ops/region/kernels/morph_kernels.h"

namespace vexa {

Moments3 ComputeMoments3(const Region& a) {
  Moments3 m;
  m.area = static_cast<double>(a.area());
  if (a.empty()) return m;
  m.row = a.row();
  m.col = a.col();
  // A run of n pixels around its middle column: sum u = sum u^3 = 0 and
  // sum u^2 = n (n^2 - 1) / 12, so every power sum of (c - col) follows
  // from the run's offset d = middle - col in O(1).
  for (const Chord& ch : a.chords()) {
    const double n = static_cast<double>(ch.ce) - ch.cb + 1;
    const double s2 = n * (n * n - 1.0) / 12.0;
    const double d = 0.5 * (static_cast<double>(ch.cb) + ch.ce) - m.col;
    const double dr = ch.r - m.row;
    const double t1 = n * d, t2 = n * d * d + s2, t3 = n * d * d * d + 3.0 * d * s2;
    m.m20 += n * dr * dr;
    m.m11 += dr * t1;
    m.m02 += t2;
    m.m30 += n * dr * dr * dr;
    m.m21 += dr * dr * t1;
    m.m12 += dr * t2;
    m.m03 += t3;
  }
  return m;
}

namespace {

double Dist(double r1, double c1, double r2, double c2) {
  return std::hypot(r1 - r2, c1 - c2);
}

}  // namespace

int64_t HullPixelCount(const std::vector<PixelPoint>& hull) {
  if (hull.empty()) return 0;
  int64_t rmin = hull[0].r, rmax = hull[0].r;
  for (const PixelPoint& p : hull) rmin = std::min<int64_t>(rmin, p.r), rmax = std::max<int64_t>(rmax, p.r);
  int64_t count = 0;
  for (int64_t r = rmin; r <= rmax; ++r) {
    // The polygon's column interval on row r, from the edges crossing it;
    // exact rational bounds, rounded inwards.
    double lo = 1e300, hi = -1e300;
    for (size_t i = 0; i < hull.size(); ++i) {
      const PixelPoint& p = hull[i];
      const PixelPoint& q = hull[(i + 1) % hull.size()];
      if (r < std::min(p.r, q.r) || r > std::max(p.r, q.r)) continue;
      if (p.r == q.r) {
        lo = std::min<double>(lo, std::min(p.c, q.c));
        hi = std::max<double>(hi, std::max(p.c, q.c));
        continue;
      }
      const int64_t num = (r - p.r) * (int64_t{q.c} - p.c), den = int64_t{q.r} - p.r;
      const double x = p.c + static_cast<double>(num) / den;
      lo = std::min(lo, x);
      hi = std::max(hi, x);
    }
    if (hull.size() == 1) lo = hi = static_cast<double>(hull[0].c);
    // A tolerance far below a pixel guards the rounding of the division.
    const int64_t first = static_cast<int64_t>(std::ceil(lo - 1e-9));
    const int64_t last = static_cast<int64_t>(std::floor(hi + 1e-9));
    if (last >= first) count += last - first + 1;
  }
  return count;
}

bool Diameter(const std::vector<PixelPoint>& hull, PixelPoint* p, PixelPoint* q) {
  if (hull.empty()) return false;
  int64_t best = -1;
  for (size_t i = 0; i < hull.size(); ++i)
    for (size_t j = i; j < hull.size(); ++j) {
      const int64_t dr = int64_t{hull[i].r} - hull[j].r, dc = int64_t{hull[i].c} - hull[j].c;
      if (dr * dr + dc * dc > best) {
        best = dr * dr + dc * dc;
        *p = hull[i];
        *q = hull[j];
      }
    }
  return true;
}

double MaxDistanceFrom(const Region& a, double row, double col) {
  double best = 0.0;
  for (const Chord& ch : a.chords())
    best = std::max({best, Dist(ch.r, ch.cb, row, col), Dist(ch.r, ch.ce, row, col)});
  return best;
}

bool InnerDisc(const Region& a, int64_t* k, PixelPoint* centre) {
  if (a.empty()) return false;
  int32_t r1, c1, r2, c2;
  a.BoundingBox(&r1, &c1, &r2, &c2);
  // A disc of squared radius k spans 2 floor(sqrt k) + 1 pixels, so it
  // cannot fit beyond half the smaller side of the bounding box.
  const int64_t side = std::min<int64_t>(int64_t{r2} - r1, int64_t{c2} - c1) / 2 + 1;
  int64_t lo = 0, hi = side * side;  // the disc of lo fits, of hi + 1 not
  RegionPtr fit = Region::FromCanonicalChords(a.chords());
  while (lo < hi) {
    const int64_t mid = lo + (hi - lo + 1) / 2;
    RegionPtr trial;
    Fit(a, Element::DiscSquared(static_cast<double>(mid)), &trial);
    if (trial->empty()) {
      hi = mid - 1;
    } else {
      lo = mid;
      fit = trial;
    }
  }
  *k = lo;
  const Chord& first = fit->chords().front();
  *centre = {first.r, first.cb};
  return true;
}

}  // namespace vexa
