// Gaussian smoothing, derivative and edge extraction on gray profiles.
#include "profile_edges.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vexa {
namespace {

// Index `i` reflected into [0, n) without repeating the end samples.
long Mirror(long i, long n) {
  if (n == 1) return 0;
  const long period = 2 * (n - 1);
  i = std::labs(i) % period;
  return i < n ? i : period - i;
}

// Half width of the centroid window, in smoothing sigmas.
constexpr double kCentroidSigmas = 3.0;

long Radius(double sigma) { return static_cast<long>(std::ceil(4 * sigma)); }

// Applies weights[k + radius] at offsets k in [-radius, radius].
std::vector<double> Convolve(const std::vector<double>& p, const std::vector<double>& weights) {
  const long n = static_cast<long>(p.size());
  const long radius = static_cast<long>(weights.size() / 2);
  std::vector<double> out(p.size(), 0.0);
  for (long i = 0; i < n; ++i) {
    double sum = 0;
    for (long k = -radius; k <= radius; ++k) sum += weights[k + radius] * p[Mirror(i + k, n)];
    out[i] = sum;
  }
  return out;
}

std::vector<double> Gaussian(double sigma) {
  const long radius = Radius(sigma);
  std::vector<double> g(2 * radius + 1);
  for (long k = -radius; k <= radius; ++k) g[k + radius] = std::exp(-0.5 * k * k / (sigma * sigma));
  return g;
}

bool Wanted(double amplitude, EdgeTransition t) {
  return t == EdgeTransition::kAll || (t == EdgeTransition::kPositive) == (amplitude > 0);
}

// Offset of the vertex of the parabola through (-1, a), (0, b), (1, c).
double Vertex(double a, double b, double c) {
  const double curvature = a - 2 * b + c;
  return curvature < 0 ? 0.5 * (a - c) / curvature : 0.0;
}

// The centroid of the derivative's part of the edge's sign within `half`
// of `pos`, the window re-centred on each new estimate. Bilinear sampling
// at one phase skews the response, which moves its peak but not its
// centroid; parts of the opposite sign (a neighbouring edge of a bar) are
// left out.
double Centroid(const std::vector<double>& d, double sign, double pos, double half) {
  const long n = static_cast<long>(d.size());
  for (int iteration = 0; iteration < 3; ++iteration) {
    double mass = 0, moment = 0;
    const long lo = std::max(0L, static_cast<long>(std::floor(pos - half)));
    const long hi = std::min(n - 1, static_cast<long>(std::ceil(pos + half)));
    for (long k = lo; k <= hi; ++k) {
      // Samples count by how much of their unit cell lies in the window.
      const double cover = std::min(1.0, std::max(0.0, half + 0.5 - std::fabs(k - pos)));
      const double v = std::max(0.0, sign * d[k]) * cover;
      mass += v;
      moment += v * static_cast<double>(k);
    }
    if (mass <= 0) break;
    pos = moment / mass;
  }
  return pos;
}

}  // namespace

std::vector<double> SmoothProfile(const std::vector<double>& profile, double sigma) {
  std::vector<double> g = Gaussian(sigma);
  double sum = 0;
  for (double w : g) sum += w;
  for (double& w : g) w /= sum;
  return Convolve(profile, g);
}

std::vector<double> SmoothedDerivative(const std::vector<double>& profile, double sigma) {
  // Weights k * g(k) / sum(j^2 g(j)): exact slope on ramps.
  std::vector<double> w = Gaussian(sigma);
  const long radius = Radius(sigma);
  double norm = 0;
  for (long k = -radius; k <= radius; ++k) {
    w[k + radius] *= static_cast<double>(k);
    norm += k * w[k + radius];
  }
  for (double& v : w) v /= norm;
  return Convolve(profile, w);
}

std::vector<ProfileEdge> FindEdges(const std::vector<double>& d, double threshold,
                                   EdgeTransition transition, double sigma) {
  std::vector<ProfileEdge> edges;
  for (size_t i = 1; i + 1 < d.size(); ++i) {
    const double a = std::fabs(d[i - 1]), b = std::fabs(d[i]), c = std::fabs(d[i + 1]);
    // >= on the left, > on the right: one maximum per plateau.
    if (b < threshold || b == 0 || b < a || b <= c || !Wanted(d[i], transition)) continue;
    double offset = 0, peak = b;
    if (a > 0 && c > 0) {
      const double la = std::log(a), lb = std::log(b), lc = std::log(c);
      offset = Vertex(la, lb, lc);
      peak = std::exp(lb - 0.25 * (la - lc) * offset);
    } else {
      offset = Vertex(a, b, c);
      peak = b - 0.25 * (a - c) * offset;
    }
    const double sign = d[i] > 0 ? 1.0 : -1.0;
    const double pos = Centroid(d, sign, static_cast<double>(i) + offset, kCentroidSigmas * sigma);
    edges.push_back({pos, sign * peak});
  }
  return edges;
}

std::vector<EdgePair> PairEdges(const std::vector<ProfileEdge>& edges, EdgeTransition transition) {
  std::vector<EdgePair> pairs;
  const ProfileEdge* open = nullptr;
  for (const ProfileEdge& e : edges) {
    const bool closes = open != nullptr && (open->amplitude > 0) != (e.amplitude > 0);
    if (closes) {
      pairs.push_back({*open, e});
      open = nullptr;
    } else if (Wanted(e.amplitude, transition)) {
      open = &e;
    }
  }
  return pairs;
}

std::vector<double> ThresholdCrossings(const std::vector<double>& p, double threshold) {
  std::vector<double> at;
  for (size_t i = 0; i + 1 < p.size(); ++i) {
    const bool up = p[i] < threshold && p[i + 1] >= threshold;
    const bool down = p[i] >= threshold && p[i + 1] < threshold;
    if (up || down) at.push_back(static_cast<double>(i) + (threshold - p[i]) / (p[i + 1] - p[i]));
  }
  return at;
}

}  // namespace vexa
