// Pixel values: one gray value of an image of any pixel type, as an object
// that converts itself to every other representation.
//
// Three layers: the typed values (VIntegerPixVal and its subclasses, which
// differ only in how a value is clipped when it is constructed,
// VFloatPixVal, VComplexPixVal); the holder VPixVal, which owns one typed
// value and is what VImage::GetPixVal and SetPixVal use; and the two-valued
// VBinPixVal. Out-of-range values are clipped or truncated silently, each
// class by its own rule: only the byte value rounds a double, the others
// truncate, and the 4-byte integer value clips nothing.
#ifndef VEXAOBJ_VPIXVAL_H
#define VEXAOBJ_VPIXVAL_H

#include <vexaobj/VBase.h>
#include <vexaobj/VNumeric.h>

namespace Vexa {

class VBasePixVal : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VBasePixVal() override = default;
  virtual operator unsigned char() const = 0;
};

class VAbstractPixVal : public VBasePixVal {
 public:
  virtual operator int() const = 0;
  virtual operator Vlong() const = 0;
  virtual operator double() const = 0;
  virtual operator VComplex() const = 0;
  // A new value on the heap, owned by the caller; null (after a report)
  // when memory runs out.
  virtual VAbstractPixVal* Copy() const = 0;
  // Sets the value to zero; nothing is freed.
  virtual void Delete() = 0;
};

// An integer value of any width. The subclasses clip on construction and
// are otherwise this class: a copy of any of them is a VIntegerPixVal.
class VIntegerPixVal : public VAbstractPixVal {
 public:
  VIntegerPixVal() : val(0) {}
  VIntegerPixVal(unsigned char v) : val(v) {}
  VIntegerPixVal(int v) : val(v) {}
  VIntegerPixVal(Vlong v) : val(v) {}
  VIntegerPixVal(double v);
  VIntegerPixVal(const VComplex& v);
  VIntegerPixVal(const VIntegerPixVal& v) = default;
  VIntegerPixVal& operator=(const VIntegerPixVal& v) = default;
  ~VIntegerPixVal() override { Delete(); }
  const char* ClassName() const override { return "VIntegerPixVal"; }
  // Clipped to 0 to 255.
  operator unsigned char() const override;
  // The low 32 bits.
  operator int() const override { return static_cast<int>(val); }
  operator Vlong() const override { return val; }
  operator double() const override { return static_cast<double>(val); }
  operator VComplex() const override;
  VAbstractPixVal* Copy() const override;
  void Delete() override { val = 0; }
  // Clip the value in place to the range of that type; the class stays.
  virtual void ToByte();
  virtual void ToInt1();
  virtual void ToInt2();
  virtual void ToUInt2();

 protected:
  Vlong val;
};

class VBytePixVal : public VIntegerPixVal {
 public:
  VBytePixVal() = default;
  VBytePixVal(unsigned char v) : VIntegerPixVal(v) {}
  VBytePixVal(int v);
  VBytePixVal(Vlong v);
  // Below -0.5: 0; above 255.5: 255; else rounded half up, modulo 256, so
  // that 255.5 gives 0.
  VBytePixVal(double v);
  VBytePixVal(const VComplex& v);
  const char* ClassName() const override { return "VByteVal"; }
};

class VInt1PixVal : public VIntegerPixVal {
 public:
  VInt1PixVal() = default;
  VInt1PixVal(int v);
  VInt1PixVal(Vlong v);
  VInt1PixVal(double v);
  VInt1PixVal(const VComplex& v);
  const char* ClassName() const override { return "VInt1Val"; }
};

class VInt2PixVal : public VIntegerPixVal {
 public:
  VInt2PixVal() = default;
  VInt2PixVal(int v);
  VInt2PixVal(Vlong v);
  VInt2PixVal(double v);
  VInt2PixVal(const VComplex& v);
  const char* ClassName() const override { return "VInt2Val"; }
};

class VUInt2PixVal : public VIntegerPixVal {
 public:
  VUInt2PixVal() = default;
  VUInt2PixVal(int v);
  VUInt2PixVal(Vlong v);
  VUInt2PixVal(double v);
  VUInt2PixVal(const VComplex& v);
  const char* ClassName() const override { return "VUInt2Val"; }
};

// All 64 bits of a Vlong, no clipping.
class VInt4PixVal : public VIntegerPixVal {
 public:
  VInt4PixVal() = default;
  VInt4PixVal(int v) : VIntegerPixVal(v) {}
  VInt4PixVal(Vlong v) : VIntegerPixVal(v) {}
  VInt4PixVal(double v) : VIntegerPixVal(v) {}
  VInt4PixVal(const VComplex& v) : VIntegerPixVal(v) {}
  const char* ClassName() const override { return "VInt4Val"; }
};

class VFloatPixVal : public VAbstractPixVal {
 public:
  VFloatPixVal() : val(0.0) {}
  VFloatPixVal(int v) : val(v) {}
  VFloatPixVal(double v) : val(v) {}
  // The magnitude.
  VFloatPixVal(const VComplex& v);
  VFloatPixVal(const VFloatPixVal& v) = default;
  VFloatPixVal& operator=(const VFloatPixVal& v) = default;
  ~VFloatPixVal() override { Delete(); }
  const char* ClassName() const override { return "VFloatPixVal"; }
  // Truncated, low 8 bits: the one conversion to a byte without clipping
  // (300.0 gives 44).
  operator unsigned char() const override;
  operator int() const override;
  operator Vlong() const override;
  operator double() const override { return val; }
  operator VComplex() const override { return VComplex(val, 0.0); }
  VAbstractPixVal* Copy() const override;
  void Delete() override { val = 0.0; }

 protected:
  double val;
};

class VComplexPixVal : public VAbstractPixVal {
 public:
  VComplexPixVal() = default;
  VComplexPixVal(unsigned char v) : val(v, 0.0) {}
  VComplexPixVal(int v) : val(v, 0.0) {}
  VComplexPixVal(double v) : val(v, 0.0) {}
  VComplexPixVal(const VComplex& v) : val(v) {}
  VComplexPixVal(const VComplexPixVal& v) = default;
  VComplexPixVal& operator=(const VComplexPixVal& v) = default;
  ~VComplexPixVal() override { Delete(); }
  const char* ClassName() const override { return "VComplexPixVal"; }
  // Of the magnitude: above 255.5 gives 255, else rounded half up.
  operator unsigned char() const override;
  // The others give the magnitude, truncated where integral.
  operator int() const override;
  operator Vlong() const override;
  operator double() const override;
  operator VComplex() const override { return val; }
  VAbstractPixVal* Copy() const override;
  void Delete() override { val = VComplex(); }

 protected:
  VComplex val;
};

// The holder of one typed value, which it owns.
class VPixVal : public VBasePixVal {
 public:
  VPixVal();  // a byte value of 0
  VPixVal(unsigned char v);
  VPixVal(int v);  // a 4-byte integer value
  VPixVal(Vlong v);
  VPixVal(double v);  // a float value
  VPixVal(const VComplex& v);
  VPixVal(const VPixVal& v);  // holds Copy() of the source's value
  // Deletes the held value, then holds Copy() of the source's. There is no
  // self test: assigning a value to itself copies its deleted (zeroed)
  // value.
  VPixVal& operator=(const VPixVal& v);
  ~VPixVal() override;
  const char* ClassName() const override { return "VPixVal"; }

  // Frees the held value. A holder without a value converts to 0.
  void Delete();

  operator unsigned char() const override;
  operator int() const;
  operator Vlong() const;
  operator double() const;
  // (double conversion, 0): a complex value gives its magnitude and loses
  // its imaginary part.
  operator VComplex() const;

  // Replace the held value by one of that type, made from the conversion
  // of the current value (clipped by the new type's constructor).
  void ToByte();
  void ToInt1();
  void ToInt2();
  void ToUInt2();
  void ToInt4();
  void ToFloat();
  void ToComplexD();

  // No arithmetic: each gives a copy of the left operand, the right one is
  // not looked at. Applications see exactly this, so it stays.
  VPixVal operator+(const VPixVal& v) const;
  VPixVal operator-(const VPixVal& v) const;
  VPixVal operator*(const VPixVal& v) const;
  VPixVal operator/(const VPixVal& v) const;

 private:
  // Takes a freshly made value (null after a failed allocation, which is
  // reported) in place of the held one.
  void Replace(VAbstractPixVal* v);

  VAbstractPixVal* val;
};

// The underlying type is fixed so that every int value of it is a valid
// value of the enum: values other than 0 and 1 are stored as they are.
enum VPixValues : int { VPixClear = 0, VPixSet = 1 };

// A binary pixel. Values other than 0 and 1 can be stored through the enum
// constructor; such a value is neither set nor equal to 1.
class VBinPixVal : public VBasePixVal {
 public:
  VBinPixVal() : val(VPixClear) {}
  VBinPixVal(int v) : val(v != 0 ? VPixSet : VPixClear) {}
  VBinPixVal(unsigned char v) : val(v != 0 ? VPixSet : VPixClear) {}
  VBinPixVal(VPixValues v) : val(v) {}
  VBinPixVal(const VBinPixVal& v) = default;
  VBinPixVal& operator=(const VBinPixVal& v) = default;
  ~VBinPixVal() override = default;
  const char* ClassName() const override { return "VBinPixVal"; }
  operator unsigned char() const override { return val == VPixSet ? 1 : 0; }
  virtual operator VPixValues() const { return static_cast<VPixValues>(val); }

  VBinPixVal operator~() const { return VBinPixVal(val != VPixSet ? 1 : 0); }
  int operator==(const VBinPixVal& b) const { return val == b.val; }
  int operator!=(const VBinPixVal& b) const { return val != b.val; }
  VBinPixVal operator|(const VBinPixVal& b) const {
    return VBinPixVal(val == VPixSet || b.val == VPixSet ? 1 : 0);
  }
  VBinPixVal operator&(const VBinPixVal& b) const {
    return VBinPixVal(val == VPixSet && b.val == VPixSet ? 1 : 0);
  }
  VBinPixVal operator^(const VBinPixVal& b) const {
    return VBinPixVal(val != b.val ? 1 : 0);
  }
  // Set difference: clear where b is set.
  VBinPixVal operator/(const VBinPixVal& b) const {
    return b.val == VPixSet ? VBinPixVal() : VBinPixVal(static_cast<VPixValues>(val));
  }
  // The compound forms give the new value by value.
  VBinPixVal operator|=(const VBinPixVal& b) {
    if (b.val == VPixSet) val = VPixSet;
    return *this;
  }
  VBinPixVal operator&=(const VBinPixVal& b) {
    if (b.val == VPixClear) val = VPixClear;
    return *this;
  }
  VBinPixVal operator^=(const VBinPixVal& b) {
    val = val != b.val ? VPixSet : VPixClear;
    return *this;
  }
  VBinPixVal operator/=(const VBinPixVal& b) {
    if (b.val == VPixSet) val = VPixClear;
    return *this;
  }

 protected:
  int val;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VPIXVAL_H
