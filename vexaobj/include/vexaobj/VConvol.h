// Filter masks: the coefficients of a convolution filter in the library's
// memory. VConvolInt is the working class; the others only mark a kind of
// mask. Coordinates are absolute (0 .. width-1, 0 .. height-1) or relative
// to the centre (-(width/2) .. width/2, -(height/2) .. height/2).
#ifndef VEXAOBJ_VCONVOL_H
#define VEXAOBJ_VCONVOL_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VConvolMask : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VConvolMask() override = default;
};

class VConvolSimple : public VConvolMask {
 public:
  const char* ClassName() const override = 0;
  ~VConvolSimple() override = default;
  virtual int Width() const = 0;
  virtual int Height() const = 0;
  virtual void SetValueRel(int x, int y, double value) = 0;
  virtual void SetValueAbs(int x, int y, double value) = 0;
  virtual double GetValueRel(int x, int y) const = 0;
  virtual double GetValueAbs(int x, int y) const = 0;

 protected:
  // Each check reports every violation in turn and goes on if the failure
  // handler returns. Only even sizes are refused; a negative odd size
  // passes.
  void TestWH(int width, int height) const;
  void TestCoordAbs(int x, int y) const;
  void TestCoordRel(int x, int y) const;
};

class VConvolFourier : public VConvolMask {
 public:
  const char* ClassName() const override = 0;
  ~VConvolFourier() override = default;
};

// A mask of integer coefficients with a divisor. The coefficient of
// absolute (x, y) stands at values[x * width + y]: x is multiplied by the
// width, also on a mask that is not square. The array is allocated large
// enough for that formula (width * max(width, height) entries), so no
// coordinate that passes the checks reaches past its end.
class VConvolInt : public VConvolSimple {
 public:
  VConvolInt() : width(0), height(0), div(0), values(nullptr) {}
  // All coefficients 0. The divisor is the caller's to set through Div();
  // it starts at 0.
  VConvolInt(int width, int height);
  // Parses `values`, numbers separated by blanks, with the divisor `div`.
  VConvolInt(int width, int height, int div, const char* values);
  // The same, with the sum of the coefficients as the divisor.
  VConvolInt(int width, int height, const char* values);
  // Copies width * height coefficients.
  VConvolInt(int width, int height, int div, int* values);
  VConvolInt(int width, int height, int* values);
  VConvolInt(const VConvolInt& m);
  VConvolInt& operator=(const VConvolInt& m);

  const char* ClassName() const override { return "VConvolInt"; }
  ~VConvolInt() override;
  int Width() const override { return width; }
  int Height() const override { return height; }
  // Store the value truncated toward zero.
  void SetValueRel(int x, int y, double value) override;
  void SetValueAbs(int x, int y, double value) override;
  double GetValueRel(int x, int y) const override;
  double GetValueAbs(int x, int y) const override;

  Vlong Div() const { return div; }
  Vlong& Div() { return div; }
  // The coefficient at relative (x, y).
  int& operator()(int x, int y);
  // A mask of the new size holding the old coefficients with the centres
  // aligned; its divisor starts at 0.
  VConvolInt Resize(int width, int height) const;

  // Filter mask files of the integer form (docs/formats/filter-mask.md).
  // The file's coefficient line is the text form above: ReadFile hands it
  // to the text constructor, filling the first width * height entries of
  // the array, and keeps the file's divisor. WriteFile writes those
  // entries and the divisor; on a mask wider than high, coefficients that
  // the absolute addressing places beyond them are not in the file. A
  // failure (missing, unreadable, malformed, cut or real-form file; a size
  // the file form cannot hold) names the file and carries the runtime's
  // file code in `err`; if its reaction returns, ReadFile gives a mask
  // without coefficients.
  static VConvolInt ReadFile(const char* file_name);
  void WriteFile(const char* file_name) const;

 protected:
  // Allocates the zeroed array for the current size, reporting a failed
  // allocation.
  void Allocate();
  // Entries of the array for the current size.
  Vlong SlotCount() const;
  // The entry at `index`. An index outside the array, reached only after
  // a failed check whose handler returned, gives a scratch entry instead.
  int& Slot(Vlong index) const;
  // Reads the blank-separated text into the coefficients, adding each to
  // `div` if `sum_into_div`.
  void Parse(const char* text, bool sum_into_div);
  void Copy(const int* source, bool sum_into_div);

  int width;
  int height;
  Vlong div;
  int* values;
};

class VConvolFloat : public VConvolSimple {
 public:
  VConvolFloat() = default;
  VConvolFloat(const VConvolFloat&) = default;
  VConvolFloat& operator=(const VConvolFloat&) = default;
  const char* ClassName() const override { return "VConvolFloat"; }

  // Filter mask files of the real form (docs/formats/filter-mask.md), for
  // the concrete classes derived from this one. Coefficient k of the file
  // stands at absolute (k / Height(), k % Height()). ReadFile fills this
  // mask through SetValueAbs and needs the file's width and height to be
  // this mask's; WriteFile writes GetValueAbs in the same order. Failures
  // as for VConvolInt; a mask whose size the file form cannot hold, or a
  // coefficient that is not finite, is not written.
  void ReadFile(const char* file_name);
  void WriteFile(const char* file_name) const;
};

class VConvolSFourier : public VConvolFourier {
 public:
  VConvolSFourier() = default;
  VConvolSFourier(const VConvolSFourier&) = default;
  VConvolSFourier& operator=(const VConvolSFourier&) = default;
  const char* ClassName() const override { return "VConvolSFourier"; }
};

class VConvolGabor : public VConvolFourier {
 public:
  VConvolGabor() = default;
  VConvolGabor(const VConvolGabor&) = default;
  VConvolGabor& operator=(const VConvolGabor&) = default;
  const char* ClassName() const override { return "VConvolGabor"; }
};

}  // namespace Vexa

#endif  // VEXAOBJ_VCONVOL_H
