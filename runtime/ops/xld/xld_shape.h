// The shape features of one contour or polygon, computed on first use and
// kept, so that an operator asking for several features of an object pays
// for each computation once. Names are those select_shape_xld accepts.
#pragma once

#include <optional>
#include <string>

#include "xld_geometry.h"

namespace vexa {
namespace xld {

class Shape {
 public:
  explicit Shape(const Xld& x) : pts_(PointsOf(x)) {}

  const std::vector<Pt>& points() const { return pts_; }
  const AreaMoments& Area();
  const std::vector<Pt>& Hull();
  const Rect2& Rectangle2();
  const Circle& OuterCircle();
  double Length() { return ChainLength(pts_); }
  // Bounding box: row1, column1, row2, column2; zeros without points.
  void Box(double* r1, double* c1, double* r2, double* c2) const;
  // The two points farthest apart and their distance.
  double Diameter(Pt* a, Pt* b);
  double Compactness();
  double Circularity();
  double Convexity();

  // Feature by name; false for a name that is not a feature.
  bool Feature(const std::string& name, double* value);

 private:
  std::vector<Pt> pts_;
  std::optional<AreaMoments> area_;
  std::optional<std::vector<Pt>> hull_;
  std::optional<Rect2> rect2_;
  std::optional<Circle> circle_;
};

}  // namespace xld
}  // namespace vexa
