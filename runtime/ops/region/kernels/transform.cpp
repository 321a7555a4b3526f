#include "ops/region/kernels/transform.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vexa/errors.h"

namespace vexa {
namespace {

bool ChordLess(const Chord& x, const Chord& y) {
  return x.r != y.r ? x.r < y.r : x.cb < y.cb;
}

// Integer t with p t + q >= 0 (or > 0 when strict), narrowed into
// [*lo, *hi].
void Narrow(double p, double q, bool strict, double* lo, double* hi) {
  if (p == 0.0) {
    if (strict ? !(q > 0.0) : !(q >= 0.0)) *hi = -1e300;
    return;
  }
  const double x = -q / p;
  if (p > 0.0) {
    *lo = std::max(*lo, strict ? std::floor(x) + 1.0 : std::ceil(x));
  } else {
    *hi = std::min(*hi, strict ? std::ceil(x) - 1.0 : std::floor(x));
  }
}

bool Invert3(const double m[9], double inv[9]) {
  const double a = m[0], b = m[1], c = m[2], d = m[3], e = m[4], f = m[5],
               g = m[6], h = m[7], i = m[8];
  const double A = e * i - f * h, B = -(d * i - f * g), C = d * h - e * g;
  const double det = a * A + b * B + c * C;
  if (!std::isfinite(det) || std::fabs(det) < 1e-300) return false;
  const double k = 1.0 / det;
  inv[0] = A * k;
  inv[1] = -(b * i - c * h) * k;
  inv[2] = (b * f - c * e) * k;
  inv[3] = B * k;
  inv[4] = (a * i - c * g) * k;
  inv[5] = -(a * f - c * d) * k;
  inv[6] = C * k;
  inv[7] = -(a * h - b * g) * k;
  inv[8] = (a * e - b * d) * k;
  return true;
}

}  // namespace

ChordList ChordMirrorRows(const ChordList& a, int32_t size) {
  // Rows come out in reverse order; runs within a row keep theirs.
  ChordList out;
  out.reserve(a.size());
  for (size_t end = a.size(); end > 0;) {
    size_t begin = end - 1;
    while (begin > 0 && a[begin - 1].r == a[end - 1].r) --begin;
    for (size_t i = begin; i < end; ++i)
      out.push_back({size - 1 - a[i].r, a[i].cb, a[i].ce});
    end = begin;
  }
  return out;
}

ChordList ChordMirrorColumns(const ChordList& a, int32_t size) {
  // Runs within a row come out in reverse order.
  ChordList out(a.size());
  for (size_t begin = 0; begin < a.size();) {
    size_t end = begin;
    while (end < a.size() && a[end].r == a[begin].r) ++end;
    for (size_t i = begin; i < end; ++i)
      out[begin + end - 1 - i] = {a[i].r, size - 1 - a[i].ce, size - 1 - a[i].cb};
    begin = end;
  }
  return out;
}

ChordList ChordTransposeAxes(const ChordList& a) {
  // A run of one row becomes a column of pixels; the sort and merge join
  // them into runs again.
  std::vector<Chord> pts;
  for (const Chord& ch : a)
    for (int32_t c = ch.cb; c <= ch.ce; ++c) pts.push_back({c, ch.r, ch.r});
  return Region::FromChords(std::move(pts))->chords();
}

ChordList ChordPointReflect(const ChordList& a, int32_t row, int32_t col) {
  // Reversing the whole list restores the canonical order.
  ChordList out(a.rbegin(), a.rend());
  for (Chord& ch : out)
    ch = {2 * row - ch.r, 2 * col - ch.ce, 2 * col - ch.cb};
  return out;
}

ChordList ChordZoom(const ChordList& a, double sx, double sy) {
  std::vector<Chord> out;
  for (const Chord& ch : a) {
    const double r1 = std::ceil(ch.r * sy), r2 = std::ceil((ch.r + 1.0) * sy) - 1;
    const double c1 = std::ceil(ch.cb * sx), c2 = std::ceil((ch.ce + 1.0) * sx) - 1;
    if (c1 > c2) continue;
    for (double r = r1; r <= r2; ++r)
      out.push_back({static_cast<int32_t>(r), static_cast<int32_t>(c1),
                     static_cast<int32_t>(c2)});
  }
  // Shrinking maps several input rows onto one output row.
  return Region::FromChords(std::move(out))->chords();
}

Vresult ChordProjective(const ChordList& a, const double h[9], ChordList* out) {
  out->clear();
  double inv[9];
  if (!Invert3(h, inv)) return VERR_CTRL_VALUE(0);
  if (a.empty()) return VRESULT_OK;
  int32_t br1, bc1, br2, bc2;
  Region::FromCanonicalChords(a)->BoundingBox(&br1, &bc1, &br2, &bc2);
  // The image of the bounding box's pixel squares bounds the result.
  double ymin = 1e300, ymax = -1e300, xmin = 1e300, xmax = -1e300;
  for (double r : {br1 - 0.5, br2 + 0.5})
    for (double c : {bc1 - 0.5, bc2 + 0.5}) {
      const double w = h[6] * r + h[7] * c + h[8];
      if (!(w > 0.0)) return VERR_TOO_LARGE;  // reaches to infinity
      const double y = (h[0] * r + h[1] * c + h[2]) / w;
      const double x = (h[3] * r + h[4] * c + h[5]) / w;
      ymin = std::min(ymin, y), ymax = std::max(ymax, y);
      xmin = std::min(xmin, x), xmax = std::max(xmax, x);
    }
  if (!(std::fabs(ymin) <= kMaxRegionCoord && std::fabs(ymax) <= kMaxRegionCoord &&
        std::fabs(xmin) <= kMaxRegionCoord && std::fabs(xmax) <= kMaxRegionCoord))
    return VERR_TOO_LARGE;
  const double t1 = std::floor(xmin), t2 = std::ceil(xmax);
  std::vector<Chord> runs;
  for (double y = std::floor(ymin); y <= std::ceil(ymax); ++y) {
    // Along output row y, the source point is (X/W, Y/W) with X, Y, W
    // linear in the output column t.
    const double pa = inv[1], qa = inv[0] * y + inv[2];
    const double pb = inv[4], qb = inv[3] * y + inv[5];
    const double pw = inv[7], qw = inv[6] * y + inv[8];
    // The source rows this output row can reach.
    const double sa = (pa * t1 + qa) / (pw * t1 + qw);
    const double sb = (pa * t2 + qa) / (pw * t2 + qw);
    const Chord first{static_cast<int32_t>(std::floor(std::min(sa, sb) + 0.5)),
                      std::numeric_limits<int32_t>::min(), 0};
    const double last_row = std::floor(std::max(sa, sb) + 0.5);
    for (auto it = std::lower_bound(a.begin(), a.end(), first, ChordLess);
         it != a.end() && it->r <= last_row; ++it) {
      double lo = t1, hi = t2;
      const double rlo = it->r - 0.5, rhi = it->r + 0.5;
      const double clo = it->cb - 0.5, chi = it->ce + 0.5;
      Narrow(pw, qw, true, &lo, &hi);                          // W > 0
      Narrow(pa - rlo * pw, qa - rlo * qw, false, &lo, &hi);   // X >= rlo W
      Narrow(rhi * pw - pa, rhi * qw - qa, true, &lo, &hi);    // X < rhi W
      Narrow(pb - clo * pw, qb - clo * qw, false, &lo, &hi);   // Y >= clo W
      Narrow(chi * pw - pb, chi * qw - qb, true, &lo, &hi);    // Y < chi W
      if (lo <= hi)
        runs.push_back({static_cast<int32_t>(y), static_cast<int32_t>(lo),
                        static_cast<int32_t>(hi)});
    }
  }
  *out = Region::FromChords(std::move(runs))->chords();
  return VRESULT_OK;
}

}  // namespace vexa
