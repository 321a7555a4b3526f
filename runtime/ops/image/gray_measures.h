// Gray-value measures of one region of an image (the region's pixels that
// lie in the image's domain, first channel): the values behind intensity,
// area_center_gray, plane_deviation, min_max_gray, entropy_gray,
// gray_features and select_gray. An empty region measures 0 throughout.
#pragma once

#include <cstdint>
#include <vector>

#include "image_store.h"
#include "ops/common/domain_scan.h"

namespace vexa {

// Sums over the pixels of one pass, with coordinates taken relative to the
// first pixel's row and column so that the sums stay small and exact.
struct GrayMoments {
  double n = 0;
  double g = 0, gg = 0;               // gray values
  double r = 0, c = 0;                // coordinates
  double rr = 0, cc = 0, rc = 0;
  double gr = 0, gc = 0;              // gray-weighted coordinates
  double min = 0, max = 0;
  int32_t r0 = 0, c0 = 0;             // origin of the coordinates

  static GrayMoments Of(const PixelBuffer& image, const DomainScan& scan);

  double Mean() const;
  double Deviation() const;           // sqrt(sum (g - mean)^2 / n)
  // Least-squares plane g = alpha (r - row) + beta (c - col) + mean:
  // its slopes and the deviation of the pixels from it.
  void Plane(double* alpha, double* beta, double* deviation) const;
  // Sum of the gray values and the gray-weighted centre (0, 0 for a sum 0).
  void GrayCentre(double* volume, double* row, double* col) const;
};

// The domain values of the scan, in no particular order.
std::vector<double> ScanValues(const PixelBuffer& image, const DomainScan& scan);

// The values below which and above which `percent` percent of `values` lie
// (0 gives the extremes, 50 the median); reorders `values`.
void PercentileRange(std::vector<double>* values, double percent, double* lo,
                     double* hi);

// Entropy of the gray values in bits, and the share of it that the darker
// half of the pixels carries (anisotropy). Needs a value histogram type.
void GrayEntropy(const PixelBuffer& image, const DomainScan& scan,
                 double* entropy, double* anisotropy);

}  // namespace vexa
