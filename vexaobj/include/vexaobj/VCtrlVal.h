// One typed control value: an integer, a double or an owned string. The
// object has the byte layout of the runtime's Vcpar, so that an array of
// VCtrlVal is handed to the runtime and taken back without copying.
#ifndef VEXAOBJ_VCTRLVAL_H
#define VEXAOBJ_VCTRLVAL_H

#include <vexaobj/VBase.h>

#include <stdint.h>

namespace Vexa {

class VTuple;
namespace internal {
struct TupleKernel;
}

class VCtrlVal {
 public:
  VCtrlVal();
  VCtrlVal(Vlong l);
  VCtrlVal(int l);
  VCtrlVal(double d);
  // Copies the text into a runtime allocation of strlen + 1 bytes.
  VCtrlVal(const char* s);
  VCtrlVal(const VCtrlVal& other);
  VCtrlVal& operator=(const VCtrlVal& other);
  ~VCtrlVal();

  const char* ClassName() const { return "VCtrlVal"; }
  int ValType() const { return type; }
  int Version() const;
  int Revision() const;
  const char* Creation() const;

  // Typed reads. A wrong type raises; if the handler returns, the result is
  // 0 (0.0 for D) and S returns null.
  int I() const;
  Vlong L() const;
  double D() const;
  const char* S() const;
  operator int() const { return I(); }
  operator Vlong() const { return L(); }
  operator double() const { return D(); }
  operator const char*() const { return S(); }

  operator const Vcpar&() const { return VCPAR(); }
  const Vcpar& VCPAR() const { return *reinterpret_cast<const Vcpar*>(this); }

  // Deep copy of `source` into this value, whose old content must already
  // be released; the type is written last.
  void CopyCtrlVal(const VCtrlVal& source);
  // Frees a string and leaves the value undefined.
  void ClearCtrlVal();

  // Arithmetic (VCtrlValArith.cpp, VTupleArith.cpp). All type promotion of
  // tuple arithmetic lives in the value forms; the tuple forms put this
  // value on the left of every element.
  VCtrlVal operator+(const VCtrlVal& loc_val) const;
  VCtrlVal operator-(const VCtrlVal& loc_val) const;
  VCtrlVal operator*(const VCtrlVal& loc_val) const;
  VCtrlVal operator/(const VCtrlVal& loc_val) const;
  VCtrlVal operator%(const VCtrlVal& loc_val) const;
  VTuple operator+(const VTuple& val) const;
  VTuple operator-(const VTuple& val) const;
  VTuple operator*(const VTuple& val) const;
  VTuple operator/(const VTuple& val) const;
  VTuple operator%(const VTuple& val) const;

  // Comparison (VCtrlValCompare.cpp, VTupleCompare.cpp): of two values,
  // and of this value as a one-element tuple with a whole tuple.
  int operator==(const VCtrlVal& loc_val) const;
  int operator!=(const VCtrlVal& loc_val) const;
  int operator<(const VCtrlVal& loc_val) const;
  int operator>(const VCtrlVal& loc_val) const;
  int operator<=(const VCtrlVal& loc_val) const;
  int operator>=(const VCtrlVal& loc_val) const;
  int operator==(const VTuple& val) const;
  int operator!=(const VTuple& val) const;
  int operator<(const VTuple& val) const;
  int operator>(const VTuple& val) const;
  int operator<=(const VTuple& val) const;
  int operator>=(const VTuple& val) const;

 private:
  friend class VTuple;
  // The elementwise loops of the tuple operators read and write elements
  // in place.
  friend struct internal::TupleKernel;

  union {
    Vlong l;
    double d;
    char* s;
  } par;
  int32_t type;
};

static_assert(sizeof(VCtrlVal) == sizeof(Vcpar), "VCtrlVal is a Vcpar");
static_assert(sizeof(VCtrlVal) == 16, "VCtrlVal is the 16-byte element stride");

}  // namespace Vexa

#endif  // VEXAOBJ_VCTRLVAL_H
