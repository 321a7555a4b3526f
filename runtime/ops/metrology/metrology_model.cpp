// Shapes of the metrology model: names, checks and rigid moves.
#include "metrology_model.h"

#include <cmath>
#include <cstring>

namespace vexa {
namespace {

// No coordinate or length beyond this; keeps every placement far inside
// the measure's accepted range and all arithmetic exact enough.
constexpr double kMaxShapeValue = 1e7;

struct ShapeInfo {
  MetrologyShape shape;
  const char* name;
  size_t params;
};
constexpr ShapeInfo kShapes[] = {{MetrologyShape::kLine, "line", 4},
                                 {MetrologyShape::kCircle, "circle", 3},
                                 {MetrologyShape::kEllipse, "ellipse", 5},
                                 {MetrologyShape::kRectangle2, "rectangle2", 5}};

void MovePoint(const MetrologyPose& pose, double* r, double* c) {
  const double cs = std::cos(pose.angle), sn = std::sin(pose.angle);
  const double r0 = *r, c0 = *c;
  *r = r0 * cs - c0 * sn + pose.row;
  *c = c0 * cs + r0 * sn + pose.column;
}

}  // namespace

size_t ShapeParamCount(MetrologyShape shape) { return kShapes[static_cast<int>(shape)].params; }

const char* ShapeName(MetrologyShape shape) { return kShapes[static_cast<int>(shape)].name; }

bool ShapeFromName(const char* name, MetrologyShape* shape) {
  for (const ShapeInfo& s : kShapes) {
    if (std::strcmp(s.name, name) == 0) {
      *shape = s.shape;
      return true;
    }
  }
  return false;
}

std::vector<double> MoveShape(MetrologyShape shape, const std::vector<double>& p,
                              const MetrologyPose& pose) {
  std::vector<double> q = p;
  MovePoint(pose, &q[0], &q[1]);
  if (shape == MetrologyShape::kLine) MovePoint(pose, &q[2], &q[3]);
  if (shape == MetrologyShape::kEllipse || shape == MetrologyShape::kRectangle2)
    q[2] = std::remainder(q[2] + pose.angle, 2 * M_PI);
  return q;
}

MetrologyPose RelativePose(const MetrologyPose& from, const MetrologyPose& to) {
  MetrologyPose rel;
  rel.angle = to.angle - from.angle;
  double r = from.row, c = from.column;
  MovePoint({0, 0, rel.angle}, &r, &c);
  rel.row = to.row - r;
  rel.column = to.column - c;
  return rel;
}

std::vector<double> AlignedShape(const MetrologyModel& m, const MetrologyObject& o) {
  return MoveShape(o.shape, o.shape_params, RelativePose(m.reference, m.aligned));
}

bool ValidShape(MetrologyShape shape, const std::vector<double>& p) {
  if (p.size() != ShapeParamCount(shape)) return false;
  for (double v : p)
    if (!(std::fabs(v) <= kMaxShapeValue)) return false;
  switch (shape) {
    case MetrologyShape::kLine: return std::hypot(p[2] - p[0], p[3] - p[1]) > 0;
    case MetrologyShape::kCircle: return p[2] > 0;
    case MetrologyShape::kEllipse:
    case MetrologyShape::kRectangle2: return p[3] > 0 && p[4] > 0;
  }
  return false;
}

}  // namespace vexa
