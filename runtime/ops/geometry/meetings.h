// Results of the intersection operators. Each element of the call may
// give no, one or two points: the points of all elements are written in
// element order to outputs 0 (rows) and 1 (columns), and, where the
// operator has one, a 0/1 overlap flag per element to output 2.
#pragma once

#include "ops/geometry/plane.h"

namespace vexa {
namespace geo {

Vresult SetMeetings(OpContext& ctx, const std::vector<Meeting>& meetings, bool with_overlap);

}  // namespace geo
}  // namespace vexa
