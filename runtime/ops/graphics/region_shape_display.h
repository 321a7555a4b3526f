// Regions shown as the window's region shape (set_shape): the region
// itself, or a figure that stands for it.
#pragma once

#include <string>

#include "region_store.h"
#include "window_registry.h"

namespace vexa {

// The names set_shape accepts, in the order query_shape lists them.
extern const char* const kRegionShapes[];
extern const size_t kNumRegionShapes;
bool IsRegionShape(const std::string& name);

// Shows `region` in the window's shape, colour and draw mode:
//   "original"      the region's pixels (raster_paint.h)
//   "rectangle1"    its bounding box
//   "rectangle2"    its smallest enclosing rotated rectangle
//   "circle"        the disc of the same area around its centre
//   "ellipse"       the ellipse of the same second moments
//   "convex"        its convex hull through the hull pixels' centres
//   "outer_circle"  its smallest enclosing circle
//   "inner_circle"  its largest inscribed disc
//   "icon"          the window's icon region moved to its centre
// The empty region shows nothing in every shape.
void PaintRegionShape(window::Window& w, const RegionPtr& region);

}  // namespace vexa
