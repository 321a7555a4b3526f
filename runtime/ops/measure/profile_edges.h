// Edges and threshold crossings of a 1D gray profile.
//
// Positions are in samples from the start of the profile, fractional.
// Smoothing and derivatives use a sampled Gaussian truncated at 4 sigma,
// the profile mirrored at its ends (so its ends show no edge).
#pragma once

#include <vector>

namespace vexa {

enum class EdgeTransition { kPositive, kNegative, kAll };
enum class EdgeSelect { kFirst, kLast, kAll };

struct ProfileEdge {
  double pos;        // sub-pixel position
  double amplitude;  // smoothed derivative there, signed
};

struct EdgePair {
  ProfileEdge first, second;
};

// The profile smoothed with a Gaussian of `sigma`.
std::vector<double> SmoothProfile(const std::vector<double>& profile, double sigma);

// The first derivative of the profile smoothed with a Gaussian of `sigma`,
// scaled so that a ramp of slope 1 gives 1.
std::vector<double> SmoothedDerivative(const std::vector<double>& profile, double sigma);

// Local maxima of |derivative| at least `threshold`, in order, of the
// polarity `transition` asks for (positive: dark to bright along the
// profile); `sigma` is the smoothing of the derivative. The first estimate
// of the position is the vertex of the parabola through the logarithms of
// the three magnitudes around the maximum (exact for the Gaussian-shaped
// response of a blurred step; through the magnitudes themselves when a
// neighbour is zero), with the amplitude there; the position is then
// refined to the centroid of the response within 3 sigma.
std::vector<ProfileEdge> FindEdges(const std::vector<double>& derivative, double threshold,
                                   EdgeTransition transition, double sigma);

// Pairs of edges of opposite polarity; with kPositive a pair opens with a
// positive edge, with kNegative with a negative one, with kAll with
// either. Of several opening edges in a row the last one opens the pair,
// so a pair holds two neighbouring edges.
std::vector<EdgePair> PairEdges(const std::vector<ProfileEdge>& edges, EdgeTransition transition);

// Positions where the profile crosses `threshold`, by linear
// interpolation between the two samples around the crossing.
std::vector<double> ThresholdCrossings(const std::vector<double>& profile, double threshold);

// The first, the last or all elements.
template <class T>
std::vector<T> SelectItems(std::vector<T> items, EdgeSelect select) {
  if (items.size() > 1 && select == EdgeSelect::kFirst) items.resize(1);
  if (items.size() > 1 && select == EdgeSelect::kLast) items.erase(items.begin(), items.end() - 1);
  return items;
}

}  // namespace vexa
