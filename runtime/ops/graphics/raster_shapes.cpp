// Anti-aliased strokes and fills on a window's raster.
#include "ops/graphics/raster_shapes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vexa {

namespace {

// floor(v) (or ceil) clamped to [lo, hi] before the conversion, so that
// coordinates far outside the window convert safely.
int32_t FloorIn(double v, int32_t lo, int32_t hi) {
  return static_cast<int32_t>(std::clamp(std::floor(v), static_cast<double>(lo),
                                         static_cast<double>(hi)));
}
int32_t CeilIn(double v, int32_t lo, int32_t hi) {
  return static_cast<int32_t>(std::clamp(std::ceil(v), static_cast<double>(lo),
                                         static_cast<double>(hi)));
}

// The coverage of each pixel of a bounding box, mixed into the raster once
// at the end.
class CoverageMap {
 public:
  CoverageMap(const window::Window& w, double r0, double c0, double r1, double c1) {
    row0_ = FloorIn(r0, 0, w.height);
    col0_ = FloorIn(c0, 0, w.width);
    const int32_t row1 = CeilIn(r1, -1, w.height - 1);
    const int32_t col1 = CeilIn(c1, -1, w.width - 1);
    rows_ = std::max(0, row1 - row0_ + 1);
    cols_ = std::max(0, col1 - col0_ + 1);
    cover_.assign(static_cast<size_t>(rows_) * cols_, 0.0f);
  }
  bool empty() const { return rows_ == 0 || cols_ == 0; }
  int32_t row0() const { return row0_; }
  int32_t col0() const { return col0_; }
  int32_t rows() const { return rows_; }
  int32_t cols() const { return cols_; }
  float& at(int32_t r, int32_t c) {
    return cover_[static_cast<size_t>(r - row0_) * cols_ + (c - col0_)];
  }
  void Apply(window::Window& w) const {
    for (int32_t r = 0; r < rows_; ++r)
      for (int32_t c = 0; c < cols_; ++c) {
        const float a = cover_[static_cast<size_t>(r) * cols_ + c];
        if (a > 0.0f) w.Blend(row0_ + r, col0_ + c, a);
      }
  }

 private:
  int32_t row0_ = 0, col0_ = 0, rows_ = 0, cols_ = 0;
  std::vector<float> cover_;
};

// Distance of (r, c) to the segment a-b.
double SegmentDistance(const RealPoint& a, const RealPoint& b, double r, double c) {
  const double dr = b.row - a.row, dc = b.column - a.column;
  const double len2 = dr * dr + dc * dc;
  double t = 0.0;
  if (len2 > 0.0) t = std::clamp(((r - a.row) * dr + (c - a.column) * dc) / len2, 0.0, 1.0);
  const double er = a.row + t * dr - r, ec = a.column + t * dc - c;
  return std::sqrt(er * er + ec * ec);
}

std::vector<RealPoint> ToRaster(const window::Window& w, const std::vector<RealPoint>& points) {
  const View view(w);
  std::vector<RealPoint> out(points.size());
  for (size_t i = 0; i < points.size(); ++i) out[i] = view.ToRaster(points[i]);
  return out;
}

// The parameters [*t0, *t1] of the part of segment a-b inside the box
// (Liang-Barsky); false when none is.
bool ClipSegment(const RealPoint& a, const RealPoint& b, double r0, double c0, double r1,
                 double c1, double* t0, double* t1) {
  *t0 = 0.0;
  *t1 = 1.0;
  const double d[2] = {b.row - a.row, b.column - a.column};
  const double lo[2] = {r0 - a.row, c0 - a.column}, hi[2] = {r1 - a.row, c1 - a.column};
  for (int i = 0; i < 2; ++i) {
    if (d[i] == 0.0) {
      if (lo[i] > 0.0 || hi[i] < 0.0) return false;
      continue;
    }
    double e0 = lo[i] / d[i], e1 = hi[i] / d[i];
    if (e0 > e1) std::swap(e0, e1);
    *t0 = std::max(*t0, e0);
    *t1 = std::min(*t1, e1);
  }
  return *t0 <= *t1;
}

RealPoint Lerp(const RealPoint& a, const RealPoint& b, double t) {
  return {a.row + (b.row - a.row) * t, a.column + (b.column - a.column) * t};
}

// Cuts polylines into the dashes of a line style: lengths drawn and
// skipped alternately, all positive, an even number of them. Stretches
// outside the raster are skipped by arithmetic, so that far-away points
// cost no time.
class DashCutter {
 public:
  explicit DashCutter(const std::vector<int32_t>& style) : style_(style) {
    for (int32_t v : style) period_ += v;
    left_ = style[0];
  }

  void Add(const std::vector<RealPoint>& points, const window::Window& w) {
    const double margin = w.line_width + 2.0;
    for (size_t i = 0; i + 1 < points.size(); ++i) {
      const RealPoint& a = points[i];
      const RealPoint& b = points[i + 1];
      const double len = std::hypot(b.row - a.row, b.column - a.column);
      double t0 = 0.0, t1 = 0.0;
      if (!ClipSegment(a, b, -margin, -margin, w.height + margin, w.width + margin, &t0, &t1)) {
        Skip(len);
        continue;
      }
      if (t0 > 0.0) Skip(t0 * len);
      Walk(Lerp(a, b, t0), Lerp(a, b, t1));
      if (t1 < 1.0) Skip((1.0 - t1) * len);
    }
    Flush();
  }
  const std::vector<std::vector<RealPoint>>& pieces() const { return pieces_; }

 private:
  void Next() {
    k_ = (k_ + 1) % style_.size();
    left_ = style_[k_];
  }
  bool on() const { return k_ % 2 == 0; }
  void Flush() {
    if (on() && piece_.size() > 1) pieces_.push_back(piece_);
    piece_.clear();
  }
  void Skip(double d) {
    Flush();
    d = std::fmod(d, period_);
    while (d >= left_) {
      d -= left_;
      Next();
    }
    left_ -= d;
  }
  void Walk(const RealPoint& a, const RealPoint& b) {
    if (piece_.empty()) piece_.push_back(a);
    const double len = std::hypot(b.row - a.row, b.column - a.column);
    double pos = 0.0;
    while (len - pos > left_) {
      pos += left_;
      const RealPoint p = Lerp(a, b, pos / len);
      if (on()) piece_.push_back(p);
      Flush();
      piece_.push_back(p);
      Next();
    }
    left_ -= len - pos;
    piece_.push_back(b);
  }

  const std::vector<int32_t>& style_;
  double period_ = 0.0, left_ = 0.0;
  size_t k_ = 0;
  std::vector<RealPoint> piece_;
  std::vector<std::vector<RealPoint>> pieces_;
};

void StrokeRaster(window::Window& w, const std::vector<RealPoint>& points, bool closed) {
  const double half = 0.5 * std::max<int32_t>(1, w.line_width);
  double r0 = points[0].row, r1 = r0, c0 = points[0].column, c1 = c0;
  for (const RealPoint& p : points) {
    r0 = std::min(r0, p.row), r1 = std::max(r1, p.row);
    c0 = std::min(c0, p.column), c1 = std::max(c1, p.column);
  }
  CoverageMap map(w, r0 - half - 1, c0 - half - 1, r1 + half + 1, c1 + half + 1);
  if (map.empty()) return;
  const size_t n = points.size();
  const size_t segments = n == 1 ? 1 : (closed ? n : n - 1);
  for (size_t s = 0; s < segments; ++s) {
    const RealPoint& a = points[s];
    const RealPoint& b = points[n == 1 ? 0 : (s + 1) % n];
    const int32_t last_row = map.row0() + map.rows() - 1, last_col = map.col0() + map.cols() - 1;
    const int32_t ra = FloorIn(std::min(a.row, b.row) - half - 1, map.row0(), last_row + 1);
    const int32_t rb = CeilIn(std::max(a.row, b.row) + half + 1, map.row0() - 1, last_row);
    const int32_t ca = FloorIn(std::min(a.column, b.column) - half - 1, map.col0(), last_col + 1);
    const int32_t cb = CeilIn(std::max(a.column, b.column) + half + 1, map.col0() - 1, last_col);
    for (int32_t r = ra; r <= rb; ++r)
      for (int32_t c = ca; c <= cb; ++c) {
        // A pixel whose centre lies within the half width is covered; the
        // last half pixel fades out linearly.
        const double cover = std::clamp(half + 0.5 - SegmentDistance(a, b, r, c), 0.0, 1.0);
        float& cell = map.at(r, c);
        cell = std::max(cell, static_cast<float>(cover));
      }
  }
  map.Apply(w);
}

}  // namespace

void StrokePolyline(window::Window& w, const std::vector<RealPoint>& image_points,
                    bool closed) {
  if (image_points.empty()) return;
  std::vector<RealPoint> points = ToRaster(w, image_points);
  if (w.line_style.empty() || points.size() < 2) return StrokeRaster(w, points, closed);
  if (closed) points.push_back(points.front());
  DashCutter cutter(w.line_style);
  cutter.Add(points, w);
  for (const std::vector<RealPoint>& piece : cutter.pieces()) StrokeRaster(w, piece, false);
}

void FillPolygon(window::Window& w, const std::vector<RealPoint>& image_points) {
  if (image_points.size() < 3) return;
  const std::vector<RealPoint> points = ToRaster(w, image_points);
  double r0 = points[0].row, r1 = r0, c0 = points[0].column, c1 = c0;
  for (const RealPoint& p : points) {
    r0 = std::min(r0, p.row), r1 = std::max(r1, p.row);
    c0 = std::min(c0, p.column), c1 = std::max(c1, p.column);
  }
  CoverageMap map(w, r0 - 1, c0 - 1, r1 + 1, c1 + 1);
  if (map.empty()) return;
  constexpr int kSubRows = 4;
  std::vector<double> crossings;
  const size_t n = points.size();
  for (int32_t r = map.row0(); r < map.row0() + map.rows(); ++r) {
    for (int k = 0; k < kSubRows; ++k) {
      const double y = r - 0.5 + (k + 0.5) / kSubRows;
      crossings.clear();
      for (size_t i = 0; i < n; ++i) {
        const RealPoint& a = points[i];
        const RealPoint& b = points[(i + 1) % n];
        // Half-open in y, so that a vertex is counted once.
        if ((a.row <= y) == (b.row <= y)) continue;
        crossings.push_back(a.column + (y - a.row) / (b.row - a.row) * (b.column - a.column));
      }
      std::sort(crossings.begin(), crossings.end());
      for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
        // The span [x0, x1) covers pixel c by its overlap with
        // [c - 0.5, c + 0.5).
        const double x0 = crossings[i], x1 = crossings[i + 1];
        const int32_t last_col = map.col0() + map.cols() - 1;
        const int32_t first = FloorIn(x0 + 0.5, map.col0(), last_col + 1);
        const int32_t last = FloorIn(x1 + 0.5, map.col0() - 1, last_col);
        for (int32_t c = first; c <= last; ++c) {
          const double overlap = std::min(x1, c + 0.5) - std::max(x0, c - 0.5);
          if (overlap > 0.0) map.at(r, c) += static_cast<float>(overlap / kSubRows);
        }
      }
    }
  }
  map.Apply(w);
}

std::vector<RealPoint> EllipseOutline(double row, double column, double phi, double ra,
                                      double rb, double start, double end) {
  const double radius = std::max(std::fabs(ra), std::fabs(rb));
  // A chord of angle d strays radius (1 - cos(d / 2)) from the arc: at most
  // a fiftieth of a pixel, so that a filled disc loses no visible area.
  const double step =
      radius > 0.02 ? 2.0 * std::acos(std::max(-1.0, 1.0 - 0.02 / radius)) : 1.0;
  const double sweep = end - start;
  // Bounded, for radii far beyond any window.
  constexpr double kMaxPoints = 1 << 16;
  const int n = static_cast<int>(std::clamp(std::ceil(std::fabs(sweep) / step) + 1, 2.0, kMaxPoints));
  std::vector<RealPoint> points(static_cast<size_t>(n));
  const double cp = std::cos(phi), sp = std::sin(phi);
  for (int i = 0; i < n; ++i) {
    const double t = start + sweep * i / (n - 1);
    const double x = ra * std::cos(t), y = rb * std::sin(t);
    // phi turns counter-clockwise as seen on screen, where rows grow
    // downwards.
    points[static_cast<size_t>(i)] = {row - (x * sp + y * cp), column + (x * cp - y * sp)};
  }
  return points;
}

void ShowClosed(window::Window& w, const std::vector<RealPoint>& outline) {
  if (w.draw == window::DrawMode::kFill)
    FillPolygon(w, outline);
  else
    StrokePolyline(w, outline, true);
}

void ShowRectangle1(window::Window& w, double r1, double c1, double r2, double c2) {
  if (w.draw == window::DrawMode::kFill)
    FillPolygon(w, {{r1 - 0.5, c1 - 0.5}, {r1 - 0.5, c2 + 0.5}, {r2 + 0.5, c2 + 0.5},
                    {r2 + 0.5, c1 - 0.5}});
  else
    StrokePolyline(w, {{r1, c1}, {r1, c2}, {r2, c2}, {r2, c1}}, true);
}

std::vector<RealPoint> RotatedCorners(double row, double column, double phi, double l1,
                                      double l2) {
  const double cp = std::cos(phi), sp = std::sin(phi);
  std::vector<RealPoint> corners;
  for (const auto& s : {std::pair<int, int>{1, 1}, {-1, 1}, {-1, -1}, {1, -1}}) {
    const double x = s.first * l1, y = s.second * l2;
    corners.push_back({row - (x * sp + y * cp), column + (x * cp - y * sp)});
  }
  return corners;
}

}  // namespace vexa
