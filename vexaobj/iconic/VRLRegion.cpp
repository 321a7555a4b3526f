// VRLRegion: a RunLength presented as an abstract region, with the set
// operators of the list. The members that meet the runtime are in
// VRLRegionRuntime.cpp.
#include <vexaobj/VRLRegion.h>

#include <new>

#include "rl_chords.h"

namespace Vexa {

VRLRegion::VRLRegion() : rl(0) {}

VRLRegion::VRLRegion(Vlong n) : rl(n) {}

VRLRegion::VRLRegion(const VDChord& c) : rl(c) {}

VRLRegion::VRLRegion(const VRLRegion& r) : VAbstractRegion(r), rl(r.rl) {}

VRLRegion::VRLRegion(const VAbstractRegion* r) : rl(0) {
  // Only a VRLRegion gives a run-length form; a null answer leaves this
  // object empty.
  VRLRegion* converted = r != nullptr ? r->ToRLRegion() : nullptr;
  if (converted == nullptr || converted == this) return;
  rl.Empty();
  rl = converted->rl;
  delete converted;
}

VRLRegion& VRLRegion::operator=(const VRLRegion& r) {
  if (&r == this) return *this;
  rl.Empty();
  rl = r.rl;
  return *this;
}

const char* VRLRegion::ClassName() const { return "VRLRegion"; }

VRLRegion::~VRLRegion() = default;

VAbstractRegion* VRLRegion::CopyAbstractRegion() const {
  return new (std::nothrow) VRLRegion(*this);
}

VAbstractRegion* VRLRegion::NewEmpty() const { return new (std::nothrow) VRLRegion(); }

VRectangle1 VRLRegion::BoundingBox() const { return rl.BoundingBox(); }

int VRLRegion::In(const VDPoint2D& p) const { return rl.In(p); }

int VRLRegion::IsEmpty() const { return rl.IsEmpty(); }

VRLRegion* VRLRegion::ToRLRegion() const {
  VRLRegion* copy = new (std::nothrow) VRLRegion();
  if (copy == nullptr) {
    internal::RaiseRunLength(__LINE__, "new", "Out of memory");
    return nullptr;
  }
  copy->rl = rl;
  return copy;
}

VDChord& VRLRegion::operator[](Vlong i) { return rl[i]; }

VDChord VRLRegion::operator[](Vlong i) const { return rl[i]; }

void VRLRegion::Empty() { rl.Empty(); }

Vlong VRLRegion::Num() const { return rl.Num(); }

void VRLRegion::Append(const VDChord& c) { rl.Append(c); }

void VRLRegion::Insert(const VDPoint2D& p) { rl.Insert(p); }

void VRLRegion::Delete(const VDPoint2D& p) { rl.Delete(p); }

VRLRegion& VRLRegion::operator|=(const VRLRegion& r) {
  rl.Union(r.rl);
  return *this;
}

VRLRegion& VRLRegion::operator&=(const VRLRegion& r) {
  rl.Intersection(r.rl);
  return *this;
}

VRLRegion& VRLRegion::operator/=(const VRLRegion& r) {
  rl.Difference(r.rl);
  return *this;
}

int VRLRegion::operator==(const VRLRegion& r) const { return rl.Equal(r.rl); }

}  // namespace Vexa
