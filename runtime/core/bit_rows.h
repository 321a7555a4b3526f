// Regions as rows of packed bits: the form in which a region with very
// many runs is held (region_store.h), and the working form of the kernels
// that treat dense, fragmented regions 64 pixels at a time (bit_morph.h,
// bit_set_ops.h): when rows hold many runs, a pass over words costs less
// than a walk over runs.
//
// A plane covers rows row0..row0+rows-1 and a column frame starting at
// col0, `words` 64-bit words per row; bit j of row i is the pixel
// (row0 + i, col0 + j), held in word j / 64 at bit j % 64. The last bit of
// every row stays clear (frames are made one column wider than what they
// paint), so that each run ends inside its row and the column after a
// run's end always exists.
//
// Painting marks the first column of every run in one word buffer and
// the column after its last in another; the difference of the two, read as
// numbers with the borrow carried from word to word, is the row's pixels.
// Reading back finds the edges (bits that differ from their left
// neighbour) a word at a time. Neither depends on where runs lie relative
// to word boundaries, so neither mispredicts on fragmented rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "region_store.h"

namespace vexa {

using BitWord = uint64_t;
constexpr BitWord kAllBits = ~BitWord{0};

// Allocates words without clearing them: planes that are written in full
// before they are read skip a pass over their memory.
template <class T>
struct UninitAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitAllocator<U>;
  };
  UninitAllocator() = default;
  template <class U>
  UninitAllocator(const UninitAllocator<U>&) {}
  template <class U>
  void construct(U* p) {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};
using BitWords = std::vector<BitWord, UninitAllocator<BitWord>>;

struct BitRows {
  int64_t row0, rows, col0, words;
  BitWords bits;

  BitRows(int64_t r0, int64_t n, int64_t c0, int64_t w, BitWord fill)
      : row0(r0), rows(n), col0(c0), words(w),
        bits(static_cast<size_t>(n * w), fill) {}
  // A plane over words that the caller has written (n * w of them).
  BitRows(int64_t r0, int64_t n, int64_t c0, int64_t w, BitWords written)
      : row0(r0), rows(n), col0(c0), words(w), bits(std::move(written)) {}
  BitWord* Row(int64_t i) { return bits.data() + i * words; }
  const BitWord* Row(int64_t i) const { return bits.data() + i * words; }
  // Makes the plane rows r0..r0+n-1 of the same frame, every word `fill`
  // (n <= 0: no rows), reusing the storage.
  void Reset(int64_t r0, int64_t n, BitWord fill) {
    row0 = r0;
    rows = n > 0 ? n : 0;
    bits.assign(static_cast<size_t>(rows * words), fill);
  }
};

// Words per row for columns c1..c2 plus the clear column after them.
inline int64_t WordsFor(int64_t c1, int64_t c2) { return (c2 - c1 + 2 + 63) / 64; }

// Scratch for painting rows of up to `words` words.
struct RowMarks {
  explicit RowMarks(int64_t words)
      : starts(static_cast<size_t>(words)), ends(static_cast<size_t>(words)) {}
  std::vector<BitWord> starts, ends;
};

// Writes the pixels of the runs [begin, end) (canonical, all of one row)
// into the `words` words at out, bit 0 being column col0; runs are clipped
// to the frame (its last column excepted).
void PaintRow(const Chord* begin, const Chord* end, int64_t col0, int64_t words,
              RowMarks* marks, BitWord* out);

// The edges of one word of pixels; *before holds the previous word of the
// row (0 at its start) and is carried on.
inline BitWord EdgesOfPixels(BitWord pixels, BitWord* before) {
  const BitWord edges = pixels ^ ((pixels << 1) | (*before >> 63));
  *before = pixels;
  return edges;
}

// Bit count without relying on a popcount instruction (the build targets
// the baseline instruction set).
inline int64_t BitCount(BitWord x) {
  x = x - ((x >> 1) & 0x5555555555555555u);
  x = (x & 0x3333333333333333u) + ((x >> 2) & 0x3333333333333333u);
  x = (x + (x >> 4)) & 0x0f0f0f0f0f0f0f0fu;
  return static_cast<int64_t>((x * 0x0101010101010101u) >> 56);
}

// Sets the pixels of canonical chords in a plane, clipped to its frame
// (the last column excepted); rows without chords are left as they are.
void PaintChords(const Chord* begin, const Chord* end, BitRows* plane);

// Writes the runs of a plane of edges from *out on, as canonical chords;
// returns the position after the last one. The caller has room for them
// all (half the edges).
Chord* WriteChordsOfEdges(const BitRows& edges, Chord* out);

// Sets the pixels of the plane `src` in `dst` (a plane of any frame),
// clipped to dst's frame (its last column excepted); other pixels of dst
// are left as they are.
void PaintPlane(const BitRows& src, BitRows* dst);

// The smallest rectangle around the pixels of a plane; false when it has
// none.
bool PlaneBounds(const BitRows& pixels, int32_t* r1, int32_t* c1, int32_t* r2, int32_t* c2);

// Pixel count and the sums of the pixels' rows and columns of a plane,
// exact in integers (for the area and centre without the runs).
struct PlaneSums {
  int64_t area = 0;
  int64_t sum_rows = 0;
  int64_t sum_cols = 0;
};
PlaneSums SumsOfPixels(const BitRows& pixels);

// The runs of a plane of pixels as canonical chords; the plane is left
// as it is.
std::vector<Chord> ChordsOfPixels(const BitRows& pixels);

// Whether `runs` chords would take more room than `words` words of a plane
// (more than one run per 96 pixels of its frame): a region of that many
// runs is better held as the plane.
inline bool RunsOutweighWords(int64_t runs, size_t words) {
  return static_cast<size_t>(runs) * sizeof(Chord) > words * sizeof(BitWord);
}

// The region of the pixels of a plane: the plane itself where its runs
// outweigh its words, its chords otherwise.
RegionPtr RegionOfPixels(BitRows pixels);

}  // namespace vexa
