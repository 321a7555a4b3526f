// Intersections of lines and segments, element by element. Lines run
// through two distinct points (else VERR_CTRL_VALUE of the second point's
// row); a segment of length 0 is a point; segment ends count.
#include "ops/geometry/meetings.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

// Intersects piece a (real inputs 0..3) with piece b (4..7) in every
// element; `a_line`, `b_line` make them infinite lines.
Vresult MeetStraights(OpContext& ctx, bool a_line, bool b_line, std::vector<Meeting>* out) {
  ElementInputs in;
  Vresult rc = in.ReadFirst(ctx, 8);
  if (rc == VRESULT_OK && a_line) rc = in.RequireDistinctPoints(0, 2);
  if (rc == VRESULT_OK && b_line) rc = in.RequireDistinctPoints(4, 6);
  for (size_t i = 0; rc == VRESULT_OK && i < in.size(); ++i)
    out->push_back(Intersect({in.Point(0, i), in.Point(2, i), a_line},
                             {in.Point(4, i), in.Point(6, i), b_line}));
  return rc;
}

Vresult IntersectStraights(OpContext& ctx, bool a_line, bool b_line) {
  std::vector<Meeting> meetings;
  const Vresult rc = MeetStraights(ctx, a_line, b_line, &meetings);
  return rc == VRESULT_OK ? SetMeetings(ctx, meetings, true) : rc;
}

}  // namespace

// One point per element; parallel (also identical) lines give row and
// column 0 and is_parallel 1.
VEXA_OPERATOR(intersection_ll) {
  std::vector<Meeting> meetings;
  Vresult rc = MeetStraights(ctx, true, true, &meetings);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> rows, cols;
  std::vector<Vlong> parallel;
  for (const Meeting& m : meetings) {
    const bool hit = !m.points.empty();
    rows.push_back(hit ? m.points[0].r : 0.0);
    cols.push_back(hit ? m.points[0].c : 0.0);
    parallel.push_back(hit ? 0 : 1);
  }
  rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  return rc == VRESULT_OK ? ctx.SetOutpLongs(2, parallel) : rc;
}

VEXA_OPERATOR(intersection_lines) { return IntersectStraights(ctx, true, true); }

VEXA_OPERATOR(intersection_segments) { return IntersectStraights(ctx, false, false); }

VEXA_OPERATOR(intersection_segment_line) { return IntersectStraights(ctx, false, true); }

}  // namespace geo
}  // namespace vexa
