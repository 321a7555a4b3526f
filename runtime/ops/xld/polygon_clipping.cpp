// Set operations on ring sets: see polygon_clipping.h.
#include "polygon_clipping.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace vexa {
namespace xld {
namespace {

// Points closer than this are one point; offsets of the side tests.
constexpr double kSnap = 1e-9;
constexpr double kSide = 1e-6;

double Cross(double ax, double ay, double bx, double by) { return ax * by - ay * bx; }

struct Segment {
  Pt a, b;
  int set;                                  // 0 or 1
  std::vector<std::pair<double, Pt>> cuts;  // parameter along a-b, point
};

// Adds to s the point q of its interior (not an end) as a cut.
void CutAt(Segment* s, const Pt& q) {
  const double dr = s->b.r - s->a.r, dc = s->b.c - s->a.c;
  const double len2 = dr * dr + dc * dc;
  const double t = ((q.r - s->a.r) * dr + (q.c - s->a.c) * dc) / len2;
  const double len = std::sqrt(len2);
  if (t * len > kSnap && (1 - t) * len > kSnap) s->cuts.push_back({t, q});
}

// Distance from q to the line through a and b (a != b).
double LineDistance(const Pt& a, const Pt& b, const Pt& q) {
  return std::fabs(Cross(b.c - a.c, b.r - a.r, q.c - a.c, q.r - a.r)) /
         std::hypot(b.c - a.c, b.r - a.r);
}

bool Near(const Pt& p, const Pt& q) { return std::hypot(p.r - q.r, p.c - q.c) <= kSnap; }

// Records where s and t meet as cuts of both.
void Intersect(Segment* s, Segment* t) {
  const double dx = s->b.c - s->a.c, dy = s->b.r - s->a.r;
  const double ex = t->b.c - t->a.c, ey = t->b.r - t->a.r;
  const double den = Cross(dx, dy, ex, ey);
  const double ls = std::hypot(dx, dy), lt = std::hypot(ex, ey);
  if (LineDistance(s->a, s->b, t->a) <= kSnap && LineDistance(s->a, s->b, t->b) <= kSnap) {
    // Collinear: each is cut where the other ends.
    CutAt(s, t->a), CutAt(s, t->b), CutAt(t, s->a), CutAt(t, s->b);
    return;
  }
  if (den == 0) return;
  const double qx = t->a.c - s->a.c, qy = t->a.r - s->a.r;
  const double u = Cross(qx, qy, ex, ey) / den;  // along s
  const double v = Cross(qx, qy, dx, dy) / den;  // along t
  if (u * ls < -kSnap || (u - 1) * ls > kSnap || v * lt < -kSnap || (v - 1) * lt > kSnap) return;
  Pt p{s->a.r + u * dy, s->a.c + u * dx};
  // An end point on the other segment is taken as it is.
  for (const Pt* e : {&s->a, &s->b, &t->a, &t->b})
    if (Near(p, *e)) p = *e;
  CutAt(s, p), CutAt(t, p);
}

// Even-odd membership in one set's rings, with the segments bucketed by
// row bands so that a test looks at the segments of its band only.
class EvenOdd {
 public:
  explicit EvenOdd(const std::vector<Segment>& segs, int set) {
    for (const Segment& s : segs)
      if (s.set == set) own_.push_back(&s);
    if (own_.empty()) return;
    lo_ = hi_ = own_.front()->a.r;
    for (const Segment* s : own_)
      lo_ = std::min({lo_, s->a.r, s->b.r}), hi_ = std::max({hi_, s->a.r, s->b.r});
    bands_.resize(std::max<size_t>(1, static_cast<size_t>(std::sqrt(own_.size()))));
    for (const Segment* s : own_) {
      const size_t b0 = Band(std::min(s->a.r, s->b.r)), b1 = Band(std::max(s->a.r, s->b.r));
      for (size_t b = b0; b <= b1; ++b) bands_[b].push_back(s);
    }
  }

  bool Inside(const Pt& q) const {
    if (own_.empty() || q.r < lo_ || q.r > hi_) return false;
    bool in = false;
    for (const Segment* s : bands_[Band(q.r)])
      if ((s->a.r > q.r) != (s->b.r > q.r)) {
        const double c = s->a.c + (q.r - s->a.r) / (s->b.r - s->a.r) * (s->b.c - s->a.c);
        if (c > q.c) in = !in;
      }
    return in;
  }

 private:
  size_t Band(double r) const {
    if (hi_ <= lo_) return 0;
    const double f = (r - lo_) / (hi_ - lo_) * static_cast<double>(bands_.size());
    return std::min(bands_.size() - 1, static_cast<size_t>(std::max(0.0, f)));
  }

  std::vector<const Segment*> own_;
  std::vector<std::vector<const Segment*>> bands_;
  double lo_ = 0, hi_ = 0;
};

bool Combine(SetOperation op, bool a, bool b) {
  switch (op) {
    case SetOperation::kIntersection: return a && b;
    case SetOperation::kUnion: return a || b;
    case SetOperation::kDifference: return a && !b;
    case SetOperation::kSymmetricDifference: return a != b;
  }
  return false;
}

// Numbers points, one number for points within kSnap (on a grid of that
// size; points on both sides of a grid line stay apart, which only the
// cuts computed twice for one crossing of three segments could produce).
class PointIds {
 public:
  int Id(const Pt& p) {
    const auto key = std::make_pair(std::llround(p.r / kSnap), std::llround(p.c / kSnap));
    const auto it = ids_.find(key);
    if (it != ids_.end()) return it->second;
    pts_.push_back(p);
    ids_.emplace(key, static_cast<int>(pts_.size()) - 1);
    return static_cast<int>(pts_.size()) - 1;
  }
  const Pt& At(int id) const { return pts_[static_cast<size_t>(id)]; }

 private:
  std::map<std::pair<long long, long long>, int> ids_;
  std::vector<Pt> pts_;
};

// Removes the points where a ring runs straight on (such as the ends of
// an edge two inputs shared), so that each corner is a real corner.
void DropStraightCorners(Ring* ring) {
  bool changed = true;
  while (changed && ring->size() >= 3) {
    changed = false;
    Ring kept;
    const size_t n = ring->size();
    for (size_t i = 0; i < n; ++i) {
      const Pt& p = (*ring)[(i + n - 1) % n];
      const Pt& q = (*ring)[i];
      const Pt& r = (*ring)[(i + 1) % n];
      const double ux = q.c - p.c, uy = q.r - p.r, vx = r.c - q.c, vy = r.r - q.r;
      const bool straight = std::fabs(Cross(ux, uy, vx, vy)) <= kSnap * std::hypot(vx, vy) &&
                            ux * vx + uy * vy > 0;
      if (straight) changed = true;
      else kept.push_back(q);
    }
    ring->swap(kept);
  }
}

// Links directed edges (from, to) into rings: at each point the
// outgoing edge turning most to the left of the incoming one.
std::vector<Ring> LinkRings(const std::vector<std::pair<int, int>>& edges, const PointIds& ids) {
  std::map<int, std::vector<size_t>> out;
  for (size_t i = 0; i < edges.size(); ++i) out[edges[i].first].push_back(i);
  std::vector<char> used(edges.size(), 0);
  std::vector<Ring> rings;
  for (size_t start = 0; start < edges.size(); ++start) {
    if (used[start]) continue;
    Ring ring;
    size_t e = start;
    while (true) {
      used[e] = 1;
      ring.push_back(ids.At(edges[e].first));
      const int at = edges[e].second;
      if (at == edges[start].first) break;
      const Pt& p = ids.At(edges[e].first);
      const Pt& q = ids.At(at);
      double best = -10;
      size_t next = edges.size();
      for (size_t f : out[at]) {
        if (used[f]) continue;
        const Pt& n = ids.At(edges[f].second);
        const double turn = std::atan2(Cross(q.c - p.c, q.r - p.r, n.c - q.c, n.r - q.r),
                                       (q.c - p.c) * (n.c - q.c) + (q.r - p.r) * (n.r - q.r));
        if (turn > best) best = turn, next = f;
      }
      if (next == edges.size()) break;  // cannot happen for a valid boundary
      e = next;
    }
    DropStraightCorners(&ring);
    if (ring.size() >= 3) rings.push_back(std::move(ring));
  }
  return rings;
}

}  // namespace

std::vector<Ring> ClipRings(const std::vector<Ring>& a, const std::vector<Ring>& b,
                            SetOperation op) {
  std::vector<Segment> segs;
  for (int set = 0; set < 2; ++set)
    for (const Ring& ring : set ? b : a)
      for (size_t i = 0; i < ring.size(); ++i) {
        const Pt& p = ring[i];
        const Pt& q = ring[(i + 1) % ring.size()];
        if (!Near(p, q)) segs.push_back({p, q, set, {}});
      }
  // Sweep along the columns: only segments whose column ranges overlap
  // can meet.
  std::vector<size_t> order(segs.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  auto cmin = [&](size_t i) { return std::min(segs[i].a.c, segs[i].b.c); };
  auto cmax = [&](size_t i) { return std::max(segs[i].a.c, segs[i].b.c); };
  auto rmin = [&](size_t i) { return std::min(segs[i].a.r, segs[i].b.r); };
  auto rmax = [&](size_t i) { return std::max(segs[i].a.r, segs[i].b.r); };
  std::sort(order.begin(), order.end(), [&](size_t i, size_t j) { return cmin(i) < cmin(j); });
  for (size_t x = 0; x < order.size(); ++x)
    for (size_t y = x + 1; y < order.size() && cmin(order[y]) <= cmax(order[x]) + kSnap; ++y) {
      const size_t i = order[x], j = order[y];
      if (rmin(j) > rmax(i) + kSnap || rmin(i) > rmax(j) + kSnap) continue;
      Intersect(&segs[i], &segs[j]);
    }

  const EvenOdd in_a(segs, 0), in_b(segs, 1);
  PointIds ids;
  std::map<std::pair<int, int>, char> seen;
  std::vector<std::pair<int, int>> edges;
  for (Segment& s : segs) {
    std::sort(s.cuts.begin(), s.cuts.end(),
              [](const auto& x, const auto& y) { return x.first < y.first; });
    std::vector<Pt> chain{s.a};
    for (const auto& cut : s.cuts) chain.push_back(cut.second);
    chain.push_back(s.b);
    for (size_t k = 0; k + 1 < chain.size(); ++k) {
      const int u = ids.Id(chain[k]), v = ids.Id(chain[k + 1]);
      if (u == v || !seen.emplace(std::minmax(u, v), 1).second) continue;
      const Pt& p = ids.At(u);
      const Pt& q = ids.At(v);
      const double len = std::hypot(q.r - p.r, q.c - p.c);
      // Left of the direction p -> q, with (column, row) as (x, y).
      const double lr = (q.c - p.c) / len * kSide, lc = -(q.r - p.r) / len * kSide;
      const Pt m{0.5 * (p.r + q.r), 0.5 * (p.c + q.c)};
      const Pt left{m.r + lr, m.c + lc}, right{m.r - lr, m.c - lc};
      const bool l = Combine(op, in_a.Inside(left), in_b.Inside(left));
      const bool r = Combine(op, in_a.Inside(right), in_b.Inside(right));
      if (l && !r) edges.push_back({u, v});
      if (r && !l) edges.push_back({v, u});
    }
  }
  return LinkRings(edges, ids);
}

}  // namespace xld
}  // namespace vexa
