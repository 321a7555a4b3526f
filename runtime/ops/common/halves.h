// Work over a domain done in two halves at once: the pixel loops that
// read a large image once (threshold, histograms, the pixel maps) are bound
// by memory bandwidth, which two cores share better than one uses.
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

// scan.ForEachRun(fn), in two halves at once where SplitPays(scan): a
// whole image is cut at its middle pixel (rounded down to a multiple of 64,
// so that both halves keep the vector alignment of the buffers), a partial
// domain at its middle chord. fn may then run on two threads at the same
// time, so it must only read shared data and write the pixels of the run
// it is given: the pixel maps, whose results lie at the offsets they read.
template <class Fn>
void ForEachRunInHalves(const DomainScan& scan, Fn&& fn) {
  if (!SplitPays(scan)) {
    scan.ForEachRun(fn);
    return;
  }
  if (scan.full()) {
    const size_t n = static_cast<size_t>(scan.width()) * static_cast<size_t>(scan.height());
    const size_t mid = (n / 2) & ~size_t{63};
    RunInParallel([&] { fn(size_t{0}, mid); }, [&] { fn(mid, n - mid); });
    return;
  }
  const auto runs = [&](size_t first, size_t last) {
    scan.ForEachChordIn(first, last, [&](int32_t, int32_t cb, int32_t ce, size_t offset) {
      fn(offset, static_cast<size_t>(ce - cb + 1));
    });
  };
  const size_t half = scan.NumChords() / 2;
  RunInParallel([&] { runs(0, half); }, [&] { runs(half, scan.NumChords()); });
}

}  // namespace vexa
