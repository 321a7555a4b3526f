// Shared region representation, discrete regions with their lazily held
// complement, and the array of discrete regions.
#include <vexaobj/VDRegion.h>

#include <new>

#include <vexaobj/VRLRegion.h>
#include <vexaobj/VRegion.h>

#include "control/raise.h"

namespace Vexa {

namespace {

void ReportOutOfMemory() {
  internal::RaiseFormatted("VDRegion.cpp", __LINE__, "new", "Out of memory");
}

// A region of this thread that no array holds, for an access that has no
// element once a reported failure returns.
VDRegion& StandInRegion() {
  thread_local VDRegion stand_in;
  return stand_in;
}

// A representation of `r`, or null after a report; `r` is deleted then.
VRepRegion* NewRep(VAbstractRegion* r) {
  VRepRegion* rep = new (std::nothrow) VRepRegion(r);
  if (rep == nullptr) {
    delete r;
    ReportOutOfMemory();
  }
  return rep;
}

}  // namespace

// ---------------------------------------------------------------- VRepRegion

VRepRegion::VRepRegion(const VAbstractRegion* r)
    : reg(const_cast<VAbstractRegion*>(r)), refs(1) {}

VRepRegion::VRepRegion(const VRepRegion* r)
    : reg(r->reg != nullptr ? r->reg->CopyAbstractRegion() : nullptr), refs(1) {}

const char* VRepRegion::ClassName() const { return "VRepRegion"; }

VRepRegion::~VRepRegion() { delete reg; }

// ---------------------------------------------------------------- VDRegion

VDRegion::VDRegion() : rep(nullptr), complement(0) {}

VDRegion::VDRegion(const VAbstractRegion* r)
    : rep(NewRep(const_cast<VAbstractRegion*>(r))), complement(0) {}

VDRegion::VDRegion(const VRLRegion& r) : rep(NewRep(r.CopyAbstractRegion())), complement(0) {}

VDRegion::VDRegion(const VRegion& r) : rep(NewRep(r.CopyAbstractRegion())), complement(0) {}

VDRegion::VDRegion(VAbstractRegion* r, int complement)
    : rep(NewRep(r)), complement(complement) {}

VDRegion::VDRegion(const VDRegion& r) : VDiscreteObject(), rep(nullptr), complement(0) {
  Share(r.rep);
}

VDRegion VDRegion::operator=(const VDRegion& r) {
  // Taking the new share first keeps a self-assignment alive.
  VRepRegion* const old = rep;
  Share(r.rep);
  if (old != nullptr && --old->refs < 1) delete old;
  return *this;
}

const char* VDRegion::ClassName() const { return "VDRegion"; }

VDRegion::~VDRegion() { Release(); }

void VDRegion::Share(VRepRegion* r) {
  rep = r;
  if (rep != nullptr) ++rep->refs;
}

void VDRegion::Release() {
  if (rep != nullptr && --rep->refs < 1) delete rep;
  rep = nullptr;
}

Vlong VDRegion::NumPoints() const { return 0; }

void VDRegion::Display(const VWindow& w) const { Reg()->Display(w); }

void VDRegion::Transform(const VAffineTrans&) {}

void VDRegion::Modify() {
  if (rep == nullptr || rep->refs == 1) return;
  VRepRegion* copy = new (std::nothrow) VRepRegion(rep);
  if (copy == nullptr) {
    ReportOutOfMemory();
    return;
  }
  --rep->refs;
  rep = copy;
}

VDRegion::operator VAbstractRegion*() {
  if (rep == nullptr) {
    internal::RaiseFormatted("VDRegion.cpp", __LINE__,
                             "VDRegion::operator VAbstractRegion* (void)", "reg is NULL");
    return nullptr;
  }
  return Reg()->CopyAbstractRegion();
}

VDRegion VDRegion::Empty() const { return VDRegion(Reg()->NewEmpty(), 0); }

VDRegion VDRegion::Full() const { return VDRegion(Reg()->NewEmpty(), 1); }

VRectangle1 VDRegion::BoundingBox() const { return Reg()->BoundingBox(); }

int VDRegion::In(const VDPoint2D& p) const {
  const int inside = Reg()->In(p);
  return IsComplement() ? !inside : inside;
}

// ---------------------------------------------------------------- VDRegionArray

VDRegionArray::VDRegionArray() : elems(nullptr) {}

VDRegionArray::VDRegionArray(const VDRegion& r) : elems(nullptr) {
  SingleArray();
  elems = new (std::nothrow) VDRegion[num_alloc];
  if (elems == nullptr) {
    EmptyArray();
    ReportOutOfMemory();
    return;
  }
  elems[0] = r;
}

VDRegionArray::VDRegionArray(const VDRegionArray& a) : VBaseArray(), elems(nullptr) {
  CopyRegion2DArray(a, *this);
}

VDRegionArray& VDRegionArray::operator=(const VDRegionArray& a) {
  if (&a == this) return *this;
  delete[] elems;
  elems = nullptr;
  CopyRegion2DArray(a, *this);
  return *this;
}

const char* VDRegionArray::ClassName() const { return "VDRegionArray"; }

VDRegionArray::~VDRegionArray() { delete[] elems; }

void VDRegionArray::CopyRegion2DArray(const VDRegionArray& src, VDRegionArray& dst) {
  dst.EmptyArray();
  if (src.num < 1) return;
  dst.elems = new (std::nothrow) VDRegion[src.num];
  if (dst.elems == nullptr) {
    ReportOutOfMemory();
    return;
  }
  dst.NormalArray(src.num);
  for (Vlong i = 0; i < src.num; ++i) dst.elems[i] = src.elems[i];
}

VDRegion& VDRegionArray::operator[](Vlong index) {
  if (index < 0) {
    internal::RaiseFormatted("VDRegion.cpp", __LINE__,
                             "VDRegion &VDRegionArray::operator [] (Vlong index)", "index < 0");
    return StandInRegion();
  }
  if (index >= num) Extend(index);
  if (index >= num) return StandInRegion();  // the growth failed
  return elems[index];
}

void VDRegionArray::Append(VDRegion& r) {
  const Vlong old_num = num;
  Extend(num);
  if (num > old_num) elems[num - 1] = r;
}

void VDRegionArray::NewLength(Vlong new_alloc, Vlong count) {
  VDRegion* fresh = new (std::nothrow) VDRegion[new_alloc];
  if (fresh == nullptr) {
    // The old array stays; the counts go back to what it can hold.
    num = count;
    num_alloc = count;
    ReportOutOfMemory();
    return;
  }
  for (Vlong i = 0; i < count; ++i) fresh[i] = elems[i];
  delete[] elems;
  elems = fresh;
}

}  // namespace Vexa
