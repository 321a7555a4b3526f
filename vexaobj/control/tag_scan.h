// Scans of the type tags of an array of control values, the question every
// tuple loop asks before it runs a typed path ("all integers?") and every
// release asks before it frees ("any strings?"). Each entry is 16 bytes
// with its tag in the third 32-bit word; with SSE2 one 128-bit load per
// entry brings the tag, and the tags are combined in that lane only, so
// the loop does two or three vector operations per entry instead of a
// load, a compare and a branch.
#ifndef VEXAOBJ_CONTROL_TAG_SCAN_H
#define VEXAOBJ_CONTROL_TAG_SCAN_H

#include <stddef.h>
#include <stdint.h>

#if defined(__SSE2__) && defined(__x86_64__)
#include <immintrin.h>
// Whole entries are loaded into one SSE2 register each.
#define VEXAOBJ_ENTRY_VECTORS 1
#endif

#include <vexa/types.h>
#include <vexaobj/VCtrlVal.h>

namespace Vexa {
namespace internal {

#if VEXAOBJ_ENTRY_VECTORS
// Whether the processor has AVX2, so that the hot loops over entries may
// take two entries per register: their AVX2 forms are functions of their
// own (intrinsics compile only in functions built for the instruction
// set), chosen by this flag, which is read once at load.
inline const bool kEntryPairs = [] {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0;
}();

inline __m128i LoadEntry(const VCtrlVal* v) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(v));
}

// The third 32-bit word of `v`: the tag lane of an entry.
inline uint32_t TagLane(__m128i v) {
  return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(v, _MM_SHUFFLE(2, 2, 2, 2))));
}

// `differences` or'ed with the differences of the entries `a` and `b` from
// `tag_lane` (a type in the tag lane, zeros elsewhere): TagLane of the
// result stays zero while every entry has that type.
inline __m128i WithTagDifferences(__m128i differences, __m128i a, __m128i b, __m128i tag_lane) {
  return _mm_or_si128(differences,
                      _mm_or_si128(_mm_xor_si128(a, tag_lane), _mm_xor_si128(b, tag_lane)));
}
#endif

// The tags of `count` entries from `v`, each exclusive-or'ed with `flip`,
// or'ed together: zero exactly when every tag equals `flip`; with `flip`
// 0, the union of the tags (they are single bits). The entries are read
// upward when kUp, else downward, so that a caller's walk through memory
// stays one direction for the processor's prefetching.

template <bool kUp>
inline uint32_t CombinedTags(const VCtrlVal* v, Vlong count, int32_t flip) {
  static_assert(offsetof(Vcpar, type) == 8, "the tag is the third 32-bit word of an entry");
  const auto at = [&](Vlong k) { return kUp ? v + k : v + (count - 1 - k); };
  Vlong k = 0;
  uint32_t combined = 0;
#if VEXAOBJ_ENTRY_VECTORS
  const __m128i pattern = _mm_set_epi32(0, flip, 0, 0);
  __m128i acc0 = _mm_setzero_si128();
  __m128i acc1 = acc0;
  for (; k + 2 <= count; k += 2) {
    const __m128i e0 = LoadEntry(at(k));
    const __m128i e1 = LoadEntry(at(k + 1));
    acc0 = _mm_or_si128(acc0, _mm_xor_si128(e0, pattern));
    acc1 = _mm_or_si128(acc1, _mm_xor_si128(e1, pattern));
  }
  combined = TagLane(_mm_or_si128(acc0, acc1));
#endif
  for (; k < count; ++k) combined |= static_cast<uint32_t>(at(k)->ValType() ^ flip);
  return combined;
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_TAG_SCAN_H
