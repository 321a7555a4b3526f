// Pixel values: the clipping and rounding of the typed values, and the
// holder that owns one of them.
#include <vexaobj/VPixVal.h>

#include <cmath>
#include <cstdint>
#include <new>

#include "control/raise.h"

namespace Vexa {

namespace {

// Conversion toward zero to 64 bits. A NaN or a value beyond the range
// gives the smallest Vlong, as the processor's conversion does, instead of
// undefined behaviour.
Vlong Trunc(double v) {
  if (!(v > -9223372036854775808.0 && v < 9223372036854775808.0))
    return INT64_MIN;
  return static_cast<Vlong>(v);
}

Vlong Clip(Vlong v, Vlong lo, Vlong hi) { return v < lo ? lo : (v > hi ? hi : v); }

double Magnitude(const VComplex& z) { return z.VAbs(); }

// Makes a value on the heap; reports a failed allocation.
template <class T, class Arg>
VAbstractPixVal* NewValue(Arg v) {
  VAbstractPixVal* made = new (std::nothrow) T(v);
  if (made == nullptr) VEXA_RAISE("new", "Out of memory");
  return made;
}

}  // namespace

// ---- VIntegerPixVal ---------------------------------------------------------

VIntegerPixVal::VIntegerPixVal(double v) : val(Trunc(v)) {}

VIntegerPixVal::VIntegerPixVal(const VComplex& v) : val(Trunc(Magnitude(v))) {}

VIntegerPixVal::operator unsigned char() const {
  return static_cast<unsigned char>(Clip(val, 0, 255));
}

VIntegerPixVal::operator VComplex() const {
  return VComplex(static_cast<double>(val), 0.0);
}

VAbstractPixVal* VIntegerPixVal::Copy() const { return NewValue<VIntegerPixVal>(val); }

void VIntegerPixVal::ToByte() { val = Clip(val, 0, 255); }
void VIntegerPixVal::ToInt1() { val = Clip(val, -128, 127); }
void VIntegerPixVal::ToInt2() { val = Clip(val, -32768, 32767); }
void VIntegerPixVal::ToUInt2() { val = Clip(val, 0, 65535); }

// ---- The clipping subclasses -----------------------------------------------

VBytePixVal::VBytePixVal(int v) : VIntegerPixVal(Clip(v, 0, 255)) {}
VBytePixVal::VBytePixVal(Vlong v) : VIntegerPixVal(Clip(v, 0, 255)) {}
VBytePixVal::VBytePixVal(double v) {
  if (v < -0.5)
    val = 0;
  else if (v > 255.5)
    val = 255;
  else
    val = Trunc(v + 0.5) % 256;
}
VBytePixVal::VBytePixVal(const VComplex& v)
    : VIntegerPixVal(Clip(Trunc(Magnitude(v)), 0, 255)) {}

VInt1PixVal::VInt1PixVal(int v) : VIntegerPixVal(Clip(v, -128, 127)) {}
VInt1PixVal::VInt1PixVal(Vlong v) : VIntegerPixVal(Clip(v, -128, 127)) {}
VInt1PixVal::VInt1PixVal(double v) : VIntegerPixVal(Clip(Trunc(v), -128, 127)) {}
VInt1PixVal::VInt1PixVal(const VComplex& v)
    : VIntegerPixVal(Clip(Trunc(Magnitude(v)), -128, 127)) {}

VInt2PixVal::VInt2PixVal(int v) : VIntegerPixVal(Clip(v, -32768, 32767)) {}
VInt2PixVal::VInt2PixVal(Vlong v) : VIntegerPixVal(Clip(v, -32768, 32767)) {}
VInt2PixVal::VInt2PixVal(double v) {
  if (v < -32768.0)
    val = -32768;
  else if (v > 32767.0)
    val = 32767;
  else
    val = Trunc(v);
}
VInt2PixVal::VInt2PixVal(const VComplex& v)
    : VIntegerPixVal(Clip(Trunc(Magnitude(v)), -32768, 32767)) {}

VUInt2PixVal::VUInt2PixVal(int v) : VIntegerPixVal(Clip(v, 0, 65535)) {}
VUInt2PixVal::VUInt2PixVal(Vlong v) : VIntegerPixVal(Clip(v, 0, 65535)) {}
VUInt2PixVal::VUInt2PixVal(double v) {
  if (v < 0.0)
    val = 0;
  else if (v > 65535.0)
    val = 65535;
  else
    val = Trunc(v);
}
VUInt2PixVal::VUInt2PixVal(const VComplex& v)
    : VIntegerPixVal(Clip(Trunc(Magnitude(v)), 0, 65535)) {}

// ---- VFloatPixVal -----------------------------------------------------------

VFloatPixVal::VFloatPixVal(const VComplex& v) : val(Magnitude(v)) {}

VFloatPixVal::operator unsigned char() const {
  return static_cast<unsigned char>(static_cast<uint64_t>(Trunc(val)) & 0xff);
}
VFloatPixVal::operator int() const {
  return static_cast<int>(static_cast<uint32_t>(Trunc(val)));
}
VFloatPixVal::operator Vlong() const { return Trunc(val); }

VAbstractPixVal* VFloatPixVal::Copy() const { return NewValue<VFloatPixVal>(val); }

// ---- VComplexPixVal ---------------------------------------------------------

VComplexPixVal::operator unsigned char() const {
  const double m = Magnitude(val);
  if (m > 255.5) return 255;
  return static_cast<unsigned char>(Trunc(m + 0.5));
}
VComplexPixVal::operator int() const {
  return static_cast<int>(static_cast<uint32_t>(Trunc(Magnitude(val))));
}
VComplexPixVal::operator Vlong() const { return Trunc(Magnitude(val)); }
VComplexPixVal::operator double() const { return Magnitude(val); }

VAbstractPixVal* VComplexPixVal::Copy() const {
  return NewValue<VComplexPixVal, const VComplex&>(val);
}

// ---- VPixVal ---------------------------------------------------------------

VPixVal::VPixVal() : val(NewValue<VBytePixVal, unsigned char>(0)) {}
VPixVal::VPixVal(unsigned char v) : val(NewValue<VBytePixVal>(v)) {}
VPixVal::VPixVal(int v) : val(NewValue<VInt4PixVal>(v)) {}
VPixVal::VPixVal(Vlong v) : val(NewValue<VInt4PixVal>(v)) {}
VPixVal::VPixVal(double v) : val(NewValue<VFloatPixVal>(v)) {}
VPixVal::VPixVal(const VComplex& v) : val(NewValue<VComplexPixVal, const VComplex&>(v)) {}
VPixVal::VPixVal(const VPixVal& v) : val(v.val != nullptr ? v.val->Copy() : nullptr) {}

VPixVal& VPixVal::operator=(const VPixVal& v) {
  if (this == &v) {
    // What a delete-then-copy of the same value leaves: the copy of a
    // value that its destructor has zeroed.
    if (val != nullptr) val->Delete();
  }
  VAbstractPixVal* copy = v.val != nullptr ? v.val->Copy() : nullptr;
  delete val;
  val = copy;
  return *this;
}

VPixVal::~VPixVal() { delete val; }

// The pointer is cleared as well, so that the destructor does not free the
// value a second time.
void VPixVal::Delete() {
  delete val;
  val = nullptr;
}

void VPixVal::Replace(VAbstractPixVal* v) {
  delete val;
  val = v;
}

VPixVal::operator unsigned char() const {
  return val != nullptr ? static_cast<unsigned char>(*val) : 0;
}
VPixVal::operator int() const { return val != nullptr ? static_cast<int>(*val) : 0; }
VPixVal::operator Vlong() const { return val != nullptr ? static_cast<Vlong>(*val) : 0; }
VPixVal::operator double() const {
  return val != nullptr ? static_cast<double>(*val) : 0.0;
}
VPixVal::operator VComplex() const {
  return VComplex(static_cast<double>(*this), 0.0);
}

void VPixVal::ToByte() {
  Replace(NewValue<VBytePixVal>(static_cast<unsigned char>(*this)));
}
void VPixVal::ToInt1() { Replace(NewValue<VInt1PixVal>(static_cast<int>(*this))); }
void VPixVal::ToInt2() { Replace(NewValue<VInt2PixVal>(static_cast<int>(*this))); }
void VPixVal::ToUInt2() { Replace(NewValue<VUInt2PixVal>(static_cast<int>(*this))); }
void VPixVal::ToInt4() { Replace(NewValue<VInt4PixVal>(static_cast<Vlong>(*this))); }
void VPixVal::ToFloat() { Replace(NewValue<VFloatPixVal>(static_cast<double>(*this))); }
void VPixVal::ToComplexD() {
  Replace(NewValue<VComplexPixVal, const VComplex&>(
      VComplex(static_cast<double>(*this), 0.0)));
}

VPixVal VPixVal::operator+(const VPixVal&) const { return *this; }
VPixVal VPixVal::operator-(const VPixVal&) const { return *this; }
VPixVal VPixVal::operator*(const VPixVal&) const { return *this; }
VPixVal VPixVal::operator/(const VPixVal&) const { return *this; }

}  // namespace Vexa
