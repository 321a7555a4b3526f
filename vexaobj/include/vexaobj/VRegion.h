// VRegion: the handle of one region in the runtime's object database. It is
// a VAbstractRegion (the interface it shares with the library's own
// run-length regions) and a VObject (the key it owns). Beside the operator
// methods it keeps a pointer to the runtime's run-length record of its
// region, filled on first use, from which it computes area, centre, moments
// and ellipse parameters without an operator call.
//
// The cache rule: the pointer changes only by assignment and by the
// compound operators (which replace the whole object). Insert, Delete and a
// direct SetKey give the handle a new key but keep the pointer, so after
// them on a handle whose pointer was filled the features report the region
// from before. Within one key the record never changes: the runtime's
// objects are immutable.
#ifndef VEXAOBJ_VREGION_H
#define VEXAOBJ_VREGION_H

#include <vexaobj/VAbstractRegion.h>
#include <vexaobj/VObject.h>

#if __has_include(<vexaobj/methods/VRegion_classes.inc>)
namespace Vexa {
#include <vexaobj/methods/VRegion_classes.inc>
}  // namespace Vexa
#endif

namespace Vexa {

class VCircle;
class VDChord;
class VEllipse;
class VRectangle2;
class VRegionArray;

class VRegion : public VAbstractRegion, public VObject {
 public:
  VRegion();
  // Takes over `key`, 0 becoming 1.
  explicit VRegion(Vkey key);
  // A key of its own for the object of `obj`, which must be a region.
  explicit VRegion(const Vobject& obj);
  // Regions made by the generating operators.
  explicit VRegion(const VDChord& chord);
  explicit VRegion(const VDPoint2D& point);
  // The corners are truncated to integers.
  explicit VRegion(const VRectangle1& rectangle);
  explicit VRegion(const VRectangle2& rectangle);
  explicit VRegion(const VCircle& circle);
  explicit VRegion(const VEllipse& ellipse);
  // Reads a region file.
  explicit VRegion(const char* file);
  // Converts any region; the object `r` gives is not deleted.
  explicit VRegion(const VAbstractRegion* r);
  VRegion(const VRegion& r);
  // The first region of the array.
  explicit VRegion(const VRegionArray& a);
  ~VRegion() override = default;

  VRegion& operator=(const VRegion& r);
  VRegion& operator=(const VRegionArray& a);

  // ---- VAbstractRegion ------------------------------------------------
  const char* ClassName() const override { return "VRegion"; }
  VAbstractRegion* CopyAbstractRegion() const override;
  VAbstractRegion* NewEmpty() const override;
  VRectangle1 BoundingBox() const override;
  int In(const VDPoint2D& p) const override;
  int IsEmpty() const override;
  void Display(const VWindow& w) const override;
  // Null: the run-length class converts a VRegion itself.
  VRLRegion* ToRLRegion() const override;
  VRegion* ToVRegion() const override;

#if __has_include(<vexaobj/methods/VRegion.inc>)
#include <vexaobj/methods/VRegion.inc>
#endif

  // ---- VObject ------------------------------------------------------------
  int Shared() const override { return 1; }
  const char* VClassName() const override { return "region"; }
  const char* InstClassName() const override { return "VRegion"; }
  int ClassDBID() const override { return 1; }
  void CheckMyObjClass() const override;

  // ---- The run-length record and the features read from it ----------------
  // The record, filled on first use; reports "called for empty-region" for
  // key 1 and gives null.
  Vrlregion* GetRL() const;
  // All features give 0 for key 1, without a report.
  Vlong Area() const;
  double Row() const;
  double Col() const;
  double X() const { return Col(); }
  double Y() const { return Row(); }
  double Phi() const;
  double Ra() const;
  double Rb() const;
  double Anisometry() const;
  double Bulkiness() const;
  double StructureFactor() const;
  double M11() const;
  double M20() const;
  double M02() const;
  double Ia() const;
  double Ib() const;
  // Number of regions in the database.
  static Vlong NumData();
  // The smallest enclosing rectangle, the same as BoundingBox.
  VRectangle1 SmallestRectangle1() const;

  // Add or remove one pixel: the handle gets a new key, the cached record
  // stays as it was.
  void Insert(const VDPoint2D& p);
  void Delete(const VDPoint2D& p);

#if __has_include(<vexaobj/methods/VRegion.inc>)
  // ---- Symbol operators: each runs the operator method named --------------
  VRegion operator+(const VDPoint2D& p) const;  // MoveRegion
  VRegion operator+(const VRegion& b) const;    // MinkowskiAdd1
  VRegion operator-(const VRegion& b) const;    // MinkowskiSub1
  VRegion operator*(double d) const;            // ZoomRegion
  VRegion operator>>(double d) const;           // ErosionCircle
  VRegion operator<<(double d) const;           // DilationCircle
  VRegion operator~() const;                    // Complement
  VRegion operator!() const;                    // TransposeRegion(0, 0)
  VRegion operator&(const VRegion& b) const;    // Intersection
  VRegion operator|(const VRegion& b) const;    // Union2
  VRegion operator/(const VRegion& b) const;    // Difference
  // Replace this object by the result: a new key and a new record pointer.
  VRegion& operator++();  // DilationRectangle1(3, 3)
  VRegion& operator--();  // ErosionRectangle1(3, 3)
  VRegion& operator+=(const VDPoint2D& p);
  VRegion& operator+=(const VRegion& b);
  VRegion& operator-=(const VRegion& b);
  VRegion& operator>>=(double d);
  VRegion& operator<<=(double d);
  VRegion& operator&=(const VRegion& b);
  VRegion& operator|=(const VRegion& b);
  VRegion& operator/=(const VRegion& b);

  // Comparisons. Only == is a test of equality; the others are no
  // inclusion tests: a > b says that a has a pixel outside b, and two
  // overlapping regions can satisfy both a > b and a < b.
  int operator==(const VRegion& b) const;
  int operator>=(const VRegion& b) const;
  int operator>(const VRegion& b) const;
  int operator<=(const VRegion& b) const;
  int operator<(const VRegion& b) const;
#endif

 private:
  // The array moves, copies and releases the keys of its elements in one
  // runtime bracket for all of them.
  friend class VRegionArray;
  friend struct internal::ElementArray<VRegionArray, VRegion>;

  // Fills `rl` from the database; reports a failure with the key.
  void setRLptr() const;
  // The handle takes a key of its own for the object of `from`, and its
  // record pointer.
  void TakeOver(const VRegion& from);
  // The record for a feature: null for key 1 (without a report) and after
  // a failed fill.
  const Vrlregion* FeatureRL() const;
  // Area and centre, from the record where it holds them valid.
  void AreaCenter(Vlong* area, double* row, double* col) const;
  // Results of the runtime's measures, in the order they deliver them; all
  // 0 for key 1.
  void EllipseAxis(double v[3]) const;
  void Excentricity(double v[3]) const;
  void Moments(double v[5]) const;

  mutable Vrlregion* rl;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VREGION_H
