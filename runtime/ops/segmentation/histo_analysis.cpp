#include "ops/segmentation/histo_analysis.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace {

// Index i mirrored into [0, n).
size_t Mirror(int64_t i, int64_t n) {
  if (n == 1) return 0;
  const int64_t period = 2 * (n - 1);
  i %= period;
  if (i < 0) i += period;
  return static_cast<size_t>(i < n ? i : period - i);
}

// First and last occupied bin; false for an empty histogram.
template <class T>
bool OccupiedRange(const std::vector<T>& h, size_t* first, size_t* last) {
  size_t f = 0;
  while (f < h.size() && h[f] <= 0) ++f;
  if (f == h.size()) return false;
  size_t l = h.size() - 1;
  while (h[l] <= 0) --l;
  *first = f;
  *last = l;
  return true;
}

}  // namespace

std::vector<double> SmoothHistogram(const std::vector<int64_t>& counts, double sigma) {
  return SmoothHistogram(std::vector<double>(counts.begin(), counts.end()), sigma);
}

std::vector<double> SmoothHistogram(const std::vector<double>& counts, double sigma) {
  const int64_t n = static_cast<int64_t>(counts.size());
  std::vector<double> out(counts);
  if (!(sigma > 0) || n == 0) return out;
  // A kernel wider than the histogram adds only mirrored copies of it, so
  // the radius is bounded by the length (which also keeps a huge or
  // infinite sigma from overflowing).
  const double reach = std::ceil(3.0 * sigma);
  const int64_t radius = reach < static_cast<double>(n) ? static_cast<int64_t>(reach) : n;
  std::vector<double> kernel(static_cast<size_t>(2 * radius + 1));
  double sum = 0.0;
  for (int64_t j = -radius; j <= radius; ++j) {
    const double w = std::exp(-0.5 * static_cast<double>(j * j) / (sigma * sigma));
    kernel[static_cast<size_t>(j + radius)] = w;
    sum += w;
  }
  for (int64_t i = 0; i < n; ++i) {
    double v = 0.0;
    for (int64_t j = -radius; j <= radius; ++j)
      v += kernel[static_cast<size_t>(j + radius)] * counts[Mirror(i + j, n)];
    out[static_cast<size_t>(i)] = v / sum;
  }
  return out;
}

void HistogramExtrema(const std::vector<double>& h, size_t first, size_t last,
                      std::vector<size_t>* maxima, std::vector<size_t>* minima) {
  maxima->clear();
  minima->clear();
  // Walk plateaus: [a, b] of equal values, compared with their neighbours.
  for (size_t a = first; a <= last;) {
    size_t b = a;
    while (b < last && h[b + 1] == h[a]) ++b;
    const bool up_left = a == first || h[a - 1] < h[a];
    const bool up_right = b == last || h[b + 1] < h[a];
    const bool down_left = a > first && h[a - 1] > h[a];
    const bool down_right = b < last && h[b + 1] > h[a];
    if (up_left && up_right) maxima->push_back((a + b) / 2);
    if (down_left && down_right) minima->push_back((a + b) / 2);
    a = b + 1;
  }
}

bool SeparabilityThreshold(const std::vector<int64_t>& counts, size_t* t) {
  size_t first = 0, last = 0;
  *t = 0;
  if (!OccupiedRange(counts, &first, &last)) return false;
  *t = first;
  if (first == last) return false;
  double total = 0, total_sum = 0;
  for (size_t i = first; i <= last; ++i) {
    total += static_cast<double>(counts[i]);
    total_sum += static_cast<double>(counts[i]) * static_cast<double>(i);
  }
  double w0 = 0, sum0 = 0, best = -1;
  for (size_t i = first; i < last; ++i) {
    w0 += static_cast<double>(counts[i]);
    sum0 += static_cast<double>(counts[i]) * static_cast<double>(i);
    const double w1 = total - w0;
    const double diff = sum0 / w0 - (total_sum - sum0) / w1;
    const double between = w0 * w1 * diff * diff;
    if (between > best) {
      best = between;
      *t = i;
    }
  }
  return true;
}

size_t SmoothHistoThreshold(const std::vector<int64_t>& counts) {
  size_t first = 0, last = 0, t = 0;
  if (!OccupiedRange(counts, &first, &last) || first == last) {
    SeparabilityThreshold(counts, &t);
    return t;
  }
  std::vector<size_t> maxima, minima;
  // Wider and wider smoothing until at most two peaks are left.
  const double widest = static_cast<double>(last - first + 1);
  for (double sigma = 1.0; sigma <= widest; sigma *= 1.25) {
    const std::vector<double> h = SmoothHistogram(counts, sigma);
    HistogramExtrema(h, first, last, &maxima, &minima);
    if (maxima.size() > 2) continue;
    if (maxima.size() == 2) {
      size_t deepest = maxima[0];
      for (size_t i = maxima[0]; i <= maxima[1]; ++i)
        if (h[i] < h[deepest]) deepest = i;
      return deepest;
    }
    break;
  }
  SeparabilityThreshold(counts, &t);
  return t;
}

std::vector<size_t> ClassMinima(const std::vector<double>& histogram, double sigma) {
  std::vector<size_t> maxima, minima;
  size_t first = 0, last = histogram.size();
  while (first < last && histogram[first] == 0) ++first;
  while (last > first && histogram[last - 1] == 0) --last;
  if (first < last)
    HistogramExtrema(SmoothHistogram(histogram, sigma), first, last - 1, &maxima, &minima);
  return minima;
}

}  // namespace vexa
