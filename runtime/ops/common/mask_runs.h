// Regions from pixel tests, built without a branch per pixel: each chord of
// the domain is turned into edge words (edge_words.h), and the runs are
// read off the columns of the words' edges, two a run. On noisy
// images, where runs are short and a test per pixel mispredicts often,
// this is several times faster than a scan that branches on every pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/edge_words.h"
#include "ops/common/halves.h"
#include "ops/common/pixel_blocks.h"

namespace vexa {

constexpr size_t kCacheLine = 64;
// Runs that fit in a cache line, rounded up.
constexpr size_t kLineChords = (kCacheLine + sizeof(Chord) - 1) / sizeof(Chord);

// The first place in `buffer` at the same offset within a cache line as
// `like`; buffer needs kLineChords chords of room in front for it.
inline Chord* AlignedLike(Chord* buffer, const Chord* like) {
  const uintptr_t from = reinterpret_cast<uintptr_t>(buffer);
  const uintptr_t to = reinterpret_cast<uintptr_t>(like);
  return reinterpret_cast<Chord*>(from + ((to - from) & (kCacheLine - 1)));
}

// The runs of the pixels of `scan`, in canonical order, from the edge
// words of its chords: edges_of(offset, n, words) writes the
// EdgeWordCount(n) edge words of the chord of n pixels at buffer offset
// `offset` and returns its number of edges. With `may_split` (edges_of
// then must be safe to call from two threads at once), a large scan is
// done in two halves at once.
//
// Two passes: the first writes the edge words of every chord and counts
// the edges, so that the run list is sized once, exactly (on a noisy
// image it holds millions of runs, and growing it by doubling costs
// copies and page faults); the second reads the runs off the words, each
// half into its own stretch of the list.
template <class EdgesOf>
std::vector<Chord> RunsOfEdges(const DomainScan& scan, EdgesOf&& edges_of, bool may_split = false) {
  const size_t num_chords = scan.NumChords();
  const size_t max_words =
      num_chords + static_cast<size_t>(scan.domain()->area()) / kEdgeWordBits;
  // Uninitialised: every word that is read is written first.
  std::unique_ptr<uint64_t[]> words(new uint64_t[max_words]);

  struct Half {
    size_t first, last;   // chords
    uint64_t* words;      // the first chord's edge words
    size_t edges = 0;
    size_t run_at = 0;    // the first run's place in the list
  };
  const bool split = may_split && SplitPays(scan);
  const size_t middle = split ? num_chords / 2 : num_chords;
  Half halves[2] = {{0, middle, words.get()}, {middle, num_chords, words.get()}};
  scan.ForEachChordIn(0, middle, [&](int32_t, int32_t cb, int32_t ce, size_t) {
    halves[1].words += EdgeWordCount(static_cast<size_t>(ce - cb + 1));
  });

  const auto count_edges = [&](Half& h) {
    uint64_t* next = h.words;
    scan.ForEachChordIn(h.first, h.last, [&](int32_t, int32_t cb, int32_t ce, size_t o) {
      const size_t n = static_cast<size_t>(ce - cb + 1);
      h.edges += edges_of(o, n, next);
      next += EdgeWordCount(n);
    });
  };
  if (split) {
    RunInParallel([&] { count_edges(halves[0]); }, [&] { count_edges(halves[1]); });
  } else {
    count_edges(halves[0]);
  }

  // Chord leaves its coordinates unset, so sizing the list writes nothing.
  std::vector<Chord> runs((halves[0].edges + halves[1].edges) / 2);
  halves[1].run_at = halves[0].edges / 2;
  // Each chord's runs are made in a small buffer that stays in the cache,
  // with room for the vector stores past its last run, and copied into
  // the list. The runs are placed in the buffer at the same offset within
  // a cache line as their place in the list, which lets the copy move
  // whole lines (copies between different offsets ran at less than half
  // the speed).
  const size_t width = static_cast<size_t>(scan.width());
  const auto read_runs = [&](Half& h) {
    std::vector<int32_t> cols(width + 1 + kEdgeColumnSlack);
    std::unique_ptr<Chord[]> chord_runs(new Chord[kLineChords + width / 2 + 1 + kEdgeRunSlack]);
    const uint64_t* read = h.words;
    Chord* to = runs.data() + h.run_at;
    scan.ForEachChordIn(h.first, h.last, [&](int32_t r, int32_t cb, int32_t ce, size_t) {
      const size_t num_words = EdgeWordCount(static_cast<size_t>(ce - cb + 1));
      Chord* stage = AlignedLike(chord_runs.get(), to);
      const size_t m = EdgeRuns(read, num_words, r, cb, cols.data(), stage);
      read += num_words;
      // A chord without runs copies nothing (and an empty list has no
      // storage to copy to).
      if (m == 0) return;
      std::memcpy(static_cast<void*>(to), stage, m * sizeof(Chord));
      to += m;
    });
  };
  if (split) {
    RunInParallel([&] { read_runs(halves[0]); }, [&] { read_runs(halves[1]); });
  } else {
    read_runs(halves[0]);
  }
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
  return RunsOfEdges(
      scan,
      [&](size_t o, size_t n, uint64_t* words) {
        return ByteRangeEdgeWords(pixels + o, n, lo, hi, words);
      },
      true);
}

}  // namespace vexa
