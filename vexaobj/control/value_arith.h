// Arithmetic of two numbers, the common case of every element operation:
// integers with integers stay integers (wrapping, with the processor's
// division), everything else with a real is done in double. Inline, so
// that the tuple loops need no call for it; the string and failure cases
// are left to the VCtrlVal operators.
#ifndef VEXAOBJ_CONTROL_VALUE_ARITH_H
#define VEXAOBJ_CONTROL_VALUE_ARITH_H

#include <stdint.h>

#include "tag_scan.h"
#include "tuple_kernel.h"

namespace Vexa {
namespace internal {

enum class Arith { kAdd, kSub, kMul, kDiv, kMod };

template <Arith kOp>
inline Vlong LongArith(Vlong a, Vlong b) {
  // Sums, differences and products wrap in unsigned arithmetic. Division
  // and remainder run the processor's instruction as it stands: a zero
  // divisor, or the smallest Vlong over -1, is the processor's fault.
  const uint64_t ua = static_cast<uint64_t>(a);
  const uint64_t ub = static_cast<uint64_t>(b);
  switch (kOp) {
    case Arith::kAdd: return static_cast<Vlong>(ua + ub);
    case Arith::kSub: return static_cast<Vlong>(ua - ub);
    case Arith::kMul: return static_cast<Vlong>(ua * ub);
    case Arith::kDiv: return a / b;
    case Arith::kMod: return a % b;
  }
  return 0;
}

template <Arith kOp>
inline double RealArith(double a, double b) {
  switch (kOp) {
    case Arith::kAdd: return a + b;
    case Arith::kSub: return a - b;
    case Arith::kMul: return a * b;
    case Arith::kDiv: return a / b;
    case Arith::kMod: break;  // no real remainder: NumericArith declines
  }
  return 0.0;
}

#if VEXAOBJ_ENTRY_VECTORS
// Whether SameTypeBlock takes `kOp` on two operands of type `kType`: the
// operations that cannot fault on whatever bits a slot of another type
// holds (an integer division by such bits could).
template <Arith kOp, int kType>
constexpr bool kSameTypeOp =
    kType == VPAR_LONG ? kOp == Arith::kAdd || kOp == Arith::kSub || kOp == Arith::kMul
                       : kOp != Arith::kMod;

// out[i] = x[i] op y[i] (or the single x[0], y[0] of a side that does not
// step) for a block whose operands are taken to be all of type `kType`,
// each result entry written whole with one store. The tags are checked in the same pass, from the same
// loads: the result is the or of every tag's difference from `kType`, so
// zero when the block really was of that type; otherwise the entries
// written are numbers made of other bits, for the caller to overwrite.
template <Arith kOp, int kType, bool kXSteps, bool kYSteps>
uint32_t SameTypeBlock(const VCtrlVal* x, const VCtrlVal* y, VCtrlVal* out, Vlong count) {
  const __m128i tag_lane = _mm_set_epi32(0, kType, 0, 0);
  const __m128i tag_low = _mm_cvtsi32_si128(kType);
  __m128i differences = _mm_setzero_si128();
  for (Vlong i = count - 1; i >= 0; --i) {
    const __m128i ex = LoadEntry(x + (kXSteps ? i : 0));
    const __m128i ey = LoadEntry(y + (kYSteps ? i : 0));
    differences = WithTagDifferences(differences, ex, ey, tag_lane);
    __m128i value;
    if constexpr (kType == VPAR_LONG && kOp == Arith::kAdd) {
      value = _mm_add_epi64(ex, ey);
    } else if constexpr (kType == VPAR_LONG && kOp == Arith::kSub) {
      value = _mm_sub_epi64(ex, ey);
    } else if constexpr (kType == VPAR_LONG) {
      value = _mm_cvtsi64_si128(LongArith<kOp>(_mm_cvtsi128_si64(ex), _mm_cvtsi128_si64(ey)));
    } else {
      // The scalar forms leave the upper lane (the tag) out of the
      // arithmetic; their low lane is exactly RealArith's result.
      const __m128d a = _mm_castsi128_pd(ex);
      const __m128d b = _mm_castsi128_pd(ey);
      __m128d r;
      if constexpr (kOp == Arith::kAdd) r = _mm_add_sd(a, b);
      if constexpr (kOp == Arith::kSub) r = _mm_sub_sd(a, b);
      if constexpr (kOp == Arith::kMul) r = _mm_mul_sd(a, b);
      if constexpr (kOp == Arith::kDiv) r = _mm_div_sd(a, b);
      value = _mm_castpd_si128(r);
    }
    const __m128i entry = _mm_unpacklo_epi64(value, tag_low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), entry);
  }
  return TagLane(differences);
}

// SameTypeBlock's operations that have a form for two entries per AVX2
// register: all but the integer product (no 64-bit vector multiply below
// AVX-512) and the remainder.
template <Arith kOp, int kType>
constexpr bool kPairedOp = kSameTypeOp<kOp, kType> &&
                           (kType == VPAR_DOUBLE || kOp != Arith::kMul);

// Entries i and i + 1 of `v`, or its one entry twice when it does not step.
template <bool kSteps>
__attribute__((target("avx2"), always_inline)) inline __m256i LoadPair(const VCtrlVal* v,
                                                                      Vlong i) {
  if constexpr (kSteps) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(v + i));
  } else {
    return _mm256_broadcastsi128_si256(LoadEntry(v));
  }
}

// SameTypeBlock with AVX2, for a processor that has it (kEntryPairs): four
// entries per step from the top down, loaded two to a register; the reals
// are gathered into one register first, so that no arithmetic runs on the
// tag words (read as reals they would be subnormal, which some processors
// handle slowly). The lowest count % 4 entries go through SameTypeBlock.
template <Arith kOp, int kType, bool kXSteps, bool kYSteps>
__attribute__((target("avx2"))) uint32_t SameTypeBlockPaired(const VCtrlVal* x,
                                                              const VCtrlVal* y,
                                                              VCtrlVal* out, Vlong count) {
  const __m256i tag_lanes = _mm256_set_epi32(0, kType, 0, 0, 0, kType, 0, 0);
  const __m256i tag_words = _mm256_set1_epi64x(kType);
  __m256i differences = _mm256_setzero_si256();
  Vlong i = count;
  while (i >= 4) {
    i -= 4;
    const __m256i x_low = LoadPair<kXSteps>(x, i);
    const __m256i x_high = LoadPair<kXSteps>(x, i + 2);
    const __m256i y_low = LoadPair<kYSteps>(y, i);
    const __m256i y_high = LoadPair<kYSteps>(y, i + 2);
    differences = _mm256_or_si256(
        differences,
        _mm256_or_si256(_mm256_or_si256(_mm256_xor_si256(x_low, tag_lanes),
                                        _mm256_xor_si256(x_high, tag_lanes)),
                        _mm256_or_si256(_mm256_xor_si256(y_low, tag_lanes),
                                        _mm256_xor_si256(y_high, tag_lanes))));
    __m256i low, high;
    if constexpr (kType == VPAR_LONG) {
      // The value words are computed in place; the tag words are replaced.
      if constexpr (kOp == Arith::kAdd) {
        low = _mm256_add_epi64(x_low, y_low);
        high = _mm256_add_epi64(x_high, y_high);
      } else {
        low = _mm256_sub_epi64(x_low, y_low);
        high = _mm256_sub_epi64(x_high, y_high);
      }
      low = _mm256_blend_epi32(low, tag_words, 0xCC);
      high = _mm256_blend_epi32(high, tag_words, 0xCC);
    } else {
      // Values of entries i, i+2 | i+1, i+3, and back between the tags.
      const __m256d a = _mm256_unpacklo_pd(_mm256_castsi256_pd(x_low), _mm256_castsi256_pd(x_high));
      const __m256d b = _mm256_unpacklo_pd(_mm256_castsi256_pd(y_low), _mm256_castsi256_pd(y_high));
      __m256d r;
      if constexpr (kOp == Arith::kAdd) r = _mm256_add_pd(a, b);
      if constexpr (kOp == Arith::kSub) r = _mm256_sub_pd(a, b);
      if constexpr (kOp == Arith::kMul) r = _mm256_mul_pd(a, b);
      if constexpr (kOp == Arith::kDiv) r = _mm256_div_pd(a, b);
      low = _mm256_castpd_si256(_mm256_unpacklo_pd(r, _mm256_castsi256_pd(tag_words)));
      high = _mm256_castpd_si256(_mm256_unpackhi_pd(r, _mm256_castsi256_pd(tag_words)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i + 2), high);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), low);
  }
  const __m128i halves = _mm_or_si128(_mm256_castsi256_si128(differences),
                                      _mm256_extracti128_si256(differences, 1));
  const uint32_t rest = i > 0 ? SameTypeBlock<kOp, kType, kXSteps, kYSteps>(x, y, out, i) : 0;
  return TagLane(halves) | rest;
}
#endif

// Writes x op y into `out`, a slot holding no string, when both are
// numbers the operator is defined on; false otherwise, with `out` as it
// was.
template <Arith kOp>
inline bool NumericArith(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) {
  using K = TupleKernel;
  const int tx = K::Tag(x);
  const int ty = K::Tag(y);
  if (tx == VPAR_LONG && ty == VPAR_LONG) {
    K::SetLong(out, LongArith<kOp>(K::Long(x), K::Long(y)));
    return true;
  }
  if (kOp == Arith::kMod || !K::IsNumber(tx) || !K::IsNumber(ty)) return false;
  K::SetReal(out, RealArith<kOp>(K::AsReal(x), K::AsReal(y)));
  return true;
}

// x op y with every case of the VCtrlVal operators: promotion,
// concatenation and the failures with their messages (VCtrlValArith.cpp).
template <Arith kOp>
VCtrlVal ArithValue(const VCtrlVal& x, const VCtrlVal& y);

// The element operation of the tuple loops: numbers inline, all else
// through ArithValue; blocks whose operands are all integers or all reals
// on each side in one typed loop.
template <Arith kOp>
struct ArithElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    if (NumericArith<kOp>(x, y, out)) return;
    VCtrlVal value = ArithValue<kOp>(x, y);
    TupleKernel::MoveInto(value, out);
  }

  // The results NumericArith gives for such a block: integers of two
  // integers, else reals, where the one side that is integers is promoted.
  // A remainder with a real is declined, for the element path to raise.
  // Two operands of one type go through SameTypeBlock where it takes the
  // operation.
  template <bool kXSteps, bool kYSteps>
  bool Block(const VCtrlVal* x, const VCtrlVal* y, VCtrlVal* out, Vlong count) const {
    using K = TupleKernel;
#if VEXAOBJ_ENTRY_VECTORS
    const int type = K::Tag(x[0]);
    if (type == K::Tag(y[0])) {
      const auto same = [&](auto type_constant) -> bool {
        constexpr int kType = decltype(type_constant)::value;
        // Another type in the block: the element path writes it again.
        if constexpr (kPairedOp<kOp, kType>) {
          if (kEntryPairs)
            return SameTypeBlockPaired<kOp, kType, kXSteps, kYSteps>(x, y, out, count) == 0;
        }
        if constexpr (kSameTypeOp<kOp, kType>) {
          return SameTypeBlock<kOp, kType, kXSteps, kYSteps>(x, y, out, count) == 0;
        }
        return SlowBlock<kXSteps, kYSteps>(x, y, out, count);
      };
      if (type == VPAR_LONG) return same(K::NumberType<VPAR_LONG>());
      if (type == VPAR_DOUBLE) return same(K::NumberType<VPAR_DOUBLE>());
    }
#endif
    return SlowBlock<kXSteps, kYSteps>(x, y, out, count);
  }

  // The typed loop after a scan of each side's tags, for any pair of
  // number types.
  template <bool kXSteps, bool kYSteps>
  bool SlowBlock(const VCtrlVal* x, const VCtrlVal* y, VCtrlVal* out, Vlong count) const {
    using K = TupleKernel;
    const int tx = K::UniformType<kXSteps>(x, count);
    const int ty = K::UniformType<kYSteps>(y, count);
    if (tx == VPAR_UNDEF || ty == VPAR_UNDEF) return false;
    if (kOp == Arith::kMod && (tx != VPAR_LONG || ty != VPAR_LONG)) return false;
    K::WithNumberTypes(tx, ty, [&](auto x_type, auto y_type) {
      constexpr int kX = decltype(x_type)::value;
      constexpr int kY = decltype(y_type)::value;
      for (Vlong i = count - 1; i >= 0; --i) {
        const auto a = K::Number<kX>(x[kXSteps ? i : 0]);
        const auto b = K::Number<kY>(y[kYSteps ? i : 0]);
        if constexpr (kX == VPAR_LONG && kY == VPAR_LONG) {
          K::PutLong(out[i], LongArith<kOp>(a, b));
        } else {
          K::PutReal(out[i], RealArith<kOp>(a, b));
        }
      }
    });
    return true;
  }
};

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_VALUE_ARITH_H
