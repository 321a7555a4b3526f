// One run of a region: the pixels xb..xe (both inclusive) of row y. The unit
// of which run-length regions and the run constructors of regions are made.
#ifndef VEXAOBJ_VDCHORD_H
#define VEXAOBJ_VDCHORD_H

#include <vexaobj/VPrimitives.h>

namespace Vexa {

class VWindow;
class VAffineTrans;

class VDChord : public VDiscreteObject {
 public:
  VDChord() : y(0), xb(0), xe(0) {}
  // Row first, as everywhere a position meets the runtime.
  VDChord(int y, int xb, int xe) : y(y), xb(xb), xe(xe) {}
  VDChord(const VDChord& other) = default;
  VDChord& operator=(const VDChord& other) = default;

  const char* ClassName() const override;
  ~VDChord() override = default;
  // The pixel count, in 32-bit arithmetic.
  Vlong NumPoints() const override;
  void Display(const VWindow& w) const override;
  // A chord stays as it is under every transformation.
  void Transform(const VAffineTrans& t) override;

  int Y() const { return y; }
  int& Y() { return y; }
  int Xb() const { return xb; }
  int& Xb() { return xb; }
  int Xe() const { return xe; }
  int& Xe() { return xe; }

  VDPoint2D Begin() const { return VDPoint2D(xb, y); }
  VDPoint2D End() const { return VDPoint2D(xe, y); }
  int Length() const;

  // d begins inside this chord or directly behind it, in the same row.
  int RightOverlaped(const VDChord& d) const;
  // Reading order by starts: the one relation that compares first columns.
  int LeftOf(const VDChord& d) const;
  // The relations below are on whole chords: this ends before d begins.
  // Overlapping chords of one row are neither < nor >.
  int operator<(const VDChord& d) const;
  // As <, and also when the end of this and the start of d are one pixel.
  int operator<=(const VDChord& d) const;
  int operator>(const VDChord& d) const;
  int In(const VDPoint2D& p) const;

  int y;
  int xb;
  int xe;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VDCHORD_H
