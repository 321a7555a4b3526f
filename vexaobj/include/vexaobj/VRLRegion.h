// Run-length regions held in the library's own memory: RunLength, a growable
// list of chords with its local set algebra (merging of sorted lists, no
// pixel masks), and VRLRegion, which presents such a list as an abstract
// region. A region of this kind reaches the runtime only through
// gen_region_runs.
#ifndef VEXAOBJ_VRLREGION_H
#define VEXAOBJ_VRLREGION_H

#include <vexaobj/VAbstractRegion.h>
#include <vexaobj/VBase.h>
#include <vexaobj/VDChord.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>

namespace Vexa {

class VRegion;
class VWindow;

// Sort order: by row, within a row by VDChord::operator<. The algebra
// assumes no overlap within a row; Insert and Union keep that where they
// can, Append and the growing access leave it to the caller.
class RunLength {
 public:
  // Capacity for `n` chords, none of them valid yet.
  explicit RunLength(Vlong n);
  explicit RunLength(const VDChord& c);
  // The runs of a region of the database; the runtime's order is trusted.
  explicit RunLength(const VRegion& r);
  // Sorts `r` first if it is not known to be sorted.
  RunLength(const RunLength& r);
  RunLength& operator=(const RunLength& r);
  ~RunLength();

  // Frees the chords and zeroes the counts; `sorted` stays.
  void Empty();
  int IsEmpty() const { return num == 0; }
  Vlong Num() const { return num; }

  const VDChord& operator[](Vlong i) const;
  // Growing access: makes `i` writable and marks the list as unsorted.
  // Beyond the capacity, the list is reallocated to i + 1 chords and `num`
  // becomes i - 1, which Merge counts on.
  VDChord& operator[](Vlong i);

  // Stores `c` behind the last chord; neither merges nor sorts.
  void Append(const VDChord& c);
  // Stores behind the last chord, merging only with the last chord.
  void Insert(const VDChord& c);
  void Insert(const VDPoint2D& p);
  // Stores all chords of `r` behind, unmerged.
  void Insert(const RunLength& r);
  void Delete(const VDPoint2D& p);
  int In(const VDPoint2D& p) const;

  void Union(const RunLength& r);
  void Intersection(const RunLength& r);
  // This minus `r`; both lists are taken as sorted.
  void Difference(const RunLength& r);
  // Top and bottom row of the first and last chord; the columns are the
  // largest first column and the smallest last column: the column band
  // common to all chords, not an enclosing box.
  VRectangle1 BoundingBox() const;
  // 0 if both lists are the same, 1 if they have one length and differ,
  // 0 if their lengths differ.
  int Equal(const RunLength& r) const;

 protected:
  Vlong num;
  Vlong num_alloc;
  VDChord* chords;
  // Sort reorders the chords of a const list; the set stays the same.
  mutable int sorted;

 private:
  // Merges the sorted list `r` into this from the back, by row and first
  // column; `num` stays what the growing access leaves.
  void Merge(const RunLength& r);
  // Joins chords of a row that overlap or touch, front to back.
  void Pack();
  void Sort() const;
  // Room for `n` more chords; false after a failed allocation.
  bool Incr(Vlong n);
  bool PrepInsert();
  // Binary search of a sorted list.
  int InclPoint(const VDPoint2D& p, Vlong* index) const;
  // Valid chords, with the transient negative count of the growing access
  // read as none.
  Vlong Count() const { return num > 0 ? num : 0; }
  void SortIfNeeded() const;

  static const float incr;
  static const Vlong num_def;
};

class VRLRegion : public VAbstractRegion {
 public:
  VRLRegion();
  explicit VRLRegion(Vlong n);
  explicit VRLRegion(const VDChord& c);
  explicit VRLRegion(const VRegion& r);
  VRLRegion(const VRLRegion& r);
  // Takes the run-length form of `r`, which only a VRLRegion provides.
  explicit VRLRegion(const VAbstractRegion* r);
  VRLRegion& operator=(const VRLRegion& r);

  const char* ClassName() const override;
  ~VRLRegion() override;
  VAbstractRegion* CopyAbstractRegion() const override;
  VAbstractRegion* NewEmpty() const override;
  VRectangle1 BoundingBox() const override;
  int In(const VDPoint2D& p) const override;
  int IsEmpty() const override;
  // Draws the region built by gen_region_runs.
  void Display(const VWindow& w) const override;
  VRLRegion* ToRLRegion() const override;
  VRegion* ToVRegion() const override;

  VDChord& operator[](Vlong i);
  // A copy of chord `i`; an index out of range is reported, and read all
  // the same when the reaction returns.
  VDChord operator[](Vlong i) const;
  void Empty();
  Vlong Num() const;
  void Append(const VDChord& c);
  void Insert(const VDPoint2D& p);
  void Delete(const VDPoint2D& p);

  VRLRegion& operator|=(const VRLRegion& r);
  VRLRegion& operator&=(const VRLRegion& r);
  VRLRegion& operator/=(const VRLRegion& r);
  // The sense of RunLength::Equal: 0 for identical lists.
  int operator==(const VRLRegion& r) const;

 private:
  // The region of the runtime with these runs, filled from the back.
  VRegion GenVRegion() const;

  RunLength rl;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VRLREGION_H
