// Logic and bit operations of tuples. Every operand is read with
// VCtrlVal::L(), so a real counts by its truncated value and a string
// fails. The single-truth forms (!, &&, ||, Xor) need one element per
// operand; And, Or, TXor, Not and the bit operators work element by
// element with the broadcast rule of the arithmetic.
#include <vexaobj/VTuple.h>

#include <stdint.h>

#include "raise.h"
#include "tuple_kernel.h"

namespace Vexa {

namespace {

using K = internal::TupleKernel;

// --- Single truth ------------------------------------------------------------

bool IsSingle(const VTuple& t, const char* proc) {
  if (t.Num() == 1) return true;
  VEXA_RAISE(proc, "tuple length != 1");
  return false;
}

bool IsSinglePair(const VTuple& a, const VTuple& b, const char* proc) {
  if (a.Num() != b.Num()) {
    VEXA_RAISE(proc, "tuple with incompatible length");
    return false;
  }
  return IsSingle(a, proc);
}

Vlong First(const VTuple& t) { return K::Elems(t)[0].L(); }

// --- Elementwise -------------------------------------------------------------

// And reads the right element only after a true left one, Or only after a
// false one; TXor reads both.
struct AndElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    K::SetLong(out, x.L() != 0 && y.L() != 0);
  }
};
struct OrElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    K::SetLong(out, x.L() != 0 || y.L() != 0);
  }
};
struct XorElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    const bool left = x.L() != 0;
    const bool right = y.L() != 0;
    K::SetLong(out, left != right);
  }
};

enum class Bit { kAnd, kOr, kXor, kLeft, kRight };

// Shift counts are taken modulo 64; >> keeps the sign.
template <Bit kOp>
struct BitElem {
  void operator()(const VCtrlVal& x, const VCtrlVal& y, VCtrlVal& out) const {
    const Vlong a = x.L();
    const Vlong b = y.L();
    const unsigned count = static_cast<unsigned>(b) & 63u;
    Vlong r = 0;
    switch (kOp) {
      case Bit::kAnd: r = a & b; break;
      case Bit::kOr: r = a | b; break;
      case Bit::kXor: r = a ^ b; break;
      case Bit::kLeft: r = static_cast<Vlong>(static_cast<uint64_t>(a) << count); break;
      case Bit::kRight: r = a >> count; break;
    }
    K::SetLong(out, r);
  }
};

bool Complement(const VCtrlVal& x, VCtrlVal& out) {
  static const char proc[] = "VTuple VTuple::operator ~ (void) const";
  switch (K::Tag(x)) {
    case VPAR_LONG:
      K::SetLong(out, ~K::Long(x));
      return true;
    case VPAR_DOUBLE:
      VEXA_RAISE(proc, "not of double value");
      return false;
    case VPAR_STRING:
      VEXA_RAISE(proc, "neg of string value");
      return false;
    default:
      return false;
  }
}

bool LogicalNot(const VCtrlVal& x, VCtrlVal& out) {
  K::SetLong(out, x.L() == 0);
  return true;
}

}  // namespace

int VTuple::operator!() const {
  if (!IsSingle(*this, "VBool VTuple::operator ! (void) const")) return 0;
  return First(*this) == 0;
}

int VTuple::operator&&(const VTuple& op) const {
  if (!IsSinglePair(*this, op, "VBool VTuple::operator && (const VTuple &op) const")) return 0;
  return First(*this) && First(op);
}

int VTuple::operator||(const VTuple& op) const {
  if (!IsSinglePair(*this, op, "VBool VTuple::operator || (const VTuple &op) const")) return 0;
  return First(*this) || First(op);
}

int VTuple::operator&&(Vlong op) const {
  if (!IsSingle(*this, "VBool VTuple::operator && (long op) const")) return 0;
  return First(*this) && op;
}

int VTuple::operator||(Vlong op) const {
  if (!IsSingle(*this, "VBool VTuple::operator || (long op) const")) return 0;
  return First(*this) || op;
}

int operator&&(Vlong val1, const VTuple& val2) {
  if (!IsSingle(val2, "VBool operator && (long val1, const VTuple &val2)")) return 0;
  return val1 && First(val2);
}

int operator||(Vlong val1, const VTuple& val2) {
  if (!IsSingle(val2, "VBool operator || (long val1, const VTuple &val2)")) return 0;
  return val1 || First(val2);
}

int VTuple::Xor(const VTuple& op) const {
  if (!IsSinglePair(*this, op, "VTuple VTuple::Xor(const VTuple &op) const")) return 0;
  const bool left = First(*this) != 0;
  const bool right = First(op) != 0;
  return left != right;
}

VTuple VTuple::And(const VTuple& val) const {
  return K::Broadcast(*this, val, "Vexa::VTuple::And(const VTuple &val) const", AndElem());
}

VTuple VTuple::Or(const VTuple& val) const {
  return K::Broadcast(*this, val, "Vexa::VTuple::Or(const VTuple &val) const", OrElem());
}

VTuple VTuple::TXor(const VTuple& op) const {
  return K::Broadcast(*this, op, "Vexa::VTuple::TXor(const Vexa::VTuple &op) const",
                      XorElem());
}

VTuple VTuple::Not() const { return K::Map(*this, LogicalNot); }

VTuple VTuple::operator~() const { return K::Map(*this, Complement); }

// The bit operators with a tuple, and with a Vlong on either side.
#define VEXA_TUPLE_BIT(op, kind, proc)                                       \
  VTuple VTuple::operator op(const VTuple& val) const {                      \
    return K::Broadcast(*this, val, proc, BitElem<Bit::kind>());             \
  }                                                                          \
  VTuple VTuple::operator op(Vlong val) const {                              \
    return K::WithRight(*this, VCtrlVal(val), BitElem<Bit::kind>());         \
  }                                                                          \
  VTuple operator op(Vlong val1, const VTuple& val2) {                       \
    return K::WithLeft(VCtrlVal(val1), val2, BitElem<Bit::kind>());          \
  }

VEXA_TUPLE_BIT(&, kAnd, "VTuple VTuple::operator & (const VTuple &op) const")
VEXA_TUPLE_BIT(|, kOr, "VTuple VTuple::operator | (const VTuple &op) const")
VEXA_TUPLE_BIT(^, kXor, "VTuple VTuple::operator ^ (const VTuple &val) const")
VEXA_TUPLE_BIT(<<, kLeft, "VTuple VTuple::operator << (const VTuple &val) const")
VEXA_TUPLE_BIT(>>, kRight, "VTuple VTuple::operator >> (const VTuple &val) const")

#undef VEXA_TUPLE_BIT

}  // namespace Vexa
