// The score of a model at one pose, the inner loop of the search (see
// shape_search.h for the definition and the early termination rule).
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "gradient_pyramid.h"
#include "shape_model.h"

namespace vexa {
namespace matching {

// A model point rotated to one angle: its offset in the padded direction
// planes relative to the reference pixel, and its rotated direction.
struct RotatedPoint {
  ptrdiff_t offset;
  float dr, dc;
};

// The points scaled by (sr, sc) and rotated by `angle`. Directions are
// normals: they scale by the inverse factors and are made unit again.
inline void PlacePoints(const std::vector<ModelPoint>& points, double angle, double sr, double sc,
                        int stride, std::vector<RotatedPoint>* out) {
  const double ca = std::cos(angle), sa = std::sin(angle);
  out->resize(points.size());
  for (size_t i = 0; i < points.size(); ++i) {
    const ModelPoint& p = points[i];
    double r, c, dr, dc;
    RotatePoint(sr * p.r, sc * p.c, ca, sa, &r, &c);
    const double nr = p.dr / sr, nc = p.dc / sc, len = std::hypot(nr, nc);
    RotatePoint(nr / len, nc / len, ca, sa, &dr, &dc);
    (*out)[i] = {static_cast<ptrdiff_t>(std::lround(r)) * stride + std::lround(c),
                 static_cast<float>(dr), static_cast<float>(dc)};
  }
}

// The abandon threshold of the partial sum after j points: a + b j.
struct Termination {
  float a, b;
  Termination(size_t n, double min_score, double greediness)
      : a(static_cast<float>(n * (1 - greediness) * (min_score - 1))),
        b(static_cast<float>((1 - greediness) + greediness * min_score)) {}
};

// The score at reference pixel `base` of `d`, or -1 when the sum was
// abandoned.
template <Metric kMetric>
float ScoreAt(const DirectionPlanes& d, ptrdiff_t base, const std::vector<RotatedPoint>& pts,
              const Termination& t) {
  const float* dr = d.dr.data() + base;
  const float* dc = d.dc.data() + base;
  const size_t n = pts.size();
  float sum = 0;
  for (size_t j = 0; j < n; ++j) {
    const RotatedPoint& p = pts[j];
    const float dot = p.dr * dr[p.offset] + p.dc * dc[p.offset];
    sum += kMetric == Metric::kIgnoreLocalPolarity ? std::fabs(dot) : dot;
    const float partial = kMetric == Metric::kIgnoreGlobalPolarity ? std::fabs(sum) : sum;
    if (partial < t.a + t.b * static_cast<float>(j + 1)) return -1.0f;
  }
  return (kMetric == Metric::kIgnoreGlobalPolarity ? std::fabs(sum) : sum) / static_cast<float>(n);
}

inline float ScoreAt(Metric metric, const DirectionPlanes& d, ptrdiff_t base,
                     const std::vector<RotatedPoint>& pts, const Termination& t) {
  switch (metric) {
    case Metric::kIgnoreGlobalPolarity:
      return ScoreAt<Metric::kIgnoreGlobalPolarity>(d, base, pts, t);
    case Metric::kIgnoreLocalPolarity:
      return ScoreAt<Metric::kIgnoreLocalPolarity>(d, base, pts, t);
    default:
      return ScoreAt<Metric::kUsePolarity>(d, base, pts, t);
  }
}

}  // namespace matching
}  // namespace vexa
