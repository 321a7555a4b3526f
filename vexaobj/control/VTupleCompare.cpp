// Comparison of whole tuples: equality element by element, and a
// lexicographic order in which a not-a-number anywhere makes every order
// false and a shorter tuple that agrees on its length comes first. The
// forms with a scalar or a VCtrlVal compare a one-element tuple.
#include <vexaobj/VTuple.h>

#include <math.h>
#include <string.h>

#include "tag_scan.h"
#include "tuple_kernel.h"
#include "value_compare.h"

namespace Vexa {

namespace {

using internal::Order;
using K = internal::TupleKernel;

// Equality of two elements; pairs of one numeric type are decided inline,
// the rest by the element operators.
bool ElementsEqual(const VCtrlVal& x, const VCtrlVal& y) {
  const int tx = K::Tag(x);
  if (tx == K::Tag(y)) {
    if (tx == VPAR_LONG) return K::Long(x) == K::Long(y);
    if (tx == VPAR_DOUBLE) return K::Real(x) == K::Real(y);
  }
  const int equal = internal::NumericEqual(x, y);
  return equal > 0 || (equal < 0 && !(x != y));
}

#if VEXAOBJ_ENTRY_VECTORS
// Whether the `count` pairs from x and y are all of type `kType` and equal
// as numbers, the tags checked in the same pass as the values: integers
// by their bits, reals by the processor's comparison (a not-a-number
// equals nothing, and zero equals minus zero).
template <int kType>
bool SameTypeEqualBlock(const VCtrlVal* x, const VCtrlVal* y, Vlong count) {
  const __m128i tag_lane = _mm_set_epi32(0, kType, 0, 0);
  __m128i tags = _mm_setzero_si128();
  __m128i unequal = tags;
  for (Vlong i = 0; i < count; ++i) {
    const __m128i ex = internal::LoadEntry(x + i);
    const __m128i ey = internal::LoadEntry(y + i);
    tags = internal::WithTagDifferences(tags, ex, ey, tag_lane);
    if constexpr (kType == VPAR_LONG) {
      unequal = _mm_or_si128(unequal, _mm_xor_si128(ex, ey));
    } else {
      unequal = _mm_or_si128(
          unequal, _mm_castpd_si128(_mm_cmpneq_sd(_mm_castsi128_pd(ex), _mm_castsi128_pd(ey))));
    }
  }
  return internal::TagLane(tags) == 0 && _mm_cvtsi128_si64(unequal) == 0;
}

// SameTypeEqualBlock with AVX2 (internal::kEntryPairs), two entries per
// register. Integers: x's tags are checked against `kType` and whole
// entries against each other, which covers y's tags too. Reals: both
// sides' tags, and the values by the processor's comparison, whose lanes
// over the tag words are not looked at. An odd last entry goes through
// SameTypeEqualBlock.
template <int kType>
__attribute__((target("avx2"))) bool SameTypeEqualPairs(const VCtrlVal* x, const VCtrlVal* y,
                                                       Vlong count) {
  const __m256i tag_lanes = _mm256_set_epi32(0, kType, 0, 0, 0, kType, 0, 0);
  __m256i tags = _mm256_setzero_si256();
  __m256i unequal = tags;
  Vlong i = 0;
  for (; i + 2 <= count; i += 2) {
    const __m256i ex = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + i));
    const __m256i ey = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(y + i));
    if constexpr (kType == VPAR_LONG) {
      tags = _mm256_or_si256(tags, _mm256_xor_si256(ex, tag_lanes));
      unequal = _mm256_or_si256(unequal, _mm256_xor_si256(ex, ey));
    } else {
      tags = _mm256_or_si256(tags, _mm256_or_si256(_mm256_xor_si256(ex, tag_lanes),
                                                   _mm256_xor_si256(ey, tag_lanes)));
      unequal = _mm256_or_si256(
          unequal, _mm256_castpd_si256(_mm256_cmp_pd(_mm256_castsi256_pd(ex),
                                                     _mm256_castsi256_pd(ey), _CMP_NEQ_UQ)));
    }
  }
  // Value words, and for integers the tag words of the whole entries too.
  const __m256i checked = kType == VPAR_LONG ? _mm256_set_epi32(0, -1, -1, -1, 0, -1, -1, -1)
                                             : _mm256_set_epi32(0, 0, -1, -1, 0, 0, -1, -1);
  const __m256i tag_words = _mm256_set_epi32(0, -1, 0, 0, 0, -1, 0, 0);
  const __m256i bad = _mm256_or_si256(_mm256_and_si256(unequal, checked),
                                      _mm256_and_si256(tags, tag_words));
  if (!_mm256_testz_si256(bad, bad)) return false;
  return i == count || SameTypeEqualBlock<kType>(x + i, y + i, count - i);
}
#endif

// Whether the `count` pairs from x and y, each side all integers or all
// reals, are equal as numbers throughout; false for any other block. A
// not-a-number equals nothing, so a true block holds none.
bool BlockOfEqualNumbers(const VCtrlVal* x, const VCtrlVal* y, Vlong count) {
#if VEXAOBJ_ENTRY_VECTORS
  const int type = K::Tag(x[0]);
  if (type == K::Tag(y[0])) {
    if (type == VPAR_LONG) {
      return internal::kEntryPairs ? SameTypeEqualPairs<VPAR_LONG>(x, y, count)
                                   : SameTypeEqualBlock<VPAR_LONG>(x, y, count);
    }
    if (type == VPAR_DOUBLE) {
      return internal::kEntryPairs ? SameTypeEqualPairs<VPAR_DOUBLE>(x, y, count)
                                   : SameTypeEqualBlock<VPAR_DOUBLE>(x, y, count);
    }
  }
#endif
  const int tx = K::UniformType<true, true>(x, count);
  const int ty = K::UniformType<true, true>(y, count);
  if (tx == VPAR_UNDEF || ty == VPAR_UNDEF) return false;
  return K::WithNumberTypes(tx, ty, [&](auto x_type, auto y_type) {
    constexpr int kX = decltype(x_type)::value;
    constexpr int kY = decltype(y_type)::value;
    bool equal = true;
    for (Vlong i = 0; i < count; ++i) equal &= K::Number<kX>(x[i]) == K::Number<kY>(y[i]);
    return equal;
  });
}

// The length of the leading whole blocks of the first n pairs that are
// equal numbers: the pairs the element walks below pass over without
// deciding anything, which is the whole of two equal numeric tuples.
Vlong EqualNumbersPrefix(const VCtrlVal* x, const VCtrlVal* y, Vlong n) {
  Vlong begin = 0;
  while (begin < n) {
    const Vlong count = n - begin < K::kBlockLength ? n - begin : K::kBlockLength;
    if (!BlockOfEqualNumbers(x + begin, y + begin, count)) break;
    begin += count;
  }
  return begin;
}

int EqualTuples(const VTuple& a, const VTuple& b) {
  const Vlong n = a.Num();
  if (n != b.Num()) return 0;
  const VCtrlVal* x = K::Elems(a);
  const VCtrlVal* y = K::Elems(b);
  for (Vlong i = EqualNumbersPrefix(x, y, n); i < n; ++i) {
    if (!ElementsEqual(x[i], y[i])) return 0;
  }
  return 1;
}

bool IsNaN(const VCtrlVal& v) { return K::Tag(v) == VPAR_DOUBLE && isnan(K::Real(v)); }

// Whether any of the elements from index `first` to n - 1 is a
// not-a-number.
bool HasNaN(const VCtrlVal* x, Vlong first, Vlong n) {
  for (Vlong i = first; i < n; ++i) {
    if (IsNaN(x[i])) return true;
  }
  return false;
}

// -1, 0 or 1 as x is before, level with or after y. Strings compare by
// bytes; any other pair through the element operators, which fail for a
// string against a number. The operator of the running comparison is
// asked first.
template <Order kOp>
int Compare(const VCtrlVal& x, const VCtrlVal& y) {
  // Two numbers, none of them a not-a-number by now.
  const int less = internal::NumericOrder<Order::kLess>(x, y);
  if (less > 0) return -1;
  if (less == 0) return internal::NumericOrder<Order::kGreater>(x, y);
  if (K::Tag(x) == VPAR_STRING && K::Tag(y) == VPAR_STRING) {
    const int c = strcmp(K::Text(x), K::Text(y));
    return (c > 0) - (c < 0);
  }
  if (kOp == Order::kLess || kOp == Order::kLessEqual) {
    if (x < y) return -1;
    return x > y ? 1 : 0;
  }
  if (x > y) return 1;
  return x < y ? -1 : 0;
}

// A not-a-number anywhere makes the order false before any element is
// compared. The scan for it is fused with the walk over the leading pairs
// of numbers, which is the common case: a not-a-number met there ends the
// comparison at once, and the elements behind the point where the walk
// stops are scanned before anything is decided or any element operator
// can fail, so the outcome is that of scanning first. Leading blocks of
// equal numbers hold no not-a-number and are passed over whole.
template <Order kOp>
int OrderTuples(const VTuple& a, const VTuple& b) {
  const Vlong n1 = a.Num();
  const Vlong n2 = b.Num();
  const VCtrlVal* x = K::Elems(a);
  const VCtrlVal* y = K::Elems(b);
  const Vlong common = n1 < n2 ? n1 : n2;
  Vlong i = EqualNumbersPrefix(x, y, common);
  int c = 0;
  for (; i < common; ++i) {
    const int tx = K::Tag(x[i]);
    const int ty = K::Tag(y[i]);
    if (tx == VPAR_LONG && ty == VPAR_LONG) {
      c = (K::Long(x[i]) > K::Long(y[i])) - (K::Long(x[i]) < K::Long(y[i]));
    } else if (K::IsNumber(tx) && K::IsNumber(ty)) {
      const double p = K::AsReal(x[i]);
      const double q = K::AsReal(y[i]);
      if (isnan(p) || isnan(q)) return 0;
      c = (p > q) - (p < q);
    } else {
      break;
    }
    if (c != 0) {
      ++i;
      break;
    }
  }
  if (HasNaN(x, i, n1) || HasNaN(y, i, n2)) return 0;
  if (c != 0) return internal::Holds<kOp>(c, 0);
  for (; i < common; ++i) {
    c = Compare<kOp>(x[i], y[i]);
    if (c != 0) return internal::Holds<kOp>(c, 0);
  }
  return internal::Holds<kOp>(n1, n2);
}

}  // namespace

int VTuple::operator==(const VTuple& val) const { return EqualTuples(*this, val); }
int VTuple::operator!=(const VTuple& val) const { return !EqualTuples(*this, val); }
int VTuple::operator<(const VTuple& val) const { return OrderTuples<Order::kLess>(*this, val); }
int VTuple::operator>(const VTuple& val) const {
  return OrderTuples<Order::kGreater>(*this, val);
}
int VTuple::operator<=(const VTuple& val) const {
  return OrderTuples<Order::kLessEqual>(*this, val);
}
int VTuple::operator>=(const VTuple& val) const {
  return OrderTuples<Order::kGreaterEqual>(*this, val);
}

// The scalar forms, both ways round, and the VCtrlVal forms: the single
// value stands as a one-element tuple on its own side.
#define VEXA_TUPLE_SCALAR_COMPARE(op, Scalar_t)                               \
  int VTuple::operator op(Scalar_t val) const { return *this op VTuple(val); } \
  int operator op(Scalar_t val1, const VTuple& val2) { return VTuple(val1) op val2; }
#define VEXA_TUPLE_COMPARE(op)                                                   \
  VEXA_TUPLE_SCALAR_COMPARE(op, double)                                          \
  VEXA_TUPLE_SCALAR_COMPARE(op, int)                                             \
  VEXA_TUPLE_SCALAR_COMPARE(op, Vlong)                                           \
  int VCtrlVal::operator op(const VTuple& val) const { return VTuple(*this) op val; }

VEXA_TUPLE_COMPARE(==)
VEXA_TUPLE_COMPARE(!=)
VEXA_TUPLE_COMPARE(<)
VEXA_TUPLE_COMPARE(>)
VEXA_TUPLE_COMPARE(<=)
VEXA_TUPLE_COMPARE(>=)

#undef VEXA_TUPLE_COMPARE
#undef VEXA_TUPLE_SCALAR_COMPARE

int VTuple::Continue(const VTuple& final_value, const VTuple& step) const {
  // The const operator[] refuses an empty tuple among the three.
  const VTuple& self = *this;
  if (step[0].D() < 0) return self[0] >= final_value[0];
  return self[0] <= final_value[0];
}

}  // namespace Vexa
