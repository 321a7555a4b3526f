// Roots of the class tree: the runtime's plain types brought into the
// namespace, VRootObject, and the element bookkeeping that every array
// class (tuples, contours, polygons, object arrays) shares.
#ifndef VEXAOBJ_VBASE_H
#define VEXAOBJ_VBASE_H

#include <vexa/types.h>

namespace Vexa {

using ::Vcpar;
using ::Vctuple;
using ::Vkey;
using ::Vlong;

// Root of the array classes. Carries no data; the version queries are the
// same for every class of the library.
class VRootObject {
 public:
  virtual const char* ClassName() const = 0;
  virtual ~VRootObject() = default;

  int Version() const;
  int Revision() const;
  // Build date as "day.month.year", four-digit year.
  const char* Creation() const;
};

// Counts of an array class. The subclass owns the elements; this class
// decides only how many there are and how many to allocate when growing.
class VBaseArray : public VRootObject {
 public:
  VBaseArray();
  VBaseArray(Vlong n, unsigned char use_default);
  VBaseArray(const VBaseArray& other) = default;
  VBaseArray& operator=(const VBaseArray& other) = default;

  const char* ClassName() const override = 0;
  ~VBaseArray() override = default;

  Vlong Num() const { return num; }

 protected:
  Vlong AllocNum() const { return num_alloc; }
  void EmptyArray() { num = 0; num_alloc = 0; }
  void NormalArray(Vlong n) { num = n; num_alloc = n; }
  void SetArray(Vlong n, Vlong alloc) { num = n; num_alloc = alloc; }
  void SingleArray() { num = 1; num_alloc = num_def; }
  // Makes `index` a live element, reallocating through NewLength when the
  // capacity does not reach it.
  void Extend(Vlong index);

  Vlong num;
  Vlong num_alloc;

 private:
  // Reallocates the subclass's storage to `new_num` entries, keeping the
  // first `old_num` of them.
  virtual void NewLength(Vlong new_num, Vlong old_num) = 0;

  // The whole growth policy of all array classes.
  static const float incr;
  static const Vlong num_def;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VBASE_H
