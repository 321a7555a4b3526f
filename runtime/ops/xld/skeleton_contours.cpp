// Contours along a skeleton region: the 8-connected pixel graph is cut at
// its end points (one neighbour) and junctions (three or more), and each
// run of pixels between two such nodes becomes a contour through the pixel
// centres; a ring without nodes becomes a closed contour.
//
// A diagonal neighbour counts only when no pixel that touches both by a
// side is in the region; otherwise the step goes through that pixel, and
// the three pixels of a staircase corner are a path, not a triangle.
#include <algorithm>
#include <unordered_map>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

// Largest region taken: a skeleton is thin, and a filled region of this
// size already splits into millions of branches.
constexpr Vlong kMaxSkeletonPixels = Vlong{1} << 20;

struct Pixel {
  int32_t r, c;
};

// A run of pixels from node `a` to node `b` (pixel indices; -1 for both
// on a ring without nodes, whose path ends with its first pixel again).
struct Branch {
  std::vector<size_t> path;
  long a = -1, b = -1;
};

class SkeletonGraph {
 public:
  explicit SkeletonGraph(const Region& region) : chords_(region.chords()) {
    for (const Chord& ch : chords_) {
      start_.push_back(pixels_.size());
      for (int32_t c = ch.cb; c <= ch.ce; ++c) pixels_.push_back({ch.r, c});
    }
    neighbours_.resize(pixels_.size());
    for (size_t i = 0; i < pixels_.size(); ++i) FindNeighbours(i);
  }

  const std::vector<Pixel>& pixels() const { return pixels_; }

  std::vector<Branch> Branches() const {
    std::vector<Branch> out;
    std::vector<char> done(pixels_.size(), 0);  // pixels inside a branch
    for (size_t n = 0; n < pixels_.size(); ++n) {
      if (IsRegular(n)) continue;
      for (size_t next : neighbours_[n]) {
        // Two nodes side by side: one branch, traced from the lower index.
        if (!IsRegular(next) ? next < n : done[next]) continue;
        out.push_back(Trace(n, next, &done));
      }
      if (neighbours_[n].empty()) out.push_back({{n}, static_cast<long>(n), static_cast<long>(n)});
    }
    for (size_t s = 0; s < pixels_.size(); ++s) {
      if (done[s] || !IsRegular(s)) continue;
      Branch ring = Trace(s, neighbours_[s][0], &done);
      ring.a = ring.b = -1;
      done[s] = 1;
      out.push_back(std::move(ring));
    }
    return out;
  }

 private:
  // Index of pixel (r, c), or -1: the chord that starts at or before it.
  long Find(int32_t r, int32_t c) const {
    const auto after = std::upper_bound(chords_.begin(), chords_.end(), Chord{r, c, c},
                                        [](const Chord& a, const Chord& b) {
                                          return a.r != b.r ? a.r < b.r : a.cb < b.cb;
                                        });
    if (after == chords_.begin()) return -1;
    const size_t k = static_cast<size_t>(after - chords_.begin()) - 1;
    const Chord& ch = chords_[k];
    return ch.r == r && c <= ch.ce ? static_cast<long>(start_[k] + static_cast<size_t>(c - ch.cb)) : -1;
  }
  bool Has(int32_t r, int32_t c) const { return Find(r, c) >= 0; }
  bool IsRegular(size_t i) const { return neighbours_[i].size() == 2; }

  void FindNeighbours(size_t i) {
    const Pixel p = pixels_[i];
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) {
        if ((dr == 0 && dc == 0) || !Has(p.r + dr, p.c + dc)) continue;
        if (dr != 0 && dc != 0 && (Has(p.r + dr, p.c) || Has(p.r, p.c + dc))) continue;
        neighbours_[i].push_back(static_cast<size_t>(Find(p.r + dr, p.c + dc)));
      }
  }

  // From `from` through `next` along regular pixels to the next node (or
  // back to `from` on a ring).
  Branch Trace(size_t from, size_t next, std::vector<char>* done) const {
    Branch b;
    b.a = static_cast<long>(from);
    b.path = {from};
    size_t prev = from, cur = next;
    while (IsRegular(cur) && cur != from) {
      (*done)[cur] = 1;
      b.path.push_back(cur);
      const size_t step = neighbours_[cur][0] == prev ? neighbours_[cur][1] : neighbours_[cur][0];
      prev = cur;
      cur = step;
    }
    b.path.push_back(cur);
    b.b = static_cast<long>(cur);
    return b;
  }

  const std::vector<Chord>& chords_;
  std::vector<size_t> start_;  // index of each chord's first pixel
  std::vector<Pixel> pixels_;
  std::vector<std::vector<size_t>> neighbours_;
};

// Number of branch ends at each node.
std::unordered_map<long, int> Degrees(const std::vector<Branch>& branches) {
  std::unordered_map<long, int> deg;
  for (const Branch& b : branches)
    if (b.a >= 0) ++deg[b.a], ++deg[b.b];
  return deg;
}

// Drops branches of fewer than `min_length` pixels that end freely (at
// a node no other branch reaches) and touch a junction at the other end.
bool DropShortSpurs(std::vector<Branch>* branches, size_t min_length) {
  const auto deg = Degrees(*branches);
  const size_t before = branches->size();
  branches->erase(std::remove_if(branches->begin(), branches->end(),
                                 [&](const Branch& b) {
                                   if (b.a < 0 || b.path.size() >= min_length) return false;
                                   const int da = deg.at(b.a), db = deg.at(b.b);
                                   return (da == 1 && db >= 3) || (db == 1 && da >= 3);
                                 }),
                  branches->end());
  return branches->size() != before;
}

// Joins the two branches at every node that exactly two branch ends
// reach, so that a chain through such nodes becomes one branch.
void JoinAtTwoWayNodes(std::vector<Branch>* branches) {
  std::unordered_map<long, std::vector<size_t>> ends;  // node -> branches
  std::vector<long> nodes;
  for (size_t i = 0; i < branches->size(); ++i) {
    const Branch& b = (*branches)[i];
    if (b.a < 0) continue;
    for (const long node : {b.a, b.b}) {
      std::vector<size_t>& list = ends[node];
      if (list.empty()) nodes.push_back(node);
      list.push_back(i);
    }
  }
  std::vector<char> gone(branches->size(), 0);
  for (const long node : nodes) {
    std::vector<size_t>& at = ends[node];
    if (at.size() != 2 || at[0] == at[1]) continue;
    Branch& x = (*branches)[at[0]];
    Branch& y = (*branches)[at[1]];
    if (x.a == node) {
      std::reverse(x.path.begin(), x.path.end());
      std::swap(x.a, x.b);
    }
    if (y.b == node) {
      std::reverse(y.path.begin(), y.path.end());
      std::swap(y.a, y.b);
    }
    x.path.insert(x.path.end(), y.path.begin() + 1, y.path.end());
    x.b = y.b;
    for (size_t& k : ends[y.b])
      if (k == at[1]) k = at[0];
    gone[at[1]] = 1;
    at.clear();
  }
  size_t kept = 0;
  for (size_t i = 0; i < branches->size(); ++i)
    if (!gone[i]) {
      if (kept != i) (*branches)[kept] = std::move((*branches)[i]);
      ++kept;
    }
  branches->resize(kept);
}

}  // namespace

// mode "filter": branches of fewer than min_length pixels are dropped.
// Regions of more than 2^20 pixels: VERR_TOO_LARGE.
// "generalize1": short branches with a free end at a junction (spurs) are
// dropped once, then branches meeting at a node no other branch reaches
// are joined. "generalize2": the same, repeated until no short spur is
// left.
VEXA_OPERATOR(gen_contours_skeleton_xld) {
  Vkey key = VKEY_UNDEF;
  RegionPtr region;
  Vlong min_length = 0;
  int mode = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpRegion(1, key, &region);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &min_length);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 1, {"filter", "generalize1", "generalize2"}, &mode);
  if (rc != VRESULT_OK) return rc;
  if (min_length < 0) return VERR_CTRL_VALUE(0);
  if (region->area() > kMaxSkeletonPixels) return VERR_TOO_LARGE;
  const SkeletonGraph graph(*region);
  std::vector<Branch> branches = graph.Branches();
  const size_t shortest = static_cast<size_t>(std::min<Vlong>(min_length, kMaxPoints));
  if (mode == 0) {
    branches.erase(std::remove_if(branches.begin(), branches.end(),
                                  [&](const Branch& b) { return b.path.size() < shortest; }),
                   branches.end());
  } else {
    bool dropped = false;
    do {
      dropped = DropShortSpurs(&branches, shortest);
      JoinAtTwoWayNodes(&branches);
    } while (mode == 2 && dropped);
  }
  std::vector<XldPtr> out;
  for (const Branch& b : branches) {
    std::vector<Pt> pts;
    for (size_t i : b.path) pts.push_back({static_cast<double>(graph.pixels()[i].r),
                                           static_cast<double>(graph.pixels()[i].c)});
    out.push_back(NewContour(pts));
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
