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
  int State() const { return state; }

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

 private:
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

  VCtrlVal* elems;
  unsigned char state;
};

// Null for ever: passed as an output that is not wanted.
extern VTuple* const _;
extern VTuple* const __;

}  // namespace Vexa

#endif  // VEXAOBJ_VTUPLE_H
