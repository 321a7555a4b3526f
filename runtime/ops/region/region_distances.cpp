// Distances between regions and from points, segments and lines to
// regions, and the Hamming distance of region pairs. Two-list operators pair regions1[i] with
// regions2[i]; both lists must be equally long.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "ops/common/op_objects.h"
#include "ops/region/region_distance.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// Columns between two runs of one row each: 0 when they overlap.
int64_t Gap(const Chord& x, const Chord& y) {
  return std::max<int64_t>({0, int64_t{y.cb} - x.ce, int64_t{x.cb} - y.ce});
}

}  // namespace

int64_t LeastSquaredDistance(const Region& a, const Region& b, Vlong at[4]) {
  int64_t best = -1;
  for (const Chord& x : a.chords())
    for (const Chord& y : b.chords()) {
      const int64_t dr = int64_t{x.r} - y.r, gap = Gap(x, y);
      const int64_t d2 = dr * dr + gap * gap;
      if (best >= 0 && d2 >= best) continue;
      best = d2;
      // The nearest columns: the facing ends, or where the runs overlap
      // their first common column.
      const int32_t cx = y.cb > x.ce ? x.ce : (x.cb > y.ce ? x.cb : std::max(x.cb, y.cb));
      const int32_t cy = y.cb > x.ce ? y.cb : (x.cb > y.ce ? y.ce : cx);
      at[0] = x.r, at[1] = cx, at[2] = y.r, at[3] = cy;
    }
  return best;
}

int64_t LeastChessboardDistance(const Region& a, const Region& b) {
  const ChordList& y = b.chords();
  if (a.empty() || y.empty()) return -1;
  // Farther than any two int32 coordinates, and safe to add to one.
  int64_t best = int64_t{1} << 40;
  for (const Chord& x : a.chords()) {
    if (best <= 0) break;
    // Only rows closer than the best distance so far can improve it.
    const auto first = std::lower_bound(y.begin(), y.end(), x.r - best + 1,
                                        [](const Chord& ch, int64_t row) { return ch.r < row; });
    for (auto it = first; it != y.end() && it->r < x.r + best; ++it)
      best = std::min(best, std::max<int64_t>(std::abs(int64_t{it->r} - x.r), Gap(x, *it)));
  }
  return best;
}

namespace {

// The regions of input objects 1 and 2, pairwise.
Vresult ReadPairs(OpContext& ctx, std::vector<RegionPtr>* a, std::vector<RegionPtr>* b) {
  for (int par = 1; par <= 2; ++par) {
    std::vector<RegionPtr>* out = par == 1 ? a : b;
    const Vresult rc = ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
      RegionPtr region;
      const Vresult r = InpRegion(par, key, &region);
      if (r == VRESULT_OK) out->push_back(region);
      return r;
    });
    if (rc != VRESULT_OK) return rc;
  }
  return a->size() == b->size() ? VRESULT_OK : VERR_OBJ_NUM(2);
}

// |a xor b| and 1 - |a xor b| / (|a| + |b|) (1 for two empty regions).
Vresult Hamming(OpContext& ctx, bool centre) {
  std::vector<RegionPtr> a, b;
  const Vresult rc = ReadPairs(ctx, &a, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> distance;
  std::vector<double> similarity;
  for (size_t i = 0; i < a.size(); ++i) {
    ChordList moved = b[i]->chords();
    if (centre && !a[i]->empty() && !b[i]->empty())
      moved = ChordTranslate(moved, static_cast<int32_t>(std::llround(a[i]->row() - b[i]->row())),
                             static_cast<int32_t>(std::llround(a[i]->col() - b[i]->col())));
    Vlong d = 0;
    for (const Chord& ch : ChordSymmDifference(a[i]->chords(), moved)) d += Vlong{ch.ce} - ch.cb + 1;
    const double sum = double(a[i]->area() + b[i]->area());
    distance.push_back(d);
    similarity.push_back(sum > 0.0 ? 1.0 - double(d) / sum : 1.0);
  }
  Vresult out = ctx.SetOutpLongs(0, distance);
  return out == VRESULT_OK ? ctx.SetOutpDoubles(1, similarity) : out;
}

}  // namespace

VEXA_OPERATOR(hamming_distance) { return Hamming(ctx, false); }

// norm "center": the second region is first moved so that its centre of
// gravity (rounded) falls on the first one's; "none": as hamming_distance.
VEXA_OPERATOR(hamming_distance_norm) {
  std::vector<const char*> norm;
  const Vresult rc = ctx.GetStrings(0, norm);
  if (rc != VRESULT_OK) return rc;
  if (norm.size() != 1) return VERR_CTRL_NUM(0);
  const bool centre = std::strcmp(norm[0], "center") == 0;
  if (!centre && std::strcmp(norm[0], "none") != 0) return VERR_CTRL_VALUE(0);
  return Hamming(ctx, centre);
}

// The least distance between a pixel of regions1[i] and one of
// regions2[i], with the first such pair of pixels; -1 and zeros for a pair
// with an empty region.
VEXA_OPERATOR(distance_rr_min) {
  std::vector<RegionPtr> a, b;
  const Vresult rc = ReadPairs(ctx, &a, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> dist;
  std::vector<Vlong> pts[4];
  for (size_t i = 0; i < a.size(); ++i) {
    Vlong p[4] = {0, 0, 0, 0};
    const int64_t best = LeastSquaredDistance(*a[i], *b[i], p);
    dist.push_back(best < 0 ? -1.0 : std::sqrt(double(best)));
    for (int k = 0; k < 4; ++k) pts[k].push_back(p[k]);
  }
  Vresult out = ctx.SetOutpDoubles(0, dist);
  for (int k = 0; k < 4 && out == VRESULT_OK; ++k) out = ctx.SetOutpLongs(k + 1, pts[k]);
  return out;
}

// The pairs (i, j), counted from 1, of a region of regions1 and a region
// of regions2 that lie at most max_distance apart (an object is no
// neighbour of itself), ordered by i, then j.
VEXA_OPERATOR(find_neighbors) {
  Vlong max_distance = 0;
  Vresult rc = ctx.GetLong(0, &max_distance);
  if (rc != VRESULT_OK) return rc;
  if (max_distance < 0) return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> regions[2];
  std::vector<Vkey> keys[2];
  for (int par = 1; par <= 2; ++par) {
    rc = ctx.ForEachInpObj(par, [&](Vkey key, Vlong) {
      RegionPtr region;
      const Vresult r = InpRegion(par, key, &region);
      if (r == VRESULT_OK) regions[par - 1].push_back(region), keys[par - 1].push_back(key);
      return r;
    });
    if (rc != VRESULT_OK) return rc;
  }
  const double limit = double(max_distance) * double(max_distance);
  std::vector<Vlong> first, second;
  for (size_t i = 0; i < regions[0].size(); ++i)
    for (size_t j = 0; j < regions[1].size(); ++j) {
      if (keys[0][i] == keys[1][j]) continue;
      Vlong at[4];
      const int64_t d2 = LeastSquaredDistance(*regions[0][i], *regions[1][j], at);
      if (d2 < 0 || double(d2) > limit) continue;
      first.push_back(Vlong(i) + 1);
      second.push_back(Vlong(j) + 1);
    }
  const Vresult out = ctx.SetOutpLongs(0, first);
  return out == VRESULT_OK ? ctx.SetOutpLongs(1, second) : out;
}

// Least and largest distance from each point (row[i], column[i]) to the
// pixels of the one region; VERR_EMPTY_OBJECT for an empty region.
VEXA_OPERATOR(distance_pr) {
  Vkey key = VKEY_UNDEF;
  RegionPtr region;
  std::vector<double> rows, cols;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpRegion(1, key, &region);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, cols);
  if (rc != VRESULT_OK) return rc;
  if (rows.size() != cols.size()) return VERR_CTRL_NUM(1);
  if (region->empty()) return VERR_EMPTY_OBJECT;
  std::vector<double> dmin, dmax;
  for (size_t i = 0; i < rows.size(); ++i) {
    double lo = std::numeric_limits<double>::infinity(), hi = 0.0;
    for (const Chord& ch : region->chords()) {
      const double dr = ch.r - rows[i];
      const double near = std::min(std::max(cols[i], double(ch.cb)), double(ch.ce));
      lo = std::min(lo, std::hypot(dr, near - cols[i]));
      hi = std::max({hi, std::hypot(dr, ch.cb - cols[i]), std::hypot(dr, ch.ce - cols[i])});
    }
    dmin.push_back(lo);
    dmax.push_back(hi);
  }
  const Vresult out = ctx.SetOutpDoubles(0, dmin);
  return out == VRESULT_OK ? ctx.SetOutpDoubles(1, dmax) : out;
}

// The least chessboard distance (the larger of the row and the column
// difference) between a pixel of regions1[i] and one of regions2[i]: the
// number of dilations with the 3 x 3 square after which the first region
// meets the second; 0 when they share a pixel, -1 when either is empty.
VEXA_OPERATOR(distance_rr_min_dil) {
  std::vector<RegionPtr> a, b;
  const Vresult rc = ReadPairs(ctx, &a, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> dist;
  for (size_t i = 0; i < a.size(); ++i) dist.push_back(LeastChessboardDistance(*a[i], *b[i]));
  return ctx.SetOutpLongs(0, dist);
}

namespace {

// The least and the largest of d(c) over the columns c of a run, for a
// distance d that is convex along the row: the largest at an end, the
// least found by halving the interval towards the descent.
template <class Distance>
void RunExtremes(const Chord& ch, const Distance& d, double* lo, double* hi) {
  *hi = std::max({*hi, d(ch.r, ch.cb), d(ch.r, ch.ce)});
  int64_t left = ch.cb, right = ch.ce;
  while (left < right) {
    const int64_t mid = left + (right - left) / 2;
    if (d(ch.r, mid) <= d(ch.r, mid + 1)) right = mid;
    else left = mid + 1;
  }
  *lo = std::min(*lo, d(ch.r, left));
}

// distance_sr and distance_lr: the least and largest distance of the
// region's pixels from each segment or line (row1, column1)-(row2,
// column2) of controls 0..3. A segment of two equal ends is that point; a
// line needs two different points.
Vresult SegmentOrLineDistances(OpContext& ctx, bool line) {
  Vkey key = VKEY_UNDEF;
  RegionPtr region;
  std::vector<double> v[4];
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpRegion(1, key, &region);
  for (int k = 0; k < 4 && rc == VRESULT_OK; ++k) rc = ctx.GetDoubles(k, v[k]);
  if (rc != VRESULT_OK) return rc;
  for (int k = 1; k < 4; ++k)
    if (v[k].size() != v[0].size()) return VERR_CTRL_NUM(k);
  if (region->empty()) return VERR_EMPTY_OBJECT;
  std::vector<double> dmin, dmax;
  for (size_t i = 0; i < v[0].size(); ++i) {
    const double r1 = v[0][i], c1 = v[1][i], dr = v[2][i] - r1, dc = v[3][i] - c1;
    const double length2 = dr * dr + dc * dc;
    if (line && length2 == 0) return VERR_CTRL_VALUE(2);
    const auto distance = [&](int64_t r, int64_t c) {
      const double pr = double(r) - r1, pc = double(c) - c1;
      if (line) return std::fabs(pr * dc - pc * dr) / std::sqrt(length2);
      const double t = length2 == 0 ? 0.0 : std::clamp((pr * dr + pc * dc) / length2, 0.0, 1.0);
      return std::hypot(pr - t * dr, pc - t * dc);
    };
    double lo = std::numeric_limits<double>::infinity(), hi = 0.0;
    for (const Chord& ch : region->chords()) RunExtremes(ch, distance, &lo, &hi);
    dmin.push_back(lo);
    dmax.push_back(hi);
  }
  const Vresult out = ctx.SetOutpDoubles(0, dmin);
  return out == VRESULT_OK ? ctx.SetOutpDoubles(1, dmax) : out;
}

}  // namespace

VEXA_OPERATOR(distance_sr) { return SegmentOrLineDistances(ctx, false); }
VEXA_OPERATOR(distance_lr) { return SegmentOrLineDistances(ctx, true); }

}  // namespace vexa
