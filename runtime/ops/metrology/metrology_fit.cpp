// RANSAC and least-squares refits of lines, circles, ellipses and
// rectangles to metrology edges.
#include "metrology_fit.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "ops/xld/xld_fit.h"

namespace vexa {
namespace {

using Params = std::vector<double>;
using Edges = std::vector<const MetrologyEdge*>;

// Draws of a sample before giving up on finding distinct measures.
constexpr int kDrawAttempts = 100;
constexpr int kRefineRounds = 5;
// Edge tests one RANSAC search may make (rounds x edges).
constexpr double kRansacEdgeTests = 5e7;
// Tukey's biweight at its usual 4.685 robust sigmas: edges of clutter that
// happen to lie within distance_threshold lose their weight.
constexpr double kTukeyFactor = 4.685;
constexpr int kGaussNewtonSteps = 30;

size_t Random(std::mt19937& rng, size_t n) { return static_cast<size_t>(rng() % n); }

// The shape-specific parts of the fit.
class ShapeFit {
 public:
  virtual ~ShapeFit() = default;
  virtual size_t SampleSize() const = 0;
  // A candidate through the sample; false for a degenerate one.
  virtual bool Solve(const Edges& sample, Params* p) const = 0;
  // Signed distance of (r, c) on rectangle side `side` to the outline.
  virtual double Residual(const Params& p, double r, double c, int side) const = 0;

  // Edges from SampleSize() distinct measures; false when none can be
  // drawn.
  virtual bool Draw(std::mt19937& rng, const Edges& pts, Edges* sample) const {
    if (pts.size() < SampleSize()) return false;
    for (int attempt = 0; attempt < kDrawAttempts; ++attempt) {
      sample->clear();
      for (size_t i = 0; i < SampleSize(); ++i) {
        const MetrologyEdge* e = pts[Random(rng, pts.size())];
        const bool repeated = std::any_of(sample->begin(), sample->end(), [e](const MetrologyEdge* s) {
          return s->measure == e->measure;
        });
        if (repeated) break;
        sample->push_back(e);
      }
      if (sample->size() == SampleSize()) return true;
    }
    return false;
  }
  // Weighted least squares on the inliers, from *p; false leaves *p
  // unchanged.
  virtual bool Refine(const Edges& pts, const std::vector<double>& w, Params* p) const {
    return GaussNewton(pts, w, p);
  }
  // Brings parameters to their usual form.
  virtual void Normalize(Params*) const {}

  double Distance(const Params& p, const MetrologyEdge& e) const {
    return std::fabs(Residual(p, e.row, e.column, e.side));
  }

 protected:
  // Gauss-Newton with a numeric Jacobian on the signed residuals.
  bool GaussNewton(const Edges& pts, const std::vector<double>& w, Params* p) const {
    const Eigen::Index n = static_cast<Eigen::Index>(p->size());
    const Eigen::Index m = static_cast<Eigen::Index>(pts.size());
    if (m < n) return false;
    Params x = *p;
    Eigen::MatrixXd jac(m, n);
    Eigen::VectorXd res(m);
    for (int step = 0; step < kGaussNewtonSteps; ++step) {
      for (Eigen::Index i = 0; i < m; ++i) {
        const MetrologyEdge& e = *pts[static_cast<size_t>(i)];
        const double sw = std::sqrt(w[static_cast<size_t>(i)]);
        const double r0 = Residual(x, e.row, e.column, e.side);
        res(i) = sw * r0;
        for (Eigen::Index j = 0; j < n; ++j) {
          Params y = x;
          const double h = 1e-6 * std::max(1.0, std::fabs(x[static_cast<size_t>(j)]));
          y[static_cast<size_t>(j)] += h;
          jac(i, j) = sw * (Residual(y, e.row, e.column, e.side) - r0) / h;
        }
      }
      const Eigen::VectorXd delta = jac.colPivHouseholderQr().solve(-res);
      if (!delta.allFinite()) return false;
      for (Eigen::Index j = 0; j < n; ++j) x[static_cast<size_t>(j)] += delta(j);
      if (delta.norm() < 1e-10) break;
    }
    for (double v : x)
      if (!std::isfinite(v)) return false;
    Normalize(&x);
    *p = x;
    return true;
  }
};

// Lines keep the ends of the expected line, projected onto the fit.
class LineFit : public ShapeFit {
 public:
  explicit LineFit(Params expected) : expected_(std::move(expected)) {}
  size_t SampleSize() const override { return 2; }
  bool Solve(const Edges& s, Params* p) const override {
    return Through(s[0]->row, s[0]->column, s[1]->row - s[0]->row, s[1]->column - s[0]->column, p);
  }
  double Residual(const Params& p, double r, double c, int) const override {
    const double dr = p[2] - p[0], dc = p[3] - p[1], len = std::hypot(dr, dc);
    return ((r - p[0]) * dc - (c - p[1]) * dr) / len;
  }
  // Total least squares: through the centroid along the main axis.
  bool Refine(const Edges& pts, const std::vector<double>& w, Params* p) const override {
    double mr = 0, mc = 0, sum = 0;
    for (size_t i = 0; i < pts.size(); ++i) {
      mr += w[i] * pts[i]->row;
      mc += w[i] * pts[i]->column;
      sum += w[i];
    }
    if (!(sum > 0)) return false;
    mr /= sum;
    mc /= sum;
    Eigen::Matrix2d cov = Eigen::Matrix2d::Zero();
    for (size_t i = 0; i < pts.size(); ++i) {
      const Eigen::Vector2d d(pts[i]->row - mr, pts[i]->column - mc);
      cov += w[i] * d * d.transpose();
    }
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> eig(cov);
    const Eigen::Vector2d dir = eig.eigenvectors().col(1);
    return Through(mr, mc, dir(0), dir(1), p);
  }

 private:
  bool Through(double r, double c, double dr, double dc, Params* p) const {
    const double len = std::hypot(dr, dc);
    if (!(len > 0)) return false;
    dr /= len;
    dc /= len;
    *p = expected_;
    for (size_t k = 0; k < 4; k += 2) {
      const double t = (expected_[k] - r) * dr + (expected_[k + 1] - c) * dc;
      (*p)[k] = r + t * dr;
      (*p)[k + 1] = c + t * dc;
    }
    return true;
  }
  Params expected_;
};

class CircleFit : public ShapeFit {
 public:
  size_t SampleSize() const override { return 3; }
  // The circle through three points; none when they are collinear.
  bool Solve(const Edges& s, Params* p) const override {
    const double ar = s[1]->row - s[0]->row, ac = s[1]->column - s[0]->column;
    const double br = s[2]->row - s[0]->row, bc = s[2]->column - s[0]->column;
    const double det = 2 * (ar * bc - ac * br);
    if (std::fabs(det) < 1e-9) return false;
    const double a2 = ar * ar + ac * ac, b2 = br * br + bc * bc;
    const double r = (a2 * bc - b2 * ac) / det, c = (b2 * ar - a2 * br) / det;
    *p = {s[0]->row + r, s[0]->column + c, std::hypot(r, c)};
    return true;
  }
  double Residual(const Params& p, double r, double c, int) const override {
    return std::hypot(r - p[0], c - p[1]) - p[2];
  }
};

// Coordinates in the frame of an ellipse or rectangle (row, column, phi):
// along its first axis and its second.
void Frame(const Params& p, double r, double c, double* u, double* v) {
  const double sn = std::sin(p[2]), cs = std::cos(p[2]);
  *u = -(r - p[0]) * sn + (c - p[1]) * cs;
  *v = -(r - p[0]) * cs - (c - p[1]) * sn;
}

class EllipseFit : public ShapeFit {
 public:
  size_t SampleSize() const override { return 5; }
  // The conic through five points (in centred, scaled coordinates x =
  // column, y = -row), if it is an ellipse.
  bool Solve(const Edges& s, Params* p) const override {
    double mx = 0, my = 0;
    for (const MetrologyEdge* e : s) {
      mx += e->column;
      my -= e->row;
    }
    mx /= 5;
    my /= 5;
    double scale = 0;
    for (const MetrologyEdge* e : s) scale += std::hypot(e->column - mx, -e->row - my);
    scale /= 5;
    if (!(scale > 0)) return false;
    Eigen::Matrix<double, 5, 6> a;
    for (int i = 0; i < 5; ++i) {
      const double x = (s[static_cast<size_t>(i)]->column - mx) / scale;
      const double y = (-s[static_cast<size_t>(i)]->row - my) / scale;
      a.row(i) << x * x, x * y, y * y, x, y, 1;
    }
    const Eigen::JacobiSVD<Eigen::MatrixXd> svd(a, Eigen::ComputeFullV);
    const Eigen::VectorXd k = svd.matrixV().col(5);
    const double A = k(0), B = k(1), C = k(2), D = k(3), E = k(4), F = k(5);
    Eigen::Matrix2d q;
    q << A, B / 2, B / 2, C;
    if (q.determinant() <= 0) return false;
    const Eigen::Vector2d centre = (Eigen::Matrix2d() << 2 * A, B, B, 2 * C).finished().lu().solve(
        Eigen::Vector2d(-D, -E));
    const double f0 = F + (D * centre(0) + E * centre(1)) / 2;
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> eig(q);
    const double s0 = -f0 / eig.eigenvalues()(0), s1 = -f0 / eig.eigenvalues()(1);
    if (!(s0 > 0 && s1 > 0)) return false;
    const int big = s0 >= s1 ? 0 : 1;
    const Eigen::Vector2d axis = eig.eigenvectors().col(big);
    *p = {-(centre(1) * scale + my), centre(0) * scale + mx, std::atan2(axis(1), axis(0)),
          std::sqrt(std::max(s0, s1)) * scale, std::sqrt(std::min(s0, s1)) * scale};
    Normalize(p);
    return std::isfinite((*p)[3]) && std::isfinite((*p)[4]);
  }
  // First-order (Sampson) distance to the ellipse.
  double Residual(const Params& p, double r, double c, int) const override {
    double u = 0, v = 0;
    Frame(p, r, c, &u, &v);
    const double a2 = p[3] * p[3], b2 = p[4] * p[4];
    const double f = u * u / a2 + v * v / b2 - 1;
    const double g = 2 * std::hypot(u / a2, v / b2);
    return g > 0 ? f / g : -std::min(p[3], p[4]);
  }
  // radius1 >= radius2 > 0, phi in (-pi/2, pi/2].
  void Normalize(Params* p) const override {
    Params& e = *p;
    e[3] = std::fabs(e[3]);
    e[4] = std::fabs(e[4]);
    if (e[3] < e[4]) {
      std::swap(e[3], e[4]);
      e[2] += M_PI / 2;
    }
    e[2] = std::remainder(e[2], M_PI);
    if (e[2] <= -M_PI / 2) e[2] += M_PI;
  }
};

// Rectangles: each edge belongs to the side its measure was placed on.
class RectangleFit : public ShapeFit {
 public:
  explicit RectangleFit(double expected_phi) : phi_(expected_phi) {}
  size_t SampleSize() const override { return 5; }
  // Two edges on one side, one on each of the other three.
  bool Draw(std::mt19937& rng, const Edges& pts, Edges* sample) const override {
    Edges by_side[4];
    for (const MetrologyEdge* e : pts) by_side[e->side & 3].push_back(e);
    for (const Edges& s : by_side)
      if (s.empty()) return false;
    for (int attempt = 0; attempt < kDrawAttempts; ++attempt) {
      const int twice = static_cast<int>(Random(rng, 4));
      const Edges& side = by_side[twice];
      if (side.size() < 2) continue;
      const MetrologyEdge* a = side[Random(rng, side.size())];
      const MetrologyEdge* b = side[Random(rng, side.size())];
      if (a->measure == b->measure) continue;
      *sample = {a, b};
      for (int k = 1; k < 4; ++k) {
        const Edges& other = by_side[(twice + k) % 4];
        sample->push_back(other[Random(rng, other.size())]);
      }
      return true;
    }
    return false;
  }
  // The angle from the pair on one side (the one nearest the expected
  // angle, so that sides keep their numbers), the half lengths and the
  // centre from one edge per side.
  bool Solve(const Edges& s, Params* p) const override {
    const double dr = s[1]->row - s[0]->row, dc = s[1]->column - s[0]->column;
    if (!(std::hypot(dr, dc) > 0)) return false;
    // Sides 0 and 2 run along the second axis, 1 and 3 along the first.
    double phi = s[0]->side % 2 == 0 ? std::atan2(-dc, -dr) : std::atan2(-dr, dc);
    phi = phi_ + std::remainder(phi - phi_, M_PI);
    Params x = {0, 0, phi, 0, 0};
    double at[4] = {0, 0, 0, 0};
    for (const MetrologyEdge* e : s) {
      double u = 0, v = 0;
      Frame(x, e->row, e->column, &u, &v);
      at[e->side & 3] = e->side % 2 == 0 ? u : v;
    }
    const double cu = (at[0] + at[2]) / 2, cv = (at[1] + at[3]) / 2;
    const double sn = std::sin(phi), cs = std::cos(phi);
    *p = {-cu * sn - cv * cs, cu * cs - cv * sn, phi, (at[0] - at[2]) / 2, (at[1] - at[3]) / 2};
    return (*p)[3] > 0 && (*p)[4] > 0;
  }
  double Residual(const Params& p, double r, double c, int side) const override {
    double u = 0, v = 0;
    Frame(p, r, c, &u, &v);
    switch (side & 3) {
      case 0: return u - p[3];
      case 1: return v - p[4];
      case 2: return -u - p[3];
      default: return -v - p[4];
    }
  }

 private:
  double phi_;
};

std::unique_ptr<ShapeFit> FitFor(MetrologyShape shape, const Params& expected) {
  switch (shape) {
    case MetrologyShape::kLine: return std::make_unique<LineFit>(expected);
    case MetrologyShape::kCircle: return std::make_unique<CircleFit>();
    case MetrologyShape::kEllipse: return std::make_unique<EllipseFit>();
    case MetrologyShape::kRectangle2: return std::make_unique<RectangleFit>(expected[2]);
  }
  return nullptr;
}

// How well a candidate is supported.
struct Support {
  size_t measures = 0, edges = 0;
  double distance = 0;
  bool BetterThan(const Support& o) const {
    if (measures != o.measures) return measures > o.measures;
    if (edges != o.edges) return edges > o.edges;
    return distance < o.distance;
  }
};

class Ransac {
 public:
  Ransac(const ShapeFit& fit, const std::vector<MetrologyMeasure>& measures,
         const MetrologyParams& params)
      : fit_(fit), measures_(measures), params_(params) {}

  // The inliers: per measure the nearest edge within the threshold, of
  // `polarity` (0: either).
  Edges Inliers(const Params& p, const Edges& pts, double polarity, Support* support) const {
    std::vector<const MetrologyEdge*> nearest(measures_.size(), nullptr);
    std::vector<double> dist(measures_.size(), 0.0);
    for (const MetrologyEdge* e : pts) {
      if (polarity * e->amplitude < 0) continue;
      const double d = fit_.Distance(p, *e);
      const size_t m = static_cast<size_t>(e->measure);
      if (!(d <= params_.distance_threshold)) continue;
      if (support != nullptr) {
        ++support->edges;
        support->distance += d;
      }
      if (nearest[m] == nullptr || d < dist[m]) {
        nearest[m] = e;
        dist[m] = d;
      }
    }
    Edges in;
    for (const MetrologyEdge* e : nearest)
      if (e != nullptr) in.push_back(e);
    if (support != nullptr) support->measures = in.size();
    return in;
  }

  // The best candidate among `pts`; false when no sample gives one.
  bool Search(std::mt19937& rng, const Edges& pts, Params* best, double* polarity) const {
    const bool uniform = params_.transition == MetrologyTransition::kUniform;
    const size_t m = fit_.SampleSize();
    const bool fixed = params_.max_num_iterations > 0;
    double limit = static_cast<double>(fixed ? params_.max_num_iterations : kMaxRansacRounds);
    // Every round tests every edge: bound the work on huge edge sets.
    limit = std::min(limit, std::max(100.0, kRansacEdgeTests / static_cast<double>(pts.size())));
    Support top;
    bool found = false;
    Edges sample;
    for (double round = 0; round < limit; ++round) {
      if (!fit_.Draw(rng, pts, &sample)) break;
      const double pol = uniform ? (sample[0]->amplitude > 0 ? 1.0 : -1.0) : 0.0;
      bool mixed = false;
      for (const MetrologyEdge* e : sample) mixed = mixed || pol * e->amplitude < 0;
      Params p;
      if (mixed || !fit_.Solve(sample, &p)) continue;
      Support s;
      Inliers(p, pts, pol, &s);
      if (found && !s.BetterThan(top)) continue;
      found = true;
      top = s;
      *best = p;
      *polarity = pol;
      if (!fixed) {
        const double w = static_cast<double>(s.edges) / static_cast<double>(pts.size());
        const double clean = std::pow(w, static_cast<double>(m));
        if (clean >= 1) break;
        limit = std::min(limit, std::ceil(std::log(0.01) / std::log(1 - clean)));
      }
    }
    return found;
  }

 private:
  const ShapeFit& fit_;
  const std::vector<MetrologyMeasure>& measures_;
  const MetrologyParams& params_;
};

bool ThroughMeasures(const ShapeFit& fit, const Params& p,
                     const std::vector<MetrologyMeasure>& measures, double half_length) {
  for (const MetrologyMeasure& m : measures)
    if (!(std::fabs(fit.Residual(p, m.geometry.row, m.geometry.column, m.side)) <= half_length))
      return false;
  return true;
}

}  // namespace

std::vector<MetrologyInstance> FitInstances(MetrologyShape shape, const std::vector<double>& expected,
                                            const std::vector<MetrologyMeasure>& measures,
                                            const std::vector<MetrologyEdge>& edges,
                                            const MetrologyParams& params) {
  std::vector<MetrologyInstance> instances;
  if (measures.empty()) return instances;
  const std::unique_ptr<ShapeFit> fit = FitFor(shape, expected);
  const Ransac ransac(*fit, measures, params);
  std::mt19937 rng(static_cast<uint32_t>(params.rand_seed));
  Edges remaining;
  for (const MetrologyEdge& e : edges) remaining.push_back(&e);
  for (Vlong k = 0; k < params.num_instances; ++k) {
    Params p;
    double polarity = 0;
    if (!ransac.Search(rng, remaining, &p, &polarity)) break;
    // Refits, first unweighted, then reweighted from the residuals.
    Edges in = ransac.Inliers(p, remaining, polarity, nullptr);
    std::vector<double> weights(in.size(), 1.0), residuals;
    for (int round = 0; round < kRefineRounds; ++round) {
      const auto usable = std::count_if(weights.begin(), weights.end(), [](double w) { return w > 0; });
      if (static_cast<size_t>(usable) < fit->SampleSize() || !fit->Refine(in, weights, &p)) break;
      in = ransac.Inliers(p, remaining, polarity, nullptr);
      residuals.clear();
      for (const MetrologyEdge* e : in) residuals.push_back(fit->Residual(p, e->row, e->column, e->side));
      xld::RobustWeights(xld::Weighting::kTukey, kTukeyFactor, residuals, &weights);
    }
    Edges used;
    for (size_t i = 0; i < in.size(); ++i)
      if (weights[i] > 0) used.push_back(in[i]);
    in.swap(used);
    MetrologyInstance inst;
    inst.score = static_cast<double>(in.size()) / static_cast<double>(measures.size());
    if (inst.score < params.min_score) break;
    if (!params.instances_outside_measure_regions &&
        !ThroughMeasures(*fit, p, measures, params.measure_length1))
      break;
    inst.params = p;
    for (const MetrologyEdge* e : in) inst.used.push_back(*e);
    instances.push_back(std::move(inst));
    Edges rest;
    for (const MetrologyEdge* e : remaining)
      if (std::find(in.begin(), in.end(), e) == in.end()) rest.push_back(e);
    remaining.swap(rest);
  }
  return instances;
}

}  // namespace vexa
