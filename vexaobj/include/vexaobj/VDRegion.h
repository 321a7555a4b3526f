// Discrete regions: a region of either kind (database or run-length) behind
// a shared, reference-counted representation, with a flag that stands for
// the complement of the held region without computing it; and the array
// of such regions.
#ifndef VEXAOBJ_VDREGION_H
#define VEXAOBJ_VDREGION_H

#include <vexaobj/VAbstractRegion.h>
#include <vexaobj/VBase.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>

namespace Vexa {

class VRLRegion;
class VRegion;
class VWindow;
class VAffineTrans;

// The region shared by VDRegion objects, with the count of its sharers.
// The count is a plain int: sharing across threads needs outside locking.
class VRepRegion : public VRootObject {
 public:
  // Takes over `r`.
  explicit VRepRegion(const VAbstractRegion* r);
  // A deep copy of the region of `r`.
  explicit VRepRegion(const VRepRegion* r);
  VRepRegion(const VRepRegion&) = delete;
  VRepRegion& operator=(const VRepRegion&) = delete;

  const char* ClassName() const override;
  ~VRepRegion() override;

  VAbstractRegion* reg;
  int refs;
};

class VDRegion : public VDiscreteObject {
 public:
  VDRegion();
  // Takes over `r`.
  VDRegion(const VAbstractRegion* r);
  VDRegion(const VRLRegion& r);
  VDRegion(const VRegion& r);
  // Shares the representation; the complement flag is not carried over.
  VDRegion(const VDRegion& r);
  // Shares the representation of `r`; the result is a further sharer for
  // the time of the expression.
  VDRegion operator=(const VDRegion& r);

  const char* ClassName() const override;
  ~VDRegion() override;
  Vlong NumPoints() const override;
  void Display(const VWindow& w) const override;
  void Transform(const VAffineTrans& t) override;

  // Copy on write: a representation shared with others is replaced by a
  // copy of its own.
  void Modify();
  // A copy of the held region for the caller to delete.
  operator VAbstractRegion*();
  // An empty region of the held kind.
  VDRegion Empty() const;
  // The complement of an empty region: the whole plane.
  VDRegion Full() const;
  VRectangle1 BoundingBox() const;
  int In(const VDPoint2D& p) const;

 protected:
  VRepRegion* rep;
  int complement;

 private:
  // Takes over `r` with the complement flag given: the flag is set at
  // construction because a copy does not carry it.
  VDRegion(VAbstractRegion* r, int complement);
  // Shares the representation `r`, which may be null.
  void Share(VRepRegion* r);
  void Release();
  VAbstractRegion* Reg() const { return rep->reg; }
  int IsComplement() const { return complement; }
};

class VDRegionArray : public VBaseArray {
 public:
  VDRegionArray();
  explicit VDRegionArray(const VDRegion& r);
  VDRegionArray(const VDRegionArray& a);
  VDRegionArray& operator=(const VDRegionArray& a);

  const char* ClassName() const override;
  ~VDRegionArray() override;

  // Grows the array to reach `index`.
  VDRegion& operator[](Vlong index);
  void Append(VDRegion& r);

 private:
  void NewLength(Vlong new_alloc, Vlong count) override;
  // `dst` becomes an array of sharers of the elements of `src`.
  static void CopyRegion2DArray(const VDRegionArray& src, VDRegionArray& dst);

  VDRegion* elems;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VDREGION_H
