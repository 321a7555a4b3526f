// Intersections of circles and circular arcs with each other, with lines
// and with segments, element by element. Radii must be above 0 (else
// VERR_CTRL_VALUE of the radius).
#include "ops/geometry/meetings.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// Piece of real inputs 0..3 against the arc of real inputs 4..8 and point
// order input 9 (the tenth parameter).
Vresult StraightAndArc(OpContext& ctx, bool line) {
  ElementInputs in;
  Vresult rc = in.Read(ctx, {0, 1, 2, 3, 4, 5, 6, 7, 8}, {9});
  if (rc == VRESULT_OK && line) rc = in.RequireDistinctPoints(0, 2);
  if (rc == VRESULT_OK) rc = in.RequirePositive(6, 6);
  if (rc != VRESULT_OK) return rc;
  std::vector<Meeting> meetings(in.size());
  for (size_t i = 0; i < in.size(); ++i)
    meetings[i].points = IntersectArc({in.Point(0, i), in.Point(2, i), line}, ArcOf(in, 4, 0, i));
  return SetMeetings(ctx, meetings, false);
}

}  // namespace

VEXA_OPERATOR(intersection_line_circle) { return StraightAndArc(ctx, true); }

VEXA_OPERATOR(intersection_segment_circle) { return StraightAndArc(ctx, false); }

// Arcs of one circle that share a piece of positive length overlap; they
// give no points for it.
VEXA_OPERATOR(intersection_circles) {
  ElementInputs in;
  Vresult rc = in.Read(ctx, {0, 1, 2, 3, 4, 6, 7, 8, 9, 10}, {5, 11});
  if (rc == VRESULT_OK) rc = in.RequirePositive(2, 2);
  if (rc == VRESULT_OK) rc = in.RequirePositive(7, 8);
  if (rc != VRESULT_OK) return rc;
  std::vector<Meeting> meetings(in.size());
  for (size_t i = 0; i < in.size(); ++i)
    meetings[i] = IntersectArcs(ArcOf(in, 0, 0, i), ArcOf(in, 5, 1, i));
  return SetMeetings(ctx, meetings, true);
}

}  // namespace geo
}  // namespace vexa
