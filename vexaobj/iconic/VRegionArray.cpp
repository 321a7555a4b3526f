// VRegionArray: construction, copies, growth, release, and the hand-over of
// an operator's result keys into elements.
#include <vexaobj/VRegionArray.h>

#include <vexaobj/VProcedural.h>
#include <vexaobj/VWindow.h>

#include "iconic/element_array.h"
#include "iconic/region_calls.h"

namespace Vexa {

using Storage = internal::ElementArray<VRegionArray, VRegion>;

VRegionArray::VRegionArray() : elems(nullptr) {}

VRegionArray::VRegionArray(Vkey* keys, Vlong n) : VObjectArray(n, 0), elems(nullptr) {
  Storage::FromKeys(*this, keys, n);
}

VRegionArray::VRegionArray(const Vobject& obj) : elems(nullptr) {
  Storage::FromObject(*this, obj);
}

VRegionArray::VRegionArray(const VRegion& r) : VObjectArray(1, 1), elems(nullptr) {
  Storage::FromElement(*this, r);
}

VRegionArray::VRegionArray(const VRegionArray& in) : VObjectArray(), elems(nullptr) {
  CopyVRegionArray(in);
}

VRegionArray& VRegionArray::operator=(const VRegionArray& in) {
  if (this == &in) return *this;
  DeleteArray();
  elems = nullptr;
  CopyVRegionArray(in);
  return *this;
}

VRegionArray::~VRegionArray() { DeleteArray(); }

void VRegionArray::CopyVRegionArray(const VRegionArray& in) {
  Storage::CopyFrom(*this, in, [](const VRegion&) {});
}

void VRegionArray::DeleteArray() { Storage::Release(*this); }

void VRegionArray::NewLength(Vlong new_alloc, Vlong count) {
  // The record pointer belongs to the old handle; the new one reads its own.
  Storage::Grow(*this, new_alloc, count, [](VRegion& moved) { moved.rl = nullptr; });
}

Vobject VRegionArray::ElemId(Vlong i) const { return elems[i].Id(); }

void VRegionArray::Display(const VWindow& w) const {
  region_calls::Check(disp_region(Id(), w.WindowHandle()),
                      "void VRegionArray::Display(const VWindow &w)");
}

void VRegionArray::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  Storage::TakeKeys(*this, keys, n, error);
}

void VRegionArray::SetKeys(Vkey* keys, Vlong n) { Storage::TakeKeys(*this, keys, n); }

const VRegion& VRegionArray::operator[](Vlong i) const { return Storage::At(*this, i, "VRegion"); }

VRegion& VRegionArray::operator[](Vlong i) { return Storage::At(*this, i, "VRegion"); }

VRegionArray VRegionArray::operator()(Vlong min, Vlong max) const {
  return Storage::Slice(*this, min, max);
}

VRegionArray& VRegionArray::Append(const VRegion& r) {
  Storage::Append(*this, r);
  return *this;
}

VRegionArray& VRegionArray::Append(const VRegionArray& a) {
  Storage::Append(*this, a);
  return *this;
}

}  // namespace Vexa
