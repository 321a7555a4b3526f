// VImageArray: construction, copies, growth, release, and the hand-over of
// an operator's result keys into elements.
#include <vexaobj/VImageArray.h>

#include <vexaobj/VWindow.h>

#include "iconic/element_array.h"

namespace Vexa {

using Storage = internal::ElementArray<VImageArray, VImage>;

VImageArray::VImageArray() : elems(nullptr) {}

VImageArray::VImageArray(Vkey* keys, Vlong n) : VObjectArray(n, 0), elems(nullptr) {
  Storage::FromKeys(*this, keys, n);
}

VImageArray::VImageArray(const Vobject& obj) : elems(nullptr) {
  Storage::FromObject(*this, obj);
}

VImageArray::VImageArray(const VImage& image) : VObjectArray(1, 1), elems(nullptr) {
  Storage::FromElement(*this, image);
}

VImageArray::VImageArray(const VImageArray& in) : VObjectArray(), elems(nullptr) {
  CopyVImageArray(in);
}

VImageArray& VImageArray::operator=(const VImageArray& in) {
  if (this == &in) return *this;
  DeleteArray();
  elems = nullptr;
  CopyVImageArray(in);
  return *this;
}

VImageArray::~VImageArray() { DeleteArray(); }

void VImageArray::CopyVImageArray(const VImageArray& in) {
  // The source element now shares its pixels with the copy.
  Storage::CopyFrom(*this, in, [](const VImage& from) { from.SetInitial(); });
}

void VImageArray::DeleteArray() { Storage::Release(*this); }

void VImageArray::NewLength(Vlong new_alloc, Vlong count) {
  Storage::Grow(*this, new_alloc, count, [](VImage&) {});
}

Vobject VImageArray::ElemId(Vlong i) const { return elems[i].Id(); }

void VImageArray::Display(const VWindow& w) const {
  for (Vlong i = 0; i < num; ++i) elems[i].Display(w);
}

void VImageArray::SetKeys(Vkey* keys, Vlong n, unsigned int* error) {
  Storage::TakeKeys(*this, keys, n, error);
}

void VImageArray::SetKeys(Vkey* keys, Vlong n) { Storage::TakeKeys(*this, keys, n); }

const VImage& VImageArray::operator[](Vlong i) const { return Storage::At(*this, i, "VImage"); }

VImage& VImageArray::operator[](Vlong i) { return Storage::At(*this, i, "VImage"); }

VImageArray VImageArray::operator()(Vlong min, Vlong max) const {
  return Storage::Slice(*this, min, max);
}

VImageArray& VImageArray::Append(const VImage& image) {
  Storage::Append(*this, image);
  return *this;
}

VImageArray& VImageArray::Append(const VImageArray& a) {
  Storage::Append(*this, a);
  return *this;
}

}  // namespace Vexa
