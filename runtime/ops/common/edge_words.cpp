// Edge-word kernels in three forms: AVX-512BW, AVX2 and the baseline
// (SSE2), each form with the bit count and bit scan it can use. The form is
// picked once, from what the processor reports (tests pick the others).
// The kernels use intrinsics, which only compile in functions built for
// their instruction set, so each form is its own function; the parts they
// share are inline helpers compiled into each of them.
#include "ops/common/edge_words.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vexa {
namespace {

using Isa = EdgeKernelForm;

Isa DetectIsa() {
#if defined(__x86_64__)
  __builtin_cpu_init();
  const bool bit_ops = __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("bmi");
  if (bit_ops && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi2"))
    return Isa::kAvx512;
  if (bit_ops && __builtin_cpu_supports("avx2")) return Isa::kAvx2;
#endif
  return Isa::kBaseline;
}

const Isa kBestIsa = DetectIsa();
Isa used_isa = kBestIsa;  // changed by tests only

// The number of set bits: the popcnt instruction where the form has it;
// otherwise a few arithmetic steps, as the builtin would be a library call.
template <bool kPopcnt>
inline __attribute__((always_inline)) size_t CountBits(uint64_t x) {
  if constexpr (kPopcnt) {
    return static_cast<size_t>(__builtin_popcountll(x));
  } else {
    x -= (x >> 1) & 0x5555555555555555ull;
    x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
    x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<size_t>((x * 0x0101010101010101ull) >> 56);
  }
}

// Turns words of test bits, in order along a chord, into edge words and
// counts the edges; with kPixels it stores the test bits themselves.
template <bool kPopcnt, bool kPixels = false>
class EdgeWriter {
 public:
  explicit EdgeWriter(uint64_t* words) : out_(words) {}

  inline __attribute__((always_inline)) void Put(uint64_t bits) {
    const uint64_t e = bits ^ ((bits << 1) | carry_);
    carry_ = bits >> 63;
    count_ += CountBits<kPopcnt>(e);
    *out_++ = kPixels ? bits : e;
  }
  size_t count() const { return count_; }

 private:
  uint64_t* out_;
  uint64_t carry_ = 0;  // the test bit of the pixel before the next word
  size_t count_ = 0;
};

// Bit j = top bit of mask byte j, for 64 mask bytes.
inline uint64_t PackMask64(const uint8_t* mask) {
#if defined(__SSE2__)
  uint64_t bits = 0;
  for (int q = 0; q < 4; ++q) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + 16 * q));
    bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(v))) << (16 * q);
  }
  return bits;
#else
  uint64_t bits = 0;
  for (int j = 0; j < 64; ++j) bits |= static_cast<uint64_t>(mask[j] >> 7) << j;
  return bits;
#endif
}

template <bool kPopcnt>
inline __attribute__((always_inline)) size_t MaskWords(uint8_t* mask, size_t n,
                                                       uint64_t* words) {
  const size_t end = EdgeWordCount(n) * kEdgeWordBits;
  std::memset(mask + n, 0, end - n);
  EdgeWriter<kPopcnt> out(words);
  for (size_t k = 0; k < end; k += kEdgeWordBits) out.Put(PackMask64(mask + k));
  return out.count();
}

// The byte test lo <= v <= hi is one unsigned comparison, v - lo <= span
// with span = hi - lo: v - lo wraps above span for every v below lo.

// Test bits of the last n < 64 pixels of a chord; the bits past them (the
// closing pixel included) are clear.
inline uint64_t RangeTailBits(const uint8_t* p, size_t n, uint8_t lo, uint8_t span) {
  uint64_t bits = 0;
  for (size_t j = 0; j < n; ++j)
    bits |= static_cast<uint64_t>(static_cast<uint8_t>(p[j] - lo) <= span) << j;
  return bits;
}

// The body of a range kernel: the chord's edge words from bits64(p), the
// test bits of the 64 pixels at p, for its whole words and RangeTailBits for
// the rest. A macro, not a template taking bits64: a function object
// would not inherit the kernel's instruction set.
#define VEXA_RANGE_EDGE_WORDS(kPopcnt, bits64)                       \
  EdgeWriter<kPopcnt, kPixels> out(words);                           \
  size_t k = 0;                                                      \
  for (; k + kEdgeWordBits <= n; k += kEdgeWordBits) out.Put(bits64(p + k)); \
  out.Put(RangeTailBits(p + k, n - k, lo, span));                    \
  return out.count()

// Test bits of 64 pixels, one function per instruction set.
#if defined(__SSE2__)
inline uint64_t RangeBitsSse2(const uint8_t* q, __m128i lo, __m128i span) {
  uint64_t bits = 0;
  for (int i = 0; i < 4; ++i) {
    const __m128i d =
        _mm_sub_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(q + 16 * i)), lo);
    const __m128i in = _mm_cmpeq_epi8(_mm_min_epu8(d, span), d);
    bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(in))) << (16 * i);
  }
  return bits;
}
#endif

#if defined(__x86_64__)
__attribute__((target("avx2"), always_inline)) inline uint64_t RangeBitsAvx2(
    const uint8_t* q, __m256i lo, __m256i span) {
  uint64_t bits = 0;
  for (int i = 0; i < 2; ++i) {
    const __m256i d =
        _mm256_sub_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(q + 32 * i)), lo);
    const __m256i in = _mm256_cmpeq_epi8(_mm256_min_epu8(d, span), d);
    bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(in))) << (32 * i);
  }
  return bits;
}

__attribute__((target("avx512f,avx512bw"), always_inline)) inline uint64_t RangeBitsAvx512(
    const uint8_t* q, __m512i lo, __m512i span) {
  return _mm512_cmple_epu8_mask(_mm512_sub_epi8(_mm512_loadu_si512(q), lo), span);
}
#endif

template <bool kPixels>
size_t RangeWordsBaseline(const uint8_t* p, size_t n, uint8_t lo, uint8_t span,
                          uint64_t* words) {
#if defined(__SSE2__)
  const __m128i vlo = _mm_set1_epi8(static_cast<char>(lo));
  const __m128i vspan = _mm_set1_epi8(static_cast<char>(span));
#define VEXA_BITS64(q) RangeBitsSse2(q, vlo, vspan)
#else
#define VEXA_BITS64(q) RangeTailBits(q, kEdgeWordBits, lo, span)
#endif
  VEXA_RANGE_EDGE_WORDS(false, VEXA_BITS64);
#undef VEXA_BITS64
}

#if defined(__x86_64__)
template <bool kPixels>
__attribute__((target("avx2,popcnt,bmi"))) size_t RangeWordsAvx2(
    const uint8_t* p, size_t n, uint8_t lo, uint8_t span, uint64_t* words) {
  const __m256i vlo = _mm256_set1_epi8(static_cast<char>(lo));
  const __m256i vspan = _mm256_set1_epi8(static_cast<char>(span));
#define VEXA_BITS64(q) RangeBitsAvx2(q, vlo, vspan)
  VEXA_RANGE_EDGE_WORDS(true, VEXA_BITS64);
#undef VEXA_BITS64
}

template <bool kPixels>
__attribute__((target("avx512f,avx512bw,popcnt,bmi"))) size_t RangeWordsAvx512(
    const uint8_t* p, size_t n, uint8_t lo, uint8_t span, uint64_t* words) {
  const __m512i vlo = _mm512_set1_epi8(static_cast<char>(lo));
  const __m512i vspan = _mm512_set1_epi8(static_cast<char>(span));
#define VEXA_BITS64(q) RangeBitsAvx512(q, vlo, vspan)
  VEXA_RANGE_EDGE_WORDS(true, VEXA_BITS64);
#undef VEXA_BITS64
}
#endif

#undef VEXA_RANGE_EDGE_WORDS

// The edge decoder. Each word's edge columns are written eight at a time,
// whether or not the word has that many edges: the columns past the word's
// last edge land in the slack and are overwritten by the next word's. This
// leaves one branch per eight edges instead of one per edge, which on a
// noisy image mispredicts at almost every word.
template <bool kPopcnt>
inline __attribute__((always_inline)) size_t DecodeColumns(const uint64_t* words,
                                                           size_t num_words, int32_t cb,
                                                           int32_t* cols) {
  size_t m = 0;
  int32_t base = cb;
  for (size_t i = 0; i < num_words; ++i, base += static_cast<int32_t>(kEdgeWordBits)) {
    uint64_t e = words[i];
    if (e == 0) continue;
    int32_t* out = cols + m;
    m += CountBits<kPopcnt>(e);
    do {
      // The top bit keeps the scan defined once e is used up; it only
      // changes the columns that land in the slack.
#pragma GCC unroll 8
      for (int j = 0; j < 8; ++j) {
        out[j] = base + __builtin_ctzll(e | (uint64_t{1} << 63));
        e &= e - 1;
      }
      out += 8;
    } while (e != 0);
  }
  return m;
}

// Runs from edge columns, two a run: the first column and one past the
// last. The vector forms below write whole vectors of runs, past the last
// run into the slack.
inline void PairColumns(const int32_t* cols, size_t num_runs, int32_t r, Chord* runs) {
  for (size_t k = 0; k < num_runs; ++k) runs[k] = {r, cols[2 * k], cols[2 * k + 1] - 1};
}

#if defined(__x86_64__)
// Four runs from eight columns at a time, as eight and four ints: each
// vector permutes the columns into place (the ends less one) and blends in
// the row.
__attribute__((target("avx2"), always_inline)) inline void PairColumnsAvx2(
    const int32_t* cols, size_t num_runs, int32_t r, Chord* runs) {
  const __m256i row = _mm256_set1_epi32(r);
  const __m256i ends = _mm256_setr_epi32(0, 1, 0, 1, 0, 1, 0, 1);
  const __m256i first = _mm256_setr_epi32(0, 0, 1, 0, 2, 3, 0, 4);
  const __m256i second = _mm256_setr_epi32(5, 0, 6, 7, 0, 0, 0, 0);
  int32_t* out = reinterpret_cast<int32_t*>(runs);
  for (size_t k = 0; k < num_runs; k += 4, cols += 8, out += 12) {
    const __m256i c = _mm256_sub_epi32(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cols)), ends);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_blend_epi32(_mm256_permutevar8x32_epi32(c, first), row, 0x49));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8),
                     _mm256_castsi256_si128(_mm256_blend_epi32(
                         _mm256_permutevar8x32_epi32(c, second), row, 0x02)));
  }
}

// Sixteen runs from 32 columns at a time, as three vectors of 16 ints:
// each picks its columns from the two column vectors by one two-source
// permute and blends in the row.
__attribute__((target("avx512f"), always_inline)) inline void PairColumnsAvx512(
    const int32_t* cols, size_t num_runs, int32_t r, Chord* runs) {
  alignas(64) int32_t index[48];
  for (int j = 0; j < 48; ++j) index[j] = 2 * (j / 3) + (j % 3 == 2 ? 1 : 0);
  const __m512i pick0 = _mm512_load_si512(index);
  const __m512i pick1 = _mm512_load_si512(index + 16);
  const __m512i pick2 = _mm512_load_si512(index + 32);
  // Lanes of the row: every third int, from lane 0, 1 and 2 of the vectors.
  const __mmask16 row0 = 0x9249, row1 = 0x4924, row2 = 0x2492;
  const __m512i row = _mm512_set1_epi32(r);
  const __m512i ends = _mm512_set1_epi64(int64_t{1} << 32);
  int32_t* out = reinterpret_cast<int32_t*>(runs);
  for (size_t k = 0; k < num_runs; k += 16, cols += 32, out += 48) {
    const __m512i a = _mm512_sub_epi32(_mm512_loadu_si512(cols), ends);
    const __m512i b = _mm512_sub_epi32(_mm512_loadu_si512(cols + 16), ends);
    _mm512_storeu_si512(out, _mm512_mask_blend_epi32(
                                 row0, _mm512_permutex2var_epi32(a, pick0, b), row));
    _mm512_storeu_si512(out + 16, _mm512_mask_blend_epi32(
                                      row1, _mm512_permutex2var_epi32(a, pick1, b), row));
    _mm512_storeu_si512(out + 32, _mm512_mask_blend_epi32(
                                      row2, _mm512_permutex2var_epi32(a, pick2, b), row));
  }
}

// The AVX-512 decoder: the edge positions of a word are packed to the
// front of a vector by one compress instruction and widened to columns 16
// at a time (stores past the word's edges land in the slack, as above).
__attribute__((target("avx512f,avx512bw,avx512vbmi2,popcnt,bmi"), always_inline)) inline size_t
DecodeColumnsAvx512(const uint64_t* words, size_t num_words, int32_t cb, int32_t* cols) {
  alignas(64) uint8_t iota[64];
  for (int j = 0; j < 64; ++j) iota[j] = static_cast<uint8_t>(j);
  const __m512i positions = _mm512_load_si512(iota);
  size_t m = 0;
  for (size_t i = 0; i < num_words; ++i) {
    const uint64_t e = words[i];
    const __m512i packed = _mm512_maskz_compress_epi8(e, positions);
    const __m512i base = _mm512_set1_epi32(cb + static_cast<int32_t>(i * kEdgeWordBits));
    const size_t count = static_cast<size_t>(__builtin_popcountll(e));
    int32_t* out = cols + m;
    _mm512_storeu_si512(out, _mm512_add_epi32(
                                 _mm512_cvtepu8_epi32(_mm512_castsi512_si128(packed)), base));
    if (count > 16)
      _mm512_storeu_si512(out + 16, _mm512_add_epi32(_mm512_cvtepu8_epi32(
                                        _mm512_extracti32x4_epi32(packed, 1)), base));
    if (count > 32)
      _mm512_storeu_si512(out + 32, _mm512_add_epi32(_mm512_cvtepu8_epi32(
                                        _mm512_extracti32x4_epi32(packed, 2)), base));
    if (count > 48)
      _mm512_storeu_si512(out + 48, _mm512_add_epi32(_mm512_cvtepu8_epi32(
                                        _mm512_extracti32x4_epi32(packed, 3)), base));
    m += count;
  }
  return m;
}

__attribute__((target("avx512f,avx512bw,avx512vbmi2,popcnt,bmi"))) size_t RunsAvx512(
    const uint64_t* words, size_t num_words, int32_t r, int32_t cb, int32_t* cols,
    Chord* runs) {
  const size_t num_runs = DecodeColumnsAvx512(words, num_words, cb, cols) / 2;
  PairColumnsAvx512(cols, num_runs, r, runs);
  return num_runs;
}

__attribute__((target("avx2,popcnt,bmi"))) size_t RunsAvx2(const uint64_t* words,
                                                             size_t num_words, int32_t r,
                                                             int32_t cb, int32_t* cols,
                                                             Chord* runs) {
  const size_t num_runs = DecodeColumns<true>(words, num_words, cb, cols) / 2;
  PairColumnsAvx2(cols, num_runs, r, runs);
  return num_runs;
}

__attribute__((target("popcnt"))) size_t MaskWordsPopcnt(uint8_t* mask, size_t n,
                                                          uint64_t* words) {
  return MaskWords<true>(mask, n, words);
}
#endif

}  // namespace

size_t MaskEdgeWords(uint8_t* mask, size_t n, uint64_t* words) {
#if defined(__x86_64__)
  if (used_isa != Isa::kBaseline) return MaskWordsPopcnt(mask, n, words);
#endif
  return MaskWords<false>(mask, n, words);
}

namespace {

template <bool kPixels>
size_t RangeWords(const uint8_t* pixels, size_t n, uint8_t lo, uint8_t hi, uint64_t* words) {
  const uint8_t span = static_cast<uint8_t>(hi - lo);
#if defined(__x86_64__)
  if (used_isa == Isa::kAvx512) return RangeWordsAvx512<kPixels>(pixels, n, lo, span, words);
  if (used_isa == Isa::kAvx2) return RangeWordsAvx2<kPixels>(pixels, n, lo, span, words);
#endif
  return RangeWordsBaseline<kPixels>(pixels, n, lo, span, words);
}

}  // namespace

size_t ByteRangeEdgeWords(const uint8_t* pixels, size_t n, uint8_t lo, uint8_t hi,
                          uint64_t* words) {
  return RangeWords<false>(pixels, n, lo, hi, words);
}

size_t ByteRangePixelWords(const uint8_t* pixels, size_t n, uint8_t lo, uint8_t hi,
                           uint64_t* words) {
  return RangeWords<true>(pixels, n, lo, hi, words);
}

size_t EdgeRuns(const uint64_t* words, size_t num_words, int32_t r, int32_t cb,
                int32_t* cols, Chord* runs) {
#if defined(__x86_64__)
  if (used_isa == Isa::kAvx512) return RunsAvx512(words, num_words, r, cb, cols, runs);
  if (used_isa == Isa::kAvx2) return RunsAvx2(words, num_words, r, cb, cols, runs);
#endif
  const size_t num_runs = DecodeColumns<false>(words, num_words, cb, cols) / 2;
  PairColumns(cols, num_runs, r, runs);
  return num_runs;
}

EdgeKernelForm BestEdgeKernelForm() { return kBestIsa; }

void UseEdgeKernelForm(EdgeKernelForm form) { used_isa = form; }

}  // namespace vexa
