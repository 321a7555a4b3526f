// edges_image with "nms" and the amplitude as the gradient's length. One
// streaming pass over the rows of the gradient finds the largest derivative
// (which sets the 16-bit scale of the tracking) and keeps the pixels that
// may pass low with their float gradient; tracking then quantises and
// decides them, and only the edges' amplitude and direction are computed.
#pragma once

#include "ops/edges/edge_support.h"
#include "ops/edges/gradient.h"

namespace vexa {

// Writes the edge amplitude (outs[0], 0 off the edges) and direction
// (outs[1], 255 off the edges) of `in` over `area`. The derivatives are
// scaled so that the largest fills about half the 16-bit range (at most
// 32767 / high); false, with nothing written, when that scale would be
// below 1, in's type is not filtered in float (HasGradientRows) or the
// masks lack the symmetry of gradient masks (HasSymmetricMasks).
bool RowCannyEdges(const PixelBuffer& in, const FilterArea& area, const GradientMasks& masks,
                   double low, double high, PixelBuffer** outs);

}  // namespace vexa
