#include "match_overlap.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace matching {
namespace {

struct Pt {
  double r, c;
};

std::vector<Pt> Corners(const ModelBox& b, const Pose& pose) {
  const double ca = std::cos(pose.angle), sa = std::sin(pose.angle);
  std::vector<Pt> out;
  for (const Pt& p : {Pt{b.r1, b.c1}, Pt{b.r1, b.c2}, Pt{b.r2, b.c2}, Pt{b.r2, b.c1}}) {
    double r, c;
    RotatePoint(pose.scale_r * p.r, pose.scale_c * p.c, ca, sa, &r, &c);
    out.push_back({pose.row + r, pose.col + c});
  }
  return out;
}

double Cross(const Pt& o, const Pt& a, const Pt& b) {
  return (a.r - o.r) * (b.c - o.c) - (a.c - o.c) * (b.r - o.r);
}

double Area(const std::vector<Pt>& poly) {
  double sum = 0;
  for (size_t i = 0; i < poly.size(); ++i) {
    const Pt& a = poly[i];
    const Pt& b = poly[(i + 1) % poly.size()];
    sum += a.r * b.c - a.c * b.r;
  }
  return std::fabs(sum) / 2;
}

// Sutherland-Hodgman: `subject` clipped by the convex polygon `clip`.
std::vector<Pt> Clip(std::vector<Pt> subject, const std::vector<Pt>& clip) {
  // Orientation of the clip polygon decides which side is inside.
  const double orient = Cross(clip[0], clip[1], clip[2]) >= 0 ? 1 : -1;
  for (size_t i = 0; i < clip.size() && !subject.empty(); ++i) {
    const Pt& a = clip[i];
    const Pt& b = clip[(i + 1) % clip.size()];
    std::vector<Pt> in;
    for (size_t j = 0; j < subject.size(); ++j) {
      const Pt& p = subject[j];
      const Pt& q = subject[(j + 1) % subject.size()];
      const double sp = orient * Cross(a, b, p), sq = orient * Cross(a, b, q);
      if (sp >= 0) in.push_back(p);
      if ((sp >= 0) != (sq >= 0)) {
        const double t = sp / (sp - sq);
        in.push_back({p.r + t * (q.r - p.r), p.c + t * (q.c - p.c)});
      }
    }
    subject.swap(in);
  }
  return subject;
}

}  // namespace

ModelBox BoundingBox(const std::vector<ModelPoint>& points) {
  ModelBox b{0, 0, 0, 0};
  for (const ModelPoint& p : points) {
    b.r1 = std::min(b.r1, static_cast<double>(p.r));
    b.c1 = std::min(b.c1, static_cast<double>(p.c));
    b.r2 = std::max(b.r2, static_cast<double>(p.r));
    b.c2 = std::max(b.c2, static_cast<double>(p.c));
  }
  return b;
}

double PoseOverlap(const ModelBox& box_a, const Pose& a, const ModelBox& box_b, const Pose& b) {
  const std::vector<Pt> ca = Corners(box_a, a), cb = Corners(box_b, b);
  const double area = std::min(Area(ca), Area(cb));
  if (area <= 0) return std::hypot(a.row - b.row, a.col - b.col) < 1 ? 1 : 0;
  const std::vector<Pt> inter = Clip(ca, cb);
  return inter.size() < 3 ? 0 : std::min(1.0, Area(inter) / area);
}

}  // namespace matching
}  // namespace vexa
