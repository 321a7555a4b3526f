// Value histograms of 8- and 16-bit images. Several partial histograms
// are filled in turn, so that runs of equal pixels do not stall on one
// counter, and added at the end; a large domain is counted in two halves
// at once.
#include "ops/image/gray_histogram.h"

#include <algorithm>
#include <type_traits>

#include "ops/common/halves.h"
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
      // Pixels are counted by their unsigned bit pattern; signed values
      // move to their bins (bin 0 the smallest value) when the partial
      // counts are added up.
      constexpr size_t kFlip = std::is_signed<T>::value ? kBins / 2 : 0;
      // Partial histograms filled in turn: eight for bytes, whose tables
      // all fit in the first-level cache; four for 16-bit values.
      constexpr size_t kParts = sizeof(T) == 1 ? 8 : 4;
      const T* px = PixelsOf(image, tag);
      // The counts of the chords first .. last - 1 of the scan, added to
      // `counts`.
      const auto count = [&](size_t first, size_t last, std::vector<int64_t>* counts) {
        std::vector<uint32_t> part(kParts * kBins, 0);
        auto flush = [&] {
          for (size_t i = 0; i < kBins; ++i) {
            int64_t sum = 0;
            for (size_t j = 0; j < kParts; ++j) {
              sum += part[j * kBins + i];
              part[j * kBins + i] = 0;
            }
            (*counts)[i ^ kFlip] += sum;
          }
        };
        // The 32-bit partial counters are flushed before they could overflow.
        constexpr size_t kFlushEvery = size_t{1} << 31;
        size_t since_flush = 0;
        uint32_t* const tables = part.data();
        scan.ForEachChordIn(first, last, [&](int32_t, int32_t cb, int32_t ce, size_t o) {
          size_t n = static_cast<size_t>(ce - cb + 1);
          while (n > 0) {
            const size_t m = std::min(n, kFlushEvery - since_flush);
            const T* p = px + o;
            size_t k = 0;
            // One byte load and one increment per pixel: a byte taken apart
            // from a wider load costs more arithmetic than the load it saves.
            for (; k + kParts <= m; k += kParts) {
#pragma GCC unroll 8
              for (size_t j = 0; j < kParts; ++j) ++tables[j * kBins + static_cast<U>(p[k + j])];
            }
            for (; k < m; ++k) ++tables[static_cast<U>(p[k])];
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
      };
      std::vector<int64_t> counts(kBins, 0);
      const size_t chords = scan.NumChords();
      if (SplitPays(scan)) {
        std::vector<int64_t> second(kBins, 0);
        RunInParallel([&] { count(0, chords / 2, &counts); },
                      [&] { count(chords / 2, chords, &second); });
        for (size_t i = 0; i < kBins; ++i) counts[i] += second[i];
      } else {
        count(0, chords, &counts);
      }
      int64_t total = 0;
      for (int64_t c : counts) total += c;
      h.counts = std::move(counts);
      h.offset = std::is_signed<T>::value ? -static_cast<int32_t>(kBins / 2) : 0;
      h.total = total;
    }
  });
  return h;
}

}  // namespace vexa
