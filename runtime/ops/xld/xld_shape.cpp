#include "xld_shape.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace xld {
namespace {

double Dist(const Pt& a, const Pt& b) { return std::hypot(a.r - b.r, a.c - b.c); }

double TwiceTriangle(const Pt& o, const Pt& a, const Pt& b) {
  return std::fabs((a.c - o.c) * (b.r - o.r) - (a.r - o.r) * (b.c - o.c));
}

}  // namespace

const AreaMoments& Shape::Area() {
  if (!area_) area_ = PolygonMoments(pts_);
  return *area_;
}

const std::vector<Pt>& Shape::Hull() {
  if (!hull_) hull_ = ConvexHull(pts_);
  return *hull_;
}

const Rect2& Shape::Rectangle2() {
  if (!rect2_) rect2_ = SmallestRectangle2(Hull());
  return *rect2_;
}

const Circle& Shape::OuterCircle() {
  if (!circle_) circle_ = SmallestCircle(Hull());
  return *circle_;
}

void Shape::Box(double* r1, double* c1, double* r2, double* c2) const {
  *r1 = *c1 = *r2 = *c2 = 0;
  if (pts_.empty()) return;
  *r1 = *r2 = pts_[0].r;
  *c1 = *c2 = pts_[0].c;
  for (const Pt& p : pts_) {
    *r1 = std::min(*r1, p.r), *r2 = std::max(*r2, p.r);
    *c1 = std::min(*c1, p.c), *c2 = std::max(*c2, p.c);
  }
}

// Rotating calipers over the antipodal pairs of the hull.
double Shape::Diameter(Pt* a, Pt* b) {
  const std::vector<Pt>& h = Hull();
  double best = 0;
  *a = *b = h.empty() ? Pt{0, 0} : h[0];
  if (h.size() == 2) {
    *b = h[1];
    return Dist(h[0], h[1]);
  }
  const size_t n = h.size();
  for (size_t i = 0, j = 1; n > 2 && i < n; ++i) {
    const size_t ni = (i + 1) % n;
    while (TwiceTriangle(h[i], h[ni], h[(j + 1) % n]) > TwiceTriangle(h[i], h[ni], h[j]))
      j = (j + 1) % n;
    for (const Pt* p : {&h[i], &h[ni]}) {
      const double d = Dist(*p, h[j]);
      if (d > best) best = d, *a = *p, *b = h[j];
    }
  }
  return best;
}

double Shape::Compactness() {
  const double area = Area().m.area;
  return area > 0 ? Length() * Length() / (4 * M_PI * area) : 0.0;
}

// Area over the area of the circle about the centre through the farthest
// point; at most 1.
double Shape::Circularity() {
  const RegionMoments& m = Area().m;
  double far = 0;
  for (const Pt& p : pts_) far = std::max(far, Dist(p, {m.row, m.col}));
  return far > 0 ? std::min(1.0, m.area / (M_PI * far * far)) : 0.0;
}

double Shape::Convexity() {
  const double hull = PolygonMoments(Hull()).m.area;
  return hull > 0 ? Area().m.area / hull : 0.0;
}

bool Shape::Feature(const std::string& name, double* v) {
  const RegionMoments& m = Area().m;
  double r1, c1, r2, c2;
  Box(&r1, &c1, &r2, &c2);
  Pt a, b;
  if (name == "area") *v = m.area;
  else if (name == "row") *v = m.row;
  else if (name == "column") *v = m.col;
  else if (name == "moments_m11") *v = m.m11;
  else if (name == "moments_m20") *v = m.m20;
  else if (name == "moments_m02") *v = m.m02;
  else if (name == "ra") *v = EllipseFromMoments(m).ra;
  else if (name == "rb") *v = EllipseFromMoments(m).rb;
  else if (name == "phi" || name == "orientation") *v = EllipseFromMoments(m).phi;
  else if (name == "anisometry") *v = ShapeFactorsFromMoments(m).anisometry;
  else if (name == "bulkiness") *v = ShapeFactorsFromMoments(m).bulkiness;
  else if (name == "struct_factor") *v = ShapeFactorsFromMoments(m).structure_factor;
  else if (name == "outer_radius") *v = OuterCircle().radius;
  else if (name == "rect2_phi") *v = Rectangle2().phi;
  else if (name == "rect2_len1") *v = Rectangle2().len1;
  else if (name == "rect2_len2") *v = Rectangle2().len2;
  else if (name == "compactness") *v = Compactness();
  else if (name == "circularity") *v = Circularity();
  else if (name == "convexity") *v = Convexity();
  else if (name == "max_diameter") *v = Diameter(&a, &b);
  else if (name == "contlength") *v = Length();
  else if (name == "row1") *v = r1;
  else if (name == "column1") *v = c1;
  else if (name == "row2") *v = r2;
  else if (name == "column2") *v = c2;
  else if (name == "width") *v = c2 - c1;
  else if (name == "height") *v = r2 - r1;
  else if (name == "area_points") *v = static_cast<double>(pts_.size());
  else return false;
  return true;
}

}  // namespace xld
}  // namespace vexa
