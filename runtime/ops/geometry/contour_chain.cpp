#include "ops/geometry/contour_chain.h"

#include <algorithm>

namespace vexa {
namespace geo {
namespace {

// Two points found on different segments are one when they lie closer
// than this, relative to their coordinates' size.
constexpr double kSamePoint = 1e-9;

bool Same(const Pt& a, const Pt& b) {
  const double scale = std::max({1.0, std::fabs(a.r), std::fabs(a.c)});
  return Distance(a, b) <= kSamePoint * scale;
}

}  // namespace

Vresult InpContourPoints(OpContext& ctx, int par, std::vector<Pt>* points) {
  XldPtr x;
  const Vresult rc = xld::InpSingleXld(ctx, par, VOBJ_XLD_CONT, &x);
  if (rc != VRESULT_OK) return rc;
  *points = xld::PointsOf(*x);
  return points->empty() ? VERR_EMPTY_OBJECT : VRESULT_OK;
}

bool IsClosedChain(const std::vector<Pt>& p) {
  return p.size() > 2 && p.front().r == p.back().r && p.front().c == p.back().c;
}

std::vector<Straight> ChainSegments(const std::vector<Pt>& chain) {
  std::vector<Straight> segments;
  if (chain.size() == 1) segments.push_back({chain[0], chain[0]});
  for (size_t i = 1; i < chain.size(); ++i) segments.push_back({chain[i - 1], chain[i]});
  return segments;
}

void MeetingList::Add(const Meeting& m) {
  all_.overlap = all_.overlap || m.overlap;
  for (const Pt& p : m.points)
    if (all_.points.empty() || !Same(all_.points.back(), p)) all_.points.push_back(p);
}

Meeting MeetingList::Take(bool closed) {
  std::vector<Pt>& p = all_.points;
  if (closed && p.size() > 1 && Same(p.front(), p.back())) p.pop_back();
  return std::move(all_);
}

Meeting MeetChain(const std::vector<Pt>& chain, const std::function<Meeting(const Straight&)>& meet) {
  MeetingList list;
  for (const Straight& s : ChainSegments(chain)) list.Add(meet(s));
  return list.Take(IsClosedChain(chain));
}

}  // namespace geo
}  // namespace vexa
