// VTuple: a growable array of VCtrlVal, the mixed-type control data of
// every operator call. A tuple is a value: copies are deep. Storage changes
// hands only when a tuple is lent to the runtime for one call
// (CastToVctuple) or adopts an output the runtime hands over
// (CastFromVctuple); element arrays therefore come from the runtime's
// allocator.
//
// This header holds the storage interface. The arithmetic, comparison,
// numeric, string and sequence operations are members as well and are
// implemented in their own sources (VTupleArith.cpp and kin).
#ifndef VEXAOBJ_VTUPLE_H
#define VEXAOBJ_VTUPLE_H

#include <vexaobj/VBase.h>
#include <vexaobj/VCtrlVal.h>

namespace Vexa {

// Selects the `state` of a tuple made with VTuple(SpecialTuple).
struct SpecialTuple {
  int state;
};

class VTuple : public VBaseArray {
 public:
  VTuple();
  VTuple(SpecialTuple special);
  VTuple(int i);
  VTuple(Vlong i);
  VTuple(float f);
  VTuple(double d);
  VTuple(const char* s);
  VTuple(const VCtrlVal& c);
  VTuple(const VTuple& in);
  // `length` copies of value[0]; a length of 0 or below allocates nothing.
  VTuple(Vlong length, const VTuple& value);
  VTuple(const VTuple& length, const VTuple& value);
  ~VTuple() override;

  VTuple& operator=(const VTuple& in);

  const char* ClassName() const override { return "VTuple"; }
  int State() const { return state & ~kNoStrings; }

  // Writable access; an index past the end grows the tuple.
  VCtrlVal& operator[](Vlong index);
  VCtrlVal& operator[](const VTuple& index);
  // Checked read; returns a deep copy.
  VCtrlVal operator[](Vlong index) const;
  VCtrlVal operator[](const VTuple& index) const;
  operator VCtrlVal() const;

  // The elements min..max, both inclusive.
  VTuple operator()(Vlong min, Vlong max) const;
  VTuple operator()(const VTuple& min, const VTuple& max) const;

  // Frees all elements; `state` stays.
  void Reset();
  VTuple& Append(const VTuple& t);
  VTuple Concat(const VTuple& t) const;

  // Lends the elements to a runtime record for one call; nothing is copied.
  void CastToVctuple(Vctuple& rec) const;
  // Adopts the storage of an output record; the tuple must be empty.
  void CastFromVctuple(Vctuple* rec);

  // Numeric functions and statistics (VTupleNumeric.cpp). Elementwise
  // functions of one operand give reals, except Abs, Sgn, Int and Round;
  // the two-operand forms broadcast as the arithmetic does.
  VTuple Sin() const;
  VTuple Cos() const;
  VTuple Tan() const;
  VTuple Asin() const;
  VTuple Acos() const;
  VTuple Atan() const;
  VTuple Sinh() const;
  VTuple Cosh() const;
  VTuple Tanh() const;
  VTuple Exp() const;
  VTuple Log() const;
  VTuple Log10() const;
  VTuple Floor() const;
  VTuple Ceil() const;
  VTuple Sqrt() const;
  VTuple Deg() const;
  VTuple Rad() const;
  VTuple Real() const;
  VTuple Abs() const;
  VTuple Sgn() const;
  VTuple Int() const;
  VTuple Round() const;
  VTuple Atan2(const VTuple& op) const;
  VTuple Pow(const VTuple& op) const;
  VTuple Fmod(const VTuple& op) const;
  VTuple Ldexp(const VTuple& op) const;
  VTuple Min2(const VTuple& val) const;
  VTuple Max2(const VTuple& val) const;
  VTuple Min() const;
  VTuple Max() const;
  VTuple Mean() const;
  VTuple Median() const;
  VTuple Deviation() const;
  // this[0] reals from the runtime's generator, seeded once per process.
  VTuple Rand() const;

  // String operations (VTupleString.cpp; the Regexp family and Substr in
  // VTupleRuntimeOps.cpp). Elementwise; positions are byte positions.
  VTuple Strchr(const char* pattern) const;
  VTuple Strchr(const VTuple& pattern) const;
  VTuple Strrchr(const char* pattern) const;
  VTuple Strrchr(const VTuple& pattern) const;
  VTuple Strstr(const char* pattern) const;
  VTuple Strstr(const VTuple& pattern) const;
  VTuple Strrstr(const char* pattern) const;
  VTuple Strrstr(const VTuple& pattern) const;
  VTuple Strlen() const;
  VTuple Substring(Vlong index1, Vlong index2) const;
  VTuple Substring(const VTuple& index1, const VTuple& index2) const;
  VTuple Substring(const VTuple& index1, Vlong index2) const;
  VTuple Substring(Vlong index1, const VTuple& index2) const;
  VTuple Substr(const VTuple& index1, const VTuple& index2) const;
  VTuple StrBitSelect(Vlong index) const;
  VTuple StrBitSelect(const VTuple& index) const;
  VTuple Split(const char* pattern) const;
  VTuple Split(const VTuple& pattern) const;
  VTuple ToString(const char* pattern) const;
  VTuple ToString(const VTuple& pattern) const;
  VTuple Number() const;
  VTuple IsNumber() const;
  VTuple Chr() const;
  VTuple Ord() const;
  VTuple Chrt() const;
  VTuple Ords() const;
  VTuple Getenv() const;
  VTuple RegexpMatch(const VTuple& expression) const;
  VTuple RegexpMatch(const char* expression) const;
  VTuple RegexpReplace(const VTuple& expression, const VTuple& replace) const;
  VTuple RegexpReplace(const char* expression, const char* replace) const;
  VTuple RegexpSelect(const VTuple& expression) const;
  VTuple RegexpSelect(const char* expression) const;
  Vlong RegexpTest(const VTuple& expression) const;
  Vlong RegexpTest(const char* expression) const;

  // Sequence operations (VTupleSequence.cpp, VTupleSort.cpp; the set and
  // search operators of the runtime in VTupleRuntimeOps.cpp).
  VTuple Select(const VTuple& Index) const;
  VTuple Subset(const VTuple& index) const;
  VTuple SelectMask(const VTuple& mask) const;
  VTuple SelectRank(Vlong index) const;
  VTuple SelectRank(const VTuple& index) const;
  VTuple Remove(const VTuple& index) const;
  // In place; an index past the end grows the tuple.
  void ReplaceElements(const VTuple& Index, const VTuple& ReplaceValue);
  VTuple Inverse() const;
  VTuple Sort() const;
  VTuple SortIndex() const;
  VTuple Uniq() const;
  VTuple Find(const VTuple& val) const;
  VTuple Sum() const;
  VTuple Cumul() const;
  VTuple Insert(const VTuple& index, const VTuple& insert) const;
  VTuple Replace(const VTuple& index, const VTuple& replace) const;
  VTuple Union(const VTuple& set2) const;
  VTuple Intersection(const VTuple& set2) const;
  VTuple Difference(const VTuple& set2) const;
  VTuple Symmdiff(const VTuple& set2) const;
  VTuple FindFirst(const VTuple& to_find) const;
  VTuple FindLast(const VTuple& to_find) const;
  static VTuple GenSequence(const VTuple& start, const VTuple& end,
                            const VTuple& step);

  // Arithmetic (VTupleArith.cpp). Each result element is one VCtrlVal
  // operation; a one-element operand is broadcast, the right one first.
  // The scalar-left forms are in VTupleOperators.h.
  VTuple operator+(const VTuple& val) const;
  VTuple operator+(double val) const;
  VTuple operator+(int val) const;
  VTuple operator+(Vlong val) const;
  VTuple operator+(const char* val) const;
  VTuple operator-(const VTuple& val) const;
  VTuple operator-(double val) const;
  VTuple operator-(int val) const;
  VTuple operator-(Vlong val) const;
  VTuple operator*(const VTuple& val) const;
  VTuple operator*(double val) const;
  VTuple operator*(int val) const;
  VTuple operator*(Vlong val) const;
  VTuple operator/(const VTuple& val) const;
  VTuple operator/(double val) const;
  VTuple operator/(int val) const;
  VTuple operator/(Vlong val) const;
  VTuple operator%(const VTuple& val) const;
  VTuple operator%(Vlong val) const;
  VTuple operator-() const;
  VTuple& operator+=(const VTuple& val);
  VTuple& operator+=(double val);
  VTuple& operator+=(int val);
  VTuple& operator+=(Vlong val);
  VTuple& operator+=(VCtrlVal val);
  VTuple& operator++();

  // Comparison of whole tuples (VTupleCompare.cpp): equality, and a
  // lexicographic order in which any not-a-number makes every order false.
  int operator==(const VTuple& val) const;
  int operator==(double val) const;
  int operator==(int val) const;
  int operator==(Vlong val) const;
  int operator!=(const VTuple& val) const;
  int operator!=(double val) const;
  int operator!=(int val) const;
  int operator!=(Vlong val) const;
  int operator<(const VTuple& val) const;
  int operator<(double val) const;
  int operator<(int val) const;
  int operator<(Vlong val) const;
  int operator>(const VTuple& val) const;
  int operator>(double val) const;
  int operator>(int val) const;
  int operator>(Vlong val) const;
  int operator<=(const VTuple& val) const;
  int operator<=(double val) const;
  int operator<=(int val) const;
  int operator<=(Vlong val) const;
  int operator>=(const VTuple& val) const;
  int operator>=(double val) const;
  int operator>=(int val) const;
  int operator>=(Vlong val) const;
  // Loop test: element 0 against final_value[0], upward or, for a negative
  // step, downward.
  int Continue(const VTuple& final_value, const VTuple& step) const;

  // Logic and bit operations (VTupleLogic.cpp). Operands are read with
  // VCtrlVal::L(). The single-truth forms need one element per operand;
  // the elementwise forms broadcast like the arithmetic.
  int operator!() const;
  int operator&&(const VTuple& op) const;
  int operator&&(Vlong op) const;
  int operator||(const VTuple& op) const;
  int operator||(Vlong op) const;
  int Xor(const VTuple& op) const;
  VTuple And(const VTuple& val) const;
  VTuple Or(const VTuple& val) const;
  VTuple TXor(const VTuple& op) const;
  VTuple Not() const;
  VTuple operator&(const VTuple& op) const;
  VTuple operator&(Vlong op) const;
  VTuple operator|(const VTuple& op) const;
  VTuple operator|(Vlong op) const;
  VTuple operator^(const VTuple& val) const;
  VTuple operator^(Vlong val) const;
  VTuple operator<<(const VTuple& val) const;
  VTuple operator<<(Vlong val) const;
  VTuple operator>>(const VTuple& val) const;
  VTuple operator>>(Vlong val) const;
  VTuple operator~() const;

  // Type tests and elementwise comparisons, computed by the runtime's
  // operators (VTupleTypeOps.cpp); a failing operator raises its text.
  VTuple Type() const;
  VTuple TypeElem() const;
  VTuple IsInt() const;
  VTuple IsReal() const;
  VTuple IsString() const;
  VTuple IsMixed() const;
  VTuple IsIntElem() const;
  VTuple IsRealElem() const;
  VTuple IsStringElem() const;
  VTuple EqualElem(const VTuple& val) const;
  VTuple NotEqualElem(const VTuple& val) const;
  VTuple GreaterElem(const VTuple& val) const;
  VTuple GreaterEqualElem(const VTuple& val) const;
  VTuple LessElem(const VTuple& val) const;
  VTuple LessEqualElem(const VTuple& val) const;

 private:
  // The elementwise loops of the operators above size the result once and
  // write its elements in place.
  friend struct internal::TupleKernel;

  void NewLength(Vlong new_num, Vlong old_num) override;
  void ClearTuple();
  // Frees the strings of the first `count` entries, last first, and the
  // array itself.
  static void ReleaseElems(VCtrlVal* array, Vlong count);
  void CopyTuple(const VTuple& in);
  // Storage of a one-value tuple (room for num_def entries); false, with
  // the tuple left empty, when the allocation failed.
  bool InitSingle(const char* proc);
  // Makes `length` copies of value[0] (the two length constructors).
  void FillCopies(Vlong length, const VTuple& value, const char* proc);

  // Bit of `state` set while no element can hold a string, so that the
  // release need not look at the elements. Only a result the numeric loops
  // wrote whole sets it; every write access to the elements clears it.
  static constexpr unsigned char kNoStrings = 0x80;
  void MayHoldStrings() { state &= static_cast<unsigned char>(~kNoStrings); }

  VCtrlVal* elems;
  // The special state in the low seven bits, kNoStrings in the top one.
  unsigned char state;
};

// Null for ever: passed as an output that is not wanted.
extern VTuple* const _;
extern VTuple* const __;

}  // namespace Vexa

// Operators with a scalar on the left.
#include <vexaobj/VTupleOperators.h>

#endif  // VEXAOBJ_VTUPLE_H
