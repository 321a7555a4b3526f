// VRegion: construction, assignment, and the members of VAbstractRegion and
// VObject that a region handle answers itself.
#include <vexaobj/VRegion.h>

#include <new>

#include <vexaobj/VEllipse.h>
#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VRegionArray.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"
#include "iconic/region_calls.h"

namespace Vexa {

using region_calls::Borrowed;
using region_calls::Check;
using region_calls::NewKey;

VRegion::VRegion() : rl(nullptr) {}

VRegion::VRegion(Vkey k) : VObject(k), rl(nullptr) {}

VRegion::VRegion(const Vobject& obj) : VObject(obj), rl(nullptr) {
  VObject::CheckMyObjClass(VOBJ_ICONIC);
}

VRegion::VRegion(const VDPoint2D& p)
    : VObject(NewKey("gen_region_points", [&](Vobject* out) {
        return gen_region_points(out, p.Y(), p.X());
      })),
      rl(nullptr) {}

VRegion::VRegion(const VRectangle1& r)
    : VObject(NewKey("gen_rectangle1", [&](Vobject* out) {
        const VPoint2D& ul = r.UpperLeft();
        const VPoint2D& lr = r.LowerRight();
        return gen_rectangle1(out, static_cast<int>(ul.Y()),
                              static_cast<int>(ul.X()),
                              static_cast<int>(lr.Y()),
                              static_cast<int>(lr.X()));
      })),
      rl(nullptr) {}

VRegion::VRegion(const VRectangle2& r)
    : VObject(NewKey("gen_rectangle2", [&](Vobject* out) {
        const VPoint2D center = r.Center();
        return gen_rectangle2(out, center.Y(), center.X(), r.Phi(), r.Ra(),
                              r.Rb());
      })),
      rl(nullptr) {}

VRegion::VRegion(const VCircle& c)
    : VObject(NewKey("gen_circle", [&](Vobject* out) {
        const VPoint2D center = c.Center();
        return gen_circle(out, center.Y(), center.X(), c.Radius());
      })),
      rl(nullptr) {}

VRegion::VRegion(const VEllipse& e)
    : VObject(NewKey("gen_ellipse", [&](Vobject* out) {
        const VPoint2D center = e.Center();
        return gen_ellipse(out, center.Y(), center.X(), e.Phi(), e.Ra(),
                           e.Rb());
      })),
      rl(nullptr) {}

VRegion::VRegion(const char* file)
    : VObject(NewKey("read_region", [&](Vobject* out) {
        return read_region(out, file);
      })),
      rl(nullptr) {}

// As the interface defines this conversion, the converted object is not
// deleted: it keeps its own key. Code that converts often should use
// CopyAbstractRegion or ToVRegion directly and delete the result.
VRegion::VRegion(const VAbstractRegion* r) : rl(nullptr) {
  const VRegion* converted = r->ToVRegion();
  if (converted != nullptr && converted != this) TakeOver(*converted);
}

VRegion::VRegion(const VRegion& r)
    : VAbstractRegion(r), VObject(r), rl(r.rl) {}

VRegion::VRegion(const VRegionArray& a) : VRegion(a[0]) {}

VRegion& VRegion::operator=(const VRegion& r) {
  if (this != &r) TakeOver(r);
  return *this;
}

VRegion& VRegion::operator=(const VRegionArray& a) {
  TakeOver(a[0]);
  return *this;
}

void VRegion::TakeOver(const VRegion& from) {
  FreeData();
  CopyVObject(from);
  rl = from.rl;
}

VAbstractRegion* VRegion::CopyAbstractRegion() const {
  VRegion* copy = new VRegion();
  copy->CopyVObject(*this);
  return copy;
}

VAbstractRegion* VRegion::NewEmpty() const {
  return new (std::nothrow) VRegion();
}

VRLRegion* VRegion::ToRLRegion() const { return nullptr; }

VRegion* VRegion::ToVRegion() const {
  return static_cast<VRegion*>(CopyAbstractRegion());
}

void VRegion::CheckMyObjClass() const {
  VObject::CheckMyObjClass(VOBJ_ICONIC);
}

int VRegion::In(const VDPoint2D& p) const {
  if (!used) {
    VEXA_RAISE("VBool VRegion::In(const VDPoint2D &p) const", "%s",
               kRegionCleared);
    return 0;
  }
  if (key == VKEY_UNDEF) return 0;
  VTuple inside;
  Check(test_region_point(Borrowed(key), p.Y(), p.X(), &inside),
        "VBool VRegion::In(const VDPoint2D &p) const");
  return inside.Num() > 0 && inside[0].L() == 1;
}

int VRegion::IsEmpty() const {
  if (!used) {
    VEXA_RAISE("VBool VRegion::IsEmpty(void))", "%s", kRegionCleared);
    return 0;
  }
  if (key == VKEY_UNDEF) return 1;
  return region_calls::Area(key, "VBool VRegion::IsEmpty(void))") == 0;
}

void VRegion::Display(const VWindow& w) const {
  if (!used) {
    VEXA_RAISE("void VRegion::Display(const VWindow &w)", "%s",
               kRegionCleared);
    return;
  }
  if (key == VKEY_UNDEF) return;
  Check(disp_region(Borrowed(key), w.WindowHandle()),
        "void VRegion::Display(const VWindow &w)");
}

VRectangle1 VRegion::BoundingBox() const {
  static const char kFunction[] = "VRectangle1 VRegion::BoundingBox(void) const";
  if (!used) {
    VEXA_RAISE(kFunction, "%s", kRegionCleared);
    return VRectangle1();
  }
  if (key == VKEY_UNDEF || region_calls::Area(key, kFunction) == 0)
    return VRectangle1();
  Vlong row1 = 0, column1 = 0, row2 = 0, column2 = 0;
  Check(smallest_rectangle1(Borrowed(key), &row1, &column1, &row2, &column2),
        kFunction);
  return VRectangle1(VPoint2D(column1, row1), VPoint2D(column2, row2));
}

VRectangle1 VRegion::SmallestRectangle1() const { return BoundingBox(); }

void VRegion::Insert(const VDPoint2D& p) {
  static const char kFunction[] = "void VRegion::Insert(const VDPoint2D &p)";
  if (!used) {
    VEXA_RAISE(kFunction, "%s", kRegionCleared);
    return;
  }
  if (key == VKEY_UNDEF) {
    VObject::SetKey(NewKey(kFunction, [&](Vobject* out) {
      return gen_region_points(out, p.Y(), p.X());
    }));
    return;
  }
  Vobject point(1);
  Check(gen_region_points(&point, p.Y(), p.X()), kFunction);
  VObject::SetKey(NewKey(kFunction, [&](Vobject* out) {
    return union2(Borrowed(key), point, out);
  }));
}

void VRegion::Delete(const VDPoint2D& p) {
  static const char kFunction[] = "void VRegion::Delete(const VDPoint2D &p)";
  if (!used) {
    VEXA_RAISE(kFunction, "%s", kRegionCleared);
    return;
  }
  if (key == VKEY_UNDEF) return;
  Vobject point(1);
  Check(gen_region_points(&point, p.Y(), p.X()), kFunction);
  VObject::SetKey(NewKey(kFunction, [&](Vobject* out) {
    return difference(Borrowed(key), point, out);
  }));
}

}  // namespace Vexa
