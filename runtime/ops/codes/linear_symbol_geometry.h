// The outline of a linear code from the scan line that read it.
//
// The engine reports a linear code as the few scan lines that decoded it,
// which fixes neither the bars' direction (the lines lie along the view's
// rows, not across the bars) nor their height. Both are measured here on
// the image. The reading direction is first the dominant gradient
// direction along the scan line (the structure tensor of the gray
// values), which can be a degree or two off at small modules. The engine
// may report only a part of a code (a GS1 DataBar code now and then), so
// the line is first extended along that direction to the symbol's ends:
// as far as the gray profile keeps turning at the pace of the decoded
// part's bars (turning points at most five mean spacings apart), which a
// quiet zone stops. The bars
// then reach as far to either side as a gray profile parallel to the scan
// line (over the code's middle quarter) still matches the decoded one
// (normalised correlation of at least 0.7) at its best sideways shift,
// searched a few pixels around the shift the nearer offsets showed; the
// reach is found by doubling the offset, then halving the last step,
// which assumes the match does not come back once lost. The line from
// the bars' top end to their bottom end, as followed sideways, gives the
// corrected direction of the outline.
#pragma once

#include "ops/codes/zxing_bridge.h"

namespace vexa {

// Replaces the corners of `hit` (a linear code found in `image`) by the
// symbol's measured outline; leaves them when the scan line is too short
// to measure.
void MeasureLinearSymbol(const CodeImage& image, CodeHit* hit);

}  // namespace vexa
