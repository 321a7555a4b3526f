// VAbstractRegion: what every region class offers, whether its pixels live
// in the runtime's object database (VRegion) or in the library's own memory
// (VRLRegion). VDRegion holds either kind through this interface and
// converts between them with ToRLRegion and ToVRegion.
#ifndef VEXAOBJ_VABSTRACTREGION_H
#define VEXAOBJ_VABSTRACTREGION_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VDPoint2D;
class VRectangle1;
class VRegion;
class VRLRegion;
class VWindow;

class VAbstractRegion : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VAbstractRegion() override = default;

  // A new region of the same class and pixels; the caller deletes it.
  virtual VAbstractRegion* CopyAbstractRegion() const = 0;
  // A new empty region of the same class, null if allocation fails.
  virtual VAbstractRegion* NewEmpty() const = 0;
  virtual VRectangle1 BoundingBox() const = 0;
  // 1 when the pixel `p` (x the column, y the row) belongs to the region.
  virtual int In(const VDPoint2D& p) const = 0;
  virtual int IsEmpty() const = 0;
  virtual void Display(const VWindow& w) const = 0;
  // Conversions into a new object of the other kind, for the caller to
  // delete; a class that cannot convert itself gives null.
  virtual VRLRegion* ToRLRegion() const = 0;
  virtual VRegion* ToVRegion() const = 0;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VABSTRACTREGION_H
