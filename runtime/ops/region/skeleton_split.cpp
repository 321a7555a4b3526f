// Skeleton pieces: the end and junction points of a skeleton
// (junctions_skeleton), and a skeleton cut into its branches, long
// branches cut further into nearly straight pieces, as regions
// (split_skeleton_region) or as their end points (split_skeleton_lines).
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "ops/region/kernels/thinning_kernels.h"
#include "ops/region/region_op_util.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

using Point = std::pair<int32_t, int32_t>;  // row, column

// The ring of the eight neighbours clockwise from the top-left corner;
// the side neighbours first where a walk may choose.
constexpr int kRingR[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
constexpr int kRingC[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
constexpr int kSidesFirst[8] = {1, 3, 5, 7, 0, 2, 4, 6};

// The branches: the pixels that are no junction, joined where they
// touch (8-neighbours), except diagonally beside a junction next to both,
// where two lines leaving the junction meet. Each branch sorted, in the
// order of their first pixels.
std::vector<std::vector<Point>> Branches(const Region& a) {
  std::map<Point, size_t> index;
  std::set<Point> junctions;
  for (const Chord& ch : a.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      if (IsJunction(a, ch.r, c)) junctions.insert({ch.r, c});
      else index.emplace(Point{ch.r, c}, index.size());
    }
  std::vector<size_t> parent(index.size());
  for (size_t i = 0; i < parent.size(); ++i) parent[i] = i;
  const auto root = [&](size_t i) {
    while (parent[i] != i) i = parent[i] = parent[parent[i]];
    return i;
  };
  // Two diagonal neighbours share only the other two pixels of their 2 x 2
  // square as neighbours.
  const auto beside_junction = [&](const Point& p, const Point& q) {
    return junctions.count({p.first, q.second}) != 0 || junctions.count({q.first, p.second}) != 0;
  };
  for (const auto& [p, i] : index)
    for (int k : {3, 4, 5, 6}) {  // the neighbours after p in row order
      const Point q{p.first + kRingR[k], p.second + kRingC[k]};
      const auto it = index.find(q);
      if (it == index.end() || (k % 2 == 0 && beside_junction(p, q))) continue;
      parent[root(it->second)] = root(i);
    }
  std::map<size_t, std::vector<Point>> by_root;
  std::vector<std::vector<Point>> out;
  for (const auto& [p, i] : index) by_root[root(i)].push_back(p);
  for (auto& [r, pixels] : by_root) out.push_back(std::move(pixels));
  std::sort(out.begin(), out.end());
  return out;
}

// The pixels of the branch in order along it, from an end (or anywhere on
// a closed loop); empty when the branch is no simple line.
std::vector<Point> WalkBranch(const Region& branch) {
  std::set<Point> left;
  for (const Chord& ch : branch.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) left.insert({ch.r, c});
  const auto neighbours = [&](const Point& p) {
    std::vector<Point> out;
    for (int k : kSidesFirst) {
      const Point q{p.first + kRingR[k], p.second + kRingC[k]};
      if (left.count(q) != 0) out.push_back(q);
    }
    return out;
  };
  Point p = *left.begin();
  for (const Point& q : left)
    if (neighbours(q).size() <= 1) {
      p = q;
      break;
    }
  std::vector<Point> path{p};
  left.erase(p);
  for (std::vector<Point> next = neighbours(p); !next.empty(); next = neighbours(p)) {
    p = next.front();
    path.push_back(p);
    left.erase(p);
  }
  return left.empty() ? path : std::vector<Point>{};
}

// Cuts path[from..to] where a pixel lies more than `max_distance` from
// the line between the piece's ends (at the farthest such pixel, which
// ends the first part), appending the pieces' first and last indices in
// order.
void CutStraight(const std::vector<Point>& path, size_t from, size_t to, double max_distance,
                 std::vector<std::pair<size_t, size_t>>* pieces) {
  const double dr = path[to].first - path[from].first, dc = path[to].second - path[from].second;
  const double len = std::hypot(dr, dc);
  size_t far = from;
  double far_d = max_distance;
  for (size_t k = from + 1; k < to; ++k) {
    const double pr = path[k].first - path[from].first, pc = path[k].second - path[from].second;
    const double d = len > 0 ? std::fabs(pr * dc - pc * dr) / len : std::hypot(pr, pc);
    if (d > far_d) far = k, far_d = d;
  }
  if (far != from) {
    CutStraight(path, from, far, max_distance, pieces);
    CutStraight(path, far + 1, to, max_distance, pieces);
    return;
  }
  pieces->push_back({from, to});
}

// The branches of a skeleton (Branches) as regions, each with its pixels
// in order along it (empty for a branch that is no simple line).
struct Branch {
  RegionPtr region;
  std::vector<Point> path;
};

std::vector<Branch> WalkedBranches(const Region& skeleton) {
  std::vector<Branch> out;
  for (const std::vector<Point>& pixels : Branches(skeleton)) {
    std::vector<Chord> chords;
    for (const Point& p : pixels) chords.push_back({p.first, p.second, p.second});
    Branch b;
    b.region = Region::FromChords(std::move(chords));
    b.path = WalkBranch(*b.region);
    out.push_back(std::move(b));
  }
  return out;
}

// A control parameter `par` that is a distance of 0 or more.
Vresult ReadMaxDistance(const OpContext& ctx, int par, double* d) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 0) return VERR_CTRL_VALUE(par);
  *d = static_cast<double>(v);
  return VRESULT_OK;
}

}  // namespace

// The junction pixels (IsJunction) are dropped; each branch (Branches)
// is one region, or, where it is a simple line deviating more
// than max_distance from the line between its ends, several pieces along
// it. Branches in the order of their first pixels, for every input region.
VEXA_OPERATOR(split_skeleton_region) {
  double max_distance = 0;
  const Vresult rc = ReadMaxDistance(ctx, 0, &max_distance);
  if (rc != VRESULT_OK) return rc;
  return SplitRegions(ctx, [&](const Region& in, std::vector<RegionPtr>* out) {
    for (const Branch& b : WalkedBranches(in)) {
      if (b.path.empty()) {
        out->push_back(b.region);
        continue;
      }
      std::vector<std::pair<size_t, size_t>> pieces;
      CutStraight(b.path, 0, b.path.size() - 1, max_distance, &pieces);
      for (const auto& [from, to] : pieces) {
        std::vector<Chord> chords;
        for (size_t k = from; k <= to; ++k) chords.push_back({b.path[k].first, b.path[k].second, b.path[k].second});
        out->push_back(Region::FromChords(std::move(chords)));
      }
    }
    return VRESULT_OK;
  });
}

// The straight pieces of split_skeleton_region as their first and last
// pixels: one (begin_row, begin_column, end_row, end_column) per piece, for
// the branches that are simple lines (others have no ends to give), in
// the order of the branches and along each.
VEXA_OPERATOR(split_skeleton_lines) {
  double max_distance = 0;
  Vresult rc = ReadMaxDistance(ctx, 0, &max_distance);
  std::vector<RegionPtr> skeletons;
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &skeletons);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> ends[4];
  for (const RegionPtr& skeleton : skeletons)
    for (const Branch& b : WalkedBranches(*skeleton)) {
      if (b.path.empty()) continue;
      std::vector<std::pair<size_t, size_t>> pieces;
      CutStraight(b.path, 0, b.path.size() - 1, max_distance, &pieces);
      for (const auto& [from, to] : pieces) {
        ends[0].push_back(b.path[from].first), ends[1].push_back(b.path[from].second);
        ends[2].push_back(b.path[to].first), ends[3].push_back(b.path[to].second);
      }
    }
  for (int k = 0; k < 4 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpLongs(k, ends[k]);
  return rc;
}

// The ends of the lines (as pruning strips them) and the points where
// three or more lines meet.
VEXA_OPERATOR(junctions_skeleton) {
  std::vector<RegionPtr> in;
  Vresult rc = InpRegions(ctx, 1, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<RegionPtr> ends(in.size()), junctions(in.size());
  for (size_t i = 0; i < in.size() && rc == VRESULT_OK; ++i) {
    rc = EndPoints(*in[i], &ends[i]);
    junctions[i] = JunctionPoints(*in[i]);
  }
  if (rc == VRESULT_OK) rc = OutRegions(ctx, 1, ends);
  return rc == VRESULT_OK ? OutRegions(ctx, 2, junctions) : rc;
}

}  // namespace vexa
