// Bit operations on the stored values of integer images (byte, int1, int2,
// uint2, int4, int8, direction, cyclic), over the domain. Shifts work on the
// type's bit pattern: bits shifted out are lost, right shifts of signed
// types keep the sign. Bits are counted from 1, the least significant.
#include <cstdint>
#include <type_traits>

#include "ops/image/image_map.h"
#include "registry.h"

namespace vexa {
namespace {

// An integer image operator whose per-value function op(value) works on
// the stored type T (given as a tag so that shifts and masks know it).
template <class MakeOp>
Vresult MapBits(OpContext& ctx, MakeOp&& make_op) {
  return MapImages(ctx, SameIntegerType, [&](const PixelBuffer& in,
                   PixelBuffer* out, const DomainScan& scan) {
    return DispatchPixelType(in.type(), [&](auto tag) {
      using T = typename decltype(tag)::Value;
      if constexpr (std::is_integral<T>::value) {
        Vresult rc = VRESULT_OK;
        auto op = make_op(tag, &rc);
        if (rc == VRESULT_OK) TypedUnaryMap(in, out, scan, op);
        return rc;
      } else {
        return VERR_PIXEL_TYPE;  // refused by SameIntegerType already
      }
    });
  });
}

template <class Tag>
constexpr int kBits = 8 * sizeof(typename Tag::Value);

// Reads control 0 as an integer within [lo, hi] of the type's bits.
Vresult ReadBitCount(const OpContext& ctx, Vlong lo, Vlong hi, Vlong* v) {
  const Vresult rc = ctx.GetLong(0, v);
  if (rc != VRESULT_OK) return rc;
  return *v >= lo && *v <= hi ? VRESULT_OK : VERR_CTRL_VALUE(0);
}

template <class Op>
Vresult BitPairs(OpContext& ctx, Op op) {
  return MapImagePairs(ctx, SameIntegerType, [&](const PixelBuffer& a,
                       const PixelBuffer& b, PixelBuffer* out, const DomainScan& s) {
    return TypedBinaryMap(a, b, out, s, [&](auto x, auto y) -> decltype(x) {
      if constexpr (std::is_integral<decltype(x)>::value)
        return static_cast<decltype(x)>(op(x, y));
      else
        return x;
    });
  });
}

}  // namespace

VEXA_OPERATOR(bit_and) {
  return BitPairs(ctx, [](auto x, auto y) { return x & y; });
}
VEXA_OPERATOR(bit_or) {
  return BitPairs(ctx, [](auto x, auto y) { return x | y; });
}
VEXA_OPERATOR(bit_xor) {
  return BitPairs(ctx, [](auto x, auto y) { return x ^ y; });
}

VEXA_OPERATOR(bit_not) {
  return MapBits(ctx, [](auto tag, Vresult*) {
    using T = typename decltype(tag)::Value;
    return [](T x) { return static_cast<T>(~x); };
  });
}

VEXA_OPERATOR(bit_lshift) {
  return MapBits(ctx, [&](auto tag, Vresult* rc) {
    using T = typename decltype(tag)::Value;
    using U = std::make_unsigned_t<T>;
    Vlong shift = 0;
    *rc = ReadBitCount(ctx, 0, kBits<decltype(tag)> - 1, &shift);
    return [shift](T x) { return static_cast<T>(static_cast<U>(static_cast<U>(x) << shift)); };
  });
}

VEXA_OPERATOR(bit_rshift) {
  return MapBits(ctx, [&](auto tag, Vresult* rc) {
    using T = typename decltype(tag)::Value;
    Vlong shift = 0;
    *rc = ReadBitCount(ctx, 0, kBits<decltype(tag)> - 1, &shift);
    return [shift](T x) { return static_cast<T>(x >> shift); };
  });
}

VEXA_OPERATOR(bit_mask) {
  return MapBits(ctx, [&](auto tag, Vresult* rc) {
    using T = typename decltype(tag)::Value;
    Vlong mask = 0;
    *rc = ctx.GetLong(0, &mask);
    return [mask](T x) { return static_cast<T>(x & static_cast<T>(mask)); };
  });
}

VEXA_OPERATOR(bit_slice) {
  return MapBits(ctx, [&](auto tag, Vresult* rc) {
    using T = typename decltype(tag)::Value;
    using U = std::make_unsigned_t<T>;
    Vlong bit = 1;
    *rc = ReadBitCount(ctx, 1, kBits<decltype(tag)>, &bit);
    // A refused bit number leaves no valid shift; the mask is then unused.
    const U mask = *rc == VRESULT_OK ? static_cast<U>(U{1} << (bit - 1)) : U{0};
    return [mask](T x) { return static_cast<T>(static_cast<U>(x) & mask); };
  });
}

}  // namespace vexa
