// The outline of a linear code from the scan line that read it.
//
// The engine reports a linear code as the few scan lines that decoded it,
// which fixes neither the bars' direction (the lines lie along the view's
// rows, not across the bars) nor their height. Both are measured here on
// the image: the reading direction is the dominant gradient direction
// along the scan line (the structure tensor of the gray values), and the
// bars reach as far to either side as the gray profile parallel to the
// scan line (its middle quarter) still matches the decoded one (normalised
// correlation of at least 0.7; that reach is found by doubling the offset,
// then halving the last step, which assumes the match does not come back
// once lost).
#pragma once

#include "ops/codes/zxing_bridge.h"

namespace vexa {

// Replaces the corners of `hit` (a linear code found in `image`) by the
// symbol's measured outline; leaves them when the scan line is too short
// to measure.
void MeasureLinearSymbol(const CodeImage& image, CodeHit* hit);

}  // namespace vexa
