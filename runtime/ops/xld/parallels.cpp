// Parallels: pairs of polygon pieces that run side by side. Found
// between polygon segments (gen_parallels_xld), judged by the gray values
// they enclose (mod_parallels_xld, info_parallels_xld), merged into
// longer sides (max_parallels_xld) and confirmed as roads by centre lines
// (combine_roads_xld). See parallels_geometry.h for the record.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "parallels_geometry.h"
#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

// Most polygon segments gen_parallels_xld compares all against all.
constexpr size_t kMaxSegments = 20000;

// Extended sides take in neighbouring segments within this angle of the
// axis, beyond the angle the two sides already make.
constexpr double kExtendAngle = 0.1;

struct Segment {
  size_t poly;
  int32_t k;
  Pt a, b;
  double length, angle;
};

std::vector<Segment> SegmentsOf(const std::vector<XldPtr>& polys) {
  std::vector<Segment> s;
  for (size_t i = 0; i < polys.size(); ++i) {
    const std::vector<Pt> p = PointsOf(*polys[i]);
    for (size_t k = 0; k + 1 < p.size(); ++k)
      s.push_back({i, static_cast<int32_t>(k), p[k], p[k + 1],
                   std::hypot(p[k + 1].r - p[k].r, p[k + 1].c - p[k].c), SegmentAngle(p[k], p[k + 1])});
  }
  return s;
}

// Distance from the middle of the part of `x` that lies beside `y` to the
// line through `y`; false when no part of x lies beside y.
bool BesideDistance(const Segment& x, const Segment& y, double* d) {
  const Pt u{(x.b.r - x.a.r) / x.length, (x.b.c - x.a.c) / x.length};
  const double t0 = (y.a.r - x.a.r) * u.r + (y.a.c - x.a.c) * u.c;
  const double t1 = (y.b.r - x.a.r) * u.r + (y.b.c - x.a.c) * u.c;
  const double lo = std::max(0.0, std::min(t0, t1)), hi = std::min(x.length, std::max(t0, t1));
  if (!(hi > lo)) return false;
  const Pt m{x.a.r + u.r * (lo + hi) / 2, x.a.c + u.c * (lo + hi) / 2};
  const Pt v{(y.b.r - y.a.r) / y.length, (y.b.c - y.a.c) / y.length};
  *d = std::fabs((m.r - y.a.r) * v.c - (m.c - y.a.c) * v.r);
  return true;
}

struct Limits {
  double min_length, max_distance, max_angle;
};

struct SegmentPair {
  size_t i, j;
  int32_t s, t;
  double distance, angle;
};

// Two segments are parallel when both are at least min_length long, their
// lines differ by at most max_angle, each lies partly beside the other,
// and the mean of the two beside distances is at most max_distance.
bool Parallel(const Segment& x, const Segment& y, const Limits& l, SegmentPair* p) {
  if (x.length < l.min_length || y.length < l.min_length || x.length == 0 || y.length == 0)
    return false;
  const double angle = LineAngleDiff(x.angle, y.angle);
  double d1 = 0, d2 = 0;
  if (angle > l.max_angle || !BesideDistance(x, y, &d1) || !BesideDistance(y, x, &d2)) return false;
  *p = {x.poly, y.poly, x.k, y.k, (d1 + d2) / 2, angle};
  return p->distance <= l.max_distance;
}

// Segments of one polygon that share a corner are no pair.
bool Neighbours(const Segment& x, const Segment& y, const Xld& poly) {
  if (x.poly != y.poly) return false;
  const int32_t last = static_cast<int32_t>(poly.size()) - 2;
  return std::abs(x.k - y.k) <= 1 || (IsClosed(poly) && std::min(x.k, y.k) == 0 &&
                                      std::max(x.k, y.k) == last);
}

// The box test first: segments farther apart than max_distance in rows
// or columns cannot be parallels.
bool FarApart(const Segment& x, const Segment& y, double max_distance) {
  const auto gap = [](double a0, double a1, double b0, double b1) {
    return std::max(std::min(b0, b1) - std::max(a0, a1), std::min(a0, a1) - std::max(b0, b1));
  };
  return gap(x.a.r, x.b.r, y.a.r, y.b.r) > max_distance ||
         gap(x.a.c, x.b.c, y.a.c, y.b.c) > max_distance;
}

size_t Root(std::vector<size_t>& parent, size_t i) {
  while (parent[i] != i) i = parent[i] = parent[parent[i]];
  return i;
}

// Parallels of the pairs; with `merge` the pairs of the same two polygons
// whose segments follow each other on both (or stay the same on one) form
// one parallel over the segment ranges they cover.
std::vector<XldPtr> PairsToParallels(const std::vector<XldPtr>& polys,
                                     const std::vector<SegmentPair>& pairs, bool merge) {
  std::vector<size_t> parent(pairs.size());
  std::iota(parent.begin(), parent.end(), 0);
  if (merge)
    for (size_t a = 0; a < pairs.size(); ++a)
      for (size_t b = a + 1; b < pairs.size(); ++b) {
        const SegmentPair &p = pairs[a], &q = pairs[b];
        if (p.i == q.i && p.j == q.j && std::abs(p.s - q.s) <= 1 && std::abs(p.t - q.t) <= 1)
          parent[Root(parent, b)] = Root(parent, a);
      }
  std::vector<XldPtr> out;
  for (size_t g = 0; g < pairs.size(); ++g) {
    if (Root(parent, g) != g) continue;
    auto x = std::make_shared<Xld>();
    x->cls = VOBJ_XLD_PARA;
    x->part1 = polys[pairs[g].i];
    x->part2 = polys[pairs[g].j];
    x->first1 = x->first2 = INT32_MAX;
    double distance = 0, angle = 0;
    size_t n = 0;
    for (size_t m = 0; m < pairs.size(); ++m) {
      if (Root(parent, m) != g) continue;
      const SegmentPair& p = pairs[m];
      x->first1 = std::min(x->first1, p.s), x->last1 = std::max(x->last1, p.s);
      x->first2 = std::min(x->first2, p.t), x->last2 = std::max(x->last2, p.t);
      distance += p.distance, angle = std::max(angle, p.angle), ++n;
    }
    x->quality = {distance / static_cast<double>(n), angle};
    out.push_back(std::move(x));
  }
  return out;
}

Vresult InpGrayImage(OpContext& ctx, int par, FloatImage* image) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(par, &key);
  return rc == VRESULT_OK ? InpFloatImage(par, key, 0, image) : rc;
}

// Grows side 1's segment range (side 2's with `second`) over the
// neighbouring segments that run along the axis and lie beside the other
// side's extent.
void Extend(Xld* x, const Facing& f, bool second) {
  const Xld& poly = second ? *x->part2 : *x->part1;
  int32_t& first = second ? x->first2 : x->first1;
  int32_t& last = second ? x->last2 : x->last1;
  const double lo = second ? f.lo1 : f.lo2, hi = second ? f.hi1 : f.hi2;
  const double axis = std::atan2(-f.dir.r, f.dir.c);
  const std::vector<Pt> s1 = PartCorners(*x->part1, x->first1, x->last1);
  const std::vector<Pt> s2 = PartCorners(*x->part2, x->first2, x->last2);
  const double tolerance =
      kExtendAngle + LineAngleDiff(SegmentAngle(s1.front(), s1.back()), SegmentAngle(s2.front(), s2.back()));
  const auto fits = [&](int32_t k) {
    const Pt a{poly.rows[static_cast<size_t>(k)], poly.cols[static_cast<size_t>(k)]};
    const Pt b{poly.rows[static_cast<size_t>(k) + 1], poly.cols[static_cast<size_t>(k) + 1]};
    if (a.r == b.r && a.c == b.c) return false;
    const double ta = a.r * f.dir.r + a.c * f.dir.c, tb = b.r * f.dir.r + b.c * f.dir.c;
    return LineAngleDiff(SegmentAngle(a, b), axis) <= tolerance &&
           std::min(hi, std::max(ta, tb)) > std::max(lo, std::min(ta, tb));
  };
  while (first > 0 && fits(first - 1)) --first;
  while (static_cast<size_t>(last) + 2 < poly.size() && fits(last + 1)) ++last;
}

bool RangesMeet(int32_t f1, int32_t l1, int32_t f2, int32_t l2) {
  return f2 <= l1 + 1 && f1 <= l2 + 1;
}

}  // namespace

// merge "true" joins the pairs of consecutive segments into one parallel;
// "false" gives one parallel per segment pair. Each parallel keeps the
// mean beside distance and the largest angle difference of its pairs as
// quality. Polygons with more than 20000 segments in all:
// VERR_TOO_LARGE.
VEXA_OPERATOR(gen_parallels_xld) {
  std::vector<XldPtr> polys;
  Limits l{};
  int merge = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_POLY, &polys);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 0, &l.min_length);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &l.max_distance);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 2, &l.max_angle);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 3, {"false", "true"}, &merge);
  if (rc != VRESULT_OK) return rc;
  if (l.min_length < 0) return VERR_CTRL_VALUE(0);
  if (l.max_distance < 0) return VERR_CTRL_VALUE(1);
  if (l.max_angle < 0 || l.max_angle > M_PI) return VERR_CTRL_VALUE(2);
  const std::vector<Segment> segs = SegmentsOf(polys);
  if (segs.size() > kMaxSegments) return VERR_TOO_LARGE;
  std::vector<SegmentPair> pairs;
  for (size_t a = 0; a < segs.size(); ++a)
    for (size_t b = a + 1; b < segs.size(); ++b) {
      SegmentPair p{};
      if (!FarApart(segs[a], segs[b], l.max_distance) &&
          !Neighbours(segs[a], segs[b], *polys[segs[a].poly]) && Parallel(segs[a], segs[b], l, &p))
        pairs.push_back(p);
    }
  return HandOverXlds(ctx, 1, PairsToParallels(polys, pairs, merge == 1));
}

// The corners of each side (first..last + 1) and its segments' lengths
// and angles.
VEXA_OPERATOR(get_parallels_xld) {
  std::vector<XldPtr> xs;
  Vresult rc = InpParallels(ctx, 1, 0, &xs);
  if (rc != VRESULT_OK) return rc;
  if (xs.size() != 1) return VERR_OBJ_NUM(1);
  const Xld& x = *xs[0];
  for (int side = 0; side < 2 && rc == VRESULT_OK; ++side) {
    const std::vector<Pt> p = side == 0 ? PartCorners(*x.part1, x.first1, x.last1)
                                        : PartCorners(*x.part2, x.first2, x.last2);
    std::vector<double> rows, cols, length, phi;
    for (size_t k = 0; k < p.size(); ++k) {
      rows.push_back(p[k].r), cols.push_back(p[k].c);
      if (k == 0) continue;
      length.push_back(std::hypot(p[k].r - p[k - 1].r, p[k].c - p[k - 1].c));
      phi.push_back(SegmentAngle(p[k - 1], p[k]));
    }
    const int base = 4 * side;
    rc = ctx.SetOutpDoubles(base, rows);
    if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(base + 1, cols);
    if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(base + 2, length);
    if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(base + 3, phi);
  }
  return rc;
}

// Keeps the parallels whose quality (FacingOf) is at least `quality` and
// whose enclosed pixels (at least one) have a mean gray value in
// [min_gray, max_gray] and a standard deviation of at most max_standard.
// The kept ones come as modified parallels (same sides) and as extended
// parallels (sides grown over neighbouring segments that run along the
// axis, within 0.1 rad beyond the sides' own angle, and lie beside the
// other side). Both carry quality, mean gray and deviation.
VEXA_OPERATOR(mod_parallels_xld) {
  std::vector<XldPtr> xs;
  FloatImage image;
  double quality = 0, max_standard = 0;
  Vlong min_gray = 0, max_gray = 0;
  Vresult rc = InpParallels(ctx, 1, 0, &xs);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 2, &image);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 0, &quality);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &min_gray);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &max_gray);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 3, &max_standard);
  if (rc != VRESULT_OK) return rc;
  if (quality < 0 || quality > 1) return VERR_CTRL_VALUE(0);
  if (max_gray < min_gray) return VERR_CTRL_VALUE(2);
  if (max_standard < 0) return VERR_CTRL_VALUE(3);
  std::vector<XldPtr> mod, ext;
  for (const XldPtr& x : xs) {
    const Facing f = FacingOf(*x);
    const GrayStats g = EnclosedGray(*x, image);
    if (f.quality < quality || g.count == 0 || g.mean < static_cast<double>(min_gray) ||
        g.mean > static_cast<double>(max_gray) || g.deviation > max_standard)
      continue;
    auto m = std::make_shared<Xld>(*x);
    m->cls = VOBJ_XLD_MOD_PARA;
    m->quality = {f.quality, g.mean, g.deviation};
    auto e = std::make_shared<Xld>(*m);
    e->cls = VOBJ_XLD_EXT_PARA;
    Extend(e.get(), f, false);
    Extend(e.get(), f, true);
    mod.push_back(std::move(m));
    ext.push_back(std::move(e));
  }
  rc = HandOverXlds(ctx, 1, mod);
  return rc == VRESULT_OK ? HandOverXlds(ctx, 2, ext) : rc;
}

// Ranges over the parallels: quality (FacingOf), mean gray value (rounded)
// and its deviation over the enclosed pixels; parallels that enclose no
// pixel take no part in the gray ranges (0 when none encloses any).
VEXA_OPERATOR(info_parallels_xld) {
  std::vector<XldPtr> xs;
  FloatImage image;
  Vresult rc = InpParallels(ctx, 1, 0, &xs);
  if (rc == VRESULT_OK) rc = InpGrayImage(ctx, 2, &image);
  if (rc != VRESULT_OK) return rc;
  if (xs.empty()) return VERR_OBJ_NUM(1);
  double q_lo = INFINITY, q_hi = -INFINITY, s_lo = INFINITY, s_hi = -INFINITY;
  double g_lo = INFINITY, g_hi = -INFINITY;
  for (const XldPtr& x : xs) {
    const double q = FacingOf(*x).quality;
    q_lo = std::min(q_lo, q), q_hi = std::max(q_hi, q);
    const GrayStats g = EnclosedGray(*x, image);
    if (g.count == 0) continue;
    g_lo = std::min(g_lo, g.mean), g_hi = std::max(g_hi, g.mean);
    s_lo = std::min(s_lo, g.deviation), s_hi = std::max(s_hi, g.deviation);
  }
  if (g_lo > g_hi) g_lo = g_hi = s_lo = s_hi = 0;
  rc = ctx.SetOutpDouble(0, q_lo);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, q_hi);
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(2, std::llround(g_lo));
  if (rc == VRESULT_OK) rc = ctx.SetOutpLong(3, std::llround(g_hi));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(4, s_lo);
  return rc == VRESULT_OK ? ctx.SetOutpDouble(5, s_hi) : rc;
}

// Extended parallels of the same two polygons whose ranges overlap or
// touch on both sides are merged; each merged group gives its two sides
// as polygons (side 1, then side 2).
VEXA_OPERATOR(max_parallels_xld) {
  std::vector<XldPtr> xs;
  Vresult rc = InpParallels(ctx, 1, VOBJ_XLD_EXT_PARA, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<size_t> parent(xs.size());
  std::iota(parent.begin(), parent.end(), 0);
  for (size_t a = 0; a < xs.size(); ++a)
    for (size_t b = a + 1; b < xs.size(); ++b) {
      const Xld &p = *xs[a], &q = *xs[b];
      if (p.part1 == q.part1 && p.part2 == q.part2 &&
          RangesMeet(p.first1, p.last1, q.first1, q.last1) &&
          RangesMeet(p.first2, p.last2, q.first2, q.last2))
        parent[Root(parent, b)] = Root(parent, a);
    }
  std::vector<XldPtr> out;
  for (size_t g = 0; g < xs.size(); ++g) {
    if (Root(parent, g) != g) continue;
    Xld m = *xs[g];
    for (size_t k = g + 1; k < xs.size(); ++k) {
      if (Root(parent, k) != g) continue;
      m.first1 = std::min(m.first1, xs[k]->first1), m.last1 = std::max(m.last1, xs[k]->last1);
      m.first2 = std::min(m.first2, xs[k]->first2), m.last2 = std::max(m.last2, xs[k]->last2);
    }
    out.push_back(SubPolygon(*m.part1, m.first1, m.last1));
    out.push_back(SubPolygon(*m.part2, m.first2, m.last2));
  }
  return HandOverXlds(ctx, 1, out);
}

// Road hypotheses of the fine resolution (the modified and extended
// parallels) are confirmed by the centre lines of the coarse one: a
// hypothesis counts when a centre line segment runs within
// max_angle_parallel of its axis and within max_distance_parallel of the
// point halfway between its sides. The road sides are the two sides of
// every confirmed hypothesis, then each segment of the input polygons
// that continues a confirmed side (not one of its own segments): within
// max_angle_colinear of a side segment, its middle within
// max_distance_colinear of that segment's line and the gap between the
// two at most max_distance_colinear; such a segment comes as a polygon of
// two corners.
VEXA_OPERATOR(combine_roads_xld) {
  std::vector<XldPtr> polys, mods, exts, centres;
  double limit[4];
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_POLY, &polys);
  if (rc == VRESULT_OK) rc = InpParallels(ctx, 2, VOBJ_XLD_MOD_PARA, &mods);
  if (rc == VRESULT_OK) rc = InpParallels(ctx, 3, VOBJ_XLD_EXT_PARA, &exts);
  if (rc == VRESULT_OK) rc = InpXlds(ctx, 4, VOBJ_XLD_CONT, &centres);
  for (int k = 0; rc == VRESULT_OK && k < 4; ++k) rc = GetFinite(ctx, k, &limit[k]);
  if (rc != VRESULT_OK) return rc;
  for (int k = 0; k < 4; ++k)
    if (limit[k] < 0 || (k < 2 && limit[k] > M_PI)) return VERR_CTRL_VALUE(k);
  const double max_angle_parallel = limit[0], max_angle_colinear = limit[1];
  const double max_distance_parallel = limit[2], max_distance_colinear = limit[3];

  const auto confirmed = [&](const Xld& x) {
    const Facing f = FacingOf(x);
    const double axis = std::atan2(-f.dir.r, f.dir.c);
    for (const XldPtr& c : centres)
      for (size_t k = 1; k < c->size(); ++k) {
        const Pt a{c->rows[k - 1], c->cols[k - 1]}, b{c->rows[k], c->cols[k]};
        if ((a.r != b.r || a.c != b.c) &&
            LineAngleDiff(SegmentAngle(a, b), axis) <= max_angle_parallel &&
            SegmentDistance(f.middle, a, b) <= max_distance_parallel)
          return true;
      }
    return false;
  };
  struct Side {
    const Xld* poly;
    int32_t first, last;
  };
  std::vector<Side> sides;
  std::vector<XldPtr> out;
  for (const auto* list : {&mods, &exts})
    for (const XldPtr& x : *list) {
      if (!confirmed(*x)) continue;
      sides.push_back({x->part1.get(), x->first1, x->last1});
      sides.push_back({x->part2.get(), x->first2, x->last2});
      out.push_back(SubPolygon(*x->part1, x->first1, x->last1));
      out.push_back(SubPolygon(*x->part2, x->first2, x->last2));
    }

  const auto continues = [&](const Xld& poly, int32_t k) {
    const Pt a{poly.rows[static_cast<size_t>(k)], poly.cols[static_cast<size_t>(k)]};
    const Pt b{poly.rows[static_cast<size_t>(k) + 1], poly.cols[static_cast<size_t>(k) + 1]};
    if (a.r == b.r && a.c == b.c) return false;
    for (const Side& s : sides)
      if (s.poly == &poly && k >= s.first && k <= s.last) return false;
    const Pt mid{(a.r + b.r) / 2, (a.c + b.c) / 2};
    for (const Side& s : sides)
      for (int32_t j = s.first; j <= s.last; ++j) {
        const Pt c{s.poly->rows[static_cast<size_t>(j)], s.poly->cols[static_cast<size_t>(j)]};
        const Pt d{s.poly->rows[static_cast<size_t>(j) + 1], s.poly->cols[static_cast<size_t>(j) + 1]};
        const double len = std::hypot(d.r - c.r, d.c - c.c);
        if (len == 0) continue;
        const double off = std::fabs((mid.r - c.r) * (d.c - c.c) - (mid.c - c.c) * (d.r - c.r)) / len;
        if (LineAngleDiff(SegmentAngle(a, b), SegmentAngle(c, d)) <= max_angle_colinear &&
            off <= max_distance_colinear && SegmentsDistance(a, b, c, d) <= max_distance_colinear)
          return true;
      }
    return false;
  };
  for (const XldPtr& p : polys)
    for (size_t k = 0; k + 1 < p->size(); ++k)
      if (continues(*p, static_cast<int32_t>(k))) out.push_back(SubPolygon(*p, static_cast<int32_t>(k), static_cast<int32_t>(k)));
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
