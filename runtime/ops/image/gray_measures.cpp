#include "ops/image/gray_measures.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ops/common/pixel_dispatch.h"
#include "ops/image/gray_histogram.h"

namespace vexa {

GrayMoments GrayMoments::Of(const PixelBuffer& image, const DomainScan& scan) {
  GrayMoments m;
  bool first = true;
  DispatchPixelType(image.type(), [&](auto tag) {
    const auto* px = PixelsOf(image, tag);
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
      if (first) {
        m.r0 = r;
        m.c0 = cb;
        first = false;
      }
      const double dr = r - m.r0;
      // Per chord: sums over the run, then the row terms once.
      double g = 0, gg = 0, gc = 0, sc = 0, scc = 0;
      for (int32_t c = cb; c <= ce; ++c) {
        const double v = static_cast<double>(px[o + static_cast<size_t>(c - cb)]);
        const double dc = c - m.c0;
        g += v;
        gg += v * v;
        gc += v * dc;
        sc += dc;
        scc += dc * dc;
        lo = std::min(lo, v);
        hi = std::max(hi, v);
      }
      const double len = ce - cb + 1;
      m.n += len;
      m.g += g;
      m.gg += gg;
      m.r += dr * len;
      m.c += sc;
      m.rr += dr * dr * len;
      m.cc += scc;
      m.rc += dr * sc;
      m.gr += dr * g;
      m.gc += gc;
    });
    if (!first) {
      m.min = lo;
      m.max = hi;
    }
  });
  return m;
}

double GrayMoments::Mean() const { return n > 0 ? g / n : 0.0; }

double GrayMoments::Deviation() const {
  if (n <= 0) return 0.0;
  const double mean = g / n;
  return std::sqrt(std::max(0.0, gg / n - mean * mean));
}

void GrayMoments::Plane(double* alpha, double* beta, double* deviation) const {
  *alpha = *beta = *deviation = 0.0;
  if (n <= 0) return;
  // Central sums.
  const double mr = r / n, mc = c / n, mg = g / n;
  const double srr = rr - r * mr, scc = cc - c * mc, src = rc - r * mc;
  const double sgr = gr - g * mr, sgc = gc - g * mc, sgg = gg - g * mg;
  const double det = srr * scc - src * src;
  double a = 0, b = 0;
  if (std::fabs(det) > 1e-9 * std::max(1.0, srr * scc)) {
    a = (sgr * scc - sgc * src) / det;
    b = (sgc * srr - sgr * src) / det;
  } else if (srr > 0) {  // all pixels on one column: a slope along it only
    a = sgr / srr;
  } else if (scc > 0) {  // all pixels on one row
    b = sgc / scc;
  }
  *alpha = a;
  *beta = b;
  *deviation = std::sqrt(std::max(0.0, sgg - a * sgr - b * sgc) / n);
}

void GrayMoments::GrayCentre(double* volume, double* row, double* col) const {
  *volume = g;
  *row = *col = 0.0;
  if (g == 0) return;
  *row = r0 + gr / g;
  *col = c0 + gc / g;
}

std::vector<double> ScanValues(const PixelBuffer& image, const DomainScan& scan) {
  std::vector<double> values;
  values.reserve(static_cast<size_t>(scan.domain()->area()));
  DispatchPixelType(image.type(), [&](auto tag) {
    const auto* px = PixelsOf(image, tag);
    scan.ForEachRun([&](size_t o, size_t n) {
      for (size_t k = o; k < o + n; ++k) values.push_back(static_cast<double>(px[k]));
    });
  });
  return values;
}

void PercentileRange(std::vector<double>* values, double percent, double* lo,
                     double* hi) {
  *lo = *hi = 0.0;
  const size_t n = values->size();
  if (n == 0) return;
  size_t k = static_cast<size_t>(std::floor(static_cast<double>(n) * percent / 100.0));
  k = std::min(k, (n - 1) / 2);
  std::nth_element(values->begin(), values->begin() + static_cast<long>(k), values->end());
  *lo = (*values)[k];
  std::nth_element(values->begin() + static_cast<long>(k),
                   values->begin() + static_cast<long>(n - 1 - k), values->end());
  *hi = (*values)[n - 1 - k];
}

void GrayEntropy(const PixelBuffer& image, const DomainScan& scan,
                 double* entropy, double* anisotropy) {
  *entropy = *anisotropy = 0.0;
  const GrayHistogram h = ValueHistogram(image, scan);
  if (h.total == 0) return;
  const double total = static_cast<double>(h.total);
  double e = 0.0, dark = 0.0, share = 0.0;
  bool dark_done = false;
  for (int64_t count : h.counts) {
    if (count == 0) continue;
    const double p = static_cast<double>(count) / total;
    e -= p * std::log2(p);
    if (!dark_done) {
      dark -= p * std::log2(p);
      share += p;
      dark_done = share >= 0.5;
    }
  }
  *entropy = e;
  *anisotropy = e > 0 ? dark / e : 0.0;
}

}  // namespace vexa
