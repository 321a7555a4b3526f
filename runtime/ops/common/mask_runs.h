// Regions from pixel tests, built without a branch per pixel: each chord of
// the domain is turned into edge words (edge_words.h), and the runs are
// read off the columns of the words' edges, two a run. On noisy
// images, where runs are short and a test per pixel mispredicts often,
// this is several times faster than a scan that branches on every pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/edge_words.h"
#include "ops/common/pixel_blocks.h"

namespace vexa {

// The runs of one chord from its edge columns, two columns a run: the
// range the run list is extended by, so that each run is written once,
// straight into the list.
class ColumnPairs {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Chord;
  using difference_type = std::ptrdiff_t;
  using pointer = const Chord*;
  using reference = Chord;

  ColumnPairs(const int32_t* cols, int32_t r) : cols_(cols), r_(r) {}
  Chord operator*() const { return {r_, cols_[0], cols_[1] - 1}; }
  ColumnPairs& operator++() {
    cols_ += 2;
    return *this;
  }
  ColumnPairs operator++(int) {
    ColumnPairs old = *this;
    cols_ += 2;
    return old;
  }
  bool operator==(const ColumnPairs& o) const { return cols_ == o.cols_; }
  bool operator!=(const ColumnPairs& o) const { return cols_ != o.cols_; }

 private:
  const int32_t* cols_;
  int32_t r_;
};

// The runs of the pixels of `scan`, in canonical order, from the edge
// words of its chords: edges_of(offset, n, words) writes the
// EdgeWordCount(n) edge words of the chord of n pixels at buffer offset
// `offset` and returns its number of edges.
//
// Two passes: the first writes the edge words of every chord and counts
// the edges, so that the run list is allocated once at its final size (on
// a noisy image it holds millions of runs, and growing it by doubling
// costs copies and page faults); the second reads the runs off the words.
template <class EdgesOf>
std::vector<Chord> RunsOfEdges(const DomainScan& scan, EdgesOf&& edges_of) {
  const size_t num_chords = scan.full() ? static_cast<size_t>(scan.height())
                                        : scan.domain()->chords().size();
  const size_t max_words =
      num_chords + static_cast<size_t>(scan.domain()->area()) / kEdgeWordBits;
  // Uninitialised: every word that is read is written first.
  std::unique_ptr<uint64_t[]> words(new uint64_t[max_words]);
  uint64_t* next = words.get();
  size_t num_edges = 0;
  scan.ForEachChord([&](int32_t, int32_t cb, int32_t ce, size_t o) {
    const size_t n = static_cast<size_t>(ce - cb + 1);
    num_edges += edges_of(o, n, next);
    next += EdgeWordCount(n);
  });

  std::vector<Chord> runs;
  runs.reserve(num_edges / 2);
  std::vector<int32_t> cols(static_cast<size_t>(scan.width()) + 1 + kEdgeColumnSlack);
  const uint64_t* read = words.get();
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
    const size_t num_words = EdgeWordCount(static_cast<size_t>(ce - cb + 1));
    const size_t m = EdgeColumns(read, num_words, cb, cols.data());
    read += num_words;
    runs.insert(runs.end(), ColumnPairs(cols.data(), r), ColumnPairs(cols.data() + m, r));
  });
  return runs;
}

// The runs of the pixels of `scan` (a channel of T values) for which
// keep(value) holds, in canonical order. `keep` should be a plain
// comparison, so that the mask loop vectorises.
template <class T, class Keep>
std::vector<Chord> KeptRuns(const DomainScan& scan, const T* pixels, Keep&& keep) {
  std::vector<uint8_t> mask(static_cast<size_t>(scan.width()) + kEdgeWordBits);
  return RunsOfEdges(scan, [&](size_t o, size_t n, uint64_t* words) {
    // A local copy of the test: the mask's byte stores could alias the
    // caller's, which would reload its bounds on every pixel.
    const std::decay_t<Keep> test = keep;
    MapPixelBlocks(pixels + o, mask.data(), n,
                   [test](T v) -> uint8_t { return test(v) ? 0xFF : 0x00; });
    return MaskEdgeWords(mask.data(), n, words);
  });
}

// The runs of the byte pixels of `scan` with lo <= value <= hi, compared
// straight into edge words with no mask in between.
inline std::vector<Chord> ByteRangeRuns(const DomainScan& scan, const uint8_t* pixels,
                                        uint8_t lo, uint8_t hi) {
  return RunsOfEdges(scan, [&](size_t o, size_t n, uint64_t* words) {
    return ByteRangeEdgeWords(pixels + o, n, lo, hi, words);
  });
}

}  // namespace vexa
