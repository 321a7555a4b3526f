// Histograms of the gray values of integer images over a domain: the
// common base of the histogram, entropy and histogram-threshold operators.
//
// One bin per value of the type: 256 for byte, direction, cyclic and int1,
// 65536 for int2 and uint2. Bin i holds the value i + offset (offset -128
// for int1, -32768 for int2, 0 otherwise). Wider types and real images have
// no such histogram (gray_histo_range bins them).
#pragma once

#include <cstdint>
#include <vector>

#include "image_store.h"
#include "ops/common/domain_scan.h"

namespace vexa {

struct GrayHistogram {
  std::vector<int64_t> counts;
  int32_t offset = 0;  // gray value of bin 0
  int64_t total = 0;   // pixels counted
};

// False for a type without one bin per value.
bool HasValueHistogram(PixelType type);
// The histogram of `image` over `scan`; the type must pass HasValueHistogram.
GrayHistogram ValueHistogram(const PixelBuffer& image, const DomainScan& scan);

}  // namespace vexa
