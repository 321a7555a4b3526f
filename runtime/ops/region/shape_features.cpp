#include "ops/region/shape_features.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include "region_algebra.h"

namespace vexa {

const RegionMoments& ShapeMeasures::Moments2() {
  if (!m2_) {
    const auto& ch = region_->chords();
    m2_.reset(new RegionMoments(ComputeMoments(ch.data(), ch.size())));
  }
  return *m2_;
}

const Moments3& ShapeMeasures::MomentSums() {
  if (!m3_) m3_.reset(new Moments3(ComputeMoments3(*region_)));
  return *m3_;
}

const std::vector<PixelPoint>& ShapeMeasures::Hull() {
  if (!hull_) hull_.reset(new std::vector<PixelPoint>(ConvexHull(*region_)));
  return *hull_;
}

const std::vector<PixelPoint>& ShapeMeasures::Contour() {
  if (!contour_) {
    contour_.reset(new std::vector<PixelPoint>);
    std::vector<int> codes;
    TraceBorder(*region_, contour_.get(), &codes);
  }
  return *contour_;
}

double ShapeMeasures::ContourLength() {
  const std::vector<PixelPoint>& c = Contour();
  if (c.size() < 2) return 0.0;
  double length = 0.0;
  for (size_t i = 0; i < c.size(); ++i) {
    const PixelPoint& p = c[i];
    const PixelPoint& q = c[(i + 1) % c.size()];
    length += (p.r != q.r && p.c != q.c) ? M_SQRT2 : 1.0;
  }
  return length;
}

void ShapeMeasures::ContourDistances(double* mean, double* deviation) {
  *mean = *deviation = 0.0;
  const std::vector<PixelPoint>& c = Contour();
  if (c.empty()) return;
  std::vector<double> d;
  for (const PixelPoint& p : c) d.push_back(std::hypot(p.r - region_->row(), p.c - region_->col()));
  for (double x : d) *mean += x;
  *mean /= static_cast<double>(d.size());
  for (double x : d) *deviation += (x - *mean) * (x - *mean);
  *deviation = std::sqrt(*deviation / static_cast<double>(d.size()));
}

void ShapeMeasures::ComputeHoles() {
  if (holes_ >= 0) return;
  std::vector<int64_t> labels;
  components_ = ChordComponentLabels(region_->chords(), Neighbourhood::k8, &labels);
  const ChordList holes = ChordHoles(region_->chords());
  holes_ = ChordComponentLabels(holes, Neighbourhood::k4, &labels);
  hole_area_ = 0;
  for (const Chord& ch : holes) hole_area_ += int64_t{ch.ce} - ch.cb + 1;
}

int64_t ShapeMeasures::Components() { return ComputeHoles(), components_; }
int64_t ShapeMeasures::Holes() { return ComputeHoles(), holes_; }
int64_t ShapeMeasures::HoleArea() { return ComputeHoles(), hole_area_; }

void ShapeMeasures::InnerDiscOf(int64_t* k, PixelPoint* centre) {
  if (inner_k_ < 0) {
    inner_k_ = 0;
    InnerDisc(*region_, &inner_k_, &inner_centre_);
  }
  *k = inner_k_;
  *centre = inner_centre_;
}

double ShapeMeasures::Orientation() {
  if (region_->empty()) return 0.0;
  const double phi = EllipseFromMoments(Moments2()).phi;
  // Axis direction in (row, column): rows grow downwards, phi turns
  // counter-clockwise on screen.
  const double ur = -std::sin(phi), uc = std::cos(phi);
  double far = -1.0, along = 0.0;
  for (const Chord& ch : region_->chords())
    for (int32_t c : {ch.cb, ch.ce}) {
      const double dr = ch.r - region_->row(), dc = c - region_->col();
      const double dist = dr * dr + dc * dc;
      if (dist > far) far = dist, along = dr * ur + dc * uc;
    }
  if (along >= 0.0) return phi;
  return phi > 0.0 ? phi - M_PI : phi + M_PI;
}

const Rect2& ShapeMeasures::SmallestRect() {
  if (!rect_) rect_.reset(new Rect2(SmallestRectangle(Hull())));
  return *rect_;
}

const Circle& ShapeMeasures::SmallestCircleOf() {
  if (!circle_) circle_.reset(new Circle(SmallestCircle(Hull())));
  return *circle_;
}

double ShapeMeasures::AffineInvariant(int which, bool normalised) {
  const Moments3& s = MomentSums();
  if (s.area <= 0.0) return 0.0;
  // Flusser's notation: u_pq with p the power of the column (x), q of the
  // row (y); sums, or means (divided by the area).
  const double f = normalised ? 1.0 : 1.0 / s.area;
  const double u20 = s.m02 * f, u02 = s.m20 * f, u11 = s.m11 * f;
  const double u30 = s.m03 * f, u03 = s.m30 * f, u21 = s.m12 * f, u12 = s.m21 * f;
  double v = 0.0, weight = 0.0;
  switch (which) {
    case 1:
      v = u20 * u02 - u11 * u11;
      weight = 4;
      break;
    case 2:
      v = u30 * u30 * u03 * u03 - 6 * u30 * u21 * u12 * u03 + 4 * u30 * u12 * u12 * u12 +
          4 * u21 * u21 * u21 * u03 - 3 * u21 * u21 * u12 * u12;
      weight = 10;
      break;
    case 3:
      v = u20 * (u21 * u03 - u12 * u12) - u11 * (u30 * u03 - u21 * u12) +
          u02 * (u30 * u12 - u21 * u21);
      weight = 7;
      break;
    default:
      v = u20 * u20 * u20 * u03 * u03 - 6 * u20 * u20 * u11 * u12 * u03 -
          6 * u20 * u20 * u02 * u21 * u03 + 9 * u20 * u20 * u02 * u12 * u12 +
          12 * u20 * u11 * u11 * u21 * u03 + 6 * u20 * u11 * u02 * u30 * u03 -
          18 * u20 * u11 * u02 * u21 * u12 - 8 * u11 * u11 * u11 * u30 * u03 -
          6 * u20 * u02 * u02 * u30 * u12 + 9 * u20 * u02 * u02 * u21 * u21 +
          12 * u11 * u11 * u02 * u30 * u12 - 6 * u11 * u02 * u02 * u30 * u21 +
          u02 * u02 * u02 * u30 * u30;
      weight = 11;
      break;
  }
  return normalised ? v / std::pow(s.area, weight) : v;
}

namespace {

using Feature = std::function<double(ShapeMeasures&)>;

double Box(ShapeMeasures& m, int which) {
  int32_t b[4] = {0, 0, 0, 0};
  m.region().BoundingBox(&b[0], &b[1], &b[2], &b[3]);
  return b[which];
}

double Extent(ShapeMeasures& m, bool rows) {
  int32_t r1, c1, r2, c2;
  if (!m.region().BoundingBox(&r1, &c1, &r2, &c2)) return 0.0;
  return rows ? double(r2) - r1 + 1 : double(c2) - c1 + 1;
}

// Centre of the largest inscribed disc, as doubles.
struct DoublePoint {
  double r, c;
};
DoublePoint InnerCentre(ShapeMeasures& m) {
  int64_t k;
  PixelPoint p;
  m.InnerDiscOf(&k, &p);
  return {double(p.r), double(p.c)};
}

double Ratio(double num, double den) { return den != 0.0 ? num / den : 0.0; }

const std::map<std::string, Feature>& Table() {
  static const std::map<std::string, Feature> table = [] {
    std::map<std::string, Feature> t;
    t["area"] = [](ShapeMeasures& m) { return double(m.region().area()); };
    t["row"] = [](ShapeMeasures& m) { return m.region().row(); };
    t["column"] = [](ShapeMeasures& m) { return m.region().col(); };
    t["row1"] = [](ShapeMeasures& m) { return Box(m, 0); };
    t["column1"] = [](ShapeMeasures& m) { return Box(m, 1); };
    t["row2"] = [](ShapeMeasures& m) { return Box(m, 2); };
    t["column2"] = [](ShapeMeasures& m) { return Box(m, 3); };
    t["width"] = [](ShapeMeasures& m) { return Extent(m, false); };
    t["height"] = [](ShapeMeasures& m) { return Extent(m, true); };
    t["ratio"] = [](ShapeMeasures& m) { return Ratio(Extent(m, true), Extent(m, false)); };
    t["circularity"] = [](ShapeMeasures& m) {
      if (m.region().empty()) return 0.0;
      const double r = MaxDistanceFrom(m.region(), m.region().row(), m.region().col());
      return r == 0.0 ? 1.0 : std::min(1.0, double(m.region().area()) / (M_PI * r * r));
    };
    t["contlength"] = [](ShapeMeasures& m) { return m.ContourLength(); };
    t["compactness"] = [](ShapeMeasures& m) {
      const double l = m.ContourLength();
      return Ratio(l * l, 4.0 * M_PI * double(m.region().area()));
    };
    t["convexity"] = [](ShapeMeasures& m) {
      return Ratio(double(m.region().area()), double(HullPixelCount(m.Hull())));
    };
    t["ra"] = [](ShapeMeasures& m) { return EllipseFromMoments(m.Moments2()).ra; };
    t["rb"] = [](ShapeMeasures& m) { return EllipseFromMoments(m.Moments2()).rb; };
    t["phi"] = [](ShapeMeasures& m) { return EllipseFromMoments(m.Moments2()).phi; };
    t["anisometry"] = [](ShapeMeasures& m) { return ShapeFactorsFromMoments(m.Moments2()).anisometry; };
    t["bulkiness"] = [](ShapeMeasures& m) { return ShapeFactorsFromMoments(m.Moments2()).bulkiness; };
    t["struct_factor"] = [](ShapeMeasures& m) {
      return ShapeFactorsFromMoments(m.Moments2()).structure_factor;
    };
    t["orientation"] = [](ShapeMeasures& m) { return m.Orientation(); };
    t["outer_radius"] = [](ShapeMeasures& m) { return m.SmallestCircleOf().radius; };
    t["inner_radius"] = [](ShapeMeasures& m) {
      int64_t k;
      PixelPoint p;
      m.InnerDiscOf(&k, &p);
      return std::sqrt(double(k));
    };
    t["dist_mean"] = [](ShapeMeasures& m) {
      double mean, dev;
      m.ContourDistances(&mean, &dev);
      return mean;
    };
    t["dist_deviation"] = [](ShapeMeasures& m) {
      double mean, dev;
      m.ContourDistances(&mean, &dev);
      return dev;
    };
    t["roundness"] = [](ShapeMeasures& m) {
      double mean, dev;
      m.ContourDistances(&mean, &dev);
      return mean > 0.0 ? 1.0 - dev / mean : 0.0;
    };
    t["num_sides"] = [](ShapeMeasures& m) {
      double mean, dev;
      m.ContourDistances(&mean, &dev);
      return dev > 0.0 ? 1.411 * std::pow(mean / dev, 0.4724) : 0.0;
    };
    t["connect_num"] = [](ShapeMeasures& m) { return double(m.Components()); };
    t["holes_num"] = [](ShapeMeasures& m) { return double(m.Holes()); };
    t["area_holes"] = [](ShapeMeasures& m) { return double(m.HoleArea()); };
    t["euler_number"] = [](ShapeMeasures& m) { return double(m.Components() - m.Holes()); };
    t["max_diameter"] = [](ShapeMeasures& m) {
      PixelPoint p, q;
      if (!Diameter(m.Hull(), &p, &q)) return 0.0;
      return std::hypot(double(p.r - q.r), double(p.c - q.c));
    };
    t["outer_row"] = [](ShapeMeasures& m) { return m.SmallestCircleOf().row; };
    t["outer_column"] = [](ShapeMeasures& m) { return m.SmallestCircleOf().col; };
    t["inner_row"] = [](ShapeMeasures& m) { return InnerCentre(m).r; };
    t["inner_column"] = [](ShapeMeasures& m) { return InnerCentre(m).c; };
    for (int i = 0; i < 4; ++i) {
      static const char* const kNames[4] = {"diameter_row1", "diameter_column1",
                                            "diameter_row2", "diameter_column2"};
      t[kNames[i]] = [i](ShapeMeasures& m) {
        PixelPoint p{0, 0}, q{0, 0};
        Diameter(m.Hull(), &p, &q);
        const int32_t v[4] = {p.r, p.c, q.r, q.c};
        return double(v[i]);
      };
    }
    // The run-length code itself: runs, runs per square root of the area
    // and per row, mean run length, and the bytes of the int16 chords.
    t["num_runs"] = [](ShapeMeasures& m) { return double(m.region().chords().size()); };
    t["k_factor"] = [](ShapeMeasures& m) {
      return Ratio(double(m.region().chords().size()), std::sqrt(double(m.region().area())));
    };
    t["l_factor"] = [](ShapeMeasures& m) {
      double rows = 0;
      const auto& ch = m.region().chords();
      for (size_t i = 0; i < ch.size(); ++i) rows += (i == 0 || ch[i].r != ch[i - 1].r);
      return Ratio(double(ch.size()), rows);
    };
    t["mean_length"] = [](ShapeMeasures& m) {
      return Ratio(double(m.region().area()), double(m.region().chords().size()));
    };
    t["bytes"] = [](ShapeMeasures& m) { return double(m.region().chords().size() * sizeof(Vrlchord)); };
    t["rect2_row"] = [](ShapeMeasures& m) { return m.SmallestRect().row; };
    t["rect2_column"] = [](ShapeMeasures& m) { return m.SmallestRect().col; };
    t["rect2_phi"] = [](ShapeMeasures& m) { return m.SmallestRect().phi; };
    t["rect2_len1"] = [](ShapeMeasures& m) { return m.SmallestRect().len1; };
    t["rect2_len2"] = [](ShapeMeasures& m) { return m.SmallestRect().len2; };
    t["moments_m11"] = [](ShapeMeasures& m) { return m.Moments2().m11; };
    t["moments_m20"] = [](ShapeMeasures& m) { return m.Moments2().m20; };
    t["moments_m02"] = [](ShapeMeasures& m) { return m.Moments2().m02; };
    t["moments_ia"] = [](ShapeMeasures& m) { return m.Moments2().ia; };
    t["moments_ib"] = [](ShapeMeasures& m) { return m.Moments2().ib; };
    // Divided by the area once more: independent of the scale.
    t["moments_m11_invar"] = [](ShapeMeasures& m) { return Ratio(m.Moments2().m11, m.Moments2().area); };
    t["moments_m20_invar"] = [](ShapeMeasures& m) { return Ratio(m.Moments2().m20, m.Moments2().area); };
    t["moments_m02_invar"] = [](ShapeMeasures& m) { return Ratio(m.Moments2().m02, m.Moments2().area); };
    // Relative invariants of the scale-free moments: the determinant and
    // the squared difference of the principal values.
    t["moments_phi1"] = [](ShapeMeasures& m) {
      const RegionMoments& r = m.Moments2();
      return Ratio(r.m20 * r.m02 - r.m11 * r.m11, r.area * r.area);
    };
    t["moments_phi2"] = [](ShapeMeasures& m) {
      const RegionMoments& r = m.Moments2();
      const double d = r.m20 - r.m02;
      return Ratio(d * d + 4.0 * r.m11 * r.m11, r.area * r.area);
    };
    const struct {
      const char* name;
      double Moments3::*member;
    } third[] = {{"m21", &Moments3::m21}, {"m12", &Moments3::m12},
                 {"m03", &Moments3::m03}, {"m30", &Moments3::m30}};
    for (const auto& k : third) {
      const auto member = k.member;
      t[std::string("moments_") + k.name] = [member](ShapeMeasures& m) {
        return Ratio(m.MomentSums().*member, m.MomentSums().area);
      };
      t[std::string("moments_") + k.name + "_invar"] = [member](ShapeMeasures& m) {
        return Ratio(m.MomentSums().*member, std::pow(m.MomentSums().area, 2.5));
      };
    }
    for (int i = 1; i <= 4; ++i) {
      t["moments_i" + std::to_string(i)] = [i](ShapeMeasures& m) { return m.AffineInvariant(i, false); };
      t["moments_psi" + std::to_string(i)] = [i](ShapeMeasures& m) { return m.AffineInvariant(i, true); };
    }
    return t;
  }();
  return table;
}

}  // namespace

bool FeatureValue(const std::string& name, ShapeMeasures& m, double* value) {
  const auto it = Table().find(name);
  if (it == Table().end()) return false;
  *value = it->second(m);
  return true;
}

bool IsFeatureName(const std::string& name) { return Table().count(name) != 0; }

}  // namespace vexa
