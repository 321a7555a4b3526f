// Drawing figures with the pointer in a window on a display. The user
// drags with the left button and confirms with the right one; until then
// every drag redefines the figure, and its outline is shown over the
// raster in the window's colour (the raster itself stays as it was).
//   draw_point      the point where the drag ends
//   draw_line       from where the drag starts to where it ends
//   draw_rectangle1 the rectangle spanned by the drag
//   draw_circle     centre at the start, radius to the end
//   draw_ellipse, draw_rectangle2
//                   the first drag gives the centre, direction and first
//                   half axis; later drags give the second half axis as
//                   their end's distance from the centre (at first half
//                   the first)
//   draw_region     the inside of the path of the last drag
//   draw_polygon    the line through the points where the drags end
// The _mod forms start from the figure given; a drag that starts near
// its centre (6 raster pixels) moves it, any other drag changes it as
// above. Coordinates are image coordinates through the window's part.
// An off-screen window has no pointer: VERR_NO_DISPLAY.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/graphics/pointer_loop.h"
#include "ops/graphics/raster_shapes.h"
#include "ops/graphics/window_op_util.h"
#include "ops/graphics/window_view.h"
#include "ops/region/kernels/raster.h"
#include "registry.h"

namespace vexa {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kGrabPixels = 6.0;

enum class Kind { kPoint, kLine, kRect1, kCircle, kEllipse, kRect2, kRegion, kPolygon };

double Distance(const RealPoint& a, const RealPoint& b) {
  return std::hypot(b.row - a.row, b.column - a.column);
}

// The figure as the drags so far make it. `v` holds the values the
// operator returns, in its order.
class Figure {
 public:
  Figure(Kind kind, std::vector<double> start) : kind_(kind), v_(std::move(start)) {
    have_ = !v_.empty();
  }

  const std::vector<double>& values() const { return v_; }
  const std::vector<RealPoint>& path() const { return path_; }

  // A left press at `p`; `grab` is the distance (image pixels) within which
  // a press takes the figure's centre.
  void Begin(const RealPoint& p, double grab) {
    from_ = p;
    saved_ = v_;
    if (kind_ == Kind::kRegion) {
      role_ = Role::kPath;
      path_ = {p};
    } else if (kind_ == Kind::kPolygon) {
      role_ = Role::kVertex;
      path_.push_back(p);
    } else if (have_ && Distance(p, Centre()) <= grab) {
      role_ = Role::kMove;
    } else if (have_ && TwoAxes() && drags_ > 0) {
      role_ = Role::kSecondAxis;
    } else {
      role_ = Role::kDefine;
    }
    Update(p);
  }

  // The pointer moved to `p` with the left button held, or let it go there.
  void Update(const RealPoint& p) {
    switch (role_) {
      case Role::kPath: path_.push_back(p); return;
      case Role::kVertex: path_.back() = p; return;
      case Role::kMove: Move(p); return;
      case Role::kSecondAxis: v_[4] = Distance(Centre(), p); return;
      case Role::kDefine: Define(p); return;
    }
  }

  void End() { ++drags_; }

  bool Ready() const {
    switch (kind_) {
      case Kind::kRegion: return path_.size() >= 3;
      case Kind::kPolygon: return !path_.empty();
      case Kind::kCircle: return have_ && v_[2] > 0.0;
      case Kind::kEllipse:
      case Kind::kRect2: return have_ && v_[3] > 0.0 && v_[4] > 0.0;
      default: return have_;
    }
  }

  // The outline, drawn with the window's settings in margin mode.
  void Preview(window::Window& w) const {
    if (kind_ == Kind::kRegion || kind_ == Kind::kPolygon) {
      StrokePolyline(w, path_, kind_ == Kind::kRegion);
      return;
    }
    if (!have_) return;
    const std::vector<double>& v = v_;
    switch (kind_) {
      case Kind::kPoint: {
        const double h = kGrabPixels / View(w).scale_col();
        StrokePolyline(w, {{v[0] - h, v[1]}, {v[0] + h, v[1]}}, false);
        StrokePolyline(w, {{v[0], v[1] - h}, {v[0], v[1] + h}}, false);
        break;
      }
      case Kind::kLine: StrokePolyline(w, {{v[0], v[1]}, {v[2], v[3]}}, false); break;
      case Kind::kRect1: ShowRectangle1(w, v[0], v[1], v[2], v[3]); break;
      case Kind::kCircle:
        StrokePolyline(w, EllipseOutline(v[0], v[1], 0.0, v[2], v[2], 0.0, 2 * kPi), true);
        break;
      case Kind::kEllipse:
        StrokePolyline(w, EllipseOutline(v[0], v[1], v[2], v[3], v[4], 0.0, 2 * kPi), true);
        break;
      case Kind::kRect2: StrokePolyline(w, RotatedCorners(v[0], v[1], v[2], v[3], v[4]), true); break;
      default: break;
    }
  }

 private:
  enum class Role { kDefine, kSecondAxis, kMove, kPath, kVertex };

  bool TwoAxes() const { return kind_ == Kind::kEllipse || kind_ == Kind::kRect2; }

  RealPoint Centre() const {
    if (kind_ == Kind::kLine || kind_ == Kind::kRect1)
      return {(v_[0] + v_[2]) / 2, (v_[1] + v_[3]) / 2};
    return {v_[0], v_[1]};
  }

  void Move(const RealPoint& p) {
    const double dr = p.row - from_.row, dc = p.column - from_.column;
    v_ = saved_;
    v_[0] += dr, v_[1] += dc;
    if (kind_ == Kind::kLine || kind_ == Kind::kRect1) v_[2] += dr, v_[3] += dc;
  }

  void Define(const RealPoint& p) {
    const RealPoint& a = from_;
    switch (kind_) {
      case Kind::kPoint: v_ = {p.row, p.column}; break;
      case Kind::kLine: v_ = {a.row, a.column, p.row, p.column}; break;
      case Kind::kRect1:
        v_ = {std::min(a.row, p.row), std::min(a.column, p.column), std::max(a.row, p.row),
              std::max(a.column, p.column)};
        break;
      case Kind::kCircle: v_ = {a.row, a.column, Distance(a, p)}; break;
      default: {
        const double r1 = Distance(a, p);
        const double r2 = have_ ? saved_[4] : r1 / 2;
        v_ = {a.row, a.column, std::atan2(a.row - p.row, p.column - a.column), r1, r2};
        break;
      }
    }
    have_ = true;
  }

  Kind kind_;
  std::vector<double> v_, saved_;
  bool have_ = false;
  int drags_ = 0;
  Role role_ = Role::kDefine;
  RealPoint from_{0, 0};
  std::vector<RealPoint> path_;
};

// Shows the figure's outline over the raster, leaving the raster as it was.
void ShowPreview(window::Window& w, const Figure& figure) {
  std::vector<window::Rgb> shown = w.raster;
  shown.swap(w.raster);
  const window::DrawMode draw = w.draw;
  w.draw = window::DrawMode::kMargin;
  figure.Preview(w);
  w.draw = draw;
  w.screen->Present(w, w.raster);
  shown.swap(w.raster);
}

// Runs the drags on the window of input 0 until the right button confirms
// a complete figure.
Vresult Interact(const OpContext& ctx, Figure* figure) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(0, &handle);
  if (rc != VRESULT_OK) return rc;
  bool dragging = false, first = true;
  return PollWindow(handle, [&](window::Window& w, bool* done) {
    const View view(w);
    bool changed = first;
    first = false;
    window::PointerEvent e;
    while (!*done && w.screen->NextEvent(&e)) {
      const RealPoint p = view.ToImage({e.row, e.column});
      using K = window::PointerEvent::Kind;
      if (e.kind == K::kPress && e.button == 1) {
        figure->Begin(p, kGrabPixels / view.scale_col());
        dragging = changed = true;
      } else if (e.kind == K::kMotion && dragging) {
        figure->Update(p);
        changed = true;
      } else if (e.kind == K::kRelease && e.button == 1 && dragging) {
        figure->Update(p);
        figure->End();
        dragging = false;
        changed = true;
      } else if (e.kind == K::kPress && e.button == 3 && !dragging && figure->Ready()) {
        *done = true;
      }
    }
    if (*done)
      w.screen->Present(w, w.raster);
    else if (changed)
      ShowPreview(w, *figure);
    return VRESULT_OK;
  });
}

// Outputs 0.. are the figure's values.
Vresult DrawValues(OpContext& ctx, Kind kind, std::vector<double> start) {
  Figure figure(kind, std::move(start));
  const Vresult rc = Interact(ctx, &figure);
  if (rc != VRESULT_OK) return rc;
  for (size_t i = 0; i < figure.values().size(); ++i) {
    const Vresult out = ctx.SetOutpDouble(static_cast<int>(i), figure.values()[i]);
    if (out != VRESULT_OK) return out;
  }
  return VRESULT_OK;
}

// The _mod forms: inputs 1..count are the figure to start from; lengths
// (from input `first_length` on) must be positive.
Vresult DrawModified(OpContext& ctx, Kind kind, int count, int first_length) {
  std::vector<double> start(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const Vresult rc = ctx.GetDouble(i + 1, &start[static_cast<size_t>(i)]);
    if (rc != VRESULT_OK) return rc;
    const double v = start[static_cast<size_t>(i)];
    if (!std::isfinite(v) || (i + 1 >= first_length && !(v > 0.0))) return VERR_CTRL_VALUE(i + 1);
  }
  return DrawValues(ctx, kind, std::move(start));
}

// A region made of the path's pixels, as output object 1.
Vresult OutPathRegion(OpContext& ctx, ChordList chords, bool canonical) {
  Vkey key = VKEY_UNDEF;
  const RegionPtr region = canonical ? Region::FromCanonicalChords(std::move(chords))
                                     : Region::FromChords(std::move(chords));
  const Vresult rc = db::NewRegion(region, &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

// Rounded to a pixel within the range regions hold.
int32_t PixelOf(double v) {
  return static_cast<int32_t>(std::lround(std::clamp(v, -1e7, 1e7)));
}

}  // namespace

VEXA_OPERATOR(draw_point) { return DrawValues(ctx, Kind::kPoint, {}); }
VEXA_OPERATOR(draw_line) { return DrawValues(ctx, Kind::kLine, {}); }
VEXA_OPERATOR(draw_rectangle1) { return DrawValues(ctx, Kind::kRect1, {}); }
VEXA_OPERATOR(draw_circle) { return DrawValues(ctx, Kind::kCircle, {}); }
VEXA_OPERATOR(draw_ellipse) { return DrawValues(ctx, Kind::kEllipse, {}); }
VEXA_OPERATOR(draw_rectangle2) { return DrawValues(ctx, Kind::kRect2, {}); }

VEXA_OPERATOR(draw_point_mod) { return DrawModified(ctx, Kind::kPoint, 2, 3); }
VEXA_OPERATOR(draw_line_mod) { return DrawModified(ctx, Kind::kLine, 4, 5); }
VEXA_OPERATOR(draw_circle_mod) { return DrawModified(ctx, Kind::kCircle, 3, 3); }
VEXA_OPERATOR(draw_ellipse_mod) { return DrawModified(ctx, Kind::kEllipse, 5, 4); }
VEXA_OPERATOR(draw_rectangle2_mod) { return DrawModified(ctx, Kind::kRect2, 5, 4); }

VEXA_OPERATOR(draw_rectangle1_mod) {
  double v[4];
  for (int i = 0; i < 4; ++i) {
    const Vresult rc = ctx.GetDouble(i + 1, &v[i]);
    if (rc != VRESULT_OK) return rc;
    if (!std::isfinite(v[i])) return VERR_CTRL_VALUE(i + 1);
  }
  if (v[2] < v[0]) return VERR_CTRL_VALUE(3);
  if (v[3] < v[1]) return VERR_CTRL_VALUE(4);
  return DrawValues(ctx, Kind::kRect1, {v[0], v[1], v[2], v[3]});
}

VEXA_OPERATOR(draw_region) {
  Figure figure(Kind::kRegion, {});
  const Vresult rc = Interact(ctx, &figure);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> rows, cols;
  for (const RealPoint& p : figure.path()) {
    rows.push_back(std::clamp(p.row, -1e7, 1e7));
    cols.push_back(std::clamp(p.column, -1e7, 1e7));
  }
  return OutPathRegion(ctx, RasterPolygonFilled(rows, cols), true);
}

VEXA_OPERATOR(draw_polygon) {
  Figure figure(Kind::kPolygon, {});
  const Vresult rc = Interact(ctx, &figure);
  if (rc != VRESULT_OK) return rc;
  const std::vector<RealPoint>& path = figure.path();
  ChordList chords;
  for (size_t i = 0; i < path.size(); ++i) {
    const RealPoint& a = path[i];
    const RealPoint& b = path[i + 1 < path.size() ? i + 1 : i];
    RasterLine(PixelOf(a.row), PixelOf(a.column), PixelOf(b.row), PixelOf(b.column), &chords);
  }
  return OutPathRegion(ctx, std::move(chords), false);
}

}  // namespace vexa
