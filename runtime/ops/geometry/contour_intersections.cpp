// Intersections of a contour with lines, segments, circles and arcs, and
// of two contours. Points come in order along the (first) contour, each
// once; a contour segment that lies on the other figure for a piece of
// positive length sets is_overlapping and gives no points for that piece.
// Several lines, segments or circles (element-wise tuples) give their
// points one after the other, and one is_overlapping each.
#include <algorithm>

#include "ops/common/named_values.h"
#include "ops/geometry/contour_chain.h"
#include "ops/geometry/meetings.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// The contour of input 1 against the segment or line of inputs 0..3.
Vresult ContourAndStraight(OpContext& ctx, bool line) {
  std::vector<Pt> chain;
  ElementInputs in;
  Vresult rc = InpContourPoints(ctx, 1, &chain);
  if (rc == VRESULT_OK) rc = in.ReadFirst(ctx, 4);
  if (rc == VRESULT_OK && line) rc = in.RequireDistinctPoints(0, 2);
  if (rc != VRESULT_OK) return rc;
  std::vector<Meeting> meetings(in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    const Straight other{in.Point(0, i), in.Point(2, i), line};
    meetings[i] = MeetChain(chain, [&](const Straight& s) { return Intersect(s, other); });
  }
  return SetMeetings(ctx, meetings, true);
}

enum class ContourPairs { kMutual, kSelf, kAll };

constexpr Named<ContourPairs> kContourPairs[] = {
    {"mutual", ContourPairs::kMutual},
    {"self", ContourPairs::kSelf},
    {"all", ContourPairs::kAll},
};

bool BoxesApart(const Straight& s, const Straight& t) {
  return std::max(s.a.r, s.b.r) < std::min(t.a.r, t.b.r) || std::max(t.a.r, t.b.r) < std::min(s.a.r, s.b.r) ||
         std::max(s.a.c, s.b.c) < std::min(t.a.c, t.b.c) || std::max(t.a.c, t.b.c) < std::min(s.a.c, s.b.c);
}

// The meetings of segment s with the segments `others` lists, sorted
// along s.
Meeting MeetAlong(const Straight& s, const std::vector<const Straight*>& others) {
  Meeting m;
  for (const Straight* t : others) {
    if (BoxesApart(s, *t)) continue;
    const Meeting one = Intersect(s, *t);
    m.overlap = m.overlap || one.overlap;
    m.points.insert(m.points.end(), one.points.begin(), one.points.end());
  }
  const Pt u = s.b - s.a;
  std::stable_sort(m.points.begin(), m.points.end(),
                   [&](const Pt& p, const Pt& q) { return Dot(p - s.a, u) < Dot(q - s.a, u); });
  return m;
}

// Where segments of one chain that are not neighbours meet (the first and
// last segment of a closed chain are neighbours). Repeated points are
// dropped first, so that segments around one stay neighbours.
Meeting SelfMeetings(const std::vector<Pt>& points) {
  std::vector<Pt> chain;
  for (const Pt& p : points)
    if (chain.empty() || p.r != chain.back().r || p.c != chain.back().c) chain.push_back(p);
  const std::vector<Straight> seg = ChainSegments(chain);
  const bool closed = IsClosedChain(chain);
  MeetingList list;
  for (size_t i = 0; i < seg.size(); ++i) {
    std::vector<const Straight*> others;
    for (size_t j = i + 2; j < seg.size(); ++j)
      if (!(closed && i == 0 && j + 1 == seg.size())) others.push_back(&seg[j]);
    list.Add(MeetAlong(seg[i], others));
  }
  return list.Take(false);
}

Meeting MutualMeetings(const std::vector<Pt>& a, const std::vector<Pt>& b) {
  const std::vector<Straight> sb = ChainSegments(b);
  std::vector<const Straight*> others;
  for (const Straight& s : sb) others.push_back(&s);
  MeetingList list;
  for (const Straight& s : ChainSegments(a)) list.Add(MeetAlong(s, others));
  return list.Take(IsClosedChain(a));
}

}  // namespace

VEXA_OPERATOR(intersection_line_contour_xld) { return ContourAndStraight(ctx, true); }

VEXA_OPERATOR(intersection_segment_contour_xld) { return ContourAndStraight(ctx, false); }

// The contour against the circles or arcs of inputs 0..5.
VEXA_OPERATOR(intersection_circle_contour_xld) {
  std::vector<Pt> chain;
  ElementInputs in;
  Vresult rc = InpContourPoints(ctx, 1, &chain);
  if (rc == VRESULT_OK) rc = in.Read(ctx, {0, 1, 2, 3, 4}, {5});
  if (rc == VRESULT_OK) rc = in.RequirePositive(2, 2);
  if (rc != VRESULT_OK) return rc;
  std::vector<Meeting> meetings(in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    const Arc arc = ArcOf(in, 0, 0, i);
    meetings[i] = MeetChain(chain, [&](const Straight& s) {
      Meeting m;
      m.points = IntersectArc(s, arc);
      return m;
    });
  }
  return SetMeetings(ctx, meetings, false);
}

// "mutual": where contour1 meets contour2, in order along contour1;
// "self": where each contour meets itself, contour1's points first;
// "all": the mutual points, then the self points.
VEXA_OPERATOR(intersection_contours_xld) {
  std::vector<Pt> a, b;
  const char* name = nullptr;
  ContourPairs pairs = ContourPairs::kMutual;
  Vresult rc = InpContourPoints(ctx, 1, &a);
  if (rc == VRESULT_OK) rc = InpContourPoints(ctx, 2, &b);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (!LookUpName(kContourPairs, name, &pairs)) return VERR_CTRL_VALUE(0);
  Meeting all;
  auto append = [&](const Meeting& m) {
    all.overlap = all.overlap || m.overlap;
    all.points.insert(all.points.end(), m.points.begin(), m.points.end());
  };
  if (pairs != ContourPairs::kSelf) append(MutualMeetings(a, b));
  if (pairs != ContourPairs::kMutual) {
    append(SelfMeetings(a));
    append(SelfMeetings(b));
  }
  return SetMeetings(ctx, {all}, true);
}

}  // namespace geo
}  // namespace vexa
