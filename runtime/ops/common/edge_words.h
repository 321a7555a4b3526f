// Kernels that turn a pixel test along one chord into edge words, and edge
// words into runs (mask_runs.h drives them over a domain).
//
// Bit j of edge word i is set where the test result of pixel 64 i + j
// differs from that of the pixel before it (the pixel before the chord
// counts as failing). A chord of n pixels has EdgeWordCount(n) words: the
// last one holds pixel n, which counts as failing, so that a run reaching
// the chord's end is closed by an edge as well. The edges thus come in
// pairs: the first and one past the last pixel of each run.
//
// The kernels are compiled for AVX-512 (with VBMI2), AVX2 and the
// baseline instruction set, and the processor's best form is chosen at
// load time: bit counts and bit scans are then single instructions, and 64
// pixels are compared by one or two vector instructions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "region_store.h"

namespace vexa {

constexpr size_t kEdgeWordBits = 64;

inline size_t EdgeWordCount(size_t n) { return n / kEdgeWordBits + 1; }

// The edge words of a chord of n mask bytes (0x00 fails, 0xFF passes),
// written to words; returns the number of edges. The mask must have room
// for EdgeWordCount(n) * 64 bytes; the bytes past n are overwritten.
size_t MaskEdgeWords(uint8_t* mask, size_t n, uint64_t* words);

// The edge words of n byte pixels under the test lo <= v <= hi, written
// to words; returns the number of edges.
size_t ByteRangeEdgeWords(const uint8_t* pixels, size_t n, uint8_t lo, uint8_t hi,
                          uint64_t* words);

// The same test, with the test bits themselves written to words (bit j of
// word i: pixel 64 i + j passes; the closing pixel and those past it are
// clear); returns the number of edges, as above.
size_t ByteRangePixelWords(const uint8_t* pixels, size_t n, uint8_t lo, uint8_t hi,
                           uint64_t* words);

// Room the run decoder may use past the edge columns of a chord in its
// column scratch, and past the runs it finds in its output.
constexpr size_t kEdgeColumnSlack = 32;
constexpr size_t kEdgeRunSlack = 16;

// The runs of a chord of n pixels in row r starting at column cb, from its
// num_words = EdgeWordCount(n) edge words, written to runs; returns their
// number. cols is scratch for the edge columns, with room for n + 1 +
// kEdgeColumnSlack; runs needs room for the runs plus kEdgeRunSlack.
size_t EdgeRuns(const uint64_t* words, size_t num_words, int32_t r, int32_t cb,
                int32_t* cols, Chord* runs);

// The instruction-set forms of the kernels. The processor's best form is
// used; tests switch to the others to check them on the same machine.
enum class EdgeKernelForm { kBaseline, kAvx2, kAvx512 };
EdgeKernelForm BestEdgeKernelForm();
// Uses `form` from now on (one the processor runs); not thread-safe.
void UseEdgeKernelForm(EdgeKernelForm form);

}  // namespace vexa
