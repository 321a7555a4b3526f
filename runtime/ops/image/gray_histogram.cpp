// Value histograms of 8- and 16-bit images. Four partial histograms are
// filled in turn, so that runs of equal pixels do not stall on one counter,
// and added at the end.
#include "ops/image/gray_histogram.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "ops/common/pixel_dispatch.h"

namespace vexa {

bool HasValueHistogram(PixelType type) {
  return IsIntegerPixel(type) && PixelSize(type) <= 2;
}

GrayHistogram ValueHistogram(const PixelBuffer& image, const DomainScan& scan) {
  GrayHistogram h;
  DispatchPixelType(image.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    if constexpr (std::is_integral<T>::value && sizeof(T) <= 2) {
      using U = std::make_unsigned_t<T>;
      constexpr size_t kBins = size_t{1} << (8 * sizeof(T));
      // Signed values index through their unsigned pattern, shifted by
      // half the range so that bin 0 is the smallest value.
      constexpr U kFlip = std::is_signed<T>::value ? static_cast<U>(kBins / 2) : 0;
      std::array<std::vector<uint32_t>, 4> part;
      for (auto& p : part) p.assign(kBins, 0);
      const T* px = PixelsOf(image, tag);
      int64_t total = 0;
      std::vector<int64_t> counts(kBins, 0);
      auto flush = [&] {
        for (size_t i = 0; i < kBins; ++i) {
          counts[i] += int64_t{part[0][i]} + part[1][i] + part[2][i] + part[3][i];
          part[0][i] = part[1][i] = part[2][i] = part[3][i] = 0;
        }
      };
      // The 32-bit partial counters are flushed before they could overflow.
      constexpr size_t kFlushEvery = size_t{1} << 31;
      size_t since_flush = 0;
      scan.ForEachRun([&](size_t o, size_t n) {
        total += static_cast<int64_t>(n);
        while (n > 0) {
          const size_t m = std::min(n, kFlushEvery - since_flush);
          const T* p = px + o;
          size_t k = 0;
          if constexpr (sizeof(T) == 1) {
            // Eight byte pixels per load, taken apart by shifts: half the
            // loads of the loop below.
            constexpr uint64_t kFlip8 = uint64_t{kFlip} * 0x0101010101010101ull;
            uint32_t* h0 = part[0].data();
            uint32_t* h1 = part[1].data();
            uint32_t* h2 = part[2].data();
            uint32_t* h3 = part[3].data();
            for (; k + 8 <= m; k += 8) {
              uint64_t x;
              std::memcpy(&x, p + k, 8);
              x ^= kFlip8;
              ++h0[x & 0xFF];
              ++h1[(x >> 8) & 0xFF];
              ++h2[(x >> 16) & 0xFF];
              ++h3[(x >> 24) & 0xFF];
              ++h0[(x >> 32) & 0xFF];
              ++h1[(x >> 40) & 0xFF];
              ++h2[(x >> 48) & 0xFF];
              ++h3[x >> 56];
            }
          }
          for (; k + 4 <= m; k += 4) {
            ++part[0][static_cast<U>(static_cast<U>(p[k]) ^ kFlip)];
            ++part[1][static_cast<U>(static_cast<U>(p[k + 1]) ^ kFlip)];
            ++part[2][static_cast<U>(static_cast<U>(p[k + 2]) ^ kFlip)];
            ++part[3][static_cast<U>(static_cast<U>(p[k + 3]) ^ kFlip)];
          }
          for (; k < m; ++k) ++part[0][static_cast<U>(static_cast<U>(p[k]) ^ kFlip)];
          o += m;
          n -= m;
          since_flush += m;
          if (since_flush == kFlushEvery) {
            flush();
            since_flush = 0;
          }
        }
      });
      flush();
      h.counts = std::move(counts);
      h.offset = std::is_signed<T>::value ? -static_cast<int32_t>(kBins / 2) : 0;
      h.total = total;
    }
  });
  return h;
}

}  // namespace vexa
