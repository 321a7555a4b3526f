// The iso-lines of an image at a threshold, by marching squares with linear interpolation along the cell sides.
//
// Cells are the squares between four neighbouring pixel centres that all
// lie in the domain. A pixel is "above" when its value exceeds the
// threshold. Each cell side with one end above and one not holds a
// crossing at the interpolated position; inside a cell, a crossing where
// the clockwise walk round the cell leaves the above part joins the
// crossing where it enters again, so every segment has the above side on
// its right. Where diagonal corners are above (a saddle), the mean of the
// four values decides whether they are joined. Crossings are shared by
// the two cells of their side, which links segments into contours; loops
// are closed contours, lines that meet the domain's edge are open.
#pragma once

#include <vector>

#include "xld_image.h"

namespace vexa {
namespace xld {

// The iso-lines of image.values at `threshold` over image.domain, as
// contours without attributes.
std::vector<XldPtr> IsoLineContours(const FloatImage& image, double threshold);

}  // namespace xld
}  // namespace vexa
