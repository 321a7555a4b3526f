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

#include "bit_rows.h"
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

// The words of every chord of a scan, in chord order (the first pass of
// RunsOfEdges below), with the number of edges they hold; a large scan is
// written in two halves at once, each half keeping its own count.
struct ScanWords {
  struct Half {
    size_t first, last;  // chords
    size_t word_at;      // the first chord's first word
    size_t edges = 0;
    size_t run_at = 0;   // the first run's place in the list
  };
  BitWords words;
  Half halves[2];
  bool split = false;

  size_t edges() const { return halves[0].edges + halves[1].edges; }
};

// Writes the words of every chord of `scan`: words_of(offset, n, words)
// writes the EdgeWordCount(n) words of the chord of n pixels at buffer
// offset `offset` and returns its number of edges. With `may_split`
// (words_of then must be safe to call from two threads at once), a large
// scan is done in two halves at once.
template <class WordsOf>
ScanWords WriteScanWords(const DomainScan& scan, WordsOf&& words_of, bool may_split) {
  const size_t num_chords = scan.NumChords();
  ScanWords w;
  w.split = may_split && SplitPays(scan);
  const size_t middle = w.split ? num_chords / 2 : num_chords;
  size_t second_at = 0, total = 0;
  scan.ForEachChordIn(0, num_chords, [&](int32_t, int32_t cb, int32_t ce, size_t) {
    total += EdgeWordCount(static_cast<size_t>(ce - cb + 1));
  });
  scan.ForEachChordIn(0, middle, [&](int32_t, int32_t cb, int32_t ce, size_t) {
    second_at += EdgeWordCount(static_cast<size_t>(ce - cb + 1));
  });
  // Uninitialised: every word is written before it is read.
  w.words.resize(total);
  w.halves[0] = {0, middle, 0};
  w.halves[1] = {middle, num_chords, second_at};
  const auto write = [&](ScanWords::Half& h) {
    uint64_t* next = w.words.data() + h.word_at;
    scan.ForEachChordIn(h.first, h.last, [&](int32_t, int32_t cb, int32_t ce, size_t o) {
      const size_t n = static_cast<size_t>(ce - cb + 1);
      h.edges += words_of(o, n, next);
      next += EdgeWordCount(n);
    });
  };
  if (w.split) {
    RunInParallel([&] { write(w.halves[0]); }, [&] { write(w.halves[1]); });
  } else {
    write(w.halves[0]);
  }
  return w;
}

// The runs of the chords' words, in canonical order (the second pass of
// RunsOfEdges); with kPixelWords the words hold test bits, which are
// turned into edge words a chord at a time.
template <bool kPixelWords>
std::vector<Chord> ReadScanRuns(const DomainScan& scan, ScanWords& w) {
  // Chord leaves its coordinates unset, so sizing the list writes nothing.
  std::vector<Chord> runs(w.edges() / 2);
  w.halves[1].run_at = w.halves[0].edges / 2;
  // Each chord's runs are made in a small buffer that stays in the cache,
  // with room for the vector stores past its last run, and copied into
  // the list. The runs are placed in the buffer at the same offset within
  // a cache line as their place in the list, which lets the copy move
  // whole lines (copies between different offsets ran at less than half
  // the speed).
  const size_t width = static_cast<size_t>(scan.width());
  const auto read_runs = [&](ScanWords::Half& h) {
    std::vector<int32_t> cols(width + 1 + kEdgeColumnSlack);
    std::unique_ptr<Chord[]> chord_runs(new Chord[kLineChords + width / 2 + 1 + kEdgeRunSlack]);
    std::vector<uint64_t> edges(kPixelWords ? EdgeWordCount(width) : 0);
    const uint64_t* read = w.words.data() + h.word_at;
    Chord* to = runs.data() + h.run_at;
    scan.ForEachChordIn(h.first, h.last, [&](int32_t r, int32_t cb, int32_t ce, size_t) {
      const size_t num_words = EdgeWordCount(static_cast<size_t>(ce - cb + 1));
      const uint64_t* chord_edges = read;
      if constexpr (kPixelWords) {
        uint64_t before = 0;
        for (size_t i = 0; i < num_words; ++i) edges[i] = EdgesOfPixels(read[i], &before);
        chord_edges = edges.data();
      }
      Chord* stage = AlignedLike(chord_runs.get(), to);
      const size_t m = EdgeRuns(chord_edges, num_words, r, cb, cols.data(), stage);
      read += num_words;
      // A chord without runs copies nothing (and an empty list has no
      // storage to copy to).
      if (m == 0) return;
      std::memcpy(static_cast<void*>(to), stage, m * sizeof(Chord));
      to += m;
    });
  };
  if (w.split) {
    RunInParallel([&] { read_runs(w.halves[0]); }, [&] { read_runs(w.halves[1]); });
  } else {
    read_runs(w.halves[0]);
  }
  return runs;
}

// The runs of the pixels of `scan`, in canonical order, from the edge
// words of its chords: edges_of(offset, n, words) writes the
// EdgeWordCount(n) edge words of the chord of n pixels at buffer offset
// `offset` and returns its number of edges (may_split: as for
// WriteScanWords).
//
// Two passes: the first writes the edge words of every chord and counts
// the edges, so that the run list is sized once, exactly (on a noisy
// image it holds millions of runs, and growing it by doubling costs
// copies and page faults); the second reads the runs off the words, each
// half into its own stretch of the list.
template <class EdgesOf>
std::vector<Chord> RunsOfEdges(const DomainScan& scan, EdgesOf&& edges_of, bool may_split = false) {
  ScanWords w = WriteScanWords(scan, edges_of, may_split);
  return ReadScanRuns<false>(scan, w);
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

// The region of the byte pixels of `scan` with lo <= value <= hi,
// compared straight into words with no mask in between. Over a whole
// image, the words are the region's pixels as bit rows; where the region
// has so many runs that its chords would take more room than the words
// (more than one run per 96 pixels), the region keeps them as its plane.
inline RegionPtr ByteRangeRegion(const DomainScan& scan, const uint8_t* pixels, uint8_t lo,
                                 uint8_t hi) {
  if (!scan.full()) {
    return Region::FromCanonicalChords(RunsOfEdges(
        scan,
        [&](size_t o, size_t n, uint64_t* words) {
          return ByteRangeEdgeWords(pixels + o, n, lo, hi, words);
        },
        true));
  }
  ScanWords w = WriteScanWords(
      scan,
      [&](size_t o, size_t n, uint64_t* words) {
        return ByteRangePixelWords(pixels + o, n, lo, hi, words);
      },
      true);
  if (RunsOutweighWords(static_cast<int64_t>(w.edges() / 2), w.words.size())) {
    // A whole image's chords are its rows, each of the same number of
    // words: the layout of a plane over the image's columns.
    const int64_t words_per_row = static_cast<int64_t>(EdgeWordCount(static_cast<size_t>(scan.width())));
    return Region::FromPixelPlane(BitRows(0, scan.height(), 0, words_per_row, std::move(w.words)));
  }
  return Region::FromCanonicalChords(ReadScanRuns<true>(scan, w));
}

}  // namespace vexa
