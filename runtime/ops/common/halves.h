// Work over a domain done in two halves at once: the pixel loops that
// read a large image once (threshold, histograms) are bound by memory
// bandwidth, which two cores share better than one uses.
#pragma once

#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>

#include "ops/common/domain_scan.h"

namespace vexa {

// Domains of at least this many pixels are split in two halves of their
// chords, done on two threads where the processor has them. Starting a
// thread costs tens of microseconds, and at a few instructions per pixel a
// million pixels take about 0.15 ms: the split pays from a few million
// pixels on.
constexpr size_t kSplitPixels = size_t{1} << 22;

// f0() here and f1() on a thread of its own (here as well when no thread
// can be started); an exception of either is thrown after both are done.
template <class F0, class F1>
void RunInParallel(F0&& f0, F1&& f1) {
  std::exception_ptr failure;
  std::thread other;
  try {
    other = std::thread([&] {
      try {
        f1();
      } catch (...) {
        failure = std::current_exception();
      }
    });
  } catch (const std::system_error&) {
    f1();
  }
  std::exception_ptr own;
  try {
    f0();
  } catch (...) {
    own = std::current_exception();
  }
  if (other.joinable()) other.join();
  if (own) std::rethrow_exception(own);
  if (failure) std::rethrow_exception(failure);
}

// Whether `scan` is worth splitting: large enough, with two chords at
// least, on a processor with two threads at least.
inline bool SplitPays(const DomainScan& scan) {
  return scan.NumChords() >= 2 && static_cast<size_t>(scan.domain()->area()) >= kSplitPixels &&
         std::thread::hardware_concurrency() >= 2;
}

}  // namespace vexa
