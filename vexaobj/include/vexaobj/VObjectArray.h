// VObjectArray: the base of the iconic array classes. It adds no data to
// the counts of VBaseArray; each subclass owns an array of its element
// class and gives access to their keys through the virtual operations
// below, which is all the frame needs to hand a whole array to an operator
// or to fill one from an operator's result.
#ifndef VEXAOBJ_VOBJECTARRAY_H
#define VEXAOBJ_VOBJECTARRAY_H

#include <vexaobj/VBase.h>
#include <vexaobj/Vobject.h>

namespace Vexa {

class VWindow;

class VObjectArray : public VBaseArray {
 public:
  VObjectArray() = default;
  VObjectArray(Vlong n, unsigned char use_default) : VBaseArray(n, use_default) {}
  // Copies the counts only; the subclass copies the elements.
  VObjectArray(const VObjectArray& other) = default;
  VObjectArray& operator=(const VObjectArray& other) = default;

  // Key and new owning Vobject of element `i`, without a range test.
  virtual Vkey Key(Vlong i) const = 0;
  virtual Vobject ElemId(Vlong i) const = 0;
  virtual void Display(const VWindow& w) const = 0;
  // Replace the elements by objects taking over `keys`: the first form
  // reports a key of the wrong class through `*error`, the second through
  // the element's class check.
  virtual void SetKeys(Vkey* keys, Vlong n, unsigned int* error) = 0;
  virtual void SetKeys(Vkey* keys, Vlong n) = 0;
  // No elements.
  virtual void Reset();

  Vobject Id(Vlong i) const { return ElemId(i); }
  // One key for the whole array: a key tuple of the elements in order, the
  // runtime's empty object standing in for a hole (key 1), so that every
  // element keeps its position.
  Vobject Id() const;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VOBJECTARRAY_H
