#include "ops/geometry/meetings.h"

namespace vexa {
namespace geo {

Vresult SetMeetings(OpContext& ctx, const std::vector<Meeting>& meetings, bool with_overlap) {
  std::vector<double> rows, cols;
  std::vector<Vlong> overlaps;
  for (const Meeting& m : meetings) {
    for (const Pt& p : m.points) {
      rows.push_back(p.r);
      cols.push_back(p.c);
    }
    overlaps.push_back(m.overlap ? 1 : 0);
  }
  Vresult rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  if (rc == VRESULT_OK && with_overlap) rc = ctx.SetOutpLongs(2, overlaps);
  return rc;
}

}  // namespace geo
}  // namespace vexa
