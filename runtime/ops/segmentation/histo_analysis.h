// Analysis of gray-value histograms for the automatic thresholds: Gaussian
// smoothing, local extrema, and the threshold of best class separation.
// Histograms are counts per bin; thresholds are bin indices t that split
// the bins into [0, t] and [t + 1, end).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexa {

// The histogram convolved with a Gaussian of `sigma` bins (mirrored at the
// ends); sigma 0 returns it unchanged.
std::vector<double> SmoothHistogram(const std::vector<int64_t>& counts, double sigma);
std::vector<double> SmoothHistogram(const std::vector<double>& counts, double sigma);

// The bins of strict local maxima and minima; a plateau counts once, at its
// middle. Only the bins in [first, last] are considered.
void HistogramExtrema(const std::vector<double>& h, size_t first, size_t last,
                      std::vector<size_t>* maxima, std::vector<size_t>* minima);

// The bins at which auto_threshold splits a histogram: the minima of the
// histogram smoothed with `sigma`, between its first and last occupied
// bins; each minimum belongs to the darker class.
std::vector<size_t> ClassMinima(const std::vector<double>& histogram, double sigma);

// The threshold that maximises the between-class variance (Otsu); the
// first one on ties. False when fewer than two bins are occupied: then
// `t` is the one occupied bin (or 0).
bool SeparabilityThreshold(const std::vector<int64_t>& counts, size_t* t);

// The threshold at the deepest point between the two peaks of a histogram
// smoothed until it has at most two maxima; when it is unimodal, the
// separability threshold.
size_t SmoothHistoThreshold(const std::vector<int64_t>& counts);

}  // namespace vexa
