// Drawing geometric figures into windows: lines, arrows, crosses, arcs and
// polylines are stroked with the window's line width; circles, ellipses
// and rectangles are filled or outlined by the window's draw mode. All of
// them are anti-aliased (raster_shapes.h). Each numeric input may hold
// several values, one figure each; an input of one value serves all.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/graphics/raster_shapes.h"
#include "ops/graphics/window_op_util.h"
#include "registry.h"

namespace vexa {

namespace {

constexpr double kPi = 3.14159265358979323846;

// The `count` numeric inputs from control 1 on, each of n values or of
// one; n is the longest. Values must be finite.
Vresult ReadFigures(const OpContext& ctx, int count, std::vector<std::vector<double>>* values,
                    size_t* n) {
  values->assign(static_cast<size_t>(count), {});
  *n = 0;
  for (int i = 0; i < count; ++i) {
    const Vresult rc = ctx.GetDoubles(i + 1, (*values)[i]);
    if (rc != VRESULT_OK) return rc;
    for (double v : (*values)[i])
      if (!std::isfinite(v)) return VERR_CTRL_VALUE(i + 1);
    *n = std::max(*n, (*values)[i].size());
  }
  for (int i = 0; i < count; ++i) {
    const size_t size = (*values)[i].size();
    if (size != *n && size != 1) return VERR_CTRL_NUM(i + 1);
  }
  return VRESULT_OK;
}

// Value `k` of input `i`, broadcasting a single value.
double At(const std::vector<std::vector<double>>& v, int i, size_t k) {
  return v[static_cast<size_t>(i)].size() == 1 ? v[static_cast<size_t>(i)][0]
                                               : v[static_cast<size_t>(i)][k];
}

// Reads `count` inputs, then draws figure k with draw(window, values, k).
template <class Draw>
Vresult DrawFigures(OpContext& ctx, int count, Draw&& draw) {
  std::vector<std::vector<double>> values;
  size_t n = 0;
  const Vresult rc = ReadFigures(ctx, count, &values, &n);
  if (rc != VRESULT_OK) return rc;
  return OnWindow(ctx, 0, [&](window::Window& w) {
    for (size_t k = 0; k < n; ++k) {
      const Vresult drawn = draw(w, values, k);
      if (drawn != VRESULT_OK) return drawn;
    }
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(disp_line) {
  return DrawFigures(ctx, 4, [](window::Window& w, const auto& v, size_t k) {
    StrokePolyline(w, {{At(v, 0, k), At(v, 1, k)}, {At(v, 2, k), At(v, 3, k)}}, false);
    return VRESULT_OK;
  });
}

// The head of the arrow is a filled triangle `size` long and `size` wide
// at its base, its tip at the end point.
VEXA_OPERATOR(disp_arrow) {
  return DrawFigures(ctx, 5, [](window::Window& w, const auto& v, size_t k) {
    const RealPoint from{At(v, 0, k), At(v, 1, k)}, to{At(v, 2, k), At(v, 3, k)};
    const double size = At(v, 4, k);
    if (size <= 0.0) return VERR_CTRL_VALUE(5);
    StrokePolyline(w, {from, to}, false);
    const double dr = to.row - from.row, dc = to.column - from.column;
    const double len = std::hypot(dr, dc);
    if (len == 0.0) return VRESULT_OK;
    const double ur = dr / len, uc = dc / len;
    const RealPoint base{to.row - ur * size, to.column - uc * size};
    FillPolygon(w, {to,
                    {base.row + uc * size / 2, base.column - ur * size / 2},
                    {base.row - uc * size / 2, base.column + ur * size / 2}});
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(disp_circle) {
  return DrawFigures(ctx, 3, [](window::Window& w, const auto& v, size_t k) {
    const double radius = At(v, 2, k);
    if (radius <= 0.0) return VERR_CTRL_VALUE(3);
    ShowClosed(w, EllipseOutline(At(v, 0, k), At(v, 1, k), 0.0, radius, radius, 0.0, 2 * kPi));
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(disp_ellipse) {
  return DrawFigures(ctx, 5, [](window::Window& w, const auto& v, size_t k) {
    const double ra = At(v, 3, k), rb = At(v, 4, k);
    if (ra <= 0.0) return VERR_CTRL_VALUE(4);
    if (rb <= 0.0) return VERR_CTRL_VALUE(5);
    ShowClosed(w, EllipseOutline(At(v, 0, k), At(v, 1, k), At(v, 2, k), ra, rb, 0.0, 2 * kPi));
    return VRESULT_OK;
  });
}

// Filled, the rectangle covers exactly the pixels from (row1, column1) to
// (row2, column2); outlined, the line runs through their outer pixels.
VEXA_OPERATOR(disp_rectangle1) {
  return DrawFigures(ctx, 4, [](window::Window& w, const auto& v, size_t k) {
    const double r1 = At(v, 0, k), c1 = At(v, 1, k), r2 = At(v, 2, k), c2 = At(v, 3, k);
    if (r2 < r1) return VERR_CTRL_VALUE(3);
    if (c2 < c1) return VERR_CTRL_VALUE(4);
    ShowRectangle1(w, r1, c1, r2, c2);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(disp_rectangle2) {
  return DrawFigures(ctx, 5, [](window::Window& w, const auto& v, size_t k) {
    const double l1 = At(v, 3, k), l2 = At(v, 4, k);
    if (l1 < 0.0) return VERR_CTRL_VALUE(4);
    if (l2 < 0.0) return VERR_CTRL_VALUE(5);
    ShowClosed(w, RotatedCorners(At(v, 0, k), At(v, 1, k), At(v, 2, k), l1, l2));
    return VRESULT_OK;
  });
}

// Two strokes of length `size` through the centre, turned by `angle`.
VEXA_OPERATOR(disp_cross) {
  return DrawFigures(ctx, 4, [](window::Window& w, const auto& v, size_t k) {
    const double size = At(v, 2, k), angle = At(v, 3, k);
    if (size <= 0.0) return VERR_CTRL_VALUE(3);
    const double h = size / 2, cp = std::cos(angle), sp = std::sin(angle);
    const double r = At(v, 0, k), c = At(v, 1, k);
    StrokePolyline(w, {{r + h * sp, c - h * cp}, {r - h * sp, c + h * cp}}, false);
    StrokePolyline(w, {{r - h * cp, c - h * sp}, {r + h * cp, c + h * sp}}, false);
    return VRESULT_OK;
  });
}

// The arc around the centre from the begin point through `angle` radians,
// counter-clockwise as seen on the screen for a positive angle.
VEXA_OPERATOR(disp_arc) {
  return DrawFigures(ctx, 5, [](window::Window& w, const auto& v, size_t k) {
    const double row = At(v, 0, k), column = At(v, 1, k);
    const double dr = At(v, 3, k) - row, dc = At(v, 4, k) - column;
    const double radius = std::hypot(dr, dc);
    if (radius == 0.0) return VERR_CTRL_VALUE(3);
    const double start = std::atan2(-dr, dc);
    StrokePolyline(w, EllipseOutline(row, column, 0.0, radius, radius, start, start + At(v, 2, k)),
                   false);
    return VRESULT_OK;
  });
}

// One open polyline through all the points.
VEXA_OPERATOR(disp_polygon) {
  std::vector<double> rows, columns;
  Vresult rc = ctx.GetDoubles(1, rows);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, columns);
  if (rc != VRESULT_OK) return rc;
  if (rows.size() != columns.size()) return VERR_CTRL_NUM(2);
  std::vector<RealPoint> points(rows.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    if (!std::isfinite(rows[i])) return VERR_CTRL_VALUE(1);
    if (!std::isfinite(columns[i])) return VERR_CTRL_VALUE(2);
    points[i] = {rows[i], columns[i]};
  }
  return OnWindow(ctx, 0, [&](window::Window& w) {
    StrokePolyline(w, points, false);
    return VRESULT_OK;
  });
}

}  // namespace vexa
